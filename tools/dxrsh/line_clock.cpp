#include "line_clock.h"

#include <algorithm>
#include <ctime>

#include "dxr_devhost.h"
#include "number_option.h"

namespace dxrsh {
namespace {

StampReader ReaderFor(std::optional<int> year) {
    return year ? StampReader::FromYear(*year)
                : StampReader::Before(static_cast<uint32_t>(std::time(nullptr)));
}

}  // namespace

const char *const kStampHelp =
    "A time stamp at the head of a line (2026-11-21 03:37:00, 2026-11-21T03:37:00.25+01:00,\n"
    "Nov 21 03:37:00) sets the clock; one without a zone counts as UTC. A line without a stamp\n"
    "keeps the time of the line before it. The lines before the first stamp take that stamp's\n"
    "time when it stands whole in the first block read (1 MiB of a file). A log without any stamp\n"
    "stands at 2000-01-01 00:00:00 throughout.";

LineClock::LineClock(std::optional<int> year) : stamps_(ReaderFor(year)) {
}

void LineClock::Set(uint32_t sec) {
    if (!firstSec_) {
        firstSec_ = sec;
    }
    nowSec_ = sec;
    DxrHostSetClock(nullptr, sec, startupSec_ + (sec - *firstSec_));
}

void LineClock::Start(std::string_view beginningOfLog) {
    // The stamp of a line that is not all there is whole once something else stands after it.
    constexpr std::string_view kMayGoOn = "0123456789.,:+-Z \t";
    while (!beginningOfLog.empty()) {
        const size_t lineBreak = beginningOfLog.find('\n');
        const std::string_view line = beginningOfLog.substr(0, lineBreak);
        const auto stamp = stamps_.Read(line);
        if (stamp && (lineBreak != std::string_view::npos ||
                      line.find_first_not_of(kMayGoOn, stamp->length) != std::string_view::npos)) {
            Set(stamp->sec);
            return;
        }
        beginningOfLog.remove_prefix(std::min(line.size() + 1, beginningOfLog.size()));
    }
    DxrHostSetClock(nullptr, kUnstampedSec, startupSec_);
}

std::string_view LineClock::Take(std::string_view line) {
    const auto stamp = stamps_.Read(line);
    if (!stamp) {
        return line;
    }
    if (stamp->sec != nowSec_ || !firstSec_) {
        Set(stamp->sec);
    }
    return line.substr(stamp->length);
}

void AddYearOption(CLI::App &command, std::optional<int> &year) {
    command
        .add_option("--year", year,
                    "Year of a log whose stamps have none (default: the latest not in the future)")
        ->transform(AsWholeNumber())
        ->check(CLI::Range(kFirstYear, kLastYear))
        ->type_name("N");
}

}  // namespace dxrsh
