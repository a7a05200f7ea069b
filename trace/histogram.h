// How long calls took, in buckets that are an eighth of their value wide.
#ifndef DXR_TRACE_HISTOGRAM_H
#define DXR_TRACE_HISTOGRAM_H

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace dxr_trace {

// Any number of threads may add while others read; the parts of an answer may then differ by what
// is just being added.
class Histogram {
  public:
    void Add(uint64_t value) {
        buckets_[BucketOf(value)].fetch_add(1, std::memory_order_relaxed);
        uint64_t most = most_.load(std::memory_order_relaxed);
        while (value > most &&
               !most_.compare_exchange_weak(most, value, std::memory_order_relaxed)) {
        }
    }

    void Clear();

    [[nodiscard]] uint64_t Count() const;
    [[nodiscard]] uint64_t Most() const { return most_.load(std::memory_order_relaxed); }

    // The least bound that so many millionths of the values do not exceed, at most Most(); 0 when
    // there are none.
    [[nodiscard]] uint64_t Bound(uint32_t millionths) const;

    // Values below 8 have a bucket each, from there on every power of two has eight.
    static constexpr size_t BucketOf(uint64_t value) {
        if (value < kParts) {
            return static_cast<size_t>(value);
        }
        const auto power = static_cast<unsigned>(std::bit_width(value)) - 1;
        const auto part = static_cast<size_t>(value >> (power - kPartBits)) & (kParts - 1);
        return (power - kPartBits + 1) * kParts + part;
    }

    // The greatest value of a bucket.
    static constexpr uint64_t LastOf(size_t bucket) {
        if (bucket < kParts) {
            return bucket;
        }
        const auto shift = static_cast<unsigned>(bucket / kParts) - 1;
        const uint64_t first = (uint64_t{kParts} + bucket % kParts) << shift;
        return first + ((uint64_t{1} << shift) - 1);
    }

    static constexpr unsigned kPartBits = 3;
    static constexpr size_t kParts = size_t{1} << kPartBits;
    static constexpr size_t kBuckets = (64 - kPartBits + 1) * kParts;

  private:
    std::array<std::atomic<uint64_t>, kBuckets> buckets_ = {};
    std::atomic<uint64_t> most_ = 0;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_HISTOGRAM_H
