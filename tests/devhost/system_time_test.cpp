// The host's time service, by the sentences of its header.
#include "dxr_devhost/system_time.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using HostTime = dxrtest::SteppedHost;

std::vector<int> Fields(const DxrSysTime &time) {
    return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

TEST_F(HostTime, ASetClockStandsStill) {
    DxrHostSetClock(host, 1795232220, 77);  // 2026-11-21 03:37:00
    EXPECT_EQ(DXR_GetCurrSec(), 1795232220U);
    EXPECT_EQ(DXR_GetCurrMs(), 1795232220000U);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 77U);
    DxrSysTime time;
    std::memset(&time, 0xFF, sizeof(time));
    DXR_GetSysTime(&time);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 21, 3, 37, 0}));
    for (const auto byte : time.reserved) {
        EXPECT_EQ(byte, 0);
    }
    std::array<char, 39> text{};
    uint32_t sec = 0;
    DXR_GetCurrTime(text.data(), 39, &sec);
    EXPECT_STREQ(text.data(), "2026-11-21 03:37:00");
    EXPECT_EQ(sec, 1795232220U);
}

TEST_F(HostTime, TheTextOfTheTimeIsBounded) {
    DxrHostSetClock(host, 1795232220, 0);
    for (uint32_t size = 0; size <= 25; ++size) {
        dxrtest::GuardedBuffer buffer(size);
        uint32_t sec = 0;
        DXR_GetCurrTime(buffer.Data(), size, &sec);
        EXPECT_TRUE(buffer.Intact()) << size;
        EXPECT_EQ(sec, 1795232220U);
        if (size > 0) {
            EXPECT_EQ(buffer.Text(), std::string("2026-11-21 03:37:00").substr(0, size - 1));
        }
    }
    DXR_GetCurrTime(nullptr, 39, nullptr);
}

TEST_F(HostTime, SecondsBecomeCalendarTimes) {
    std::mt19937_64 random(dxrtest::Seed());
    std::vector<uint32_t> seconds = {0, 951782399, 951782400, 4107542399, 0xFFFFFFFF};
    for (int i = 0; i < 5000; ++i) {
        seconds.push_back(static_cast<uint32_t>(random()));
    }
    for (const uint32_t sec : seconds) {
        const std::time_t expected = sec;
        std::tm broken{};
        gmtime_r(&expected, &broken);
        DxrSysTime time{};
        DXR_SysTimeSec2Time(sec, &time);
        ASSERT_EQ(Fields(time),
                  (std::vector<int>{broken.tm_year + 1900, broken.tm_mon + 1, broken.tm_mday,
                                    broken.tm_hour, broken.tm_min, broken.tm_sec}));
    }
}

}  // namespace
