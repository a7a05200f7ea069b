#include "kernels/word_operations.h"

#include <cstring>

#include "kernels/cpu_features.h"

namespace dxr::word_operations {

void CopyMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    const size_t size = count * sizeof(*dst);
    const bool apart = Distance(dst, src) >= size && Distance(src, dst) >= size;
    if (apart) {
        // As bytes: the compiler may otherwise take words for aligned.
        std::memcpy(reinterpret_cast<uint8_t *>(dst), reinterpret_cast<const uint8_t *>(src), size);
    } else {
        OfWords<Copy>(dst, src, count);
    }
}

void OrMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            avx2::OrWords(dst, src, count);
            return;
        }
    }
    OfWords<Or>(dst, src, count);
}

void AndMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            avx2::AndWords(dst, src, count);
            return;
        }
    }
    OfWords<And>(dst, src, count);
}

void XorMany(uint32_t *dst, const uint32_t *src, size_t count) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            avx2::XorWords(dst, src, count);
            return;
        }
    }
    OfWords<Xor>(dst, src, count);
}

}  // namespace dxr::word_operations
