// Takes a time stamp apart, piece by piece: what the readers of all forms have in common.
#ifndef DXRSH_STAMP_SCANNER_H
#define DXRSH_STAMP_SCANNER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dxrsh {

constexpr int64_t kSecPerDay = 86400;
constexpr int64_t kLastSec = 0xFFFFFFFF;
constexpr std::string_view kMonthNames = "JanFebMarAprMayJunJulAugSepOctNovDec";

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
        return !IsOfWord(Peek()) || (position_ > 0 && !IsOfWord(text_[position_ - 1]));
    }

    void SkipBlanks() {
        while (Peek() == ' ' || Peek() == '\t') {
            ++position_;
        }
    }

  private:
    [[nodiscard]] static bool IsOfWord(char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '_';
    }

    std::string_view text_;
    size_t position_ = 0;
};

inline int64_t DaysToDate(int year, int month, int day) {
    const auto firstOfMonth =
        std::chrono::sys_days{std::chrono::year{year} / month / std::chrono::day{1}};
    return firstOfMonth.time_since_epoch().count() + day - 1;
}

inline int DaysOfMonth(int year, int month) {
    const std::chrono::year_month_day_last last =
        std::chrono::year{year} / month / std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

inline bool ReadTimeOfDay(Scanner &scanner, int &secOfDay) {
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

inline void SkipFraction(Scanner &scanner) {
    Scanner ahead = scanner;
    if ((ahead.Take('.') || ahead.Take(',')) && ahead.Peek() >= '0' && ahead.Peek() <= '9') {
        ahead.SkipDigits();
        scanner = ahead;
    }
}

// The zone's distance from UTC in seconds; 0 when the stamp has none. "Z", "+01", "+0100" and
// "+01:00" are zones, the last two also after one blank ("-12" after a blank may be any number).
inline int TakeZone(Scanner &scanner) {
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

}  // namespace dxrsh

#endif  // DXRSH_STAMP_SCANNER_H
