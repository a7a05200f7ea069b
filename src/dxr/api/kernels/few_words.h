// Small arrays of words are worked on in place, in registers that every processor has: before
// anything is asked or called.
#ifndef DXR_KERNELS_FEW_WORDS_H
#define DXR_KERNELS_FEW_WORDS_H

#include <cstdint>
#include <cstring>

namespace dxr {

inline constexpr uint32_t kFewWords = 8;

namespace few_words {

using Two = uint64_t;
using Four [[gnu::vector_size(16)]] = uint32_t;

// By bytes: an array may lie anywhere.
template <typename Chunk>
[[nodiscard, gnu::always_inline]] inline Chunk Load(const uint32_t *words) {
    Chunk chunk;
    std::memcpy(&chunk, reinterpret_cast<const unsigned char *>(words), sizeof(chunk));
    return chunk;
}

template <typename Chunk>
[[gnu::always_inline]] inline void Store(uint32_t *words, Chunk chunk) {
    std::memcpy(reinterpret_cast<unsigned char *>(words), &chunk, sizeof(chunk));
}

}  // namespace few_words
}  // namespace dxr

#endif  // DXR_KERNELS_FEW_WORDS_H
