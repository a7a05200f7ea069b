// Replays of recordings: every slot answers what its hook answered, and what differs is seen.
#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "compare.h"
#include "dxr_devhost/hash.h"
#include "dxr_devhost/system.h"
#include "dxr_devhost/system_table.h"
#include "dxr_trace.h"
#include "encoder.h"
#include "export.h"
#include "format.h"
#include "hash_tables.h"
#include "script.h"
#include "slots.h"
#include "slots/expected_slots.h"
#include "support/test_host.h"
#include "trace/recording.h"
#include "trace/replay_fixture.h"
#include "trace_file.h"

namespace dxrtest {
namespace {

using dxr_trace::BlockHead;
using dxr_trace::BlockKind;
using dxr_trace::Encoder;
using dxr_trace::kSlots;
using RawTable = std::array<Hook, kSlotCount>;

TEST_F(ReplayTest, WhatWasWrittenIsWrittenAgain) {
    DxrHooks hooks = {};
    hooks.dev.readReg = [](uint32_t, uint32_t, uint32_t place, void *value) -> uint32_t {
        const uint32_t answer = place * 3;
        std::memcpy(value, &answer, sizeof(answer));
        return place == 9 ? 5 : 0;
    };
    hooks.system.getSysWorkPath = [](char *buffer, uint32_t size) -> uint32_t {
        (void)std::snprintf(buffer, size, "/somewhere");
        return 0;
    };
    hooks.system.getBinFolderName = []() -> const char * { return "folder"; };
    std::vector<std::string> seen;
    const auto body = [&seen] {
        uint32_t value = 0;
        for (const uint32_t place : {4U, 9U}) {
            seen.push_back(std::to_string(DXR_ReadReg(1, 2, place, &value)) + " " +
                           std::to_string(value));
        }
        std::array<char, 24> path{};
        path.fill('#');
        seen.push_back(std::to_string(DXR_GetSysWorkPath(path.data(), 20)) + " " + path.data());
        EXPECT_EQ('#', path[20]);
        EXPECT_EQ('#', path[23]);
        seen.emplace_back(DXR_GetBinFolderName());
    };
    Record(hooks, body);
    const std::vector<std::string> first = std::exchange(seen, {});
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ("", replayed.text);
    EXPECT_EQ(4U, replayed.counts.calls);
    EXPECT_EQ(first, seen);
    EXPECT_EQ("0 /somewhere", seen[2]);
}

int g_somewhere = 0;

// Of a record that is read and written only what the host changed: the caller's own pointers stay.
TEST_F(ReplayTest, RecordsKeepTheCallersPointers) {
    DxrHooks hooks = {};
    hooks.system.startTimer = [](void *timer) -> uint32_t {
        static_cast<DxrHostTimer *>(timer)->handle = &g_somewhere;
        return 0;
    };
    hooks.system.stopTimer = [](void *timer) -> uint32_t {
        return static_cast<DxrHostTimer *>(timer)->handle != nullptr ? 0 : 1;
    };
    int argument = 0;
    void *handle = nullptr;
    const auto body = [&] {
        DxrHostTimer timer = {sizeof(timer), 5, 1, 0, [](void *) {}, &argument, handle};
        handle = nullptr;
        EXPECT_EQ(0U, DXR_StartTimer(&timer));
        EXPECT_EQ(&argument, timer.argument);
        EXPECT_NE(nullptr, timer.function);
        EXPECT_NE(nullptr, timer.handle);
        EXPECT_EQ(0U, DXR_StopTimer(&timer));
    };
    Record(hooks, body);
    handle = this;  // another one than then
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
}

// Functions are called again, with the arguments of now, where the host called them.
TEST_F(ReplayTest, FunctionsAreCalledAsTheHostCalledThem) {
    static DxrHostTimer *given = nullptr;
    DxrHooks hooks = {};
    hooks.system.startTimer = [](void *timer) -> uint32_t {
        given = static_cast<DxrHostTimer *>(timer);
        given->function(given->argument);  // the trace's, which notes the call
        return 0;
    };
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    hooks.temperature.registerQueryTempFunc = [](uint32_t sensor, void *function) {
        int32_t value = 0;
        reinterpret_cast<uint32_t (*)(uint32_t, int32_t *)>(function)(sensor, &value);
    };
    static uint32_t asked = 0;
    std::vector<uint32_t> sums;
    for (const bool isReplay : {false, true}) {
        uint32_t sum = isReplay ? 1000 : 0;
        asked = 0;
        const auto body = [&] {
            DxrHostTimer timer = {sizeof(timer),
                                  5,
                                  1,
                                  0,
                                  [](void *to) { *static_cast<uint32_t *>(to) += DXR_GetLrId(); },
                                  &sum,
                                  nullptr};
            EXPECT_EQ(0U, DXR_StartTimer(&timer));
            uint32_t (*const query)(uint32_t, int32_t *) = [](uint32_t sensor, int32_t *value) {
                *value = 3;
                asked = sensor;
                return 7U;
            };
            DXR_RegisterQueryTempFunc(12, reinterpret_cast<void *>(query));
        };
        if (isReplay) {
            const Replayed replayed = Replay(body);
            EXPECT_EQ(0U, replayed.stopped) << replayed.text;
            EXPECT_EQ(3U, replayed.counts.calls);
            EXPECT_EQ(2U, replayed.counts.callbacks);
        } else {
            Record(hooks, body);
        }
        EXPECT_EQ(isReplay ? 1004U : 4U, sum);
        EXPECT_EQ(12U, asked);
    }
}

// As a host's walk: the lengths always, key and data when there is room for them.
uint32_t WriteEntry(void *record, const std::string &key, const std::string &data) {
    auto &entry = *static_cast<DxrHostTableEntry *>(record);
    entry.keyBytes = static_cast<uint32_t>(key.size());
    entry.dataBytes = static_cast<uint32_t>(data.size());
    if (key.size() > entry.keyRoom || data.size() > entry.dataRoom) {
        return ENOSPC;
    }
    std::memcpy(entry.key, key.data(), key.size());
    std::memcpy(entry.data, data.data(), data.size());
    if (entry.mask != nullptr) {
        std::memset(entry.mask, 0xF0, data.size());
    }
    return 0;
}

TEST_F(ReplayTest, WalksWriteKeysDataAndMasksAgain) {
    DxrHooks hooks = {};
    hooks.tblm.getLinearTblmFirstData = [](void *, void *entry) -> uint32_t {
        return WriteEntry(entry, "one", "data");
    };
    hooks.tblm.getCrossTblmFirstData = [](void *, void *, void *entry) -> uint32_t {
        return WriteEntry(entry, "two", "more");
    };
    hooks.tblm.getTblmNextData = [](uint32_t walk, void *entry) -> uint32_t {
        return walk == 2 ? WriteEntry(entry, "a key that is too long", "")
                         : WriteEntry(entry, "three", "");
    };
    std::vector<std::string> seen;
    const auto body = [&seen] {
        DxrHostTableWalk walk{};
        walk.size = sizeof(walk);
        for (int call = 0; call < 4; ++call) {
            std::string key = "########";
            std::string data = "########";
            std::string mask = "########";
            DxrHostTableEntry entry{};
            entry.size = sizeof(entry);
            entry.keyRoom = 8;
            entry.dataRoom = 8;
            entry.key = key.data();
            entry.data = data.data();
            entry.mask = call == 1 ? nullptr : mask.data();
            uint32_t result = 0;
            if (call < 2) {
                result = call == 0 ? DXR_GetLinearTblmFirstData(&walk, &entry)
                                   : DXR_GetCrossTblmFirstData(&walk, nullptr, &entry);
            } else {
                result = DXR_GetTblmNextData(static_cast<uint32_t>(call), &entry);
            }
            seen.push_back(std::to_string(result) + " " + std::to_string(entry.keyBytes) + " " +
                           key + " " + data + " " + mask);
        }
    };
    Record(hooks, body);
    const std::vector<std::string> first = std::exchange(seen, {});
    EXPECT_EQ(first[0], "0 3 one##### data#### \xF0\xF0\xF0\xF0####");
    EXPECT_EQ(first[2], std::to_string(ENOSPC) + " 22 ######## ######## ########");
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ(first, seen);
}

const void *g_monitor = nullptr;

DxrHooks HeartHooks() {
    DxrHooks hooks = {};
    hooks.system.setHeartMon = [](void *monitor, uint32_t, uint32_t misses, uint32_t) -> uint32_t {
        g_monitor = monitor;
        const auto &record = *static_cast<const DxrHostHeartMonitor *>(monitor);
        if (misses == 0) {
            record.function(record.argument);
        }
        return 0;
    };
    hooks.system.stopHeartToMon = [](void *monitor) -> uint32_t {
        return monitor == g_monitor ? 0 : 7;
    };
    hooks.system.getLrId = []() -> uint32_t { return 5; };
    return hooks;
}

void TakeLrId(void *seen) {
    static_cast<std::vector<uint32_t> *>(seen)->push_back(DXR_GetLrId());
}

TEST_F(ReplayTest, FunctionsOfHeartMonitorsAreCalledAgain) {
    std::vector<uint32_t> seen;
    const auto body = [&] {
        DxrHostHeartMonitor monitor{};
        monitor.size = sizeof(monitor);
        monitor.function = TakeLrId;
        monitor.argument = &seen;
        seen.push_back(DXR_SetHeartMon(&monitor, 10, 1, 3));
        seen.push_back(DXR_SetHeartMon(&monitor, 10, 0, 3));
        EXPECT_EQ(monitor.function, TakeLrId);
        EXPECT_EQ(monitor.argument, &seen);
        monitor.function = nullptr;  // it is the same one still
        seen.push_back(DXR_StopHeartToMon(&monitor));
    };
    Record(HeartHooks(), body);
    const std::vector<uint32_t> first = std::exchange(seen, {});
    EXPECT_EQ(first, (std::vector<uint32_t>{0, 5, 0, 0}));
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ(1U, replayed.counts.callbacks);
    EXPECT_EQ(first, seen);
}

// A host knows a monitor by the address of its record, with which both calls name it.
TEST_F(ReplayTest, HeartMonitorsCanBeEndedAfterTheTraceAndBegunBeforeIt) {
    std::vector<uint32_t> seen;
    DxrHostHeartMonitor early{sizeof(early), 0, TakeLrId, &seen};
    DxrHostHeartMonitor late = early;
    const DxrHooks hooks = HeartHooks();
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
    EXPECT_EQ(0U, DXR_SetHeartMon(&early, 10, 1, 3));
    Record(hooks, [&] {
        EXPECT_EQ(0U, DXR_StopHeartToMon(&early));
        EXPECT_EQ(0U, DXR_SetHeartMon(&late, 10, 1, 3));
    });
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
    EXPECT_EQ(0U, DXR_StopHeartToMon(&late));
}

// What cannot be written is handed on as it is.
TEST_F(ReplayTest, HeartMonitorsMayBeConstants) {
    static std::vector<uint32_t> seen;
    static constexpr DxrHostHeartMonitor kMonitor{sizeof(kMonitor), 0, TakeLrId, &seen};
    Record(HeartHooks(), [] {
        EXPECT_EQ(0U, DXR_SetHeartMon(const_cast<DxrHostHeartMonitor *>(&kMonitor), 10, 0, 3));
    });
    EXPECT_EQ(seen, std::vector<uint32_t>{5});
    EXPECT_EQ(kMonitor.function, TakeLrId);
}

TEST_F(ReplayTest, MemoryIsRealAndHandlesAreTheRecordings) {
    DxrHooks hooks = {};
    static std::array<char, 64> block;
    hooks.memory.allocate = [](uint32_t, uint32_t size, const char *, uint32_t) -> void * {
        return size > block.size() ? nullptr : block.data();
    };
    hooks.memory.release = [](void *, const char *, uint32_t) {};
    hooks.list.createSll = []() -> void * { return &g_somewhere; };
    hooks.list.destroySll = [](void *) {};
    void *list = nullptr;
    const auto body = [&](uint32_t line, bool wrongBlock, bool wrongList) {
        EXPECT_EQ(nullptr, DXR_Malloc(1, 1000, "here", line));
        auto *const memory = static_cast<char *>(DXR_Malloc(1, 64, "here", line));
        ASSERT_NE(nullptr, memory);
        std::memset(memory, 1, 64);
        list = DXR_CreateSll();
        DXR_DestroySll(wrongList ? memory : list);
        DXR_Free(memory + (wrongBlock ? 1 : 0), "there", line);
    };
    Record(hooks, [&] { body(3, false, false); });
    // The place in the source is not compared.
    EXPECT_EQ(0U, Replay([&] { body(4, false, false); }).stopped);
    EXPECT_EQ(static_cast<void *>(&g_somewhere), list);
    const Replayed block1 = Replay([&] { body(3, true, false); }, true);
    EXPECT_EQ(1U, block1.stopped);
    EXPECT_NE(std::string::npos, block1.text.find("  block: expected 0x")) << block1.text;
    const Replayed list1 = Replay([&] { body(3, false, true); }, true);
    EXPECT_NE(std::string::npos, list1.text.find("  list: expected 0x")) << list1.text;
}

// What was mapped then is not there now. All callers get the same memory, as long as any asks for.
TEST_F(ReplayTest, ReservedMemoryIsMemory) {
    static std::array<char, 4096> area;
    DxrHooks hooks = {};
    hooks.dev.getRsvMemMmapAddr = [](void *, uint32_t, void *address) -> uint32_t {
        auto *const at = area.data();
        std::memcpy(address, &at, sizeof(at));
        return 0;
    };
    std::vector<char *> seen;
    const auto body = [&seen] {
        std::array<char, 4> name = {'l', 'o', 'g'};
        for (const uint32_t bytes : {8U, 4096U}) {
            char *address = nullptr;
            EXPECT_EQ(0U, DXR_GetRsvMemMmapAddr(name.data(), bytes, &address));
            ASSERT_NE(nullptr, address);
            seen.push_back(address);
        }
        EXPECT_EQ(seen[0], seen[1]);
    };
    Record(hooks, body);
    seen.clear();
    const Replayed replayed = Replay([&] {
        body();
        ASSERT_NE(area.data(), seen.at(0));
        seen[0][4095] = 'x';
    });
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ(0, area[4095]);
}

// Also of what the host writes to, the caller's own pointer comes back.
TEST_F(ReplayTest, ArgumentsThatAreAnsweredAreThoseOfNow) {
    DxrHooks hooks = {};
    hooks.db.getDestFicPort = [](void *, void *port) -> void * { return port; };
    std::array<char, 64> destination{};
    std::array<std::array<char, 64>, 2> ports{};
    size_t which = 0;
    const auto body = [&] {
        void *const port = ports.at(which).data();
        EXPECT_EQ(port, DXR_GetDestFicPort(destination.data(), port));
    };
    Record(hooks, body);
    which = 1;
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
}

TEST_F(ReplayTest, WhatIsCutIsSaid) {
    dataBytes_ = 8;
    DxrHooks hooks = {};
    hooks.system.getBinFolderName = []() -> const char * { return "12345678901"; };
    hooks.system.fRead = [](void *to, uint32_t size, uint32_t count, void *) -> uint32_t {
        std::memset(to, 'x', size_t{size} * count);
        return size * count;
    };
    std::array<char, 20> bytes{};
    const auto body = [&] { EXPECT_EQ(20U, DXR_FRead(bytes.data(), 1, 20, &bytes)); };
    Record(hooks, body);
    bytes = {};
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped);
    EXPECT_EQ("note: the recording keeps 8 of 20 bytes that DXR_FRead wrote\n", replayed.text);
    EXPECT_STREQ("xxxxxxxx", bytes.data());
}

TEST_F(ReplayTest, EmptySlotsStayEmpty) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    const auto body = [] {
        EXPECT_EQ(4U, DXR_GetLrId());
        (void)DXR_GetHardId(1, nullptr);
        EXPECT_EQ(nullptr, DXR_GetHooks()->dev.getHardId);
    };
    Record(hooks, body);
    const Replayed replayed = Replay(body);
    EXPECT_EQ(0U, replayed.stopped);
    EXPECT_EQ(1U, replayed.counts.calls);
    EXPECT_EQ(nullptr, DXR_GetHooks()->system.getLrId);  // the table is as before
}

