#include "dxr/fault.h"

#include "dxr/system_time.h"

namespace {

constexpr uint32_t kRingSize = 4096;
constexpr uint32_t kRingMask = kRingSize - 1;
static_assert((kRingSize & kRingMask) == 0, "positions are taken by masking");

// The rule that single and multiple specifications share. The clock is asked only where a time is
// judged.
template <typename Clock>
bool IsAccumulated(const DxrCounter &counter, uint32_t interval, uint32_t threshold, Clock now) {
    if (interval == 0 || counter.GetCount() == 0) {
        return false;
    }
    if (threshold == 0) {
        return now() - counter.BacktraceTimestamp(0) > interval;
    }
    if (threshold > counter.GetCount()) {
        return false;
    }
    return now() - counter.BacktraceTimestamp(threshold - 1) <= interval;
}

}  // namespace

void DxrCounter::IncreaseCount() {
    timestamps_[count_ & kRingMask] = DXR_GetStartupTimeSec();
    ++count_;
}

void DxrCounter::ResetCount() {
    count_ = 0;
    timestamps_.fill(0);
}

uint32_t DxrCounter::GetCount() const {
    return count_ <= kRingSize ? count_ : kRingSize;
}

uint32_t DxrCounter::BacktraceTimestamp(uint32_t n) const {
    // For the largest n the sum wraps to 0 and passes, as intended.
    if (n + 1 > GetCount()) {
        return 0;
    }
    return timestamps_[(count_ - 1 - n) & kRingMask];
}

DxrFaultSpec::~DxrFaultSpec() = default;

DxrFaultAccumulatedSpec::DxrFaultAccumulatedSpec(uint32_t interval, uint32_t threshold)
    : interval_(interval), threshold_(threshold) {
}

DxrFaultAccumulatedSpec::~DxrFaultAccumulatedSpec() = default;

bool DxrFaultAccumulatedSpec::IsSatisfied(const DxrCounter *counter) const {
    return IsAccumulated(*counter, interval_, threshold_, DXR_GetStartupTimeSec);
}

DxrFaultMultiAccumulatedSpec::DxrFaultMultiAccumulatedSpec(
    // NOLINTNEXTLINE(modernize-pass-by-value): the parameter's type is part of the exported name.
    const std::vector<std::pair<uint32_t, uint32_t>> &specs)
    : specs_(specs.begin(), specs.end()) {
}

DxrFaultMultiAccumulatedSpec::~DxrFaultMultiAccumulatedSpec() = default;

bool DxrFaultMultiAccumulatedSpec::IsSatisfied(const DxrCounter *counter) const {
    bool satisfied = false;
    for (const auto &[interval, threshold] : specs_) {
        // Read for every pair, also after one that holds: hosts see each reading.
        const uint32_t now = DXR_GetStartupTimeSec();
        const bool holds = IsAccumulated(*counter, interval, threshold, [now] { return now; });
        satisfied = satisfied || holds;
    }
    return satisfied;
}

DxrFaultTimeoutSpec::DxrFaultTimeoutSpec(uint32_t interval) : interval_(interval) {
}

DxrFaultTimeoutSpec::~DxrFaultTimeoutSpec() = default;

bool DxrFaultTimeoutSpec::IsSatisfied(const DxrCounter *counter) const {
    if (interval_ == 0) {
        return false;
    }
    const uint32_t count = counter->GetCount();
    if (count == 0) {
        return false;
    }
    // One past the oldest known event, whose time reads as 0, is intended: the rule measures the
    // time since start. It is not the silence rule.
    return DXR_GetStartupTimeSec() - counter->BacktraceTimestamp(count) > interval_;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): callers call it on an object.
std::unique_ptr<DxrFaultSpec> DxrFaultSpecFactory::CreateSpec(uint32_t interval,
                                                              uint32_t threshold) const {
    return std::make_unique<DxrFaultAccumulatedSpec>(interval, threshold);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): callers call it on an object.
std::unique_ptr<DxrFaultSpec> DxrFaultSpecFactory::CreateSpec(
    std::vector<std::pair<uint32_t, uint32_t>> &specs) const {
    return std::make_unique<DxrFaultMultiAccumulatedSpec>(specs);
}
