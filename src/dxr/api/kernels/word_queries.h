// Questions about whole arrays of words.
#ifndef DXR_KERNELS_WORD_QUERIES_H
#define DXR_KERNELS_WORD_QUERIES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "internal/fast_paths.h"
#include "kernels/few_words.h"
#include "kernels/vector_code.h"

namespace dxr {

// The number of set bits: sums of 1, 2 and 4 bits side by side, then of the four bytes. The compiler
// knows this form and takes the processor's instruction where it may; for std::popcount it calls its
// own library where it may not.
[[nodiscard]] constexpr uint32_t BitsInWord(uint32_t word) noexcept {
    word -= word >> 1U & 0x55555555U;
    word = (word & 0x33333333U) + (word >> 2U & 0x33333333U);
    word = (word + (word >> 4U)) & 0x0F0F0F0FU;
    return word * 0x01010101U >> 24U;
}

namespace word_queries {

// By bytes, as an array may lie anywhere. Not std::equal, which compares in blocks: nothing behind
// the first difference is read.
[[nodiscard]] inline uint32_t AreSame(const uint32_t *a, const uint32_t *b, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (few_words::Load<uint32_t>(a + i) != few_words::Load<uint32_t>(b + i)) {
            return 0;
        }
    }
    return 1;
}

[[nodiscard]] inline uint32_t AreZero(const uint32_t *words, size_t count) {
    return std::all_of(words, words + count, [](uint32_t word) { return word == 0; }) ? 1 : 0;
}

// Compiled for each kind of processor anew, with what it has to count bits.
[[nodiscard, gnu::always_inline]] inline uint32_t Bits(const uint32_t *words, size_t count) {
    uint32_t bits = 0;
    for (size_t i = 0; i < count; ++i) {
        bits += BitsInWord(words[i]);
    }
    return bits;
}

inline constexpr uintptr_t kPage = 4096;  // the smallest there is

// Of words whose last byte lies in the page of their first, in both arrays, all may be read
// whatever they are. Says no for some others.
[[nodiscard]] inline bool LieInOnePageEach(const uint32_t *a, const uint32_t *b, size_t atMost) {
    const uintptr_t offsets = reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b);
    return offsets % kPage <= kPage - atMost * sizeof(*a);
}

[[nodiscard]] inline bool IsZero(few_words::Four words) {
#if DXR_HAS_VECTOR_CODE
    const auto bytes = reinterpret_cast<__m128i>(words);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) == 0xFFFF;
#else
    return (words[0] | words[1] | words[2] | words[3]) == 0;
#endif
}

[[nodiscard]] inline few_words::Four Difference(const uint32_t *a, const uint32_t *b) {
    return few_words::Load<few_words::Four>(a) ^ few_words::Load<few_words::Four>(b);
}

// Of at most kFewWords.
[[nodiscard]] inline uint32_t AreSameFew(const uint32_t *a, const uint32_t *b, size_t count) {
    if (count >= 4 && LieInOnePageEach(a, b, kFewWords)) {
        const size_t last = count - 4;
        return IsZero(Difference(a, b) | Difference(a + last, b + last)) ? 1 : 0;
    }
    return AreSame(a, b, count);
}

// Of at most kFewWords.
[[nodiscard]] inline uint32_t AreZeroFew(const uint32_t *words, size_t count) {
    using few_words::Load;
    using few_words::Two;
    if (count >= 4) {
        const uint32_t *const last = words + count - 4;
        return (Load<Two>(words) | Load<Two>(words + 2) | Load<Two>(last) | Load<Two>(last + 2)) ==
                       0
                   ? 1
                   : 0;
    }
    if (count >= 2) {
        return (Load<Two>(words) | Load<Two>(words + count - 2)) == 0 ? 1 : 0;
    }
    return count == 0 || *words == 0 ? 1 : 0;
}

// Of more than kFewWords.
[[nodiscard]] uint32_t AreSameMany(const uint32_t *a, const uint32_t *b, size_t count) noexcept;
[[nodiscard]] uint32_t AreZeroMany(const uint32_t *words, size_t count) noexcept;
[[nodiscard]] uint32_t BitsInMany(const uint32_t *words, size_t count) noexcept;

}  // namespace word_queries

// 1 if a[i] == b[i] for all i, else 0. No page is touched in which all words lie behind the first
// difference.
[[nodiscard]] inline uint32_t AreSameWords(const uint32_t *a, const uint32_t *b,
                                           uint32_t count) noexcept {
    if constexpr (!kFastPaths) {
        return word_queries::AreSame(a, b, count);
    }
    return count <= kFewWords ? word_queries::AreSameFew(a, b, count)
                              : word_queries::AreSameMany(a, b, count);
}

// 1 if words[i] == 0 for all i, else 0.
[[nodiscard]] inline uint32_t AreZeroWords(const uint32_t *words, uint32_t count) noexcept {
    if constexpr (!kFastPaths) {
        return word_queries::AreZero(words, count);
    }
    return count <= kFewWords ? word_queries::AreZeroFew(words, count)
                              : word_queries::AreZeroMany(words, count);
}

// The number of set bits of all words, modulo 2^32.
[[nodiscard]] inline uint32_t BitsInWords(const uint32_t *words, uint32_t count) noexcept {
    return !kFastPaths || count <= kFewWords ? word_queries::Bits(words, count)
                                             : word_queries::BitsInMany(words, count);
}

}  // namespace dxr

#endif  // DXR_KERNELS_WORD_QUERIES_H
