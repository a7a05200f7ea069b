// Options that take a number, or one of a few words.
#ifndef DXRSH_NUMBER_OPTION_H
#define DXRSH_NUMBER_OPTION_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace dxrsh {

// To be an option's transform: takes what LongWholeNumber() takes within these bounds, and nothing
// else. CLI11 by itself takes 010 for 8 and an empty text for 0.
[[nodiscard]] CLI::Validator AsWholeNumber(uint64_t least = 0,
                                           uint64_t most = std::numeric_limits<uint32_t>::max());

// To be an option's check.
[[nodiscard]] CLI::Validator OneOf(std::vector<std::string> words);

}  // namespace dxrsh

#endif  // DXRSH_NUMBER_OPTION_H
