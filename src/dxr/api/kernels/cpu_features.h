// Which vector instructions the processor has, asked for once. No constructor and no resolver at
// load: the first caller asks, and callers that ask at the same time store the same answer.
#ifndef DXR_KERNELS_CPU_FEATURES_H
#define DXR_KERNELS_CPU_FEATURES_H

#include <atomic>
#include <cstdint>

#include "internal/fast_paths.h"
#include "kernels/vector_code.h"

namespace dxr {

// Whether the library has vector versions to choose from.
inline constexpr bool kVectorVersions = kFastPaths && DXR_HAS_VECTOR_CODE != 0;

namespace cpu_features {

inline constexpr uint32_t kAvx2 = 1;
inline constexpr uint32_t kAvx512 = 2;
inline constexpr uint32_t kAsked = 4;

// What the processor says of itself; a leaf that it does not have is 0, and so are the registers
// that the operating system saves where it does not say which.
struct Answers {
    uint32_t leaf1Ecx;
    uint32_t leaf7Ebx;
    uint32_t leaf7Ecx;
    uint64_t savedRegisters;
};

// The features that follow from the answers: of those above, never kAvx512 without kAvx2.
[[nodiscard]] uint32_t FeaturesOf(const Answers &answers) noexcept;

extern constinit std::atomic<uint32_t> g_known;

// Asks the processor, keeps the answer in g_known and returns it.
[[nodiscard, gnu::cold]] uint32_t Ask() noexcept;

[[nodiscard]] inline bool Has(uint32_t feature) noexcept {
    const uint32_t known = g_known.load(std::memory_order_relaxed);
    return (known & feature) != 0 || (known == 0 && (Ask() & feature) != 0);
}

}  // namespace cpu_features

// Whether namespace avx2 may be entered.
[[nodiscard]] inline bool HasAvx2() noexcept {
    return cpu_features::Has(cpu_features::kAvx2);
}

// Whether namespace avx512 may be entered.
[[nodiscard]] inline bool HasAvx512() noexcept {
    return cpu_features::Has(cpu_features::kAvx512);
}

}  // namespace dxr

#endif  // DXR_KERNELS_CPU_FEATURES_H
