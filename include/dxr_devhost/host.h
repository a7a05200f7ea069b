/* The life of a development host: options, creation, registration, reports, injected failures, runs
 * over many seeds.
 *
 * Cost: what a host is asked by a number, a name or a handle takes the logarithm of how many there
 * are, and copies what it gives; the headers of the services say what takes longer. A function that
 * is given a host looks for it among those that live. DxrHostCreate reads the files that the
 * options name or that are below the work path; DxrHostDestroy goes over all that is left and waits
 * for the calls and tasks that it ends; DxrHostExplore makes and ends a host for each seed. */
#ifndef DXR_DEVHOST_HOST_H
#define DXR_DEVHOST_HOST_H

#include <stdio.h>

#include "dxr_api.h"

DXR_EXTERN_C_BEGIN

/* A host; opaque. */
typedef struct DxrHost DxrHost;

/* ---- Options ---------------------------------------------------------------------------- */

/* How the host's time passes, DxrHostOptions::clock. */
#define DXR_HOST_CLOCK_REAL 0u    /* with the machine's */
#define DXR_HOST_CLOCK_STEPPED 1u /* when DxrHostAdvance or DxrHostSetClock move it */
#define DXR_HOST_CLOCK_VIRTUAL 2u /* by jumps to what is due next, when every task waits */

/* What a host is made with. Begin with DxrHostInitOptions, change what is to be different. Texts
 * are copied. A null text stands for its default. */
typedef struct DxrHostOptions {
    uint32_t size;            /* sizeof(DxrHostOptions) */
    uint32_t clock;           /* DXR_HOST_CLOCK_...; default real */
    uint64_t seed;            /* of the order of tasks and of the injected failures; default 1 */
    uint32_t startSec;        /* stepped and virtual: seconds since 1970 at the beginning; default
                                 946684800, which is 2000-01-01 00:00:00 */
    uint32_t endSec;          /* virtual: the run ends when so many seconds have passed; 0: never */
    uint64_t memoryLimit;     /* bytes that modules may hold together; 0: no limit */
    const char *workPath;     /* default "." */
    const char *binFolder;    /* below the work path; default "bin" */
    const char *configPath;   /* where configuration files are looked for; default "conf" below the
                                 work path */
    const char *logDirectory; /* of private logs, ends in a slash; default
                                 DXR_PRIVATE_LOG_DIRECTORY */
    const char *logFile;      /* messages also go to this file; default none. That it cannot be
                                 opened, written or renamed is reported, once each: what it lacks
                                 are whole lines */
    uint32_t logFileBytes;    /* it is renamed to ".1", ".1" to ".2", ... when it would grow beyond;
                                 default 1 MiB, 0: never */
    uint32_t logFileCount;    /* how many renamed files are kept; default 4 */
    uint32_t printLevel;      /* messages up to this level are written; default 2 */
    const char *database;     /* file of the chassis database; default "chassis.db" below the work
                                 path */
    const char *board;        /* JSON file that describes the board; default none */
    uint32_t allowOutside;    /* 1: files outside the work path may be opened, private logs
                                 outside their directory written, and plug-ins outside theirs
                                 loaded; default 0 */
    uint32_t switchAtCalls;   /* virtual: 1: any slot call may let another task run, not only those
                                 that wait or wake; default 0 */
    const char *pluginPath;   /* where plug-ins are looked for; default "plugin" below the work
                                 path */
} DxrHostOptions;

/* Writes the defaults. `options` must not be null. */
DXR_API void DxrHostInitOptions(DxrHostOptions *options);

/* ---- Life ------------------------------------------------------------------------------- */

/* Makes a host; `options` null stands for the defaults. With the virtual clock the calling thread
 * becomes the host's first task, "main". Returns null when the options are wrong (size, clock) or
 * there is no memory. Any number of hosts may exist; slots reach the one that is registered. What
 * is found out while it is made, say that a file is broken, is a message to stderr or `logFile`, as
 * sinks come later (DxrHostSetPrintSink, DxrHostSetReportSink), and kept: DxrHostGetReport. */
