// Ends: of hosts while threads wait in them or run their code, of runs, of threads that a host
// knows.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/sanitizers.h"

namespace {

using dxrtest::Bounded;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kCanceled = static_cast<uint32_t>(ECANCELED);

class RealEnd : public dxrtest::RealHost {};
class VirtualEnd : public dxrtest::VirtualHost {};

uint32_t Spawn(void (*entry)(void *), void *argument) {
    uint32_t id = 0;
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(entry), argument, 10, nullptr, 0, &id),
        0U);
    return id;
}

DxrHost *MakeVirtual() {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    options.printLevel = 0;
    return DxrHostCreate(&options);
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// --- Threads that the host knows, but did not make

TEST_F(RealEnd, AThreadThatHasEndedIsNoTask) {
    uint32_t id = 0;
    std::thread([&] { id = DxrHostGetTaskId(host); }).join();
    EXPECT_NE(id, 0U);
    EXPECT_EQ(DXR_WriteEvent(id, 1), static_cast<uint32_t>(ESRCH));
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), 0U);
}

TEST_F(RealEnd, TheEndOfAThreadEndsAJoin) {
    std::atomic<uint32_t> id{0};
    std::atomic<bool> mayEnd{false};
    std::thread thread([&] {
        id = DxrHostGetTaskId(host);
        while (!mayEnd) {
            std::this_thread::yield();
        }
    });
    while (id == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), static_cast<uint32_t>(ETIMEDOUT));
    mayEnd = true;
    EXPECT_EQ(DxrHostJoinTask(host, id, 60000), 0U);
    thread.join();
}

TEST_F(VirtualEnd, AThreadThatHasEndedHidesNoDeadlock) {
    std::thread([&] { (void)DxrHostGetTaskId(host); }).join();
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

TEST_F(VirtualEnd, AThreadThatEndsWhileAllWaitLeavesADeadlock) {
    std::atomic<bool> isKnown{false};
    std::thread thread([&] {
        (void)DxrHostGetTaskId(host);
        isKnown = true;
        Pause();
    });
    while (!isKnown) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    thread.join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

TEST_F(RealEnd, EachHostForgetsAThreadThatHasEnded) {
    DxrHost *const other = DxrHostCreate(nullptr);
    DxrHost *const virtualOne = MakeVirtual();
    std::array<uint32_t, 3> ids{};
    std::thread([&] {
        ids = {DxrHostGetTaskId(other), DxrHostGetTaskId(host), DxrHostGetTaskId(virtualOne)};
    }).join();
    EXPECT_THAT(ids, testing::Each(testing::Ne(0U)));
    EXPECT_EQ(DxrHostJoinTask(other, ids[0], 0), 0U);
    EXPECT_EQ(DxrHostJoinTask(host, ids[1], 0), 0U);
    EXPECT_EQ(DxrHostJoinTask(virtualOne, ids[2], 0), 0U);
    EXPECT_EQ(DxrHostDestroy(other, nullptr), 0U);
    EXPECT_EQ(DxrHostDestroy(virtualOne, nullptr), 0U);
}

// --- What a thread holds at its end

TEST_F(RealEnd, AThreadThatEndsWithMutexesIsReported) {
    DxrHost *const other = DxrHostCreate(nullptr);
    DxrHostSetReportSink(
        other, [](const DxrHostReport *, void *) {}, nullptr);
    std::array<void *, 4> mutexes{};
    for (size_t i = 0; i < mutexes.size(); ++i) {
        DxrHostRegister(i < 3 ? host : other);
        EXPECT_EQ(DXR_InitMutex(&mutexes[i], nullptr), 0U);
    }
    DxrHostRegister(host);
    const auto lock = [&](size_t i) { EXPECT_EQ(DXR_LockMutex(mutexes[i]), 0U); };
    std::thread([&] {
        lock(0);
        EXPECT_EQ(DXR_LockMutex(mutexes[1]), 0U);
        EXPECT_EQ(DXR_LockMutex(mutexes[2]), 0U);
        EXPECT_EQ(DXR_UnlockMutex(mutexes[1]), 0U);
        DxrHostRegister(other);
        lock(3);
        DxrHostRegister(host);
    }).join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(testing::MatchesRegex("a thread has ended and holds mutex 1, locked by "
                                                  ".+: it stays locked"),
                            testing::MatchesRegex("a thread has ended and holds mutex 3, locked by "
                                                  ".+: it stays locked")));
    EXPECT_EQ(DXR_DestroyMutex(mutexes[0]), static_cast<uint32_t>(EBUSY));
    EXPECT_EQ(DXR_DestroyMutex(mutexes[1]), 0U);
    DxrHostReport elsewhere{};
    EXPECT_TRUE(DxrHostGetReport(other, 0, &elsewhere));
    EXPECT_THAT(elsewhere.text, HasSubstr("a thread has ended and holds mutex 1, locked by "));
    EXPECT_EQ(DxrHostDestroy(other, nullptr), 1U);
    EXPECT_EQ(End(), 2U);
}

// What a task unlocks while its host ends finds no host.
TEST_F(RealEnd, NoMutexIsHeldByATaskThatTheEndOvertakes) {
    static void *mutex;
    static std::atomic<bool> isAtWork;
    for (int i = 0; i < 300; ++i) {
        isAtWork = false;
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
        Spawn(
            [](void *) {
                for (int j = 0; j < 400 && DXR_LockMutex(mutex) == 0; ++j) {
                    isAtWork = true;
                    if (DXR_UnlockMutex(mutex) != 0) {
                        return;
                    }
                }
            },
            nullptr);
        while (!isAtWork) {
            std::this_thread::yield();
        }
        (void)End();
        for (const DxrHostReport &report : reports) {
            ASSERT_EQ(std::string(report.text).find("has ended and holds"), std::string::npos)
                << report.text;
        }
        Begin();
    }
}

TEST_F(VirtualEnd, ATaskThatEndsWithAMutexIsReported) {
    static void *mutex;
    EXPECT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    const uint32_t id = Spawn([](void *) { EXPECT_EQ(DXR_LockMutex(mutex), 0U); }, nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_MISUSE),
        ElementsAre(HasSubstr("task 2 \"task 2\" has ended and holds mutex 1, locked by ")));
    EXPECT_EQ(DXR_LockMutex(mutex), kCanceled);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

// The end of a host ends tasks wherever they are.
TEST_F(VirtualEnd, ATaskThatIsEndedWithAMutexIsNot) {
    static void *mutex;
    EXPECT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    const auto lock = [](void *) {
        EXPECT_EQ(DXR_LockMutex(mutex), 0U);
        (void)DXR_DelayTask(DXR_HOST_FOREVER);
    };
    Spawn(lock, nullptr);
    EXPECT_EQ(DXR_DelayTask(1), 0U);
    EXPECT_EQ(End(), 2U) << "the task and the mutex";
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), IsEmpty());
}

