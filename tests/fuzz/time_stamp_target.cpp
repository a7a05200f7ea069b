// The stamps at the heads of log lines beside a reader that tries each form by a pattern and counts
// years and days one by one; those of written forms beside one that walks along the form.
#include "time_stamp.h"

#include "stamp_format.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsWord(char c) {
    return IsDigit(c) || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsLeap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysOf(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

int64_t Seconds(int year, int month, int day, int secOfDay) {
    int64_t days = day - 1;
    for (int y = 1970; y < year; ++y) {
        days += IsLeap(y) ? 366 : 365;
    }
    for (int y = year; y < 1970; ++y) {
        days -= IsLeap(y) ? 366 : 365;
    }
    for (int m = 1; m < month; ++m) {
        days += DaysOf(year, m);
    }
    return days * 86400 + secOfDay;
}

int YearOf(int64_t sec) {
    int year = 1970;
    while (Seconds(year + 1, 1, 1, 0) <= sec) {
        ++year;
    }
    return year;
}

// Whether the line goes on at `at` as the pattern says: 'd' is a digit, all else itself.
bool Goes(std::string_view line, size_t at, std::string_view pattern) {
    if (line.size() < at + pattern.size()) {
        return false;
    }
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == 'd' ? !IsDigit(line[at + i]) : line[at + i] != pattern[i]) {
            return false;
        }
    }
    return true;
}

int Value(std::string_view line, size_t at, size_t count) {
    int value = 0;
    for (size_t i = 0; i < count; ++i) {
        value = value * 10 + (line[at + i] - '0');
    }
    return value;
}

bool IsWordAt(std::string_view line, size_t at) {
    return at < line.size() && IsWord(line[at]);
}

struct Reader {
    std::optional<int64_t> last;
    int64_t latest;
    int year;  // 0: none given

