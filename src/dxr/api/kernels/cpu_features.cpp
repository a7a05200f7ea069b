#include "kernels/cpu_features.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace dxr::cpu_features {
namespace {

#if defined(__x86_64__)

constexpr bool HasAll(uint64_t bits, uint64_t wanted) {
    return (bits & wanted) == wanted;
}

uint64_t SavedRegisters() {
    uint32_t low = 0;
    uint32_t high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (uint64_t{high} << 32U) | low;
}

uint32_t Features() {
    constexpr uint64_t kAvxState = 0x06;
    constexpr uint64_t kAvx512State = 0xE6;
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 ||
        !HasAll(ecx, bit_OSXSAVE | bit_AVX | bit_PCLMUL | bit_POPCNT)) {
        return 0;
    }
    const uint64_t saved = SavedRegisters();
    if (!HasAll(saved, kAvxState) || __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0 ||
        !HasAll(ebx, bit_AVX2 | bit_BMI | bit_BMI2)) {
        return 0;
    }
    const bool vectorPopcount = HasAll(saved, kAvx512State) &&
                                HasAll(ebx, bit_AVX512F | bit_AVX512VL) &&
                                HasAll(ecx, bit_AVX512VPOPCNTDQ);
    return kAvx2 | (vectorPopcount ? kVectorPopcount : 0);
}

#else

uint32_t Features() {
    return 0;
}

#endif

}  // namespace

constinit std::atomic<uint32_t> g_known = 0;

uint32_t Ask() noexcept {
    const uint32_t features = Features() | kAsked;
    g_known.store(features, std::memory_order_relaxed);
    return features;
}

}  // namespace dxr::cpu_features
