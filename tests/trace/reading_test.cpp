// What reads recordings, to replay or to compare them: without memory, on a full disk, and where
// two of them differ.
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dxr_devhost/system.h"
#include "dxr_trace.h"
#include "support/new_watch.h"
#include "support/test_host.h"
#include "trace/recording.h"
#include "trace/replay_fixture.h"

namespace dxrtest {
namespace {

// --- Without memory

void *CallLrId(void * /*argument*/) {
    (void)DXR_GetLrId();
    return nullptr;
}

// With a thread of the host's, one of the module's own, and much that the replay remembers.
DxrHooks BusyHooks() {
    static std::array<char, 64> block;
    DxrHooks hooks = {};
    hooks.system.startTimer = [](void *timer) -> uint32_t {
        const DxrHostTimer given = *static_cast<DxrHostTimer *>(timer);
        std::thread([&given] { given.function(given.argument); }).join();
        return 0;
    };
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    hooks.system.getBinFolderName = []() -> const char * { return "a folder with a long name"; };
    hooks.memory.allocate = [](uint32_t, uint32_t, const char *, uint32_t) -> void * {
        return block.data();
    };
    hooks.memory.release = [](void *, const char *, uint32_t) {};
    return hooks;
}

void BeBusy(bool hasThread) {
    static const auto onTimer = [](void *) { (void)DXR_GetLrId(); };
    DxrHostTimer timer = {sizeof(timer), 5, 1, 0, onTimer, nullptr, nullptr};
    (void)DXR_StartTimer(&timer);
    void *const block = DXR_Malloc(1, 64, "here", 1);
    (void)DXR_GetBinFolderName();
    pthread_t thread{};
    if (hasThread && pthread_create(&thread, nullptr, CallLrId, nullptr) == 0) {
        (void)pthread_join(thread, nullptr);
    }
    if (block != nullptr) {
        DXR_Free(block, "there", 2);
    }
}

// Whichever allocation fails: the replay ends, with a difference or without having begun, and
// leaves nothing. Without the module's own thread the last call waits for it.
TEST_F(ReplayTest, AFailedAllocationEndsIt) {
    Record(BusyHooks(), [] { BeBusy(true); });
    for (const int variant : {0, 1, 2, 3}) {
        const bool isWhole = variant % 2 == 0;
        const bool onwards = variant >= 2;
        DxrReplayOptions options;
        DxrReplayInitOptions(&options);
        options.patienceMs = isWhole ? 10000 : 1;
        options.out = nullptr;
        bool hasFailed = true;
        uint32_t refused = 0;
        uint32_t ended = 0;
        // The first one without, so that what a thread keeps for later is there.
        for (size_t n = 0; n == 0 || hasFailed; ++n) {
            std::array<char, 64> problem{};
            uint32_t started = 0;
            uint32_t stopped = 0;
            const auto replay = [&] {
                started = DxrReplayStart(recording_.Path().c_str(), &options, problem.data(),
                                         problem.size());
                if (started == 0) {
                    BeBusy(isWhole);
                    stopped = DxrReplayStop(nullptr);
                }
            };
            ASSERT_EQ(Outcome::kDone, RunFailing(n, replay, onwards)) << n;
            const bool failed = NewWatch::Failed();
            hasFailed = n == 0 || failed;
            EXPECT_EQ(n == 0 ? NewWatch::Live() : 0U, NewWatch::Live()) << n;
            EXPECT_EQ(static_cast<uint32_t>(EALREADY), DxrReplayStop(nullptr));
            EXPECT_EQ(nullptr, DXR_GetHooks()->system.getLrId);
            if (!failed) {
                EXPECT_EQ(0U, started);
                EXPECT_EQ(isWhole ? 0U : 1U, stopped);
            } else if (started == 0) {
                // Sorting can do without the memory that it asks for.
                EXPECT_TRUE(stopped == 1 || isWhole) << n;
                ended += stopped;
            } else {
                ++refused;
                EXPECT_EQ(static_cast<uint32_t>(ENOMEM), started) << n;
                EXPECT_STREQ("not enough memory", problem.data());
            }
            ASSERT_FALSE(HasFailure()) << "allocation " << n << ", variant " << variant;
        }
        EXPECT_LT(0U, refused);
        EXPECT_LT(0U, ended);
    }
}

TEST_F(ReplayTest, WithoutMemoryItSaysSo) {
    Record(BusyHooks(), [] { BeBusy(true); });
    Replayed replayed;
    const auto body = [] {
        NewWatch::Begin(1, true);
        EXPECT_EQ(nullptr, DXR_GetBinFolderName());
        NewWatch::End();
    };
    replayed = Replay(body);
    EXPECT_EQ(1U, replayed.stopped);
    EXPECT_EQ("the replay ends: not enough memory\n", replayed.text);
}

thread_local std::jmp_buf t_end;

struct GivenTask {
    void (*entry)(void *);
    void *argument;
};

void *RunTask(void *given) {
    const GivenTask task = *static_cast<GivenTask *>(given);
    if (_setjmp(t_end) == 0) {
        task.entry(task.argument);
    }
    return nullptr;
}

// A task that never came back out of a function that the host called in one of its calls.
TEST_F(ReplayTest, ATaskThatEndsWithinACallLeavesNothing) {
    DxrHooks hooks = {};
    hooks.task.createTask = [](void *, void *entry, void *argument, uint32_t, void *, uint32_t,
                               void *) -> uint32_t {
        GivenTask task{reinterpret_cast<void (*)(void *)>(entry), argument};
        pthread_t thread{};
        EXPECT_EQ(0, pthread_create(&thread, nullptr, RunTask, &task));
        EXPECT_EQ(0, pthread_join(thread, nullptr));
        return 0;
    };
    hooks.system.startTimer = [](void *timer) -> uint32_t {
        const auto &given = *static_cast<DxrHostTimer *>(timer);
        given.function(given.argument);
        return 0;
    };
    hooks.task.delayTask = [](uint32_t) -> uint32_t { std::longjmp(t_end, 1); };
    const auto body = [] {
        void (*const task)(void *) = [](void *) {
            DxrHostTimer timer = {
                sizeof(timer), 5, 1, 0, [](void *) { (void)DXR_DelayTask(1); }, nullptr, nullptr};
            (void)DXR_StartTimer(&timer);
            ADD_FAILURE() << "this is not reached";
        };
        (void)DXR_CreateTask(nullptr, reinterpret_cast<void *>(task), nullptr, 1, nullptr, 0,
                             nullptr);
    };
    Record(hooks, body);
    (void)Replay(body);  // what this thread keeps for later
    NewWatch::Begin(0);
    const Replayed replayed = Replay(body);
    NewWatch::End();
    EXPECT_EQ(0U, replayed.stopped) << replayed.text;
    EXPECT_EQ(3U, replayed.counts.calls);
    EXPECT_EQ(0U, NewWatch::Live());
}

// --- Differences between recordings

struct Diffed {
    uint32_t result = 0;
    std::string text;
    std::string problem;
};

Diffed Diff(const Recording &a, const Recording &b) {
    Diffed diffed;
    std::array<char, 256> problem{};
    char *text = nullptr;
    size_t size = 0;
    FILE *const out = open_memstream(&text, &size);
    diffed.result =
        DxrTraceDiff(a.Path().c_str(), b.Path().c_str(), 0, out, problem.data(), problem.size());
    (void)std::fclose(out);
    diffed.text = text;
    diffed.problem = problem.data();
    std::free(text);
    return diffed;
}

class DiffTest : public testing::Test {
  protected:
    // A recording of a text that is given and bytes that are read.
    static void Record(const Recording &recording, uint32_t dataBytes, uint32_t pointers,
                       const std::string &text, const std::string &bytes) {
        static std::string answer;
        answer = bytes;
        DxrHooks hooks = {};
        hooks.alarm.alarm = [](uint32_t, uint32_t, uint32_t, uint32_t, void *) -> uint32_t {
            return 0;
        };
        hooks.system.fRead = [](void *to, uint32_t, uint32_t, void *) -> uint32_t {
            std::memcpy(to, answer.data(), answer.size());
            return static_cast<uint32_t>(answer.size());
        };
        ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
        DxrTraceOptions options = recording.Options();
        options.pointers = pointers;
        options.dataBytes = dataBytes;
        ASSERT_EQ(0U, DxrTraceStart(&options));
        std::string given = text;
        std::array<char, 64> room{};
        (void)DXR_Alarm(1, 2, 3, 4, given.data());
        (void)DXR_FRead(room.data(), 1, room.size(), &room);
        ASSERT_EQ(0U, DxrTraceStop());
        (void)DXR_RegisterHooks(nullptr);
    }

