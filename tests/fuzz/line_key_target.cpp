// The keys that an expression finds in a line beside searches written for each expression.
#include "line_key.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "errors.h"
#include "fuzz/targets.h"

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

constexpr const char *kBad[] = {"(", "[a", "a{2", "(a)(b)(c)(d)(e)", "[b-a]", "\\"};

std::string Line(Input &input) {
    static constexpr const char *kPieces[] = {"id=",        "0x",  "4294967295", "4294967296",
                                              "a b c ",     "ab1", "7",          "00000000000012",
                                              "0xFFFFFFFF", "x",   "ffffffff1",  " "};
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
    }
}

}  // namespace dxrfuzz
