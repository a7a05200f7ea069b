// Lets the host's clock follow the time stamps of a log, so that an old log behaves as when it was
// written.
#ifndef DXRSH_LINE_CLOCK_H
#define DXRSH_LINE_CLOCK_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "log_stamps.h"
#include "time_stamp.h"

namespace dxrsh {

// Where the clock of a log without any stamp stands: 2000-01-01 00:00:00.
constexpr uint32_t kUnstampedSec = 946684800;

class LineClock {
  public:
    // Throws UsageError for a bad form of stamps.
    explicit LineClock(const StampOptions &options);

    // The start-up time at the first stamp; it counts on from there.
    void SetUptime(uint32_t sec) { startupSec_ = sec; }

    // Sets the clock for the lines before the first stamp: to that stamp's time if it stands in the
    // beginning of the log given here, else to kUnstampedSec. Another log than the first, which
    // goes on where the one before it ended, leaves the clock alone.
    void Start(std::string_view beginningOfLog);

    // Sets the clock to the line's stamp, or leaves it; returns the line without its stamp. Valid
    // until the next call, and followed by a NUL byte if the line is.
    std::string_view Take(std::string_view line);

    // As long as no line had a stamp, the time is this.
    void SetUnstamped(uint32_t sec);

    void Set(uint32_t sec);
    [[nodiscard]] uint32_t Now() const { return nowSec_; }
    [[nodiscard]] const LogStamps &Stamps() const { return stamps_; }

  private:
    void Learn(std::string_view beginningOfLog);

    LogStamps stamps_;
    bool started_ = false;
    size_t learnt_ = 0;  // lines ahead that were learnt from
    std::optional<uint32_t> firstSec_;
    uint32_t startupSec_ = 0;
    uint32_t nowSec_ = kUnstampedSec;
    std::string joined_;
};

// Adds the options --year and --stamp to a command that reads stamps.
void AddStampOptions(CLI::App &command, StampOptions &options);

// What the help of such a command says about stamps.
extern const char *const kStampHelp;

}  // namespace dxrsh

#endif  // DXRSH_LINE_CLOCK_H
