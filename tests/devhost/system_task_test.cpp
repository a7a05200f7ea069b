// The host's task service, by the sentences of its header.
#include "dxr_devhost/system_task.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"

namespace {

using testing::HasSubstr;

using RealHostTask = dxrtest::RealHost;
using VirtualHostTask = dxrtest::VirtualHost;

TEST_F(RealHostTask, MutexesAreUnlockedInAnyOrder) {
    std::array<void *, 3> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
        EXPECT_EQ(DXR_LockMutex(mutex), 0U);
    }
    for (const size_t index : {1U, 0U, 2U}) {
        EXPECT_EQ(DXR_UnlockMutex(mutexes[index]), 0U);
        EXPECT_EQ(DXR_UnlockMutex(mutexes[index]), static_cast<uint32_t>(EPERM));
        EXPECT_EQ(DXR_DestroyMutex(mutexes[index]), 0U);
    }
    EXPECT_EQ(End(), 0U);
}

// What is held is what was not unlocked, in whatever order that was.
TEST_F(RealHostTask, TheOrderOfMutexesIsThatOfThoseStillHeld) {
    std::array<void *, 3> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    const auto &[a, b, c] = mutexes;
    DXR_LockMutex(a);
    DXR_LockMutex(b);
    DXR_UnlockMutex(a);
    DXR_LockMutex(c);  // while b is held
    DXR_UnlockMutex(c);
    DXR_UnlockMutex(b);
    EXPECT_TRUE(reports.empty());
    DXR_LockMutex(c);
    DXR_LockMutex(b);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RISK).size(), 1U);
    DXR_UnlockMutex(b);
    DXR_UnlockMutex(c);
    for (void *const mutex : mutexes) {
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    }
}

// Whoever has just looked up a mutex locks nobody else's when it is destroyed then, and another one
// has its memory.
TEST_F(RealHostTask, MutexesMayBeDestroyedWhileOthersLockThem) {
    const dxrtest::Bounded bounded;
    std::atomic<void *> shared{nullptr};
    std::atomic<bool> isOver{false};
    std::atomic<uint32_t> wrong{0};
    std::thread other([&] {
        for (void *last = nullptr; !isOver;) {
            void *const mutex = shared;
            if (mutex == last) {
                continue;
            }
            last = mutex;
            const uint32_t result = DXR_LockMutex(mutex);
            if (result == 0) {
                DXR_UnlockMutex(mutex);
            }
            wrong += result == 0 || result == EINVAL ? 0 : 1;
        }
    });
    for (uint32_t i = 0; i < 100000; ++i) {
        void *mutex = nullptr;
        wrong += DXR_InitMutex(&mutex, nullptr) == 0 ? 0 : 1;
        wrong += DXR_LockMutex(mutex) == 0 && DXR_UnlockMutex(mutex) == 0 ? 0 : 1;
        shared = mutex;
        for (std::atomic<uint32_t> late{i % 512}; late != 0; --late) {
        }
        while (DXR_DestroyMutex(mutex) == EBUSY) {
        }
    }
    isOver = true;
    other.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(RealHostTask, MutexesExclude) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    ASSERT_NE(mutex, nullptr);
    uint64_t counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                DXR_LockMutex(mutex);
                ++counter;
                DXR_UnlockMutex(mutex);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 20000U);
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
}

TEST_F(RealHostTask, MisusedMutexesGiveErrors) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EPERM)) << "not locked";
    EXPECT_EQ(DXR_LockMutex(mutex), 0U);
    EXPECT_EQ(DXR_LockMutex(mutex), static_cast<uint32_t>(EDEADLK)) << "locked twice";
    EXPECT_EQ(DXR_DestroyMutex(mutex), static_cast<uint32_t>(EBUSY));
    std::thread([mutex] {
        EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EPERM)) << "by another";
    }).join();
    EXPECT_EQ(DXR_UnlockMutex(mutex), 0U);
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    for (const auto result : {DXR_InitMutex(nullptr, nullptr), DXR_LockMutex(nullptr),
                              DXR_UnlockMutex(nullptr), DXR_DestroyMutex(nullptr)}) {
        EXPECT_EQ(result, static_cast<uint32_t>(EINVAL));
    }
}

