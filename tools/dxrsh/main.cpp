#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <exception>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "complaint.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "refusals.h"
#include "say.h"
#include "version.h"

namespace {

void AddCommands(CLI::App &program) {
    dxrsh::AddFilterCommand(program);
    dxrsh::AddRecordCommand(program);
    dxrsh::AddFaultCommand(program);
    dxrsh::AddPrivateLogCommand(program);
    dxrsh::AddSimulateCommand(program);
    dxrsh::AddMsgFilterCommand(program);
    dxrsh::AddBinCommand(program);
    dxrsh::AddLatestCommand(program);
    dxrsh::AddCrcCommand(program);
    dxrsh::AddLinksCommand(program);
    dxrsh::AddDbCommand(program);
    dxrsh::AddSlotsCommand(program);
    dxrsh::AddRunCommand(program);
    dxrsh::AddChassisCommand(program);
    dxrsh::AddShellCommand(program);
    dxrsh::AddAttachCommand(program);
    dxrsh::AddTraceCommand(program);
    dxrsh::AddReplayCommand(program);
    dxrsh::AddDiffCommand(program);
    dxrsh::AddBenchCommand(program);
    CLI::App *const help =
        program.add_subcommand("help", "Tells about a command; 'man dxrsh' about all");
    dxrsh::Describe(*help, "The same as COMMAND --help.",
                    {"dxrsh help filter", "dxrsh help privatelog write"});
    dxrsh::AddGenerateCommand(program, DXRSH_VERSION, DXRSH_DATE);
}

// What is opened takes the lowest free number: nothing may be written into that as if it were
// standard output. Where one of the three is closed, to use it fails as it would.
void KeepStandardDescriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) < 0) {
            (void)open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

// On one line, whatever the names in the text hold.
void Complain(std::string_view text) {
    constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();
    const std::string line = dxrsh::Printable(text, kNoLimit);
    if (!dxrsh::HandOver(line)) {
        dxrsh::Say(stderr, "dxrsh: {}\n", line);
    }
}

int Run(int argc, char **argv) {
    CLI::App program("Runs the logic of libdxr_api on real input, within a development host.",
                     "dxrsh");
    dxrsh::UseHelp(program);
    program.set_version_flag("--version", "dxrsh " DXRSH_VERSION);
    AddCommands(program);
    dxrsh::RefuseEmptyValues(program);
    try {
        std::vector<std::string> words = dxrsh::ReadyArguments(program, argc, argv);
        if (argc == 1 && isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1) {
            words = {"shell"};
        }
        std::reverse(words.begin(), words.end());  // as the parser takes them
        program.parse(words);                      // runs the command
        if (program.get_subcommands().empty()) {
            throw dxrsh::UsageError("name a command; 'dxrsh --help' lists them");
        }
        return 0;
    } catch (const CLI::CallForHelp &) {
        dxrsh::WriteOut(program.help());
        return 0;
    } catch (const CLI::CallForVersion &version) {
        dxrsh::WriteOut(std::string(version.what()) + "\n");
        return 0;
    } catch (const CLI::ParseError &error) {
        Complain(dxrsh::RefusalOf(program, error));
        return dxrsh::kExitUsage;
    }
}

}  // namespace

int main(int argc, char **argv) {
    KeepStandardDescriptors();
    // A reader that left shows as a failed write, which ends the program in order.
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    dxrsh::FindStarter();
    try {
        return Run(argc, argv);
    } catch (const dxrsh::BrokenPipe &) {
        return 0;
    } catch (const dxrsh::Ended &ended) {
        return ended.Code();
    } catch (const dxrsh::UsageError &error) {
        Complain(error.what());
        return dxrsh::kExitUsage;
    } catch (const std::bad_alloc &) {
        Complain("not enough memory");
        return dxrsh::kExitFailure;
    } catch (const std::exception &error) {
        Complain(error.what());
        return dxrsh::kExitFailure;
    }
}