    std::optional<dxrsh::TimeStamp> Read(std::string_view line) {
        size_t at = 0;
        std::optional<int64_t> sec;
        if (!line.empty() && IsDigit(line[0])) {
            sec = Iso(line, &at);
        } else {
            sec = Syslog(line, &at);
        }
        if (!sec || *sec < 0 || *sec > int64_t{UINT32_MAX} || IsWordAt(line, at)) {
            return std::nullopt;
        }
        last = sec;
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) {
            ++at;
        }
        return dxrsh::TimeStamp{static_cast<uint32_t>(*sec), at};
    }

    static bool TimeOfDay(std::string_view line, size_t at, int *secOfDay) {
        if (!Goes(line, at, "dd:dd:dd")) {
            return false;
        }
        const int hour = Value(line, at, 2);
        const int minute = Value(line, at + 3, 2);
        const int second = Value(line, at + 6, 2);
        *secOfDay = hour * 3600 + minute * 60 + second;
        return hour < 24 && minute < 60 && second <= 60;
    }

    static void Fraction(std::string_view line, size_t *at) {
        if (Goes(line, *at, ".d") || Goes(line, *at, ",d")) {
            ++*at;
            while (*at < line.size() && IsDigit(line[*at])) {
                ++*at;
            }
        }
    }

    // Takes the longest form of a zone that ends a word.
    static int Zone(std::string_view line, size_t *at) {
        if (Goes(line, *at, "Z")) {
            ++*at;
            return 0;
        }
        const bool apart = Goes(line, *at, " ");
        const size_t sign = *at + (apart ? 1 : 0);
        if (!(Goes(line, sign, "+dd") || Goes(line, sign, "-dd")) ||
            Value(line, sign + 1, 2) > 23) {
            return 0;
        }
        int distance = Value(line, sign + 1, 2) * 3600;
        size_t end = sign + 3;
        bool hasMinutes = false;
        for (const size_t colon : {size_t{1}, size_t{0}}) {
            const size_t minutes = sign + 3 + colon;
            if (Goes(line, sign + 3, colon != 0 ? ":dd" : "dd") && Value(line, minutes, 2) < 60) {
                distance += Value(line, minutes, 2) * 60;
                end = minutes + 2;
                hasMinutes = true;
                break;
            }
        }
        if (IsWordAt(line, end) || (apart && !hasMinutes)) {
            return 0;
        }
        *at = end;
        return line[sign] == '-' ? -distance : distance;
    }

    static std::optional<int64_t> Iso(std::string_view line, size_t *at) {
        int secOfDay = 0;
        if (!(Goes(line, 0, "dddd-dd-ddT") || Goes(line, 0, "dddd-dd-dd ")) ||
            !TimeOfDay(line, 11, &secOfDay)) {
            return std::nullopt;
        }
        const int y = Value(line, 0, 4);
        const int month = Value(line, 5, 2);
        const int day = Value(line, 8, 2);
        if (y < 1970 || y > 2105 || month < 1 || month > 12 || day < 1 || day > DaysOf(y, month)) {
            return std::nullopt;
        }
        *at = 19;
        Fraction(line, at);
        const int64_t local = Seconds(y, month, day, secOfDay);
        return local - Zone(line, at);
    }

    std::optional<int64_t> Syslog(std::string_view line, size_t *at) const {
        static constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
        int month = 0;
        for (int i = 0; i < 12; ++i) {
            month = Goes(line, 0, kMonths.substr(static_cast<size_t>(i) * 3, 3)) ? i + 1 : month;
        }
        size_t digits = Goes(line, 3, "  ") ? 5 : 4;
        if (month == 0 || !Goes(line, 3, " ")) {
            return std::nullopt;
        }
        int day = 0;
        if (Goes(line, digits, "dd ")) {
            day = Value(line, digits, 2);
            digits += 3;
        } else if (Goes(line, digits, "d ")) {
            day = Value(line, digits, 1);
            digits += 2;
        }
        int secOfDay = 0;
        if (day < 1 || day > DaysOf(2000, month) || !TimeOfDay(line, digits, &secOfDay)) {
            return std::nullopt;
        }
        *at = digits + 8;
        Fraction(line, at);
        return InYear(month, day, secOfDay);
    }

    [[nodiscard]] int64_t InYear(int month, int day, int secOfDay) const {
        if (!last && year != 0) {
            return Seconds(year, month, day, secOfDay);
        }
        if (!last) {
            const int y = YearOf(latest);
            const int64_t sec = Seconds(y, month, day, secOfDay);
            return sec <= latest + 86400 ? sec : Seconds(y - 1, month, day, secOfDay);
        }
        const int y = YearOf(*last);
        int64_t best = Seconds(y, month, day, secOfDay);
        for (const int other : {y - 1, y + 1}) {
            const int64_t sec = Seconds(other, month, day, secOfDay);
            best = std::llabs(sec - *last) < std::llabs(best - *last) ? sec : best;
        }
        return best;
    }
};

constexpr struct {
    const char *format;
    bool mayHaveZone;
} kForms[] = {
    {"%Y/%m/%d %H:%M:%S", true},
    {"%d/%b/%Y:%H:%M:%S %z", false},
    {"%a %b %e %H:%M:%S %Y", false},
    {"%y/%m/%d %H:%M:%S", false},
    {"%y%m%d %H%M%S", false},
    {"%m-%d %H:%M:%S.%f", false},
    {"%s", false},
    {"%Q", false},
    {"%Y-%m-%dT%H:%M:%S", true},
};
constexpr size_t kFormCount = sizeof(kForms) / sizeof(kForms[0]);

// Exactly as many digits as each directive has at most; nothing is remembered from line to line but
// the time of the last stamp.
struct FormModel {
    Reader years;
    int year = -1;
    int month = 0;
    int day = 0;
    int time[3] = {};
    int zone = 0;
    int64_t epoch = -1;

    // The end of a name of which at least three letters are there; `number` from 1 on.
    static size_t Name(std::string_view line, size_t at, bool isMonth, int *number) {
        static constexpr std::string_view kNames[] = {
            "january", "february",  "march",    "april",    "may",      "june",   "july",
            "august",  "september", "october",  "november", "december", "sunday", "monday",
            "tuesday", "wednesday", "thursday", "friday",   "saturday"};
        for (size_t i = isMonth ? 0 : 12; i < (isMonth ? 12U : 19U); ++i) {
            const auto begins = [&](std::string_view name) {
                for (size_t k = 0; k < name.size(); ++k) {
                    const char c = at + k < line.size() ? line[at + k] : ' ';
                    if (c != name[k] && c != name[k] - 'a' + 'A') {
                        return false;
                    }
                }
                return true;
            };
            if (begins(kNames[i].substr(0, 3))) {
                *number = static_cast<int>(i) + 1;
                return at + (begins(kNames[i]) ? kNames[i].size() : 3);
            }
        }
        return 0;
    }

