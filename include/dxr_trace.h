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
 * Cost: none before the start and after the stop, when the bare table is registered.
 *
 * Empty slots stay empty, so that fallbacks hold; a call that finds its slot empty is not seen. Nor
 * are the six slots that no function of the library reads. Slots that a host fills or replaces
 * after the start are not seen, and the stop leaves them as they are. */
#ifndef DXR_TRACE_H
#define DXR_TRACE_H

#include <stdio.h>

#include "dxr_api.h"

DXR_EXTERN_C_BEGIN

/* What is noted, DxrTraceOptions::mode. */
#define DXR_TRACE_OFF 0u   /* nothing: a load and a jump; of hooks like printf not even that */
#define DXR_TRACE_COUNT 1u /* how often each slot was called and, of some calls, for how long */
#define DXR_TRACE_CALLS \
    2u /* that, with the time of all, and each call in a file: slot, time, thread,
                              arguments, what pointers lead to, result, duration */

/* Whose pointers are followed, DxrTraceOptions::pointers. What they lead to is looked at before the
 * call (names, what is written) and after it (what was read); it must be readable as it must be for
 * the host. Null pointers are left alone. */
#define DXR_TRACE_POINTERS_NONE 0u
#define DXR_TRACE_POINTERS_INTERFACE 1u /* those whose meaning the library's headers tell */
#define DXR_TRACE_POINTERS_DEVHOST \
    2u /* also those that the development host gives a meaning; for
                                           other hosts only if they give them the same one */

/* When the ring of a thread is full, DxrTraceOptions::whenFull. */
#define DXR_TRACE_DROP 0u /* the call is not in the file, and counts as dropped */
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
 * ends ends the trace; a child process made by fork notes nothing. */
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

/* Reads a recording and writes it to `out`. Returns 0 when all of it was there; ENODATA when it has
 * no end, because the program crashed or still writes, and EBADMSG when it is damaged: then
 * everything up to the last good block was written. EINVAL for a file that is no recording, or
 * of a later format, and for a wrong `format`; ENOMEM; or why a file could not be read or written.
 * Why, or that records were dropped, is written to `error` as a line (at most `errorSize` bytes,
 * terminated; null: nowhere), an empty one when there is nothing to say. */
DXR_API uint32_t DxrTraceExport(const char *file, uint32_t format, FILE *out, char *error,
                                uint32_t errorSize);

DXR_EXTERN_C_END

#endif /* DXR_TRACE_H */
