// A log on its way through the log filter.
#ifndef DXRSH_FILTER_RUN_H
#define DXRSH_FILTER_RUN_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "c_text.h"
#include "dxr_api.h"
#include "file_io.h"
#include "histogram.h"
#include "line_key.h"
#include "line_mask.h"
#include "progress.h"
#include "remembered_lines.h"
#include "stamped_log.h"
#include "stop_signals.h"
#include "suppressed_lines.h"

namespace dxrsh {

struct FilterOptions {
    LogOptions log;
    uint32_t logType = 0;
    uint32_t interval = 0;
    uint32_t tableRows = 10;
    uint32_t topLines = 10;
    std::optional<std::string> key;
    std::vector<std::string> masks;  // as LineMask takes them; none: lines are compared as they are
    std::string doubtfulPath;        // empty: not asked for
    std::string color = "auto";
    bool histogram = false;
    bool quiet = false;
    bool json = false;
};

struct FilterCounts {
    uint64_t lines = 0;
    uint64_t passed = 0;
    uint64_t unasked = 0;    // of those that passed
    uint64_t otherText = 0;  // of those suppressed: only their hash was that of a line remembered
    uint64_t inPart = 0;     // of those suppressed: longer than what is compared
};

// The library's filter, alive as long as this object.
class LogFilter {
  public:
    LogFilter();
    ~LogFilter();
    LogFilter(const LogFilter &) = delete;
    LogFilter &operator=(const LogFilter &) = delete;
    LogFilter(LogFilter &&) = delete;
    LogFilter &operator=(LogFilter &&) = delete;

    // True when the line is let through. The text need not be formatted, and nobody hands it on: it
    // is written as part of its line.
    static bool PassesByText(const DxrLogFilterCfg &site, std::string_view text) {
        return DXR_IsRepeatedLog(&site, text.data(), static_cast<uint32_t>(text.size())) == 0;
    }
    bool PassesByKey(const DxrLogFilterCfg &site, const char *text) {
        passed_ = false;
        DXR_DiffLogFilter(&site, "%s", text);
        return passed_;
    }

  private:
    bool passed_ = false;
};

class FilterRun {
  public:
    explicit FilterRun(const FilterOptions &options);

    // Lines let through go to standard output. Throws RunError, BrokenPipe.
    void Run();

    [[nodiscard]] const FilterCounts &Counts() const { return counts_; }
    [[nodiscard]] const StampedLog &Log() const { return log_; }
    [[nodiscard]] const LogStamps &Stamps() const { return log_.Clock().Stamps(); }
    [[nodiscard]] const Histogram &OverTime() const { return histogram_; }
    [[nodiscard]] std::vector<SuppressedLine> MostSuppressed(size_t count) const {
        return suppressed_.Top(count);
    }
    [[nodiscard]] bool IsLive() const { return log_.IsLive(); }
    // The user ended it.
    [[nodiscard]] bool Stopped() { return stop_.Requested(); }

  private:
    bool Passes(const StampedLine &line);
    bool PassesByText(const StampedLine &line, std::string_view text);
    bool PassesByKey(const StampedLine &line, std::string_view text);
    [[nodiscard]] bool IsOther(SuppressedLines::Entry &line, std::string_view asked);
    void WritePassed(const StampedLine &line);
    void BeforeRead();
    void ShowStatus();
    void ClearStatus();
    void TellMissing(const std::string &path);
    void Doubt(const char *why, const StampedLine &line);

    const FilterOptions &options_;
    StopSignals stop_;
    StampedLog log_;
    Output output_;
    Progress progress_;
    LogFilter filter_;
    DxrLogFilterCfg site_{};
    std::unique_ptr<LineKey> key_;
    std::unique_ptr<LineMask> mask_;
    std::unique_ptr<OutputFile> doubtful_;
    SuppressedLines suppressed_;
    RememberedLines remembered_;
    Histogram histogram_;
    FilterCounts counts_;
    CText cText_;
    size_t statusWidth_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_FILTER_RUN_H
