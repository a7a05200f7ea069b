// Options that take a number.
#ifndef DXRSH_NUMBER_OPTION_H
#define DXRSH_NUMBER_OPTION_H

#include <CLI/CLI.hpp>

namespace dxrsh {

// To be an option's transform: takes what WholeNumber() takes and nothing else. CLI11 by itself
// takes 010 for 8 and an empty text for 0.
[[nodiscard]] CLI::Validator AsWholeNumber();

}  // namespace dxrsh

#endif  // DXRSH_NUMBER_OPTION_H
