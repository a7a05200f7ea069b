#include "dxr/memory.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

constinit uint32_t g_dxrMemoryMid = 9;

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

void DXR_Free(void *block, const char *file, uint32_t line) {
    Call(DXR_GetMemoryHooks()->release, block, file, line);
}

// generated: end

void *DXR_Malloc(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    if (size == 0) {
        return nullptr;
    }
    return Call(DXR_GetMemoryHooks()->allocate, nullptr, mid, size, file, line);
}

void DXR_SetDefaultMid(uint32_t mid) {
    g_dxrMemoryMid = mid;
}

uint32_t DXR_GetDefaultMid() {
    return g_dxrMemoryMid;
}

void DXR_SetMemoryHooks(DxrAllocateHook allocate, DxrReleaseHook release) {
    DxrMemoryHooks *hooks = DXR_GetMemoryHooks();
    hooks->allocate = allocate;
    hooks->release = release;
}
