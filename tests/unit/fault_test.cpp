#include "dxr/fault.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "support/class_layout.h"
#include "support/test_host.h"

namespace {

using dxrtest::ExportedSymbol;
using dxrtest::FieldAt;
using dxrtest::TestHost;
using dxrtest::VirtualSlot;

constexpr uint32_t kMax = 0xFFFFFFFF;
constexpr uint32_t kRing = 4096;
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

class FaultTest : public testing::Test {
  protected:
    FaultTest() { host_.WithClock(); }

    void EventAt(uint32_t sec) {
        host_.startupSec = sec;
        counter_.IncreaseCount();
    }
    void EventsAt(const std::vector<uint32_t> &seconds) {
        for (const uint32_t sec : seconds) {
            EventAt(sec);
        }
    }
    bool HoldsAt(const DxrFaultSpec &spec, uint32_t now) {
        host_.startupSec = now;
        return spec.IsSatisfied(&counter_);
    }
    // The number of events as if so many had gone by; the ring stays.
    void PretendCount(uint32_t count) { dxrtest::SetFieldAt(&counter_, 0, count); }
    uint32_t TotalCount() const { return FieldAt<uint32_t>(&counter_, 0); }
    uint32_t RingEntry(uint32_t position) const {
        return FieldAt<uint32_t>(&counter_, 4 + 4 * size_t{position});
    }

    TestHost host_;
    DxrCounter counter_{};
};

// --- the counter

using FaultCounter = FaultTest;

TEST_F(FaultCounter, StartsEmpty) {
    EXPECT_EQ(counter_.GetCount(), 0u);
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 0u);
    EXPECT_EQ(counter_.BacktraceTimestamp(1), 0u);
    EXPECT_EQ(counter_.BacktraceTimestamp(kRing), 0u);
}

// HOST-27
TEST_F(FaultCounter, AZeroedBlockIsACounter) {
    alignas(DxrCounter) static unsigned char block[sizeof(DxrCounter)];
    auto *const counter = reinterpret_cast<DxrCounter *>(block);
    EXPECT_EQ(counter->GetCount(), 0u);
    host_.startupSec = 12;
    counter->IncreaseCount();
    EXPECT_EQ(counter->GetCount(), 1u);
    EXPECT_EQ(counter->BacktraceTimestamp(0), 12u);
}

// HOST-27
TEST_F(FaultCounter, ResettingMakesAnyBlockACounter) {
    alignas(DxrCounter) static unsigned char block[sizeof(DxrCounter)];
    std::memset(block, 0xA5, sizeof(block));
    auto *const counter = reinterpret_cast<DxrCounter *>(block);
    counter->ResetCount();
    for (const unsigned char byte : block) {
        ASSERT_EQ(byte, 0);
    }
}

TEST_F(FaultCounter, EventsAreStampedWithTheStartupClock) {
    EventsAt({7, 9, 8});
    EXPECT_EQ(counter_.GetCount(), 3u);
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 8u);
    EXPECT_EQ(counter_.BacktraceTimestamp(1), 9u);
    EXPECT_EQ(counter_.BacktraceTimestamp(2), 7u);
    EXPECT_EQ(counter_.BacktraceTimestamp(3), 0u);
    EXPECT_EQ(host_.calls, std::vector<std::string>(3, "startupSec"));
}

TEST_F(FaultCounter, EventKLiesAtEntryKModulo4096) {
    for (uint32_t k = 0; k < kRing + 5; ++k) {
        EventAt(1000 + k);
    }
    EXPECT_EQ(TotalCount(), kRing + 5);
    EXPECT_EQ(RingEntry(0), 1000 + kRing);
    EXPECT_EQ(RingEntry(4), 1000 + kRing + 4);
    EXPECT_EQ(RingEntry(5), 1005u);
    EXPECT_EQ(RingEntry(kRing - 1), 1000 + kRing - 1);
}

TEST_F(FaultCounter, TheCountStopsAt4096) {
    for (uint32_t k = 0; k < kRing - 1; ++k) {
        counter_.IncreaseCount();
    }
    EXPECT_EQ(counter_.GetCount(), kRing - 1);
    counter_.IncreaseCount();
    EXPECT_EQ(counter_.GetCount(), kRing);
    counter_.IncreaseCount();
    EXPECT_EQ(counter_.GetCount(), kRing);
    EXPECT_EQ(TotalCount(), kRing + 1);
}

