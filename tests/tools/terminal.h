// dxrsh on a terminal, and who sits at it.
#ifndef DXR_TESTS_TOOLS_TERMINAL_H
#define DXR_TESTS_TOOLS_TERMINAL_H

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/run_dxrsh.h"

namespace dxrtest {

inline constexpr int kPatienceMs = 60000;

class Terminal {
  public:
    // `state` is where the shell keeps what was typed.
    explicit Terminal(const std::string &state, const std::vector<std::string> &arguments = {}) {
        const winsize size{24, 120, 0, 0};
        child_ = forkpty(&fd_, nullptr, nullptr, &size);
        if (child_ == 0) {
            setenv("XDG_STATE_HOME", state.c_str(), 1);
            setenv("TERM", "dumb", 1);
            setenv("LC_ALL", "C.UTF-8", 1);
            ExecuteDxrsh(arguments);
            _exit(99);
        }
        Await("dxr> ");
    }
    ~Terminal() {
        if (child_ > 0) {
            (void)kill(child_, SIGKILL);
            (void)waitpid(child_, nullptr, 0);
        }
        (void)close(fd_);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    Terminal(Terminal &&) = delete;
    Terminal &operator=(Terminal &&) = delete;

    // Once the shell edits: what comes before that is the terminal's, which keeps an end of input
    // to itself.
    void Type(const std::string &keys) const {
        termios modes{};
        for (int ms = 0; ms < kPatienceMs; ++ms) {
            if (tcgetattr(fd_, &modes) == 0 && (modes.c_lflag & ICANON) == 0) {
                break;
            }
            (void)poll(nullptr, 0, 1);
        }
        EXPECT_EQ(modes.c_lflag & ICANON, 0U);
        EXPECT_EQ(write(fd_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Reads until a text has come; what came up to its end.
    std::string Await(const std::string &text) {
        for (;;) {
            const size_t at = came_.find(text);
            if (at != std::string::npos) {
                const std::string before = came_.substr(0, at + text.size());
                came_.erase(0, at + text.size());
                return before;
            }
            pollfd watched{fd_, POLLIN, 0};
            std::string piece(4096, '\0');
            const ssize_t count =
                poll(&watched, 1, kPatienceMs) > 0 ? read(fd_, piece.data(), piece.size()) : -1;
            if (count <= 0) {
                ADD_FAILURE() << "'" << text << "' did not come: " << came_;
                return came_;
            }
            came_.append(piece, 0, static_cast<size_t>(count));
        }
    }

    // Types a line and waits for what it prints, then for the next prompt.
    void Do(const std::string &line, const std::string &expected) {
        Type(line + "\r");
        Await(expected);
        Await("dxr> ");
    }

    void Signal(int number) const { EXPECT_EQ(kill(child_, number), 0); }

    // Keys go to the shell one by one.
    [[nodiscard]] bool IsEdited() const {
        termios modes{};
        return tcgetattr(fd_, &modes) == 0 && (modes.c_lflag & ICANON) == 0;
    }

    int Status() {
        int status = -1;
        EXPECT_EQ(waitpid(child_, &status, 0), child_);
        child_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

  private:
    int fd_ = -1;
    pid_t child_ = -1;
    std::string came_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_TOOLS_TERMINAL_H
