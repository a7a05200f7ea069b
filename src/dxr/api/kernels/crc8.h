// The CRC-8 with the generator G = x^8 + x^5 + x^4 + 1, most significant bit first.
#ifndef DXR_KERNELS_CRC8_H
#define DXR_KERNELS_CRC8_H

#include <cstdint>

#include "internal/fast_paths.h"

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

namespace crc8 {

inline constexpr uint64_t kShort = 16;  // data below this length are looked up in place

// The same as Crc8ByBytes() for 0 to 15 bytes, without a loop.
[[nodiscard]] inline uint32_t OfShort(const uint8_t *table, const uint8_t *data,
                                      uint64_t length) noexcept {
    uint32_t crc = 0;
    const auto take = [&](int count) {
#pragma GCC unroll 8
        for (int i = 0; i < count; ++i) {
            crc = table[*data++ ^ crc];
        }
    };
    if ((length & 8) != 0) {
        take(8);
        if (length == 8) {
            return crc;
        }
    }
    if ((length & 4) != 0) {
        take(4);
    }
    if ((length & 3) == 0) {
        return crc;
    }
    if ((length & 2) != 0) {
        take(2);
    }
    if ((length & 1) != 0) {
        take(1);
    }
    return crc;
}

// Of kShort bytes or more.
[[nodiscard]] uint32_t OfLong(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept;

}  // namespace crc8

// The same as Crc8ByBytes() whatever the table holds: what does not look up every byte compares
// the table with the generator's entries first, in every call, so that a changed table decides as
// it stands.
[[nodiscard]] inline uint32_t Crc8(const uint8_t *table, const uint8_t *data,
                                   uint64_t length) noexcept {
    if constexpr (!kFastPaths) {
        return Crc8ByBytes(table, data, length);
    }
    return length < crc8::kShort ? crc8::OfShort(table, data, length)
                                 : crc8::OfLong(table, data, length);
}

}  // namespace dxr

#endif  // DXR_KERNELS_CRC8_H
