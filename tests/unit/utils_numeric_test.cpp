#include "dxr/utils_numeric.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "support/test_host.h"

namespace {

using Comparator = int (*)(const void *, const void *);

struct SortCall {
    void *base;
    size_t count;
    size_t size;
    Comparator comparator;
};

bool g_recordSorts = false;
std::vector<SortCall> g_sorts;

}  // namespace

// Stands before the C library's qsort, so that the test sees what the library hands to it.
extern "C" void qsort(void *base, size_t count, size_t size, Comparator comparator) {
    using Sort = void (*)(void *, size_t, size_t, Comparator);
    static const auto next = reinterpret_cast<Sort>(dlsym(RTLD_NEXT, "qsort"));
    if (g_recordSorts) {
        g_sorts.push_back({base, count, size, comparator});
        return;
    }
    next(base, count, size, comparator);
}

namespace {

using Elements = std::vector<int32_t>;

constexpr int32_t kIntMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kIntMin = std::numeric_limits<int32_t>::min();
constexpr uint32_t kMax32 = 0xFFFFFFFF;
constexpr uint64_t kMax64 = ~uint64_t{0};

const auto kAborted = testing::KilledBySignal(SIGABRT);

uint32_t Count(const Elements &elements) {
    return static_cast<uint32_t>(elements.size());
}

// ---- Comparison and sorting

int32_t Ascend(int32_t a, int32_t b) {
    return DXR_AscendCmp(&a, &b);
}

int32_t Descend(int32_t a, int32_t b) {
    return DXR_DescendCmp(&a, &b);
}

TEST(Comparators, GiveTheSignedDifference) {
    EXPECT_EQ(Ascend(5, 3), 2);
    EXPECT_EQ(Ascend(3, 5), -2);
    EXPECT_EQ(Ascend(7, 7), 0);
    EXPECT_EQ(Ascend(-1, 1), -2);
    EXPECT_EQ(Descend(5, 3), -2);
    EXPECT_EQ(Descend(3, 5), 2);
    EXPECT_EQ(Descend(7, 7), 0);
    EXPECT_EQ(Descend(-1, 1), 2);
}

TEST(Comparators, GreatestDifferencesThatFit) {
    EXPECT_EQ(Ascend(kIntMax, 0), kIntMax);
    EXPECT_EQ(Ascend(-1, kIntMax), kIntMin);
    EXPECT_EQ(Ascend(-1, kIntMin), kIntMax);
    EXPECT_EQ(Descend(0, kIntMax), kIntMax);
    EXPECT_EQ(Descend(kIntMax, -1), kIntMin);
    EXPECT_EQ(Descend(kIntMin, -1), kIntMax);
    EXPECT_EQ(Ascend(kIntMin, kIntMin), 0);
    EXPECT_EQ(Descend(kIntMax, kIntMax), 0);
}

// MODULE-25
TEST(Comparators, ADifferenceThatDoesNotFitAborts) {
    EXPECT_EXIT(static_cast<void>(Ascend(kIntMin, 1)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Ascend(1, kIntMin)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Ascend(kIntMax, -1)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Ascend(0, kIntMin)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Descend(kIntMin, 1)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Descend(1, kIntMin)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Descend(-2, kIntMax)), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Descend(kIntMin, 0)), kAborted, "");
}

TEST(Sorts, ThreeElements) {
    Elements elements = {3, 1, 2};
    DXR_AscendSort(elements.data(), 3);
    EXPECT_THAT(elements, testing::ElementsAre(1, 2, 3));
    DXR_DecendSort(elements.data(), 3);
    EXPECT_THAT(elements, testing::ElementsAre(3, 2, 1));
}

TEST(Sorts, ElementsAreSigned) {
    Elements elements = {0, -1, 1, -1000000000, 1000000000};
    DXR_AscendSort(elements.data(), Count(elements));
    EXPECT_THAT(elements, testing::ElementsAre(-1000000000, -1, 0, 1, 1000000000));
    DXR_DecendSort(elements.data(), Count(elements));
    EXPECT_THAT(elements, testing::ElementsAre(1000000000, 1, 0, -1, -1000000000));
}

