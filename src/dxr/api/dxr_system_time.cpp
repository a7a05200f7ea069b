#include "dxr/system_time.h"

#include <ctime>

#include "dispatch/call.h"
#include "dxr/hooks.h"
#include "internal/checked.h"

using dxr::Call;

namespace {

constexpr uint32_t kUsPerSec = 1'000'000;
constexpr int64_t kNsPerUs = 1000;
constexpr uint32_t kUsPerMs = 1000;

}  // namespace

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

void DXR_GetSysTime(DxrSysTime *time) {
    Call(DXR_GetTimeHooks()->getSysTime, time);
}

uint32_t DXR_SysTime2Str(void *arg1, uint32_t arg2, void *arg3) {
    return Call(DXR_GetTimeHooks()->sysTime2Str, 0, arg1, arg2, arg3);
}

void DXR_SysTimeSec2Time(uint32_t sec, void *time) {
    Call(DXR_GetTimeHooks()->sysTimeSec2Time, sec, time);
}

void DXR_Tick2Ms(void *arg1) {
    Call(DXR_GetTimeHooks()->tick2Ms, arg1);
}

uint64_t DXR_GetCurrMs() {
    return Call(DXR_GetTimeHooks()->getCurrMs, 0);
}

uint32_t DXR_GetCurrSec() {
    return Call(DXR_GetTimeHooks()->getCurrSec, 0);
}

void DXR_GetCurrentTick(void *tick) {
    Call(DXR_GetTimeHooks()->getCurrentTick, tick);
}

void DXR_GetCpuTick(void *arg1, void *arg2) {
    Call(DXR_GetTimeHooks()->getCpuTick, arg1, arg2);
}

void DXR_GetCurrTime(char *text, uint32_t size, uint32_t *sec) {
    Call(DXR_GetTimeHooks()->getCurrTime, text, size, sec);
}

uint32_t DXR_CalSystimeRelSec(void *arg1, void *arg2, void *arg3) {
    return Call(DXR_GetTimeHooks()->calSystimeRelSec, 0, arg1, arg2, arg3);
}

void DXR_GetStartupTimeStamp(void *stamp) {
    Call(DXR_GetTimeHooks()->getStartupTimeStamp, stamp);
}

void DXR_AddStartupTime(void *time) {
    Call(DXR_GetTimeHooks()->addStartupTime, time);
}

uint32_t DXR_GetGMT(void *time) {
    return Call(DXR_GetTimeHooks()->getGMT, 0, time);
}

uint32_t DXR_GetLocalTime(void *arg1, void *arg2) {
    return Call(DXR_GetTimeHooks()->getLocalTime, 0, arg1, arg2);
}

uint32_t DXR_GetStartupTimeSec() {
    return Call(DXR_GetTimeHooks()->getStartupTimeSec, 0);
}

// generated: end

void DXR_SleepUs(uint32_t us) {
    timespec left = {};
    left.tv_sec = us / kUsPerSec;
    left.tv_nsec = dxr::CheckedMul(us % kUsPerSec, kNsPerUs);
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
