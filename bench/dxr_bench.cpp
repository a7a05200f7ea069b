// Times the library as a module pays for it, through the shared object, beside what people would
// use instead. See docs/performance.md.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "bare_host.h"
#include "figures.h"
#include "package_figures.h"

namespace {

using bench::LineKind;

struct Target {
    double must;  // largest ratio that counts as done
    double goal;  // what a first-class design reaches
};

struct Row {
    const char *section;
    bench::Figure figure;
    Target target;
};

class Rows {
  public:
    void Begin(const char *section) { section_ = section; }
    void Add(bench::Figure figure, Target target) {
        rows_.push_back({section_, std::move(figure), target});
    }
    [[nodiscard]] const std::vector<Row> &All() const { return rows_; }

  private:
    const char *section_ = "";
    std::vector<Row> rows_;
};

constexpr uint32_t kLive[] = {1, 100, 1000, 2047};
constexpr uint32_t kWholeRing = 2047;
constexpr LineKind kKinds[] = {LineKind::kPlain, LineKind::kPadded};

std::vector<bench::Place> PlacesAmong(uint32_t live) {
    using bench::Place;
    return live == 1 ? std::vector{Place::kNewest}
                     : std::vector{Place::kOldest, Place::kNewest, Place::kRandom};
}

void AddLogFilter(Rows &rows) {
    using bench::Place;
    using bench::Sharing;
    for (const LineKind kind : kKinds) {
        for (const uint32_t live : kLive) {
            for (const Place place : PlacesAmong(live)) {
                rows.Add(bench::SameTextBesideSpdlog(kind, live, place), {0.85, 0.6});
                rows.Add(bench::SameText(kind, live, place), {0.8, 0.55});
            }
        }
        const bench::Figure whole = bench::SameText(kind, kWholeRing, Place::kNewest);
        const bench::Figure one = bench::SameText(kind, 1, Place::kNewest);
        rows.Add(bench::Beside(whole, "newest of 1", one.ours), {1.3, 1.1});
        rows.Add(bench::AboveClearing(bench::NewTextBesideSpdlog(kind, kWholeRing)), {1.05, 0.75});
        rows.Add(bench::AbovePrinting(bench::SameTextWithDouble(kind), kind), {1.35, 1.2});
        rows.Add(bench::SameTextInEightThreads(kind, Sharing::kEach), {0.95, 0.7});
        rows.Add(bench::SameTextInEightThreads(kind, Sharing::kOne), {1.4, 1.0});
    }
    for (const uint32_t live : kLive) {
        rows.Add(bench::SameKey(live), {0.6, 0.4});
    }
}

void AddBitmap(Rows &rows) {
    using bench::Operation;
    constexpr Operation kOperations[] = {Operation::kOr, Operation::kAnd, Operation::kXor};
    constexpr size_t kMebibyte = (1U << 20U) / sizeof(uint32_t);
    for (const size_t words : {1U, 2U, 4U, 8U}) {
        for (const Operation operation : kOperations) {
            rows.Add(bench::CombinationBesideInlineBoost(operation, words), {1.5, 1.1});
        }
        rows.Add(bench::AboveCallWithWords(bench::SmallComparison(words), words), {1.25, 1.0});
        rows.Add(bench::AboveCallWithWords(bench::ZeroTestBesideBoost(words), words), {1.25, 1.0});
    }
    for (const size_t words : {size_t{64}, size_t{1024}}) {
        for (const Operation operation : kOperations) {
            rows.Add(bench::CombinationBesideBoost(operation, words), {0.7, 0.45});
        }
        rows.Add(bench::Comparison(words), {1.2, 1.0});
        rows.Add(bench::ZeroTest(words), {1.2, 1.0});
        rows.Add(bench::SetBitsBesideBoost(words), {0.25, 0.07});
    }
    for (const Operation operation : kOperations) {
        rows.Add(bench::CombinationBesideCopy(operation, kMebibyte), {1.2, 1.05});
    }
    rows.Add(bench::Comparison(kMebibyte), {1.2, 1.0});
    rows.Add(bench::ZeroTest(kMebibyte), {1.2, 1.0});
    rows.Add(bench::FieldRead(), {2.4, 2.0});
    rows.Add(bench::FieldWrite(), {2.4, 2.0});
}

void AddRecorder(Rows &rows) {
    for (const LineKind kind : kKinds) {
        for (const uint32_t live : {1U, 100U, 1024U}) {
            rows.Add(bench::RecordRepeat(kind, live), {0.65, 0.45});
        }
        rows.Add(bench::RecordNew(kind), {0.5, 0.35});
    }
}

Rows AllRows() {
    Rows rows;
    rows.Begin("Dispatch");
    rows.Add(bench::DispatchWithSlotSet(), {1.1, 1.0});
    rows.Add(bench::DispatchWithSlotEmpty(), {2.2, 1.75});
    rows.Begin("Log filter");
    AddLogFilter(rows);
    rows.Begin("Hash and CRC");
    for (const size_t bytes : {8U, 16U, 32U}) {
        rows.Add(bench::AboveCallWithText(bench::Hash(bytes)), {0.75, 0.5});
    }
    rows.Add(bench::Hash(80), {0.45, 0.15});
    rows.Add(bench::Hash(1000), {0.35, 0.05});
    rows.Add(bench::AboveCallWithBytes(bench::Crc8BesideBoost(1), 1), {1.8, 1.2});
    rows.Add(bench::AboveCallWithBytes(bench::Crc8BesideBoost(4), 4), {1.1, 0.7});
    rows.Add(bench::AboveCallWithBytes(bench::Crc8BesideBoost(8), 8), {0.9, 0.6});
    rows.Add(bench::AboveCallWithBytes(bench::Crc8BesideBoost(16), 16), {0.55, 0.4});
    rows.Add(bench::Crc8BesideBoost(64), {0.3, 0.15});
    rows.Add(bench::Crc8BesideBoost(1024), {0.25, 0.05});
    rows.Add(bench::Crc8BesideBoost(65536), {0.25, 0.03});
    rows.Begin("Bitmaps");
    AddBitmap(rows);
    rows.Begin("Sorting");
    for (const size_t elements : {10U, 100U, 1'000U, 10'000U, 100'000U}) {
        rows.Add(bench::Sort(elements), {1.15, 1.0});
    }
    rows.Begin("Recorder");
    AddRecorder(rows);
    rows.Begin("Message filter");
    rows.Add(bench::FilterQueryOfRandomPaths(), {2, 1.4});
    rows.Add(bench::FilterQueryOfOnePath(), {3, 1.5});
    rows.Begin("Fault rules");
    rows.Add(bench::FaultRule(), {2.5, 1.6});
    rows.Begin("Whole library and tool");
    rows.Add(bench::Load(), {1.6, 1.2});
#ifdef DXR_BENCH_DXRSH
    rows.Add(bench::FilterOfFile(DXR_BENCH_DXRSH, bench::Program::kUniq), {2.0, 1.2});
    rows.Add(bench::FilterOfFile(DXR_BENCH_DXRSH, bench::Program::kAwk), {0.7, 0.4});
#endif
    return rows;
}

const char *Verdict(const Target &target, double ratio) {
    if (ratio <= target.goal) {
        return "goal";
    }
    return ratio <= target.must ? "met" : "MISSED";
}

void PrintRow(const Row &row, const bench::Result &result, bool tabs) {
    const auto &[section, figure, target] = row;
    if (tabs) {
        std::printf("%s\t%s\t%s\t%g\t%.2f\t%.2f\t%.3f\t%g\t%g\t%s\t%s\t%.2f\n", section,
                    figure.name.c_str(), figure.peerName.c_str(), figure.size, result.oursNs,
                    result.peerNs, result.ratio, target.must, target.goal,
                    Verdict(target, result.ratio), figure.floorName.c_str(), result.floorNs);
    } else {
        std::printf("%-58s %-39s %10.1f %10.1f %7.3f %5g %5g  %s\n", figure.name.c_str(),
                    figure.peerName.c_str(), result.oursNs, result.peerNs, result.ratio,
                    target.must, target.goal, Verdict(target, result.ratio));
    }
    std::fflush(stdout);
}

void PrintRows(const std::string &only, const bench::Effort &effort, bool tabs) {
    const bench::BareHost host;
    const Rows rows = AllRows();
    const std::regex wanted(only);
    if (!tabs) {
        std::printf("%-58s %-39s %10s %10s %7s %5s %5s\n", "figure", "peer", "ours ns", "peer ns",
                    "ratio", "must", "goal");
    }
    for (const Row &row : rows.All()) {
        if (std::regex_search(row.figure.name + " " + row.figure.peerName, wanted)) {
            PrintRow(row, bench::Measure(row.figure, effort), tabs);
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app{"Times libdxr_api beside its peers: nanoseconds per operation and their ratio."};
    std::string only = ".*";
    bench::Effort effort;
    bool tabs = false;
    app.add_option("--only", only, "Figures whose name or peer matches this regular expression");
    app.add_option("--rounds", effort.rounds, "Rounds; the ratio is their median")
        ->check(CLI::Range(1, 1000));
    app.add_option("--samples", effort.samples, "Samples a round; the smallest counts")
        ->check(CLI::Range(1, 1000));
    app.add_flag("--tabs", tabs, "Fields separated by tabs, for scripts");
    CLI11_PARSE(app, argc, argv);

    try {
        PrintRows(only, effort, tabs);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "dxr_bench: %s\n", error.what());
        return 1;
    }
}
