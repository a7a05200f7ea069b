#include "local_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "errors.h"

namespace dxrsh {
namespace {

[[noreturn]] void Refuse(const std::string &path, const std::string &why) {
    throw RunError(path + ": " + why);
}

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

// Two that begin at the same path go one after the other, as far as the directory lets them.
Descriptor LockDirectoryOf(const std::string &path) {
    constexpr int kMostTries = 100;
    constexpr int kPauseMs = 10;
    const std::string directory = std::filesystem::path(path).parent_path().string();
    Descriptor lock(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; lock && i < kMostTries && flock(lock.Get(), LOCK_EX | LOCK_NB) != 0; ++i) {
        (void)poll(nullptr, 0, kPauseMs);
    }
    return lock;
}

// Unless another one is there meanwhile.
void RemoveFile(const char *path, dev_t device, ino_t inode) {
    struct stat found {};
    if (lstat(path, &found) == 0 && found.st_dev == device && found.st_ino == inode) {
        (void)unlink(path);
    }
}

// The file that goes with the program, where handlers of signals find it.
struct FileOfProgram {
    std::array<char, PATH_MAX> path{};
    dev_t device = 0;
    ino_t inode = 0;
};
constinit FileOfProgram g_file{};
// Whose it is: not of a process that this one has forked. 0: there is none.
constinit std::atomic<pid_t> g_owner = 0;

// Those that end a program unless it has a handler, and can have one; and all real-time signals.
constexpr std::array kEnding = {SIGINT,    SIGTERM,   SIGHUP,  SIGQUIT, SIGABRT, SIGSEGV,
                                SIGBUS,    SIGFPE,    SIGILL,  SIGTRAP, SIGSYS,  SIGALRM,
                                SIGPROF,   SIGVTALRM, SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ,
                                SIGSTKFLT, SIGIO,     SIGPWR,  SIGPIPE};

void RemoveAndEnd(int signal) {
    RemoveListenerOfProgram();
    (void)raise(signal);  // which has its usual effect again
}

void RemoveAt(int signal) {
    struct sigaction given {};
    (void)sigaction(signal, nullptr, &given);
    if (given.sa_handler == SIG_DFL) {
        given.sa_handler = RemoveAndEnd;
        given.sa_flags = static_cast<int>(SA_RESETHAND) | SA_ONSTACK;
        (void)sigaction(signal, &given, nullptr);
    }
}

// For handlers on the calling thread, whose own stack may be what has run out.
void GiveStackToHandlers() {
    constexpr size_t kBytes = 65536;
    alignas(std::max_align_t) static std::array<std::byte, kBytes> room;
    stack_t stack{};
    if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_DISABLE) != 0) {
        stack.ss_sp = room.data();
        stack.ss_size = room.size();
        stack.ss_flags = 0;
        (void)sigaltstack(&stack, nullptr);
    }
}

}  // namespace

void RemoveListenerOfProgram() {
    if (g_owner == getpid()) {
        RemoveFile(g_file.path.data(), g_file.device, g_file.inode);
    }
}

Descriptor::~Descriptor() {
    if (fd_ >= 0) {
        (void)close(fd_);
    }
}

Descriptor::Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {
}

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

sockaddr_un LocalAddressOf(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty()) {
        throw RunError("a socket needs a path");
    }
    if (path.size() >= sizeof(address.sun_path)) {
        Refuse(path, "the path is too long for a socket");
    }
    (void)path.copy(static_cast<char *>(address.sun_path), path.size());
    return address;
}

Descriptor ConnectTo(const std::string &path) {
    const sockaddr_un address = LocalAddressOf(path);
    Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isThere =
        connection && connect(connection.Get(), reinterpret_cast<const sockaddr *>(&address),
                              sizeof(address)) == 0;
    if (!isThere || fcntl(connection.Get(), F_SETFL, 0) != 0) {
        const int error = errno;
        connection = Descriptor();
        errno = error;
    }
    return connection;
}

LocalListener::LocalListener(const std::string &path, int waiting)
    : path_(std::filesystem::absolute(path).string()) {
    const sockaddr_un address = LocalAddressOf(path);
    const Descriptor lock = LockDirectoryOf(path_);
    struct stat found {};
    if (lstat(path.c_str(), &found) == 0) {
        if (!S_ISSOCK(found.st_mode)) {
            Refuse(path, "is there already, and no socket");
        }
        if (ConnectTo(path) || errno == EAGAIN) {
            Refuse(path, "another program listens there");
        }
        if (errno != ECONNREFUSED) {
            Refuse(path, ErrorText(errno));
        }
        (void)unlink(path.c_str());
    }
    fd_ = Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // Its mode is that of the file, from the first moment.
    if (!fd_ || fchmod(fd_.Get(), S_IRUSR | S_IWUSR) != 0 ||
        bind(fd_.Get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        Refuse(path, ErrorText(errno));
    }
    if (listen(fd_.Get(), waiting) != 0 || lstat(path.c_str(), &found) != 0) {
        const int error = errno;
        (void)unlink(path.c_str());
        Refuse(path, ErrorText(error));
    }
    device_ = found.st_dev;
    inode_ = found.st_ino;
    owner_ = getpid();
}

void LocalListener::Remove() const {
    if (owner_ != getpid()) {
        return;
    }
    RemoveFile(path_.c_str(), device_, inode_);
    if (g_file.device == device_ && g_file.inode == inode_) {
        g_owner = 0;  // the next file there may have its number
    }
}

void LocalListener::RemoveAtEnd() const {
    if (path_.size() >= g_file.path.size()) {
        return;
    }
    (void)path_.copy(g_file.path.data(), path_.size());
    g_file.device = device_;
    g_file.inode = inode_;
    g_owner = getpid();
    (void)std::atexit(RemoveListenerOfProgram);
    GiveStackToHandlers();
    for (const int each : kEnding) {
        RemoveAt(each);
    }
    for (int each = SIGRTMIN; each <= SIGRTMAX; ++each) {
        RemoveAt(each);
    }
}

}  // namespace dxrsh
