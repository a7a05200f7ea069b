// Hooks that come back to the filter: with mutexes that can be taken twice, or none, the decisions
// must be those of a walk over the ring, whatever the index knows of it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "support/test_host.h"

namespace {

constexpr uint32_t kLogType = 5;

uint8_t Ask(const std::string &line, uint32_t interval = 0, uint32_t logType = kLogType) {
    const DxrLogFilterCfg cfg = {logType, 0, 0, 0, 0, interval};
    return DXR_IsRepeatedLog(&cfg, line.data(), static_cast<uint32_t>(line.size()));
}

uint32_t HashOf(const std::string &line) {
    return DXR_GetHashCode(0, line.data(), static_cast<uint32_t>(line.size()));
}

// What a hook does, once, when it is called next.
void (*g_once)() = nullptr;
// The same for the hook of the time alone: it is called when an entry is made, and the seconds
// before.
void (*g_onceInTime)() = nullptr;
// The same for one reading of the seconds: 1 is the next. A decision reads them for ageing, then
// for the interval of a line it has found, then to note that it lets the line through.
void (*g_onceInSeconds)() = nullptr;
uint32_t g_readingsToGo = 0;
// The same for the memory hooks, after they have done their work, and for the print hook.
void (*g_onceInAllocate)() = nullptr;
void (*g_onceInRelease)() = nullptr;
void (*g_onceInPrint)() = nullptr;
uint32_t g_nowSec = 0;

void DoOnce(void (*&once)()) {
    if (void (*const action)() = once) {
        once = nullptr;
        action();
    }
}

void InReading(uint32_t reading, void (*action)()) {
    g_readingsToGo = reading;
    g_onceInSeconds = action;
}

DxrMemoryHooks g_hostMemory;

DXR_PRINTF(2, 3) void PrintOnce(uint32_t, const char *, ...) {
    DoOnce(g_onceInPrint);
}

class LogFilterReentry : public testing::Test {
  protected:
    LogFilterReentry() {
        host_.WithMemory();
        for (void (**once)() : {&g_once, &g_onceInTime, &g_onceInSeconds, &g_onceInAllocate,
                                &g_onceInRelease, &g_onceInPrint}) {
            *once = nullptr;
        }
        g_nowSec = 10000;
        g_dxrHooks.time.getCurrSec = [] {
            DoOnce(g_once);
            if (g_onceInSeconds != nullptr && --g_readingsToGo == 0) {
                DoOnce(g_onceInSeconds);
            }
            return g_nowSec;
        };
        g_dxrHooks.time.getCurrTime = [](char *text, uint32_t size, uint32_t *sec) {
            DoOnce(g_once);
            DoOnce(g_onceInTime);
            std::snprintf(text, size, "at %u", g_nowSec);
            *sec = g_nowSec;
        };
        g_hostMemory = g_dxrHooks.memory;
        g_dxrHooks.memory.allocate = [](uint32_t mid, uint32_t size, const char *file,
                                        uint32_t line) {
            void *const block = g_hostMemory.allocate(mid, size, file, line);
            DoOnce(g_onceInAllocate);
            return block;
        };
        g_dxrHooks.memory.release = [](void *block, const char *file, uint32_t line) {
            g_hostMemory.release(block, file, line);
            DoOnce(g_onceInRelease);
        };
        g_dxrHooks.print.print = PrintOnce;
        EXPECT_EQ(DXR_InitLogFilter(9), 0U);
    }
    ~LogFilterReentry() override { DXR_DestroyLogFilter(); }

    // The lines that a walk over the live entries finds.
    static std::vector<bool> Walk(const std::vector<std::string> &lines) {
        const DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
        std::vector<bool> found;
        for (const std::string &line : lines) {
            found.push_back(DXR_FindRepeatedLogInfoIndex(record, HashOf(line)) != record->capacity);
        }
        return found;
    }

