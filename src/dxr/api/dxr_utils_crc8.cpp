#include "dxr/utils_crc8.h"

namespace {

constexpr uint8_t kPolynomial = 0x31;
constexpr uint8_t kTopBit = 0x80;
constexpr int kBitsPerByte = 8;

// The register after shifting `byte` through the generator, most significant bit first.
constexpr uint8_t ShiftedThrough(uint8_t byte) noexcept {
    for (int step = 0; step < kBitsPerByte; ++step) {
        const bool carry = (byte & kTopBit) != 0;
        byte = static_cast<uint8_t>((byte << 1) ^ (carry ? kPolynomial : 0));
    }
    return byte;
}

}  // namespace

constinit uint8_t g_dxrCrc8Table[256] = {};
constinit uint8_t g_dxrCrc8TableInit = 0;

void DXR_InitCrc8Table() {
    uint8_t byte = 0;
    for (uint8_t &entry : g_dxrCrc8Table) {
        entry = ShiftedThrough(byte++);
    }
}

uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len) {
    if (g_dxrCrc8TableInit == 0) {
        DXR_InitCrc8Table();
        g_dxrCrc8TableInit = 1;
    }
    uint8_t crc = 0;
    for (uint64_t i = 0; i < len; ++i) {
        crc = g_dxrCrc8Table[data[i] ^ crc];
    }
    return crc;
}