DXR_NODISCARD DXR_API DxrHost *DxrHostCreate(const DxrHostOptions *options);

/* As DxrHostCreate, with the options of a JSON file: one object whose members have the names of
 * DxrHostOptions, all but `size`; the clock is "real", "stepped" or "virtual". On failure returns
 * null and writes a line that says why, with file, line and column where the file is to blame, to
 * `error` (at most `errorSize` bytes, terminated; null: nowhere). */
DXR_NODISCARD DXR_API DxrHost *DxrHostCreateFromFile(const char *path, char *error,
                                                     uint32_t errorSize);

/* Fills the table of the library (DXR_RegisterHooks) with the host's functions and makes `host` the
 * one that they reach; null empties the table. Returns 0, what DXR_RegisterHooks returns, or EINVAL
 * when there is no such host (any more). Not while other threads use the library. */
DXR_API uint32_t DxrHostRegister(DxrHost *host);

/* The host that is registered; null when there is none. */
DXR_API DxrHost *DxrHostGet(void);

/* Ends a host. In this order: it is no longer registered, and calls that name it no longer reach
 * it, but for those of the calling thread's sinks; tasks that wait in it, or call it, are ended
 * where they are, without their destructors; the waits of other threads end; calls in progress are
 * waited for, and for tasks that return by themselves, at most two seconds; the library's table is
 * emptied when the host was registered; what modules left behind is reported, by service and with
 * the place that made it; everything is released. Writes the leftovers and the reports to `out`, a
 * line each; null: nowhere. Returns the number of leftovers. `host` null does nothing and gives 0.
 * Not from a task or a function that the host called: that is reported, gives UINT32_MAX, and the
 * host stays. UINT32_MAX also when there is no such host, when another thread ends it, and without
 * the memory to find what is left: then it is no longer registered, and may be ended later.
 *
 * Later calls of the slots, by those who kept a table, give their failure values; see
 * DxrHostGetLateCalls. */
DXR_API uint32_t DxrHostDestroy(DxrHost *host, FILE *out);

/* A child process (fork) has no hosts but those that it makes: no thread of its parent's goes on in
 * it, so the copies of the parent's hosts are ended there, without a word and as they are; their
 * memory goes with the process, their files belong to the parent. Slots give their failure values
 * until the child has registered a host, and DxrHostDestroy UINT32_MAX for the copies. A child that
 * was made within a function that a host called must not return from it: it ends, or becomes
 * another program. */

/* Calls of slots while no host was registered, since the program started. The first of each slot
 * and caller is also said on standard error, for up to 256 such places. */
DXR_API uint64_t DxrHostGetLateCalls(void);

/* Writes a table with the functions of the host in all slots that it serves and NULL in the others;
 * a program may change slots before it registers the table itself (DXR_RegisterHooks) after
 * DxrHostRegister. `hooks` must not be null. */
DXR_API void DxrHostFillHooks(DxrHooks *hooks);

/* In what follows, and in the headers of the services, `host` null stands for the registered host.
 * Without one, with one that has ended, and without memory, nothing is done and the answer is 0,
 * false or empty, except where the function names another one. Every function may be called from
 * any thread at any time, also while another thread ends the host, except where it says otherwise.
 * An address that had a host and has a newer one now names the newer one. */

/* ---- Reports ---------------------------------------------------------------------------- */

#define DXR_HOST_REPORT_LEFTOVER 1u /* something was not given back; at the host's end */
#define DXR_HOST_REPORT_MISUSE 2u   /* a call that its contract forbids */
#define DXR_HOST_REPORT_RISK 3u     /* what may go wrong in another run, as an order of locks */
#define DXR_HOST_REPORT_RUN 4u      /* the end of a run: deadlock, time over, reboot */

/* Something the host found. One report stands for all that are alike: same kind, same slot, same
 * caller. */
