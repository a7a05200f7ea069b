// A test body again and again: each step made to fail in turn, many seeds.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "dxr_devhost_test.h"
#include "options.h"
#include "test_session.h"

namespace devhost {
namespace {

constexpr uint32_t kMostRuns = 100000;

// What a run's failures are written to, before it is known whether there are any.
class Findings {
  public:
    Findings() : file_(open_memstream(&text_, &size_)) {}
    ~Findings() {
        if (file_ != nullptr) {
            (void)std::fclose(file_);
        }
        std::free(text_);
    }
    Findings(const Findings &) = delete;
    Findings &operator=(const Findings &) = delete;
    Findings(Findings &&) = delete;
    Findings &operator=(Findings &&) = delete;

    [[nodiscard]] std::FILE *File() { return file_; }
    void WriteTo(std::FILE *out) {
        if (file_ != nullptr && out != nullptr && std::fflush(file_) == 0) {
            (void)std::fwrite(text_, 1, size_, out);
        }
    }

  private:
    char *text_ = nullptr;
    size_t size_ = 0;
    std::FILE *file_;
};

class LastWords;
constinit std::atomic<LastWords *> g_lastWords = nullptr;

// A module that dies in a run takes the findings along, so the signal that ends it writes which run
// it was. Who had that signal before gets it next. Whether such a handler ends the program nobody
// knows, and a sanitizer's does without another signal: so it is told before, and as what it is.
class LastWords {
  public:
    LastWords(const std::string &title, std::FILE *out)
        : process_(getpid()), isWanted_(out != nullptr), directory_(OwnDirectory()) {
        if (out != nullptr) {
            (void)std::fflush(out);
            file_ = fileno(out);
            // What is kept in memory goes with the process.
            file_ = file_ >= 0 ? file_ : STDERR_FILENO;
        }
        for (size_t i = 0; i < kDeaths.size(); ++i) {
            (void)sigaction(kDeaths[i], nullptr, &before_[i]);
            if (before_[i].sa_sigaction == Speak) {
                before_[i] = {};  // a module has put back what it found in an earlier run
            }
            const std::string line = title + ": signal " + std::to_string(kDeaths[i]);
            deaths_[i] = line + "\n";
            others_[i] = line + OtherEnd(before_[i]) + "\n";
        }
        g_lastWords.store(this);
        struct sigaction action {};
        action.sa_sigaction = Speak;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        (void)sigemptyset(&action.sa_mask);
        for (const int death : kDeaths) {
            (void)sigaction(death, &action, nullptr);
        }
    }
    ~LastWords() {
        for (size_t i = 0; i < kDeaths.size(); ++i) {
            struct sigaction now {};
            // One that the module has set in the meantime stays.
            if (sigaction(kDeaths[i], nullptr, &now) == 0 && now.sa_sigaction == Speak) {
                (void)sigaction(kDeaths[i], &before_[i], nullptr);
            }
        }
        LastWords *own = this;
        (void)g_lastWords.compare_exchange_strong(own, nullptr);
    }
    LastWords(const LastWords &) = delete;
    LastWords &operator=(const LastWords &) = delete;
    LastWords(LastWords &&) = delete;
    LastWords &operator=(LastWords &&) = delete;

