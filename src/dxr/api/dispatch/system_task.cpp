#include "dxr/system_task.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

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
