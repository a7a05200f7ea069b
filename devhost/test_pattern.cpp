#include "test_pattern.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "trace/slots.h"

namespace devhost {
namespace {

using dxr_trace::Extent;
using dxr_trace::kDirect;
using dxr_trace::kSlots;
using dxr_trace::PointerRule;
using dxr_trace::SlotInfo;
using dxr_trace::Width;

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool Take(char letter) {
        SkipBlanks();
        if (rest_.empty() || rest_.front() != letter) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    // Letters, digits, and what stands in names and numbers.
    std::string Word() {
        SkipBlanks();
        const auto *const end =
            std::find_if_not(rest_.begin(), rest_.end(), [](unsigned char letter) {
                return std::isalnum(letter) != 0 || letter == '_' || letter == '.' || letter == '-';
            });
        std::string word(rest_.begin(), end);
        rest_.remove_prefix(word.size());
        return word;
    }

    // Up to the closing quote, which a backslash keeps within.
    bool QuotedText(std::string &text) {
        while (!rest_.empty()) {
            char letter = rest_.front();
            rest_.remove_prefix(1);
            if (letter == '"') {
                return true;
            }
            if (letter == '\\' && !rest_.empty()) {
                letter = rest_.front();
                rest_.remove_prefix(1);
            }
            text += letter;
        }
        return false;
    }

    bool IsAtEnd() {
        SkipBlanks();
        return rest_.empty();
    }

    [[nodiscard]] std::string Rest() const { return std::string(rest_); }

  private:
    void SkipBlanks() {
        while (!rest_.empty() && rest_.front() == ' ') {
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
};

bool ReadNumber(const std::string &word, ValuePattern &value) {
    if (word.empty()) {
        return false;
    }
    const int before = errno;
    errno = 0;
    char *end = nullptr;
    value.isNegative = word.front() == '-';
    value.number = value.isNegative ? static_cast<uint64_t>(std::strtoll(word.c_str(), &end, 0))
                                    : std::strtoull(word.c_str(), &end, 0);
    const bool isWhole = errno == 0 && *end == '\0';
    errno = before;
    return isWhole;
}

bool ReadValue(Reader &reader, ValuePattern &value, std::string &error) {
    if (reader.Take('*')) {
        return true;
    }
    if (reader.Take('"')) {
        value.kind = ValuePattern::Kind::kText;
        if (reader.QuotedText(value.text)) {
            return true;
        }
        error = "a quote is missing";
        return false;
    }
    const std::string word = reader.Word();
    value.kind = ValuePattern::Kind::kNumber;
    if (word != "null" && !ReadNumber(word, value)) {
        error = "neither *, a number, null nor a text in quotes: \"" + word + reader.Rest() + "\"";
        return false;
    }
    return true;
}

bool ReadArguments(Reader &reader, CallPattern &pattern, std::string &error) {
    pattern.hasArguments = true;
    if (reader.Take(')')) {
        return true;
    }
    do {
        if (!ReadValue(reader, pattern.arguments.emplace_back(), error)) {
            return false;
        }
    } while (reader.Take(','));
    if (!reader.Take(')')) {
        error = "a comma or ) is missing before \"" + reader.Rest() + "\"";
        return false;
    }
    return true;
}

uint64_t MostOf(Width width) {
    switch (width) {
        case Width::kU8:
            return UINT8_MAX;
        case Width::kU16:
            return UINT16_MAX;
        case Width::kU32:
            return UINT32_MAX;
        default:
            return UINT64_MAX;
    }
}

// Numbers are as wide as the value: -1 is 0xFFFFFFFF where that has 32 bits. One that does not fit
// would never match. `what` is the value.
bool Narrow(ValuePattern &value, Width width, const std::string &what, std::string &error) {
    const uint64_t most = MostOf(width);
    if (value.kind != ValuePattern::Kind::kNumber) {
        return true;
    }
    if (value.isNegative && most != UINT64_MAX && -value.number > most / 2 + 1) {
        error = "-" + std::to_string(-value.number) + " is less than " + what + " holds";
        return false;
    }
    if (!value.isNegative && value.number > most) {
        error = std::to_string(value.number) + " is more than " + what + " holds";
        return false;
    }
    value.number &= most;
    return true;
}

bool LeadsToText(const SlotInfo &info, size_t parameter) {
    const auto isText = [parameter](const PointerRule &rule) {
        return rule.parameter == parameter && rule.offset == kDirect &&
               (rule.extent == Extent::kText || rule.extent == Extent::kTextWithin);
    };
    // Of one in the manner of printf the second is the finished text.
    return (info.isVariadic && parameter == 1) ||
           std::any_of(info.pointers.begin(), info.pointers.end(), isText);
}

bool CheckResult(const SlotInfo &info, ValuePattern &result, std::string &error) {
    const std::string what = std::string("the result of ") + info.name;
    if (result.kind == ValuePattern::Kind::kText) {
        error = what + " is no number";
        return false;
    }
    return Narrow(result, info.result, what, error);
}

bool Check(CallPattern &pattern, std::string &error) {
    const SlotInfo &info = kSlots[pattern.slot];
    if (!CheckResult(info, pattern.result, error)) {
        return false;
    }
    if (!pattern.hasArguments) {
        return true;
    }
    const size_t count = info.parameters.size();
    const bool isOpen =
        !pattern.arguments.empty() && pattern.arguments.back().kind == ValuePattern::Kind::kAny;
    if (pattern.arguments.size() > count || (pattern.arguments.size() < count && !isOpen)) {
        error = std::string(info.name) + " takes " + std::to_string(count) + " arguments, not " +
                std::to_string(pattern.arguments.size());
        return false;
    }
    for (size_t i = 0; i < pattern.arguments.size(); ++i) {
        const std::string what = "argument " + std::to_string(i + 1) + " of " + info.name;
        if (pattern.arguments[i].kind == ValuePattern::Kind::kText && !LeadsToText(info, i)) {
            error = what + " is no text";
            return false;
        }
        if (!Narrow(pattern.arguments[i], info.parameters[i].width, what, error)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool MatchesText(std::string_view pattern, std::string_view text) {
    size_t at = 0;
    size_t star = std::string_view::npos;  // the latest one in the pattern
    size_t after = 0;                      // where what follows it is tried in the text
    size_t here = 0;
    while (at < text.size()) {
        if (here < pattern.size() && pattern[here] == '*') {
            star = here++;
            after = at;
        } else if (here < pattern.size() && pattern[here] == text[at]) {
            ++here;
            ++at;
        } else if (star != std::string_view::npos) {
            here = star + 1;
            at = ++after;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', here) == std::string_view::npos;
}

bool ReadPattern(std::string_view text, CallPattern &pattern, std::string &error) {
    Reader reader(text);
    const std::string name = reader.Word();
    const auto *const slot =
        std::find_if(std::begin(kSlots), std::end(kSlots),
                     [&name](const SlotInfo &info) { return info.name == name; });
    if (slot == std::end(kSlots)) {
        error = "no slot is read by \"" + name + "\"";
        return false;
    }
    pattern.slot = static_cast<size_t>(slot - std::begin(kSlots));
    if (reader.Take('(') && !ReadArguments(reader, pattern, error)) {
        return false;
    }
    if (reader.Take('=') && !ReadValue(reader, pattern.result, error)) {
        return false;
    }
    if (!reader.IsAtEnd()) {
        error = "too much: \"" + reader.Rest() + "\"";
        return false;
    }
    return Check(pattern, error);
}

}  // namespace devhost
