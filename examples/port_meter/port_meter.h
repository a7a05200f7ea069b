// port_meter: a module that measures the traffic of a chip's ports and raises an alarm for one that
// has too much of it. What others need to know of it.
//
// Arguments: the number of ports (1 to kMostPorts), and how many seconds it runs; 0: until a
// message stops it. DxrModuleMain returns 0, 1 when the platform did not give what it needs, 2 for
// wrong arguments.
#ifndef PORT_METER_H
#define PORT_METER_H

#include <cstdint>

namespace port_meter {

inline constexpr uint32_t kModule = 41;
inline constexpr uint32_t kMostPorts = 16;
inline constexpr uint32_t kPeriodMs = 1000;

// The register of unit 0, chip 0 that counts a port's kilobytes; it wraps at 32 bits.
constexpr uint32_t CounterOf(uint32_t port) {
    return 0x1000 + 4 * port;
}

// The KPI of a port (the object): kilobytes in the last second.
inline constexpr uint32_t kIndicator = 1;
inline constexpr uint32_t kRate = 1;

// Raised for a port (the object) whose rate is over the limit kPatience times in a row.
inline constexpr uint32_t kAlarm = 2;
inline constexpr uint32_t kPatience = 3;
inline constexpr uint32_t kDefaultLimit = 1000000;

// Messages to line processing unit kUnit; the acknowledgement's result is 0, or EINVAL.
inline constexpr uint32_t kUnit = 2;
inline constexpr uint32_t kSetLimit = 1;  // the message's code: kilobytes a second
inline constexpr uint32_t kStop = 2;

}  // namespace port_meter

#endif  // PORT_METER_H
