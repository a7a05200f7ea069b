/* Tracing of hook calls: a layer between the library and any host. It replaces each filled slot of
 * the table by a function that notes the call and hands it on, arguments and result unchanged;
 * hooks in the manner of printf get the finished text, after the format "%s".
 *
 * Start and stop put functions into the table and take them out, one slot after the other, each by
 * a single store of a word; a call beside that goes the old way or the new one, and both do the
 * same. Strictly, the library's rule for registrations holds (dxr/hooks.h): not beside calls.
 * DxrTraceSetMode switches what is noted at any time, from any thread.
 *
 * Cost: none before the start and after the stop, when the bare table is registered.
 *
 * Empty slots stay empty, so that fallbacks hold; a call that finds its slot empty is not seen. Nor
 * are the six slots that no function of the library reads. Slots that a host fills or replaces
 * after the start are not seen, and the stop leaves them as they are. */
#ifndef DXR_TRACE_H
#define DXR_TRACE_H

#include "dxr_api.h"

DXR_EXTERN_C_BEGIN

/* What is noted, DxrTraceOptions::mode. */
#define DXR_TRACE_OFF 0u   /* nothing: a load and a jump more than a bare call */
#define DXR_TRACE_COUNT 1u /* how often each slot was called and, of some calls, for how long */

/* Begin with DxrTraceInitOptions, change what is to be different. */
typedef struct DxrTraceOptions {
    uint32_t size;       /* sizeof(DxrTraceOptions) */
    uint32_t mode;       /* DXR_TRACE_...; default count */
    uint32_t timedCalls; /* counting: how long a call takes is looked at for one of so many of a
                            thread and slot, the first one included; a power of two up to 65536;
                            default 16 */
} DxrTraceOptions;

/* Writes the defaults. `options` must not be null. */
DXR_API void DxrTraceInitOptions(DxrTraceOptions *options);

/* Begins: counts are zero again, and the functions of the table that is registered now are called
 * through the trace. `options` null stands for the defaults. Returns 0, EINVAL for wrong options,
 * EALREADY when it has begun. */
DXR_API uint32_t DxrTraceStart(const DxrTraceOptions *options);

/* Ends: the bare functions are in the table again. Counts stay until the next start. Threads that
 * are inside of a hook come back through the trace, so this library must stay loaded until then.
 * Returns 0, or EALREADY when it has not begun. */
DXR_API uint32_t DxrTraceStop(void);

/* Changes what is noted between start and stop. Any thread, any time. Returns 0, EINVAL for another
 * mode, EALREADY when the trace has not begun. */
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

/* Calls that no memory was left to note. */
DXR_API uint64_t DxrTraceGetUnnoted(void);

/* The function that reads a slot of the table, "DXR_ReadReg", or the slot's group and member where
 * there is none, "Print.print"; null from 226 on. */
DXR_API const char *DxrTraceSlotName(uint32_t slot);

DXR_EXTERN_C_END

#endif /* DXR_TRACE_H */
