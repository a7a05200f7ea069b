// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/system_task_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_WriteEvent(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetTaskHooks()->writeEvent, 0, arg1, arg2);
}

uint32_t DXR_DelayTask(uint32_t arg1) {
    return Call(DXR_GetTaskHooks()->delayTask, 0, arg1);
}

uint32_t DXR_InitMutex(void **mutex, void *option) {
    return Call(DXR_GetTaskHooks()->initMutex, 0, mutex, option);
}

uint32_t DXR_DestroyMutex(void *mutex) {
    return Call(DXR_GetTaskHooks()->destroyMutex, 0, mutex);
}

uint32_t DXR_LockMutex(void *mutex) {
    return Call(DXR_GetTaskHooks()->lockMutex, 0, mutex);
}

uint32_t DXR_UnlockMutex(void *mutex) {
    return Call(DXR_GetTaskHooks()->unlockMutex, 0, mutex);
}
