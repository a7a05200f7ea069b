// Lines of the shell: its own commands, and those of dxrsh.
#ifndef DXRSH_SHELL_H
#define DXRSH_SHELL_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shell_target.h"

namespace dxrsh {

class Shell {
  public:
    // A command of dxrsh and what it does.
    using Program = std::pair<std::string, std::string>;

    Shell(std::unique_ptr<ShellTarget> target, std::vector<Program> programs)
        : target_(std::move(target)), programs_(std::move(programs)) {}

    // Does what a line says; false when it ends the shell. Throws UsageError and RunError for what
    // is wrong with the line alone.
    bool Execute(std::string_view line);

    // Each line of a file, "-" being standard input, up to the first that is wrong: RunError with
    // its number. False when a line ends the shell.
    bool ExecuteFile(const std::string &path);

    // What can stand at the end of a line in the place of what does: whole words, sorted.
    [[nodiscard]] std::vector<std::string> Completions(std::string_view line) const;

    [[nodiscard]] int EndFd() const { return target_->EndFd(); }
    [[nodiscard]] std::optional<std::string> WhyEnded() { return target_->WhyEnded(); }

  private:
    // Null also for a command that is not done on this host.
    [[nodiscard]] const ShellCommand *Named(std::string_view name) const;
    [[nodiscard]] std::vector<std::string> CommandNames() const;
    void Help(const std::vector<std::string> &words) const;
    [[nodiscard]] bool IsProgram(std::string_view name) const;

    std::unique_ptr<ShellTarget> target_;
    std::vector<Program> programs_;
    int depth_ = 0;  // of files
};

// Does lines: of a file ("-": standard input); without one, from the terminal where there is one,
// else from standard input. Returns the exit status. Throws RunError for a line that is wrong.
int RunShell(Shell &shell, const std::optional<std::string> &file);

// Reads lines from the terminal until it is left. Returns the exit status.
int RunTerminal(Shell &shell);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_H
