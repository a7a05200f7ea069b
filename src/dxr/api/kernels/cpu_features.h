// Which vector instructions the processor has, asked for once. No constructor and no resolver at
// load: the first caller asks, and callers that ask at the same time store the same answer.
#ifndef DXR_KERNELS_CPU_FEATURES_H
#define DXR_KERNELS_CPU_FEATURES_H

#include <atomic>
#include <cstdint>

namespace dxr {

namespace cpu_features {

inline constexpr uint32_t kAvx2 = 1;
inline constexpr uint32_t kVectorPopcount = 2;
inline constexpr uint32_t kAsked = 4;

extern constinit std::atomic<uint32_t> g_known;

// Asks the processor, keeps the answer in g_known and returns it.
[[nodiscard, gnu::cold]] uint32_t Ask() noexcept;

[[nodiscard]] inline bool Has(uint32_t feature) noexcept {
    const uint32_t known = g_known.load(std::memory_order_relaxed);
    return (known & feature) != 0 || (known == 0 && (Ask() & feature) != 0);
}

}  // namespace cpu_features

// AVX2 and what processors with AVX2 have besides, with the registers saved by the operating
// system.
[[nodiscard]] inline bool HasAvx2() noexcept {
    return cpu_features::Has(cpu_features::kAvx2);
}

// The count of set bits in each lane of a vector register.
[[nodiscard]] inline bool HasVectorPopcount() noexcept {
    return cpu_features::Has(cpu_features::kVectorPopcount);
}

}  // namespace dxr

// Compile a function for the instructions that are asked for above; it is called only where the
// processor has them.
#if defined(__x86_64__)
#define DXR_TARGET_AVX2 [[gnu::target("avx2,bmi,bmi2,pclmul,popcnt")]]
#define DXR_TARGET_VECTOR_POPCOUNT \
    [[gnu::target("avx512f,avx512vl,avx512vpopcntdq,bmi,bmi2,popcnt")]]
#else
#define DXR_TARGET_AVX2
#define DXR_TARGET_VECTOR_POPCOUNT
#endif

#endif  // DXR_KERNELS_CPU_FEATURES_H
