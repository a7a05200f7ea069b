#include "dxr/print_log_filter_store.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "dxr/memory.h"
#include "dxr/system_task.h"
#include "dxr/system_time.h"
#include "dxr_print_log_filter_hash.h"
#include "dxr_print_log_filter_lock.h"
#include "dxr_print_log_filter_ring.h"
#include "internal/host_services.h"
#include "internal/shared_value.h"
#include "kernels/text_hash.h"

namespace {

using dxr::FreeBlock;
using dxr::kFailure;
using dxr::kLevelFailure;
using dxr::kLevelInfo;
using dxr::kLogTypeCount;
using dxr::kSuccess;
using dxr::LogRing;
using dxr::LogTypeLock;
using dxr::PrintHook;
using dxr::Zeroed;

constexpr uint32_t kHashFuncId = 0;
constexpr uint32_t kRecordsSize = kLogTypeCount * sizeof(DxrLogFilterInfo);

}  // namespace

constinit DxrLogFilterInfo *g_dxrLogFilterInfo = nullptr;
constinit void *g_dxrLogFilterMutex[DXR_LOG_FILTER_TYPE_NUM] = {};
constinit uint8_t g_dxrLogFilterSwitch = 1;
constinit uint32_t g_dxrLogFilterMid = dxr::kDefaultMid;
constinit DxrLogFilterHashFunc g_dxrLogFilterHashFuncList[1] = {
    {kHashFuncId, DXR_SimpleHash, "simple hash code algorithm by string value"}};

uint32_t DXR_InitLogFilter(uint32_t mid) {
    if (g_dxrLogFilterInfo == nullptr) {
        Zeroed<DxrLogFilterInfo> block(mid, kRecordsSize);
        if (block.Get() == nullptr) {
            if (const DxrPrintHook print = PrintHook()) {
                print(kLevelFailure, "log filter init failed, module[%u]", mid);
            }
            return kFailure;
        }
        // Unless the allocation hook came back and made the store.
        if (g_dxrLogFilterInfo == nullptr) {
            g_dxrLogFilterMid = mid;
            g_dxrLogFilterInfo = block.Release();
            for (void *&mutex : g_dxrLogFilterMutex) {
                DXR_InitMutex(&mutex, nullptr);
            }
        }
    }
    if (const DxrPrintHook print = PrintHook()) {
        print(kLevelInfo, "log filter init success, module[%u]", g_dxrLogFilterMid);
    }
    return kSuccess;
}

void DXR_DestroyLogFilter() {
    for (uint32_t logType = 0; logType < kLogTypeCount; ++logType) {
        {
            const LogTypeLock lock(logType);
            LogRing(logType).Release();
        }
        DXR_DestroyMutex(g_dxrLogFilterMutex[logType]);
    }
    DxrLogFilterInfo *const records = std::exchange(g_dxrLogFilterInfo, nullptr);
    if (records != nullptr) {
        // A hook of the above that logged a line may have made a ring anew.
        for (uint32_t logType = 0; logType < kLogTypeCount; ++logType) {
            LogRing(&records[logType]).Release();
        }
    }
    FreeBlock(records);  // without a store too: the hook decides
    if (const DxrPrintHook print = PrintHook()) {
        print(kLevelInfo, "log filter destroy success");
    }
}

DxrLogFilterInfo *DXR_GetLogFilter(uint32_t logType) {
    if (logType >= kLogTypeCount || g_dxrLogFilterInfo == nullptr) {
        return nullptr;
    }
    return &g_dxrLogFilterInfo[logType];
}

uint8_t DXR_IsLogFilterEnable() {
    return dxr::LoadShared(g_dxrLogFilterSwitch);
}

void DXR_EnableLogFilter(uint8_t on) {
    dxr::StoreShared(g_dxrLogFilterSwitch, on);
}

uint32_t DXR_SimpleHash(const DxrLogFilterHashInput *input, uint32_t *hash) {
    if (input->length == 0 || input->text == nullptr) {
        return kFailure;
    }
    *hash = dxr::TextHash(reinterpret_cast<const unsigned char *>(input->text), input->length);
    return kSuccess;
}

uint32_t DXR_GetHashCode(uint32_t hashFuncId, const char *text, uint32_t length) {
    const DxrLogFilterHashFunc &row = g_dxrLogFilterHashFuncList[0];
    if (row.hashFuncId != hashFuncId) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "get hash code funcId error, hashFuncId[%u].", hashFuncId);
        }
        return 0;
    }
    const DxrLogFilterHashInput input = {text, length};
    uint32_t hash = 0;
    // The library's own function by its name, so that the call has no detour.
    const uint32_t ret =
        dxr::HostSeesHashInput() ? row.func(&input, &hash) : DXR_SimpleHash(&input, &hash);
    if (ret != kSuccess) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "get hash code error, hashFuncId[%u] strLen[%u] ret[%#x]",
                  row.hashFuncId, length, ret);
        }
        return 0;  // whatever the function has stored
    }
    return hash;
}

void DXR_ResizeLogFilterInfo(DxrLogFilterInfo *record, uint32_t newCapacity) {
    LogRing(record).Resize(newCapacity);
}

void DXR_UpdateLogFilterCapacity(DxrLogFilterInfo *record) {
    LogRing(record).Grow();
}

void DXR_RemoveObsoleteLogFilterInfo(DxrLogFilterInfo *record) {
    LogRing ring(record);  // before the hook, after which the record may be gone
    ring.Age(DXR_GetCurrSec());
}

void DXR_AddLogFilterInfo(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1) {
    LogRing(record).Add(hash, key1);
}

uint32_t DXR_FindRepeatedLogInfoIndex(const DxrLogFilterInfo *record, uint32_t hash) {
    return dxr::WalkRing(*record, hash);
}

void DXR_UpdateLogFilterInfo(uint32_t position, DxrLogFilterInfo *record) {
    LogRing(record).Count(position);
}

void DXR_UpdateLogFilterTime(uint32_t position, DxrLogFilterInfo *record) {
    LogRing(record).LetThrough(position);
}

uint8_t DXR_IsRepeatedLog(const DxrLogFilterCfg *cfg, const char *text, uint32_t length) {
    if (dxr::LoadShared(g_dxrLogFilterSwitch) == 0 || cfg == nullptr) {
        return 0;
    }
    const uint32_t hash = DXR_GetHashCode(kHashFuncId, text, length);
    if (hash == 0) {
        return 0;
    }
    const uint32_t logType = cfg->logType;
    if (DXR_GetLogFilter(logType) == nullptr) {
        return 0;
    }
    const LogTypeLock lock(logType);
    LogRing ring(logType);
    ring.Age(DXR_GetCurrSec());
    const std::optional<uint32_t> position = ring.Find(hash);
    if (!position) {
        ring.Add(hash, cfg->key1);
        return 0;
    }
    if (cfg->interval != 0 && ring.IsDue(*position, cfg->interval, DXR_GetCurrSec())) {
        // Let through again: the time moves on, the count of suppressed repeats does not.
        ring.LetThrough(*position);
        return 0;
    }
    ring.Count(*position);
    return 1;
}
