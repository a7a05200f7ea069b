// dxrsh bench: what the library's functions cost on this machine.

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bare_host.h"
#include "commands.h"
#include "figures.h"
#include "file_io.h"
#include "help.h"
#include "json_text.h"
#include "number_option.h"

namespace dxrsh {
namespace {

struct BenchOptions {
    unsigned rounds = 15;
    bool json = false;
};

std::string Processor() {
    constexpr std::string_view kKey = "model name";
    std::ifstream lines("/proc/cpuinfo");
    for (std::string line; std::getline(lines, line);) {
        const size_t colon = line.find(": ");
        if (line.compare(0, kKey.size(), kKey) == 0 && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "unknown";
}

std::vector<bench::Figure> Figures() {
    return {
        bench::DispatchWithSlotSet(),
        bench::DispatchWithSlotEmpty(),
        bench::SameText(bench::LineKind::kPlain, 1, bench::Place::kNewest),
        bench::SameText(bench::LineKind::kPlain, 2047, bench::Place::kRandom),
        bench::SameText(bench::LineKind::kPadded, 1, bench::Place::kNewest),
        bench::SameText(bench::LineKind::kPadded, 2047, bench::Place::kRandom),
        bench::SameTextWithDouble(bench::LineKind::kPlain),
        bench::NewText(bench::LineKind::kPlain, 2047),
        bench::SameKey(2047),
        bench::Hash(8),
        bench::Hash(80),
        bench::Hash(1000),
        bench::RecordRepeat(bench::LineKind::kPlain, 1),
        bench::RecordRepeat(bench::LineKind::kPlain, 1024),
        bench::RecordNew(bench::LineKind::kPlain),
        bench::FilterQueryOfRandomPaths(),
        bench::FaultRule(),
        bench::Crc8(8),
        bench::Crc8(64),
        bench::Crc8(1024),
        bench::Crc8(65536),
        bench::Combination(bench::Operation::kOr, 4),
        bench::Combination(bench::Operation::kOr, 1024),
        bench::SetBits(1024),
        bench::SmallComparison(4),
        bench::Comparison(1024),
        bench::Sort(1000),
    };
}

size_t WidthOf(const std::vector<bench::Figure> &figures) {
    size_t width = 0;
    for (const bench::Figure &figure : figures) {
        width = std::max(width, figure.name.size());
    }
    return width;
}

constexpr std::string_view kHeadings = "{:<{}} {:>10} {:>10} {:>7}  {}\n";
constexpr std::string_view kRow = "{:<{}} {:>10.1f} {:>10.1f} {:>7.3f}  {}\n";

void RunBench(const BenchOptions &options) {
    bench::Effort effort;
    effort.rounds = options.rounds;
    effort.samples = 3;
    const bench::BareHost host;
    const std::vector<bench::Figure> figures = Figures();
    Output output(STDOUT_FILENO);
    if (!options.json) {
        output.Write(fmt::format("processor: {}\n\n", Processor()));
    }
    const size_t width = WidthOf(figures);
    if (!options.json) {
        output.Write(
            fmt::format(kHeadings, "function", width, "library ns", "peer ns", "ratio", "peer"));
    }
    for (const bench::Figure &figure : figures) {
        output.Flush();  // each row is seen as soon as it is known
        const bench::Result result = bench::Measure(figure, effort);
        if (options.json) {
            JsonText json;
            json.BeginObject()
                .Text("function", figure.name)
                .Real("library_ns", result.oursNs)
                .Real("peer_ns", result.peerNs)
                .Real("ratio", result.ratio)
                .Text("peer", figure.peerName)
                .EndObject();
            output.Write(json.Line());
            continue;
        }
        output.Write(fmt::format(kRow, figure.name, width, result.oursNs, result.peerNs,
                                 result.ratio, figure.peerName));
    }
    output.Flush();
}

}  // namespace

void AddBenchCommand(CLI::App &program) {
    const auto options = std::make_shared<BenchOptions>();
    CLI::App *const command =
        program.add_subcommand("bench", "What the library's functions cost on this machine");
    Describe(*command,
             "Prints the nanoseconds of processor time that a call takes, the same for what one "
             "would use instead from the C and C++ libraries, and their ratio: the two are sampled "
             "in turn, and what counts is the median of the rounds. Texts have 80 characters. "
             "Answers are checked before anything is timed.",
             {"dxrsh bench --rounds 1", "dxrsh bench --rounds 1 --json"});
    AddJsonFlag(*command, options->json);
    command->add_option("--rounds", options->rounds, "Rounds, 1 to 1000 (default 15)")
        ->transform(AsWholeNumber(1, 1000))
        ->type_name("N");
    command->callback([options] { RunBench(*options); });
}

}  // namespace dxrsh
