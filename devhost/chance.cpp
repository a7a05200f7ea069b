#include "chance.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string>

#include "fault_points.h"
#include "host.h"

namespace devhost {
namespace {

constexpr uint64_t kGolden = 0x9E3779B97F4A7C15;
constexpr uint32_t kMillion = 1000000;

uint64_t Mix(uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

}  // namespace

Stream::Stream(uint64_t seed, std::string_view name) : state_(Mix(seed + kGolden)) {
    for (const char letter : name) {
        state_ = Mix(state_ ^ static_cast<unsigned char>(letter));
    }
}

uint64_t Stream::Next() {
    state_ += kGolden;
    return Mix(state_);
}

uint64_t Stream::Below(uint64_t bound) {
    return Next() % bound;
}

void FaultPoint::FailNth(uint64_t n, bool onwards) {
    Set(n, onwards, 0);
}

void FaultPoint::FailShare(uint32_t millionths) {
    Set(0, false, millionths);
}

void FaultPoint::Set(uint64_t nth, bool onwards, uint32_t millionths) {
    {
        const std::lock_guard lock(mutex_);
        nth_ = nth;
        onwards_ = onwards;
        millionths_ = millionths;
        steps_ = 0;
        failures_ = 0;
        isSet_ = nth != 0 || millionths != 0;
    }
    if (tell_) {
        tell_();
    }
}

bool FaultPoint::Decide() {
    const std::lock_guard lock(mutex_);
    ++steps_;
    const bool fails = nth_ != 0 ? steps_ == nth_ || (onwards_ && steps_ > nth_)
                                 : stream_.Below(kMillion) < millionths_;
    failures_ += fails ? 1 : 0;
    return fails;
}

uint64_t FaultPoint::Steps() {
    const std::lock_guard lock(mutex_);
    return steps_;
}

uint64_t FaultPoint::Failures() {
    const std::lock_guard lock(mutex_);
    return failures_;
}

FaultPoint &Chance::PointNamed(std::string_view name) {
    const std::lock_guard lock(mutex_);
    auto found = points_.find(name);
    if (found == points_.end()) {
        found = points_.emplace(name, std::make_unique<FaultPoint>(seed_, name)).first;
    }
    return *found->second;
}

}  // namespace devhost

using devhost::ApiCall;

namespace {

// A name that no service knows never fails, and a test that sets it would test nothing.
void RequirePoint(const ApiCall &call, const devhost::Place &place, const std::string &point) {
    using devhost::kFaultPoints;
    if (std::find(std::begin(kFaultPoints), std::end(kFaultPoints), point) ==
        std::end(kFaultPoints)) {
        call->reports.Add(DXR_HOST_REPORT_MISUSE, "host", place, "no such point",
                          "there is no point \"" + point + "\"");
    }
}

}  // namespace

void DxrHostFailNth(DxrHost *host, const char *point, uint64_t n, bool onwards) try {
    const ApiCall call(host);
    if (call && point != nullptr) {
        RequirePoint(call, {"DxrHostFailNth", __builtin_return_address(0)}, point);
        call->chance.PointNamed(point).FailNth(n, onwards);
    }
} catch (const std::bad_alloc &) {
    // The point is not there yet, and does not fail.
}

void DxrHostFailShare(DxrHost *host, const char *point, uint32_t millionths) try {
    const ApiCall call(host);
    if (call && point != nullptr) {
        RequirePoint(call, {"DxrHostFailShare", __builtin_return_address(0)}, point);
        call->chance.PointNamed(point).FailShare(millionths);
    }
} catch (const std::bad_alloc &) {
    // The point is not there yet, and does not fail.
}

uint64_t DxrHostGetSteps(DxrHost *host, const char *point) try {
    const ApiCall call(host);
    return call && point != nullptr ? call->chance.PointNamed(point).Steps() : 0;
} catch (const std::bad_alloc &) {
    return 0;
}

uint64_t DxrHostGetFailures(DxrHost *host, const char *point) try {
    const ApiCall call(host);
    return call && point != nullptr ? call->chance.PointNamed(point).Failures() : 0;
} catch (const std::bad_alloc &) {
    return 0;
}
