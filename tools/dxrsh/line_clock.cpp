#include "line_clock.h"

#include <algorithm>

#include "dxr_devhost.h"
#include "number_option.h"

namespace dxrsh {

const char *const kStampHelp =
    "Time stamps set the clock: ISO 8601, syslog (old and RFC 5424), Apache and nginx, numbers of "
    "seconds or milliseconds since 1970, and others; the form and its place in the line are learnt "
    "from the first lines. --stamp tells another form as for strptime(3), with %f for digits of a "
    "fraction, %Q for milliseconds since 1970 and %z for a zone; none takes no stamps. A stamp "
    "without a zone counts as UTC. A line without a stamp keeps the time of the line before it; a "
    "log without any stands at 2000-01-01 00:00:00, or at the machine's time when it comes through "
    "a pipe.";

LineClock::LineClock(const StampOptions &options) : stamps_(options) {
}

void LineClock::Set(uint32_t sec) {
    if (!firstSec_) {
        firstSec_ = sec;
    }
    nowSec_ = sec;
    DxrHostSetClock(nullptr, sec, startupSec_ + (sec - *firstSec_));
}

void LineClock::SetUnstamped(uint32_t sec) {
    if (!firstSec_) {
        nowSec_ = sec;
        DxrHostSetClock(nullptr, sec, startupSec_);
    }
}

// From whole lines alone.
void LineClock::Learn(std::string_view beginningOfLog) {
    learnt_ = 0;
    stamps_.StartLog();
    while (stamps_.Learning()) {
        const size_t lineBreak = beginningOfLog.find('\n');
        if (lineBreak == std::string_view::npos) {
            return;
        }
        stamps_.Learn(beginningOfLog.substr(0, lineBreak));
        ++learnt_;
        beginningOfLog.remove_prefix(lineBreak + 1);
    }
}

void LineClock::Start(std::string_view beginningOfLog) {
    Learn(beginningOfLog);
    if (started_) {
        return;
    }
    started_ = true;
    // The stamp of a line that is not all there is whole once something else stands after it.
    constexpr std::string_view kMayGoOn = "0123456789.,:+-Z \t";
    while (!beginningOfLog.empty()) {
        const size_t lineBreak = beginningOfLog.find('\n');
        const std::string_view line = beginningOfLog.substr(0, lineBreak);
        const auto stamp = stamps_.Read(line);
        if (stamp && (lineBreak != std::string_view::npos ||
                      (stamps_.IsClassic() &&
                       line.find_first_not_of(kMayGoOn, stamp->end) != std::string_view::npos))) {
            Set(stamp->sec);
            stamps_.ForgetCount();
            return;
        }
        beginningOfLog.remove_prefix(std::min(line.size() + 1, beginningOfLog.size()));
    }
    stamps_.ForgetCount();
    DxrHostSetClock(nullptr, kUnstampedSec, startupSec_);
}

std::string_view LineClock::Take(std::string_view line) {
    if (learnt_ != 0) {
        --learnt_;
    } else if (stamps_.Learning()) {
        stamps_.Learn(line);
    }
    const auto stamp = stamps_.Read(line);
    if (!stamp) {
        return line;
    }
    if (stamp->sec != nowSec_ || !firstSec_) {
        Set(stamp->sec);
    }
    if (stamp->begin == 0) {
        return line.substr(stamp->end);
    }
    joined_.assign(line.substr(0, stamp->begin));
    joined_ += line.substr(stamp->end);
    return joined_;
}

void AddStampOptions(CLI::App &command, StampOptions &options) {
    command
        .add_option("--year", options.year,
                    "Year of stamps that have none, 1970 to 2105 (default: the latest)")
        ->transform(AsWholeNumber(kFirstYear, kLastYear))
        ->type_name("N");
    command
        .add_option("--stamp", options.format,
                    "Form of the stamps, as of strptime (default: found out)")
        ->type_name("FORMAT");
}

}  // namespace dxrsh
