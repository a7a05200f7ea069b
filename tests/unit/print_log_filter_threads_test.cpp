// The log filter under real mutexes and many threads. To be run under the thread sanitizer too.
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "dxr_api.h"
#include "support/test_host.h"

namespace dxrtest {
namespace {

constexpr uint32_t kTypes = 29;
constexpr uint32_t kThreads = 8;

// Hooks that any thread may call.
struct ThreadHooks {
    struct Mutex {
        pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
        std::atomic<int> inside = 0;
    };

    static inline std::atomic<uint32_t> now;
    static inline std::atomic<uint64_t> live;
    static inline std::atomic<uint64_t> diagLines;
    static inline std::atomic<uint64_t> mutexes;
    static inline std::atomic<uint64_t> faults;

    static void Install() {
        now = 1000000;
        live = 0;
        diagLines = 0;
        mutexes = 0;
        faults = 0;
        g_dxrHooks = DxrHooks{};
        DXR_SetMemoryHooks(Allocate, Release);
        g_dxrHooks.print.diagLogFilter = Diag;
        g_dxrHooks.time.getCurrSec = CurrSec;
        g_dxrHooks.time.getCurrTime = CurrTime;
        g_dxrHooks.task.initMutex = Init;
        g_dxrHooks.task.lockMutex = Lock;
        g_dxrHooks.task.unlockMutex = Unlock;
        g_dxrHooks.task.destroyMutex = Destroy;
    }

    static void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
        ++live;
        return std::malloc(size);
    }
    static void Release(void *block, const char *, uint32_t) {
        if (block != nullptr) {
            --live;
        }
        std::free(block);
    }
    static uint32_t Diag(const char *) {
        ++diagLines;
        return 0;
    }
    static uint32_t CurrSec() { return now; }
    static void CurrTime(char *text, uint32_t size, uint32_t *sec) {
        *sec = now;
        std::snprintf(text, size, "%u", *sec);
    }
    static uint32_t Init(void **mutex, void *) {
        ++mutexes;
        *mutex = new Mutex;
        return 0;
    }
    static uint32_t Lock(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        pthread_mutex_lock(&mutex->mutex);
        faults += mutex->inside.fetch_add(1) != 0 ? 1U : 0U;
        return 0;
    }
    static uint32_t Unlock(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        faults += mutex->inside.fetch_sub(1) != 1 ? 1U : 0U;
        pthread_mutex_unlock(&mutex->mutex);
        return 0;
    }
    static uint32_t Destroy(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        faults += mutex->inside != 0 ? 1U : 0U;
        delete mutex;
        --mutexes;
        return 0;
    }
};

class LogFilterThreads : public testing::Test {
  protected:
    LogFilterThreads() {
        ThreadHooks::Install();
        EXPECT_EQ(DXR_InitLogFilter(9), 0U);
        EXPECT_EQ(ThreadHooks::mutexes, kTypes);
    }

    ~LogFilterThreads() override {
        DXR_DestroyLogFilter();
        EXPECT_EQ(ThreadHooks::live, 0U);
        EXPECT_EQ(ThreadHooks::mutexes, 0U);
        EXPECT_EQ(ThreadHooks::faults, 0U);
    }

