#include "device_spaces.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "host.h"

namespace devhost {
namespace {

constexpr uint32_t kPcieConfigBytes = 4096;
constexpr uint32_t kI2cDevices = 128;
constexpr uint32_t kPhys = 32;
constexpr uint32_t kMdioRegisters = kPhys << 16;  // of all devices of a PHY
constexpr uint64_t kOffsets = 65536;
constexpr uint32_t kBarFlags = 0xF;

}  // namespace

void Cell::Write(uint32_t mask, uint32_t written) {
    const uint32_t open = mask & ~readOnly;
    const uint32_t plain = open & ~clearOnWrite;
    value = (value & ~plain) | (written & plain);
    value &= ~(written & open & clearOnWrite);
}

uint32_t Spaces::BitsOf(uint32_t space) {
    switch (space) {
        case DXR_HOST_I2C:
            return 8;
        case DXR_HOST_MDIO:
            return 16;
        default:
            return 32;
    }
}

uint32_t Spaces::StepOf(uint32_t space) {
    return BitsOf(space) == 32 ? 4 : 1;
}

bool Spaces::IsValid(const DxrHostCell &cell) {
    if (cell.address % StepOf(cell.space) != 0) {
        return false;
    }
    switch (cell.space) {
        case DXR_HOST_REGISTERS:
            return cell.part == 0 && cell.address <= UINT32_MAX;
        case DXR_HOST_I2C:
            return cell.part == 0 && cell.chip < kI2cDevices && cell.address < kOffsets;
        case DXR_HOST_MDIO:
            return cell.part < kPhys && cell.address < kMdioRegisters;
        case DXR_HOST_PCIE_CONFIG:
            return cell.unit == 0 && cell.part == 0 && cell.address < kPcieConfigBytes;
        case DXR_HOST_PCIE_MEMORY:
            return cell.unit == 0 && cell.part < kPcieBars;
        default:
            return false;
    }
}

bool Spaces::HasDevice(const DxrHostCell &cell) const {
    switch (cell.space) {
        case DXR_HOST_REGISTERS:
            return true;
        case DXR_HOST_PCIE_CONFIG:
            return pcie.contains(cell.chip);
        case DXR_HOST_PCIE_MEMORY: {
            const auto device = pcie.find(cell.chip);
            return device != pcie.end() && cell.address < device->second.barBytes[cell.part];
        }
        default:
            return cells.contains(IdOf(cell));
    }
}

uint32_t Spaces::WhyAbsent(const DxrHostCell &cell) const {
    switch (cell.space) {
        case DXR_HOST_REGISTERS:
            return held.contains({cell.unit, cell.chip}) ? EBUSY : 0;
        case DXR_HOST_I2C:
            return HasDevice(cell) ? 0 : ENXIO;
        case DXR_HOST_MDIO:
            return HasDevice(cell) ? 0 : ENODEV;
        default: {
            const auto device = pcie.find(cell.chip);
            const bool answers = device != pcie.end() && device->second.isPresent &&
                                 device->second.isFound && HasDevice(cell);
            return answers ? 0 : ENODEV;
        }
    }
}

const Cell *Spaces::Find(const DxrHostCell &cell) const {
    const auto space = cells.find(IdOf(cell));
    if (space == cells.end()) {
        return nullptr;
    }
    const auto found = space->second.find(cell.address);
    return found != space->second.end() ? &found->second : nullptr;
}

Cell &Spaces::Make(const DxrHostCell &cell) {
    return cells[IdOf(cell)][cell.address];
}

void Spaces::ResetChip(uint32_t unit, uint32_t chip) {
    const auto space = cells.find({DXR_HOST_REGISTERS, unit, chip, 0});
    if (space != cells.end()) {
        for (auto &[address, cell] : space->second) {
            cell.value = cell.initial;
        }
    }
}

uint64_t Spaces::BarAddress(uint32_t device, uint32_t bar) const {
    const Cell *const cell =
        Find({DXR_HOST_PCIE_CONFIG, 0, device, 0, kPcieFirstBar + uint64_t{4} * bar});
    return cell != nullptr ? cell->value & ~kBarFlags : 0;
}

// --- Rules

Rules::Rules(Host &host)
    : host_(host),
      points_{Points{host.chance.Point("device.register.delay"),
                     host.chance.Point("device.register.fail"),
                     host.chance.Point("device.register.flip")},
              Points{host.chance.Point("device.i2c.delay"), host.chance.Point("device.i2c.fail"),
                     host.chance.Point("device.i2c.flip")},
              Points{host.chance.Point("device.mdio.delay"), host.chance.Point("device.mdio.fail"),
                     host.chance.Point("device.mdio.flip")},
              Points{host.chance.Point("device.pcie.delay"), host.chance.Point("device.pcie.fail"),
                     host.chance.Point("device.pcie.flip")}},
      bits_(host.chance.StreamOf("device.bits")) {
}

bool Rules::Rule::Touches(const Transfer &transfer) const {
    const uint64_t begin = transfer.first.address;
    const uint64_t last =
        begin + uint64_t{std::max(transfer.count, 1U)} * Spaces::StepOf(transfer.first.space) - 1;
    return id == IdOf(transfer.first) && count != 0 && last >= first && begin <= first + count - 1;
}

uint32_t Rules::AddWatch(const DxrHostCell &first, uint64_t count, DxrHostWatch watch, void *user) {
    const auto watches = std::count_if(rules_.begin(), rules_.end(), [](const auto &each) {
        return each.second.watch != nullptr;
    });
    if (static_cast<size_t>(watches) >= kMostWatches) {
        return 0;
    }
    const uint32_t number = lastNumber_ + 1;
    rules_.emplace(number, Rule{IdOf(first), first.address, std::min(count, ~first.address), watch,
                                user, DxrHostCellFault{}, nullptr});
    return lastNumber_ = number;
}

uint32_t Rules::AddFault(const DxrHostCell &first, uint64_t count, const DxrHostCellFault &fault) {
    const uint32_t number = lastNumber_ + 1;
    auto point =
        std::make_unique<FaultPoint>(host_.options.seed, "device.rule." + std::to_string(number));
    if (fault.nth != 0) {
        point->FailNth(fault.nth, fault.onwards != 0);
    } else {
        point->FailShare(fault.millionths);
    }
    rules_.emplace(number, Rule{IdOf(first), first.address, std::min(count, ~first.address),
                                nullptr, nullptr, fault, std::move(point)});
    return lastNumber_ = number;
}

bool Rules::End(uint32_t number) {
    return rules_.erase(number) != 0;
}

bool Rules::Holds(const CodeRange &code) const {
    return std::any_of(rules_.begin(), rules_.end(), [&code](const auto &each) {
        return code.Holds(reinterpret_cast<const void *>(each.second.watch));
    });
}

void Rules::Flip(Verdict &verdict, uint32_t unit, uint32_t mask) {
    for (size_t i = 0; i < verdict.flipCount; ++i) {
        if (verdict.flips[i].unit == unit) {
            verdict.flips[i].mask ^= mask;
            return;
        }
    }
    if (verdict.flipCount < Verdict::kMostFlips) {
        verdict.flips[verdict.flipCount++] = {unit, mask};
    }
}

uint32_t Rules::AnyBit(const Transfer &transfer) {
    return uint32_t{1} << bits_.Below(uint64_t{transfer.width} * 8);
}

Verdict Rules::Decide(const Transfer &transfer) {
    Verdict verdict;
    Points &points = points_[std::min<size_t>(transfer.first.space, points_.size() - 1)];
    if (points.delay.Fails()) {
        verdict.delayMs += DXR_HOST_DELAY_MS;
    }
    if (points.fail.Fails()) {
        verdict.status = EIO;
    }
    if (points.flip.Fails() && transfer.count != 0) {
        const auto unit = static_cast<uint32_t>(bits_.Below(transfer.count));
        Flip(verdict, unit, AnyBit(transfer));
    }
    const uint32_t direction = transfer.isWrite ? DXR_HOST_FAULT_WRITES : DXR_HOST_FAULT_READS;
    for (auto &[number, rule] : rules_) {
        if (rule.point == nullptr || (rule.fault.accesses & direction) == 0 ||
            !rule.Touches(transfer) || !rule.point->Fails()) {
            continue;
        }
        switch (rule.fault.effect) {
            case DXR_HOST_FAULT_FAIL:
                verdict.status = rule.fault.amount != 0 ? rule.fault.amount : EIO;
                break;
            case DXR_HOST_FAULT_DELAY:
                verdict.delayMs += rule.fault.amount;
                break;
            default: {
                const uint64_t begin = transfer.first.address;
                const uint64_t at = rule.first > begin ? rule.first - begin : 0;
                // The bits of the cell, of which the unit may be a part.
                Flip(verdict, static_cast<uint32_t>(at / Spaces::StepOf(transfer.first.space)),
                     rule.fault.amount != 0 ? rule.fault.amount >> transfer.shift
                                            : AnyBit(transfer));
                break;
            }
        }
    }
    return verdict;
}

size_t Rules::WatchersOf(const Transfer &transfer, std::array<Watcher, kMostWatches> &found) const {
    size_t count = 0;
    for (const auto &[number, rule] : rules_) {
        if (rule.watch != nullptr && rule.Touches(transfer)) {
            found[count++] = {rule.watch, rule.user};
        }
    }
    return count;
}

}  // namespace devhost