    // Each line, asked on its own, is a repeat just when the walk finds it. New ones join at the
    // end and change nothing for the others, as long as the ring has room.
    static void ExpectDecisionsOfAWalk(const std::vector<std::string> &lines) {
        for (const std::string &line : lines) {
            const bool found = Walk({line})[0];
            EXPECT_EQ(Ask(line), found ? 1 : 0) << line;
        }
    }

    dxrtest::TestHost host_;
};

TEST_F(LogFilterReentry, AnEntryThatTheSecondsHookAddsIsFound) {
    EXPECT_EQ(Ask("first"), 0);
    g_once = [] { DXR_AddLogFilterInfo(DXR_GetLogFilter(kLogType), HashOf("hidden"), 0); };
    EXPECT_EQ(Ask("first"), 1);
    EXPECT_EQ(g_once, nullptr);
    EXPECT_EQ(Ask("hidden"), 1);
}

// HOST-9
TEST_F(LogFilterReentry, ALineThatTheTimeHookLogsLeavesNothingUnseen) {
    for (const char *line : {"A", "B", "C", "D"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    g_nowSec += 3600;
    g_once = [] { Ask("nested"); };
    EXPECT_EQ(Ask("E"), 0);
    EXPECT_EQ(g_once, nullptr);
    ExpectDecisionsOfAWalk({"E", "nested", "A", "B", "C", "D"});
}

TEST_F(LogFilterReentry, ATimeHookThatClearsLeavesNothingUnseen) {
    for (const char *line : {"A", "B", "C", "D"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    EXPECT_EQ(DXR_ClearLogFilterInfo(kLogType), 0U);
    EXPECT_EQ(Ask("A2"), 0);
    g_once = [] { DXR_ClearLogFilterInfo(kLogType); };
    EXPECT_EQ(Ask("E"), 0);
    ExpectDecisionsOfAWalk({"B", "C", "D", "E", "A2", "A"});
}

TEST_F(LogFilterReentry, AClearWhileAnEntryIsMadeLeavesNothingUnseen) {
    for (const char *line : {"A", "B", "C"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    g_onceInTime = [] { DXR_ClearLogFilterInfo(kLogType); };
    EXPECT_EQ(Ask("D"), 0);
    EXPECT_EQ(g_onceInTime, nullptr);
    // The new entry stands where it was to stand before; the one that is live is the first.
    EXPECT_EQ(Walk({"A", "B", "C", "D"}), (std::vector<bool>{true, false, false, false}));
    ExpectDecisionsOfAWalk({"A", "B", "C", "D", "B", "A"});
}

// The first entry ages out and is forgotten; while a new one is made, a clear makes its place the
// live one again, and the clock goes back to its hour.
TEST_F(LogFilterReentry, AnAgedEntryThatAClearBringsBackIsFound) {
    const std::vector<std::string> later = {"D", "E"};
    for (size_t live = 0; live <= later.size(); ++live) {
        g_nowSec = 10000;
        for (const char *line : {"A", "B", "C"}) {
            EXPECT_EQ(Ask(line), 0);
        }
        DxrLogFilterInfo *const record = DXR_GetLogFilter(kLogType);
        ASSERT_EQ(record->capacity, 7U);
        g_nowSec = 13600;
        for (size_t i = 0; i < live; ++i) {
            EXPECT_EQ(Ask(later[i]), 0);
        }
        DXR_ResizeLogFilterInfo(record, 7);
        g_onceInTime = [] {
            DXR_ClearLogFilterInfo(kLogType);
            g_nowSec = 10000;
        };
        EXPECT_EQ(Ask("F"), 0);
        EXPECT_EQ(g_onceInTime, nullptr);
        EXPECT_EQ(Walk({"A", "F"}), (std::vector<bool>{true, false})) << live;
        ExpectDecisionsOfAWalk({"A", "F", "B", "A"});
        EXPECT_EQ(DXR_ClearLogFilterInfo(kLogType), 0U);
    }
}

TEST_F(LogFilterReentry, ARecordThatTheHostSpoilsWhileAnEntryIsMadeIsWalked) {
    for (const char *line : {"A", "B", "C"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    DxrLogFilterInfo *const record = DXR_GetLogFilter(kLogType);
    ASSERT_EQ(record->capacity, 7U);
    g_onceInTime = [] { DXR_GetLogFilter(kLogType)->curIndex = 701; };  // position 1
    EXPECT_EQ(Ask("D"), 0);
    EXPECT_EQ(g_onceInTime, nullptr);
    EXPECT_EQ(Walk({"A", "B", "C", "D"}), (std::vector<bool>{false, true, true, true}));
    ExpectDecisionsOfAWalk({"B", "C", "D", "E", "B", "E"});
}

TEST_F(LogFilterReentry, ASecondsHookThatResizesLeavesNothingUnseen) {
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(Ask("line " + std::to_string(i)), 0);
    }
    DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
    record->curIndex = 9;
    record->curSize = 6;
    g_once = [] { DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 11); };
    Ask("other");
    EXPECT_EQ(g_once, nullptr);
    EXPECT_EQ(record->capacity, 11U);
    std::vector<std::string> lines;
    for (int i = 0; i < 12; ++i) {
        lines.push_back("line " + std::to_string(i));
    }
    ExpectDecisionsOfAWalk(lines);
}

// Where no growth is granted, a ring of one entry is full and looks the same after every add.
TEST_F(LogFilterReentry, ALineLoggedWhileAnEntryIsAddedToAFullRingGivesWay) {
    EXPECT_EQ(Ask("first"), 0);
    host_.FailAllocationsFrom(1);
    g_once = [] { Ask("nested"); };
    DXR_AddLogFilterInfo(DXR_GetLogFilter(kLogType), HashOf("added"), 0);
    EXPECT_EQ(g_once, nullptr);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->capacity, 1U);
    EXPECT_EQ(Ask("added"), 1);
    EXPECT_EQ(Ask("nested"), 0);
}

// A ring of 1024 entries grows to 2049 when the last free one is taken: more than an index serves.
TEST_F(LogFilterReentry, ARingThatOutgrowsTheIndexIsWalked) {
    DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
    DXR_ResizeLogFilterInfo(record, 1024);
    for (int i = 0; i < 1023; ++i) {
        DXR_AddLogFilterInfo(record, 0x10000U + static_cast<uint32_t>(i), 0);
        if (record->capacity != 1024) {
            break;
        }
    }
    DXR_ResizeLogFilterInfo(record, 1024);
    record->curIndex = 1023;
    record->curSize = 1024;
    for (uint32_t i = 0; i < 1024; ++i) {
        record->entries[i].beginSec = g_nowSec;
        record->entries[i].logHashCode = 0x20000U + i;
    }
    EXPECT_EQ(Ask("new"), 0);
    EXPECT_EQ(record->capacity, 2049U);
    EXPECT_EQ(Ask("new"), 1);
    ExpectDecisionsOfAWalk({"new", "newer", "new", "newest", "newer"});
}

// --- a ring that moves while a hook runs

// The time text of the new line is written after the storage that it was meant for has gone.
TEST_F(LogFilterReentry, LinesThatTheTimeHookLogsGrowTheRing) {
    for (const char *line : {"A", "B"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 4);
    g_onceInTime = [] {
        EXPECT_EQ(Ask("nested"), 0);
        EXPECT_EQ(Ask("nested too"), 0);
    };
    EXPECT_EQ(Ask("C"), 0);
    EXPECT_EQ(g_onceInTime, nullptr);
    const DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
    EXPECT_EQ(record->capacity, 9U);
    // The line takes the place that was the next one when it was asked for, the first nested one's,
    // and counts like both of them.
    EXPECT_EQ(record->curSize, 5U);
    EXPECT_STREQ(record->entries[2].logBeginTime, "at 10000");
    EXPECT_EQ(Walk({"A", "B", "C", "nested", "nested too"}),
              (std::vector<bool>{true, true, true, false, true}));
    ExpectDecisionsOfAWalk({"A", "B", "C", "nested too", "nested", "nested", "D", "D"});
}

TEST_F(LogFilterReentry, AResizeWhileALineIsAddedKeepsTheLine) {
    EXPECT_EQ(Ask("A"), 0);
    g_onceInTime = [] { DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 40); };
    EXPECT_EQ(Ask("B"), 0);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->capacity, 40U);
    ExpectDecisionsOfAWalk({"A", "B", "C", "A", "B", "C"});
    EXPECT_EQ(Ask("B"), 1);
}

TEST_F(LogFilterReentry, ALineWhosePlaceIsGoneIsNotRemembered) {
    static uint32_t newCapacity;
    for (newCapacity = 2; newCapacity <= 3; ++newCapacity) {
        DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 7);
        for (const char *line : {"A", "B", "C"}) {
            EXPECT_EQ(Ask(line), 0);
        }
        g_onceInTime = [] {
            DXR_ClearLogFilterInfo(kLogType);
            DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), newCapacity);
        };
        EXPECT_EQ(Ask("D"), 0);
        EXPECT_EQ(g_onceInTime, nullptr);
        EXPECT_EQ(DXR_GetLogFilter(kLogType)->curSize, 0U);
        EXPECT_EQ(DXR_GetLogFilter(kLogType)->capacity, newCapacity);
        ExpectDecisionsOfAWalk({"D", "A", "D", "A"});
        DXR_ClearLogFilterInfo(kLogType);
    }
}

TEST_F(LogFilterReentry, AResizeWhileTheIntervalIsLookedAtKeepsTheAnswer) {
    EXPECT_EQ(Ask("A"), 0);
    EXPECT_EQ(Ask("B"), 0);
    for (const uint32_t passed : {4U, 5U}) {
        g_nowSec = 10000 + passed;
        InReading(2, [] { DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 20); });
        EXPECT_EQ(Ask("B", 5), passed == 5 ? 0 : 1);
        EXPECT_EQ(g_onceInSeconds, nullptr);
        const DxrLogFilterEntry &entry = DXR_GetLogFilter(kLogType)->entries[1];
        EXPECT_EQ(entry.lastSec, passed == 5 ? 10005U : 10000U);
        EXPECT_EQ(entry.logCnt, 1U);
    }
}

TEST_F(LogFilterReentry, AResizeWhileALineIsLetThroughAgainKeepsItsTime) {
    EXPECT_EQ(Ask("A"), 0);
    EXPECT_EQ(Ask("B"), 0);
    g_nowSec += 5;
    InReading(3, [] { DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 20); });
    EXPECT_EQ(Ask("B", 5), 0);
    EXPECT_EQ(g_onceInSeconds, nullptr);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->entries[1].lastSec, 10005U);
}

