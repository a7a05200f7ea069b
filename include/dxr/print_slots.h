/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Print group that only hand a call to its slot. Included by dxr/print.h,
 * which says what they are and holds the others. */
#ifndef DXR_PRINT_SLOTS_H
#define DXR_PRINT_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Reports an assertion. Slot 0; 0 without a hook. In the development host: value, line. */
DXR_API uint32_t DXR_Assert(void *value, uint32_t arg2);

/* Turns log output on or off. Slot 1; 0 without a hook. In the development host: kind, on. */
DXR_API uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2);

/* Writes to the event log. Slot 3; 0 without a hook. In the development host: event (in, a
 * record). */
DXR_API uint32_t DXR_WriteEventLog(void *event);

/* Gets the debug level. Slot 5; 0 without a hook. */
DXR_API uint32_t DXR_GetDbgLevel(void);

/* Sets the debug level. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_SetDbgLevel(uint32_t level);

/* Destroys a log filter of the host. Slot 9; 0 without a hook. In the development host: handle. */
DXR_API uint32_t DXR_LOGFILTER_Destroy(void *arg1);

/* Gets a file name from the host's log filter. Slot 10; null without a hook. In the development
 * host: handle. */
DXR_API const char *DXR_LOGFILTER_GetFileName(void *arg1);

/* Hands a long line to the host's filter of lines that differ by a key. Slot 13; 0 without a hook.
 * In the development host: handle, text (in, a text within length bytes), length. */
DXR_API uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3);

/* Registers with the host's log filter. Slot 14; 0 without a hook. In the development host:
 * registration (inout, a record). */
DXR_API uint32_t DXR_LOGFILTER_Register(void *arg1);

/* Registers a framework's differing lines with the host's log filter. Slot 15; 0 without a hook. In
 * the development host: number, file (in, a text), registration (inout, a record), handle (out,
 * void *). */
DXR_API uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3,
                                                           void *arg4);

/* Shows the current information of the host's log filter. Slot 16; 0 without a hook. In the
 * development host: all, handle, buffer (out, a text within size bytes), size. */
DXR_API uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4);

/* Shows the history of the host's log filter. Slot 17; 0 without a hook. In the development host:
 * handle. */
DXR_API uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1);

/* Records a milestone of a warm reboot. Slot 18; 0 without a hook. In the development host: text
 * (in, a text). */
DXR_API uint32_t DXR_RecordWarmRebootMileStone(void *arg1);

DXR_EXTERN_C_END

#endif /* DXR_PRINT_SLOTS_H */
