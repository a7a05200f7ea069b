// Virtual and stepped time, and runs that repeat.
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "dxr_devhost.h"
#include "support/guarded_page.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::Bounded;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using VirtualTime = dxrtest::VirtualHost;
using SteppedTime = dxrtest::SteppedHost;

constexpr uint32_t kHour = 3600 * 1000;

uint32_t Spawn(void (*entry)(void *), void *argument, const char *name = nullptr) {
    uint32_t id = 0;
    std::string copy = name != nullptr ? name : "";
    EXPECT_EQ(DXR_CreateTask(name != nullptr ? copy.data() : nullptr,
                             reinterpret_cast<void *>(entry), argument, 10, nullptr, 0, &id),
              0U);
    return id;
}

// --- Virtual time

TEST_F(VirtualTime, ADelayOfAnHourTakesNoTime) {
    const uint32_t before = DXR_GetCurrSec();
    EXPECT_EQ(before, 946684800U);
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(DXR_DelayTask(kHour), 0U);
    }
    EXPECT_EQ(DXR_GetCurrSec(), before + 24 * 3600);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 24U * 3600);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 24ULL * 3600 * 1000000000);
}

struct Steps {
    std::vector<int> order;
    int number;
};

TEST_F(VirtualTime, DelaysEndInTheirOrder) {
    static std::vector<uint32_t> order;
    order.clear();
    std::array<uint32_t, 5> delays = {500, 100, 400, 200, 300};
    for (uint32_t &delay : delays) {
        Spawn(
            [](void *ms) {
                DXR_DelayTask(*static_cast<uint32_t *>(ms));
                order.push_back(*static_cast<uint32_t *>(ms));
            },
            &delay);
    }
    EXPECT_EQ(DXR_DelayTask(1000), 0U);
    EXPECT_THAT(order, ElementsAre(100, 200, 300, 400, 500));
}

struct Pair {
    uint32_t main;
    std::vector<std::string> log;
};

// Two tasks that take turns by events, with delays: what they say and when.
std::vector<std::string> Conversation(uint64_t seed) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    options.seed = seed;
    DxrHost *const host = DxrHostCreate(&options);
    DxrHostRegister(host);
    static std::vector<std::string> log;
    log.clear();
    const auto say = [](void *name) {
        for (int i = 0; i < 20; ++i) {
            std::array<char, 32> text{};
            uint32_t sec = 0;
            DXR_GetCurrTime(text.data(), text.size(), &sec);
            log.push_back(std::string(static_cast<const char *>(name)) + std::to_string(i) + " " +
                          text.data());
            if (i % 5 == 4) {
                DXR_DelayTask(1000);
            } else {
                DXR_DelayTask(0);
            }
        }
    };
    std::array<char, 2> a = {"a"};
    std::array<char, 2> b = {"b"};
    std::array<char, 2> c = {"c"};
    std::vector<uint32_t> ids;
    for (char *const name : {a.data(), b.data(), c.data()}) {
        ids.push_back(Spawn(say, name));
    }
    for (const uint32_t id : ids) {
        EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    }
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    return log;
}

TEST(Runs, TheSameSeedGivesTheSameLog) {
    std::vector<std::vector<std::string>> logs;
    for (uint64_t seed = 1; seed <= 20; ++seed) {
        logs.push_back(Conversation(seed));
        EXPECT_EQ(logs.back().size(), 60U);
        EXPECT_EQ(Conversation(seed), logs.back()) << seed;
    }
    std::sort(logs.begin(), logs.end());
    EXPECT_GT(std::unique(logs.begin(), logs.end()) - logs.begin(), 10) << "seeds differ";
}

struct TwoMutexes {
    void *first;
    void *second;
};

TEST_F(VirtualTime, ADeadlockEndsTheRunWithWhoWaitsForWhat) {
    static TwoMutexes both{};
    DXR_InitMutex(&both.first, nullptr);
    DXR_InitMutex(&both.second, nullptr);
    const auto lock = [](void *order) {
        const bool reversed = order != nullptr;
        DXR_LockMutex(reversed ? both.second : both.first);
        DXR_DelayTask(10);
        DXR_LockMutex(reversed ? both.first : both.second);
    };
    const uint32_t a = Spawn(lock, nullptr, "left");
    Spawn(lock, this, "right");
    EXPECT_EQ(DxrHostJoinTask(host, a, DXR_HOST_FOREVER), static_cast<uint32_t>(ECANCELED));
    const auto ends = Texts(DXR_HOST_REPORT_RUN);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_THAT(ends[0], HasSubstr("deadlock: all tasks wait"));
    EXPECT_THAT(ends[0], HasSubstr("\"main\" waits for the end of task 2 (DxrHostJoinTask"));
    EXPECT_THAT(ends[0], HasSubstr("\"left\" waits for mutex 2 (DXR_LockMutex"));
    EXPECT_THAT(ends[0], HasSubstr("\"right\" waits for mutex 1 (DXR_LockMutex"));
    EXPECT_THAT(ends[0], testing::ContainsRegex("waits for mutex 1 .*, locked by ."));
    EXPECT_EQ(DXR_DelayTask(5), static_cast<uint32_t>(ECANCELED)) << "the run is over";
    EXPECT_EQ(End(), 4U) << "two tasks and two mutexes";
}

TEST_F(VirtualTime, ARunEndsWhenItsTimeIsOver) {
    End();
    options.endSec = 60;
    Begin();
    EXPECT_EQ(DXR_DelayTask(59000), 0U);
    EXPECT_EQ(DXR_DelayTask(2000), static_cast<uint32_t>(ECANCELED));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("the time is over")));
}

