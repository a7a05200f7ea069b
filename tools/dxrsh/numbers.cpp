#include "numbers.h"

#include <fmt/format.h>

#include <charconv>
#include <system_error>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;

template <typename Number>
std::optional<Number> NumberIn(std::string_view text) {
    const bool hexadecimal = text.substr(0, 2) == "0x";
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    Number value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<uint32_t> WholeNumber(std::string_view text) {
    return NumberIn<uint32_t>(text);
}

std::optional<uint64_t> LongWholeNumber(std::string_view text) {
    return NumberIn<uint64_t>(text);
}

std::string NoWholeNumber(std::string_view text, uint64_t least, uint64_t most) {
    return fmt::format("'{}' is no whole number from {} to {}", Printable(text, kShownWidth), least,
                       most);
}

uint32_t RequireNumber(std::string_view text, std::string_view what) {
    const auto number = WholeNumber(text);
    if (!number) {
        throw UsageError(fmt::format("{}: {}", what, NoWholeNumber(text)));
    }
    return *number;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace dxrsh
