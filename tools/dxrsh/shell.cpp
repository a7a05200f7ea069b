#include "shell.h"

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>

#include "errors.h"
#include "file_io.h"
#include "say.h"
#include "shell_call.h"
#include "shell_words.h"
#include "slot_table.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;
constexpr int kMostFiles = 16;  // that name each other

// What is at the end of a line of the command.
enum class Ends : uint8_t { kNothing, kSlot, kFile, kName };

struct Own {
    const char *name;
    const char *usage;
    const char *about;
    Ends ends;
    void (Session::*run)(const Session::Words &words);
};

constexpr Own kOwn[] = {
    {"call", "call SLOT [ARGUMENTS]",
     "calls a slot by its function, as modules do; 'help SLOT' tells its arguments.\n"
     "A number is decimal or hexadecimal after 0x. Memory is @BYTES (zeros, shown after\n"
     "the call), or pieces with commas between them: hex:00ff text:abc u8:1 u16:2 u32:3\n"
     "u64:4 zero:8 ptr(PIECES). null is no memory, $NAME what was kept, _ a number that\n"
     "counts memory given beside it. Memory that is only written may be left out.\n"
     "Results are kept as $result, and by their names",
     Ends::kSlot, &Session::Call},
    {"hook", "hook SLOT [ARGUMENTS]", "calls a slot's hook itself, without the library's function",
     Ends::kSlot, &Session::CallHook},
    {"buffer", "buffer NAME MEMORY", "makes memory that stays, as $NAME", Ends::kNothing,
     &Session::Buffer},
    {"keep", "keep NAME [WHAT]", "keeps $result, or $WHAT, as $NAME", Ends::kName, &Session::Keep},
    {"expect", "expect NAME VALUE", "fails unless $NAME has that value", Ends::kName,
     &Session::Expect},
    {"values", "values [NAME]", "shows what is kept", Ends::kName, &Session::ShowValues},
    {"get", "get REGISTER",
     "shows a register past faults and counts. REGISTER is UNIT:CHIP:ADDRESS,\n"
     "i2c:BUS:DEVICE:OFFSET, mdio:UNIT:BUS:PHY:DEVICE:REGISTER, pcie:DEVICE:OFFSET or\n"
     "bar:DEVICE:BAR:OFFSET",
     Ends::kNothing, &Session::Get},
    {"set", "set REGISTER VALUE", "sets one in the same way, read-only bits too", Ends::kNothing,
     &Session::Set},
    {"registers", "registers REGISTER [COUNT]",
     "shows several, and how often slots have read and written them", Ends::kNothing,
     &Session::Registers},
    {"tables", "tables [TABLE]", "shows the tables of the table manager, or one's entries",
     Ends::kNothing, &Session::Tables},
    {"entry", "entry CHIP TABLE KEY DATA", "sets an entry of a table; KEY and DATA are memory",
     Ends::kNothing, &Session::Entry},
    {"memory", "memory", "shows who holds memory", Ends::kNothing, &Session::Memory},
    {"send", "send UNIT KIND [MEMORY] [from=UNIT] [code=N] [ack=MILLISECONDS]",
     "sends a message to a unit, such as mpu:0, lpu:3, sfu:1, devm:0, np:2", Ends::kNothing,
     &Session::Send},
    {"mailbox", "mailbox UNIT [close]", "opens a unit's mailbox, or closes it", Ends::kNothing,
     &Session::OpenMailbox},
    {"receive", "receive UNIT [MILLISECONDS]", "takes a message from a mailbox", Ends::kNothing,
     &Session::Receive},
    {"mailboxes", "mailboxes", "shows the open mailboxes and what became of messages",
     Ends::kNothing, &Session::Mailboxes},
    {"drop", "drop [[UNIT] KIND COUNT]",
     "drops the next messages of a kind, or of a kind to a unit; alone: shows what will be",
     Ends::kNothing, &Session::Drop},
    {"fail", "fail POINT [N]",
     "lets the N-th step from now on fail, such as memory.allocate or file.open", Ends::kNothing,
     &Session::Fail},
    {"wait", "wait MILLISECONDS", "lets time pass on the host's clock", Ends::kNothing,
     &Session::Wait},
    {"load", "load MODULE [ARGUMENTS]",
     "runs a module's main function on this host; it is at work then", Ends::kFile, &Session::Load},
    {"unload", "unload [MODULE]", "runs its way out", Ends::kNothing, &Session::Unload},
    {"trace", "trace on FILE, trace off", "records the calls from here on", Ends::kFile,
     &Session::Trace},
    {"report", "report", "shows slots used, memory, lines, records, faults and reports so far",
     Ends::kNothing, &Session::Report},
};

const Own *OwnNamed(std::string_view name) {
    const auto *const found = std::find_if(std::begin(kOwn), std::end(kOwn),
                                           [name](const Own &own) { return name == own.name; });
    return found != std::end(kOwn) ? found : nullptr;
}

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
pid_t Spawn(const std::vector<std::string> &words, bool keepsInterrupt) {
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
    pid_t child = 0;
    const int error =
        posix_spawn(&child, "/proc/self/exe", nullptr, &attributes, argv.data(), environ);
    (void)posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw RunError(fmt::format("{}: {}", words[0], std::generic_category().message(error)));
    }
    return child;
}

