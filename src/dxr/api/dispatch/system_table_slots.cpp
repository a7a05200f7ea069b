// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/system_table_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_DynamicCreateTable(uint32_t arg1) {
    return Call(DXR_GetTblmHooks()->dynamicCreateTable, 0, arg1);
}

uint32_t DXR_GetChipTblmData(uint32_t chip, DxrTblmRequest *request) {
    return Call(DXR_GetTblmHooks()->getChipTblmData, 0, chip, request);
}

uint32_t DXR_SetChipTblmData(uint32_t chip, DxrTblmRequest *request) {
    return Call(DXR_GetTblmHooks()->setChipTblmData, 0, chip, request);
}

uint32_t DXR_DeleteChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen) {
    return Call(DXR_GetTblmHooks()->deleteChipTblmData, 0, chip, tableId, key, keyLen);
}

uint32_t DXR_GetCrossTblmFirstData(void *arg1, void *arg2, void *arg3) {
    return Call(DXR_GetTblmHooks()->getCrossTblmFirstData, 1, arg1, arg2, arg3);
}

uint32_t DXR_GetLinearTblmFirstData(void *arg1, void *arg2) {
    return Call(DXR_GetTblmHooks()->getLinearTblmFirstData, 1, arg1, arg2);
}

uint32_t DXR_GetTblmNextData(uint32_t arg1, void *arg2) {
    return Call(DXR_GetTblmHooks()->getTblmNextData, 1, arg1, arg2);
}

void DXR_ReleaseTblm(uint32_t arg1, uint32_t arg2) {
    Call(DXR_GetTblmHooks()->releaseTblm, arg1, arg2);
}

uint32_t DXR_GetTblmAttr(uint32_t arg1, void *attr) {
    return Call(DXR_GetTblmHooks()->getTblmAttr, 1, arg1, attr);
}

uint32_t DXR_GetCstPoolCount(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count) {
    return Call(DXR_GetTblmHooks()->getCstPoolCount, 0, arg1, arg2, arg3, count);
}

uint32_t DXR_SetChipTblmDataAndMask(uint32_t chip, void *record) {
    return Call(DXR_GetTblmHooks()->setChipTblmDataAndMask, 0, chip, record);
}
