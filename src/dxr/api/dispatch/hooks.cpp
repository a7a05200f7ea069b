#include "dxr/hooks.h"

#include "internal/bounds_checked.h"

constinit DxrHooks g_dxrHooks = {};

uint32_t DXR_RegisterHooks(const DxrHooks *hooks) {
    return static_cast<uint32_t>(
        dxr::memcpy_s(&g_dxrHooks, sizeof(g_dxrHooks), hooks, sizeof(g_dxrHooks)));
}

DxrHooks *DXR_GetHooks() {
    return &g_dxrHooks;
}
