#include "kernels/text_hash.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

namespace dxr::avx2 {
namespace {

constexpr size_t kBlock = 32;
constexpr size_t kBlocks = 4;  // side by side, so that none waits for the one before
constexpr size_t kStride = kBlock * kBlocks;
constexpr size_t kLongText = 2 * kStride;  // from here on strides pay

constexpr uint32_t Power(size_t exponent) {
    uint32_t power = 1;
    for (; exponent > 0; --exponent) {
        power *= kTextHashFactor;
    }
    return power;
}

// The 32 bytes from n on keep the last n bytes of a block and clear those before them.
constexpr auto kKeepLast = [] {
    std::array<uint8_t, 2 *kBlock> bytes = {};
    for (size_t i = kBlock; i < bytes.size(); ++i) {
        bytes[i] = 0xFF;
    }
    return bytes;
}();

template <typename Byte>
DXR_TARGET_AVX2 inline __m256i LoadBytes(const Byte *bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
}

// The hash of each four bytes: bytes are joined to pairs, whose hashes fit in 16 signed bits, and
// pairs to fours.
DXR_TARGET_AVX2 inline __m256i OfFours(__m256i bytes) {
    const __m256i byteWeights = _mm256_set1_epi16(kTextHashFactor | 1 << 8);
    const __m256i pairWeights = _mm256_set1_epi32(Power(2) | 1 << 16);
    return _mm256_madd_epi16(_mm256_maddubs_epi16(bytes, byteWeights), pairWeights);
}

DXR_TARGET_AVX2 inline __m256i Times(__m256i lanes, uint32_t power) {
    return _mm256_mullo_epi32(lanes, _mm256_set1_epi32(static_cast<int>(power)));
}

template <size_t kBytes>
DXR_TARGET_AVX2 inline __m256i MovedOn(__m256i lanes) {
    constexpr uint32_t kPower = Power(kBytes);
    return Times(lanes, kPower);
}

// Lane j counts with the factor to the power of the bytes after it.
DXR_TARGET_AVX2 inline uint32_t Sum(__m256i lanes) {
    constexpr auto kWeight = [](size_t lane) { return static_cast<int>(Power(28 - 4 * lane)); };
    const __m256i weights = _mm256_setr_epi32(kWeight(0), kWeight(1), kWeight(2), kWeight(3),
                                              kWeight(4), kWeight(5), kWeight(6), kWeight(7));
    lanes = _mm256_mullo_epi32(lanes, weights);
    __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
    sum = _mm_add_epi32(sum, _mm_unpackhi_epi64(sum, sum));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sum));
}

// Takes whole strides, at least one, and returns the lanes that they give.
DXR_TARGET_AVX2 inline __m256i OfStrides(const unsigned char *text, size_t strides) {
    __m256i lanes[kBlocks];
#pragma GCC unroll 4
    for (size_t i = 0; i < kBlocks; ++i) {
        lanes[i] = OfFours(LoadBytes(text + i * kBlock));
    }
    while (--strides > 0) {
        text += kStride;
#pragma GCC unroll 4
        for (size_t i = 0; i < kBlocks; ++i) {
            lanes[i] =
                _mm256_add_epi32(MovedOn<kStride>(lanes[i]), OfFours(LoadBytes(text + i * kBlock)));
        }
    }
    __m256i all = lanes[0];
#pragma GCC unroll 4
    for (size_t i = 1; i < kBlocks; ++i) {
        all = _mm256_add_epi32(MovedOn<kBlock>(all), lanes[i]);
    }
    return all;
}

}  // namespace

// Lane j is the hash of bytes 4j to 4j + 3 of every block, as if the bytes between were not there
// but counted: a block moves the lanes on by 31^32 and adds its own. What remains is taken from the
// last 32 bytes, those hashed already cleared: zeros before the rest change nothing.
DXR_TARGET_AVX2 uint32_t TextHash(const unsigned char *text, size_t length) noexcept {
    const unsigned char *const last = text + length - kBlock;
    __m256i lanes;
    if (length >= kLongText) {
        lanes = OfStrides(text, length / kStride);
        text += length / kStride * kStride;
    } else {
        lanes = OfFours(LoadBytes(text));
        text += kBlock;
    }
    for (; text <= last; text += kBlock) {
        lanes = _mm256_add_epi32(MovedOn<kBlock>(lanes), OfFours(LoadBytes(text)));
    }
    const size_t rest = length % kBlock;
    if (rest != 0) {
        const __m256i bytes = _mm256_and_si256(LoadBytes(last), LoadBytes(kKeepLast.data() + rest));
        lanes = _mm256_add_epi32(Times(lanes, text_hash::kPowers[rest]), OfFours(bytes));
    }
    return Sum(lanes);
}

}  // namespace dxr::avx2

#endif