// --- The end of a task's thread

// What a module keeps for each of its threads, and gives back when the thread ends.
struct KeptBlock {
    void *block = nullptr;
    KeptBlock() = default;
    KeptBlock(const KeptBlock &) = delete;
    KeptBlock &operator=(const KeptBlock &) = delete;
    KeptBlock(KeptBlock &&) = delete;
    KeptBlock &operator=(KeptBlock &&) = delete;
    ~KeptBlock() {
        if (block != nullptr) {
            (void)DXR_DelayTask(1);
            DXR_Free(block, "module.cpp", 2);
        }
    }
};

void KeepABlock(void * /*argument*/) {
    thread_local KeptBlock kept;
    kept.block = DXR_Malloc(1, 64, "module.cpp", 1);
}

TEST_F(RealEnd, DestructorsOfATasksThreadAreTheTasks) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(DxrHostJoinTask(host, Spawn(KeepABlock, nullptr), DXR_HOST_FOREVER), 0U);
        ASSERT_EQ(End(), 0U) << i;
        ASSERT_THAT(reports, IsEmpty());
        Begin();
    }
}

TEST_F(VirtualEnd, DestructorsOfATasksThreadAreTheTasks) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(DxrHostJoinTask(host, Spawn(KeepABlock, nullptr), DXR_HOST_FOREVER), 0U);
        EXPECT_EQ(DxrHostGetElapsedNs(host), 1000000U);
        ASSERT_EQ(End(), 0U) << i;
        ASSERT_THAT(reports, IsEmpty());
        Begin();
    }
}

// The same by keys of threads, one made before the host knows any thread and one after that.
pthread_key_t MakeKey(void (*destructor)(void *)) {
    pthread_key_t key{};
    EXPECT_EQ(pthread_key_create(&key, destructor), 0);
    return key;
}

void FreeABlock(void *block) {
    EXPECT_EQ(DXR_DelayTask(1), 0U);
    DXR_Free(block, "module.cpp", 2);
}

const pthread_key_t g_early = MakeKey(FreeABlock);  // NOLINT(cert-err58-cpp)

pthread_key_t Late() {
    static const pthread_key_t key = MakeKey(FreeABlock);
    return key;
}

void KeepBlocksByKeys(void * /*argument*/) {
    for (const pthread_key_t key : {g_early, Late()}) {
        EXPECT_EQ(pthread_setspecific(key, DXR_Malloc(1, 64, "module.cpp", 1)), 0);
    }
}

TEST_F(RealEnd, DestructorsOfKeysAreTheTasks) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(DxrHostJoinTask(host, Spawn(KeepBlocksByKeys, nullptr), DXR_HOST_FOREVER), 0U);
        ASSERT_EQ(End(), 0U) << i;
        ASSERT_THAT(reports, IsEmpty());
        Begin();
    }
}

TEST_F(VirtualEnd, DestructorsOfKeysAreTheTasks) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(DxrHostJoinTask(host, Spawn(KeepBlocksByKeys, nullptr), DXR_HOST_FOREVER), 0U);
        EXPECT_EQ(DxrHostGetElapsedNs(host), 2000000U);
        ASSERT_EQ(End(), 0U) << i;
        ASSERT_THAT(reports, IsEmpty());
        Begin();
    }
}

// Wherever its function and the host's end meet, no timer stays: the leak sanitizer looks.
TEST(TimersEnd, MayMeetTheHosts) {
    for (int i = 0; i < 1000; ++i) {
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.printLevel = 0;
        DxrHost *const host = DxrHostCreate(&options);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        DxrHostTimer timer{};
        timer.size = sizeof(timer);
        timer.function = [](void *) {};
        ASSERT_EQ(DXR_StartTimer(&timer), 0U);
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::nanoseconds(i % 100 * 1000);
        while (std::chrono::steady_clock::now() < until) {
        }
        EXPECT_LE(DxrHostDestroy(host, nullptr), 1U) << "the timer, unless it fired";
    }
}

// A task that waits for the end of a timer's function is cut off by the host's, also when that
// function has ended just before; the leak sanitizer looks for the timer.
TEST(TimersEnd, MayBeAwaitedByATaskThatIsCutOff) {
    for (uint32_t seed = 1; seed <= 50; ++seed) {
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.clock = DXR_HOST_CLOCK_VIRTUAL;
        options.printLevel = 0;
        options.seed = seed;
        DxrHost *const host = DxrHostCreate(&options);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        static DxrHostTimer timer;
        timer = {};
        timer.size = sizeof(timer);
        timer.ms = 1;
        static std::atomic<bool> hasReturned;
        hasReturned = false;
        timer.function = [](void *) {
            (void)DXR_DelayTask(10);
            hasReturned = true;
        };
        ASSERT_EQ(DXR_StartTimer(&timer), 0U);
        Spawn(
            [](void *) {
                (void)DXR_DelayTask(5);
                (void)DXR_StopTimer(&timer);
            },
            nullptr);
        while (!hasReturned) {
            EXPECT_EQ(DXR_DelayTask(0), 0U);
        }
        EXPECT_LE(DxrHostDestroy(host, nullptr), 2U) << "the task, and the timer";
    }
}

