// The host's module service, by the sentences of its header.
#include "dxr_devhost/module.h"

#include <array>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostModule : public dxrtest::RealHost {
  protected:
    DxrHostModule Record(uint32_t mid, const char *name) {
        return {sizeof(DxrHostModule), mid, 0x10002, 1, {}, name, this};
    }

    [[nodiscard]] std::vector<DxrHostModuleInfo> Modules() const {
        std::vector<DxrHostModuleInfo> modules(DxrHostGetModules(host, nullptr, 0));
        DxrHostGetModules(host, modules.data(), static_cast<uint32_t>(modules.size()));
        return modules;
    }

    [[nodiscard]] std::vector<std::string> Misuses() const { return Texts(DXR_HOST_REPORT_MISUSE); }

    DxrHooks slots = [] {
        DxrHooks hooks;
        DxrHostFillHooks(&hooks);
        return hooks;
    }();
};

TEST_F(HostModule, RegistersWhatTheRecordSays) {
    DxrHostModule record = Record(7, "traffic");
    DXR_Register(&record);
    record.name = "changed later";
    const auto modules = Modules();
    ASSERT_EQ(modules.size(), 1U);
    EXPECT_EQ(modules[0].mid, 7U);
    EXPECT_EQ(modules[0].version, 0x10002U);
    EXPECT_EQ(modules[0].useVelder, 1U);
    EXPECT_STREQ(modules[0].name, "traffic");
    EXPECT_EQ(modules[0].instance, this);
    EXPECT_EQ(modules[0].udf, nullptr);
    EXPECT_EQ(DXR_GetThis(), this);
    EXPECT_EQ(DXR_IsUseVelder(), 1U);
    EXPECT_EQ(DxrHostGetVelder(host), 1U);
    DXR_UnRegister();
    EXPECT_THAT(Modules(), IsEmpty());
    EXPECT_EQ(DXR_GetThis(), nullptr);
    EXPECT_EQ(DXR_IsUseVelder(), 1U) << "the library's flag stays";
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostModule, TheVelderFlagIsTheLastOneGiven) {
    EXPECT_EQ(DxrHostGetVelder(host), 0U);
    DXR_RegisterVelderFuncs(5);
    EXPECT_EQ(DxrHostGetVelder(host), 5U) << "also without a module";
    DxrHostModule record = Record(7, "traffic");
    record.useVelder = 0;
    DXR_RegisterWithoutVelderFuncs(&record);
    EXPECT_EQ(DxrHostGetVelder(host), 5U);
    EXPECT_EQ(Modules()[0].useVelder, 0U);
    DXR_RegisterVelderFuncs(3);
    EXPECT_EQ(Modules()[0].useVelder, 3U);
    DXR_UnRegister();
}

