// A run that the user interrupts.
#ifndef DXRSH_RUN_INTERRUPT_H
#define DXRSH_RUN_INTERRUPT_H

#include <sys/types.h>

#include <array>
#include <atomic>
#include <csignal>
#include <thread>

#include "dxr_devhost.h"
#include "local_socket.h"

namespace dxrsh {

// Until its end, the first SIGINT or SIGTERM ends the run of the host, so that what became of it
// can be told. The next one ends the program; so does the first when the module does not return
// within five seconds, or when the clock is not the real one. One at a time.
class RunInterrupt {
  public:
    explicit RunInterrupt(DxrHost *host);
    ~RunInterrupt();
    RunInterrupt(const RunInterrupt &) = delete;
    RunInterrupt &operator=(const RunInterrupt &) = delete;
    RunInterrupt(RunInterrupt &&) = delete;
    RunInterrupt &operator=(RunInterrupt &&) = delete;

    // From now on they end the program as usual.
    void End();

    // Tells whether such a signal has come.
    [[nodiscard]] bool HasCome() const { return signal_ != 0; }

  private:
    static void Take(int signal);
    void Wait();
    void Wake() const;
    [[nodiscard]] bool IsWoken(int milliseconds) const;
    void RestoreActions() const;

    static constexpr std::array<int, 2> kSignals = {SIGINT, SIGTERM};

    DxrHost *const host_;
    const pid_t process_;
    const Descriptor woken_;
    std::array<struct sigaction, kSignals.size()> before_{};
    std::atomic<int> signal_{0};
    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

}  // namespace dxrsh

#endif  // DXRSH_RUN_INTERRUPT_H
