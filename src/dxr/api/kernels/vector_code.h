// What every file of vector code begins with: the intrinsics, where there are any, and the marks of
// functions that are compiled for more instructions than every processor has. Such a function is
// called only where cpu_features.h says that the processor has them.
//
// A kernel is three things: a portable version, a vector version in a file that ends in the name of
// its instructions, and the choice between them, in the file without an ending. The vector versions
// stand in namespaces named after the instructions, and are declared here so that the choice
// compiles on all processors.
#ifndef DXR_KERNELS_VECTOR_CODE_H
#define DXR_KERNELS_VECTOR_CODE_H

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__)
#include <immintrin.h>
#define DXR_HAS_VECTOR_CODE 1
#define DXR_TARGET_AVX2 [[gnu::target("avx2,bmi,bmi2,pclmul,popcnt")]]
#define DXR_TARGET_AVX512 [[gnu::target("avx512f,avx512vl,avx512vpopcntdq,bmi,bmi2,popcnt")]]
#else
#define DXR_HAS_VECTOR_CODE 0
#endif

namespace dxr {

// AVX2 and what processors with AVX2 have besides: bit manipulation, population count and
// carry-less multiplication.
namespace avx2 {

// At least 32 bytes.
[[nodiscard]] uint32_t TextHash(const unsigned char *text, size_t length) noexcept;

// Whether the table holds the generator's entries, so that no byte needs to be looked up in it.
[[nodiscard]] bool IsGenerators(const uint8_t *table) noexcept;

// At least 16 bytes.
[[nodiscard]] uint32_t Crc8(const uint8_t *table, const uint8_t *data, uint64_t length) noexcept;

// At least 8 words each.
void OrWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
void AndWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
void XorWords(uint32_t *dst, const uint32_t *src, size_t count) noexcept;
[[nodiscard]] uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, size_t count) noexcept;
[[nodiscard]] uint32_t AreZeroWords(const uint32_t *words, size_t count) noexcept;

[[nodiscard]] uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept;

}  // namespace avx2

// AVX-512 with the population count of each lane.
namespace avx512 {

// At least 8 words each.
[[nodiscard]] uint32_t AreSameWords(const uint32_t *a, const uint32_t *b, size_t count) noexcept;
[[nodiscard]] uint32_t BitsInWords(const uint32_t *words, size_t count) noexcept;

}  // namespace avx512
}  // namespace dxr

#endif  // DXR_KERNELS_VECTOR_CODE_H
