// dxrsh privatelog: the private logs of modules.

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "host.h"
#include "number_option.h"

namespace dxrsh {
namespace {

constexpr size_t kLongestText = size_t{16} << 20U;
constexpr uint32_t kNoLength = 0xFFFFFFFF;

struct PrivateLogOptions {
    std::string name;
    std::string textFile = "-";
    uint32_t maxLength = 0;
};

void RequireDirectory() {
    struct stat status {};
    if (stat(DXR_PRIVATE_LOG_DIRECTORY, &status) != 0 || !S_ISDIR(status.st_mode)) {
        throw RunError("there is no directory " DXR_PRIVATE_LOG_DIRECTORY);
    }
}

void RequireName(const std::string &name) {
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
        throw UsageError(fmt::format("'{}' is no name of a log", name));
    }
}

uint32_t LengthOf(const std::string &name) {
    const uint32_t length = DXR_GetPrivateLogLen(name.c_str());
    if (length == kNoLength) {
        throw RunError(fmt::format("there is no log {}{}", DXR_PRIVATE_LOG_DIRECTORY, name));
    }
    return length;
}

void Write(const PrivateLogOptions &options) {
    Input input(options.textFile);
    const std::string text = ReadWhole(input, kLongestText);
    if (text.find('\0') != std::string::npos) {
        throw RunError(fmt::format("{} holds a NUL byte, which ends a text", input.Name()));
    }
    const uint32_t before = DXR_GetPrivateLogLen(options.name.c_str());
    const MessageCatcher messages;
    (void)DXR_WritePrivateLog(options.name.c_str(), static_cast<uint32_t>(text.size()),
                              text.c_str());
    if (!messages.Last().empty()) {
        throw RunError(messages.Last());
    }
    const uint32_t length = LengthOf(options.name);
    WriteOut(fmt::format("{}: {} bytes added, {} in all\n", options.name,
                         length - (before == kNoLength ? 0 : before), length));
}

void Read(const PrivateLogOptions &options) {
    std::vector<char> text(size_t{LengthOf(options.name)} + 1);
    if (DXR_GetPrivateLog(options.name.c_str(), text.data(), static_cast<uint32_t>(text.size())) !=
        0) {
        throw RunError(fmt::format("cannot read {}{}", DXR_PRIVATE_LOG_DIRECTORY, options.name));
    }
    WriteOut(text.data());
}

void Length(const PrivateLogOptions &options) {
    const uint32_t length = LengthOf(options.name);
    WriteOut(fmt::format("{}\n", length));
}

void Cut(const PrivateLogOptions &options) {
    const uint32_t before = LengthOf(options.name);
    const MessageCatcher messages;
    if (DXR_FixPrivateLogLen(options.name.c_str(), options.maxLength) != 0) {
        throw RunError(fmt::format("cannot cut {}{}", DXR_PRIVATE_LOG_DIRECTORY, options.name));
    }
    WriteOut(
        fmt::format("{}: {} bytes, {} before\n", options.name, LengthOf(options.name), before));
}

}  // namespace

void AddPrivateLogCommand(CLI::App &program) {
    const auto options = std::make_shared<PrivateLogOptions>();
    CLI::App *const command = program.add_subcommand("privatelog", "The private logs of modules");
    command->require_subcommand(1);
    command->footer("Private logs are the files of the directory " DXR_PRIVATE_LOG_DIRECTORY ".");
    const auto addAction = [&](const char *name, const char *about,
                               void (*run)(const PrivateLogOptions &)) {
        CLI::App *const action = command->add_subcommand(name, about);
        action->add_option("NAME", options->name, "Name of the log")->required();
        action->callback([options, run] {
            RequireName(options->name);
            RequireDirectory();
            const Host host;
            run(*options);
        });
        return action;
    };

    addAction("write", "Appends a text", Write)
        ->add_option("FILE", options->textFile, "The text; - or nothing is standard input");
    addAction("read", "Prints the log", Read);
    addAction("length", "Prints the length in bytes", Length);
    addAction("cut", "Keeps the last bytes", Cut)
        ->add_option("BYTES", options->maxLength, "How many to keep at most")
        ->transform(AsWholeNumber())
        ->required();
}

}  // namespace dxrsh
