/* Front end of the log filter: what a log site calls instead of printing.
 *
 * A line is handed on to DXR_DiagLogFilter, the host's diagnostic log, unless the store
 * (print_log_filter_store.h) has seen it: by its text (DXR_SameLogFilter) or by the numbers of its
 * site (DXR_DiffLogFilter). While the store is absent or off every line is handed on.
 *
 * Texts and keys of one log type share its ring, and the filter is safe for threads only with the
 * host's mutex hooks: print_log_filter_store.h says what holds without them, or without time hooks.
 *
 * Threads: all but DXR_CombineShowLog, whose caller holds the mutex of the log type, may be called
 * from any thread; they use only that mutex. Lines are formatted on the caller's stack, outside the
 * lock, and cut after 1023 characters.
 *
 * Cost: a line is formatted before it is known to be a repeat, by its key not even then; the rest
 * as print_log_filter_store.h says. A table costs its rows.
 *
 * Hooks: DXR_DiagLogFilter's hook is called without a lock, the others as print_log_filter_store.h
 * says; all of them may come back to the filter as it says there.
 */
#ifndef DXR_PRINT_LOG_FILTER_H
#define DXR_PRINT_LOG_FILTER_H

#include "dxr/base.h"
#include "dxr/print_log_filter_store.h"

DXR_EXTERN_C_BEGIN

/* Logs a line unless the same text was logged under the same type within the hour. A null `cfg` and
 * a line that cannot be formatted print nothing. */
DXR_API void DXR_SameLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)
    DXR_PRINTF(2, 3);

/* Logs a line unless one with the same key was, whatever its text: the key is the digits of
 * logType, key1, key2, key3 and key4 of `cfg` joined without separators. A suppressed line is not
 * even formatted. A null `cfg` and a line that cannot be formatted print nothing. */
DXR_API void DXR_DiffLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)
    DXR_PRINTF(2, 3);

/* Asks for a key alone: 1 when these numbers were asked for within the hour, else 0. The digits are
 * joined without separators, so 1, 23 and 12, 3 are one key. Uses log type 26, whose ring it
 * shares. */
DXR_API uint8_t DXR_IsSameKey(uint32_t a, uint32_t b, uint32_t c, uint32_t d);

/* Forgets the lines of a type; storage and old contents are kept. Locks the type's mutex, also
 * without a store. Returns what DXR_UnlockMutex returned, or 0 for a type above 28. */
DXR_API uint32_t DXR_ClearLogFilterInfo(uint32_t logType);

/* Ages the ring of cfg->logType and renders it into `buffer` of `bufferSize` bytes as
 * DXR_CombineShowLog does. Returns what DXR_UnlockMutex returned; 0, with nothing written, when an
 * argument is null or the type has no record. */
DXR_API uint32_t DXR_ShowLogFilterInfo(const DxrLogFilterCfg *cfg, char *buffer,
                                       uint32_t *writtenLength, uint32_t bufferSize);

/* Renders a table of a ring: header lines, then cfg->key2 rows from ring position cfg->key1 on,
 * current (CUR) and aged-out (HIS) entries alike. Position and number are not bounded by the ring:
 * both go round, so that rows beyond its capacity repeat those before, until the buffer is full
 * (MODULE-16). A ring without storage has no rows. The text is cut to the buffer and terminated;
 * *writtenLength is its length (0 for a bufferSize of 0). The caller holds the mutex of the type.
 * A null argument writes nothing. */
DXR_API void DXR_CombineShowLog(const DxrLogFilterCfg *cfg, const DxrLogFilterInfo *record,
                                char *buffer, uint32_t *writtenLength, uint32_t bufferSize);

DXR_EXTERN_C_END

#endif /* DXR_PRINT_LOG_FILTER_H */