TEST_F(VirtualTime, ATaskThatOnlyAsksSeesTheClockMove) {
    static bool isDone = false;
    isDone = false;
    Spawn(
        [](void *) {
            DXR_DelayTask(50);
            isDone = true;
        },
        nullptr);
    while (!isDone) {  // NOLINT(bugprone-infinite-loop): the task ends it
        DXR_DelayTask(0);
    }
    EXPECT_EQ(DxrHostGetElapsedNs(host), 50000000U);
}

// As a driver does that gives a device some time to answer.
TEST_F(VirtualTime, ALoopWithATimeOutEnds) {
    const uint64_t began = DXR_GetCurrMs();
    while (DXR_GetCurrMs() < began + 20) {
        EXPECT_EQ(DXR_DelayTask(0), 0U);
    }
    uint32_t value = 0;
    do {
        EXPECT_EQ(DXR_ReadReg(0, 0, 0, &value), 0U);
    } while (DXR_GetCurrMs() < began + 40);
    while (DXR_GetCurrMs() < began + 60) {
    }
    EXPECT_EQ(DxrHostGetElapsedNs(host), 60000000U);
}

// Lines of a log have the time, which must not take the run to the next hour.
TEST_F(VirtualTime, WhoOnlyLooksAtTheClockSeesItMoveALittle) {
    bool hasFired = false;
    Spawn(
        [](void *fired) {
            DXR_DelayTask(kHour);
            *static_cast<bool *>(fired) = true;
        },
        &hasFired);
    EXPECT_EQ(DXR_DelayTask(1), 0U);
    for (int i = 0; i < 25000; ++i) {
        (void)DXR_GetStartupTimeSec();
    }
    EXPECT_EQ(DxrHostGetElapsedNs(host), 3000000U);
    EXPECT_FALSE(hasFired);
    EXPECT_EQ(DXR_DelayTask(kHour), 0U);
    EXPECT_TRUE(hasFired);
}

TEST_F(VirtualTime, ATaskThatNeverWaitsDoesNotOutliveTheRun) {
    End();
    options.endSec = 1;
    Begin();
    Spawn(
        [](void *) {
            while (DXR_DelayTask(100) == 0) {
            }
        },
        nullptr);
    while (DXR_DelayTask(0) == 0) {
    }
    EXPECT_EQ(DxrHostGetElapsedNs(host), 1000000000U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("the time is over")));
    const uint64_t ended = DXR_GetCurrMs();
    while (DXR_GetCurrMs() < ended + 5) {
        EXPECT_EQ(DXR_DelayTask(0), static_cast<uint32_t>(ECANCELED));
    }
}

TEST_F(VirtualTime, AThreadOfTheModulesOwnIsReported) {
    std::atomic<bool> isDone{false};
    std::thread foreign([&isDone] {
        EXPECT_EQ(DXR_DelayTask(1), 0U);
        isDone = true;
    });
    while (!isDone) {
        EXPECT_EQ(DXR_DelayTask(1), 0U);
        std::this_thread::yield();
    }
    foreign.join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK), ElementsAre(HasSubstr("the run does not repeat")));
}

constexpr auto kForEver = DXR_HOST_FOREVER;
constexpr auto kCanceled = static_cast<uint32_t>(ECANCELED);

// A thread of the module's own, which the host knows.
struct Foreign {
    DxrHost *host;
    uint32_t main = DxrHostGetTaskId(host);
    std::atomic<uint32_t> id{0};
    std::thread thread;

    template <typename Function>
    Foreign(DxrHost *of, Function function) : host(of) {
        thread = std::thread([this, function] {
            id = DxrHostGetTaskId(host);
            function(*this);
        });
        while (id == 0) {
            std::this_thread::yield();
        }
    }
    ~Foreign() { thread.join(); }
    Foreign(const Foreign &) = delete;
    Foreign &operator=(const Foreign &) = delete;
    Foreign(Foreign &&) = delete;
    Foreign &operator=(Foreign &&) = delete;

    // Until the host has reported something beside the thread.
    void AwaitReport() const {
        while (DxrHostGetReportCount(host) < 2) {
            std::this_thread::yield();
        }
    }
};

uint32_t ReadEvent(uint32_t ms) {
    uint32_t events = 0;
    return DXR_ReadEvent(1, 0, ms, &events);
}

TEST_F(VirtualTime, AThreadForWhichAllWaitIsReported) {
    const Bounded bounded;
    const Foreign foreign(host, [](const Foreign &self) {
        self.AwaitReport();
        EXPECT_EQ(DXR_WriteEvent(self.main, 1), 0U);
    });
    EXPECT_EQ(ReadEvent(kForEver), 0U);
    const auto risks = Texts(DXR_HOST_REPORT_RISK);
    ASSERT_EQ(risks.size(), 2U);
    EXPECT_THAT(risks[1], StartsWith("all tasks wait, and nothing is due: time stands until task 2 "
                                     "\"thread 2\" wakes one, a thread that the host did not make; "
                                     "task 1 \"main\" waits for events 0x1 (DXR_ReadEvent by "));
}

// As when it joins the thread by the machine.
TEST_F(VirtualTime, ATaskThatKeepsAThreadWaitingIsReported) {
    const Bounded bounded;
    {
        const Foreign foreign(host, [](const Foreign &) { EXPECT_EQ(DXR_DelayTask(5), 0U); });
        foreign.AwaitReport();
        EXPECT_EQ(DXR_DelayTask(10), 0U);
    }
    const auto risks = Texts(DXR_HOST_REPORT_RISK);
    ASSERT_EQ(risks.size(), 2U);
    EXPECT_STREQ(
        risks[1].c_str(),
        "task 2 \"thread 2\" waits for 5 ms to pass, and time stands while task 1 \"main\" "
        "does not wait in the host: should that wait for this thread elsewhere, say in "
        "pthread_join, neither goes on");
    EXPECT_STREQ(reports[1].slot, "DXR_DelayTask");
}

