#include "dxr_api.h"
#include "harness.h"
#include "peer_table.h"

namespace bench {
namespace {

std::uint32_t ReadReg(std::uint32_t a, std::uint32_t b, std::uint32_t c, void *out) {
    *static_cast<std::uint32_t *>(out) = a + b + c;
    return a ^ c;
}

// The function is not inlined, and known by name: a module calls it through its procedure linkage
// table.
template <auto Function>
void Repeat(std::uint64_t count) {
    std::uint32_t value = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        Keep(Function(1, 2, static_cast<std::uint32_t>(i), &value));
    }
}

}  // namespace

void AddDispatch(Suite &suite) {
    g_dxrHooks.dev.readReg = ReadReg;
    g_peerTable.readReg = ReadReg;
    std::uint32_t value = 0;
    Require(DXR_ReadReg(1, 2, 3, &value) == 2 && value == 6, "dispatch, slot set");
    Require(PeerForward(1, 2, 3, &value) == 2, "pointer table");
    Require(DXR_ReadReg16(1, 2, 3, &value) == 0, "dispatch, slot empty");
    suite.Add({"dispatch, slot set", "dispatch, 4 arguments, slot set", "pointer table call", 1.5,
               1.05, 0, Repeat<DXR_ReadReg>, Repeat<PeerForward>});
    suite.Add({"dispatch, slot empty", "dispatch, 4 arguments, slot empty", "function returning 0",
               2.2, 1.75, 0, Repeat<DXR_ReadReg16>, Repeat<PeerZero>});
}

}  // namespace bench
