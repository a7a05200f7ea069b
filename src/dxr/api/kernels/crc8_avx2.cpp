// How the CRC is taken of many bytes at once.
//
// 1. A CRC is a remainder. Write the data as a polynomial over the two-element field, one
//    coefficient a bit, the first bit with the highest power; adding is XOR. Then
//    crc(data) = data * x^8 mod G. The remainder is linear: that of a sum is the sum of those of
//    its parts. And a factor may be replaced by its own remainder at any time. All that follows is
//    these two facts.
//
// 2. Zeros before the data change nothing; a zero after them is a factor of x. A table entry says
//    what a register becomes by eight zeros, T[r] = r * x^8 mod G, and the loop over the bytes is
//    Horner's rule: crc = T[crc + byte].
//
// 3. Sixteen registers instead of one. Byte j of a vector is the register of the data's bytes j,
//    j + 16, j + 32, ... Each of these is followed by the next one 16 bytes further on, hence
//    lane = lane * x^128 mod G + next byte. The lanes do not wait for each other.
//
// 4. Multiplying a lane by x^128 mod G is a table of 256 entries again. By linearity one of 16 for
//    the low four bits and one of 16 for the high four do, added: and a table of 16 bytes is what a
//    shuffle looks up in all lanes at once (Move, Moved). Any other distance has tables of its own;
//    with 128 bytes a step, four vectors of 32 lanes each hide the shuffles' latency (WithStrides).
//
// 5. What remains is a vector of 16 registers, which is itself a polynomial P of 128 bits with the
//    same remainder as the data: lane j stands in front of 15 - j others. So crc = P * x^8 mod G.
//
// 6. The last remainder is taken by carry-less multiplication (Remainder). With P = H * x^64 + L,
//        S = H * (x^72 mod G) + L * (x^8 mod G)
//    has the same remainder and 71 bits at most, as the two factors in brackets have 8 bits. Then
//    division by a multiplication with the reciprocal: with R the quotient of x^70 by G, the
//    quotient of S by G is the part of S * R from x^70 up. (S is below x^71, and what R leaves out
//    is below x^0: multiplied by S it does not reach x^71, and carries, which would spoil this for
//    integers, do not exist.) At last crc = S - quotient * G, of which the low eight bits are
//    enough.
#include "kernels/crc8.h"

#include "kernels/vector_code.h"

#if DXR_HAS_VECTOR_CODE

#include <array>

namespace dxr::avx2 {
namespace {

constexpr size_t kBlock = 16;
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

// x^exponent mod G; `exponent` is a multiple of 8.
constexpr int64_t PowerOfX(int exponent) {
    uint8_t power = 1;
    for (; exponent > 0; exponent -= 8) {
        power = kTable[power];
    }
    return power;
}

// R, the quotient of x^70 by G.
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

}  // namespace

DXR_TARGET_AVX2 bool IsGenerators(const uint8_t *table) noexcept {
    __m256i difference = _mm256_setzero_si256();
    for (size_t i = 0; i < kTable.size(); i += kLargeBlock) {
        difference = _mm256_or_si256(
            difference, _mm256_xor_si256(LoadLarge(table + i), LoadLarge(kTable.data() + i)));
    }
    return _mm256_testz_si256(difference, difference) != 0;
}

namespace {

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

// P * x^8 mod G, P being the block with the first byte in the highest powers. S is kept with a
// factor of x, and so is R: then the 64 highest of its bits begin at a whole byte, those below
// cannot reach the quotient, and the quotient begins at bit 64 of the second product.
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

// Zeros before the data change nothing, so the first block takes as many bytes as leave whole
// blocks.
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

}  // namespace

DXR_TARGET_AVX2 uint32_t Crc8(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept {
    return IsGenerators(table) ? Crc8ByBlocks(data, length) : Crc8ByBytes(table, data, length);
}

}  // namespace dxr::avx2

#endif
