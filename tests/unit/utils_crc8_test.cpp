#include "dxr/utils_crc8.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

#include "support/guarded_page.h"
#include "support/test_host.h"

namespace {

using Table = std::array<uint8_t, 256>;

Table CurrentTable() {
    Table table;
    std::copy(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), table.begin());
    return table;
}

// Taken before main(), hence before any calculation.
const Table kTableAtLoad = CurrentTable();
const uint8_t kFlagAtLoad = g_dxrCrc8TableInit;

// The remainder of data * x^8 divided by the generator, bit by bit and without a table.
uint32_t BitwiseCrc(const std::vector<uint8_t> &data) {
    uint32_t remainder = 0;
    const auto shiftIn = [&remainder](uint32_t bit) {
        remainder = remainder << 1 | bit;
        if ((remainder & 0x100) != 0) {
            remainder ^= 0x131;
        }
    };
    for (const uint8_t byte : data) {
        for (int bit = 7; bit >= 0; --bit) {
            shiftIn(byte >> bit & 1U);
        }
    }
    for (int i = 0; i < 8; ++i) {
        shiftIn(0);
    }
    return remainder;
}

uint32_t Crc(const std::vector<uint8_t> &data) {
    return DXR_CalculateCrc8(data.data(), data.size());
}

std::vector<uint8_t> RandomBytes(std::mt19937_64 &random, size_t size) {
    std::vector<uint8_t> bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
    return bytes;
}

// Begins and ends with an empty table and the flag at 0, as at load.
class Crc8 : public testing::Test {
  protected:
    Crc8() { Clear(); }
    ~Crc8() override { Clear(); }

  private:
    static void Clear() {
        std::fill(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), uint8_t{0});
        g_dxrCrc8TableInit = 0;
    }
};

TEST_F(Crc8, TableAndFlagAreZeroAtLoad) {
    EXPECT_THAT(kTableAtLoad, testing::Each(0));
    EXPECT_EQ(kFlagAtLoad, 0);
}

TEST_F(Crc8, KnownValues) {
    constexpr std::string_view digits = "123456789";
    EXPECT_EQ(Crc({digits.begin(), digits.end()}), 0xA2U);
    EXPECT_EQ(Crc({0x00}), 0x00U);
    EXPECT_EQ(Crc({0x01}), 0x31U);
    EXPECT_EQ(Crc({0x80}), 0x7AU);
    EXPECT_EQ(Crc({0xFF}), 0xACU);
}

TEST_F(Crc8, NoBytesGiveZeroAndAreNotRead) {
    EXPECT_EQ(DXR_CalculateCrc8(nullptr, 0), 0U);
    const uint8_t byte = 0xFF;
    EXPECT_EQ(DXR_CalculateCrc8(&byte, 0), 0U);
}

TEST_F(Crc8, EveryLengthAgreesWithTheBitwiseRemainder) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 600; ++length) {
        const std::vector<uint8_t> data = RandomBytes(random, length);
        ASSERT_EQ(Crc(data), BitwiseCrc(data)) << "length " << length;
    }
}

TEST_F(Crc8, EveryPairOfBytesAgreesWithTheBitwiseRemainder) {
    for (uint32_t pair = 0; pair <= 0xFFFF; ++pair) {
        const std::vector<uint8_t> data = {static_cast<uint8_t>(pair >> 8),
                                           static_cast<uint8_t>(pair)};
        ASSERT_EQ(Crc(data), BitwiseCrc(data)) << pair;
    }
}

TEST_F(Crc8, DataFollowedByItsCrcLeavesNoRemainder) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 300; ++length) {
        std::vector<uint8_t> data = RandomBytes(random, length);
        data.push_back(static_cast<uint8_t>(Crc(data)));
        ASSERT_EQ(Crc(data), 0U) << "length " << length;
    }
}

TEST_F(Crc8, NoByteBehindTheDataIsRead) {
    const dxrtest::GuardedPage page;
    auto *const end = static_cast<uint8_t *>(page.End());
    end[-2] = 0x12;
    end[-1] = 0x34;
    EXPECT_EQ(DXR_CalculateCrc8(end - 2, 2), BitwiseCrc({0x12, 0x34}));
}

TEST_F(Crc8, LengthsAreNotCutTo32Bits) {
    const dxrtest::GuardedPage page;
    const auto *const lastByte = static_cast<const uint8_t *>(page.End()) - 1;
    const uint64_t length = (uint64_t{1} << 32) + 1;
    // A length cut to 1 would return; this one runs into the guard.
    EXPECT_DEATH(static_cast<void>(DXR_CalculateCrc8(lastByte, length)), "");
}

TEST_F(Crc8, EveryEntryIsTheCrcOfItsIndex) {
    DXR_InitCrc8Table();
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(g_dxrCrc8Table[i], BitwiseCrc({static_cast<uint8_t>(i)})) << i;
    }
    EXPECT_EQ(g_dxrCrc8Table[0], 0x00);
    EXPECT_EQ(g_dxrCrc8Table[1], 0x31);
}

TEST_F(Crc8, BuildingLeavesTheFlagAlone) {
    DXR_InitCrc8Table();
    EXPECT_EQ(g_dxrCrc8TableInit, 0);
    g_dxrCrc8TableInit = 7;
    DXR_InitCrc8Table();
    EXPECT_EQ(g_dxrCrc8TableInit, 7);
}

TEST_F(Crc8, BuildingAgainRepairsTheTable) {
    DXR_InitCrc8Table();
    const Table built = CurrentTable();
    std::fill(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), uint8_t{0x77});
    DXR_InitCrc8Table();
    EXPECT_EQ(CurrentTable(), built);
}

TEST_F(Crc8, TheFirstCalculationBuildsTheTableAndSetsTheFlag) {
    DXR_InitCrc8Table();
    const Table built = CurrentTable();
    std::fill(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), uint8_t{0x77});

    EXPECT_EQ(Crc({0x01}), 0x31U);
    EXPECT_EQ(CurrentTable(), built);
    EXPECT_EQ(g_dxrCrc8TableInit, 1);
}

TEST_F(Crc8, ACalculationOverNoBytesBuildsTheTableToo) {
    EXPECT_EQ(DXR_CalculateCrc8(nullptr, 0), 0U);
    EXPECT_EQ(g_dxrCrc8TableInit, 1);
    EXPECT_EQ(g_dxrCrc8Table[1], 0x31);
}

// MODULE-26
TEST_F(Crc8, OnceTheFlagIsSetTheTableDecidesAsItStands) {
    ASSERT_EQ(Crc({0x01}), 0x31U);
    g_dxrCrc8Table[1] = 0x02;
    g_dxrCrc8Table[0] = 0x55;
    EXPECT_EQ(Crc({0x01}), 0x02U);
    EXPECT_EQ(Crc({0x01, 0x02}), 0x55U);  // entry 0x02 XOR 0x02
    EXPECT_EQ(g_dxrCrc8Table[1], 0x02);
}

TEST_F(Crc8, AFlagSetByTheCallerStandsForABuiltTable) {
    for (const int flag : {1, 7, 255}) {
        g_dxrCrc8TableInit = static_cast<uint8_t>(flag);
        EXPECT_EQ(Crc({0x01, 0x80, 0xFF}), 0U);
        EXPECT_THAT(CurrentTable(), testing::Each(0));
        EXPECT_EQ(g_dxrCrc8TableInit, flag);
    }
}

}  // namespace
