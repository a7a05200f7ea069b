/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Task group that only hand a call to its slot. Included by dxr/system_task.h,
 * which says what they are and holds the others. */
#ifndef DXR_SYSTEM_TASK_SLOTS_H
#define DXR_SYSTEM_TASK_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Writes events. Slot 1; 0 without a hook. In the development host: task, events. */
DXR_API uint32_t DXR_WriteEvent(uint32_t arg1, uint32_t arg2);

/* Delays the calling task. Slot 3; 0 without a hook. In the development host: ms. */
DXR_API uint32_t DXR_DelayTask(uint32_t arg1);

/* Creates a mutex and stores its handle; the library gives a null option. Slot 4; 0 without a
 * hook. */
DXR_API uint32_t DXR_InitMutex(void **mutex, void *option);

/* Destroys a mutex. Slot 5; 0 without a hook. */
DXR_API uint32_t DXR_DestroyMutex(void *mutex);

/* Locks a mutex. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_LockMutex(void *mutex);

/* Unlocks a mutex. Slot 7; 0 without a hook. */
DXR_API uint32_t DXR_UnlockMutex(void *mutex);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TASK_SLOTS_H */
