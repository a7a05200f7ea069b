#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "dxr_api.h"
#include "figures.h"
#include "log_lines.h"
#include "text_map.h"

namespace bench {
namespace {

template <typename Line>
void Record(uint32_t n) {
    std::apply([](auto... arguments) { DXR_RecordInfo(Line::kPrintf, arguments...); },
               Line::Arguments(n));
}

// The figures share the one store: how many of which texts it holds, and no others.
struct Filling {
    const char *kind = nullptr;
    uint32_t texts = 0;
    bool operator==(const Filling &) const = default;
};
Filling g_filling;

// The texts 0 to `texts` - 1, in a store made anew where it holds anything else.
template <typename Line>
void Fill(uint32_t texts) {
    const Filling wanted = {Line::kName, texts};
    if (g_filling == wanted) {
        return;
    }
    DXR_DestroyRecordInfo();
    for (uint32_t n = 0; n < texts; ++n) {
        Record<Line>(n);
    }
    Record<Line>(texts - 1);
    const DxrRecordStore &store = *DXR_GetRecordEntity();
    Require(store.records[texts - 1]->count == 2 && store.nextIndex == texts % DXR_RECORD_COUNT,
            "the repeat of a text");
    g_filling = wanted;
}

constexpr const char *kMapName = "unordered_map of texts";

template <typename Line>
Figure Repeats(uint32_t live) {
    Fill<Line>(live);
    const auto map = std::make_shared<TextMap<Line>>();
    for (uint32_t n = 0; n < live; ++n) {
        map->Record(n);
    }
    Require(map->Size() == live, "the map of texts");
    const std::vector<uint32_t> numbers = RandomNumbers(live);
    return {
        std::string("DXR_RecordInfo ") + Line::kName + " repeat, " + std::to_string(live) + " live",
        kMapName, static_cast<double>(live),
        [live, numbers](uint64_t count) {
            Fill<Line>(live);
            for (uint64_t i = 0; i < count; ++i) {
                Record<Line>(numbers[i % numbers.size()]);
            }
        },
        [map, numbers](uint64_t count) {
            for (uint64_t i = 0; i < count; ++i) {
                map->Record(numbers[i % numbers.size()]);
            }
        }};
}

template <typename Line>
Figure NewTexts() {
    constexpr uint32_t kFirst = 100'000;
    Fill<Line>(DXR_RECORD_COUNT);
    const auto map = std::make_shared<TextMap<Line>>();
    for (uint32_t n = 0; n <= DXR_RECORD_COUNT; ++n) {
        map->Record(n);
    }
    Require(map->Size() == DXR_RECORD_COUNT, "the bounded map of texts");
    return {std::string("DXR_RecordInfo ") + Line::kName + " new text, store full", kMapName, 0,
            [isFull = false, n = kFirst](uint64_t count) mutable {
                if (!isFull) {
                    Fill<Line>(DXR_RECORD_COUNT);
                    isFull = true;
                }
                g_filling = {};
                for (uint64_t i = 0; i < count; ++i) {
                    n = NewLineAfter(n);
                    Record<Line>(n);
                }
            },
            [map, n = kFirst](uint64_t count) mutable {
                for (uint64_t i = 0; i < count; ++i) {
                    n = NewLineAfter(n);
                    map->Record(n);
                }
            }};
}

}  // namespace

Figure RecordRepeat(LineKind kind, uint32_t live) {
    return kind == LineKind::kPlain ? Repeats<PlainLine>(live) : Repeats<PaddedLine>(live);
}

Figure RecordNew(LineKind kind) {
    return kind == LineKind::kPlain ? NewTexts<PlainLine>() : NewTexts<PaddedLine>();
}

}  // namespace bench
