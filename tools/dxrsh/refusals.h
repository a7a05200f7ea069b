// What the parser of the command line refuses, in the words of this program.
#ifndef DXRSH_REFUSALS_H
#define DXRSH_REFUSALS_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace dxrsh {

// No option takes an empty name, and no flag a value, but for those that say so. To be called when
// all commands are there.
void RefuseEmptyValues(CLI::App &program);

// The words that a command leaves to a module: no less than so many, which are neither options nor
// empty. Throws UsageError; `what` names them.
[[nodiscard]] std::vector<std::string> RequireWords(const CLI::App &command, size_t least,
                                                    const std::string &what);

// One line.
[[nodiscard]] std::string RefusalOf(const CLI::App &program, const CLI::ParseError &error);

}  // namespace dxrsh

#endif  // DXRSH_REFUSALS_H
