// What a supervisor knows of its boards, as a table and as JSON.
#ifndef DXRSH_CHASSIS_STATUS_H
#define DXRSH_CHASSIS_STATUS_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "chassis_process.h"

namespace dxrsh {

struct BoardStatus {
    std::string name;
    std::string kind;
    std::string state;
    pid_t pid = 0;
    uint64_t upMs = 0;
    uint64_t starts = 0;
    uint64_t deaths = 0;
    bool hasBeat = false;
    uint64_t beatAgoMs = 0;
    bool isCutOff = false;
    ChassisBeat beat{};
};

struct ChassisStatus {
    std::string name;
    pid_t pid = 0;
    uint64_t upMs = 0;
    std::vector<BoardStatus> boards;
};

[[nodiscard]] std::string StatusTable(const ChassisStatus &status);
// An object on one line.
[[nodiscard]] std::string StatusJson(const ChassisStatus &status);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_STATUS_H
