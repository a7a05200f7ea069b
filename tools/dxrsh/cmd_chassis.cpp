// dxrsh chassis: boards of several processes, and what is asked of those that run.

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "attach_client.h"
#include "chassis_board.h"
#include "chassis_file.h"
#include "chassis_keys.h"
#include "chassis_place.h"
#include "chassis_supervisor.h"
#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "number_option.h"

namespace dxrsh {
namespace {

constexpr useconds_t kLookUs = 20000;
constexpr uint32_t kLooksPerSec = 50;
constexpr uint32_t kLongestWaitSec = 3600;
constexpr const char *kError = "error: ";

struct ChassisOptions {
    SupervisorOptions supervisor;
    std::string name;
    std::vector<std::string> boards;
    std::string board;  // of a shell
    uint32_t waitSec = 0;
    bool isJson = false;
    std::optional<std::string> lines;
};

// Without libzmq there is none.
void RequireChassis() {
    char publicKey[DXR_HOST_KEY_BYTES];
    char secretKey[DXR_HOST_KEY_BYTES];
    if (DxrHostMakeKeys(publicKey, secretKey) != 0) {
        throw RunError("this build has no chassis: libzmq was not found (libzmq3-dev)");
    }
}

std::string Ask(const std::string &name, const std::string &command) {
    std::string answer = AskChassis(name, command);
    if (answer.rfind(kError, 0) == 0) {
        throw RunError(answer.substr(std::char_traits<char>::length(kError),
                                     answer.find('\n') - std::char_traits<char>::length(kError)));
    }
    return answer;
}

// Until all boards have given a sign of life.
void AwaitBoards(const std::string &name, uint32_t seconds) {
    for (uint32_t left = seconds * kLooksPerSec;; --left) {
        try {
            (void)Ask(name, "ready");
            return;
        } catch (const NoAnswer &) {
            throw;
        } catch (const RunError &) {
            if (left == 0) {
                throw;
            }
        }
        (void)usleep(kLookUs);
    }
}

void RunStatus(const ChassisOptions &options) {
    if (options.waitSec != 0) {
        AwaitBoards(options.name, options.waitSec);
    }
    WriteOut(Ask(options.name, options.isJson ? "status json" : "status"));
}

void RunKeys(const ChassisOptions &options) {
    const Chassis chassis = ReadChassisFile(options.supervisor.file, {});
    if (chassis.keys.empty()) {
        throw UsageError(options.supervisor.file + ": names no directory for keys");
    }
    MakeKeyDirectory(chassis.keys);
    for (const ChassisBoard &board : chassis.boards) {
        const bool isNew = MakeKeys(chassis.keys, board.name);
        WriteOut(board.name + (isNew ? ": made\n" : ": has keys\n"));
    }
}

void RunBoardShell(const ChassisOptions &options, const CLI::App &program) {
    const Chassis chassis = ReadChassisFile(options.supervisor.file, {});
    const auto board =
        std::find_if(chassis.boards.begin(), chassis.boards.end(),
                     [&options](const ChassisBoard &each) { return each.name == options.board; });
    if (board == chassis.boards.end()) {
        throw UsageError(options.supervisor.file + ": has no board " + options.board);
    }
    (void)AskChassis(chassis.name, "status");  // or there is none
    const std::string control = BoardControl(chassis.name, board->name);
    if (access(control.c_str(), F_OK) != 0) {
        throw UsageError("board " + board->name + " does not run");
    }
    const int status = RunAttached(control, options.lines, program);
    if (status != 0) {
        throw Ended(status);
    }
}

CLI::App *AddCommand(CLI::App &parent, const std::shared_ptr<ChassisOptions> &options,
                     const char *name, const char *what, const std::string &words = {}) {
    CLI::App *const command = parent.add_subcommand(name, what);
    const std::string example = std::string("dxrsh chassis ") + name;
    Describe(*command, "", {example + words, example + " --name lab" + words});
    command->add_option("--name", options->name, "Which chassis, when several run")
        ->type_name("NAME");
    return command;
}

void AddOrder(CLI::App &parent, const std::shared_ptr<ChassisOptions> &options, const char *name,
              const char *what) {
    CLI::App *const command = AddCommand(parent, options, name, what, " line2");
    command->add_option("BOARD", options->boards, "Names of boards")->required();
    command->callback([options, order = std::string(name)] {
        for (const std::string &board : options->boards) {
            (void)Ask(options->name, fmt::format("{} {}", order, board));
        }
    });
}

// What a board is started with: words after a colon, so that none is empty or an option. Nobody
// types it.
void AddBoardCommand(CLI::App &program) {
    CLI::App *const command = program.add_subcommand("chassis-board", "");
    command->group("");
    const auto words = std::make_shared<std::vector<std::string>>();
    command->add_option("WORD", *words)->expected(6);
    command->callback([words] {
        const auto word = [&words](size_t i) { return (*words)[i].substr(1); };
        RunBoard({word(0), word(1), word(2), word(3), static_cast<uint32_t>(std::stoul(word(4))),
                  word(5) == "cut"});
    });
}

}  // namespace

void AddChassisCommand(CLI::App &program) {
    const auto options = std::make_shared<ChassisOptions>();
    CLI::App *const command = program.add_subcommand(
        "chassis", "Runs the boards of a chassis, each in a process of its own");
    Describe(
        *command,
        "With a FILE, starts the boards that it describes, and starts those again that die or are "
        "reset, until it is stopped (also by Ctrl-C) or no board has anything more to do. What a "
        "board prints "
        "is in board.log of its directory. The commands are for a chassis that runs. Exit status: "
        "0 all boards ended well; 1 one did not, waited to be started again, or the chassis does "
        "not "
        "run; 2 the file is wrong.",
        {"dxrsh chassis lab.json", "dxrsh chassis status"});
    command->add_option("FILE", options->supervisor.file, "JSON file that describes the chassis");
    command
        ->add_option("--modules", options->supervisor.modules,
                     "Where modules without a slash are (not beside FILE)")
        ->type_name("DIRECTORY");
    command->add_option("--work", options->supervisor.work, "Where boards have their directories")
        ->type_name("DIRECTORY");
    command->add_option("--machine", options->supervisor.machine, "Which machine of FILE this is")
        ->type_name("NAME");
    command
        ->add_option("--seconds", options->supervisor.seconds,
                     "Stop so long after all boards have begun")
        ->transform(AsWholeNumber())
        ->type_name("SECONDS");
    command->add_flag("--status", options->supervisor.showsStatus,
                      "Print the table of boards before that");

    CLI::App *const status = AddCommand(*command, options, "status", "Shows the boards");
    AddJsonFlag(*status, options->isJson);
    status
        ->add_option("--wait", options->waitSec,
                     "Wait so long at most until all boards run, 0 to 3600")
        ->transform(AsWholeNumber(0, kLongestWaitSec))
        ->type_name("SECONDS");
    status->callback([options] { RunStatus(*options); });
    AddOrder(*command, options, "pause", "Stops boards where they are");
    AddOrder(*command, options, "resume", "Lets paused boards go on");
    AddOrder(*command, options, "kill", "Kills boards, which are then started again");
    AddOrder(*command, options, "cut", "Cuts boards off from all others");
    AddOrder(*command, options, "join", "Joins boards again that were cut off");
    CLI::App *const stop =
        AddCommand(*command, options, "stop", "Ends all boards, and waits for that");
    stop->callback([options] { (void)Ask(options->name, kStopChassis); });
    CLI::App *const keys = command->add_subcommand("keys", "Makes keys for boards that have none");
    Describe(
        *keys,
        "The file names the directory, which is made with those above it; a board's are "
        "BOARD.public and BOARD.secret.",
        {"dxrsh chassis keys lab.json", "dxrsh chassis keys lab.json && dxrsh chassis lab.json"});
    keys->add_option("FILE", options->supervisor.file, "The chassis file")->required();
    keys->callback([options] { RunKeys(*options); });
    CLI::App *const shell =
        command->add_subcommand("shell", "Pokes at the host of a board, as 'dxrsh attach'");
    Describe(
        *shell, "The lines are those of 'dxrsh shell', but for modules, which the board has.",
        {"dxrsh chassis shell lab.json line1", "dxrsh chassis shell lab.json line1 lines.txt"});
    shell->add_option("FILE", options->supervisor.file, "The chassis file")->required();
    shell->add_option("BOARD", options->board, "Name of a board")->required();
    shell->add_option("LINES", options->lines, "File of lines; - is standard input");
    shell->callback([options, &program] { RunBoardShell(*options, program); });

    command->require_subcommand(0, 1);
    command->callback([options, command] {
        if (!command->get_subcommands().empty()) {
            return;
        }
        if (options->supervisor.file.empty()) {
            throw UsageError("FILE is required");
        }
        RequireChassis();
        const int result = RunChassis(options->supervisor);
        if (result != 0) {
            throw Ended(result);
        }
    });
    AddBoardCommand(program);
}

}  // namespace dxrsh