TEST_F(VirtualTime, TimePassesForAThreadWhileAllTasksWait) {
    const Bounded bounded;
    const Foreign foreign(host, [](const Foreign &self) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the first task waits by now
        EXPECT_EQ(DXR_DelayTask(5), 0U);
        EXPECT_EQ(ReadEvent(5), static_cast<uint32_t>(ETIMEDOUT));
        EXPECT_EQ(DXR_WriteEvent(self.main, 1), 0U);
    });
    EXPECT_EQ(ReadEvent(kForEver), 0U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 10000000U);
}

// What a thread starts while all tasks wait begins, also when that one does not wait in the host.
TEST_F(VirtualTime, ATimerOfAThreadRunsWhileAllTasksWait) {
    const Bounded bounded;
    static std::atomic<uint32_t> fired;
    fired = 0;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 10;
    timer.repeats = 1;
    timer.function = [](void *) { ++fired; };
    const Foreign foreign(host, [&timer](const Foreign &self) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the first task waits by now
        EXPECT_EQ(DXR_StartTimer(&timer), 0U);
        while (fired < 3) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_WriteEvent(self.main, 1), 0U);
    });
    EXPECT_EQ(ReadEvent(kForEver), 0U);
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
    EXPECT_GE(DxrHostGetElapsedNs(host), 30000000U);
}

TEST_F(VirtualTime, ATimerOfAThreadThatWaitsRunsWhileAllTasksWait) {
    const Bounded bounded;
    static std::atomic<uint32_t> fired;
    fired = 0;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 10;
    timer.function = [](void *) { ++fired; };
    const Foreign foreign(host, [&timer](const Foreign &self) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the first task waits by now
        for (uint32_t i = 1; i <= 3; ++i) {
            EXPECT_EQ(DXR_StartTimer(&timer), 0U);
            EXPECT_EQ(DXR_DelayTask(15), 0U);
            while (fired < i) {
                std::this_thread::yield();
            }
        }
        EXPECT_EQ(DXR_WriteEvent(self.main, 1), 0U);
    });
    EXPECT_EQ(ReadEvent(kForEver), 0U);
}

TEST_F(VirtualTime, ATaskOfAThreadRunsWhileAllTasksWait) {
    const Bounded bounded;
    static std::atomic<uint32_t> ran;
    ran = 0;
    const Foreign foreign(host, [](const Foreign &self) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the first task waits by now
        (void)Spawn(
            [](void *) {
                EXPECT_EQ(DXR_DelayTask(5), 0U);
                ++ran;
            },
            nullptr);
        while (ran == 0) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_WriteEvent(self.main, 1), 0U);
    });
    EXPECT_EQ(ReadEvent(kForEver), 0U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 5000000U);
}

TEST_F(VirtualTime, AThreadThatWaitsItselfHidesNoDeadlock) {
    const Bounded bounded;
    const Foreign foreign(host, [](const Foreign &) { EXPECT_EQ(ReadEvent(kForEver), kCanceled); });
    EXPECT_EQ(ReadEvent(kForEver), kCanceled);
    const auto ends = Texts(DXR_HOST_REPORT_RUN);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_THAT(ends[0], StartsWith("deadlock: all tasks wait; task 1 \"main\" waits for "));
    EXPECT_THAT(ends[0], HasSubstr("; task 2 \"thread 2\" waits for events 0x1 "));
}

TEST_F(VirtualTime, TheEndOfTheTimeEndsTheWaitsOfThreads) {
    const Bounded bounded;
    End();
    options.endSec = 1;
    Begin();
    const Foreign foreign(host, [](const Foreign &) { EXPECT_EQ(DXR_DelayTask(5000), kCanceled); });
    EXPECT_EQ(DXR_DelayTask(2000), kCanceled);
}

TEST_F(VirtualTime, TasksThatWaitAreEndedWithTheHost) {
    Spawn(
        [](void *) {
            for (;;) {
                DXR_DelayTask(1000);
            }
        },
        nullptr, "for ever");
    EXPECT_EQ(DXR_DelayTask(10000), 0U);
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_LEFTOVER),
        ElementsAre(HasSubstr("left behind: task 2 \"for ever\", which waits for 1000 ms to "
                              "pass, made by DXR_CreateTask by ")));
}

// --- Stepped time

// Its thread is still at the destructors of keys, and waits there for the time that passes only
// when the task that makes another one waits.
TEST_F(VirtualTime, ATaskIsMadeWhileAnEndedOneIsAtItsDestructors) {
    const Bounded bounded;
    static pthread_key_t key;
    static std::atomic<uint32_t> late;
    late = 0;
    Spawn([](void *) {}, nullptr);  // the host's own key comes first
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void *round) {
                                     if (round == &key) {
                                         (void)pthread_setspecific(key, &late);
                                     } else {
                                         (void)DXR_DelayTask(1);
                                         ++late;
                                     }
                                 }),
              0);
    const uint32_t ended = Spawn([](void *) { (void)pthread_setspecific(key, &key); }, nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, ended, DXR_HOST_FOREVER), 0U);
    const uint32_t next = Spawn([](void *) {}, nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, next, DXR_HOST_FOREVER), 0U);
    End();
    EXPECT_EQ(late, 1U);
    (void)pthread_key_delete(key);
}

