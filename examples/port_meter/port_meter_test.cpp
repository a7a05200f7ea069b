// Tests of port_meter, by GoogleTest and the kit that comes with the development host.
#include "port_meter.h"

#include <dxr_devhost/gtest.h>
#include <dxr_module.h>

#include <cerrno>
#include <string>

#include "overload.h"

namespace {

using dxr_test::Asked;
using dxr_test::Fake;
using dxr_test::HoldsForSeeds;
using dxr_test::Logged;
using dxr_test::SurvivesEach;
using port_meter::CounterOf;
using port_meter::Overload;

// Runs the module, as `dxrsh run port_meter.so PORTS SECONDS` does.
int RunModule(std::string ports, std::string seconds) {
    std::string name = "port_meter.so";
    char *argv[] = {name.data(), ports.data(), seconds.data(), nullptr};
    return DxrModuleMain(3, argv);
}

uint32_t Send(uint32_t kind, uint32_t code) {
    DxrHostMessage message = {};
    message.size = sizeof(message);
    message.kind = kind;
    message.to = {DXR_HOST_UNIT_LPU, port_meter::kUnit};
    message.flags = DXR_HOST_MESSAGE_ACK;
    message.timeoutMs = 1000;
    message.code = code;
    const uint32_t result = DXR_SendMsg(&message);
    return result == 0 ? message.result : result;
}

// A chip whose counters grow with the time.
class PortMeterTest : public dxr_test::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        startMs_ = DXR_GetCurrMs();
    }

    // The kilobytes that a port has counted, at `rate` a second from `first` on.
    [[nodiscard]] uint32_t Counter(uint32_t first, uint32_t rate) const {
        return first + rate * static_cast<uint32_t>((DXR_GetCurrMs() - startMs_) / 1000);
    }

    static uint32_t Rate(uint32_t port) {
        const DxrHostKpiAttribute attribute = {sizeof(attribute), port_meter::kIndicator, port,
                                               port_meter::kRate};
        DxrHostKpi kpi = {};
        EXPECT_TRUE(DxrHostFindKpi(nullptr, &attribute, &kpi));
        return kpi.value;
    }

  private:
    uint64_t startMs_ = 0;
};

TEST(Overload, BeginsAfterSomePatienceAndEndsAtOnce) {
    Overload overload;
    const auto take = [&](uint32_t rate) { return overload.Take(rate, 100); };
    EXPECT_EQ(take(101), Overload::Change::kNone);
    EXPECT_EQ(take(101), Overload::Change::kNone);
    EXPECT_EQ(take(100), Overload::Change::kNone);
    EXPECT_EQ(take(101), Overload::Change::kNone);
    EXPECT_EQ(take(200), Overload::Change::kNone);
    EXPECT_EQ(take(101), Overload::Change::kBegins);
    EXPECT_EQ(take(500), Overload::Change::kNone);
    EXPECT_EQ(take(100), Overload::Change::kEnds);
    EXPECT_EQ(take(0), Overload::Change::kNone);
}

TEST_F(PortMeterTest, MeasuresThePorts) {
    const Fake chip(g_dxrHooks.dev.readReg, [&](uint32_t, uint32_t, uint32_t address, void *value) {
        const bool isFirst = address == CounterOf(0);
        // The second one wraps.
        *static_cast<uint32_t *>(value) = isFirst ? Counter(7, 500) : Counter(0xFFFFFF00, 700);
        return 0U;
    });
    EXPECT_EQ(RunModule("2", "10"), 0);
    EXPECT_EQ(Rate(0), 500U);
    EXPECT_EQ(Rate(1), 700U);
    EXPECT_TRUE(Asked("DXR_UpdateKpiAttrVal(*, 500) = 0", 9, 10));
    EXPECT_TRUE(Asked("DXR_UpdateKpiAttrVal", 18, 20));
    EXPECT_TRUE(Asked("DXR_Alarm", 0, 0));
    DxrModuleEnd();
}

