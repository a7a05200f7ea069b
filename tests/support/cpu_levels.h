// Runs fast paths as processors with fewer instructions would take them. For test programs that
// link the internals.
#ifndef DXR_TESTS_SUPPORT_CPU_LEVELS_H
#define DXR_TESTS_SUPPORT_CPU_LEVELS_H

#include <cstdint>
#include <vector>

#include "kernels/cpu_features.h"

namespace dxrtest {

// Nothing, AVX2 alone, and all that this processor has.
inline std::vector<uint32_t> CpuLevels() {
    namespace cpu = dxr::cpu_features;
    const uint32_t all = cpu::Ask();
    return {cpu::kAsked, all & (cpu::kAsked | cpu::kAvx2), all};
}

// While it lives, the processor is taken to have this level.
class CpuLevel {
  public:
    explicit CpuLevel(uint32_t level) { dxr::cpu_features::g_known = level; }
    ~CpuLevel() { dxr::cpu_features::g_known = 0; }
    CpuLevel(const CpuLevel &) = delete;
    CpuLevel &operator=(const CpuLevel &) = delete;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_CPU_LEVELS_H
