#include "device.h"

#include <algorithm>
#include <exception>
#include <new>

#include "error_text.h"

namespace devhost {

DeviceService::DeviceService(Host &host)
    : Service(host),
      rules(host),
      devices(host),
      block(host, "env.bin"),
      memory(host, "memenv.bin"),
      flash(host, "flash.bin") {
    std::string error;
    if (!host.options.board.empty()) {
        Board read;
        if (!ReadBoard(host.options.board, read, error) || !Take(std::move(read), error)) {
            host.reports.Add(DXR_HOST_REPORT_MISUSE, kDevice, {}, "board", error);
        }
    }
    for (Variables *const each : {&block, &memory, &flash}) {
        if (!each->Load(error)) {
            host.reports.Add(DXR_HOST_REPORT_MISUSE, kDevice, {}, each->FileName(), error);
        }
    }
}

bool DeviceService::Take(Board &&read, std::string &error) {
    // First what may fail.
    Devices::Memories memories;
    ReservedMemory::Areas areas;
    if (!Devices::Make(read, memories, error) || !ReservedMemory::Make(read, areas, error)) {
        return false;
    }
    reserved.Take(areas);
    devices.memories.swap(memories);
    board = std::move(read);
    return true;
}

void DeviceService::ReportLeftovers() {
    for (const auto &[number, device] : devices.open) {
        TheHost().ReportLeftover(kDevice, device->made, "device " + device->path);
    }
    for (const auto &[address, mapping] : devices.mappings) {
        TheHost().ReportLeftover(
            kDevice, mapping.made,
            "mapping of " + std::to_string(mapping.bytes) + " bytes of " + mapping.path);
    }
}

std::string DeviceService::UseOf(const CodeRange &code) {
    const std::lock_guard lock(mutex);
    const auto holds = [&code](auto function) {
        return code.Holds(reinterpret_cast<const void *>(function));
    };
    const auto calls = [&holds](const PreReset &each) { return holds(each.function); };
    if (std::any_of(resets.functions.begin(), resets.functions.end(), calls)) {
        return "the processing before a reset";
    }
    const auto isTaken = [&holds](const auto &each) { return holds(each.second.function); };
    if (std::any_of(resets.interrupts.begin(), resets.interrupts.end(), isTaken)) {
        return "an interrupt";
    }
    const auto isControl = [&holds](const auto &each) { return holds(each.second.function); };
    if (std::any_of(devices.controls.begin(), devices.controls.end(), isControl)) {
        return "the commands of a device";
    }
    if (rules.Holds(code)) {
        return "a watch";
    }
    return holds(resets.command) ? "commands" : "";
}

DeviceService &DeviceOf(Host &host) {
    return host.Get<DeviceService>(ServiceId::kDevice);
}

std::unique_ptr<Service> MakeDevice(Host &host) {
    return std::make_unique<DeviceService>(host);
}

void FillDevice(DxrHooks &hooks) {
    FillDeviceAccess(hooks.dev);
    FillDeviceBoard(hooks.dev);
    FillDeviceFiles(hooks.dev);
    FillDeviceReset(hooks.dev);
    FillDeviceVariables(hooks.dev);
}

}  // namespace devhost

bool DxrHostLoadBoard(DxrHost *host, const char *path, char *error, uint32_t errorSize) {
    const devhost::ApiCall call(host);
    try {
        devhost::Board read;
        std::string why = call ? "no file was given" : "there is no host";
        bool isTaken = call && path != nullptr && devhost::ReadBoard(path, read, why);
        if (isTaken) {
            devhost::DeviceService &state = devhost::DeviceOf(*call);
            const std::lock_guard lock(state.mutex);
            isTaken = state.Take(std::move(read), why);
        }
        devhost::WriteError(error, errorSize, isTaken ? "" : why.c_str());
        return isTaken;
    } catch (const std::exception &) {
        devhost::WriteError(error, errorSize, "not enough memory");
        return false;
    }
}
