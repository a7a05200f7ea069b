// Random events, resets and clocks against a model that writes down every event with its number and
// looks positions up by scanning.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <random>
#include <utility>
#include <vector>

#include "dxr/fault.h"
#include "support/class_layout.h"
#include "support/test_host.h"

namespace {

using dxrtest::TestHost;

constexpr uint32_t kMax = 0xFFFFFFFF;
constexpr uint64_t kKnown = 4096;
using Pair = std::pair<uint32_t, uint32_t>;

class CounterModel {
  public:
    void Increase(uint32_t now) {
        events_.push_front({number_, now});
        if (events_.size() > 3 * kKnown) {
            events_.pop_back();
        }
        number_ = (number_ + 1) % (uint64_t{1} << 32);
    }
    void Reset() {
        events_.clear();
        number_ = 0;
    }
    void Pretend(uint32_t number) { number_ = number; }

    uint64_t Count() const { return std::min(number_, kKnown); }
    uint32_t Back(uint32_t n) const {
        if (n == kMax) {
            return LatestWithRemainder(number_ % kKnown);
        }
        if (n >= Count()) {
            return 0;
        }
        return LatestWithRemainder((number_ - 1 - n) % kKnown);
    }

  private:
    struct Event {
        uint64_t number;
        uint32_t sec;
    };
    uint32_t LatestWithRemainder(uint64_t remainder) const {
        const auto found = std::find_if(events_.begin(), events_.end(), [&](const Event &event) {
            return event.number % kKnown == remainder;
        });
        return found == events_.end() ? 0 : found->sec;
    }

    std::deque<Event> events_;  // latest first
    uint64_t number_ = 0;
};

bool Judge(const CounterModel &counter, Pair rule, uint32_t now) {
    const auto [interval, threshold] = rule;
    if (interval == 0 || counter.Count() == 0 || threshold > counter.Count()) {
        return false;
    }
    const uint32_t age = now - counter.Back(threshold == 0 ? 0 : threshold - 1);
    return threshold == 0 ? age > interval : age <= interval;
}

// The clock of the hook: each reading moves it by a random step.
struct Clock {
    std::mt19937_64 engine;
    uint32_t now = 0;
    uint32_t largestStep = 0;
    std::vector<uint32_t> readings;
};
Clock *g_clock = nullptr;

uint32_t ReadClock() {
    Clock &clock = *g_clock;
    clock.now += std::uniform_int_distribution<uint32_t>(0, clock.largestStep)(clock.engine);
    clock.readings.push_back(clock.now);
    return clock.now;
}

class FaultModel : public testing::Test {
  protected:
    FaultModel() : rng_(dxrtest::Seed()) {
        clock_.engine.seed(rng_());
        g_clock = &clock_;
        g_dxrHooks.time.getStartupTimeSec = ReadClock;
    }
    ~FaultModel() override { g_clock = nullptr; }

    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(rng_);
    }

    void Event() {
        clock_.readings.clear();
        counter_.IncreaseCount();
        ASSERT_EQ(clock_.readings.size(), 1u);
        model_.Increase(clock_.readings[0]);
    }
    void Reset() {
        counter_.ResetCount();
        model_.Reset();
    }
    void Pretend(uint32_t number) {
        dxrtest::SetFieldAt(&counter_, 0, number);
        model_.Pretend(number);
    }

    // A look-back that may be near a border.
    uint32_t LookBack() {
        switch (Below(6)) {
            case 0:
                return kMax - Below(3);
            case 1:
                return static_cast<uint32_t>(model_.Count()) + Below(3) - 1;
            case 2:
                return Below(6000);
            default:
                return Below(static_cast<uint32_t>(model_.Count()) + 1);
        }
    }
    Pair Rule() {
        const uint32_t threshold = Below(4) == 0 ? 0 : LookBack() + 1;
        switch (Below(5)) {
            case 0:
                return {0, threshold};
            case 1:
                return {kMax - Below(3), threshold};
            default: {
                // Around the age of the event in question.
                const uint32_t age = clock_.now - model_.Back(threshold == 0 ? 0 : threshold - 1);
                return {age + Below(5) - 2, threshold};
            }
        }
    }

