/* Patches, timers, files, the work path and the processor's load.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the System group. Parameters named argN are the host's
 * to define and pass through unread. */
#ifndef DXR_SYSTEM_H
#define DXR_SYSTEM_H

#include "dxr/base.h"
#include "dxr/system_slots.h"

DXR_EXTERN_C_BEGIN

/* 1 when a file or directory of that name can be found, else 0; 0 for a null name. Asks the
 * operating system, not the host; callable from any thread. */
DXR_API uint32_t DXR_IsFileExist(const char *name);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_H */
