#include "ticks.h"

#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace dxr_trace {

constinit std::atomic<bool> g_ticksAreTheProcessors = false;

#if defined(__x86_64__)
namespace {

bool CounterIsInvariant() {
    constexpr unsigned kPowerLeaf = 0x80000007;
    constexpr unsigned kInvariantBit = 1U << 8;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid(kPowerLeaf, &a, &b, &c, &d) != 0 && (d & kInvariantBit) != 0;
}

// The kernel compares the counters of all processors before it makes them its clock.
bool SystemTrustsCounter() {
    char name[4] = {};
    const int fd = open("/sys/devices/system/clocksource/clocksource0/current_clocksource",
                        O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool trusts = read(fd, name, sizeof(name)) == sizeof(name) &&
                        std::memcmp(name, "tsc\n", sizeof(name)) == 0;
    (void)close(fd);
    return trusts;
}

}  // namespace
#endif

void ChooseTicks() {
#if defined(__x86_64__)
    g_ticksAreTheProcessors.store(CounterIsInvariant() && SystemTrustsCounter());
#endif
}

Moment Now() {
    // The closest of a few readings: the thread may be interrupted between the two.
    Moment best;
    uint64_t shortest = UINT64_MAX;
    for (int i = 0; i < 4; ++i) {
        const uint64_t before = NowTicks();
        const uint64_t ns = MonotonicNs();
        const uint64_t after = NowTicks();
        if (after - before < shortest) {
            shortest = after - before;
            best = {before + (after - before) / 2, ns};
        }
    }
    return best;
}

double NsPerTick(const Moment &since) {
    constexpr uint64_t kLeastNs = 1'000'000;
    Moment now = Now();
    while (now.ns - since.ns < kLeastNs) {
        now = Now();
    }
    return static_cast<double>(now.ns - since.ns) / static_cast<double>(now.ticks - since.ticks);
}

}  // namespace dxr_trace
