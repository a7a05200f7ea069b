#include "internal/cpu_features.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace dxr {
namespace {

#if defined(__x86_64__)

std::uint64_t SavedRegisters() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (std::uint64_t{high} << 32U) | low;
}

bool SupportsAvx2() {
    constexpr std::uint64_t kSseAndAvxState = 6;
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    constexpr unsigned kBasic = bit_OSXSAVE | bit_AVX | bit_PCLMUL | bit_POPCNT;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & kBasic) != kBasic ||
        (SavedRegisters() & kSseAndAvxState) != kSseAndAvxState) {
        return false;
    }
    constexpr unsigned kExtended = bit_AVX2 | bit_BMI | bit_BMI2;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & kExtended) == kExtended;
}

#else

bool SupportsAvx2() {
    return false;
}

#endif

}  // namespace

namespace cpu_features {

constinit std::atomic<Answer> g_avx2 = Answer::kUnknown;

bool AskForAvx2() noexcept {
    const bool yes = SupportsAvx2();
    g_avx2.store(yes ? Answer::kYes : Answer::kNo, std::memory_order_relaxed);
    return yes;
}

}  // namespace cpu_features

}  // namespace dxr
