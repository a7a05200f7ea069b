// Buckets and percentiles beside sorted values.
#include "histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/test_host.h"

namespace dxr_trace {
namespace {

TEST(TraceHistogram, BucketsFollowEachOtherWithoutGaps) {
    EXPECT_EQ(0U, Histogram::BucketOf(0));
    for (size_t bucket = 0; bucket + 1 < Histogram::kBuckets; ++bucket) {
        const uint64_t last = Histogram::LastOf(bucket);
        EXPECT_EQ(bucket, Histogram::BucketOf(last));
        EXPECT_EQ(bucket + 1, Histogram::BucketOf(last + 1));
    }
    EXPECT_EQ(UINT64_MAX, Histogram::LastOf(Histogram::kBuckets - 1));
    EXPECT_EQ(Histogram::kBuckets - 1, Histogram::BucketOf(UINT64_MAX));
}

TEST(TraceHistogram, NoValuesGiveZero) {
    const auto histogram = std::make_unique<Histogram>();
    EXPECT_EQ(0U, histogram->Count());
    EXPECT_EQ(0U, histogram->Bound(500'000));
    EXPECT_EQ(0U, histogram->Most());
}

TEST(TraceHistogram, OneValueIsEveryPercentile) {
    const auto histogram = std::make_unique<Histogram>();
    histogram->Add(1'000'003);
    for (const uint32_t millionths : {1U, 500'000U, 999'999U, 1'000'000U}) {
        EXPECT_EQ(1'000'003U, histogram->Bound(millionths));
    }
    histogram->Clear();
    EXPECT_EQ(0U, histogram->Count());
    EXPECT_EQ(0U, histogram->Most());
}

// The exact percentile is the value at the rank, rounded up; a bound may exceed it by an eighth.
TEST(TraceHistogram, BoundsStandByTheExactPercentiles) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int round = 0; round < 200; ++round) {
        const auto histogram = std::make_unique<Histogram>();
        std::vector<uint64_t> values(1 + random() % 3000);
        const unsigned shift = static_cast<unsigned>(random() % 64);
        for (uint64_t &value : values) {
            value = random() >> (shift + random() % (64 - shift));
            histogram->Add(value);
        }
        std::sort(values.begin(), values.end());
        EXPECT_EQ(values.size(), histogram->Count());
        EXPECT_EQ(values.back(), histogram->Most());
        for (const uint32_t millionths : {1U, 500'000U, 900'000U, 990'000U, 999'000U, 1'000'000U}) {
            const uint64_t rank = (values.size() * millionths + 999'999) / 1'000'000;
            const uint64_t exact = values[rank - 1];
            const uint64_t bound = histogram->Bound(millionths);
            EXPECT_GE(bound, exact);
            EXPECT_LE(bound - exact, exact / 8);
        }
    }
}

}  // namespace
}  // namespace dxr_trace
