#include "kernels/word_operations.h"

#include <cstddef>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "internal/fast_paths.h"
#include "kernels/cpu_features.h"

namespace dxr {
namespace {

struct Or {};
struct And {};
struct Xor {};

uint32_t Of(Or, uint32_t a, uint32_t b) {
    return a | b;
}

uint32_t Of(And, uint32_t a, uint32_t b) {
    return a & b;
}

uint32_t Of(Xor, uint32_t a, uint32_t b) {
    return a ^ b;
}

// Not inlined: small beside the vector code that ends with it.
template <typename Operation>
[[gnu::noinline]] void CombineWords(uint32_t *dst, const uint32_t *src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        dst[i] = Of(Operation(), dst[i], src[i]);
    }
}

// By how many bytes `a` lies behind `b`; a huge number if it lies before it.
uintptr_t Distance(const uint32_t *a, const uint32_t *b) {
    return reinterpret_cast<uintptr_t>(a) - reinterpret_cast<uintptr_t>(b);
}

#if defined(__x86_64__)

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

template <typename Operation>
DXR_TARGET_AVX2 inline void CombineVector(uint32_t *dst, const uint32_t *src) {
    auto *const target = reinterpret_cast<__m256i *>(dst);
    const __m256i source = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src));
    _mm256_storeu_si256(target, Of(Operation(), _mm256_loadu_si256(target), source));
}

size_t WordsToAlignment(const uint32_t *word) {
    return -(reinterpret_cast<uintptr_t>(word) / sizeof(*word)) % kWidth;
}

// Ascending vectors give what ascending words give, unless `dst` lies behind `src` by less than a
// vector: then a word of the vector is read that another one of it has written.
template <typename Operation>
DXR_TARGET_AVX2 void CombineVectors(uint32_t *dst, const uint32_t *src, size_t count) {
    if (Distance(dst, src) - 1 < sizeof(__m256i) - 1) {
        CombineWords<Operation>(dst, src, count);
        return;
    }
    const size_t head = WordsToAlignment(dst);
    if (head != 0 && count >= kLongArray) {
        CombineWords<Operation>(dst, src, head);
        dst += head;
        src += head;
        count -= head;
    }
    for (const uint32_t *const end = dst + count / kStep * kStep; dst != end;
         dst += kStep, src += kStep) {
        CombineVector<Operation>(dst, src);
        CombineVector<Operation>(dst + kWidth, src + kWidth);
        CombineVector<Operation>(dst + 2 * kWidth, src + 2 * kWidth);
        CombineVector<Operation>(dst + 3 * kWidth, src + 3 * kWidth);
    }
    if (count % kStep == 0) {
        return;
    }
    for (const uint32_t *const end = dst + count % kStep / kWidth * kWidth; dst != end;
         dst += kWidth, src += kWidth) {
        CombineVector<Operation>(dst, src);
    }
    CombineWords<Operation>(dst, src, count % kWidth);
}

#else

template <typename Operation>
void CombineVectors(uint32_t *dst, const uint32_t *src, size_t count) {
    CombineWords<Operation>(dst, src, count);
}

#endif

template <typename Operation>
void Combine(uint32_t *dst, const uint32_t *src, size_t count) {
    if (kFastPaths && HasAvx2()) {
        CombineVectors<Operation>(dst, src, count);
    } else {
        CombineWords<Operation>(dst, src, count);
    }
}

}  // namespace

void CopyWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    const size_t size = size_t{count} * sizeof(*dst);
    const bool apart = Distance(dst, src) >= size && Distance(src, dst) >= size;
    if (kFastPaths && apart && size != 0) {
        std::memcpy(dst, src, size);
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        dst[i] = src[i];
    }
}

void OrWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    Combine<Or>(dst, src, count);
}

void AndWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    Combine<And>(dst, src, count);
}

void XorWords(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept {
    Combine<Xor>(dst, src, count);
}

}  // namespace dxr