TEST_F(FaultCounter, FiveThousandEventsLookBackOver4096) {
    for (uint32_t k = 0; k < 5000; ++k) {
        EventAt(10000 + k);
    }
    EXPECT_EQ(counter_.GetCount(), 4096u);
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 14999u);
    EXPECT_EQ(counter_.BacktraceTimestamp(4095), 10904u);
    EXPECT_EQ(counter_.BacktraceTimestamp(4096), 0u);
    EXPECT_EQ(counter_.BacktraceTimestamp(kMax - 1), 0u);
}

TEST_F(FaultCounter, TheLargestLookBackFollowsTheWrappedSum) {
    // Past every known event, yet answered: with the entry that the next event will take.
    EXPECT_EQ(counter_.BacktraceTimestamp(kMax), 0u);
    EventsAt({11, 12});
    EXPECT_EQ(counter_.BacktraceTimestamp(kMax), 0u);
    for (uint32_t k = 2; k < kRing; ++k) {
        EventAt(11 + k);
    }
    EXPECT_EQ(counter_.BacktraceTimestamp(kMax), 11u);
    EventAt(9999);
    EXPECT_EQ(counter_.BacktraceTimestamp(kMax), 12u);
}

TEST_F(FaultCounter, ResettingForgetsAllEvents) {
    for (uint32_t k = 0; k < kRing + 10; ++k) {
        EventAt(1 + k);
    }
    counter_.ResetCount();
    EXPECT_EQ(counter_.GetCount(), 0u);
    EXPECT_EQ(TotalCount(), 0u);
    for (uint32_t i = 0; i < kRing; ++i) {
        ASSERT_EQ(RingEntry(i), 0u) << i;
    }
    EventAt(77);
    EXPECT_EQ(counter_.GetCount(), 1u);
    EXPECT_EQ(RingEntry(0), 77u);
}

TEST_F(FaultCounter, TheCountWrapsAtTwoToTheThirtyTwo) {
    PretendCount(kMax);
    EXPECT_EQ(counter_.GetCount(), kRing);
    EventAt(50);  // number 2^32 - 1
    EXPECT_EQ(RingEntry(kRing - 1), 50u);
    EXPECT_EQ(TotalCount(), 0u);
    EXPECT_EQ(counter_.GetCount(), 0u);
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 0u);
    EventAt(60);
    EXPECT_EQ(RingEntry(0), 60u);
    EXPECT_EQ(counter_.GetCount(), 1u);
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 60u);
    EXPECT_EQ(counter_.BacktraceTimestamp(1), 0u);
}

TEST_F(FaultCounter, ReadingChangesNothingAndNeedsNoClock) {
    EventsAt({1, 2});
    host_.calls.clear();
    const DxrCounter before = counter_;
    static_cast<void>(counter_.GetCount());
    static_cast<void>(counter_.BacktraceTimestamp(1));
    EXPECT_EQ(std::memcmp(&before, &counter_, sizeof(counter_)), 0);
    EXPECT_TRUE(host_.calls.empty());
}

// --- the accumulated rule

using FaultAccumulated = FaultTest;

TEST_F(FaultAccumulated, ABurstHoldsUpToTheBoundary) {
    EventsAt({100, 105, 109});
    const DxrFaultAccumulatedSpec spec(10, 3);
    EXPECT_TRUE(HoldsAt(spec, 109));
    EXPECT_TRUE(HoldsAt(spec, 110));
    EXPECT_FALSE(HoldsAt(spec, 111));
}

TEST_F(FaultAccumulated, ABurstLooksAtTheLatestEventsOnly) {
    EventsAt({1, 2, 100, 105, 109});
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, 3), 110));
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, 1), 119));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 1), 120));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 4), 110));
}

TEST_F(FaultAccumulated, ABurstNeedsAsManyEventsAsItsThreshold) {
    EventsAt({100, 100});
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, 2), 100));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 3), 100));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax, 3), 100));
}

TEST_F(FaultAccumulated, SilenceHoldsBeyondTheBoundary) {
    EventAt(100);
    const DxrFaultAccumulatedSpec spec(10, 0);
    EXPECT_FALSE(HoldsAt(spec, 100));
    EXPECT_FALSE(HoldsAt(spec, 110));
    EXPECT_TRUE(HoldsAt(spec, 111));
}

