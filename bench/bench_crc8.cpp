#include <boost/crc.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "harness.h"

namespace bench {
namespace {

using PeerCrc = boost::crc_optimal<8, 0x31, 0, 0, false, false>;

[[gnu::noinline]] std::uint32_t Boost(const std::uint8_t *data, std::size_t length) {
    PeerCrc crc;
    crc.process_bytes(data, length);
    return crc.checksum();
}

std::vector<std::uint8_t> BytesOf(std::size_t length) {
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 2654435761U >> 13U);
    }
    return bytes;
}

void AddSize(Suite &suite, std::size_t length, double must, double goal) {
    const std::vector<std::uint8_t> data = BytesOf(length);
    Require(DXR_CalculateCrc8(data.data(), length) == Boost(data.data(), length), "CRC-8");
    suite.Add({"DXR_CalculateCrc8", "CRC-8 of " + std::to_string(length) + " bytes",
               "boost::crc_optimal", must, goal, static_cast<double>(length),
               [data](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Keep(DXR_CalculateCrc8(data.data(), data.size()));
                   }
               },
               [data](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Keep(Boost(data.data(), data.size()));
                   }
               }});
}

}  // namespace

void AddCrc8(Suite &suite) {
    AddSize(suite, 16, 0.6, 0.5);
    AddSize(suite, 64, 0.3, 0.15);
    AddSize(suite, 1024, 0.25, 0.05);
    AddSize(suite, 65536, 0.25, 0.03);
}

}  // namespace bench
