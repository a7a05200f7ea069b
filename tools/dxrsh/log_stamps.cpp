#include "log_stamps.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>

namespace dxrsh {
namespace {

struct KnownForm {
    const char *name;
    const char *format;
    StampWidth width;
    bool mayHaveZone;
};

// The first one that fits in a place is taken. Those that are mere numbers stand last.
constexpr KnownForm kForms[] = {
    {"ISO 8601", "%Y-%m-%dT%H:%M:%S", StampWidth::kExact, true},
    {"ISO 8601", "%Y-%m-%d %H:%M:%S", StampWidth::kExact, true},
    {"syslog", "%b %e %H:%M:%S", StampWidth::kExact, false},
    {"nginx", "%Y/%m/%d %H:%M:%S", StampWidth::kExact, true},
    {"Apache and nginx access", "%d/%b/%Y:%H:%M:%S %z", StampWidth::kExact, false},
    {"date and year", "%a %b %e %H:%M:%S %Y", StampWidth::kExact, false},
    {"date, zone and year", "%a %b %e %H:%M:%S %Z %Y", StampWidth::kExact, false},
    {"year of two digits", "%y/%m/%d %H:%M:%S", StampWidth::kExact, false},
    {"date-time", "%Y%m%d-%H:%M:%S:%f", StampWidth::kFree, false},
    {"date-time with points", "%Y-%m-%d-%H.%M.%S", StampWidth::kExact, false},
    {"ISO 8601, basic", "%Y%m%dT%H%M%S", StampWidth::kExact, true},
    {"month and day", "%m-%d %H:%M:%S.%f", StampWidth::kExact, false},
    {"six digits and six", "%y%m%d %H%M%S", StampWidth::kExact, false},
    {"seconds since 1970", "%s", StampWidth::kExact, false},
    {"milliseconds since 1970", "%Q", StampWidth::kExact, false},
};

constexpr size_t kMostColumns = 12;
constexpr size_t kLongestPrefix = 40;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool IsWord(char c) {
    return IsDigit(c) || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsWithinWord(std::string_view line, size_t at) {
    return at > 0 && IsWord(line[at - 1]) && IsWord(line[at]);
}

YearFinder YearsOf(const std::optional<int> &year) {
    return year ? YearFinder::FromYear(*year)
                : YearFinder::Before(static_cast<uint32_t>(std::time(nullptr)));
}

size_t SkipBlanksFrom(std::string_view line, size_t at) {
    while (at < line.size() && IsBlank(line[at])) {
        ++at;
    }
    return at;
}

size_t SkipWordFrom(std::string_view line, size_t at) {
    while (at < line.size() && !IsBlank(line[at])) {
        ++at;
    }
    return at;
}

// After "<34>" at the head of the line; 0 when there is none.
size_t EndOfPriority(std::string_view line) {
    if (line.empty() || line[0] != '<') {
        return 0;
    }
    size_t at = 1;
    while (at < line.size() && IsDigit(line[at])) {
        ++at;
    }
    return at > 1 && at < line.size() && line[at] == '>' ? at + 1 : 0;
}

// What closes a pair that opens just before the stamp.
char ClosingOf(char opening) {
    constexpr std::string_view kOpening = "[(<\"'";
    constexpr std::string_view kClosing = "])>\"'";
    const size_t at = kOpening.find(opening);
    return at == std::string_view::npos ? '\0' : kClosing[at];
}

FoundStamp WithSurroundings(std::string_view line, size_t begin, const TimeStamp &stamp) {
    size_t end = begin + stamp.length;
    const char closing = begin > 0 ? ClosingOf(line[begin - 1]) : '\0';
    if (closing != '\0' && end < line.size() && line[end] == closing) {
        --begin;
        ++end;
    }
    return {stamp.sec, begin, SkipBlanksFrom(line, end)};
}

}  // namespace

LogStamps::LogStamps(const StampOptions &options)
    : years_(YearsOf(options.year)),
      classic_(years_),
      probe_(years_),
      formatOnly_(options.format.has_value()) {
    if (options.format && *options.format != "none") {
        forms_.push_back({"as given", {StampFormat(*options.format, StampWidth::kFree), years_}});
    } else if (!options.format) {
        for (const KnownForm &form : kForms) {
            StampFormat format(form.format, form.width);
            if (form.mayHaveZone) {
                format.AllowZone();
            }
            forms_.push_back({form.name, {format, years_}});
        }
    }
    StartLog();
}

void LogStamps::StartLog() {
    evidence_.clear();
    sampled_ = 0;
    classicSampled_ = 0;
    active_.reset();
    isNoted_ = false;
    if (formatOnly_ && !forms_.empty()) {
        active_ = Active{{0, {false, 0, 0}}, forms_[0].reader};
    }
}

void LogStamps::Learn(std::string_view line) {
    if (!Learning() || line.empty() || forms_.empty()) {
        return;
    }
    ++sampled_;
    if (!formatOnly_ && probe_.Read(line)) {
        ++classicSampled_;
    }
    // The columns are worth a look only where the heads of the lines do not decide.
    constexpr size_t kOneIn = 10;
    if (classicSampled_ * kOneIn < sampled_) {
        LearnColumns(line, 0, false);
        if (const size_t priority = EndOfPriority(line); priority != 0) {
            LearnColumns(line, priority, true);
        }
    }
    Decide();
}

void LogStamps::LearnColumns(std::string_view line, size_t from, bool afterPriority) {
    size_t at = from;
    for (size_t column = 0; column < kMostColumns && at < line.size(); ++column) {
        at = column == 0 ? at : SkipBlanksFrom(line, at);
        const size_t end = SkipWordFrom(line, at);
        for (size_t skip = 0; skip <= kLongestPrefix && at + skip < end; ++skip) {
            const char c = line[at + skip];
            // A form of the user's may begin with whatever it likes, a bracket say.
            const bool begins = formatOnly_ || IsDigit(c) || (c >= 'A' && c <= 'Z');
            if (begins && !IsWithinWord(line, at + skip)) {
                LearnAt(line, at + skip, {afterPriority, column, skip});
            }
        }
        if (afterPriority) {
            return;  // the other columns are the same without it
        }
        at = end;
    }
}

void LogStamps::LearnAt(std::string_view line, size_t at, const Place &place) {
    for (size_t i = 0; i < forms_.size(); ++i) {
        const auto stamp = forms_[i].reader.Read(line.substr(at));
        if (!stamp) {
            continue;
        }
        Evidence &evidence = evidence_[{i, place}];
        evidence.backwards += stamp->sec < evidence.last ? 1 : 0;
        evidence.last = stamp->sec;
        ++evidence.lines;
    }
}

// A form that the user told needs no more lines to be believed, but for a bare number, which must
// also go on as times do.
bool LogStamps::Suffices(const Candidate &candidate, const Evidence &evidence) const {
    const bool isNumber = forms_[candidate.form].reader.Format().IsNumber();
    if (formatOnly_ && !isNumber) {
        return true;
    }
    const bool goesOn = !isNumber || evidence.backwards * 4 <= evidence.lines;
    return evidence.lines * 2 >= sampled_ && goesOn;
}

void LogStamps::Decide() {
    constexpr size_t kOneIn = 10;
    const std::pair<const Candidate, Evidence> *best = nullptr;
    const auto rank = [this](const std::pair<const Candidate, Evidence> &one) {
        const Candidate &candidate = one.first;
        return std::tuple(one.second.lines, !forms_[candidate.form].reader.Format().IsNumber());
    };
    // Of equals the one that stands first in the line, then the one that stands first in the table.
    const auto standsBefore = [](const Candidate &a, const Candidate &b) {
        return std::tuple(a.place, a.form) < std::tuple(b.place, b.form);
    };
    for (const auto &one : evidence_) {
        if (!Suffices(one.first, one.second)) {
            continue;
        }
        if (best == nullptr || rank(one) > rank(*best) ||
            (rank(one) == rank(*best) && standsBefore(one.first, best->first))) {
            best = &one;
        }
    }
    if (best == nullptr || (!formatOnly_ && classicSampled_ * kOneIn >= sampled_)) {
        if (!formatOnly_) {
            active_.reset();
        }
        return;
    }
    if (!active_ || active_->candidate != best->first) {
        active_ = Active{best->first, {forms_[best->first.form].reader.Format(), years_}};
        isNoted_ = false;
    }
}

std::optional<size_t> LogStamps::StartOf(std::string_view line, const Place &place) {
    size_t at = place.afterPriority ? EndOfPriority(line) : 0;
    if (place.afterPriority && at == 0) {
        return std::nullopt;
    }
    for (size_t column = 0; column < place.column; ++column) {
        at = SkipBlanksFrom(line, SkipWordFrom(line, at));
    }
    at += place.skip;
    if (at >= line.size() || IsWithinWord(line, at)) {
        return std::nullopt;
    }
    return at;
}

std::optional<FoundStamp> LogStamps::ReadActive(std::string_view line) {
    if (!active_) {
        return std::nullopt;
    }
    const auto begin = StartOf(line, active_->candidate.place);
    if (!begin) {
        return std::nullopt;
    }
    const auto stamp = active_->reader.Read(line.substr(*begin));
    if (!stamp) {
        return std::nullopt;
    }
    ++others_;
    if (!isNoted_) {
        NoteActive();
    }
    years_.Note(stamp->sec);
    return WithSurroundings(line, *begin, *stamp);
}

void LogStamps::NoteActive() {
    const Place &place = active_->candidate.place;
    std::string text = forms_[active_->candidate.form].name;
    text += fmt::format(" ({})", active_->reader.Format().Text());
    if (place.afterPriority) {
        text += " after the priority";
    }
    if (place.column != 0) {
        text += fmt::format(" in column {}", place.column + 1);
    }
    if (place.skip != 0) {
        text += fmt::format(" after {} character{}", place.skip, place.skip == 1 ? "" : "s");
    }
    if (std::find(noted_.begin(), noted_.end(), text) == noted_.end()) {
        noted_.push_back(text);
    }
    isNoted_ = true;
}

std::string LogStamps::Recognised() const {
    std::vector<std::string> forms;
    if (whole_ != 0) {
        forms.emplace_back("ISO 8601");
    }
    if (yearless_ != 0) {
        forms.emplace_back("syslog");
    }
    forms.insert(forms.end(), noted_.begin(), noted_.end());
    return fmt::format("{}", fmt::join(forms, " and "));
}

}  // namespace dxrsh
