#include "kernels/wide_crc8.h"

#include <array>
#include <cstddef>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "internal/fast_paths.h"
#include "kernels/cpu_features.h"

namespace dxr {
namespace {

constexpr size_t kBlock = 16;

#if defined(__x86_64__)

constexpr size_t kLargeBlock = 32;
constexpr size_t kLargeBlocks = 4;  // side by side, so that none waits for the one before
constexpr size_t kStride = kLargeBlock * kLargeBlocks;
constexpr size_t kLongData = 2 * kStride;  // from here on large blocks pay

constexpr auto kTable = [] {
    std::array<uint8_t, 256> table = {};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = Crc8Entry(static_cast<uint8_t>(i));
    }
    return table;
}();

// What a register becomes by kBytes bytes of 0: the sum of what its low four bits and its high four
// bits become.
struct Move {
    alignas(kBlock) uint8_t ofLow[16];
    alignas(kBlock) uint8_t ofHigh[16];
};

template <size_t kBytes>
constexpr Move kMove = [] {
    Move move = {};
    for (size_t i = 0; i < 16; ++i) {
        move.ofLow[i] = static_cast<uint8_t>(i);
        move.ofHigh[i] = static_cast<uint8_t>(i << 4U);
        for (size_t byte = 0; byte < kBytes; ++byte) {
            move.ofLow[i] = kTable[move.ofLow[i]];
            move.ofHigh[i] = kTable[move.ofHigh[i]];
        }
    }
    return move;
}();

// The 16 bytes from n on move the first n bytes of a block to its end and put zeros before them.
constexpr uint8_t kZero = 0x80;
constexpr uint8_t kToEnd[2 * kBlock] = {kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
                                        kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
                                        0,     1,     2,     3,     4,     5,     6,     7,
                                        8,     9,     10,    11,    12,    13,    14,    15};

// x^exponent modulo the generator; `exponent` is a multiple of 8.
constexpr int64_t PowerOfX(int exponent) {
    uint8_t power = 1;
    for (; exponent > 0; exponent -= 8) {
        power = kTable[power];
    }
    return power;
}

// The quotient of x^70 by the generator.
constexpr uint64_t kReciprocal = [] {
    uint64_t quotient = 0;
    uint32_t rest = 1;
    for (int i = 0; i < 70; ++i) {
        rest <<= 1U;
        const uint32_t carry = rest >> 8U;
        rest ^= carry != 0 ? 0x100U | kCrc8Polynomial : 0;
        quotient = quotient << 1U | carry;
    }
    return quotient;
}();

DXR_TARGET_AVX2 inline __m128i Load(const uint8_t *bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

DXR_TARGET_AVX2 inline __m256i LoadLarge(const uint8_t *bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
}

DXR_TARGET_AVX2 inline bool IsGenerators(const uint8_t *table) {
    __m256i difference = _mm256_setzero_si256();
    for (size_t i = 0; i < kTable.size(); i += kLargeBlock) {
        difference = _mm256_or_si256(
            difference, _mm256_xor_si256(LoadLarge(table + i), LoadLarge(kTable.data() + i)));
    }
    return _mm256_testz_si256(difference, difference) != 0;
}

template <size_t kBytes>
DXR_TARGET_AVX2 inline __m256i Moved(__m256i block) {
    const __m256i ofLow = _mm256_broadcastsi128_si256(Load(kMove<kBytes>.ofLow));
    const __m256i ofHigh = _mm256_broadcastsi128_si256(Load(kMove<kBytes>.ofHigh));
    const __m256i fourBits = _mm256_set1_epi8(0x0F);
    const __m256i low = _mm256_and_si256(block, fourBits);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(block, 4), fourBits);
    return _mm256_xor_si256(_mm256_shuffle_epi8(ofLow, low), _mm256_shuffle_epi8(ofHigh, high));
}

template <size_t kBytes>
DXR_TARGET_AVX2 inline __m128i Moved(__m128i block) {
    return _mm256_castsi256_si128(Moved<kBytes>(_mm256_castsi128_si256(block)));
}

// Takes the whole strides of the `length` bytes at `data`, after those that `block` stands for.
DXR_TARGET_AVX2 inline __m128i WithStrides(__m128i block, const uint8_t *data, uint64_t length) {
    __m256i large[kLargeBlocks] = {};
    large[kLargeBlocks - 1] = _mm256_inserti128_si256(large[0], block, 1);
    for (; length >= kStride; length -= kStride, data += kStride) {
#pragma GCC unroll 4
        for (size_t i = 0; i < kLargeBlocks; ++i) {
            large[i] =
                _mm256_xor_si256(Moved<kStride>(large[i]), LoadLarge(data + i * kLargeBlock));
        }
    }
    __m256i sum = large[0];
    for (size_t i = 1; i < kLargeBlocks; ++i) {
        sum = _mm256_xor_si256(Moved<kLargeBlock>(sum), large[i]);
    }
    return _mm_xor_si128(Moved<kBlock>(_mm256_castsi256_si128(sum)),
                         _mm256_extracti128_si256(sum, 1));
}

// The remainder of a block's polynomial, whose first byte has the highest powers, times x^8. The
// products of its halves with their powers of x add up to 71 bits, here moved up by one, as is the
// reciprocal: then the quotient begins at bit 64 of the second product. Its low byte is enough, as
// only that of its product with the generator is needed.
DXR_TARGET_AVX2 inline uint32_t Remainder(__m128i block) {
    const __m128i reversed =
        _mm_shuffle_epi8(block, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    const __m128i powers = _mm_set_epi64x(PowerOfX(72) << 1, PowerOfX(8) << 1);
    const __m128i sum = _mm_xor_si128(_mm_clmulepi64_si128(reversed, powers, 0x11),
                                      _mm_clmulepi64_si128(reversed, powers, 0x00));
    const __m128i reciprocal = _mm_cvtsi64_si128(static_cast<int64_t>(kReciprocal << 1U));
    const __m128i product = _mm_clmulepi64_si128(_mm_srli_si128(sum, 1), reciprocal, 0x00);
    const auto quotient = static_cast<uint32_t>(_mm_extract_epi16(product, 4));
    const auto rest = static_cast<uint32_t>(_mm_cvtsi128_si32(sum)) >> 1U;
    return (rest ^ quotient ^ quotient << 4U ^ quotient << 5U) & 0xFFU;
}

// Lane j of a block is a register over every 16th byte from j on; a step moves the lanes on and
// adds the next block. Zeros before the data change nothing, so the first block takes as many bytes
// as leave whole blocks.
DXR_TARGET_AVX2 inline uint32_t Crc8ByBlocks(const uint8_t *data, uint64_t length) {
    const uint8_t *const end = data + length;
    const size_t first = (length - 1) % kBlock + 1;
    __m128i block = _mm_shuffle_epi8(Load(data), Load(kToEnd + first));
    data += first;
    length -= first;
    if (length >= kLongData) {
        block = WithStrides(block, data, length);
        data += length / kStride * kStride;
    }
    for (; data != end; data += kBlock) {
        block = _mm_xor_si128(Moved<kBlock>(block), Load(data));
    }
    return Remainder(block);
}

DXR_TARGET_AVX2 uint32_t Crc8ByAvx2(const uint8_t *table, const uint8_t *data, uint64_t length) {
    return IsGenerators(table) ? Crc8ByBlocks(data, length) : Crc8ByBytes(table, data, length);
}

#else

uint32_t Crc8ByAvx2(const uint8_t *table, const uint8_t *data, uint64_t length) {
    return Crc8ByBytes(table, data, length);
}

#endif

}  // namespace

uint32_t Crc8(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept {
    return kFastPaths && length >= kBlock && HasAvx2() ? Crc8ByAvx2(table, data, length)
                                                       : Crc8ByBytes(table, data, length);
}

}  // namespace dxr