// Also a thread that follows none of the recording: the replay is over before its second call.
TEST_F(ReplayTest, AfterTheEndAllCallsAnswerNull) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    Record(hooks, [] { EXPECT_EQ(4U, DXR_GetLrId()); });
    const Replayed replayed = Replay([] {
        std::thread([] {
            EXPECT_EQ(0U, DXR_GetLrId());
            EXPECT_EQ(0U, DXR_GetLrId());
        }).join();
        EXPECT_EQ(0U, DXR_GetLrId());
    });
    EXPECT_EQ(1U, replayed.stopped);
    EXPECT_EQ("a thread that the recording does not have calls DXR_GetLrId()\n", replayed.text);
}

TEST_F(ReplayTest, MisuseIsRefused) {
    EXPECT_EQ(static_cast<uint32_t>(EALREADY), DxrReplayStop(nullptr));
    DxrReplayOptions options;
    DxrReplayInitOptions(&options);
    options.loose = 2;
    std::array<char, 64> problem{};
    EXPECT_EQ(static_cast<uint32_t>(EINVAL),
              DxrReplayStart("x", &options, problem.data(), problem.size()));
    EXPECT_STREQ("wrong options", problem.data());
    DxrReplayInitOptions(&options);
    options.format = DXR_TRACE_CHROME;
    EXPECT_EQ(static_cast<uint32_t>(EINVAL),
              DxrReplayStart("x", &options, problem.data(), problem.size()));
    EXPECT_STREQ("wrong options", problem.data());
    EXPECT_EQ(static_cast<uint32_t>(ENOENT), DxrReplayStart("/nowhere", nullptr, nullptr, 0));
    Record({}, [] {});
    const Replayed replayed = Replay([&] {
        EXPECT_EQ(static_cast<uint32_t>(EALREADY),
                  DxrReplayStart(recording_.Path().c_str(), nullptr, nullptr, 0));
    });
    EXPECT_EQ(0U, replayed.stopped);
}

