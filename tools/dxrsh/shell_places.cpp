#include "shell_places.h"

#include <fmt/format.h>

#include <array>
#include <limits>
#include <utility>

#include "errors.h"
#include "say.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;

constexpr std::array<std::pair<const char *, uint32_t>, 5> kUnits = {{
    {"mpu", DXR_HOST_UNIT_MPU},
    {"lpu", DXR_HOST_UNIT_LPU},
    {"sfu", DXR_HOST_UNIT_SFU},
    {"devm", DXR_HOST_UNIT_DEVM},
    {"np", DXR_HOST_UNIT_NP},
}};

constexpr const char *kCellForms =
    "UNIT:CHIP:ADDRESS, i2c:BUS:DEVICE:OFFSET, mdio:UNIT:BUS:PHY:DEVICE:REGISTER, "
    "pcie:DEVICE:OFFSET or bar:DEVICE:BAR:OFFSET";

}  // namespace

std::string UnitKind(uint32_t kind) {
    for (const auto &[name, number] : kUnits) {
        if (number == kind) {
            return name;
        }
    }
    return fmt::format("unit {}", kind);
}

std::string UnitText(const DxrHostUnit &unit) {
    return fmt::format("{}:{}", UnitKind(unit.kind), unit.number);
}

DxrHostUnit RequireUnit(const std::string &word) {
    const size_t colon = word.find(':');
    for (const auto &[name, number] : kUnits) {
        if (colon != std::string::npos && word.substr(0, colon) == name) {
            return {number, Require32(word.substr(colon + 1), word)};
        }
    }
    throw UsageError(fmt::format("'{}' is no unit, such as mpu:0, lpu:3, sfu:1, devm:0, np:2",
                                 Printable(word, kShownWidth)));
}

Cell::Cell(const std::string &word) : word_(word) {
    const std::vector<std::string> pieces = Cut();
    const auto is = [&pieces](const char *space, size_t count) {
        return pieces[0] == space && pieces.size() == count;
    };
    const auto number = [&pieces, this](size_t i) { return Require32(pieces[i], word_); };
    if (is("i2c", 4)) {
        cell_ = {DXR_HOST_I2C, number(1), number(2), 0, number(3)};
    } else if (is("mdio", 6)) {
        cell_ = {DXR_HOST_MDIO, number(1), number(2), number(3),
                 uint64_t{number(4)} * 65536 + number(5)};
    } else if (is("pcie", 3)) {
        cell_ = {DXR_HOST_PCIE_CONFIG, 0, number(1), 0, number(2)};
    } else if (is("bar", 4)) {
        cell_ = {DXR_HOST_PCIE_MEMORY, 0, number(1), number(2), number(3)};
    } else if (pieces.size() == 3 && LongNumber(pieces[0])) {
        cell_ = {DXR_HOST_REGISTERS, number(0), number(1), 0, number(2)};
    } else {
        throw UsageError(
            fmt::format("'{}' is none of {}", Printable(word, kShownWidth), kCellForms));
    }
    head_ = word.substr(0, word.rfind(':') + 1);
    if (cell_.space == DXR_HOST_MDIO) {
        // The last two numbers make the address.
        head_ = word.substr(0, word.rfind(':', word.rfind(':') - 1) + 1);
    }
}

std::string Cell::Name() const {
    if (cell_.space == DXR_HOST_MDIO) {
        return fmt::format("{}{}:{:#x}", head_, cell_.address / 65536, cell_.address % 65536);
    }
    return fmt::format("{}{:#x}", head_, cell_.address);
}

void Cell::Next() {
    const bool isByteOrWord = cell_.space == DXR_HOST_I2C || cell_.space == DXR_HOST_MDIO;
    cell_.address += isByteOrWord ? 1 : 4;
}

uint32_t Cell::Most() const {
    return cell_.space == DXR_HOST_I2C    ? 0xFF
           : cell_.space == DXR_HOST_MDIO ? 0xFFFF
                                          : std::numeric_limits<uint32_t>::max();
}

std::vector<std::string> Cell::Cut() const {
    std::vector<std::string> pieces(1);
    for (const char c : word_) {
        if (c == ':') {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

}  // namespace dxrsh
