// The commands of dxrsh as lines of the shell run them.
#ifndef DXRSH_SHELL_PROGRAMS_H
#define DXRSH_SHELL_PROGRAMS_H

#include <CLI/CLI.hpp>

#include <vector>

#include "shell.h"

namespace dxrsh {

// All but for shells, as one within another has a host that nobody sees, and for help, which is a
// line's own.
[[nodiscard]] std::vector<Shell::Program> ProgramsOf(const CLI::App &program);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_PROGRAMS_H
