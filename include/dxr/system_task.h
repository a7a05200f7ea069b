/* Events, tasks, delays and mutexes.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Task group. Parameters named argN are the host's to
 * define and pass through unread.
 *
 * The log filter hands each mutex hook the handle that DXR_InitMutex stored: null when the host
 * stored none or the filter was never initialised, and a handle that was destroyed before when the
 * filter is destroyed or cleared once more. Hosts look at the handle before they use it (HOST-14).
 * A host without mutexes leaves slots 4 to 7 empty, and the filter to one thread (HOST-13). */
#ifndef DXR_SYSTEM_TASK_H
#define DXR_SYSTEM_TASK_H

#include "dxr/base.h"
#include "dxr/system_task_slots.h"

DXR_EXTERN_C_BEGIN

/* Reads events (slot 0). Only the waiting mode 0 is supported: returns 1 for any other and does not
 * call the hook (MODULE-17). 0 without a hook. In the development host: wanted, mode, ms, events
 * (out, uint32_t). */
DXR_API uint32_t DXR_ReadEvent(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events);

/* Creates a task (slot 2). Returns 1 for a flag greater than 1 and does not call the hook
 * (MODULE-17). 0 without a hook. In the development host: name (in, a text), entry, argument,
 * priority, options (in, a record), flag, id (out, uint32_t). */
DXR_API uint32_t DXR_CreateTask(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5,
                                uint32_t flag, void *arg7);

/* Lets other threads run; returns the result of sched_yield. Uses no hook. */
DXR_API uint32_t DXR_SchedYield(void);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TASK_H */
