// The log filter, on types of the thread's own and on shared ones.
#ifndef DXR_TESTS_THREADS_SOAK_FILTER_JOBS_H
#define DXR_TESTS_THREADS_SOAK_FILTER_JOBS_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "threads/soak/soak.h"

namespace soak {

inline uint32_t HashOf(std::string_view text) {
    uint32_t hash = 0;
    for (const char byte : text) {
        hash = hash * 31 + static_cast<unsigned char>(byte);
    }
    return hash;
}

// A ring as it is meant, entry by entry.
class RingModel {
  public:
    struct Entry {
        uint32_t hash = 0;
        uint32_t beginSec = 0;
        uint32_t lastSec = 0;
        uint32_t repeats = 0;
        bool current = false;
    };

    // True: suppressed.
    bool Decide(uint32_t hash, uint32_t interval) {
        if (hash == 0) {
            return false;
        }
        Age();
        for (uint32_t i = 0; i < size; ++i) {
            Entry &entry = At(i);
            if (entry.hash == hash) {
                if (interval != 0 && g_now >= entry.lastSec + interval) {
                    entry.lastSec = g_now;
                    return false;
                }
                ++entry.repeats;
                return true;
            }
        }
        if (entries.size() <= 1024 && entries.size() <= size + 1) {
            entries.resize(entries.size() * 2 + 1);
        }
        At(size) = {hash, g_now, g_now, 0, true};
        if (size < entries.size()) {
            ++size;
        } else {
            first = (first + 1) % static_cast<uint32_t>(entries.size());
        }
        return false;
    }
    void Age() {
        uint32_t removed = 0;
        uint32_t position = 0;
        while (removed != size) {
            position = (first + removed) % static_cast<uint32_t>(entries.size());
            if (entries[position].beginSec + 3600 > g_now) {
                break;
            }
            entries[position].current = false;
            ++removed;
        }
        first = position;
        size -= removed;
    }
    void Clear() { first = size = 0; }

    [[nodiscard]] bool Equals(const DxrLogFilterInfo &record) const {
        if (record.curIndex != first || record.curSize != size ||
            record.capacity != entries.size()) {
            return false;
        }
        for (uint32_t i = 0; i < record.capacity; ++i) {
            const DxrLogFilterEntry &entry = record.entries[i];
            const Entry &expected = entries[i];
            if (entry.logHashCode != expected.hash || entry.beginSec != expected.beginSec ||
                entry.lastSec != expected.lastSec || entry.logCnt != expected.repeats ||
                (entry.state != 0) != expected.current) {
                return false;
            }
        }
        return true;
    }

    uint32_t first = 0;
    uint32_t size = 0;
    std::vector<Entry> entries;

  private:
    Entry &At(uint32_t i) { return entries[(first + i) % entries.size()]; }
};

class OwnLogTypeJob : public Job {
  public:
    explicit OwnLogTypeJob(uint32_t type) : site_{type, 0, 0, 0, 0, 0} {}

    uint64_t Run(Random &random) override {
        constexpr uint64_t kCalls = 200;
        // Now few lines and now more than a ring holds.
        const uint32_t lines = random.OneIn(4) ? 3000 : 1 + random.Below(100);
        for (uint64_t i = 0; i < kCalls; ++i) {
            Step(random, lines);
        }
        SOAK_CHECK(model_.Equals(*DXR_GetLogFilter(site_.logType)));
        return kCalls;
    }

  private:
    void Step(Random &random, uint32_t lines) {
        site_.interval = random.OneIn(3) ? random.Below(200) : 0;
        const uint32_t what = random.Below(1000);
        if (what < 600) {
            // Every 50th line is longer than a message can be.
            const uint32_t line = random.Below(lines);
            std::string text = "line " + std::to_string(line);
            text.resize(line % 50 == 0 ? 1500 : text.size(), 'x');
            const uint64_t before = t_diagLines;
            DXR_SameLogFilter(&site_, "%s", text.c_str());
            const bool suppressed =
                model_.Decide(HashOf(std::string_view(text).substr(0, 1023)), site_.interval);
            SOAK_CHECK(t_diagLines - before == (suppressed ? 0U : 1U));
        } else if (what < 800) {
            site_.key1 = random.Below(30);
            site_.key2 = random.Below(lines);
            const uint64_t before = t_diagLines;
            DXR_DiffLogFilter(&site_, "call %u", random.Word());
            std::string key = std::to_string(site_.logType);
            for (const uint32_t part : {site_.key1, site_.key2, site_.key3, site_.key4}) {
                key += std::to_string(part);
            }
            SOAK_CHECK(t_diagLines - before ==
                       (model_.Decide(HashOf(key), site_.interval) ? 0U : 1U));
        } else if (what < 950) {
            std::string bytes(1 + random.Below(40), '\0');
            for (char &byte : bytes) {
                byte = static_cast<char>(random.Below(2));
            }
            const uint8_t answer =
                DXR_IsRepeatedLog(&site_, bytes.data(), static_cast<uint32_t>(bytes.size()));
            SOAK_CHECK((answer == 1) == model_.Decide(HashOf(bytes), site_.interval));
        } else if (what < 990) {
            Show();
        } else if (what < 993) {
            SOAK_CHECK(DXR_ClearLogFilterInfo(site_.logType) == 0);
            model_.Clear();
        } else if (what < 995 && model_.entries.size() < 4000) {
            const auto capacity =
                static_cast<uint32_t>(model_.entries.size()) + 1 + random.Below(100);
            DXR_LockMutex(g_dxrLogFilterMutex[site_.logType]);
            DXR_ResizeLogFilterInfo(DXR_GetLogFilter(site_.logType), capacity);
            DXR_UnlockMutex(g_dxrLogFilterMutex[site_.logType]);
            model_.entries.resize(capacity);
        }
    }

