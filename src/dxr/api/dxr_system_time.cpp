#include "dxr/system_time.h"

#include <ctime>

#include "internal/checked.h"

namespace {

constexpr uint32_t kUsPerSec = 1'000'000;
constexpr int64_t kNsPerUs = 1000;
constexpr uint32_t kUsPerMs = 1000;

}  // namespace

void DXR_SleepUs(uint32_t us) {
    timespec left = {};
    left.tv_sec = us / kUsPerSec;
    left.tv_nsec = static_cast<decltype(left.tv_nsec)>(dxr::CheckedMul(us % kUsPerSec, kNsPerUs));
    while (nanosleep(&left, &left) == -1) {
        // Any failure repeats the call, not only an interruption; `left` then holds what is left to
        // sleep.
    }
}

void DXR_SleepMs(uint32_t ms) {
    DXR_SleepUs(ms * kUsPerMs);  // intended: wraps at 32 bits
}

uint64_t DXR_GetCurrMacroSec() {
    timespec now = {};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
        return 0;
    }
    const int64_t us = int64_t{now.tv_sec} * kUsPerSec + now.tv_nsec / kNsPerUs;
    return static_cast<uint64_t>(us);
}

uint64_t DXR_GetCurrNanoSec() {
    return 0;  // intended: there is no clock behind it
}