// Who waits for the end of a timer's function comes back at the host's end without it, also when it
// is cut off then; the leak sanitizer looks for the timer.
TEST(TimersEnd, MayBeAwaitedByAThreadThatTheHostSendsBack) {
    DxrHooks hooks;  // the registered table is cleared while the thread looks there
    DxrHostFillHooks(&hooks);
    for (int i = 0; i < 10; ++i) {
        DxrHost *const host = DxrHostCreate(nullptr);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        static std::atomic<bool> hasBegun;
        hasBegun = false;
        DxrHostTimer timer{};
        timer.size = sizeof(timer);
        timer.repeats = static_cast<uint8_t>(i % 2);
        timer.function = [](void *) {
            hasBegun = true;
            (void)DXR_DelayTask(DXR_HOST_FOREVER);
        };
        ASSERT_EQ(DXR_StartTimer(&timer), 0U);
        while (!hasBegun) {
            std::this_thread::yield();
        }
        std::thread stopper([&] { (void)hooks.system.stopTimer(&timer); });
        std::this_thread::sleep_for(std::chrono::milliseconds(i));
        EXPECT_LE(DxrHostDestroy(host, nullptr), 1U) << "the timer, unless it is stopped by then";
        stopper.join();
    }
}

// The same of a function that has stopped its own timer.
TEST(TimersEnd, MayFindAStoppedOnesFunction) {
    DxrHost *const host = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    static std::atomic<bool> hasStopped;
    hasStopped = false;
    static DxrHostTimer timer;
    timer = {};
    timer.size = sizeof(timer);
    timer.ms = 1;
    timer.repeats = 1;
    timer.function = [](void *) {
        EXPECT_EQ(DXR_StopTimer(&timer), 0U);
        EXPECT_EQ(DXR_StopTimer(&timer), static_cast<uint32_t>(ENOENT));
        hasStopped = true;
        (void)DXR_DelayTask(DXR_HOST_FOREVER);
    };
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    while (!hasStopped) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
}

// Its thread may end long after that: nothing of the host is there any more.
TEST_F(RealEnd, ATimersFunctionThatOutlivesTheHostMayEndItsThread) {
    static std::atomic<bool> isInside;
    static std::atomic<bool> mayLeave;
    static std::atomic<bool> isGone;
    isInside = mayLeave = isGone = false;
    static const pthread_key_t key = MakeKey([](void *) { isGone = true; });
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.function = [](void *) {
        EXPECT_EQ(pthread_setspecific(key, &isGone), 0);
        isInside = true;
        while (!mayLeave) {
            Pause();
        }
        pthread_exit(nullptr);
    };
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    while (!isInside) {
        Pause();
    }
    EXPECT_EQ(End(), 1U) << "the timer";
    mayLeave = true;
    for (int i = 0; i < 1000 && !isGone; ++i) {
        Pause();
    }
    EXPECT_TRUE(isGone);
}

// One that puts its work off calls as a thread that is not the host's, and which ends too.
TEST_F(RealEnd, ADestructorMayCallAfterTheTasksEnd) {
    static std::atomic<uint32_t> asked{0};
    static pthread_key_t again;
    asked = 0;
    again = MakeKey([](void *isFirst) {
        asked = DxrHostGetTaskId(nullptr);
        static int second;
        if (isFirst != &second) {
            EXPECT_EQ(pthread_setspecific(again, &second), 0);
        }
    });
    const auto keep = [](void *) { EXPECT_EQ(pthread_setspecific(again, &asked), 0); };
    const uint32_t id = Spawn(keep, nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    while (asked == id) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DxrHostJoinTask(host, asked, DXR_HOST_FOREVER), 0U);
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(pthread_key_delete(again), 0);
}

// --- Calls in a late round of the destructors of keys, of which there are four

// The thread sanitizer has left a thread in the last one: nothing may be called there, also not by
// the host, which comes back up to two rounds after a thread's first call.
constexpr uint32_t kRounds = DXRTEST_THREADS_ARE_WATCHED ? 1 : 4;
constexpr uint32_t kRoundsOfTasks = DXRTEST_THREADS_ARE_WATCHED ? 2 : 4;
#if DXRTEST_THREADS_ARE_WATCHED
#define DXRTEST_NEEDS_THE_LAST_ROUND GTEST_SKIP() << "the sanitizer has left the thread by then"
#else
#define DXRTEST_NEEDS_THE_LAST_ROUND
#endif

class LateCall {
  public:
    // On the calling thread, in that round.
    LateCall(uint32_t round, std::function<void()> call) : round_(round), call_(std::move(call)) {}
    void Prepare() { EXPECT_EQ(pthread_setspecific(Key(), this), 0); }

  private:
    static pthread_key_t Key() {
        static const pthread_key_t key = MakeKey([](void *user) {
            auto &self = *static_cast<LateCall *>(user);
            if (++self.seen_ < self.round_) {
                self.Prepare();
            } else {
                self.call_();
            }
        });
        return key;
    }

    const uint32_t round_;
    const std::function<void()> call_;
    uint32_t seen_ = 0;
};

// A thread that calls the host in that round and not before.
class CallAtTheEnd {
  public:
    CallAtTheEnd(uint32_t round, std::function<void()> call)
        : late_(round, std::move(call)), thread_([this] { late_.Prepare(); }) {}
    ~CallAtTheEnd() { join(); }
    CallAtTheEnd(const CallAtTheEnd &) = delete;
    CallAtTheEnd &operator=(const CallAtTheEnd &) = delete;
    CallAtTheEnd(CallAtTheEnd &&) = delete;
    CallAtTheEnd &operator=(CallAtTheEnd &&) = delete;

    void join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

  private:
    LateCall late_;
    std::thread thread_;
};

