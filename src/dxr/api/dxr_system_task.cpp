#include "dxr/system_task.h"

#include <sched.h>

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

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

// generated: end

uint32_t DXR_ReadEvent(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events) {
    if (mode != 0) {
        return 1;
    }
    return Call(DXR_GetTaskHooks()->readEvent, 0, arg1, mode, arg3, events);
}

uint32_t DXR_CreateTask(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5,
                        uint32_t flag, void *arg7) {
    if (flag > 1) {
        return 1;
    }
    return Call(DXR_GetTaskHooks()->createTask, 0, arg1, arg2, arg3, arg4, arg5, flag, arg7);
}

uint32_t DXR_SchedYield() {
    return static_cast<uint32_t>(sched_yield());
}
