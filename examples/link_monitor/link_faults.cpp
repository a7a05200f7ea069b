#include "link_faults.h"

#include <cstring>
#include <new>

// One block: the counters follow. Zeroed memory is a counter that has counted nothing.
struct LinkFaults {
    DxrFaultAccumulatedSpec rule;

    DxrCounter *Counters() { return reinterpret_cast<DxrCounter *>(this + 1); }
    [[nodiscard]] const DxrCounter *Counters() const {
        return reinterpret_cast<const DxrCounter *>(this + 1);
    }
};

LinkFaults *LinkFaultsCreate(uint32_t mid, uint32_t links, uint32_t losses, uint32_t sec) {
    const auto size = static_cast<uint32_t>(sizeof(LinkFaults) + links * sizeof(DxrCounter));
    void *const block = DXR_Malloc(mid, size, __FILE__, __LINE__);
    if (block == nullptr) {
        return nullptr;
    }
    std::memset(block, 0, size);
    return new (block) LinkFaults{DxrFaultAccumulatedSpec(sec, losses)};
}

void LinkFaultsDestroy(LinkFaults *faults) {
    if (faults != nullptr) {
        faults->~LinkFaults();
        DXR_Free(faults, __FILE__, __LINE__);
    }
}

void LinkFaultsCount(LinkFaults *faults, uint32_t link) {
    faults->Counters()[link].IncreaseCount();
}

bool LinkFaultsIsFaulty(const LinkFaults *faults, uint32_t link) {
    return faults->rule.IsSatisfied(&faults->Counters()[link]);
}
