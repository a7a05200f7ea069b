// The log filter under real mutexes and many threads. To be run under the thread sanitizer too.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "dxr_api.h"
#include "support/test_host.h"
#include "threads/thread_hooks.h"
#include "threads/together.h"

namespace dxrtest {
namespace {

constexpr uint32_t kTypes = 29;

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

    static uint64_t Suppressed(uint32_t type) {
        const DxrLogFilterInfo &record = *DXR_GetLogFilter(type);
        uint64_t sum = 0;
        for (uint32_t i = 0; i < record.curSize; ++i) {
            sum += record.entries[(record.curIndex + i) % record.capacity].logCnt;
        }
        return sum;
    }

  private:
    ThreadHooks hooks_;
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
                Raise(passed[line]);
            } else {
                Raise(suppressed);
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
                    Raise(passed[type]);
                } else {
                    Raise(suppressed[type]);
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
            Raise<uint64_t>(suppressed, Decide(site, line));
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
                Raise(passed);
            } else {
                Raise(suppressed);
            }
            if (i % 100 == 0) {
                Raise(ThreadHooks::now, 400U);
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
            Raise<uint64_t>(newKeys, DXR_IsSameKey(i % 30, 0, 0, 0) == 0 ? 1 : 0);
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
                Raise(tables);
            } else {
                const DxrLogFilterCfg site{7, 0, 0, 0, 0, 0};
                Decide(site, "line " + std::to_string(i % 100));
                Raise(answers);
            }
        }
    });
    EXPECT_EQ(answers, uint64_t{kThreads - 2} * kRounds);
    EXPECT_EQ(tables, kRounds);
    EXPECT_LE(DXR_GetLogFilter(7)->curSize, DXR_GetLogFilter(7)->capacity);
}

// Operations on records that are not the store's ask all types whether they know the storage.
// MODULE-10
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

// Every hour each line passes once more, whoever logs it first; and with an interval, each time the
// interval has passed.
// HOST-16
TEST_F(LogFilterThreads, EachLinePassesOnceAPeriod) {
    constexpr uint32_t kLines = 40;
    constexpr uint32_t kPeriods = 12;
    constexpr uint32_t kInterval = 100;
    std::array<std::atomic<uint32_t>, kTypes *kLines> passed = {};
    // Lines of odd types have an interval. The clock goes on while all threads wait: twice by the
    // interval, then by an hour.
    const auto check = [&](uint32_t period) {
        for (uint32_t at = 0; at < passed.size(); ++at) {
            const bool hasInterval = at / kLines % 2 == 1;
            const bool expected = hasInterval || period % 3 == 0;
            EXPECT_EQ(passed[at].exchange(0), expected ? 1U : 0U) << at << " in period " << period;
        }
        ThreadHooks::now += period % 3 == 2 ? 3600U : kInterval;
    };
    uint32_t period = 0;
    std::barrier turn(kThreads, [&]() noexcept { check(period++); });
    Together([&](uint32_t thread) {
        for (uint32_t n = 0; n < kPeriods; ++n) {
            for (uint32_t i = 0; i < kTypes * kLines; ++i) {
                const uint32_t at = (i + thread * 131) % (kTypes * kLines);
                const uint32_t type = at / kLines;
                const DxrLogFilterCfg site{type, 0, 0, 0, 0, type % 2 == 1 ? kInterval : 0};
                if (Decide(site, "line " + std::to_string(at)) == 0) {
                    Raise(passed[at]);
                }
            }
            turn.arrive_and_wait();
        }
    });
}