TEST(Sorts, OnlyNElementsMove) {
    Elements elements = {3, 2, 1, 0};
    DXR_AscendSort(elements.data(), 0);
    DXR_AscendSort(elements.data(), 1);
    EXPECT_THAT(elements, testing::ElementsAre(3, 2, 1, 0));
    DXR_AscendSort(elements.data(), 3);
    EXPECT_THAT(elements, testing::ElementsAre(1, 2, 3, 0));
    DXR_DecendSort(elements.data() + 1, 2);
    EXPECT_THAT(elements, testing::ElementsAre(1, 3, 2, 0));
}

// The only sort that knows when to abort.
TEST(Sorts, ADifferenceThatDoesNotFitIsLeftToTheCLibraryAndTheExportedComparators) {
    Elements elements = {kIntMax, kIntMin, 0};
    g_sorts.clear();
    g_recordSorts = true;
    DXR_AscendSort(elements.data(), 3);
    DXR_DecendSort(elements.data(), 2);
    g_recordSorts = false;

    ASSERT_EQ(g_sorts.size(), 2U);
    EXPECT_EQ(g_sorts[0].base, elements.data());
    EXPECT_EQ(g_sorts[0].count, 3U);
    EXPECT_EQ(g_sorts[0].size, 4U);
    EXPECT_EQ(g_sorts[0].comparator, DXR_AscendCmp);
    EXPECT_EQ(g_sorts[1].base, elements.data());
    EXPECT_EQ(g_sorts[1].count, 2U);
    EXPECT_EQ(g_sorts[1].size, 4U);
    EXPECT_EQ(g_sorts[1].comparator, DXR_DescendCmp);
}

TEST(Sorts, ElementsTooFarApartAbort) {
    Elements two = {kIntMin, 1};
    Elements four = {5, 1, kIntMin, 2};
    EXPECT_EXIT(DXR_AscendSort(two.data(), 2), kAborted, "");
    EXPECT_EXIT(DXR_DecendSort(four.data(), 4), kAborted, "");
}

// ---- Search, extremes, parity

TEST(Find, LowestIndexOfTheValue) {
    const std::vector<uint32_t> elements = {9, 4, 7, 4, 0, kMax32};
    EXPECT_EQ(DXR_Find(elements.data(), 9, 6), 0U);
    EXPECT_EQ(DXR_Find(elements.data(), 4, 6), 1U);
    EXPECT_EQ(DXR_Find(elements.data(), 0, 6), 4U);
    EXPECT_EQ(DXR_Find(elements.data(), kMax32, 6), 5U);
}

TEST(Find, WhatIsNotThereGivesAllOnes) {
    const std::vector<uint32_t> elements = {9, 4, 7};
    EXPECT_EQ(DXR_Find(elements.data(), 5, 3), kMax32);
    EXPECT_EQ(DXR_Find(elements.data(), 7, 2), kMax32);
    EXPECT_EQ(DXR_Find(elements.data(), 9, 0), kMax32);
    EXPECT_EQ(DXR_Find(nullptr, 0, 0), kMax32);
}

TEST(Extremes, AreComparedUnsigned) {
    EXPECT_EQ(DXR_Max(kMax32, 1), kMax32);
    EXPECT_EQ(DXR_Max(1, kMax32), kMax32);
    EXPECT_EQ(DXR_Min(kMax32, 1), 1U);
    EXPECT_EQ(DXR_Min(1, kMax32), 1U);
    EXPECT_EQ(DXR_Max(0x80000000, 0x7FFFFFFF), 0x80000000U);
    EXPECT_EQ(DXR_Min(0x80000000, 0x7FFFFFFF), 0x7FFFFFFFU);
    EXPECT_EQ(DXR_Max(5, 5), 5U);
    EXPECT_EQ(DXR_Min(5, 5), 5U);
}

TEST(Extremes, Of64BitsLookAtAllOfThem) {
    EXPECT_EQ(DXR_Max64(kMax64, 1), kMax64);
    EXPECT_EQ(DXR_Min64(kMax64, 1), 1U);
    EXPECT_EQ(DXR_Max64(uint64_t{1} << 32, kMax32), uint64_t{1} << 32);
    EXPECT_EQ(DXR_Min64(uint64_t{1} << 32, kMax32), kMax32);
    EXPECT_EQ(DXR_Max64(1, uint64_t{1} << 63), uint64_t{1} << 63);
    EXPECT_EQ(DXR_Min64(1, uint64_t{1} << 63), 1U);
}