// Wherever it is cut: while no call is in it and nobody knows which slots were filled, any module
// would do the same.
TEST_F(ReplayTest, ARecordingThatEndsBeforeItsFirstCallIsRefused) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    const auto body = [] { (void)DXR_GetLrId(); };
    Record(hooks, body);
    const std::string whole = recording_.Bytes();
    size_t slotsEnd = dxr_trace::kFileHeadSize;
    for (int block = 0; block < 2; ++block) {  // how it was made, and the slots
        uint32_t size = 0;
        std::memcpy(&size, whole.data() + slotsEnd + 8, sizeof(size));
        slotsEnd += dxr_trace::kBlockHeadSize + size;
    }
    ASSERT_LT(slotsEnd, whole.size());
    for (size_t size = 1; size <= slotsEnd; ++size) {
        recording_.Write(whole.substr(0, size));
        const Replayed replayed = Replay(body, size % 2 == 0);
        if (size < slotsEnd) {
            ASSERT_EQ(static_cast<uint32_t>(ENODATA), replayed.started) << size;
            ASSERT_EQ("ends before its first call", replayed.problem) << size;
        } else {
            EXPECT_EQ(0U, replayed.started);
            EXPECT_EQ(0U, replayed.stopped);
            EXPECT_NE(std::string::npos, replayed.text.find("\nthe recording ends here: "))
                << replayed.text;
        }
    }
}