TEST_F(RealEnd, AThreadThatCallsAtItsVeryEndIsNoTask) {
    const Bounded bounded;
    for (uint32_t round = 1; round <= kRounds; ++round) {
        uint32_t id = 0;
        CallAtTheEnd(round, [&] { id = DxrHostGetTaskId(host); }).join();
        EXPECT_NE(id, 0U);
        EXPECT_EQ(DXR_WriteEvent(id, 1), static_cast<uint32_t>(ESRCH)) << round;
        EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U) << round;
    }
    EXPECT_EQ(End(), 0U);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(RealEnd, TheUnseenEndOfAThreadEndsAJoin) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    std::atomic<uint32_t> id{0};
    std::atomic<bool> mayEnd{false};
    CallAtTheEnd thread(kRounds, [&] {
        id = DxrHostGetTaskId(host);
        while (!mayEnd) {
            std::this_thread::yield();
        }
        Pause();
    });
    while (id == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), static_cast<uint32_t>(ETIMEDOUT)) << "it is there";
    EXPECT_EQ(DXR_WriteEvent(id, 1), 0U);
    mayEnd = true;
    EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    thread.join();
}

TEST_F(VirtualEnd, AThreadThatEndsUnseenLeavesADeadlock) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    std::atomic<bool> isKnown{false};
    CallAtTheEnd thread(kRounds, [&] {
        (void)DxrHostGetTaskId(host);
        isKnown = true;
        Pause();
    });
    while (!isKnown) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    thread.join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

// While time passes for others.
TEST_F(VirtualEnd, TheUnseenEndOfAThreadEndsAJoin) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    static std::atomic<uint32_t> id;
    static std::atomic<bool> isJoined;
    id = 0;
    isJoined = false;
    CallAtTheEnd thread(kRounds, [&] {
        id = DxrHostGetTaskId(host);
        Pause();
    });
    while (id == 0) {
        std::this_thread::yield();
    }
    (void)Spawn(
        [](void *) {
            EXPECT_EQ(DxrHostJoinTask(nullptr, id, DXR_HOST_FOREVER), 0U);
            isJoined = true;
        },
        nullptr);
    while (!isJoined) {
        EXPECT_EQ(DXR_DelayTask(1), 0U);
    }
    thread.join();
}

TEST_F(RealEnd, WhatAThreadHoldsAtItsVeryEndIsReported) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    void *mutex = nullptr;
    EXPECT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    CallAtTheEnd(kRounds, [&] { EXPECT_EQ(DXR_LockMutex(mutex), 0U); }).join();
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(HasSubstr("a thread has ended and holds mutex 1, locked by ")));
}

TEST_F(VirtualEnd, WhoWaitsForWhatAThreadHeldAtItsVeryEndIsTold) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    void *mutex = nullptr;
    EXPECT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    CallAtTheEnd(kRounds, [&] {
        (void)DxrHostGetTaskId(host);
        EXPECT_EQ(DXR_LockMutex(mutex), 0U);
    }).join();
    EXPECT_EQ(DXR_LockMutex(mutex), kCanceled);
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(AllOf(HasSubstr("deadlock: all tasks wait"),
                                                              HasSubstr(", locked by "))));
}

// Records of threads are used again, also those of which nobody asks.
TEST_F(RealEnd, ThreadsThatEndUnseenLeaveNothing) {
    DXRTEST_NEEDS_THE_LAST_ROUND;
    const Bounded bounded;
    for (int i = 0; i < 200; ++i) {
        void *block = nullptr;
        CallAtTheEnd(kRounds, [&] { block = DXR_Malloc(1, 64, "module.cpp", 1); }).join();
        DXR_Free(block, "module.cpp", 2);
    }
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 1).blocksLive, 0U);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 1).blocksTotal, 200U);
    EXPECT_EQ(End(), 0U);
}

// --- Hosts that are ended by destructors of keys

// In each round: when the task is there, and when it has ended and its thread goes on.
template <typename Fixture>
void EndTheHostAtTheEndOf(Fixture &test, void (*begin)(void (*)(void *), void *)) {
    const Bounded bounded;
    for (uint32_t round = 1; round <= kRoundsOfTasks; ++round) {
        std::atomic<uint32_t> result{0};
        LateCall late(round, [&] { result = DxrHostDestroy(test.Host(), nullptr); });
        begin([](void *user) { static_cast<LateCall *>(user)->Prepare(); }, &late);
        while (result == 0) {
            (void)DXR_DelayTask(1);
            std::this_thread::yield();
        }
        EXPECT_EQ(result, UINT32_MAX) << round;
        EXPECT_EQ(DXR_DelayTask(1), 0U) << "the host is there";
        const auto texts = test.Texts(DXR_HOST_REPORT_MISUSE);
        EXPECT_EQ(std::count(texts.begin(), texts.end(),
                             "a host cannot be ended by its own task or from within its call"),
                  1)
            << round;
        ASSERT_EQ(test.End(), 0U) << "it joins the thread";
        test.reports.clear();
        test.Begin();
    }
}

struct RealEndByItsOwn : dxrtest::RealHost {
    using HostTest::Begin;
    using HostTest::End;
    using HostTest::reports;
    using HostTest::Texts;
    [[nodiscard]] DxrHost *Host() const { return host; }
};
struct VirtualEndByItsOwn : dxrtest::VirtualHost {
    using HostTest::Begin;
    using HostTest::End;
    using HostTest::reports;
    using HostTest::Texts;
    [[nodiscard]] DxrHost *Host() const { return host; }
};

void BeginTask(void (*function)(void *), void *argument) {
    (void)Spawn(function, argument);
}

// Its thread ends with the function.
void BeginTimer(void (*function)(void *), void *argument) {
    static void (*given)(void *);
    given = function;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 1;
    timer.argument = argument;
    timer.function = [](void *user) {
        given(user);
        pthread_exit(nullptr);
    };
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    (void)DXR_DelayTask(2);
}

TEST_F(RealEndByItsOwn, IsNoneByATask) {
    EndTheHostAtTheEndOf(*this, BeginTask);
}
TEST_F(VirtualEndByItsOwn, IsNoneByATask) {
    EndTheHostAtTheEndOf(*this, BeginTask);
}
TEST_F(RealEndByItsOwn, IsNoneByATimersThread) {
    EndTheHostAtTheEndOf(*this, BeginTimer);
}
TEST_F(VirtualEndByItsOwn, IsNoneByATimersThread) {
    EndTheHostAtTheEndOf(*this, BeginTimer);
}

