#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "dxr_api.h"
#include "figures.h"
#include "log_lines.h"

namespace bench {
namespace {

void Record(uint32_t n) {
    DXR_RecordInfo(DXR_BENCH_LINE_FORMAT, DXR_BENCH_LINE_ARGUMENTS(n));
}

// What a module would write for itself: a map from text to what is known of it, the oldest text
// erased when it is full.
class TextMap {
  public:
    void Record(uint32_t n) {
        char text[DXR_RECORD_TEXT_SIZE];
        std::snprintf(text, sizeof(text), DXR_BENCH_LINE_FORMAT, DXR_BENCH_LINE_ARGUMENTS(n));
        const auto [entry, isNew] = events_.try_emplace(text);
        Event &event = entry->second;
        sysTime_(&event.last);
        ++event.count;
        if (isNew) {
            sysTime_(&event.first);
            order_.push_back(&entry->first);
            if (order_.size() > DXR_RECORD_COUNT) {
                events_.erase(events_.find(*order_.front()));
                order_.pop_front();
            }
        }
    }
    [[nodiscard]] size_t Size() const { return events_.size(); }

  private:
    struct Event {
        uint32_t count;
        DxrSysTime first;
        DxrSysTime last;
    };
    std::unordered_map<std::string, Event> events_;
    std::deque<const std::string *> order_;
    // One and the same for both contenders.
    void (*volatile sysTime_)(DxrSysTime *) = g_dxrHooks.time.getSysTime;
};

// The figures share the one store: how many of the texts 0, 1, 2, ... it holds, and no others.
uint32_t g_filled = 0;

void Fill(uint32_t live) {
    if (g_filled == live) {
        return;
    }
    DXR_DestroyRecordInfo();
    for (uint32_t n = 0; n < live; ++n) {
        Record(n);
    }
    Record(live - 1);
    const DxrRecordStore &store = *DXR_GetRecordEntity();
    Require(store.records[live - 1]->count == 2 && store.nextIndex == live % DXR_RECORD_COUNT,
            "the repeat of a text");
    g_filled = live;
}

constexpr const char *kMapName = "unordered_map of texts";

}  // namespace

Figure RecordRepeat(uint32_t live) {
    Fill(live);
    const auto map = std::make_shared<TextMap>();
    for (uint32_t n = 0; n < live; ++n) {
        map->Record(n);
    }
    Require(map->Size() == live, "the map of texts");
    const std::vector<uint32_t> numbers = RandomNumbers(live);
    return {"DXR_RecordInfo repeat, " + std::to_string(live) + " live", kMapName,
            static_cast<double>(live),
            [live, numbers](uint64_t count) {
                Fill(live);
                for (uint64_t i = 0; i < count; ++i) {
                    Record(numbers[i % numbers.size()]);
                }
            },
            [map, numbers](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    map->Record(numbers[i % numbers.size()]);
                }
            }};
}

Figure RecordNew() {
    constexpr uint32_t kFirst = 1000000;
    Fill(DXR_RECORD_COUNT);
    const auto map = std::make_shared<TextMap>();
    for (uint32_t n = 0; n <= DXR_RECORD_COUNT; ++n) {
        map->Record(n);
    }
    Require(map->Size() == DXR_RECORD_COUNT, "the bounded map of texts");
    return {"DXR_RecordInfo, all texts new, store full", kMapName, 0,
            [next = kFirst](uint64_t count) mutable {
                if (g_filled != 0) {
                    Fill(DXR_RECORD_COUNT);
                    g_filled = 0;
                }
                for (uint64_t i = 0; i < count; ++i) {
                    Record(next++);
                }
            },
            [map, next = kFirst](uint64_t count) mutable {
                for (uint64_t i = 0; i < count; ++i) {
                    map->Record(next++);
                }
            }};
}

}  // namespace bench
