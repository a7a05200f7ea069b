#include "chassis_place.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "errors.h"

namespace dxrsh {
namespace {

constexpr const char *kLock = "/lock";
constexpr const char *kSocket = "/control";
constexpr int kMostClients = 16;
constexpr int kSilenceMs = 5000;
constexpr int kAskAgainMs = 1000;

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

// What all chassis of the user are in.
std::string UpperDirectory() {
    const char *const given = getenv("XDG_RUNTIME_DIR");  // NOLINT(concurrency-mt-unsafe)
    return given != nullptr && given[0] == '/' ? std::string(given) + "/dxrsh-chassis"
                                               : fmt::format("/tmp/dxrsh-chassis-{}", getuid());
}

// Nobody else may have made it, or get in.
void MakeOwnDirectory(const std::string &path) {
    struct stat found {};
    if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        throw RunError(path + ": " + ErrorText(errno));
    }
    if (lstat(path.c_str(), &found) != 0 || !S_ISDIR(found.st_mode) || found.st_uid != geteuid() ||
        (found.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw RunError(path + ": must be a directory of the user alone (mode 0700)");
    }
}

struct flock TheWholeFile() {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return whole;
}

// Only who has the lock is a running chassis; what a killed one left behind is not. Looking takes
// no lock, which would be in the way of one that begins.
bool IsRunning(const std::string &directory) {
    const Descriptor lock(open((directory + kLock).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    struct flock found = TheWholeFile();
    return lock && fcntl(lock.Get(), F_OFD_GETLK, &found) == 0 && found.l_type != F_UNLCK;
}

bool IsSameFile(int fd, const std::string &path) {
    struct stat open {};
    struct stat there {};
    return fstat(fd, &open) == 0 && lstat(path.c_str(), &there) == 0 &&
           open.st_dev == there.st_dev && open.st_ino == there.st_ino;
}

// Makes the directory, and takes its lock. One that ends may remove both meanwhile.
Descriptor TakePlace(const std::string &directory, const std::string &name) {
    constexpr int kMostTries = 100;
    const std::string path = directory + kLock;
    for (int tries = 1;; ++tries) {
        MakeOwnDirectory(directory);
        Descriptor lock(
            open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
        if (!lock && (errno != ENOENT || tries == kMostTries)) {
            throw RunError(path + ": " + ErrorText(errno));
        }
        struct flock whole = TheWholeFile();
        if (lock && fcntl(lock.Get(), F_OFD_SETLK, &whole) != 0) {
            throw RunError("chassis " + name + " runs already");
        }
        if (lock && IsSameFile(lock.Get(), path)) {
            return lock;
        }
    }
}

std::vector<std::string> RunningNames() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(UpperDirectory(), error)) {
        if (IsRunning(entry.path().string())) {
            names.push_back(entry.path().filename().string());
        }
    }
    return names;
}

std::string TheRunningOne() {
    const std::vector<std::string> names = RunningNames();
    if (names.empty()) {
        throw RunError("no chassis runs");
    }
    if (names.size() > 1) {
        throw RunError("several chassis run: name one of them with --name");
    }
    return names[0];
}

[[noreturn]] void BlameSilence(const std::string &name) {
    throw NoAnswer("chassis " + name + " does not answer");
}

// How long a chassis may still be silent.
class Patience {
  public:
    [[nodiscard]] int LeftMs() const {
        using std::chrono::milliseconds;
        const auto past = std::chrono::steady_clock::now() - since_;
        return std::max(
            0,
            kSilenceMs - static_cast<int>(std::chrono::duration_cast<milliseconds>(past).count()));
    }
    void BeginAnew() { since_ = std::chrono::steady_clock::now(); }

  private:
    std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

// While others wait already one more may find no room.
Descriptor ConnectInTime(const std::string &path, const Patience &patience) {
    constexpr int kPauseUs = 10000;
    Descriptor connection = ConnectTo(path);
    while (!connection && errno == EAGAIN && patience.LeftMs() > 0) {
        (void)usleep(kPauseUs);
        connection = ConnectTo(path);
    }
    return connection;
}

// Whether a chassis that has more to do than to answer still does that. One that has ended says so
// by itself.
bool IsAtWork(const std::string &name) {
    try {
        (void)AskChassis(name, "ready");
    } catch (const NoAnswer &) {
        return false;
    } catch (const RunError &) {
        return true;
    }
    return true;
}

}  // namespace

std::string ChassisDirectory(const std::string &name) {
    return UpperDirectory() + "/" + name;
}

std::string LocalAddress(const std::string &chassis, const std::string &board) {
    return "ipc://" + ChassisDirectory(chassis) + "/" + board + ".ipc";
}

std::string BoardControl(const std::string &chassis, const std::string &board) {
    return ChassisDirectory(chassis) + "/" + board + ".ctl";
}

ChassisPlace::ChassisPlace(const std::string &name) : directory_(ChassisDirectory(name)) {
    MakeOwnDirectory(UpperDirectory());
    lock_ = TakePlace(directory_, name);
    const std::string path = directory_ + kSocket;
    const sockaddr_un address = LocalAddressOf(path);
    (void)unlink(path.c_str());
    listener_ = Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener_ ||
        bind(listener_.Get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
        listen(listener_.Get(), kMostClients) != 0) {
        throw RunError(path + ": " + ErrorText(errno));
    }
}

ChassisPlace::~ChassisPlace() {
    // The lock last: until it is gone, nobody else begins here.
    std::error_code error;
    const std::string lock = directory_ + kLock;
    for (std::filesystem::directory_iterator each(directory_, error), end; each != end && !error;
         each.increment(error)) {
        if (each->path() != lock) {
            std::error_code unimportant;
            std::filesystem::remove_all(each->path(), unimportant);
        }
    }
    (void)unlink(lock.c_str());
    (void)rmdir(directory_.c_str());
}

std::string AskChassis(const std::string &name, const std::string &command) {
    const std::string asked = name.empty() ? TheRunningOne() : name;
    Patience patience;
    const Descriptor connection = ConnectInTime(ChassisDirectory(asked) + kSocket, patience);
    if (!connection && errno == EAGAIN) {
        BlameSilence(asked);
    }
    if (!connection) {
        throw RunError("chassis " + asked + " does not run");
    }
    const std::string line = command + "\n";
    if (send(connection.Get(), line.data(), line.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(line.size())) {
        throw RunError("chassis " + asked + " does not take commands");
    }
    std::string answer;
    std::array<char, 4096> part{};
    const bool isStop = command == kStopChassis;
    for (;;) {
        pollfd watched{connection.Get(), POLLIN, 0};
        const int ready = poll(&watched, 1, isStop ? kAskAgainMs : patience.LeftMs());
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready == 0) {
            if (!isStop || !IsAtWork(asked)) {
                BlameSilence(asked);
            }
            continue;
        }
        const ssize_t bytes = recv(connection.Get(), part.data(), part.size(), 0);
        if (bytes <= 0) {
            break;
        }
        answer.append(part.data(), static_cast<size_t>(bytes));
        patience.BeginAnew();
    }
    if (answer.empty()) {
        throw RunError("chassis " + asked + " ended without an answer");
    }
    return answer;
}

}  // namespace dxrsh
