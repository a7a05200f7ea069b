/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Alarms raised with the host.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Alarm group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_ALARM_H
#define DXR_ALARM_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Raises an alarm. Slot 0; 1 without a hook. In the development host: alarm, object, severity,
 * state, text (in, a text). */
DXR_API uint32_t DXR_Alarm(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5);

/* Raises a fault-management alarm. Slot 1; 0 without a hook. In the development host: alarm (in, a
 * record). */
DXR_API uint32_t DXR_FmAlarm(void *alarm);

DXR_EXTERN_C_END

#endif /* DXR_ALARM_H */