TEST_F(SteppedTime, TimeOutsComeWhenTheClockIsMoved) {
    std::atomic<uint32_t> results{0};
    const uint32_t start = DXR_GetCurrSec();
    std::thread waiter([&results] {
        uint32_t events = 0;
        EXPECT_EQ(DXR_ReadEvent(1, 0, 5000, &events), static_cast<uint32_t>(ETIMEDOUT));
        ++results;
    });
    // It times out as soon as it waits and enough time has passed since.
    uint64_t moved = 0;
    while (results == 0) {
        EXPECT_TRUE(DxrHostAdvance(host, 1000));
        ++moved;
        std::this_thread::yield();
    }
    waiter.join();
    EXPECT_GE(moved, 5U);
    EXPECT_EQ(DXR_GetCurrSec(), start + moved);
}

TEST_F(SteppedTime, TheTimeOfDayIsSetWithoutTimePassing) {
    EXPECT_TRUE(DxrHostSetClock(host, 5000, 10));
    EXPECT_EQ(DXR_GetCurrSec(), 5000U);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 10U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 2500));
    EXPECT_EQ(DXR_GetCurrSec(), 5002U);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 12U);
    EXPECT_TRUE(DxrHostSetClock(host, 1000, 0)) << "also back";
    EXPECT_EQ(DXR_GetCurrMs(), 1000000U);
}

TEST_F(SteppedTime, AnExceptionOfATimersFunctionIsReported) {
    static int times;
    times = 0;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 10;
    timer.repeats = 1;
    timer.function = [](void *) {
        if (++times == 2) {
            throw 2;
        }
        if (times < 4) {
            throw std::runtime_error("no link");
        }
    };
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(AllOf(StartsWith("an exception left a timer's function, "),
                                  HasSubstr("devhost_scheduler_test+0x"), EndsWith(": no link"))));
    EXPECT_STREQ(reports[0].service, "system");
    EXPECT_EQ(reports[0].count, 1U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    EXPECT_EQ(times, 4) << "it goes on";
    DxrHostReport kept{};
    EXPECT_TRUE(DxrHostGetReport(host, 0, &kept));
    EXPECT_EQ(kept.count, 3U);
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
}

// What a timer's function does on the thread that moves the clock.
struct OfTimer {
    uint32_t main = 0;
    uint32_t result = 0;
    void *mutex = nullptr;
    std::atomic<uint32_t> step{0};
};

DxrHostTimer TimerOf(void (*function)(void *), OfTimer &argument) {
    return {sizeof(DxrHostTimer), 10, 0, 0, function, &argument, nullptr};
}

TEST_F(SteppedTime, ATimersFunctionDoesNotDelayWhoMovesTheClock) {
    const Bounded bounded;
    OfTimer of;
    DxrHostTimer timer =
        TimerOf([](void *user) { static_cast<OfTimer *>(user)->result = DXR_DelayTask(5); }, of);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    EXPECT_EQ(of.result, static_cast<uint32_t>(ECANCELED));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("a timer's function waits for 5 ms to pass on the thread that moves "
                            "the clock, which stands meanwhile: the wait is cut off"));
    EXPECT_STREQ(reports[0].slot, "DXR_DelayTask");
    EXPECT_EQ(DxrHostGetElapsedNs(host), 20000000U);
    EXPECT_TRUE(DxrHostAdvance(host, 20)) << "it can be moved again";
}

TEST_F(SteppedTime, ATimeOutOfATimersFunctionIsCutOff) {
    const Bounded bounded;
    OfTimer of;
    DxrHostTimer timer = TimerOf(
        [](void *user) {
            uint32_t events = 7;
            static_cast<OfTimer *>(user)->result = DXR_ReadEvent(1, 0, 5, &events);
            EXPECT_EQ(events, 0U);
        },
        of);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    EXPECT_EQ(of.result, static_cast<uint32_t>(ECANCELED));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("a timer's function waits for events 0x1 on the thread that moves the "
                            "clock, which stands meanwhile: the wait is cut off"));
    EXPECT_TRUE(DxrHostAdvance(host, 20));
}

// Many short ones take no longer than was asked for.
TEST_F(SteppedTime, AJoinOfATimersFunctionIsCutOffInItsTime) {
    const Bounded bounded;
    static std::atomic<bool> isOver;
    isOver = false;
    OfTimer of;
    of.main = Spawn(
        [](void *) {
            while (!isOver) {
                (void)usleep(1000);
            }
        },
        nullptr);
    DxrHostTimer timer = TimerOf(
        [](void *user) {
            auto &self = *static_cast<OfTimer *>(user);
            for (int i = 0; i < 40; ++i) {
                self.result = DxrHostJoinTask(nullptr, self.main, 5);
                EXPECT_EQ(self.result, kCanceled);
            }
        },
        of);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    EXPECT_EQ(of.result, kCanceled);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_MISUSE),
        ElementsAre("a timer's function waits for the end of task " + std::to_string(of.main) +
                    " on the thread that moves the clock, which stands meanwhile: the "
                    "wait is cut off"));
    isOver = true;
    EXPECT_EQ(DxrHostJoinTask(host, of.main, DXR_HOST_FOREVER), 0U);
}

TEST_F(SteppedTime, OthersEndTheWaitOfATimersFunction) {
    const Bounded bounded;
    OfTimer of;
    of.main = DxrHostGetTaskId(host);
    DxrHostTimer timer = TimerOf(
        [](void *user) {
            auto &self = *static_cast<OfTimer *>(user);
            self.step = 1;
            uint32_t events = 0;
            self.result = DXR_ReadEvent(1, 0, 60000, &events);
            EXPECT_EQ(events, 1U);
        },
        of);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    std::thread writer([&of] {
        while (of.step == 0) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_WriteEvent(of.main, 1), 0U);
    });
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    writer.join();
    EXPECT_EQ(of.result, 0U);
    EXPECT_THAT(reports, testing::IsEmpty());
}

