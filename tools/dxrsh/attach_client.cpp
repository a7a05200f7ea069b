#include "attach_client.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "attach_wire.h"
#include "errors.h"
#include "say.h"
#include "shell.h"
#include "shell_programs.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr int kSilenceMs = 2000;    // then it is said for what one waits
constexpr int kPatienceMs = 10000;  // with that
constexpr size_t kShownWidth = 100;

bool Begins(const std::string &line, std::string_view with) {
    return line.compare(0, with.size(), with) == 0;
}

bool CanBeRead(const Descriptor &connection, int ms) {
    pollfd watched{connection.Get(), POLLIN, 0};
    return poll(&watched, 1, ms) > 0;
}

Descriptor Connect(const std::string &path) {
    Descriptor connection;
    try {
        connection = ConnectTo(path);
    } catch (const RunError &error) {
        throw UsageError(error.what());
    }
    if (!connection) {
        const int error = errno;
        std::error_code none;
        const bool isOther =
            std::filesystem::exists(path, none) && !std::filesystem::is_socket(path, none);
        const std::string why = isOther                 ? "is no socket of a host"
                                : error == ECONNREFUSED ? "no host listens there any more"
                                : error == EAGAIN       ? "its host does not answer"
                                                        : std::generic_category().message(error);
        throw UsageError(path + ": " + why);
    }
    return connection;
}

}  // namespace

AttachedTarget::AttachedTarget(const std::string &path) : connection_(Connect(path)) {
    if (!CanBeRead(connection_, kSilenceMs)) {
        Say(stderr, "{}: waiting for its host, which is stopped or busy with a line\n", path);
        if (!CanBeRead(connection_, kPatienceMs - kSilenceMs)) {
            throw UsageError(path + ": its host does not answer");
        }
    }
    std::string line;
    while (came_.find('\n') == std::string::npos && came_.size() < wire::kLongestLine) {
        const std::string part = Receive();
        if (part.empty()) {
            break;
        }
        came_ += part;
    }
    if (came_.empty()) {
        throw UsageError(path + ": its host has ended");
    }
    if (!TakesLine(line) || line != wire::kGreeting) {
        throw UsageError(fmt::format("{}: '{}' is no greeting of a host of this release", path,
                                     Printable(line, kShownWidth)));
    }
}

std::string AttachedTarget::Receive() {
    std::array<char, 65536> part{};
    for (;;) {
        const ssize_t bytes = recv(connection_.Get(), part.data(), part.size(), 0);
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        return {part.data(), static_cast<size_t>(bytes < 0 ? 0 : bytes)};
    }
}

// The first line of what has come.
bool AttachedTarget::TakesLine(std::string &line) {
    const size_t end = came_.find('\n');
    if (end == std::string::npos) {
        return false;
    }
    line = came_.substr(0, end);
    came_.erase(0, end + 1);
    return true;
}

void AttachedTarget::End(const std::string &why) {
    whyEnded_ = why;
    throw RunError(why);
}

void AttachedTarget::Send(const std::string &line) {
    for (size_t at = 0; at < line.size();) {
        const ssize_t bytes =
            send(connection_.Get(), line.data() + at, line.size() - at, MSG_NOSIGNAL);
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        if (bytes < 0) {
            return;  // what is received says why
        }
        at += static_cast<size_t>(bytes);
    }
}

// What is printed is given, or comes out line by line as it comes.
std::string AttachedTarget::Ask(const std::string &asked, bool isPrinted) {
    if (whyEnded_) {
        throw RunError(*whyEnded_);
    }
    Send(asked + "\n");
    std::string printed;
    for (;;) {
        std::string line;
        while (TakesLine(line)) {
            const std::string text = line.empty() ? line : line.substr(1);
            if (line[0] == wire::kPrinted) {
                printed += text + "\n";
                continue;
            }
            if (isPrinted && !printed.empty()) {
                Put(printed);
                printed.clear();
            }
            if (line[0] == wire::kSaid) {
                Say(stderr, "{}\n", text);
            } else if (line == wire::kDone) {
                return printed;
            } else if (Begins(line, wire::kError)) {
                throw RunError(line.substr(wire::kError.size()));
            } else if (Begins(line, wire::kEnd)) {
                End(line.substr(wire::kEnd.size()));
            } else {
                End(fmt::format("the host says '{}', which is no answer",
                                Printable(line, kShownWidth)));
            }
        }
        if (isPrinted && !printed.empty()) {
            Put(printed);
            printed.clear();
        }
        const std::string part = Receive();
        if (part.empty()) {
            End(std::string(wire::kHostEnded));
        }
        came_ += part;
    }
}

void AttachedTarget::Do(const std::vector<std::string> &words) {
    std::vector<std::string> sent = words;
    if (words[0] == "trace" && words.size() == 3) {
        // The host may be in another directory.
        sent[2] = std::filesystem::absolute(words[2]).string();
    }
    const std::string line = LineOf(sent);
    if (line.size() >= wire::kLongestLine) {
        throw UsageError(fmt::format("the line has {} bytes or more", wire::kLongestLine));
    }
    (void)Ask(line, true);
}

std::vector<std::string> AttachedTarget::Names() {
    std::vector<std::string> names;
    try {
        const std::string text = Ask("values", false);
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at);
            names.push_back(text.substr(at, text.find(" = ", at) - at));
            at = end + 1;
        }
    } catch (const RunError &) {
        // There is nothing to offer.
    }
    return names;
}

std::optional<std::string> AttachedTarget::WhyEnded() {
    if (whyEnded_ || !CanBeRead(connection_, 0)) {
        return whyEnded_;
    }
    // Nobody asked: it says its last.
    came_ += Receive();
    std::string line;
    whyEnded_ = TakesLine(line) && Begins(line, wire::kEnd) ? line.substr(wire::kEnd.size())
                                                            : std::string(wire::kHostEnded);
    return whyEnded_;
}

int RunAttached(const std::string &path, const std::optional<std::string> &file,
                const CLI::App &program) {
    Shell shell(std::make_unique<AttachedTarget>(path), ProgramsOf(program));
    return RunShell(shell, file);
}

}  // namespace dxrsh