    void CheckCounter() {
        ASSERT_EQ(counter_.GetCount(), model_.Count());
        const uint32_t n = LookBack();
        ASSERT_EQ(counter_.BacktraceTimestamp(n), model_.Back(n)) << n;
    }

    void CheckAccumulated() {
        const Pair rule = Rule();
        clock_.readings.clear();
        const bool holds = DxrFaultAccumulatedSpec(rule.first, rule.second).IsSatisfied(&counter_);
        ASSERT_LE(clock_.readings.size(), 1u);
        ASSERT_EQ(holds, Judge(model_, rule, clock_.now)) << rule.first << ' ' << rule.second;
        positives_ += holds ? 1 : 0;
        ++judgements_;
    }

    void CheckMulti() {
        std::vector<Pair> rules(Below(5));
        for (Pair &rule : rules) {
            rule = Rule();
        }
        clock_.readings.clear();
        const bool holds = DxrFaultSpecFactory().CreateSpec(rules)->IsSatisfied(&counter_);
        ASSERT_EQ(clock_.readings.size(), rules.size());
        bool expected = false;
        for (size_t i = 0; i < rules.size(); ++i) {
            expected = Judge(model_, rules[i], clock_.readings[i]) || expected;
        }
        ASSERT_EQ(holds, expected);
        positives_ += holds ? 1 : 0;
        ++judgements_;
    }

    void CheckTimeout() {
        const uint32_t interval = Below(4) == 0 ? 0 : clock_.now + Below(5) - 2;
        clock_.readings.clear();
        const bool holds = DxrFaultTimeoutSpec(interval).IsSatisfied(&counter_);
        ASSERT_EQ(holds, interval != 0 && model_.Count() > 0 && clock_.now > interval);
        positives_ += holds ? 1 : 0;
        ++judgements_;
    }

    void CheckAll() {
        CheckCounter();
        switch (Below(3)) {
            case 0:
                return CheckAccumulated();
            case 1:
                return CheckMulti();
            default:
                return CheckTimeout();
        }
    }

    TestHost host_;
    std::mt19937_64 rng_;
    Clock clock_;
    DxrCounter counter_{};
    CounterModel model_;
    int positives_ = 0;
    int judgements_ = 0;
};

TEST_F(FaultModel, RandomEventsClocksAndRulesAgree) {
    for (int i = 0; i < 30000 && !HasFatalFailure(); ++i) {
        switch (Below(1500)) {
            case 0:
                Reset();
                break;
            case 1:
                Pretend(static_cast<uint32_t>(rng_()));
                break;
            case 2:
                Pretend(kMax - Below(20));
                break;
            case 3:
                Pretend(4090 + Below(12));
                break;
            case 4:
                for (int k = 0; k < 5000; ++k) {
                    Event();
                }
                break;
            case 5:
                clock_.now = static_cast<uint32_t>(rng_());
                break;
            case 6:
                clock_.now = kMax - Below(10);
                break;
            case 7:
                clock_.largestStep = Below(2) == 0 ? kMax : Below(4);
                break;
            default:
                if (Below(2) == 0) {
                    Event();
                }
        }
        CheckAll();
    }
    EXPECT_GT(positives_, 1000);
    EXPECT_GT(judgements_ - positives_, 1000);
}

// With a clock that only moves on, the burst rule says what its name does: so many events lie
// within the interval, counted one by one.
TEST_F(FaultModel, ABurstIsSoManyEventsWithinTheInterval) {
    std::vector<uint32_t> events;
    clock_.largestStep = 3;
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        Event();
        events.push_back(clock_.now);
        const Pair rule = {1 + Below(40), 1 + Below(30)};
        const bool holds =
            DxrFaultSpecFactory().CreateSpec(rule.first, rule.second)->IsSatisfied(&counter_);
        const auto within = std::count_if(events.begin(), events.end(), [&](uint32_t sec) {
            return clock_.now - sec <= rule.first;
        });
        // A reading that judges is one that was made; without one there were too few events at all.
        ASSERT_EQ(holds, within >= static_cast<ptrdiff_t>(rule.second)) << i;
        positives_ += holds ? 1 : 0;
        ++judgements_;
    }
    EXPECT_GT(positives_, 100);
    EXPECT_GT(judgements_ - positives_, 100);
}

}  // namespace