    TestHost host_;
    Recording a_;
    Recording b_;
};

constexpr uint32_t kAllPointers = DXR_TRACE_POINTERS_DEVHOST;

// Of pieces that one keeps longer than the other no more is compared than both have.
TEST_F(DiffTest, RecordingsThatKeepLessAreComparedAsFarAsBothGo) {
    const std::string note =
        "note: the first recording keeps 8 bytes of each piece, the second 64; only what both keep "
        "is compared\n";
    const std::string same = note + "main thread: the same, 2 calls\n";
    const std::string text = "a text of more than that";
    const std::string bytes(20, 'x');
    Record(a_, 8, kAllPointers, text, bytes);
    Record(b_, 64, kAllPointers, text, bytes);
    EXPECT_EQ(same, Diff(a_, b_).text);
    EXPECT_EQ(0U, Diff(b_, a_).result);
    Record(b_, 64, kAllPointers, text + ", other", bytes.substr(0, 10) + "yyyyyyyyyy");
    EXPECT_EQ(same, Diff(a_, b_).text);
    // What both have does differ: the beginning, the length.
    for (const char *const other : {"A text of more than that", "a text", "a text o"}) {
        Record(b_, 64, kAllPointers, other, bytes);
        const Diffed diffed = Diff(a_, b_);
        EXPECT_EQ(1U, diffed.result) << other;
        EXPECT_EQ(note + "main thread: parts after 0 equal calls\n",
                  diffed.text.substr(0, diffed.text.find("  - ")));
    }
    Record(b_, 64, kAllPointers, text, bytes + "x");
    EXPECT_EQ(1U, Diff(a_, b_).result);
}

TEST_F(DiffTest, RecordingsThatFollowLessAreComparedAsFarAsBothGo) {
    Record(a_, 64, DXR_TRACE_POINTERS_NONE, "text", "bytes");
    Record(b_, 64, kAllPointers, "text", "bytes");
    const Diffed diffed = Diff(b_, a_);
    EXPECT_EQ(0U, diffed.result);
    EXPECT_EQ(
        "note: the first recording follows those of the development host, too, the second no "
        "pointers; only what both follow is compared\n"
        "main thread: the same, 2 calls\n",
        diffed.text);
    Record(a_, 64, DXR_TRACE_POINTERS_INTERFACE, "other", "bytes");
    EXPECT_EQ(0U, Diff(a_, b_).result);
    Record(a_, 64, DXR_TRACE_POINTERS_INTERFACE, "text", "bytes, more of them");
    EXPECT_EQ(1U, Diff(a_, b_).result);
}

void (*g_given)(void *) = nullptr;
void *g_argument = nullptr;
bool g_callsWithin = false;

// The same calls in the same order, but one of them within another one.
TEST_F(DiffTest, WhereACallIsMadeIsTold) {
    DxrHooks hooks = {};
    hooks.system.startTimer = [](void *timer) -> uint32_t {
        const auto &given = *static_cast<DxrHostTimer *>(timer);
        g_given = given.function;
        g_argument = given.argument;
        if (g_callsWithin) {
            g_given(g_argument);
        }
        return 0;
    };
    for (const Recording *const recording : {&a_, &b_}) {
        g_callsWithin = recording == &a_;
        ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
        DxrTraceOptions options = recording->Options();
        options.callbacks = 1;
        options.pointers = kAllPointers;
        ASSERT_EQ(0U, DxrTraceStart(&options));
        DxrHostTimer timer = {sizeof(timer), 5, 1, 0, [](void *) {}, nullptr, nullptr};
        (void)DXR_StartTimer(&timer);
        if (!g_callsWithin) {
            g_given(g_argument);
        }
        ASSERT_EQ(0U, DxrTraceStop());
        (void)DXR_RegisterHooks(nullptr);
    }
    const Diffed diffed = Diff(a_, b_);
    EXPECT_EQ(1U, diffed.result);
    EXPECT_NE(std::string::npos,
              diffed.text.find("\n    calls that it is made in: expected 1, got 0\n"))
        << diffed.text;
}

// Each of `threads` reads registers at these addresses, one thread after the other; the main thread
// makes one call before, or none.
void RecordThreads(const Recording &recording, const std::vector<std::vector<uint32_t>> &threads,
                   bool mainCalls = true) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    hooks.dev.readReg = [](uint32_t, uint32_t, uint32_t, void *) -> uint32_t { return 0; };
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
    const DxrTraceOptions options = recording.Options();
    ASSERT_EQ(0U, DxrTraceStart(&options));
    if (mainCalls) {
        (void)DXR_GetLrId();
    }
    for (const std::vector<uint32_t> &addresses : threads) {
        std::thread([&addresses] {
            for (const uint32_t address : addresses) {
                uint32_t value = 0;
                (void)DXR_ReadReg(0, 0, address, &value);
            }
        }).join();
    }
    ASSERT_EQ(0U, DxrTraceStop());
    (void)DXR_RegisterHooks(nullptr);
}

// The lines that are not of calls.
std::string Heads(const std::string &text) {
    std::string heads;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        heads += line.empty() || line[0] == ' ' ? "" : line + "\n";
    }
    return heads;
}

