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

// The number of set bits: sums of 1, 2 and 4 bits side by side, then of the four bytes. The
// compiler knows this form and takes the processor's instruction where it may; for std::popcount it
// calls its own library where it may not.
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
    const uintptr_t size = atMost * sizeof(*a);
    return size <= kPage && offsets % kPage <= kPage - size;
}

// Words from `a` and `b` on of which every byte lies in the page of the first. None where the
// first word itself goes on into the next page.
[[nodiscard]] inline size_t WordsInPages(const uint32_t *a, const uint32_t *b) {
    const uintptr_t offset =
        std::max(reinterpret_cast<uintptr_t>(a) % kPage, reinterpret_cast<uintptr_t>(b) % kPage);
    return (kPage - offset) / sizeof(*a);
}

// By a function that reads ahead, within a page only: a word over a page's end is looked at alone.
template <uint32_t (*InPages)(const uint32_t *, const uint32_t *, size_t)>
[[nodiscard, gnu::noinline]] uint32_t AreSamePageByPage(const uint32_t *a, const uint32_t *b,
                                                        size_t count) noexcept {
    for (;;) {
        const size_t part = std::max<size_t>(WordsInPages(a, b), 1);
        if (part >= count) {
            return InPages(a, b, count);
        }
        if (InPages(a, b, part) == 0) {
            return 0;
        }
        a += part;
        b += part;
        count -= part;
    }
}

[[nodiscard]] inline bool EndsAreSame(const uint32_t *a, const uint32_t *b, size_t last) {
    using few_words::Four;
    using few_words::Load;
#if DXR_HAS_VECTOR_CODE
    const auto first = reinterpret_cast<__m128i>(Load<Four>(a) == Load<Four>(b));
    const auto second = reinterpret_cast<__m128i>(Load<Four>(a + last) == Load<Four>(b + last));
    return _mm_movemask_epi8(_mm_and_si128(first, second)) == 0xFFFF;
#else
    const Four both =
        (Load<Four>(a) ^ Load<Four>(b)) | (Load<Four>(a + last) ^ Load<Four>(b + last));
    return (both[0] | both[1] | both[2] | both[3]) == 0;
#endif
}

// One by one: kept away from the ways that are common.
[[nodiscard, gnu::cold, gnu::noinline]] inline uint32_t AreSameAtEdge(const uint32_t *a,
                                                                      const uint32_t *b,
                                                                      size_t count) noexcept {
    return AreSame(a, b, count);
}

// The sizes are told apart so that the ways of most sizes run straight on: a small array is
// compared in less time than two jumps take.

// Of four words and `more`, at most as many again. All at once where that reads no other page, else
// one by one.
[[nodiscard, gnu::always_inline]] inline uint32_t AreSameFourAnd(uint32_t more, const uint32_t *a,
                                                                 const uint32_t *b) {
    if (!LieInOnePageEach(a, b, kFewWords)) [[unlikely]] {
        return AreSameAtEdge(a, b, size_t{more} + 4);
    }
    return EndsAreSame(a, b, more) ? 1 : 0;
}

// Of the first word and the one at `last`, 0 or 1. In this order, as they may lie in two pages.
[[nodiscard, gnu::always_inline]] inline uint32_t AreSameOneOrTwo(const uint32_t *a,
                                                                  const uint32_t *b,
                                                                  uint32_t last) {
    if (few_words::Load<uint32_t>(a) != few_words::Load<uint32_t>(b)) [[unlikely]] {
        return 0;
    }
    return few_words::Load<uint32_t>(a + last) == few_words::Load<uint32_t>(b + last) ? 1 : 0;
}

// Of 1 to 3 words: the first, the middle and the last one, which may be the same.
[[nodiscard, gnu::always_inline]] inline uint32_t AreZeroUpToThree(const uint32_t *words,
                                                                   uint32_t count) {
    return (words[0] | words[count / 2] | words[count - 1]) == 0 ? 1 : 0;
}

// Of 4 to 8 words.
[[nodiscard, gnu::always_inline]] inline uint32_t AreZeroFourToEight(const uint32_t *words,
                                                                     size_t count) {
    const auto at = [words](size_t i) { return few_words::Load<few_words::Two>(words + i); };
    return (at(0) | at(2) | at(count - 4) | at(count - 2)) == 0 ? 1 : 0;
}