TEST_F(RealHostTask, MisuseOfMutexesIsReportedWithBothPlaces) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    DXR_LockMutex(mutex);
    DXR_LockMutex(mutex);
    DXR_DestroyMutex(mutex);
    std::thread([mutex] { DXR_UnlockMutex(mutex); }).join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre(HasSubstr("mutex 1 is locked already by "),
                                     HasSubstr("mutex 1 is held, locked by "),
                                     "mutex 1 is not held by this thread"));
    for (const DxrHostReport &report : reports) {
        EXPECT_STREQ(report.service, reports.back().service);
    }
    DXR_UnlockMutex(mutex);
    DXR_DestroyMutex(mutex);
}

TEST_F(RealHostTask, AnOrderOfLocksThatCouldDeadlockIsReportedOnce) {
    std::array<void *, 3> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    const auto inOrder = [&mutexes](size_t first, size_t second) {
        DXR_LockMutex(mutexes[first]);
        DXR_LockMutex(mutexes[second]);
        DXR_UnlockMutex(mutexes[second]);
        DXR_UnlockMutex(mutexes[first]);
    };
    inOrder(0, 1);
    inOrder(1, 2);
    inOrder(0, 2);
    inOrder(0, 1);
    EXPECT_TRUE(reports.empty());
    inOrder(2, 0);
    inOrder(2, 0);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK),
                testing::ElementsAre(HasSubstr("mutex 1 is locked while mutex 3 is held")));
    for (void *const mutex : mutexes) {
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    }
}

// A task is about to lock what is destroyed meanwhile, and another mutex is there: that one it
// never asked for, so its order is nobody's fault. Some of the seeds let it happen.
TEST(LockOrder, IsThatOfTheMutexesThatWereAskedFor) {
    static std::array<void *, 3> mutexes;
    static uint32_t missed;
    missed = 0;
    const auto risksOf = [](DxrHost *host) {
        DXR_InitMutex(&mutexes[0], nullptr);
        DXR_InitMutex(&mutexes[1], nullptr);
        const auto both = +[](void *second) {
            DXR_LockMutex(mutexes[0]);
            if (DXR_LockMutex(second) == 0) {
                DXR_UnlockMutex(second);
            } else {
                ++missed;
            }
            DXR_UnlockMutex(mutexes[0]);
        };
        uint32_t task = 0;
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(both), mutexes[1], 10, nullptr, 0, &task);
        DXR_DestroyMutex(mutexes[1]);
        DXR_InitMutex(&mutexes[2], nullptr);
        DXR_LockMutex(mutexes[2]);
        (void)DXR_DelayTask(5);
        DXR_UnlockMutex(mutexes[2]);
        (void)DXR_DelayTask(5);
        DXR_LockMutex(mutexes[2]);
        DXR_LockMutex(mutexes[0]);
        DXR_UnlockMutex(mutexes[0]);
        DXR_UnlockMutex(mutexes[2]);
        DXR_DestroyMutex(mutexes[2]);
        DXR_DestroyMutex(mutexes[0]);
        uint32_t risks = 0;
        for (uint32_t i = 0; i < DxrHostGetReportCount(host); ++i) {
            DxrHostReport report{};
            risks += DxrHostGetReport(host, i, &report) && report.kind == DXR_HOST_REPORT_RISK;
        }
        return risks;
    };
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    for (options.seed = 1; options.seed <= 100; ++options.seed) {
        DxrHost *const host = DxrHostCreate(&options);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        EXPECT_EQ(risksOf(host), 0U) << "seed " << options.seed;
        (void)DxrHostDestroy(host, nullptr);
    }
    EXPECT_GT(missed, 0U);
}

TEST_F(RealHostTask, AnOrderOfLocksThroughOthersIsReportedWithAllItsSteps) {
    std::array<void *, 3> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    for (size_t i = 0; i < mutexes.size(); ++i) {
        DXR_LockMutex(mutexes[i]);
        DXR_LockMutex(mutexes[(i + 1) % 3]);
        DXR_UnlockMutex(mutexes[(i + 1) % 3]);
        DXR_UnlockMutex(mutexes[i]);
    }
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK),
                testing::ElementsAre(testing::ContainsRegex(
                    "mutex 1 is locked while mutex 3 is held, locked by .*; elsewhere mutex 1 was "
                    "held, locked by .*, before .* locked mutex 2, mutex 2 was held, locked by .*, "
                    "before .* locked mutex 3: this could deadlock")));
    for (void *const mutex : mutexes) {
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    }
}