// Its entry is gone: it is let through, and nothing is written outside the smaller ring.
TEST_F(LogFilterReentry, ALineThatASmallerRingHasLostIsLetThrough) {
    for (const uint32_t reading : {2U, 3U}) {
        DXR_ClearLogFilterInfo(kLogType);
        for (const char *line : {"A", "B", "C"}) {
            EXPECT_EQ(Ask(line), 0);
        }
        g_nowSec += 5;
        InReading(reading, [] {
            DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 1);
            DXR_GetLogFilter(kLogType)->curSize = 1;
        });
        EXPECT_EQ(Ask("C", 5), 0);
        EXPECT_EQ(g_onceInSeconds, nullptr);
        EXPECT_EQ(DXR_GetLogFilter(kLogType)->entries[0].lastSec, g_nowSec - 5);
        EXPECT_EQ(Ask("A"), 1);
    }
}

TEST_F(LogFilterReentry, TheTimeOfAPositionThatIsGoneIsNotWritten) {
    DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
    DXR_ResizeLogFilterInfo(record, 7);
    InReading(1, [] { DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 3); });
    DXR_UpdateLogFilterTime(6, record);
    EXPECT_EQ(g_onceInSeconds, nullptr);
    EXPECT_EQ(record->capacity, 3U);
}

