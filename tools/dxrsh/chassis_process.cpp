#include "chassis_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "chassis_descriptors.h"
#include "errors.h"

namespace dxrsh {
namespace {

// Above those that a board is given.
constexpr int kFirstFree = 10;
constexpr int kExitNoProgram = 127;
constexpr size_t kMostFileBytes = 16 << 20;

std::string ErrorText() {
    return std::generic_category().message(errno);
}

Descriptor Above(const Descriptor &from, const std::string &what) {
    Descriptor above(from ? fcntl(from.Get(), F_DUPFD_CLOEXEC, kFirstFree) : -1);
    if (!above) {
        throw RunError(what + ": " + ErrorText());
    }
    return above;
}

struct Redirection {
    int from;
    int to;
};

// The child, which calls nothing that is not safe after fork.
[[noreturn]] void Become(pid_t starter, uint64_t descriptors, int guard,
                         const std::array<Redirection, 5> &redirections, char **arguments) {
    sigset_t none{};
    (void)sigemptyset(&none);
    (void)setpgid(0, 0);
    Guard::Begin(guard);
    bool isWell = prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == starter &&
                  pthread_sigmask(SIG_SETMASK, &none, nullptr) == 0;
    for (const Redirection &each : redirections) {
        isWell = isWell && dup2(each.from, each.to) == each.to;
    }
    if (isWell) {
        LimitDescriptors(descriptors);
        (void)execv("/proc/self/exe", arguments);
    }
    _exit(kExitNoProgram);
}

}  // namespace

BoardProcess StartBoard(const std::vector<std::string> &arguments, int file, const Descriptor &log,
                        uint64_t descriptors, const Guard &guard) {
    const Descriptor output = Above(log, "the log of a board");
    const Descriptor input =
        Above(Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)), "/dev/null");
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        throw RunError("no socket for a board: " + ErrorText());
    }
    BoardProcess board;
    board.control = Descriptor(ends[0]);
    const Descriptor theirs = Above(Descriptor(ends[1]), "the socket of a board");
    std::vector<std::string> texts = arguments;
    std::vector<char *> argv;
    argv.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    const std::array<Redirection, 5> redirections = {{{input.Get(), STDIN_FILENO},
                                                      {output.Get(), STDOUT_FILENO},
                                                      {output.Get(), STDERR_FILENO},
                                                      {theirs.Get(), kControlFd},
                                                      {file, kFileFd}}};
    const pid_t starter = getpid();
    board.pid = fork();
    if (board.pid == 0) {
        Become(starter, descriptors, guard.Fd(), redirections, argv.data());
    }
    if (board.pid < 0) {
        throw RunError("no process for a board: " + ErrorText());
    }
    (void)setpgid(board.pid, board.pid);  // whoever is first
    return board;
}

Descriptor KeepFile(const std::string &path) {
    const Descriptor from(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor kept(memfd_create("chassis", MFD_CLOEXEC));
    if (!kept) {
        throw RunError("no memory for the chassis file: " + ErrorText());
    }
    std::array<char, 4096> part{};
    ssize_t bytes = 0;
    for (size_t all = 0; from && (bytes = read(from.Get(), part.data(), part.size())) != 0;) {
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        if (bytes < 0) {
            break;
        }
        all += static_cast<size_t>(bytes);
        if (all > kMostFileBytes) {
            throw UsageError(path + ": is too long for a chassis file");
        }
        if (write(kept.Get(), part.data(), static_cast<size_t>(bytes)) != bytes) {
            throw RunError("no memory for the chassis file: " + ErrorText());
        }
    }
    if (!from || bytes < 0) {
        throw UsageError(path + ": cannot be read: " + ErrorText());
    }
    return Above(kept, path);
}

std::string PathOf(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace dxrsh
