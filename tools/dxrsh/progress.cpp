#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "say.h"

namespace dxrsh {
namespace {

constexpr uint64_t kLargeBytes = 16U << 20U;
constexpr size_t kBarWidth = 40;

}  // namespace

Progress::Progress(uint64_t totalBytes)
    : totalBytes_(totalBytes),
      shown_(totalBytes >= kLargeBytes && isatty(STDERR_FILENO) == 1 &&
             isatty(STDOUT_FILENO) == 0) {
}

void Progress::Update(uint64_t doneBytes) {
    if (!shown_) {
        return;
    }
    const uint64_t percent = std::min<uint64_t>(100, doneBytes * 100 / totalBytes_);
    if (percent != percent_) {
        percent_ = percent;
        const std::string bar(kBarWidth * percent / 100, '#');
        Say(stderr, "\r[{:<{}}] {:3} %", bar, kBarWidth, percent);
    }
}

void Progress::Clear() {
    if (shown_ && percent_ != 0) {
        Say(stderr, "\r{:{}}\r", "", kBarWidth + 8);
        percent_ = 0;
    }
}

}  // namespace dxrsh
