#include "internal/checked.h"

#include <csignal>
#include <cstdint>
#include <limits>
#include <random>

#include "gtest/gtest.h"
#include "support/test_host.h"

namespace {

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kEdges[] = {kMin, kMin + 1, -2, -1, 0, 1, 2, kMax - 1, kMax};

bool Fits(std::int64_t value) {
    return value >= kMin && value <= kMax;
}

// Death tests fork; they are named so that they run first.
TEST(CheckedDeathTest, AddAbortsOnEveryOverflow) {
    int overflows = 0;
    for (const std::int32_t a : kEdges) {
        for (const std::int32_t b : kEdges) {
            if (!Fits(std::int64_t{a} + b)) {
                ++overflows;
                EXPECT_EXIT(static_cast<void>(dxr::CheckedAdd(a, b)),
                            testing::KilledBySignal(SIGABRT), "")
                    << a << " + " << b;
            }
        }
    }
    EXPECT_EQ(20, overflows);
}

TEST(CheckedDeathTest, SubAbortsOnEveryOverflow) {
    int overflows = 0;
    for (const std::int32_t a : kEdges) {
        for (const std::int32_t b : kEdges) {
            if (!Fits(std::int64_t{a} - b)) {
                ++overflows;
                EXPECT_EXIT(static_cast<void>(dxr::CheckedSub(a, b)),
                            testing::KilledBySignal(SIGABRT), "")
                    << a << " - " << b;
            }
        }
    }
    EXPECT_EQ(20, overflows);
}

TEST(Checked, EdgesThatFitAreExact) {
    for (const std::int32_t a : kEdges) {
        for (const std::int32_t b : kEdges) {
            if (Fits(std::int64_t{a} + b)) {
                EXPECT_EQ(std::int64_t{a} + b, dxr::CheckedAdd(a, b)) << a << " + " << b;
            }
            if (Fits(std::int64_t{a} - b)) {
                EXPECT_EQ(std::int64_t{a} - b, dxr::CheckedSub(a, b)) << a << " - " << b;
            }
        }
    }
}

TEST(Checked, RandomValuesThatFitAreExact) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int i = 0; i < 100000; ++i) {
        const auto a = static_cast<std::int32_t>(static_cast<std::uint32_t>(random()));
        const auto b = static_cast<std::int32_t>(static_cast<std::uint32_t>(random()));
        if (Fits(std::int64_t{a} + b)) {
            ASSERT_EQ(std::int64_t{a} + b, dxr::CheckedAdd(a, b)) << a << " + " << b;
        }
        if (Fits(std::int64_t{a} - b)) {
            ASSERT_EQ(std::int64_t{a} - b, dxr::CheckedSub(a, b)) << a << " - " << b;
        }
    }
}

}  // namespace
