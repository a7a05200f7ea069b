// What dxrsh run tells of a run, as text and as a page.
#ifndef DXRSH_RUN_REPORT_H
#define DXRSH_RUN_REPORT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "dxr_trace.h"
#include "unfilled.h"

namespace dxrsh {

struct RunReport {
    struct Memory {
        DxrHostMemoryAccount account{};
        std::string name;  // of the module, when one was registered with that identifier
    };
    struct Record {
        std::string text;
        uint32_t count = 0;
    };
    struct Call {
        uint32_t slot;
        uint64_t beginNs;
        uint64_t durationNs;
        bool hasReturned;
    };

    std::string module;
    std::vector<std::string> arguments;
    bool isVirtual = false;
    uint64_t seed = 1;
    std::string board;

    int result = 0;
    std::array<DxrTraceCount, kTableSlots> counts{};
    std::array<uint64_t, kTableSlots> unfilled{};
    std::vector<Memory> memory;
    uint64_t linesLetThrough = 0;
    std::vector<std::string> lines;  // the first of them
    uint64_t linesSuppressed = 0;    // repeats that the library's log filter counts
    bool hasFilterEnded = false;     // then it counts none any more
    std::vector<Record> records;
    std::vector<DxrHostAlarm> alarms;
    std::vector<DxrHostReport> reports;
    uint64_t leftovers = 0;
    std::vector<Call> calls;  // in the order of their beginnings; only for the page
};

// The module returned 0, broke no contract, and left nothing behind; the host did not end the run.
[[nodiscard]] bool IsWell(const RunReport &report);

[[nodiscard]] std::string ReportText(const RunReport &report);
// Without the module's result and what was left behind; for a run that goes on.
[[nodiscard]] std::string ReportSoFar(const RunReport &report);
// What one module holds, a line.
[[nodiscard]] std::string MemoryLine(const RunReport::Memory &memory);
// One finding, without a line break. Its text is cut to so many columns.
[[nodiscard]] std::string ReportLine(const DxrHostReport &report, size_t width = 300);

// The same as a JSON object, on a line.
[[nodiscard]] std::string ReportJson(const RunReport &report);

// One file that loads nothing from elsewhere. With the virtual clock it is the same for the same
// seed, so it holds no durations.
[[nodiscard]] std::string ReportPage(const RunReport &report);

}  // namespace dxrsh

#endif  // DXRSH_RUN_REPORT_H
