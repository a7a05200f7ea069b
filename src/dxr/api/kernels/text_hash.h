// The hash of log lines: h = h * 31 + byte for each byte, modulo 2^32. So the hash of a text is a
// polynomial in 31 with the bytes as coefficients; bytes of 0 before a text change nothing, and the
// hash of two texts in a row is hash(first) * 31^(length of the second) + hash(second).
#ifndef DXR_KERNELS_TEXT_HASH_H
#define DXR_KERNELS_TEXT_HASH_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/fast_paths.h"

namespace dxr {

inline constexpr uint32_t kTextHashFactor = 31;

// Byte by byte, going on from `hash`.
[[nodiscard]] constexpr uint32_t TextHashPlain(const unsigned char *text, size_t length,
                                               uint32_t hash = 0) noexcept {
    for (size_t i = 0; i < length; ++i) {
        hash = hash * kTextHashFactor + text[i];
    }
    return hash;
}

namespace text_hash {

inline constexpr size_t kShort = 32;  // texts below this length are hashed in place

inline constexpr auto kPowers = [] {
    std::array<uint32_t, kShort> powers = {1};
    for (size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * kTextHashFactor;
    }
    return powers;
}();

template <typename Word>
[[nodiscard]] inline Word Load(const unsigned char *text) noexcept {
    Word word;
    std::memcpy(&word, text, sizeof(word));
    return word;
}

// Of eight bytes in a little-endian word: neighbours are joined, first bytes, then pairs, then
// fours. A pair's hash has 13 bits and that of four bytes 23, so none runs into the next.
[[nodiscard]] constexpr uint32_t OfEight(uint64_t bytes) noexcept {
    constexpr uint64_t kBytes = 0x00FF00FF00FF00FF;
    constexpr uint64_t kPairs = 0x0000FFFF0000FFFF;
    const uint64_t pairs = (bytes & kBytes) * kPowers[1] + (bytes >> 8U & kBytes);
    const uint64_t fours = (pairs & kPairs) * kPowers[2] + (pairs >> 16U & kPairs);
    return static_cast<uint32_t>(fours) * kPowers[4] + static_cast<uint32_t>(fours >> 32U);
}

// Of 4 to 7 bytes: zeros, then the text, in one word.
[[nodiscard]] inline uint32_t OfFourToSeven(const unsigned char *text, size_t length) noexcept {
    const uint64_t first = Load<uint32_t>(text);
    const uint64_t last = Load<uint32_t>(text + length - 4);
    return OfEight(first << (64 - 8 * length) | last << 32U);
}

// Of 8 bytes or more. What is left of the last eight is the bytes not yet hashed.
[[nodiscard]] inline uint32_t ByEights(const unsigned char *text, size_t length) noexcept {
    const unsigned char *const end = text + length;
    uint32_t hash = OfEight(Load<uint64_t>(text));
    for (text += 8; end - text >= 8; text += 8) {
        hash = hash * kPowers[8] + OfEight(Load<uint64_t>(text));
    }
    const size_t rest = length % 8;
    if (rest == 0) {
        return hash;
    }
    const size_t hashedBits = 64 - 8 * rest;
    const uint64_t last = Load<uint64_t>(end - 8) >> hashedBits << hashedBits;
    return hash * kPowers[rest] + OfEight(last);
}

// Of kShort bytes or more.
[[nodiscard]] uint32_t OfLong(const unsigned char *text, size_t length) noexcept;

}  // namespace text_hash

// The same by many bytes a step.
[[nodiscard]] inline uint32_t TextHash(const unsigned char *text, size_t length) noexcept {
    if constexpr (!kFastPaths || std::endian::native != std::endian::little) {
        return TextHashPlain(text, length);
    }
    if (length >= text_hash::kShort) {
        return text_hash::OfLong(text, length);
    }
    if (length >= 8) {
        return text_hash::ByEights(text, length);
    }
    return length >= 4 ? text_hash::OfFourToSeven(text, length) : TextHashPlain(text, length);
}

}  // namespace dxr

#endif  // DXR_KERNELS_TEXT_HASH_H