    static bool Digits(std::string_view line, size_t *at, size_t count, int low, int high,
                       int *value) {
        if (!Goes(line, *at, std::string_view("dddd").substr(0, count))) {
            return false;
        }
        *value = Value(line, *at, count);
        *at += count;
        return *value >= low && *value <= high;
    }

    bool Directive(char what, std::string_view line, size_t *at) {
        switch (what) {
            case 'Y':
                return Digits(line, at, 4, 1970, 2105, &year);
            case 'y': {
                const bool found = Digits(line, at, 2, 0, 99, &year);
                year += year < 69 ? 2000 : 1900;
                return found;
            }
            case 'm':
                return Digits(line, at, 2, 1, 12, &month);
            case 'd':
                return Digits(line, at, 2, 1, 31, &day);
            case 'H':
                return Digits(line, at, 2, 0, 23, &time[0]);
            case 'M':
                return Digits(line, at, 2, 0, 59, &time[1]);
            case 'S':
                return Digits(line, at, 2, 0, 60, &time[2]);
            case 'b':
            case 'a': {
                int number = 0;
                const size_t end = Name(line, *at, what == 'b', &number);
                month = what == 'b' ? number : month;
                *at = end;
                return end != 0;
            }
            case 'e': {
                *at += Goes(line, *at, " ") ? 1 : 0;
                size_t two = *at;
                if (Digits(line, &two, 2, 1, 31, &day)) {
                    *at = two;
                    return true;
                }
                return Digits(line, at, 1, 1, 9, &day);
            }
            case 'f':
                if (!Goes(line, *at, "d")) {
                    return false;
                }
                while (Goes(line, *at, "d")) {
                    ++*at;
                }
                return true;
            case 'z': {
                const size_t before = *at;
                const bool begins =
                    before < line.size() &&
                    std::string_view("Z+-").find(line[before]) != std::string_view::npos;
                zone = begins ? Reader::Zone(line, at) : 0;
                return begins && *at != before;
            }
            default: {
                epoch = 0;
                size_t digits = 0;
                while (Goes(line, *at, "d") && digits < 13) {
                    epoch = epoch * 10 + Value(line, (*at)++, 1);
                    ++digits;
                }
                epoch /= what == 'Q' ? 1000 : 1;
                return digits > 0 && !Goes(line, *at, "d") && epoch <= int64_t{UINT32_MAX} &&
                       epoch >= 1'000'000'000;
            }
        }
    }

    std::optional<dxrsh::TimeStamp> Read(std::string_view line, size_t form) {
        const std::string_view format = kForms[form].format;
        size_t at = 0;
        for (size_t i = 0; i < format.size(); ++i) {
            if (format[i] == ' ') {
                const size_t before = at;
                while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) {
                    ++at;
                }
                if (at == before) {
                    return std::nullopt;
                }
            } else if (format[i] != '%') {
                if (!Goes(line, at, format.substr(i, 1))) {
                    return std::nullopt;
                }
                ++at;
            } else {
                const char what = format[++i];
                if (!Directive(what, line, &at)) {
                    return std::nullopt;
                }
                const bool given = i + 1 < format.size() && format[i + 1] == '.';
                if ((what == 'S' || what == 's') && !given) {
                    Reader::Fraction(line, &at);
                }
            }
        }
        const int tailZone = kForms[form].mayHaveZone ? Reader::Zone(line, &at) : 0;
        if (IsWordAt(line, at) || (epoch < 0 && day > DaysOf(year < 0 ? 2000 : year, month))) {
            return std::nullopt;
        }
        const int secOfDay = time[0] * 3600 + time[1] * 60 + time[2];
        const int64_t local = epoch >= 0 ? epoch
                              : year < 0 ? years.InYear(month, day, secOfDay)
                                         : Seconds(year, month, day, secOfDay);
        const int64_t sec = local - zone - tailZone;
        if (sec < 0 || sec > int64_t{UINT32_MAX}) {
            return std::nullopt;
        }
        years.last = local - zone;
        return dxrsh::TimeStamp{static_cast<uint32_t>(sec), at};
    }
};

