// The CRC beside one that is worked out bit by bit, in pieces of any length at any address, with
// the table built, not yet built, and spoilt by the caller.
#include <cstdint>
#include <vector>

#include "dxr/utils_crc8.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

uint8_t Shift8(uint8_t value) {
    uint32_t r = value;
    for (int i = 0; i < 8; ++i) {
        r = (r & 0x80) != 0 ? (r << 1 ^ 0x31) & 0xFF : r << 1 & 0xFF;
    }
    return static_cast<uint8_t>(r);
}

uint32_t ModelCrc(const uint8_t *data, size_t size) {
    uint32_t r = 0;
    for (size_t i = 0; i < size; ++i) {
        r ^= data[i];
        for (int bit = 0; bit < 8; ++bit) {
            r = (r & 0x80) != 0 ? (r << 1 ^ 0x31) & 0xFF : r << 1;
        }
    }
    return r;
}

}  // namespace

void Crc8(Input &input) {
    const uint8_t state = input.Byte();
    if ((state & 0xF0) == 0) {  // as at load
        std::memset(g_dxrCrc8Table, 0, sizeof(g_dxrCrc8Table));
        g_dxrCrc8TableInit = 0;
    } else if ((state & 0xF0) == 0x10) {
        DXR_InitCrc8Table();
        g_dxrCrc8TableInit = 1;
    }
    const uint32_t repeats = 1U + ((state & 0x0F) == 0x0F ? input.Below(24) : 0);
    const uint32_t offset = input.Below(33);
    const bool spoilt = input.Rarely();
    const uint32_t spoiltAt = input.Byte();
    const std::string_view bytes = input.Rest();

    // A block that ends where the data ends.
    const size_t size = bytes.size() * repeats;
    uint8_t *const block = new uint8_t[offset + size];
    for (uint32_t i = 0; i < repeats; ++i) {
        std::memcpy(block + offset + i * bytes.size(), bytes.data(), bytes.size());
    }
    const uint32_t expected = ModelCrc(block + offset, size);
    DXR_FUZZ_SAME(DXR_CalculateCrc8(block + offset, size) == expected);
    DXR_FUZZ_SAME(g_dxrCrc8TableInit == 1);
    DXR_FUZZ_SAME(g_dxrCrc8Table[state] == Shift8(state));
    if (spoilt) {
        // The flag vouches for the table, whatever it holds.
        const uint8_t kept = g_dxrCrc8Table[spoiltAt];
        g_dxrCrc8Table[spoiltAt] = static_cast<uint8_t>(kept ^ (1 + (state & 0x7F)));
        uint8_t crc = 0;
        for (size_t i = 0; i < size; ++i) {
            crc = g_dxrCrc8Table[crc ^ block[offset + i]];
        }
        DXR_FUZZ_SAME(DXR_CalculateCrc8(block + offset, size) == crc);
        g_dxrCrc8Table[spoiltAt] = kept;
    }
    delete[] block;
}

}  // namespace dxrfuzz
