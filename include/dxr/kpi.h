/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Key performance indicators.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Kpi group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_KPI_H
#define DXR_KPI_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Updates the value of a KPI attribute. Slot 0; 0 without a hook. In the development host:
 * attribute (in, a record), value. */
DXR_API uint32_t DXR_UpdateKpiAttrVal(void *arg1, uint32_t arg2);

DXR_EXTERN_C_END

#endif /* DXR_KPI_H */
