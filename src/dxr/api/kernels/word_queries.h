// Questions about whole arrays of words.
#ifndef DXR_KERNELS_WORD_QUERIES_H
#define DXR_KERNELS_WORD_QUERIES_H

#include <cstdint>

namespace dxr {

// 1 if a[i] == b[i] for all i, else 0. No page is touched in which all words lie behind the first
// difference.
[[nodiscard]] uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, uint32_t count) noexcept;

// 1 if words[i] == 0 for all i, else 0.
[[nodiscard]] uint32_t AreZeroWords(const uint32_t *words, uint32_t count) noexcept;

// The number of set bits: sums of 1, 2 and 4 bits side by side, then of the four bytes. The compiler
// knows this form and takes the processor's instruction where it may; for std::popcount it calls its
// own library where it may not.
[[nodiscard]] constexpr uint32_t BitsInWord(uint32_t word) noexcept {
    word -= word >> 1U & 0x55555555U;
    word = (word & 0x33333333U) + (word >> 2U & 0x33333333U);
    word = (word + (word >> 4U)) & 0x0F0F0F0FU;
    return word * 0x01010101U >> 24U;
}

// The same of all words, modulo 2^32.
[[nodiscard]] uint32_t BitsInWords(const uint32_t *words, uint32_t count) noexcept;

}  // namespace dxr

#endif  // DXR_KERNELS_WORD_QUERIES_H
