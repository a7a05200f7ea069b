// The peer of the recorder.
#ifndef DXR_FIGURES_TEXT_MAP_H
#define DXR_FIGURES_TEXT_MAP_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string>
#include <tuple>
#include <unordered_map>

#include "dxr_api.h"

namespace bench {

// What a module would write for itself: a map from text to what is known of it, the oldest text
// erased when it is full.
template <typename Line>
class TextMap {
  public:
    void Record(uint32_t n) {
        char text[DXR_RECORD_TEXT_SIZE];
        std::apply(
            [&](auto... arguments) {
                std::snprintf(text, sizeof(text), Line::kPrintf, arguments...);
            },
            Line::Arguments(n));
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

}  // namespace bench

#endif  // DXR_FIGURES_TEXT_MAP_H
