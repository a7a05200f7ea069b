#include "run_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "json_text.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kLineWidth = 300;

std::string OneLine(std::string_view text) {
    return Printable(text, kLineWidth);
}

uint64_t SumOf(const std::array<uint64_t, kTableSlots> &counts) {
    uint64_t sum = 0;
    for (const uint64_t count : counts) {
        sum += count;
    }
    return sum;
}

std::string_view KindOf(const DxrHostReport &report) {
    switch (report.kind) {
        case DXR_HOST_REPORT_LEFTOVER:
            return "left behind";
        case DXR_HOST_REPORT_MISUSE:
            return "misuse";
        case DXR_HOST_REPORT_RISK:
            return "risk";
        default:
            return "end of the run";
    }
}

std::string MemoryName(const RunReport::Memory &memory) {
    return memory.name.empty()
               ? fmt::format("module {}", memory.account.mid)
               : fmt::format("module {} ({})", memory.account.mid, OneLine(memory.name));
}

}  // namespace

std::string ReportLine(const DxrHostReport &report, size_t width) {
    // Of what is left behind the text says so.
    std::string line = report.kind == DXR_HOST_REPORT_LEFTOVER
                           ? std::string(report.service)
                           : fmt::format("{}, {}", KindOf(report), report.service);
    if (report.slot[0] != '\0') {
        line += fmt::format(", {} by {}", report.slot, report.caller);
    }
    line += ": " + Printable(report.text, width);
    return report.count > 1 ? fmt::format("{} ({} times)", line, report.count) : line;
}

std::string MemoryLine(const RunReport::Memory &memory) {
    return fmt::format("{}: {} blocks, {} bytes live; at most {} bytes, {} blocks in all\n",
                       MemoryName(memory), memory.account.blocksLive, memory.account.bytesLive,
                       memory.account.bytesPeak, memory.account.blocksTotal);
}

namespace {

void AddCounts(JsonText &json, std::string_view key,
               const std::array<uint64_t, kTableSlots> &calls) {
    json.BeginList(key);
    for (uint32_t i = 0; i < kTableSlots; ++i) {
        if (calls[i] != 0) {
            json.BeginObject()
                .Text("function", DxrTraceSlotName(i))
                .Number("calls", calls[i])
                .EndObject();
        }
    }
    json.EndList();
}

void AddMemory(JsonText &json, const RunReport &report) {
    json.BeginList("memory");
    for (const RunReport::Memory &memory : report.memory) {
        json.BeginObject().Number("mid", memory.account.mid);
        if (!memory.name.empty()) {
            json.Text("name", memory.name);
        }
        json.Number("blocks_live", memory.account.blocksLive)
            .Number("bytes_live", memory.account.bytesLive)
            .Number("bytes_most", memory.account.bytesPeak)
            .Number("blocks_in_all", memory.account.blocksTotal)
            .EndObject();
    }
    json.EndList();
}

void AddReports(JsonText &json, const RunReport &report) {
    json.BeginList("reports");
    for (const DxrHostReport &found : report.reports) {
        json.BeginObject().Text("kind", KindOf(found)).Text("service", found.service);
        if (found.slot[0] != '\0') {
            json.Text("function", found.slot).Text("caller", found.caller);
        }
        json.Text("text", found.text).Number("times", found.count).EndObject();
    }
    json.EndList();
}

}  // namespace

bool IsWell(const RunReport &report) {
    return report.result == 0 && report.leftovers == 0 &&
           std::all_of(
               report.reports.begin(), report.reports.end(),
               [](const DxrHostReport &found) { return found.kind == DXR_HOST_REPORT_RISK; });
}

