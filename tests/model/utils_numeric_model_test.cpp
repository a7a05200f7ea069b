// Random numbers against slow and obvious models.

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "dxr/utils_numeric.h"
#include "support/test_host.h"

namespace {

constexpr int kRounds = 20'000;

class NumericModel : public testing::Test {
  protected:
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }
    // Of any magnitude, as likely short as long.
    uint64_t Value64() { return random_() >> Below(64); }
    uint32_t Value32() { return static_cast<uint32_t>(random_()) >> Below(32); }
    // Near enough to all others for a difference of two to fit.
    int32_t Element() {
        constexpr int32_t kBound = 1 << 30;
        const uint32_t magnitude = static_cast<uint32_t>(kBound) >> Below(30);
        return static_cast<int32_t>(Below(2 * magnitude)) - static_cast<int32_t>(magnitude);
    }
    std::vector<int32_t> Elements(size_t count) {
        std::vector<int32_t> elements(count);
        std::generate(elements.begin(), elements.end(), [this] { return Element(); });
        return elements;
    }

  private:
    std::mt19937_64 random_{dxrtest::Seed()};
};

template <typename Number>
Number BytesReversed(Number value) {
    unsigned char bytes[sizeof(Number)];
    std::memcpy(bytes, &value, sizeof(value));
    std::reverse(std::begin(bytes), std::end(bytes));
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

TEST_F(NumericModel, SortsAgreeWithASortOfValues) {
    for (int round = 0; round < 500; ++round) {
        std::vector<int32_t> sorted = Elements(Below(200));
        std::vector<int32_t> actual = sorted;
        const auto count = static_cast<uint32_t>(actual.size());
        std::sort(sorted.begin(), sorted.end());
        if (count == 0) {
            continue;
        }
        DXR_AscendSort(actual.data(), count);
        ASSERT_EQ(actual, sorted);
        std::shuffle(actual.begin(), actual.end(), std::minstd_rand{static_cast<unsigned>(round)});
        std::reverse(sorted.begin(), sorted.end());
        DXR_DecendSort(actual.data(), count);
        ASSERT_EQ(actual, sorted);
    }
}

TEST_F(NumericModel, ComparatorsAgreeWith64BitDifferences) {
    for (int round = 0; round < kRounds; ++round) {
        const int32_t a = Element();
        const int32_t b = Element();
        ASSERT_EQ(DXR_AscendCmp(&a, &b), int64_t{a} - b);
        ASSERT_EQ(DXR_DescendCmp(&a, &b), int64_t{b} - a);
    }
}

TEST_F(NumericModel, FindAgreesWithTheFirstOccurrence) {
    for (int round = 0; round < kRounds; ++round) {
        std::vector<uint32_t> values(Below(60));
        std::generate(values.begin(), values.end(), [this] { return Below(30); });
        const uint32_t wanted = Below(30);
        const auto at = std::find(values.begin(), values.end(), wanted);
        const auto expected =
            at == values.end() ? 0xFFFFFFFF : static_cast<uint32_t>(at - values.begin());
        ASSERT_EQ(DXR_Find(values.data(), wanted, static_cast<uint32_t>(values.size())), expected);
    }
}

TEST_F(NumericModel, AveragesAgreeWith64BitMeans) {
    for (int round = 0; round < kRounds; ++round) {
        std::vector<int32_t> values(1 + Below(50));
        std::generate(values.begin(), values.end(), [this] { return Element() / 64; });
        const int64_t sum = std::accumulate(values.begin(), values.end(), int64_t{0});
        ASSERT_EQ(DXR_Avg(values.data(), static_cast<uint32_t>(values.size())),
                  sum / static_cast<int64_t>(values.size()));
    }
}

// Where nothing wraps, the fraction is what long division on paper writes after the point.
TEST_F(NumericModel, DecimalsAgreeWithLongDivision) {
    for (int round = 0; round < kRounds; ++round) {
        const uint32_t decimals = Below(10);
        uint64_t scale = 1;
        for (uint32_t i = 0; i < decimals; ++i) {
            scale *= 10;
        }
        const uint32_t dividend = Below(static_cast<uint32_t>(0xFFFFFFFF / scale));
        const uint32_t divisor = 1 + Value32() / 2;

        uint64_t remainder = dividend % divisor;
        uint64_t digits = 0;
        for (uint32_t i = 0; i < decimals; ++i) {
            remainder *= 10;
            digits = digits * 10 + remainder / divisor;
            remainder %= divisor;
        }
        uint32_t fraction = 0;
        ASSERT_EQ(DXR_Div(dividend, divisor, decimals, &fraction), dividend / divisor);
        ASSERT_EQ(fraction, digits) << dividend << " / " << divisor << ", " << decimals;
    }
}

TEST_F(NumericModel, DecimalsWrapAsInWideArithmeticCutTo32Bits) {
    constexpr uint64_t kModulus = uint64_t{1} << 32;
    for (int round = 0; round < kRounds; ++round) {
        const uint32_t decimals = Below(14);
        uint64_t scale = 1;
        for (uint32_t i = 0; i < decimals; ++i) {
            scale *= 10;
        }
        scale = std::min(scale, kModulus - 1);
        const uint32_t dividend = Value32();
        const uint32_t divisor = 1 + Value32() / 2;
        const uint64_t scaled = scale * dividend % kModulus / divisor;
        const uint64_t whole = scale * (dividend / divisor) % kModulus;

        uint32_t fraction = 0;
        ASSERT_EQ(DXR_Div(dividend, divisor, decimals, &fraction), dividend / divisor);
        ASSERT_EQ(fraction, (scaled + kModulus - whole) % kModulus)
            << dividend << " / " << divisor << ", " << decimals;
    }
}

TEST_F(NumericModel, PercentagesWrapAsInWideArithmeticCutTo32Bits) {
    for (int round = 0; round < kRounds; ++round) {
        const uint32_t part = Value32();
        const uint32_t total = 1 + Value32() / 2;
        const uint64_t product = uint64_t{part} * 100 % (uint64_t{1} << 32);
        ASSERT_EQ(DXR_CalPercentage(part, total), product / total) << part << " of " << total;
    }
}

TEST_F(NumericModel, RatesKeepTheirLeadingDigits) {
    for (int round = 0; round < kRounds; ++round) {
        const uint64_t before = Value64();
        uint64_t rate = before;
        uint32_t unit = 77;
        DXR_ConvertRateUnit(&rate, &unit);
        ASSERT_EQ(unit, before > 1'000'000'000 ? 2U : before > 1'000'000 ? 1U : 0U) << before;
        uint64_t divisor = 1'000;
        for (uint32_t i = 0; i < unit; ++i) {
            divisor *= 1'000;
        }
        ASSERT_LE(rate * divisor, before) << before;
        ASSERT_LT(before - rate * divisor, divisor) << before;
    }
}

TEST_F(NumericModel, ByteOrderAgreesWithReversedBytes) {
    constexpr bool kReverses = std::endian::native == std::endian::little;
    for (int round = 0; round < kRounds; ++round) {
        const uint64_t value = Value64();
        const auto value32 = static_cast<uint32_t>(value);
        const auto value16 = static_cast<uint16_t>(value);
        ASSERT_EQ(DXR_NTOHLL(value), kReverses ? BytesReversed(value) : value);
        ASSERT_EQ(DXR_NTOHL(value32), kReverses ? BytesReversed(value32) : value32);
        ASSERT_EQ(DXR_HTONL(value32), kReverses ? BytesReversed(value32) : value32);
        ASSERT_EQ(DXR_ReverseByte(value32), BytesReversed(value32));
        ASSERT_EQ(DXR_HTONS(value16), kReverses ? BytesReversed(value16) : value16);
        ASSERT_EQ(DXR_NTOHS(value16), kReverses ? BytesReversed(value16) : value16);
        ASSERT_EQ(DXR_FlipBit(value, 8), BytesReversed(value));
    }
}

TEST_F(NumericModel, FlippedBytesAreDealtOutOneByOne) {
    for (int round = 0; round < kRounds; ++round) {
        const uint64_t value = Value64();
        const uint32_t byteCount = Below(40);
        uint64_t expected = 0;
        for (uint32_t i = 0; i < byteCount; ++i) {
            const uint64_t byte = value >> (8 * i % 64) & 0xFF;
            expected |= byte << (8 * (byteCount - 1 - i) % 64);
        }
        ASSERT_EQ(DXR_FlipBit(value, byteCount), expected) << value << ' ' << byteCount;
    }
}

}  // namespace