// As for a mutex of somebody who waits for the clock to move.
TEST_F(SteppedTime, AWaitWithoutATimeOutOfATimersFunctionIsReported) {
    const Bounded bounded;
    OfTimer of;
    EXPECT_EQ(DXR_InitMutex(&of.mutex, nullptr), 0U);
    std::thread holder([&] {
        EXPECT_EQ(DXR_LockMutex(of.mutex), 0U);
        of.step = 1;
        while (DxrHostGetReportCount(host) == 0) {
            std::this_thread::yield();
        }
        EXPECT_EQ(DXR_UnlockMutex(of.mutex), 0U);
    });
    while (of.step == 0) {
        std::this_thread::yield();
    }
    DxrHostTimer timer = TimerOf(
        [](void *user) {
            auto &self = *static_cast<OfTimer *>(user);
            self.result = DXR_LockMutex(self.mutex) + DXR_UnlockMutex(self.mutex);
        },
        of);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 20));
    holder.join();
    EXPECT_EQ(of.result, 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK),
                ElementsAre("a timer's function waits for mutex 1 on the thread that moves the "
                            "clock, which stands meanwhile"));
    EXPECT_EQ(DXR_DestroyMutex(of.mutex), 0U);
}

// Neither the clock nor whoever stops the timer waits for a thread that is gone.
TEST_F(SteppedTime, ATimersFunctionMayEndItsThread) {
    const Bounded bounded;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 5;
    timer.repeats = 1;
    timer.function = [](void *) { pthread_exit(nullptr); };
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    std::thread([this] { DxrHostAdvance(host, 5); }).join();
    EXPECT_EQ(DxrHostGetElapsedNs(host), 5000000U);
    EXPECT_TRUE(DxrHostAdvance(host, 1));
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
}

// Timers go on, on another thread; what fired once is not left behind.
template <typename Fixture>
void LetATimersFunctionEndItsThread(Fixture &test) {
    const Bounded bounded;
    static std::atomic<uint32_t> others;
    static std::atomic<uint32_t> last;
    others = 0;
    last = 0;
    DxrHostTimer ending{};
    ending.size = sizeof(ending);
    ending.ms = 3;
    ending.function = [](void *) { pthread_exit(nullptr); };
    DxrHostTimer other = ending;
    other.ms = 2;
    other.repeats = 1;
    other.function = [](void *) { ++others; };
    ASSERT_EQ(DXR_StartTimer(&other), 0U);
    ASSERT_EQ(DXR_StartTimer(&ending), 0U);
    DxrHostTimer again = ending;
    while (others < 5) {
        (void)DXR_DelayTask(1);
    }
    ASSERT_EQ(DXR_StartTimer(&again), 0U);
    const uint32_t before = others;
    while (others < before + 5) {
        (void)DXR_DelayTask(1);
    }
    EXPECT_EQ(DXR_StopTimer(&other), 0U);
    // While none was waiting.
    DxrHostTimer third = ending;
    ASSERT_EQ(DXR_StartTimer(&third), 0U);
    (void)DXR_DelayTask(20);
    DxrHostTimer late = ending;
    late.function = [](void *) { ++last; };
    ASSERT_EQ(DXR_StartTimer(&late), 0U);
    while (last == 0) {
        (void)DXR_DelayTask(1);
    }
    EXPECT_THAT(test.Texts(DXR_HOST_REPORT_MISUSE),
                testing::Each("a timer's function has ended its thread instead of returning"));
    EXPECT_FALSE(test.Texts(DXR_HOST_REPORT_MISUSE).empty());
    EXPECT_EQ(test.End(), 0U);
}

struct TimersInVirtualTime : dxrtest::VirtualHost {
    using HostTest::End;
    using HostTest::Texts;
};
TEST_F(TimersInVirtualTime, GoOnWhenAFunctionEndsTheirThread) {
    LetATimersFunctionEndItsThread(*this);
}

struct TimersInRealTime : dxrtest::RealHost {
    using HostTest::End;
    using HostTest::Texts;
};
TEST_F(TimersInRealTime, GoOnWhenAFunctionEndsTheirThread) {
    LetATimersFunctionEndItsThread(*this);
}

// While the clock stands, and on the thread that moves it, where a time-out is none.
TEST_F(SteppedTime, AJoinThatMayNotWaitGivesATimeOutAtOnce) {
    const Bounded bounded;
    static std::atomic<bool> isOver;
    static uint32_t id;
    static uint32_t inFunction;
    isOver = false;
    inFunction = 0;
    id = Spawn(
        [](void *) {
            while (!isOver) {
                (void)usleep(1000);
            }
        },
        nullptr);
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), static_cast<uint32_t>(ETIMEDOUT));
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 5;
    timer.function = [](void *) { inFunction = DxrHostJoinTask(nullptr, id, 0); };
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 5));
    EXPECT_EQ(inFunction, static_cast<uint32_t>(ETIMEDOUT));
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE), std::vector<std::string>());
    isOver = true;
    EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), 0U);
}

TEST_F(VirtualTime, AnExceptionOfATimersFunctionIsReported) {
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 10;
    timer.function = [](void *) { throw std::runtime_error("no link"); };
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_EQ(DXR_DelayTask(20), 0U);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_EQ(DXR_DelayTask(20), 0U);
    DxrHostReport kept{};
    ASSERT_TRUE(DxrHostGetReport(host, 0, &kept));
    EXPECT_THAT(kept.text,
                AllOf(StartsWith("an exception left a timer's function, "), EndsWith(": no link")));
    EXPECT_EQ(kept.count, 2U);
}