TEST_F(FaultAccumulated, SilenceIsMeasuredFromTheLatestEvent) {
    EventsAt({100, 200});
    const DxrFaultAccumulatedSpec spec(10, 0);
    EXPECT_FALSE(HoldsAt(spec, 205));
    EXPECT_FALSE(HoldsAt(spec, 210));
    EXPECT_TRUE(HoldsAt(spec, 211));
}

TEST_F(FaultAccumulated, IntervalZeroNeverHolds) {
    EventsAt({100, 100});
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(0, 0), 500));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(0, 1), 100));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(0, 2), 100));
}

TEST_F(FaultAccumulated, WithoutEventsNothingHolds) {
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 0), 500));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax, 1), 0));
    EventAt(1);
    counter_.ResetCount();
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 0), 500));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax, 1), 1));
}

TEST_F(FaultAccumulated, ThresholdsBeyondTheRingNeverHold) {
    for (uint32_t k = 0; k < kRing + 10; ++k) {
        EventAt(100);
    }
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, kRing), 100));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, kRing + 1), 100));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax, kMax), 100));
}

TEST_F(FaultAccumulated, DifferencesWrap) {
    EventAt(kMax - 4);
    // Ten seconds after it the clock shows 5.
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, 1), 5));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 1), 6));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(10, 0), 5));
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(10, 0), 6));
    // A clock that was set back makes an event look very old.
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(kMax - 1, 0), kMax - 5));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax, 0), kMax - 5));
    EXPECT_FALSE(HoldsAt(DxrFaultAccumulatedSpec(kMax - 1, 1), kMax - 5));
    EXPECT_TRUE(HoldsAt(DxrFaultAccumulatedSpec(kMax, 1), kMax - 5));
}

// HOST-18
TEST_F(FaultAccumulated, WithoutATimeHookEveryTimeIsZero) {
    g_dxrHooks.time.getStartupTimeSec = nullptr;
    host_.startupSec = 500;
    counter_.IncreaseCount();
    EXPECT_FALSE(DxrFaultAccumulatedSpec(1, 2).IsSatisfied(&counter_));
    counter_.IncreaseCount();
    EXPECT_EQ(counter_.BacktraceTimestamp(0), 0u);
    EXPECT_TRUE(DxrFaultAccumulatedSpec(1, 2).IsSatisfied(&counter_));
    EXPECT_FALSE(DxrFaultAccumulatedSpec(1, 0).IsSatisfied(&counter_));
    EXPECT_FALSE(DxrFaultTimeoutSpec(1).IsSatisfied(&counter_));
    EXPECT_TRUE(DxrFaultMultiAccumulatedSpec({{1, 2}}).IsSatisfied(&counter_));
    EXPECT_FALSE(DxrFaultMultiAccumulatedSpec({{1, 0}}).IsSatisfied(&counter_));
}

TEST_F(FaultAccumulated, TheClockIsReadWhereATimeIsJudged) {
    EventsAt({1, 2});
    host_.calls.clear();
    HoldsAt(DxrFaultAccumulatedSpec(0, 1), 3);
    HoldsAt(DxrFaultAccumulatedSpec(5, 3), 3);
    EXPECT_EQ(host_.calls.size(), 0u);
    HoldsAt(DxrFaultAccumulatedSpec(5, 0), 3);
    EXPECT_EQ(host_.calls.size(), 1u);
    HoldsAt(DxrFaultAccumulatedSpec(5, 2), 3);
    EXPECT_EQ(host_.calls.size(), 2u);
}

TEST_F(FaultAccumulated, JudgingChangesNothing) {
    EventsAt({1, 2});
    const DxrCounter before = counter_;
    HoldsAt(DxrFaultAccumulatedSpec(5, 0), 3);
    HoldsAt(DxrFaultMultiAccumulatedSpec({{5, 1}, {5, 0}}), 3);
    HoldsAt(DxrFaultTimeoutSpec(1), 3);
    EXPECT_EQ(std::memcmp(&before, &counter_, sizeof(counter_)), 0);
}

TEST_F(FaultAccumulated, OneSpecServesManyCounters) {
    EventsAt({100, 105, 109});
    const DxrCounter empty{};
    const DxrFaultAccumulatedSpec spec(10, 3);
    EXPECT_TRUE(HoldsAt(spec, 110));
    EXPECT_FALSE(spec.IsSatisfied(&empty));
    EXPECT_TRUE(HoldsAt(spec, 110));
}

