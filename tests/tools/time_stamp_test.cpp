#include "time_stamp.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <random>
#include <string>

#include "support/test_host.h"

namespace {

using dxrsh::FormatTime;
using dxrsh::StampReader;
using dxrsh::TimeStamp;

// The C library's calendar, independent of the code under test.
uint32_t Utc(int year, int month, int day, int hour, int minute, int second) {
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return static_cast<uint32_t>(timegm(&time));
}

const uint32_t kNoon = Utc(2026, 11, 21, 12, 0, 0);

// "SECONDS|rest of the line", or "none".
std::string ReadWith(StampReader &reader, const std::string &line) {
    const auto stamp = reader.Read(line);
    return stamp ? std::to_string(stamp->sec) + "|" + line.substr(stamp->length) : "none";
}

std::string Read(const std::string &line) {
    StampReader reader = StampReader::FromYear(2026);
    return ReadWith(reader, line);
}

std::string Expected(uint32_t sec, const std::string &rest) {
    return std::to_string(sec) + "|" + rest;
}

TEST(TimeStamp, PackageManagerForm) {
    EXPECT_EQ(Read("2026-11-21 12:00:00 status installed libc6:amd64"),
              Expected(kNoon, "status installed libc6:amd64"));
}

TEST(TimeStamp, IsoFormWithT) {
    EXPECT_EQ(Read("2026-11-21T12:00:00 up"), Expected(kNoon, "up"));
}

TEST(TimeStamp, FractionsAreCutOff) {
    EXPECT_EQ(Read("2026-11-21T12:00:00.999999 up"), Expected(kNoon, "up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00,123 up"), Expected(kNoon, "up"));
    EXPECT_EQ(Read("Nov 21 12:00:00.5 up"), Expected(kNoon, "up"));
}

TEST(TimeStamp, APointWithoutDigitsBelongsToTheText) {
    EXPECT_EQ(Read("2026-11-21 12:00:00. Up"), Expected(kNoon, ". Up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00, up"), Expected(kNoon, ", up"));
}

TEST(TimeStamp, ZonesLeadToUtc) {
    EXPECT_EQ(Read("2026-11-21T12:00:00Z up"), Expected(kNoon, "up"));
    EXPECT_EQ(Read("2026-11-21T12:00:00+01:00 up"), Expected(kNoon - 3600, "up"));
    EXPECT_EQ(Read("2026-11-21T12:00:00+0130 up"), Expected(kNoon - 5400, "up"));
    EXPECT_EQ(Read("2026-11-21T12:00:00-08 up"), Expected(kNoon + 8 * 3600, "up"));
    EXPECT_EQ(Read("2026-11-21T12:00:00.250-00:30 up"), Expected(kNoon + 1800, "up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00 +0200 up"), Expected(kNoon - 7200, "up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00 -02:00"), Expected(kNoon + 7200, ""));
}

TEST(TimeStamp, ANumberBehindABlankIsNoZone) {
    EXPECT_EQ(Read("2026-11-21 12:00:00 -12 degrees"), Expected(kNoon, "-12 degrees"));
    EXPECT_EQ(Read("2026-11-21 12:00:00 +5"), Expected(kNoon, "+5"));
    EXPECT_EQ(Read("2026-11-21 12:00:00 +02000 up"), Expected(kNoon, "+02000 up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00 +2460 up"), Expected(kNoon, "+2460 up"));
}

TEST(TimeStamp, SyslogForm) {
    EXPECT_EQ(Read("Nov 21 12:00:00 host kernel: up"), Expected(kNoon, "host kernel: up"));
    EXPECT_EQ(Read("Nov  1 12:00:00 x"), Expected(Utc(2026, 11, 1, 12, 0, 0), "x"));
    EXPECT_EQ(Read("Nov 1 12:00:00 x"), Expected(Utc(2026, 11, 1, 12, 0, 0), "x"));
    EXPECT_EQ(Read("Nov 01 12:00:00 x"), Expected(Utc(2026, 11, 1, 12, 0, 0), "x"));
}

TEST(TimeStamp, EveryMonthOfSyslog) {
    const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 1; month <= 12; ++month) {
        EXPECT_EQ(Read(std::string(months[month - 1]) + " 15 01:02:03 x"),
                  Expected(Utc(2026, month, 15, 1, 2, 3), "x"));
    }
}

TEST(TimeStamp, BlanksBehindAreTakenToo) {
    EXPECT_EQ(Read("2026-11-21 12:00:00 \t  up"), Expected(kNoon, "up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00"), Expected(kNoon, ""));
    EXPECT_EQ(Read("2026-11-21 12:00:00\r"), Expected(kNoon, "\r"));
}