// Each is locked before the one with the number below it, by a task with little room.
TEST_F(RealHostTask, ALongChainOfLocksIsNoHarm) {
    static std::array<void *, 5000> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    const auto chain = [](void * /*user*/) {
        const auto inOrder = [](void *first, void *second) {
            DXR_LockMutex(first);
            DXR_LockMutex(second);
            DXR_UnlockMutex(second);
            DXR_UnlockMutex(first);
        };
        for (size_t i = 1; i < mutexes.size(); ++i) {
            inOrder(mutexes[i], mutexes[i - 1]);
        }
        inOrder(mutexes.front(), mutexes.back());
    };
    DxrHostTaskOptions little{};
    little.size = sizeof(little);
    little.stackSize = 128 * 1024;
    uint32_t task = 0;
    ASSERT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+chain), nullptr, 10, &little, 0, &task),
        0U);
    EXPECT_EQ(DxrHostJoinTask(host, task, DXR_HOST_FOREVER), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK),
                testing::ElementsAre(HasSubstr("and so on to mutex 1 through 4997 more")));
    for (void *const mutex : mutexes) {
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    }
}

// Whoever is told of a risk may lock too.
TEST_F(RealHostTask, AReportOfAnOrderOfLocksMayLock) {
    static std::array<void *, 20> others{};
    std::array<void *, 3> mutexes{};
    for (void *&mutex : mutexes) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    for (void *&mutex : others) {
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    }
    static uint32_t told = 0;
    told = 0;
    DxrHostSetReportSink(
        host,
        [](const DxrHostReport *report, void *) {
            told += report->kind == DXR_HOST_REPORT_RISK ? 1 : 0;
            if (told == 1) {
                ++told;
                for (void *const mutex : others) {
                    DXR_LockMutex(mutex);
                }
            }
        },
        nullptr);
    DXR_LockMutex(mutexes[2]);
    DXR_LockMutex(mutexes[0]);
    DXR_UnlockMutex(mutexes[0]);
    DXR_LockMutex(mutexes[1]);
    DXR_UnlockMutex(mutexes[1]);
    DXR_UnlockMutex(mutexes[2]);
    DXR_LockMutex(mutexes[0]);
    DXR_LockMutex(mutexes[1]);
    DXR_LockMutex(mutexes[2]);
    EXPECT_GE(told, 2U);
}

// A mutex that is destroyed while others are about to lock it is theirs no more, and the next one
// that is made is not held by anybody.
TEST(HostTaskRuns, ADestroyedMutexIsNobodys) {
    struct Both {
        void *mutex = nullptr;
        uint32_t waiter = 0;
    };
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    options.switchAtCalls = 1;
    options.endSec = 10;
    const DxrHostBody body = [](DxrHost * /*host*/, void * /*user*/) -> uint32_t {
        static Both both;
        both = {};
        DXR_InitMutex(&both.mutex, nullptr);
        void *const first = both.mutex;
        DXR_LockMutex(first);
        uint32_t id = 0;
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+[](void * /*argument*/) {
                           void *const mutex = both.mutex;
                           both.waiter = DXR_LockMutex(mutex);
                           if (both.waiter == 0) {
                               DXR_UnlockMutex(mutex);
                           }
                       }),
                       nullptr, 10, nullptr, 0, &id);
        DXR_DelayTask(1);
        DXR_UnlockMutex(first);
        const uint32_t destroyed = DXR_DestroyMutex(first);
        void *second = nullptr;
        DXR_InitMutex(&second, nullptr);
        if (DXR_LockMutex(second) != 0 || DXR_UnlockMutex(second) != 0) {
            return 1;
        }
        DxrHostJoinTask(nullptr, id, DXR_HOST_FOREVER);
        const bool isRight =
            both.waiter == static_cast<uint32_t>(EINVAL) ? destroyed == 0 : both.waiter == 0;
        DXR_DestroyMutex(second);
        return isRight ? 0 : 2;
    };
    DxrHostExploration found{};
    EXPECT_EQ(DxrHostExplore(&options, 60, body, nullptr, &found), 0U) << found.text;
}

