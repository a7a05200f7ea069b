// What a hook call costs bare, with wrappers that note nothing, counted and traced, beside a line
// printed for each call. All are timed in turn, round after round; the figures are medians of the
// rounds, and the ratios medians of each round's ratio.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "dxr_trace.h"

namespace {

constexpr int kRounds = 31;
constexpr const char *kFile = "dxr_trace_costs.out";
constexpr uint32_t kCalls = 2000;
constexpr int kBursts = 10;  // short, so that what drains a ring keeps up

double NowNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

[[gnu::noinline]] uint32_t ReadReg(uint32_t unit, uint32_t chip, uint32_t address, void *value) {
    *static_cast<uint32_t *>(value) = address;
    return unit ^ chip;
}

FILE *g_lines = nullptr;

[[gnu::noinline]] uint32_t PrintedReadReg(uint32_t unit, uint32_t chip, uint32_t address,
                                          void *value) {
    const uint32_t result = ReadReg(unit, chip, address, value);
    (void)std::fprintf(g_lines, "DXR_ReadReg(%u, %u, %u, %p) = %u, value %u\n", unit, chip, address,
                       value, result, *static_cast<uint32_t *>(value));
    return result;
}

uint32_t g_sum = 0;
uint64_t g_dropped = 0;

double OneBurst() {
    uint32_t value = 0;
    const double before = NowNs();
    for (uint32_t i = 0; i < kCalls; ++i) {
        g_sum += DXR_ReadReg(1, 2, i, &value) + value;
    }
    return (NowNs() - before) / kCalls;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Way {
    std::string name;
    uint32_t (*hook)(uint32_t, uint32_t, uint32_t, void *) = ReadReg;
    bool isTraced = false;
    DxrTraceOptions options = {};
    std::vector<double> ns;
};

void Fail(const char *what) {
    (void)std::fprintf(stderr, "dxr_trace_costs: %s\n", what);
    std::exit(1);
}

double Cost(const Way &way) {
    DxrHooks hooks = {};
    hooks.dev.readReg = way.hook;
    DXR_RegisterHooks(&hooks);
    if (way.isTraced && DxrTraceStart(&way.options) != 0) {
        Fail("the trace does not start");
    }
    (void)OneBurst();
    std::array<double, kBursts> bursts{};
    for (double &burst : bursts) {
        burst = OneBurst();
        if (way.options.mode == DXR_TRACE_CALLS) {
            const timespec drained = {0, 20'000'000};
            (void)nanosleep(&drained, nullptr);
        }
    }
    if (way.isTraced && DxrTraceStop() != 0) {
        Fail("the trace does not stop");
    }
    g_dropped += DxrTraceGetDropped();
    return Median({bursts.begin(), bursts.end()});
}

std::vector<Way> Ways() {
    std::vector<Way> ways(1);
    ways[0].name = "bare";
    const auto add = [&ways](const char *name, uint32_t mode, uint32_t timedCalls) {
        Way way;
        way.name = name;
        way.isTraced = true;
        DxrTraceInitOptions(&way.options);
        way.options.mode = mode;
        way.options.timedCalls = timedCalls;
        ways.push_back(std::move(way));
    };
    add("wrapped, nothing noted", DXR_TRACE_OFF, 16);
    add("counted, one of 16 timed", DXR_TRACE_COUNT, 16);
    add("counted, all timed", DXR_TRACE_COUNT, 1);
    add("traced", DXR_TRACE_CALLS, 1);
    ways.back().options.file = kFile;
    add("traced, pointers followed", DXR_TRACE_CALLS, 1);
    ways.back().options.file = kFile;
    ways.back().options.pointers = DXR_TRACE_POINTERS_DEVHOST;
    Way printed;
    printed.name = "bare, and a line by fprintf";
    printed.hook = PrintedReadReg;
    ways.push_back(std::move(printed));
    return ways;
}

}  // namespace

int main() {
    g_lines = std::tmpfile();
    if (g_lines == nullptr) {
        Fail("no temporary file");
    }
    std::vector<Way> ways = Ways();
    for (int round = 0; round < kRounds; ++round) {
        for (Way &way : ways) {
            way.ns.push_back(Cost(way));
            std::rewind(g_lines);
        }
    }
    std::printf("%-30s %10s %8s\n", "DXR_ReadReg", "ns", "ratio");
    for (const Way &way : ways) {
        std::vector<double> ratios;
        ratios.reserve(kRounds);
        for (int round = 0; round < kRounds; ++round) {
            ratios.push_back(way.ns[static_cast<size_t>(round)] /
                             ways[0].ns[static_cast<size_t>(round)]);
        }
        std::printf("%-30s %10.1f %8.2f\n", way.name.c_str(), Median(way.ns), Median(ratios));
    }
    std::printf("dropped: %llu\n", static_cast<unsigned long long>(g_dropped));
    (void)std::remove(kFile);
    return g_sum == 0 ? 1 : 0;
}
