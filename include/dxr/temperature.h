/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Temperature queries.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Temperature group. Parameters named argN are the
 * host's to define and pass through unread; what the development host makes of them is an
 * example. */
#ifndef DXR_TEMPERATURE_H
#define DXR_TEMPERATURE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Registers the function that is asked for a temperature. Slot 0; does nothing without a hook. In
 * the development host: sensor, function. */
DXR_API void DXR_RegisterQueryTempFunc(uint32_t arg1, void *func);

DXR_EXTERN_C_END

#endif /* DXR_TEMPERATURE_H */
