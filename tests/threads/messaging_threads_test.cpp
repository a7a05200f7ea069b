// Simulated messages, which several threads may ask for at some cost in exactness; filter trees, of
// which each thread has its own; counters and rules; the recorder, whose callers take turns.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "dxr_api.h"
#include "support/message_filter_records.h"
#include "support/test_host.h"
#include "threads/thread_hooks.h"
#include "threads/together.h"

namespace dxrtest {
namespace {

class MessagingThreads : public testing::Test {
  protected:
    MessagingThreads() { ThreadHooks::Install(); }
    ~MessagingThreads() override {
        DXR_RegisterSimulateMsgMap(nullptr, 0);
        DXR_DestroyRecordInfo();
        EXPECT_EQ(ThreadHooks::live, 0U);
    }

  private:
    ThreadHooks hooks_;
};

// Each thread asks for a type of its own: exact, though the entries are neighbours.
TEST_F(MessagingThreads, SimulatedMessagesOfOneTypeEachAreExact) {
    std::array<DxrSimulateMsg, kThreads> table;
    for (uint32_t i = 0; i < kThreads; ++i) {
        table[i] = {i, 100 + i, 0, "message"};
    }
    DXR_RegisterSimulateMsgMap(table.data(), kThreads);
    std::array<uint32_t, kThreads> lost = {};
    Together([&](uint32_t thread) {
        std::array<char, 100> text;
        for (uint32_t round = 1; round <= 100; ++round) {
            DXR_SetSimulateMsgLost(thread, round, text.data(), text.size());
            for (uint32_t i = 0; i < round + 5; ++i) {
                lost[thread] += DXR_IsSimulateMsgLost(100 + thread);
            }
        }
    });
    for (const uint32_t count : lost) {
        EXPECT_EQ(count, 100U * 101 / 2);
    }
    EXPECT_EQ(ThreadHooks::printed, kThreads * 100U * 101 / 2);
}

// All ask for one type while its count is set and shown: more or fewer may be dropped than set, but
// a count never passes 0 or what was set, and no text shows one that did.
// HOST-24
TEST_F(MessagingThreads, CountsOfSharedSimulatedMessagesStayWithinBounds) {
    constexpr uint32_t kMost = 3;
    constexpr uint32_t kRounds = 8000;
    constexpr uint64_t kEnough = 100;
    DxrSimulateMsg entry = {1, 7, 0, "shared"};
    DXR_RegisterSimulateMsgMap(&entry, 1);
    std::atomic<uint64_t> lost = 0;
    std::atomic<bool> done = false;
    Together([&](uint32_t thread) {
        std::array<char, 300> text;
        if (thread == 0) {
            for (uint32_t i = 0; i < kRounds || lost < kEnough; ++i) {
                DXR_SetSimulateMsgLost(1, 1 + i % kMost, text.data(), text.size());
                if (i % 100 == 0) {
                    std::this_thread::yield();
                }
            }
            done = true;
        }
        while (!done.load(std::memory_order_relaxed)) {
            if (thread == 1) {
                DXR_DisplaySimulateMsgLost(text.data(), text.size());
                const std::string shown = text.data();
                const size_t type = shown.find("shared[  7]");
                ASSERT_NE(type, std::string::npos);
                ASSERT_LE(std::stoul(shown.substr(type + 11)), kMost);
            } else {
                for (uint32_t i = 0; i < 64; ++i) {
                    Raise<uint64_t>(lost, DXR_IsSimulateMsgLost(7));
                }
            }
            std::this_thread::yield();
        }
    });
    EXPECT_LE(entry.lostCnt, kMost);
    EXPECT_EQ(ThreadHooks::printed, lost);
    // What is left is dropped by one caller exactly.
    const uint32_t left = entry.lostCnt;
    for (uint32_t i = 0; i < left; ++i) {
        EXPECT_EQ(DXR_IsSimulateMsgLost(7), 1);
    }
    EXPECT_EQ(DXR_IsSimulateMsgLost(7), 0);
}

// Trees are independent of each other, also one that stands where another thread's has been.
// HOST-25
TEST_F(MessagingThreads, TreesOfEachThreadAreItsOwn) {
    const std::vector<FilterNode> forest = {
        {"link", 1, 0, {{"up", 10, 2}, {"down", 11, 0}}},
        {"queue", 2, 3},
    };
    Together([&](uint32_t thread) {
        std::mt19937 random(thread);
        for (uint32_t round = 0; round < 60; ++round) {
            const FilterRecords records(forest);
            DxrMessageFilter *tree = DXR_CreateMessageFilter(records.Data(), records.Size());
            std::array<uint32_t, 3> left = {2, 0, 3};  // of up, down, queue
            for (uint32_t i = 0; i < 50; ++i) {
                const auto which = static_cast<uint32_t>(random() % 3);
                const bool set = random() % 8 == 0;
                const auto count = static_cast<uint32_t>(random() % 5);
                if (which == 2) {
                    if (set) {
                        DXR_SetMessageFilterCount(tree, count, 1, 2U);
                        left[2] = count;
                    }
                    ASSERT_EQ(DXR_IsMessageFiltered(tree, 2, 2U, 99U), left[2] != 0 ? 1 : 0);
                } else {
                    if (set) {
                        DXR_SetMessageFilterCount(tree, count, 2, 1U, 10 + which);
                        left[which] = count;
                    }
                    ASSERT_EQ(DXR_IsMessageFiltered(tree, 2, 1U, 10 + which),
                              left[which] != 0 ? 1 : 0);
                }
                left[which] -= left[which] != 0 ? 1 : 0;
            }
            std::array<char, 300> text;
            DXR_GetMessageFilterStr(tree, text.data(), text.size());
            const std::string row =
                "    msgType[2], lostCnt[" + std::to_string(left[2]) + "], name[queue]\r\n";
            ASSERT_NE(std::string(text.data()).find(row), std::string::npos);
            DXR_DestroyMessageFilter(&tree);
        }
    });
}

// One rule and one factory serve all threads; counters are each thread's own.
// MODULE-9
TEST_F(MessagingThreads, RulesAndFactoryAreShared) {
    const DxrFaultSpecFactory factory;
    std::vector<std::pair<uint32_t, uint32_t>> pairs = {{10, 3}, {0, 0}, {50, 6}};
    const auto single = factory.CreateSpec(10, 3);
    const auto multi = factory.CreateSpec(pairs);
    const DxrFaultTimeoutSpec timeout(60);
    Together([&](uint32_t) {
        const auto counter = std::make_unique<DxrCounter>();
        counter->ResetCount();
        for (uint32_t events = 1; events <= 5000; ++events) {
            counter->IncreaseCount();
            ASSERT_EQ(single->IsSatisfied(counter.get()), events >= 3);
            ASSERT_EQ(multi->IsSatisfied(counter.get()), events >= 3);
            ASSERT_TRUE(timeout.IsSatisfied(counter.get()));
            if (events % 500 == 0) {
                std::vector<std::pair<uint32_t, uint32_t>> own = pairs;
                ASSERT_TRUE(factory.CreateSpec(own)->IsSatisfied(counter.get()));
            }
        }
        ASSERT_EQ(counter->GetCount(), 4096U);
    });
}

// With a lock of the callers' own no record is lost, none is there twice, and every count is
// exact.
// MODULE-8
TEST_F(MessagingThreads, RecordersThatTakeTurnsLoseNothing) {
    constexpr uint32_t kTexts = 307;  // a prime: every thread meets all of them
    constexpr uint32_t kRounds = 3;
    std::mutex turn;
    Together([&](uint32_t thread) {
        std::vector<char> listing(200000);
        for (uint32_t i = 0; i < kRounds * kTexts; ++i) {
            const uint32_t text = (i * (2 * thread + 1) + thread) % kTexts;
            const std::lock_guard lock(turn);
            DXR_RecordInfo("text %u", text);
            if (i % 200 == 0) {
                const uint32_t length =
                    DXR_GetAllRecordStr(listing.data(), static_cast<uint32_t>(listing.size()));
                ASSERT_EQ(std::string(listing.data()).size(), length);
            }
        }
    });
    const DxrRecordStore &store = *DXR_GetRecordEntity();
    EXPECT_EQ(store.nextIndex, kTexts);
    uint64_t sum = 0;
    std::vector<std::string> texts;
    for (uint32_t slot = 0; slot < kTexts; ++slot) {
        ASSERT_NE(store.records[slot], nullptr);
        EXPECT_EQ(store.records[slot]->count, kThreads * kRounds);
        sum += store.records[slot]->count;
        texts.emplace_back(store.records[slot]->text);
    }
    EXPECT_EQ(sum, uint64_t{kThreads} * kRounds * kTexts);
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(std::unique(texts.begin(), texts.end()), texts.end());
}

}  // namespace
}  // namespace dxrtest
