// dxrsh privatelog: the private logs of modules.

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_text.h"
#include "number_option.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kLongestText = size_t{16} << 20U;
constexpr uint32_t kNoLength = 0xFFFFFFFF;
constexpr std::string_view kTemporaryName = "dxr_log.tmp";

struct PrivateLogOptions {
    std::string name;
    std::string textFile = "-";
    std::string directory = DXR_PRIVATE_LOG_DIRECTORY;
    uint32_t maxLength = 0;
    bool json = false;
};

std::string ErrorOf(int error) {
    return std::strerror(error);  // NOLINT(concurrency-mt-unsafe): dxrsh has one thread
}

bool IsDirectory(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void RequireName(const std::string &name) {
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
        throw UsageError(fmt::format("'{}' is no name of a log", name));
    }
    if (name == kTemporaryName) {
        throw UsageError(fmt::format("'{}' is the file that logs are cut with", name));
    }
}

// A log in the library's own directory, or, by the functions that take paths, in another one.
class PrivateLog {
  public:
    explicit PrivateLog(const PrivateLogOptions &options)
        : directory_(options.directory),
          name_(options.name),
          isOwn_(directory_ == DXR_PRIVATE_LOG_DIRECTORY) {
        if (!directory_.ends_with('/')) {
            directory_ += '/';
        }
        if (!IsDirectory(directory_)) {
            throw RunError(fmt::format("there is no directory {}", directory_));
        }
        if (IsDirectory(Path())) {
            throw RunError(fmt::format("{} is a directory", Path()));
        }
        DxrHostSetLogDirectory(nullptr, directory_.c_str());
    }

    [[nodiscard]] std::string Path() const { return directory_ + name_; }

    // kNoLength when there is none.
    [[nodiscard]] uint32_t LengthOrNone() const {
        return isOwn_ ? DXR_GetPrivateLogLen(name_.c_str()) : DXR_FileLength(Path().c_str());
    }
    [[nodiscard]] uint32_t Length() const {
        const uint32_t length = LengthOrNone();
        if (length == kNoLength) {
            throw RunError(fmt::format("there is no log {}", Path()));
        }
        return length;
    }

    [[nodiscard]] std::string Text() const {
        const uint32_t length = Length();
        if (!isOwn_) {
            Input input(Path());
            return ReadWhole(input, kNoLength);
        }
        std::string text(size_t{length} + 1, '\0');
        if (DXR_GetPrivateLog(name_.c_str(), text.data(), static_cast<uint32_t>(text.size())) !=
            0) {
            throw RunError(fmt::format("cannot read {}", Path()));
        }
        text.resize(std::strlen(text.c_str()));  // the rest was never written
        return text;
    }

    // Elsewhere done as the library does it in its own directory, but that a copy in which bytes
    // are missing never takes the log's place.
    [[nodiscard]] bool Cut(uint32_t longest) const {
        if (isOwn_) {
            return DXR_FixPrivateLogLen(name_.c_str(), longest) == 0;
        }
        const uint32_t length = Length();
        if (length <= longest) {
            return true;
        }
        const std::string temporary = directory_ + std::string(kTemporaryName);
        (void)DXR_WritePrivateLog(kTemporaryName.data(), 0, "");
        const bool isWhole =
            DXR_CopyFile(Path().c_str(), temporary.c_str(), length - longest, longest) == 0 &&
            DXR_FileLength(temporary.c_str()) == longest;  // a full disk takes less
        if (isWhole && std::rename(temporary.c_str(), Path().c_str()) == 0) {
            return true;
        }
        (void)std::remove(temporary.c_str());
        return false;
    }

  private:
    std::string directory_;
    std::string name_;
    bool isOwn_;
};

void Print(const PrivateLogOptions &options, const std::string &text, const JsonText &fields) {
    JsonText json = fields;
    WriteOut(options.json ? json.EndObject().Line() : text);
}

void Write(const PrivateLogOptions &options) {
    const PrivateLog log(options);
    Input input(options.textFile);
    const std::string text = ReadWhole(input, kLongestText);
    if (text.find('\0') != std::string::npos) {
        throw RunError(fmt::format("{} holds a NUL byte, which ends a text", input.Name()));
    }
    const uint32_t before = log.LengthOrNone();
    const MessageCatcher messages;
    (void)DXR_WritePrivateLog(options.name.c_str(), static_cast<uint32_t>(text.size()),
                              text.c_str());
    const int error = messages.FirstError();
    const uint32_t now = log.LengthOrNone();
    const uint32_t length = now == kNoLength ? 0 : now;
    const uint32_t added = length - (before == kNoLength ? 0 : before);
    if (!messages.Last().empty()) {
        throw RunError(fmt::format("{}: {} of {} bytes written: {}", log.Path(), added, text.size(),
                                   ErrorOf(error)));
    }
    JsonText json;
    json.BeginObject().Text("name", options.name).Number("added", added).Number("bytes", length);
    Print(options,
          fmt::format("{}: {} bytes added, {} in all\n", Printable(options.name, SIZE_MAX), added,
                      length),
          json);
}

void Read(const PrivateLogOptions &options) {
    const std::string text = PrivateLog(options).Text();
    JsonText json;
    json.BeginObject().Text("name", options.name).Text("text", text);
    Print(options, text, json);
}

void Length(const PrivateLogOptions &options) {
    const uint32_t length = PrivateLog(options).Length();
    JsonText json;
    json.BeginObject().Text("name", options.name).Number("bytes", length);
    Print(options, fmt::format("{}\n", length), json);
}

void Cut(const PrivateLogOptions &options) {
    const PrivateLog log(options);
    const uint32_t before = log.Length();
    const MessageCatcher messages;
    if (!log.Cut(options.maxLength)) {
        throw RunError(fmt::format("cannot cut {}", log.Path()));
    }
    const uint32_t length = log.Length();
    if (length != std::min(before, options.maxLength)) {
        throw RunError(fmt::format("{}: {} of {} bytes are left, {} were wanted", log.Path(),
                                   length, before, options.maxLength));
    }
    JsonText json;
    json.BeginObject().Text("name", options.name).Number("bytes", length).Number("before", before);
    Print(
        options,
        fmt::format("{}: {} bytes, {} before\n", Printable(options.name, SIZE_MAX), length, before),
        json);
}

}  // namespace

void AddPrivateLogCommand(CLI::App &program) {
    const auto options = std::make_shared<PrivateLogOptions>();
    CLI::App *const command = program.add_subcommand("privatelog", "The private logs of modules");
    command->require_subcommand(1);
    const std::vector<std::string> examples = {
        "echo hello | dxrsh privatelog write hello.log --dir /tmp",
        "dxrsh privatelog cut hello.log 3 --dir /tmp && rm /tmp/hello.log"};
    Describe(*command,
             "Private logs are the files of the directory " DXR_PRIVATE_LOG_DIRECTORY
             ", or of the "
             "one that --dir names.",
             examples);
    const auto addAction = [&](const char *name, const char *about,
                               void (*run)(const PrivateLogOptions &)) {
        CLI::App *const action = command->add_subcommand(name, about);
        action->add_option("NAME", options->name, "Name of the log")->required();
        action->add_option("--dir", options->directory, "Their directory")->type_name("DIR");
        AddJsonFlag(*action, options->json);
        Describe(*action, "", examples);
        action->callback([options, run] {
            RequireName(options->name);
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
