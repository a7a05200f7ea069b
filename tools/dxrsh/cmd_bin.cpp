// dxrsh bin and dxrsh latest: binary data files below a work directory.

#include <fmt/format.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_text.h"
#include "say.h"

namespace dxrsh {
namespace {

struct BinOptions {
    std::string folder;
    std::string name;
    std::string workPath = ".";
    bool json = false;
};

struct LatestOptions {
    std::string directory;
    std::string pattern;
    bool json = false;
};

// A block of the host's memory that the library handed over.
class LoadedData {
  public:
    LoadedData(uint8_t *bytes, uint32_t length) : bytes_(bytes), length_(length) {}
    ~LoadedData() { DXR_Free(bytes_, __FILE__, __LINE__); }
    LoadedData(const LoadedData &) = delete;
    LoadedData &operator=(const LoadedData &) = delete;
    LoadedData(LoadedData &&) = delete;
    LoadedData &operator=(LoadedData &&) = delete;

    [[nodiscard]] uint32_t Length() const { return length_; }
    [[nodiscard]] uint32_t Crc() const { return DXR_CalculateCrc8(bytes_, length_); }

  private:
    uint8_t *bytes_;
    uint32_t length_;
};

std::string ErrorOf(int error) {
    return std::strerror(error);  // NOLINT(concurrency-mt-unsafe): dxrsh has one thread
}

// Why the library does not load a file.
std::string ReasonAgainst(const std::string &path) {
    constexpr uint64_t kTooLong = 10485760;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0) {
        return ErrorOf(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return ErrorOf(EISDIR);
    }
    if (const auto length = static_cast<uint64_t>(status.st_size);
        length == 0 || length >= kTooLong) {
        return fmt::format("has {} bytes, 1 to {} can be loaded", length, kTooLong - 1);
    }
    return "there is not enough memory";
}

// The library forms its paths in as much room, and cuts what is longer.
constexpr size_t kPathSize = 256;

// A path that was cut leads to another file, if to any.
void RequireWholePath(const std::string &path) {
    if (path.size() >= kPathSize) {
        throw RunError(fmt::format("the path is longer than {} bytes: {}", kPathSize - 1, path));
    }
}

void RunBin(const BinOptions &options) {
    // An empty path would stand for the root.
    if (options.workPath.empty()) {
        throw UsageError("bin: the work directory has no name");
    }
    RequireWholePath(options.workPath + "/" + options.folder + "/" + options.name);
    const Host host;
    const MessageCatcher messages;
    DxrHostSetWorkPath(nullptr, options.workPath.c_str());
    std::array<char, kPathSize> path{};
    uint8_t *bytes = nullptr;
    uint32_t length = 0;
    if (DXR_GetBinFilePath(options.folder.c_str(), options.name.c_str(), path.data(), kPathSize) !=
            0 ||
        DXR_GetBinFileData(options.folder.c_str(), options.name.c_str(), &bytes, &length) != 0) {
        const std::string wanted = options.workPath + "/" + options.folder + "/" + options.name;
        throw RunError(fmt::format("cannot load {}: {}", wanted, ReasonAgainst(wanted)));
    }
    const LoadedData data(bytes, length);
    if (options.json) {
        JsonText json;
        json.BeginObject()
            .Text("file", path.data())
            .Number("bytes", data.Length())
            .Number("crc8", data.Crc())
            .EndObject();
        WriteOut(json.Line());
        return;
    }
    WriteOut(fmt::format("{}: {} bytes, CRC-8 0x{:02x}\n", Printable(path.data(), SIZE_MAX),
                         data.Length(), data.Crc()));
}

void RunLatest(const LatestOptions &options) {
    constexpr uint32_t kNoneMatched = 12;
    constexpr size_t kNameSize = 256;  // file systems allow 255 bytes
    if (options.directory.empty()) {
        throw UsageError("latest: the directory has no name");
    }
    RequireWholePath(options.directory);
    const Host host;
    const MessageCatcher messages;
    DxrHostSetWorkPath(nullptr, options.directory.c_str());
    std::array<char, kNameSize> name{};
    const uint32_t result = DXR_GetLatestFile(options.pattern.c_str(), ".", name.data(), kNameSize);
    if (result == kNoneMatched) {
        throw RunError(
            fmt::format("no name in {} contains '{}'", options.directory, options.pattern));
    }
    if (result != 0) {
        errno = 0;
        DIR *const directory = opendir(options.directory.c_str());
        const std::string reason =
            directory == nullptr ? ErrorOf(errno) : "a name in it is too long";
        if (directory != nullptr) {
            closedir(directory);
        }
        throw RunError(fmt::format("cannot search {}: {}", options.directory, reason));
    }
    if (options.json) {
        JsonText json;
        json.BeginObject().Text("name", name.data()).EndObject();
        WriteOut(json.Line());
        return;
    }
    WriteOut(fmt::format("{}\n", Printable(name.data(), SIZE_MAX)));
}

}  // namespace

void AddBinCommand(CLI::App &program) {
    const auto options = std::make_shared<BinOptions>();
    CLI::App *const command =
        program.add_subcommand("bin", "Loads a binary data file below a work directory");
    Describe(*command, "Prints the file's path, its length and the CRC-8 of what was loaded.",
             {"dxrsh bin dxrsh messages.json --work examples",
              "dxrsh bin dxrsh filters.json --work examples --json"});
    AddJsonFlag(*command, options->json);
    command->add_option("FOLDER", options->folder, "Folder below the work directory")->required();
    command->add_option("NAME", options->name, "Name of the file")->required();
    command->add_option("--work", options->workPath, "The work directory (default .)")
        ->type_name("DIR");
    command->callback([options] { RunBin(*options); });
}

void AddLatestCommand(CLI::App &program) {
    const auto options = std::make_shared<LatestOptions>();
    CLI::App *const command =
        program.add_subcommand("latest", "The latest file of a directory, by name");
    Describe(*command,
             "Prints the name that is greatest in byte order among those that contain PATTERN.",
             {"dxrsh latest examples/dxrsh .log", "dxrsh latest examples/dxrsh json --json"});
    AddJsonFlag(*command, options->json);
    command->add_option("DIR", options->directory, "The directory")->required();
    command->add_option("PATTERN", options->pattern, "Text that the name contains")->required();
    command->callback([options] { RunLatest(*options); });
}

}  // namespace dxrsh
