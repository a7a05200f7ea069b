#include "kernels/word_queries.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx512 {

DXR_TARGET_AVX512 uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept {
    return word_queries::Bits(words, count);
}

}  // namespace dxr::avx512

#endif
