// The parts of a command as its help, its manual page and its completions name them.
#ifndef DXRSH_HELP_TEXT_H
#define DXRSH_HELP_TEXT_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace dxrsh {

struct Description {
    std::string details;
    std::vector<std::string> examples;
};

[[nodiscard]] const Description &DescriptionOf(const CLI::App &command);

// "[OPTIONS] [FILE...]"
[[nodiscard]] std::string SynopsisOf(const CLI::App &command);
// "--type N", "FILE..."
[[nodiscard]] std::string LabelOf(const CLI::Option &option);
// "N"; empty for a flag.
[[nodiscard]] std::string ValueOf(const CLI::Option &option);

// The words that it takes; empty when they are not known.
[[nodiscard]] const std::vector<std::string> &ChoicesOf(const CLI::Option &option);

// All that are not hidden, in their order.
[[nodiscard]] std::vector<const CLI::App *> CommandsOf(const CLI::App &command);
// The positional ones first.
[[nodiscard]] std::vector<const CLI::Option *> OptionsOf(const CLI::App &command);

}  // namespace dxrsh

#endif  // DXRSH_HELP_TEXT_H
