/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the System group that only hand a call to its slot. Included by dxr/system.h,
 * which says what they are and holds the others. */
#ifndef DXR_SYSTEM_SLOTS_H
#define DXR_SYSTEM_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Restores the patches. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_RestorePatch(void);

/* Gets an environment value by its number. Slot 1; 0 without a hook. In the development host: value
 * (out, uint32_t). */
DXR_API uint32_t DXR_GetEnvValueById(uint32_t id, void *value);

/* Gets the LR identifier. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_GetLrId(void);

/* Starts a timer. Slot 3; 0 without a hook. In the development host: timer (inout, a record). */
DXR_API uint32_t DXR_StartTimer(void *timer);

/* Stops a timer. Slot 4; 0 without a hook. In the development host: timer (inout, a record). */
DXR_API uint32_t DXR_StopTimer(void *timer);

/* Opens a file; the mode is written as for fopen. The library opens binary files alone, with "rb",
 * once it has found them; null says that it failed. Slot 5; null without a hook. */
DXR_API void *DXR_FOpen(const char *path, const char *mode);

/* Closes a file. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_FClose(void *file);

/* Reads `count` items of `size` bytes from a file. The result is the number of bytes read, which
 * the library's own loading relies on. Slot 7; 0 without a hook. Pointers: buffer (out, size *
 * count bytes). */
DXR_API uint32_t DXR_FRead(void *buffer, uint32_t size, uint32_t count, void *file);

/* Gets the length of a file in bytes. The library asks for files that it has found, a private log
 * by its resolved path, and knows no failure but the lengths that it refuses, 0 and 10485760 and
 * more for a binary file, 2147483648 and more for a private log that is to be cut. 0xFFFFFFFF is
 * one of them for both. Slot 8; 0 without a hook. */
DXR_API uint32_t DXR_FileLength(const char *path);

/* Gets the name of the folder for binary files; the text belongs to the host. Slot 9; "." without a
 * hook. */
DXR_API const char *DXR_GetBinFolderName(void);

/* Writes the work path into a buffer of so many bytes. The library gives 256 zeroed bytes, of which
 * the last is its terminator, and takes any result but 0 for a failure. Slot 10; 0 without a
 * hook. */
DXR_API uint32_t DXR_GetSysWorkPath(char *buffer, uint32_t size);

/* Gets the processor's load, in the development host in per cent. Slot 11; 0 without a hook. */
DXR_API uint32_t DXR_GetCpuUseRate(void);

/* Compresses a buffer. Slot 12; 0 without a hook. In the development host: size, from (in, length:
 * size), to (out, as many bytes as room says), room (inout, uint32_t). */
DXR_API uint32_t DXR_ZipBuffer(uint32_t arg1, void *arg2, void *arg3, void *arg4);

/* Begins to monitor a heart-beat. Slot 13; 0 without a hook. In the development host: monitor (in,
 * a record), ms, misses, number. */
DXR_API uint32_t DXR_SetHeartMon(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4);

/* Ends the monitoring of a heart-beat. Slot 14; 0 without a hook. In the development host: monitor
 * (in, a record). */
DXR_API uint32_t DXR_StopHeartToMon(void *arg1);

/* Moves the position in a file, from an origin as for fseek. The library itself never asks for it.
 * Slot 15; 0 without a hook. */
DXR_API uint32_t DXR_FSeek(void *file, uint32_t offset, uint32_t origin);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_SLOTS_H */
