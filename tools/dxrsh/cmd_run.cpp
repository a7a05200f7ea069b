// dxrsh run: a module on the development host, and what became of it.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "attach_server.h"
#include "commands.h"
#include "dxr_devhost.h"
#include "dxr_trace.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "json_text.h"
#include "message_losses.h"
#include "module.h"
#include "refusals.h"
#include "run_host.h"
#include "run_interrupt.h"
#include "run_report.h"
#include "run_trace.h"
#include "say.h"
#include "unfilled.h"

namespace dxrsh {

namespace {

constexpr size_t kLinesKept = 200;

struct RunOptions {
    RunHostOptions host;
    std::string trace;
    std::string page;
    std::string control;
    bool json = false;
};

// A file of this program's alone, without a name from the beginning: whatever the module does to
// the program, nothing is left.
class TemporaryFile {
  public:
    TemporaryFile() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "dxrsh_run_XXXXXX").string();
        fd_ = mkostemp(pattern.data(), O_CLOEXEC);
        if (fd_ < 0) {
            throw UsageError("no temporary file: " + std::generic_category().message(errno));
        }
        (void)unlink(pattern.c_str());
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    ~TemporaryFile() { (void)close(fd_); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    TemporaryFile(TemporaryFile &&) = delete;
    TemporaryFile &operator=(TemporaryFile &&) = delete;

    // Opens it as long as this stays.
    [[nodiscard]] const std::string &Path() const { return path_; }

  private:
    int fd_ = -1;
    std::string path_;
};

// Line by line: what was printed before the module's death is there.
std::FILE *LinesBesideModule(bool json) {
    std::FILE *const output = OutputBesideModule(json);
    (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    if (output != stdout) {
        (void)std::setvbuf(output, nullptr, _IOLBF, BUFSIZ);
    }
    return output;
}

// Whether two paths lead to one file, however they are spelled.
bool IsSameFile(const std::string &a, const std::string &b) {
    struct stat ofA {};
    struct stat ofB {};
    return a == b || (stat(a.c_str(), &ofA) == 0 && stat(b.c_str(), &ofB) == 0 &&
                      S_ISREG(ofA.st_mode) && ofA.st_dev == ofB.st_dev && ofA.st_ino == ofB.st_ino);
}

// What a link leads to, not the link.
void RemoveFile(const std::string &path) {
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(path, error);
    if (!error) {
        (void)std::filesystem::remove(file, error);
    }
}

// One run. The steps stand in the order in which they are called.
class Run {
  public:
    Run(const RunOptions &options, const std::vector<std::string> &words)
        : options_(options),
          output_(LinesBesideModule(options.json)),
          path_(words[0]),
          module_(words[0]) {
        report_.module = module_.Name();
        report_.arguments.assign(words.begin() + 1, words.end());
        report_.isVirtual = options.host.IsVirtual();
        report_.seed = options.host.seed;
        report_.board = options.host.board;
    }

    // What works on the host, or stands in its table, ends before it.
    ~Run() {
        EndControl();
        (void)trace_.Stop();
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;
    Run(Run &&) = delete;
    Run &operator=(Run &&) = delete;

    void MakeHost() {
        host_ = MakeRunHost(options_.host);
        // Reports are printed at the end, but kept from the beginning.
        const auto ignore = [](const DxrHostReport *, void *) {};
        DxrHostSetReportSink(host_.get(), ignore, nullptr);
        const auto take = [](const char *line, void *user) {
            static_cast<Run *>(user)->TakeLine(line);
        };
        DxrHostSetDiagSink(host_.get(), take, this);
        losses_ = std::make_unique<MessageLosses>(host_.get());
    }

    void StartTrace() {
        RequireOther(options_.trace);
        RequireOther(options_.page);
        RequireTwo();
        RequirePage();
        if (options_.trace.empty() && !options_.page.empty()) {
            calls_ = std::make_unique<TemporaryFile>();
        }
        const std::string &file = calls_ != nullptr ? calls_->Path() : options_.trace;
        const uint32_t error = trace_.Start(file, !file.empty());
        if (error != 0) {
            throw UsageError(file + ": " +
                             std::generic_category().message(static_cast<int>(error)));
        }
        RequireTwo();  // now that there is a recording
    }

    void StartControl() {
        if (!options_.control.empty()) {
            const PokedHost poked = {host_.get(), false, &trace_, losses_.get(), &lines_};
            try {
                control_ = std::make_unique<AttachServer>(options_.control, poked);
            } catch (const RunError &error) {
                throw UsageError(error.what());
            }
            control_->RemoveAtEnd();
        }
    }

    void RunModule() {
        interrupt_.emplace(host_.get());
        report_.result = module_.Main(report_.arguments);
        EndControl();
        // The way out gives these back.
        modules_ = ModulesOf(host_.get());
        TakeRecords(report_);
        TakeSuppressed(report_);
        module_.End();
        interrupt_->End();
    }

    void EndTrace() {
        report_.counts = trace_.Counts();
        const uint32_t error = trace_.Stop();
        if (error != 0) {
            traceError_ = (calls_ != nullptr ? "the recording for the page" : options_.trace) +
                          ": " + std::generic_category().message(static_cast<int>(error));
        }
        for (size_t i = 0; i < kTableSlots; ++i) {
            report_.unfilled[i] = g_askedUnfilled[i].load();
        }
        if (!options_.page.empty() && error == 0) {
            ReadCalls(calls_ != nullptr ? calls_->Path() : options_.trace);
        }
    }

    void EndHost() {
        TakeMemory(host_.get(), modules_, report_);
        TakeAlarms(host_.get(), report_);
        TakeReports(host_.get(), report_);
        // What is found at the end is not kept any longer than the host: the sink gets it.
        const auto take = [](const DxrHostReport *report, void *user) {
            static_cast<std::vector<DxrHostReport> *>(user)->push_back(*report);
        };
        DxrHostSetReportSink(host_.get(), take, &report_.reports);
        report_.leftovers = DxrHostDestroy(host_.release(), nullptr);
        EndControl();  // a line that waited in the host does so no longer
        report_.linesLetThrough = lines_;
    }

    // Says what became of it; the exit status. Recording and page may fail, and so come last.
    int Tell() {
        const std::string text = options_.json ? ReportJson(report_) : ReportText(report_);
        const bool isWritten = std::fwrite(text.data(), 1, text.size(), output_) == text.size() &&
                               std::fflush(output_) == 0 && std::ferror(output_) == 0;
        const int error = errno;
        (void)std::fflush(stdout);  // what the module printed
        calls_.reset();
        if (!isWritten) {
            SayOutputFailed(error);
        }
        if (!traceError_.empty()) {
            throw RunError(traceError_);
        }
        WritePage();
        if (interrupt_->HasCome()) {
            return kExitInterrupted;
        }
        return isWritten && IsWell(report_) ? 0 : kExitFailure;
    }

  private:
    // What the run reads is not written.
    void RequireOther(const std::string &file) const {
        const bool isModule = IsSameFile(file, path_);
        if (!file.empty() && (isModule || IsSameFile(file, options_.host.board))) {
            throw UsageError(file + ": is the " + (isModule ? "module" : "board's file"));
        }
    }

    void RequireTwo() const {
        if (!options_.trace.empty() && IsSameFile(options_.trace, options_.page)) {
            throw UsageError(options_.page + ": not for the recording and the page at once");
        }
    }

    // Before the run, whose page it is: that it can be written as far as one can tell.
    void RequirePage() const {
        const std::filesystem::path page(options_.page);
        std::filesystem::path there = page;
        if (access(page.c_str(), F_OK) != 0) {
            there = page.has_parent_path() ? page.parent_path() : ".";
        }
        if (!page.empty() && access(there.c_str(), W_OK) != 0) {
            throw UsageError(options_.page + ": " + std::generic_category().message(errno));
        }
    }

    // What it has kept stays until the host has ended.
    void EndControl() {
        if (control_ != nullptr) {
            (void)control_->End();
        }
    }

    void TakeLine(const char *line) {
        if (options_.json) {
            JsonText json;
            Say(output_, "{}", json.BeginObject().Text("line", line).EndObject().Line());
        } else {
            Say(output_, "{}\n", Printable(line, SIZE_MAX));
        }
        ++lines_;
        const std::lock_guard lock(mutex_);
        if (report_.lines.size() < kLinesKept) {
            report_.lines.emplace_back(line);
        }
    }

    void ReadCalls(const std::string &file) {
        const auto take = [](const DxrTraceCall *call, void *user) {
            if (call->isCallback == 0) {
                static_cast<std::vector<RunReport::Call> *>(user)->push_back(
                    {call->slot, call->beginNs, call->durationNs, call->hasReturned != 0});
            }
        };
        (void)DxrTraceRead(file.c_str(), take, &report_.calls, nullptr, 0);
    }

    void WritePage() const {
        if (options_.page.empty()) {
            return;
        }
        const std::string page = ReportPage(report_);
        std::FILE *const file = std::fopen(options_.page.c_str(), "w");
        int error = errno;
        if (file != nullptr) {
            struct stat made {};
            const bool isFile = fstat(fileno(file), &made) == 0 && S_ISREG(made.st_mode);
            error = std::fwrite(page.data(), 1, page.size(), file) == page.size() ? 0 : errno;
            if (std::fclose(file) != 0 && error == 0) {
                error = errno;
            }
            if (error != 0 && isFile) {
                RemoveFile(options_.page);  // a part of it would pass for the whole
            }
        }
        if (error != 0) {
            throw UsageError(options_.page + ": " + std::generic_category().message(error));
        }
    }

    const RunOptions &options_;
    std::FILE *output_;
    const std::string path_;
    Module module_;
    std::atomic<uint64_t> lines_{0};
    RunTrace trace_;
    std::unique_ptr<MessageLosses> losses_;
    std::unique_ptr<AttachServer> control_;
    HostOwner host_;
    std::unique_ptr<TemporaryFile> calls_;
    std::string traceError_;  // why not all calls were written
    std::mutex mutex_;        // guards the lines
    std::vector<DxrHostModuleInfo> modules_;
    std::optional<RunInterrupt> interrupt_;  // stays: a signal may be on its way to it
    RunReport report_;
};

void RunRun(const RunOptions &options, const CLI::App &command) {
    if (!options.control.empty() && options.host.IsVirtual()) {
        throw UsageError("--control: not with the virtual clock, whose runs repeat");
    }
    Run run(options, RequireWords(command, 1, "MODULE"));
    run.MakeHost();
    run.StartTrace();
    run.StartControl();
    run.RunModule();
    run.EndTrace();
    run.EndHost();
    const int status = run.Tell();
    // Threads that the module made by itself are left alone.
    EndProgram(status);
}

}  // namespace

void AddRunCommand(CLI::App &program) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App *const command =
        program.add_subcommand("run", "Runs a module on the development host");
    command->footer("MODULE [ARGUMENTS]");
    Describe(
        *command,
        "MODULE is a shared object with DxrModuleMain (dxr_module.h); options stand before it, "
        "its own arguments after it. Lines that the log filter lets through go to standard "
        "output, then the report. Exit status: 0 all is well; 1 the module failed, broke a "
        "contract of the host or left something behind, or the host ended the run; 2 it could "
        "not be run; 130 it was interrupted (Ctrl-C, SIGTERM).",
        {"dxrsh run worker.so", "dxrsh run --clock virtual --seed 7 worker.so"});
    AddRunHostOptions(*command, options->host);
    command->add_option("--trace", options->trace, "Record the calls, for trace, replay and diff")
        ->type_name("FILE");
    command->add_option("--report", options->page, "Write the report as an HTML page, too")
        ->type_name("FILE");
    command->add_option("--control", options->control, "Take lines of 'dxrsh attach PATH'")
        ->type_name("PATH");
    AddJsonFlag(*command, options->json);
    command->prefix_command();
    command->callback([options, command] { RunRun(*options, *command); });
}

}  // namespace dxrsh
