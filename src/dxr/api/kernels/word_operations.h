// Operations that write whole arrays of words. Each does what its line says for i from 0 up: where
// the arrays overlap, a word that was written early is read again later.
#ifndef DXR_KERNELS_WORD_OPERATIONS_H
#define DXR_KERNELS_WORD_OPERATIONS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "internal/fast_paths.h"
#include "kernels/few_words.h"

namespace dxr {
namespace word_operations {

struct Copy {
    template <typename T>
    static constexpr T Of(T, T src) {
        return src;
    }
};

struct Or {
    template <typename T>
    static constexpr T Of(T dst, T src) {
        return dst | src;
    }
};

struct And {
    template <typename T>
    static constexpr T Of(T dst, T src) {
        return dst & src;
    }
};

struct Xor {
    template <typename T>
    static constexpr T Of(T dst, T src) {
        return dst ^ src;
    }
};

// Word by word; by bytes, as the arrays may lie anywhere and overlap within a word.
template <typename Operation>
inline void OfWords(uint32_t *dst, const uint32_t *src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const auto word = few_words::Load<uint32_t>(src + i);
        few_words::Store(dst + i, Operation::Of(few_words::Load<uint32_t>(dst + i), word));
    }
}

// By how many bytes `a` lies behind `b`; a huge number if it lies before it.
[[nodiscard]] inline uintptr_t Distance(const uint32_t *a, const uint32_t *b) {
    return reinterpret_cast<uintptr_t>(a) - reinterpret_cast<uintptr_t>(b);
}

// True where `dst` lies behind the first of the `count` words of `src` and before their end: then
// words are written before they are read. Everywhere else all may be read before any is written.
[[nodiscard]] inline bool WritesAhead(const uint32_t *dst, const uint32_t *src, size_t count) {
    const auto begin = reinterpret_cast<uintptr_t>(src);
    const auto at = reinterpret_cast<uintptr_t>(dst);
    return at < begin + count * sizeof(*src) && begin < at;
}

// Of four words and, where `more` is not 0, the last four of as many more: some perhaps twice.
template <typename Operation>
[[gnu::always_inline]] inline void OfFourAnd(uint32_t more, uint32_t *dst, const uint32_t *src) {
    using few_words::Four;
    using few_words::Load;
    const Four first = Operation::Of(Load<Four>(dst), Load<Four>(src));
    if (more != 0) {
        const Four last = Operation::Of(Load<Four>(dst + more), Load<Four>(src + more));
        few_words::Store(dst + more, last);
    }
    few_words::Store(dst, first);
}

// Of the first word and the one at `last`, 0 or 1: in turn, as arrays that overlap want it, sooner
// than it is found out whether they do.
template <typename Operation>
[[gnu::always_inline]] inline void OfOneOrTwo(uint32_t last, uint32_t *dst, const uint32_t *src) {
    OfWords<Operation>(dst, src, 1);
    if (last != 0) {
        OfWords<Operation>(dst + 1, src + 1, 1);
    }
}

// Of few words that overlap, and of three. Small: it is there for every operation.
template <typename Operation>
[[gnu::cold, gnu::noinline]] void OfFewInTurn(uint32_t *dst, const uint32_t *src, size_t count) {
    OfWords<Operation>(dst, src, count);
}

// Of more than kFewWords.
void CopyMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
void OrMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
void AndMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
void XorMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept;

// The sizes are told apart so that the ways of most sizes run straight on.
template <typename Operation, auto OfMany>
[[gnu::always_inline]] inline void OfAny(uint32_t *dst, const uint32_t *src, uint32_t count) {
    if constexpr (!kFastPaths) {
        OfWords<Operation>(dst, src, count);
    } else if (const uint32_t last = count - 1; last < 2) [[likely]] {
        OfOneOrTwo<Operation>(last, dst, src);
    } else if (count > kFewWords) {
        OfMany(dst, src, count);
    } else if (count < 4 || WritesAhead(dst, src, count)) [[unlikely]] {
        OfFewInTurn<Operation>(dst, src, count);
    } else {
        OfFourAnd<Operation>(count - 4, dst, src);
    }
}

}  // namespace word_operations

// dst[i] = src[i]
inline void CopyWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    word_operations::OfAny<word_operations::Copy, word_operations::CopyMany>(dst, src, count);
}

// dst[i] |= src[i]
inline void OrWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    word_operations::OfAny<word_operations::Or, word_operations::OrMany>(dst, src, count);
}

// dst[i] &= src[i]
inline void AndWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    word_operations::OfAny<word_operations::And, word_operations::AndMany>(dst, src, count);
}

// dst[i] ^= src[i]
inline void XorWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    word_operations::OfAny<word_operations::Xor, word_operations::XorMany>(dst, src, count);
}

// words[i] = 0
inline void ZeroWords(uint32_t *words, uint32_t count) noexcept {
    if (!kFastPaths || count > kFewWords || count == 0) {
        std::fill_n(words, count, 0U);
    } else if (count >= 4) {
        few_words::Store(words, few_words::Four{});
        few_words::Store(words + count - 4, few_words::Four{});
    } else {
        words[0] = 0;
        words[count / 2] = 0;
        words[count - 1] = 0;
    }
}

}  // namespace dxr

#endif  // DXR_KERNELS_WORD_OPERATIONS_H
