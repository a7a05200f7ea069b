#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bare_host.h"
#include "dxr_api.h"
#include "figures.h"
#include "log_lines.h"

namespace bench {
namespace {

// Figures of repeats share a ring, which repeats leave as it is.
template <typename Line>
uint32_t SharedLogType(uint32_t live) {
    static std::map<uint32_t, uint32_t> types;
    const auto [entry, isNew] = types.try_emplace(live);
    if (isNew) {
        entry->second = NewFilledLogType<Line>(live);
    }
    return entry->second;
}

template <typename Line>
int Print(char *text, size_t size, uint32_t n) {
    return std::apply(
        [&](auto... arguments) { return std::snprintf(text, size, Line::kPrintf, arguments...); },
        Line::Arguments(n));
}

// Formats these lines in turn, each into a zeroed buffer of its own.
template <typename Line>
Run FormatAlone(std::vector<uint32_t> lines) {
    return [lines = std::move(lines)](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            char line[1024] = {};
            Keep(Print<Line>(line, sizeof(line), lines[i % lines.size()]));
            Keep(line[0]);
        }
    };
}

// Logs lines that the ring holds, in turn.
template <typename Line>
Run Repeat(uint32_t logType, std::vector<uint32_t> lines) {
    return [site = SiteOf(logType), lines = std::move(lines)](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Log<Line>(site, lines[i % lines.size()]);
        }
    };
}

template <typename Line>
void RequireLength(uint32_t n) {
    char text[2 * kLineLength];
    Print<Line>(text, sizeof(text), n);
    Require(std::strlen(text) == kLineLength, "length of a line");
}

struct Chosen {
    const char *name;
    std::vector<uint32_t> lines;
};

Chosen ChosenLines(uint32_t live, Place place) {
    switch (place) {
        case Place::kOldest:
            return {"oldest", {0}};
        case Place::kNewest:
            return {"newest", {live - 1}};
        default:
            return {"random", RandomNumbers(live)};
    }
}

constexpr const char *kFormatterName = "vsnprintf alone";

template <typename Line>
Figure Repeats(uint32_t live, Place place) {
    const auto [name, lines] = ChosenLines(live, place);
    return {std::string("DXR_SameLogFilter ") + Line::kName + " repeat, " + name + " of " +
                std::to_string(live),
            kFormatterName, static_cast<double>(live),
            Repeat<Line>(SharedLogType<Line>(live), lines), FormatAlone<Line>(lines)};
}

template <typename Line>
Figure NewLines(uint32_t live) {
    const uint32_t logType = NewFilledLogType<Line>(live);
    const DxrLogFilterCfg site = SiteOf(logType);
    constexpr uint32_t kFirst = 100'000;
    const uint32_t before = LinesLetThrough();
    Log<Line>(site, kFirst);
    Require(LinesLetThrough() == before + 1, "a new line");
    return {std::string("DXR_SameLogFilter ") + Line::kName + " new line, ring of " +
                std::to_string(live),
            kFormatterName, 0,
            [site, n = kFirst](uint64_t count) mutable {
                for (uint64_t i = 0; i < count; ++i) {
                    n = NewLineAfter(n);
                    Log<Line>(site, n);
                }
            },
            FormatAlone<Line>(RandomNumbers(kLineNumbers))};
}

}  // namespace

uint32_t NewLogType() {
    static uint32_t next = 0;
    Require(next < DXR_LOG_FILTER_TYPE_NUM, "no log type is left");
    return next++;
}

template <typename Line>
void FillLogType(uint32_t logType, uint32_t lines) {
    const DxrLogFilterCfg site = SiteOf(logType);
    const uint32_t before = DXR_GetLogFilter(logType)->curSize;
    for (uint32_t n = 0; n < lines; ++n) {
        Log<Line>(site, n);
    }
    Require(DXR_GetLogFilter(logType)->curSize == before + lines, "live entries");
    const uint32_t through = LinesLetThrough();
    Log<Line>(site, 0);
    Log<Line>(site, lines - 1);
    Require(LinesLetThrough() == through, "repeats are suppressed");
    RequireLength<Line>(0);
    RequireLength<Line>(kLineNumbers - 1);
}

template void FillLogType<PlainLine>(uint32_t, uint32_t);
template void FillLogType<PaddedLine>(uint32_t, uint32_t);

std::vector<uint32_t> RandomNumbers(uint32_t limit) {
    std::mt19937 random(1);
    std::vector<uint32_t> numbers(4096);
    for (uint32_t &number : numbers) {
        number = static_cast<uint32_t>(random()) % limit;
    }
    return numbers;
}

Figure SameText(LineKind kind, uint32_t live, Place place) {
    return kind == LineKind::kPlain ? Repeats<PlainLine>(live, place)
                                    : Repeats<PaddedLine>(live, place);
}

Figure SameTextWithDouble(LineKind kind) {
    constexpr uint32_t kLive = 100;
    return kind == LineKind::kPlain ? Repeats<PlainLineWithDouble>(kLive, Place::kNewest)
                                    : Repeats<PaddedLineWithDouble>(kLive, Place::kNewest);
}

Figure NewText(LineKind kind, uint32_t live) {
    return kind == LineKind::kPlain ? NewLines<PlainLine>(live) : NewLines<PaddedLine>(live);
}

Figure SameKey(uint32_t live) {
    DxrLogFilterCfg site = {NewLogType(), 0, 10, 200, 3000, 0};
    for (uint32_t n = 0; n < live; ++n) {
        site.key1 = n;
        DXR_DiffLogFilter(&site, "line");
    }
    Require(DXR_GetLogFilter(site.logType)->curSize == live, "live keys");
    const uint32_t before = LinesLetThrough();
    DXR_DiffLogFilter(&site, "line");
    Require(LinesLetThrough() == before, "repeated keys are suppressed");
    return {"DXR_DiffLogFilter repeat, " + std::to_string(live) + " live", "snprintf of the key",
            static_cast<double>(live),
            [site](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    DXR_DiffLogFilter(&site, PaddedLine::kPrintf, 7U, 1U, 1U, 1U);
                }
            },
            [site](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    char key[128] = {};
                    Keep(std::snprintf(key, sizeof(key), "%u%u%u%u%u", site.logType, site.key1,
                                       site.key2, site.key3, site.key4));
                    Keep(key[0]);
                }
            }};
}

}  // namespace bench
