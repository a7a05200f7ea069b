// dxrsh attach: lines that poke at the host of another program.

#include <memory>
#include <optional>
#include <string>

#include "attach_client.h"
#include "commands.h"
#include "errors.h"
#include "help.h"

namespace dxrsh {
namespace {

struct AttachOptions {
    std::string path;
    std::optional<std::string> file;
};

}  // namespace

void AddAttachCommand(CLI::App &program) {
    const auto options = std::make_shared<AttachOptions>();
    CLI::App *const command =
        program.add_subcommand("attach", "Pokes at the host of a run, line by line");
    Describe(*command,
             "PATH is that of 'dxrsh run --control PATH'; for the boards of a chassis there is "
             "'dxrsh chassis shell'. The lines are those of 'dxrsh shell', but for modules, which "
             "the run has; 'quit' leaves, and the run goes on. Exit status: 0 all was done, 1 a "
             "line was not, or the host has ended, 2 no host listens at PATH.",
             {"dxrsh attach /tmp/worker.control", "dxrsh attach /tmp/worker.control poke.lines"});
    command->add_option("PATH", options->path, "Where the host listens")->required();
    command->add_option("FILE", options->file, "Lines; - is standard input");
    command->callback([options, &program] {
        const int status = RunAttached(options->path, options->file, program);
        if (status != 0) {
            throw Ended(status);
        }
    });
}

}  // namespace dxrsh