    // Runs the body on all threads at once, with the number of its thread.
    template <typename Body>
    static void Together(Body body) {
        std::atomic<uint32_t> waiting = kThreads;
        std::vector<std::thread> threads;
        for (uint32_t thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&waiting, &body, thread] {
                --waiting;
                while (waiting != 0) {
                    std::this_thread::yield();
                }
                body(thread);
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    static uint64_t Suppressed(uint32_t type) {
        const DxrLogFilterInfo &record = *DXR_GetLogFilter(type);
        uint64_t sum = 0;
        for (uint32_t i = 0; i < record.curSize; ++i) {
            sum += record.entries[(record.curIndex + i) % record.capacity].logCnt;
        }
        return sum;
    }

  private:
    TestHost host_;  // puts the hook table back
};

uint8_t Decide(const DxrLogFilterCfg &cfg, const std::string &text) {
    return DXR_IsRepeatedLog(&cfg, text.data(), static_cast<uint32_t>(text.size()));
}

TEST_F(LogFilterThreads, EachLineOfOneTypePassesOnce) {
    constexpr uint32_t kLines = 500;
    constexpr uint32_t kRounds = 4;
    std::array<std::atomic<uint32_t>, kLines> passed = {};
    std::atomic<uint64_t> suppressed = 0;
    Together([&](uint32_t thread) {
        const DxrLogFilterCfg site{12, 0, 0, 0, 0, 0};
        for (uint32_t i = 0; i < kRounds * kLines; ++i) {
            // Every thread in another order.
            const uint32_t line = (i * (2 * thread + 1) + thread) % kLines;
            if (Decide(site, "line " + std::to_string(line)) == 0) {
                ++passed[line];
            } else {
                ++suppressed;
            }
        }
    });
    for (const auto &count : passed) {
        EXPECT_LE(count, 1U);
    }
    uint64_t sum = 0;
    for (const auto &count : passed) {
        sum += count;
    }
    EXPECT_EQ(sum + suppressed, uint64_t{kThreads} * kRounds * kLines);
    EXPECT_EQ(Suppressed(12), suppressed);
    EXPECT_EQ(DXR_GetLogFilter(12)->curSize, sum);
    EXPECT_EQ(sum, kLines);
}

TEST_F(LogFilterThreads, EachLineOfEachTypePassesOnce) {
    constexpr uint32_t kLines = 12;
    constexpr uint32_t kRounds = 5;
    std::array<std::atomic<uint32_t>, kTypes> passed = {};
    std::array<std::atomic<uint32_t>, kTypes> suppressed = {};
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < kRounds * kLines; ++i) {
            for (uint32_t n = 0; n < kTypes; ++n) {
                const uint32_t type = (n + thread * 3) % kTypes;
                const DxrLogFilterCfg site{type, 0, 0, 0, 0, 0};
                if (Decide(site, "line " + std::to_string(i % kLines)) == 0) {
                    ++passed[type];
                } else {
                    ++suppressed[type];
                }
            }
        }
    });
    for (uint32_t type = 0; type < kTypes; ++type) {
        EXPECT_EQ(passed[type], kLines);
        EXPECT_EQ(suppressed[type], kThreads * kRounds * kLines - kLines);
        EXPECT_EQ(Suppressed(type), suppressed[type]);
    }
}

TEST_F(LogFilterThreads, OverflowingRingStaysWhole) {
    // More lines than a ring holds, each thread its own and each one twice.
    constexpr uint32_t kLines = 600;
    std::atomic<uint64_t> suppressed = 0;
    Together([&](uint32_t thread) {
        const DxrLogFilterCfg site{0, thread, 0, 0, 0, 0};
        for (uint32_t i = 0; i < kLines; ++i) {
            const std::string line = std::to_string(thread) + " " + std::to_string(i);
            EXPECT_EQ(Decide(site, line), 0);
            suppressed += Decide(site, line);
        }
    });
    const DxrLogFilterInfo &record = *DXR_GetLogFilter(0);
    EXPECT_EQ(record.curSize, 2047U);
    EXPECT_EQ(record.capacity, 2047U);
    std::set<uint32_t> hashes;
    for (uint32_t i = 0; i < record.capacity; ++i) {
        EXPECT_LE(record.entries[i].logCnt, 1U);
        EXPECT_EQ(record.entries[i].state, 1);
        hashes.insert(record.entries[i].logHashCode);
    }
    EXPECT_EQ(hashes.size(), 2047U);
    EXPECT_LE(Suppressed(0), suppressed);
}

TEST_F(LogFilterThreads, AgeingLosesNoAnswer) {
    constexpr uint32_t kCalls = 2000;
    std::atomic<uint64_t> passed = 0;
    std::atomic<uint64_t> suppressed = 0;
    Together([&](uint32_t thread) {
        const DxrLogFilterCfg site{5, 0, 0, 0, 0, thread % 2 == 0 ? 60U : 0U};
        for (uint32_t i = 0; i < kCalls; ++i) {
            if (Decide(site, "line " + std::to_string(i % 7)) == 0) {
                ++passed;
            } else {
                ++suppressed;
            }
            if (i % 100 == 0) {
                ThreadHooks::now += 400;
            }
        }
    });
    EXPECT_EQ(passed + suppressed, uint64_t{kThreads} * kCalls);
    EXPECT_GE(passed, 7U);
    EXPECT_LE(Suppressed(5), suppressed);
    EXPECT_LE(DXR_GetLogFilter(5)->curSize, DXR_GetLogFilter(5)->capacity);
}

TEST_F(LogFilterThreads, LinesOfAllFrontEndsReachTheLogOnce) {
    constexpr uint32_t kRounds = 300;
    std::atomic<uint64_t> newKeys = 0;
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < kRounds; ++i) {
            const DxrLogFilterCfg same{3, 0, 0, 0, 0, 0};
            DXR_SameLogFilter(&same, "text %u", i % 50);
            const DxrLogFilterCfg diff{4, i % 20, 0, 0, 0, 0};
            DXR_DiffLogFilter(&diff, "thread %u call %u", thread, i);
            newKeys += DXR_IsSameKey(i % 30, 0, 0, 0) == 0 ? 1U : 0U;
        }
    });
    EXPECT_EQ(ThreadHooks::diagLines, 50U + 20U);
    EXPECT_EQ(newKeys, 30U);
    EXPECT_EQ(Suppressed(3), uint64_t{kThreads} * kRounds - 50);
    EXPECT_EQ(Suppressed(4), uint64_t{kThreads} * kRounds - 20);
    EXPECT_EQ(Suppressed(26), uint64_t{kThreads} * kRounds - 30);
}