namespace {

std::string UsedText(const RunReport &report) {
    uint64_t calls = 0;
    uint64_t slots = 0;
    for (const DxrTraceCount &count : report.counts) {
        calls += count.calls;
        slots += count.calls != 0 ? 1 : 0;
    }
    std::string text = fmt::format("slots used: {}, {} calls\n", slots, calls);
    for (uint32_t i = 0; i < kTableSlots; ++i) {
        if (report.counts[i].calls != 0) {
            text += fmt::format("  {:<40} {:>9}\n", DxrTraceSlotName(i), report.counts[i].calls);
        }
    }
    const uint64_t unfilled = SumOf(report.unfilled);
    text += unfilled == 0 ? std::string("empty slots asked: none\n")
                          : fmt::format("empty slots asked: {} calls\n", unfilled);
    for (uint32_t i = 0; i < kTableSlots; ++i) {
        if (report.unfilled[i] != 0) {
            text += fmt::format("  {:<40} {:>9}\n", DxrTraceSlotName(i), report.unfilled[i]);
        }
    }
    text += report.memory.empty() ? "memory: none\n" : "memory:\n";
    for (const RunReport::Memory &memory : report.memory) {
        text += "  " + MemoryLine(memory);
    }
    text += fmt::format("log lines: {} let through, {}\n", report.linesLetThrough,
                        report.hasFilterEnded
                            ? std::string("suppressed unknown: the log filter has ended")
                            : fmt::format("{} suppressed", report.linesSuppressed));
    text += fmt::format("records: {}\n", report.records.size());
    for (const RunReport::Record &record : report.records) {
        text += fmt::format("  {} x {}\n", record.count, OneLine(record.text));
    }
    text += fmt::format("faults: {}\n", report.alarms.size());
    for (const DxrHostAlarm &alarm : report.alarms) {
        text += fmt::format("  alarm {} of object {}: raised {} times, cleared {} times{}\n",
                            alarm.alarm, alarm.object, alarm.raised, alarm.cleared,
                            alarm.state == DXR_HOST_ALARM_RAISED ? ", stands" : "");
    }
    return text;
}

std::string FoundText(const RunReport &report) {
    std::string text = fmt::format("reports: {}\n", report.reports.size());
    for (const DxrHostReport &found : report.reports) {
        text += "  " + ReportLine(found) + "\n";
    }
    return text;
}

}  // namespace

std::string ReportText(const RunReport &report) {
    return fmt::format("module {} returned {}\n{}left behind: {}\n{}{}\n", OneLine(report.module),
                       report.result, UsedText(report), report.leftovers, FoundText(report),
                       IsWell(report) ? "well" : "not well");
}

std::string ReportSoFar(const RunReport &report) {
    return UsedText(report) + FoundText(report);
}

std::string ReportJson(const RunReport &report) {
    std::array<uint64_t, kTableSlots> calls{};
    std::transform(report.counts.begin(), report.counts.end(), calls.begin(),
                   [](const DxrTraceCount &count) { return count.calls; });
    JsonText json;
    json.BeginObject()
        .BeginObject("report")
        .Text("module", report.module)
        .Signed("returned", report.result)
        .Flag("well", IsWell(report));
    AddCounts(json, "slots", calls);
    AddCounts(json, "empty_slots", report.unfilled);
    AddMemory(json, report);
    json.Number("lines_let_through", report.linesLetThrough);
    if (report.hasFilterEnded) {
        json.Null("lines_suppressed");
    } else {
        json.Number("lines_suppressed", report.linesSuppressed);
    }
    json.BeginList("records");
    for (const RunReport::Record &record : report.records) {
        json.BeginObject().Text("text", record.text).Number("count", record.count).EndObject();
    }
    json.EndList().BeginList("alarms");
    for (const DxrHostAlarm &alarm : report.alarms) {
        json.BeginObject()
            .Number("alarm", alarm.alarm)
            .Number("object", alarm.object)
            .Number("raised", alarm.raised)
            .Number("cleared", alarm.cleared)
            .Flag("stands", alarm.state == DXR_HOST_ALARM_RAISED)
            .EndObject();
    }
    json.EndList().Number("left_behind", report.leftovers);
    AddReports(json, report);
    json.EndObject().EndObject();
    return json.Line();
}

}  // namespace dxrsh
