// Starts the boards of a chassis, starts them again when they die, and does what it is asked to.
#ifndef DXRSH_CHASSIS_SUPERVISOR_H
#define DXRSH_CHASSIS_SUPERVISOR_H

#include <cstdint>
#include <string>

namespace dxrsh {

struct SupervisorOptions {
    std::string file;
    std::string modules;
    std::string work;  // empty: as the file says
    std::string machine;
    uint32_t seconds = 0;  // so long after all boards have begun it stops; 0: never
    bool showsStatus = false;
};

// Until it is stopped, or no board runs any more. The exit status: 0 when all boards ended well.
[[nodiscard]] int RunChassis(const SupervisorOptions &options);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_SUPERVISOR_H
