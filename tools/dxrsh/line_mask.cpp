#include "line_mask.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "errors.h"
#include "expression.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr uint8_t kWord = 1;
constexpr uint8_t kDigit = 2;
constexpr uint8_t kHex = 4;

constexpr std::array<uint8_t, 256> MakeClasses() {
    std::array<uint8_t, 256> classes{};
    for (unsigned c = '0'; c <= '9'; ++c) {
        classes[c] = kWord | kDigit | kHex;
    }
    for (unsigned c = 'a'; c <= 'z'; ++c) {
        classes[c] = classes[c - 'a' + 'A'] = c <= 'f' ? kWord | kHex : kWord;
    }
    return classes;
}

constexpr std::array<uint8_t, 256> kClasses = MakeClasses();

class Masker {
  public:
    Masker(std::string_view text, size_t room, std::string &masked)
        : text_(text), room_(masked.size() + room), masked_(masked) {}

    void Run() {
        while (at_ < text_.size() && masked_.size() < room_) {
            if (!Is(at_, kWord)) {
                masked_ += text_[at_++];
            } else {
                MaskWord();
            }
        }
    }

  private:
    struct Word {
        size_t end = 0;
        uint8_t common = kWord | kDigit | kHex;  // what all its characters are
        size_t digitRuns = 0;
    };

    [[nodiscard]] bool Is(size_t at, uint8_t what) const {
        return at < text_.size() && (kClasses[static_cast<uint8_t>(text_[at])] & what) != 0;
    }

    [[nodiscard]] Word WordAt(size_t at) const {
        Word word;
        bool inDigits = false;
        while (Is(at, kWord)) {
            const uint8_t what = kClasses[static_cast<uint8_t>(text_[at])];
            word.common &= what;
            const bool isDigit = (what & kDigit) != 0;
            word.digitRuns += isDigit && !inDigits ? 1 : 0;
            inDigits = isDigit;
            ++at;
        }
        word.end = at;
        return word;
    }

    void MaskWord() {
        const Word word = WordAt(at_);
        const size_t length = word.end - at_;
        const bool isHex = (word.common & kHex) != 0;
        const bool isNumber = (word.common & kDigit) != 0;
        const bool hasDigit = word.digitRuns != 0;
        const bool isHexWord = isHex && !isNumber && (length >= 8 || (length >= 4 && hasDigit));
        const bool isMixed = word.digitRuns >= 3 || (!isNumber && hasDigit && length >= 20);
        const size_t groupEnd = isHex ? EndOfGroup(word) : 0;
        if (groupEnd != 0) {
            Mask(groupEnd);
        } else if (isHexWord || isMixed || IsPrefixedHex(word.end)) {
            Mask(word.end);
        } else if (!hasDigit) {
            masked_ += text_.substr(at_, length);
            at_ = word.end;
        } else {
            MaskDigits(word.end);
        }
    }

    void Mask(size_t end) {
        masked_ += kMasked;
        at_ = end;
    }

    // The end of a UUID or an address that begins with this word; 0 when it is none.
    [[nodiscard]] size_t EndOfGroup(const Word &first) const {
        size_t end = first.end;
        size_t digitRuns = first.digitRuns;
        size_t words = 1;
        bool isApart = false;  // by two colons, somewhere
        const char mark = end < text_.size() ? text_[end] : ' ';
        while ((mark == ':' || mark == '-') && end < text_.size() && text_[end] == mark) {
            const bool twice = mark == ':' && end + 1 < text_.size() && text_[end + 1] == mark;
            const size_t next = end + (twice ? 2 : 1);
            const Word word = WordAt(next);
            if (word.end == next || (word.common & kHex) == 0) {
                break;
            }
            isApart = isApart || twice;
            digitRuns += word.digitRuns;
            end = word.end;
            ++words;
        }
        return digitRuns != 0 && (words >= 5 || isApart) ? end : 0;
    }

    [[nodiscard]] bool IsPrefixedHex(size_t end) const {
        if (end - at_ < 3 || text_[at_] != '0' || (text_[at_ + 1] | 0x20) != 'x') {
            return false;
        }
        size_t at = at_ + 2;
        while (at < end && Is(at, kHex)) {
            ++at;
        }
        return at == end;
    }

    // Up to `end`, or further where the digits go on after a point or a comma.
    void MaskDigits(size_t end) {
        const auto isSign = [this](size_t at) { return text_[at] == '-' || text_[at] == '+'; };
        if (Is(at_, kDigit) && at_ > 0 && isSign(at_ - 1) && !(at_ > 1 && Is(at_ - 2, kWord)) &&
            !masked_.empty()) {
            masked_.pop_back();
        }
        while (at_ < end) {
            if (!Is(at_, kDigit)) {
                masked_ += text_[at_++];
                continue;
            }
            size_t digits = at_;
            while (Is(digits, kDigit)) {
                ++digits;
                const bool goesOn = digits < text_.size() &&
                                    (text_[digits] == '.' || text_[digits] == ',') &&
                                    Is(digits + 1, kDigit);
                digits += goesOn ? 1 : 0;
            }
            Mask(digits);
        }
    }

    std::string_view text_;
    size_t at_ = 0;
    size_t room_;
    std::string &masked_;
};

}  // namespace

void MaskVarying(std::string_view text, size_t room, std::string &masked) {
    Masker(text, room, masked).Run();
}

LineMask::LineMask(const std::vector<std::string> &expressions) {
    for (const std::string &expression : expressions) {
        if (expression.empty()) {
            varying_ = true;
            continue;
        }
        try {
            expressions_.push_back(CompileExpression("--mask", expression));
        } catch (const UsageError &) {
            for (regex_t &known : expressions_) {
                regfree(&known);
            }
            throw;
        }
    }
}

LineMask::~LineMask() {
    for (regex_t &expression : expressions_) {
        regfree(&expression);
    }
}

// In masked_, every match that is not empty, from the left.
void LineMask::Replace(const regex_t &expression) {
    before_.swap(masked_);
    masked_.clear();
    size_t at = 0;
    regmatch_t match{};
    while (at < before_.size() &&
           regexec(&expression, before_.c_str() + at, 1, &match, at == 0 ? 0 : REG_NOTBOL) == 0) {
        const auto begin = at + static_cast<size_t>(match.rm_so);
        const auto end = at + static_cast<size_t>(match.rm_eo);
        masked_.append(before_, at, begin - at);
        if (end != begin) {
            masked_ += kMasked;
        } else if (end < before_.size()) {
            masked_ += before_[end];
        }
        at = end != begin ? end : end + 1;
    }
    if (at < before_.size()) {
        masked_.append(before_, at);
    }
}

std::string_view LineMask::Of(std::string_view text, size_t room) {
    constexpr size_t kLongestMasked = size_t{64} << 10U;
    const std::string_view kept = text.substr(0, kLongestMasked);
    if (expressions_.empty()) {
        masked_.clear();
        MaskVarying(kept, room, masked_);
        return masked_;
    }
    masked_ = kept;
    for (const regex_t &expression : expressions_) {
        Replace(expression);
    }
    if (varying_) {
        before_.swap(masked_);
        masked_.clear();
        MaskVarying(before_, room, masked_);
    }
    return masked_;
}

}  // namespace dxrsh
