#include "kernels/word_operations.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx2 {
namespace {

using word_operations::And;
using word_operations::Or;
using word_operations::Xor;

constexpr size_t kWidth = 8;  // words of a vector register
constexpr size_t kStep = 4 * kWidth;
constexpr size_t kLongArray = 256;  // from here on aligned stores pay

DXR_TARGET_AVX2 inline __m256i Of(Or, __m256i a, __m256i b) {
    return _mm256_or_si256(a, b);
}

DXR_TARGET_AVX2 inline __m256i Of(And, __m256i a, __m256i b) {
    return _mm256_and_si256(a, b);
}

DXR_TARGET_AVX2 inline __m256i Of(Xor, __m256i a, __m256i b) {
    return _mm256_xor_si256(a, b);
}

DXR_TARGET_AVX2 inline __m256i LoadWords(const uint32_t *words) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(words));
}

DXR_TARGET_AVX2 inline void StoreWords(uint32_t *words, __m256i vector) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(words), vector);
}

template <typename Operation>
DXR_TARGET_AVX2 inline __m256i Combined(const uint32_t *dst, const uint32_t *src) {
    return Of(Operation(), LoadWords(dst), LoadWords(src));
}

template <typename Operation>
DXR_TARGET_AVX2 inline void CombineVector(uint32_t *dst, const uint32_t *src) {
    StoreWords(dst, Combined<Operation>(dst, src));
}

// Words up to the next place where a vector's store is aligned, 1 to kWidth.
size_t WordsToAlignment(const uint32_t *word) {
    return kWidth - reinterpret_cast<uintptr_t>(word) / sizeof(*word) % kWidth;
}

// The first and the last vector are computed before anything is written and stored when all is
// done: so what lies between begins where stores are aligned and ends with a whole vector, and
// words that two vectors cover get the same twice. Where words are written before they are read,
// word by word.
template <typename Operation>
DXR_TARGET_AVX2 inline void Combine(uint32_t *dst, const uint32_t *src, size_t count) {
    if (word_operations::WritesAhead(dst, src, count)) {
        word_operations::OfWords<Operation>(dst, src, count);
        return;
    }
    uint32_t *const first = dst;
    uint32_t *const last = dst + count - kWidth;
    const __m256i atFirst = Combined<Operation>(dst, src);
    const __m256i atLast = Combined<Operation>(last, src + count - kWidth);
    const size_t begin = count < kLongArray ? kWidth : WordsToAlignment(dst);
    dst += begin;
    src += begin;
    for (const uint32_t *const end = dst + (count - begin) / kStep * kStep; dst != end;
         dst += kStep, src += kStep) {
        CombineVector<Operation>(dst, src);
        CombineVector<Operation>(dst + kWidth, src + kWidth);
        CombineVector<Operation>(dst + 2 * kWidth, src + 2 * kWidth);
        CombineVector<Operation>(dst + 3 * kWidth, src + 3 * kWidth);
    }
    for (; dst < last; dst += kWidth, src += kWidth) {
        CombineVector<Operation>(dst, src);
    }
    StoreWords(first, atFirst);
    StoreWords(last, atLast);
}

}  // namespace

DXR_TARGET_AVX2 void OrWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    Combine<Or>(dst, src, count);
}

DXR_TARGET_AVX2 void AndWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    Combine<And>(dst, src, count);
}

DXR_TARGET_AVX2 void XorWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    Combine<Xor>(dst, src, count);
}

}  // namespace dxr::avx2

#endif
