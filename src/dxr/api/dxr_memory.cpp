#include "dxr/memory.h"

constinit uint32_t g_dxrMemoryMid = 9;

void DXR_SetDefaultMid(uint32_t mid) {
    g_dxrMemoryMid = mid;
}

uint32_t DXR_GetDefaultMid() {
    return g_dxrMemoryMid;
}
