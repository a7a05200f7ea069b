// Ends a command in order when the user interrupts it.
#ifndef DXRSH_STOP_SIGNALS_H
#define DXRSH_STOP_SIGNALS_H

#include <csignal>

namespace dxrsh {

// While it lives, SIGINT and SIGTERM are held back and only asked for: what the command has found
// out by then is told. One at a time.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals &) = delete;
    StopSignals &operator=(const StopSignals &) = delete;
    StopSignals(StopSignals &&) = delete;
    StopSignals &operator=(StopSignals &&) = delete;

    [[nodiscard]] bool Requested();
    // Waits until the descriptor (-1: none) can be read, at most so long (-1: for ever). False when
    // it cannot, also when a signal has come.
    [[nodiscard]] bool WaitToRead(int fd, int milliseconds);

  private:
    bool requested_ = false;
    sigset_t held_{};
    sigset_t before_{};
    struct sigaction interruptBefore_ {};
    struct sigaction terminateBefore_ {};
};

}  // namespace dxrsh

#endif  // DXRSH_STOP_SIGNALS_H