// Nothing says which of two threads begins first.
TEST_F(DiffTest, ThreadsThatBeginInAnotherOrderAreTheSame) {
    RecordThreads(a_, {{1, 2}, {1, 3}, {4}, {4}});
    RecordThreads(b_, {{4}, {1, 3}, {4}, {1, 2}});
    const Diffed diffed = Diff(a_, b_);
    EXPECT_EQ(0U, diffed.result);
    EXPECT_EQ(
        "main thread: the same, 1 call\n"
        "other thread 1, 4 of the second recording: the same, 2 calls\n"
        "other thread 2: the same, 2 calls\n"
        "other thread 3, 1 of the second recording: the same, 1 call\n"
        "other thread 4, 3 of the second recording: the same, 1 call\n",
        diffed.text);
}

// What did not do the same is compared with what began alike, and what is left in its order.
TEST_F(DiffTest, ThreadsThatDifferAreComparedWithTheOnesThatBeganAlike) {
    RecordThreads(a_, {{1, 2}, {5, 6}, {8}});
    RecordThreads(b_, {{9}, {5, 7}, {3, 4}, {1, 2}});
    EXPECT_EQ(
        "main thread: the same, 1 call\n"
        "other thread 1, 4 of the second recording: the same, 2 calls\n"
        "other thread 2: parts after 1 equal call\n"
        "other thread 3, 1 of the second recording: parts after 0 equal calls\n"
        "other thread 3 of the second recording: parts after 0 equal calls; the first recording "
        "has no more\n",
        Heads(Diff(a_, b_).text));
    EXPECT_EQ(
        "main thread: the same, 1 call\n"
        "other thread 1, 3 of the second recording: parts after 0 equal calls\n"
        "other thread 2: parts after 1 equal call\n"
        "other thread 3: parts after 0 equal calls; the second recording has no more\n"
        "other thread 4, 1 of the second recording: the same, 2 calls\n",
        Heads(Diff(b_, a_).text));
}

