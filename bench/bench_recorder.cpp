#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "dxr_api.h"
#include "harness.h"

namespace bench {
namespace {

// A text of 80 characters, as modules record them.
#define RECORD_FORMAT \
    "fic %04u link %06u: serdes lost lock on lane %02u, bit errors %08x, training restarted"

constexpr DxrSysTime kNow = {2024, 3, 15, 10, 20, 30, {}};

// One and the same for both contenders, and as short as a clock can be.
void SysTime(DxrSysTime *time) {
    *time = kNow;
}

void InstallHost() {
    DXR_SetMemoryHooks([](std::uint32_t, std::uint32_t size, const char *,
                          std::uint32_t) { return std::malloc(size); },
                       [](void *block, const char *, std::uint32_t) { std::free(block); });
    g_dxrHooks.time.getSysTime = SysTime;
}

void Record(std::uint32_t n) {
    DXR_RecordInfo(RECORD_FORMAT, 7U, n, n & 15U, n * 2654435761U);
}

// What a module would write for itself: a map from text to what is known of it, the oldest text
// erased when it is full.
class TextMap {
  public:
    void Record(std::uint32_t n) {
        char text[DXR_RECORD_TEXT_SIZE];
        std::snprintf(text, sizeof(text), RECORD_FORMAT, 7U, n, n & 15U, n * 2654435761U);
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
    [[nodiscard]] std::size_t Size() const { return events_.size(); }

  private:
    struct Event {
        std::uint32_t count;
        DxrSysTime first;
        DxrSysTime last;
    };
    std::unordered_map<std::string, Event> events_;
    std::deque<const std::string *> order_;
    void (*volatile sysTime_)(DxrSysTime *) = SysTime;
};

std::vector<std::uint32_t> RandomNumbers(std::uint32_t below) {
    std::mt19937 random(1);
    std::vector<std::uint32_t> numbers(4096);
    for (std::uint32_t &number : numbers) {
        number = static_cast<std::uint32_t>(random()) % below;
    }
    return numbers;
}

// The figures share the one store: how many of the texts 0, 1, 2, ... it holds, and no others.
std::uint32_t g_filled = 0;

void Fill(std::uint32_t live) {
    if (g_filled == live) {
        return;
    }
    DXR_DestroyRecordInfo();
    for (std::uint32_t n = 0; n < live; ++n) {
        Record(n);
    }
    Record(live - 1);
    const DxrRecordStore &store = *DXR_GetRecordEntity();
    Require(store.records[live - 1]->count == 2 && store.nextIndex == live % DXR_RECORD_COUNT,
            "the repeat of a text");
    g_filled = live;
}

void AddRepeats(Suite &suite, std::uint32_t live) {
    const auto map = std::make_shared<TextMap>();
    for (std::uint32_t n = 0; n < live; ++n) {
        map->Record(n);
    }
    Require(map->Size() == live, "the map of texts");
    const std::vector<std::uint32_t> numbers = RandomNumbers(live);
    suite.Add({"DXR_RecordInfo repeat", "text repeat, " + std::to_string(live) + " records",
               "unordered_map of texts", 1.1, 0.9, static_cast<double>(live),
               [live, numbers](std::uint64_t count) {
                   Fill(live);
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Record(numbers[i % numbers.size()]);
                   }
               },
               [map, numbers](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       map->Record(numbers[i % numbers.size()]);
                   }
               }});
}

void AddNewTexts(Suite &suite) {
    const auto map = std::make_shared<TextMap>();
    const auto next = std::make_shared<std::uint32_t>(1000000U);
    const auto peerNext = std::make_shared<std::uint32_t>(1000000U);
    Fill(DXR_RECORD_COUNT);
    for (std::uint32_t n = 0; n <= DXR_RECORD_COUNT; ++n) {
        map->Record(n);
    }
    Require(map->Size() == DXR_RECORD_COUNT, "the bounded map of texts");
    suite.Add({"DXR_RecordInfo new text", "all texts new, store full", "unordered_map of texts",
               0.75, 0.6, 0,
               [next](std::uint64_t count) {
                   if (g_filled != 0) {
                       Fill(DXR_RECORD_COUNT);
                       g_filled = 0;
                   }
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Record((*next)++);
                   }
               },
               [map, peerNext](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       map->Record((*peerNext)++);
                   }
               }});
}

}  // namespace

void AddRecorder(Suite &suite) {
    InstallHost();
    for (const std::uint32_t live : {1U, 100U, 1024U}) {
        AddRepeats(suite, live);
    }
    AddNewTexts(suite);
}

}  // namespace bench
