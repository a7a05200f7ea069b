// The file that describes a chassis.
#ifndef DXRSH_CHASSIS_FILE_H
#define DXRSH_CHASSIS_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dxr_devhost.h"

namespace dxrsh {

struct ChassisBoard {
    std::string name;
    std::string kind;  // "main", "line", "fabric"
    uint32_t number = 0;
    std::vector<DxrHostUnit> units;
    std::string address;  // empty: beside the others of this machine
    std::string machine;  // empty: any
    std::string module;   // as a path
    std::vector<std::string> arguments;
    std::string device;  // JSON file that describes the board's device; may be empty
    uint64_t seed = 1;

    // What may happen to messages on their way from here, in millionths, and what is lost for sure.
    uint32_t lose = 0;
    uint32_t twice = 0;
    uint32_t delay = 0;
    uint32_t reorder = 0;
    std::vector<DxrSimulateMsg> simulated;
    std::string filter;  // JSON file with a message filter tree; may be empty
};

// How long the log of a board gets, and how many that were as long are kept.
struct ChassisLog {
    uint64_t mostBytes = 0;
    uint32_t kept = 0;
};

struct Chassis {
    std::string name;
    std::string work;  // each board has a directory of its name in it
    std::string keys;  // directory of the keys; empty: none
    uint32_t beatMs = 0;
    uint32_t silentMs = 0;  // 0: never
    uint32_t restartMs = 0;
    uint32_t mostRestartMs = 0;
    uint32_t stopMs = 0;
    ChassisLog log;
    std::vector<ChassisBoard> boards;
};

// Reads and checks it. `modules` is where modules are looked for that are named without a slash;
// empty: beside the file. `read` is the file that is opened, if it is not `path` itself. Throws
// UsageError: "path:line:column: member: what is wrong".
[[nodiscard]] Chassis ReadChassisFile(const std::string &path, const std::string &modules,
                                      const std::string &read = {});

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_FILE_H
