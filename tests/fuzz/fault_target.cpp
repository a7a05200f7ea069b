// Fault counters and rules beside a list of all events since the reset.
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "dxr/fault.h"
#include "dxr/hooks.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kKept = 4096;

uint32_t g_now = 0;
uint32_t g_step = 0;  // each reading moves the clock

uint32_t StartupTimeSec() {
    const uint32_t now = g_now;
    g_now += g_step;
    return now;
}

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        g_now = input_.Number();
        g_step = 0;
        SetHook(!input_.Rarely());
        events_.clear();
        counter_ = {};
    }

    void Operation() {
        switch (input_.Below(12)) {
            case 0:
            case 1:
                Count();
                break;
            case 2:
                Burst();
                break;
            case 3:
            case 4:
                g_now += input_.Number();
                break;
            case 5:
                g_step = input_.Rarely() ? input_.Number() : input_.Below(3);
                break;
            case 6:
            case 7:
                Accumulated();
                break;
            case 8:
                Multi();
                break;
            case 9:
                Timeout();
                break;
            case 10:
                LookBack(input_.Rarely() ? input_.Number() : input_.Half() % (kKept + 2));
                break;
            default:
                Seldom();
                break;
        }
        DXR_FUZZ_SAME(counter_.GetCount() == Known());
        LookBack(0);
        LookBack(Known() - 1);
    }

  private:
    using Pair = std::pair<uint32_t, uint32_t>;

    void SetHook(bool on) {
        hook_ = on;
        g_dxrHooks.time.getStartupTimeSec = on ? StartupTimeSec : nullptr;
    }

    // The model's own reading, at a clock that stands where the library's stood.
    uint32_t Read(uint32_t *clock) const {
        const uint32_t now = hook_ ? *clock : 0;
        *clock += hook_ ? g_step : 0;
        return now;
    }

    [[nodiscard]] uint32_t Known() const {
        return events_.size() > kKept ? kKept : static_cast<uint32_t>(events_.size());
    }

    [[nodiscard]] uint32_t EventBack(uint32_t n) const {
        return n < Known() ? events_[events_.size() - 1 - n] : 0;
    }

    void Count() {
        uint32_t clock = g_now;
        counter_.IncreaseCount();
        events_.push_back(Read(&clock));
        DXR_FUZZ_SAME(clock == g_now);
    }

    void Burst() {
        if (bursts_ == 2) {
            return;
        }
        ++bursts_;
        const uint32_t count = input_.Half() % (kKept + 40);
        for (uint32_t i = 0; i < count; ++i) {
            Count();
        }
    }

    void LookBack(uint32_t n) const {
        uint32_t expected = EventBack(n);
        if (n == UINT32_MAX) {
            // The sum wraps: what stands where the next event will go.
            expected = events_.size() >= kKept ? events_[events_.size() - kKept] : 0;
        }
        DXR_FUZZ_SAME(counter_.BacktraceTimestamp(n) == expected);
    }

    [[nodiscard]] bool Holds(Pair rule, uint32_t now) const {
        const auto [interval, threshold] = rule;
        if (interval == 0 || events_.empty()) {
            return false;
        }
        if (threshold == 0) {
            return now - events_.back() > interval;
        }
        return threshold <= Known() && now - EventBack(threshold - 1) <= interval;
    }

    Pair Rule() {
        const uint32_t interval = input_.Number();
        return {interval, input_.Rarely() ? input_.Number() : input_.Below(6)};
    }

    void Accumulated() {
        const Pair rule = Rule();
        const DxrFaultAccumulatedSpec spec(rule.first, rule.second);
        Judge(spec, [&](uint32_t *clock) { return Holds(rule, Read(clock)); });
        if (input_.Rarely()) {
            const auto made = DxrFaultSpecFactory().CreateSpec(rule.first, rule.second);
            Judge(*made, [&](uint32_t *clock) { return Holds(rule, Read(clock)); });
        }
    }

    void Multi() {
        std::vector<Pair> rules(input_.Below(5));
        for (Pair &rule : rules) {
            rule = Rule();
        }
        std::vector<Pair> given = rules;
        const auto spec = DxrFaultSpecFactory().CreateSpec(given);
        DXR_FUZZ_SAME(given == rules);
        given.assign(given.size(), {1, 1});  // the rule has a copy
        Judge(
            *spec,
            [&](uint32_t *clock) {
                bool any = false;
                for (const Pair &rule : rules) {
                    const uint32_t now = Read(clock);
                    any = Holds(rule, now) || any;
                }
                return any;
            },
            true);
    }

    void Timeout() {
        const uint32_t interval = input_.Number();
        const DxrFaultTimeoutSpec spec(interval);
        Judge(spec, [&](uint32_t *clock) {
            const uint32_t now = Read(clock);
            return interval != 0 && !events_.empty() && now > interval;
        });
    }

    // A single rule reads the clock only where a time is judged, a rule of pairs once for each.
    template <typename Expected>
    void Judge(const DxrFaultSpec &spec, Expected expected, bool readsAlways = false) {
        uint32_t clock = g_now;
        const bool wanted = expected(&clock);
        DXR_FUZZ_SAME(spec.IsSatisfied(&counter_) == wanted);
        DXR_FUZZ_SAME(!readsAlways || g_now == clock);
        g_now = clock;
    }

    void Seldom() {
        switch (input_.Below(4)) {
            case 0:
                counter_.ResetCount();
                events_.clear();
                break;
            case 1:
                SetHook(!hook_);
                break;
            case 2: {
                // Counters and rules are values.
                const DxrCounter copy = counter_;
                counter_ = copy;
                break;
            }
            default:
                g_now = input_.Number();
                break;
        }
    }

    Input &input_;
    bool hook_ = true;
    int bursts_ = 0;
    static inline DxrCounter counter_ = {};
    static inline std::vector<uint32_t> events_;
};

}  // namespace

void Fault(Input &input) {
    g_dxrHooks = DxrHooks{};
    Run run(input);
    for (int i = 0; i < 48 && !input.Empty(); ++i) {
        run.Operation();
    }
}

}  // namespace dxrfuzz