// No other thread stands for it.
TEST_F(DiffTest, AMainThreadWithoutCallsIsComparedAsOne) {
    RecordThreads(a_, {{1, 2}, {3}}, false);
    RecordThreads(b_, {{1, 2}, {3}}, true);
    EXPECT_EQ(
        "main thread: the same, 0 calls\n"
        "other thread 1: the same, 2 calls\n"
        "other thread 2: the same, 1 call\n",
        Diff(a_, a_).text);
    EXPECT_EQ(
        "main thread: parts after 0 equal calls; the first recording has no more\n"
        "other thread 1: the same, 2 calls\n"
        "other thread 2: the same, 1 call\n",
        Heads(Diff(a_, b_).text));
}

TEST_F(DiffTest, WhatCannotBeWrittenIsTold) {
    FILE *const full = std::fopen("/dev/full", "w");
    if (full == nullptr) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    (void)std::setvbuf(full, nullptr, _IONBF, 0);
    Record(a_, 64, kAllPointers, "text", "bytes");
    std::array<char, 64> problem{};
    EXPECT_EQ(2U, DxrTraceDiff(a_.Path().c_str(), a_.Path().c_str(), 0, full, problem.data(),
                               problem.size()));
    EXPECT_STREQ("cannot be written: No space left on device", problem.data());
    (void)std::fclose(full);
}

// What tells of a recording, each of its allocations failing in turn.
TEST_F(DiffTest, ReadersWithoutMemorySaySo) {
    Record(a_, 64, kAllPointers, "a text of more than a few bytes", "bytes");
    Record(b_, 16, kAllPointers, "another text of more than that", "bytes");
    const char *const a = a_.Path().c_str();
    const char *const b = b_.Path().c_str();
    FILE *const out = std::fopen("/dev/null", "w");
    std::array<char, 64> problem{};
    const auto visit = [](const DxrTraceCall *, void *) {};
    const auto diff = [&] { return DxrTraceDiff(a, b, 1, out, problem.data(), problem.size()); };
    const auto read = [&] {
        return DxrTraceRead(a, visit, nullptr, problem.data(), problem.size());
    };
    const auto write = [&](uint32_t format) {
        return DxrTraceExport(a, format, out, problem.data(), problem.size());
    };
    const auto failEach = [&](const auto &function, uint32_t without, uint32_t with) {
        for (const bool onwards : {false, true}) {
            bool hasFailed = true;
            for (size_t n = 1; hasFailed; ++n) {
                uint32_t result = 0;
                ASSERT_EQ(Outcome::kDone, RunFailing(
                                              n, [&] { result = function(); }, onwards));
                hasFailed = NewWatch::Failed();
                // Sorting can do without the memory that it asks for.
                ASSERT_TRUE(result == with || (hasFailed && result == without)) << n;
                ASSERT_STREQ(result == with ? "" : "not enough memory", problem.data()) << n;
                ASSERT_EQ(0U, NewWatch::Live()) << n;
            }
        }
    };
    failEach(diff, 2, 1);
    failEach(read, ENOMEM, 0);
    for (uint32_t format = DXR_TRACE_TEXT; format <= DXR_TRACE_COUNTS_JSON; ++format) {
        failEach([&] { return write(format); }, ENOMEM, 0);
    }
    (void)std::fclose(out);
}