// --- several rules

// Gives one time after the other, then 0.
std::vector<uint32_t> g_times;
size_t g_readings = 0;

uint32_t NextTime() {
    const size_t reading = g_readings++;
    return reading < g_times.size() ? g_times[reading] : 0;
}

class FaultMultiAccumulated : public FaultTest {
  protected:
    bool HoldsWithTimes(const Pairs &pairs, std::vector<uint32_t> times) {
        g_times = std::move(times);
        g_readings = 0;
        g_dxrHooks.time.getStartupTimeSec = NextTime;
        const bool holds = DxrFaultMultiAccumulatedSpec(pairs).IsSatisfied(&counter_);
        EXPECT_EQ(g_readings, pairs.size()) << "one reading for each pair";
        return holds;
    }
};

TEST_F(FaultMultiAccumulated, AnyPairSuffices) {
    EventsAt({100, 105, 109});
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 3}, {1, 3}}), 110));
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{1, 3}, {10, 3}}), 110));
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{1, 3}, {10, 3}, {2, 2}}), 110));
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 3}, {10, 1}}), 110));
    EXPECT_FALSE(HoldsAt(DxrFaultMultiAccumulatedSpec({{9, 3}, {1, 2}}), 110));
}

TEST_F(FaultMultiAccumulated, PairsAreIntervalAndThreshold) {
    EventsAt({100, 105, 109});
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 3}}), 110));
    EXPECT_FALSE(HoldsAt(DxrFaultMultiAccumulatedSpec({{3, 10}}), 110));
    EXPECT_FALSE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 0}}), 119));
    EXPECT_TRUE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 0}}), 120));
}

TEST_F(FaultMultiAccumulated, APairThatNeverHoldsAddsNothing) {
    EventsAt({100, 105, 109});
    const DxrFaultMultiAccumulatedSpec spec({{10, 3}, {0, 0}});
    EXPECT_TRUE(HoldsAt(spec, 110));
    EXPECT_FALSE(HoldsAt(spec, 111));
    EXPECT_FALSE(HoldsAt(spec, 500));
}

TEST_F(FaultMultiAccumulated, AnEmptyListNeverHolds) {
    EventAt(100);
    host_.calls.clear();
    EXPECT_FALSE(HoldsAt(DxrFaultMultiAccumulatedSpec({}), 500));
    EXPECT_TRUE(host_.calls.empty());
}

TEST_F(FaultMultiAccumulated, WithoutEventsNothingHolds) {
    EXPECT_FALSE(HoldsAt(DxrFaultMultiAccumulatedSpec({{10, 0}, {kMax, 1}}), 500));
}

TEST_F(FaultMultiAccumulated, EveryPairHasATimeOfItsOwn) {
    EventAt(100);
    // Burst of one within 10 seconds: only the pair judged at 110 holds.
    const Pairs same = {{10, 1}, {10, 1}, {10, 1}};
    EXPECT_TRUE(HoldsWithTimes(same, {110, 111, 112}));
    EXPECT_TRUE(HoldsWithTimes(same, {111, 110, 112}));
    EXPECT_TRUE(HoldsWithTimes(same, {111, 112, 110}));
    EXPECT_FALSE(HoldsWithTimes(same, {111, 112, 113}));
}

TEST_F(FaultMultiAccumulated, PairsAreJudgedInTheirOrder) {
    EventAt(100);
    EXPECT_TRUE(HoldsWithTimes({{10, 1}, {20, 1}}, {110, 121}));
    EXPECT_FALSE(HoldsWithTimes({{10, 1}, {20, 1}}, {120, 121}));
    EXPECT_TRUE(HoldsWithTimes({{20, 1}, {10, 1}}, {120, 121}));
}

TEST_F(FaultMultiAccumulated, TheTimeIsReadBeforeAPairsSteps) {
    EventAt(100);
    // Read even where the steps end before a time is judged.
    EXPECT_FALSE(HoldsWithTimes({{0, 1}, {10, 2}}, {100, 100}));
    EXPECT_TRUE(HoldsWithTimes({{0, 1}, {10, 1}}, {111, 110}));
}

TEST_F(FaultMultiAccumulated, TheTimeIsReadWithoutEventsToo) {
    EXPECT_FALSE(HoldsWithTimes({{10, 1}, {0, 0}, {5, 0}}, {1, 2, 3}));
}

