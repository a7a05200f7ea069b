/* The host's print service: all slots of the Print group but the reserved one (7).
 *
 * Messages and lines
 *   print(level, format, ...)    a message, cut at 4095 characters; written when its level is at
 *                                most that of DXR_SetDbgLevel: to the sink or file, and to the log
 *                                file of DxrHostOptions::logFile
 *   DXR_GetDbgLevel()            that level
 *   DXR_SetDbgLevel(level)       0
 *   DXR_EnableLogOutput(kind, on)  turns one kind of output (DXR_HOST_OUTPUT_...) off, on 0, or on.
 *                                0; 1 for other kinds
 *   DXR_DiagLogFilter(text)      a diagnostic line that the log filter let through; 0
 *   DXR_WritePrivateLog(...)     appends at most DXR_PRIVATE_LOG_WRITE_MAX characters to a file in
 *                                the directory of private logs, which is never made; 0, or 1 with
 *                                a message of level 1 (point "file.write"). A null name, format or
 *                                text is reported and gives 1; so is and does a name that leads out
 *                                of the directory, unless DxrHostOptions::allowOutside is set
 *   DXR_WriteEventLog(event)     a DxrHostEvent; 0, or 1 when it is none
 *   DXR_Assert(value, line)      reports an assertion with a back trace; `value`, which is not
 *                                looked at, and `line` stand in the report; with the virtual clock,
 *                                whose runs repeat, only a value below 65536, which is no address.
 *                                0
 *   DXR_RecordWarmRebootMileStone(text)   a text (cut at 127 characters) that is kept with its
 *                                time; see DxrHostGetMilestone. 0; 1 for a null text
 *
 * The host's log filters. A line is written, as a diagnostic line, unless an equal one was within
 * the filter's time; a suppressed one is counted. The handle comes with the registration.
 *   DXR_LOGFILTER_Register(registration)    a DxrHostLogFilter, whose `handle` is written. 0; 1
 *                                when it is none, or without memory (point "filter.register")
 *   DXR_LOGFILTER_RegisterDiffLogForFramework(number, file, registration, handle)   as above for
 *                                the framework of that number, with another file name, and the
 *                                handle into a void **
 *   DXR_LOGFILTER_Destroy(handle)           0, or 1
 *   DXR_LOGFILTER_GetFileName(handle)       the host's text, until the filter's end; or null
 *   DXR_LOGFILTER_FilterSameLog(handle, text)   lines are equal when all their text is. The slot
 *                                gives 0, or 1 for a bad handle
 *   DXR_LOGFILTER_FilterDiffKeyLog(handle, text)   lines are equal when what stands before their
 *                                first colon is
 *   DXR_LOGFILTER_FilterLargeDiffKeyLog(handle, text, length)   lines are equal when their first
 *                                `length` characters are
 *   DXR_LOGFILTER_ShowCurInfo(all, handle, buffer, size)   a listing of the lines known, each with
 *                                how often it was suppressed; with `all` 0 only of those that were.
 *                                Cut to `size` bytes with the terminator. 0, or 1
 *   DXR_LOGFILTER_ShowHisInfo(handle)       a message of level 6 with the sums. 0, or 1
 *
 * A null text, buffer or pointer is reported and gives the failure value, where nothing else is
 * said. All may be called from any thread. Sinks are called on the thread that caused the line, and
 * while no lock of the host is held; they may call the host.
 *
 * Cost: a message is formatted once, and one that no level wants not at all; with
 * DxrHostOptions::logFile it is written to the file at once, which renames all that are kept when
 * the file is full. DXR_WritePrivateLog opens its file and closes it. A line of a log filter takes
 * the logarithm of how many it knows, DXR_LOGFILTER_ShowCurInfo and _Destroy all of them. */
#ifndef DXR_DEVHOST_PRINT_H
#define DXR_DEVHOST_PRINT_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Messages --------------------------------------------------------------------------- */

/* The library's levels: 1 failure, 2 a file that cannot be opened, 6 information and success. */
typedef void (*DxrHostPrintSink)(uint32_t level, const char *text, void *user);

/* Sends messages of level `maxLevel` and below to `out`, one line each: `prefix`, the level in
 * brackets, the text. Default: level 2 and below to stderr with the prefix "dxr ". `out` null drops
 * all messages; it must stay open until it is replaced, and is not written to after that. A null
 * prefix is an empty one. */
DXR_API void DxrHostSetPrintFile(DxrHost *host, FILE *out, uint32_t maxLevel, const char *prefix);

/* As above, to a function. `user` is handed on to it. `sink` null drops all messages. */
DXR_API void DxrHostSetPrintSink(DxrHost *host, DxrHostPrintSink sink, void *user,
                                 uint32_t maxLevel);

/* The first argument of DXR_EnableLogOutput. */
#define DXR_HOST_OUTPUT_MESSAGES 0u
#define DXR_HOST_OUTPUT_DIAG 1u
#define DXR_HOST_OUTPUT_PRIVATE_LOGS 2u
#define DXR_HOST_OUTPUT_EVENTS 3u

/* ---- Diagnostic lines ------------------------------------------------------------------- */

/* Gets a line, without a line feed. */
typedef void (*DxrHostLineSink)(const char *line, void *user);

/* Where the lines go that the log filter lets through. Default: stdout, one line each. Null drops
 * them. */
DXR_API void DxrHostSetDiagFile(DxrHost *host, FILE *out);
DXR_API void DxrHostSetDiagSink(DxrHost *host, DxrHostLineSink sink, void *user);

/* ---- Private logs ----------------------------------------------------------------------- */

/* The directory that private logs are written to; the default is the one that the library reads
 * from, DXR_PRIVATE_LOG_DIRECTORY. Names are appended to it as they are, so it ends in a slash. */
DXR_API void DxrHostSetLogDirectory(DxrHost *host, const char *directory);

/* ---- Events and milestones -------------------------------------------------------------- */

/* What DXR_WriteEventLog is given. */
typedef struct DxrHostEvent {
    uint32_t size; /* sizeof(DxrHostEvent) */
    uint32_t id;
    uint32_t level; /* the module's own */
    uint32_t reserved;
    const char *text; /* copied; may be null */
} DxrHostEvent;

/* Gets an event. */
typedef void (*DxrHostEventSink)(const DxrHostEvent *event, void *user);

/* Where events go. Default, and null: each is a message of level 3. */
DXR_API void DxrHostSetEventSink(DxrHost *host, DxrHostEventSink sink, void *user);

/* How many milestones there are; the latest 256 are kept. */
DXR_API uint32_t DxrHostGetMilestoneCount(DxrHost *host);

/* A milestone of a warm reboot. */
typedef struct DxrHostMilestone {
    uint64_t ns; /* of the host's clock, since it was made */
    char text[128];
} DxrHostMilestone;

/* Copies milestone `index`, the oldest kept one first. Returns false when there is none. */
DXR_API bool DxrHostGetMilestone(DxrHost *host, uint32_t index, DxrHostMilestone *milestone);

/* ---- Log filters ------------------------------------------------------------------------ */

/* What DXR_LOGFILTER_Register is given. */
typedef struct DxrHostLogFilter {
    uint32_t size;    /* sizeof(DxrHostLogFilter) */
    uint32_t entries; /* lines to be known; the oldest is forgotten for a new one; 1 to 65536 */
    uint32_t seconds; /* for how long a line suppresses its equals */
    uint32_t reserved;
    const char *file; /* that the lines are for, copied; may be null */
    void *handle;     /* the host's */
} DxrHostLogFilter;

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_PRINT_H */
