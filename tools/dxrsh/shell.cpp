#include "shell.h"

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <new>
#include <system_error>

#include "complaint.h"
#include "devhost/fault_points.h"
#include "errors.h"
#include "file_io.h"
#include "log_source.h"
#include "nearest.h"
#include "say.h"
#include "shell_call.h"
#include "shell_commands.h"
#include "shell_words.h"
#include "slot_table.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;
constexpr size_t kLongestName = 1000;  // a line that is too long is refused as such
constexpr int kMostFiles = 16;         // that name each other

// The places in all of the files would say no more.
class TooDeep : public RunError {
  public:
    using RunError::RunError;
};

// Those that the shell itself does.
struct Plain {
    const char *name;
    const char *usage;
    const char *about;
};
constexpr Plain kPlain[] = {
    {"source", "source FILE", "does the lines of a file"},
    {"help", "help [COMMAND or SLOT]", "tells about one"},
    {"quit", "quit", "leaves the shell, as exit and Ctrl-D do"},
    {"exit", "exit", "leaves the shell"},
};

// The same name is a command of dxrsh as well: with these words the line is the shell's.
bool IsForOwn(const std::vector<std::string> &words) {
    return words[0] != "trace" || (words.size() > 1 && (words[1] == "on" || words[1] == "off"));
}

// While a program runs, Ctrl-C is for it alone.
class InterruptIgnored {
  public:
    InterruptIgnored() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGINT, &ignore, &before_);
    }
    ~InterruptIgnored() { sigaction(SIGINT, &before_, nullptr); }
    InterruptIgnored(const InterruptIgnored &) = delete;
    InterruptIgnored &operator=(const InterruptIgnored &) = delete;
    InterruptIgnored(InterruptIgnored &&) = delete;
    InterruptIgnored &operator=(InterruptIgnored &&) = delete;

    [[nodiscard]] bool WasIgnored() const { return before_.sa_handler == SIG_IGN; }

  private:
    struct sigaction before_ {};
};

// Starts this program with other words. Its number, or RunError.
pid_t Spawn(const std::vector<std::string> &words, bool keepsInterrupt,
            const ComplaintPipe &complaint) {
    std::vector<std::string> own = words;
    own.insert(own.begin(), "dxrsh");
    std::vector<char *> argv;
    argv.reserve(own.size() + 1);
    for (std::string &word : own) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    posix_spawnattr_t attributes;
    (void)posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    if (!keepsInterrupt) {
        sigaddset(&defaults, SIGINT);
    }
    (void)posix_spawnattr_setsigdefault(&attributes, &defaults);
    (void)posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::string variable = complaint.Variable();
    std::vector<char *> environment = {variable.data()};
    for (char **each = environ; *each != nullptr; ++each) {
        environment.push_back(*each);
    }
    environment.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    (void)posix_spawn_file_actions_init(&actions);
    // To itself: it stays open there.
    (void)posix_spawn_file_actions_adddup2(&actions, complaint.Fd(), complaint.Fd());
    pid_t child = 0;
    const int error = posix_spawn(&child, "/proc/self/exe", &actions, &attributes, argv.data(),
                                  environment.data());
    (void)posix_spawn_file_actions_destroy(&actions);
    (void)posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw RunError(fmt::format("{}: {}", words[0], std::generic_category().message(error)));
    }
    return child;
}

// In a process of its own: it has its own host, and may end it as it likes.
void RunProgram(const std::vector<std::string> &words) {
    const InterruptIgnored ignored;
    ComplaintPipe complaint;
    const pid_t child = Spawn(words, ignored.WasIgnored(), complaint);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw RunError(fmt::format("{}: {}", words[0], std::generic_category().message(errno)));
        }
    }
    if (WIFSIGNALED(status)) {
        throw RunError(fmt::format("'{}' was ended by signal {}", words[0], WTERMSIG(status)));
    }
    const std::string told = complaint.Take();
    if (!told.empty()) {
        throw RunError(fmt::format("{}: {}", words[0], told));
    }
    if (WEXITSTATUS(status) != 0) {
        throw RunError(fmt::format("'{}' ended with {}", words[0], WEXITSTATUS(status)));
    }
}