TEST_F(FaultMultiAccumulated, ItKeepsACopyOfTheList) {
    EventAt(100);
    Pairs pairs = {{10, 1}};
    const DxrFaultMultiAccumulatedSpec spec(pairs);
    pairs[0] = {0, 0};
    EXPECT_TRUE(HoldsAt(spec, 110));
}

// --- the time-out rule

using FaultTimeout = FaultTest;

TEST_F(FaultTimeout, ItMeasuresTheTimeSinceStart) {
    EventAt(5);
    const DxrFaultTimeoutSpec spec(60);
    EXPECT_FALSE(HoldsAt(spec, 59));
    EXPECT_FALSE(HoldsAt(spec, 60));
    EXPECT_TRUE(HoldsAt(spec, 61));
}

TEST_F(FaultTimeout, WhenTheEventWasDoesNotMatter) {
    const DxrFaultTimeoutSpec spec(60);
    EventAt(1000);
    EXPECT_TRUE(HoldsAt(spec, 1000));
    EXPECT_TRUE(HoldsAt(spec, 61));
    EXPECT_FALSE(HoldsAt(spec, 60));
    for (uint32_t k = 0; k < kRing + 3; ++k) {
        EventAt(1000);
    }
    EXPECT_TRUE(HoldsAt(spec, 1000));
    EXPECT_FALSE(HoldsAt(spec, 60));
}

TEST_F(FaultTimeout, WithoutEventsItDoesNotHold) {
    EXPECT_FALSE(HoldsAt(DxrFaultTimeoutSpec(60), 1000));
}

TEST_F(FaultTimeout, IntervalZeroNeverHolds) {
    EventAt(1);
    EXPECT_FALSE(HoldsAt(DxrFaultTimeoutSpec(0), 1000));
}

TEST_F(FaultTimeout, TheLargestIntervalNeverHolds) {
    EventAt(1);
    EXPECT_TRUE(HoldsAt(DxrFaultTimeoutSpec(kMax - 1), kMax));
    EXPECT_FALSE(HoldsAt(DxrFaultTimeoutSpec(kMax), kMax));
}

TEST_F(FaultTimeout, TheClockIsReadWhereATimeIsJudged) {
    HoldsAt(DxrFaultTimeoutSpec(60), 1);
    EventAt(1);
    host_.calls.clear();
    HoldsAt(DxrFaultTimeoutSpec(0), 1);
    EXPECT_EQ(host_.calls.size(), 0u);
    HoldsAt(DxrFaultTimeoutSpec(60), 1);
    EXPECT_EQ(host_.calls.size(), 1u);
}

// --- the rules as values

// What a plain class can do, and a vector of it needs.
template <typename Rule>
constexpr bool kIsPlain = std::is_copy_constructible_v<Rule> &&std::is_copy_assignable_v<Rule>
    &&std::is_nothrow_move_constructible_v<Rule> &&std::is_nothrow_move_assignable_v<Rule>
        &&std::is_nothrow_destructible_v<Rule>;
static_assert(kIsPlain<DxrFaultAccumulatedSpec>);
static_assert(kIsPlain<DxrFaultMultiAccumulatedSpec>);
static_assert(kIsPlain<DxrFaultTimeoutSpec>);
static_assert(kIsPlain<DxrFaultSpecFactory> && kIsPlain<DxrCounter>);
// Through the base a rule would be cut.
static_assert(!std::is_copy_assignable_v<DxrFaultSpec> && !std::is_move_assignable_v<DxrFaultSpec>);

using FaultCopies = FaultTest;

TEST_F(FaultCopies, ACopyIsARuleOfItsOwn) {
    EventsAt({100, 105, 109});
    DxrFaultAccumulatedSpec burst(10, 3);
    const DxrFaultAccumulatedSpec burstCopy(burst);
    burst = DxrFaultAccumulatedSpec(1, 3);
    EXPECT_TRUE(HoldsAt(burstCopy, 110));
    EXPECT_FALSE(HoldsAt(burst, 110));

    DxrFaultMultiAccumulatedSpec multi(Pairs{{1, 3}, {10, 3}});
    const DxrFaultMultiAccumulatedSpec multiCopy(multi);
    multi = DxrFaultMultiAccumulatedSpec(Pairs{});
    EXPECT_TRUE(HoldsAt(multiCopy, 110));
    EXPECT_FALSE(HoldsAt(multi, 110));

    DxrFaultTimeoutSpec timeout(60);
    const DxrFaultTimeoutSpec timeoutCopy(timeout);
    timeout = DxrFaultTimeoutSpec(500);
    EXPECT_TRUE(HoldsAt(timeoutCopy, 110));
    EXPECT_FALSE(HoldsAt(timeout, 110));
}

