/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Messages to boards and units, and the types of events.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Msg group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_MESSAGE_H
#define DXR_MESSAGE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Sends a message. Slot 0; 0 without a hook. In the development host: msg (inout, a record). */
DXR_API uint32_t DXR_SendMsg(void *msg);

/* Gets the trigger type of an event. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_GetTriggerTypeByEvent(uint32_t event);

/* Gets the error type of an event. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_GetErrTypeByEvent(uint32_t event);

/* Gets the text of a trigger. Slot 3; "invalid" without a hook. */
DXR_API const char *DXR_GetTriggerStr(uint32_t trigger);

/* Sends a message to the main processing unit. Slot 4; 0 without a hook. In the development host:
 * msg (inout, a record). */
DXR_API uint32_t DXR_SendMsgToMpu(void *msg);

/* Sends a message to device management. Slot 5; 0 without a hook. In the development host: msg
 * (inout, a record). */
DXR_API uint32_t DXR_SendMsgToDevm(void *msg);

/* Sends a message to a line processing unit. Slot 6; 0 without a hook. In the development host: msg
 * (inout, a record). */
DXR_API uint32_t DXR_SendMsgToLpu(void *msg);

/* Sends a message to a switch fabric unit. Slot 7; 0 without a hook. In the development host: msg
 * (inout, a record). */
DXR_API uint32_t DXR_SendMsgToSfu(void *msg);

/* Sends a message to a network processor. Slot 8; does nothing without a hook. In the development
 * host: kind. */
DXR_API void DXR_SendMsgToNp(uint32_t arg1);

/* Sends an EOP event. Slot 9; 1 without a hook. In the development host: event, data (in, a
 * record). */
DXR_API uint32_t DXR_SendEopEvent(uint32_t arg1, void *arg2);

/* Sets the file descriptor of the mesh. Slot 10; does nothing without a hook. */
DXR_API void DXR_SetMeshFd(uint32_t fd);

DXR_EXTERN_C_END

#endif /* DXR_MESSAGE_H */
