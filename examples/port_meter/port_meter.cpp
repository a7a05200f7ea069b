// The way into the module.
#include "port_meter.h"

#include <dxr_api.h>
#include <dxr_module.h>

#include <cstdlib>

#include "meter.h"

namespace {

port_meter::Meter g_meter;

bool ReadNumber(const char *text, uint32_t most, uint32_t &number) {
    char *end = nullptr;
    const unsigned long read = std::strtoul(text, &end, 10);
    number = static_cast<uint32_t>(read);
    return end != text && *end == '\0' && read <= most;
}

}  // namespace

int DxrModuleMain(int argc, char **argv) {
    constexpr uint32_t kDay = 86400;
    uint32_t ports = 0;
    uint32_t seconds = 0;
    if (argc != 3 || !ReadNumber(argv[1], port_meter::kMostPorts, ports) || ports == 0 ||
        !ReadNumber(argv[2], kDay, seconds)) {
        DXR_DiagLogFilter("port_meter: wants the number of ports, and of seconds");
        return 2;
    }
    if (!g_meter.Begin(ports)) {
        return 1;
    }
    g_meter.Run(seconds);
    return 0;
}

void DxrModuleEnd(void) {
    g_meter.End();
}
