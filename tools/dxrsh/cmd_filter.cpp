// dxrsh filter: a log through the log filter.

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "c_text.h"
#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "host.h"
#include "line_clock.h"
#include "line_key.h"
#include "number_option.h"
#include "progress.h"
#include "say.h"
#include "stamped_log.h"
#include "suppressed_lines.h"

namespace dxrsh {
namespace {

constexpr uint32_t kLastLogType = 28;
constexpr size_t kComparedCharacters = 1023;  // of a message; the library's buffer holds no more
constexpr size_t kTopLines = 10;
constexpr size_t kTopWidth = 100;

struct FilterOptions {
    std::string path = "-";
    uint32_t logType = 0;
    uint32_t interval = 0;
    uint32_t tableRows = 10;
    std::optional<std::string> key;
    std::optional<int> year;
};

// The library's filter, alive as long as this object.
class LogFilter {
  public:
    LogFilter() {
        if (DXR_InitLogFilter(DXR_GetDefaultMid()) != 0) {
            throw RunError("not enough memory for the log filter");
        }
        DxrHostSetDiagSink(
            nullptr, [](const char *, void *passed) { *static_cast<bool *>(passed) = true; },
            &passed_);
    }
    ~LogFilter() {
        DxrHostSetDiagFile(nullptr, nullptr);
        DXR_DestroyLogFilter();
    }
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

struct Counts {
    uint64_t lines = 0;
    uint64_t passed = 0;
    uint64_t unasked = 0;  // of those that passed
};

class FilterRun {
  public:
    explicit FilterRun(const FilterOptions &options)
        : log_(options.path, options.year), output_(STDOUT_FILENO), progress_(log_.Size()) {
        site_.logType = options.logType;
        site_.interval = options.interval;
        if (options.key) {
            key_ = std::make_unique<LineKey>(*options.key);
        }
    }

    void Run() {
        // What has been let through is seen before the next read, which may wait for a writer.
        log_.OnRead([this] {
            output_.Flush();
            progress_.Update(log_.BytesRead());
        });
        StampedLine line{};
        while (log_.Next(line)) {
            ++counts_.lines;
            if (Passes(line.text)) {
                ++counts_.passed;
                output_.Write(line.whole.text);
                if (line.whole.complete) {
                    output_.Write("\n");
                }
            }
        }
        output_.Flush();
        progress_.Clear();
    }

    [[nodiscard]] const Counts &Result() const { return counts_; }
    [[nodiscard]] std::vector<SuppressedLine> MostSuppressed() const {
        return suppressed_.Top(kTopLines);
    }

  private:
    bool Passes(std::string_view text) {
        if (text.empty()) {
            ++counts_.unasked;
            return true;
        }
        const std::string_view asked = cText_.Of(text);
        return key_ ? PassesByKey(asked) : PassesByText(asked);
    }

    bool PassesByText(std::string_view text) {
        const std::string_view compared = text.substr(0, kComparedCharacters);
        const bool passed = LogFilter::PassesByText(site_, compared);
        if (!passed) {
            suppressed_.Add(compared, compared);
        }
        return passed;
    }

    bool PassesByKey(std::string_view text) {
        Keys keys{};
        if (!key_->Find(text.data(), keys)) {
            ++counts_.unasked;
            return true;
        }
        DxrLogFilterCfg site = site_;
        site.key1 = keys[0];
        site.key2 = keys[1];
        site.key3 = keys[2];
        site.key4 = keys[3];
        const bool passed = filter_.PassesByKey(site, text.data());
        if (!passed) {
            // The digits follow each other without a mark between them, as in the library's key.
            const std::string digits = fmt::format("{}{}{}{}", keys[0], keys[1], keys[2], keys[3]);
            suppressed_.Add(digits, text);
        }
        return passed;
    }

