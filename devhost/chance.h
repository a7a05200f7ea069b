// What fails and what comes next, drawn from the host's seed.
#ifndef DXR_DEVHOST_CHANCE_H
#define DXR_DEVHOST_CHANCE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "fault_points.h"

namespace devhost {

// A stream of numbers; the same seed and name give the same stream.
class Stream {
  public:
    Stream(uint64_t seed, std::string_view name);

    uint64_t Next();
    // A number below `bound`, which is not 0.
    uint64_t Below(uint64_t bound);

  private:
    uint64_t state_;
};

// A step that can be made to fail.
class FaultPoint {
  public:
    FaultPoint(uint64_t seed, std::string_view name) : stream_(seed, name) {}

    // Tells whether this step is to fail.
    bool Fails() { return IsSet() && Decide(); }
    // Tells whether any step is; not a step itself.
    [[nodiscard]] bool IsSet() const { return isSet_.load(std::memory_order_relaxed); }
    // Calls that whenever what is to fail was set anew. Before the host is registered.
    void WhenSet(std::function<void()> tell) { tell_ = std::move(tell); }

    void FailNth(uint64_t n, bool onwards);
    void FailShare(uint32_t millionths);
    uint64_t Steps();
    uint64_t Failures();

  private:
    void Set(uint64_t nth, bool onwards, uint32_t millionths);
    bool Decide();

    std::function<void()> tell_;
    std::atomic<bool> isSet_{false};
    std::mutex mutex_;
    Stream stream_;
    uint64_t nth_ = 0;
    bool onwards_ = false;
    uint32_t millionths_ = 0;
    uint64_t steps_ = 0;
    uint64_t failures_ = 0;
};

class Chance {
  public:
    explicit Chance(uint64_t seed) : seed_(seed) {}

    // The point of that name, from its first mention on; stays where it is. Services ask once.
    FaultPoint &Point(const PointName &name) { return PointNamed(name.Get()); }
    // The same for a name that a user has given.
    FaultPoint &PointNamed(std::string_view name);
    [[nodiscard]] Stream StreamOf(std::string_view name) const { return {seed_, name}; }

  private:
    const uint64_t seed_;
    std::mutex mutex_;
    std::map<std::string, std::unique_ptr<FaultPoint>, std::less<>> points_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_CHANCE_H