// In a process of its own: it has its own host, and may end it as it likes.
void RunProgram(const std::vector<std::string> &words) {
    const InterruptIgnored ignored;
    const pid_t child = Spawn(words, ignored.WasIgnored());
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw RunError(fmt::format("{}: {}", words[0], std::generic_category().message(errno)));
        }
    }
    if (WIFSIGNALED(status)) {
        throw RunError(fmt::format("'{}' was ended by signal {}", words[0], WTERMSIG(status)));
    }
    if (WEXITSTATUS(status) != 0) {
        throw RunError(fmt::format("'{}' ended with {}", words[0], WEXITSTATUS(status)));
    }
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
        if (name.rfind(tail, 0) == 0 && !isHidden) {
            std::error_code ignored;
            found.push_back(head + name + (file->is_directory(ignored) ? "/" : ""));
        }
    }
    return found;
}

}  // namespace

bool Shell::IsProgram(std::string_view name) const {
    return std::any_of(programs_.begin(), programs_.end(),
                       [name](const Program &program) { return program.first == name; });
}

void Shell::Help(const std::vector<std::string> &words) const {
    if (words.size() > 1) {
        const std::string &name = words[1];
        if (const Own *const own = OwnNamed(name)) {
            Put(fmt::format("{}\n{}\n", own->usage, own->about));
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
        throw UsageError(fmt::format("there is no command or slot '{}'; 'help' lists the commands",
                                     Printable(name, kShownWidth)));
    }
    const auto row = [](std::string_view name, std::string_view about) {
        return fmt::format("  {:<11} {}\n", name, about.substr(0, about.find('\n')));
    };
    std::string text = "On this host:\n";
    for (const Own &own : kOwn) {
        text += row(own.name, own.about);
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
        return ExecuteFile(words[1]);
    } else if (const Own *const own = OwnNamed(name); own != nullptr && IsForOwn(words)) {
        (session_.*own->run)({words.begin() + 1, words.end()});
    } else if (IsProgram(name)) {
        RunProgram(words);
    } else {
        throw UsageError(fmt::format("there is no command '{}'; 'help' lists them",
                                     Printable(name, kShownWidth)));
    }
    return true;
}

bool Shell::ExecuteFile(const std::string &path) {
    if (depth_ == kMostFiles) {
        throw RunError(
            fmt::format("{}: more than {} files name each other", InputName(path), kMostFiles));
    }
    Input input(path);
    LineReader lines(input);
    ++depth_;
    Line line{};
    bool goesOn = true;
    while (goesOn && lines.Next(line)) {
        const auto fail = [&](const std::exception &error) {
            depth_ = 0;
            throw RunError(
                fmt::format("{}:{}: {}", InputName(path), lines.LineNumber(), error.what()));
        };
        try {
            goesOn = Execute(line.text);
        } catch (const UsageError &error) {
            fail(error);
        } catch (const RunError &error) {
            fail(error);
        }
    }
    --depth_;
    return goesOn;
}

std::vector<std::string> Shell::Completions(std::string_view line) const {
    const size_t blank = line.find_last_of(" \t");
    const std::string word(line.substr(blank == std::string_view::npos ? 0 : blank + 1));
    const std::string_view before = line.substr(0, line.size() - word.size());
    std::vector<std::string> words;
    try {
        words = WordsOf(before);
    } catch (const UsageError &) {
        return {};  // within quotes
    }
    std::vector<std::string> found;
    const auto add = [&found, &word](const std::string &candidate) {
        if (candidate.rfind(word, 0) == 0) {
            found.push_back(candidate);
        }
    };
    const auto addCommands = [&] {
        for (const Own &own : kOwn) {
            add(own.name);
        }
        for (const Plain &plain : kPlain) {
            add(plain.name);
        }
        for (const auto &[name, about] : programs_) {
            add(name);
        }
    };
    const auto addSlots = [&] {
        for (size_t slot = 0; slot < kSlotTable.size(); ++slot) {
            add(SlotName(slot));
        }
    };
    const auto addNames = [&](const std::string &head) {
        for (const auto &[name, value] : session_.Kept().All()) {
            add(head + name);
        }
    };
    const Own *const own = words.empty() ? nullptr : OwnNamed(words[0]);
    if (words.empty()) {
        addCommands();
    } else if (words[0] == "help") {
        addCommands();
        if (!word.empty()) {
            addSlots();
        }
    } else if (!word.empty() && word[0] == '$') {
        addNames("$");
    } else if (own != nullptr && own->ends == Ends::kSlot) {
        if (words.size() == 1) {
            addSlots();
        }
    } else if (own != nullptr && own->ends == Ends::kName) {
        addNames("");
    } else if (own == nullptr || own->ends == Ends::kFile) {
        found = FilesThatBegin(word);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

}  // namespace dxrsh
