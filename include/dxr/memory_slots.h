/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Memory group that only hand a call to its slot. Included by dxr/memory.h,
 * which says what they are and holds the others. */
#ifndef DXR_MEMORY_SLOTS_H
#define DXR_MEMORY_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Releases a block; a null block is handed on as well. Slot 0; does nothing without a hook. */
DXR_API void DXR_Free(void *block, const char *file, uint32_t line);

DXR_EXTERN_C_END

#endif /* DXR_MEMORY_SLOTS_H */
