// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/kpi.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_UpdateKpiAttrVal(void *arg1, uint32_t arg2) {
    return Call(DXR_GetKpiHooks()->updateKpiAttrVal, 0, arg1, arg2);
}
