// Which vector instructions the processor has, asked for once. No constructor and no resolver at
// load: the first caller asks, and callers that ask at the same time store the same answer.
#ifndef DXR_INTERNAL_CPU_FEATURES_H
#define DXR_INTERNAL_CPU_FEATURES_H

#include <atomic>
#include <cstdint>

namespace dxr {

namespace cpu_features {
enum class Answer : std::uint8_t { kUnknown, kNo, kYes };
extern constinit std::atomic<Answer> g_avx2;
[[nodiscard, gnu::cold]] bool AskForAvx2() noexcept;
}  // namespace cpu_features

// AVX2 and what processors with AVX2 have besides, with the registers saved by the operating
// system.
[[nodiscard]] inline bool HasAvx2() noexcept {
    using cpu_features::Answer;
    const Answer answer = cpu_features::g_avx2.load(std::memory_order_relaxed);
    return answer == Answer::kYes || (answer == Answer::kUnknown && cpu_features::AskForAvx2());
}

}  // namespace dxr

// Compiles a function for AVX2; it is called only where HasAvx2().
#if defined(__x86_64__)
#define DXR_TARGET_AVX2 [[gnu::target("avx2,bmi,bmi2,pclmul,popcnt")]]
#else
#define DXR_TARGET_AVX2
#endif

#endif  // DXR_INTERNAL_CPU_FEATURES_H
