#include "clock.h"

#include <chrono>

namespace devhost {
namespace {

int64_t SystemMs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

constexpr int64_t kMsPerSec = 1000;

int64_t Passed(uint64_t ns) {
    return static_cast<int64_t>(ns / kNsPerMs);
}

}  // namespace

Clock::Clock(uint32_t mode, uint32_t startSec)
    : mode_(mode),
      beganNs_(MachineNow()),
      wallMs_(mode == 0 ? SystemMs() : kMsPerSec * static_cast<int64_t>(startSec)) {
}

uint64_t Clock::MachineNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

uint64_t Clock::NowNs() const {
    return IsReal() ? MachineNow() - beganNs_ : nowNs_.load(std::memory_order_relaxed);
}

uint64_t Clock::WallMs() const {
    return static_cast<uint64_t>(IsReal() ? SystemMs() : wallMs_ + Passed(NowNs()));
}

uint32_t Clock::StartupSec() const {
    return static_cast<uint32_t>((startupMs_ + Passed(NowNs())) / kMsPerSec);
}

uint32_t Clock::StartedAtSec() const {
    return static_cast<uint32_t>((wallMs_ - startupMs_) / kMsPerSec);
}

void Clock::SetWall(uint32_t sec, uint32_t startupSec) {
    const int64_t passed = Passed(NowNs());
    wallMs_ = kMsPerSec * static_cast<int64_t>(sec) - passed;
    startupMs_ = kMsPerSec * static_cast<int64_t>(startupSec) - passed;
}

}  // namespace devhost
