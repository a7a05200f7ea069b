// Where a running chassis is found: a directory of its user's, with its lock, the socket that takes
// commands, and those that its boards listen at.
#ifndef DXRSH_CHASSIS_PLACE_H
#define DXRSH_CHASSIS_PLACE_H

#include <string>

#include "local_socket.h"

namespace dxrsh {

// The directory of the chassis of that name; $XDG_RUNTIME_DIR or /tmp above it.
[[nodiscard]] std::string ChassisDirectory(const std::string &name);

// The place of a chassis that is started here, until the end of the object: then it is gone.
class ChassisPlace {
  public:
    // Throws RunError when a chassis of that name runs already, or somebody else has the place.
    explicit ChassisPlace(const std::string &name);
    ~ChassisPlace();
    ChassisPlace(const ChassisPlace &) = delete;
    ChassisPlace &operator=(const ChassisPlace &) = delete;
    ChassisPlace(ChassisPlace &&) = delete;
    ChassisPlace &operator=(ChassisPlace &&) = delete;

    // Where commands come from.
    [[nodiscard]] int Listener() const { return listener_.Get(); }

  private:
    const std::string directory_;
    Descriptor lock_;
    Descriptor listener_;
};

// The command whose answer is the end.
constexpr const char *kStopChassis = "stop";

// Sends a command to a running chassis, and gives its answer. The name may be empty: the one that
// runs. Throws RunError when there is none, or more than one, and NoAnswer when it is silent for
// seconds, as one that is stopped; for the end of a chassis it is waited as long as that lives.
[[nodiscard]] std::string AskChassis(const std::string &name, const std::string &command);

// The address of a board that the file gives none.
[[nodiscard]] std::string LocalAddress(const std::string &chassis, const std::string &board);

// Where a board takes lines of the shell.
[[nodiscard]] std::string BoardControl(const std::string &chassis, const std::string &board);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_PLACE_H
