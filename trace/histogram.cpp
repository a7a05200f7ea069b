#include "histogram.h"

#include <algorithm>

namespace dxr_trace {

void Histogram::Clear() {
    for (std::atomic<uint64_t> &bucket : buckets_) {
        // Most are empty, and their pages need not be touched.
        if (bucket.load(std::memory_order_relaxed) != 0) {
            bucket.store(0, std::memory_order_relaxed);
        }
    }
    most_.store(0, std::memory_order_relaxed);
}

uint64_t Histogram::Count() const {
    uint64_t count = 0;
    for (const std::atomic<uint64_t> &bucket : buckets_) {
        count += bucket.load(std::memory_order_relaxed);
    }
    return count;
}

uint64_t Histogram::Bound(uint32_t millionths) const {
    constexpr uint64_t kMillion = 1'000'000;
    const uint64_t count = Count();
    // Rounded up, and in two steps: the product of any count and a million would not fit.
    const uint64_t whole = count / kMillion * millionths;
    const uint64_t rest = (count % kMillion * millionths + kMillion - 1) / kMillion;
    const uint64_t wanted = std::max<uint64_t>(whole + rest, 1);
    uint64_t seen = 0;
    for (size_t i = 0; i < kBuckets; ++i) {
        seen += buckets_[i].load(std::memory_order_relaxed);
        if (seen >= wanted) {
            return std::min(LastOf(i), Most());
        }
    }
    return Most();
}

}  // namespace dxr_trace
