// A clock that is cheap to read: the processor's counter where it runs evenly and the system's own
// clock is made of it, else the system's monotonic clock.
#ifndef DXR_TRACE_TICKS_H
#define DXR_TRACE_TICKS_H

#include <atomic>
#include <cstdint>
#include <ctime>

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace dxr_trace {

inline uint64_t MonotonicNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

extern constinit std::atomic<bool> g_ticksAreTheProcessors;

inline uint64_t NowTicks() {
#if defined(__x86_64__)
    if (g_ticksAreTheProcessors.load(std::memory_order_relaxed)) {
        return __rdtsc();
    }
#endif
    return MonotonicNs();
}

// The same moment by both clocks.
struct Moment {
    uint64_t ticks = 0;
    uint64_t ns = 0;
};

// Looks which counter there is; every later tick comes from it.
void ChooseTicks();

[[nodiscard]] Moment Now();

// Nanoseconds of a tick, measured from a moment until now; waits until a millisecond has passed.
[[nodiscard]] double NsPerTick(const Moment &since);

}  // namespace dxr_trace

#endif  // DXR_TRACE_TICKS_H