// --- The end of the first thread of virtual time

struct FirstThread {
    DxrHost *host = nullptr;
    uint32_t id = 0;
    std::atomic<uint32_t> step{0};
    std::mutex mutex;  // of the reports
    std::vector<DxrHostReport> reports;

    // Begins that as a task, and ends.
    explicit FirstThread(void (*entry)(void *)) {
        std::thread([&] {
            host = MakeVirtual();
            DxrHostSetReportSink(
                host,
                [](const DxrHostReport *report, void *user) {
                    auto &self = *static_cast<FirstThread *>(user);
                    const std::lock_guard lock(self.mutex);
                    self.reports.push_back(*report);
                },
                this);
            DxrHostRegister(host);
            id = DxrHostGetTaskId(host);
            (void)Spawn(entry, this);
            (void)Spawn(entry, this);
        }).join();
    }
    [[nodiscard]] std::string EndText() {
        const std::lock_guard lock(mutex);
        for (const DxrHostReport &each : reports) {
            if (each.kind == DXR_HOST_REPORT_RUN) {
                return each.text;
            }
        }
        return {};
    }
    void Await(uint32_t steps) const {
        while (step < steps) {
            std::this_thread::yield();
        }
    }
};

TEST(TheFirstThread, EndsAndLeavesTheOthersRunning) {
    const Bounded bounded;
    FirstThread first([](void *user) {
        auto &self = *static_cast<FirstThread *>(user);
        EXPECT_EQ(DxrHostJoinTask(nullptr, self.id, DXR_HOST_FOREVER), 0U);
        EXPECT_EQ(DXR_DelayTask(1000), 0U);
        EXPECT_EQ(DXR_WriteEvent(self.id, 1), static_cast<uint32_t>(ESRCH));
        ++self.step;
    });
    first.Await(2);
    EXPECT_EQ(DxrHostGetElapsedNs(first.host), 1000000000U);
    EXPECT_EQ(DxrHostDestroy(first.host, nullptr), 0U);
    EXPECT_EQ(first.EndText(), "") << "nobody waits";
}

TEST(TheFirstThread, HidesNoDeadlockAtItsEnd) {
    const Bounded bounded;
    FirstThread first([](void *user) {
        auto &self = *static_cast<FirstThread *>(user);
        ++self.step;
        (void)DXR_DelayTask(DXR_HOST_FOREVER);
        ++self.step;
    });
    while (first.EndText().empty()) {
        std::this_thread::yield();
    }
    EXPECT_THAT(first.EndText(),
                HasSubstr("deadlock: all tasks wait; task 2 \"task 2\" waits for"));
    EXPECT_EQ(first.step, 2U);
    EXPECT_EQ(DxrHostDestroy(first.host, nullptr), 2U) << "the tasks";
    EXPECT_EQ(first.step, 2U);
}

// Others, too, wait for threads that are not the host's.
TEST(TheFirstThread, LeavesTheOthersWaitingForThreads) {
    const Bounded bounded;
    static std::atomic<uint32_t> task;
    task = 0;
    FirstThread first([](void *user) {
        auto &self = *static_cast<FirstThread *>(user);
        uint32_t events = 0;
        if (self.step++ == 0) {
            while (self.step < 3) {
                (void)DXR_DelayTask(1);
                std::this_thread::yield();
            }
            task = DxrHostGetTaskId(nullptr);
            EXPECT_EQ(DXR_ReadEvent(1, 0, DXR_HOST_FOREVER, &events), 0U);
            ++self.step;
        }
    });
    first.Await(2);
    std::thread([&] {
        (void)DxrHostGetTaskId(first.host);  // who may wake them
        ++first.step;
        while (DxrHostGetReportCount(first.host) < 2) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_WriteEvent(task, 1), 0U);
        first.Await(4);
    }).join();
    EXPECT_EQ(DxrHostDestroy(first.host, nullptr), 0U);
    EXPECT_EQ(first.EndText(), "");
    ASSERT_EQ(first.reports.size(), 2U);
    EXPECT_THAT(first.reports[1].text, HasSubstr("all tasks wait, and nothing is due"));
}

// --- Ends of threads that are the module's

void EndTheThread(void * /*argument*/) {
    pthread_exit(nullptr);
}

TEST_F(RealEnd, ATaskThatEndsItsThreadIsReported) {
    EXPECT_EQ(DxrHostJoinTask(host, Spawn(EndTheThread, nullptr), 60000), 0U);
    EXPECT_EQ(End(), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(HasSubstr("has ended its thread instead of returning")));
}

TEST_F(VirtualEnd, ATaskThatEndsItsThreadIsReported) {
    EXPECT_EQ(DxrHostJoinTask(host, Spawn(EndTheThread, nullptr), 60000), 0U);
    EXPECT_EQ(DXR_DelayTask(5), 0U);
    EXPECT_EQ(End(), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(HasSubstr("has ended its thread instead of returning")));
}

TEST_F(VirtualEnd, TasksAreNotCancelled) {
    const auto cancel = [](void * /*argument*/) {
        (void)pthread_cancel(pthread_self());
        (void)DXR_DelayTask(1);
    };
    EXPECT_EQ(DxrHostJoinTask(host, Spawn(cancel, nullptr), 60000), 0U);
    EXPECT_EQ(End(), 0U);
    EXPECT_THAT(reports, IsEmpty());
}

// --- The end of a host

TEST_F(VirtualEnd, AnotherThreadEndsTheHostWhileTheFirstTaskWaits) {
    std::atomic<bool> isKnown{false};
    std::thread ender([&] {
        (void)DxrHostGetTaskId(host);  // who may wake the first task: its wait is no deadlock
        isKnown = true;
        Pause();
        EXPECT_EQ(End(), 0U);
    });
    while (!isKnown) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    ender.join();
}

