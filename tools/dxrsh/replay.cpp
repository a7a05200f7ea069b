#include "replay.h"

#include <fmt/format.h>

#include <string_view>

#include "errors.h"
#include "file_io.h"
#include "log_source.h"
#include "numbers.h"

namespace dxrsh {
namespace {

std::string Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin));
}

}  // namespace

void AddReplayOptions(CLI::App &command, ReplayOptions &options, const std::string &target,
                      const std::string &message) {
    command.add_option(message, options.messages, "The messages, in order");
    command
        .add_option("--from", options.messageFile,
                    "More messages from a file (- is standard input), one a line")
        ->type_name("FILE");
    command.add_option("--set", options.settings, "Set a count first; may be given again")
        ->type_name(target + "=COUNT")
        ->allow_extra_args(false);
}

void ForEachSetting(const ReplayOptions &options,
                    const std::function<void(const std::string &, uint32_t)> &set) {
    for (const std::string &setting : options.settings) {
        const std::vector<std::string_view> sides = Split(setting, '=');
        if (sides.size() != 2) {
            throw UsageError(fmt::format("--set: '{}' needs one =", setting));
        }
        set(std::string(sides[0]), RequireNumber(sides[1], "--set"));
    }
}

void ForEachMessage(const ReplayOptions &options,
                    const std::function<void(const std::string &)> &visit) {
    for (const std::string &message : options.messages) {
        visit(message);
    }
    if (options.messageFile.empty()) {
        return;
    }
    Input input(options.messageFile);
    WithoutMark unmarked(input);
    LineReader reader(unmarked);
    Line line{};
    while (reader.Next(line)) {
        const std::string message = Trimmed(line.text);
        if (message.empty()) {
            continue;
        }
        try {
            visit(message);
        } catch (const UsageError &error) {
            throw UsageError(
                fmt::format("{}: line {}: {}", input.Name(), reader.LineNumber(), error.what()));
        }
    }
}

}  // namespace dxrsh
