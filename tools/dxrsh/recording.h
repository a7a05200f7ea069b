// A recording of hook calls that is named on the command line.
#ifndef DXRSH_RECORDING_H
#define DXRSH_RECORDING_H

#include <string>

#include "local_socket.h"

namespace dxrsh {

// A file, or what comes through standard input when the name is "-": that is kept in memory, since
// a recording is read by its path.
class Recording {
  public:
    // Throws RunError when standard input cannot be read, UsageError when it is empty or no
    // recording.
    explicit Recording(const std::string &name);

    // Stays valid as long as the object.
    [[nodiscard]] const std::string &Path() const { return path_; }
    // For messages.
    [[nodiscard]] const std::string &Name() const { return name_; }

  private:
    void TakeStandardInput();

    std::string name_;
    std::string path_;
    Descriptor kept_;
};

}  // namespace dxrsh

#endif  // DXRSH_RECORDING_H
