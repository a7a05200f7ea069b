// Several threads call hooks while the trace counts them and its mode is switched.
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "dxr_trace.h"
#include "support/test_host.h"

namespace {

constexpr uint32_t kReadRegSlot = 53;
constexpr uint32_t kThreads = 8;

std::atomic<uint64_t> g_calls = 0;

uint32_t ReadReg(uint32_t unit, uint32_t chip, uint32_t address, void *) {
    g_calls.fetch_add(1, std::memory_order_relaxed);
    return unit + chip + address;
}

DxrTraceCount CountOfReadReg() {
    std::array<DxrTraceCount, 226> counts{};
    DxrTraceGetCounts(counts.data(), counts.size());
    return counts[kReadRegSlot];
}

class TraceThreads : public testing::Test {
  protected:
    TraceThreads() {
        DxrHooks hooks = {};
        hooks.dev.readReg = ReadReg;
        EXPECT_EQ(0U, DXR_RegisterHooks(&hooks));
        g_calls = 0;
    }
    ~TraceThreads() override { DxrTraceStop(); }

    static void Call(uint32_t times) {
        for (uint32_t i = 0; i < times; ++i) {
            if (DXR_ReadReg(i, 1, 2, nullptr) != i + 3) {
                ADD_FAILURE() << "another result";
                return;
            }
        }
    }

    template <typename Body>
    static void InThreads(Body body) {
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (uint32_t i = 0; i < kThreads; ++i) {
            threads.emplace_back(body);
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    dxrtest::TestHost host_;
};

TEST_F(TraceThreads, CountsAddUpOverLiveAndEndedThreads) {
    ASSERT_EQ(0U, DxrTraceStart(nullptr));
    std::atomic<bool> goesOn = true;
    std::thread reader([&goesOn] {
        uint64_t last = 0;
        while (goesOn) {
            const uint64_t now = CountOfReadReg().calls;
            EXPECT_GE(now, last);
            last = now;
        }
    });
    for (int round = 0; round < 5; ++round) {
        InThreads([] { Call(2000); });
    }
    Call(5);
    goesOn = false;
    reader.join();
    const DxrTraceCount count = CountOfReadReg();
    EXPECT_EQ(5U * kThreads * 2000 + 5, count.calls);
    EXPECT_EQ(5U * kThreads * 2000 / 16 + 1, count.timed);
}

TEST_F(TraceThreads, ModeSwitchesBesideCalls) {
    ASSERT_EQ(0U, DxrTraceStart(nullptr));
    std::atomic<bool> goesOn = true;
    std::thread switcher([&goesOn] {
        for (uint32_t i = 0; goesOn; ++i) {
            EXPECT_EQ(0U, DxrTraceSetMode(i % 2 == 0 ? DXR_TRACE_OFF : DXR_TRACE_COUNT));
        }
    });
    InThreads([] { Call(5000); });
    goesOn = false;
    switcher.join();
    EXPECT_EQ(kThreads * 5000, g_calls);
    EXPECT_LE(CountOfReadReg().calls, g_calls);
}

// Hooks that are called after the trace's own end of the thread.
TEST_F(TraceThreads, CallsAtAThreadsEndCount) {
    ASSERT_EQ(0U, DxrTraceStart(nullptr));
    pthread_key_t key = 0;
    // Made later than the trace's key, so its destructor runs later.
    std::thread([] { Call(1); }).join();
    ASSERT_EQ(0, pthread_key_create(&key, [](void *) { Call(3); }));
    std::thread([key] {
        Call(1);
        ASSERT_EQ(0, pthread_setspecific(key, &g_calls));
    }).join();
    ASSERT_EQ(0, pthread_key_delete(key));
    EXPECT_EQ(5U, CountOfReadReg().calls);
}

}  // namespace