TEST_F(HostModule, KeepsUserDataOfTheCallersModule) {
    int data = 0;
    DXR_SetUdf(&data);
    EXPECT_THAT(Misuses(), ElementsAre("the caller has registered no module"));
    DxrHostModule record = Record(7, "traffic");
    DXR_Register(&record);
    DXR_SetUdf(&data);
    EXPECT_EQ(Modules()[0].udf, &data);
    slots.init.setUdf(nullptr);
    EXPECT_EQ(Modules()[0].udf, nullptr) << "a slot that is called directly gives null too";
    DXR_UnRegister();
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(HostModule, TheLastOneThatAProgramRegisteredSpeaksForIt) {
    int other = 0;
    DxrHostModule first = Record(7, "first");
    DxrHostModule second = Record(8, "second");
    second.instance = &other;
    DXR_Register(&first);
    DXR_Register(&second);
    EXPECT_EQ(DXR_GetThis(), &other);
    DXR_SetUdf(&first);
    EXPECT_EQ(Modules()[0].udf, nullptr);
    EXPECT_EQ(Modules()[1].udf, &first);
    DxrHostModuleInfo one{};
    EXPECT_EQ(DxrHostGetModules(host, &one, 1), 2U);
    EXPECT_STREQ(one.name, "first") << "in the order of registration";
    DXR_UnRegister();
    EXPECT_EQ(DXR_GetThis(), this);
    DXR_UnRegister();
    EXPECT_EQ(DXR_GetThis(), nullptr);
    DXR_UnRegister();
    EXPECT_THAT(Misuses(), ElementsAre("the caller has registered no module"));
    EXPECT_STREQ(reports[0].slot, "DXR_UnRegister");
}

TEST_F(HostModule, BadRecordsAreReported) {
    DxrHostModule record = Record(7, "traffic");
    slots.init.registerModule(nullptr);
    record.size -= 1;
    DXR_Register(&record);
    record = Record(7, nullptr);
    DXR_Register(&record);
    record = Record(7, "");
    DXR_Register(&record);
    EXPECT_THAT(Modules(), IsEmpty());
    uint32_t times = 0;
    for (uint32_t i = 0; i < DxrHostGetReportCount(host); ++i) {
        DxrHostReport report{};
        ASSERT_TRUE(DxrHostGetReport(host, i, &report));
        EXPECT_STREQ(report.text, "no registration record, or no name in it");
        times += report.count;
    }
    EXPECT_EQ(times, 4U);
}

TEST_F(HostModule, IdentifiersAndNamesAreOfOneModule) {
    DxrHostModule first = Record(7, "first");
    DxrHostModule again = Record(7, "second");
    DXR_Register(&first);
    DXR_Register(&again);
    again = Record(8, "first");
    DXR_Register(&again);
    EXPECT_EQ(Modules().size(), 1U);
    EXPECT_THAT(Misuses(), ElementsAre("the module identifier is registered: module 7 \"second\"",
                                       "the name is registered: module 8 \"first\""));
    const std::string name(100, 'x');
    again = Record(9, name.c_str());
    DXR_Register(&again);
    EXPECT_EQ(Modules().back().name, std::string(63, 'x'));
    again.mid = 10;
    DXR_Register(&again);
    EXPECT_EQ(Misuses().size(), 3U) << "63 bytes tell names apart";
}

TEST_F(HostModule, RegistrationCanBeMadeToFail) {
    DxrHostFailNth(host, "module.register", 1, false);
    DxrHostModule record = Record(7, "traffic");
    DXR_Register(&record);
    EXPECT_THAT(Modules(), IsEmpty());
    EXPECT_THAT(Misuses(), ElementsAre("no memory for a module: it is not registered: module 7 "
                                       "\"traffic\""));
    EXPECT_EQ(DxrHostGetVelder(host), 1U) << "the flag follows a registration that failed";
}

TEST_F(HostModule, ModulesLeftBehindAreReported) {
    DxrHostModule record = Record(7, "traffic");
    DXR_Register(&record);
    EXPECT_EQ(End(), 1U);
    const auto left = Texts(DXR_HOST_REPORT_LEFTOVER);
    ASSERT_EQ(left.size(), 1U);
    EXPECT_THAT(left[0], HasSubstr("left behind: module 7 \"traffic\", made by DXR_Register by"));
}

// Whoever ends a registration ends the last one, maybe another thread's, but each ends one.
TEST_F(HostModule, AnyThreadMayCall) {
    std::vector<std::thread> threads;
    for (uint32_t number = 1; number <= 4; ++number) {
        threads.emplace_back([this, number] {
            for (uint32_t round = 0; round < 200; ++round) {
                const uint32_t mid = number * 1000 + round;
                const std::string name = "module " + std::to_string(mid);
                DxrHostModule record = Record(mid, name.c_str());
                DXR_RegisterWithoutVelderFuncs(&record);
                DXR_SetUdf(&record);
                EXPECT_EQ(DXR_GetThis(), this);
                DXR_UnRegister();
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_THAT(Modules(), IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
}

TEST(HostModuleCalls, WithoutAHostNothingIsRegistered) {
    DxrHooks slots;
    DxrHostFillHooks(&slots);
    DxrHostModule record{sizeof(DxrHostModule), 7, 1, 1, {}, "traffic", &slots};
    slots.init.registerModule(&record);
    slots.init.unRegister();
    slots.init.setUdf(&record);
    slots.init.registerVelderFuncs(1);
    EXPECT_EQ(slots.init.getThis(), nullptr);
    EXPECT_EQ(DxrHostGetModules(nullptr, nullptr, 0), 0U);
    EXPECT_EQ(DxrHostGetVelder(nullptr), 0U);
}

}  // namespace
