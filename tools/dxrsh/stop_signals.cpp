#include "stop_signals.h"

#include <poll.h>

#include <cerrno>
#include <ctime>

namespace dxrsh {

StopSignals::StopSignals() {
    sigemptyset(&held_);
    sigaddset(&held_, SIGINT);
    sigaddset(&held_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &held_, &before_);
    struct sigaction wake {};
    wake.sa_handler = [](int) {};  // what ends ppoll()
    // A shell starts what runs in the background with SIGINT ignored, and so it stays.
    sigaction(SIGINT, nullptr, &interruptBefore_);
    if (interruptBefore_.sa_handler != SIG_IGN) {
        sigaction(SIGINT, &wake, nullptr);
    }
    sigaction(SIGTERM, &wake, &terminateBefore_);
}

StopSignals::~StopSignals() {
    const timespec now{};
    if (requested_) {
        while (sigtimedwait(&held_, nullptr, &now) > 0) {
        }
    }
    sigaction(SIGINT, &interruptBefore_, nullptr);
    sigaction(SIGTERM, &terminateBefore_, nullptr);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool StopSignals::Requested() {
    sigset_t pending{};
    sigpending(&pending);
    requested_ =
        requested_ || sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1;
    return requested_;
}

bool StopSignals::WaitToRead(int fd, int milliseconds) {
    if (Requested()) {
        return false;
    }
    pollfd watched{fd, POLLIN, 0};
    timespec limit{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    const int ready = ppoll(&watched, 1, milliseconds < 0 ? nullptr : &limit, &before_);
    requested_ = requested_ || (ready < 0 && errno == EINTR);
    return ready > 0;
}

}  // namespace dxrsh
