#include "kernels/text_hash.h"

#include "kernels/cpu_features.h"

namespace dxr::text_hash {
namespace {

// Not inlined: what the callers do with short texts stays small.
[[gnu::noinline]] uint32_t OfLongByEights(const unsigned char *text, size_t length) {
    return ByEights(text, length);
}

}  // namespace

uint32_t OfLong(const unsigned char *text, size_t length) noexcept {
    if constexpr (kVectorVersions) {
        if (HasAvx2()) {
            return avx2::TextHash(text, length);
        }
    }
    return OfLongByEights(text, length);
}

}  // namespace dxr::text_hash
