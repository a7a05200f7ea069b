// dxrsh trace: a recording of hook calls, as text.

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

#include "commands.h"
#include "dxr_trace.h"
#include "errors.h"
#include "help.h"
#include "recording.h"
#include "say.h"

namespace dxrsh {
namespace {

struct TraceOptions {
    std::string file;
    bool json = false;
    bool chrome = false;
    bool counts = false;

    [[nodiscard]] uint32_t Format() const {
        if (counts) {
            return json ? DXR_TRACE_COUNTS_JSON : DXR_TRACE_COUNTS;
        }
        return chrome ? DXR_TRACE_CHROME : json ? DXR_TRACE_JSON_LINES : DXR_TRACE_TEXT;
    }
};

void RunTrace(const TraceOptions &options) {
    if (options.chrome && (options.json || options.counts)) {
        throw UsageError(fmt::format("--chrome and {} ask for different things",
                                     options.json ? "--json" : "--counts"));
    }
    const Recording recording(options.file);
    std::array<char, 256> problem{};
    const uint32_t error = DxrTraceExport(recording.Path().c_str(), options.Format(), stdout,
                                          problem.data(), problem.size());
    if (error == EPIPE) {
        throw BrokenPipe();
    }
    if (error != 0 && std::ferror(stdout) != 0) {
        throw RunError("cannot write the output: " +
                       std::generic_category().message(static_cast<int>(error)));
    }
    const std::string line = recording.Name() + ": " + problem.data();
    if (error == EINVAL) {
        throw UsageError(line);
    }
    // A program that crashed has no end, and what it did is what is asked for.
    if (error != 0 && error != ENODATA) {
        throw RunError(line);
    }
    if (problem[0] != '\0') {
        Say(stderr, "dxrsh: {}\n", Printable(line, SIZE_MAX));
    }
}

}  // namespace

void AddTraceCommand(CLI::App &program) {
    const auto options = std::make_shared<TraceOptions>();
    CLI::App *const command = program.add_subcommand("trace", "Prints a recording of hook calls");
    Describe(*command,
             "A line for each call: when it began, in seconds since the recording did; thread; "
             "arguments, texts and bytes that pointers led to; result; how long it took; what the "
             "host wrote. When the program crashed, what it had written until then is printed.",
             {"dxrsh trace examples/dxrsh/registers.dxrtrace",
              "dxrsh trace --counts examples/dxrsh/registers.dxrtrace"});
    command->add_option("FILE", options->file, "The recording; - is standard input")->required();
    AddJsonFlag(*command, options->json);
    command->add_flag("--chrome", options->chrome,
                      "The Chrome trace format, which trace viewers open");
    command->add_flag("--counts", options->counts,
                      "How often each function was called, and for how long");
    command->callback([options] { RunTrace(*options); });
}

}  // namespace dxrsh