TEST_F(FaultCopies, AssigningReplacesTheNumbersAndKeepsTheSource) {
    EventsAt({100, 105, 109});
    const DxrFaultMultiAccumulatedSpec source(Pairs{{10, 3}});
    DxrFaultMultiAccumulatedSpec target(Pairs{{1, 1}, {2, 2}, {3, 3}});
    target = source;
    EXPECT_TRUE(HoldsAt(target, 110));
    EXPECT_FALSE(HoldsAt(target, 111));
    EXPECT_TRUE(HoldsAt(source, 110));
    EXPECT_NE(FieldAt<const void *>(&target, 8), FieldAt<const void *>(&source, 8));
}

TEST_F(FaultCopies, AMovedListGoesAlong) {
    EventsAt({100, 105, 109});
    DxrFaultMultiAccumulatedSpec source(Pairs{{10, 3}});
    const auto *const pairs = FieldAt<const void *>(&source, 8);
    const DxrFaultMultiAccumulatedSpec target(std::move(source));
    EXPECT_EQ(FieldAt<const void *>(&target, 8), pairs);
    EXPECT_TRUE(HoldsAt(target, 110));
}

// Rows that grow, lose elements in the middle and are copied whole.
template <typename Rule, typename Make>
void FillAndThin(std::vector<Rule> *rules, Make make) {
    for (uint32_t i = 0; i < 40; ++i) {
        rules->push_back(make(i));
    }
    rules->erase(rules->begin() + 1, rules->begin() + 11);
    rules->insert(rules->begin(), make(99));
    const std::vector<Rule> copy = *rules;
    rules->clear();
    *rules = copy;
}

TEST_F(FaultCopies, VectorsHoldRules) {
    EventAt(100);
    std::vector<DxrFaultTimeoutSpec> timeouts;
    FillAndThin(&timeouts, [](uint32_t i) { return DxrFaultTimeoutSpec(1000 + i); });
    std::vector<DxrFaultAccumulatedSpec> bursts;
    FillAndThin(&bursts, [](uint32_t i) { return DxrFaultAccumulatedSpec(1000 + i, 0); });
    std::vector<DxrFaultMultiAccumulatedSpec> multis;
    FillAndThin(&multis, [](uint32_t i) {
        return DxrFaultMultiAccumulatedSpec(Pairs{{0, 1}, {1000 + i, 0}});
    });
    ASSERT_EQ(timeouts.size(), 31u);
    ASSERT_EQ(bursts.size(), 31u);
    ASSERT_EQ(multis.size(), 31u);
    for (size_t n = 0; n < timeouts.size(); ++n) {
        const uint32_t i = n == 0 ? 99 : n == 1 ? 0 : static_cast<uint32_t>(n + 9);
        EXPECT_FALSE(HoldsAt(timeouts[n], 1000 + i)) << n;
        EXPECT_TRUE(HoldsAt(timeouts[n], 1001 + i)) << n;
        EXPECT_FALSE(HoldsAt(bursts[n], 1100 + i)) << n;
        EXPECT_TRUE(HoldsAt(bursts[n], 1101 + i)) << n;
        EXPECT_FALSE(HoldsAt(multis[n], 1100 + i)) << n;
        EXPECT_TRUE(HoldsAt(multis[n], 1101 + i)) << n;
    }
}

// A rule of the host's own is as plain as those that it is made of.
TEST_F(FaultCopies, AHostsRuleIsCopiedThroughTheBase) {
    class EveryRule : public DxrFaultSpec {
      public:
        explicit EveryRule(std::vector<DxrFaultAccumulatedSpec> rules) : rules_(std::move(rules)) {}
        bool IsSatisfied(const DxrCounter *counter) const override {
            return std::all_of(rules_.begin(), rules_.end(),
                               [counter](const auto &rule) { return rule.IsSatisfied(counter); });
        }

      private:
        std::vector<DxrFaultAccumulatedSpec> rules_;
    };
    EventsAt({100, 105, 109});
    EveryRule every({DxrFaultAccumulatedSpec(10, 3), DxrFaultAccumulatedSpec(1, 1)});
    const EveryRule copy(every);
    every = EveryRule({});
    EXPECT_TRUE(HoldsAt(copy, 110));
    EXPECT_FALSE(HoldsAt(copy, 111));
    EXPECT_TRUE(HoldsAt(every, 111));
}

