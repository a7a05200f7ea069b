// Patterns of texts and of calls, as a test writes them down.
#ifndef DXR_DEVHOST_TEST_PATTERN_H
#define DXR_DEVHOST_TEST_PATTERN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace devhost {

// Whether the whole text matches; * in the pattern stands for any characters.
bool MatchesText(std::string_view pattern, std::string_view text);

struct ValuePattern {
    enum class Kind : uint8_t { kAny, kNumber, kText };

    Kind kind = Kind::kAny;
    uint64_t number = 0;      // a negative one as its complement
    bool isNegative = false;  // written with a minus
    std::string text;
};

struct CallPattern {
    size_t slot = 0;
    bool hasArguments = false;
    std::vector<ValuePattern> arguments;  // a last * stands for all that follow
    ValuePattern result;
};

// Reads a pattern; on failure says why.
bool ReadPattern(std::string_view text, CallPattern &pattern, std::string &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_TEST_PATTERN_H
