#include "number_option.h"

#include <string>

#include "numbers.h"

namespace dxrsh {

CLI::Validator AsWholeNumber() {
    const auto toDecimal = [](std::string &text) {
        const auto number = WholeNumber(text);
        if (!number) {
            return NoWholeNumber(text);
        }
        text = std::to_string(*number);
        return std::string();
    };
    return {toDecimal, ""};
}

}  // namespace dxrsh
