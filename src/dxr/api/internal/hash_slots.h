// Where a 32-bit hash stands in a table whose size is a power of two.
#ifndef DXR_INTERNAL_HASH_SLOTS_H
#define DXR_INTERNAL_HASH_SLOTS_H

#include <cstdint>

namespace dxr {

// 2^32 over the golden ratio: hashes that lie close together come to stand far apart, and the upper
// bits of the product depend on all bits of the hash.
inline constexpr uint32_t kGoldenRatioFactor = 0x9E3779B1U;

// Slot of `hash` in a table of 2^bits slots; 1 <= bits <= 32.
[[nodiscard]] constexpr uint32_t HashSlot(uint32_t hash, uint32_t bits) noexcept {
    return hash * kGoldenRatioFactor >> (32U - bits);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_HASH_SLOTS_H
