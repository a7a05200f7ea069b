/* Printing, and the host's log. The library's own messages go straight to slot 2, which has no
 * function here, and are dropped while it is empty. The DXR_LOGFILTER_ functions belong to the
 * host's log filter and share nothing with the library's own (dxr/print_log_filter.h).
 *
 * Levels of those messages:
 *   1  what failed: initialising and growing the log filter, hashing, formatting a record or a
 *      path, the host's work path, opening a folder, a name that does not fit, a short read
 *   2  a binary file that cannot be opened
 *   6  everything else: what succeeded and what was asked for (log filter made and ended, a message
 *      dropped by the table of simulated messages, DXR_PrintLargeBuffer, DXR_PrintLinkToBitMap),
 *      but also some failures: a binary file that is missing or has no allowed length, the copy of
 *      a ring
 * docs/guide-operator.md has them all, word by word.
 *
 * Cost: a line or a text is formatted or copied once; a slot without a hook costs neither.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Print group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_PRINT_H
#define DXR_PRINT_H

#include "dxr/base.h"
#include "dxr/print_slots.h"

DXR_EXTERN_C_BEGIN

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
