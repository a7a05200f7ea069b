// dxrsh shell: lines that poke at a running host, from a terminal or a file.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "errors.h"
#include "help.h"
#include "help_text.h"
#include "run_host.h"
#include "shell.h"

namespace dxrsh {
namespace {

struct ShellOptions {
    RunHostOptions host;
    std::optional<std::string> file;
};

bool IsOnTerminal() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
}

// The commands of dxrsh but for this one, as a shell within a shell has another host, unseen, and
// for help, which is a line's own.
std::vector<Shell::Program> ProgramsOf(const CLI::App &program) {
    std::vector<Shell::Program> programs;
    for (const CLI::App *const command : CommandsOf(program)) {
        if (command->get_name() != "shell" && command->get_name() != "help") {
            programs.emplace_back(command->get_name(), command->get_description());
        }
    }
    return programs;
}

void RunLines(const ShellOptions &options, const CLI::App &program) {
    int status = 0;
    {
        Shell shell(options.host, ProgramsOf(program));
        if (!options.file && IsOnTerminal()) {
            status = RunTerminal(shell);
        } else {
            (void)shell.ExecuteFile(options.file.value_or("-"));
        }
    }
    (void)std::fflush(stdout);
    // Threads that modules made by themselves are left alone.
    std::_Exit(status);
}

}  // namespace

void AddShellCommand(CLI::App &program) {
    const auto options = std::make_shared<ShellOptions>();
    CLI::App *const command =
        program.add_subcommand("shell", "Pokes at a running host, line by line");
    Describe(*command,
             "Reads lines from the terminal, from FILE or from standard input (-); the line 'help' "
             "lists what they can say. A file ends with the first line that is wrong, which is "
             "told with its number. Exit status: 0 all was done, 1 a line was not, 2 no host could "
             "be made. On a terminal dxrsh without a command is the same.",
             {"dxrsh shell examples/dxrsh/poke.lines", "echo 'get 0:1:0x40' | dxrsh shell -"});
    AddRunHostOptions(*command, options->host);
    command->add_option("FILE", options->file, "Lines; - is standard input");
    command->callback([options, &program] { RunLines(*options, program); });
}

}  // namespace dxrsh
