#include "dxr/memory.h"

#include "internal/host_services.h"

constinit uint32_t g_dxrMemoryMid = dxr::kDefaultMid;

void DXR_SetDefaultMid(uint32_t mid) {
    g_dxrMemoryMid = mid;
}

uint32_t DXR_GetDefaultMid() {
    return g_dxrMemoryMid;
}
