// From the file of a board's description to the description.
#include <cerrno>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>

#include "device_board.h"
#include "json_file.h"

namespace devhost {
namespace {

using nlohmann::json;

// What is wrong with a file, and the member to blame.
struct Wrong {
    std::string text;
};

std::optional<uint64_t> NumberOf(const json &value) {
    if (value.is_number_unsigned()) {
        return value.get<uint64_t>();
    }
    if (!value.is_string()) {
        return std::nullopt;
    }
    const auto &text = value.get_ref<const std::string &>();
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = isHex ? text.substr(2) : text;
    const bool areDigits =
        !digits.empty() && digits.find_first_not_of(isHex ? "0123456789abcdefABCDEF"
                                                          : "0123456789") == std::string::npos;
    errno = 0;
    const uint64_t number = areDigits ? std::strtoull(digits.c_str(), nullptr, isHex ? 16 : 10) : 0;
    return areDigits && errno == 0 ? std::optional(number) : std::nullopt;
}

// The members of an object; each is asked for by name, and others are refused.
class Members {
  public:
    Members(const json &object, std::string place) : object_(object), place_(std::move(place)) {
        if (!object.is_object()) {
            Blame("", "must be an object");
        }
    }

    [[noreturn]] void Blame(const char *name, const char *why) const {
        const std::string where = place_ + (*name != '\0' ? "/" : "") + name;
        throw Wrong{where.empty() ? std::string("the description ") + why : where + ": " + why};
    }

    uint64_t Number(const char *name, uint64_t most, std::optional<uint64_t> otherwise = {}) {
        const json *const member = Find(name);
        if (member == nullptr && !otherwise) {
            Blame(name, "is missing");
        }
        const std::optional<uint64_t> number = member != nullptr ? NumberOf(*member) : otherwise;
        if (!number || *number > most) {
            Blame(name, "must be a whole number within its range");
        }
        return *number;
    }
    uint32_t Number32(const char *name, std::optional<uint64_t> otherwise = {}) {
        return static_cast<uint32_t>(Number(name, UINT32_MAX, otherwise));
    }

    std::string Text(const char *name, const char *otherwise) {
        const json *const member = Find(name);
        if (member == nullptr && otherwise == nullptr) {
            Blame(name, "is missing");
        }
        if (member != nullptr && !member->is_string()) {
            Blame(name, "must be a text");
        }
        return member != nullptr ? member->get<std::string>() : otherwise;
    }

    // Each object of a list, which may be absent.
    template <typename Take>
    void ForEach(const char *name, Take take) {
        const json *const list = Find(name);
        if (list == nullptr) {
            return;
        }
        if (!list->is_array()) {
            Blame(name, "must be a list");
        }
        for (size_t i = 0; i < list->size(); ++i) {
            Members each((*list)[i], place_ + "/" + name + "/" + std::to_string(i));
            take(each);
            each.RefuseOthers();
        }
    }

    const json *Find(const char *name) {
        known_.insert(name);
        const auto found = object_.find(name);
        return found != object_.end() ? &*found : nullptr;
    }

    void RefuseOthers() const {
        for (const auto &[name, value] : object_.items()) {
            if (!known_.contains(name)) {
                Blame(name.c_str(), "is not known");
            }
        }
    }

    [[nodiscard]] const std::string &Place() const { return place_; }

  private:
    const json &object_;
    const std::string place_;
    std::set<std::string> known_;
};

void TakeCell(Members &from, Spaces &spaces, const DxrHostCell &at, const char *addressName) {
    if (!Spaces::IsValid(at)) {
        from.Blame(addressName, "is no address of that space");
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
    DxrHostCell at{DXR_HOST_I2C, from.Number32("bus"), from.Number32("device"), 0,
                   from.Number("offset", UINT32_MAX, 0)};
    const auto readOnly = static_cast<uint32_t>(from.Number("readOnly", kByte, 0));
    const json *const bytes = from.Find("bytes");
    if (!Spaces::IsValid(at) || bytes == nullptr || !bytes->is_array()) {
        from.Blame("bytes", "must be a list of bytes, at an offset of a device below 128");
    }
    (void)spaces.cells[IdOf(at)];  // also one without bytes answers
    for (const json &byte : *bytes) {
        const std::optional<uint64_t> number = NumberOf(byte);
        if (!number || *number > kByte || !Spaces::IsValid(at)) {
            from.Blame("bytes", "must be numbers up to 255, up to offset 65535");
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
    spaces.pcie[device].barBytes[number] = bytes;
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
    PcieDevice &made = spaces.pcie[device];
    made = {};
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
    from.ForEach("config", [&](Members &each) {
        TakeCell(each, spaces,
                 {DXR_HOST_PCIE_CONFIG, 0, device, 0, each.Number("offset", UINT32_MAX)}, "offset");
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
    board.voltageKeys[{unit, chip, rail}] = key;
    board.voltages[{unit, key}] = {millivolts, least, most};
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
    if (const json *const values = from.Find("board")) {
        Members members(*values, "/board");
        for (auto &[name, value] : board.values) {
            value = members.Number32(name.c_str(), value);
        }
        members.RefuseOthers();
    }
    board.vsfuDevice = from.Text("vsfuDevice", "");
    from.ForEach("hardIds", [&](Members &each) {
        board.hardIds[each.Number32("unit")] = each.Number32("id");
    });
    from.ForEach("boms", [&](Members &each) {
        board.boms[{each.Number32("unit"), each.Number32("part")}] = each.Number32("id");
    });
    from.ForEach("attributes", [&](Members &each) {
        board.attributes[{each.Number32("device"), each.Number32("attribute")}] = {
            each.Number32("value"), each.Number("readOnly", 1, 0) != 0};
    });
    from.ForEach("voltages", [&](Members &each) { TakeVoltage(each, board); });
    from.ForEach("smiLos", [&](Members &each) {
        board.smiLos.insert({each.Number32("chip"), each.Number32("port")});
    });
    TakeSpaces(from, board.spaces);
    from.ForEach("devices", [&](Members &each) {
        const std::string path = each.Text("path", nullptr);
        const DescribedDevice device{each.Number("bytes", uint64_t{1} << 32),
                                     each.Text("text", "")};
        if (path.rfind("/dev/", 0) != 0 || path.size() == 5) {
            each.Blame("path", "must begin with /dev/");
        }
        if (device.text.size() > device.bytes) {
            each.Blame("text", "is longer than the device");
        }
        board.devices[path] = device;
    });
    from.ForEach("reserved", [&](Members &each) {
        board.reserved.push_back({each.Number32("number"), each.Text("name", nullptr),
                                  each.Number("address", UINT64_MAX, 0),
                                  each.Number("bytes", uint64_t{1} << 32)});
        if (board.reserved.back().bytes == 0) {
            each.Blame("bytes", "must not be 0");
        }
    });
    from.RefuseOthers();
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
    json file;
    if (!ReadJsonFile(path, file, error)) {
        return false;
    }
    try {
        Board read;
        Members members(file, "");
        TakeAll(members, read);
        board = std::move(read);
    } catch (const Wrong &wrong) {
        error = path + ": " + wrong.text;
        return false;
    }
    return true;
}

}  // namespace devhost
