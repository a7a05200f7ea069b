#include "dxr/simulate_message.h"

#include "internal/bounds_checked.h"
#include "internal/host_services.h"
#include "internal/shared_value.h"
#include "internal/text_writer.h"

namespace {

// The host's table. It stays the host's; unregistering leaves the size as it was given.
constinit DxrSimulateMsg *g_dxrMsgSimulateMap = nullptr;
constinit uint32_t g_dxrMsgSimulateMapSize = 0;

}  // namespace

void DXR_RegisterSimulateMsgMap(DxrSimulateMsg *map, uint32_t size) {
    g_dxrMsgSimulateMap = map;
    g_dxrMsgSimulateMapSize = size;
}

DxrSimulateMsg *DXR_GetSimulateMsgMap(void) {
    return g_dxrMsgSimulateMap;
}

uint32_t DXR_GetSimulateMsgMapSize(void) {
    return g_dxrMsgSimulateMapSize;
}

uint8_t DXR_IsSameSimulateId(const DxrSimulateMsg *entry, uint32_t id) {
    return entry->simulateId == id ? 1 : 0;
}

uint8_t DXR_IsSameMsgType(const DxrSimulateMsg *entry, uint32_t msgType) {
    return entry->msgType == msgType ? 1 : 0;
}

DxrSimulateMsg *DXR_GetSimulateMsg(DxrSimulateMsgCompare compare, uint32_t key) {
    DxrSimulateMsg *const map = g_dxrMsgSimulateMap;
    if (map == nullptr) {
        return nullptr;
    }
    // The bound is read in every round on purpose: the comparison is the caller's and may register.
    for (uint32_t i = 0; i < g_dxrMsgSimulateMapSize; ++i) {
        if (compare(&map[i], key) != 0) {
            return &map[i];
        }
    }
    return nullptr;
}

DxrSimulateMsg *DXR_GetSimulateMsgBySimluateId(uint32_t id) {
    return DXR_GetSimulateMsg(DXR_IsSameSimulateId, id);
}

DxrSimulateMsg *DXR_GetSimulateMsgByMsgType(uint32_t msgType) {
    return DXR_GetSimulateMsg(DXR_IsSameMsgType, msgType);
}

void DXR_SetSimulateMsgLost(uint32_t id, uint32_t lostCnt, char *buffer, uint32_t bufferSize) {
    DxrSimulateMsg *const entry = DXR_GetSimulateMsgBySimluateId(id);
    if (entry == nullptr) {
        dxr::snprintf_truncated_s(buffer, bufferSize, "set simulate msg lost[%u] failed, id[%u]",
                                  lostCnt, id);
        return;
    }
    dxr::StoreShared(entry->lostCnt, lostCnt);
    dxr::snprintf_truncated_s(buffer, bufferSize, "simulate msg[%u][%s] lost[%u] success, id[%u]",
                              entry->msgType, entry->name, lostCnt, entry->simulateId);
}

uint8_t DXR_IsSimulateMsgLost(uint32_t msgType) {
    DxrSimulateMsg *const entry = DXR_GetSimulateMsgByMsgType(msgType);
    // Read once: a count that another thread takes down to 0 meanwhile must not pass below it.
    const uint32_t count = entry != nullptr ? dxr::LoadShared(entry->lostCnt) : 0;
    if (count == 0) {
        return 0;
    }
    const uint32_t remain = count - 1;
    dxr::StoreShared(entry->lostCnt, remain);
    if (const DxrPrintHook print = dxr::PrintHook()) {
        print(dxr::kLevelInfo, "simulate msg[%u][%s]lost, remain [%u] times", entry->msgType,
              entry->name, remain);
    }
    return 1;
}

void DXR_DisplaySimulateMsgLost(char *buffer, uint32_t bufferSize) {
    dxr::TextWriter text(buffer, bufferSize);
    DxrSimulateMsg *const map = g_dxrMsgSimulateMap;
    if (map == nullptr) {
        text.Append("dump simulate msg failed, simulate msg map is unregistered");
        return;
    }
    text.Append(
        "\r\n   Simulate ID                Message Name[Type]           Remain Lost Count\r\n");
    for (uint32_t i = 0; i < g_dxrMsgSimulateMapSize; ++i) {
        text.Append("     %3u              %20s[%3u]                  %3u\r\n", map[i].simulateId,
                    map[i].name, map[i].msgType, dxr::LoadShared(map[i].lostCnt));
    }
}
