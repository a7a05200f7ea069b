#include "dxr/list.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

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

// generated: end

DxrSllIterator DXR_InitSllIterator(void *list) {
    return {
        .list = list,
        .node = nullptr,
        .index = 0,
        .addData = DXR_SllIteratorAddData,
        .hasNext = DXR_SllIteratorHasNext,
        .getNextData = DXR_SllIteratorGetNextData,
        .getCount = DXR_SllIteratorGetCount,
        .moveToHead = DXR_SllIteratorMoveToHead,
    };
}

void DXR_SllIteratorAddData(DxrSllIterator *it, void *data, uint32_t arg3) {
    DXR_AddSll(it->list, data, arg3);
}

uint32_t DXR_SllIteratorHasNext(DxrSllIterator *it) {
    return it->index < DXR_SslGetCount(it->list) ? 1 : 0;
}

void *DXR_SllIteratorGetNextData(DxrSllIterator *it) {
    if (DXR_SllIteratorHasNext(it) == 0) {
        return nullptr;
    }
    it->node = DXR_SslGetNextNode(it->list, it->node);
    if (it->node == nullptr) {
        return nullptr;
    }
    ++it->index;
    return DXR_SslGetNodeData(it->node);
}

uint32_t DXR_SllIteratorGetCount(DxrSllIterator *it) {
    return DXR_SslGetCount(it->list);
}

void DXR_SllIteratorMoveToHead(DxrSllIterator *it) {
    it->index = 0;  // intended: the node stays, so that the walk goes on where it was
}
