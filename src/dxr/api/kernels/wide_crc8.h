// The CRC-8 with the generator x^8 + x^5 + x^4 + 1, most significant bit first.
#ifndef DXR_KERNELS_WIDE_CRC8_H
#define DXR_KERNELS_WIDE_CRC8_H

#include <cstdint>

namespace dxr {

inline constexpr uint8_t kCrc8Polynomial = 0x31;

// The register after shifting `byte` through the generator.
[[nodiscard]] constexpr uint8_t Crc8Entry(uint8_t byte) noexcept {
    for (int step = 0; step < 8; ++step) {
        const bool carry = (byte & 0x80) != 0;
        byte = static_cast<uint8_t>((byte << 1) ^ (carry ? kCrc8Polynomial : 0));
    }
    return byte;
}

// One lookup a byte in the 256 entries of `table`.
[[nodiscard]] inline uint32_t Crc8ByBytes(const uint8_t *table, const uint8_t *data,
                                          uint64_t length) noexcept {
    uint8_t crc = 0;
    for (uint64_t i = 0; i < length; ++i) {
        crc = table[data[i] ^ crc];
    }
    return crc;
}

// The same by many bytes a step, if the table holds the generator's entries: it is compared with
// them in every call, so that a changed table decides as it stands.
[[nodiscard]] uint32_t Crc8(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept;

}  // namespace dxr

#endif  // DXR_KERNELS_WIDE_CRC8_H
