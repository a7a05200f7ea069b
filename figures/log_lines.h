// Lines as modules log them, each of 80 characters whatever its number is.
#ifndef DXR_FIGURES_LOG_LINES_H
#define DXR_FIGURES_LOG_LINES_H

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "dxr_api.h"

namespace bench {

// A line's number is below this. Lines with different numbers differ.
constexpr uint32_t kLineNumbers = 1'000'000;
constexpr size_t kLineLength = 80;

// Numbers as they are and a short text: what formatters are fastest at.
struct PlainLine {
    static constexpr const char kName[] = "plain";
    static constexpr const char kPrintf[] =
        "chip %d link %d lane %d lost lock %d times: port %s is down, restarts soon";
    static constexpr const char kFmt[] =
        "chip {} link {} lane {} lost lock {} times: port {} is down, restarts soon";
    static auto Arguments(uint32_t n) {
        return std::tuple(7, static_cast<int>(1000 + n % 9000), static_cast<int>(n % 8),
                          static_cast<int>(100 + n / 9000), "ge-0/12");
    }
};

// Numbers in columns.
struct PaddedLine {
    static constexpr const char kName[] = "padded";
    static constexpr const char kPrintf[] =
        "fic %04u link %06u: serdes lost lock, lane %02u, bit errors %08x, retraining";
    static constexpr const char kFmt[] =
        "fic {:04} link {:06}: serdes lost lock, lane {:02}, bit errors {:08x}, retraining";
    static auto Arguments(uint32_t n) { return std::tuple(7U, n, n & 15U, n * 2654435761U); }
};

// The same with a conversion of floating point.
inline double DegreesOf(uint32_t n) {
    return 20.0 + n % 64 * 0.265625;
}

struct PlainLineWithDouble {
    static constexpr const char kName[] = "plain %f";
    static constexpr const char kPrintf[] =
        "chip %d link %d at %f degrees: port %s is slowed down to half speed";
    static auto Arguments(uint32_t n) {
        return std::tuple(7, static_cast<int>(1000 + n % 9000), DegreesOf(n), "ge-0/12");
    }
};

struct PaddedLineWithDouble {
    static constexpr const char kName[] = "padded %f";
    static constexpr const char kPrintf[] =
        "fic %04u link %06u: %09.4f degrees on lane %02u, errors %08x, slowed down";
    static auto Arguments(uint32_t n) {
        return std::tuple(7U, n, DegreesOf(n), n & 15U, n * 2654435761U);
    }
};

inline DxrLogFilterCfg SiteOf(uint32_t logType) {
    return {logType, 1, 2, 3, 4, 0};
}

template <typename Line>
inline void Log(const DxrLogFilterCfg &site, uint32_t n) {
    std::apply(
        [&site](auto... arguments) { DXR_SameLogFilter(&site, Line::kPrintf, arguments...); },
        Line::Arguments(n));
}

// The numbers from 100 000 on, which no ring is filled with, again and again: no ring and no store
// holds as many.
inline uint32_t NewLineAfter(uint32_t n) {
    return n + 1 < kLineNumbers ? n + 1 : 100'000;
}

// A log type that no figure uses yet.
[[nodiscard]] uint32_t NewLogType();

// Adds the lines 0 to `lines` - 1 to what its ring holds.
template <typename Line>
void FillLogType(uint32_t logType, uint32_t lines);

template <typename Line>
[[nodiscard]] uint32_t NewFilledLogType(uint32_t lines) {
    const uint32_t logType = NewLogType();
    FillLogType<Line>(logType, lines);
    return logType;
}

// Numbers below `limit`, enough of them that no processor learns their order.
[[nodiscard]] std::vector<uint32_t> RandomNumbers(uint32_t limit);

}  // namespace bench

#endif  // DXR_FIGURES_LOG_LINES_H