// --- a ring that goes while a hook runs

TEST_F(LogFilterReentry, AStoreDestroyedInAnyReadingOfTheSecondsLetsTheLineThrough) {
    for (const uint32_t reading : {1U, 2U, 3U}) {
        for (const uint32_t passed : {4U, 5U}) {
            if (reading == 3 && passed == 4) {
                continue;  // not let through: there is no third
            }
            DXR_InitLogFilter(9);
            EXPECT_EQ(Ask("A"), 0);
            g_nowSec += passed;
            InReading(reading, DXR_DestroyLogFilter);
            EXPECT_EQ(Ask("A", 5), 0);
            EXPECT_EQ(g_onceInSeconds, nullptr);
            EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
            EXPECT_EQ(host_.LiveBlocks(), 0U);
        }
    }
}

TEST_F(LogFilterReentry, AStoreDestroyedWhileALineIsAddedLetsTheLineThrough) {
    EXPECT_EQ(Ask("A"), 0);
    g_onceInTime = DXR_DestroyLogFilter;
    EXPECT_EQ(Ask("B"), 0);
    EXPECT_EQ(g_onceInTime, nullptr);
    EXPECT_EQ(host_.LiveBlocks(), 0U);
}

alignas(16) unsigned char g_rings[16 * 64];

// A host that hands out the same memory twice makes the copy of a ring that grows refuse.
TEST_F(LogFilterReentry, AStoreDestroyedWhenTheCopyOfARingFailsIsNotTouched) {
    g_dxrHooks.memory.allocate = [](uint32_t mid, uint32_t size, const char *file, uint32_t line) {
        return size % 64 == 0 ? g_rings : g_hostMemory.allocate(mid, size, file, line);
    };
    g_dxrHooks.memory.release = [](void *block, const char *file, uint32_t line) {
        if (block != g_rings) {
            g_hostMemory.release(block, file, line);
        }
    };
    EXPECT_EQ(Ask("A"), 0);
    g_onceInPrint = DXR_DestroyLogFilter;
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 3);
    EXPECT_EQ(g_onceInPrint, nullptr);
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(host_.LiveBlocks(), 0U);
}

