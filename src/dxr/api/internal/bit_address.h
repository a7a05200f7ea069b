// How bits are numbered in arrays of 32-bit words: bit i is bit i mod 32, counted from the least
// significant, of word i / 32.
#ifndef DXR_INTERNAL_BIT_ADDRESS_H
#define DXR_INTERNAL_BIT_ADDRESS_H

#include <cstdint>

namespace dxr {

constexpr uint32_t kBitsPerWord = 32;

struct BitAddress {
    uint32_t word;
    uint32_t shift;  // 0 to 31

    explicit constexpr BitAddress(uint32_t bit) noexcept
        : word(bit / kBitsPerWord), shift(bit % kBitsPerWord) {}

    // The bit alone, within its word.
    [[nodiscard]] constexpr uint32_t Mask() const noexcept { return 1U << shift; }
};

// Bits 0 to this number - 1 are inside the array. Wraps from 2^27 words on; that is intended.
[[nodiscard]] constexpr uint32_t BitCount(uint32_t wordCount) noexcept {
    return wordCount * kBitsPerWord;
}

// Words that `bitCount` bits take, the last one perhaps in part.
[[nodiscard]] constexpr uint32_t WordsFor(uint32_t bitCount) noexcept {
    return bitCount / kBitsPerWord + (bitCount % kBitsPerWord != 0 ? 1 : 0);
}

// A word with its low `count` (0 to 32) bits set.
[[nodiscard]] constexpr uint32_t LowBits(uint32_t count) noexcept {
    return static_cast<uint32_t>((uint64_t{1} << count) - 1);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_BIT_ADDRESS_H
