#include "kernels/crc8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/cpu_levels.h"
#include "support/test_host.h"

namespace {

using Table = std::array<uint8_t, 256>;

Table GeneratorsTable() {
    Table table;
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = dxr::Crc8Entry(static_cast<uint8_t>(i));
    }
    return table;
}

void FillRandomly(std::mt19937_64 &random, uint8_t *bytes, size_t size) {
    std::generate_n(bytes, size, [&random] { return static_cast<uint8_t>(random()); });
}

class Crc8 : public testing::TestWithParam<uint32_t> {
    const dxrtest::CpuLevel level_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Levels, Crc8, testing::ValuesIn(dxrtest::CpuLevels()));

// The data stand at the end of an allocation of their own, so that a byte too many is seen.
TEST_P(Crc8, EqualsTheByteByByteResultAtEveryLength) {
    const Table table = GeneratorsTable();
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 1200; ++length) {
        for (size_t shift = 0; shift < 4; ++shift) {
            const auto bytes = std::make_unique<uint8_t[]>(shift + length);
            FillRandomly(random, bytes.get(), shift + length);
            const uint8_t *const data = bytes.get() + shift;
            ASSERT_EQ(dxr::Crc8(table.data(), data, length),
                      dxr::Crc8ByBytes(table.data(), data, length))
                << "length " << length;
        }
    }
}

TEST_P(Crc8, OfLongData) {
    const Table table = GeneratorsTable();
    std::mt19937_64 random(dxrtest::Seed());
    std::vector<uint8_t> data(200'000);
    FillRandomly(random, data.data(), data.size());
    for (const size_t length : {65'535U, 65'536U, 65'537U, 199'999U, 200'000U}) {
        EXPECT_EQ(dxr::Crc8(table.data(), data.data(), length),
                  dxr::Crc8ByBytes(table.data(), data.data(), length));
    }
}

TEST_P(Crc8, EveryBitOfTheDataCounts) {
    const Table table = GeneratorsTable();
    for (const size_t length : {16U, 31U, 300U}) {
        std::vector<uint8_t> data(length, 0);
        for (size_t bit = 0; bit < 8 * length; ++bit) {
            data[bit / 8] = static_cast<uint8_t>(1U << bit % 8);
            const uint32_t crc = dxr::Crc8(table.data(), data.data(), length);
            ASSERT_NE(crc, 0U) << "bit " << bit << " of " << length << " bytes";
            ASSERT_EQ(crc, dxr::Crc8ByBytes(table.data(), data.data(), length));
            data[bit / 8] = 0;
        }
    }
}

// The first byte looks the changed entry up.
TEST_P(Crc8, AChangedEntryDecides) {
    const Table generators = GeneratorsTable();
    std::mt19937_64 random(dxrtest::Seed());
    int different = 0;
    for (size_t entry = 0; entry < generators.size(); ++entry) {
        for (const size_t length : {1U, 15U, 16U, 17U, 64U, 1000U}) {
            Table table = generators;
            table[entry] ^= static_cast<uint8_t>(1U << random() % 8);
            std::vector<uint8_t> data(length);
            FillRandomly(random, data.data(), length);
            data[0] = static_cast<uint8_t>(entry);
            const uint32_t crc = dxr::Crc8(table.data(), data.data(), length);
            ASSERT_EQ(crc, dxr::Crc8ByBytes(table.data(), data.data(), length))
                << "entry " << entry << ", length " << length;
            different += crc != dxr::Crc8(generators.data(), data.data(), length) ? 1 : 0;
        }
    }
    EXPECT_GT(different, 1000);
}

// Nothing is looked up in the table that is meant to be there, and everything in any other.
TEST(Crc8Table, TheTableIsLookedUpWhereItIsNotTheGenerators) {
    if constexpr (dxr::kVectorVersions) {
        if (!dxr::HasAvx2()) {
            GTEST_SKIP() << "no AVX2";
        }
        Table table = GeneratorsTable();
        EXPECT_TRUE(dxr::avx2::IsGenerators(table.data()));
        for (uint8_t &entry : table) {
            for (uint32_t bit = 0; bit < 8; ++bit) {
                entry ^= static_cast<uint8_t>(1U << bit);
                EXPECT_FALSE(dxr::avx2::IsGenerators(table.data()));
                entry ^= static_cast<uint8_t>(1U << bit);
            }
        }
    }
}

TEST_P(Crc8, ATableOfZerosGivesZero) {
    const Table zeros = {};
    const std::vector<uint8_t> data(500, 0xFF);
    EXPECT_EQ(dxr::Crc8(zeros.data(), data.data(), data.size()), 0U);
}

}  // namespace
