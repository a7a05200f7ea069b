// dxrsh crc: the CRC-8 of files.

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dxr_api.h"
#include "file_io.h"

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

void RunCrc(std::vector<std::string> paths) {
    if (paths.empty()) {
        paths.emplace_back("-");
    }
    for (const std::string &path : paths) {
        Input input(path);
        const FileCrc result = CrcOf(input);
        // At once: what is known stands, should the next file not be readable.
        WriteOut(fmt::format("0x{:02x} {} {}\n", result.crc, result.bytes, path));
    }
}

}  // namespace

void AddCrcCommand(CLI::App &program) {
    const auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App *const command = program.add_subcommand("crc", "The CRC-8 of files");
    command->footer(
        "Prints the CRC (polynomial 0x31, most significant bit first, start 0), the length in "
        "bytes\n"
        "and the name of each file.");
    command->add_option("FILE", *paths, "The files; - or nothing is standard input");
    command->callback([paths] { RunCrc(*paths); });
}

}  // namespace dxrsh