// A line for all that begin alike.
std::string PointsText() {
    std::string text;
    std::string_view group;
    for (const std::string_view point : devhost::kFaultPoints) {
        const std::string_view begin = point.substr(0, point.find('.'));
        text += begin == group ? " " : text.empty() ? "  " : "\n  ";
        text += point;
        group = begin;
    }
    return text + "\n";
}

std::vector<std::string> FilesThatBegin(const std::string &word) {
    const size_t slash = word.rfind('/');
    const std::string head = slash == std::string::npos ? "" : word.substr(0, slash + 1);
    const std::string tail = word.substr(head.size());
    std::vector<std::string> found;
    std::error_code error;
    for (std::filesystem::directory_iterator file(head.empty() ? "." : head, error), end;
         !error && file != end; file.increment(error)) {
        const std::string name = file->path().filename().string();
        const bool isHidden = name[0] == '.' && (tail.empty() || tail[0] != '.');
        if (name.rfind(tail, 0) == 0 && !isHidden && !HoldsControlCharacter(name)) {
            std::error_code ignored;
            found.push_back(head + name + (file->is_directory(ignored) ? "/" : ""));
        }
    }
    return found;
}

}  // namespace

const ShellCommand *Shell::Named(std::string_view name) const {
    const ShellCommand *const command = ShellCommandNamed(name);
    const bool isHere =
        command != nullptr && (command->host == HostOf::kAny || command->host == target_->Whose());
    return isHere ? command : nullptr;
}

bool Shell::IsProgram(std::string_view name) const {
    return std::any_of(programs_.begin(), programs_.end(),
                       [name](const Program &program) { return program.first == name; });
}

std::vector<std::string> Shell::CommandNames() const {
    std::vector<std::string> names;
    for (const ShellCommand &own : ShellCommands()) {
        if (Named(own.name) != nullptr) {
            names.emplace_back(own.name);
        }
    }
    for (const Plain &plain : kPlain) {
        names.emplace_back(plain.name);
    }
    for (const auto &[name, about] : programs_) {
        names.push_back(name);
    }
    return names;
}

void Shell::Help(const std::vector<std::string> &words) const {
    if (words.size() > 1) {
        const std::string &name = words[1];
        if (const ShellCommand *const own = Named(name)) {
            Put(fmt::format("{}\n{}\n", own->usage, own->about));
            if (own->end == LineEnd::kPoint) {
                Put(PointsText());
            }
            if (!IsProgram(name)) {
                return;
            }
            Put("\n");
        }
        for (const Plain &plain : kPlain) {
            if (name == plain.name) {
                Put(fmt::format("{}\n{}\n", plain.usage, plain.about));
                return;
            }
        }
        if (IsProgram(name)) {
            RunProgram({name, "--help"});
            return;
        }
        if (const auto slot = SlotNamed(name)) {
            Put(SlotHelp(*slot));
            return;
        }
        std::vector<std::string> known = CommandNames();
        const std::vector<std::string> slots = SlotNamesLike(name);
        known.insert(known.end(), slots.begin(), slots.end());
        throw UsageError(fmt::format("there is no command or slot '{}'; {}",
                                     Printable(name, kShownWidth),
                                     Advice(name, known, "'help' lists the commands")));
    }
    const auto row = [](std::string_view name, std::string_view about) {
        return fmt::format("  {:<11} {}\n", name, about.substr(0, about.find('\n')));
    };
    std::string text =
        target_->Whose() == HostOf::kShell ? "On this host:\n" : "On the host attached to:\n";
    for (const ShellCommand &own : ShellCommands()) {
        if (Named(own.name) != nullptr) {
            text += row(own.name, own.about);
        }
    }
    for (const Plain &plain : kPlain) {
        text += row(plain.name, plain.about);
    }
    text += "Commands of dxrsh, each with a host of its own:\n";
    for (const auto &[name, about] : programs_) {
        text += row(name, about);
    }
    Put(text);
}

