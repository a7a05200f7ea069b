/* The host's print service. Slots of the Print group:
 *
 *   2  print                 a message; texts are cut at 4095 characters
 *   4  DXR_DiagLogFilter     a diagnostic line that the log filter let through
 *   5  DXR_GetDbgLevel       the level up to which messages are written
 *   6  DXR_SetDbgLevel       sets it; 0
 *   8  DXR_WritePrivateLog   appends at most DXR_PRIVATE_LOG_WRITE_MAX characters to a file in the
 *                            directory of private logs, which is never made; 0, or 1 with a
 *                            message of level 1 (point "file.write")
 *
 * All may be called from any thread. Sinks are called on the thread that caused the line, and while
 * no lock of the host is held; they may call the host. */
#ifndef DXR_DEVHOST_PRINT_H
#define DXR_DEVHOST_PRINT_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Messages --------------------------------------------------------------------------- */

/* The library's levels: 1 failure, 2 a file that cannot be opened, 6 information and success. */
typedef void (*DxrHostPrintSink)(uint32_t level, const char *text, void *user);

/* Sends messages of level `maxLevel` and below to `out`, one line each: `prefix`, the level in
 * brackets, the text. Default: level 2 and below to stderr with the prefix "dxr ". `out` null drops
 * all messages; it must stay open until it is replaced. A null prefix is an empty one. */
DXR_API void DxrHostSetPrintFile(DxrHost *host, FILE *out, uint32_t maxLevel, const char *prefix);

/* As above, to a function. `user` is handed on to it. `sink` null drops all messages. */
DXR_API void DxrHostSetPrintSink(DxrHost *host, DxrHostPrintSink sink, void *user,
                                 uint32_t maxLevel);

/* ---- Diagnostic lines ------------------------------------------------------------------- */

typedef void (*DxrHostLineSink)(const char *line, void *user);

/* Where the lines go that the log filter lets through. Default: stdout, one line each. Null drops
 * them. */
DXR_API void DxrHostSetDiagFile(DxrHost *host, FILE *out);
DXR_API void DxrHostSetDiagSink(DxrHost *host, DxrHostLineSink sink, void *user);

/* ---- Private logs ----------------------------------------------------------------------- */

/* The directory that private logs are written to; the default is the one that the library reads
 * from, DXR_PRIVATE_LOG_DIRECTORY. Names are appended to it as they are, so it ends in a slash. */
DXR_API void DxrHostSetLogDirectory(DxrHost *host, const char *directory);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_PRINT_H */
