#include "dxr/print_log_filter_store.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "dxr/memory.h"
#include "dxr/system_task.h"
#include "dxr/system_time.h"
#include "dxr_print_log_filter_hash.h"
#include "dxr_print_log_filter_index.h"
#include "dxr_print_log_filter_lock.h"
#include "internal/bounds_checked.h"
#include "internal/fast_paths.h"
#include "internal/host_services.h"
#include "kernels/text_hash.h"

namespace {

using dxr::FreeBlock;
using dxr::kLevelFailure;
using dxr::kLevelInfo;
using dxr::kLogTypeCount;
using dxr::LogFilterIndex;
using dxr::LogTypeLock;
using dxr::PrintHook;
using dxr::Zeroed;

constexpr uint32_t kHashFuncId = 0;
constexpr uint32_t kDefaultMid = 9;
constexpr uint32_t kEntryLifetimeSec = 3600;
// Growth starts at capacities up to this one, so the largest ring has 2047 entries.
constexpr uint32_t kLargestGrowingCapacity = 1024;
// Room of the time text as told to the time hook; the field itself is four bytes longer.
constexpr uint32_t kBeginTimeSize = 39;
constexpr uint32_t kRecordsSize = kLogTypeCount * sizeof(DxrLogFilterInfo);

bool HasStorage(const DxrLogFilterInfo &record) {
    return record.capacity != 0 && record.entries != nullptr;
}

uint32_t PositionOf(const DxrLogFilterInfo &record, uint32_t offset) {
    return (record.curIndex + offset) % record.capacity;
}

// Bytes of a ring; 0, which no allocation grants, when they do not fit in 32 bits.
uint32_t RingSize(uint32_t capacity) {
    const uint64_t size = uint64_t{capacity} * sizeof(DxrLogFilterEntry);
    return size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

// Fills the entry behind the newest; where there is no storage nothing is remembered. Returns its
// ring position, or the capacity.
uint32_t Remember(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1) {
    DXR_UpdateLogFilterCapacity(record);
    if (!HasStorage(*record)) {
        return record->capacity;
    }
    const uint32_t position = PositionOf(*record, record->curSize);
    DxrLogFilterEntry &entry = record->entries[position];
    uint32_t sec = 0;
    DXR_GetCurrTime(entry.logBeginTime, kBeginTimeSize, &sec);
    entry.beginSec = sec;
    entry.lastSec = sec;
    entry.logHashCode = hash;
    entry.state = 1;
    entry.logCnt = 0;
    entry.key1 = key1;
    if (record->curSize < record->capacity) {
        ++record->curSize;
    } else {
        // The ring is full at its largest capacity: the oldest entry was overwritten.
        record->curIndex = PositionOf(*record, 1);
    }
    return position;
}

// One index per log type, for the store's own records alone.
constinit LogFilterIndex g_index[kLogTypeCount] = {};

// Called where a ring, perhaps the store's, got an entry or another capacity that its index did not
// follow: positions that it dropped may be live again. Every other operation changes the record so that
// the index sees it, or leaves live entries alone.
void ForgetIndexOf(const DxrLogFilterInfo *record) {
    if constexpr (dxr::kFastPaths) {
        if (g_dxrLogFilterInfo != nullptr && !std::less<>{}(record, g_dxrLogFilterInfo) &&
            std::less<>{}(record, g_dxrLogFilterInfo + kLogTypeCount)) {
            g_index[record - g_dxrLogFilterInfo].Forget();
        }
    }
}

void RemoveObsolete(DxrLogFilterInfo *record, uint32_t now) {
    uint32_t removed = 0;
    uint32_t position = 0;  // an empty ring starts at 0 again
    while (removed != record->curSize && HasStorage(*record)) {
        position = PositionOf(*record, removed);
        DxrLogFilterEntry &entry = record->entries[position];
        // The sum wraps with the seconds and is compared as it is.
        if (entry.beginSec + kEntryLifetimeSec > now) {
            break;
        }
        entry.state = 0;
        ++removed;
    }
    record->curIndex = position;
    record->curSize -= removed;
}

bool IntervalIsOver(const DxrLogFilterCfg &cfg, const DxrLogFilterEntry &entry) {
    return cfg.interval != 0 && DXR_GetCurrSec() >= entry.lastSec + cfg.interval;
}

// What becomes of a line that stands at `position`: 1 suppresses it.
uint8_t Repeat(DxrLogFilterInfo *record, uint32_t position, const DxrLogFilterCfg &cfg) {
    if (IntervalIsOver(cfg, record->entries[position])) {
        // Let through again: the time moves on, the count of suppressed repeats does not.
        DXR_UpdateLogFilterTime(position, record);
        return 0;
    }
    DXR_UpdateLogFilterInfo(position, record);
    return 1;
}

// The decision as it is meant; the index below gives the same at a cost that does not grow with the
// ring.
uint8_t DecideByWalk(DxrLogFilterInfo *record, const DxrLogFilterCfg &cfg, uint32_t hash) {
    const uint32_t position = DXR_FindRepeatedLogInfoIndex(record, hash);
    if (position != record->capacity) {
        return Repeat(record, position, cfg);
    }
    DXR_AddLogFilterInfo(record, hash, cfg.key1);
    return 0;
}

// One entry more, or one in place of the oldest. A hook that was called on the way may have worked on
// the very ring.
bool GrewByOne(const DxrLogFilterInfo &before, const DxrLogFilterInfo &after) {
    if (after.curSize == before.curSize) {
        return HasStorage(after) && after.curIndex == (before.curIndex + 1) % after.capacity;
    }
    return after.curSize == before.curSize + 1 && after.curIndex == before.curIndex;
}

uint8_t DecideByIndex(DxrLogFilterInfo *record, const DxrLogFilterCfg &cfg, uint32_t hash,
                      LogFilterIndex &index) {
    const uint32_t found = index.Find(*record, hash);
    index.Keep(*record);
    if (found != record->capacity) {
        return Repeat(record, found, cfg);
    }
    const DxrLogFilterInfo before = *record;
    const uint32_t changes = index.Changes();
    const uint32_t made = Remember(record, hash, cfg.key1);
    if (index.Changes() == changes && LogFilterIndex::Serves(*record) &&
        GrewByOne(before, *record)) {
        index.Put(made, hash);
        index.Keep(*record);
    } else {
        index.Forget();
    }
    return 0;
}

uint8_t Decide(DxrLogFilterInfo *record, uint32_t logType, const DxrLogFilterCfg &cfg,
               uint32_t hash) {
    // No hook is called between this one and the look-up.
    const uint32_t now = DXR_GetCurrSec();
    LogFilterIndex &index = g_index[logType];
    const bool known = index.Matches(*record);
    RemoveObsolete(record, now);
    if (!dxr::kFastPaths || !LogFilterIndex::Serves(*record)) {
        return DecideByWalk(record, cfg, hash);
    }
    if (!known) {
        index.Rebuild(*record);
    }
    return DecideByIndex(record, cfg, hash, index);
}

}  // namespace

constinit DxrLogFilterInfo *g_dxrLogFilterInfo = nullptr;
constinit void *g_dxrLogFilterMutex[DXR_LOG_FILTER_TYPE_NUM] = {};
constinit uint8_t g_dxrLogFilterSwitch = 1;
constinit uint32_t g_dxrLogFilterMid = kDefaultMid;
constinit DxrLogFilterHashFunc g_dxrLogFilterHashFuncList[1] = {
    {kHashFuncId, DXR_SimpleHash, "simple hash code algorithm by string value"}};

uint32_t DXR_InitLogFilter(uint32_t mid) {
    if (g_dxrLogFilterInfo == nullptr) {
        Zeroed<DxrLogFilterInfo> block(mid, kRecordsSize);
        if (block.Get() == nullptr) {
            if (const DxrPrintHook print = PrintHook()) {
                print(kLevelFailure, "log filter init failed, module[%u]", mid);
            }
            return 1;
        }
        g_dxrLogFilterMid = mid;
        g_dxrLogFilterInfo = block.Release();
        for (void *&mutex : g_dxrLogFilterMutex) {
            static_cast<void>(DXR_InitMutex(&mutex, nullptr));
        }
    }
    if (const DxrPrintHook print = PrintHook()) {
        print(kLevelInfo, "log filter init success, module[%u]", g_dxrLogFilterMid);
    }
    return 0;
}

void DXR_DestroyLogFilter() {
    for (uint32_t logType = 0; logType < kLogTypeCount; ++logType) {
        {
            const LogTypeLock lock(logType);
            DxrLogFilterInfo *record = DXR_GetLogFilter(logType);
            if (record != nullptr && record->entries != nullptr) {
                FreeBlock(record->entries);
                record->entries = nullptr;
            }
        }
        static_cast<void>(DXR_DestroyMutex(g_dxrLogFilterMutex[logType]));
    }
    // Without a store this releases null: the hook decides.
    FreeBlock(g_dxrLogFilterInfo);
    g_dxrLogFilterInfo = nullptr;
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
    return g_dxrLogFilterSwitch;
}

void DXR_EnableLogFilter(uint8_t on) {
    g_dxrLogFilterSwitch = on;
}

uint32_t DXR_SimpleHash(const DxrLogFilterHashInput *input, uint32_t *hash) {
    if (input->length == 0 || input->text == nullptr) {
        return 1;
    }
    *hash = dxr::TextHash(reinterpret_cast<const unsigned char *>(input->text), input->length);
    return 0;
}

namespace dxr {
namespace {

// DXR_SimpleHash by an address that is not looked up at load.
extern "C" [[gnu::alias("DXR_SimpleHash"), gnu::visibility("hidden")]] uint32_t DxrOwnSimpleHash(
    const DxrLogFilterHashInput *input, uint32_t *hash) noexcept;

}  // namespace

bool HostSeesHashInput() noexcept {
    return g_dxrLogFilterHashFuncList[0].func != DxrOwnSimpleHash;
}

}  // namespace dxr

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
    const uint32_t ret = row.func(&input, &hash);
    if (ret != 0) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "get hash code error, hashFuncId[%u] strLen[%u] ret[%#x]",
                  row.hashFuncId, length, ret);
        }
        return 0;  // whatever the function has stored
    }
    return hash;
}