// Sums of 1, 2 and 4 bits side by side, as in BitsInWord(), then of the bytes.
[[nodiscard]] constexpr uint32_t BitsInTwo(few_words::Two words) noexcept {
    words -= words >> 1U & 0x5555555555555555U;
    words = (words & 0x3333333333333333U) + (words >> 2U & 0x3333333333333333U);
    words = (words + (words >> 4U)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<uint32_t>(words * 0x0101010101010101U >> 56U);
}

#if DXR_HAS_VECTOR_CODE

// Of 4 to 8 words: the first four, and of the last four those that are not among them. The sums of
// 4 bits are at most 8 for both together.
[[nodiscard]] inline uint32_t BitsInFourToEight(const uint32_t *words, size_t count) {
    alignas(16) static constexpr uint32_t kIsNew[8] = {0, 0, 0, 0, ~0U, ~0U, ~0U, ~0U};
    const auto load = [](const uint32_t *four) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(four));
    };
    const auto bitsOfFours = [](__m128i bits) {
        const __m128i ones = _mm_set1_epi8(0x55);
        const __m128i pairs = _mm_set1_epi8(0x33);
        bits = _mm_sub_epi8(bits, _mm_and_si128(_mm_srli_epi16(bits, 1), ones));
        return _mm_add_epi8(_mm_and_si128(bits, pairs),
                            _mm_and_si128(_mm_srli_epi16(bits, 2), pairs));
    };
    const __m128i last = _mm_and_si128(load(words + count - 4), load(kIsNew + count - 4));
    const __m128i fours = _mm_add_epi8(bitsOfFours(load(words)), bitsOfFours(last));
    const __m128i low = _mm_set1_epi8(0x0F);
    const __m128i bytes =
        _mm_add_epi8(_mm_and_si128(fours, low), _mm_and_si128(_mm_srli_epi16(fours, 4), low));
    const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return static_cast<uint32_t>(
        _mm_cvtsi128_si32(_mm_add_epi32(halves, _mm_unpackhi_epi64(halves, halves))));
}

#endif

// Of at most kFewWords.
[[nodiscard]] inline uint32_t BitsInFew(const uint32_t *words, size_t count) {
#if DXR_HAS_VECTOR_CODE
    if (count >= 4) {
        return BitsInFourToEight(words, count);
    }
#endif
    uint32_t bits = 0;
    for (; count >= 2; words += 2, count -= 2) {
        bits += BitsInTwo(few_words::Load<few_words::Two>(words));
    }
    return count == 0 ? bits : bits + BitsInWord(*words);
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
    if (const uint32_t more = count - 4; more <= kFewWords - 4) [[likely]] {
        return word_queries::AreSameFourAnd(more, a, b);
    }
    if (const uint32_t last = count - 1; last < 2) [[likely]] {
        return word_queries::AreSameOneOrTwo(a, b, last);
    }
    return count > kFewWords ? word_queries::AreSameMany(a, b, count)
                             : word_queries::AreSame(a, b, count);
}

// 1 if words[i] == 0 for all i, else 0.
[[nodiscard]] inline uint32_t AreZeroWords(const uint32_t *words, uint32_t count) noexcept {
    if constexpr (!kFastPaths) {
        return word_queries::AreZero(words, count);
    }
    if (count - 1 < 3) [[likely]] {
        return word_queries::AreZeroUpToThree(words, count);
    }
    if (count > kFewWords) {
        return word_queries::AreZeroMany(words, count);
    }
    return count == 0 ? 1 : word_queries::AreZeroFourToEight(words, count);
}

// The number of set bits of all words, modulo 2^32.
[[nodiscard]] inline uint32_t BitsInWords(const uint32_t *words, uint32_t count) noexcept {
    if constexpr (!kFastPaths) {
        return word_queries::Bits(words, count);
    }
    return count <= kFewWords ? word_queries::BitsInFew(words, count)
                              : word_queries::BitsInMany(words, count);
}

}  // namespace dxr

#endif  // DXR_KERNELS_WORD_QUERIES_H