TEST_F(RealEnd, ATimersFunctionMayOutliveTheHost) {
    static std::atomic<int> step{0};
    step = 0;
    DxrHostTimer timer{sizeof(DxrHostTimer),
                       0,
                       0,
                       0,
                       [](void *) {
                           step = 1;
                           while (step != 2) {
                               std::this_thread::yield();
                           }
                           step = 3;
                       },
                       nullptr,
                       nullptr};
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 1U) << "the timer; its task is left alone";
    step = 2;
    while (step != 3) {
        std::this_thread::yield();
    }
    Pause();  // the thread goes on from here; a sanitizer sees where to
}

// What it throws then is reported to nobody.
TEST_F(RealEnd, ATimersFunctionMayThrowAfterTheHostsEnd) {
    static std::atomic<int> step{0};
    step = 0;
    const auto wait = [](void *) {
        step = 1;
        while (step != 2) {
            std::this_thread::yield();
        }
        step = 3;
        throw std::runtime_error("no link");
    };
    DxrHostTimer timer{sizeof(DxrHostTimer), 0, 0, 0, wait, nullptr, nullptr};
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 1U) << "the timer";
    step = 2;
    while (step != 3) {
        std::this_thread::yield();
    }
    Pause();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), IsEmpty());
}

// --- Calls that name their host

constexpr DxrHostUnit kLpu = {DXR_HOST_UNIT_LPU, 3};

uint32_t OpenMailbox(DxrHost *host) {
    const DxrHostMailbox box{sizeof(DxrHostMailbox), 0, kLpu, nullptr, nullptr};
    return DxrHostOpenMailbox(host, &box);
}

uint32_t Receive(DxrHost *host, uint32_t ms) {
    DxrHostMessage message;
    return DxrHostReceiveMessage(host, &kLpu, &message, nullptr, 0, ms);
}

// Whether the machine says that a thread of this process sleeps.
bool IsAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    const size_t name = line.rfind(") ");
    return name != std::string::npos && line[name + 2] == 'S';
}

// Runs the function on a thread, and comes back when that waits in it.
template <typename Function>
std::thread WaitingIn(Function function) {
    std::atomic<pid_t> id{0};
    std::thread thread([&id, function] {
        id = gettid();
        function();
    });
    while (id == 0 || !IsAsleep(id)) {
        std::this_thread::yield();
    }
    return thread;
}

TEST_F(VirtualEnd, WhoUnlocksWhatTheEndKeptFromHimIsNotBlamed) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    Spawn(
        [](void *held) {
            uint32_t events = 0;
            EXPECT_EQ(DXR_LockMutex(held), 0U);
            (void)DXR_ReadEvent(1, 0, DXR_HOST_FOREVER, &events);
        },
        mutex);
    (void)DXR_DelayTask(1);
    EXPECT_EQ(DXR_LockMutex(mutex), kCanceled);
    EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EPERM));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), IsEmpty());
}

// Nobody gets the second mutex; the order is told all the same, and once.
TEST_F(RealEnd, ADeadlockTellsTheOrderOfItsLocks) {
    static std::array<void *, 2> mutexes;
    static std::atomic<uint32_t> ready;
    ready = 0;
    ASSERT_EQ(DXR_InitMutex(&mutexes[0], nullptr), 0U);
    ASSERT_EQ(DXR_InitMutex(&mutexes[1], nullptr), 0U);
    const auto both = [](void *first, void *second) {
        EXPECT_EQ(DXR_LockMutex(first), 0U);
        ++ready;
        while (ready != 2) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_LockMutex(second), kCanceled);
        EXPECT_NE(DXR_UnlockMutex(second), 0U);
    };
    std::thread one([both] { both(mutexes[0], mutexes[1]); });
    std::thread other([both] { both(mutexes[1], mutexes[0]); });
    const auto isTold = [this] {
        DxrHostReport report{};
        return DxrHostGetReport(host, 0, &report) && report.kind == DXR_HOST_REPORT_RISK &&
               std::string(report.text).find("could deadlock") != std::string::npos;
    };
    for (int i = 0; i < 1000 && !isTold(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(isTold());
    EXPECT_EQ(DxrHostGetReportCount(host), 1U);
    EXPECT_EQ(End(), 2U) << "the mutexes";
    one.join();
    other.join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), IsEmpty());
}

TEST_F(RealEnd, ThreadsThatWaitInANamedHostComeBack) {
    EXPECT_EQ(OpenMailbox(host), 0U);
    DxrHost *const named = host;
    const uint32_t self = DxrHostGetTaskId(host);
    std::array<uint32_t, 2> results{};
    std::thread receiver =
        WaitingIn([&results, named] { results[0] = Receive(named, DXR_HOST_FOREVER); });
    std::thread joiner = WaitingIn(
        [&results, named, self] { results[1] = DxrHostJoinTask(named, self, DXR_HOST_FOREVER); });
    EXPECT_EQ(End(), 1U) << "the mailbox";
    receiver.join();
    joiner.join();
    EXPECT_THAT(results, ElementsAre(kCanceled, kCanceled));
}

