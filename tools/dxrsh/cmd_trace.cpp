// dxrsh trace: a recording of hook calls, as text.

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
#include "say.h"

namespace dxrsh {
namespace {

struct TraceOptions {
    std::string file;
    uint32_t format = DXR_TRACE_TEXT;
};

void RunTrace(const TraceOptions &options) {
    std::array<char, 256> problem{};
    const uint32_t error = DxrTraceExport(options.file.c_str(), options.format, stdout,
                                          problem.data(), problem.size());
    if (error == EPIPE) {
        throw BrokenPipe();
    }
    if (error != 0 && std::ferror(stdout) != 0) {
        throw RunError("cannot write the output: " +
                       std::generic_category().message(static_cast<int>(error)));
    }
    const std::string line = options.file + ": " + problem.data();
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
    command->add_option("FILE", options->file, "The recording")->required();
    CLI::Option_group *const formats = command->add_option_group("format");
    formats->add_flag_callback(
        "--json", [options] { options->format = DXR_TRACE_JSON_LINES; }, "A JSON object a line");
    formats->add_flag_callback(
        "--chrome", [options] { options->format = DXR_TRACE_CHROME; },
        "The Chrome trace format, which trace viewers open");
    formats->add_flag_callback(
        "--counts", [options] { options->format = DXR_TRACE_COUNTS; },
        "How often each function was called, and for how long");
    formats->require_option(0, 1);
    command->callback([options] { RunTrace(*options); });
}

}  // namespace dxrsh
