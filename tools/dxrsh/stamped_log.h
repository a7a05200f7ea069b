// Logs, one after the other, whose lines set the host's clock.
#ifndef DXRSH_STAMPED_LOG_H
#define DXRSH_STAMPED_LOG_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "file_io.h"
#include "line_clock.h"
#include "log_source.h"

namespace dxrsh {

struct StampedLine {
    Line whole;
    std::string_view text;  // without the stamp; followed by a NUL byte
};

struct LogOptions {
    std::vector<std::string> paths;  // none: standard input
    StampOptions stamps;
    uint64_t longestLine = kLongestLine;
    bool follow = false;          // the last file, which need not be there yet; needs `stop`
    StopSignals *stop = nullptr;  // none: interrupts are not looked for
};

class StampedLog {
  public:
    // Throws RunError when a file cannot be read.
    explicit StampedLog(LogOptions options);

    // Called before each read, which may block.
    void OnRead(std::function<void()> callback) { onRead_ = std::move(callback); }

    // Called with its name when a file to follow is not there and is waited for.
    void OnMissing(std::function<void(const std::string &)> callback) {
        onMissing_ = std::move(callback);
    }

    // Sets the clock to the line's time; false at the end of the last log. The line stays valid
    // until the next call. Throws RunError.
    [[nodiscard]] bool Next(StampedLine &line);

    [[nodiscard]] LineClock &Clock() { return clock_; }
    [[nodiscard]] const LineClock &Clock() const { return clock_; }
    // Bytes of the files, as they lie there; 0 when that is not known.
    [[nodiscard]] uint64_t Size() const { return size_; }
    [[nodiscard]] uint64_t BytesRead() const;
    // Whether what is read is written at the same time.
    [[nodiscard]] bool IsLive() const { return live_; }
    // Given out so far.
    [[nodiscard]] uint64_t Lines() const { return lines_; }
    [[nodiscard]] bool LooksForStamps() const { return options_.stamps.format != "none"; }
    // Their form, if the user told it.
    [[nodiscard]] const std::optional<std::string> &StampForm() const {
        return options_.stamps.format;
    }

  private:
    // One log.
    struct Opened {
        std::unique_ptr<StoppableInput> input;
        std::unique_ptr<FollowedFile> followed;
        std::unique_ptr<Unpacked> unpacked;
        std::unique_ptr<WithoutMark> unmarked;
        std::unique_ptr<LineReader> reader;
    };

    void Open();
    [[nodiscard]] bool NextWhole(Line &line) const;

    LogOptions options_;
    LineClock clock_;
    uint64_t size_ = 0;
    uint64_t bytesBefore_ = 0;  // of the logs that are done
    size_t opened_ = 0;
    uint64_t lines_ = 0;
    bool live_ = false;
    Opened log_;
    std::function<void()> onRead_;
    std::function<void(const std::string &)> onMissing_;
};

// Adds the logs and what is to be known of them to a command: FILE..., --year, --stamp, --longest.
void AddLogOptions(CLI::App &command, LogOptions &options);

}  // namespace dxrsh

#endif  // DXRSH_STAMPED_LOG_H
