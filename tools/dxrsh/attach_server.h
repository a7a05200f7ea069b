// Takes lines of the shell from other programs, and does them on the host of this one.
#ifndef DXRSH_ATTACH_SERVER_H
#define DXRSH_ATTACH_SERVER_H

#include <memory>
#include <string>

#include "shell_session.h"

namespace dxrsh {

// From a thread of its own, one line at a time, beside what the module does. Those who send them
// share what is kept.
class AttachServer {
  public:
    // Listens at the path. Throws RunError.
    AttachServer(const std::string &path, const PokedHost &poked);
    ~AttachServer();
    AttachServer(const AttachServer &) = delete;
    AttachServer &operator=(const AttachServer &) = delete;
    AttachServer(AttachServer &&) = delete;
    AttachServer &operator=(AttachServer &&) = delete;

    // The socket's file goes with the program, as LocalListener::RemoveAtEnd.
    void RemoveAtEnd();

    // Takes no more lines, and tells so those who are attached. Waits for the line that is being
    // done, but not long: false when it goes on. The end of the host ends what waits in it, and
    // then the program may ask again. All that is not for a process that this one has forked.
    bool End();

  private:
    class Thread;

    std::shared_ptr<Thread> thread_;
};

}  // namespace dxrsh

#endif  // DXRSH_ATTACH_SERVER_H
