#include <cstdint>
#include <deque>
#include <memory>

#include "dxr_api.h"
#include "figures.h"

namespace bench {
namespace {

constexpr std::uint32_t kInterval = 10;
constexpr std::uint32_t kThreshold = 100;
constexpr std::uint32_t kEventsASecond = 64;

std::uint32_t g_events = 0;

// One and the same for both contenders, and as short as a clock can be.
std::uint32_t StartupSec() {
    return g_events / kEventsASecond;
}

// What a module would write for itself: the times within the window, the older ones dropped.
class SlidingWindow {
  public:
    [[gnu::noinline]] void Increase() { times_.push_back(clock_()); }
    [[gnu::noinline]] bool IsSatisfied() {
        const std::uint32_t now = clock_();
        while (!times_.empty() && now - times_.front() > kInterval) {
            times_.pop_front();
        }
        return times_.size() >= kThreshold;
    }

  private:
    std::deque<std::uint32_t> times_;
    std::uint32_t (*volatile clock_)() = StartupSec;
};

}  // namespace

Figure FaultRule() {
    g_dxrHooks.time.getStartupTimeSec = StartupSec;
    const auto counter = std::make_shared<DxrCounter>();
    const std::shared_ptr<DxrFaultSpec> spec =
        DxrFaultSpecFactory().CreateSpec(kInterval, kThreshold);
    const auto window = std::make_shared<SlidingWindow>();
    for (std::uint32_t n = 1; n <= 2 * kThreshold; ++n) {
        ++g_events;
        counter->IncreaseCount();
        window->Increase();
        Require(spec->IsSatisfied(counter.get()) == (n >= kThreshold) &&
                    window->IsSatisfied() == (n >= kThreshold),
                "burst rule");
    }
    return {"IncreaseCount and IsSatisfied of a fault rule", "sliding window in a deque", 0,
            [counter, spec](std::uint64_t count) {
                for (std::uint64_t i = 0; i < count; ++i) {
                    ++g_events;
                    counter->IncreaseCount();
                    Keep(spec->IsSatisfied(counter.get()));
                }
            },
            [window](std::uint64_t count) {
                for (std::uint64_t i = 0; i < count; ++i) {
                    ++g_events;
                    window->Increase();
                    Keep(window->IsSatisfied());
                }
            }};
}

}  // namespace bench
