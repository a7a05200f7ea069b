#include "internal/host_services.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/test_host.h"

namespace {

using Calls = std::vector<std::string>;

class HostServices : public testing::Test {
  protected:
    HostServices() { host_.WithMemory(); }
    dxrtest::TestHost host_;
};

TEST_F(HostServices, BlockIsReleasedWhereItsOwnerStands) {
    uint32_t line = 0;
    {
        line = __LINE__ + 1;
        const dxr::Zeroed<char> block(5, 24);
        EXPECT_TRUE(host_.IsLive(block.Get()));
    }
    EXPECT_EQ((Calls{"allocate mid=5 size=24", "release #0"}), host_.calls);
    EXPECT_EQ("tests/unit/host_services_test.cpp", host_.allocations.at(0).file);
    EXPECT_EQ(line, host_.allocations.at(0).line);
    EXPECT_EQ("tests/unit/host_services_test.cpp", host_.releases.at(0).file);
    EXPECT_EQ(line, host_.releases.at(0).line);
}

TEST_F(HostServices, BlockIsZeroedAndTakesTheSizeOfItsType) {
    const dxr::Zeroed<uint64_t[3]> block(5);
    ASSERT_NE(nullptr, block.Get());
    EXPECT_EQ(Calls{"allocate mid=5 size=24"}, host_.calls);
    for (const uint64_t word : *block.Get()) {
        EXPECT_EQ(0U, word);
    }
}

TEST_F(HostServices, BlockGivenAwayIsNotReleased) {
    void *given = nullptr;
    {
        dxr::Zeroed<char> block(5, 24);
        given = block.Release();
        EXPECT_EQ(nullptr, block.Get());
        EXPECT_EQ(nullptr, block.Release());
    }
    EXPECT_TRUE(host_.IsLive(given));
    const uint32_t line = __LINE__ + 1;
    dxr::FreeBlock(given);
    EXPECT_EQ(0U, host_.LiveBlocks());
    EXPECT_EQ("tests/unit/host_services_test.cpp", host_.releases.at(0).file);
    EXPECT_EQ(line, host_.releases.at(0).line);
}

TEST_F(HostServices, FailedBlockIsNullAndNotReleased) {
    {
        host_.FailAllocation(1);
        const dxr::Zeroed<char> refused(5, 24);
        EXPECT_EQ(nullptr, refused.Get());
        const dxr::Zeroed<char> nothing(5, 0);
        EXPECT_EQ(nullptr, nothing.Get());
    }
    EXPECT_EQ(Calls{"allocate mid=5 size=24"}, host_.calls);
}

TEST_F(HostServices, FreeBlockHandsOnNull) {
    dxr::FreeBlock(nullptr);
    EXPECT_EQ(Calls{"release null"}, host_.calls);
}

TEST_F(HostServices, PrintHookIsReadAnew) {
    EXPECT_EQ(nullptr, dxr::PrintHook());
    host_.WithPrint();
    const DxrPrintHook print = dxr::PrintHook();
    ASSERT_NE(nullptr, print);
    print(dxr::kLevelFailure, "[%u]", 7U);
    ASSERT_EQ(1U, host_.printed.size());
    EXPECT_EQ(1U, host_.printed[0].level);
    EXPECT_EQ("[7]", host_.printed[0].text);
    g_dxrHooks.print.print = nullptr;
    EXPECT_EQ(nullptr, dxr::PrintHook());
}

TEST_F(HostServices, LevelsAreThoseOfTheInterface) {
    EXPECT_EQ(1U, dxr::kLevelFailure);
    EXPECT_EQ(2U, dxr::kLevelOpenFailure);
    EXPECT_EQ(6U, dxr::kLevelInfo);
}

}  // namespace
