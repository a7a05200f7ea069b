// The points that can be made to fail, in one list: services can name no other one, and whoever
// lets a user choose one looks here.
#ifndef DXR_DEVHOST_FAULT_POINTS_H
#define DXR_DEVHOST_FAULT_POINTS_H

#include <string_view>

namespace devhost {

inline constexpr std::string_view kFaultPoints[] = {
    "alarm.raise",
    "config.read",
    "database.create",
    "database.link",
    "database.open",
    "database.prepare",
    "database.step",
    "database.sync",
    "database.write",
    "device.i2c.delay",
    "device.i2c.fail",
    "device.i2c.flip",
    "device.map",
    "device.mdio.delay",
    "device.mdio.fail",
    "device.mdio.flip",
    "device.open",
    "device.pcie.delay",
    "device.pcie.fail",
    "device.pcie.flip",
    "device.register.delay",
    "device.register.fail",
    "device.register.flip",
    "device.write",
    "env.open",
    "env.rename",
    "env.sync",
    "env.write",
    "ffm.start",
    "file.open",
    "file.read",
    "file.write",
    "filter.register",
    "hash.create",
    "hash.insert",
    "kpi.update",
    "list.add",
    "list.create",
    "mailbox.open",
    "memory.allocate",
    "message.delay",
    "message.lose",
    "message.reorder",
    "message.send",
    "message.twice",
    "module.register",
    "mutex.create",
    "np.drop",
    "np.map",
    "np.pfc",

    "plugin.load",
    "plugin.register",
    "system.zip",
    "table.create",
    "table.get",
    "table.open",
    "table.read",
    "table.rename",
    "table.set",
    "table.sync",
    "table.walk",
    "table.write",
    "task.create",
    "temperature.read",
    "temperature.register",
    "timer.start",
};

// The name of one of them. Any other one is refused when it is compiled.
class PointName {
  public:
    // NOLINTNEXTLINE(google-explicit-constructor): so that services write the name alone
    consteval PointName(const char *name) : name_(name) {
        bool isKnown = false;
        for (const std::string_view each : kFaultPoints) {
            isKnown = isKnown || each == name_;
        }
        if (!isKnown) {
            throw "fault_points.h has no such point";
        }
    }

    [[nodiscard]] constexpr std::string_view Get() const { return name_; }

  private:
    std::string_view name_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_FAULT_POINTS_H