void DXR_ResizeLogFilterInfo(DxrLogFilterInfo *record, uint32_t newCapacity) {
    const uint32_t newSize = RingSize(newCapacity);
    Zeroed<DxrLogFilterEntry> block(g_dxrLogFilterMid, newSize);
    if (block.Get() == nullptr) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "log filter capacity malloc error, newLogInfoCapacity[%u].",
                  newCapacity);
        }
        return;
    }
    if (record->entries != nullptr) {
        // Position for position, on purpose: a ring that wraps is not straightened. What lay before
        // curIndex is no longer live, and the zeroed entries that now are age out at the next pass.
        const uint32_t oldCapacity = record->capacity;
        const size_t kept = std::min(oldCapacity, newCapacity);
        if (dxr::memcpy_s(block.Get(), newSize, record->entries,
                          kept * sizeof(DxrLogFilterEntry)) != 0) {
            if (const DxrPrintHook print = PrintHook()) {
                // An information level, on purpose.
                print(kLevelInfo, "log filter capacity memcpy error, newLogInfoCapacity[%u].",
                      newCapacity);
            }
        }
        FreeBlock(record->entries);
    }
    ForgetIndexOf(record);
    record->capacity = newCapacity;
    record->entries = block.Release();
}

void DXR_UpdateLogFilterCapacity(DxrLogFilterInfo *record) {
    if (record->capacity <= kLargestGrowingCapacity && record->capacity <= record->curSize + 1) {
        DXR_ResizeLogFilterInfo(record, record->capacity * 2 + 1);
    }
}

