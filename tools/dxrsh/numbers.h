// Numbers as users write them.
#ifndef DXRSH_NUMBERS_H
#define DXRSH_NUMBERS_H

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dxrsh {

// Decimal, or hexadecimal after 0x; nothing when the text is anything else or does not fit in 32
// bits.
[[nodiscard]] std::optional<uint32_t> WholeNumber(std::string_view text);

// The same of 64 bits.
[[nodiscard]] std::optional<uint64_t> LongWholeNumber(std::string_view text);

// What is wrong with a text that is no such number.
[[nodiscard]] std::string NoWholeNumber(std::string_view text, uint64_t least = 0,
                                        uint64_t most = std::numeric_limits<uint32_t>::max());

// As above. Throws UsageError; `what` names the number in its text.
[[nodiscard]] uint32_t RequireNumber(std::string_view text, std::string_view what);

// The pieces between separators; an empty text is one empty piece.
[[nodiscard]] std::vector<std::string_view> Split(std::string_view text, char separator);

}  // namespace dxrsh

#endif  // DXRSH_NUMBERS_H
