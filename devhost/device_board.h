// The description of a board, as its file gives it.
#ifndef DXR_DEVHOST_DEVICE_BOARD_H
#define DXR_DEVHOST_DEVICE_BOARD_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "device_spaces.h"

namespace devhost {

// What a number of "board" is called, and is without a description.
struct BoardValue {
    const char *name;
    uint32_t value;
};

struct Attribute {
    uint32_t value = 0;
    bool isReadOnly = false;
};

struct Voltage {
    uint32_t millivolts;
    uint32_t least;
    uint32_t most;

    bool operator==(const Voltage &) const = default;
};

// A device that is kept in memory.
struct DescribedDevice {
    uint64_t bytes;
    std::string text;
};

struct DescribedArea {
    uint32_t number;
    std::string name;
    uint64_t address;
    uint64_t bytes;
};

struct Board {
    using Pair = std::pair<uint32_t, uint32_t>;
    using Triple = std::tuple<uint32_t, uint32_t, uint32_t>;

    Board();

    std::map<std::string, uint32_t, std::less<>> values;  // all that there are
    std::string vsfuDevice;
    std::map<uint32_t, uint32_t> hardIds;
    std::map<Pair, uint32_t> boms;
    std::map<Pair, Attribute> attributes;
    std::map<Triple, uint32_t> voltageKeys;  // unit, chip, rail
    std::map<Pair, Voltage> voltages;        // unit, key
    std::set<Pair> smiLos;                   // chip, port
    Spaces spaces;
    std::map<std::string, DescribedDevice, std::less<>> devices;
    std::vector<DescribedArea> reserved;
};

// On failure false, and a line that says why.
bool ReadBoard(const std::string &path, Board &board, std::string &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_BOARD_H
