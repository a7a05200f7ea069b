// The state of the device service, and what its files share. Each file fills the slots of one
// subject: device_access.cpp registers, I2C, MDIO and PCIe; device_files.cpp devices, mappings and
// reserved memory; device_variables.cpp environment and flash information; device_board.cpp what
// the board is; device_reset.cpp resets, interrupts and commands.
#ifndef DXR_DEVHOST_DEVICE_INTERNAL_H
#define DXR_DEVHOST_DEVICE_INTERNAL_H

#include <array>
#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "device_board.h"
#include "device_files.h"
#include "device_spaces.h"
#include "device_variables.h"
#include "host.h"
#include "records.h"

namespace devhost {

constexpr const char *kDevice = "device";

struct PreReset {
    DxrHostPreReset function;
    void *argument;
};

struct Interrupt {
    DxrHostInterrupt function;
    void *argument;
};

struct ChipResets {
    uint32_t hard = 0;
    uint32_t cdr = 0;
};

struct Resets {
    std::vector<PreReset> functions;
    uint32_t preResetMode = DXR_HOST_PRE_RESET_CALL;
    bool isResetting = false;
    std::map<std::pair<uint32_t, uint32_t>, ChipResets> chips;
    std::map<std::pair<uint32_t, uint32_t>, Interrupt> interrupts;
    DxrHostCommand command = nullptr;
    void *commandUser = nullptr;
};

class DeviceService : public Service {
  public:
    explicit DeviceService(Host &host);
    void ReportLeftovers() override;
    std::string UseOf(const CodeRange &code) override;

    // The board becomes another one; what is open or mapped stays. On failure false, and why;
    // nothing has changed then.
    bool Take(Board &&read, std::string &error);

    std::mutex mutex;  // guards what follows
    Board board;
    Rules rules;
    std::map<std::pair<uint32_t, uint32_t>, MdioBus> mdioBuses;  // unit and bus; none goes
    Devices devices;
    ReservedMemory reserved;
    Variables block;
    Variables memory;
    Variables flash;
    Resets resets;
};

DeviceService &DeviceOf(Host &host);

template <typename Value>
bool IsUsable(const Call &call, const void *address) {
    return IsUsable<Value>(call, kDevice, address);
}

template <typename Record>
Record *RecordAt(const Call &call, void *address) {
    return RecordAt<Record>(call, kDevice, address);
}

// What slots have in common that write numbers to addresses of the caller: `read` gives them, with
// the lock, and 0 or a number of <errno.h>.
template <typename Value, size_t kCount, typename Read>
uint32_t Tell(const Call &call, const std::array<void *, kCount> &to, Read read) {
    if (!call) {
        return ECANCELED;
    }
    for (const void *const each : to) {
        if (!IsUsable<Value>(call, each)) {
            return EINVAL;
        }
    }
    std::array<Value, kCount> values{};
    uint32_t error = 0;
    {
        DeviceService &state = DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        error = read(state, values);
    }
    for (size_t i = 0; i < kCount && error == 0; ++i) {
        *static_cast<Value *>(to[i]) = values[i];
    }
    return error;
}

void FillDeviceAccess(DxrDevHooks &hooks);
void FillDeviceBoard(DxrDevHooks &hooks);
void FillDeviceFiles(DxrDevHooks &hooks);
void FillDeviceReset(DxrDevHooks &hooks);
void FillDeviceVariables(DxrDevHooks &hooks);

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_INTERNAL_H
