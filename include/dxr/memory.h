/* The host's memory. Every block is accounted to a module identifier (mid) and to the place in the
 * sources that asked for it: `file` and `line` are only handed to the host.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Memory group.
 *
 * The default module identifier is a plain variable without a lock, meant to be set during
 * start-up, as are the slots by DXR_SetMemoryHooks: no other thread may use the library then. */
#ifndef DXR_MEMORY_H
#define DXR_MEMORY_H

#include "dxr/base.h"
#include "dxr/memory_slots.h"

DXR_EXTERN_C_BEGIN

/* Allocates a block of `size` bytes for a module (slot 1). Returns null for a size of 0, which the
 * host is not asked for, when the host has no memory, and without a hook: the C library's allocator
 * never steps in. The caller releases the block with DXR_Free. */
DXR_NODISCARD DXR_API void *DXR_Malloc(uint32_t mid, uint32_t size, const char *file,
                                       uint32_t line);

/* The library's default module identifier; 9 until it is set. */
extern DXR_API uint32_t g_dxrMemoryMid;

/* Sets g_dxrMemoryMid; any value will do. */
DXR_API void DXR_SetDefaultMid(uint32_t mid);

/* The value of g_dxrMemoryMid. */
DXR_API uint32_t DXR_GetDefaultMid(void);

/* The types of the two slots of the Memory group. */
typedef void *(*DxrAllocateHook)(uint32_t mid, uint32_t size, const char *file, uint32_t line);
typedef void (*DxrReleaseHook)(void *block, const char *file, uint32_t line);

/* Sets both slots without DXR_RegisterHooks; the later call of the two wins. Mind the order: the
 * allocator is slot 1, the release function slot 0. Null empties a slot. */
DXR_API void DXR_SetMemoryHooks(DxrAllocateHook allocate, DxrReleaseHook release);

DXR_EXTERN_C_END

#endif /* DXR_MEMORY_H */
