// What a board prints: board.log in its directory, and board.log.1 and so on with what came before.
#ifndef DXRSH_CHASSIS_LOG_H
#define DXRSH_CHASSIS_LOG_H

#include <string>

#include "chassis_file.h"
#include "local_socket.h"

namespace dxrsh {

// The file for a board that is started, which goes on after what is there. Throws RunError.
[[nodiscard]] Descriptor OpenLog(const std::string &directory, const ChassisLog &limits);

// The path of the file that has the last of what a board printed.
[[nodiscard]] std::string LastLog(const std::string &directory);

// The last line of a file that is not blank; empty without one, and of a long one its end.
[[nodiscard]] std::string LastLineOf(const std::string &path);

// The log of this process, as its standard output and error. The process itself begins the next
// file: each write goes to one or to the other, so none is lost, however the process ends.
class OwnLog {
  public:
    OwnLog(const std::string &directory, const ChassisLog &limits);

    // Begins another file when this one has become too long.
    void Look();

  private:
    const Descriptor directory_;  // the module may change the current one
    const ChassisLog limits_;
    bool hasFailed_ = false;
};

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_LOG_H