TEST(Parity, IsBitZero) {
    for (const uint32_t even : {0U, 2U, 0x80000000U, 0xFFFFFFFEU}) {
        EXPECT_EQ(DXR_IsOdd(even), 0U);
        EXPECT_EQ(DXR_IsEven(even), 1U);
        EXPECT_EQ(DXR_IsOdd(even + 1), 1U);
        EXPECT_EQ(DXR_IsEven(even + 1), 0U);
    }
}

// ---- Rates, percentages, division, averages

struct ScaledRate {
    uint64_t rate;
    uint32_t unit;
    bool operator==(const ScaledRate &other) const {
        return rate == other.rate && unit == other.unit;
    }
};

void PrintTo(const ScaledRate &scaled, std::ostream *out) {
    *out << scaled.rate << " unit " << scaled.unit;
}

ScaledRate Scaled(uint64_t rate) {
    ScaledRate scaled = {rate, 77};
    DXR_ConvertRateUnit(&scaled.rate, &scaled.unit);
    return scaled;
}

TEST(ConvertRateUnit, BoundsBelongToTheLowerUnit) {
    EXPECT_EQ(Scaled(999'999), (ScaledRate{999, 0}));
    EXPECT_EQ(Scaled(1'000'000), (ScaledRate{1'000, 0}));
    EXPECT_EQ(Scaled(1'000'001), (ScaledRate{1, 1}));
    EXPECT_EQ(Scaled(999'999'999), (ScaledRate{999, 1}));
    EXPECT_EQ(Scaled(1'000'000'000), (ScaledRate{1'000, 1}));
    EXPECT_EQ(Scaled(1'000'000'001), (ScaledRate{1, 2}));
}

TEST(ConvertRateUnit, SmallRatesAreDividedToo) {
    EXPECT_EQ(Scaled(0), (ScaledRate{0, 0}));
    EXPECT_EQ(Scaled(999), (ScaledRate{0, 0}));
    EXPECT_EQ(Scaled(1'000), (ScaledRate{1, 0}));
    EXPECT_EQ(Scaled(1'999), (ScaledRate{1, 0}));
}

TEST(ConvertRateUnit, RatesOf64Bits) {
    EXPECT_EQ(Scaled(1'999'999'999), (ScaledRate{1, 2}));
    EXPECT_EQ(Scaled((uint64_t{1} << 32) + 5), (ScaledRate{4, 2}));
    EXPECT_EQ(Scaled(kMax64), (ScaledRate{18'446'744'073, 2}));
}

TEST(CalPercentage, IsTruncated) {
    EXPECT_EQ(DXR_CalPercentage(1, 3), 33U);
    EXPECT_EQ(DXR_CalPercentage(2, 3), 66U);
    EXPECT_EQ(DXR_CalPercentage(3, 3), 100U);
    EXPECT_EQ(DXR_CalPercentage(0, 3), 0U);
    EXPECT_EQ(DXR_CalPercentage(7, 2), 350U);
}

TEST(CalPercentage, OfNothingIsZero) {
    EXPECT_EQ(DXR_CalPercentage(5, 0), 0U);
    EXPECT_EQ(DXR_CalPercentage(0, 0), 0U);
}

TEST(CalPercentage, TheProductWraps) {
    EXPECT_EQ(DXR_CalPercentage(42'949'672, 1), 4'294'967'200U);
    EXPECT_EQ(DXR_CalPercentage(42'949'673, 1), 4U);
    EXPECT_EQ(DXR_CalPercentage(42'949'673, 42'949'673), 0U);
    EXPECT_EQ(DXR_CalPercentage(kMax32, 1), kMax32 - 99);
}

struct Quotient {
    uint32_t whole;
    uint32_t fraction;
    bool operator==(const Quotient &other) const {
        return whole == other.whole && fraction == other.fraction;
    }
};

void PrintTo(const Quotient &quotient, std::ostream *out) {
    *out << quotient.whole << " fraction " << quotient.fraction;
}

constexpr uint32_t kUnwritten = 0xDEADBEEF;

Quotient Div(uint32_t dividend, uint32_t divisor, uint32_t decimals) {
    Quotient quotient = {0, kUnwritten};
    quotient.whole = DXR_Div(dividend, divisor, decimals, &quotient.fraction);
    return quotient;
}

TEST(Div, QuotientAndDecimals) {
    EXPECT_EQ(Div(7, 2, 2), (Quotient{3, 50}));
    EXPECT_EQ(Div(1, 3, 3), (Quotient{0, 333}));
    EXPECT_EQ(Div(22, 7, 5), (Quotient{3, 14285}));
    EXPECT_EQ(Div(8, 2, 3), (Quotient{4, 0}));
    EXPECT_EQ(Div(1, 16, 4), (Quotient{0, 625}));
    EXPECT_EQ(Div(1, 8, 9), (Quotient{0, 125'000'000}));
}

TEST(Div, NoDecimalsGiveNoFraction) {
    EXPECT_EQ(Div(7, 2, 0), (Quotient{3, 0}));
    EXPECT_EQ(Div(kMax32, 2, 0), (Quotient{0x7FFFFFFF, 0}));
}

TEST(Div, ByZeroLeavesTheFractionAlone) {
    EXPECT_EQ(Div(5, 0, 2), (Quotient{0, kUnwritten}));
    EXPECT_EQ(Div(0, 0, 0), (Quotient{0, kUnwritten}));
}

TEST(Div, TheProductWraps) {
    // 100 * 42'949'673 is 4 beyond 2^32.
    EXPECT_EQ(Div(42'949'673, 1, 2), (Quotient{42'949'673, 0}));
    EXPECT_EQ(Div(42'949'673, 2, 2), (Quotient{21'474'836, 2U - 2'147'483'600U}));
    EXPECT_EQ(Div(kMax32, 10, 1), (Quotient{429'496'729, 4'294'967'286U / 10 - 4'294'967'290U}));
}

TEST(Div, TheScaleStopsAtTheGreatest32BitNumber) {
    // 10^9 fits; from 10^10 on the scale is 2^32 - 1, which times n is -n at 32 bits.
    for (const uint32_t decimals : {10U, 11U, 308U, 309U, 1'000'000U, kMax32}) {
        EXPECT_EQ(Div(1, 1, decimals), (Quotient{1, 0})) << decimals;
        EXPECT_EQ(Div(1, 2, decimals), (Quotient{0, 0x7FFFFFFF})) << decimals;
        EXPECT_EQ(Div(7, 2, decimals), (Quotient{3, (kMax32 - 6) / 2 + 3})) << decimals;
    }
    EXPECT_EQ(Div(1, 2, 9), (Quotient{0, 500'000'000}));
}

int32_t Avg(const Elements &values) {
    return DXR_Avg(values.data(), Count(values));
}

TEST(Avg, IsTruncatedTowardZero) {
    EXPECT_EQ(Avg({1, 2}), 1);
    EXPECT_EQ(Avg({-3, 0}), -1);
    EXPECT_EQ(Avg({-1, -2}), -1);
    EXPECT_EQ(Avg({10, -4, 3}), 3);
    EXPECT_EQ(Avg({-7}), -7);
    EXPECT_EQ(Avg({kIntMin}), kIntMin);
}

TEST(Avg, OfNothingIsZero) {
    EXPECT_EQ(DXR_Avg(nullptr, 0), 0);
    const int32_t value = 5;
    EXPECT_EQ(DXR_Avg(&value, 0), 0);
}

TEST(Avg, SumsToTheLimits) {
    EXPECT_EQ(Avg({kIntMax, 0}), kIntMax / 2);
    EXPECT_EQ(Avg({kIntMax, kIntMin, kIntMax, -1}), (kIntMax - 2) / 4);
    EXPECT_EQ(Avg({kIntMin, kIntMax}), 0);
    EXPECT_EQ(Avg({-1, kIntMin + 1}), kIntMin / 2);
}

// MODULE-25
TEST(Avg, ASumThatDoesNotFitAborts) {
    EXPECT_EXIT(static_cast<void>(Avg({kIntMax, 1})), kAborted, "");
    EXPECT_EXIT(static_cast<void>(Avg({kIntMin, -1})), kAborted, "");
    // From index 0 up: a later value that would bring the sum back does not help.
    EXPECT_EXIT(static_cast<void>(Avg({kIntMax, 1, -5})), kAborted, "");
    EXPECT_EQ(Avg({kIntMax, -5, 1}), (kIntMax - 4) / 3);
}

// ---- Byte order

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

// What a number is in the network's order, where the processor's is the other and where it is not.
template <typename Number>
constexpr Number InNetworkOrder(Number reversed, Number same) {
    return kLittleEndian ? reversed : same;
}

TEST(ByteOrder, IsTheProcessors) {
    const uint16_t one = 1;
    EXPECT_EQ(*reinterpret_cast<const uint8_t *>(&one), kLittleEndian ? 1 : 0);
    EXPECT_EQ(DXR_IsLittleEndianess(), kLittleEndian ? 1U : 0U);
}

TEST(ByteOrder, Of32Bits) {
    EXPECT_EQ(DXR_NTOHL(0x01020304), InNetworkOrder<uint32_t>(0x04030201, 0x01020304));
    EXPECT_EQ(DXR_HTONL(0x01020304), InNetworkOrder<uint32_t>(0x04030201, 0x01020304));
    EXPECT_EQ(DXR_ReverseByte(0x01020304), 0x04030201U);
    EXPECT_EQ(DXR_NTOHL(0x800000FF), InNetworkOrder<uint32_t>(0xFF000080, 0x800000FF));
    EXPECT_EQ(DXR_HTONL(0x800000FF), InNetworkOrder<uint32_t>(0xFF000080, 0x800000FF));
    EXPECT_EQ(DXR_ReverseByte(0x800000FF), 0xFF000080U);
}

TEST(ByteOrder, Of64Bits) {
    EXPECT_EQ(DXR_NTOHLL(0x0102030405060708),
              InNetworkOrder<uint64_t>(0x0807060504030201, 0x0102030405060708));
    EXPECT_EQ(DXR_NTOHLL(0x80000000000000FF),
              InNetworkOrder<uint64_t>(0xFF00000000000080, 0x80000000000000FF));
}

TEST(ByteOrder, Of16Bits) {
    EXPECT_EQ(DXR_HTONS(0x1234), InNetworkOrder<uint16_t>(0x3412, 0x1234));
    EXPECT_EQ(DXR_NTOHS(0x1234), InNetworkOrder<uint16_t>(0x3412, 0x1234));
    EXPECT_EQ(DXR_HTONS(0x80FF), InNetworkOrder<uint16_t>(0xFF80, 0x80FF));
    EXPECT_EQ(DXR_NTOHS(0x80FF), InNetworkOrder<uint16_t>(0xFF80, 0x80FF));
}

TEST(FlipBit, LowBytesInReverseOrder) {
    const uint64_t value = 0x1122334455667788;
    EXPECT_EQ(DXR_FlipBit(0x1234, 2), 0x3412U);
    EXPECT_EQ(DXR_FlipBit(value, 0), 0U);
    EXPECT_EQ(DXR_FlipBit(value, 1), 0x88U);
    EXPECT_EQ(DXR_FlipBit(value, 2), 0x8877U);
    EXPECT_EQ(DXR_FlipBit(value, 3), 0x887766U);
    EXPECT_EQ(DXR_FlipBit(value, 4), 0x88776655U);
    EXPECT_EQ(DXR_FlipBit(value, 5), 0x8877665544U);
    EXPECT_EQ(DXR_FlipBit(value, 6), 0x887766554433U);
    EXPECT_EQ(DXR_FlipBit(value, 7), 0x88776655443322U);
    EXPECT_EQ(DXR_FlipBit(value, 8), 0x8877665544332211U);
}

TEST(FlipBit, BeyondEightBytesShiftsAreTakenModulo64) {
    const uint64_t value = 0x1122334455667788;
    for (uint32_t byteCount = 0; byteCount <= 64; ++byteCount) {
        uint64_t expected = 0;
        for (uint32_t i = 0; i < byteCount; ++i) {
            const uint64_t byte = value >> (8 * i % 64) & 0xFF;
            expected |= byte << (8 * (byteCount - 1 - i) % 64);
        }
        EXPECT_EQ(DXR_FlipBit(value, byteCount), expected) << byteCount;
    }
    EXPECT_EQ(DXR_FlipBit(value, 9), 0x7766554433221188U);
}

TEST(FlipBit, HugeByteCountsEndAtOnce) {
    const uint64_t value = 0x1122334455667788;
    // The count decides by its remainder of 8 alone: 0xFFFFFFFF is 7 modulo 8, as is 15.
    EXPECT_EQ(DXR_FlipBit(value, kMax32), DXR_FlipBit(value, 15));
    EXPECT_EQ(DXR_FlipBit(value, 0xFFFFFFF8), DXR_FlipBit(value, 8));
    EXPECT_EQ(DXR_FlipBit(value, 0x80000001), DXR_FlipBit(value, 9));
}

}  // namespace
