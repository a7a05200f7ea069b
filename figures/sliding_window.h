// The peer of a fault rule.
#ifndef DXR_FIGURES_SLIDING_WINDOW_H
#define DXR_FIGURES_SLIDING_WINDOW_H

#include <cstdint>
#include <deque>

namespace bench {

// What a module would write for itself: the times within the window, the older ones dropped.
class SlidingWindow {
  public:
    SlidingWindow(uint32_t interval, uint32_t threshold, uint32_t (*clock)())
        : interval_(interval), threshold_(threshold), clock_(clock) {}
    [[gnu::noinline]] void Increase() { times_.push_back(clock_()); }
    [[gnu::noinline]] bool IsSatisfied() {
        const uint32_t now = clock_();
        while (!times_.empty() && now - times_.front() > interval_) {
            times_.pop_front();
        }
        return times_.size() >= threshold_;
    }

  private:
    uint32_t interval_;
    uint32_t threshold_;
    std::deque<uint32_t> times_;
    uint32_t (*volatile clock_)();
};

}  // namespace bench

#endif  // DXR_FIGURES_SLIDING_WINDOW_H