// While the function of one waits, what else becomes due queues up.
TEST_F(VirtualTime, TimersThatAreDueAreStopped) {
    static std::vector<size_t> order;
    order.clear();
    const auto wait = [](void *) { EXPECT_EQ(DXR_DelayTask(100), 0U); };
    DxrHostTimer slow{sizeof(DxrHostTimer), 1, 0, 0, wait, nullptr, nullptr};
    EXPECT_EQ(DXR_StartTimer(&slow), 0U);
    const auto note = [](void *number) { order.push_back(*static_cast<size_t *>(number)); };
    std::array<size_t, 6> numbers{};
    std::array<DxrHostTimer, 6> timers{};
    for (size_t i = 0; i < timers.size(); ++i) {
        numbers[i] = i;
        timers[i] = {
            sizeof(DxrHostTimer), static_cast<uint32_t>(2 + i), 0, 0, note, &numbers[i], nullptr};
        EXPECT_EQ(DXR_StartTimer(&timers[i]), 0U);
    }
    EXPECT_EQ(DXR_DelayTask(10), 0U);
    for (const size_t stopped : {0U, 2U, 5U}) {
        EXPECT_EQ(DXR_StopTimer(&timers[stopped]), 0U);
    }
    EXPECT_EQ(DXR_StartTimer(&timers[5]), 0U) << "now the last one again";
    EXPECT_EQ(DXR_DelayTask(20), 0U);
    EXPECT_EQ(DXR_StopTimer(&timers[3]), 0U);
    EXPECT_THAT(order, testing::IsEmpty());
    EXPECT_EQ(DXR_DelayTask(200), 0U);
    EXPECT_THAT(order, ElementsAre(1, 4, 5));
    EXPECT_EQ(End(), 0U);
}

TEST_F(VirtualTime, TheClockIsNotATestsToMove) {
    EXPECT_FALSE(DxrHostSetClock(host, 5000, 10));
    EXPECT_FALSE(DxrHostAdvance(host, 10));
}

// --- Faults of all kinds at once

// A module of four tasks under faults of memory, files, registers and messages, and all that it
// sees: one log a run.
class FaultyModule {
  public:
    FaultyModule() : file_(directory_.Write("data", "0123456789")) {}

    std::string Run(uint64_t seed) {
        log_.clear();
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.clock = DXR_HOST_CLOCK_VIRTUAL;
        options.seed = seed;
        options.printLevel = 0;
        const std::string path = directory_.Path();
        options.workPath = path.c_str();
        host_ = DxrHostCreate(&options);
        EXPECT_EQ(DxrHostRegister(host_), 0U);
        for (const char *const point :
             {"memory.allocate", "file.open", "file.read", "device.register.flip", "message.lose",
              "message.twice", "message.delay"}) {
            DxrHostFailShare(host_, point, 200000);
        }
        const DxrHostMailbox box{sizeof(DxrHostMailbox), 0, kUnit, nullptr, nullptr};
        EXPECT_EQ(DxrHostOpenMailbox(host_, &box), 0U);
        std::array<Worker, 3> workers{{{this, 1}, {this, 2}, {this, 3}}};
        for (Worker &worker : workers) {
            Spawn([](void *user) { Work(*static_cast<Worker *>(user)); }, &worker);
        }
        DxrHostMessage message;
        uint32_t text = 0;
        while (DxrHostReceiveMessage(host_, &kUnit, &message, &text, sizeof(text), 1000) == 0) {
            Note("got", 0, text);
        }
        for (const char *const point : {"memory.allocate", "file.open", "file.read",
                                        "device.register.flip", "message.lose"}) {
            Note(point, 0, DxrHostGetFailures(host_, point));
            EXPECT_GT(DxrHostGetFailures(host_, point), 0U) << point << ", seed " << seed;
        }
        EXPECT_EQ(DxrHostCloseMailbox(host_, &kUnit), 0U);
        EXPECT_EQ(DxrHostDestroy(host_, nullptr), 0U) << "seed " << seed;
        return log_;
    }

  private:
    struct Worker {
        FaultyModule *module;
        uint32_t number;
    };
    static constexpr DxrHostUnit kUnit = {DXR_HOST_UNIT_LPU, 1};

    // One task runs at a time.
    void Note(const char *what, uint32_t worker, uint64_t value) {
        log_ += std::to_string(DxrHostGetElapsedNs(host_)) + " " + std::to_string(worker) + " " +
                what + " " + std::to_string(value) + "\n";
    }

    static void Work(const Worker &worker) {
        FaultyModule &module = *worker.module;
        const uint32_t number = worker.number;
        for (uint32_t round = 0; round < 30; ++round) {
            void *const block = DXR_Malloc(number, 100, "module.c", 1);
            module.Note("block", number, block != nullptr ? 1 : 0);
            if (block != nullptr) {
                DXR_Free(block, "module.c", 2);
            }
            void *const file = DXR_FOpen(module.file_.c_str(), "rb");
            std::array<char, 4> bytes{};
            module.Note("file", number, file != nullptr ? 1 : 0);
            if (file != nullptr) {
                module.Note("bytes", number, DXR_FRead(bytes.data(), 1, 4, file));
                EXPECT_EQ(DXR_FClose(file), 0U);
            }
            uint32_t value = 0;
            (void)DXR_WriteReg(1, number, 8, round);
            (void)DXR_ReadReg(1, number, 8, &value);
            module.Note("register", number, value);
            DxrHostMessage message{};
            message.size = sizeof(message);
            message.to = kUnit;
            message.data = &value;
            message.bytes = sizeof(value);
            module.Note("sent", number, DXR_SendMsg(&message));
            DXR_DelayTask(1 + round % number);
        }
    }

