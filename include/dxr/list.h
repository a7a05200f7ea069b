/* The host's singly-linked lists, and an iterator that walks one by position. List and nodes are
 * opaque to the library; the prefix DXR_Ssl... of some names is the interface's own.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the List group. Parameters named argN are the host's to
 * define and pass through unread.
 *
 * Cost: a step of an iterator asks the host for the number of nodes, for the next one and for its
 * data. */
#ifndef DXR_LIST_H
#define DXR_LIST_H

#include "dxr/base.h"
#include "dxr/list_slots.h"

DXR_EXTERN_C_BEGIN

/* A walk over a list, used like a small object: it->hasNext(it). The caller owns the record;
 * nothing needs to be released. Packed: the function pointers are not aligned. Not to be used by
 * two threads at once. */
#pragma pack(push, 1)
typedef struct DxrSllIterator {
    void *list;
    void *node;     /* the node reached by the last step; null at first */
    uint32_t index; /* steps since the start or the last rewind */
    void (*addData)(struct DxrSllIterator *it, void *data, uint32_t arg3);
    uint32_t (*hasNext)(struct DxrSllIterator *it);
    void *(*getNextData)(struct DxrSllIterator *it);
    uint32_t (*getCount)(struct DxrSllIterator *it);
    void (*moveToHead)(struct DxrSllIterator *it);
} DxrSllIterator;
#pragma pack(pop)

/* An iterator before the first node of a list. Calls no hook; the list is not checked. The iterator
 * handed to the functions below must not be null. */
DXR_API DxrSllIterator DXR_InitSllIterator(void *list);

/* DXR_AddSll(it->list, data, arg3); the position stays. */
DXR_API void DXR_SllIteratorAddData(DxrSllIterator *it, void *data, uint32_t arg3);

/* 1 while fewer steps were taken than the list has nodes now, else 0. */
DXR_API uint32_t DXR_SllIteratorHasNext(DxrSllIterator *it);

/* Steps to the next node and returns its data. Returns null and changes nothing when as many steps
 * were taken as the list has nodes. If the host knows no next node, it->node becomes null, the
 * index stays and the result is null. */
DXR_API void *DXR_SllIteratorGetNextData(DxrSllIterator *it);

/* The number of nodes of the list: DXR_SslGetCount(it->list). */
DXR_API uint32_t DXR_SllIteratorGetCount(DxrSllIterator *it);

/* Counts the steps from 0 again. The node stays: the walk goes on after it. To begin at the first
 * node, make a new iterator. */
DXR_API void DXR_SllIteratorMoveToHead(DxrSllIterator *it);

DXR_EXTERN_C_END

DXR_STATIC_ASSERT(sizeof(DxrSllIterator) == DXR_LAYOUT(60, 7), "DxrSllIterator is 60 bytes");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, list) == 0, "list");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, node) == DXR_LAYOUT(8, 1), "node");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, index) == DXR_LAYOUT(16, 2), "index");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, addData) == DXR_LAYOUT(20, 2), "addData");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, hasNext) == DXR_LAYOUT(28, 3), "hasNext");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, getNextData) == DXR_LAYOUT(36, 4), "getNextData");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, getCount) == DXR_LAYOUT(44, 5), "getCount");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, moveToHead) == DXR_LAYOUT(52, 6), "moveToHead");

#endif /* DXR_LIST_H */
