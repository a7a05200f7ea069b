/* Tracing of hook calls: a layer between the library and any host. It replaces each filled slot of
 * the table by a function that notes the call and hands it on, arguments and result unchanged;
 * hooks in the manner of printf get the finished text, after the format "%s".
 *
 * Start and stop put functions into the table and take them out, one slot after the other, each by
 * a single store of a word; a call beside that goes the old way or the new one, and both do the
 * same. Strictly, the library's rule for registrations holds (dxr/hooks.h): not beside calls.
 * DxrTraceSetMode switches what is noted at any time, from any thread; hooks in the manner of
 * printf it takes out of the table and puts back in, in the same way.
 *
 * Cost: none before the start and after the stop, when the bare table is registered. In between
 * each call is counted, and one of `timedCalls` timed; with _CALLS each is timed, and what is kept
 * of it is copied into the ring of its thread. DxrTraceStart and DxrTraceStop go over all slots,
 * and the stop waits until the file has all rings; DxrTraceGetCounts adds up the threads that live,
 * slot by slot. Those that read a recording (DxrTraceExport, DxrTraceRead, DxrTraceDiff,
 * DxrReplayStart) hold all of it in memory and go over all calls; DxrTraceDiff also compares each
 * thread with those of its kind until it finds its like. DxrReplayStop waits for the threads of the
 * replay, at most `patienceMs` without any progress.
 *
 * Empty slots stay empty, so that fallbacks hold; a call that finds its slot empty is not seen. Nor
 * are the six slots that no function of the library reads. Slots that a host fills or replaces
 * after the start are not seen, and the stop leaves them as they are. */
#ifndef DXR_TRACE_H
#define DXR_TRACE_H

#include <stdio.h>

#include "dxr_api.h"

DXR_EXTERN_C_BEGIN

/* What is noted, DxrTraceOptions::mode. Calls: the counts, with the times of all calls, and each
 * call in a file: slot, time, thread, arguments, what pointers lead to, result, duration. */
#define DXR_TRACE_OFF 0u   /* nothing: a load and a jump; of hooks like printf not even that */
#define DXR_TRACE_COUNT 1u /* how often each slot was called and, of some calls, for how long */
#define DXR_TRACE_CALLS 2u

/* Whose pointers are followed, DxrTraceOptions::pointers. What they lead to is looked at before the
 * call (names, what is written) and after it (what was read); it must be readable as it must be for
 * the host. Null pointers are left alone. The development host gives a meaning to more of them than
 * the interface; with other hosts that is of use only if they give them the same one. */
#define DXR_TRACE_POINTERS_NONE 0u
#define DXR_TRACE_POINTERS_INTERFACE 1u /* those whose meaning the library's headers tell */
#define DXR_TRACE_POINTERS_DEVHOST 2u   /* and those of the development host */

/* When the ring of a thread is full, DxrTraceOptions::whenFull. */
#define DXR_TRACE_DROP 0u /* the call is not in the file, and counts as dropped: nobody waits */
#define DXR_TRACE_WAIT 1u /* the caller waits until there is room */

/* Begin with DxrTraceInitOptions, change what is to be different. */
typedef struct DxrTraceOptions {
    uint32_t size;       /* sizeof(DxrTraceOptions) */
    uint32_t mode;       /* DXR_TRACE_...; default count */
    uint32_t timedCalls; /* counting: how long a call takes is looked at for one of so many of a
                            thread and slot, the first one included; a power of two up to 65536;
                            default 16 */
    uint32_t pointers;   /* DXR_TRACE_POINTERS_...; default interface */
    uint32_t dataBytes;  /* of each piece that a pointer leads to at most so many are kept; default
                            64 */
    uint32_t ringBytes;  /* of each thread, until the file has them; a power of two from 4096 to
                            1 GiB that holds ten pieces; default 1 MiB */
    uint32_t whenFull;   /* DXR_TRACE_DROP or _WAIT; default drop */
    uint32_t callbacks;  /* 1: with a file, functions that the host is given are replaced, so that
                            what the host calls is noted as well, and the recording can be replayed;
                            those of tasks, timers, heart monitors, interrupts, resets and
                            temperatures, as the development host is given them. Default 0 */
    const char *file;    /* for the calls, made anew; null: none, which allows for no _CALLS */
} DxrTraceOptions;

/* Writes the defaults. `options` must not be null. */
DXR_API void DxrTraceInitOptions(DxrTraceOptions *options);

/* Begins: counts are zero again, and the functions of the table that is registered now are called
 * through the trace. `options` null stands for the defaults. Returns 0, EINVAL for wrong options,
 * EALREADY when it has begun, or why the file cannot be made.
 *
 * With a file there is one thread, which takes what the others put into their rings and writes it,
 * every 5 milliseconds at the latest. A crash leaves what was written until then. A program that
 * ends ends the trace; a child process made by fork notes nothing. The calling thread is the
 * recording's main thread for a replay and for comparisons: the one that runs the module. */