TEST_F(LogFilterReentry, AStoreMadeAnewInAHookIsTheOneThatIsWorkedOn) {
    EXPECT_EQ(Ask("A"), 0);
    const auto anew = [] {
        DXR_DestroyLogFilter();
        DXR_InitLogFilter(9);
    };
    InReading(1, anew);
    EXPECT_EQ(Ask("A"), 0);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->curSize, 1U);
    EXPECT_EQ(Ask("A"), 1);
    g_onceInTime = anew;
    EXPECT_EQ(Ask("B"), 0);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->curSize, 0U);
    ExpectDecisionsOfAWalk({"A", "B", "A", "B"});
}

// HOST-16
TEST_F(LogFilterReentry, EveryOperationEndsWithAStoreThatAHookDestroys) {
    using Operation = void (*)(DxrLogFilterInfo *);
    const std::vector<Operation> operations = {
        DXR_RemoveObsoleteLogFilterInfo,
        [](DxrLogFilterInfo *record) { DXR_AddLogFilterInfo(record, 77, 0); },
        [](DxrLogFilterInfo *record) { DXR_ResizeLogFilterInfo(record, 20); },
        DXR_UpdateLogFilterCapacity,
        [](DxrLogFilterInfo *record) { DXR_UpdateLogFilterTime(0, record); },
        [](DxrLogFilterInfo *) {
            char buffer[2000];
            uint32_t written = 0;
            const DxrLogFilterCfg cfg = {kLogType, 0, 3, 0, 0, 0};
            DXR_ShowLogFilterInfo(&cfg, buffer, &written, sizeof(buffer));
        },
    };
    for (size_t operation = 0; operation < operations.size(); ++operation) {
        for (void (**once)() : {&g_onceInTime, &g_onceInAllocate, &g_once}) {
            SCOPED_TRACE(operation);
            DXR_InitLogFilter(9);
            EXPECT_EQ(Ask("A"), 0);
            *once = DXR_DestroyLogFilter;
            operations[operation](DXR_GetLogFilter(kLogType));
            if (*once != nullptr) {  // a hook that this operation does not call
                *once = nullptr;
                DXR_DestroyLogFilter();
            }
            EXPECT_EQ(host_.LiveBlocks(), 0U);
        }
    }
}

