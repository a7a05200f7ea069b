#include "dxr/module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/sanitizers.h"
#include "support/test_host.h"

namespace {

constexpr size_t kFlagOffset = 12;
constexpr uint8_t kFlags[] = {0, 1, 7, 0x80, 0xFF, 0};

// Before anything could set it.
const uint8_t kFlagAtLoad = DXR_IsUseVelder();

std::vector<std::string> g_calls;
const void *g_pointer = nullptr;

void RegisterModule(void *record) {
    g_calls.emplace_back("register");
    g_pointer = record;
}

void UnRegister() {
    g_calls.emplace_back("unregister");
}

void SetUdf(void *udf) {
    g_calls.emplace_back("setUdf");
    g_pointer = udf;
}

void RegisterVelderFuncs(uint8_t flag) {
    g_calls.push_back("velder " + std::to_string(flag) + " while " +
                      std::to_string(DXR_IsUseVelder()));
}

using Calls = std::vector<std::string>;

// No longer than the byte the library reads, so that a sanitizer sees a read behind it.
class Record {
  public:
    explicit Record(uint8_t flag) : bytes_(std::make_unique<uint8_t[]>(kFlagOffset + 1)) {
        std::fill_n(bytes_.get(), kFlagOffset, uint8_t{0xE7});
        bytes_[kFlagOffset] = flag;
    }
    [[nodiscard]] void *Get() const { return bytes_.get(); }
    void SetFlag(uint8_t flag) { bytes_[kFlagOffset] = flag; }
    [[nodiscard]] bool Holds(uint8_t flag) const {
        return std::all_of(bytes_.get(), bytes_.get() + kFlagOffset,
                           [](uint8_t byte) { return byte == 0xE7; }) &&
               bytes_[kFlagOffset] == flag;
    }

  private:
    std::unique_ptr<uint8_t[]> bytes_;
};

Record *g_record = nullptr;

class Module : public testing::Test {
  protected:
    Module() {
        DXR_RegisterVelderFuncs(0);
        g_calls.clear();
        g_pointer = nullptr;
    }
    // The flag outlives each test; leave what was found at load.
    ~Module() override { DXR_RegisterVelderFuncs(0); }

    static void FillGroup() {
        g_dxrHooks.init = {};
        g_dxrHooks.init.registerModule = RegisterModule;
        g_dxrHooks.init.unRegister = UnRegister;
        g_dxrHooks.init.setUdf = SetUdf;
        g_dxrHooks.init.registerVelderFuncs = RegisterVelderFuncs;
    }

