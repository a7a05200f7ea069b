// dxrsh replay: a module against a recording in the place of a host; dxrsh diff: two recordings.

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "commands.h"
#include "dxr_devhost.h"
#include "dxr_trace.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "json_text.h"
#include "module.h"
#include "number_option.h"
#include "numbers.h"
#include "recording.h"
#include "refusals.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr uint32_t kMsPerSecond = 1000;
// With this many the milliseconds still fit their type.
constexpr uint32_t kMostPatience = 1000000;

// A FILE in memory.
class TextFile {
  public:
    TextFile() : file_(open_memstream(&text_, &size_)) {
        if (file_ == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~TextFile() {
        (void)std::fclose(file_);
        std::free(text_);
    }
    TextFile(const TextFile &) = delete;
    TextFile &operator=(const TextFile &) = delete;
    TextFile(TextFile &&) = delete;
    TextFile &operator=(TextFile &&) = delete;

    [[nodiscard]] FILE *File() { return file_; }

    // What was written so far.
    [[nodiscard]] std::string_view Get() {
        (void)std::fflush(file_);
        return {text_, size_};
    }

  private:
    char *text_ = nullptr;
    size_t size_ = 0;
    FILE *file_;
};

struct ReplayCommand {
    bool isLoose = false;
    uint32_t patience = 30;  // seconds
    bool json = false;
    std::FILE *output = stdout;
    TextFile *told = nullptr;  // for JSON: what differs, and what else there was to say
};

// The lines of the replay, each an object.
void AddTold(JsonText &json, TextFile &told) {
    json.BeginList("told");
    for (const std::string_view line : Split(told.Get(), '\n')) {
        if (!line.empty()) {
            json.Made("", line);
        }
    }
    json.EndList();
}

// Ends the program; threads of the module that have not ended are left alone. What was told must
// have arrived, unless its reader has left.
[[noreturn]] void Leave(std::FILE *output, int status) {
    for (std::FILE *const each : {output, stdout}) {  // the latter has what the module printed
        errno = 0;
        if ((std::fflush(each) != 0 || std::ferror(each) != 0) && errno != EPIPE) {
            SayOutputFailed(errno != 0 ? errno : EIO);
            EndProgram(kExitFailure);
        }
    }
    EndProgram(status);
}

// The module is in a state that the recording does not have: nothing of it runs any more.
void EndNow(bool differs, void *user) {
    const auto &command = *static_cast<const ReplayCommand *>(user);
    if (command.json) {
        JsonText json;
        json.BeginObject().Flag("same", !differs).Flag("ended", false);
        AddTold(json, *command.told);
        Say(command.output, "{}", json.EndObject().Line());
    } else {
        Say(command.output, "{}\n",
            differs ? "differs" : "the same, up to where the recording ends");
    }
    Leave(command.output, differs ? kExitFailure : 0);
}

// What a module asks of the development host otherwise than by a slot is not in the recording: a
// host that nothing happens in answers it. Its clock lets nobody wait.
void MakeIdleHost() {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    options.printLevel = 0;
    DxrHost *const host = DxrHostCreate(&options);
    if (host == nullptr || DxrHostRegister(host) != 0) {
        throw RunError("the development host could not be made");
    }
    const auto ignore = [](const DxrHostReport *, void *) {};
    DxrHostSetReportSink(host, ignore, nullptr);
}

void RunReplay(const ReplayCommand &command, const CLI::App &app) {
    const std::vector<std::string> words = RequireWords(app, 2, "FILE and MODULE");
    ReplayCommand kept = command;
    kept.output = OutputBesideModule(command.json);
    Module module(words[1]);
    MakeIdleHost();
    DxrReplayOptions options;
    DxrReplayInitOptions(&options);
    options.loose = command.isLoose ? 1 : 0;
    options.patienceMs = command.patience * kMsPerSecond;
    TextFile told;
    kept.told = &told;
    options.out = command.json ? told.File() : kept.output;
    options.format = command.json ? DXR_TRACE_JSON_LINES : DXR_TRACE_TEXT;
    options.ended = EndNow;
    options.user = &kept;
    std::array<char, 256> problem{};
    const Recording recording(words[0]);
    const uint32_t error =
        DxrReplayStart(recording.Path().c_str(), &options, problem.data(), problem.size());
    const std::string line = recording.Name() + ": " + problem.data();
    if (error != 0) {
        throw UsageError(line);
    }
    const int result = module.Main({words.begin() + 2, words.end()});
    module.End();
    DxrReplayCounts counts{};
    const bool differs = DxrReplayStop(&counts) != 0;
    if (command.json) {
        JsonText json;
        json.BeginObject()
            .Flag("same", !differs)
            .Flag("ended", true)
            .Signed("returned", result)
            .Number("calls", counts.calls)
            .Number("callbacks", counts.callbacks)
            .Number("threads", counts.threads)
            .Number("differences", counts.differences)
            .Number("not_made", counts.left);
        AddTold(json, told);
        Say(kept.output, "{}", json.EndObject().Line());
        Leave(kept.output, differs ? kExitFailure : 0);
    }
    if (result != 0) {
        Say(stdout, "the module returned {}\n", result);
    }
    Say(stdout, "calls {}, of the host's {}, threads {}: ", counts.calls, counts.callbacks,
        counts.threads);
    if (differs) {
        Say(stdout, "differences {}, calls not made {}\n", counts.differences, counts.left);
    } else {
        Say(stdout, "the same\n");
    }
    Leave(stdout, differs ? kExitFailure : 0);
}

struct DiffCommand {
    std::string a;
    std::string b;
    uint32_t context = 3;
    bool json = false;
};

void RunDiff(const DiffCommand &command) {
    if (command.a == "-" && command.b == "-") {
        throw UsageError("standard input is one recording, and cannot be both");
    }
    const Recording a(command.a);
    const Recording b(command.b);
    std::array<char, 512> told{};
    TextFile said;
    const uint32_t result = DxrTraceDiff(a.Path().c_str(), b.Path().c_str(), command.context,
                                         said.File(), told.data(), told.size());
    std::string problem = told.data();
    for (const Recording *const each : {&a, &b}) {
        const size_t at = problem.find(each->Path() + ": ");
        if (at != std::string::npos) {
            problem.replace(at, each->Path().size(), each->Name());
        }
    }
    if (result == 2) {
        throw UsageError(problem);
    }
    if (command.json) {
        JsonText json;
        json.BeginObject().Flag("same", result == 0).BeginList("said");
        for (const std::string_view line : Split(said.Get(), '\n')) {
            if (!line.empty()) {
                json.Text("", line);
            }
        }
        json.EndList().EndObject();
        WriteOut(json.Line());
    } else {
        WriteOut(said.Get());
    }
    if (!problem.empty()) {
        Say(stderr, "dxrsh: {}\n", Printable(problem, SIZE_MAX));
    }
    if (result != 0) {
        throw Ended(kExitFailure);
    }
}

}  // namespace

void AddReplayCommand(CLI::App &program) {
    const auto options = std::make_shared<ReplayCommand>();
    CLI::App *const command =
        program.add_subcommand("replay", "Runs a module against a recording instead of a host");
    command->footer("FILE MODULE [ARGUMENTS]");
    Describe(*command,
             "FILE is a recording of 'dxrsh run --trace' (- is standard input), MODULE the shared "
             "object; options stand before them. Calls are answered from the recording, and the "
             "module's functions are "
             "called as the host called them. The first call that differs ends the replay. Exit "
             "status: 0 all was the same, 1 a call differs or the module ended the program, 2 "
             "the recording or the module cannot be used.",
             {"dxrsh replay examples/dxrsh/registers.dxrtrace registers.so",
              "dxrsh replay --loose examples/dxrsh/registers.dxrtrace registers.so"});
    command->add_flag("--loose", options->isLoose,
                      "Go on after a difference, with the next equal call");
    command
        ->add_option("--patience", options->patience,
                     "Without any call so long it is a difference, 1 to 1000000 (default 30)")
        ->transform(AsWholeNumber(1, kMostPatience))
        ->type_name("SECONDS");
    AddJsonFlag(*command, options->json);
    command->prefix_command();
    command->callback([options, command] { RunReplay(*options, *command); });
}

void AddDiffCommand(CLI::App &program) {
    const auto options = std::make_shared<DiffCommand>();
    CLI::App *const command =
        program.add_subcommand("diff", "Shows where two recordings of hook calls part");
    Describe(*command,
             "For each thread: the first call that was asked or answered otherwise, with the calls "
             "around it. Addresses, handles and times are not compared. Exit status: 0 the same, 1 "
             "they differ, 2 a recording cannot be read.",
             {"dxrsh diff before.dxrtrace after.dxrtrace",
              "dxrsh diff --context 9 before.dxrtrace after.dxrtrace"});
    command->add_option("A", options->a, "A recording; - is standard input")->required();
    command->add_option("B", options->b, "Another one")->required();
    command->add_option("--context", options->context, "Calls shown before and after (default 3)")
        ->transform(AsWholeNumber())
        ->type_name("N");
    AddJsonFlag(*command, options->json);
    command->callback([options] { RunDiff(*options); });
}

}  // namespace dxrsh
