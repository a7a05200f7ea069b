// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/alarm.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_Alarm(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5) {
    return Call(DXR_GetAlarmHooks()->alarm, 1, arg1, arg2, arg3, arg4, arg5);
}

uint32_t DXR_FmAlarm(void *alarm) {
    return Call(DXR_GetAlarmHooks()->fmAlarm, 0, alarm);
}
