// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/hash.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_HashCount(void *table) {
    return Call(DXR_GetHashHooks()->hashCount, 0, table);
}

void *DXR_HashCreate(void *arg1) {
    return Call(DXR_GetHashHooks()->hashCreate, nullptr, arg1);
}

void *DXR_HashFindKey(void *table, void *key) {
    return Call(DXR_GetHashHooks()->hashFindKey, nullptr, table, key);
}

uint32_t DXR_HashFree(void *table) {
    return Call(DXR_GetHashHooks()->hashFree, 0, table);
}

uint32_t DXR_HashGetBucketNum(void *table) {
    return Call(DXR_GetHashHooks()->hashGetBucketNum, 0, table);
}

void *DXR_HashGetFirst(void *table) {
    return Call(DXR_GetHashHooks()->hashGetFirst, nullptr, table);
}

void *DXR_HashGetNext(void *table, void *entry) {
    return Call(DXR_GetHashHooks()->hashGetNext, nullptr, table, entry);
}

uint32_t DXR_HashGetMaxItem(void *table) {
    return Call(DXR_GetHashHooks()->hashGetMaxItem, 0, table);
}

uint32_t DXR_HashInsert(void *table, void *arg2, void *arg3, uint32_t arg4, uint32_t arg5) {
    return Call(DXR_GetHashHooks()->hashInsert, 0, table, arg2, arg3, arg4, arg5);
}

uint32_t DXR_HashRemove(void *table, void *arg2) {
    return Call(DXR_GetHashHooks()->hashRemove, 0, table, arg2);
}

void *DXR_HashGetFromEntry(void *entry, uint32_t arg2, uint32_t arg3) {
    return Call(DXR_GetHashHooks()->hashGetFromEntry, nullptr, entry, arg2, arg3);
}
