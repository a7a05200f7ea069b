/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Init group that only hand a call to its slot. Included by dxr/module.h,
 * which says what they are and holds the others. */
#ifndef DXR_MODULE_SLOTS_H
#define DXR_MODULE_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Ends the module's registration; what DXR_IsUseVelder tells stays. Slot 1; does nothing without a
 * hook. */
DXR_API void DXR_UnRegister(void);

/* Gets the module's own instance. Slot 4; null without a hook. */
DXR_API void *DXR_GetThis(void);

DXR_EXTERN_C_END

#endif /* DXR_MODULE_SLOTS_H */