TEST_F(PortMeterTest, MakesNothingOfACounterThatCannotBeRead) {
    const Fake chip(g_dxrHooks.dev.readReg, [](auto...) { return EBUSY; });
    EXPECT_EQ(RunModule("1", "5"), 0);
    EXPECT_TRUE(Asked("DXR_ReadReg(0, 0, 0x1000, *)", 5));
    EXPECT_TRUE(Asked("DXR_UpdateKpiAttrVal", 0, 0));
    DxrModuleEnd();
}

TEST_F(PortMeterTest, RaisesAndClearsTheAlarmOfAPort) {
    const Fake chip(g_dxrHooks.dev.readReg, [&](uint32_t, uint32_t, uint32_t, void *value) {
        *static_cast<uint32_t *>(value) = Counter(0, 300);
        return 0U;
    });
    const auto setLimits = [](void *) {
        DXR_DelayTask(2500);
        EXPECT_EQ(Send(port_meter::kSetLimit, 299), 0U);
        DXR_DelayTask(5000);
        EXPECT_EQ(Send(port_meter::kSetLimit, 300), 0U);
    };
    DxrTestStartTask(setLimits, nullptr);
    EXPECT_EQ(RunModule("1", "12"), 0);
    EXPECT_TRUE(Asked("DXR_Alarm(2, 0, 3, 1, *) = 0", 1, 1));
    EXPECT_TRUE(Asked("DXR_Alarm(2, 0, 3, 0, null) = 0", 1, 1));
    EXPECT_TRUE(Logged("alarm 2 of object 0 is raised, minor: port 0: 300 kB/s, the limit is 299"));
    DxrModuleEnd();
}

TEST_F(PortMeterTest, EndsByAMessage) {
    const auto stop = [](void *) {
        DXR_DelayTask(1500);
        EXPECT_EQ(Send(99, 0), static_cast<uint32_t>(EINVAL));
        EXPECT_EQ(Send(port_meter::kStop, 0), 0U);
    };
    DxrTestStartTask(stop, nullptr);
    EXPECT_EQ(RunModule("16", "0"), 0);
    EXPECT_EQ(DxrHostGetElapsedNs(nullptr), 1500000000U);
    DxrModuleEnd();
}

TEST_F(PortMeterTest, RefusesWrongArguments) {
    for (const char *ports : {"0", "17", "many", "1x", ""}) {
        EXPECT_EQ(RunModule(ports, "1"), 2) << ports;
    }
    EXPECT_EQ(RunModule("1", "soon"), 2);
    EXPECT_TRUE(Logged("port_meter: wants the number of ports, and of seconds", 6, 6));
    EXPECT_TRUE(Asked("DXR_Register", 0, 0));
    DxrModuleEnd();
}

// Whatever fails, the module ends well and leaves nothing behind.
TEST(PortMeterRuns, SurviveEachFailure) {
    const auto run = [] {
        // A thousand times the limit, so that there is an alarm, too.
        const Fake chip(g_dxrHooks.dev.readReg, [](uint32_t, uint32_t, uint32_t, void *value) {
            *static_cast<uint32_t *>(value) =
                static_cast<uint32_t>(DXR_GetCurrMs()) * port_meter::kDefaultLimit;
            return 0U;
        });
        const int result = RunModule("2", "4");
        EXPECT_TRUE(result == 0 || result == 1);
        DxrModuleEnd();
    };
    for (const char *point : {"memory.allocate", "mutex.create", "task.create", "timer.start",
                              "mailbox.open", "kpi.update", "alarm.raise"}) {
        EXPECT_TRUE(SurvivesEach(point, run)) << point;
    }
}

// Messages may come at any time, and its end too.
TEST(PortMeterRuns, HoldForManySeeds) {
    EXPECT_TRUE(HoldsForSeeds(100, [] {
        const auto talk = [](void *) {
            DXR_DelayTask(999);
            for (uint32_t limit = 0; limit < 5; ++limit) {
                (void)Send(port_meter::kSetLimit, limit);
                DXR_DelayTask(1);
            }
            (void)Send(port_meter::kStop, 0);
        };
        const uint32_t task = DxrTestStartTask(talk, nullptr);
        EXPECT_EQ(RunModule("1", "2"), 0);
        DxrModuleEnd();
        DxrHostJoinTask(nullptr, task, DXR_HOST_FOREVER);
    }));
}

}  // namespace
