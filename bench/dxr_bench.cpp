// Times the library as a module pays for it, through the shared object, beside what people would
// use instead. See docs/performance.md.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <regex>
#include <string>

#include "harness.h"

namespace {

const char *Verdict(const bench::Figure &figure, double ratio) {
    if (ratio <= figure.goal) {
        return "goal";
    }
    return ratio <= figure.must ? "met" : "MISSED";
}

void PrintRow(const bench::Figure &figure, const bench::Result &result, bool tabs) {
    if (tabs) {
        std::printf("%s\t%s\t%s\t%g\t%.2f\t%.2f\t%.3f\t%g\t%g\t%s\n", figure.group.c_str(),
                    figure.name.c_str(), figure.peerName.c_str(), figure.size, result.oursNs,
                    result.peerNs, result.ratio, figure.must, figure.goal,
                    Verdict(figure, result.ratio));
    } else {
        std::printf("%-58s %-30s %10.1f %10.1f %7.3f %5g %5g  %s\n", figure.name.c_str(),
                    figure.peerName.c_str(), result.oursNs, result.peerNs, result.ratio,
                    figure.must, figure.goal, Verdict(figure, result.ratio));
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app{"Times libdxr_api beside its peers: nanoseconds per operation and their ratio."};
    std::string only = ".*";
    bench::Effort effort;
    bool tabs = false;
    app.add_option("--only", only, "Figures whose group or name matches this regular expression");
    app.add_option("--rounds", effort.rounds, "Rounds; the ratio is their median")
        ->check(CLI::Range(1, 1000));
    app.add_option("--samples", effort.samples, "Samples a round; the smallest counts")
        ->check(CLI::Range(1, 1000));
    app.add_flag("--tabs", tabs, "Fields separated by tabs, for scripts");
    CLI11_PARSE(app, argc, argv);

    bench::Suite suite;
    bench::AddDispatch(suite);
    bench::AddLogFilter(suite);
    bench::AddHash(suite);
    bench::AddCrc8(suite);
    bench::AddBitmap(suite);
    bench::AddSort(suite);
    bench::AddLoad(suite);
    bench::AddRecorder(suite);
    bench::AddMessageFilter(suite);
    bench::AddFault(suite);

    const std::regex wanted(only);
    if (!tabs) {
        std::printf("%-58s %-30s %10s %10s %7s %5s %5s\n", "figure", "peer", "ours ns", "peer ns",
                    "ratio", "must", "goal");
    }
    for (const bench::Figure &figure : suite.Figures()) {
        if (std::regex_search(figure.group + " " + figure.name, wanted)) {
            PrintRow(figure, bench::Measure(figure, effort), tabs);
        }
    }
    return 0;
}
