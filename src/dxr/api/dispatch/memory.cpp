#include "dxr/memory.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void *DXR_Malloc(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    if (size == 0) {
        return nullptr;
    }
    return Call(DXR_GetMemoryHooks()->allocate, nullptr, mid, size, file, line);
}

void DXR_SetMemoryHooks(DxrAllocateHook allocate, DxrReleaseHook release) {
    DxrMemoryHooks *hooks = DXR_GetMemoryHooks();
    hooks->allocate = allocate;
    hooks->release = release;
}
