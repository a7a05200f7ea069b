/* The host's system service: all sixteen slots of the System group. A status is 0 or a number of
 * <errno.h> where nothing else is said.
 *
 * Files
 *   DXR_FOpen(path, mode)      a file; the handle is the host's. Null: no such file, a directory,
 *                              point "file.open", and, where that is not allowed
 *                              (DxrHostOptions::allowOutside), a path outside the work path and
 *                              the directory of private logs, also by a link, whether there is
 *                              something where it leads or not: that is reported. When the machine
 *                              does not say where a path leads, a message of level 2 tells why
 *   DXR_FClose(file)           0, or 1
 *   DXR_FRead(buffer, size, count, file)   the bytes read, not the items; 0 at the end and on
 *                              failure, point "file.read"
 *   DXR_FSeek(file, offset, origin)   origin SEEK_SET, SEEK_CUR or SEEK_END; with the last two the
 *                              offset is a signed number. 0, or 1
 *   DXR_FileLength(path)       bytes; 0xFFFFFFFF for failures and for 4 GiB - 1 and more
 *   DXR_GetBinFolderName()     the host's text
 *   DXR_GetSysWorkPath(buffer, size)   0, or 1 when there is no room for it and its terminator
 *
 * Timers and heart-beats
 *   DXR_StartTimer(timer)      starts a DxrHostTimer and writes its handle; one that is started
 *                              begins anew. EINVAL for a null function, ENOMEM (point
 *                              "timer.start"), EAGAIN when no thread can be made for timers,
 *                              ECANCELED after the run's end
 *                              A function that ends its thread is reported; timers go on, on
 *                              another one
 *   DXR_StopTimer(timer)       when it returns, the function does not run and will not, unless it
 *                              is the caller. ENOENT when the timer is not started: never, stopped
 *                              before, or it was to fire once and did. EINVAL, reported, for a
 *                              handle that the host never gave
 *   DXR_SetHeartMon(monitor, ms, misses, number)   begins to watch a heart: when `misses` times
 *                              `ms` milliseconds pass without another call for the same
 *                              DxrHostHeartMonitor, a beat, its function is called and a report
 *                              names `number`. EINVAL when ms or misses is 0; else as
 *                              DXR_StartTimer
 *   DXR_StopHeartToMon(monitor)   ends that; ENOENT when it is not watched
 *
 * The rest
 *   DXR_GetEnvValueById(id, value)   the uint32_t that DxrHostSetEnvValue gave; ENOENT without one
 *   DXR_GetLrId()              what DxrHostSetLrId gave; default 0
 *   DXR_GetCpuUseRate()        per cent of all processors' time in use since the call before, by
 *                              /proc/stat; what DxrHostSetCpuUseRate gave, and 0 with a stepped or
 *                              virtual clock
 *   DXR_ZipBuffer(size, from, to, room)   compresses `size` bytes as zlib does; `room`, a
 *                              uint32_t *, holds the bytes at `to`, then those written. ENOSPC when
 *                              they do not suffice, then it holds those that surely would; ENOMEM
 *                              (point "system.zip")
 *   DXR_RestorePatch()         a development host has no patches: 0, and a message of level 6
 *
 * All may be called from any thread. A handle that is none and a null pointer are reported and give
 * the failure value. Functions of timers and monitors run one after the other, on the host's task
 * "timer" or, with the stepped clock, on the thread that moves it; no lock of the host is held. An
 * exception of C++ that leaves one is reported, and the timers go on.
 *
 * Cost: DXR_FOpen and DXR_FileLength ask the machine for the path, DXR_GetCpuUseRate reads
 * /proc/stat, DXR_ZipBuffer goes over all bytes; a timer takes the logarithm of how many are
 * started. */
#ifndef DXR_DEVHOST_SYSTEM_H
#define DXR_DEVHOST_SYSTEM_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* A timer. The host copies what it says when it is started and keeps no pointer to it. */
typedef struct DxrHostTimer {
    uint32_t size;    /* sizeof(DxrHostTimer) */
    uint32_t ms;      /* until it fires, and from then to the next time */
    uint32_t repeats; /* 0: it fires once; else again and again */
    uint32_t reserved;
    void (*function)(void *argument);
    void *argument;
    void *handle; /* the host's; null before the first start */
} DxrHostTimer;

/* Who is to be told that a heart has stopped. It is known by its address while it is watched. */
typedef struct DxrHostHeartMonitor {
    uint32_t size; /* sizeof(DxrHostHeartMonitor) */
    uint32_t reserved;
    void (*function)(void *argument); /* may be null: then there is a report alone */
    void *argument;
} DxrHostHeartMonitor;

/* The work path given to the library, without a trailing slash. */
DXR_API void DxrHostSetWorkPath(DxrHost *host, const char *path);

/* The binary-data folder below the work path. Not while another thread uses a name obtained from
 * DXR_GetBinFolderName. */
DXR_API void DxrHostSetBinFolderName(DxrHost *host, const char *name);

/* What DXR_GetEnvValueById, DXR_GetLrId and DXR_GetCpuUseRate give. The load is that of the machine
 * again after DXR_HOST_MEASURED_LOAD. */
DXR_API void DxrHostSetEnvValue(DxrHost *host, uint32_t id, uint32_t value);
DXR_API void DxrHostSetLrId(DxrHost *host, uint32_t lrId);
DXR_API void DxrHostSetCpuUseRate(DxrHost *host, uint32_t perCent);
#define DXR_HOST_MEASURED_LOAD 0xFFFFFFFFu

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_SYSTEM_H */
