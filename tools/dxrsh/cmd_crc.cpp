// dxrsh crc: the CRC-8 of files.

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dxr_api.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "json_text.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kBlockSize = size_t{1} << 20U;

struct FileCrc {
    uint32_t crc = 0;
    uint64_t bytes = 0;
};

// Block by block: as the register starts at 0 and takes in a byte by XOR, what it holds after one
// block is carried on by the first byte of the next.
FileCrc CrcOf(Input &input) {
    std::vector<uint8_t> block(kBlockSize);
    FileCrc result;
    for (;;) {
        const size_t got = input.Read(reinterpret_cast<char *>(block.data()), block.size());
        if (got == 0) {
            return result;
        }
        block[0] = static_cast<uint8_t>(block[0] ^ result.crc);
        result.crc = DXR_CalculateCrc8(block.data(), got);
        result.bytes += got;
    }
}

struct CrcOptions {
    std::vector<std::string> paths;
    bool json = false;
};

std::string RowOf(const CrcOptions &options, const std::string &path) {
    Input input(path);
    const FileCrc result = CrcOf(input);
    if (options.json) {
        JsonText json;
        json.BeginObject()
            .Text("file", path)
            .Number("bytes", result.bytes)
            .Number("crc8", result.crc)
            .EndObject();
        return json.Line();
    }
    return fmt::format("0x{:02x} {} {}\n", result.crc, result.bytes, Printable(path, SIZE_MAX));
}

// A file that cannot be read is no reason to keep the others back.
void RunCrc(CrcOptions options) {
    if (options.paths.empty()) {
        options.paths.emplace_back("-");
    }
    bool failed = false;
    for (const std::string &path : options.paths) {
        try {
            WriteOut(RowOf(options, path));
        } catch (const FileError &error) {
            if (options.paths.size() == 1) {
                throw;
            }
            failed = true;
            Say(stderr, "dxrsh: {}\n", Printable(error.what(), SIZE_MAX));
        }
    }
    if (failed) {
        throw Ended(kExitFailure);
    }
}

}  // namespace

void AddCrcCommand(CLI::App &program) {
    const auto options = std::make_shared<CrcOptions>();
    CLI::App *const command = program.add_subcommand("crc", "The CRC-8 of files");
    Describe(*command,
             "Prints the CRC (polynomial 0x31, most significant bit first, start 0), the length in "
             "bytes and the name of each file. A file that cannot be read is told, the others are "
             "done, and the exit code is 1.",
             {"dxrsh crc examples/dxrsh/messages.json", "printf 123456789 | dxrsh crc --json"});
    command->add_option("FILE", options->paths, "The files; - or nothing is standard input");
    AddJsonFlag(*command, options->json);
    command->callback([options] { RunCrc(*options); });
}

}  // namespace dxrsh
