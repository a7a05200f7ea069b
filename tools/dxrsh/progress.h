// A bar on standard error while a large file is read.
#ifndef DXRSH_PROGRESS_H
#define DXRSH_PROGRESS_H

#include <cstdint>

namespace dxrsh {

class Progress {
  public:
    // Shows nothing for small inputs or those of unknown size (0), when standard error is no
    // terminal, and when the lines let through go to one themselves.
    explicit Progress(uint64_t totalBytes);

    void Update(uint64_t doneBytes);
    // Takes the bar off the screen.
    void Clear();

  private:
    uint64_t totalBytes_;
    bool shown_;
    uint64_t percent_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_PROGRESS_H
