// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/system_time_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

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
