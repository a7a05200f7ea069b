#include "dxr_print_log_filter_ring.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "dxr/system_time.h"
#include "dxr_print_log_filter_index.h"
#include "internal/bounds_checked.h"
#include "internal/fast_paths.h"
#include "internal/host_services.h"

namespace dxr {
namespace {

constexpr uint32_t kTypeCount = DXR_LOG_FILTER_TYPE_NUM;
constexpr uint32_t kEntryLifetimeSec = 3600;
// Room of the time text as told to the time hook; the field itself is four bytes longer.
constexpr uint32_t kBeginTimeSize = 39;

bool HasStorage(const DxrLogFilterInfo &record) {
    return record.capacity != 0 && record.entries != nullptr;
}

uint32_t PositionOf(const DxrLogFilterInfo &record, uint32_t offset) {
    // Mostly one round at most, which needs no division. What a host has spoilt gives a position
    // too.
    const uint32_t sum = record.curIndex + offset;
    if (sum < record.capacity) {
        return sum;
    }
    const uint32_t next = sum - record.capacity;
    return next < record.capacity ? next : sum % record.capacity;
}

// Bytes of a ring; 0, which no allocation grants, when they do not fit in 32 bits.
uint32_t RingSize(uint32_t capacity) {
    const uint64_t size = uint64_t{capacity} * sizeof(DxrLogFilterEntry);
    return size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

// One index per log type, used under the mutex of that type, and the storage that it is for. Every
// change of a ring is followed by the index or makes it forget the storage. A storage is known by
// its address, from whatever record it is reached: a host may work on a copy of the store's record,
// or give one type's storage to another. The addresses are atomic since those of all types are
// compared then; only that of a type whose mutex the caller holds can be equal.
constinit LogRingIndex g_index[kTypeCount] = {};
constinit std::atomic<const DxrLogFilterEntry *> g_indexed[kTypeCount] = {};

// The index of the type if it knows the record's ring exactly as it stands.
LogRingIndex *IndexOf(uint32_t logType, const DxrLogFilterInfo &record) {
    if (!kFastPaths || logType >= kTypeCount || record.entries == nullptr ||
        g_indexed[logType].load(std::memory_order_relaxed) != record.entries ||
        !g_index[logType].Knows(record)) {
        return nullptr;
    }
    return &g_index[logType];
}

void ForgetStorage(const DxrLogFilterEntry *entries) {
    if (!kFastPaths || entries == nullptr) {
        return;
    }
    for (std::atomic<const DxrLogFilterEntry *> &indexed : g_indexed) {
        // Unless its owner has just turned it to another storage.
        const DxrLogFilterEntry *expected = entries;
        if (indexed.load(std::memory_order_relaxed) == entries) {
            indexed.compare_exchange_strong(expected, nullptr, std::memory_order_relaxed);
        }
    }
}

// The index of the type, up to date for a record that it serves.
const LogRingIndex &UpdatedIndex(uint32_t logType, const DxrLogFilterInfo &record) {
    if (IndexOf(logType, record) == nullptr) {
        ForgetStorage(record.entries);
        g_index[logType].Rebuild(record);
        g_indexed[logType].store(record.entries, std::memory_order_relaxed);
    }
    return g_index[logType];
}

}  // namespace

LogRing::LogRing(DxrLogFilterInfo *record) noexcept : logType_(kTypeCount), own_(record) {
    const auto offset =
        reinterpret_cast<uintptr_t>(record) - reinterpret_cast<uintptr_t>(g_dxrLogFilterInfo);
    if (g_dxrLogFilterInfo != nullptr && offset < kTypeCount * sizeof(DxrLogFilterInfo)) {
        logType_ = static_cast<uint32_t>(offset / sizeof(DxrLogFilterInfo));
        own_ = nullptr;
    }
}

DxrLogFilterEntry *LogRing::At(uint32_t position) const noexcept {
    const DxrLogFilterInfo *record = Record();
    return record != nullptr && record->entries != nullptr && position < record->capacity
               ? &record->entries[position]
               : nullptr;
}

void LogRing::Age(uint32_t now) noexcept {
    DxrLogFilterInfo *record = Record();
    if (record == nullptr) {
        return;
    }
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
    // Mostly nothing has aged. Records of other types, which other threads use, share the cache
    // line.
    if (removed != 0 || position != record->curIndex) {
        LogRingIndex *index = IndexOf(logType_, *record);
        record->curIndex = position;
        record->curSize -= removed;
        if (index != nullptr) {
            index->Drop(removed, position);
        }
    }
}

std::optional<uint32_t> LogRing::Find(uint32_t hash) noexcept {
    const DxrLogFilterInfo *record = Record();
    if (record == nullptr) {
        return std::nullopt;
    }
    const uint32_t position = kFastPaths && own_ == nullptr && LogRingIndex::Serves(*record)
                                  ? UpdatedIndex(logType_, *record).Find(record->entries, hash)
                                  : WalkRing(*record, hash);
    return position != record->capacity ? std::optional(position) : std::nullopt;
}

void LogRing::Add(uint32_t hash, uint32_t key1) {
    Grow();
    DxrLogFilterInfo *record = Record();
    if (record == nullptr || !HasStorage(*record)) {
        return;
    }
    const uint32_t position = PositionOf(*record, record->curSize);
    // The time is written beside the ring, for the hook may come back to it. What the hook does not
    // write stays as it was.
    DxrLogFilterEntry made = record->entries[position];
    uint32_t sec = 0;
    DXR_GetCurrTime(made.logBeginTime, kBeginTimeSize, &sec);
    made.beginSec = sec;
    made.lastSec = sec;
    made.logHashCode = hash;
    made.state = 1;
    made.logCnt = 0;
    made.key1 = key1;
    // The position stays the one of before, whatever the hook has made of the ring.
    record = Record();
    if (record == nullptr || record->entries == nullptr || position >= record->capacity) {
        return;
    }
    record->entries[position] = made;
    LogRingIndex *index =
        position == PositionOf(*record, record->curSize) ? IndexOf(logType_, *record) : nullptr;
    if (record->curSize < record->capacity) {
        ++record->curSize;
    } else {
        // The ring is full at its largest capacity: the oldest entry was overwritten.
        record->curIndex = PositionOf(*record, 1);
    }
    if (index != nullptr) {
        index->Append(hash);
    } else {
        ForgetStorage(record->entries);
    }
}

bool LogRing::IsDue(uint32_t position, uint32_t interval, uint32_t now) const noexcept {
    const DxrLogFilterEntry *entry = At(position);
    return entry == nullptr || now >= entry->lastSec + interval;
}

void LogRing::LetThrough(uint32_t position) {
    if (At(position) == nullptr) {
        return;
    }
    const uint32_t now = DXR_GetCurrSec();
    if (DxrLogFilterEntry *entry = At(position)) {
        entry->lastSec = now;
    }
}

void LogRing::Count(uint32_t position) noexcept {
    if (DxrLogFilterEntry *entry = At(position)) {
        ++entry->logCnt;
    }
}

void LogRing::Grow() {
    const DxrLogFilterInfo *record = Record();
    if (record != nullptr && record->capacity <= kLargestGrowingCapacity &&
        record->capacity <= record->curSize + 1) {
        Resize(GrownCapacity(record->capacity));
    }
}

void LogRing::Resize(uint32_t newCapacity) {
    const uint32_t newSize = RingSize(newCapacity);
    Zeroed<DxrLogFilterEntry> block(g_dxrLogFilterMid, newSize);
    if (block.Get() == nullptr) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "log filter capacity malloc error, newLogInfoCapacity[%u].",
                  newCapacity);
        }
        return;
    }
    DxrLogFilterInfo *record = Record();
    if (record != nullptr && record->entries != nullptr) {
        // Position for position, on purpose: a ring that wraps is not straightened. What lay before
        // curIndex is no longer live, and the zeroed entries that now are age out at the next pass.
        const size_t kept = std::min(uint32_t{record->capacity}, newCapacity);
        if (memcpy_s(block.Get(), newSize, record->entries, kept * sizeof(DxrLogFilterEntry)) !=
            0) {
            if (const DxrPrintHook print = PrintHook()) {
                // An information level, on purpose.
                print(kLevelInfo, "log filter capacity memcpy error, newLogInfoCapacity[%u].",
                      newCapacity);
            }
            record = Record();
        }
    }
    if (record == nullptr) {
        return;
    }
    // The old storage goes last: the release hook finds a ring that is whole.
    DxrLogFilterEntry *old = record->entries;
    ForgetStorage(old);
    record->capacity = newCapacity;
    record->entries = block.Release();
    ForgetStorage(record->entries);
    if (old != nullptr) {
        FreeBlock(old);
    }
}

void LogRing::Clear() noexcept {
    if (DxrLogFilterInfo *record = Record()) {
        LogRingIndex *index = IndexOf(logType_, *record);
        if (index != nullptr) {
            index->Drop(record->curSize, 0);
        }
        record->curIndex = 0;
        record->curSize = 0;
    }
}

void LogRing::Release() {
    DxrLogFilterInfo *record = Record();
    if (record == nullptr || record->entries == nullptr) {
        return;
    }
    DxrLogFilterEntry *entries = record->entries;
    ForgetStorage(entries);
    record->entries = nullptr;
    FreeBlock(entries);
}

bool LogRing::IsIndexed() const noexcept {
    const DxrLogFilterInfo *record = Record();
    return record != nullptr && IndexOf(logType_, *record) != nullptr;
}

uint32_t WalkRing(const DxrLogFilterInfo &record, uint32_t hash) noexcept {
    if (HasStorage(record)) {
        for (uint32_t i = 0; i < record.curSize; ++i) {
            const uint32_t position = PositionOf(record, i);
            if (record.entries[position].logHashCode == hash) {
                return position;
            }
        }
    }
    return record.capacity;
}

}  // namespace dxr
