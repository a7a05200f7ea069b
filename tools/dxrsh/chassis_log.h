// What a board prints: board.log in its directory, and board.log.1 and so on with what came before.
#ifndef DXRSH_CHASSIS_LOG_H
#define DXRSH_CHASSIS_LOG_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "chassis_file.h"
#include "local_socket.h"

namespace dxrsh {

// Ends what a board that died had begun with its log: only whole files stay, and one is the latest.
void TidyLog(const std::string &directory);

// The file for a board that is started, which goes on after what is there. Throws RunError.
[[nodiscard]] Descriptor OpenLog(const std::string &directory, const ChassisLog &limits);

// A log and its length, when a board was started.
struct LogPlace {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
};
[[nodiscard]] LogPlace PlaceIn(const Descriptor &log);

// What a board printed last.
struct LastWords {
    std::string path;  // the file that has it
    std::string line;  // the last one that is not blank; empty without one, and of a long one the
                       // end
};
// Since then: what earlier starts have printed is not looked at.
[[nodiscard]] LastWords LastWordsSince(const LogPlace &start, const std::string &directory);

// The log of this process, as its standard output and error. The process itself begins the next
// file: each write goes to one or to the other, so none is lost, however the process ends.
class OwnLog {
  public:
    OwnLog(const std::string &directory, const ChassisLog &limits);

    // Begins another file when this one has become too long.
    void Look();
    // Why it could not be written, a number of <errno.h> or kNoLongerKnown; 0 as long as it could.
    [[nodiscard]] uint64_t Error();

  private:
    [[nodiscard]] bool IsAt(int fd) const;

    const Descriptor directory_;  // the module may change the current one
    const ChassisLog limits_;
    bool hasFailed_ = false;
    uint64_t error_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_LOG_H