DXR_API uint32_t DxrTraceStart(const DxrTraceOptions *options);

/* Ends: the bare functions are in the table again. Counts stay until the next start. Threads that
 * are inside of a hook come back through the trace, so this library must stay loaded until then.
 * The file is complete then, but for the ends of those calls. Returns 0, EALREADY when it has not
 * begun, or why the file could not be written. */
DXR_API uint32_t DxrTraceStop(void);

/* Changes what is noted between start and stop. Any thread, any time. Returns 0, EINVAL for another
 * mode and for _CALLS without a file, EALREADY when the trace has not begun. */
DXR_API uint32_t DxrTraceSetMode(uint32_t mode);

/* The mode; DXR_TRACE_OFF outside of start and stop. */
DXR_API uint32_t DxrTraceGetMode(void);

/* How often a slot was called, and for how long. Nanoseconds are those of the hook as the caller
 * waits for it, other hooks that it calls included, and at most an eighth too large; 0 when nothing
 * was timed. */
typedef struct DxrTraceCount {
    uint64_t calls;
    uint64_t timed; /* those that the figures below are of */
    uint64_t p50Ns; /* half of the timed calls took no longer */
    uint64_t p90Ns;
    uint64_t p99Ns;
    uint64_t p999Ns;
    uint64_t maxNs;
} DxrTraceCount;

/* Copies the counts of the first `room` slots, in the order of the table. Returns the number of
 * slots, 226; `counts` may be null when `room` is 0. Any thread, any time; a call counts when it
 * is made. */
DXR_API uint32_t DxrTraceGetCounts(DxrTraceCount *counts, uint32_t room);

/* Calls that no memory was left to note, since the start. */
DXR_API uint64_t DxrTraceGetUnnoted(void);

/* Calls, and ends of calls, that found no room in the ring, since the start. */
DXR_API uint64_t DxrTraceGetDropped(void);

/* The function that reads a slot of the table, "DXR_ReadReg", or the slot's group and member where
 * there is none, "Print.print"; null from 226 on. */
DXR_API const char *DxrTraceSlotName(uint32_t slot);

/* How a recording is written as text, a line for each call in the order of their beginnings. */
#define DXR_TRACE_TEXT 0u       /* for people */
#define DXR_TRACE_JSON_LINES 1u /* an object on each line */
#define DXR_TRACE_CHROME 2u     /* the Chrome trace format, which the common viewers open */
#define DXR_TRACE_COUNTS 3u /* for people: a line for each slot that was called, and its times */
#define DXR_TRACE_COUNTS_JSON 4u /* the same, an object on each line; times in nanoseconds */

/* Reads a recording and writes it to `out`. Returns 0 when all of it was there; ENODATA when it has
 * no end, because the program crashed or still writes, and EBADMSG when it is damaged: then
 * everything up to the last good block was written. EINVAL for a file that is no recording, or
 * of a later format, and for a wrong `format`; ENOMEM; or why a file could not be read or written.
 * Why, or that records were dropped, is written to `error` as a line (at most `errorSize` bytes,
 * terminated; null: nowhere), an empty one when there is nothing to say. */
DXR_API uint32_t DxrTraceExport(const char *file, uint32_t format, FILE *out, char *error,
                                uint32_t errorSize);

/* ---- Reading ---------------------------------------------------------------------------- */

/* A call of a recording. */
typedef struct DxrTraceCall {
    uint32_t slot;
    uint32_t thread;     /* from 1 */
    uint32_t isCallback; /* 1: of a function that the host was given in a call of the slot */
    uint32_t hasReturned;
    uint64_t beginNs; /* since the recording began */
    uint64_t durationNs;
} DxrTraceCall;

/* Is called with each call of a recording; `call` is there until it returns. */
typedef void (*DxrTraceVisit)(const DxrTraceCall *call, void *user);

/* Calls `visit` with each call of a recording, in the order of their beginnings. Result and `error`
 * as DxrTraceExport. */
DXR_API uint32_t DxrTraceRead(const char *file, DxrTraceVisit visit, void *user, char *error,
                              uint32_t errorSize);

