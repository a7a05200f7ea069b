#include "kernels/text_hash.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "internal/fast_paths.h"
#include "kernels/cpu_features.h"

namespace dxr {
namespace {

constexpr size_t kShortLanes = 32;
constexpr size_t kLongLanes = 64;
constexpr size_t kLongText = 256;  // from here on the larger step pays

constexpr auto kPowers = [] {
    std::array<uint32_t, kLongLanes + 1> powers = {1};
    for (size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * kTextHashFactor;
    }
    return powers;
}();

#if defined(__x86_64__)

constexpr bool kHasWide = true;
constexpr size_t kWidth = 8;  // lanes of a vector register
using Lanes [[gnu::vector_size(4 * kWidth)]] = uint32_t;

// Factor to the powers 7, 6, ... 0.
constexpr Lanes kWeights = {kPowers[7], kPowers[6], kPowers[5], kPowers[4],
                            kPowers[3], kPowers[2], kPowers[1], kPowers[0]};
constexpr Lanes kLaneNumbers = {0, 1, 2, 3, 4, 5, 6, 7};

// Eight bytes, one a lane.
DXR_TARGET_AVX2 inline Lanes Load(const unsigned char *text) {
    return reinterpret_cast<Lanes>(
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(text))));
}

// Hashes at least kStep bytes, kStep a step: lane j is a polynomial over every kStep-th byte from j
// on, in the factor to the power kStep, and counts in the end with the factor to the power kStep -
// 1 - j. What remains is taken from the last kStep bytes, of which those hashed already count 0:
// the lanes move on by as many bytes as are new.
template <size_t kStep>
DXR_TARGET_AVX2 uint32_t TextHashWide(const unsigned char *text, size_t length) {
    constexpr size_t kVectors = kStep / kWidth;
    const size_t rest = length % kStep;
    const unsigned char *const last = text + length - kStep;
    Lanes lanes[kVectors];
#pragma GCC unroll 8
    for (size_t v = 0; v < kVectors; ++v) {
        lanes[v] = Load(text + v * kWidth);
    }
    for (text += kStep; text <= last; text += kStep) {
#pragma GCC unroll 8
        for (size_t v = 0; v < kVectors; ++v) {
            lanes[v] = lanes[v] * kPowers[kStep] + Load(text + v * kWidth);
        }
    }
    const auto firstNew = static_cast<uint32_t>(kStep - rest);
    Lanes sum = {};
#pragma GCC unroll 8
    for (size_t v = 0; v < kVectors; ++v) {
        const Lanes isNew = kLaneNumbers + static_cast<uint32_t>(v * kWidth) >= firstNew;
        // Horner's rule over the vectors too.
        sum =
            sum * kPowers[kWidth] + (lanes[v] * kPowers[rest] + (Load(last + v * kWidth) & isNew));
    }
    sum *= kWeights;
    uint32_t hash = 0;
    for (size_t lane = 0; lane < kWidth; ++lane) {
        hash += sum[lane];
    }
    return hash;
}

#else

constexpr bool kHasWide = false;
template <size_t kStep>
uint32_t TextHashWide(const unsigned char *text, size_t length);

#endif

// Four bytes a step: the next step waits for one multiplication instead of four.
uint32_t TextHashByFours(const unsigned char *text, size_t length) {
    uint32_t hash = 0;
    size_t i = 0;
    for (; i + 4 <= length; i += 4) {
        hash = hash * kPowers[4] + (text[i] * kPowers[3] + text[i + 1] * kPowers[2] +
                                    text[i + 2] * kPowers[1] + text[i + 3]);
    }
    return TextHashPlain(text + i, length - i, hash);
}

}  // namespace

uint32_t TextHash(const unsigned char *text, size_t length) noexcept {
    if constexpr (!kFastPaths) {
        return TextHashPlain(text, length);
    }
    if (!kHasWide || length < kShortLanes || !HasAvx2()) {
        return TextHashByFours(text, length);
    }
    return length < kLongText ? TextHashWide<kShortLanes>(text, length)
                              : TextHashWide<kLongLanes>(text, length);
}

}  // namespace dxr