// A host that holds the mutex resizes rings, and shows and clears go on, while all types are used.
// Nothing is forgotten by a growth: where nobody clears, each line still passes once.
TEST_F(LogFilterThreads, ResizeShowAndClearBesideDecisionsOfAllTypes) {
    constexpr uint32_t kLines = 30;
    constexpr uint32_t kRounds = 12;
    constexpr uint32_t kCleared = 28;
    std::array<std::atomic<uint32_t>, kTypes> passed = {};
    std::array<std::atomic<uint32_t>, kTypes> asked = {};
    std::atomic<uint32_t> clears = 0;
    Together([&](uint32_t thread) {
        for (uint32_t round = 0; round < kRounds; ++round) {
            for (uint32_t n = 0; n < kTypes; ++n) {
                const uint32_t type = (n * (2 * thread + 1) + thread) % kTypes;
                if (thread == 0) {
                    ThreadHooks::Lock(g_dxrLogFilterMutex[type]);
                    DxrLogFilterInfo *const record = DXR_GetLogFilter(type);
                    DXR_ResizeLogFilterInfo(record, record->capacity + 1 + 300 * round);
                    ThreadHooks::Unlock(g_dxrLogFilterMutex[type]);
                } else if (thread == 1) {
                    const DxrLogFilterCfg rows{type, 0, 2 * kLines, 0, 0, 0};
                    std::array<char, 6000> text;
                    uint32_t length = 0;
                    EXPECT_EQ(DXR_ShowLogFilterInfo(&rows, text.data(), &length, text.size()), 0U);
                    const std::string head = "logtype[" + std::to_string(type) + "], curIndex[0]";
                    EXPECT_EQ(std::string_view(text.data(), length).substr(0, head.size()), head);
                } else if (thread == 2) {
                    EXPECT_EQ(DXR_ClearLogFilterInfo(kCleared), 0U);
                    Raise(clears);
                } else {
                    for (uint32_t line = 0; line < kLines; ++line) {
                        const DxrLogFilterCfg site{type, 0, 0, 0, 0, 0};
                        Raise(asked[type]);
                        if (Decide(site, "line " + std::to_string(line)) == 0) {
                            Raise(passed[type]);
                        }
                    }
                }
            }
        }
    });
    for (uint32_t type = 0; type < kTypes; ++type) {
        EXPECT_EQ(asked[type], (kThreads - 3) * kRounds * kLines);
        if (type == kCleared) {
            EXPECT_GE(passed[type], kLines);
            EXPECT_LE(passed[type], kLines * (1 + clears));
        } else {
            EXPECT_EQ(passed[type], kLines) << type;
            EXPECT_EQ(Suppressed(type), asked[type] - kLines) << type;
            EXPECT_EQ(DXR_GetLogFilter(type)->curSize, kLines) << type;
        }
    }
}

// A decision goes by the switch as it was before the turn or after it, never by half of it.
TEST_F(LogFilterThreads, SwitchIsTurnedBesideDecisions) {
    constexpr uint32_t kRounds = 2000;
    std::atomic<uint64_t> passed = 0;
    std::atomic<uint64_t> suppressed = 0;
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < kRounds; ++i) {
            if (thread == 0) {
                DXR_EnableLogFilter(static_cast<uint8_t>(i % 2));
            } else {
                EXPECT_LE(DXR_IsLogFilterEnable(), 1);
                const DxrLogFilterCfg site{9, 0, 0, 0, 0, 0};
                if (Decide(site, "line " + std::to_string(i % 10)) == 0) {
                    Raise(passed);
                } else {
                    Raise(suppressed);
                }
            }
        }
    });
    EXPECT_EQ(passed + suppressed, uint64_t{kThreads - 1} * kRounds);
    EXPECT_EQ(Suppressed(9), suppressed);
    DXR_EnableLogFilter(1);
}

// Lines reach the log hook whole, whichever thread logs them.
TEST_F(LogFilterThreads, NoLineIsMixedWithAnother) {
    static std::atomic<uint32_t> torn;
    torn = 0;
    g_dxrHooks.print.diagLogFilter = [](const char *text) {
        Raise(ThreadHooks::diagLines);
        const std::string_view line = text;
        const bool whole =
            line.size() == 600 && line.find_first_not_of(line[0]) == std::string_view::npos;
        Raise(torn, whole ? 0U : 1U);
        return 0U;
    };
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < 26; ++i) {
            const std::string line(600, static_cast<char>('a' + (i + thread) % 26));
            const DxrLogFilterCfg site{thread % 2, thread, i, 0, 0, 0};
            DXR_SameLogFilter(&site, "%s", line.c_str());
            DXR_DiffLogFilter(&site, "%s", line.c_str());
        }
    });
    EXPECT_EQ(torn, 0U);
    // By text, 26 lines of either type; by key, every one.
    EXPECT_EQ(ThreadHooks::diagLines, 2 * 26 + kThreads * 26U);
}

TEST_F(LogFilterThreads, HashingNeedsNoLock) {
    Together([&](uint32_t thread) {
        for (uint32_t i = 0; i < 500; ++i) {
            const std::string text(1 + i, static_cast<char>('0' + thread));
            uint32_t expected = 0;
            for (const char byte : text) {
                expected = expected * 31 + static_cast<unsigned char>(byte);
            }
            EXPECT_EQ(DXR_GetHashCode(0, text.data(), i + 1), expected);
        }
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

// HOST-13
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