// --- the factory

using FaultFactory = FaultTest;

TEST_F(FaultFactory, APairMakesAnAccumulatedSpec) {
    const DxrFaultSpecFactory factory;
    const std::unique_ptr<DxrFaultSpec> spec = factory.CreateSpec(10, 3);
    ASSERT_NE(spec, nullptr);
    const DxrFaultSpec &made = *spec;
    EXPECT_EQ(typeid(made), typeid(DxrFaultAccumulatedSpec));
    EventsAt({100, 105, 109});
    EXPECT_TRUE(HoldsAt(*spec, 110));
    EXPECT_FALSE(HoldsAt(*spec, 111));
}

TEST_F(FaultFactory, EvenAPairThatNeverHoldsMakesASpec) {
    const std::unique_ptr<DxrFaultSpec> spec = DxrFaultSpecFactory().CreateSpec(0, 0);
    ASSERT_NE(dynamic_cast<DxrFaultAccumulatedSpec *>(spec.get()), nullptr);
    EventAt(1);
    EXPECT_FALSE(HoldsAt(*spec, 100));
}

TEST_F(FaultFactory, AListMakesAMultiSpecWithACopyOfIt) {
    Pairs pairs = {{1, 3}, {10, 3}};
    const Pairs before = pairs;
    const std::unique_ptr<DxrFaultSpec> spec = DxrFaultSpecFactory().CreateSpec(pairs);
    EXPECT_EQ(pairs, before);
    ASSERT_NE(spec, nullptr);
    const DxrFaultSpec &made = *spec;
    EXPECT_EQ(typeid(made), typeid(DxrFaultMultiAccumulatedSpec));
    pairs.clear();
    EventsAt({100, 105, 109});
    EXPECT_TRUE(HoldsAt(*spec, 110));
    EXPECT_FALSE(HoldsAt(*spec, 111));

    const auto *const first = FieldAt<const std::pair<uint32_t, uint32_t> *>(spec.get(), 8);
    const auto *const last = FieldAt<const std::pair<uint32_t, uint32_t> *>(spec.get(), 16);
    EXPECT_EQ(Pairs(first, last), before);
}

TEST_F(FaultFactory, AnEmptyListMakesAMultiSpecToo) {
    Pairs pairs;
    const std::unique_ptr<DxrFaultSpec> spec = DxrFaultSpecFactory().CreateSpec(pairs);
    ASSERT_NE(dynamic_cast<DxrFaultMultiAccumulatedSpec *>(spec.get()), nullptr);
    EXPECT_FALSE(HoldsAt(*spec, 100));
}

// --- the binary interface of the classes

TEST(FaultLayout, FieldsLieInTheirOrder) {
    EXPECT_EQ(sizeof(DxrCounter), 4u + 4u * 4096u);
    EXPECT_EQ(alignof(DxrCounter), 4u);
    EXPECT_FALSE(std::is_polymorphic_v<DxrCounter>);
    EXPECT_EQ(sizeof(DxrFaultSpec), 8u);
    EXPECT_TRUE(std::is_abstract_v<DxrFaultSpec>);
    EXPECT_TRUE(std::is_empty_v<DxrFaultSpecFactory>);

    const DxrFaultAccumulatedSpec accumulated(0x11111111, 0x22222222);
    EXPECT_EQ(sizeof(accumulated), 16u);
    EXPECT_EQ(FieldAt<uint32_t>(&accumulated, 8), 0x11111111u);
    EXPECT_EQ(FieldAt<uint32_t>(&accumulated, 12), 0x22222222u);

    const DxrFaultMultiAccumulatedSpec multi({{1, 2}, {3, 4}});
    EXPECT_EQ(sizeof(multi), 32u);
    const auto *const first = FieldAt<const uint32_t *>(&multi, 8);
    EXPECT_EQ(std::vector<uint32_t>(first, first + 4), (std::vector<uint32_t>{1, 2, 3, 4}));

    const DxrFaultTimeoutSpec timeout(0x33333333);
    EXPECT_EQ(sizeof(timeout), 16u);
    EXPECT_EQ(FieldAt<uint32_t>(&timeout, 8), 0x33333333u);
}

