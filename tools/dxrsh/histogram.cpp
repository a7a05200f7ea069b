#include "histogram.h"

namespace dxrsh {
namespace {

// The narrowest with which that many bars reach from the first second to the last.
uint64_t WidthFor(uint32_t first, uint32_t last, size_t most) {
    constexpr uint64_t kYear = 31536000;
    constexpr uint64_t kWidths[] = {
        1,      2,      5,      10,      15,      30,    60,        120,       300,
        600,    900,    1800,   3600,    7200,    10800, 21600,     43200,     86400,
        172800, 432000, 864000, 2592000, 7776000, kYear, 2 * kYear, 5 * kYear, 10 * kYear};
    for (const uint64_t width : kWidths) {
        if (last / width - first / width < most) {
            return width;
        }
    }
    return uint64_t{last} + 1;
}

}  // namespace

std::vector<Histogram::Bar> Histogram::Bars(size_t most) const {
    std::vector<Bar> bars;
    if (seconds_.empty()) {
        return bars;
    }
    const uint32_t first = seconds_.begin()->first;
    const uint32_t last = seconds_.rbegin()->first;
    const uint64_t width = WidthFor(first, last, most);
    for (uint64_t at = first / width; at <= last / width; ++at) {
        bars.push_back({static_cast<uint32_t>(at * width), 0, 0});
    }
    for (const auto &[sec, counts] : seconds_) {
        Bar &bar = bars[sec / width - first / width];
        bar.lines += counts.lines;
        bar.passed += counts.passed;
    }
    return bars;
}

}  // namespace dxrsh
