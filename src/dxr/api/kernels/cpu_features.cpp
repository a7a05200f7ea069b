#include "kernels/cpu_features.h"

#if DXR_HAS_VECTOR_CODE
#include <cpuid.h>
#endif

namespace dxr::cpu_features {
namespace {

constexpr uint32_t Bit(unsigned number) {
    return uint32_t{1} << number;
}

// Leaf 1, ECX.
constexpr uint32_t kPclmulBit = Bit(1);
constexpr uint32_t kPopcntBit = Bit(23);
constexpr uint32_t kOsxsaveBit = Bit(27);  // the operating system says which registers it saves
constexpr uint32_t kAvxBit = Bit(28);

// Leaf 7, EBX.
constexpr uint32_t kBmi1Bit = Bit(3);
constexpr uint32_t kAvx2Bit = Bit(5);
constexpr uint32_t kBmi2Bit = Bit(8);
constexpr uint32_t kAvx512FBit = Bit(16);
constexpr uint32_t kAvx512VlBit = Bit(31);

// Leaf 7, ECX.
constexpr uint32_t kAvx512VpopcntdqBit = Bit(14);

// Registers that the operating system saves: of SSE and AVX; masks, upper halves and upper sixteen
// of AVX-512 besides.
constexpr uint32_t kAvxState = Bit(1) | Bit(2);
constexpr uint32_t kAvx512State = kAvxState | Bit(5) | Bit(6) | Bit(7);

constexpr bool HasAll(uint64_t bits, uint64_t wanted) {
    return (bits & wanted) == wanted;
}

#if DXR_HAS_VECTOR_CODE

uint64_t SavedRegisters() {
    uint32_t low = 0;
    uint32_t high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (uint64_t{high} << 32U) | low;
}

Answers AskProcessor() {
    Answers answers = {};
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0) {
        answers.leaf1Ecx = ecx;
    }
    if (__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0) {
        answers.leaf7Ebx = ebx;
        answers.leaf7Ecx = ecx;
    }
    // Without this bit the instruction is not known.
    if (HasAll(answers.leaf1Ecx, kOsxsaveBit)) {
        answers.savedRegisters = SavedRegisters();
    }
    return answers;
}

#else

Answers AskProcessor() {
    return {};
}

#endif

}  // namespace

constinit std::atomic<uint32_t> g_known = 0;

uint32_t FeaturesOf(const Answers &answers) noexcept {
    const bool avx2 = HasAll(answers.leaf1Ecx, kOsxsaveBit | kAvxBit | kPclmulBit | kPopcntBit) &&
                      HasAll(answers.leaf7Ebx, kAvx2Bit | kBmi1Bit | kBmi2Bit) &&
                      HasAll(answers.savedRegisters, kAvxState);
    const bool avx512 = avx2 && HasAll(answers.leaf7Ebx, kAvx512FBit | kAvx512VlBit) &&
                        HasAll(answers.leaf7Ecx, kAvx512VpopcntdqBit) &&
                        HasAll(answers.savedRegisters, kAvx512State);
    return (avx2 ? kAvx2 : 0) | (avx512 ? kAvx512 : 0);
}

uint32_t Ask() noexcept {
    const uint32_t features = FeaturesOf(AskProcessor()) | kAsked;
    g_known.store(features, std::memory_order_relaxed);
    return features;
}

}  // namespace dxr::cpu_features
