// The report of a run as a page: one file, without scripts, that loads nothing.

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "json_text.h"
#include "run_report.h"
#include "slot_table.h"

namespace dxrsh {
namespace {

constexpr uint32_t kBuckets = 60;
constexpr uint32_t kGroupsShown = 6;
// Told apart also without colour vision, and from the white behind them.
constexpr std::array<std::string_view, kGroupsShown + 1> kColours = {
    "#0b5394", "#b45f06", "#38761d", "#741b47", "#7f6000", "#134f5c", "#666666"};

constexpr std::string_view kStyle =
    "body{font:16px/1.4 sans-serif;max-width:60em;margin:2em auto;padding:0 1em;color:#111;"
    "background:#fff}table{border-collapse:collapse}caption{text-align:left;font-weight:bold}"
    "th,td{padding:.15em .8em;border-bottom:1px solid #ccc;text-align:left;vertical-align:top}"
    "td.n{text-align:right;font-variant-numeric:tabular-nums}svg{width:100%;height:auto}"
    "pre{white-space:pre-wrap;overflow-wrap:anywhere;background:#f4f4f4;padding:.5em}"
    ".well{color:#135c13}.bad{color:#a30000}";

// Whether a character is only to be seen by what it does to others: controls, those of U+0080 to
// U+009F among them, ends of lines, and those that turn the direction of a text around.
bool IsHidden(std::string_view character) {
    uint32_t code = static_cast<uint8_t>(character[0]);
    if (character.size() > 1) {
        code &= 0x7FU >> character.size();
    }
    for (const char c : character.substr(1)) {
        code = code << 6U | (static_cast<uint8_t>(c) & 0x3FU);
    }
    constexpr std::array<std::array<uint32_t, 2>, 6> kHidden = {{{0, 0x1F},
                                                                 {0x7F, 0x9F},
                                                                 {0x61C, 0x61C},
                                                                 {0x200E, 0x200F},
                                                                 {0x2028, 0x202E},
                                                                 {0x2066, 0x2069}}};
    return std::any_of(kHidden.begin(), kHidden.end(),
                       [code](const auto &range) { return code >= range[0] && code <= range[1]; });
}

// As text or as an attribute's value, whatever the bytes are. Those that are no UTF-8, and hidden
// characters, are told by their numbers.
std::string Escaped(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        const size_t length = CharacterLength(text);
        const std::string_view character = text.substr(0, std::max<size_t>(length, 1));
        if (length == 0 || IsHidden(character)) {
            for (const char c : character) {
                escaped += fmt::format("\\x{:02x}", static_cast<uint8_t>(c));
            }
        } else if (character == "&") {
            escaped += "&amp;";
        } else if (character == "<") {
            escaped += "&lt;";
        } else if (character == ">") {
            escaped += "&gt;";
        } else if (character == "\"") {
            escaped += "&quot;";
        } else if (character == "'") {
            escaped += "&#39;";
        } else {
            escaped += character;
        }
        text.remove_prefix(character.size());
    }
    return escaped;
}

std::string Row(const std::vector<std::string> &cells) {
    std::string row = "<tr><th scope=\"row\">" + cells[0] + "</th>";
    for (size_t i = 1; i < cells.size(); ++i) {
        row += "<td class=\"n\">" + cells[i] + "</td>";
    }
    return row + "</tr>\n";
}

std::string Head(std::string_view caption, const std::vector<std::string_view> &columns) {
    std::string head = fmt::format("<table><caption>{}</caption>\n<tr>", Escaped(caption));
    for (const std::string_view column : columns) {
        head += fmt::format("<th scope=\"col\">{}</th>", Escaped(column));
    }
    return head + "</tr>\n";
}

// Bars one above the other; the widths are those of the values.
struct Bar {
    std::string name;
    uint64_t value;
    std::string shown;
};

std::string Bars(std::string_view label, const std::vector<Bar> &bars) {
    constexpr uint32_t kRow = 22;
    constexpr uint32_t kLeft = 300;
    constexpr uint32_t kWidth = 480;
    uint64_t most = 1;
    for (const Bar &bar : bars) {
        most = std::max(most, bar.value);
    }
    std::string svg = fmt::format(
        "<svg role=\"img\" aria-label=\"{}\" viewBox=\"0 0 900 {}\" font-size=\"13\">\n",
        Escaped(label), bars.size() * kRow + 4);
    for (size_t i = 0; i < bars.size(); ++i) {
        const uint64_t y = i * kRow + 2;
        const double width =
            static_cast<double>(bars[i].value) / static_cast<double>(most) * kWidth;
        svg += fmt::format(
            "<text x=\"{}\" y=\"{}\" text-anchor=\"end\">{}</text>"
            "<rect x=\"{}\" y=\"{}\" width=\"{:.1f}\" height=\"{}\" fill=\"{}\"/>"
            "<text x=\"{:.1f}\" y=\"{}\">{}</text>\n",
            kLeft - 8, y + 14, Escaped(bars[i].name), kLeft, y, width, kRow - 6, kColours[0],
            kLeft + width + 6, y + 14, Escaped(bars[i].shown));
    }
    return svg + "</svg>\n";
}

std::string Duration(uint64_t ns) {
    if (ns < 10'000) {
        return fmt::format("{} ns", ns);
    }
    return ns < 10'000'000 ? fmt::format("{:.1f} us", static_cast<double>(ns) / 1e3)
                           : fmt::format("{:.1f} ms", static_cast<double>(ns) / 1e6);
}

// The groups that were called most, and the colour of each slot's.
class Groups {
  public:
    explicit Groups(const RunReport &report) {
        std::map<std::string_view, uint64_t> calls;
        for (const RunReport::Call &call : report.calls) {
            calls[kSlotTable[call.slot].group] += 1;
        }
        for (const auto &[group, count] : calls) {
            names_.push_back(group);
        }
        std::stable_sort(
            names_.begin(), names_.end(),
            [&calls](std::string_view a, std::string_view b) { return calls[a] > calls[b]; });
        names_.resize(std::min<size_t>(names_.size(), kGroupsShown));
        for (size_t i = 0; i < kTableSlots; ++i) {
            const auto found = std::find(names_.begin(), names_.end(), kSlotTable[i].group);
            placeOf_[i] = static_cast<size_t>(found - names_.begin());
            hasOthers_ =
                hasOthers_ || (found == names_.end() && calls.contains(kSlotTable[i].group));
        }
    }

