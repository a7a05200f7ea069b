/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Network processors: multicast ports, dropped queues, priority flow control.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Np group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_NETWORK_PROCESSOR_H
#define DXR_NETWORK_PROCESSOR_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Sets a multicast port map. Slot 0; 0 without a hook. In the development host: group, map (in, a
 * record). */
DXR_API uint32_t DXR_SetMcPortMap(uint32_t arg1, void *map);

/* Gets how much a queue dropped. Slot 1; 0 without a hook. In the development host: unit, port,
 * queue, mode, stat (inout, a record). */
DXR_API uint32_t DXR_GetQueueDropStat(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4,
                                      void *stat);

/* Gets the absolute logic priority of priority flow control. Slot 2; 0 without a hook. In the
 * development host: unit, port, priority, sp (out, uint32_t). */
DXR_API uint32_t DXR_GetAbsPfcLogicSp(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp);

DXR_EXTERN_C_END

#endif /* DXR_NETWORK_PROCESSOR_H */