// --- Threads of the module's own

using Values = std::vector<uint32_t>;

// Calls DXR_ReadReg with each of the addresses; what it read.
Values Read(const std::vector<uint32_t> &addresses) {
    Values values;
    for (const uint32_t address : addresses) {
        uint32_t value = 0;
        (void)DXR_ReadReg(0, 0, address, &value);
        values.push_back(value);
    }
    return values;
}

Values ReadOnAThread(const std::vector<uint32_t> &addresses) {
    Values values;
    std::thread([&] { values = Read(addresses); }).join();
    return values;
}

class OwnThreadsTest : public ReplayTest {
  protected:
    // The main thread calls first: the others are not taken for it.
    template <typename Body>
    void RecordReads(const Body &body) {
        DxrHooks hooks = {};
        hooks.system.getLrId = []() -> uint32_t { return 4; };
        hooks.dev.readReg = [](uint32_t, uint32_t, uint32_t address, void *value) -> uint32_t {
            *static_cast<uint32_t *>(value) = 100 + address;
            return 0;
        };
        Record(hooks, [&] {
            (void)DXR_GetLrId();
            body();
        });
    }
};

// A thread that the recording does not have gets nothing, and takes nothing.
TEST_F(OwnThreadsTest, ANewOneTakesNoOthersPlace) {
    RecordReads([] {
        (void)ReadOnAThread({1, 2, 3});
        (void)ReadOnAThread({5, 6});
    });
    const Replayed replayed = Replay(
        [] {
            (void)DXR_GetLrId();
            EXPECT_EQ(Values({0, 0}), ReadOnAThread({8, 9}));
            EXPECT_EQ(Values({101, 102, 103}), ReadOnAThread({1, 2, 3}));
            EXPECT_EQ(Values({105, 106}), ReadOnAThread({5, 6}));
        },
        true);
    EXPECT_EQ(2U, replayed.counts.differences) << replayed.text;
    EXPECT_EQ(0U, replayed.counts.left);
    EXPECT_EQ(6U, replayed.counts.calls);
    EXPECT_EQ(3U, replayed.counts.threads);
    const std::string told = "a thread that the recording does not have calls DXR_ReadReg(";
    EXPECT_EQ(0U, replayed.text.find(told)) << replayed.text;
    EXPECT_NE(std::string::npos, replayed.text.find("\n" + told)) << replayed.text;
}

// One whose beginning is another one goes on where it does the same.
TEST_F(OwnThreadsTest, OneThatBeginsOtherwiseIsFoundByALaterCall) {
    RecordReads([] {
        (void)ReadOnAThread({7, 6, 5, 2});
        (void)ReadOnAThread({1, 2, 3});
    });
    const Replayed replayed = Replay(
        [] {
            (void)DXR_GetLrId();
            // Its second call waits for the other thread, which would have the same one later.
            std::atomic<bool> hasBegun = false;
            std::thread other([&] {
                EXPECT_EQ(Values({0}), Read({8}));
                hasBegun.store(true);
                hasBegun.notify_one();
                EXPECT_EQ(Values({102, 103}), Read({2, 3}));
            });
            hasBegun.wait(false);
            EXPECT_EQ(Values({107, 106, 105, 102}), ReadOnAThread({7, 6, 5, 2}));
            other.join();
        },
        true);
    EXPECT_EQ(2U, replayed.counts.differences) << replayed.text;
    EXPECT_EQ(1U, replayed.counts.left);
    EXPECT_EQ(3U, replayed.counts.threads);
}

TEST_F(OwnThreadsTest, WithoutLooseTheFirstDifferenceSaysWhatWasExpected) {
    RecordReads([] { (void)ReadOnAThread({1, 2}); });
    const Replayed replayed = Replay([] {
        (void)DXR_GetLrId();
        (void)ReadOnAThread({8});
    });
    EXPECT_EQ(1U, replayed.stopped);
    EXPECT_NE(std::string::npos, replayed.text.find("\n  arg3: expected 1, got 8\n"))
        << replayed.text;
}