// --- memory and print hooks that log

TEST_F(LogFilterReentry, LinesThatTheAllocationHookLogsAreKeptAsFarAsTheRingReaches) {
    EXPECT_EQ(Ask("A"), 0);
    g_onceInAllocate = [] {
        for (const char *line : {"n1", "n2", "n3", "n4"}) {
            EXPECT_EQ(Ask(line), 0);
        }
    };
    // Asked to grow from 1 to 3, it comes to 3 after all, whatever the nested lines made of it.
    EXPECT_EQ(Ask("B"), 0);
    EXPECT_EQ(g_onceInAllocate, nullptr);
    EXPECT_EQ(DXR_GetLogFilter(kLogType)->capacity, 3U);
    ExpectDecisionsOfAWalk({"A", "n1", "n2", "B", "n3", "n4", "C", "B"});
}

TEST_F(LogFilterReentry, ALineThatTheReleaseHookLogsFindsTheGrownRing) {
    for (const char *line : {"A", "B"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    g_onceInRelease = [] {
        EXPECT_EQ(Ask("A"), 1);
        EXPECT_EQ(Ask("nested"), 0);
    };
    EXPECT_EQ(Ask("C"), 0);  // grows
    EXPECT_EQ(g_onceInRelease, nullptr);
    for (const char *line : {"A", "B", "C", "nested"}) {
        EXPECT_EQ(Ask(line), 1) << line;
    }
}

TEST_F(LogFilterReentry, ALineThatThePrintHookLogsAfterAFailedGrowthIsKept) {
    for (const char *line : {"A", "B"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    host_.FailAllocation(1);
    g_onceInPrint = [] { EXPECT_EQ(Ask("nested"), 0); };
    EXPECT_EQ(Ask("C"), 0);
    EXPECT_EQ(g_onceInPrint, nullptr);
    for (const char *line : {"A", "B", "C", "nested"}) {
        EXPECT_EQ(Ask(line), 1) << line;
    }
}

// What a release hook logs while the store is being destroyed goes with it.
TEST_F(LogFilterReentry, LinesLoggedWhileTheStoreIsDestroyedDoNotLeak) {
    for (const char *line : {"A", "B"}) {
        EXPECT_EQ(Ask(line), 0);
    }
    g_onceInRelease = [] {
        for (const char *line : {"A", "B", "C", "D"}) {
            Ask(line);
        }
        EXPECT_EQ(Ask("other type", 0, 2), 0);
        EXPECT_EQ(Ask("first type", 0, 0), 0);
    };
    DXR_DestroyLogFilter();
    EXPECT_EQ(g_onceInRelease, nullptr);
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(host_.LiveBlocks(), 0U);
}

TEST_F(LogFilterReentry, AStoreThatTheAllocationHookMakesIsKept) {
    DXR_DestroyLogFilter();
    static DxrLogFilterInfo *made;
    made = nullptr;
    g_onceInAllocate = [] {
        EXPECT_EQ(DXR_InitLogFilter(7), 0U);
        made = g_dxrLogFilterInfo;
        EXPECT_EQ(Ask("A"), 0);
    };
    EXPECT_EQ(DXR_InitLogFilter(8), 0U);
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(g_dxrLogFilterInfo, made);
    EXPECT_EQ(g_dxrLogFilterMid, 7U);
    EXPECT_EQ(Ask("A"), 1);
    DXR_DestroyLogFilter();
    EXPECT_EQ(host_.LiveBlocks(), 0U);
}

// --- rings without growth, where position and size say nothing of what has happened

// Where nothing is granted, the ring holds the newest line alone, the one that was asked for last.
TEST_F(LogFilterReentry, ALineThatTheTimeHookLogsInARingOfOneGivesWay) {
    EXPECT_EQ(Ask("first"), 0);
    host_.FailAllocationsFrom(1);
    for (int round = 0; round < 3; ++round) {
        g_onceInTime = [] { EXPECT_EQ(Ask("nested"), 0); };
        const std::string outer = "outer " + std::to_string(round);
        EXPECT_EQ(Ask(outer), 0);
        EXPECT_EQ(g_onceInTime, nullptr);
        EXPECT_EQ(DXR_GetLogFilter(kLogType)->capacity, 1U);
        EXPECT_EQ(Ask(outer), 1);
    }
    EXPECT_EQ(Ask("nested"), 0);
}

// A full ring: both lines take the place of the oldest, and the two oldest are gone.
TEST_F(LogFilterReentry, ALineThatTheTimeHookLogsInAFullRingIsReplaced) {
    DxrLogFilterInfo *record = DXR_GetLogFilter(kLogType);
    for (const uint32_t capacity : {3U, 20U}) {
        host_.StopFailingAllocations();
        DXR_ClearLogFilterInfo(kLogType);
        DXR_ResizeLogFilterInfo(record, capacity);
        host_.FailAllocationsFrom(1);
        for (uint32_t i = 0; i < capacity; ++i) {
            EXPECT_EQ(Ask("line " + std::to_string(i)), 0);
        }
        EXPECT_EQ(Ask("line 0"), 1);
        g_onceInTime = [] { EXPECT_EQ(Ask("nested"), 0); };
        EXPECT_EQ(Ask("outer"), 0);
        EXPECT_EQ(record->curIndex, 2U);
        EXPECT_EQ(record->curSize, capacity);
        EXPECT_EQ(Ask("outer"), 1);
        ExpectDecisionsOfAWalk({"nested", "line 1", "line 2", "outer", "line 2"});
    }
}

// --- a ring reached from elsewhere

// Fills a ring of 20 entries that cannot grow with lines 0 to 19 and has it looked up.
void FillWhole(dxrtest::TestHost &host) {
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kLogType), 20);
    host.FailAllocationsFrom(1);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Ask("line " + std::to_string(i)), 0);
    }
    EXPECT_EQ(Ask("line 3"), 1);
}

