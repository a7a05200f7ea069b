// A first calculation that meets another thread's.
#include "dxr_utils_crc8_build.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "dxr/utils_crc8.h"

namespace {

class Crc8Build : public testing::Test {
  protected:
    Crc8Build() { Reset(); }
    ~Crc8Build() override { Reset(); }

    static void Reset() {
        dxr::g_crc8IsBeingBuilt = false;
        Fill(0);
        g_dxrCrc8TableInit = 0;
    }
    static void Fill(uint8_t entry) {
        std::fill(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), entry);
    }
    static bool IsFilledWith(uint8_t entry) {
        return std::all_of(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table),
                           [entry](uint8_t each) { return each == entry; });
    }
    static uint32_t OfDigits() {
        constexpr std::string_view kDigits = "123456789";
        return DXR_CalculateCrc8(reinterpret_cast<const uint8_t *>(kDigits.data()), kDigits.size());
    }
};

TEST_F(Crc8Build, WhoComesSecondNeitherWaitsNorWrites) {
    dxr::g_crc8IsBeingBuilt = true;
    EXPECT_EQ(OfDigits(), 0xA2U);
    EXPECT_TRUE(IsFilledWith(0));
    EXPECT_EQ(g_dxrCrc8TableInit, 0);
    EXPECT_FALSE(dxr::BuildCrc8Table());
    EXPECT_TRUE(dxr::g_crc8IsBeingBuilt);
}

TEST_F(Crc8Build, WhoComesAfterFindsTheTable) {
    EXPECT_EQ(OfDigits(), 0xA2U);
    EXPECT_FALSE(dxr::g_crc8IsBeingBuilt);
    // Asked again, by a thread that read the flag before it was set: what stands stays.
    Fill(7);
    EXPECT_TRUE(dxr::BuildCrc8Table());
    EXPECT_TRUE(IsFilledWith(7));
    EXPECT_FALSE(dxr::g_crc8IsBeingBuilt);
}

TEST_F(Crc8Build, AFlagThatIsTakenBackHasTheTableBuiltAgain) {
    EXPECT_EQ(OfDigits(), 0xA2U);
    Fill(0);
    g_dxrCrc8TableInit = 0;
    EXPECT_EQ(OfDigits(), 0xA2U);
    EXPECT_EQ(g_dxrCrc8TableInit, 1);
    EXPECT_EQ(g_dxrCrc8Table[0xFF], 0xAC);
}

}  // namespace
