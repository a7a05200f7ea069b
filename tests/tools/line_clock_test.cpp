#include "line_clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host.h"
#include "stamped_log.h"
#include "tools/temporary_directory.h"

namespace {

using dxrsh::kUnstampedSec;
using dxrsh::LineClock;
using dxrsh::StampedLine;
using dxrsh::StampedLog;
using dxrtest::TemporaryDirectory;

constexpr uint32_t kThreeOClock = 1795230000;  // 2026-11-21 03:00:00

class Clocks : public testing::Test {
  protected:
    // What the host's clock shows once such a log has begun.
    static uint32_t StartOf(const std::string &beginning) {
        LineClock clock({2026, {}});
        clock.Start(beginning);
        EXPECT_EQ(clock.Now(), DXR_GetCurrSec());
        return DXR_GetCurrSec();
    }

  private:
    const dxrsh::Host host_;
};

using LineClockTest = Clocks;
using StampedLogTest = Clocks;

TEST_F(LineClockTest, StartsAtTheFirstStamp) {
    EXPECT_EQ(StartOf(""), kUnstampedSec);
    EXPECT_EQ(StartOf("a\nb\n"), kUnstampedSec);
    EXPECT_EQ(StartOf("a\n2026-11-21 03:00:00 b\n2026-11-21 04:00:00 c\n"), kThreeOClock);
}

// The rest of such a line, which comes with the next block, may change its stamp.
TEST_F(LineClockTest, AStampThatMayGoOnIsNotTheFirst) {
    for (const char *line : {"2026-11-21 03:00:0", "2026-11-21 03:00:00", "2026-11-21 03:00:00.2",
                             "2026-11-21T03:00:00+0", "2026-11-21 03:00:00 -02:",
                             "2026-11-21T03:00:00Z", "2026-11-21 03:00:00 "}) {
        EXPECT_EQ(StartOf("a\n" + std::string(line)), kUnstampedSec) << line;
    }
    for (const char *line : {"2026-11-21 03:00:00 b", "2026-11-21T03:00:00Z: ok",
                             "2026-11-21 03:00:00\n", "Nov 21 03:00:00 -02:00 b"}) {
        EXPECT_EQ(StartOf("a\n" + std::string(line)), kThreeOClock) << line;
    }
}

TEST_F(LineClockTest, TheUptimeCountsFromTheFirstStamp) {
    LineClock clock({2026, {}});
    clock.SetUptime(100);
    clock.Start("a\n");
    EXPECT_EQ(DXR_GetStartupTimeSec(), 100U);
    EXPECT_EQ(clock.Take("2026-11-21 03:00:00 b"), "b");
    EXPECT_EQ(DXR_GetCurrSec(), kThreeOClock);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 100U);
    EXPECT_EQ(clock.Take("no stamp"), "no stamp");
    EXPECT_EQ(clock.Take("2026-11-21 03:00:07 b"), "b");
    EXPECT_EQ(DXR_GetCurrSec(), kThreeOClock + 7);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 107U);
}

TEST_F(StampedLogTest, EachLineSetsTheClock) {
    const TemporaryDirectory directory;
    const std::string bytes = "a\n2026-11-21 03:00:00 b\n\n2026-11-21 03:00:07 \tc";
    StampedLog log({{directory.Write("log", bytes)}, {2026, {}}});
    EXPECT_EQ(log.Size(), bytes.size());
    StampedLine line{};
    ASSERT_TRUE(log.Next(line));
    EXPECT_EQ(line.text, "a");
    EXPECT_EQ(DXR_GetCurrSec(), kThreeOClock) << "of the first stamp";
    ASSERT_TRUE(log.Next(line));
    EXPECT_EQ(line.text, "b");
    EXPECT_EQ(line.whole.text, "2026-11-21 03:00:00 b");
    ASSERT_TRUE(log.Next(line));
    EXPECT_EQ(line.text, "");
    EXPECT_EQ(DXR_GetCurrSec(), kThreeOClock);
    ASSERT_TRUE(log.Next(line));
    EXPECT_EQ(line.text, "c");
    EXPECT_FALSE(line.whole.complete);
    EXPECT_EQ(DXR_GetCurrSec(), kThreeOClock + 7);
    EXPECT_FALSE(log.Next(line));
    EXPECT_EQ(log.BytesRead(), bytes.size());
}

}  // namespace
