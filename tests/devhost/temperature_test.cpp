// The host's temperature service, by the sentences of its header.
#include "dxr_devhost/temperature.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::TemporaryDirectory;
using testing::ElementsAre;

using HostTemperature = dxrtest::SteppedHost;
using RealTemperature = dxrtest::RealHost;

uint32_t SensorTimesThousand(uint32_t sensor, int32_t *milliCelsius) {
    *milliCelsius = static_cast<int32_t>(sensor) * 1000;
    return 0;
}

uint32_t Frost(uint32_t /*sensor*/, int32_t *milliCelsius) {
    *milliCelsius = -40000;
    return 0;
}

uint32_t Broken(uint32_t sensor, int32_t *milliCelsius) {
    *milliCelsius = 1;
    return 100 + sensor;
}

// Calls the host while it is asked: no lock is held.
uint32_t AsksAgain(uint32_t sensor, int32_t *milliCelsius) {
    DXR_RegisterQueryTempFunc(sensor + 1, reinterpret_cast<void *>(Frost));
    return DxrHostGetTemperature(nullptr, sensor + 1, milliCelsius);
}

void Register(uint32_t sensor, DxrHostTemperatureQuery function) {
    DXR_RegisterQueryTempFunc(sensor, reinterpret_cast<void *>(function));
}

TEST_F(HostTemperature, TheRegisteredFunctionIsAsked) {
    int32_t value = 5;
    EXPECT_EQ(DxrHostGetTemperature(host, 45, &value), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(value, 5) << "nothing is written";
    Register(45, SensorTimesThousand);
    Register(46, Frost);
    EXPECT_EQ(DxrHostGetTemperature(host, 45, &value), 0U);
    EXPECT_EQ(value, 45000);
    EXPECT_EQ(DxrHostGetTemperature(host, 46, &value), 0U);
    EXPECT_EQ(value, -40000);
    Register(45, Broken);
    EXPECT_EQ(DxrHostGetTemperature(host, 45, &value), 145U) << "the later one, and its result";
    EXPECT_EQ(value, -40000);
    DXR_RegisterQueryTempFunc(45, nullptr);
    DXR_RegisterQueryTempFunc(45, nullptr);
    EXPECT_EQ(DxrHostGetTemperature(host, 45, &value), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(DxrHostGetTemperature(host, 46, nullptr), static_cast<uint32_t>(EINVAL));
    Register(1, AsksAgain);
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U) << "functions are not left behind";
}

TEST_F(HostTemperature, AFunctionMayThrow) {
    Register(3, [](uint32_t, int32_t *) -> uint32_t { throw std::runtime_error("burnt"); });
    int32_t value = 5;
    EXPECT_EQ(DxrHostGetTemperature(host, 3, &value), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(value, 5);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), ElementsAre(testing::HasSubstr(": burnt")));
}

TEST_F(HostTemperature, ASetValueComesFirst) {
    Register(1, SensorTimesThousand);
    EXPECT_TRUE(DxrHostSetTemperature(host, 1, 99500));
    int32_t value = 0;
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
    EXPECT_EQ(value, 99500);
    DxrHostUnsetTemperature(host, 1);
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
    EXPECT_EQ(value, 1000);
}

TEST_F(HostTemperature, ThermalZonesComeLast) {
    const TemporaryDirectory directory;
    for (const char *const zone : {"thermal_zone0", "thermal_zone1"}) {
        std::filesystem::create_directory(directory.Path() + "/" + zone);
    }
    (void)directory.Write("thermal_zone0/temp", "38500\n");
    (void)directory.Write("thermal_zone1/temp", "hot\n");
    DxrHostSetThermalDirectory(host, directory.Path().c_str());
    int32_t value = 7;
    EXPECT_EQ(DxrHostGetTemperature(host, 0, &value), 0U);
    EXPECT_EQ(value, 38500);
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), static_cast<uint32_t>(EIO));
    EXPECT_EQ(DxrHostGetTemperature(host, 2, &value), static_cast<uint32_t>(ENOENT));
    std::filesystem::create_directory(directory.Path() + "/thermal_zone3");
    std::filesystem::create_symlink("temp", directory.Path() + "/thermal_zone3/temp");
    EXPECT_EQ(DxrHostGetTemperature(host, 3, &value), static_cast<uint32_t>(EIO))
        << "it is there, but cannot be opened";
    EXPECT_EQ(value, 38500);
    Register(0, Frost);
    EXPECT_EQ(DxrHostGetTemperature(host, 0, &value), 0U);
    EXPECT_EQ(value, -40000);
    DXR_RegisterQueryTempFunc(0, nullptr);
    DxrHostSetThermalDirectory(host, nullptr);
    EXPECT_EQ(DxrHostGetTemperature(host, 0, &value), static_cast<uint32_t>(ENOENT))
        << "stepped time sees nothing of the machine";
}

TEST_F(RealTemperature, TheMachinesZoneIsRead) {
    std::ifstream file("/sys/class/thermal/thermal_zone0/temp");
    int32_t there = 0;
    const bool isThere = static_cast<bool>(file >> there);
    int32_t value = 0;
    const uint32_t result = DxrHostGetTemperature(host, 0, &value);
    EXPECT_EQ(result == 0, isThere);
    EXPECT_EQ(DxrHostGetTemperature(host, 0xFFFFFFFF, &value), static_cast<uint32_t>(ENOENT));
}

TEST_F(HostTemperature, FailedSteps) {
    DxrHostFailNth(host, "temperature.register", 2, false);
    Register(1, Frost);
    Register(1, SensorTimesThousand);
    int32_t value = 0;
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
    EXPECT_EQ(value, -40000) << "nothing has changed";
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("no memory for a function: it is not registered"));
    DxrHostFailNth(host, "temperature.read", 1, false);
    value = 3;
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), static_cast<uint32_t>(EIO));
    EXPECT_EQ(value, 3);
    EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
}

TEST_F(HostTemperature, ThreadsAskWhileOthersRegister) {
    std::atomic<bool> isOver{false};
    Register(1, Frost);
    std::thread asker([&] {
        while (!isOver) {
            int32_t value = 0;
            EXPECT_EQ(DxrHostGetTemperature(host, 1, &value), 0U);
            EXPECT_TRUE(value == -40000 || value == 1000 || value == 5) << value;
        }
    });
    for (int i = 0; i < 500; ++i) {
        Register(1, i % 2 == 0 ? SensorTimesThousand : Frost);
        EXPECT_TRUE(DxrHostSetTemperature(host, 1, 5));
        DxrHostUnsetTemperature(host, 1);
    }
    isOver = true;
    asker.join();
}

TEST(Temperatures, WithoutAHostThereAreNone) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    hooks.temperature.registerQueryTempFunc(1, reinterpret_cast<void *>(Frost));
    int32_t value = 0;
    EXPECT_EQ(DxrHostGetTemperature(nullptr, 1, &value), static_cast<uint32_t>(ECANCELED));
    EXPECT_FALSE(DxrHostSetTemperature(nullptr, 1, 1));
}

}  // namespace
