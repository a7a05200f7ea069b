/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Fault checks of fault management.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Ffm group. */
#ifndef DXR_FAULT_MANAGEMENT_H
#define DXR_FAULT_MANAGEMENT_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Starts the fault checks. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_FfmStartFaultCheck(void);

/* Stops the fault checks. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_FfmStopFaultCheck(void);

DXR_EXTERN_C_END

#endif /* DXR_FAULT_MANAGEMENT_H */