TEST_F(LogFilterReentry, LinesAddedWhileThePointerWasAwayAreFound) {
    FillWhole(host_);
    DxrLogFilterInfo *const store = g_dxrLogFilterInfo;
    g_dxrLogFilterInfo = nullptr;
    EXPECT_EQ(Ask("line 3"), 0);
    // Once round: the record looks as it did.
    for (int i = 0; i < 20; ++i) {
        DXR_AddLogFilterInfo(&store[kLogType], HashOf("away " + std::to_string(i)), 0);
    }
    g_dxrLogFilterInfo = store;
    EXPECT_EQ(Ask("away 0"), 1);
    EXPECT_EQ(Ask("away 19"), 1);
    ExpectDecisionsOfAWalk({"line 3", "away 4", "line 19", "away 0"});
}

TEST_F(LogFilterReentry, LinesAddedThroughACopyOfTheRecordAreFound) {
    FillWhole(host_);
    DxrLogFilterInfo copy = *DXR_GetLogFilter(kLogType);
    DXR_AddLogFilterInfo(&copy, HashOf("copied"), 0);
    EXPECT_EQ(copy.curIndex, 1U);
    EXPECT_EQ(Ask("copied"), 1);
    EXPECT_EQ(Ask("line 1"), 1);
    EXPECT_EQ(Walk({"line 0"})[0], false);
    EXPECT_EQ(Ask("line 0"), 0);
}

