// The commands that lines of the shell do on a host.
#ifndef DXRSH_SHELL_COMMANDS_H
#define DXRSH_SHELL_COMMANDS_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "shell_session.h"

namespace dxrsh {

// What is at the end of a line of a command.
enum class LineEnd : uint8_t { kNothing, kSlot, kFile, kName, kPoint };

// On whose host a command can be done.
enum class HostOf : uint8_t { kAny, kShell, kOther };

struct ShellCommand {
    const char *name;
    const char *usage;
    const char *about;
    LineEnd end;
    void (Session::*run)(const Session::Words &words);
    HostOf host = HostOf::kAny;
};

[[nodiscard]] std::span<const ShellCommand> ShellCommands();

// Null when there is none.
[[nodiscard]] const ShellCommand *ShellCommandNamed(std::string_view name);
// Throws UsageError, also for one that is not done on such a host.
[[nodiscard]] const ShellCommand &RequireShellCommand(std::string_view name, HostOf whose);

// Does what the words of a line say, the first of which is the command's name.
void Do(const ShellCommand &command, Session &session, const std::vector<std::string> &words);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_COMMANDS_H
