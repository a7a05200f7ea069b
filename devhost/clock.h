// The host's time: what has passed since it was made, and the time of day.
#ifndef DXR_DEVHOST_CLOCK_H
#define DXR_DEVHOST_CLOCK_H

#include <atomic>
#include <cstdint>

namespace devhost {

constexpr uint64_t kNsPerMs = 1000000;
constexpr uint64_t kNsPerSec = 1000000000;

// A moment that never comes.
constexpr uint64_t kForever = UINT64_MAX;

// The longest time that is waited for, and the latest moment of the stepped clock, 146 years: their
// sums stay below kForever.
constexpr uint64_t kLongestMs = kForever / 4 / kNsPerMs;

class Clock {
  public:
    Clock(uint32_t mode, uint32_t startSec);

    [[nodiscard]] bool IsReal() const { return mode_ == 0; }
    [[nodiscard]] bool IsStepped() const { return mode_ == 1; }
    [[nodiscard]] bool IsVirtual() const { return mode_ == 2; }

    // Nanoseconds since the host was made.
    [[nodiscard]] uint64_t NowNs() const;

    // Milliseconds since 1970.
    [[nodiscard]] uint64_t WallMs() const;

    [[nodiscard]] uint32_t StartupSec() const;

    // Seconds since 1970 at start-up.
    [[nodiscard]] uint32_t StartedAtSec() const;

    // The scheduler alone moves the stepped and the virtual clock, and never back.
    void MoveTo(uint64_t ns) { nowNs_.store(ns, std::memory_order_relaxed); }

    // Stepped clock: another time of day, another start-up.
    void SetWall(uint32_t sec, uint32_t startupSec);

    // Nanoseconds of the machine's monotonic clock.
    [[nodiscard]] static uint64_t MachineNow();

    // A moment of that clock, for waits in real time.
    [[nodiscard]] uint64_t MachineNs(uint64_t ns) const { return beganNs_ + ns; }

  private:
    const uint32_t mode_;
    const uint64_t beganNs_;
    std::atomic<uint64_t> nowNs_{0};
    // What is added to the milliseconds passed.
    std::atomic<int64_t> wallMs_;
    std::atomic<int64_t> startupMs_{0};
};

}  // namespace devhost

#endif  // DXR_DEVHOST_CLOCK_H
