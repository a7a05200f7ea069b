// The hash of log lines: h = h * 31 + byte for each byte, modulo 2^32.
#ifndef DXR_INTERNAL_TEXT_HASH_H
#define DXR_INTERNAL_TEXT_HASH_H

#include <cstddef>
#include <cstdint>

namespace dxr {

inline constexpr std::uint32_t kTextHashFactor = 31;

// Byte by byte, going on from `hash`.
[[nodiscard]] constexpr std::uint32_t TextHashPlain(const unsigned char *text, std::size_t length,
                                                    std::uint32_t hash = 0) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        hash = hash * kTextHashFactor + text[i];
    }
    return hash;
}

// The same by many bytes a step.
[[nodiscard]] std::uint32_t TextHash(const unsigned char *text, std::size_t length) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_TEXT_HASH_H