class MainThreadTest : public OwnThreadsTest {
  protected:
    template <typename Body>
    void RecordAlone(const Body &body) {
        DxrHooks hooks = {};
        hooks.dev.readReg = [](uint32_t, uint32_t, uint32_t address, void *value) -> uint32_t {
            *static_cast<uint32_t *>(value) = 100 + address;
            return 0;
        };
        Record(hooks, body);
    }
};

// None of the other threads is taken for it.
TEST_F(MainThreadTest, WithoutCallsItStaysWithoutCalls) {
    RecordAlone([] {
        (void)ReadOnAThread({1, 2});
        (void)ReadOnAThread({3});
    });
    const Replayed same = Replay([] {
        EXPECT_EQ(Values({101, 102}), ReadOnAThread({1, 2}));
        EXPECT_EQ(Values({103}), ReadOnAThread({3}));
    });
    EXPECT_EQ(0U, same.stopped);
    EXPECT_EQ("", same.text);
    EXPECT_EQ(3U, same.counts.threads);

    const Replayed other = Replay([] { (void)Read({1, 2}); });
    EXPECT_EQ(1U, other.stopped);
    EXPECT_EQ(0U, other.text.find("the main thread, which has no calls: the call differs\n"
                                  "  expected  no call\n"
                                  "  got       DXR_ReadReg("))
        << other.text;
}

// It is the one that began the recording, also when the process's first thread makes calls.
TEST_F(MainThreadTest, ItIsTheOneThatBegan) {
    std::atomic<int> step = 0;
    const auto go = [&step](int to) {
        step = to;
        step.notify_all();
    };
    const auto readBetween = [&] {
        EXPECT_EQ(Values({101}), Read({1}));
        go(1);
        step.wait(1);
        EXPECT_EQ(Values({102}), Read({2}));
    };
    const auto beside = [&](const auto &body) {
        go(0);
        std::thread other(body);
        step.wait(0);
        EXPECT_EQ(Values({105, 106}), Read({5, 6}));
        go(2);
        other.join();
    };
    beside([&] { RecordAlone(readBetween); });
    Replayed replayed;
    beside([&] { replayed = Replay(readBetween); });
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ(4U, replayed.counts.calls);
    EXPECT_EQ(2U, replayed.counts.threads);
}

// --- Hash tables

struct KeyOfTable {
    uint32_t keyBytes;
    DxrHostHashCompare compare;
    const char *first;
    const char *second;
    const char *told;  // of the second key in the place of the first; null: it may be another
};

void PrintTo(const KeyOfTable &key, std::ostream *out) {
    *out << key.keyBytes << ' ' << key.first;
}

class KeysOfTables : public ReplayTest, public testing::WithParamInterface<KeyOfTable> {};

// As far as keys say the same in each run.
TEST_P(KeysOfTables, AreCompared) {
    const KeyOfTable &given = GetParam();
    DxrHooks hooks = {};
    hooks.hash.hashCreate = [](void *) -> void * { return &g_somewhere; };
    hooks.hash.hashInsert = [](void *, void *, void *, uint32_t, uint32_t) -> uint32_t {
        return 0;
    };
    hooks.hash.hashFindKey = [](void *, void *) -> void * { return nullptr; };
    hooks.hash.hashFree = [](void *) -> uint32_t { return 0; };
    std::array<char, 8> key{};
    const auto setKey = [&key](const char *text) {
        (void)std::snprintf(key.data(), key.size(), "%s", text);
    };
    const auto body = [&] {
        DxrHostHashOptions options{sizeof(options), given.keyBytes, 0,      0,
                                   nullptr,         given.compare,  nullptr};
        void *const table = DXR_HashCreate(&options);
        EXPECT_EQ(0U, DXR_HashInsert(table, key.data(), nullptr, 0, 0));
        EXPECT_EQ(0U, DXR_HashFree(table));
        EXPECT_EQ(nullptr, DXR_HashFindKey(table, key.data()));  // of which nothing is known now
    };
    setKey(given.first);
    Record(hooks, body);
    const Replayed same = Replay(body);
    EXPECT_EQ(0U, same.stopped) << same.text;
    setKey(given.second);
    const Replayed other = Replay(body);
    if (given.told == nullptr) {
        EXPECT_EQ(0U, other.stopped) << other.text;
    } else {
        EXPECT_NE(0U, other.stopped);
        EXPECT_NE(std::string::npos, other.text.find(given.told)) << other.text;
    }
}

int CompareTexts(const void *key, const void *other, void * /*user*/) {
    return std::strcmp(static_cast<const char *>(key), static_cast<const char *>(other));
}

INSTANTIATE_TEST_SUITE_P(All, KeysOfTables,
                         testing::Values(KeyOfTable{0, nullptr, "one", "two", "two"},
                                         KeyOfTable{0, CompareTexts, "one", "ones", "ones"},
                                         KeyOfTable{4, nullptr, "abcd", "abce", "61626365"},
                                         KeyOfTable{4, nullptr, "abcdx", "abcdy",
                                                    nullptr},  // beyond the key
                                         KeyOfTable{4, CompareTexts, "abc", "abd", nullptr},
                                         KeyOfTable{8, nullptr, "abcdefg", "abcdefh", nullptr}));

int CompareLetters(const void *key, const void *other, void *user) {
    ++*static_cast<uint32_t *>(user);
    return strcasecmp(static_cast<const char *>(key), static_cast<const char *>(other));
}

// Calls as a module makes them, with handles as a host gives them.
class HashTablesTest : public testing::Test {
  protected:
    struct Entry {
        std::string key;
        std::string data;
        uint64_t handle;
    };

    static uint64_t At(const void *place) { return reinterpret_cast<uintptr_t>(place); }

    uint64_t Follow(const char *function, const std::vector<uint64_t> &words, uint64_t result) {
        return tables_.Follow(function, words, result);
    }

