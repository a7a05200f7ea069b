// The trace of a run: counts its calls, and records them while a file is named.
#ifndef DXRSH_RUN_TRACE_H
#define DXRSH_RUN_TRACE_H

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

#include "dxr_trace.h"
#include "unfilled.h"

namespace dxrsh {

using CallCounts = std::array<DxrTraceCount, kTableSlots>;

// There is one at a time. Any thread; a host is registered meanwhile.
class RunTrace {
  public:
    RunTrace() = default;
    ~RunTrace() { (void)Stop(); }
    RunTrace(const RunTrace &) = delete;
    RunTrace &operator=(const RunTrace &) = delete;
    RunTrace(RunTrace &&) = delete;
    RunTrace &operator=(RunTrace &&) = delete;

    // Begins, with a file or without one. A file of the run's own stays until the end. 0, or a
    // number of <errno.h>: then nothing has begun.
    uint32_t Start(const std::string &file, bool isOfRun = false);
    // Ends it. 0, or what became of the file.
    uint32_t Stop();

    // Records the calls from here on, or no longer; counts in any case. Throws RunError.
    void Record(const std::string &file);
    void StopRecording();

    // Of the whole run; times of the part since the last start.
    [[nodiscard]] CallCounts Counts() const;

  private:
    uint32_t StartLocked(const std::string &file);
    uint32_t StartAsideLocked(const std::string &file);
    uint32_t StopLocked();

    mutable std::mutex mutex_;
    bool isOn_ = false;
    bool isOfRun_ = false;
    std::string file_;
    CallCounts before_{};  // of parts that have ended
};

}  // namespace dxrsh

#endif  // DXRSH_RUN_TRACE_H
