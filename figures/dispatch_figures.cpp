#include "dxr_api.h"
#include "figures.h"
#include "library_peers.h"

namespace bench {
namespace {

uint32_t ReadReg(uint32_t a, uint32_t b, uint32_t c, void *out) {
    *static_cast<uint32_t *>(out) = a + b + c;
    return a ^ c;
}

// The function is not inlined, and known by name: a module calls it through its procedure linkage
// table.
template <auto Function>
void Repeat(uint64_t count) {
    uint32_t value = 0;
    for (uint64_t i = 0; i < count; ++i) {
        Keep(Function(1, 2, static_cast<uint32_t>(i), &value));
    }
}

}  // namespace

Figure DispatchWithSlotSet() {
    g_dxrHooks.dev.readReg = ReadReg;
    g_peerHooks.dev.readReg = ReadReg;
    uint32_t value = 0;
    Require(DXR_ReadReg(1, 2, 3, &value) == 2 && value == 6, "dispatch, slot set");
    value = 0;
    Require(PeerReadReg(1, 2, 3, &value) == 2 && value == 6, "the same by hand");
    return {"DXR_ReadReg, slot set", "the same by hand", 0, Repeat<DXR_ReadReg>,
            Repeat<PeerReadReg>};
}

Figure DispatchWithSlotEmpty() {
    g_dxrHooks.dev.readReg16 = nullptr;
    uint32_t value = 0;
    Require(DXR_ReadReg16(1, 2, 3, &value) == 0, "dispatch, slot empty");
    return {"DXR_ReadReg16, slot empty", "function returning 0", 0, Repeat<DXR_ReadReg16>,
            Repeat<PeerZero>};
}

}  // namespace bench