    // Of those that are not named it is the number of the named ones.
    [[nodiscard]] size_t PlaceOf(uint32_t slot) const { return placeOf_[slot]; }

    [[nodiscard]] std::string Legend() const {
        std::string legend = "<p>";
        for (size_t i = 0; i < names_.size() + (hasOthers_ ? 1 : 0); ++i) {
            legend += fmt::format(
                "<svg aria-hidden=\"true\" viewBox=\"0 0 10 10\" style=\"width:.8em\"><rect "
                "width=\"10\" height=\"10\" fill=\"{}\"/></svg> {} ",
                ColourOf(i), i < names_.size() ? names_[i] : "others");
        }
        return legend + "</p>\n";
    }

    [[nodiscard]] std::string_view ColourOf(size_t place) const {
        return kColours[place < names_.size() ? place : kGroupsShown];
    }

  private:
    std::vector<std::string_view> names_;
    std::array<size_t, kTableSlots> placeOf_{};
    bool hasOthers_ = false;
};

std::string CallsOverTime(const RunReport &report) {
    std::string page = "<h2>Calls over time</h2>\n";
    if (report.calls.empty()) {
        return page + "<p>No calls.</p>\n";
    }
    const Groups groups(report);
    // With the virtual clock durations mean nothing: the place of a call in the order is its time.
    const uint64_t span = report.isVirtual ? report.calls.size() : report.calls.back().beginNs + 1;
    std::array<std::array<uint64_t, kGroupsShown + 1>, kBuckets> buckets{};
    std::array<uint64_t, kBuckets> sums{};
    for (size_t i = 0; i < report.calls.size(); ++i) {
        const uint64_t at = report.isVirtual ? i : report.calls[i].beginNs;
        const auto bucket =
            static_cast<size_t>(static_cast<double>(at) / static_cast<double>(span) * kBuckets);
        const size_t place = std::min<size_t>(bucket, kBuckets - 1);
        ++buckets[place][std::min<size_t>(groups.PlaceOf(report.calls[i].slot), kGroupsShown)];
        ++sums[place];
    }
    const uint64_t most = *std::max_element(sums.begin(), sums.end());
    constexpr double kHeight = 160;
    constexpr double kWide = 14;
    page += fmt::format(
        "<svg role=\"img\" aria-label=\"{} calls, at most {} in a {}th of the run\" "
        "viewBox=\"0 0 900 200\" font-size=\"13\">\n",
        report.calls.size(), most, kBuckets);
    for (size_t i = 0; i < kBuckets; ++i) {
        double y = kHeight + 10;
        for (size_t place = 0; place <= kGroupsShown; ++place) {
            if (buckets[i][place] != 0) {
                const double height =
                    static_cast<double>(buckets[i][place]) / static_cast<double>(most) * kHeight;
                y -= height;
                page += fmt::format(
                    "<rect x=\"{:.0f}\" y=\"{:.1f}\" width=\"{:.0f}\" height=\"{:.1f}\" "
                    "fill=\"{}\"/>\n",
                    40 + static_cast<double>(i) * kWide, y, kWide - 2, height,
                    groups.ColourOf(place));
            }
        }
    }
    page += fmt::format(
        "<line x1=\"40\" y1=\"170\" x2=\"880\" y2=\"170\" stroke=\"#111\"/>"
        "<text x=\"34\" y=\"20\" text-anchor=\"end\">{}</text>"
        "<text x=\"40\" y=\"190\">{}</text>"
        "<text x=\"880\" y=\"190\" text-anchor=\"end\">{}</text>\n</svg>\n",
        most, report.isVirtual ? "first call" : "0",
        report.isVirtual ? fmt::format("call {}", report.calls.size()) : Duration(span));
    return page + groups.Legend();
}

std::string Slots(const RunReport &report) {
    std::vector<uint32_t> used;
    for (uint32_t i = 0; i < kTableSlots; ++i) {
        if (report.counts[i].calls != 0) {
            used.push_back(i);
        }
    }
    std::string page = report.isVirtual ? "<h2>Slots</h2>\n<p>With the virtual clock nothing "
                                          "waits: durations are not shown.</p>\n"
                                        : "<h2>Latency by slot</h2>\n";
    if (!report.isVirtual && !used.empty()) {
        std::vector<Bar> bars;
        bars.reserve(used.size());
        for (const uint32_t slot : used) {
            bars.push_back({DxrTraceSlotName(slot), report.counts[slot].p99Ns,
                            Duration(report.counts[slot].p99Ns)});
        }
        page += Bars("99 of 100 calls of each slot took no longer", bars);
    }
    std::vector<std::string_view> columns = {"slot", "calls"};
    if (!report.isVirtual) {
        columns.insert(columns.end(), {"median", "99 of 100", "longest"});
    }
    page += Head("Slots used", columns);
    for (const uint32_t slot : used) {
        const DxrTraceCount &count = report.counts[slot];
        std::vector<std::string> cells = {Escaped(DxrTraceSlotName(slot)),
                                          std::to_string(count.calls)};
        if (!report.isVirtual) {
            cells.insert(cells.end(),
                         {Duration(count.p50Ns), Duration(count.p99Ns), Duration(count.maxNs)});
        }
        page += Row(cells);
    }
    page += "</table>\n" + Head("Empty slots asked", {"slot", "calls"});
    for (uint32_t i = 0; i < kTableSlots; ++i) {
        if (report.unfilled[i] != 0) {
            page += Row({Escaped(DxrTraceSlotName(i)), std::to_string(report.unfilled[i])});
        }
    }
    return page + "</table>\n";
}

std::string Memory(const RunReport &report) {
    std::string page = "<h2>Memory by module</h2>\n";
    std::vector<Bar> bars;
    std::string rows;
    for (const RunReport::Memory &memory : report.memory) {
        const DxrHostMemoryAccount &account = memory.account;
        const std::string name =
            fmt::format("module {}{}", account.mid, memory.name.empty() ? "" : " " + memory.name);
        bars.push_back({name, account.bytesPeak, fmt::format("{} bytes", account.bytesPeak)});
        rows += Row({Escaped(name), std::to_string(account.blocksTotal),
                     std::to_string(account.bytesTotal), std::to_string(account.bytesPeak),
                     std::to_string(account.blocksLive), std::to_string(account.bytesLive)});
    }
    if (bars.empty()) {
        return page + "<p>None.</p>\n";
    }
    return page + Bars("Most bytes that each module held at a time", bars) +
           Head("Memory", {"module", "blocks in all", "bytes in all", "most bytes", "blocks left",
                           "bytes left"}) +
           rows + "</table>\n";
}

std::string LogLines(const RunReport &report) {
    std::string page =
        "<h2>Log lines</h2>\n" +
        Bars("Log lines let through and suppressed",
             {{"let through", report.linesLetThrough, std::to_string(report.linesLetThrough)},
              {"suppressed", report.linesSuppressed,
               report.hasFilterEnded ? "unknown: the log filter has ended"
                                     : std::to_string(report.linesSuppressed)}});
    if (!report.lines.empty()) {
        page += report.lines.size() < report.linesLetThrough
                    ? fmt::format("<p>The first {} of them:</p>\n", report.lines.size())
                    : std::string();
        page += "<pre>";
        for (const std::string &line : report.lines) {
            page += Escaped(line) + "\n";
        }
        page += "</pre>\n";
    }
    return page;
}

std::string Findings(const RunReport &report) {
    std::string page = "<h2>Records and faults</h2>\n" + Head("Records", {"text", "times"});
    for (const RunReport::Record &record : report.records) {
        page += Row({Escaped(record.text), std::to_string(record.count)});
    }
    page += "</table>\n" + Head("Faults", {"alarm", "object", "raised", "cleared"});
    for (const DxrHostAlarm &alarm : report.alarms) {
        page += Row({std::to_string(alarm.alarm), std::to_string(alarm.object),
                     std::to_string(alarm.raised), std::to_string(alarm.cleared)});
    }
    page += fmt::format("</table>\n<h2>Left behind: {}</h2>\n<h2>Reports of the host: {}</h2>\n",
                        report.leftovers, report.reports.size());
    if (!report.reports.empty()) {
        page += "<ul>\n";
        for (const DxrHostReport &found : report.reports) {
            page += "<li>" + Escaped(ReportLine(found, SIZE_MAX)) + "</li>\n";
        }
        page += "</ul>\n";
    }
    return page;
}

}  // namespace

std::string ReportPage(const RunReport &report) {
    std::string arguments;
    for (const std::string &argument : report.arguments) {
        arguments += " " + argument;
    }
    const std::string title = Escaped(report.module + arguments);
    return fmt::format(
               "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
               "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
               "style-src 'unsafe-inline'\">\n"
               "<meta name=\"viewport\" content=\"width=device-width\">\n"
               "<title>Run of {}</title>\n<style>{}</style>\n</head>\n<body>\n<main>\n"
               "<h1>Run of {}</h1>\n<p class=\"{}\"><strong>{}</strong> Returned {}. {}</p>\n",
               title, kStyle, title, IsWell(report) ? "well" : "bad",
               IsWell(report) ? "Well." : "Not well.", report.result,
               report.isVirtual ? fmt::format("Virtual clock, seed {}.", report.seed)
                                : "Real clock.") +
           (report.board.empty() ? std::string()
                                 : "<p>Board " + Escaped(report.board) + ".</p>\n") +
           CallsOverTime(report) + Slots(report) + Memory(report) + LogLines(report) +
           Findings(report) + "</main>\n</body>\n</html>\n";
}

}  // namespace dxrsh