  private:
    static constexpr std::array<int, 5> kDeaths{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

    // That of the test, if it was made for it.
    static std::string OwnDirectory() {
        const SessionLock session;
        return session && session->ownsDirectory ? session->directory : std::string();
    }

    static bool IsIgnored(const struct sigaction &before) { return before.sa_handler == SIG_IGN; }

    // Of a signal that may not end the program.
    static const char *OtherEnd(const struct sigaction &before) {
        if (before.sa_handler == SIG_DFL) {
            return "";
        }
        return IsIgnored(before) ? ", which the program ignores"
                                 : ", for which the program has a handler";
    }

    // Only what is allowed in the handler of a signal.
    static void Speak(int signal, siginfo_t *info, void * /*context*/) {
        const int error = errno;
        LastWords *const words = g_lastWords.load();
        const auto *const place = std::find(kDeaths.begin(), kDeaths.end(), signal);
        if (words != nullptr && place != kDeaths.end()) {
            const auto index = static_cast<size_t>(place - kDeaths.begin());
            // A fault cannot be ignored.
            const bool isDeath = IsIgnored(words->before_[index]) && info->si_code > 0;
            // A child process that dies is the module's own matter.
            const bool isOwn = getpid() == words->process_;
            if (isOwn && words->isWanted_.exchange(false)) {
                const std::string &line = (isDeath ? words->deaths_ : words->others_)[index];
                const ssize_t written = write(words->file_, line.data(), line.size());
                (void)written;  // there is nobody else to tell
            }
            // Nobody comes any more who would remove it. What was written there may tell why.
            if (isOwn && (isDeath || words->before_[index].sa_handler == SIG_DFL)) {
                (void)rmdir(words->directory_.c_str());
            }
            (void)sigaction(signal, &words->before_[index], nullptr);
        } else {
            (void)std::signal(signal, SIG_DFL);
        }
        // A fault comes again by itself, at its own place; what was sent does not.
        if (info->si_code <= 0) {
            (void)raise(signal);
        }
        errno = error;
    }

    pid_t process_;
    std::atomic<bool> isWanted_;
    const std::string directory_;
    int file_ = -1;
    std::array<std::string, kDeaths.size()> deaths_;
    std::array<std::string, kDeaths.size()> others_;
    std::array<struct sigaction, kDeaths.size()> before_{};
};

struct Run {
    DxrTestBody body;
    void *user;
};

void RunAsTask(void *argument) {
    const Run &run = *static_cast<const Run *>(argument);
    run.body(run.user);
}

// With the virtual clock the body is a task: when the host has to end the run, the one who waits
// for the body goes on, and the body stays where it is. The task is none of the module's, so it is
// made before any step is made to fail; it begins when this one waits.
template <typename Prepare>
void RunBody(Run &run, uint32_t clock, const Prepare &prepare) {
    if (clock != DXR_HOST_CLOCK_VIRTUAL) {
        prepare();
        run.body(run.user);
        return;
    }
    const uint32_t task = DxrTestStartTask(RunAsTask, &run);
    if (task == 0) {
        return;
    }
    prepare();
    (void)DxrHostJoinTask(nullptr, task, DXR_HOST_FOREVER);
}

void WriteTitle(std::FILE *out, const std::string &title) {
    if (out != nullptr) {
        (void)std::fprintf(out, "%s\n", title.c_str());
    }
}

bool HasBegun() {
    const SessionLock session;
    return static_cast<bool>(session);
}

constexpr const char *kBegunAlready = "a test has begun already: these runs need their own";
constexpr const char *kNoHost = "no host could be made";

uint32_t FailEach(const DxrHostOptions &options, const std::string &point, bool onwards, Run run,
                  std::FILE *out) {
    for (uint32_t step = 1; step <= kMostRuns; ++step) {
        if (!DxrTestBegin(&options)) {
            WriteTitle(out, HasBegun() ? kBegunAlready : kNoHost);
            return 0;
        }
        const std::string which = "when step " + std::to_string(step) + " of " + point;
        const LastWords lastWords(
            which + (onwards ? " and all after it are to fail" : " is to fail"), out);
        RunBody(run, options.clock, [&] { DxrHostFailNth(nullptr, point.c_str(), step, onwards); });
        const bool hasFailed = DxrHostGetFailures(nullptr, point.c_str()) != 0;
        Findings findings;
        if (DxrTestEnd(findings.File()) != 0) {
            WriteTitle(out, hasFailed ? which + (onwards ? " and all after it fail:" : " fails:")
                                      : "when no step of " + point + " fails:");
            findings.WriteTo(out);
            return 0;
        }
        if (!hasFailed && step == 1) {
            WriteTitle(out, "the body takes no step of " + point);
            return 0;
        }
        if (!hasFailed) {
            return step;
        }
    }
    WriteTitle(out, "there are more than " + std::to_string(kMostRuns) + " steps of " + point);
    return 0;
}

uint32_t Explore(DxrHostOptions options, uint32_t seeds, Run run, std::FILE *out) {
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    for (uint32_t i = 0; i < seeds; ++i, ++options.seed) {
        if (!DxrTestBegin(&options)) {
            WriteTitle(out, HasBegun() ? kBegunAlready : kNoHost);
            return 0;
        }
        const std::string which = "seed " + std::to_string(options.seed);
        const LastWords lastWords(which, out);
        RunBody(run, options.clock, [] {});
        Findings findings;
        if (DxrTestEnd(findings.File()) != 0) {
            WriteTitle(out, which + ":");
            findings.WriteTo(out);
            return 0;
        }
    }
    return seeds;
}

DxrHostOptions Or(const DxrHostOptions *options) {
    DxrHostOptions defaults;
    DxrTestInitOptions(&defaults);
    return OptionsOr(options, defaults);
}

}  // namespace
}  // namespace devhost

uint32_t DxrTestStartTask(DxrHostTaskEntry entry, void *argument) {
    if (!devhost::HasBegun()) {
        return 0;
    }
    DxrHooks host{};
    DxrHostFillHooks(&host);
    uint32_t task = 0;
    constexpr uint32_t kPriority = 100;
    std::array<char, 5> name{"test"};
    if (host.task.createTask(name.data(), reinterpret_cast<void *>(entry), argument, kPriority,
                             nullptr, 0, &task) == 0) {
        return task;
    }
    DxrTestNoteFailure(nullptr, 0, "no task could be made");
    return 0;
}

uint32_t DxrTestFailEach(const DxrHostOptions *options, const char *point, bool onwards,
                         DxrTestBody body, void *user, FILE *out) {
    try {
        return devhost::FailEach(devhost::Or(options),
                                 point != nullptr ? point : DXR_TEST_ALLOCATIONS, onwards,
                                 {body, user}, out);
    } catch (const std::exception &) {
        (void)DxrTestEnd(nullptr);
        return 0;
    }
}

uint32_t DxrTestExplore(const DxrHostOptions *options, uint32_t seeds, DxrTestBody body, void *user,
                        FILE *out) {
    try {
        return devhost::Explore(devhost::Or(options), seeds, {body, user}, out);
    } catch (const std::exception &) {
        (void)DxrTestEnd(nullptr);
        return 0;
    }
}
