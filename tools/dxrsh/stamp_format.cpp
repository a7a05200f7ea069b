#include "stamp_format.h"

#include <fmt/format.h>

#include <algorithm>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;
constexpr std::string_view kDayNames = "SunMonTueWedThuFriSat";
constexpr std::string_view kMonthEnds[] = {"uary", "ruary", "ch",     "il",   "",      "e",
                                           "y",    "ust",   "tember", "ober", "ember", "ember"};
constexpr std::string_view kDayEnds[] = {"day", "day", "sday", "nesday", "rsday", "day", "urday"};

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsLetter(char c) {
    return Lower(c) >= 'a' && Lower(c) <= 'z';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool EqualLetters(std::string_view text, std::string_view name) {
    return text.size() == name.size() &&
           std::equal(text.begin(), text.end(), name.begin(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

// A name of which the first three letters are in `names`, the rest in `ends` and optional: its
// number from 0 on, or -1.
template <size_t kCount>
int TakeName(Scanner &scanner, std::string_view names, const std::string_view (&ends)[kCount]) {
    for (size_t i = 0; i < kCount; ++i) {
        if (!EqualLetters(scanner.Next(3), names.substr(3 * i, 3))) {
            continue;
        }
        scanner.Skip(3);
        if (EqualLetters(scanner.Next(ends[i].size()), ends[i])) {
            scanner.Skip(ends[i].size());
        }
        return static_cast<int>(i);
    }
    return -1;
}

bool TakeBlanks(Scanner &scanner) {
    const size_t before = scanner.Position();
    scanner.SkipBlanks();
    return scanner.Position() != before;
}

bool TakeDigits(Scanner &scanner) {
    const size_t before = scanner.Position();
    scanner.SkipDigits();
    return scanner.Position() != before;
}

// The name of a zone, of which "UTC" is what is reckoned with.
bool TakeLetters(Scanner &scanner) {
    const size_t before = scanner.Position();
    while (IsLetter(scanner.Peek())) {
        scanner.Skip(1);
    }
    return scanner.Position() != before;
}

// A zone must stand where one is asked for.
bool TakeGivenZone(Scanner &scanner, int &zone) {
    const char first = scanner.Peek();
    if (first != 'Z' && first != '+' && first != '-') {
        return false;
    }
    const size_t before = scanner.Position();
    zone = TakeZone(scanner);
    return scanner.Position() != before;
}

// Directives that another stamp within the same second may have differently.
bool TellsNoSecond(char what) {
    return what == 'f' || what == 'z' || what == 'Z' || what == 'l' || what == ' ';
}

}  // namespace

StampFormat::StampFormat(const std::string &format, StampWidth width)
    : text_(format), exact_(width == StampWidth::kExact) {
    Compile(format);
    RequireSense();
    const auto lastTold = std::find_if(head_.rbegin(), head_.rend(),
                                       [](const Step &step) { return !TellsNoSecond(step.what); });
    tail_.assign(lastTold.base(), head_.end());
    head_.erase(lastTold.base(), head_.end());
    fractionAtEnd_ = MayHaveFraction(head_.back(), tail_.empty() ? Step{' ', ' '} : tail_[0]);
}

void StampFormat::Compile(std::string_view format) {
    for (size_t at = 0; at < format.size(); ++at) {
        const char c = format[at];
        if (c == ' ' || c == '\t') {
            if (head_.empty() || head_.back().what != ' ') {
                head_.push_back({' ', ' '});
            }
        } else if (c != '%') {
            head_.push_back({'l', c});
        } else if (++at < format.size()) {
            AddStep(format[at]);
        } else {
            throw UsageError(
                fmt::format("--stamp: '{}' ends in a single %", Printable(text_, kShownWidth)));
        }
    }
}

void StampFormat::AddStep(char directive) {
    switch (directive) {
        case 'T':
            Compile("%H:%M:%S");
            return;
        case 'R':
            Compile("%H:%M");
            return;
        case 'D':
            Compile("%m/%d/%y");
            return;
        case 'F':
            Compile("%Y-%m-%d");
            return;
        case 'n':
        case 't':
            Compile(" ");
            return;
        case '%':
            head_.push_back({'l', '%'});
            return;
        case 'Y':
        case 'y':
            tells_.year = true;
            break;
        case 'm':
            tells_.month = true;
            break;
        case 'b':
        case 'B':
        case 'h':
            tells_.month = true;
            directive = 'b';
            break;
        case 'd':
        case 'e':
            tells_.day = true;
            break;
        case 'j':
            tells_.dayOfYear = true;
            break;
        case 'a':
        case 'A':
            directive = 'a';
            break;
        case 'H':
        case 'k':
            tells_.hour = true;
            break;
        case 'I':
        case 'l':
            tells_.hour = true;
            directive = 'I';
            break;
        case 'M':
            tells_.minute = true;
            break;
        case 's':
        case 'Q':
            tells_.epoch = true;
            break;
        case 'S':
        case 'p':
        case 'z':
        case 'Z':
        case 'f':
            break;
        default:
            throw UsageError(fmt::format(
                "--stamp: %{} is not known, but %Y %y %m %b %d %e %j %a %H %k %I %l %M %S %p %z %Z "
                "%s %Q %f %T %R %D %F %n %t %%",
                Printable(std::string(1, directive), kShownWidth)));
    }
    head_.push_back({directive, ' '});
}

void StampFormat::RequireSense() const {
    const std::string shown = Printable(text_, kShownWidth);
    if (tells_.epoch) {
        return;
    }
    if (!tells_.hour || !tells_.minute) {
        throw UsageError(fmt::format("--stamp: '{}' tells no time of day", shown));
    }
    const bool dayAlone = tells_.dayOfYear && tells_.year && !tells_.month && !tells_.day;
    const bool noDate = !tells_.dayOfYear && !tells_.year && !tells_.month && !tells_.day;
    const bool date = !tells_.dayOfYear && tells_.month && tells_.day;
    if (!dayAlone && !noDate && !date) {
        throw UsageError(fmt::format("--stamp: '{}' tells a part of a date", shown));
    }
}

bool StampFormat::MayHaveFraction(const Step &step, const Step &next) {
    const bool isGiven = next.what == 'l' && (next.literal == '.' || next.literal == ',');
    return !isGiven && (step.what == 'S' || step.what == 's');
}

bool StampFormat::TakeNumber(Scanner &scanner, int digits, int low, int high, int &value) const {
    if (scanner.Number(static_cast<size_t>(digits), low, high, value)) {
        return true;
    }
    for (int fewer = digits - 1; !exact_ && fewer > 0; --fewer) {
        Scanner ahead = scanner;
        if (ahead.Number(static_cast<size_t>(fewer), low, high, value) && !IsDigit(ahead.Peek())) {
            scanner = ahead;
            return true;
        }
    }
    return false;
}

bool StampFormat::TakeEpoch(Scanner &scanner, int64_t perSecond, Parts &parts) const {
    constexpr int64_t kFirstExact = 1'000'000'000;  // with fewer digits it may be any number
    int64_t count = 0;
    size_t digits = 0;
    while (IsDigit(scanner.Peek()) && digits < 13) {
        count = count * 10 + (scanner.Peek() - '0');
        scanner.Skip(1);
        ++digits;
    }
    parts.sinceEpoch = count / perSecond;
    return digits != 0 && !IsDigit(scanner.Peek()) && parts.sinceEpoch <= kLastSec &&
           (!exact_ || parts.sinceEpoch >= kFirstExact);
}

bool StampFormat::Take(const Step &step, Scanner &scanner, Parts &parts) const {
    switch (step.what) {
        case 'l':
            return scanner.Take(step.literal);
        case ' ':
            return TakeBlanks(scanner) || !exact_;
        case 'Y':
            return scanner.Number(4, kFirstYear, kLastYear, parts.year);
        case 'y':
            if (!scanner.Number(2, 0, 99, parts.year)) {
                return false;
            }
            parts.year += parts.year < 69 ? 2000 : 1900;
            return true;
        case 'm':
            return TakeNumber(scanner, 2, 1, 12, parts.month);
        case 'b':
            parts.month = TakeName(scanner, kMonthNames, kMonthEnds) + 1;
            return parts.month > 0;
        case 'a':
            return TakeName(scanner, kDayNames, kDayEnds) >= 0;
        case 'd':
            return TakeNumber(scanner, 2, 1, 31, parts.day);
        case 'e':
            scanner.Take(' ');
            return scanner.Number(2, 1, 31, parts.day) || scanner.Number(1, 1, 9, parts.day);
        case 'j':
            return TakeNumber(scanner, 3, 1, 366, parts.dayOfYear);
        case 'H':
            return TakeNumber(scanner, 2, 0, 23, parts.hour);
        case 'k':
            scanner.Take(' ');
            return scanner.Number(2, 0, 23, parts.hour) || scanner.Number(1, 0, 9, parts.hour);
        case 'I':
            scanner.Take(' ');
            return scanner.Number(2, 1, 12, parts.hour) || scanner.Number(1, 1, 9, parts.hour);
        case 'M':
            return TakeNumber(scanner, 2, 0, 59, parts.minute);
        case 'S':
            return TakeNumber(scanner, 2, 0, 60, parts.second);
        case 'p': {
            const std::string_view text = scanner.Next(2);
            parts.half = EqualLetters(text, "am") ? 0 : 1;
            scanner.Skip(text.size());
            return parts.half == 0 || EqualLetters(text, "pm");
        }
        case 's':
            return TakeEpoch(scanner, 1, parts);
        case 'Q':
            return TakeEpoch(scanner, 1000, parts);
        case 'f':
            return TakeDigits(scanner);
        case 'z':
            return TakeGivenZone(scanner, parts.zone);
        default:
            return TakeLetters(scanner);  // of %Z
    }
}

// A fraction may stand after a second, unless the form says itself what stands there.
bool StampFormat::Run(const std::vector<Step> &steps, Scanner &scanner, Parts &parts) const {
    for (size_t i = 0; i < steps.size(); ++i) {
        if (!Take(steps[i], scanner, parts)) {
            return false;
        }
        if (i + 1 < steps.size() && MayHaveFraction(steps[i], steps[i + 1])) {
            SkipFraction(scanner);
        }
    }
    return true;
}

bool StampFormat::ReadHead(Scanner &scanner, Parts &parts) const {
    return Run(head_, scanner, parts);
}

bool StampFormat::ReadTail(Scanner &scanner, Parts &parts) const {
    if (fractionAtEnd_) {
        SkipFraction(scanner);
    }
    if (!Run(tail_, scanner, parts)) {
        return false;
    }
    if (mayHaveZone_) {
        parts.zone += TakeZone(scanner);
    }
    return scanner.AtWordEnd();
}

bool StampFormat::HeadEndsBefore(char next) const {
    switch (head_.back().what) {
        case 'a':
        case 'b':
        case 'p':
            return !IsLetter(next);
        case 's':
        case 'Q':
            return !IsDigit(next);
        default:
            return exact_ || !IsDigit(next);
    }
}

std::optional<StampFormat::Moment> StampFormat::MomentOf(const Parts &parts) const {
    if (tells_.epoch) {
        return Moment{Moment::Kind::kWhole, parts.sinceEpoch - parts.zone, 0, 0, 0};
    }
    const int hour =
        parts.half < 0 || parts.hour > 12 ? parts.hour : parts.hour % 12 + 12 * parts.half;
    const int secOfDay = (hour * 60 + parts.minute) * 60 + parts.second;
    if (!tells_.day && !tells_.dayOfYear) {
        return Moment{Moment::Kind::kDateless, 0, 0, 0, secOfDay - parts.zone};
    }
    if (!tells_.year) {
        constexpr int kLeapYear = 2000;
        if (parts.day > DaysOfMonth(kLeapYear, parts.month)) {
            return std::nullopt;
        }
        return Moment{Moment::Kind::kYearless, 0, parts.month, parts.day, secOfDay - parts.zone};
    }
    constexpr int kDaysOfLeapYear = 366;
    const bool isLeap = DaysOfMonth(parts.year, 2) == 29;
    const bool isThere = tells_.dayOfYear ? parts.dayOfYear < kDaysOfLeapYear || isLeap
                                          : parts.day <= DaysOfMonth(parts.year, parts.month);
    if (!isThere) {
        return std::nullopt;
    }
    const int64_t days = tells_.dayOfYear ? DaysToDate(parts.year, 1, parts.dayOfYear)
                                          : DaysToDate(parts.year, parts.month, parts.day);
    return Moment{Moment::Kind::kWhole, days * kSecPerDay + secOfDay - parts.zone, 0, 0, 0};
}

std::optional<int64_t> FormatReader::SecOf(const StampFormat::Parts &parts) const {
    const auto moment = format_.MomentOf(parts);
    if (!moment) {
        return std::nullopt;
    }
    switch (moment->kind) {
        case StampFormat::Moment::Kind::kYearless:
            return years_.SecOf(moment->month, moment->day, moment->secOfDay);
        case StampFormat::Moment::Kind::kDateless:
            return years_.SecOfTime(moment->secOfDay);
        default:
            return moment->sec;
    }
}

std::optional<TimeStamp> FormatReader::Read(std::string_view text) {
    Scanner scanner(text);
    const size_t last = lastHead_.size();
    const bool again = last != 0 && text.starts_with(lastHead_) &&
                       (text.size() == last || format_.HeadEndsBefore(text[last]));
    int64_t headSec = lastHeadSec_;
    if (again) {
        scanner.Skip(last);
    } else {
        StampFormat::Parts head;
        if (!format_.ReadHead(scanner, head)) {
            return std::nullopt;
        }
        const auto sec = SecOf(head);
        if (!sec) {
            return std::nullopt;
        }
        headSec = *sec;
    }
    const size_t headLength = scanner.Position();
    StampFormat::Parts tail;
    if (!format_.ReadTail(scanner, tail)) {
        return std::nullopt;
    }
    const int64_t sec = headSec - tail.zone;
    if (sec < 0 || sec > kLastSec) {
        return std::nullopt;
    }
    if (!again) {
        lastHead_.assign(text.substr(0, headLength));
        lastHeadSec_ = headSec;
    }
    years_.Note(headSec);
    return TimeStamp{static_cast<uint32_t>(sec), scanner.Position()};
}

}  // namespace dxrsh
