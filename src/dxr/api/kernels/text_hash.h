// The hash of log lines: h = h * 31 + byte for each byte, modulo 2^32.
#ifndef DXR_KERNELS_TEXT_HASH_H
#define DXR_KERNELS_TEXT_HASH_H

#include <cstddef>
#include <cstdint>

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

// The same by many bytes a step.
[[nodiscard]] uint32_t TextHash(const unsigned char *text, size_t length) noexcept;

}  // namespace dxr

#endif  // DXR_KERNELS_TEXT_HASH_H
