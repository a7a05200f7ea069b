// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/network_processor.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_SetMcPortMap(uint32_t arg1, void *map) {
    return Call(DXR_GetNpHooks()->setMcPortMap, 0, arg1, map);
}

uint32_t DXR_GetQueueDropStat(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4,
                              void *stat) {
    return Call(DXR_GetNpHooks()->getQueueDropStat, 0, arg1, arg2, arg3, arg4, stat);
}

uint32_t DXR_GetAbsPfcLogicSp(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp) {
    return Call(DXR_GetNpHooks()->getAbsPfcLogicSp, 0, arg1, arg2, arg3, sp);
}
