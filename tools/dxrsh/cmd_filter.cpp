// dxrsh filter: a log through the log filter.

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "color.h"
#include "commands.h"
#include "errors.h"
#include "file_io.h"
#include "filter_report.h"
#include "filter_run.h"
#include "help.h"
#include "host.h"
#include "number_option.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr uint32_t kLastLogType = 28;

// A flag without a value counts as "true".
FilterOptions WithPlainMasks(FilterOptions options) {
    for (std::string &mask : options.masks) {
        mask = mask == "true" ? "" : mask;
    }
    return options;
}

bool IsSameFile(const struct stat &a, const struct stat &b) {
    return S_ISREG(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Lines of other meaning would stand among those let through, or a log would be emptied.
void CheckDoubtful(const FilterOptions &options) {
    const std::string &path = options.doubtfulPath;
    struct stat doubtful {};
    struct stat other {};
    const bool isThere = stat(path.c_str(), &doubtful) == 0;
    const bool isOutput = isThere && fstat(STDOUT_FILENO, &other) == 0 &&
                          (IsSameFile(doubtful, other) || path == "/dev/stdout");
    if (path == "-" || isOutput) {
        throw UsageError(
            "--doubtful: standard output has the lines that are let through; name another file");
    }
    for (const std::string &log : options.log.paths) {
        const bool isLog = isThere && (log == "-" ? fstat(STDIN_FILENO, &other) == 0
                                                  : stat(log.c_str(), &other) == 0);
        if (isLog && IsSameFile(doubtful, other)) {
            throw UsageError(fmt::format("--doubtful: {} is a log that is read", InputName(log)));
        }
    }
}

// The value of --mask stands behind a "=", since it may be left out: what stands behind a blank is
// a file.
void CheckMasks(const FilterOptions &options) {
    const bool isPlain =
        std::find(options.masks.begin(), options.masks.end(), "") != options.masks.end();
    for (const std::string &path : options.log.paths) {
        if (isPlain && path.find_first_of("[](){}+^$|\\") != std::string::npos &&
            access(path.c_str(), F_OK) != 0) {
            throw UsageError(fmt::format(
                "there is no file '{0}'; as an expression it is told by --mask='{0}'", path));
        }
    }
}

void RunFilter(const FilterOptions &options) {
    if (options.key && !options.masks.empty()) {
        throw UsageError("--key and --mask: lines are compared in one way alone");
    }
    CheckMasks(options);
    if (!options.doubtfulPath.empty()) {
        CheckDoubtful(options);
    }
    const Host host;
    bool brokenOff = false;
    {
        FilterRun run(options);
        run.Run();
        // What is written at the same time has no other end than that.
        brokenOff = run.Stopped() && !run.IsLive();
        if (options.json) {
            WriteJsonReport(run, options);
        } else {
            SayReport(run, options);
        }
    }
    if (!options.quiet && !options.json) {
        Say(stderr, "memory after its end\n{}", MemoryReport());
    }
    if (brokenOff) {
        throw Ended(kExitInterrupted);
    }
}

constexpr const char *kDetails =
    "A line that was let through within the last hour is suppressed. The lines let through go to "
    "standard output as they stand; a summary, the lines most often suppressed, the filter's table "
    "and its memory go to standard error. Compared is the text without its time stamp, at most "
    "1023 characters of it. Empty lines are let through without asking the filter.\n"
    "\n"
    "With --key lines are compared by numbers found in them, whatever the rest of their text: the "
    "expression has up to four groups, which give key1 to key4; without groups the whole match "
    "gives key1. A number (decimal, or hexadecimal after 0x) is its own value, other text its "
    "hash. "
    "Keys with the same digits in a row (1, 23 and 12, 3) are one key. Lines that do not match are "
    "let through without asking the filter.\n"
    "\n"
    "With --mask lines are compared with # in the place of numbers, addresses and identifiers, or "
    "of what an expression matches. --key and --mask exclude each other.\n"
    "\n"
    "With --follow the last file is read on as it grows, also when another one takes its name. "
    "When "
    "it is not there, that is said, and it is waited for.\n"
    "\n";

void AddComparison(CLI::App &command, FilterOptions &options) {
    command.add_option("--type", options.logType, "Log type, 0 to 28 (default 0)")
        ->transform(AsWholeNumber(0, kLastLogType))
        ->type_name("N");
    command
        .add_option("--interval", options.interval,
                    "Let a repeated line through again after S seconds")
        ->transform(AsWholeNumber())
        ->type_name("S");
    command.add_option("--key", options.key, "Compare by key: a regular expression, as of grep -E")
        ->type_name("REGEX");
    command
        .add_flag("--mask", options.masks,
                  "Compare without numbers and addresses, or without REGEX")
        ->type_name("[=REGEX]");
}

void AddReport(CLI::App &command, FilterOptions &options) {
    command.add_option("--top", options.topLines, "Most suppressed lines to show (default 10)")
        ->transform(AsWholeNumber())
        ->type_name("N");
    command.add_flag("--histogram", options.histogram, "Show the lines over time");
    command
        .add_option("--rows", options.tableRows, "Latest rows of the filter's table (default 10)")
        ->transform(AsWholeNumber())
        ->type_name("N");
    command
        .add_option("--doubtful", options.doubtfulPath,
                    "Write suppressed lines of other text, or compared in part")
        ->type_name("FILE");
    command.add_flag("--quiet", options.quiet, "No summary, but a histogram that is asked for");
    command.add_flag("--json", options.json, "Lines and summary as JSON, on standard output");
    AddColorOption(command, options.color);
}

}  // namespace

void AddFilterCommand(CLI::App &program) {
    const auto options = std::make_shared<FilterOptions>();
    CLI::App *const command = program.add_subcommand("filter", "Runs a log through the log filter");
    Describe(*command, std::string(kDetails) + kStampHelp,
             {"dxrsh filter examples/dxrsh/links.log > kept.log",
              "dxrsh filter --mask --histogram --quiet /var/log/syslog > kept.log"});
    AddComparison(*command, *options);
    AddLogOptions(*command, options->log);
    command->add_flag("--follow", options->log.follow, "Go on as the last file grows");
    AddReport(*command, *options);
    command->callback([options] { RunFilter(WithPlainMasks(*options)); });
}

}  // namespace dxrsh