typedef struct DxrHostReport {
    uint32_t kind;    /* DXR_HOST_REPORT_... */
    uint32_t count;   /* how often */
    char service[16]; /* "memory", "task", ... */
    char slot[48];    /* the function that was called, say "DXR_Free"; empty: none */
    char caller[128]; /* who called it: "function in program+0x1234" */
    char text[512];   /* what was found, of the first of them */
} DxrHostReport;

/* Called with each new report, on the thread that caused it, while no lock of the host is held. */
typedef void (*DxrHostReportSink)(const DxrHostReport *report, void *user);

/* Without a sink, reports are messages of level 1. Null: back to that. */
DXR_API void DxrHostSetReportSink(DxrHost *host, DxrHostReportSink sink, void *user);

/* How many different reports there are; at most DXR_HOST_MOST_REPORTS are kept. The next one is not
 * told but that there are more, as one of kind DXR_HOST_REPORT_RISK; at the host's end another of
 * that kind has the number of those that were not kept as its count. */
#define DXR_HOST_MOST_REPORTS 1000u
DXR_API uint32_t DxrHostGetReportCount(DxrHost *host);

/* Copies report `index`, in the order of their first occurrence. Returns false when there is none.
 */
DXR_API bool DxrHostGetReport(DxrHost *host, uint32_t index, DxrHostReport *report);

/* For what stands in a slot before the host's function, as the tracing does when the program is
 * linked with both: where the calling thread keeps who called the slot. Store that return address
 * there while the host's function runs, and put back what was there after it. While it is null the
 * host looks at its own return address, as it does in what it calls back. Valid as long as the
 * thread. */
DXR_API const void **DxrHostCallerPlace(void);

/* ---- Injected failures ------------------------------------------------------------------ */

/* A point is a step that can be made to fail: "memory.allocate", "file.open", "file.read", ...;
 * each service names its own in its header. A point draws from a stream of its own, which the seed
 * and its name begin. Setting a point replaces what was set before; n = 0 or share = 0 ends it. A
 * name that no service has is reported as misuse. */

/* Lets the n-th step from now on (1 is the next one) fail, and with `onwards` all after it. */
DXR_API void DxrHostFailNth(DxrHost *host, const char *point, uint64_t n, bool onwards);

/* Lets each step fail with probability `millionths` / 1000000. */
DXR_API void DxrHostFailShare(DxrHost *host, const char *point, uint32_t millionths);

/* How many steps the point has seen, and how many failed, since it was set. */
DXR_API uint64_t DxrHostGetSteps(DxrHost *host, const char *point);
DXR_API uint64_t DxrHostGetFailures(DxrHost *host, const char *point);

/* ---- Runs over many seeds --------------------------------------------------------------- */

/* A test: runs as a task of a fresh host that is registered. Returns 0 when all is well. */
typedef uint32_t (*DxrHostBody)(DxrHost *host, void *user);

/* What DxrHostExplore found. */
typedef struct DxrHostExploration {
    uint32_t runs;   /* that were made */
    uint32_t result; /* of the failed run's body; 0 when the host ended the run */
    uint64_t seed;   /* of the failed run */
    char text[1024]; /* why it failed: the body's result, or the host's report of the end; or that
                        a host was registered */
} DxrHostExploration;

/* Runs `body` under the virtual clock, with a host of its own, for the seeds from options->seed on,
 * at most `seeds` of them; `options` null stands for the defaults, with an end after one hour of
 * the clock. A run fails when the body returns another value than 0 and when the host ends it: all
 * tasks wait for each other, or the time is over. Prints the seed and the reason of the first
 * failed run to standard error; giving that seed with `seeds` 1 repeats it. Tasks that still run
 * when the body returns are ended. Returns 0 when all runs were well, 1 when one failed, 2 when a
 * host could not be made, memory did not suffice, there is no body, or a host is registered: each
 * run needs one of its own, so that is reported to the one that is there, which stays, and nothing
 * runs. So it is too from within a body. `found` may be null. */
DXR_API uint32_t DxrHostExplore(const DxrHostOptions *options, uint32_t seeds, DxrHostBody body,
                                void *user, DxrHostExploration *found);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_HOST_H */
