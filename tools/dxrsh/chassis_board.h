// A board of a chassis from within: the host, the module, and who started it.
#ifndef DXRSH_CHASSIS_BOARD_H
#define DXRSH_CHASSIS_BOARD_H

#include <cstdint>
#include <string>

namespace dxrsh {

struct BoardOptions {
    std::string chassis;  // the file's path; what it says is at kFileFd
    std::string modules;
    std::string work;
    std::string board;
    uint32_t incarnation = 0;
    bool isCutOff = false;
};

// Runs the board to its end, and ends the program.
[[noreturn]] void RunBoard(const BoardOptions &options);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_BOARD_H