// Slots: the two destructors, IsSatisfied. Each is an exported function.
TEST(FaultLayout, VirtualOperationsHaveTheirSlots) {
    const DxrFaultAccumulatedSpec accumulated(1, 2);
    EXPECT_EQ(VirtualSlot(&accumulated, 0), ExportedSymbol("_ZN23DxrFaultAccumulatedSpecD1Ev"));
    EXPECT_EQ(VirtualSlot(&accumulated, 1), ExportedSymbol("_ZN23DxrFaultAccumulatedSpecD0Ev"));
    EXPECT_EQ(VirtualSlot(&accumulated, 2),
              ExportedSymbol("_ZNK23DxrFaultAccumulatedSpec11IsSatisfiedEPK10DxrCounter"));
    const DxrFaultMultiAccumulatedSpec multi({});
    EXPECT_EQ(VirtualSlot(&multi, 0), ExportedSymbol("_ZN28DxrFaultMultiAccumulatedSpecD1Ev"));
    EXPECT_EQ(VirtualSlot(&multi, 1), ExportedSymbol("_ZN28DxrFaultMultiAccumulatedSpecD0Ev"));
    EXPECT_EQ(VirtualSlot(&multi, 2),
              ExportedSymbol("_ZNK28DxrFaultMultiAccumulatedSpec11IsSatisfiedEPK10DxrCounter"));
    const DxrFaultTimeoutSpec timeout(1);
    EXPECT_EQ(VirtualSlot(&timeout, 0), ExportedSymbol("_ZN19DxrFaultTimeoutSpecD1Ev"));
    EXPECT_EQ(VirtualSlot(&timeout, 1), ExportedSymbol("_ZN19DxrFaultTimeoutSpecD0Ev"));
    EXPECT_EQ(VirtualSlot(&timeout, 2),
              ExportedSymbol("_ZNK19DxrFaultTimeoutSpec11IsSatisfiedEPK10DxrCounter"));
}

TEST(FaultLayout, EveryMemberIsExported) {
    for (const char *const name :
         {"_ZN10DxrCounter13IncreaseCountEv",
          "_ZN10DxrCounter10ResetCountEv",
          "_ZNK10DxrCounter8GetCountEv",
          "_ZNK10DxrCounter18BacktraceTimestampEj",
          "_ZN12DxrFaultSpecD0Ev",
          "_ZN12DxrFaultSpecD1Ev",
          "_ZN12DxrFaultSpecD2Ev",
          "_ZN23DxrFaultAccumulatedSpecC1Ejj",
          "_ZN23DxrFaultAccumulatedSpecC2Ejj",
          "_ZN23DxrFaultAccumulatedSpecD2Ev",
          "_ZN28DxrFaultMultiAccumulatedSpecC1ERKSt6vectorISt4pairIjjESaIS2_EE",
          "_ZN28DxrFaultMultiAccumulatedSpecC2ERKSt6vectorISt4pairIjjESaIS2_EE",
          "_ZN28DxrFaultMultiAccumulatedSpecD2Ev",
          "_ZN19DxrFaultTimeoutSpecC1Ej",
          "_ZN19DxrFaultTimeoutSpecC2Ej",
          "_ZN19DxrFaultTimeoutSpecD2Ev",
          "_ZNK19DxrFaultSpecFactory10CreateSpecEjj",
          "_ZNK19DxrFaultSpecFactory10CreateSpecERSt6vectorISt4pairIjjESaIS2_EE",
          "_ZTV12DxrFaultSpec",
          "_ZTV23DxrFaultAccumulatedSpec",
          "_ZTV28DxrFaultMultiAccumulatedSpec",
          "_ZTV19DxrFaultTimeoutSpec",
          "_ZTI12DxrFaultSpec",
          "_ZTI23DxrFaultAccumulatedSpec",
          "_ZTI28DxrFaultMultiAccumulatedSpec",
          "_ZTI19DxrFaultTimeoutSpec",
          "_ZTS12DxrFaultSpec",
          "_ZTS23DxrFaultAccumulatedSpec",
          "_ZTS28DxrFaultMultiAccumulatedSpec",
          "_ZTS19DxrFaultTimeoutSpec"}) {
        EXPECT_NE(ExportedSymbol(name), nullptr) << name;
    }
}

}  // namespace
