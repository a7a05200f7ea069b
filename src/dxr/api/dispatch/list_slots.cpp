// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/list_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void *DXR_CreateSll() {
    return Call(DXR_GetListHooks()->createSll, nullptr);
}

void DXR_AddSll(void *list, void *data, uint32_t arg3) {
    Call(DXR_GetListHooks()->addSll, list, data, arg3);
}

void DXR_RemoveSll(void *list, void *arg2) {
    Call(DXR_GetListHooks()->removeSll, list, arg2);
}

void DXR_DestroySll(void *list) {
    Call(DXR_GetListHooks()->destroySll, list);
}

uint32_t DXR_SslGetCount(void *list) {
    return Call(DXR_GetListHooks()->sslGetCount, 0, list);
}

void *DXR_SslGetNextNode(void *list, void *node) {
    return Call(DXR_GetListHooks()->sslGetNextNode, nullptr, list, node);
}

void *DXR_SslGetNodeData(void *node) {
    return Call(DXR_GetListHooks()->sslGetNodeData, nullptr, node);
}

uint32_t DXR_SslProcSingleNode(void *list, void *arg2, uint32_t arg3) {
    return Call(DXR_GetListHooks()->sslProcSingleNode, 1, list, arg2, arg3);
}
