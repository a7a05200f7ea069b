// From the file of a board's description to the description.
#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>

#include "device_board.h"
#include "json_members.h"

namespace devhost {
namespace {

constexpr const char *kTwice = "is described twice";

// Enters what a list describes. Blames the second one of a key.
template <typename Map, typename Value>
void Enter(const Members &from, Map &map, const typename Map::key_type &key, Value &&value) {
    if (!map.try_emplace(key, std::forward<Value>(value)).second) {
        from.Blame("", kTwice);
    }
}

void TakeCell(Members &from, Spaces &spaces, const DxrHostCell &at, const char *addressName) {
    if (!Spaces::IsValid(at)) {
        from.Blame(addressName, "is no address of that space");
    }
    // Those of a PCIe device's configuration are there before they are described.
    if (at.space != DXR_HOST_PCIE_CONFIG && spaces.Find(at) != nullptr) {
        from.Blame("", kTwice);
    }
    const uint64_t most = (uint64_t{1} << Spaces::BitsOf(at.space)) - 1;
    Cell &cell = spaces.Make(at);
    cell.value = static_cast<uint32_t>(from.Number("value", most));
    cell.initial = cell.value;
    cell.readOnly = static_cast<uint32_t>(from.Number("readOnly", most, 0));
    cell.clearOnWrite = static_cast<uint32_t>(from.Number("clearOnWrite", most, 0));
}

void TakeI2c(Members &from, Spaces &spaces) {
    constexpr uint32_t kByte = 0xFF;
    constexpr uint64_t kMostDevice = 127;
    constexpr uint64_t kMostOffset = 65535;
    DxrHostCell at{DXR_HOST_I2C, from.Number32("bus"),
                   static_cast<uint32_t>(from.Number("device", kMostDevice)), 0,
                   from.Number("offset", kMostOffset, 0)};
    const auto readOnly = static_cast<uint32_t>(from.Number("readOnly", kByte, 0));
    const JsonValue *const bytes = from.Find("bytes");
    if (bytes == nullptr || !bytes->IsList()) {
        from.Blame("bytes", "must be a list of bytes");
    }
    (void)spaces.cells[IdOf(at)];  // also one without bytes answers
    for (const JsonValue &byte : bytes->list) {
        const std::optional<uint64_t> number = NumberOf(byte);
        if (!number || *number > kByte) {
            from.Blame("bytes", "must be numbers up to 255");
        }
        if (!Spaces::IsValid(at)) {
            from.Blame("bytes", "must end at offset 65535");
        }
        if (spaces.Find(at) != nullptr) {
            from.Blame("", kTwice);
        }
        const auto value = static_cast<uint32_t>(*number);
        spaces.Make(at) = {.value = value, .initial = value, .readOnly = readOnly};
        ++at.address;
    }
}

void TakeBar(Members &from, Spaces &spaces, uint32_t device) {
    constexpr uint64_t kLeast = 16;
    const auto number = static_cast<uint32_t>(from.Number("number", kPcieBars - 1));
    const uint64_t bytes = from.Number("bytes", uint64_t{1} << 31);
    const uint32_t address = from.Number32("address");
    if (bytes < kLeast || (bytes & (bytes - 1)) != 0) {
        from.Blame("bytes", "must be a power of two from 16");
    }
    if (address % bytes != 0) {
        from.Blame("address", "must be a multiple of the size");
    }
    std::array<uint64_t, kPcieBars> &all = spaces.pcie[device].barBytes;
    if (all[number] != 0) {
        from.Blame("", kTwice);
    }
    for (uint32_t other = 0; other < kPcieBars; ++other) {
        const uint64_t begin = spaces.BarAddress(device, other);
        // Address 0 waits for a better one.
        const bool isPlaced = begin != 0 && address != 0;
        if (isPlaced && address < begin + all[other] && begin < address + bytes) {
            from.Blame("address", "lies in another BAR");
        }
    }
    all[number] = bytes;
    spaces.Make({DXR_HOST_PCIE_CONFIG, 0, device, 0, kPcieFirstBar + uint64_t{4} * number}) = {
        .value = address, .initial = address, .readOnly = static_cast<uint32_t>(bytes - 1)};
}

void TakePcie(Members &from, Spaces &spaces) {
    const auto bus = static_cast<uint32_t>(from.Number("bus", 255));
    const auto slot = static_cast<uint32_t>(from.Number("device", 31, 0));
    const auto function = static_cast<uint32_t>(from.Number("function", 7, 0));
    const uint32_t device = DXR_HOST_PCIE(bus, slot, function);
    const uint64_t vendor = from.Number("vendor", 0xFFFF);
    const auto id = static_cast<uint32_t>(from.Number("id", 0xFFFF) << 16 | vendor);
    if (spaces.pcie.contains(device)) {
        from.Blame("", kTwice);
    }
    PcieDevice &made = spaces.pcie[device];
    made.isPresent = from.Number("present", 1, 1) != 0;
    made.isFound = made.isPresent;
    spaces.Make({DXR_HOST_PCIE_CONFIG, 0, device, 0, 0}) = {
        .value = id, .initial = id, .readOnly = UINT32_MAX};
    // A base address register without a memory stays 0.
    for (uint32_t bar = 0; bar < kPcieBars; ++bar) {
        spaces.Make({DXR_HOST_PCIE_CONFIG, 0, device, 0, kPcieFirstBar + uint64_t{4} * bar}) = {
            .readOnly = UINT32_MAX};
    }
    from.ForEach("bars", [&](Members &each) { TakeBar(each, spaces, device); });
    std::set<uint64_t> described;
    from.ForEach("config", [&](Members &each) {
        const uint64_t offset = each.Number("offset", UINT32_MAX);
        TakeCell(each, spaces, {DXR_HOST_PCIE_CONFIG, 0, device, 0, offset}, "offset");
        if (!described.insert(offset).second) {
            each.Blame("", kTwice);
        }
    });
    from.ForEach("memory", [&](Members &each) {
        const DxrHostCell at{DXR_HOST_PCIE_MEMORY, 0, device,
                             static_cast<uint32_t>(each.Number("bar", kPcieBars - 1)),
                             each.Number("offset", UINT32_MAX)};
        if (!spaces.HasDevice(at)) {
            each.Blame("offset", "is not in that BAR");
        }
        TakeCell(each, spaces, at, "offset");
    });
}

void TakeVoltage(Members &from, Board &board) {
    const uint32_t unit = from.Number32("unit", 0);
    const uint32_t chip = from.Number32("chip", 0);
    const uint32_t rail = from.Number32("rail", 0);
    const uint32_t key = from.Number32("key");
    const uint32_t millivolts = from.Number32("millivolts");
    const uint32_t least = from.Number32("least", 0);
    const uint32_t most = from.Number32("most", UINT32_MAX);
    if (millivolts < least || millivolts > most) {
        from.Blame("millivolts", "must be within what the rail allows");
    }
    Enter(from, board.voltageKeys, {unit, chip, rail}, key);
    // Several rails may have one supply.
    const Voltage supply{millivolts, least, most};
    if (board.voltages.try_emplace({unit, key}, supply).first->second != supply) {
        from.Blame("key", "is that of another voltage");
    }
}

void TakeSpaces(Members &from, Spaces &spaces) {
    from.ForEach("registers", [&](Members &each) {
        TakeCell(each, spaces,
                 {DXR_HOST_REGISTERS, each.Number32("unit", 0), each.Number32("chip", 0), 0,
                  each.Number("address", UINT32_MAX)},
                 "address");
    });
    from.ForEach("i2c", [&](Members &each) { TakeI2c(each, spaces); });
    from.ForEach("mdio", [&](Members &each) {
        const uint64_t address =
            each.Number("device", 31, 0) << 16 | each.Number("register", 0xFFFF);
        TakeCell(each, spaces,
                 {DXR_HOST_MDIO, each.Number32("unit", 0), each.Number32("bus", 0),
                  static_cast<uint32_t>(each.Number("phy", 31)), address},
                 "register");
    });
    from.ForEach("pcie", [&](Members &each) { TakePcie(each, spaces); });
}

void TakeAll(Members &from, Board &board) {
    if (const JsonValue *const values = from.Find("board")) {
        Members members(*values, "/board");
        for (auto &[name, value] : board.values) {
            value = static_cast<uint32_t>(members.Number(name.c_str(), UINT32_MAX, value));
        }
        members.RefuseOthers();
    }
    board.vsfuDevice = from.Text("vsfuDevice", "");
    from.ForEach("hardIds", [&](Members &each) {
        Enter(each, board.hardIds, each.Number32("unit"), each.Number32("id"));
    });
    from.ForEach("boms", [&](Members &each) {
        Enter(each, board.boms, {each.Number32("unit"), each.Number32("part")},
              each.Number32("id"));
    });
    from.ForEach("attributes", [&](Members &each) {
        Enter(each, board.attributes, {each.Number32("device"), each.Number32("attribute")},
              Attribute{each.Number32("value"), each.Number("readOnly", 1, 0) != 0});
    });
    from.ForEach("voltages", [&](Members &each) { TakeVoltage(each, board); });
    from.ForEach("smiLos", [&](Members &each) {
        if (!board.smiLos.insert({each.Number32("chip"), each.Number32("port")}).second) {
            each.Blame("", kTwice);
        }
    });
    TakeSpaces(from, board.spaces);
    from.ForEach("devices", [&](Members &each) {
        const std::string path = each.Text("path", nullptr);
        const DescribedDevice device{each.Number("bytes", uint64_t{1} << 32),
                                     each.Text("text", "")};
        if (path.rfind("/dev/", 0) != 0 || path.size() == 5) {
            each.Blame("path", "must begin with /dev/");
        }
        // Slots ask for it by this text: another way to write it would not be found.
        if (std::filesystem::path(path).lexically_normal().native() != path || path.back() == '/') {
            each.Blame("path", "must have no empty part and no dots for one");
        }
        if (device.text.size() > device.bytes) {
            each.Blame("text", "is longer than the device");
        }
        Enter(each, board.devices, path, device);
    });
    from.ForEach("reserved", [&](Members &each) {
        board.reserved.push_back({each.Number32("number"), each.Text("name", nullptr),
                                  each.Number("address", UINT64_MAX, 0),
                                  each.Number("bytes", uint64_t{1} << 32)});
        const DescribedArea &area = board.reserved.back();
        if (area.bytes == 0) {
            each.Blame("bytes", "must not be 0");
        }
        if (area.bytes - 1 > UINT64_MAX - area.address) {
            each.Blame("address", "must leave room for the bytes below 2^64");
        }
        const auto isTwin = [&area](const DescribedArea &other) {
            return other.number == area.number || other.name == area.name;
        };
        if (std::any_of(board.reserved.begin(), board.reserved.end() - 1, isTwin)) {
            each.Blame("", kTwice);
        }
    });
}

}  // namespace

// The names that the file and DxrHostSetBoardValue know.
Board::Board()
    : values{{"master", 1},          {"runsInLs", 0},
             {"centralPurchase", 0}, {"issu", 0},
             {"productFamily", 2},   {"serviceType", 0},
             {"pcbVersion", 0},      {"localPcbVersion", 0},
             {"softPcbVersion", 0},  {"driverType", UINT32_MAX},
             {"resetMode", 0}} {
}

bool ReadBoard(const std::string &path, Board &board, std::string &error) {
    Board read;
    if (!ReadMembers(
            path, [&read](Members &members) { TakeAll(members, read); }, error)) {
        return false;
    }
    board = std::move(read);
    return true;
}

}  // namespace devhost