    dxrtest::TemporaryDirectory directory_{dxrtest::TemporaryDirectory::InMemory()};
    const std::string file_;
    DxrHost *host_ = nullptr;
    std::string log_;
};

TEST(Runs, FaultsOfAllKindsRepeatWithTheSeed) {
    FaultyModule module;
    std::vector<std::string> logs;
    for (uint64_t seed = 1; seed <= 10; ++seed) {
        logs.push_back(module.Run(seed));
        EXPECT_EQ(module.Run(seed), logs.back()) << seed;
    }
    std::sort(logs.begin(), logs.end());
    EXPECT_EQ(std::unique(logs.begin(), logs.end()), logs.end()) << "each seed has its own";
}

// --- Many seeds

struct Counter {
    uint32_t value;
};

// Two tasks add to a counter without a lock: read, a slot call, write.
uint32_t PlantedRace(DxrHost *host, void * /*user*/) {
    static Counter counter;
    counter.value = 0;
    const auto add = [](void *) {
        for (int i = 0; i < 3; ++i) {
            const uint32_t read = counter.value;
            DXR_DelayTask(0);
            counter.value = read + 1;
            DXR_DelayTask(1);
        }
    };
    const uint32_t a = Spawn(add, nullptr);
    const uint32_t b = Spawn(add, nullptr);
    DxrHostJoinTask(host, a, DXR_HOST_FOREVER);
    DxrHostJoinTask(host, b, DXR_HOST_FOREVER);
    return counter.value == 6 ? 0 : 1;
}

// A flag that is looked at before the wait begins, and an event that is forgotten by then: the
// event is written only when somebody is known to wait.
uint32_t PlantedLostWakeUp(DxrHost *host, void * /*user*/) {
    static bool isReady;
    static bool isWaiting;
    static uint32_t waiter;
    isReady = false;
    isWaiting = false;
    waiter = Spawn(
        [](void *) {
            if (!isReady) {
                DXR_DelayTask(0);  // the gap
                isWaiting = true;
                uint32_t events = 0;
                DXR_ReadEvent(1, 0, DXR_HOST_FOREVER, &events);
            }
        },
        nullptr, "waiter");
    const uint32_t setter = Spawn(
        [](void *) {
            isReady = true;
            if (isWaiting) {
                DXR_WriteEvent(waiter, 1);
            }
        },
        nullptr, "setter");
    DxrHostJoinTask(host, setter, DXR_HOST_FOREVER);
    DxrHostJoinTask(host, waiter, DXR_HOST_FOREVER);
    return 0;
}

uint32_t WellBehaved(DxrHost *host, void * /*user*/) {
    static void *mutex;
    static Counter counter;
    counter.value = 0;
    DXR_InitMutex(&mutex, nullptr);
    const auto add = [](void *) {
        for (int i = 0; i < 3; ++i) {
            DXR_LockMutex(mutex);
            const uint32_t read = counter.value;
            DXR_DelayTask(0);
            counter.value = read + 1;
            DXR_UnlockMutex(mutex);
        }
    };
    const uint32_t a = Spawn(add, nullptr);
    const uint32_t b = Spawn(add, nullptr);
    DxrHostJoinTask(host, a, DXR_HOST_FOREVER);
    DxrHostJoinTask(host, b, DXR_HOST_FOREVER);
    DXR_DestroyMutex(mutex);
    return counter.value == 6 ? 0 : 1;
}

class Explore : public testing::Test {
  protected:
    // Finds the fault within 1,000 seeds; gives the same again for the seed alone.
    static DxrHostExploration Find(DxrHostBody body) {
        DxrHostExploration found{};
        testing::internal::CaptureStderr();
        EXPECT_EQ(DxrHostExplore(nullptr, 1000, body, nullptr, &found), 1U);
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.seed = found.seed;
        DxrHostExploration again{};
        EXPECT_EQ(DxrHostExplore(&options, 1, body, nullptr, &again), 1U);
        EXPECT_EQ(again.seed, found.seed);
        EXPECT_EQ(again.result, found.result);
        EXPECT_STREQ(again.text, found.text);
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    HasSubstr("seed " + std::to_string(found.seed) + ": " + found.text));
        return found;
    }
};

TEST_F(Explore, FindsAPlantedRace) {
    const DxrHostExploration found = Find(PlantedRace);
    EXPECT_EQ(found.result, 1U);
    EXPECT_STREQ(found.text, "the body returned 1");
    RecordProperty("seeds", static_cast<int>(found.runs));
    std::printf("race: found at seed %u\n", found.runs);
}

TEST_F(Explore, FindsAPlantedLostWakeUp) {
    const DxrHostExploration found = Find(PlantedLostWakeUp);
    EXPECT_EQ(found.result, 0U);
    EXPECT_THAT(found.text, HasSubstr("deadlock"));
    EXPECT_THAT(found.text, HasSubstr("\"waiter\" waits for events 0x1 (DXR_ReadEvent"));
    std::printf("lost wake-up: found at seed %u\n", found.runs);
}

TEST_F(Explore, FindsNothingInAGoodModule) {
    DxrHostExploration found{};
    EXPECT_EQ(DxrHostExplore(nullptr, 50, WellBehaved, nullptr, &found), 0U);
    EXPECT_EQ(found.runs, 50U);
    EXPECT_STREQ(found.text, "");
}

