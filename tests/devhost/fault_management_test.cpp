// The host's fault checks, by the sentences of their header.
#include "dxr_devhost/fault_management.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"

namespace {

using dxrtest::Message;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint64_t kStartMs = 946684800000;

class HostChecks : public dxrtest::SteppedHost {
  protected:
    static uint32_t CountCall(void *user) {
        ++*static_cast<uint32_t *>(user);
        return 0;
    }
    [[nodiscard]] DxrHostFaultCheckState At(uint32_t number) const {
        DxrHostFaultCheckState state{};
        EXPECT_TRUE(DxrHostGetFaultCheck(host, number, &state)) << number;
        return state;
    }
};

TEST_F(HostChecks, HaveALimit) {
    for (uint32_t i = 1; i <= DXR_HOST_MOST_FAULT_CHECKS; ++i) {
        ASSERT_EQ(DxrHostAddFaultCheck(host, "check", CountCall, nullptr, 10), i);
        ASSERT_TRUE(DxrHostRemoveFaultCheck(host, i));
    }
    EXPECT_EQ(DxrHostAddFaultCheck(host, "check", CountCall, nullptr, 10), 0U);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "check", CountCall, nullptr, 10), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 2U) << "two places, a report each";
}

// Threads with a stack that no machine has cannot be made.
TEST(RealChecks, SayWhenNoThreadCanBeMade) {
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t huge;
    ASSERT_EQ(pthread_attr_init(&huge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&huge, size_t{1} << 46), 0);
    DxrHost *const host = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    const auto isWell = [](void *) -> uint32_t { return 0; };
    EXPECT_EQ(DxrHostAddFaultCheck(host, "check", isWell, nullptr, 10), 1U);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    DxrHostTimer timer{sizeof(DxrHostTimer), 5, 0, 0, [](void *) {}, nullptr, nullptr};
    EXPECT_EQ(DXR_FfmStartFaultCheck(), static_cast<uint32_t>(EAGAIN));
    EXPECT_EQ(DXR_StartTimer(&timer), static_cast<uint32_t>(EAGAIN));
    ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U) << "nothing was started";
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    (void)pthread_attr_destroy(&huge);
    (void)pthread_attr_destroy(&usual);
}

// Started without any they need none yet.
TEST(RealChecks, AreNotAddedWhenNoThreadCanBeMade) {
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t huge;
    ASSERT_EQ(pthread_attr_init(&huge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&huge, size_t{1} << 46), 0);
    DxrHost *const host = DxrHostCreate(nullptr);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    const auto isWell = [](void *) -> uint32_t { return 0; };
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "check", isWell, nullptr, 1), 0U);
    ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "check", isWell, nullptr, 1), 1U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    (void)pthread_attr_destroy(&huge);
    (void)pthread_attr_destroy(&usual);
}

