// Ends what the boards of a chassis have started when their supervisor could not.
#ifndef DXRSH_CHASSIS_GUARD_H
#define DXRSH_CHASSIS_GUARD_H

#include <sys/types.h>

#include "local_socket.h"

namespace dxrsh {

// A process that waits for the end of the one that made it, whatever ends that, and then kills the
// process groups that still run.
class Guard {
  public:
    // While the process has one thread, and nothing open that must close with it. Throws RunError.
    Guard();
    ~Guard();
    Guard(const Guard &) = delete;
    Guard &operator=(const Guard &) = delete;
    Guard(Guard &&) = delete;
    Guard &operator=(Guard &&) = delete;

    // For Begin, in a process that was just forked.
    [[nodiscard]] int Fd() const { return tell_.Get(); }

    // This process leads a group. Calls nothing that is not safe after fork.
    static void Begin(int fd);

    // A group is gone. Before its leader is waited for, so that no other has its number.
    void End(pid_t group) const;

  private:
    Descriptor tell_;
    pid_t pid_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_GUARD_H
