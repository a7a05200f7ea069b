#include "dxr/module.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

namespace {

constexpr size_t kVelderFlagOffset = 12;

constinit uint8_t g_dxrUseVelder = 0;

}  // namespace

void DXR_Register(void *record) {
    if (record == nullptr) {
        return;
    }
    Call(DXR_GetInitHooks()->registerModule, record);
    DXR_RegisterVelderFuncs(static_cast<const uint8_t *>(record)[kVelderFlagOffset]);
}

void DXR_RegisterWithoutVelderFuncs(void *record) {
    if (record != nullptr) {
        Call(DXR_GetInitHooks()->registerModule, record);
    }
}

void DXR_RegisterVelderFuncs(uint8_t flag) {
    g_dxrUseVelder = flag;
    Call(DXR_GetInitHooks()->registerVelderFuncs, flag);
}

uint8_t DXR_IsUseVelder() {
    return g_dxrUseVelder;
}

void DXR_SetUdf(void *udf) {
    if (udf != nullptr) {
        Call(DXR_GetInitHooks()->setUdf, udf);
    }
}