TEST_F(HostChecks, RunWithTheirPeriodsWhileStarted) {
    uint32_t fast = 0;
    uint32_t slow = 0;
    EXPECT_EQ(DxrHostAddFaultCheck(host, "fast", CountCall, &fast, 10), 1U);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "slow", CountCall, &slow, 25), 2U);
    DxrHostAdvance(host, 100);
    EXPECT_EQ(fast + slow, 0U) << "not started";
    EXPECT_EQ(DXR_FfmStopFaultCheck(), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), static_cast<uint32_t>(EALREADY));
    EXPECT_EQ(fast + slow, 0U) << "when the period has passed";
    DxrHostAdvance(host, 100);
    EXPECT_EQ(fast, 10U);
    EXPECT_EQ(slow, 4U);
    EXPECT_EQ(At(1).calls, 10U);
    EXPECT_EQ(At(1).latestMs, kStartMs + 200);
    EXPECT_STREQ(At(2).name, "slow");
    EXPECT_EQ(At(2).periodMs, 25U);
    uint32_t late = 0;
    EXPECT_EQ(DxrHostAddFaultCheck(host, "late", CountCall, &late, 10), 3U);
    DxrHostAdvance(host, 15);
    EXPECT_EQ(late, 1U) << "from now on";
    EXPECT_TRUE(DxrHostRemoveFaultCheck(host, 3));
    EXPECT_FALSE(DxrHostRemoveFaultCheck(host, 3));
    DxrHostAdvance(host, 15);
    EXPECT_EQ(late, 1U);
    EXPECT_EQ(fast, 13U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    DxrHostAdvance(host, 100);
    EXPECT_EQ(fast, 13U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U) << "again";
    DxrHostAdvance(host, 10);
    EXPECT_EQ(fast, 14U);
    EXPECT_EQ(late, 1U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostChecks, ThatAreDueTogetherRunInTheOrderOfTheirAdding) {
    static std::string order;
    order.clear();
    const auto note = [](void *user) -> uint32_t {
        order += static_cast<const char *>(user);
        return 0;
    };
    for (const char *const name : {"c", "a", "b"}) {
        EXPECT_NE(DxrHostAddFaultCheck(host, name, note, const_cast<char *>(name), 10), 0U);
    }
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    DxrHostAdvance(host, 30);
    EXPECT_EQ(order, "cabcabcab");
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
}

TEST_F(HostChecks, ResultsAreKeptAndChangesAreMessages) {
    static std::vector<uint32_t> results;
    results = {0, 7, 7, 8, 0, 0};
    const auto next = [](void *user) -> uint32_t {
        return results[(*static_cast<uint32_t *>(user))++];
    };
    uint32_t at = 0;
    const uint32_t check = DxrHostAddFaultCheck(host, "parity", next, &at, 10);
    EXPECT_EQ(At(check).latestMs, 0U) << "never called";
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    DxrHostAdvance(host, 40);
    EXPECT_EQ(At(check).result, 8U);
    EXPECT_EQ(At(check).calls, 4U);
    EXPECT_EQ(At(check).faults, 3U);
    DxrHostAdvance(host, 20);
    EXPECT_EQ(At(check).result, 0U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    EXPECT_THAT(messages, ElementsAre(Message(2, "fault check parity: fault 7"),
                                      Message(2, "fault check parity: fault 8"),
                                      Message(6, "fault check parity: all is well")));
}

TEST_F(HostChecks, ThatThrowFindAFault) {
    const auto check = [](void *) -> uint32_t { throw std::runtime_error("lost"); };
    const uint32_t number = DxrHostAddFaultCheck(host, "link", check, nullptr, 10);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    DxrHostAdvance(host, 20);
    EXPECT_EQ(At(number).calls, 2U);
    EXPECT_EQ(At(number).result, static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), ElementsAre(HasSubstr(": lost")));
}

TEST_F(HostChecks, WrongOnesAreNotAdded) {
    EXPECT_EQ(DxrHostAddFaultCheck(host, nullptr, CountCall, nullptr, 1), 0U);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", nullptr, nullptr, 1), 0U);
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", CountCall, nullptr, 0), 0U);
    DxrHostFaultCheckState state{};
    EXPECT_FALSE(DxrHostGetFaultCheck(host, 0, &state));
    EXPECT_FALSE(DxrHostGetFaultCheck(host, 1, &state));
    EXPECT_FALSE(DxrHostRemoveFaultCheck(host, 1));
    uint32_t calls = 0;
    EXPECT_EQ(DxrHostAddFaultCheck(host, std::string(50, 'n').c_str(), CountCall, &calls, 1), 1U);
    EXPECT_EQ(At(1).name, std::string(31, 'n'));
    EXPECT_FALSE(DxrHostGetFaultCheck(host, 1, nullptr));
    EXPECT_TRUE(DxrHostRemoveFaultCheck(host, 1));
    EXPECT_FALSE(DxrHostGetFaultCheck(host, 1, &state));
}

TEST_F(HostChecks, AFailedStartStartsNone) {
    uint32_t calls = 0;
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", CountCall, &calls, 1), 1U);
    DxrHostFailNth(host, "ffm.start", 1, false);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), static_cast<uint32_t>(ENOMEM));
    DxrHostAdvance(host, 10);
    EXPECT_EQ(calls, 0U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), static_cast<uint32_t>(ENOENT));
}

TEST_F(HostChecks, MayStopThemselves) {
    const auto stop = [](void *user) -> uint32_t {
        ++*static_cast<uint32_t *>(user);
        EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
        return 0;
    };
    const auto restart = [](void *user) -> uint32_t {
        ++*static_cast<uint32_t *>(user);
        EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
        EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
        return 0;
    };
    uint32_t calls = 0;
    const uint32_t first = DxrHostAddFaultCheck(host, "stop", stop, &calls, 10);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    DxrHostAdvance(host, 100);
    EXPECT_EQ(calls, 1U);
    EXPECT_TRUE(DxrHostRemoveFaultCheck(host, first));
    calls = 0;
    DxrHostAddFaultCheck(host, "restart", restart, &calls, 10);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    DxrHostAdvance(host, 100);
    EXPECT_EQ(calls, 10U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
}

TEST_F(HostChecks, StartedOnesAreLeftBehind) {
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_LEFTOVER),
                ElementsAre(HasSubstr("left behind: started fault checks, made by "
                                      "DXR_FfmStartFaultCheck by ")));
}

using ChecksOfAVirtualHost = dxrtest::VirtualHost;

