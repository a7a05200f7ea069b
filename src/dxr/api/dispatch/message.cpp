// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/message.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_SendMsg(void *msg) {
    return Call(DXR_GetMsgHooks()->sendMsg, 0, msg);
}

uint32_t DXR_GetTriggerTypeByEvent(uint32_t event) {
    return Call(DXR_GetMsgHooks()->getTriggerTypeByEvent, 0, event);
}

uint32_t DXR_GetErrTypeByEvent(uint32_t event) {
    return Call(DXR_GetMsgHooks()->getErrTypeByEvent, 0, event);
}

const char *DXR_GetTriggerStr(uint32_t trigger) {
    return Call(DXR_GetMsgHooks()->getTriggerStr, "invalid", trigger);
}

uint32_t DXR_SendMsgToMpu(void *msg) {
    return Call(DXR_GetMsgHooks()->sendMsgToMpu, 0, msg);
}

uint32_t DXR_SendMsgToDevm(void *msg) {
    return Call(DXR_GetMsgHooks()->sendMsgToDevm, 0, msg);
}

uint32_t DXR_SendMsgToLpu(void *msg) {
    return Call(DXR_GetMsgHooks()->sendMsgToLpu, 0, msg);
}

uint32_t DXR_SendMsgToSfu(void *msg) {
    return Call(DXR_GetMsgHooks()->sendMsgToSfu, 0, msg);
}

void DXR_SendMsgToNp(uint32_t arg1) {
    Call(DXR_GetMsgHooks()->sendMsgToNp, arg1);
}

uint32_t DXR_SendEopEvent(uint32_t arg1, void *arg2) {
    return Call(DXR_GetMsgHooks()->sendEopEvent, 1, arg1, arg2);
}

void DXR_SetMeshFd(uint32_t fd) {
    Call(DXR_GetMsgHooks()->setMeshFd, fd);
}
