// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/temperature.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void DXR_RegisterQueryTempFunc(uint32_t arg1, void *func) {
    Call(DXR_GetTemperatureHooks()->registerQueryTempFunc, arg1, func);
}
