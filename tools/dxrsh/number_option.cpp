#include "number_option.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "numbers.h"
#include "say.h"

namespace dxrsh {

CLI::Validator AsWholeNumber(uint64_t least, uint64_t most) {
    const auto toDecimal = [least, most](std::string &text) {
        const auto number = LongWholeNumber(text);
        if (!number || *number < least || *number > most) {
            return NoWholeNumber(text, least, most);
        }
        text = std::to_string(*number);
        return std::string();
    };
    return {toDecimal, ""};
}

CLI::Validator OneOf(std::vector<std::string> words) {
    const auto isOne = [words = std::move(words)](const std::string &text) {
        constexpr size_t kShownWidth = 60;
        return std::find(words.begin(), words.end(), text) != words.end()
                   ? std::string()
                   : fmt::format("'{}' is none of {}", Printable(text, kShownWidth),
                                 fmt::join(words, ", "));
    };
    return {isOne, ""};
}

}  // namespace dxrsh
