#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bare_host.h"
#include "dxr_api.h"
#include "figures.h"
#include "log_lines.h"

namespace bench {
namespace {

// Figures of repeats share a ring, which repeats leave as it is.
uint32_t SharedLogType(uint32_t live) {
    static std::map<uint32_t, uint32_t> types;
    const auto [entry, isNew] = types.try_emplace(live);
    if (isNew) {
        entry->second = NewFilledLogType(live);
    }
    return entry->second;
}

// Formats these lines in turn, each into a zeroed buffer of its own.
Run FormatAlone(std::vector<uint32_t> lines) {
    return [lines = std::move(lines)](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            char line[1024] = {};
            const uint32_t n = lines[i % lines.size()];
            Keep(std::snprintf(line, sizeof(line), DXR_BENCH_LINE_FORMAT,
                               DXR_BENCH_LINE_ARGUMENTS(n)));
            Keep(line[0]);
        }
    };
}

// Logs lines that the ring holds, in turn.
Run Repeat(uint32_t logType, std::vector<uint32_t> lines) {
    return [site = SiteOf(logType), lines = std::move(lines)](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Log(site, lines[i % lines.size()]);
        }
    };
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

}  // namespace

uint32_t NewLogType() {
    constexpr uint32_t kLogTypes = 29;
    static uint32_t next = 0;
    Require(next < kLogTypes, "no log type is left");
    return next++;
}

uint32_t NewFilledLogType(uint32_t live) {
    const uint32_t logType = NewLogType();
    const DxrLogFilterCfg site = SiteOf(logType);
    for (uint32_t n = 0; n < live; ++n) {
        Log(site, n);
    }
    Require(DXR_GetLogFilter(logType)->curSize == live, "live entries");
    const uint32_t before = LinesLetThrough();
    Log(site, 0);
    Log(site, live - 1);
    Require(LinesLetThrough() == before, "repeats are suppressed");
    return logType;
}

std::vector<uint32_t> RandomNumbers(uint32_t limit) {
    std::mt19937 random(1);
    std::vector<uint32_t> numbers(4096);
    for (uint32_t &number : numbers) {
        number = static_cast<uint32_t>(random()) % limit;
    }
    return numbers;
}

Figure SameText(uint32_t live, Place place) {
    const auto [name, lines] = ChosenLines(live, place);
    return {"DXR_SameLogFilter repeat, " + std::string(name) + " of " + std::to_string(live),
            kFormatterName, static_cast<double>(live), Repeat(SharedLogType(live), lines),
            FormatAlone(lines)};
}

Figure NewText(uint32_t live) {
    const uint32_t logType = NewFilledLogType(live);
    const DxrLogFilterCfg site = SiteOf(logType);
    constexpr uint32_t kFirst = 1000000;
    const uint32_t before = LinesLetThrough();
    Log(site, kFirst);
    Require(LinesLetThrough() == before + 1, "a new line");
    return {"DXR_SameLogFilter, all lines new, ring of " + std::to_string(live), kFormatterName, 0,
            [site, next = kFirst](uint64_t count) mutable {
                for (uint64_t i = 0; i < count; ++i) {
                    Log(site, ++next);
                }
            },
            FormatAlone(RandomNumbers(kFirst))};
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
                    DXR_DiffLogFilter(&site, DXR_BENCH_LINE_FORMAT, DXR_BENCH_LINE_ARGUMENTS(1U));
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
