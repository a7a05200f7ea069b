// Lets the host's clock follow the time stamps of a log, so that an old log behaves as when it was
// written.
#ifndef DXRSH_LINE_CLOCK_H
#define DXRSH_LINE_CLOCK_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string_view>

#include "time_stamp.h"

namespace dxrsh {

// Where the clock of a log without any stamp stands: 2000-01-01 00:00:00.
constexpr uint32_t kUnstampedSec = 946684800;

class LineClock {
  public:
    // `year` is that of a log whose stamps have none; nothing stands for the latest that is not in
    // the future.
    explicit LineClock(std::optional<int> year);

    // The start-up time at the first stamp; it counts on from there.
    void SetUptime(uint32_t sec) { startupSec_ = sec; }

    // Sets the clock for the lines before the first stamp: to that stamp's time if it stands in the
    // beginning of the log given here, else to kUnstampedSec.
    void Start(std::string_view beginningOfLog);

    // Sets the clock to the line's stamp, or leaves it; returns the line without its stamp.
    std::string_view Take(std::string_view line);

    void Set(uint32_t sec);
    [[nodiscard]] uint32_t Now() const { return nowSec_; }

  private:
    StampReader stamps_;
    std::optional<uint32_t> firstSec_;
    uint32_t startupSec_ = 0;
    uint32_t nowSec_ = kUnstampedSec;
};

// Adds the option --year to a command that reads stamps.
void AddYearOption(CLI::App &command, std::optional<int> &year);

// What the help of such a command says about stamps.
extern const char *const kStampHelp;

}  // namespace dxrsh

#endif  // DXRSH_LINE_CLOCK_H