// Each run needs a host of its own: one that is there stays, and is told.
TEST_F(Explore, ReadsNoMoreOfItsOptionsThanIsThere) {
    const dxrtest::GuardedPage page;
    auto *const size = static_cast<uint64_t *>(page.End()) - 1;
    *size = sizeof(*size);
    const auto body = [](DxrHost *, void *) -> uint32_t { return 0; };
    DxrHostExploration found{};
    EXPECT_EQ(DxrHostExplore(reinterpret_cast<DxrHostOptions *>(size), 3, body, nullptr, &found),
              2U);
    EXPECT_EQ(found.runs, 0U);
}

TEST_F(Explore, NeedsThatNoHostIsRegistered) {
    const auto body = [](DxrHost *, void *user) -> uint32_t {
        ++*static_cast<uint32_t *>(user);
        DxrHostExploration inner{};
        const uint32_t result = DxrHostExplore(
            nullptr, 1, [](DxrHost *, void *) -> uint32_t { return 0; }, nullptr, &inner);
        return result == 2 && inner.runs == 0 && DXR_DelayTask(5) == 0 ? 0 : 1;
    };
    uint32_t runs = 0;
    DxrHostExploration found{};
    EXPECT_EQ(DxrHostExplore(nullptr, 3, body, &runs, &found), 0U) << found.text;
    EXPECT_EQ(runs, 3U);

    DxrHost *const host = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    DxrHostSetPrintSink(host, nullptr, nullptr, 0);
    EXPECT_EQ(DxrHostExplore(nullptr, 3, body, &runs, &found), 2U);
    EXPECT_EQ(runs, 3U) << "no more";
    EXPECT_EQ(found.runs, 0U);
    EXPECT_STREQ(found.text, "a host is registered, and each run needs one of its own");
    EXPECT_EQ(DxrHostGet(), host);
    DxrHostReport report;
    ASSERT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.kind, DXR_HOST_REPORT_MISUSE);
    EXPECT_STREQ(report.slot, "DxrHostExplore");
    EXPECT_STREQ(report.text, found.text);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
}

// --- Several hosts

DxrHost *MakeWith(uint32_t clock) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = clock;
    options.printLevel = 0;
    return DxrHostCreate(&options);
}

// A thread is a task of each host that it waits in, and stays it whatever it does elsewhere.
TEST(SeveralHosts, AThreadKeepsItsTaskInEach) {
    for (const uint32_t clock : {DXR_HOST_CLOCK_REAL, DXR_HOST_CLOCK_VIRTUAL}) {
        SCOPED_TRACE(clock);
        DxrHost *const first = MakeWith(clock);
        DxrHost *const second = MakeWith(DXR_HOST_CLOCK_REAL);
        ASSERT_EQ(DxrHostRegister(first), 0U);
        void *mutex = nullptr;
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
        ASSERT_EQ(DXR_LockMutex(mutex), 0U);
        const uint32_t id = DxrHostGetTaskId(first);
        const uint32_t elsewhere = DxrHostGetTaskId(second);
        EXPECT_EQ(DXR_WriteEvent(id, 4), 0U);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(DxrHostGetTaskId(second), elsewhere);
            EXPECT_EQ(DxrHostGetTaskId(first), id);
        }
        uint32_t events = 0;
        EXPECT_EQ(DXR_ReadEvent(4, 0, 0, &events), 0U);
        EXPECT_EQ(events, 4U);
        EXPECT_EQ(DXR_DelayTask(1), 0U);
        EXPECT_EQ(DXR_UnlockMutex(mutex), 0U);
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
        EXPECT_EQ(DxrHostDestroy(second, stderr), 0U);
        EXPECT_EQ(DxrHostGetTaskId(first), id);
        EXPECT_EQ(DXR_DelayTask(1), 0U);
        DxrHostReport report{};
        EXPECT_FALSE(DxrHostGetReport(first, 0, &report)) << report.text;
        EXPECT_EQ(DxrHostDestroy(first, stderr), 0U);
    }
}

TEST(SeveralHosts, TwoOfVirtualTimeAreMadeByOneThread) {
    DxrHost *const first = MakeWith(DXR_HOST_CLOCK_VIRTUAL);
    DxrHost *const second = MakeWith(DXR_HOST_CLOCK_VIRTUAL);
    for (uint32_t i = 0; i < 2; ++i) {
        for (DxrHost *const host : {first, second}) {
            ASSERT_EQ(DxrHostRegister(host), 0U);
            EXPECT_EQ(DXR_DelayTask(10), 0U);
            EXPECT_EQ(DxrHostGetElapsedNs(host), (i + 1) * 10000000U);
        }
    }
    EXPECT_EQ(DxrHostDestroy(second, stderr), 0U);
    ASSERT_EQ(DxrHostRegister(first), 0U);
    EXPECT_EQ(DXR_DelayTask(10), 0U);
    EXPECT_EQ(DxrHostDestroy(first, stderr), 0U);
}

// A run of a seed may make a host beside its own.
TEST(SeveralHosts, OneIsMadeAndEndedWithinARun) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.printLevel = 0;
    const auto body = [](DxrHost * /*host*/, void * /*user*/) -> uint32_t {
        DxrHost *const beside = MakeWith(DXR_HOST_CLOCK_VIRTUAL);
        const uint32_t left = DxrHostDestroy(beside, stderr);
        return DXR_DelayTask(5) + left;
    };
    DxrHostExploration found{};
    EXPECT_EQ(DxrHostExplore(&options, 3, body, nullptr, &found), 0U) << found.text;
}

}  // namespace
