#include "kernels/word_queries.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx2 {
namespace {

constexpr size_t kWidth = 8;  // words of a vector register
constexpr size_t kStep = 4 * kWidth;

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

DXR_TARGET_AVX2 inline bool AreZero(__m256i low, __m256i high) {
    const __m256i bits = _mm256_or_si256(low, high);
    return _mm256_testz_si256(bits, bits) != 0;
}

// Looks at `count` words, at least kWidth; at some perhaps twice.
template <typename Source>
DXR_TARGET_AVX2 inline uint32_t IsAllZero(Source source, size_t count) {
    for (; count > kStep; count -= kStep, source.Skip(ptrdiff_t{kStep})) {
        if (!AreZero(Both(source, 0, kWidth), Both(source, 2 * kWidth, 3 * kWidth))) {
            return 0;
        }
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

// Words from `a` and `b` on of which every byte lies in the page of the first. None where the
// first word itself goes on into the next page.
size_t WordsInPages(const uint32_t *a, const uint32_t *b) {
    using word_queries::kPage;
    const uintptr_t offset =
        std::max(reinterpret_cast<uintptr_t>(a) % kPage, reinterpret_cast<uintptr_t>(b) % kPage);
    return (kPage - offset) / sizeof(*a);
}

DXR_TARGET_AVX2 inline uint32_t AreSameReadingAhead(const uint32_t *a, const uint32_t *b,
                                                    size_t count) {
    return count >= kWidth ? IsAllZero(Difference{a, b}, count)
                           : word_queries::AreSame(a, b, count);
}

// Reads ahead within a page only: a word over a page's end is looked at alone.
DXR_TARGET_AVX2 [[gnu::noinline]] uint32_t AreSamePageByPage(const uint32_t *a, const uint32_t *b,
                                                             size_t count) noexcept {
    for (;;) {
        const size_t part = std::max<size_t>(WordsInPages(a, b), 1);
        if (part >= count) {
            return AreSameReadingAhead(a, b, count);
        }
        if (AreSameReadingAhead(a, b, part) == 0) {
            return 0;
        }
        a += part;
        b += part;
        count -= part;
    }
}

}  // namespace

DXR_TARGET_AVX2 uint32_t AreZeroWords(const uint32_t *words, size_t count) noexcept {
    return IsAllZero(Content{words}, count);
}

// Most arrays lie in a page each: what the others take is not paid for by them.
DXR_TARGET_AVX2 uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, size_t count) noexcept {
    const uintptr_t offsets = reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b);
    if (offsets % word_queries::kPage + count * sizeof(*a) <= word_queries::kPage) [[likely]] {
        return IsAllZero(Difference{a, b}, count);
    }
    return AreSamePageByPage(a, b, count);
}

DXR_TARGET_AVX2 uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept {
    return word_queries::Bits(words, count);
}

}  // namespace dxr::avx2

#endif
