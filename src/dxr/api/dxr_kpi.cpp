#include "dxr/kpi.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

// generated: begin (by hooks/generate.py from hooks/slots.yaml)

uint32_t DXR_UpdateKpiAttrVal(void *arg1, uint32_t arg2) {
    return Call(DXR_GetKpiHooks()->updateKpiAttrVal, 0, arg1, arg2);
}

// generated: end
