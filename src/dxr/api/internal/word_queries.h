// Questions about whole arrays of words.
#ifndef DXR_INTERNAL_WORD_QUERIES_H
#define DXR_INTERNAL_WORD_QUERIES_H

#include <cstdint>

namespace dxr {

// 1 if a[i] == b[i] for all i, else 0. No page is touched in which all words lie behind the first
// difference.
[[nodiscard]] std::uint32_t AreSameWords(const std::uint32_t *a, const std::uint32_t *b,
                                         std::uint32_t count) noexcept;

// 1 if words[i] == 0 for all i, else 0.
[[nodiscard]] std::uint32_t AreZeroWords(const std::uint32_t *words, std::uint32_t count) noexcept;

// The number of set bits modulo 2^32.
[[nodiscard]] std::uint32_t BitsInWords(const std::uint32_t *words, std::uint32_t count) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_WORD_QUERIES_H