// --- Events and tasks, in virtual time

void Start(void (*entry)(void *), void *argument, uint32_t flag, uint32_t &id) {
    ASSERT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(entry), argument, 0, nullptr, flag, &id),
        0U);
}

TEST_F(VirtualHostTask, EventsAreTakenByThoseWhoWaitForThem) {
    const uint32_t self = DxrHostGetTaskId(host);
    uint32_t events = 7;
    EXPECT_EQ(DXR_ReadEvent(0xFF, 0, 0, &events), static_cast<uint32_t>(ETIMEDOUT));
    EXPECT_EQ(events, 0U);
    EXPECT_EQ(DXR_WriteEvent(self, 0x13), 0U);
    EXPECT_EQ(DXR_ReadEvent(0x0E, 0, 0, &events), 0U);
    EXPECT_EQ(events, 0x02U) << "any of the wanted ones";
    EXPECT_EQ(DXR_ReadEvent(0xFF, 0, DXR_HOST_FOREVER, &events), 0U);
    EXPECT_EQ(events, 0x11U) << "the others stayed";
    EXPECT_EQ(DXR_WriteEvent(99, 1), static_cast<uint32_t>(ESRCH));
}

TEST_F(VirtualHostTask, ModeOneWaitsForAllEvents) {
    const auto read = DXR_GetTaskHooks()->readEvent;
    const uint32_t self = DxrHostGetTaskId(host);
    uint32_t events = 0;
    DXR_WriteEvent(self, 1);
    EXPECT_EQ(read(3, 1, 100, &events), static_cast<uint32_t>(ETIMEDOUT));
    EXPECT_EQ(DxrHostGetElapsedNs(host), 100000000U);
    DXR_WriteEvent(self, 2);
    EXPECT_EQ(read(3, 1, 100, &events), 0U);
    EXPECT_EQ(events, 3U);
    EXPECT_EQ(read(3, 2, 100, &events), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_ReadEvent(3, 0, 100, nullptr), static_cast<uint32_t>(EINVAL));
}

TEST_F(VirtualHostTask, AWriteWakesTheReader) {
    static uint32_t reader;
    uint32_t writer = 0;
    reader = DxrHostGetTaskId(host);
    Start(
        [](void *) {
            DXR_DelayTask(2000);
            DXR_WriteEvent(reader, 4);
        },
        nullptr, 0, writer);
    uint32_t events = 0;
    EXPECT_EQ(DXR_ReadEvent(4, 0, 5000, &events), 0U);
    EXPECT_EQ(events, 4U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 2000000000U);
    EXPECT_EQ(DxrHostJoinTask(host, writer, DXR_HOST_FOREVER), 0U);
}

TEST_F(VirtualHostTask, ATaskMayBeginWithItsFirstEvent) {
    static bool hasBegun;
    hasBegun = false;
    uint32_t id = 0;
    Start([](void *) { hasBegun = true; }, nullptr, 1, id);
    DXR_DelayTask(1000);
    EXPECT_FALSE(hasBegun);
    EXPECT_EQ(DXR_WriteEvent(id, 1), 0U);
    EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    EXPECT_TRUE(hasBegun);
    EXPECT_EQ(DXR_WriteEvent(id, 1), static_cast<uint32_t>(ESRCH)) << "it has ended";
}

TEST_F(VirtualHostTask, AJoinMayTimeOut) {
    uint32_t id = 0;
    Start([](void *) { DXR_DelayTask(500); }, nullptr, 0, id);
    EXPECT_EQ(DxrHostJoinTask(host, id, 400), static_cast<uint32_t>(ETIMEDOUT));
    EXPECT_EQ(DxrHostJoinTask(host, id, 400), 0U);
    EXPECT_EQ(DxrHostJoinTask(host, id, 400), 0U) << "there is none";
    EXPECT_EQ(DxrHostJoinTask(host, DxrHostGetTaskId(host), 1), static_cast<uint32_t>(EDEADLK));
}

