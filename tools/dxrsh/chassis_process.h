// One board as a process.
#ifndef DXRSH_CHASSIS_PROCESS_H
#define DXRSH_CHASSIS_PROCESS_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "chassis_guard.h"
#include "chassis_place.h"

namespace dxrsh {

// What a board says again and again: what has happened to messages since it was started.
struct ChassisBeat {
    uint64_t sent;
    uint64_t arrived;
    uint64_t taken;
    uint64_t acknowledged;  // by other boards
    uint64_t timedOut;
    uint64_t lost;       // on their way from here
    uint64_t refused;    // nobody was there, or there was no room
    uint64_t unreached;  // their board was not there
    uint64_t cutOff;
    uint64_t logError;  // why its log could not be written; 0 as long as it could
};

// For `logError`: it could not be written, but can be again.
constexpr uint64_t kNoLongerKnown = UINT64_MAX;

// What a board is told, a byte each.
enum class ChassisOrder : char { kCut = 'c', kJoin = 'j', kStop = 's' };

// Descriptors that a board is started with: the one for beats and orders, and the chassis file.
constexpr int kControlFd = 3;
constexpr int kFileFd = 4;

// How a board ends that has left something behind; it is not started again.
constexpr int kExitLeftBehind = 3;
// How one ends whose host has ended the run, as a reset does; it is started again.
constexpr int kExitReset = 4;

struct BoardProcess {
    pid_t pid = 0;
    Descriptor control;
};

// Starts this program with the arguments, in a process group of its own that ends with its starter;
// the guard sees to those that the board starts. What it prints goes to `log`; it may open so many
// descriptors. Throws RunError.
[[nodiscard]] BoardProcess StartBoard(const std::vector<std::string> &arguments, int file,
                                      const Descriptor &log, uint64_t descriptors,
                                      const Guard &guard);

// The file's content as a descriptor that nobody changes any more: what the supervisor reads, and
// each board. Throws UsageError, or RunError.
[[nodiscard]] Descriptor KeepFile(const std::string &path);

// What is at a descriptor, as a path.
[[nodiscard]] std::string PathOf(int fd);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_PROCESS_H
