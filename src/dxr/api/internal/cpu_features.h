// Which vector instructions the processor has, asked for once. No constructor and no resolver at
// load: the first caller asks, and callers that ask at the same time store the same answer.
#ifndef DXR_INTERNAL_CPU_FEATURES_H
#define DXR_INTERNAL_CPU_FEATURES_H

namespace dxr {

// AVX2, with its registers saved by the operating system.
[[nodiscard]] bool HasAvx2() noexcept;

}  // namespace dxr

// Compiles a function for AVX2; it is called only where HasAvx2().
#if defined(__x86_64__)
#define DXR_TARGET_AVX2 [[gnu::target("avx2,bmi,bmi2,popcnt")]]
#else
#define DXR_TARGET_AVX2
#endif

#endif  // DXR_INTERNAL_CPU_FEATURES_H