std::string Written(uint32_t sec) {
    const int year = YearOf(sec);
    int64_t left = sec - Seconds(year, 1, 1, 0);
    int month = 1;
    while (left >= int64_t{86400} * DaysOf(year, month)) {
        left -= int64_t{86400} * DaysOf(year, month);
        ++month;
    }
    char text[40];
    std::snprintf(text, sizeof(text), "%d-%02d-%02d %02d:%02d:%02d", year, month,
                  static_cast<int>(left / 86400 + 1), static_cast<int>(left / 3600 % 24),
                  static_cast<int>(left / 60 % 60), static_cast<int>(left % 60));
    return text;
}

// Bytes from 0x80 on stand for the pieces of stamps, the others for themselves.
std::string Line(Input &input) {
    static constexpr const char *kPieces[] = {
        "2026-11-21",
        "1970-01-01",
        "2105-12-31",
        "2024-02-29",
        "2100-02-28",
        "T",
        " ",
        "Z",
        "03:37:00",
        "00:00:00",
        "23:59:60",
        ".250",
        ",5",
        "+01:00",
        "-0130",
        " +0000",
        " -12",
        "Jan ",
        "Feb 29 ",
        "Mar  1 ",
        "Dec 31 ",
        "Nov 2",
        "Jun ",
        "Sep 30 ",
        "-",
        ":",
        "2",
        "1969-",
        "2106-02-07",
        "06:28:15",
        "May  ",
        "+23:59",
        "2026/11/21",
        "21/Nov/2026:",
        "Sun ",
        "Sunday",
        " 2026",
        "26/11/21",
        "261121 ",
        "033700",
        "11-21",
        "1795232220",
        "1795232220250",
        "February",
        "69/01/01",
        "31/Feb/2026:",
    };
    std::string line;
    while (!input.Empty()) {
        const uint8_t byte = input.Byte();
        if (byte == '\n') {
            break;
        }
        if (byte < 0x80) {
            line.push_back(static_cast<char>(byte));
        } else {
            line.append(kPieces[byte % (sizeof(kPieces) / sizeof(kPieces[0]))]);
        }
    }
    return line;
}

}  // namespace

void TimeStamp(Input &input) {
    const bool given = input.Flag();
    const uint32_t start = given ? 1970 + input.Below(136) : input.Word();
    auto real = given ? dxrsh::StampReader::FromYear(static_cast<int>(start))
                      : dxrsh::StampReader::Before(start);
    Reader model = {std::nullopt, given ? 0 : start, given ? static_cast<int>(start) : 0};
    DXR_FUZZ_SAME(dxrsh::FormatTime(start) == Written(start));
    const size_t form = input.Below(2 * kFormCount);  // half of the inputs are for the heads
    if (form < kFormCount) {
        dxrsh::StampFormat format(kForms[form].format, dxrsh::StampWidth::kExact);
        if (kForms[form].mayHaveZone) {
            format.AllowZone();
        }
        dxrsh::FormatReader formReader(format,
                                       given ? dxrsh::YearFinder::FromYear(static_cast<int>(start))
                                             : dxrsh::YearFinder::Before(start));
        while (!input.Empty()) {
            const std::string line = Line(input);
            const auto answer = formReader.Read(line);
            FormModel formModel{model};
            const auto wanted = formModel.Read(line, form);
            model = formModel.years;
            DXR_FUZZ_SAME(answer.has_value() == wanted.has_value());
            DXR_FUZZ_SAME(!answer || answer->sec == wanted->sec);
            DXR_FUZZ_SAME(!answer || answer->length == wanted->length);
        }
    }
    while (!input.Empty()) {
        const std::string line = Line(input);
        const auto answer = real.Read(line);
        const auto wanted = model.Read(line);
        DXR_FUZZ_SAME(answer.has_value() == wanted.has_value());
        if (answer) {
            DXR_FUZZ_SAME(answer->sec == wanted->sec);
            DXR_FUZZ_SAME(answer->length == wanted->length);
        }
    }
}

}  // namespace dxrfuzz
