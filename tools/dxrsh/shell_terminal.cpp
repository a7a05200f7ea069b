// The shell on a terminal: lines that are edited, completed and remembered, by libedit.

#include <fmt/format.h>

#include <cstdio>
#include <new>
#include <optional>
#include <string>

#include "errors.h"
#include "say.h"
#include "shell.h"
#include "shell_words.h"

#ifdef DXRSH_LIBEDIT
#include <fcntl.h>
#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>
#else
#include <iostream>
#endif

namespace dxrsh {
namespace {

constexpr const char *kPrompt = "dxr> ";

void Complain(const std::string &text) {
    Say(stderr, "dxrsh: {}\n", Printable(text, std::string::npos));
}

// False when the line ends the shell. What is wrong with it is said.
bool Does(Shell &shell, const std::string &line) {
    try {
        return shell.Execute(line);
    } catch (const UsageError &error) {
        Complain(error.what());
    } catch (const RunError &error) {
        if (shell.WhyEnded()) {
            return false;  // which is said in the end
        }
        Complain(error.what());
    } catch (const std::bad_alloc &) {
        Complain("not enough memory");
    }
    return true;
}

// How a shell ends on a terminal: left, or without what it works on.
int StatusOf(Shell &shell) {
    const std::optional<std::string> why = shell.WhyEnded();
    if (!why) {
        return 0;
    }
    Complain(*why);
    return kExitFailure;
}

}  // namespace

#ifdef DXRSH_LIBEDIT

namespace {

constexpr size_t kMostLines = 1000;
constexpr size_t kLongestRemembered = 4096;

// --- What was typed, in a file below the user's state directory

std::filesystem::path HistoryFile() {
    const auto setting = [](const char *name) -> std::filesystem::path {
        const char *const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
        return value != nullptr ? value : "";
    };
    std::filesystem::path state = setting("XDG_STATE_HOME");
    if (!state.is_absolute()) {
        state = setting("HOME");
        if (!state.is_absolute()) {
            return {};
        }
        state = state / ".local" / "state";
    }
    return state / "dxrsh" / "history";
}

// Where no file can be had, nothing is remembered for the next time, and nothing is said.
class RememberedLines {
  public:
    RememberedLines() : file_(HistoryFile()) {
        std::ifstream stream(file_);
        for (std::string line; std::getline(stream, line);) {
            lines_.push_back(line);
        }
        if (lines_.size() > kMostLines) {
            lines_.erase(lines_.begin(), lines_.end() - kMostLines);
            Replace();
        }
    }

    [[nodiscard]] const std::vector<std::string> &Lines() const { return lines_; }

    // At once, so that nothing is lost however the shell ends.
    void Add(const std::string &line) const {
        if (file_.empty() || line.size() > kLongestRemembered) {
            return;
        }
        std::error_code error;
        std::filesystem::create_directories(file_.parent_path(), error);
        Append(file_, line + "\n");
    }

  private:
    static bool Append(const std::filesystem::path &file, const std::string &text) {
        constexpr mode_t kOwnerAlone = 0600;
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kOwnerAlone);
        if (fd < 0) {
            return false;
        }
        const bool isWritten =
            write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
        return close(fd) == 0 && isWritten;
    }

    void Replace() const {
        std::string text;
        for (const std::string &line : lines_) {
            text += line + "\n";
        }
        const std::filesystem::path fresh = file_.string() + "." + std::to_string(getpid());
        std::error_code error;
        if (Append(fresh, text)) {
            std::filesystem::rename(fresh, file_, error);
        }
        std::filesystem::remove(fresh, error);
    }

