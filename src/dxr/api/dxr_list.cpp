#include "dxr/list.h"

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
