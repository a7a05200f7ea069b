#include "dxr/system_table.h"

constinit const uint32_t DXR_TBLM_CHIPID_NOTCARE = 0xFFFF;

namespace {

DxrTblmRequest MakeRequest(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                           uint32_t dataLen) {
    return {
        .tableId = tableId,
        .key = key,
        .keyLen = keyLen,
        .data = data,
        .dataLen = dataLen,
        .dataValid = data != nullptr ? 1U : 0U,
        .reserved = {},
    };
}

}  // namespace

uint32_t DXR_GetTblmData(DxrTblmRequest *request) {
    return DXR_GetChipTblmData(DXR_TBLM_CHIPID_NOTCARE, request);
}

uint32_t DXR_SetTblmData(DxrTblmRequest *request) {
    return DXR_SetChipTblmData(DXR_TBLM_CHIPID_NOTCARE, request);
}

uint32_t DXR_DeleteTblmData(uint32_t tableId, void *key, uint32_t keyLen) {
    return DXR_DeleteChipTblmData(DXR_TBLM_CHIPID_NOTCARE, tableId, key, keyLen);
}

uint32_t DXR_AddChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                             void *data, uint32_t dataLen) {
    DxrTblmRequest request = MakeRequest(tableId, key, keyLen, data, dataLen);
    return DXR_SetChipTblmData(chip, &request);
}

uint32_t DXR_QueryChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                               void *data, uint32_t dataLen) {
    DxrTblmRequest request = MakeRequest(tableId, key, keyLen, data, dataLen);
    return DXR_GetChipTblmData(chip, &request);
}

uint32_t DXR_AddTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                         uint32_t dataLen) {
    return DXR_AddChipTblmData(DXR_TBLM_CHIPID_NOTCARE, tableId, key, keyLen, data, dataLen);
}

uint32_t DXR_QueryTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                           uint32_t dataLen) {
    return DXR_QueryChipTblmData(DXR_TBLM_CHIPID_NOTCARE, tableId, key, keyLen, data, dataLen);
}
