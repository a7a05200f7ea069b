/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the System group that only hand a call to its slot. Included by dxr/system.h,
 * which says what they are and holds the others. */
#ifndef DXR_SYSTEM_SLOTS_H
#define DXR_SYSTEM_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Restores the patches. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_RestorePatch(void);

/* Gets an environment value by its number. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_GetEnvValueById(uint32_t id, void *value);

/* Gets the LR identifier. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_GetLrId(void);

/* Starts a timer. Slot 3; 0 without a hook. */
DXR_API uint32_t DXR_StartTimer(void *timer);

/* Stops a timer. Slot 4; 0 without a hook. */
DXR_API uint32_t DXR_StopTimer(void *timer);

/* Opens a file; the mode is written as for fopen. Slot 5; null without a hook. */
DXR_API void *DXR_FOpen(const char *path, const char *mode);

/* Closes a file. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_FClose(void *file);

/* Reads `count` items of `size` bytes from a file. The result is the number of bytes read, which
 * the library's own loading relies on. Slot 7; 0 without a hook. */
DXR_API uint32_t DXR_FRead(void *buffer, uint32_t size, uint32_t count, void *file);

/* Gets the length of a file in bytes. Slot 8; 0 without a hook. */
DXR_API uint32_t DXR_FileLength(const char *path);

/* Gets the name of the folder for binary files; the text belongs to the host. Slot 9; "." without a
 * hook. */
DXR_API const char *DXR_GetBinFolderName(void);

/* Writes the work path into a buffer of so many bytes. Slot 10; 0 without a hook. */
DXR_API uint32_t DXR_GetSysWorkPath(char *buffer, uint32_t size);

/* Gets the processor's load. Slot 11; 0 without a hook. */
DXR_API uint32_t DXR_GetCpuUseRate(void);

/* Compresses a buffer. Slot 12; 0 without a hook. */
DXR_API uint32_t DXR_ZipBuffer(uint32_t arg1, void *arg2, void *arg3, void *arg4);

/* Begins to monitor a heart-beat. Slot 13; 0 without a hook. */
DXR_API uint32_t DXR_SetHeartMon(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4);

/* Ends the monitoring of a heart-beat. Slot 14; 0 without a hook. */
DXR_API uint32_t DXR_StopHeartToMon(void *arg1);

/* Moves the position in a file. Slot 15; 0 without a hook. */
DXR_API uint32_t DXR_FSeek(void *file, uint32_t offset, uint32_t origin);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_SLOTS_H */
