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

TEST_F(HostTime, CalendarTimesBecomeTextAndSeconds) {
    DxrSysTime time{};
    DXR_SysTimeSec2Time(1795232220, &time);
    dxrtest::GuardedBuffer buffer(20);
    EXPECT_EQ(DXR_SysTime2Str(&time, 20, buffer.Data()), 0U);
    EXPECT_EQ(buffer.Text(), "2026-11-21 03:37:00");
    EXPECT_EQ(DXR_SysTime2Str(&time, 11, buffer.Data()), 0U);
    EXPECT_EQ(buffer.Text(), "2026-11-21");
    EXPECT_TRUE(buffer.Intact());
    DxrSysTime later{};
    DXR_SysTimeSec2Time(1795232220 + 86401, &later);
    int64_t sec = 0;
    EXPECT_EQ(DXR_CalSystimeRelSec(&time, &later, &sec), 0U);
    EXPECT_EQ(sec, 86401);
    EXPECT_EQ(DXR_CalSystimeRelSec(&later, &time, &sec), 0U);
    EXPECT_EQ(sec, -86401);
    time.month = 13;
    EXPECT_EQ(DXR_CalSystimeRelSec(&time, &later, &sec), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_SysTime2Str(&time, 20, buffer.Data()), static_cast<uint32_t>(EINVAL));
    time.month = 12;
    EXPECT_EQ(DXR_SysTime2Str(&time, 20, nullptr), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_SysTime2Str(&time, 0, buffer.Data()), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(buffer.Text(), "2026-11-21");
}

TEST_F(HostTime, SecondsAndCalendarTimesAreEachOthersInverse) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int i = 0; i < 2000; ++i) {
        const auto a = static_cast<uint32_t>(random());
        const auto b = static_cast<uint32_t>(random());
        DxrSysTime first{};
        DxrSysTime second{};
        DXR_SysTimeSec2Time(a, &first);
        DXR_SysTimeSec2Time(b, &second);
        int64_t sec = 0;
        ASSERT_EQ(DXR_CalSystimeRelSec(&first, &second, &sec), 0U);
        ASSERT_EQ(sec, int64_t{b} - int64_t{a});
    }
}

TEST_F(HostTime, TicksCountFromTheStartUp) {
    uint64_t tick = 1;
    DXR_GetCurrentTick(&tick);
    EXPECT_EQ(tick, 0U);
    DxrHostAdvance(host, 12345);
    DXR_GetCurrentTick(&tick);
    EXPECT_EQ(tick, 1234U);
    DXR_Tick2Ms(&tick);
    EXPECT_EQ(tick, 12340U);
    constexpr uint64_t kMost = 0xFFFFFFFFFFFFFFFF;
    for (const uint64_t ticks : {kMost / 10, kMost / 10 + 1, kMost}) {
        uint64_t ms = ticks;
        DXR_Tick2Ms(&ms);
        EXPECT_EQ(ms, kMost / 10 * 10) << ticks;
    }
    uint32_t high = 0;
    uint32_t low = 0;
    DXR_GetCpuTick(&high, &low);
    EXPECT_EQ((uint64_t{high} << 32) + low, 12345000000U);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 12U);
}

TEST_F(HostTime, StartUpAndZone) {
    DxrHostSetClock(host, 1795232220, 60);
    DxrSysTime time{};
    DXR_GetStartupTimeStamp(&time);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 21, 3, 36, 0}));
    DXR_SysTimeSec2Time(90, &time);
    DXR_AddStartupTime(&time);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 21, 3, 37, 30}));
    EXPECT_EQ(DXR_GetGMT(&time), 0U);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 21, 3, 37, 0}));
    int32_t zone = 7;
    EXPECT_EQ(DXR_GetLocalTime(&time, &zone), 0U);
    EXPECT_EQ(zone, 0);
    DxrHostSetZone(host, -4 * 3600);
    EXPECT_EQ(DXR_GetLocalTime(&time, &zone), 0U);
    EXPECT_EQ(zone, -14400);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 20, 23, 37, 0}));
    EXPECT_EQ(DXR_GetLocalTime(&time, nullptr), 0U);
}

TEST_F(HostTime, NullPointersAreReported) {
    uint32_t word = 0;
    DXR_GetSysTime(nullptr);
    DXR_SysTimeSec2Time(1, nullptr);
    DXR_Tick2Ms(nullptr);
    DXR_GetCurrentTick(nullptr);
    DXR_GetCpuTick(nullptr, &word);
    DXR_GetStartupTimeStamp(nullptr);
    DXR_AddStartupTime(nullptr);
    const auto einval = static_cast<uint32_t>(EINVAL);
    EXPECT_EQ(DXR_SysTime2Str(nullptr, 4, &word), einval);
    EXPECT_EQ(DXR_GetGMT(nullptr), einval);
    EXPECT_EQ(DXR_GetLocalTime(nullptr, nullptr), einval);
    EXPECT_EQ(DXR_CalSystimeRelSec(nullptr, &word, &word), einval);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 11U);
}

class RealTime : public dxrtest::RealHost {};

TEST_F(RealTime, TheSystemClockKeepsOneScale) {
    const uint32_t first = DXR_GetCurrSec();
    uint32_t sec = 0;
    DXR_GetCurrTime(nullptr, 0, &sec);
    const uint32_t last = DXR_GetCurrSec();
    // A clock put back between the readings would be nobody's fault.
    if (first <= last) {
        EXPECT_LE(first, sec);
        EXPECT_LE(sec, last);
    }
    EXPECT_LE(DXR_GetStartupTimeSec(), DXR_GetStartupTimeSec());
    EXPECT_FALSE(DxrHostSetClock(host, 1, 1));
}

}  // namespace
