// Operations that write whole arrays of words. Each does what its line says for i from 0 up: where
// the arrays overlap, a word that was written early is read again later.
#ifndef DXR_KERNELS_WORD_OPERATIONS_H
#define DXR_KERNELS_WORD_OPERATIONS_H

#include <cstdint>

namespace dxr {

// dst[i] = src[i]
void CopyWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept;

// dst[i] |= src[i]
void OrWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept;

// dst[i] &= src[i]
void AndWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept;

// dst[i] ^= src[i]
void XorWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept;

}  // namespace dxr

#endif  // DXR_KERNELS_WORD_OPERATIONS_H