    std::filesystem::path file_;
    std::vector<std::string> lines_;
};

// --- Signals

// They may come to any thread: they are told through a pipe. While a line is read, and not while
// one is done: the terminal is as it was then, and a call that does not come back is ended by
// Ctrl-C.
int g_signalPipe = -1;

class Signals {
  public:
    Signals() {
        if (pipe2(pipe_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
            throw RunError(std::generic_category().message(errno));
        }
        g_signalPipe = pipe_[1];
        for (size_t i = 0; i < kCaught.size(); ++i) {
            sigaction(kCaught[i], nullptr, &before_[i]);
            if (kCaught[i] == SIGINT || before_[i].sa_handler != SIG_IGN) {
                Catch(kCaught[i]);
            }
        }
    }
    ~Signals() {
        for (size_t i = 0; i < kCaught.size(); ++i) {
            sigaction(kCaught[i], &before_[i], nullptr);
        }
        // One that came when the line was at its end.
        for (int number = Next(); number != 0; number = Next()) {
            if (number != SIGINT && number != SIGCONT && number != SIGWINCH) {
                (void)std::raise(number);
            }
        }
        (void)close(pipe_[0]);
        (void)close(pipe_[1]);
    }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;
    Signals(Signals &&) = delete;
    Signals &operator=(Signals &&) = delete;

    [[nodiscard]] int Fd() const { return pipe_[0]; }

    // The next one that came; 0 without one.
    [[nodiscard]] int Next() const {
        char number = 0;
        return read(pipe_[0], &number, 1) == 1 ? number : 0;
    }

    // Does to the program what the signal does when nobody catches it.
    static void Obey(int number) {
        struct sigaction usual {};
        usual.sa_handler = SIG_DFL;
        sigaction(number, &usual, nullptr);
        (void)std::raise(number);
        Catch(number);
    }

  private:
    static constexpr std::array kCaught = {SIGINT,  SIGTERM, SIGHUP,  SIGQUIT,
                                           SIGTSTP, SIGCONT, SIGWINCH};

    static void Catch(int number) {
        struct sigaction tell {};
        tell.sa_handler = [](int caught) {
            const int error = errno;
            const char byte = static_cast<char>(caught);
            const ssize_t written = write(g_signalPipe, &byte, 1);
            (void)written;  // many have come
            errno = error;
        };
        sigaction(number, &tell, nullptr);
    }

    std::array<int, 2> pipe_{-1, -1};
    std::array<struct sigaction, kCaught.size()> before_{};
};

// --- Lines

// What is typed. An interrupt makes the terminal forget it, also between the moment that it says
// that there is something and the reading of that, which must not wait then. The descriptor that
// the program has got is others' too and stays as it is.
class Input {
  public:
    Input() = default;
    ~Input() {
        if (own_ >= 0) {
            (void)close(own_);
        }
    }
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    Input(Input &&) = delete;
    Input &operator=(Input &&) = delete;

    // One that waits where the terminal is another user's.
    [[nodiscard]] int Fd() const { return own_ >= 0 ? own_ : STDIN_FILENO; }

  private:
    const int own_ = open("/dev/stdin", O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
};

class Editor {
  public:
    explicit Editor(Shell &shell)
        : shell_(shell),
          editor_(el_init("dxrsh", stdin, stdout, stderr)),
          history_(history_init()) {
        if (editor_ == nullptr || history_ == nullptr) {
            throw RunError("the terminal cannot be used");
        }
        (void)history(history_.get(), &event_, H_SETSIZE, static_cast<int>(kMostLines));
        (void)history(history_.get(), &event_, H_SETUNIQUE, 1);
        for (const std::string &line : remembered_.Lines()) {
            (void)history(history_.get(), &event_, H_ENTER, line.c_str());
        }
        const auto prompt = [](EditLine *) { return const_cast<char *>(kPrompt); };
        const auto complete = [](EditLine *editor, int) { return Of(editor).Complete(); };
        const auto read = [](EditLine *editor, wchar_t *c) { return Of(editor).ReadCharacter(c); };
        EditLine *const editor = editor_.get();
        (void)el_set(editor, EL_CLIENTDATA, this);
        (void)el_set(editor, EL_PROMPT, +prompt);
        (void)el_set(editor, EL_EDITOR, "emacs");
        (void)el_set(editor, EL_HIST, history, history_.get());
        (void)el_set(editor, EL_GETCFN, static_cast<el_rfunc_t>(read));
        // The narrow form keeps copies of the texts that nothing frees.
        (void)el_wset(editor, EL_ADDFN, L"dxr-complete", L"completes a word", +complete);
        (void)el_set(editor, EL_BIND, "^I", "dxr-complete", nullptr);
        (void)el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    }

    // False at the end.
    bool Read(std::string &line) {
        for (;;) {
            const Signals signals;
            // cppcheck-suppress danglingLifetime ; only el_gets() below reads it
            signals_ = &signals;
            isInterrupted_ = false;
            int length = 0;
            const char *const read = el_gets(editor_.get(), &length);
            if (read != nullptr && length > 0) {
                line.assign(read, static_cast<size_t>(length));
                line.erase(line.find_last_not_of('\n') + 1);
                return true;
            }
            (void)std::fputs(isInterrupted_ ? "^C\n" : "\n", stdout);
            (void)std::fflush(stdout);
            if (!isInterrupted_) {
                return false;
            }
            el_reset(editor_.get());
        }
    }

    void Remember(const std::string &line) {
        if (line.find_first_not_of(" \t") == std::string::npos) {
            return;
        }
        (void)history(history_.get(), &event_, H_ENTER, line.c_str());
        remembered_.Add(line);
    }

  private:
    struct EditorCloser {
        void operator()(EditLine *editor) const { el_end(editor); }
    };
    struct HistoryCloser {
        void operator()(History *history) const { history_end(history); }
    };

    static Editor &Of(EditLine *editor) {
        void *self = nullptr;
        (void)el_get(editor, EL_CLIENTDATA, &self);
        return *static_cast<Editor *>(self);
    }