void DXR_RemoveObsoleteLogFilterInfo(DxrLogFilterInfo *record) {
    RemoveObsolete(record, DXR_GetCurrSec());
}

void DXR_AddLogFilterInfo(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1) {
    static_cast<void>(Remember(record, hash, key1));
    ForgetIndexOf(record);  // behind the hooks, which may have come back to the filter
}

uint32_t DXR_FindRepeatedLogInfoIndex(const DxrLogFilterInfo *record, uint32_t hash) {
    if (HasStorage(*record)) {
        for (uint32_t i = 0; i < record->curSize; ++i) {
            const uint32_t position = PositionOf(*record, i);
            if (record->entries[position].logHashCode == hash) {
                return position;
            }
        }
    }
    return record->capacity;
}

void DXR_UpdateLogFilterInfo(uint32_t position, DxrLogFilterInfo *record) {
    if (position < record->capacity && HasStorage(*record)) {
        ++record->entries[position].logCnt;
    }
}

void DXR_UpdateLogFilterTime(uint32_t position, DxrLogFilterInfo *record) {
    if (position < record->capacity && HasStorage(*record)) {
        record->entries[position].lastSec = DXR_GetCurrSec();
    }
}

uint8_t DXR_IsRepeatedLog(const DxrLogFilterCfg *cfg, const char *text, uint32_t length) {
    if (g_dxrLogFilterSwitch == 0 || cfg == nullptr) {
        return 0;
    }
    const uint32_t hash = DXR_GetHashCode(kHashFuncId, text, length);
    if (hash == 0) {
        return 0;
    }
    const uint32_t logType = cfg->logType;
    DxrLogFilterInfo *record = DXR_GetLogFilter(logType);
    if (record == nullptr) {
        return 0;
    }
    const LogTypeLock lock(logType);
    return Decide(record, logType, *cfg, hash);
}
