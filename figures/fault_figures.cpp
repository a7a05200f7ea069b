#include <cstdint>
#include <memory>

#include "dxr_api.h"
#include "figures.h"
#include "sliding_window.h"

namespace bench {
namespace {

constexpr uint32_t kInterval = 10;
constexpr uint32_t kThreshold = 100;
constexpr uint32_t kEventsASecond = 64;

uint32_t g_events = 0;

// One and the same for both contenders, and as short as a clock can be.
uint32_t StartupSec() {
    return g_events / kEventsASecond;
}

}  // namespace

Figure FaultRule() {
    g_dxrHooks.time.getStartupTimeSec = StartupSec;
    const auto counter = std::make_shared<DxrCounter>();
    const std::shared_ptr<DxrFaultSpec> spec =
        DxrFaultSpecFactory().CreateSpec(kInterval, kThreshold);
    const auto window = std::make_shared<SlidingWindow>(kInterval, kThreshold, StartupSec);
    for (uint32_t n = 1; n <= 2 * kThreshold; ++n) {
        ++g_events;
        counter->IncreaseCount();
        window->Increase();
        Require(spec->IsSatisfied(counter.get()) == (n >= kThreshold) &&
                    window->IsSatisfied() == (n >= kThreshold),
                "burst rule");
    }
    return {"IncreaseCount and IsSatisfied of a fault rule", "sliding window in a deque", 0,
            [counter, spec](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    ++g_events;
                    counter->IncreaseCount();
                    Keep(spec->IsSatisfied(counter.get()));
                }
            },
            [window](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    ++g_events;
                    window->Increase();
                    Keep(window->IsSatisfied());
                }
            }};
}

}  // namespace bench