/* Compares two recordings, thread by thread: the main one, each task, each thread of the host's,
 * each other thread. Threads that run at the same time begin in any order, so each is compared with
 * one of its kind that did the same; the remaining ones with one whose first call is the same, then
 * in the order of their beginnings. Numbers are those of the first recording, unless told. Of
 * calls, functions and values are compared and what pointers lead to, of what was asked and of what
 * was answered; addresses, handles and times are not. When one keeps less of each piece than the
 * other, or follows fewer pointers, what both have is compared, and a line says so. Writes to
 * `out`, for each thread, that it is the same, or where the two part: the first differing call with
 * `context` calls before and after it. Returns 0 when they are the same, 1 when they differ, 2 when
 * a file cannot be read or holds no recording, when `out` cannot be written, or without memory:
 * then `error` says why, as for DxrTraceExport. */
DXR_API uint32_t DxrTraceDiff(const char *a, const char *b, uint32_t context, FILE *out,
                              char *error, uint32_t errorSize);

/* ---- Replay ----------------------------------------------------------------------------- */

/* A replay puts functions into the table that answer from a recording, in the place of a host:
 * results and what is written through pointers. The recording was made with
 * DXR_TRACE_POINTERS_DEVHOST (or _INTERFACE), callbacks and pieces long enough (dataBytes).
 *
 * Each thread of the module follows one of the recording: the one that begins the replay the one
 * that began the recording, or the process's first when that made no call; tasks that the module
 * creates those that were created then, in the same order; other threads of the module the next one
 * whose first call is the same. With `loose` a thread that finds none such follows the one in which
 * the same call comes soonest; while there is none its calls are differences. What the host called,
 * such as the functions of timers, is called again, on threads of the replay. Calls come back in
 * the order of the recording: one that came back after another one's end waits for that.
 *
 * A call differs when another function is called, another value is given or a pointer leads to
 * something else. Addresses are not compared, but for handles that the recording gave out and
 * memory, nor are times, and of DXR_Malloc and DXR_Free the place in the source.
 *
 * Memory that the recording gave (DXR_Malloc, DXR_MmapDev, DXR_GetRsvMemMmapAddr) is the replay's
 * own; it is not filled as it was then. What entries of hash tables hold is made again from what
 * the module puts in. Pointers that a host hands back are those of now; handles are those of the
 * recording. What cannot be replayed: what a host writes into memory without a call (mappings,
 * reserved memory); functions of which the recording does not tell (of hash tables and plug-ins,
 * and all that a module gives to a host otherwise than by a slot); tasks that share memory without
 * calls in between. */

/* Called on the thread that caused it when the replay cannot go on: `differs` true at the first
 * difference and when memory runs out, false where the recording of a program that crashed, or
 * still runs, ends. Does not come back as a rule; when it does, all calls answer 0 and null. */
typedef void (*DxrReplayEnded)(bool differs, void *user);

/* Begin with DxrReplayInitOptions, change what is to be different. */
typedef struct DxrReplayOptions {
    uint32_t size;        /* sizeof(DxrReplayOptions) */
    uint32_t loose;       /* 1: go on after a difference: with the next equal call of the thread; a
                             call that does not come any more is answered with 0 and null;
                             default 0 */
    uint32_t patienceMs;  /* when nothing has gone on for so long, that is a difference; default
                             30000 */
    uint32_t format;      /* of `out`: DXR_TRACE_TEXT, lines for people, which is the default; or
                             DXR_TRACE_JSON_LINES, an object on each line */
    FILE *out;            /* gets what differs; null: nowhere; default stderr */
    DxrReplayEnded ended; /* may be null */
    void *user;
} DxrReplayOptions;

/* Writes the defaults. `options` must not be null. */
DXR_API void DxrReplayInitOptions(DxrReplayOptions *options);

/* What a replay has done. */
typedef struct DxrReplayCounts {
    uint64_t calls;       /* that were answered */
    uint64_t callbacks;   /* of the module's functions */
    uint64_t threads;     /* that took part */
    uint64_t differences; /* that were told */
    uint64_t left;        /* calls of the recording that were not made */
} DxrReplayCounts;

/* Begins: the calling thread follows the one that began the recording, and the table is the
 * replay's. `options` null stands for the defaults. Returns 0; EINVAL for wrong options and a file
 * that is no recording; EALREADY when a replay has begun; EBADMSG when the recording is damaged or
 * calls were dropped from it, unless `loose`; ENODATA when it was cut before its first call and its
 * list of slots; ENOMEM; or why the file cannot be read. `error` as DxrTraceExport. Not while other
 * threads use the library. */
DXR_API uint32_t DxrReplayStart(const char *file, const DxrReplayOptions *options, char *error,
                                uint32_t errorSize);

/* Waits until all threads have done what the recording says and ends: the table is as before, and
 * the memory that the module was given is released. On the thread that began. `counts` may be null.
 * Returns 0 when nothing differed, 1 when something did, EALREADY when none has begun. */
DXR_API uint32_t DxrReplayStop(DxrReplayCounts *counts);

DXR_EXTERN_C_END

#endif /* DXR_TRACE_H */