// Some come to wait when all others have been woken already.
TEST_F(RealEnd, ThreadsThatBeginToWaitAtTheEndComeBack) {
    constexpr size_t kThreads = 3;
    std::minstd_rand random(1);
    for (int round = 0; round < 300; ++round) {
        DxrHost *const named = DxrHostCreate(nullptr);
        ASSERT_NE(named, nullptr);
        const uint32_t self = DxrHostGetTaskId(named);
        std::atomic<size_t> ready{0};
        std::vector<std::thread> threads;
        for (size_t i = 0; i < kThreads; ++i) {
            threads.emplace_back([named, self, &ready, spins = random() % 2000] {
                ++ready;
                while (ready <= kThreads) {
                }
                std::atomic<uint64_t> left{spins};
                while (left-- > 0) {
                }
                EXPECT_EQ(DxrHostJoinTask(named, self, DXR_HOST_FOREVER), kCanceled);
            });
        }
        while (ready != kThreads) {
            std::this_thread::yield();
        }
        ++ready;
        EXPECT_EQ(DxrHostDestroy(named, nullptr), 0U);
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
}

TEST_F(RealEnd, ThreadsThatWaitInAHostThatIsNotRegisteredComeBack) {
    DxrHostRegister(nullptr);
    EXPECT_EQ(OpenMailbox(host), 0U);
    DxrHost *const named = host;
    uint32_t result = 0;
    std::thread receiver =
        WaitingIn([&result, named] { result = Receive(named, DXR_HOST_FOREVER); });
    EXPECT_EQ(End(), 1U) << "the mailbox";
    receiver.join();
    EXPECT_EQ(result, kCanceled);
}

TEST_F(RealEnd, ATaskEndsWhereItWaitsInANamedHost) {
    EXPECT_EQ(OpenMailbox(host), 0U);
    Spawn([](void *named) { (void)Receive(static_cast<DxrHost *>(named), DXR_HOST_FOREVER); },
          host);
    Pause();
    EXPECT_EQ(End(), 2U) << "the task and the mailbox, and no call that does not come back";
}

TEST_F(RealEnd, AHostThatHasEndedAnswersNothing) {
    DxrHost *const ended = host;
    (void)DxrHostGetTaskId(host);
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(OpenMailbox(ended), kCanceled);
    EXPECT_EQ(Receive(ended, DXR_HOST_FOREVER), kCanceled);
    EXPECT_EQ(DxrHostJoinTask(ended, 1, DXR_HOST_FOREVER), kCanceled);
    EXPECT_EQ(DxrHostGetTaskId(ended), 0U);
    EXPECT_FALSE(DxrHostAdvance(ended, 1));
    DxrHostReport report{};
    EXPECT_FALSE(DxrHostGetReport(ended, 0, &report));
    EXPECT_EQ(DxrHostGetReportCount(ended), 0U);
    DxrHostSetPrintSink(ended, nullptr, nullptr, 1);
    EXPECT_EQ(DxrHostGetMemoryAccount(ended, 7).mid, 7U);
    EXPECT_EQ(DxrHostRegister(ended), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DxrHostGet(), nullptr);
    EXPECT_EQ(DxrHostDestroy(ended, nullptr), UINT32_MAX);
    EXPECT_EQ(OpenMailbox(reinterpret_cast<DxrHost *>(this)), kCanceled) << "this is no host";
}

class SteppedEnd : public dxrtest::SteppedHost {};

TEST_F(SteppedEnd, AFunctionThatTheHostCallsEndsItNot) {
    static uint32_t result = 0;
    const auto end = [](void *named) {
        result = DxrHostDestroy(static_cast<DxrHost *>(named), nullptr);
    };
    DxrHostTimer timer{sizeof(DxrHostTimer), 5, 0, 0, end, host, nullptr};
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 5));
    EXPECT_EQ(result, UINT32_MAX);
    EXPECT_EQ(DxrHostGet(), host);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("a host cannot be ended by its own task or from within its call"));
}

// A sink that is told of what was left behind may ask the host that ends.
TEST_F(RealEnd, ASinkReachesTheHostThatEnds) {
    struct Asked {
        DxrHost *host;
        uint32_t reports;
        uint32_t ended;
    } asked{host, 0, 0};
    DxrHostSetReportSink(
        host,
        [](const DxrHostReport *, void *user) {
            auto *const to = static_cast<Asked *>(user);
            to->reports = DxrHostGetReportCount(to->host);
            to->ended = DxrHostDestroy(to->host, nullptr);
        },
        &asked);
    EXPECT_EQ(OpenMailbox(host), 0U);
    EXPECT_EQ(End(), 1U);
    EXPECT_EQ(asked.reports, 2U) << "the mailbox, and the end that was refused";
    EXPECT_EQ(asked.ended, UINT32_MAX);
}

// More hosts than one, each called from within a call of the one before.
TEST_F(SteppedEnd, CallsReachSeveralHosts) {
    struct Chain {
        std::array<DxrHost *, 9> hosts;
        size_t reached;
    } static chain;
    chain = {};
    const auto next = [](void *) {
        ++chain.reached;
        if (chain.reached < chain.hosts.size()) {
            EXPECT_TRUE(DxrHostAdvance(chain.hosts[chain.reached], 1)) << chain.reached;
        }
    };
    std::vector<DxrHostTimer> timers(chain.hosts.size());
    for (size_t i = 0; i < chain.hosts.size(); ++i) {
        chain.hosts[i] = DxrHostCreate(&options);
        DxrHostRegister(chain.hosts[i]);
        timers[i] = {sizeof(DxrHostTimer), 1, 0, 0, next, nullptr, nullptr};
        EXPECT_EQ(DXR_StartTimer(&timers[i]), 0U);
    }
    EXPECT_TRUE(DxrHostAdvance(chain.hosts[0], 1));
    EXPECT_EQ(chain.reached, chain.hosts.size());
    for (DxrHost *const each : chain.hosts) {
        EXPECT_EQ(DxrHostDestroy(each, nullptr), 0U);
    }
}

TEST_F(RealEnd, ThreadsCallANamedHostWhileItEnds) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<uint32_t> begun{0};
        std::vector<std::thread> threads;
        DxrHost *const named = DxrHostCreate(nullptr);
        ASSERT_NE(named, nullptr);
        for (uint32_t i = 0; i < 3; ++i) {
            threads.emplace_back([named, i, &begun] {
                ++begun;
                uint32_t result = 0;
                while (result != kCanceled) {
                    (void)DxrHostGetTaskId(named);
                    (void)DxrHostSetEvent(named, i, 1, 2);
                    result = i == 0 ? Receive(named, 0) : DxrHostJoinTask(named, 1000, 0);
                }
            });
        }
        while (begun != threads.size()) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DxrHostDestroy(named, nullptr), 0U);
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
}

// --- The end of a run

