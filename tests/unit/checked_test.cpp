#include "internal/checked.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <limits>
#include <random>

#include "support/test_host.h"

namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kEdges[] = {kMin, kMin + 1, -2, -1, 0, 1, 2, kMax - 1, kMax};

bool Fits(int64_t value) {
    return value >= kMin && value <= kMax;
}

// --- 64-bit products, against 128 bits

__extension__ using Wide = __int128;

constexpr int64_t kMin64 = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max();
constexpr int64_t kEdges64[] = {kMin64, kMin64 + 1, kMin64 / 2,     -2,         -1,    0, 1, 2,
                                1000,   kMax64 / 2, kMax64 / 2 + 1, kMax64 - 1, kMax64};

bool FitsProduct(int64_t a, int64_t b) {
    const Wide product = Wide{a} * b;
    return product >= kMin64 && product <= kMax64;
}

// Death tests fork; they are named so that they run first.
TEST(CheckedDeathTest, AddAbortsOnEveryOverflow) {
    int overflows = 0;
    for (const int32_t a : kEdges) {
        for (const int32_t b : kEdges) {
            if (!Fits(int64_t{a} + b)) {
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
    for (const int32_t a : kEdges) {
        for (const int32_t b : kEdges) {
            if (!Fits(int64_t{a} - b)) {
                ++overflows;
                EXPECT_EXIT(static_cast<void>(dxr::CheckedSub(a, b)),
                            testing::KilledBySignal(SIGABRT), "")
                    << a << " - " << b;
            }
        }
    }
    EXPECT_EQ(20, overflows);
}

TEST(CheckedDeathTest, MulAbortsOnEveryOverflow) {
    for (const int64_t a : kEdges64) {
        for (const int64_t b : kEdges64) {
            if (!FitsProduct(a, b)) {
                EXPECT_EXIT(static_cast<void>(dxr::CheckedMul(a, b)),
                            testing::KilledBySignal(SIGABRT), "")
                    << a << " * " << b;
            }
        }
    }
    EXPECT_FALSE(FitsProduct(kMin64, -1));
    EXPECT_FALSE(FitsProduct(kMax64 / 2 + 1, 2));
}

TEST(Checked, ProductsThatFitAreExact) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const int64_t a : kEdges64) {
        for (const int64_t b : kEdges64) {
            if (FitsProduct(a, b)) {
                EXPECT_TRUE(Wide{a} * b == dxr::CheckedMul(a, b)) << a << " * " << b;
            }
        }
    }
    for (int i = 0; i < 100000; ++i) {
        const auto a = static_cast<int64_t>(random()) >> (random() % 64);
        const auto b = static_cast<int64_t>(random()) >> (random() % 64);
        if (FitsProduct(a, b)) {
            ASSERT_TRUE(Wide{a} * b == dxr::CheckedMul(a, b)) << a << " * " << b;
        }
    }
}

TEST(CheckedDeathTest, DivAbortsOnItsOneOverflow) {
    EXPECT_EXIT(static_cast<void>(dxr::CheckedDiv(kMin, -1)), testing::KilledBySignal(SIGABRT), "");
}

TEST(Checked, QuotientsTruncateTowardZero) {
    for (const int32_t a : kEdges) {
        for (const int32_t b : kEdges) {
            if (b != 0 && Fits(int64_t{a} / b)) {
                EXPECT_EQ(int64_t{a} / b, dxr::CheckedDiv(a, b)) << a << " / " << b;
            }
        }
    }
}

TEST(Checked, EdgesThatFitAreExact) {
    for (const int32_t a : kEdges) {
        for (const int32_t b : kEdges) {
            if (Fits(int64_t{a} + b)) {
                EXPECT_EQ(int64_t{a} + b, dxr::CheckedAdd(a, b)) << a << " + " << b;
            }
            if (Fits(int64_t{a} - b)) {
                EXPECT_EQ(int64_t{a} - b, dxr::CheckedSub(a, b)) << a << " - " << b;
            }
        }
    }
}

TEST(Checked, RandomValuesThatFitAreExact) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int i = 0; i < 100000; ++i) {
        const auto a = static_cast<int32_t>(static_cast<uint32_t>(random()));
        const auto b = static_cast<int32_t>(static_cast<uint32_t>(random()));
        if (Fits(int64_t{a} + b)) {
            ASSERT_EQ(int64_t{a} + b, dxr::CheckedAdd(a, b)) << a << " + " << b;
        }
        if (Fits(int64_t{a} - b)) {
            ASSERT_EQ(int64_t{a} - b, dxr::CheckedSub(a, b)) << a << " - " << b;
        }
    }
}

}  // namespace