bool Shell::Execute(std::string_view line) {
    const std::vector<std::string> words = WordsOf(line);
    if (words.empty()) {
        return true;
    }
    const std::string &name = words[0];
    if (name == "quit" || name == "exit") {
        return false;
    }
    if (name == "help") {
        Help(words);
    } else if (name == "source") {
        if (words.size() != 2) {
            throw UsageError("usage: source FILE");
        }
        if (words[1].empty()) {
            throw UsageError("FILE: must not be empty");
        }
        return ExecuteFile(words[1]);
    } else if (IsProgram(name) && (Named(name) == nullptr || !IsForOwn(words))) {
        RunProgram(words);
    } else if (ShellCommandNamed(name) == nullptr && name.size() <= kLongestName) {
        throw UsageError(fmt::format("there is no command '{}'; {}", Printable(name, kShownWidth),
                                     Advice(name, CommandNames(), "'help' lists them")));
    } else {
        target_->Do(words);  // which knows what is wrong with it
    }
    return true;
}

bool Shell::ExecuteFile(const std::string &path) {
    if (depth_ == kMostFiles) {
        throw TooDeep(
            fmt::format("{}: more than {} files name each other", InputName(path), kMostFiles));
    }
    Input input(path);
    WithoutMark unmarked(input);
    LineReader lines(unmarked);
    ++depth_;
    Line line{};
    bool goesOn = true;
    while (goesOn && lines.Next(line)) {
        const auto fail = [&](const char *why) {
            depth_ = 0;
            throw RunError(fmt::format("{}:{}: {}", InputName(path), lines.LineNumber(), why));
        };
        try {
            goesOn = Execute(line.text);
        } catch (const BrokenPipe &) {
            throw;
        } catch (const Ended &) {
            throw;
        } catch (const TooDeep &) {
            depth_ = 0;
            throw;
        } catch (const std::bad_alloc &) {
            fail("not enough memory");
        } catch (const std::exception &error) {
            fail(error.what());
        }
    }
    --depth_;
    return goesOn;
}

std::vector<std::string> Shell::Completions(std::string_view line) const {
    const std::optional<BegunWord> begun = LastWord(line);
    if (!begun) {
        return {};
    }
    const std::string &word = begun->word;
    const std::vector<std::string> words = WordsOf(line.substr(0, begun->at));
    std::vector<std::string> found;
    const auto add = [&found, &word](const std::string &candidate) {
        if (candidate.rfind(word, 0) == 0) {
            found.push_back(candidate);
        }
    };
    const auto addCommands = [&] {
        for (const std::string &name : CommandNames()) {
            add(name);
        }
    };
    const auto addSlots = [&] {
        for (size_t slot = 0; slot < kSlotTable.size(); ++slot) {
            add(SlotName(slot));
        }
    };
    const auto addNames = [&](const std::string &head) {
        for (const std::string &name : target_->Names()) {
            add(head + name);
        }
    };
    const ShellCommand *const own = words.empty() ? nullptr : Named(words[0]);
    if (words.empty()) {
        addCommands();
    } else if (words[0] == "help") {
        addCommands();
        if (!word.empty()) {
            addSlots();
        }
    } else if (!word.empty() && word[0] == '$') {
        addNames("$");
    } else if (own != nullptr && own->end == LineEnd::kSlot) {
        if (words.size() == 1) {
            addSlots();
        }
    } else if (own != nullptr && own->end == LineEnd::kName) {
        addNames("");
    } else if (own != nullptr && own->end == LineEnd::kPoint) {
        for (size_t i = 0; words.size() == 1 && i < std::size(devhost::kFaultPoints); ++i) {
            add(std::string(devhost::kFaultPoints[i]));
        }
    } else if (own == nullptr || own->end == LineEnd::kFile) {
        found = FilesThatBegin(word);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

int RunShell(Shell &shell, const std::optional<std::string> &file) {
    if (!file && isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1) {
        return RunTerminal(shell);
    }
    (void)shell.ExecuteFile(file.value_or("-"));
    return 0;
}

}  // namespace dxrsh