TEST_F(VirtualHostTask, WrongTasksAreNotMade) {
    DxrHostTaskOptions wrong{1, 0};
    const auto entry = reinterpret_cast<void *>(+[](void *) {});
    const auto einval = static_cast<uint32_t>(EINVAL);
    EXPECT_EQ(DXR_CreateTask(nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr), einval);
    EXPECT_EQ(DXR_CreateTask(nullptr, entry, nullptr, 256, nullptr, 0, nullptr), einval);
    EXPECT_EQ(DXR_CreateTask(nullptr, entry, nullptr, 0, &wrong, 0, nullptr), einval);
    DxrHostFailNth(host, "task.create", 1, false);
    EXPECT_EQ(DXR_CreateTask(nullptr, entry, nullptr, 0, nullptr, 0, nullptr),
              static_cast<uint32_t>(EAGAIN));
    DxrHostFailNth(host, "mutex.create", 1, false);
    void *mutex = nullptr;
    EXPECT_EQ(DXR_InitMutex(&mutex, nullptr), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(mutex, nullptr);
}

TEST_F(VirtualHostTask, MutexesExcludeInVirtualTimeToo) {
    static void *mutex;
    static uint32_t inside;
    inside = 0;
    DXR_InitMutex(&mutex, nullptr);
    std::array<uint32_t, 5> ids{};
    for (uint32_t &id : ids) {
        Start(
            [](void *) {
                for (uint32_t i = 0; i < 20; ++i) {
                    EXPECT_EQ(DXR_LockMutex(mutex), 0U);
                    EXPECT_EQ(++inside, 1U);
                    DXR_DelayTask(i % 3);
                    --inside;
                    EXPECT_EQ(DXR_UnlockMutex(mutex), 0U);
                }
            },
            nullptr, 0, id);
    }
    for (const uint32_t id : ids) {
        EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
    }
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
}

// --- In real time

TEST_F(RealHostTask, TasksRunAndEnd) {
    static std::atomic<uint32_t> sum;
    sum = 0;
    std::array<uint32_t, 20> ids{};
    for (uint32_t &id : ids) {
        Start([](void *) { sum += DxrHostGetTaskId(nullptr); }, nullptr, 0, id);
    }
    uint32_t expected = 0;
    for (const uint32_t id : ids) {
        EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
        expected += id;
    }
    EXPECT_EQ(sum, expected);
}

TEST_F(RealHostTask, EventsWakeInRealTime) {
    static uint32_t reader;
    reader = DxrHostGetTaskId(host);
    uint32_t id = 0;
    Start([](void *) { DXR_WriteEvent(reader, 8); }, nullptr, 0, id);
    uint32_t events = 0;
    EXPECT_EQ(DXR_ReadEvent(8, 0, DXR_HOST_FOREVER, &events), 0U);
    EXPECT_EQ(DXR_ReadEvent(8, 0, 1, &events), static_cast<uint32_t>(ETIMEDOUT));
    EXPECT_EQ(DXR_DelayTask(1), 0U);
    EXPECT_EQ(DXR_DelayTask(0), 0U);
    DxrHostJoinTask(host, id, DXR_HOST_FOREVER);
}

TEST_F(RealHostTask, TasksThatWaitOrCallAreEndedWithTheHost) {
    static void *mutex;
    DXR_InitMutex(&mutex, nullptr);
    DXR_LockMutex(mutex);
    uint32_t id = 0;
    // Again and again: a call that comes just when the host ends fails; the next ends the task.
    Start(
        [](void *) {
            for (;;) {
                DXR_LockMutex(mutex);
            }
        },
        nullptr, 0, id);
    Start(
        [](void *) {
            for (;;) {
                DXR_DelayTask(1);
            }
        },
        nullptr, 0, id);
    Start(
        [](void *) {
            for (;;) {
                DXR_GetCurrSec();
            }
        },
        nullptr, 0, id);
    Start(
        [](void *) {
            uint32_t events = 0;
            for (;;) {
                DXR_ReadEvent(1, 0, DXR_HOST_FOREVER, &events);
            }
        },
        nullptr, 0, id);
    EXPECT_EQ(End(), 5U) << "four tasks and the mutex";
}

}  // namespace
