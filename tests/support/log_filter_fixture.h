// What the tests of the log filter share: a host, the filter's data as they are at load, short ways
// to build records and to read them.
#ifndef DXR_TESTS_SUPPORT_LOG_FILTER_FIXTURE_H
#define DXR_TESTS_SUPPORT_LOG_FILTER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "dxr_api.h"
#include "support/test_host.h"

namespace dxrtest {

constexpr uint32_t kLogTypes = 29;
constexpr uint32_t kStoreSize = kLogTypes * 20;
constexpr std::string_view kPrintSources = "src/dxr/api/dxr_print";

// A record's fields out of their packing, so that they can be bound to references.
struct Ring {
    uint32_t curIndex;
    uint32_t curSize;
    uint32_t capacity;
    DxrLogFilterEntry *entries;

    bool operator==(const Ring &other) const {
        return curIndex == other.curIndex && curSize == other.curSize &&
               capacity == other.capacity && entries == other.entries;
    }
};

inline Ring Look(const DxrLogFilterInfo &record) {
    return {record.curIndex, record.curSize, record.capacity, record.entries};
}

inline Ring LookAt(uint32_t logType) {
    return Look(*DXR_GetLogFilter(logType));
}

inline void PrintTo(const Ring &ring, std::ostream *out) {
    *out << "{curIndex " << ring.curIndex << ", curSize " << ring.curSize << ", capacity "
         << ring.capacity << ", entries " << ring.entries << "}";
}

inline std::string Bytes(const DxrLogFilterEntry &entry) {
    std::string bytes(sizeof(entry), '\0');
    std::memcpy(bytes.data(), &entry, sizeof(entry));
    return bytes;
}

// All hashes of the storage by position, stale ones too.
inline std::vector<uint32_t> Hashes(const DxrLogFilterInfo &record) {
    std::vector<uint32_t> hashes;
    for (uint32_t i = 0; i < record.capacity; ++i) {
        hashes.push_back(record.entries[i].logHashCode);
    }
    return hashes;
}

// The same sum by another way: powers of 31 from the end, in 64 bits.
inline uint32_t HashOf(std::string_view text) {
    uint64_t sum = 0;
    uint64_t power = 1;
    for (auto byte = text.rbegin(); byte != text.rend(); ++byte) {
        sum = (sum + static_cast<unsigned char>(*byte) * power) % 0x100000000U;
        power = power * 31 % 0x100000000U;
    }
    return static_cast<uint32_t>(sum);
}

inline DxrLogFilterCfg Site(uint32_t logType, uint32_t interval = 0) {
    return {logType, 0, 0, 0, 0, interval};
}

inline uint8_t Decide(const DxrLogFilterCfg &cfg, std::string_view text) {
    return DXR_IsRepeatedLog(&cfg, text.data(), static_cast<uint32_t>(text.size()));
}

// A record of the caller's own, outside the store.
class OwnRecord {
  public:
    OwnRecord() = default;
    ~OwnRecord() {
        if (info_.entries != nullptr) {
            DXR_Free(info_.entries, __FILE__, __LINE__);
        }
    }
    OwnRecord(const OwnRecord &) = delete;
    OwnRecord &operator=(const OwnRecord &) = delete;

    [[nodiscard]] DxrLogFilterInfo *Get() { return &info_; }

  private:
    // The counters can be bound to references then; the pointer, which is packed, cannot.
    alignas(4) DxrLogFilterInfo info_ = {};
};

// Zeroed storage, and live entries first, first + 1, ... from position `curIndex` on, made at
// `beginSec`.
inline void Fill(DxrLogFilterInfo *record, uint32_t capacity, uint32_t curIndex, uint32_t count,
                 uint32_t beginSec, uint32_t firstHash = 1) {
    DXR_ResizeLogFilterInfo(record, capacity);
    ASSERT_EQ(record->capacity, capacity);
    record->curIndex = curIndex;
    record->curSize = count;
    for (uint32_t i = 0; i < count; ++i) {
        DxrLogFilterEntry &entry = record->entries[(curIndex + i) % capacity];
        entry.logHashCode = firstHash + i;
        entry.beginSec = beginSec;
        entry.lastSec = beginSec;
        entry.state = 1;
    }
}

class LogFilterTest : public testing::Test {
  protected:
    LogFilterTest() {
        ResetData();
        host.WithEverything();
        host.nowSec = 1000000;
    }

    ~LogFilterTest() override {
        host.StopFailingAllocations();
        host.WithEverything();
        if (g_dxrLogFilterInfo != nullptr) {
            DXR_DestroyLogFilter();
        }
        ResetData();
    }

    // A store with its mutexes; the calls it made are forgotten.
    void InitStore(uint32_t mid = 9) {
        ASSERT_EQ(DXR_InitLogFilter(mid), 0U);
        Forget();
    }

    void Forget() {
        host.calls.clear();
        host.printed.clear();
        host.diagLines.clear();
        host.allocations.clear();
        host.releases.clear();
    }

    // Blocks of the caller's own rings go back through the same host.
    TestHost host;

  private:
    static void ResetData() {
        g_dxrLogFilterInfo = nullptr;
        std::fill_n(g_dxrLogFilterMutex, kLogTypes, nullptr);
        g_dxrLogFilterSwitch = 1;
        g_dxrLogFilterMid = 9;
        g_dxrLogFilterHashFuncList[0] = {0, DXR_SimpleHash,
                                         "simple hash code algorithm by string value"};
    }
};

// Hooks of a time that goes on between two readings: each one takes the next of the given seconds,
// the last one stays.
struct SecondsScript {
    static inline std::vector<uint32_t> seconds;
    static inline size_t next = 0;

    static void Use(std::vector<uint32_t> script) {
        seconds = std::move(script);
        next = 0;
        g_dxrHooks.time.getCurrSec = Read;
    }
    static uint32_t Read() {
        const size_t at = std::min(next, seconds.size() - 1);
        ++next;
        return seconds[at];
    }
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_LOG_FILTER_FIXTURE_H