TEST_F(VirtualEnd, AThreadThatResetsTheBoardStopsAllTasks) {
    static std::atomic<bool> hasBegun{false};
    hasBegun = false;
    Spawn(
        [](void *) {
            hasBegun = true;
            for (;;) {
                (void)DXR_DelayTask(1);
            }
        },
        nullptr);
    std::thread resetter([] {
        while (!hasBegun) {
            std::this_thread::yield();
        }
        Pause();
        DXR_ResetBoard(0);
    });
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    resetter.join();
    EXPECT_EQ(DXR_DelayTask(1), kCanceled);
    EXPECT_EQ(End(), 1U) << "the task";
}

// As one that has just said that it is done.
TEST_F(RealEnd, ATaskThatReturnsByItselfIsNotLeftBehind) {
    static std::atomic<bool> hasBegun;
    hasBegun = false;
    Spawn(
        [](void *) {
            hasBegun = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        },
        nullptr);
    while (!hasBegun) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 0U);
}

TEST_F(RealEnd, NothingBeginsAfterTheRunsEnd) {
    DXR_ResetBoard(0);
    uint32_t events = 7;
    EXPECT_EQ(DXR_ReadEvent(1, 0, 0, &events), kCanceled);
    EXPECT_EQ(events, 0U);
    EXPECT_EQ(DXR_DelayTask(0), kCanceled);
    EXPECT_EQ(DXR_CreateTask(nullptr, reinterpret_cast<void *>(+[](void *) {}), nullptr, 10,
                             nullptr, 0, nullptr),
              kCanceled);
    EXPECT_EQ(End(), 0U);
}

// --- Child processes

// What a child finds: nothing of its parent's hosts, and a host that it makes itself.
bool IsWellInChild(DxrHost *ofParent) {
    (void)alarm(60);  // it must not hang
    bool isWell = DxrHostGet() == nullptr && DXR_Malloc(9, 8, "", 0) == nullptr &&
                  DXR_DelayTask(1) == ECANCELED && DxrHostGetElapsedNs(ofParent) == 0 &&
                  DxrHostRegister(ofParent) == EINVAL &&
                  DxrHostDestroy(ofParent, nullptr) == UINT32_MAX;
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;  // begins no thread
    DxrHost *const own = DxrHostCreate(&options);
    isWell = isWell && DxrHostRegister(own) == 0 && DxrHostGet() == own;
    void *const block = DXR_Malloc(9, 8, "", 0);
    DXR_Free(block, "", 0);
    return isWell && block != nullptr && DxrHostDestroy(own, nullptr) == 0;
}

int StatusOf(pid_t child) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(ChildProcesses, HaveNoHostsOfTheirParents) {
    for (const uint32_t clock :
         {DXR_HOST_CLOCK_REAL, DXR_HOST_CLOCK_STEPPED, DXR_HOST_CLOCK_VIRTUAL}) {
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.clock = clock;
        DxrHost *const host = DxrHostCreate(&options);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        DxrHost *const other = DxrHostCreate(nullptr);
        void *const block = DXR_Malloc(9, 8, "", 0);
        const pid_t child = fork();
        if (child == 0) {
            _exit(IsWellInChild(host) && DxrHostDestroy(other, nullptr) == UINT32_MAX ? 0 : 1);
        }
        EXPECT_EQ(StatusOf(child), 0) << clock;
        EXPECT_EQ(DxrHostGet(), host);
        DXR_Free(block, "", 0);
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U) << "the parent's are as they were";
        EXPECT_EQ(DxrHostDestroy(other, nullptr), 0U);
    }
}

// Also while other threads are in a host, whose locks nobody would open in the child.
TEST(ChildProcesses, MayBeMadeAtAnyTime) {
    DxrHost *const host = DxrHostCreate(nullptr);
    DxrHost *const other = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    std::atomic<bool> isAtWork{false};
    std::atomic<bool> isOver{false};
    std::thread thread([&] {
        while (!isOver) {
            (void)DxrHostGetElapsedNs(other);
            DXR_Free(DXR_Malloc(9, 8, "", 0), "", 0);
            isAtWork = true;
        }
    });
    while (!isAtWork) {
        std::this_thread::yield();
    }
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(IsWellInChild(other) ? 0 : 1);
        }
        EXPECT_EQ(StatusOf(child), 0) << round;
    }
    isOver = true;
    thread.join();
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    EXPECT_EQ(DxrHostDestroy(other, nullptr), 0U);
}

// In a task, while another one is at work under the host's locks: the child's thread ends as one
// that no host knows. The sanitizers cannot follow a child whose only thread is not its parent's
// first one.
#if !DXRTEST_MEMORY_IS_SHADOWED
TEST(ChildProcesses, OfATaskEndWithTheirThread) {
    DxrHost *const host = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    static std::atomic<bool> isOver;
    isOver = false;
    const uint32_t busy = Spawn(
        [](void *) {
            while (!isOver) {
                (void)DXR_WriteEvent(1, 1);
            }
        },
        nullptr);
    const uint32_t parent = Spawn(
        [](void *) {
            for (int round = 0; round < 40; ++round) {
                const pid_t child = fork();
                if (child == 0) {
                    (void)alarm(20);
                    pthread_exit(nullptr);
                }
                EXPECT_EQ(StatusOf(child), 0) << round;
            }
        },
        nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, parent, DXR_HOST_FOREVER), 0U);
    isOver = true;
    EXPECT_EQ(DxrHostJoinTask(host, busy, DXR_HOST_FOREVER), 0U);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
}
#endif

// A fork within a function that a host called: slots find no host there either.
TEST(ChildProcesses, OfATimersFunctionHaveNoHost) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    DxrHost *const host = DxrHostCreate(&options);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    int status = -1;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 1;
    timer.function = [](void *argument) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(DXR_Malloc(9, 8, "", 0) == nullptr && DXR_GetCurrMs() == 0 ? 0 : 1);
        }
        *static_cast<int *>(argument) = StatusOf(child);
    };
    timer.argument = &status;
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 1));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
}

}  // namespace