    // True when a signal drops the line. Where it ends or stops the program, the terminal is left
    // as it was found.
    [[nodiscard]] bool Obey(int signal) const {
        EditLine *const editor = editor_.get();
        if (signal == SIGWINCH) {
            el_resize(editor);
        } else if (signal != SIGINT && signal != 0) {
            (void)el_set(editor, EL_PREP_TERM, 0);
            if (signal != SIGCONT) {
                Signals::Obey(signal);
            }
            (void)el_set(editor, EL_PREP_TERM, 1);
            (void)std::fputc('\r', stdout);  // over what is there of it
            (void)el_set(editor, EL_REFRESH);
        }
        return signal == SIGINT;
    }

    // 1 with a character, 0 at the end, -1 when the line is dropped.
    int ReadCharacter(wchar_t *character) {
        std::mbstate_t state{};
        for (;;) {
            std::array<pollfd, 3> watched = {{{STDIN_FILENO, POLLIN, 0},
                                              {signals_->Fd(), POLLIN, 0},
                                              {shell_.EndFd(), POLLIN, 0}}};
            if (poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
                return -1;
            }
            if (watched[1].revents != 0) {
                isInterrupted_ = Obey(signals_->Next());
                if (isInterrupted_) {
                    return -1;
                }
                continue;
            }
            if (watched[2].revents != 0 && shell_.WhyEnded()) {
                return 0;
            }
            if (watched[0].revents == 0) {
                continue;
            }
            char byte = 0;
            const ssize_t count = read(input_.Fd(), &byte, 1);
            if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) {
                return 0;
            }
            if (count < 0) {
                continue;
            }
            // NOLINTNEXTLINE(concurrency-mt-unsafe): with a state of its own
            const size_t taken = std::mbrtowc(character, &byte, 1, &state);
            if (taken == static_cast<size_t>(-1)) {
                state = {};  // no character here
            } else if (taken != static_cast<size_t>(-2)) {
                return 1;
            }
        }
    }

    static std::string Escaped(const std::string &word) {
        std::string escaped;
        for (const char c : word) {
            if (std::string(" \t'\"\\#").find(c) != std::string::npos) {
                escaped += '\\';
            }
            escaped += c;
        }
        return escaped;
    }

    unsigned char Complete() {
        const LineInfo *const info = el_line(editor_.get());
        const std::string line(info->buffer, info->cursor);
        const std::vector<std::string> found = shell_.Completions(line);
        const std::optional<BegunWord> begun = LastWord(line);
        if (found.empty() || !begun) {
            return CC_ERROR;
        }
        std::string common = found[0];
        for (const std::string &word : found) {
            const auto parted =
                std::mismatch(common.begin(), common.end(), word.begin(), word.end());
            common.erase(parted.first, common.end());
        }
        // Not a part of a character.
        while (common.size() < found[0].size() && common.size() > begun->word.size() &&
               (static_cast<unsigned char>(found[0][common.size()]) & 0xC0U) == 0x80U) {
            common.pop_back();
        }
        std::string more = Escaped(common.substr(begun->word.size()));
        if (found.size() == 1 && common.back() != '/') {
            more += ' ';
        }
        if (!more.empty()) {
            return el_insertstr(editor_.get(), more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
        }
        List(found);
        return CC_REDISPLAY;
    }

    static void List(const std::vector<std::string> &found) {
        constexpr size_t kMostListed = 100;
        std::string text = "\n";
        for (size_t i = 0; i < std::min(found.size(), kMostListed); ++i) {
            text += Printable(found[i], kLongestRemembered) + (i % 2 == 1 ? "\n" : "  ");
        }
        if (found.size() > kMostListed) {
            text += fmt::format("... {} in all", found.size());
        }
        Say(stdout, "{}\n", text);
        (void)std::fflush(stdout);
    }

    Shell &shell_;
    const Input input_;
    RememberedLines remembered_;
    HistEvent event_{};
    std::unique_ptr<EditLine, EditorCloser> editor_;
    std::unique_ptr<History, HistoryCloser> history_;
    const Signals *signals_ = nullptr;  // while a line is read
    bool isInterrupted_ = false;
};

}  // namespace

int RunTerminal(Shell &shell) {
    (void)std::setlocale(LC_CTYPE, "");  // NOLINT(concurrency-mt-unsafe): what is typed
    Editor editor(shell);
    for (std::string line; editor.Read(line);) {
        editor.Remember(line);
        if (!Does(shell, line)) {
            break;
        }
    }
    return StatusOf(shell);
}

#else

int RunTerminal(Shell &shell) {
    Say(stderr, "dxrsh: lines are not edited or remembered: built without libedit (libedit-dev)\n");
    for (std::string line; Put(kPrompt), std::getline(std::cin, line);) {
        if (!Does(shell, line)) {
            break;
        }
    }
    return StatusOf(shell);
}

#endif

}  // namespace dxrsh