TEST_F(LogFilterThreads, ClearAndShowRunBesideDecisions) {
    constexpr uint32_t kRounds = 400;
    std::atomic<uint64_t> answers = 0;
    std::atomic<uint64_t> tables = 0;
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < kRounds; ++i) {
            if (thread == 0) {
                EXPECT_EQ(DXR_ClearLogFilterInfo(7), 0U);
            } else if (thread == 1) {
                const DxrLogFilterCfg rows{7, 0, 40, 0, 0, 0};
                GuardedBuffer buffer(3000);
                uint32_t length = 0;
                EXPECT_EQ(DXR_ShowLogFilterInfo(&rows, buffer.Data(), &length, 3000), 0U);
                EXPECT_TRUE(buffer.Intact());
                EXPECT_EQ(length, buffer.Text().size());
                ++tables;
            } else {
                const DxrLogFilterCfg site{7, 0, 0, 0, 0, 0};
                Decide(site, "line " + std::to_string(i % 100));
                ++answers;
            }
        }
    });
    EXPECT_EQ(answers, uint64_t{kThreads - 2} * kRounds);
    EXPECT_EQ(tables, kRounds);
    EXPECT_LE(DXR_GetLogFilter(7)->curSize, DXR_GetLogFilter(7)->capacity);
}

// Operations on records that are not the store's ask all types whether they know the storage.
TEST_F(LogFilterThreads, OtherRecordsAreWorkedOnBesideDecisions) {
    constexpr uint32_t kRounds = 300;
    Together([&](uint32_t thread) {
        const DxrLogFilterCfg site{thread, 0, 0, 0, 0, 0};
        DxrLogFilterInfo own = {};
        for (uint32_t i = 0; i < kRounds; ++i) {
            const std::string line = "line " + std::to_string(i);
            EXPECT_EQ(Decide(site, line), 0);
            DXR_AddLogFilterInfo(&own, i + 1, 0);
            ThreadHooks::Lock(g_dxrLogFilterMutex[thread]);
            DxrLogFilterInfo copy = *DXR_GetLogFilter(thread);
            if (copy.curSize + 1 < copy.capacity) {  // no growth, which would move the storage
                DXR_AddLogFilterInfo(&copy, i + 1, 0);
                *DXR_GetLogFilter(thread) = copy;
            }
            ThreadHooks::Unlock(g_dxrLogFilterMutex[thread]);
            EXPECT_EQ(Decide(site, line), 1);
        }
        EXPECT_EQ(own.curSize, kRounds);
        DXR_Free(own.entries, __FILE__, __LINE__);
    });
}

TEST_F(LogFilterThreads, TypesDoNotContend) {
    // While one type's mutex is held, another type's lines pass.
    EXPECT_EQ(ThreadHooks::Lock(g_dxrLogFilterMutex[1]), 0U);
    std::thread other([] {
        for (uint32_t type = 0; type < kTypes; ++type) {
            if (type != 1) {
                const DxrLogFilterCfg site{type, 0, 0, 0, 0, 0};
                EXPECT_EQ(Decide(site, "line"), 0);
                EXPECT_EQ(Decide(site, "line"), 1);
            }
        }
    });
    other.join();
    EXPECT_EQ(ThreadHooks::Unlock(g_dxrLogFilterMutex[1]), 0U);
}

TEST_F(LogFilterThreads, DecisionWaitsForTheMutexOfItsType) {
    std::atomic<bool> decided = false;
    std::atomic<uint32_t> clockReads = 0;
    static std::atomic<uint32_t> *reads;
    reads = &clockReads;
    g_dxrHooks.time.getCurrSec = [] {
        ++*reads;
        return 1000000U;
    };
    EXPECT_EQ(ThreadHooks::Lock(g_dxrLogFilterMutex[1]), 0U);
    std::thread other([&decided] {
        const DxrLogFilterCfg site{1, 0, 0, 0, 0, 0};
        Decide(site, "line");
        decided = true;
    });
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(decided);
    EXPECT_EQ(clockReads, 0U);
    EXPECT_EQ(ThreadHooks::Unlock(g_dxrLogFilterMutex[1]), 0U);
    other.join();
    EXPECT_TRUE(decided);
    EXPECT_EQ(clockReads, 1U);
}

}  // namespace
}  // namespace dxrtest
