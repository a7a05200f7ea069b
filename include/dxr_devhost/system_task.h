/* The host's task service: all eight slots of the Task group.
 *
 * A task is a thread that DXR_CreateTask made, or any other thread that asks for events; each has a
 * number, events of its own and a name. Results are 0 or a number of <errno.h>: EINVAL for wrong
 * arguments and handles that are none, ECANCELED when the host or the run has ended.
 *
 *   DXR_CreateTask(name, entry, argument, priority, options, flag, id)
 *       name      text, copied, may be null
 *       entry     a DxrHostTaskEntry, which gets `argument`; it returns: one that ends its thread
 *                 is reported, and to cancel it has no effect
 *       priority  0 to 255; kept for listings
 *       options   null, or a DxrHostTaskOptions
 *       flag      0: the task begins at once; 1: with the first event that is written to it
 *       id        uint32_t *, gets the task's number; may be null
 *     EINVAL for a null entry or a priority above 255, EAGAIN when no thread can be made (point
 *     "task.create").
 *   DXR_DelayTask(ms)                      waits so many milliseconds; 0 lets others run
 *   DXR_WriteEvent(task, events)           sets bits at a task, by its number; ESRCH when there is
 *                                          no such task any more
 *   DXR_ReadEvent(wanted, mode, ms, events)  waits for bits of the calling task. `events`
 *                                          (uint32_t *, must not be null) gets those that were
 *                                          taken; they are then no longer set. Mode 0 waits for
 *                                          any bit of `wanted`; mode 1, which only a call through
 *                                          the table reaches, for all of them. ETIMEDOUT, and 0 in
 *                                          `events`, when they did not come within `ms`
 *                                          milliseconds; 0 looks without waiting,
 *                                          DXR_HOST_FOREVER waits without end
 *   DXR_InitMutex(mutex, option)           makes a mutex and stores its handle; `option` is not
 *                                          looked at. ENOMEM without memory (point "mutex.create")
 *   DXR_LockMutex(mutex)                   waits for it; EDEADLK, reported, when the thread holds
 *                                          it already
 *   DXR_UnlockMutex(mutex)                 EPERM, reported, when the thread does not hold it; not
 *                                          reported after the run's end, when locks fail
 *   DXR_DestroyMutex(mutex)                EBUSY, reported, while anybody holds it. A call that
 *                                          waits for one that is destroyed gives EINVAL
 *
 * Mutexes that were locked in one order here and in the other there, also through further ones,
 * could deadlock: that is reported, with the places, also when it went well; where a thread has to
 * wait, before it does.
 * A thread or task that ends while it holds a mutex is reported; the mutex stays locked.
 *
 * With the virtual clock one task runs at a time, and each of these functions may let another one
 * run, which the seed chooses. When all tasks wait and nothing is due, the run ends: a report
 * names who waits for what, and the first task's wait gives ECANCELED; the other tasks stay where
 * they are until the host's end.
 *
 * Threads that modules make by themselves are not under that rule: a run with them does not repeat,
 * and the first that waits is reported. While all tasks wait and nothing is due, one that does not
 * wait in the host is waited for, as it may wake somebody. Time passes when all tasks wait in the
 * host, and only then: a task that waits elsewhere, say in pthread_join, for a thread that waits in
 * the host, waits for ever; DxrHostJoinTask with the thread's number is the way. Both are reported
 * after two seconds of the machine's time. The run's end ends the waits of such threads.
 *
 * A task ends with its thread: what the thread's destructors do, of thread_local objects and of
 * keys (pthread_key_create), is the task's doing; but a key's destructor that sets its value again
 * runs a second time as a thread that is not the host's. So the first task of virtual time ends
 * with the thread that made the host, be it by pthread_exit in main: the others go on. That a
 * thread has ended of which the host first heard in the last destructors is found when somebody
 * asks for it or waits for it, and at the latest when the host is ended.
 *
 * At the host's end tasks are ended where they wait, without their destructors.
 *
 * Cost: the logarithm of how many tasks, mutexes or time-outs there are; DXR_CreateTask makes a
 * thread. A mutex that is locked while another one is held for the first time in that order is
 * looked for among all that were locked after it or before the other. */
#ifndef DXR_DEVHOST_SYSTEM_TASK_H
#define DXR_DEVHOST_SYSTEM_TASK_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* What a task runs. */
typedef void (*DxrHostTaskEntry)(void *argument);

/* What DXR_CreateTask is given as options. */
typedef struct DxrHostTaskOptions {
    uint32_t size;      /* sizeof(DxrHostTaskOptions) */
    uint32_t stackSize; /* bytes; 0: the system's default */
} DxrHostTaskOptions;

/* A time-out that never comes. */
#define DXR_HOST_FOREVER 0xFFFFFFFFu

/* The number of the calling thread's task. */
DXR_API uint32_t DxrHostGetTaskId(DxrHost *host);

/* Waits until a task has ended; at most `ms` milliseconds of the host's clock. 0 when it has, or
 * when there is no such task; ETIMEDOUT, for 0 also while the clock stands; EDEADLK for the calling
 * task itself; ENOMEM; ECANCELED without a host, and when host or run end. */
DXR_API uint32_t DxrHostJoinTask(DxrHost *host, uint32_t task, uint32_t ms);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_SYSTEM_TASK_H */
