// Registers and their like: sparse spaces of cells, and what modules are made to meet there.
#ifndef DXR_DEVHOST_DEVICE_SPACES_H
#define DXR_DEVHOST_DEVICE_SPACES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "chance.h"
#include "dxr_devhost/device.h"
#include "place.h"
#include "scheduler.h"

namespace devhost {

class Host;

struct Cell {
    uint32_t value = 0;
    uint32_t initial = 0;  // by the board's description
    uint32_t readOnly = 0;
    uint32_t clearOnWrite = 0;
    uint64_t reads = 0;
    uint64_t writes = 0;

    // A write of the bits of a mask.
    void Write(uint32_t mask, uint32_t written);
};

struct SpaceId {
    uint32_t space;
    uint32_t unit;
    uint32_t chip;
    uint32_t part;

    auto operator<=>(const SpaceId &) const = default;  // NOLINT(modernize-use-nullptr)
};
inline SpaceId IdOf(const DxrHostCell &cell) {
    return {cell.space, cell.unit, cell.chip, cell.part};
}

constexpr uint32_t kPcieBars = 6;
constexpr uint32_t kPcieFirstBar = 0x10;  // its offset in the configuration space

struct PcieDevice {
    std::array<uint64_t, kPcieBars> barBytes{};
    bool isPresent = true;
    bool isFound = true;
};

// What is where. The caller guards it.
class Spaces {
  public:
    // Tells whether a cell can be there: its space, and an address in its range.
    static bool IsValid(const DxrHostCell &cell);
    static uint32_t BitsOf(uint32_t space);
    // From the address of a cell to that of the next one.
    static uint32_t StepOf(uint32_t space);

    // Why nobody answers there: a number of <errno.h>; 0 when there is somebody.
    [[nodiscard]] uint32_t WhyAbsent(const DxrHostCell &cell) const;

    // Tells whether there is such a device, whether it answers or not.
    [[nodiscard]] bool HasDevice(const DxrHostCell &cell) const;

    [[nodiscard]] const Cell *Find(const DxrHostCell &cell) const;
    Cell &Make(const DxrHostCell &cell);

    void ResetChip(uint32_t unit, uint32_t chip);

    // Where a memory of a PCIe device lies.
    [[nodiscard]] uint64_t BarAddress(uint32_t device, uint32_t bar) const;

    std::map<SpaceId, std::map<uint64_t, Cell>> cells;
    std::map<uint32_t, PcieDevice> pcie;
    std::set<std::pair<uint32_t, uint32_t>> held;  // unit and chip of reset lines
};

// An access of a slot: `count` cells from one on, to or from units of `width` bytes.
struct Transfer {
    DxrHostCell first;
    bool isWrite;
    uint32_t width;
    void *data;
    uint32_t count = 1;
    uint32_t shift = 0;  // of the unit within the cell
};

// Faults that an access meets.
struct Verdict {
    struct Flip {
        uint32_t unit;
        uint32_t mask;
    };
    static constexpr size_t kMostFlips = 16;

    uint32_t status = 0;
    uint64_t delayMs = 0;
    std::array<Flip, kMostFlips> flips{};
    size_t flipCount = 0;
};

// An MDIO bus. What does not change is the address; the scheduler's lock guards the rest.
struct MdioBus {
    bool isBusy = false;
    bool isParallel = false;
    WaitList waiting;
};

// Watches and faults.
class Rules {
  public:
    explicit Rules(Host &host);

    // With the service's lock.
    uint32_t AddWatch(const DxrHostCell &first, uint64_t count, DxrHostWatch watch, void *user);
    uint32_t AddFault(const DxrHostCell &first, uint64_t count, const DxrHostCellFault &fault);
    bool End(uint32_t number);
    Verdict Decide(const Transfer &transfer);
    // Whether a watch lies in that code.
    [[nodiscard]] bool Holds(const CodeRange &code) const;

    struct Watcher {
        DxrHostWatch watch;
        void *user;
    };
    static constexpr size_t kMostWatches = 16;
    // Those of a transfer; returns how many.
    size_t WatchersOf(const Transfer &transfer, std::array<Watcher, kMostWatches> &found) const;

  private:
    struct Rule {
        SpaceId id;
        uint64_t first;
        uint64_t count;
        DxrHostWatch watch = nullptr;
        void *user = nullptr;
        DxrHostCellFault fault{};
        std::unique_ptr<FaultPoint> point;

        [[nodiscard]] bool Touches(const Transfer &transfer) const;
    };
    struct Points {
        FaultPoint &delay;
        FaultPoint &fail;
        FaultPoint &flip;
    };

    // Bits of a unit.
    static void Flip(Verdict &verdict, uint32_t unit, uint32_t mask);
    uint32_t AnyBit(const Transfer &transfer);

    Host &host_;
    std::array<Points, 4> points_;
    Stream bits_;
    std::map<uint32_t, Rule> rules_;
    uint32_t lastNumber_ = 0;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_SPACES_H
