/* The development host: a small host process's side of the library, for programs, tests and
 * examples that have no platform of their own. It fills these slots of the hook table and leaves
 * every other one empty:
 *
 *     Memory   both                    blocks accounted by module identifier
 *     Print    2, 4, 5, 6, 8           messages, diagnostic lines, debug level, private logs
 *     System   5 to 10, 15             files, the length of a file, work path, binary-data folder
 *     Task     4 to 7                  mutexes; misuse gives EINVAL, EDEADLK, EPERM or EBUSY
 *     Time     0, 2, 4, 5, 8, 14       the clock
 *     List     all                     singly-linked lists
 *
 * There are no events, tasks or timers: nothing here runs by itself.
 *
 * One host serves the whole process. Every function may be called from any thread at any time, also
 * from within a sink, except where it says otherwise. Texts handed in are copied. Sinks are called
 * on the thread that caused the line, and while no lock of the host is held. The host's own
 * bookkeeping uses the C++ library's memory and does not show in the accounts. */
#ifndef DXR_DEVHOST_H
#define DXR_DEVHOST_H

#include <stdio.h>

#include "dxr_api.h"

DXR_EXTERN_C_BEGIN

/* ---- Hook table ------------------------------------------------------------------------- */

/* Writes a table with the host's functions in the slots listed above and NULL in all others; a
 * program may change slots before it registers the table. `hooks` must not be null. */
DXR_API void DxrHostFillHooks(DxrHooks *hooks);

/* Fills a table and registers it with DXR_RegisterHooks, whose result is returned (0: registered).
 * Not while another thread uses the library. */
DXR_API uint32_t DxrHostInstall(void);

/* Puts every setting below back to its default and starts the accounts anew. Live blocks stay
 * usable, but are no longer accounted: releasing them is then correct and silent. */
DXR_API void DxrHostReset(void);

/* ---- Memory ----------------------------------------------------------------------------- */

/* What one module identifier holds and has held. "Live" is allocated and not yet released, "peak"
 * the highest value that live has had, "total" everything ever allocated. Bytes are those asked
 * for. */
typedef struct DxrHostMemoryAccount {
    uint32_t mid;
    uint64_t blocksLive;
    uint64_t bytesLive;
    uint64_t blocksPeak;
    uint64_t bytesPeak;
    uint64_t blocksTotal;
    uint64_t bytesTotal;
} DxrHostMemoryAccount;

/* Copies the accounts of all module identifiers that ever allocated, ascending, at most `room` of
 * them. Returns how many there are; `accounts` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetMemoryAccounts(DxrHostMemoryAccount *accounts, uint32_t room);

/* The account of one module identifier; all zeros (but for `mid`) when it never allocated. */
DXR_API DxrHostMemoryAccount DxrHostGetMemoryAccount(uint32_t mid);

/* Writes one line for each live block to `out`, in the order of allocation: module identifier,
 * bytes, and the source file and line that asked for it. Returns the number of live blocks. `out`
 * null only counts. */
DXR_API uint32_t DxrHostReportLeaks(FILE *out);

/* Releases of an address that is no live block of the host. They have no effect beyond this count
 * and a message of level 1. Releasing NULL is allowed and not counted. */
DXR_API uint64_t DxrHostGetBadReleases(void);

/* ---- Messages of the library ------------------------------------------------------------ */

/* The library's levels: 1 failure, 2 a file that cannot be opened, 6 information and success. */
typedef void (*DxrHostPrintSink)(uint32_t level, const char *text, void *user);

/* Sends messages of level `maxLevel` and below to `out`, one line each: `prefix`, the level in
 * brackets, the text. Default: level 2 and below to stderr with the prefix "dxr ". `out` null drops
 * all messages; it must stay open until it is replaced. A null prefix is an empty one. Texts are
 * cut at 4095 characters. DXR_SetDbgLevel changes `maxLevel` too. */
DXR_API void DxrHostSetPrintFile(FILE *out, uint32_t maxLevel, const char *prefix);

/* As above, to a function. `user` is handed on to it. `sink` null drops all messages. */
DXR_API void DxrHostSetPrintSink(DxrHostPrintSink sink, void *user, uint32_t maxLevel);

/* ---- Diagnostic lines ------------------------------------------------------------------- */

typedef void (*DxrHostLineSink)(const char *line, void *user);

/* Where the lines go that the log filter lets through. Default: stdout, one line each. Null drops
 * them. */
DXR_API void DxrHostSetDiagFile(FILE *out);
DXR_API void DxrHostSetDiagSink(DxrHostLineSink sink, void *user);

/* ---- Private logs ----------------------------------------------------------------------- */

/* The directory that private logs are written to; the default is the one that the library reads
 * from, DXR_PRIVATE_LOG_DIRECTORY. Names are appended to it as they are, so it ends in a slash. The
 * host creates files there, never the directory. A write appends at most DXR_PRIVATE_LOG_WRITE_MAX
 * characters; one that fails is dropped with a message of level 1. */
DXR_API void DxrHostSetLogDirectory(const char *directory);

/* ---- Files ------------------------------------------------------------------------------ */

/* The work path given to the library, without a trailing slash. Default ".". */
DXR_API void DxrHostSetWorkPath(const char *path);

/* The binary-data folder below the work path. Default "bin". Not while another thread uses a name
 * obtained from DXR_GetBinFolderName. */
DXR_API void DxrHostSetBinFolderName(const char *name);

/* ---- The clock -------------------------------------------------------------------------- */

/* The clock counts seconds since 1970-01-01 00:00:00 UTC, and calendar times are UTC.
 * DXR_GetCurrSec and the seconds of DXR_GetCurrTime are this one count. Start-up was when the host
 * was loaded. */

/* Stops the clock at `sec`, `startupSec` seconds after start-up, until it is set again. */
DXR_API void DxrHostSetClock(uint32_t sec, uint32_t startupSec);

/* Back to the system's clock, the default. */
DXR_API void DxrHostUseSystemClock(void);

/* ---- Lists ------------------------------------------------------------------------------ */

/* The last argument of DXR_AddSll. Any other value adds at the tail. */
#define DXR_HOST_LIST_TAIL 0u
#define DXR_HOST_LIST_HEAD 1u

/* The last argument of DXR_SslProcSingleNode(list, data, action), which looks for the first node
 * with that data and returns 0 when it was found, 1 when not or when the action is unknown. */
#define DXR_HOST_LIST_FIND 0u
#define DXR_HOST_LIST_REMOVE 1u
#define DXR_HOST_LIST_MOVE_TO_HEAD 2u

/* A list keeps the pointers it is given, any number of times, and never follows them. DXR_RemoveSll
 * removes the first node with that data; a removed node must not be used again. A null list is
 * empty and keeps nothing. Unlike the rest of the host, one list may be used by one thread at a
 * time. */

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_H */
