#include "kernels/text_hash.h"

#include "kernels/cpu_features.h"

namespace dxr::text_hash {

uint32_t OfLong(const unsigned char *text, size_t length) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            return avx2::TextHash(text, length);
        }
    }
    return ByEights(text, length);
}

}  // namespace dxr::text_hash
