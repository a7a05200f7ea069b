/* System time, ticks and start-up time of the host, and clocks and pauses of the operating system.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Time group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_SYSTEM_TIME_H
#define DXR_SYSTEM_TIME_H

#include "dxr/base.h"
#include "dxr/system_time_slots.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* The functions below use no hook and may be called from any thread. */

/* Sleeps for `us` microseconds. A sleep that is interrupted goes on for the rest of the time. */
DXR_API void DXR_SleepUs(uint32_t us);

/* Sleeps for `ms` milliseconds. The microseconds are a 32-bit product: above 4294967 ms it wraps.
 */
DXR_API void DXR_SleepMs(uint32_t ms);

/* Microseconds (the name notwithstanding) of the monotonic clock; 0 when it cannot be read. */
DXR_API uint64_t DXR_GetCurrMacroSec(void);

/* Always 0; keeps the place of a clock that does not exist. */
DXR_API uint64_t DXR_GetCurrNanoSec(void);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TIME_H */
