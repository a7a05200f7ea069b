// Hooks that come back to the filter: with mutexes that can be taken twice, or none, the decisions must
// be those of a walk over the ring, whatever the index knows of it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/test_host.h"

namespace {

constexpr uint32_t kLogType = 5;

uint8_t Ask(const std::string &line, uint32_t logType = kLogType) {
    const DxrLogFilterCfg cfg = {logType, 0, 0, 0, 0, 0};
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
uint32_t g_nowSec = 0;

void DoOnce(void (*&once)()) {
    if (void (*const action)() = once) {
        once = nullptr;
        action();
    }
}

class LogFilterReentry : public testing::Test {
  protected:
    LogFilterReentry() {
        host_.WithMemory();
        g_once = nullptr;
        g_onceInTime = nullptr;
        g_nowSec = 10000;
        g_dxrHooks.time.getCurrSec = [] {
            DoOnce(g_once);
            return g_nowSec;
        };
        g_dxrHooks.time.getCurrTime = [](char *text, uint32_t, uint32_t *sec) {
            DoOnce(g_once);
            DoOnce(g_onceInTime);
            *text = '\0';
            *sec = g_nowSec;
        };
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

    // Each line, asked on its own, is a repeat just when the walk finds it. New ones join at the end
    // and change nothing for the others, as long as the ring has room.
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

// The first entry ages out and is forgotten; while a new one is made, a clear makes its place the live
// one again, and the clock goes back to its hour.
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
