#include "time_stamp.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cstdlib>

namespace dxrsh {
namespace {

constexpr int64_t kSecPerDay = 86400;
constexpr int64_t kLastSec = 0xFFFFFFFF;

// Takes pieces off the front of a text; a piece that does not fit leaves the text as it is.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    [[nodiscard]] size_t Position() const { return position_; }
    [[nodiscard]] char Peek() const { return position_ < text_.size() ? text_[position_] : '\0'; }

    bool Take(char c) {
        if (position_ == text_.size() || text_[position_] != c) {
            return false;
        }
        ++position_;
        return true;
    }

    // Exactly `count` decimal digits whose value lies in the range.
    bool Number(size_t count, int low, int high, int &value) {
        if (text_.size() - position_ < count) {
            return false;
        }
        int sum = 0;
        for (const char c : text_.substr(position_, count)) {
            if (c < '0' || c > '9') {
                return false;
            }
            sum = sum * 10 + (c - '0');
        }
        if (sum < low || sum > high) {
            return false;
        }
        position_ += count;
        value = sum;
        return true;
    }

    [[nodiscard]] std::string_view Next(size_t count) const {
        return text_.substr(position_, count);
    }
    void Skip(size_t count) { position_ += count; }

    void SkipDigits() {
        while (Peek() >= '0' && Peek() <= '9') {
            ++position_;
        }
    }

    // A word that goes on would make the stamp a part of it.
    [[nodiscard]] bool AtWordEnd() const {
        const char c = Peek();
        const bool wordCharacter =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
        return !wordCharacter;
    }

    void SkipBlanks() {
        while (Peek() == ' ' || Peek() == '\t') {
            ++position_;
        }
    }

  private:
    std::string_view text_;
    size_t position_ = 0;
};

int64_t DaysToDate(int year, int month, int day) {
    const auto firstOfMonth =
        std::chrono::sys_days{std::chrono::year{year} / month / std::chrono::day{1}};
    return firstOfMonth.time_since_epoch().count() + day - 1;
}

int DaysOfMonth(int year, int month) {
    const std::chrono::year_month_day_last last =
        std::chrono::year{year} / month / std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

bool ReadTimeOfDay(Scanner &scanner, int &secOfDay) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    // 60 is a leap second.
    if (!scanner.Number(2, 0, 23, hour) || !scanner.Take(':') ||
        !scanner.Number(2, 0, 59, minute) || !scanner.Take(':') ||
        !scanner.Number(2, 0, 60, second)) {
        return false;
    }
    secOfDay = (hour * 60 + minute) * 60 + second;
    return true;
}

void SkipFraction(Scanner &scanner) {
    Scanner ahead = scanner;
    if ((ahead.Take('.') || ahead.Take(',')) && ahead.Peek() >= '0' && ahead.Peek() <= '9') {
        ahead.SkipDigits();
        scanner = ahead;
    }
}

// The zone's distance from UTC in seconds; 0 when the stamp has none. "Z", "+01", "+0100" and
// "+01:00" are zones, the last two also after one blank ("-12" after a blank may be any number).
int TakeZone(Scanner &scanner) {
    if (scanner.Take('Z')) {
        return 0;
    }
    Scanner ahead = scanner;
    const bool apart = ahead.Take(' ');
    const bool west = ahead.Peek() == '-';
    int hours = 0;
    int minutes = 0;
    if ((!ahead.Take('+') && !ahead.Take('-')) || !ahead.Number(2, 0, 23, hours)) {
        return 0;
    }
    const Scanner behindHours = ahead;
    ahead.Take(':');
    const bool hasMinutes = ahead.Number(2, 0, 59, minutes);
    if (!hasMinutes) {
        ahead = behindHours;
    }
    if (!ahead.AtWordEnd() || (apart && !hasMinutes)) {
        return 0;
    }
    scanner = ahead;
    const int distance = (hours * 60 + minutes) * 60;
    return west ? -distance : distance;
}

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
    constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    YearlessStamp stamp{};
    for (size_t i = 0; i < kMonths.size(); ++i) {
        if (scanner.Next(3) == kMonths[i]) {
            stamp.month = static_cast<int>(i) + 1;
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
int64_t SecOf(int year, int month, int day, int secOfDay) {
    return DaysToDate(year, month, day) * kSecPerDay + secOfDay;
}

int YearOf(int64_t sec) {
    const std::chrono::sys_days day{std::chrono::days{sec / kSecPerDay}};
    return static_cast<int>(std::chrono::year_month_day{day}.year());
}

}  // namespace

StampReader StampReader::Before(uint32_t latestSec) {
    return {latestSec, 0};
}

StampReader StampReader::FromYear(int year) {
    return {0, year};
}

int64_t StampReader::SecOfYearless(int month, int day, int secOfDay) const {
    if (lastSec_) {
        const int lastYear = YearOf(*lastSec_);
        int64_t nearest = SecOf(lastYear, month, day, secOfDay);
        for (const int year : {lastYear - 1, lastYear + 1}) {
            const int64_t sec = SecOf(year, month, day, secOfDay);
            if (std::abs(sec - *lastSec_) < std::abs(nearest - *lastSec_)) {
                nearest = sec;
            }
        }
        return nearest;
    }
    if (year_ != 0) {
        return SecOf(year_, month, day, secOfDay);
    }
    const int latestYear = YearOf(latestSec_);
    const int64_t sec = SecOf(latestYear, month, day, secOfDay);
    return sec <= latestSec_ + kSecPerDay ? sec : SecOf(latestYear - 1, month, day, secOfDay);
}

std::optional<StampReader::Head> StampReader::ReadHead(std::string_view line) const {
    Scanner scanner(line);
    if (scanner.Peek() >= '0' && scanner.Peek() <= '9') {
        if (const auto sec = ReadIso(scanner)) {
            return Head{*sec, scanner.Position(), true};
        }
    } else if (const auto stamp = ReadSyslog(scanner)) {
        const int64_t sec = SecOfYearless(stamp->month, stamp->day, stamp->secOfDay);
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
    lastSec_ = sec;
    scanner.SkipBlanks();
    return TimeStamp{static_cast<uint32_t>(sec), scanner.Position()};
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
