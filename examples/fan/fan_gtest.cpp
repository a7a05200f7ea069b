#include <dxr_devhost/gtest.h>
#include <dxr_module.h>

using namespace dxr_test;

class FanTest : public ModuleTest {};

TEST_F(FanTest, CoolsAHotChip) {
    const Fake chip(g_dxrHooks.dev.readReg, [](uint32_t, uint32_t, uint32_t, void *degrees) {
        *static_cast<int32_t *>(degrees) = 90;
        return 0U;
    });
    EXPECT_EQ(DxrModuleMain(0, nullptr), 0);
    EXPECT_TRUE(Asked("DXR_WriteReg(0, 0, 0x14, 1) = 0", 1, 1));
    EXPECT_TRUE(Logged("fan: on"));
    DxrModuleEnd();
}

TEST(Fan, SurvivesFailures) {
    EXPECT_TRUE(SurvivesFailedAllocations([] {
        DxrModuleMain(0, nullptr);
        DxrModuleEnd();
    }));
}
