#include "dxr/system_time.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <vector>

#include "support/test_host.h"

namespace {

struct Sleep {
    int64_t sec;
    int64_t nsec;
    bool remainderGoesToTheRequest;
};

// What the next calls of nanosleep do: fail with this error and, for an interruption, write this
// remainder.
struct SleepFailure {
    int error;
    timespec remaining;
};

std::vector<Sleep> g_sleeps;
std::vector<SleepFailure> g_sleepFailures;

struct ClockReading {
    int result;
    timespec time;
};

std::vector<clockid_t> g_clocksRead;
const ClockReading *g_reading = nullptr;  // null: the real clock

}  // namespace

// These stand before the C library's functions, for the shared library as well. Nothing sleeps.
extern "C" int nanosleep(const timespec *request, timespec *remaining) {
    g_sleeps.push_back({request->tv_sec, request->tv_nsec, remaining == request});
    if (g_sleepFailures.empty()) {
        return 0;
    }
    const SleepFailure failure = g_sleepFailures.front();
    g_sleepFailures.erase(g_sleepFailures.begin());
    if (failure.error == EINTR && remaining != nullptr) {
        *remaining = failure.remaining;
    }
    errno = failure.error;
    return -1;
}

extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept {
    if (g_reading == nullptr) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    g_clocksRead.push_back(clock);
    *time = g_reading->time;
    return g_reading->result;
}

namespace {

class SystemTime : public testing::Test {
  protected:
    SystemTime() {
        g_sleeps.clear();
        g_sleepFailures.clear();
        g_clocksRead.clear();
        g_reading = nullptr;
    }
    ~SystemTime() override { g_reading = nullptr; }

    static void ExpectSleeps(const std::vector<Sleep> &expected) {
        ASSERT_EQ(expected.size(), g_sleeps.size());
        for (size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(expected[i].sec, g_sleeps[i].sec) << "call " << i;
            EXPECT_EQ(expected[i].nsec, g_sleeps[i].nsec) << "call " << i;
            EXPECT_TRUE(g_sleeps[i].remainderGoesToTheRequest) << "call " << i;
        }
        EXPECT_TRUE(g_sleepFailures.empty());
    }

    static uint64_t MacroSecOf(const ClockReading &reading) {
        // The reading counts for this one call: the test framework reads clocks, too.
        g_reading = &reading;
        const uint64_t microseconds = DXR_GetCurrMacroSec();
        g_reading = nullptr;
        return microseconds;
    }

    dxrtest::TestHost host_;
};

TEST_F(SystemTime, SleepUsSplitsSecondsAndNanoseconds) {
    const struct {
        uint32_t us;
        int64_t sec;
        int64_t nsec;
    } cases[] = {{0, 0, 0},
                 {1, 0, 1000},
                 {999, 0, 999000},
                 {1000, 0, 1000000},
                 {999999, 0, 999999000},
                 {1000000, 1, 0},
                 {1000001, 1, 1000},
                 {1500000, 1, 500000000},
                 {2147483647, 2147, 483647000},
                 {2147483648, 2147, 483648000},
                 {4294967295, 4294, 967295000}};
    for (const auto &each : cases) {
        SCOPED_TRACE(each.us);
        g_sleeps.clear();
        DXR_SleepUs(each.us);
        ExpectSleeps({{each.sec, each.nsec, true}});
    }
}

TEST_F(SystemTime, InterruptedSleepGoesOnWithTheRest) {
    g_sleepFailures = {{EINTR, {1, 200}}, {EINTR, {0, 999999999}}, {EINTR, {0, 1}}};
    DXR_SleepUs(1500000);
    ExpectSleeps({{1, 500000000, true}, {1, 200, true}, {0, 999999999, true}, {0, 1, true}});
}

TEST_F(SystemTime, EveryOtherFailureIsRepeatedToo) {
    for (const int error : {EINVAL, EFAULT, ENOSYS, 0}) {
        SCOPED_TRACE(error);
        g_sleeps.clear();
        g_sleepFailures.assign(5, {error, {}});
        DXR_SleepUs(70);
        ExpectSleeps({{0, 70000, true},
                      {0, 70000, true},
                      {0, 70000, true},
                      {0, 70000, true},
                      {0, 70000, true},
                      {0, 70000, true}});
    }
}

TEST_F(SystemTime, ManyInterruptionsAreOutlasted) {
    g_sleepFailures.assign(1000, {EINTR, {0, 5}});
    DXR_SleepUs(1);
    EXPECT_EQ(1001U, g_sleeps.size());
    EXPECT_TRUE(g_sleepFailures.empty());
}

TEST_F(SystemTime, InterruptedSleepOfNothingIsRepeated) {
    g_sleepFailures = {{EINTR, {0, 0}}};
    DXR_SleepUs(0);
    ExpectSleeps({{0, 0, true}, {0, 0, true}});
}

// MODULE-19
TEST_F(SystemTime, SleepMsWrapsAt32BitsOfMicroseconds) {
    const struct {
        uint32_t ms;
        int64_t sec;
        int64_t nsec;
    } cases[] = {{0, 0, 0},
                 {1, 0, 1000000},
                 {1500, 1, 500000000},
                 {4294967, 4294, 967000000},
                 {4294968, 0, 704000},
                 {8589935, 0, 408000},
                 {4294967295, 4294, 966296000}};
    for (const auto &each : cases) {
        SCOPED_TRACE(each.ms);
        g_sleeps.clear();
        DXR_SleepMs(each.ms);
        ExpectSleeps({{each.sec, each.nsec, true}});
    }
}

TEST_F(SystemTime, SleepMsGoesOnAfterAnInterruption) {
    g_sleepFailures = {{EINTR, {0, 600}}};
    DXR_SleepMs(2);
    ExpectSleeps({{0, 2000000, true}, {0, 600, true}});
}

TEST_F(SystemTime, MacroSecIsMicrosecondsOfTheMonotonicClock) {
    EXPECT_EQ(0U, MacroSecOf({0, {0, 0}}));
    EXPECT_EQ(0U, MacroSecOf({0, {0, 999}}));
    EXPECT_EQ(1U, MacroSecOf({0, {0, 1000}}));
    EXPECT_EQ(1999999U, MacroSecOf({0, {1, 999999999}}));
    EXPECT_EQ(4294967296000001U, MacroSecOf({0, {4294967296, 1999}}));
    EXPECT_EQ((std::vector<clockid_t>(5, CLOCK_MONOTONIC)), g_clocksRead);
}

TEST_F(SystemTime, MacroSecOfAFailingClockIsZero) {
    EXPECT_EQ(0U, MacroSecOf({-1, {77, 88000}}));
    EXPECT_EQ(1U, g_clocksRead.size());
}

TEST_F(SystemTime, MacroSecDoesNotDecrease) {
    uint64_t last = DXR_GetCurrMacroSec();
    EXPECT_NE(0U, last);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t now = DXR_GetCurrMacroSec();
        EXPECT_GE(now, last);
        last = now;
    }
}

TEST_F(SystemTime, NanoSecIsAPlaceholder) {
    const ClockReading reading = {0, {5, 5}};
    g_reading = &reading;
    const uint64_t nanoseconds = DXR_GetCurrNanoSec();
    g_reading = nullptr;
    EXPECT_EQ(0U, nanoseconds);
    EXPECT_TRUE(g_clocksRead.empty());
}

}  // namespace
