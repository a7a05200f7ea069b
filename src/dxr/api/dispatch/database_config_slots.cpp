// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/database_config_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void DXR_CFG_ReadBoardData(void *arg1, uint32_t arg2, uint32_t arg3) {
    Call(DXR_GetCfgHooks()->cfgReadBoardData, arg1, arg2, arg3);
}

uint32_t DXR_CFG_DisplayBoardData(void *arg1, uint32_t arg2) {
    return Call(DXR_GetCfgHooks()->cfgDisplayBoardData, 0, arg1, arg2);
}

void DXR_CFG_ClearBoardData() {
    Call(DXR_GetCfgHooks()->cfgClearBoardData);
}

uint32_t DXR_CFG_GetBoardData(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgGetBoardData, 0, arg1);
}

uint32_t DXR_CFG_IsFromBoardData(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgIsFromBoardData, 0, arg1);
}

void *DXR_CFG_GetMemParam(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgGetMemParam, nullptr, arg1);
}

uint32_t DXR_CFG_IsFromMemParam(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgIsFromMemParam, 0, arg1);
}

void *DXR_CFG_GetAdvancedSpec(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetCfgHooks()->cfgGetAdvancedSpec, nullptr, arg1, arg2);
}

uint32_t DXR_CFG_IsFromBoardAdvancedSpec(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgIsFromBoardAdvancedSpec, 0, arg1);
}

uint32_t DXR_CFG_GetPhyBoardInfo(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgGetPhyBoardInfo, 0, arg1);
}

uint32_t DXR_CFG_IsFromPhyBoardInfo(uint32_t arg1) {
    return Call(DXR_GetCfgHooks()->cfgIsFromPhyBoardInfo, 0, arg1);
}
