#include "kernels/word_queries.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx2 {
namespace {

constexpr size_t kWidth = 8;  // words of a vector register
constexpr size_t kHalfStep = 4 * kWidth;
constexpr size_t kStep = 2 * kHalfStep;

DXR_TARGET_AVX2 inline __m256i LoadWords(const uint32_t *words) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(words));
}

// What is looked for is a bit that is set: here in words, there in the difference of two arrays.
struct Content {
    const uint32_t *words;
    void Skip(ptrdiff_t count) { words += count; }
    [[nodiscard]] DXR_TARGET_AVX2 __m256i At(size_t i) const { return LoadWords(words + i); }
};

struct Difference {
    const uint32_t *a;
    const uint32_t *b;
    void Skip(ptrdiff_t count) {
        a += count;
        b += count;
    }
    [[nodiscard]] DXR_TARGET_AVX2 __m256i At(size_t i) const {
        return _mm256_xor_si256(LoadWords(a + i), LoadWords(b + i));
    }
};

// Of the vectors at i and j.
template <typename Source>
DXR_TARGET_AVX2 inline __m256i Both(Source source, size_t i, size_t j) {
    return _mm256_or_si256(source.At(i), source.At(j));
}

// Of the words from i on.
template <typename Source>
DXR_TARGET_AVX2 inline __m256i HalfStep(Source source, size_t i) {
    return _mm256_or_si256(Both(source, i, i + kWidth),
                           Both(source, i + 2 * kWidth, i + 3 * kWidth));
}

DXR_TARGET_AVX2 inline bool AreZero(__m256i low, __m256i high) {
    const __m256i bits = _mm256_or_si256(low, high);
    return _mm256_testz_si256(bits, bits) != 0;
}

// Looks at `count` words, at least kWidth; at some perhaps twice. A test takes longer than several
// loads: there is one in a step, and one for all the rest.
template <typename Source>
DXR_TARGET_AVX2 inline uint32_t IsAllZero(Source source, size_t count) {
    for (; count > kStep; count -= kStep, source.Skip(ptrdiff_t{kStep})) {
        if (!AreZero(HalfStep(source, 0), HalfStep(source, kHalfStep))) {
            return 0;
        }
    }
    if (count > kHalfStep) {
        return AreZero(HalfStep(source, 0), HalfStep(source, count - kHalfStep)) ? 1 : 0;
    }
    if (count < kWidth) {  // after whole steps: the last vector reaches back
        source.Skip(static_cast<ptrdiff_t>(count) - static_cast<ptrdiff_t>(kWidth));
        count = kWidth;
    }
    const size_t last = count - kWidth;
    if (count > 2 * kWidth) {
        return AreZero(Both(source, 0, kWidth), Both(source, last - kWidth, last)) ? 1 : 0;
    }
    return AreZero(source.At(0), source.At(last)) ? 1 : 0;
}

// Any number of words.
DXR_TARGET_AVX2 uint32_t AreSameInPages(const uint32_t *a, const uint32_t *b, size_t count) {
    return count >= kWidth ? IsAllZero(Difference{a, b}, count)
                           : word_queries::AreSame(a, b, count);
}

}  // namespace

DXR_TARGET_AVX2 uint32_t AreZeroWords(const uint32_t *words, size_t count) noexcept {
    return IsAllZero(Content{words}, count);
}

// Most arrays lie in a page each: what the others take is not paid for by them.
DXR_TARGET_AVX2 uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, size_t count) noexcept {
    if (word_queries::LieInOnePageEach(a, b, count)) [[likely]] {
        return IsAllZero(Difference{a, b}, count);
    }
    return word_queries::AreSamePageByPage<AreSameInPages>(a, b, count);
}

DXR_TARGET_AVX2 uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept {
    return word_queries::Bits(words, count);
}

}  // namespace dxr::avx2

#endif
