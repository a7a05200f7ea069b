#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "dxr_api.h"
#include "figures.h"
#include "words.h"

namespace bench {
namespace {

constexpr std::array<uint8_t, 256> MakeTable() {
    constexpr unsigned kPolynomial = 0x31;
    std::array<uint8_t, 256> table = {};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80U) != 0 ? crc << 1U ^ kPolynomial : crc << 1U;
        }
        table[byte] = static_cast<uint8_t>(crc);
    }
    return table;
}

constexpr std::array<uint8_t, 256> kTable = MakeTable();

[[gnu::noinline]] uint32_t ByteByByte(const uint8_t *data, size_t length) {
    uint8_t crc = 0;
    for (size_t i = 0; i < length; ++i) {
        crc = kTable[crc ^ data[i]];
    }
    return crc;
}

template <auto Crc>
Run Repeat(const Words &words, size_t bytes) {
    return [words, bytes](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Keep(Crc(reinterpret_cast<const uint8_t *>(words.data()), bytes));
        }
    };
}

}  // namespace

Figure Crc8(size_t bytes) {
    const Words words = RandomWords(bytes / sizeof(Words::value_type) + 1);
    const auto *const data = reinterpret_cast<const uint8_t *>(words.data());
    Require(DXR_CalculateCrc8(data, bytes) == ByteByByte(data, bytes), "CRC-8");
    return {"DXR_CalculateCrc8, " + std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes"),
            "loop with a table", static_cast<double>(bytes),
            Repeat<DXR_CalculateCrc8>(words, bytes), Repeat<ByteByByte>(words, bytes)};
}

}  // namespace bench
