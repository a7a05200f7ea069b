#include "dxr/message.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

class Message : public testing::Test {
  protected:
    dxrtest::TestHost host_;
};

TEST_F(Message, TriggerTextWithoutAHookIsOneConstant) {
    const char *text = DXR_GetTriggerStr(0);
    ASSERT_NE(nullptr, text);
    for (const uint32_t trigger : {0U, 1U, 2U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_STREQ("invalid", DXR_GetTriggerStr(trigger));
        EXPECT_EQ(text, DXR_GetTriggerStr(trigger));
    }
}

TEST_F(Message, TriggerTextIsTheHostsEvenNull) {
    static const char kText[] = "link down";
    g_dxrHooks.msg.getTriggerStr = [](uint32_t trigger) -> const char * {
        return trigger == 5 ? kText : nullptr;
    };
    EXPECT_EQ(kText, DXR_GetTriggerStr(5));
    EXPECT_EQ(nullptr, DXR_GetTriggerStr(6));
}

}  // namespace
