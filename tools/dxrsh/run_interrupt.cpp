#include "run_interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr int kPatienceMs = 5000;

// The one that lives.
constinit std::atomic<RunInterrupt *> g_interrupt = nullptr;

}  // namespace

RunInterrupt::RunInterrupt(DxrHost *host)
    : host_(host), process_(getpid()), woken_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!woken_) {
        throw RunError("signals cannot be waited for: " + std::generic_category().message(errno));
    }
    // Signals are for the module's threads.
    sigset_t all{};
    sigset_t before{};
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this] { Wait(); });
    (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
    g_interrupt = this;
    for (size_t i = 0; i < kSignals.size(); ++i) {
        (void)sigaction(kSignals[i], nullptr, &before_[i]);
        // A shell starts what runs in the background with SIGINT ignored, and so it stays.
        if (before_[i].sa_handler != SIG_IGN) {
            struct sigaction take {};
            take.sa_handler = Take;
            take.sa_flags = SA_RESTART;
            (void)sigaction(kSignals[i], &take, nullptr);
        }
    }
}

RunInterrupt::~RunInterrupt() {
    g_interrupt = nullptr;
    End();
}

void RunInterrupt::End() {
    RestoreActions();
    if (process_ != getpid()) {
        // One that the module has forked has not the thread, and wakes that of the run.
        if (thread_.joinable()) {
            thread_.detach();
        }
        return;
    }
    isOver_ = true;
    Wake();
    if (thread_.joinable()) {
        thread_.join();
    }
}

// Unless the module has set others.
void RunInterrupt::RestoreActions() const {
    for (size_t i = 0; i < kSignals.size(); ++i) {
        struct sigaction now {};
        if (sigaction(kSignals[i], nullptr, &now) == 0 && now.sa_handler == Take) {
            (void)sigaction(kSignals[i], &before_[i], nullptr);
        }
    }
}

void RunInterrupt::Take(int signal) {
    const int error = errno;
    RunInterrupt *const self = g_interrupt;
    if (self != nullptr) {
        self->RestoreActions();
        if (self->process_ == getpid()) {
            self->signal_ = signal;
            self->Wake();
        } else {
            (void)raise(signal);  // a process that the module has forked ends as usual
        }
    }
    errno = error;
}

void RunInterrupt::Wake() const {
    const uint64_t one = 1;
    const ssize_t written = write(woken_.Get(), &one, sizeof(one));
    (void)written;  // it has been woken already
}

// Negative: for ever.
bool RunInterrupt::IsWoken(int milliseconds) const {
    pollfd watched{woken_.Get(), POLLIN, 0};
    uint64_t count = 0;
    return poll(&watched, 1, milliseconds) > 0 &&
           read(woken_.Get(), &count, sizeof(count)) == sizeof(count);
}

// Of the thread: what a handler must not do.
void RunInterrupt::Wait() {
    (void)IsWoken(-1);
    if (isOver_) {
        return;
    }
    if (DxrHostStop(host_) == 0) {
        Say(stderr, "dxrsh: interrupted: the run ends\n");
        if (IsWoken(kPatienceMs)) {
            return;
        }
        Say(stderr, "dxrsh: the module does not return\n");
    } else {
        Say(stderr, "dxrsh: interrupted\n");
    }
    (void)kill(getpid(), signal_);
}

}  // namespace dxrsh
