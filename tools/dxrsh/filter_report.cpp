#include "filter_report.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "color.h"
#include "dxr_api.h"
#include "file_io.h"
#include "host.h"
#include "json_text.h"
#include "say.h"
#include "stamp_report.h"

namespace dxrsh {
namespace {

constexpr size_t kTopWidth = 100;
constexpr size_t kBars = 20;
constexpr size_t kBarWidth = 40;

double Percent(uint64_t part, uint64_t whole) {
    return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

void SayCounts(const FilterRun &run, const Colors &colors) {
    const FilterCounts &counts = run.Counts();
    const uint64_t suppressed = counts.lines - counts.passed;
    Say(stderr, "lines read   {:>10}\n", counts.lines);
    const std::string form = run.Stamps().Recognised();
    Say(stderr, "  stamped    {:>10}{}{}\n",
        fmt::format("{} of {}", run.Stamps().Count(), counts.lines), form.empty() ? "" : "  ",
        form);
    Say(stderr, "{}",
        colors.Good(fmt::format("let through  {:>10}  {:5.1f} %", counts.passed,
                                Percent(counts.passed, counts.lines))));
    Say(stderr, "\n");
    if (counts.unasked != 0) {
        Say(stderr, "  unasked    {:>10}\n", counts.unasked);
    }
    Say(stderr, "{}",
        colors.Bad(fmt::format("suppressed   {:>10}  {:5.1f} %", suppressed,
                               Percent(suppressed, counts.lines))));
    Say(stderr, "\n");
    if (counts.otherText != 0) {
        Say(stderr, "  other text {:>10}\n", counts.otherText);
    }
    if (counts.inPart != 0) {
        Say(stderr, "  in part    {:>10}\n", counts.inPart);
    }
}

void SayMostSuppressed(const std::vector<SuppressedLine> &lines, const Colors &colors) {
    if (lines.empty()) {
        return;
    }
    Say(stderr, "\n{}\n", colors.Strong("most suppressed"));
    for (const SuppressedLine &line : lines) {
        Say(stderr, "{:>10}  {}\n", line.count, Printable(line.text, kTopWidth));
    }
}

void SayHistogram(const Histogram &histogram, const Colors &colors) {
    const std::vector<Histogram::Bar> bars = histogram.Bars(kBars);
    uint64_t most = 0;
    for (const Histogram::Bar &bar : bars) {
        most = std::max(most, bar.lines);
    }
    Say(stderr, "\n{}\n", colors.Strong("over time                 lines   let through (#)"));
    for (const Histogram::Bar &bar : bars) {
        // What is there is seen, however little.
        const auto width = [&](uint64_t count) {
            return count == 0 ? 0
                              : std::max<size_t>(1, static_cast<size_t>(count * kBarWidth / most));
        };
        const size_t passed = width(bar.passed);
        const size_t suppressed = width(bar.lines - bar.passed);
        Say(stderr, "{}{:>12}{:>14}  {}{}\n", FormatTime(bar.begin), bar.lines, bar.passed,
            colors.Good(std::string(passed, '#')), colors.Faint(std::string(suppressed, '-')));
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

void WriteCounts(FilterRun &run, const FilterOptions &options, JsonText &json) {
    const FilterCounts &counts = run.Counts();
    json.Number("lines", counts.lines)
        .Number("stamped", run.Stamps().Count())
        .Text("stamps", run.Stamps().Recognised())
        .Number("passed", counts.passed)
        .Number("unasked", counts.unasked)
        .Number("suppressed", counts.lines - counts.passed)
        .Number("other_text", counts.otherText)
        .Number("in_part", counts.inPart)
        .Flag("interrupted", run.Stopped())
        .BeginList("most_suppressed");
    for (const SuppressedLine &line : run.MostSuppressed(options.topLines)) {
        json.BeginObject().Number("count", line.count).Text("text", line.text).EndObject();
    }
    json.EndList();
}

}  // namespace

void SayReport(FilterRun &run, const FilterOptions &options) {
    const Colors colors(options.color, STDERR_FILENO);
    if (options.quiet) {
        if (options.histogram) {
            SayHistogram(run.OverTime(), colors);
        }
        return;
    }
    if (run.Stopped() && isatty(STDERR_FILENO) == 1) {
        Say(stderr, "\n");  // after what the terminal shows of the key that was pressed
    }
    WarnOfStamps(run.Log());
    SayCounts(run, colors);
    SayMostSuppressed(run.MostSuppressed(options.topLines), colors);
    if (options.histogram) {
        SayHistogram(run.OverTime(), colors);
    }
    SayTable(options);
    Say(stderr, "\nmemory of the filter\n{}", MemoryReport());
}

void WriteJsonReport(FilterRun &run, const FilterOptions &options) {
    if (options.quiet && !options.histogram) {
        return;
    }
    JsonText json;
    json.BeginObject().BeginObject("summary");
    if (!options.quiet) {
        WriteCounts(run, options, json);
    }
    if (options.histogram) {
        json.BeginList("over_time");
        for (const Histogram::Bar &bar : run.OverTime().Bars(kBars)) {
            json.BeginObject()
                .Text("time", FormatTime(bar.begin))
                .Number("lines", bar.lines)
                .Number("passed", bar.passed)
                .EndObject();
        }
        json.EndList();
    }
    json.EndObject().EndObject();
    WriteOut(json.Line());
}

}  // namespace dxrsh
