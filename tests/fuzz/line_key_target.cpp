// The keys that an expression finds in a line beside searches written for each expression, and what
// is left of the line when numbers are masked beside a search word by word.
#include "line_key.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "errors.h"
#include "fuzz/targets.h"
#include "line_mask.h"

namespace dxrfuzz {
namespace {

using dxrsh::Keys;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}

int HexValue(char c) {
    return IsDigit(c)             ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

uint32_t Hash(std::string_view text) {
    uint32_t hash = 0;
    for (const char c : text) {
        hash = hash * 31 + static_cast<uint8_t>(c);
    }
    return hash;
}

uint32_t ModelValue(std::string_view text) {
    const bool hex = text.size() > 2 && text[0] == '0' && text[1] == 'x';
    const uint64_t base = hex ? 16 : 10;
    uint64_t value = 0;
    for (const char c : hex ? text.substr(2) : text) {
        const int digit = HexValue(c);
        if (digit < 0 || digit >= static_cast<int>(base)) {
            return Hash(text);
        }
        value = value * base + static_cast<uint64_t>(digit);
        if (value > UINT32_MAX) {
            return Hash(text);
        }
    }
    return text.empty() ? 0 : static_cast<uint32_t>(value);
}

template <typename Test>
size_t RunEnd(std::string_view text, size_t at, Test test) {
    while (at < text.size() && test(text[at])) {
        ++at;
    }
    return at;
}

std::string_view Between(std::string_view text, size_t begin, size_t end) {
    return text.substr(begin, end - begin);
}

size_t FirstDigit(std::string_view text) {
    return RunEnd(text, 0, [](char c) { return !IsDigit(c); });
}

using Found = std::optional<Keys>;

Found FirstNumber(std::string_view text) {
    const size_t begin = FirstDigit(text);
    if (begin == text.size()) {
        return std::nullopt;
    }
    return Keys{ModelValue(Between(text, begin, RunEnd(text, begin, IsDigit)))};
}

Found TwoNumbers(std::string_view text) {
    const size_t first = FirstDigit(text);
    const size_t firstEnd = RunEnd(text, first, IsDigit);
    const size_t second = RunEnd(text, firstEnd, [](char c) { return !IsDigit(c); });
    if (second >= text.size()) {
        return std::nullopt;
    }
    return Keys{ModelValue(Between(text, first, firstEnd)),
                ModelValue(Between(text, second, RunEnd(text, second, IsDigit)))};
}

Found Identifier(std::string_view text) {
    for (size_t at = 0; at + 3 < text.size(); ++at) {
        if (text.substr(at, 3) != "id=") {
            continue;
        }
        const size_t begin = at + 3;
        size_t end = RunEnd(text, begin, IsDigit);
        if (text.substr(begin, 2) == "0x") {
            const size_t hexEnd = RunEnd(
                text, begin + 2, [](char c) { return IsDigit(c) || (c >= 'a' && c <= 'f'); });
            end = hexEnd > begin + 2 ? hexEnd : end;
        }
        if (end > begin) {
            return Keys{ModelValue(Between(text, begin, end))};
        }
    }
    return std::nullopt;
}

Found Optional(std::string_view text) {
    const size_t begin = FirstDigit(text);
    if (begin == text.size()) {
        return std::nullopt;
    }
    const bool hasB = begin > 0 && text[begin - 1] == 'b';
    const size_t beforeB = begin - (hasB ? 1 : 0);
    const bool hasA = beforeB > 0 && text[beforeB - 1] == 'a';
    return Keys{hasA ? Hash("a") : 0, hasB ? Hash("b") : 0,
                ModelValue(Between(text, begin, RunEnd(text, begin, IsDigit)))};
}

Found Words(std::string_view text) {
    Keys keys = {};
    size_t at = 0;
    for (size_t i = 0; i < 4; ++i) {
        const size_t end = i < 3 ? RunEnd(text, at, IsLower) : RunEnd(text, at, IsDigit);
        if (end == at || (i < 3 && (end == text.size() || text[end] != ' '))) {
            return std::nullopt;
        }
        keys[i] = ModelValue(Between(text, at, end));
        at = end + (i < 3 ? 1 : 0);
    }
    return at == text.size() ? Found(keys) : std::nullopt;
}

Found Leading(std::string_view text) {
    return Keys{ModelValue(Between(text, 0, RunEnd(text, 0, [](char c) { return c == 'x'; })))};
}

struct Row {
    const char *expression;
    Found (*model)(std::string_view text);
};

constexpr Row kRows[] = {
    {"[0-9]+", FirstNumber},
    {"([0-9]+)[^0-9]+([0-9]+)", TwoNumbers},
    {"id=(0x[0-9a-f]+|[0-9]+)", Identifier},
    {"(a)?(b)?([0-9]+)", Optional},
    {"^([a-z]+) ([a-z]+) ([a-z]+) ([0-9]+)$", Words},
    {"x*", Leading},
};
constexpr size_t kRowCount = sizeof(kRows) / sizeof(kRows[0]);

bool IsWordCharacter(char c) {
    return IsDigit(c) || IsLower(c) || (c >= 'A' && c <= 'Z');
}

bool IsHex(std::string_view word) {
    for (const char c : word) {
        if (HexValue(c) < 0) {
            return false;
        }
    }
    return !word.empty();
}

size_t DigitRuns(std::string_view word) {
    size_t runs = 0;
    for (size_t i = 0; i < word.size(); ++i) {
        runs += IsDigit(word[i]) && (i == 0 || !IsDigit(word[i - 1])) ? 1 : 0;
    }
    return runs;
}

// The end of a UUID or an address at `begin`, which is the head of a word; `begin` for none.
size_t GroupEnd(std::string_view text, size_t begin) {
    size_t end = RunEnd(text, begin, IsWordCharacter);
    if (!IsHex(text.substr(begin, end - begin)) || end == text.size()) {
        return begin;
    }
    const char mark = text[end];
    size_t words = 1;
    bool doubled = false;
    while (end < text.size() && text[end] == mark && (mark == ':' || mark == '-')) {
        size_t next = end + 1;
        const bool two = mark == ':' && next < text.size() && text[next] == ':';
        next += two ? 1 : 0;
        const size_t nextEnd = RunEnd(text, next, IsWordCharacter);
        if (!IsHex(text.substr(next, nextEnd - next))) {
            break;
        }
        doubled = doubled || two;
        end = nextEnd;
        ++words;
    }
    const bool counts = (doubled || words > 4) && DigitRuns(text.substr(begin, end - begin)) > 0;
    return counts ? end : begin;
}

std::string MaskModel(std::string_view text) {
    std::string masked;
    size_t at = 0;
    while (at < text.size()) {
        if (!IsWordCharacter(text[at])) {
            masked += text[at++];
            continue;
        }
        const size_t end = RunEnd(text, at, IsWordCharacter);
        const std::string_view word = text.substr(at, end - at);
        const size_t runs = DigitRuns(word);
        const bool isNumber = RunEnd(word, 0, IsDigit) == word.size();
        const bool isPrefixed = word.size() > 2 && word[0] == '0' &&
                                (word[1] == 'x' || word[1] == 'X') && IsHex(word.substr(2));
        const bool isIdentifier =
            !isNumber && ((IsHex(word) && (word.size() > 7 || (runs > 0 && word.size() > 3))) ||
                          runs > 2 || (runs > 0 && word.size() > 19));
        if (const size_t groupEnd = GroupEnd(text, at); groupEnd != at) {
            masked += '#';
            at = groupEnd;
        } else if (isPrefixed || isIdentifier) {
            masked += '#';
            at = end;
        } else {
            const bool signedWord = IsDigit(text[at]) && at > 0 &&
                                    (text[at - 1] == '-' || text[at - 1] == '+') &&
                                    (at < 2 || !IsWordCharacter(text[at - 2]));
            if (signedWord) {
                masked.pop_back();
            }
            while (at < end) {
                if (!IsDigit(text[at])) {
                    masked += text[at++];
                    continue;
                }
                masked += '#';
                at = RunEnd(text, at, IsDigit);
                while (at + 1 < text.size() && (text[at] == '.' || text[at] == ',') &&
                       IsDigit(text[at + 1])) {
                    at = RunEnd(text, at + 1, IsDigit);
                }
            }
        }
    }
    return masked;
}

constexpr const char *kBad[] = {"(", "[a", "a{2", "(a)(b)(c)(d)(e)", "[b-a]", "\\"};

std::string Line(Input &input) {
    static constexpr const char *kPieces[] = {
        "id=",        "0x", "4294967295", "4294967296", "a b c ",   "ab1",   "7", "00000000000012",
        "0xFFFFFFFF", "x",  "ffffffff1",  " ",          "fe80::",   ":",     "-", "cafe",
        "10.0.0.1",   ".",  "deadbeef",   "+3.5",       "00:1b:2c", "a1b2c3"};
    std::string line;
    while (!input.Empty()) {
        const uint8_t byte = input.Byte();
        if (byte == '\n' || byte == 0) {
            break;
        }
        if (byte < 0x80 || byte >= 0xC0) {
            line.push_back(static_cast<char>(byte));
        } else {
            line.append(kPieces[byte % (sizeof(kPieces) / sizeof(kPieces[0]))]);
        }
    }
    return line;
}

}  // namespace

void LineKey(Input &input) {
    static const std::array<dxrsh::LineKey, kRowCount> kCompiled = {
        dxrsh::LineKey(kRows[0].expression), dxrsh::LineKey(kRows[1].expression),
        dxrsh::LineKey(kRows[2].expression), dxrsh::LineKey(kRows[3].expression),
        dxrsh::LineKey(kRows[4].expression), dxrsh::LineKey(kRows[5].expression)};
    const uint8_t how = input.Byte();
    if (how >= 0xFA) {
        bool refused = false;
        try {
            const dxrsh::LineKey key(kBad[how - 0xFA]);
        } catch (const dxrsh::UsageError &) {
            refused = true;
        }
        DXR_FUZZ_SAME(refused);
    }
    while (!input.Empty()) {
        const size_t row = input.Byte() % kRowCount;
        const std::string line = Line(input);
        Keys keys = {1, 2, 3, 4};
        const bool found = kCompiled[row].Find(line.c_str(), keys);
        const Found wanted = kRows[row].model(line);
        DXR_FUZZ_SAME(found == wanted.has_value());
        DXR_FUZZ_SAME(!found || keys == *wanted);
        DXR_FUZZ_SAME(dxrsh::KeyValue(line) == ModelValue(line));
        std::string masked;
        dxrsh::MaskVarying(line, line.size() + 1, masked);
        DXR_FUZZ_SAME(masked == MaskModel(line));
    }
}

}  // namespace dxrfuzz
