#include "kernels/word_queries.h"

#include <algorithm>
#include <cstddef>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "internal/fast_paths.h"
#include "kernels/cpu_features.h"

namespace dxr {
namespace {

constexpr size_t kWidth = 8;  // words of a vector register

// Not std::equal, which compares in blocks: nothing behind the first difference is read.
uint32_t AreSame(const uint32_t *a, const uint32_t *b, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (a[i] != b[i]) {
            return 0;
        }
    }
    return 1;
}

uint32_t AreZero(const uint32_t *words, size_t count) {
    return std::all_of(words, words + count, [](uint32_t word) { return word == 0; }) ? 1 : 0;
}

// Compiled for each kind of processor anew, with what it has to count bits.
[[gnu::always_inline]] inline uint32_t Bits(const uint32_t *words, uint32_t count) {
    uint32_t bits = 0;
    for (uint32_t i = 0; i < count; ++i) {
        bits += BitsInWord(words[i]);
    }
    return bits;
}

DXR_TARGET_AVX2 uint32_t BitsByAvx2(const uint32_t *words, uint32_t count) {
    return Bits(words, count);
}

DXR_TARGET_VECTOR_POPCOUNT uint32_t BitsByVectorPopcount(const uint32_t *words, uint32_t count) {
    return Bits(words, count);
}

#if defined(__x86_64__)

constexpr size_t kStep = 4 * kWidth;

DXR_TARGET_AVX2 inline __m256i Load(const uint32_t *words) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(words));
}

DXR_TARGET_AVX2 inline bool IsZero(__m256i bits) {
    return _mm256_testz_si256(bits, bits) != 0;
}

struct Content {
    const uint32_t *words;
    [[nodiscard]] DXR_TARGET_AVX2 __m256i At(size_t i) const { return Load(words + i); }
};

struct Difference {
    const uint32_t *a;
    const uint32_t *b;
    [[nodiscard]] DXR_TARGET_AVX2 __m256i At(size_t i) const {
        return _mm256_xor_si256(Load(a + i), Load(b + i));
    }
};

// Looks at `count` words, at least kWidth; at the last ones perhaps twice.
template <typename Source>
DXR_TARGET_AVX2 inline uint32_t IsAllZero(Source source, size_t count) {
    const size_t inSteps = count / kStep * kStep;
    for (size_t i = 0; i != inSteps; i += kStep) {
        const __m256i low = _mm256_or_si256(source.At(i), source.At(i + kWidth));
        const __m256i high = _mm256_or_si256(source.At(i + 2 * kWidth), source.At(i + 3 * kWidth));
        if (!IsZero(_mm256_or_si256(low, high))) {
            return 0;
        }
    }
    for (size_t i = inSteps; i < count; i += kWidth) {
        if (!IsZero(source.At(std::min(i, count - kWidth)))) {
            return 0;
        }
    }
    return 1;
}

DXR_TARGET_AVX2 uint32_t AreZeroByAvx2(const uint32_t *words, size_t count) {
    return IsAllZero(Content{words}, count);
}

// Words from `a` and `b` on that lie in the pages of the first two. At least one.
size_t WordsInPages(const uint32_t *a, const uint32_t *b) {
    constexpr uintptr_t kPage = 4096;  // the smallest there is
    const uintptr_t offset =
        std::max(reinterpret_cast<uintptr_t>(a) % kPage, reinterpret_cast<uintptr_t>(b) % kPage);
    return (kPage - offset + sizeof(*a) - 1) / sizeof(*a);
}

// May read all of the words whatever they are.
[[gnu::noinline]] DXR_TARGET_AVX2 uint32_t AreSameReadingAhead(const uint32_t *a, const uint32_t *b,
                                                               size_t count) {
    return count >= kWidth ? IsAllZero(Difference{a, b}, count) : AreSame(a, b, count);
}

// Reads ahead within a page only.
DXR_TARGET_AVX2 uint32_t AreSameByAvx2(const uint32_t *a, const uint32_t *b, size_t count) {
    for (size_t part = WordsInPages(a, b); part < count; part = WordsInPages(a, b)) {
        if (AreSameReadingAhead(a, b, part) == 0) {
            return 0;
        }
        a += part;
        b += part;
        count -= part;
    }
    return AreSameReadingAhead(a, b, count);
}

#else

uint32_t AreZeroByAvx2(const uint32_t *words, size_t count) {
    return AreZero(words, count);
}

uint32_t AreSameByAvx2(const uint32_t *a, const uint32_t *b, size_t count) {
    return AreSame(a, b, count);
}

#endif

}  // namespace

uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, uint32_t count) noexcept {
    return kFastPaths && count >= kWidth && HasAvx2() ? AreSameByAvx2(a, b, count)
                                                      : AreSame(a, b, count);
}

uint32_t AreZeroWords(const uint32_t *words, uint32_t count) noexcept {
    return kFastPaths && count >= kWidth && HasAvx2() ? AreZeroByAvx2(words, count)
                                                      : AreZero(words, count);
}

uint32_t BitsInWords(const uint32_t *words, uint32_t count) noexcept {
    if (kFastPaths && HasVectorPopcount()) {
        return BitsByVectorPopcount(words, count);
    }
    return kFastPaths && HasAvx2() ? BitsByAvx2(words, count) : Bits(words, count);
}

}  // namespace dxr