    void Show() {
        const DxrLogFilterCfg rows{site_.logType, 0, 2, 0, 0, 0};
        std::array<char, 1500> text;
        uint32_t length = 0;
        SOAK_CHECK(DXR_ShowLogFilterInfo(&rows, text.data(), &length, text.size()) == 0);
        model_.Age();
        std::array<char, 200> head;
        const int headLength = std::snprintf(
            head.data(), head.size(),
            "logtype[%u], curIndex[%u], curSize[%u], capacity[%zu] switchState[1]\r\n",
            site_.logType, model_.first, model_.size, model_.entries.size());
        SOAK_CHECK(std::strncmp(text.data(), head.data(), static_cast<size_t>(headLength)) == 0);
        SOAK_CHECK(std::strlen(text.data()) == length);
    }

    DxrLogFilterCfg site_;
    RingModel model_;
};

// Per line of the hourly type, when it was let through last.
constexpr uint32_t kHourlyLines = 1000;
extern std::array<std::atomic<uint32_t>, kHourlyLines> g_lastPassed;
// Of all shared types.
extern std::atomic<uint64_t> g_sharedAsked;
extern std::atomic<uint64_t> g_sharedPassed;
extern std::atomic<uint64_t> g_sharedSuppressed;
extern std::atomic<uint64_t> g_hourlySuppressed;

class SharedLogTypesJob : public Job {
  public:
    uint64_t Run(Random &random) override {
        constexpr uint32_t kCalls = 200;
        uint64_t passed = 0;
        for (uint32_t i = 0; i < kCalls; ++i) {
            passed += Step(random) ? 1 : 0;
        }
        g_sharedAsked += kCalls;
        g_sharedPassed += passed;
        g_sharedSuppressed += kCalls - passed;
        if (random.OneIn(20)) {
            return kCalls + Manage(random);
        }
        return kCalls;
    }

  private:
    static bool Step(Random &random) {
        if (random.OneIn(3)) {
            return Hourly(random);
        }
        const uint32_t type = kFirstSharedType + random.Below(kLogTypes - kFirstSharedType);
        if (type == kSameKeyType) {
            return DXR_IsSameKey(random.Below(20), random.Below(20), 0, 7) == 0;
        }
        const DxrLogFilterCfg site{type, random.Below(50), 0, 0, 0, random.Below(2) * 60};
        const uint64_t before = t_diagLines;
        if (random.OneIn(2)) {
            DXR_DiffLogFilter(&site, "text %u", random.Word());
        } else {
            DXR_SameLogFilter(&site, "text %u", random.Below(600));
        }
        SOAK_CHECK(t_diagLines - before <= 1);
        return t_diagLines != before;
    }

    // Within an hour a line passes once, whichever thread logs it. What has aged out stays so when
    // the clock is put back.
    static bool Hourly(Random &random) {
        const uint32_t line = random.Below(kHourlyLines);
        const DxrLogFilterCfg site{kHourlyType, 0, 0, 0, 0, 0};
        const std::string text = "hourly " + std::to_string(line);
        if (DXR_IsRepeatedLog(&site, text.data(), static_cast<uint32_t>(text.size())) == 1) {
            ++g_hourlySuppressed;
            return false;
        }
        const uint32_t last = g_lastPassed[line].exchange(g_now);
        SOAK_CHECK(last == 0 || g_latest - last >= 3600);
        return true;
    }

    static uint64_t Manage(Random &random) {
        const uint32_t type = kFirstSharedType + random.Below(kLogTypes - kFirstSharedType);
        const DxrLogFilterCfg rows{type, random.Below(10), 20, 0, 0, 0};
        std::array<char, 3000> text;
        uint32_t length = 0;
        SOAK_CHECK(DXR_ShowLogFilterInfo(&rows, text.data(), &length, text.size()) == 0);
        SOAK_CHECK(std::strlen(text.data()) == length);
        if (random.OneIn(10)) {
            SOAK_CHECK(DXR_ClearLogFilterInfo(type) == 0);
        }
        if (random.OneIn(10)) {
            DXR_LockMutex(g_dxrLogFilterMutex[type]);
            DxrLogFilterInfo *const record = DXR_GetLogFilter(type);
            if (record->capacity < 1500) {
                DXR_UpdateLogFilterCapacity(record);
                DXR_ResizeLogFilterInfo(record, record->capacity + 1 + random.Below(30));
            }
            DXR_RemoveObsoleteLogFilterInfo(record);
            DXR_UnlockMutex(g_dxrLogFilterMutex[type]);
        }
        return 4;
    }
};

}  // namespace soak

#endif  // DXR_TESTS_THREADS_SOAK_FILTER_JOBS_H