    StampedLog log_;
    Output output_;
    Progress progress_;
    LogFilter filter_;
    DxrLogFilterCfg site_{};
    std::unique_ptr<LineKey> key_;
    SuppressedLines suppressed_;
    Counts counts_;
    CText cText_;
};

double Percent(uint64_t part, uint64_t whole) {
    return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

void SayCounts(const Counts &counts) {
    const uint64_t suppressed = counts.lines - counts.passed;
    Say(stderr, "lines read   {:>10}\n", counts.lines);
    Say(stderr, "let through  {:>10}  {:5.1f} %\n", counts.passed,
        Percent(counts.passed, counts.lines));
    if (counts.unasked != 0) {
        Say(stderr, "  unasked    {:>10}\n", counts.unasked);
    }
    Say(stderr, "suppressed   {:>10}  {:5.1f} %\n", suppressed, Percent(suppressed, counts.lines));
}

void SayMostSuppressed(const std::vector<SuppressedLine> &lines) {
    if (lines.empty()) {
        return;
    }
    Say(stderr, "\nmost suppressed\n");
    for (const SuppressedLine &line : lines) {
        Say(stderr, "{:>10}  {}\n", line.count, Printable(line.text, kTopWidth));
    }
}

// The filter's own table of the log type, with its latest entries.
void SayTable(const FilterOptions &options) {
    constexpr uint32_t kRoomForHead = 1024;
    constexpr uint32_t kRoomForRow = 128;
    DxrLogFilterCfg show{};
    show.logType = options.logType;
    std::vector<char> text(kRoomForHead);
    uint32_t length = 0;
    // Showing no row drops what is out of date, so that the rows chosen next are the live ones.
    DXR_ShowLogFilterInfo(&show, text.data(), &length, kRoomForHead);
    const DxrLogFilterInfo info = *DXR_GetLogFilter(options.logType);
    const uint32_t live = info.curSize;
    const uint32_t rows = std::min(options.tableRows, live);
    show.key1 = info.curIndex + live - rows;
    show.key2 = rows;
    text.resize(kRoomForHead + size_t{rows} * kRoomForRow);
    DXR_ShowLogFilterInfo(&show, text.data(), &length, static_cast<uint32_t>(text.size()));
    Say(stderr, "\nthe filter's table, its last {} of {} entries\n{}", rows, live,
        PlainLines({text.data(), length}));
}

void RunFilter(const FilterOptions &options) {
    const Host host;
    {
        FilterRun run(options);
        run.Run();
        SayCounts(run.Result());
        SayMostSuppressed(run.MostSuppressed());
        SayTable(options);
        Say(stderr, "\nmemory of the filter\n{}", MemoryReport());
    }
    Say(stderr, "memory after its end\n{}", MemoryReport());
}

constexpr const char *kHelp =
    "A line that was let through within the last hour is suppressed. The lines let through go\n"
    "to standard output as they stand; a summary, the lines most often suppressed, the filter's\n"
    "table and its memory go to standard error. Compared is the text after the time stamp, at\n"
    "most 1023 characters of it. Empty lines are let through without asking the filter.\n"
    "\n"
    "With --key lines are compared by numbers found in them, whatever the rest of their text:\n"
    "the expression has up to four groups, which give key1 to key4; without groups the whole\n"
    "match gives key1. A number (decimal, or hexadecimal after 0x) is its own value, other\n"
    "text its hash. Keys with the same digits in a row (1, 23 and 12, 3) are one key. Lines\n"
    "that do not match are let through without asking the filter.\n"
    "\n";

}  // namespace

void AddFilterCommand(CLI::App &program) {
    const auto options = std::make_shared<FilterOptions>();
    CLI::App *const command = program.add_subcommand("filter", "Runs a log through the log filter");
    command->footer(std::string(kHelp) + kStampHelp);
    command->add_option("FILE", options->path, "The log; - or nothing is standard input");
    command->add_option("--type", options->logType, "Log type, 0 to 28 (default 0)")
        ->transform(AsWholeNumber())
        ->check(CLI::Range(uint32_t{0}, kLastLogType))
        ->type_name("N");
    command
        ->add_option("--interval", options->interval,
                     "Let a repeated line through again after so many seconds (default 0: never)")
        ->transform(AsWholeNumber())
        ->type_name("S");
    command
        ->add_option("--key", options->key,
                     "Compare lines by key: an extended regular expression, as of grep -E")
        ->type_name("REGEX");
    command
        ->add_option("--rows", options->tableRows,
                     "Rows of the filter's table to show, the latest (default 10)")
        ->transform(AsWholeNumber())
        ->type_name("N");
    AddYearOption(*command, options->year);
    command->callback([options] { RunFilter(*options); });
}

}  // namespace dxrsh
