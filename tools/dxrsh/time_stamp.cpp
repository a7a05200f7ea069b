#include "time_stamp.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>

#include "stamp_scanner.h"

namespace dxrsh {
namespace {

std::optional<int64_t> ReadIso(Scanner &scanner) {
    int year = 0;
    int month = 0;
    int day = 0;
    int secOfDay = 0;
    if (!scanner.Number(4, kFirstYear, kLastYear, year) || !scanner.Take('-') ||
        !scanner.Number(2, 1, 12, month) || !scanner.Take('-') ||
        !scanner.Number(2, 1, DaysOfMonth(year, month), day) ||
        (!scanner.Take('T') && !scanner.Take(' ')) || !ReadTimeOfDay(scanner, secOfDay)) {
        return std::nullopt;
    }
    return DaysToDate(year, month, day) * kSecPerDay + secOfDay;
}

struct YearlessStamp {
    int month;
    int day;
    int secOfDay;
};

std::optional<YearlessStamp> ReadSyslog(Scanner &scanner) {
    YearlessStamp stamp{};
    for (size_t i = 0; i < kMonthNames.size(); i += 3) {
        if (scanner.Next(3) == kMonthNames.substr(i, 3)) {
            stamp.month = static_cast<int>(i / 3) + 1;
        }
    }
    if (stamp.month == 0) {
        return std::nullopt;
    }
    scanner.Skip(3);
    if (!scanner.Take(' ')) {
        return std::nullopt;
    }
    constexpr int kLeapYear = 2000;  // the 29th of February is looked at once the year is known
    const int lastDay = DaysOfMonth(kLeapYear, stamp.month);
    scanner.Take(' ');
    if ((!scanner.Number(2, 1, lastDay, stamp.day) && !scanner.Number(1, 1, 9, stamp.day)) ||
        !scanner.Take(' ') || !ReadTimeOfDay(scanner, stamp.secOfDay)) {
        return std::nullopt;
    }
    return stamp;
}

// The 29th of February of a year that has none is the 1st of March.
int64_t SecOfDate(int year, int month, int day, int secOfDay) {
    return DaysToDate(year, month, day) * kSecPerDay + secOfDay;
}

int YearOf(int64_t sec) {
    const std::chrono::sys_days day{std::chrono::days{sec / kSecPerDay}};
    return static_cast<int>(std::chrono::year_month_day{day}.year());
}

}  // namespace

int64_t YearFinder::SecOf(int month, int day, int secOfDay) const {
    if (lastSec_) {
        const int lastYear = YearOf(*lastSec_);
        int64_t nearest = SecOfDate(lastYear, month, day, secOfDay);
        for (const int year : {lastYear - 1, lastYear + 1}) {
            const int64_t sec = SecOfDate(year, month, day, secOfDay);
            if (std::abs(sec - *lastSec_) < std::abs(nearest - *lastSec_)) {
                nearest = sec;
            }
        }
        return nearest;
    }
    if (year_ != 0) {
        return SecOfDate(year_, month, day, secOfDay);
    }
    const int latestYear = YearOf(latestSec_);
    const int64_t sec = SecOfDate(latestYear, month, day, secOfDay);
    return sec <= latestSec_ + kSecPerDay ? sec : SecOfDate(latestYear - 1, month, day, secOfDay);
}

int64_t YearFinder::SecOfTime(int secOfDay) const {
    constexpr int kUnknownYear = 2000;
    if (!lastSec_) {
        return SecOfDate(year_ != 0 ? year_ : kUnknownYear, 1, 1, secOfDay);
    }
    int64_t nearest = *lastSec_ / kSecPerDay * kSecPerDay + secOfDay;
    for (const int64_t sec : {nearest - kSecPerDay, nearest + kSecPerDay}) {
        if (std::abs(sec - *lastSec_) < std::abs(nearest - *lastSec_)) {
            nearest = sec;
        }
    }
    return nearest;
}

StampReader StampReader::Before(uint32_t latestSec) {
    return StampReader(YearFinder::Before(latestSec));
}

StampReader StampReader::FromYear(int year) {
    return StampReader(YearFinder::FromYear(year));
}

std::optional<StampReader::Head> StampReader::ReadHead(std::string_view line) const {
    Scanner scanner(line);
    if (scanner.Peek() >= '0' && scanner.Peek() <= '9') {
        if (const auto sec = ReadIso(scanner)) {
            return Head{*sec, scanner.Position(), true};
        }
    } else if (const auto stamp = ReadSyslog(scanner)) {
        const int64_t sec = years_.SecOf(stamp->month, stamp->day, stamp->secOfDay);
        return Head{sec, scanner.Position(), false};
    }
    return std::nullopt;
}

bool StampReader::HasLastHead(std::string_view line) const {
    return lastHead_ && line.starts_with(std::string_view(lastHeadText_.data(), lastHead_->length));
}

void StampReader::Remember(const Head &head, std::string_view line) {
    line.copy(lastHeadText_.data(), head.length);
    lastHead_ = head;
}

std::optional<TimeStamp> StampReader::Read(std::string_view line) {
    const bool again = HasLastHead(line);
    const std::optional<Head> head = again ? lastHead_ : ReadHead(line);
    if (!head) {
        return std::nullopt;
    }
    Scanner scanner(line);
    scanner.Skip(head->length);
    SkipFraction(scanner);
    const int64_t sec = head->mayHaveZone ? head->sec - TakeZone(scanner) : head->sec;
    if (sec < 0 || sec > kLastSec || !scanner.AtWordEnd()) {
        return std::nullopt;
    }
    if (!again) {
        Remember(*head, line);
    }
    years_.Note(sec);
    scanner.SkipBlanks();
    return TimeStamp{static_cast<uint32_t>(sec), scanner.Position(), head->mayHaveZone};
}

std::string FormatTime(uint32_t sec) {
    const std::chrono::sys_seconds time{std::chrono::seconds{sec}};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{time - day};
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       clock.hours().count(), clock.minutes().count(), clock.seconds().count());
}

}  // namespace dxrsh
