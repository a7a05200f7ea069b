// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/fault_management.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_FfmStartFaultCheck() {
    return Call(DXR_GetFfmHooks()->ffmStartFaultCheck, 0);
}

uint32_t DXR_FfmStopFaultCheck() {
    return Call(DXR_GetFfmHooks()->ffmStopFaultCheck, 0);
}
