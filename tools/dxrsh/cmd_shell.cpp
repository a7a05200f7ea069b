// dxrsh shell: lines that poke at a running host, from a terminal or a file.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "errors.h"
#include "help.h"
#include "help_text.h"
#include "module.h"
#include "run_host.h"
#include "shell.h"
#include "shell_programs.h"
#include "shell_target.h"

namespace dxrsh {
namespace {

struct ShellOptions {
    RunHostOptions host;
    std::optional<std::string> file;
};

void RunLines(const ShellOptions &options, const CLI::App &program) {
    int status = 0;
    {
        Shell shell(std::make_unique<OwnHostTarget>(options.host), ProgramsOf(program));
        status = RunShell(shell, options.file);
    }
    (void)std::fflush(stdout);
    // Threads that modules made by themselves are left alone.
    EndProgram(status);
}

}  // namespace

std::vector<Shell::Program> ProgramsOf(const CLI::App &program) {
    std::vector<Shell::Program> programs;
    for (const CLI::App *const command : CommandsOf(program)) {
        const std::string &name = command->get_name();
        if (name != "shell" && name != "attach" && name != "help") {
            programs.emplace_back(name, command->get_description());
        }
    }
    return programs;
}

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