TEST(TimeStamp, APunctuationMarkEndsIt) {
    EXPECT_EQ(Read("2026-11-21 12:00:00: up"), Expected(kNoon, ": up"));
    EXPECT_EQ(Read("2026-11-21 12:00:00[7] up"), Expected(kNoon, "[7] up"));
}

TEST(TimeStamp, PartOfAWordIsNone) {
    EXPECT_EQ(Read("2026-11-21 12:00:00up"), "none");
    EXPECT_EQ(Read("2026-11-21 12:00:000"), "none");
    EXPECT_EQ(Read("2026-11-21T12:00:00Zebra"), "none");
    EXPECT_EQ(Read("Nov 21 12:00:00_x"), "none");
    EXPECT_EQ(Read("November 21 12:00:00 x"), "none");
}

TEST(TimeStamp, OnlyAtTheVeryStart) {
    EXPECT_EQ(Read(" 2026-11-21 12:00:00 up"), "none");
    EXPECT_EQ(Read("[2026-11-21 12:00:00] up"), "none");
}

TEST(TimeStamp, TextsThatAreNone) {
    for (const char *line : {"",
                             " ",
                             "up",
                             "2026",
                             "2026-11-21",
                             "2026-11-21 ",
                             "2026-11-21 12:00",
                             "2026-11-21x12:00:00 a",
                             "2026/11/21 12:00:00 a",
                             "2026-1-21 12:00:00 a",
                             "26-11-21 12:00:00 a",
                             "2026-11-21 1:00:00 a",
                             "2026-11-21 12-00-00 a",
                             "Nov",
                             "Nov 21",
                             "Nov 21 12:00",
                             "nov 21 12:00:00 a",
                             "Nov   1 12:00:00 a",
                             "Nov21 12:00:00 a",
                             "Nox 21 12:00:00 a",
                             "12:00:00 a",
                             "1764028800 a"}) {
        EXPECT_EQ(Read(line), "none") << line;
    }
}

TEST(TimeStamp, NoSuchTimeIsNone) {
    for (const char *line :
         {"2026-00-21 12:00:00 a", "2026-13-21 12:00:00 a", "2026-11-00 12:00:00 a",
          "2026-11-31 12:00:00 a", "2026-02-29 12:00:00 a", "2100-02-29 12:00:00 a",
          "2026-11-21 24:00:00 a", "2026-11-21 12:60:00 a", "2026-11-21 12:00:61 a",
          "Nov 31 12:00:00 a", "Nov 0 12:00:00 a", "Nov 00 12:00:00 a", "Feb 30 12:00:00 a",
          "Nov 21 24:00:00 a"}) {
        EXPECT_EQ(Read(line), "none") << line;
    }
}

TEST(TimeStamp, LeapDaysAndLeapSeconds) {
    EXPECT_EQ(Read("2024-02-29 12:00:00 a"), Expected(Utc(2024, 2, 29, 12, 0, 0), "a"));
    EXPECT_EQ(Read("2000-02-29 12:00:00 a"), Expected(Utc(2000, 2, 29, 12, 0, 0), "a"));
    EXPECT_EQ(Read("2016-12-31 23:59:60 a"), Expected(Utc(2017, 1, 1, 0, 0, 0), "a"));
}

TEST(TimeStamp, TheRangeOf32BitSeconds) {
    EXPECT_EQ(Read("1970-01-01 00:00:00 a"), Expected(0, "a"));
    EXPECT_EQ(Read("2105-12-31 23:59:59 a"), Expected(Utc(2105, 12, 31, 23, 59, 59), "a"));
    EXPECT_EQ(Read("1969-12-31 23:59:59 a"), "none");
    EXPECT_EQ(Read("2106-01-01 00:00:00 a"), "none");
    EXPECT_EQ(Read("9999-12-31 23:59:59 a"), "none");
    // The zone leads out of the range.
    EXPECT_EQ(Read("1970-01-01T00:59:59+01:00 a"), "none");
    EXPECT_EQ(Read("1970-01-01T01:00:00+01:00 a"), Expected(0, "a"));
}

TEST(TimeStamp, ALeapDayOfAYearWithoutOneIsTheNextDay) {
    EXPECT_EQ(Read("Feb 29 12:00:00 a"), Expected(Utc(2026, 3, 1, 12, 0, 0), "a"));
}

