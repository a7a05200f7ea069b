#include "chassis_guard.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "errors.h"

namespace dxrsh {
namespace {

// Whoever waits for the end of what the supervisor had open does not wait for the guard. The
// descriptor of `kept` becomes the only one, but for the usual three.
void CloseOthers(int kept) {
    std::vector<int> open;
    DIR *const all = opendir("/proc/self/fd");
    while (all != nullptr) {
        const dirent *const each = readdir(all);  // NOLINT(concurrency-mt-unsafe): its own
        if (each == nullptr) {
            break;
        }
        int fd = -1;
        const char *const name = each->d_name;
        (void)std::from_chars(name, name + std::strlen(name), fd);
        if (fd > STDERR_FILENO && fd != kept && fd != dirfd(all)) {
            open.push_back(fd);
        }
    }
    if (all != nullptr) {
        (void)closedir(all);
    }
    for (const int each : open) {
        (void)close(each);
    }
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        (void)dup2(nothing, each);
    }
    (void)close(nothing);
}

// Numbers of groups that begin, and with a sign those that end.
[[noreturn]] void Watch(int fd) {
    sigset_t all{};
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, nullptr);
    (void)setsid();  // signals of the terminal, and to the group, end the supervisor alone
    (void)prctl(PR_SET_NAME, "dxrsh-guard");
    CloseOthers(fd);
    const int unimportant = chdir("/");
    (void)unimportant;
    std::set<pid_t> groups;
    pid_t told = 0;
    for (;;) {
        const ssize_t bytes = read(fd, &told, sizeof(told));
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        if (bytes != sizeof(told)) {
            break;
        }
        if (told > 0) {
            groups.insert(told);
        } else {
            groups.erase(-told);
        }
    }
    for (const pid_t group : groups) {
        (void)kill(-group, SIGKILL);
    }
    _exit(0);
}

}  // namespace

Guard::Guard() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw RunError("no pipe for the chassis: " + std::generic_category().message(errno));
    }
    const Descriptor theirs(ends[0]);
    tell_ = Descriptor(ends[1]);
    (void)fcntl(tell_.Get(), F_SETFL, O_NONBLOCK);  // one that is stopped is waited for by nobody
    pid_ = fork();
    if (pid_ == 0) {
        tell_ = Descriptor();
        Watch(theirs.Get());
    }
    if (pid_ < 0) {
        throw RunError("no process for the chassis: " + std::generic_category().message(errno));
    }
}

Guard::~Guard() {
    tell_ = Descriptor();
    siginfo_t found{};
    if (waitid(P_PID, static_cast<id_t>(pid_), &found, WEXITED | WNOHANG | WNOWAIT) == 0) {
        (void)kill(pid_, SIGCONT);
        (void)waitpid(pid_, nullptr, 0);
    }
}

void Guard::Begin(int fd) {
    const pid_t group = getpid();
    const ssize_t written = write(fd, &group, sizeof(group));
    (void)written;  // a guard that is gone cannot be told
}

void Guard::End(pid_t group) const {
    const pid_t told = -group;
    const ssize_t written = write(tell_.Get(), &told, sizeof(told));
    (void)written;
}

}  // namespace dxrsh