    void Create(uint32_t keyBytes, DxrHostHashCompare compare) {
        const DxrHostHashOptions options{sizeof(options), keyBytes, 0,         0,
                                         nullptr,         compare,  &compared_};
        EXPECT_EQ(kTable, Follow("DXR_HashCreate", {At(&options)}, kTable));
    }

    std::vector<Entry>::iterator Find(const std::string &key, bool anyCase) {
        return std::find_if(entries_.begin(), entries_.end(), [&](const Entry &entry) {
            return anyCase ? strcasecmp(entry.key.c_str(), key.c_str()) == 0 : entry.key == key;
        });
    }

    void Insert(const std::string &key, const std::string &data, bool anyCase) {
        EXPECT_EQ(0U, Follow("DXR_HashInsert",
                             {kTable, At(key.c_str()), At(data.data()), data.size(),
                              DXR_HOST_HASH_REPLACE},
                             0));
        const auto known = Find(key, anyCase);
        if (known != entries_.end()) {
            known->data = data;
        } else {
            entries_.push_back({key, data, ++handles_});
        }
    }

    void Remove(const std::string &key, bool anyCase) {
        const auto known = Find(key, anyCase);
        const uint64_t result = known != entries_.end() ? 0 : ENOENT;
        EXPECT_EQ(result, Follow("DXR_HashRemove", {kTable, At(key.c_str())}, result));
        if (known != entries_.end()) {
            entries_.erase(known);
        }
    }

    void Look(const Entry &entry) {
        for (const auto &[what, bytes] :
             {std::pair(DXR_HOST_HASH_KEY, entry.key + '\0'), {DXR_HOST_HASH_DATA, entry.data}}) {
            const uint64_t offset = handles_ % bytes.size();
            const uint64_t place =
                Follow("DXR_HashGetFromEntry", {entry.handle, what, offset}, kRecorded);
            ASSERT_NE(kRecorded, place);
            ASSERT_EQ(0, std::memcmp(reinterpret_cast<const char *>(place), bytes.data() + offset,
                                     bytes.size() - offset));
        }
    }

    // From the first entry to the last; may remove the one that it is at.
    void Walk(const std::string &removed, bool anyCase) {
        std::vector<Entry> all = entries_;
        uint64_t before = 0;
        for (const Entry &entry : all) {
            (void)(before == 0 ? Follow("DXR_HashGetFirst", {kTable}, entry.handle)
                               : Follow("DXR_HashGetNext", {kTable, before}, entry.handle));
            Look(entry);
            before = entry.handle;
            if (entry.key == removed) {
                Remove(entry.key, anyCase);
            }
        }
        EXPECT_EQ(0U, before == 0 ? Follow("DXR_HashGetFirst", {kTable}, 0)
                                  : Follow("DXR_HashGetNext", {kTable, before}, 0));
    }

    static constexpr uint64_t kTable = 0x7000;
    static constexpr uint64_t kRecorded = 0x10;  // nothing is there
    dxr_trace::HashTables tables_;
    std::vector<Entry> entries_;
    uint64_t handles_ = 0x9000;
    uint32_t compared_ = 0;
};

TEST_F(HashTablesTest, AreWhatANaiveModelIs) {
    for (const bool anyCase : {false, true}) {
        std::mt19937 chance(7);
        const auto below = [&chance](uint32_t bound) { return chance() % bound; };
        const auto someKey = [&] {
            std::string key = (anyCase && below(2) != 0 ? "Key " : "key ");
            return key + std::to_string(below(20));
        };
        entries_.clear();
        Create(0, anyCase ? CompareLetters : nullptr);
        for (int step = 0; step < 2000 && !HasFailure(); ++step) {
            const std::string key = someKey();
            switch (below(5)) {
                case 0:
                case 1:
                    Insert(key, std::string(1 + below(40), static_cast<char>('a' + below(26))),
                           anyCase);
                    break;
                case 2:
                    Remove(key, anyCase);
                    break;
                case 3: {
                    const auto known = Find(key, anyCase);
                    const uint64_t handle = known != entries_.end() ? known->handle : 0;
                    EXPECT_EQ(handle, Follow("DXR_HashFindKey", {kTable, At(key.c_str())}, handle));
                    if (handle != 0) {
                        Look(*known);
                    }
                    break;
                }
                default:
                    Walk(key, anyCase);
                    break;
            }
        }
        EXPECT_EQ(anyCase, compared_ != 0);
    }
}

