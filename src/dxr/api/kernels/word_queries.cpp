#include "kernels/word_queries.h"

#include "kernels/cpu_features.h"

namespace dxr::word_queries {

uint32_t AreSameMany(const uint32_t *a, const uint32_t *b, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx512()) {
            return avx512::AreSameWords(a, b, count);
        }
        if (HasAvx2()) {
            return avx2::AreSameWords(a, b, count);
        }
    }
    return AreSame(a, b, count);
}

uint32_t AreZeroMany(const uint32_t *words, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            return avx2::AreZeroWords(words, count);
        }
    }
    return AreZero(words, count);
}

uint32_t BitsInMany(const uint32_t *words, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx512()) {
            return avx512::BitsInWords(words, count);
        }
        if (HasAvx2()) {
            return avx2::BitsInWords(words, count);
        }
    }
    return Bits(words, count);
}

}  // namespace dxr::word_queries
