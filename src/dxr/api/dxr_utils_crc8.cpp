#include "dxr/utils_crc8.h"

#include "kernels/crc8.h"

constinit uint8_t g_dxrCrc8Table[256] = {};
constinit uint8_t g_dxrCrc8TableInit = 0;

void DXR_InitCrc8Table() {
    uint8_t byte = 0;
    for (uint8_t &entry : g_dxrCrc8Table) {
        entry = dxr::Crc8Entry(byte++);
    }
}

uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len) {
    if (g_dxrCrc8TableInit == 0) [[unlikely]] {
        DXR_InitCrc8Table();
        g_dxrCrc8TableInit = 1;
    }
    return dxr::Crc8(g_dxrCrc8Table, data, len);
}
