// Operations that write whole arrays of words. Each does what its line says for i from 0 up: where
// the arrays overlap, a word that was written early is read again later.
#ifndef DXR_INTERNAL_WORD_OPERATIONS_H
#define DXR_INTERNAL_WORD_OPERATIONS_H

#include <cstdint>

namespace dxr {

// dst[i] = src[i]
void CopyWords(std::uint32_t *dst, const std::uint32_t *src, std::uint32_t count) noexcept;

// dst[i] |= src[i]
void OrWords(std::uint32_t *dst, const std::uint32_t *src, std::uint32_t count) noexcept;

// dst[i] &= src[i]
void AndWords(std::uint32_t *dst, const std::uint32_t *src, std::uint32_t count) noexcept;

// dst[i] ^= src[i]
void XorWords(std::uint32_t *dst, const std::uint32_t *src, std::uint32_t count) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_WORD_OPERATIONS_H
