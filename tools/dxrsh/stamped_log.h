// A log whose lines set the host's clock.
#ifndef DXRSH_STAMPED_LOG_H
#define DXRSH_STAMPED_LOG_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "file_io.h"
#include "line_clock.h"

namespace dxrsh {

struct StampedLine {
    Line whole;
    std::string_view text;  // after the stamp
};

class StampedLog {
  public:
    // Throws RunError when the file cannot be read. `year` is that of stamps that have none.
    StampedLog(const std::string &path, std::optional<int> year);

    // Called before each read, which may block.
    void OnRead(std::function<void()> callback) { reader_.OnRead(std::move(callback)); }

    // Sets the clock to the line's time; false at the end. The line stays valid until the next
    // call. Throws RunError.
    [[nodiscard]] bool Next(StampedLine &line);

    [[nodiscard]] LineClock &Clock() { return clock_; }
    // Bytes of a regular file; 0 when that is not known.
    [[nodiscard]] uint64_t Size() const { return input_.Size(); }
    [[nodiscard]] uint64_t BytesRead() const { return reader_.BytesRead(); }

  private:
    Input input_;
    LineReader reader_;
    LineClock clock_;
    bool started_ = false;
};

}  // namespace dxrsh

#endif  // DXRSH_STAMPED_LOG_H
