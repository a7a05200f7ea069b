// What the program says of itself: help on one screen, and from the same words the manual page and
// the completion of shells.
#ifndef DXRSH_HELP_H
#define DXRSH_HELP_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace dxrsh {

// What the manual page says of a command besides its options, a paragraph each where an empty line
// parts them; and what is shown as examples, to be run in the folder that holds examples/.
void Describe(CLI::App &command, std::string details, std::vector<std::string> examples);

// What the completion of shells offers as an option's value.
void Offer(const CLI::Option &option, std::vector<std::string> choices);

// Adds --json.
void AddJsonFlag(CLI::App &command, bool &json);

// To be called before commands are added.
void UseHelp(CLI::App &program);

// Puts the request of `dxrsh help COMMAND...` as `dxrsh COMMAND... --help`, and throws UsageError
// when a command is named that is not there.
[[nodiscard]] std::vector<std::string> ReadyArguments(const CLI::App &program, int argc,
                                                      char **argv);

// Adds the command that prints the manual page and the completions, which the build calls.
void AddGenerateCommand(CLI::App &program, const std::string &version, const std::string &date);

}  // namespace dxrsh

#endif  // DXRSH_HELP_H
