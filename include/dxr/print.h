/* Printing, and the host's log. The library's own messages go straight to slot 2, which has no
 * function here, and are dropped while it is empty. The DXR_LOGFILTER_ functions belong to the
 * host's log filter and share nothing with the library's own (dxr/print_log_filter.h).
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Print group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_PRINT_H
#define DXR_PRINT_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* generated: begin (by hooks/generate.py from hooks/slots.yaml) */

/* Reports an assertion. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_Assert(void *value, uint32_t arg2);

/* Turns log output on or off. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2);

/* Writes to the event log. Slot 3; 0 without a hook. */
DXR_API uint32_t DXR_WriteEventLog(void *event);

/* Gets the debug level. Slot 5; 0 without a hook. */
DXR_API uint32_t DXR_GetDbgLevel(void);

/* Sets the debug level. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_SetDbgLevel(uint32_t level);

/* Destroys a log filter of the host. Slot 9; 0 without a hook. */
DXR_API uint32_t DXR_LOGFILTER_Destroy(void *arg1);

/* Gets a file name from the host's log filter. Slot 10; null without a hook. */
DXR_API const char *DXR_LOGFILTER_GetFileName(void *arg1);

/* Hands a long line to the host's filter of lines that differ by a key. Slot 13; 0 without a
 * hook. */
DXR_API uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3);

/* Registers with the host's log filter. Slot 14; 0 without a hook. */
DXR_API uint32_t DXR_LOGFILTER_Register(void *arg1);

/* Registers a framework's differing lines with the host's log filter. Slot 15; 0 without a hook. */
DXR_API uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3,
                                                           void *arg4);

/* Shows the current information of the host's log filter. Slot 16; 0 without a hook. */
DXR_API uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4);

/* Shows the history of the host's log filter. Slot 17; 0 without a hook. */
DXR_API uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1);

/* Records a milestone of a warm reboot. Slot 18; 0 without a hook. */
DXR_API uint32_t DXR_RecordWarmRebootMileStone(void *arg1);

/* generated: end */

/* Writes a finished line to the host's log (slot 4). 0 without a hook, and for a null text, which
 * the hook is not called with. */
DXR_API uint32_t DXR_DiagLogFilter(const char *text);

/* Formats a line, cut at 1023 characters, and hands it to the host's filter of same lines (slot
 * 11). Always returns 0. Nothing is formatted without a hook; the hook is not called when
 * formatting fails or the format is null. */
DXR_API uint32_t DXR_LOGFILTER_FilterSameLog(void *handle, const char *format, ...)
    DXR_PRINTF(2, 3);

/* The same for the host's filter of lines that differ by a key (slot 12). */
DXR_API uint32_t DXR_LOGFILTER_FilterDiffKeyLog(void *handle, const char *format, ...)
    DXR_PRINTF(2, 3);

/* Prints a text of any length at level 6 in pieces of at most 480 characters. "$$$$" at the end of
 * a piece says that it goes on, at the beginning that it continues. Always returns 0; prints
 * nothing for a null or an empty text. The slot is read before each piece. */
DXR_API uint32_t DXR_PrintLargeBuffer(const char *text);

DXR_EXTERN_C_END

#endif /* DXR_PRINT_H */