// A trace that cannot begin leaves the table as it is; one that runs out of memory later says so.
TEST_F(DiffTest, ATraceWithoutMemorySaysSo) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    hooks.system.startTimer = [](void *) -> uint32_t { return 0; };
    for (const bool onwards : {false, true}) {
        bool hasFailed = true;
        for (size_t n = 1; hasFailed; ++n) {
            ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
            DxrTraceOptions options = a_.Options();
            options.callbacks = 1;
            options.pointers = kAllPointers;
            uint32_t started = 0;
            uint32_t stopped = 0;
            uint64_t unnoted = 0;
            const auto trace = [&] {
                started = DxrTraceStart(&options);
                if (started == 0) {
                    EXPECT_EQ(4U, DXR_GetLrId());
                    DxrHostTimer timer = {sizeof(timer), 5, 1, 0, [](void *) {}, nullptr, nullptr};
                    EXPECT_EQ(0U, DXR_StartTimer(&timer));
                    stopped = DxrTraceStop();
                    unnoted = DxrTraceGetUnnoted();
                }
            };
            ASSERT_EQ(Outcome::kDone, RunFailing(n, trace, onwards)) << n;
            hasFailed = NewWatch::Failed();
            EXPECT_EQ(hooks.system.getLrId, DXR_GetHooks()->system.getLrId) << n;
            EXPECT_EQ(static_cast<uint32_t>(EALREADY), DxrTraceStop());
            if (started != 0) {
                EXPECT_EQ(static_cast<uint32_t>(ENOMEM), started) << n;
            } else if (stopped != 0) {
                EXPECT_EQ(static_cast<uint32_t>(ENOMEM), stopped) << n;
            }
            EXPECT_TRUE(hasFailed || (started == 0 && stopped == 0 && unnoted == 0)) << n;
            ASSERT_FALSE(HasFailure()) << "allocation " << n;
        }
    }
    (void)DXR_RegisterHooks(nullptr);
}

// A reader beside the writer gets whole calls, and never fewer than before.
TEST_F(DiffTest, ARecordingCanBeReadWhileItIsWritten) {
    DxrHooks hooks = {};
    hooks.system.getLrId = []() -> uint32_t { return 4; };
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
    a_.Start();
    constexpr uint64_t kCalls = 5000;
    std::atomic<bool> hasEnded = false;
    std::thread writer([&hasEnded] {
        for (uint64_t i = 0; i < kCalls; ++i) {
            (void)DXR_GetLrId();
        }
        hasEnded = true;
    });
    const auto count = [](const DxrTraceCall *, void *user) { ++*static_cast<uint64_t *>(user); };
    std::array<char, 64> problem{};
    uint64_t before = 0;
    while (!hasEnded) {
        uint64_t calls = 0;
        EXPECT_EQ(static_cast<uint32_t>(ENODATA),
                  DxrTraceRead(a_.Path().c_str(), count, &calls, problem.data(), problem.size()));
        EXPECT_EQ(std::string(problem.data()).rfind("has no end after ", 0), 0U) << problem.data();
        EXPECT_LE(before, calls);
        before = calls;
    }
    writer.join();
    ASSERT_EQ(0U, DxrTraceStop());
    (void)DXR_RegisterHooks(nullptr);
    uint64_t calls = 0;
    EXPECT_EQ(0U, DxrTraceRead(a_.Path().c_str(), count, &calls, nullptr, 0));
    EXPECT_EQ(kCalls, calls);
}

// What is none is not read to its end, which it need not have.
TEST(Readers, ADeviceIsNoRecording) {
    std::array<char, 64> problem{};
    EXPECT_EQ(static_cast<uint32_t>(EINVAL),
              DxrTraceExport("/dev/zero", DXR_TRACE_TEXT, stdout, problem.data(), problem.size()));
    EXPECT_STREQ("is no recording", problem.data());
}

}  // namespace
}  // namespace dxrtest