TEST_F(ChecksOfAVirtualHost, RunOnTheTimersTask) {
    struct Seen {
        uint32_t calls;
        uint32_t task;
    } seen{};
    const auto note = [](void *user) -> uint32_t {
        auto *const to = static_cast<Seen *>(user);
        ++to->calls;
        to->task = DxrHostGetTaskId(nullptr);
        DXR_DelayTask(5);
        return 0;
    };
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", note, &seen, 1000), 1U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    EXPECT_EQ(DXR_DelayTask(10500), 0U);
    EXPECT_EQ(seen.calls, 10U);
    EXPECT_NE(seen.task, DxrHostGetTaskId(host));
    EXPECT_EQ(DXR_DelayTask(502), 0U);  // in the midst of the eleventh
    EXPECT_EQ(seen.calls, 11U);
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
    DxrHostFaultCheckState state{};
    EXPECT_TRUE(DxrHostGetFaultCheck(host, 1, &state));
    EXPECT_EQ(state.calls, 11U) << "it was waited for";
    EXPECT_EQ(DXR_DelayTask(5000), 0U);
    EXPECT_EQ(seen.calls, 11U);
    DXR_RebootOS(0, nullptr);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), static_cast<uint32_t>(ECANCELED)) << "the run is over";
}

using ChecksOfARealHost = dxrtest::RealHost;

TEST_F(ChecksOfARealHost, AreWaitedForByTheOneWhoStopsThem) {
    struct Both {
        std::atomic<bool> isInside{false};
        std::atomic<bool> mayLeave{false};
    } both;
    const auto wait = [](void *user) -> uint32_t {
        auto *const with = static_cast<Both *>(user);
        with->isInside = true;
        while (!with->mayLeave) {
            std::this_thread::yield();
        }
        with->isInside = false;
        return 0;
    };
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", wait, &both, 1), 1U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    while (!both.isInside) {
        std::this_thread::yield();
    }
    std::thread stopper([&both] {
        EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
        EXPECT_FALSE(both.isInside);
    });
    // Started, and then being stopped.
    uint32_t result = EALREADY;
    while (result == EALREADY) {
        result = DXR_FfmStartFaultCheck();
        std::this_thread::yield();
    }
    EXPECT_EQ(result, static_cast<uint32_t>(EBUSY));
    EXPECT_EQ(DXR_FfmStopFaultCheck(), static_cast<uint32_t>(ENOENT));
    both.mayLeave = true;
    stopper.join();
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    EXPECT_TRUE(DxrHostRemoveFaultCheck(host, 1));
    EXPECT_EQ(DXR_FfmStopFaultCheck(), 0U);
}

TEST_F(ChecksOfARealHost, ThreadsStartStopAddAndRemove) {
    std::atomic<uint32_t> calls{0};
    const auto count = [](void *user) -> uint32_t {
        return ++*static_cast<std::atomic<uint32_t> *>(user) % 2;
    };
    DxrHostSetPrintSink(host, nullptr, nullptr, 0);
    DxrHostSetPrintFile(host, nullptr, 0, nullptr);
    std::vector<std::thread> threads;
    threads.emplace_back([] {
        for (int i = 0; i < 200; ++i) {
            (void)DXR_FfmStartFaultCheck();
            (void)DXR_FfmStopFaultCheck();
        }
    });
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([&, count] {
            for (int i = 0; i < 100; ++i) {
                const uint32_t check = DxrHostAddFaultCheck(host, "x", count, &calls, 1);
                EXPECT_NE(check, 0U);
                (void)DXR_FfmStartFaultCheck();
                EXPECT_TRUE(DxrHostRemoveFaultCheck(host, check));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    (void)DXR_FfmStopFaultCheck();
    EXPECT_EQ(DXR_FfmStopFaultCheck(), static_cast<uint32_t>(ENOENT));
    const uint32_t before = calls;
    EXPECT_EQ(DXR_DelayTask(5), 0U);
    EXPECT_EQ(calls, before);
    EXPECT_TRUE(reports.empty());
}

TEST_F(ChecksOfARealHost, MayOutliveTheHost) {
    static std::atomic<int> step{0};
    step = 0;
    const auto stay = [](void *) -> uint32_t {
        step = 1;
        while (step != 2) {
            std::this_thread::yield();
        }
        step = 3;
        return 1;
    };
    EXPECT_EQ(DxrHostAddFaultCheck(host, "x", stay, nullptr, 1), 1U);
    EXPECT_EQ(DXR_FfmStartFaultCheck(), 0U);
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 1U) << "the checks; their task is left alone";
    step = 2;
    while (step != 3) {
        std::this_thread::yield();
    }
    // The thread goes on from here; a sanitizer sees where to.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

TEST(Checks, WithoutAHostDoNotStart) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    EXPECT_EQ(hooks.ffm.ffmStartFaultCheck(), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(hooks.ffm.ffmStopFaultCheck(), static_cast<uint32_t>(ECANCELED));
}

}  // namespace