// Numbers as keys, pointers as data; and what is not known is answered as it was then.
TEST_F(HashTablesTest, WhatIsNotKnownIsAnsweredAsItWas) {
    const uint32_t key = 5;
    int own = 0;
    const std::vector<uint64_t> find = {kTable, At(&key)};
    const std::vector<uint64_t> data = {1, DXR_HOST_HASH_DATA, 0};
    EXPECT_EQ(1U, Follow("DXR_HashFindKey", find, 1));  // its table was made before the recording
    EXPECT_EQ(kRecorded, Follow("DXR_HashGetFromEntry", data, kRecorded));
    EXPECT_EQ(kTable, Follow("DXR_HashCreate", {0}, kTable));
    const uint32_t wrong = 8;
    EXPECT_EQ(kTable, Follow("DXR_HashCreate", {At(&wrong)}, kTable));
    EXPECT_EQ(1U, Follow("DXR_HashFindKey", find, 1));
    EXPECT_EQ(kRecorded, Follow("DXR_HashGetFromEntry", data, kRecorded));

    Create(sizeof(key), nullptr);
    EXPECT_EQ(kRecorded, Follow("DXR_HashGetFromEntry", data, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashInsert", {kTable, At(&key), At(&own), 0, 0}, 0));
    EXPECT_EQ(1U, Follow("DXR_HashCount", {kTable}, 1));
    EXPECT_EQ(1U, Follow("DXR_HashFindKey", find, 1));
    EXPECT_EQ(At(&own), Follow("DXR_HashGetFromEntry", data, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", data, 0));
    EXPECT_EQ(0U, Follow("DXR_HashFree", {kTable}, 0));
    EXPECT_EQ(kRecorded, Follow("DXR_HashGetFromEntry", data, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashRemove", find, 0));
}

// A module that puts in something else than then gets no address that leads nowhere.
TEST_F(HashTablesTest, WhatIsNotThereIsNull) {
    const uint32_t key = 5;
    const std::vector<uint64_t> find = {kTable, At(&key)};
    const std::vector<uint64_t> data = {1, DXR_HOST_HASH_DATA, 0};
    Create(sizeof(key), nullptr);
    EXPECT_EQ(1U, Follow("DXR_HashFindKey", find, 1));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", data, kRecorded));
    EXPECT_EQ(2U, Follow("DXR_HashGetNext", {kTable, 1}, 2));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", {2, DXR_HOST_HASH_KEY, 0}, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashInsert", {kTable, At(&key), At(&key), 4, 0}, 0));
    EXPECT_EQ(1U, Follow("DXR_HashFindKey", find, 1));
    EXPECT_NE(kRecorded, Follow("DXR_HashGetFromEntry", {1, DXR_HOST_HASH_KEY, 3}, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", {1, DXR_HOST_HASH_KEY, 4}, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", {1, DXR_HOST_HASH_DATA, 4}, kRecorded));
    EXPECT_EQ(0U, Follow("DXR_HashRemove", find, 0));
    EXPECT_EQ(0U, Follow("DXR_HashGetFromEntry", data, kRecorded));
}

// --- All slots

// Numbers by a salt, pointers to zeros of which there are enough.
Words ArgumentsOf(const Slot &slot, Word salt) {
    alignas(16) static std::array<std::array<char, 8192>, kMaxArguments> memory;
    const dxr_trace::SlotInfo &info = kSlots[slot.Absolute()];
    Words words = {};
    for (size_t i = 0; i < info.parameters.size(); ++i) {
        words[i] = info.parameters[i].width == dxr_trace::Width::kPointer
                       ? reinterpret_cast<Word>(memory[i].data())
                       : (i + salt) & 0x3F;
    }
    for (const FixedArgument &fixed : slot.fixed) {
        words[fixed.position] = fixed.value;
    }
    return words;
}

bool HasPointerResult(const Slot &slot) {
    return kSlots[slot.Absolute()].result == dxr_trace::Width::kPointer;
}

TEST(AllSlots, AnswerWhatTheirHooksAnsweredAndTellOtherNumbers) {
    const TestHost host;
    const Recording recording;
    std::vector<Slot> slots;
    RawTable table = {};
    for (const Slot &slot : ExpectedSlots()) {
        if (slot.use == Use::kDispatched) {
            slots.push_back(slot);
            table[slot.Absolute()] = slot.binding.recordingHook;
        }
    }
    ASSERT_LT(200U, slots.size());
    const auto hooks = std::bit_cast<DxrHooks>(table);
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
    // As large as what is kept of a result.
    static std::array<char, 8192> text = {'t', 'e', 'x', 't'};
    DxrTraceOptions options = recording.Options();
    options.pointers = DXR_TRACE_POINTERS_DEVHOST;
    options.dataBytes = text.size();
    ASSERT_EQ(0U, DxrTraceStart(&options));
    std::vector<Word> first;
    const auto callAll = [&](const auto &take) {
        for (const Slot &slot : slots) {
            for (const Word number : {Word{0}, Word{1}}) {
                const Word answer = HasPointerResult(slot) ? reinterpret_cast<Word>(&text) : 0x21;
                g_recorder.result = answer * number;
                take(slot, slot.binding.call(ArgumentsOf(slot, 3)));
            }
        }
    };
    callAll([&](const Slot &, Word result) { first.push_back(result); });
    ASSERT_EQ(0U, DxrTraceStop());

    DxrReplayOptions replay;
    DxrReplayInitOptions(&replay);
    replay.out = nullptr;
    ASSERT_EQ(0U, DxrReplayStart(recording.Path().c_str(), &replay, nullptr, 0));
    g_recorder.calls = 0;
    size_t at = 0;
    callAll([&](const Slot &slot, Word result) {
        // Texts and blocks are copies.
        const bool isPointer = HasPointerResult(slot);
        EXPECT_EQ(isPointer ? first[at] != 0 : first[at], isPointer ? result != 0 : result)
            << slot.name;
        ++at;
    });
    EXPECT_EQ(0U, g_recorder.calls);
    DxrReplayCounts counts{};
    EXPECT_EQ(0U, DxrReplayStop(&counts));
    EXPECT_EQ(first.size(), counts.calls);

    const std::string bytes = recording.Bytes();
    const dxr_trace::TraceFile file = dxr_trace::ReadTraceFile(bytes);
    for (const dxr_trace::TracedCall &call : file.calls) {
        const dxr_trace::SlotInfo &info = kSlots[call.slot];
        const auto isOpaque = [&info](size_t parameter) {
            return std::any_of(info.opaque.begin(), info.opaque.end(),
                               [parameter](const dxr_trace::MemoryPlace &place) {
                                   return place.parameter == parameter &&
                                          place.offset == dxr_trace::kDirect;
                               });
        };
        for (size_t i = 0; i < call.wordCount; ++i) {
            dxr_trace::TracedCall other = call;
            other.words[i] ^= 0x8;
            const bool isNumber = info.parameters[i].width != dxr_trace::Width::kPointer;
            EXPECT_EQ(!isNumber || isOpaque(i),
                      dxr_trace::IsSameCall(call, other, nullptr, nullptr))
                << info.name << ' ' << info.parameters[i].name;
        }
        for (size_t i = 0; i < call.in.size(); ++i) {
            dxr_trace::TracedCall other = call;
            const std::string changed = std::string(call.in[i].bytes) + "?";
            other.in[i].bytes = changed;
            other.in[i].whole = changed.size();
            EXPECT_EQ(isOpaque(call.in[i].Parameter()),
                      dxr_trace::IsSameCall(call, other, nullptr, nullptr))
                << info.name;
        }
    }
}

// --- The file's own list of slots

struct FileSlot {
    uint64_t number;
    std::string name;
    uint64_t result;
    std::vector<uint64_t> widths;
};

// Whether the one thread of a file began the recording.
enum class Began { kNotTold, kNo, kYes };

std::string FileWith(const std::vector<FileSlot> &slots, const std::vector<uint8_t> &calls,
                     Began began = Began::kNotTold) {
    Encoder start;
    for (const uint64_t value : {1U, 2U, 3U, 4U, 0U, 64U}) {
        start.Varint(value);
    }
    start.Text("2.0");
    start.Varint(1);
    if (began != Began::kNotTold) {
        start.Varint(1);
    }
    Encoder list;
    list.Varint(slots.size());
    for (const FileSlot &slot : slots) {
        list.Varint(slot.number);
        list.Text(slot.name);
        list.Varint(slot.result);
        list.Varint(slot.widths.size());
        for (const uint64_t width : slot.widths) {
            list.Text("name");
            list.Varint(width);
        }
    }
    Encoder thread;
    thread.Varint(1);
    thread.Varint(77);
    thread.Text("name");
    if (began != Began::kNotTold) {
        thread.Varint(began == Began::kYes ? 1 : 0);
    }
    Encoder events;
    for (const uint64_t value : {1U, 0U, 5U, 6U}) {  // thread, dropped, a moment
        events.Varint(value);
    }
    uint64_t sequence = 0;
    for (const uint8_t slot : calls) {
        for (const uint8_t kind : {uint8_t{1}, uint8_t{2}}) {
            events.Byte(kind);
            events.Byte(slot);
            events.Varint(sequence);
            events.Varint(2);
            events.Varint(kind == 1 ? 0 : 1);
            if (kind == 2) {
                events.Varint(40 + sequence);
            }
            events.Varint(0);
        }
        ++sequence;
    }
    std::string file = dxr_trace::FileHead();
    uint32_t number = 0;
    for (const auto &[kind, content] :
         {std::pair(BlockKind::kStart, start.Get()), std::pair(BlockKind::kFilled, list.Get()),
          std::pair(BlockKind::kThread, thread.Get()),
          std::pair(BlockKind::kCalls, events.Get())}) {
        file += BlockHead(kind, number++, content) + content;
    }
    return file;
}

// A release that has other numbers, and a function that this one does not have.
TEST(FilesOfOtherReleases, SlotsAreKnownByTheirNames) {
    const std::string file = FileWith(
        {{5, "DXR_GetLrId", 3, {}}, {6, "DXR_GetTomorrow", 3, {}}, {7, "DXR_GetCpuUseRate", 4, {}}},
        {6, 5, 7, 5});
    const dxr_trace::TraceFile read = dxr_trace::ReadTraceFile(file);
    EXPECT_EQ(dxr_trace::FileState::kCut, read.state);
    EXPECT_EQ(file.size(), read.goodBytes);
    ASSERT_EQ(2U, read.calls.size());
    for (const dxr_trace::TracedCall &call : read.calls) {
        EXPECT_STREQ("DXR_GetLrId", kSlots[call.slot].name);
        EXPECT_EQ(0U, call.depth);
        EXPECT_TRUE(call.hasReturned);
    }
    EXPECT_EQ(41U, read.calls[0].result);
    EXPECT_EQ(43U, read.calls[1].result);
    EXPECT_TRUE(read.filled[137]);
    EXPECT_EQ(1, std::count(read.filled.begin(), read.filled.end(), true));
    EXPECT_EQ(
        "2 calls of functions that this release does not have are left out, of "
        "DXR_GetTomorrow first",
        dxr_trace::ForeignText(read));
}

TEST(FilesOfOtherReleases, WhereNothingTellsWhoBeganTheFirstThreadIsTheMainOne) {
    const auto numbersOf = [](Began began) {
        const std::string bytes = FileWith({{5, "DXR_GetLrId", 3, {}}}, {5}, began);
        const dxr_trace::TraceFile file = dxr_trace::ReadTraceFile(bytes);
        std::vector<uint32_t> numbers;
        for (const dxr_trace::ScriptThread &thread : dxr_trace::MakeScript(file).threads) {
            numbers.push_back(thread.number);
        }
        return numbers;
    };
    EXPECT_EQ((std::vector<uint32_t>{1}), numbersOf(Began::kNotTold));
    EXPECT_EQ((std::vector<uint32_t>{1}), numbersOf(Began::kYes));
    EXPECT_EQ((std::vector<uint32_t>{0, 1}), numbersOf(Began::kNo));
}

// What is told is one line, whatever the file says.
TEST(FilesOfOtherReleases, NamesOfSlotsAreShownAsText) {
    const std::string file = FileWith({{6, "DXR_\x1b[2J\n\"x", 3, {}}}, {6});
    EXPECT_EQ(
        "1 calls of functions that this release does not have are left out, of "
        "DXR_\\x1b[2J\\x0a\\\"x first",
        dxr_trace::ForeignText(dxr_trace::ReadTraceFile(file)));
}

TEST(FilesOfOtherReleases, AListThatContradictsItselfIsRefused) {
    const FileSlot known = {5, "DXR_GetLrId", 3, {}};
    const auto refuses = [](const std::string &file) {
        return dxr_trace::ReadTraceFile(file).state == dxr_trace::FileState::kDamaged;
    };
    EXPECT_FALSE(refuses(FileWith({known}, {5})));
    EXPECT_TRUE(refuses(FileWith({known}, {6})));
    EXPECT_TRUE(refuses(FileWith({known, known}, {})));
    EXPECT_TRUE(refuses(FileWith({known, {9, "DXR_GetLrId", 3, {}}}, {})));
    EXPECT_TRUE(refuses(FileWith({known, {5, "DXR_GetTomorrow", 3, {}}}, {})));
    EXPECT_TRUE(refuses(FileWith({{256, "DXR_GetLrId", 3, {}}}, {})));
}

}  // namespace
}  // namespace dxrtest
