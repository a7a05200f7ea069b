/* The host's time service: all fifteen slots of the Time group.
 *
 * The clock counts seconds since 1970-01-01 00:00:00 UTC. With the stepped and the virtual clock it
 * begins at DxrHostOptions::startSec. Start-up was when the host was made.
 *
 *   DXR_GetSysTime(time)               the calendar time, UTC, as a DxrSysTime
 *   DXR_SysTime2Str(time, size, text)  the text "YYYY-MM-DD HH:MM:SS" of a DxrSysTime, cut to
 *                                      `size` bytes with the terminator; 0, or EINVAL for null
 *                                      pointers, size 0 and times that are none
 *   DXR_SysTimeSec2Time(sec, time)     the DxrSysTime (UTC) of a count of seconds
 *   DXR_Tick2Ms(count)                 a count of ticks, uint64_t, becomes milliseconds in place;
 *                                      a tick is DXR_HOST_TICK_MS. More of them than such a count
 *                                      can say become the most that it can
 *   DXR_GetCurrMs()                    milliseconds since 1970
 *   DXR_GetCurrSec()                   seconds since 1970
 *   DXR_GetCurrentTick(tick)           ticks since start-up, into a uint64_t
 *   DXR_GetCpuTick(high, low)          nanoseconds since start-up, into two uint32_t
 *   DXR_GetCurrTime(text, size, sec)   text as above, and the seconds since 1970; either may be
 *                                      null
 *   DXR_CalSystimeRelSec(from, to, sec)  seconds from one DxrSysTime to another, into an int64_t:
 *                                      negative when `to` is earlier; 0, or EINVAL
 *   DXR_GetStartupTimeStamp(time)      the DxrSysTime (UTC) of the start-up
 *   DXR_AddStartupTime(time)           a DxrSysTime that counts from the start-up's 1970-01-01
 *                                      becomes one of the calendar: the start-up's is added
 *   DXR_GetGMT(time)                   as DXR_GetSysTime; 0, or EINVAL for null
 *   DXR_GetLocalTime(time, zone)       the time in the host's zone (DxrHostSetZone); `zone`, an
 *                                      int32_t * or null, gets its distance from UTC in seconds;
 *                                      0, or EINVAL for a null time
 *   DXR_GetStartupTimeSec()            seconds since start-up
 *
 * Null pointers where something is to be written are reported, and nothing is written. All may be
 * called from any thread.
 *
 * Cost: the same for all but DxrHostAdvance, which takes the functions of all that becomes due, and
 * for each of these and each time-out the logarithm of how many are set. */
#ifndef DXR_DEVHOST_SYSTEM_TIME_H
#define DXR_DEVHOST_SYSTEM_TIME_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* Milliseconds of a tick. */
#define DXR_HOST_TICK_MS 10u

/* Stepped clock: puts the time of day to `sec` and the start-up `startupSec` seconds before it,
 * also back. Timers and time-outs do not notice. Returns false, and does nothing, with another
 * clock. */
DXR_API bool DxrHostSetClock(DxrHost *host, uint32_t sec, uint32_t startupSec);

/* Stepped clock: lets `ms` milliseconds pass. Timers that become due run on the calling thread, in
 * their order, each at its own moment; time-outs wake their threads and do not wait for what these
 * do. Returns false, and does nothing, with another clock, from within a timer's function, and when
 * the host's time would become longer than 146 years.
 *
 * The clock stands while a timer's function waits on that thread. So a delay in it is reported and
 * gives ECANCELED at once, and another wait with a time-out when nobody ends it in that time of the
 * machine's, at most two seconds; one without a time-out is reported after these and goes on. A
 * function that ends its thread ends the call too: the clock stays where it is, and another thread
 * can move it. To leave the function by longjmp is undefined. */
DXR_API bool DxrHostAdvance(DxrHost *host, uint64_t ms);

/* Nanoseconds that have passed on the host's clock since it was made. */
DXR_API uint64_t DxrHostGetElapsedNs(DxrHost *host);

/* The distance of local time from UTC, east positive; default 0. */
DXR_API void DxrHostSetZone(DxrHost *host, int32_t seconds);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_SYSTEM_TIME_H */