TEST(TimeStamp, TheYearGoesOnAtNewYear) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "Dec 31 23:59:59 a"), Expected(Utc(2026, 12, 31, 23, 59, 59), "a"));
    EXPECT_EQ(ReadWith(reader, "Jan  1 00:00:00 a"), Expected(Utc(2027, 1, 1, 0, 0, 0), "a"));
    EXPECT_EQ(ReadWith(reader, "Feb  1 00:00:00 a"), Expected(Utc(2027, 2, 1, 0, 0, 0), "a"));
}

TEST(TimeStamp, ALateLineOfTheOldYearStaysThere) {
    StampReader reader = StampReader::FromYear(2027);
    EXPECT_EQ(ReadWith(reader, "Jan  1 00:00:00 a"), Expected(Utc(2027, 1, 1, 0, 0, 0), "a"));
    EXPECT_EQ(ReadWith(reader, "Dec 31 23:59:59 a"), Expected(Utc(2026, 12, 31, 23, 59, 59), "a"));
}

TEST(TimeStamp, AStampWithAYearTellsTheYearOfTheNext) {
    StampReader reader = StampReader::FromYear(1999);
    EXPECT_EQ(ReadWith(reader, "2026-11-21 12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(kNoon, "a"));
}

TEST(TimeStamp, ALineThatIsNoStampDoesNotMoveTheYear) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "Jan  1 12:00:00x"), "none");
    EXPECT_EQ(ReadWith(reader, "Dec 31 12:00:00 a"), Expected(Utc(2026, 12, 31, 12, 0, 0), "a"));
}

TEST(TimeStamp, TheFirstYearIsTheLatestThatIsNotInTheFuture) {
    StampReader thisYear = StampReader::Before(kNoon);
    EXPECT_EQ(ReadWith(thisYear, "Nov 21 11:59:59 a"), Expected(kNoon - 1, "a"));
    StampReader lastYear = StampReader::Before(kNoon);
    EXPECT_EQ(ReadWith(lastYear, "Dec 24 12:00:00 a"), Expected(Utc(2025, 12, 24, 12, 0, 0), "a"));
    // A zone may put a stamp a few hours ahead.
    StampReader ahead = StampReader::Before(kNoon);
    EXPECT_EQ(ReadWith(ahead, "Nov 22 12:00:00 a"), Expected(kNoon + 86400, "a"));
    StampReader tooFarAhead = StampReader::Before(kNoon);
    EXPECT_EQ(ReadWith(tooFarAhead, "Nov 22 12:00:01 a"),
              Expected(Utc(2025, 11, 22, 12, 0, 1), "a"));
}

TEST(TimeStamp, RandomTimesRoundTrip) {
    std::mt19937_64 random(dxrtest::Seed());
    std::uniform_int_distribution<uint32_t> anySec(0, Utc(2105, 12, 31, 23, 59, 59));
    for (int i = 0; i < 20000; ++i) {
        const uint32_t sec = anySec(random);
        const std::time_t time = sec;
        std::tm broken{};
        gmtime_r(&time, &broken);
        char text[32];
        ASSERT_EQ(std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &broken), 19U);
        ASSERT_EQ(FormatTime(sec), text);
        ASSERT_EQ(Read(std::string(text) + " x"), Expected(sec, "x"));
    }
}

// Whatever a line holds, nothing is read outside it and the stamp lies within it.
TEST(TimeStamp, RandomLinesAreHarmless) {
    std::mt19937_64 random(dxrtest::Seed());
    const std::string stamp = "2026-11-21T12:00:00.25+01:00 Nov 21 12:00:00";
    std::uniform_int_distribution<size_t> position(0, stamp.size() - 1);
    std::uniform_int_distribution<int> anyByte(0, 255);
    StampReader reader = StampReader::FromYear(2026);
    for (int i = 0; i < 20000; ++i) {
        const size_t from = position(random);
        std::string line = stamp.substr(from, position(random));
        if (!line.empty()) {
            line[position(random) % line.size()] = static_cast<char>(anyByte(random));
        }
        const auto found = reader.Read(line);
        ASSERT_TRUE(!found || found->length <= line.size());
    }
}

TEST(FormatTime, PadsWithZeros) {
    EXPECT_EQ(FormatTime(0), "1970-01-01 00:00:00");
    EXPECT_EQ(FormatTime(Utc(2026, 3, 4, 5, 6, 7)), "2026-03-04 05:06:07");
    EXPECT_EQ(FormatTime(0xFFFFFFFF), "2106-02-07 06:28:15");
}

}  // namespace
