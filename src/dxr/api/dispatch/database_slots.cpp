// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/database_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_SelectDbRecordCount(void *query, uint32_t *count) {
    return Call(DXR_GetDbHooks()->selectDbRecordCount, 0, query, count);
}

uint32_t DXR_SelectDbRecordLimit(void *query, uint32_t limit, void *records) {
    return Call(DXR_GetDbHooks()->selectDbRecordLimit, 0, query, limit, records);
}

uint32_t DXR_SelectFirstDbRecord(void *query, void *record) {
    return Call(DXR_GetDbHooks()->selectFirstDbRecord, 0, query, record);
}

uint32_t DXR_GetLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId) {
    return Call(DXR_GetDbHooks()->getLocalFicIdFromDb, 0, arg1, arg2, arg3, ficId);
}

uint32_t DXR_GetTmTypeByGlobalFicIdFromDb(uint32_t ficId, void *type) {
    return Call(DXR_GetDbHooks()->getTmTypeByGlobalFicIdFromDb, 0, ficId, type);
}

uint32_t DXR_GetTmTypeByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *type) {
    return Call(DXR_GetDbHooks()->getTmTypeByLocalFicIdFromDb, 0, arg1, arg2, type);
}

uint32_t DXR_GetChipPosByGlobalFicIdFromDb(uint32_t ficId, void *position) {
    return Call(DXR_GetDbHooks()->getChipPosByGlobalFicIdFromDb, 0, ficId, position);
}

uint32_t DXR_GetChipPosByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *position) {
    return Call(DXR_GetDbHooks()->getChipPosByLocalFicIdFromDb, 0, arg1, arg2, position);
}

uint32_t DXR_GetFicIdByNodeGroupIdFromDb(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4) {
    return Call(DXR_GetDbHooks()->getFicIdByNodeGroupIdFromDb, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_GetNgTmCfgFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config) {
    return Call(DXR_GetDbHooks()->getNgTmCfgFromDb, 0, arg1, arg2, arg3, config);
}

uint32_t DXR_GetNgTmPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info) {
    return Call(DXR_GetDbHooks()->getNgTmPortInfoFromDb, 0, arg1, arg2, arg3, info);
}

uint32_t DXR_GetNgTmPortInfoByVsqIdFromDb(uint32_t arg1, uint32_t arg2, void *info) {
    return Call(DXR_GetDbHooks()->getNgTmPortInfoByVsqIdFromDb, 0, arg1, arg2, info);
}

uint32_t DXR_GetNgTmSrvPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4,
                                      void *info) {
    return Call(DXR_GetDbHooks()->getNgTmSrvPortInfoFromDb, 0, arg1, arg2, arg3, arg4, info);
}

uint32_t DXR_GetNgTmSrvPortByVsqFromDb(uint32_t vsq, void *port) {
    return Call(DXR_GetDbHooks()->getNgTmSrvPortByVsqFromDb, 0, vsq, port);
}

uint32_t DXR_IsMcRepByTm() {
    return Call(DXR_GetDbHooks()->isMcRepByTm, 1);
}

void *DXR_GetDestFicPort(void *arg1, void *arg2) {
    return Call(DXR_GetDbHooks()->getDestFicPort, nullptr, arg1, arg2);
}

uint32_t DXR_GetNgTmSrvPortByFicIdFromDb(uint32_t arg1, uint32_t arg2, void *arg3, uint32_t arg4,
                                         void *arg5) {
    return Call(DXR_GetDbHooks()->getNgTmSrvPortByFicIdFromDb, 0, arg1, arg2, arg3, arg4, arg5);
}

uint32_t DXR_GetLpuDevId(uint32_t arg1) {
    return Call(DXR_GetDbHooks()->getLpuDevId, 0xFFFFFFFF, arg1);
}
