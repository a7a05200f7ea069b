#include "kernels/word_queries.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx512 {
namespace {

constexpr size_t kWidth = 16;  // words of a vector register
constexpr size_t kStep = 4 * kWidth;

DXR_TARGET_AVX512 inline __m512i LoadWords(const uint32_t *words) {
    return _mm512_loadu_si512(words);
}

// The bits in which two vectors of `a` differ from those of `b`: the first ones and those at i.
DXR_TARGET_AVX512 inline __m512i Differences(const uint32_t *a, const uint32_t *b, size_t i) {
    constexpr int kOrXor = 0xF6;  // first | (second ^ third)
    const __m512i first = _mm512_xor_si512(LoadWords(a), LoadWords(b));
    return _mm512_ternarylogic_epi32(first, LoadWords(a + i), LoadWords(b + i), kOrXor);
}

DXR_TARGET_AVX512 inline uint32_t IsZero(__m512i bits) {
    return _mm512_test_epi32_mask(bits, bits) == 0 ? 1 : 0;
}

// The first half step and the one at i.
DXR_TARGET_AVX512 inline uint32_t AreSameHalfSteps(const uint32_t *a, const uint32_t *b, size_t i) {
    return IsZero(_mm512_or_si512(Differences(a, b, kWidth), Differences(a + i, b + i, kWidth)));
}

// At least kWidth words, some perhaps twice.
DXR_TARGET_AVX512 inline uint32_t AreSameAhead(const uint32_t *a, const uint32_t *b, size_t count) {
    for (; count > kStep; count -= kStep, a += kStep, b += kStep) {
        if (AreSameHalfSteps(a, b, kStep / 2) == 0) {
            return 0;
        }
    }
    if (count > kStep / 2) {
        return AreSameHalfSteps(a, b, count - kStep / 2);
    }
    if (count < kWidth) {  // after whole steps: the last vector reaches back
        const size_t known = kWidth - count;
        a -= known;
        b -= known;
        count = kWidth;
    }
    return IsZero(Differences(a, b, count - kWidth));
}

// Any number of words.
DXR_TARGET_AVX512 uint32_t AreSameInPages(const uint32_t *a, const uint32_t *b, size_t count) {
    return count >= kWidth ? AreSameAhead(a, b, count) : word_queries::AreSame(a, b, count);
}

}  // namespace

DXR_TARGET_AVX512 uint32_t AreSameWords(const uint32_t *a, const uint32_t *b,
                                        size_t count) noexcept {
    if (count < kWidth) {
        return avx2::AreSameWords(a, b, count);
    }
    if (word_queries::LieInOnePageEach(a, b, count)) [[likely]] {
        return AreSameAhead(a, b, count);
    }
    return word_queries::AreSamePageByPage<AreSameInPages>(a, b, count);
}

DXR_TARGET_AVX512 uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept {
    return word_queries::Bits(words, count);
}

}  // namespace dxr::avx512

#endif
