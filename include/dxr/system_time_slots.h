/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Time group that only hand a call to its slot. Included by dxr/system_time.h,
 * which says what they are and holds the others. */
#ifndef DXR_SYSTEM_TIME_SLOTS_H
#define DXR_SYSTEM_TIME_SLOTS_H

#include "dxr/base.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* Gets the system time. Year 0 says that it is unknown; the recorder lists no record with it. Slot
 * 0; does nothing without a hook. */
DXR_API void DXR_GetSysTime(DxrSysTime *time);

/* Turns a system time into text. Slot 1; 0 without a hook. In the development host: time (in,
 * DxrSysTime), size, text (out, a text within size bytes). */
DXR_API uint32_t DXR_SysTime2Str(void *arg1, uint32_t arg2, void *arg3);

/* Turns seconds into a system time. Slot 2; does nothing without a hook. In the development host:
 * time (out, DxrSysTime). */
DXR_API void DXR_SysTimeSec2Time(uint32_t sec, void *time);

/* Turns ticks into milliseconds. Slot 3; does nothing without a hook. In the development host:
 * count (inout, uint64_t). */
DXR_API void DXR_Tick2Ms(void *arg1);

/* Gets the current time in milliseconds. Slot 4; 0 without a hook. */
DXR_API uint64_t DXR_GetCurrMs(void);

/* Gets the current time in seconds. The log filter ages by it what it has made at the seconds of
 * DXR_GetCurrTime, so both must come from one clock (HOST-15). Slot 5; 0 without a hook. */
DXR_API uint32_t DXR_GetCurrSec(void);

/* Gets the current tick. Slot 6; does nothing without a hook. In the development host: tick (out,
 * uint64_t). */
DXR_API void DXR_GetCurrentTick(void *tick);

/* Gets the processor's tick. Slot 7; does nothing without a hook. In the development host: high
 * (out, uint32_t), low (out, uint32_t). */
DXR_API void DXR_GetCpuTick(void *arg1, void *arg2);

/* Gets the current time as text, into so many bytes, and in seconds. The log filter gives 39 bytes
 * for the text, the terminator included, which any text will do for; it is shown in listings alone.
 * Slot 8; does nothing without a hook. */
DXR_API void DXR_GetCurrTime(char *text, uint32_t size, uint32_t *sec);

/* Calculates the seconds between system times. Slot 9; 0 without a hook. In the development host:
 * from (in, DxrSysTime), to (in, DxrSysTime), sec (out, int64_t). */
DXR_API uint32_t DXR_CalSystimeRelSec(void *arg1, void *arg2, void *arg3);

/* Gets the time stamp of the start-up. Slot 10; does nothing without a hook. In the development
 * host: stamp (out, DxrSysTime). */
DXR_API void DXR_GetStartupTimeStamp(void *stamp);

/* Adds the start-up time. Slot 11; does nothing without a hook. In the development host: time
 * (inout, DxrSysTime). */
DXR_API void DXR_AddStartupTime(void *time);

/* Gets Greenwich Mean Time. Slot 12; 0 without a hook. In the development host: time (out,
 * DxrSysTime). */
DXR_API uint32_t DXR_GetGMT(void *time);

/* Gets the local time. Slot 13; 0 without a hook. In the development host: time (out, DxrSysTime),
 * zone (out, int32_t). */
DXR_API uint32_t DXR_GetLocalTime(void *arg1, void *arg2);

/* Gets the time since the start-up in seconds. Fault rules count in them; differences wrap, so that
 * a step back is an age of more than a hundred years. Slot 14; 0 without a hook. */
DXR_API uint32_t DXR_GetStartupTimeSec(void);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TIME_SLOTS_H */