TEST_F(LogFilterReentry, LinesAddedThroughTheRecordOfAnotherTypeAreFound) {
    FillWhole(host_);
    constexpr uint32_t kOther = 6;
    *DXR_GetLogFilter(kOther) = *DXR_GetLogFilter(kLogType);
    EXPECT_EQ(Ask("line 3", 0, kOther), 1);
    EXPECT_EQ(Ask("through the other", 0, kOther), 0);
    EXPECT_EQ(Ask("through the other", 0, kLogType), 1);
    EXPECT_EQ(Ask("line 19", 0, kLogType), 1);
    EXPECT_EQ(Ask("through the first", 0, kLogType), 0);
    EXPECT_EQ(Ask("through the first", 0, kOther), Walk({"through the first"})[0] ? 1 : 0);
    *DXR_GetLogFilter(kOther) = {};
}

// Another ring's storage, at a time when both records look alike.
TEST_F(LogFilterReentry, RingsThatAreExchangedAnswerForTheirEntries) {
    FillWhole(host_);
    constexpr uint32_t kOther = 6;
    host_.StopFailingAllocations();
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kOther), 20);
    host_.FailAllocationsFrom(1);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Ask("other " + std::to_string(i), 0, kOther), 0);
    }
    std::swap(*DXR_GetLogFilter(kLogType), *DXR_GetLogFilter(kOther));
    EXPECT_EQ(Ask("other 7"), 1);
    EXPECT_EQ(Ask("line 7", 0, kOther), 1);
    EXPECT_EQ(Ask("new"), 0);
    EXPECT_EQ(Ask("new", 0, kOther), 0);
    EXPECT_EQ(Ask("new"), 1);
    EXPECT_EQ(Ask("other 0"), 0);
    std::swap(*DXR_GetLogFilter(kLogType), *DXR_GetLogFilter(kOther));
    EXPECT_EQ(Ask("other 7", 0, kOther), 1);
    EXPECT_EQ(Ask("line 7"), 1);
    EXPECT_EQ(Ask("new"), 1);
}

TEST_F(LogFilterReentry, ALogSiteThatChangesItsTypeUnderTheLockIsAskedAsItWas) {
    static DxrLogFilterCfg cfg = {kLogType, 0, 0, 0, 0, 0};
    cfg.logType = kLogType;
    g_dxrHooks.task.lockMutex = [](void *) {
        cfg.logType = 1000000;
        return 0U;
    };
    EXPECT_EQ(DXR_IsRepeatedLog(&cfg, "line", 4), 0);
    cfg.logType = kLogType;
    EXPECT_EQ(DXR_IsRepeatedLog(&cfg, "line", 4), 1);
    g_dxrHooks.task.lockMutex = nullptr;
}

// A host's own hash function may look at the whole buffer, which is zeroed behind the text.
TEST_F(LogFilterReentry, AHostsHashFunctionSeesZeroedBuffers) {
    static size_t roomBehind;
    static int nonZero;
    const auto saved = g_dxrLogFilterHashFuncList[0];
    g_dxrLogFilterHashFuncList[0].func = [](const DxrLogFilterHashInput *input, uint32_t *hash) {
        for (size_t i = input->length; i < roomBehind; ++i) {
            nonZero += input->text[i] != 0 ? 1 : 0;
        }
        *hash = 77;
        return 0U;
    };
    char dirt[4096];
    std::memset(dirt, 'x', sizeof(dirt));
    asm volatile("" : : "r"(dirt) : "memory");
    const DxrLogFilterCfg cfg = {kLogType, 1, 2, 3, 4, 0};
    nonZero = 0;
    roomBehind = 1024;
    DXR_SameLogFilter(&cfg, "%s", "hello");
    EXPECT_EQ(nonZero, 0);
    roomBehind = 128;
    DXR_DiffLogFilter(&cfg, "%s", "hello");
    EXPECT_EQ(nonZero, 0);
    g_dxrLogFilterHashFuncList[0] = saved;
}

}  // namespace