    dxrtest::TestHost host_;
};

TEST_F(Module, FlagIsZeroAtLoad) {
    EXPECT_EQ(0, kFlagAtLoad);
}

TEST_F(Module, RegisterCallsTheHostThenHandsOnTheFlag) {
    FillGroup();
    for (const uint8_t flag : kFlags) {
        g_calls.clear();
        const Record record(flag);
        DXR_Register(record.Get());
        const std::string number = std::to_string(flag);
        EXPECT_EQ((Calls{"register", "velder " + number + " while " + number}), g_calls);
        EXPECT_EQ(record.Get(), g_pointer);
        EXPECT_EQ(flag, DXR_IsUseVelder());
        EXPECT_TRUE(record.Holds(flag));
    }
}

TEST_F(Module, RegisterOfNullCallsNothingAndKeepsTheFlag) {
    DXR_RegisterVelderFuncs(5);
    FillGroup();
    DXR_Register(nullptr);
    EXPECT_EQ(Calls{}, g_calls);
    EXPECT_EQ(5, DXR_IsUseVelder());
}

TEST_F(Module, RegisterKeepsTheFlagWithoutAnyHook) {
    const Record record(1);
    DXR_Register(record.Get());
    EXPECT_EQ(1, DXR_IsUseVelder());
    DXR_Register(Record(0).Get());
    EXPECT_EQ(0, DXR_IsUseVelder());
}

TEST_F(Module, RegisterWithoutTheFirstHookStillHandsOnTheFlag) {
    FillGroup();
    g_dxrHooks.init.registerModule = nullptr;
    const Record record(3);
    DXR_Register(record.Get());
    EXPECT_EQ(Calls{"velder 3 while 3"}, g_calls);
}

// MODULE-18
TEST_F(Module, RegisterReadsTheFlagAfterTheHookHasReturned) {
    FillGroup();
    g_dxrHooks.init.registerModule = [](void *record) {
        RegisterModule(record);
        g_record->SetFlag(9);
    };
    Record record(1);
    g_record = &record;
    DXR_Register(record.Get());
    EXPECT_EQ((Calls{"register", "velder 9 while 9"}), g_calls);
}

TEST_F(Module, RegisterReadsTheSecondSlotAfterTheFirstHookHasReturned) {
    g_dxrHooks.init.registerModule = [](void *record) {
        RegisterModule(record);
        g_dxrHooks.init.registerVelderFuncs = RegisterVelderFuncs;
    };
    DXR_Register(Record(2).Get());
    EXPECT_EQ((Calls{"register", "velder 2 while 2"}), g_calls);

    g_calls.clear();
    g_dxrHooks.init.registerModule = [](void *record) {
        RegisterModule(record);
        static_cast<void>(DXR_RegisterHooks(nullptr));
    };
    DXR_Register(Record(4).Get());
    EXPECT_EQ(Calls{"register"}, g_calls);
    EXPECT_EQ(4, DXR_IsUseVelder());
}

#if !DXRTEST_FUNCTION_TYPES_ARE_CHECKED
// A hook's failure cannot matter: whatever it leaves in the result register is not looked at.
TEST_F(Module, RegisterGoesOnAfterAFailingHook) {
    FillGroup();
    uint32_t (*const failing)(void *) = [](void *record) -> uint32_t {
        RegisterModule(record);
        return 0xFFFFFFFF;
    };
    g_dxrHooks.init.registerModule =
        reinterpret_cast<void (*)(void *)>(reinterpret_cast<void (*)()>(failing));
    DXR_Register(Record(1).Get());
    EXPECT_EQ((Calls{"register", "velder 1 while 1"}), g_calls);
}
#endif

TEST_F(Module, RegisterTwiceIsNotDetected) {
    FillGroup();
    const Record record(1);
    DXR_Register(record.Get());
    DXR_Register(record.Get());
    EXPECT_EQ((Calls{"register", "velder 1 while 1", "register", "velder 1 while 1"}), g_calls);
}

TEST_F(Module, WithoutVelderFuncsLeavesTheFlagAlone) {
    DXR_RegisterVelderFuncs(6);
    FillGroup();
    const Record record(1);
    DXR_RegisterWithoutVelderFuncs(record.Get());
    EXPECT_EQ(Calls{"register"}, g_calls);
    EXPECT_EQ(record.Get(), g_pointer);
    EXPECT_EQ(6, DXR_IsUseVelder());
    EXPECT_TRUE(record.Holds(1));
}

TEST_F(Module, WithoutVelderFuncsReadsNothingOfTheRecord) {
    FillGroup();
    void *nowhere = reinterpret_cast<void *>(uintptr_t{1});
    DXR_RegisterWithoutVelderFuncs(nowhere);
    EXPECT_EQ(nowhere, g_pointer);
}

TEST_F(Module, WithoutVelderFuncsNeedsRecordAndHook) {
    FillGroup();
    DXR_RegisterWithoutVelderFuncs(nullptr);
    g_dxrHooks.init.registerModule = nullptr;
    DXR_RegisterWithoutVelderFuncs(Record(1).Get());
    EXPECT_EQ(Calls{}, g_calls);
    EXPECT_EQ(0, DXR_IsUseVelder());
}

// MODULE-12
TEST_F(Module, VelderFlagIsKeptAsGivenBeforeTheHookIsCalled) {
    FillGroup();
    for (const uint8_t flag : kFlags) {
        g_calls.clear();
        DXR_RegisterVelderFuncs(flag);
        const std::string number = std::to_string(flag);
        EXPECT_EQ(Calls{"velder " + number + " while " + number}, g_calls);
        EXPECT_EQ(flag, DXR_IsUseVelder());
    }
}

TEST_F(Module, VelderFlagIsKeptWithoutAHook) {
    DXR_RegisterVelderFuncs(7);
    EXPECT_EQ(7, DXR_IsUseVelder());
}

TEST_F(Module, UnRegisterKeepsTheFlag) {
    FillGroup();
    DXR_Register(Record(1).Get());
    g_calls.clear();
    DXR_UnRegister();
    EXPECT_EQ(Calls{"unregister"}, g_calls);
    EXPECT_EQ(1, DXR_IsUseVelder());
    g_dxrHooks.init.unRegister = nullptr;
    DXR_UnRegister();
    EXPECT_EQ(1, DXR_IsUseVelder());
}

TEST_F(Module, SetUdfForwardsAllButNull) {
    FillGroup();
    int udf = 0;
    DXR_SetUdf(&udf);
    EXPECT_EQ(Calls{"setUdf"}, g_calls);
    EXPECT_EQ(&udf, g_pointer);
    DXR_SetUdf(nullptr);
    EXPECT_EQ(Calls{"setUdf"}, g_calls);
    g_dxrHooks.init.setUdf = nullptr;
    DXR_SetUdf(&udf);
    EXPECT_EQ(Calls{"setUdf"}, g_calls);
}

TEST_F(Module, GetThisGivesTheHostsInstance) {
    static int instance = 0;
    EXPECT_EQ(nullptr, DXR_GetThis());
    g_dxrHooks.init.getThis = []() -> void * { return &instance; };
    EXPECT_EQ(&instance, DXR_GetThis());
}

}  // namespace
