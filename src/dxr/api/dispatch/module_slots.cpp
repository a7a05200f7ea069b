// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/module_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void DXR_UnRegister() {
    Call(DXR_GetInitHooks()->unRegister);
}

void *DXR_GetThis() {
    return Call(DXR_GetInitHooks()->getThis, nullptr);
}
