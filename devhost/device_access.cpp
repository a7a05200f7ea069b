// Registers, I2C, MDIO and PCIe.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "device.h"

namespace devhost {
namespace {

constexpr uint32_t kAllOnes = 0xFFFFFFFF;
constexpr uint32_t kMdioParts = 32;  // PHYs of a bus, devices of a PHY
constexpr uint32_t kPcieConfigBytes = 4096;

uint32_t MaskOf(const Transfer &transfer) {
    return transfer.width == 4 ? UINT32_MAX : (uint32_t{1} << transfer.width * 8) - 1;
}

uint32_t Load(const Transfer &transfer, uint32_t unit) {
    const auto *const at =
        static_cast<const unsigned char *>(transfer.data) + size_t{unit} * transfer.width;
    switch (transfer.width) {
        case 1:
            return *at;
        case 2: {
            uint16_t value = 0;
            std::memcpy(&value, at, sizeof(value));
            return value;
        }
        default: {
            uint32_t value = 0;
            std::memcpy(&value, at, sizeof(value));
            return value;
        }
    }
}

void Store(const Transfer &transfer, uint32_t unit, uint32_t value) {
    auto *const at = static_cast<unsigned char *>(transfer.data) + size_t{unit} * transfer.width;
    switch (transfer.width) {
        case 1:
            *at = static_cast<unsigned char>(value);
            break;
        case 2: {
            const auto narrow = static_cast<uint16_t>(value);
            std::memcpy(at, &narrow, sizeof(narrow));
            break;
        }
        default:
            std::memcpy(at, &value, sizeof(value));
    }
}

// Moves the units of a transfer. With the lock; gives the first value.
uint32_t Move(Spaces &spaces, const Transfer &transfer, const Verdict &verdict) {
    const uint32_t step = Spaces::StepOf(transfer.first.space);
    // First what may fail without memory.
    DxrHostCell at = transfer.first;
    for (uint32_t unit = 0; unit < transfer.count; ++unit, at.address += step) {
        (void)spaces.Make(at);
    }
    at = transfer.first;
    uint32_t first = 0;
    for (uint32_t unit = 0; unit < transfer.count; ++unit) {
        uint32_t flip = 0;
        for (size_t i = 0; i < verdict.flipCount; ++i) {
            flip ^= verdict.flips[i].unit == unit ? verdict.flips[i].mask & MaskOf(transfer) : 0;
        }
        Cell &cell = spaces.Make(at);
        uint32_t value = 0;
        if (transfer.isWrite) {
            value = Load(transfer, unit) ^ flip;
            cell.Write(MaskOf(transfer) << transfer.shift, value << transfer.shift);
            ++cell.writes;
        } else {
            value = ((cell.value >> transfer.shift) & MaskOf(transfer)) ^ flip;
            Store(transfer, unit, value);
            ++cell.reads;
        }
        first = unit == 0 ? value : first;
        at.address += step;
    }
    return first;
}

// Waits until the bus is free, then for the delay of the access. Plain frames: a task may be ended
// in here.
uint32_t WaitFor(const Call &call, MdioBus *bus, uint64_t delayMs) {
    Scheduler &scheduler = call->scheduler;
    const auto mustWait = [bus] { return bus != nullptr && bus->isBusy && !bus->isParallel; };
    if (delayMs == 0) {
        const SchedulerLock lock = scheduler.Lock();
        if (!mustWait()) {
            return 0;
        }
    }
    Task &task = scheduler.Current(call.Thread(), call.At());
    const WaitReason busReason(call.At(), "a free MDIO bus");
    const WaitReason delayReason(call.At(), "an access that takes %llu ms",
                                 static_cast<unsigned long long>(delayMs));
    SchedulerLock lock = scheduler.Lock();
    while (mustWait()) {
        if (scheduler.Wait(lock, task, bus->waiting, kForever, busReason) == Woken::kEnded) {
            return ECANCELED;
        }
    }
    if (delayMs == 0) {
        return 0;
    }
    const bool holdsBus = bus != nullptr && !bus->isBusy;
    if (holdsBus) {
        bus->isBusy = true;
    }
    const uint64_t deadline = scheduler.clock.NowNs() + delayMs * kNsPerMs;
    const Woken woken = scheduler.Delay(lock, task, deadline, delayReason);
    if (holdsBus) {
        bus->isBusy = false;
        scheduler.WakeAll(bus->waiting);
    }
    return woken == Woken::kEnded ? ECANCELED : 0;
}

void TellWatchers(DeviceService &state, const Transfer &transfer, uint32_t value, uint32_t result) {
    std::array<Rules::Watcher, Rules::kMostWatches> watchers{};
    size_t count = 0;
    {
        const std::lock_guard lock(state.mutex);
        count = state.rules.WatchersOf(transfer, watchers);
    }
    const DxrHostAccess access{transfer.first, transfer.count, transfer.isWrite ? 1U : 0U,
                               result == 0 ? value : 0, result};
    for (size_t i = 0; i < count; ++i) {
        watchers[i].watch(&access, watchers[i].user);
    }
}

// The whole access of a slot.
uint32_t Perform(const Call &call, const Transfer &transfer) {
    DeviceService &state = DeviceOf(*call);
    Verdict verdict;
    MdioBus *bus = nullptr;
    try {
        const std::lock_guard lock(state.mutex);
        verdict.status = state.board.spaces.WhyAbsent(transfer.first);
        if (verdict.status == 0) {
            verdict = state.rules.Decide(transfer);
            if (transfer.first.space == DXR_HOST_MDIO) {
                bus = &state.mdioBuses[{transfer.first.unit, transfer.first.chip}];
            }
        }
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    uint32_t result = WaitFor(call, bus, verdict.delayMs);
    if (result == ECANCELED) {
        return result;
    }
    uint32_t value = 0;
    try {
        const std::lock_guard lock(state.mutex);
        // The device may have gone meanwhile.
        const uint32_t absent = state.board.spaces.WhyAbsent(transfer.first);
        result = verdict.status != 0 ? verdict.status : absent;
        if (result == 0) {
            value = Move(state.board.spaces, transfer, verdict);
        }
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    TellWatchers(state, transfer, value, result);
    call->scheduler.Point(call.Thread());
    return result;
}

// --- Slots: registers

// An access to a register: the address and where the value is.
template <typename Value>
uint32_t Register(const Call &call, uint32_t unit, uint32_t chip, uint32_t address, Value *value,
                  bool isWrite) {
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<Value>(call, value)) {
        return EINVAL;
    }
    if (address % sizeof(Value) != 0) {
        call.Misuse(kDevice, "a misaligned address of a register");
        return EINVAL;
    }
    const uint32_t within = address % sizeof(uint32_t);
    return Perform(call, {.first = {DXR_HOST_REGISTERS, unit, chip, 0, address - within},
                          .isWrite = isWrite,
                          .width = sizeof(Value),
                          .data = value,
                          .shift = within * 8});
}

uint32_t ReadReg(uint32_t unit, uint32_t chip, uint32_t address, void *value) {
    const Call call("DXR_ReadReg");
    return Register(call, unit, chip, address, static_cast<uint32_t *>(value), false);
}

uint32_t WriteReg(uint32_t unit, uint32_t chip, uint32_t address, uint32_t value) {
    const Call call("DXR_WriteReg");
    return Register(call, unit, chip, address, &value, true);
}

uint32_t ReadReg16(uint32_t unit, uint32_t chip, uint32_t address, void *value) {
    const Call call("DXR_ReadReg16");
    return Register(call, unit, chip, address, static_cast<uint16_t *>(value), false);
}

uint32_t WriteReg16(uint32_t unit, uint32_t chip, uint32_t address, uint16_t value) {
    const Call call("DXR_WriteReg16");
    return Register(call, unit, chip, address, &value, true);
}

// --- Slots: I2C

uint32_t TransferI2c(const Call &call, void *request, bool isWrite) {
    constexpr uint64_t kOffsets = 65536;
    if (!call) {
        return ECANCELED;
    }
    auto *const record = RecordAt<DxrHostI2cRequest>(call, request);
    if (record == nullptr) {
        return EINVAL;
    }
    // Others may write to the record meanwhile, also the transfer itself.
    const DxrHostI2cRequest given = *record;
    if (given.data == nullptr && given.bytes != 0) {
        call.Misuse(kDevice, "a null pointer");
        return EINVAL;
    }
    record->done = 0;
    if (uint64_t{given.offset} + given.bytes > kOffsets) {
        return ERANGE;
    }
    const uint32_t result =
        Perform(call, {.first = {DXR_HOST_I2C, given.bus, given.device, 0, given.offset},
                       .isWrite = isWrite,
                       .width = 1,
                       .data = given.data,
                       .count = given.bytes});
    record->done = result == 0 ? given.bytes : 0;
    return result;
}

uint32_t ReadI2c(void *request) {
    const Call call("DXR_ReadI2c");
    return TransferI2c(call, request, false);
}

uint32_t WriteI2c(void *request) {
    const Call call("DXR_WriteI2c");
    return TransferI2c(call, request, true);
}

// --- Slots: MDIO

uint32_t TransferMdio(const Call &call, const DxrHostCell &at, uint8_t device, uint16_t *value,
                      bool isWrite) {
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<uint16_t>(call, value)) {
        return EINVAL;
    }
    if (at.part >= kMdioParts || device >= kMdioParts) {
        call.Misuse(kDevice, "a PHY or an MDIO device above 31");
        return EINVAL;
    }
    const uint32_t result =
        Perform(call, {.first = at, .isWrite = isWrite, .width = sizeof(uint16_t), .data = value});
    if (result == ENODEV && !isWrite) {
        *value = static_cast<uint16_t>(kAllOnes);
    }
    return result;
}

uint32_t WriteMdio(uint32_t unit, uint32_t bus, uint8_t phy, uint8_t device, uint16_t number,
                   uint16_t value) {
    const Call call("DXR_WriteMdio");
    const DxrHostCell at{DXR_HOST_MDIO, unit, bus, phy, uint64_t{device} << 16 | number};
    return TransferMdio(call, at, device, &value, true);
}

uint32_t ReadMdio(uint32_t unit, uint32_t bus, uint8_t phy, uint8_t device, uint16_t number,
                  void *value) {
    const Call call("DXR_ReadMdio");
    const DxrHostCell at{DXR_HOST_MDIO, unit, bus, phy, uint64_t{device} << 16 | number};
    return TransferMdio(call, at, device, static_cast<uint16_t *>(value), false);
}

uint32_t EnableMdioParallel(uint32_t unit, uint32_t bus, uint16_t on) {
    const Call call("DXR_EnableMdioParallel");
    if (!call) {
        return ECANCELED;
    }
    if (on > 1) {
        call.Misuse(kDevice, "neither on nor off");
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    MdioBus *found = nullptr;
    try {
        const std::lock_guard lock(state.mutex);
        found = &state.mdioBuses[{unit, bus}];
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    {
        const SchedulerLock lock = call->scheduler.Lock();
        found->isParallel = on != 0;
        call->scheduler.WakeAll(found->waiting);
    }
    call->scheduler.Point(call.Thread());
    return 0;
}

// --- Slots: PCIe

// Finds again what is present among some devices. Tells whether there is anything.
template <typename IsMeant>
uint32_t FindPcie(const Call &call, IsMeant isMeant) {
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    uint32_t result = ENODEV;
    for (auto &[number, device] : state.board.spaces.pcie) {
        if (isMeant(number)) {
            device.isFound = device.isPresent;
            result = device.isFound ? 0 : result;
        }
    }
    return result;
}

uint32_t ScanPcie(uint32_t bus) {
    const Call call("DXR_ScanPcie");
    return FindPcie(call, [bus](uint32_t number) { return number >> 8 == bus; });
}

uint32_t ProbePcie(uint32_t bus, uint32_t device, uint32_t function) {
    const Call call("DXR_ProbePcie");
    return FindPcie(call, [&](uint32_t number) {
        return number >> 8 == bus && ((number >> 3) & 0x1F) == device && (number & 7) == function;
    });
}

uint32_t PcieConfig(const Call &call, uint32_t device, uint32_t offset, uint32_t *value,
                    bool isWrite) {
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<uint32_t>(call, value)) {
        return EINVAL;
    }
    if (offset % sizeof(uint32_t) != 0 || offset >= kPcieConfigBytes) {
        call.Misuse(kDevice, "no offset of a PCIe configuration space");
        return EINVAL;
    }
    const uint32_t result = Perform(call, {.first = {DXR_HOST_PCIE_CONFIG, 0, device, 0, offset},
                                           .isWrite = isWrite,
                                           .width = sizeof(uint32_t),
                                           .data = value});
    if (result == ENODEV && !isWrite) {
        *value = kAllOnes;
    }
    return result;
}

uint32_t GetPcieConfigRegValue(uint32_t device, uint32_t offset, void *value) {
    const Call call("DXR_GetPcieConfigRegValue");
    return PcieConfig(call, device, offset, static_cast<uint32_t *>(value), false);
}

uint32_t SetPcieConfigRegValue(uint32_t device, uint32_t offset, uint32_t value) {
    const Call call("DXR_SetPcieConfigRegValue");
    return PcieConfig(call, device, offset, &value, true);
}

uint32_t GetDeviceBar(uint32_t device, uint32_t bar, void *address, void *bytes) {
    const Call call("DXR_GetDeviceBar");
    return Tell<uint64_t, 2>(call, {address, bytes}, [=](const DeviceService &state, auto &to) {
        const Spaces &spaces = state.board.spaces;
        const auto found = spaces.pcie.find(device);
        if (found == spaces.pcie.end() || bar >= kPcieBars || found->second.barBytes[bar] == 0) {
            return uint32_t{ENOENT};
        }
        to = {spaces.BarAddress(device, bar), found->second.barBytes[bar]};
        return 0U;
    });
}

// The memory of a device at an address of the bus.
bool FindMemory(DeviceService &state, uint32_t device, uint64_t address, DxrHostCell &cell) {
    const std::lock_guard lock(state.mutex);
    const Spaces &spaces = state.board.spaces;
    const auto found = spaces.pcie.find(device);
    for (uint32_t bar = 0; bar < kPcieBars && found != spaces.pcie.end(); ++bar) {
        const uint64_t begin = spaces.BarAddress(device, bar);
        if (address >= begin && address - begin < found->second.barBytes[bar]) {
            cell = {DXR_HOST_PCIE_MEMORY, 0, device, bar, address - begin};
            return true;
        }
    }
    return false;
}

uint32_t PcieMemory(const Call &call, uint32_t device, const void *address, uint32_t *value,
                    bool isWrite) {
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<uint32_t>(call, value)) {
        return EINVAL;
    }
    const auto number = reinterpret_cast<uintptr_t>(address);
    DxrHostCell cell{};
    DeviceService &state = DeviceOf(*call);
    const DxrHostCell whole{DXR_HOST_PCIE_CONFIG, 0, device, 0, 0};
    uint32_t absent = 0;
    {
        const std::lock_guard lock(state.mutex);
        absent = state.board.spaces.WhyAbsent(whole);
    }
    if (absent != 0) {
        *value = isWrite ? *value : kAllOnes;
        return absent;
    }
    if (number % sizeof(uint32_t) != 0 || !FindMemory(state, device, number, cell)) {
        call.Misuse(kDevice, "an address that is in no BAR of the device");
        return EFAULT;
    }
    const uint32_t result = Perform(
        call, {.first = cell, .isWrite = isWrite, .width = sizeof(uint32_t), .data = value});
    if (result == ENODEV && !isWrite) {
        *value = kAllOnes;
    }
    return result;
}

uint32_t ReadPcie(uint32_t device, void *address, void *value) {
    const Call call("DXR_ReadPcie");
    return PcieMemory(call, device, address, static_cast<uint32_t *>(value), false);
}

uint32_t WritePcie(uint32_t device, void *address, uint32_t value) {
    const Call call("DXR_WritePcie");
    return PcieMemory(call, device, address, &value, true);
}

// Something with a cell for a function of the host's own interface: with the lock, and when it is
// of a device that is described or can be made.
template <typename Use>
bool WithCell(DxrHost *host, const DxrHostCell *cell, Use use) {
    const ApiCall call(host);
    if (!call || cell == nullptr || !Spaces::IsValid(*cell)) {
        return false;
    }
    return Guard(false, [&] {
        DeviceService &state = DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        Spaces &spaces = state.board.spaces;
        return (cell->space < DXR_HOST_PCIE_CONFIG || spaces.HasDevice(*cell)) && use(spaces);
    });
}

// What a cell is that is there, though perhaps never written.
bool Look(const Spaces &spaces, const DxrHostCell &cell, Cell &seen) {
    const Cell *const found = spaces.Find(cell);
    seen = found != nullptr ? *found : Cell{};
    return spaces.HasDevice(cell);
}

}  // namespace

void FillDeviceAccess(DxrDevHooks &hooks) {
    hooks.readReg = Guarded<ReadReg>;
    hooks.writeReg = Guarded<WriteReg>;
    hooks.readReg16 = Guarded<ReadReg16>;
    hooks.writeReg16 = Guarded<WriteReg16>;
    hooks.readI2c = Guarded<ReadI2c>;
    hooks.writeI2c = Guarded<WriteI2c>;
    hooks.readMdio = Guarded<ReadMdio>;
    hooks.writeMdio = Guarded<WriteMdio>;
    hooks.enableMdioParallel = Guarded<EnableMdioParallel>;
    hooks.scanPcie = Guarded<ScanPcie>;
    hooks.probePcie = Guarded<ProbePcie>;
    hooks.getPcieConfigRegValue = Guarded<GetPcieConfigRegValue>;
    hooks.setPcieConfigRegValue = Guarded<SetPcieConfigRegValue>;
    hooks.getDeviceBar = Guarded<GetDeviceBar>;
    hooks.readPcie = Guarded<ReadPcie>;
    hooks.writePcie = Guarded<WritePcie>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::DeviceService;
using devhost::Spaces;

bool DxrHostSetPciePresent(DxrHost *host, uint32_t device, bool isPresent) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    DeviceService &state = devhost::DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.board.spaces.pcie.find(device);
    if (found == state.board.spaces.pcie.end()) {
        return false;
    }
    found->second.isPresent = isPresent;
    if (!isPresent) {
        found->second.isFound = false;  // what comes back must be found anew
    }
    return true;
}

bool DxrHostPeekCell(DxrHost *host, const DxrHostCell *cell, uint32_t *value) {
    devhost::Cell seen;
    const bool isThere =
        value != nullptr && devhost::WithCell(host, cell, [&](const Spaces &spaces) {
            return devhost::Look(spaces, *cell, seen);
        });
    if (isThere) {
        *value = seen.value;
    }
    return isThere;
}

bool DxrHostPokeCell(DxrHost *host, const DxrHostCell *cell, uint32_t value) {
    return devhost::WithCell(host, cell, [&](Spaces &spaces) {
        const uint64_t all = (uint64_t{1} << Spaces::BitsOf(cell->space)) - 1;
        spaces.Make(*cell).value = static_cast<uint32_t>(value & all);
        return true;
    });
}

bool DxrHostShapeCell(DxrHost *host, const DxrHostCell *cell, uint32_t readOnly,
                      uint32_t clearOnWrite) {
    return devhost::WithCell(host, cell, [&](Spaces &spaces) {
        devhost::Cell &made = spaces.Make(*cell);
        made.readOnly = readOnly;
        made.clearOnWrite = clearOnWrite;
        return true;
    });
}

bool DxrHostGetCellCounts(DxrHost *host, const DxrHostCell *cell, uint64_t *reads,
                          uint64_t *writes) {
    devhost::Cell seen;
    const bool isThere = reads != nullptr && writes != nullptr &&
                         devhost::WithCell(host, cell, [&](const Spaces &spaces) {
                             return devhost::Look(spaces, *cell, seen);
                         });
    if (isThere) {
        *reads = seen.reads;
        *writes = seen.writes;
    }
    return isThere;
}

uint32_t DxrHostWatchCells(DxrHost *host, const DxrHostCell *first, uint64_t count,
                           DxrHostWatch watch, void *user) {
    const ApiCall call(host);
    if (!call || first == nullptr || watch == nullptr) {
        return 0;
    }
    return devhost::Guard(0U, [&] {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        return state.rules.AddWatch(*first, count, watch, user);
    });
}

uint32_t DxrHostFaultCells(DxrHost *host, const DxrHostCell *first, uint64_t count,
                           const DxrHostCellFault *fault) {
    const ApiCall call(host);
    constexpr uint32_t kBoth = DXR_HOST_FAULT_READS | DXR_HOST_FAULT_WRITES;
    if (!call || first == nullptr || fault == nullptr || fault->size != sizeof(*fault) ||
        fault->effect > DXR_HOST_FAULT_FLIP || fault->accesses == 0 || fault->accesses > kBoth) {
        return 0;
    }
    return devhost::Guard(0U, [&] {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        return state.rules.AddFault(*first, count, *fault);
    });
}

bool DxrHostEndRule(DxrHost *host, uint32_t number) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    DeviceService &state = devhost::DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.rules.End(number);
}
