#include "time_stamp.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <initializer_list>
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

// --- The head of the last stamp is remembered: the second of two lines means the same alone.

TEST(RememberedStamp, ARepeatedHeadIsReadWithItsOwnFractionAndZone) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00Z a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00.25+01:00 a"), Expected(kNoon - 3600, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00,999 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00-08\t\ta"), Expected(kNoon + 8 * 3600, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00"), Expected(kNoon, ""));
}

TEST(RememberedStamp, ARepeatedHeadNeedNotBeAStamp) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:001 a"), "none");
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00Zebra"), "none");
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00a"), "none");
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(kNoon, "a"));
}

TEST(RememberedStamp, TheZoneOfARepeatedHeadMayLeadOutOfTheRange) {
    StampReader reader = StampReader::FromYear(1970);
    EXPECT_EQ(ReadWith(reader, "1970-01-01T00:30:00Z a"), Expected(1800, "a"));
    EXPECT_EQ(ReadWith(reader, "1970-01-01T00:30:00+01:00 a"), "none");
    EXPECT_EQ(ReadWith(reader, "1970-01-01T00:30:00-01:00 a"), Expected(5400, "a"));
}

TEST(RememberedStamp, OneCharacterMoreOrLessIsAnotherHead) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "2026-11-21 12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21 12:00:01 a"), Expected(kNoon + 1, "a"));
    EXPECT_EQ(ReadWith(reader, "2026-11-21 12:00:0"), "none");
    EXPECT_EQ(ReadWith(reader, "2026-11-21T12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "1026-11-21T12:00:00 a"), "none");
    EXPECT_EQ(ReadWith(reader, "Nov 1 12:00:00 a"), Expected(Utc(2026, 11, 1, 12, 0, 0), "a"));
    EXPECT_EQ(ReadWith(reader, "Nov 11 12:00:00 a"), Expected(Utc(2026, 11, 11, 12, 0, 0), "a"));
}

TEST(RememberedStamp, AStampHasNoZoneWithoutItsYear) {
    StampReader reader = StampReader::FromYear(2026);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 +0100 a"), Expected(kNoon, "+0100 a"));
        EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00Z a"), "none");
    }
}

TEST(RememberedStamp, AYearInBetweenMovesTheStampsWithoutOne) {
    StampReader reader = StampReader::FromYear(2026);
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(kNoon, "a"));
    EXPECT_EQ(ReadWith(reader, "2030-11-21 12:00:00 a"),
              Expected(Utc(2030, 11, 21, 12, 0, 0), "a"));
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(Utc(2030, 11, 21, 12, 0, 0), "a"));
    // A line that is none in between moves nothing.
    EXPECT_EQ(ReadWith(reader, "2040-11-21 12:00:00x"), "none");
    EXPECT_EQ(ReadWith(reader, "Nov 21 12:00:00 a"), Expected(Utc(2030, 11, 21, 12, 0, 0), "a"));
}

TEST(RememberedStamp, RepeatsAtTheTurnOfTheYearStay) {
    StampReader reader = StampReader::FromYear(2026);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadWith(reader, "Dec 31 23:59:60 a"), Expected(Utc(2027, 1, 1, 0, 0, 0), "a"));
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadWith(reader, "Feb 29 00:00:00 a"), Expected(Utc(2027, 3, 1, 0, 0, 0), "a"));
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadWith(reader, "Dec 31 00:00:00 a"), Expected(Utc(2026, 12, 31, 0, 0, 0), "a"));
        EXPECT_EQ(ReadWith(reader, "Jan  1 00:00:00 a"), Expected(Utc(2027, 1, 1, 0, 0, 0), "a"));
    }
}

// Lines of few pieces, whose heads often repeat, broken off or spoilt now and then.
class RandomStamps {
  public:
    std::string Line() {
        if (Below(2) == 0) {
            head_ = Below(3) == 0 ? Syslog() : Iso();
        }
        std::string line = head_;
        line += OneOf({"", "", ".5", ".250", ",123", ".", ".x"});
        line += OneOf({"", "", "Z", "+01:00", "-08", " +0200", " -12", " +2460", "+1"});
        line += OneOf({" a", " a", "", ": a", " \t a", "a", "7", "_", "\r"});
        if (Below(20) == 0) {
            line.resize(Below(line.size() + 1));
        }
        if (!line.empty() && Below(20) == 0) {
            line[Below(line.size())] = OneOf({"0", "1", "2", " ", ":", "x", "T"})[0];
        }
        return line;
    }
    size_t Below(size_t bound) { return random_() % bound; }

  private:
    using Choice = std::initializer_list<const char *>;

    std::string OneOf(Choice choice) { return choice.begin()[Below(choice.size())]; }
    std::string Iso() {
        return OneOf({"1970", "2023", "2024", "2025", "2105"}) +
               OneOf({"-01-01", "-02-29", "-03-01", "-12-31", "-13-01"}) + OneOf({"T", " "}) +
               TimeOfDay();
    }
    std::string Syslog() {
        return OneOf({"Jan 1 ", "Jan  1 ", "Jan 01 ", "Jan 11 ", "Feb 29 ", "Jul  2 ", "Dec 31 ",
                      "Nox  1 "}) +
               TimeOfDay();
    }
    std::string TimeOfDay() {
        return OneOf({"00:00:00", "00:30:00", "23:59:59", "23:59:60", "24:00:00"});
    }

    std::mt19937_64 random_{dxrtest::Seed()};
    std::string head_;
};

// A reader that has read one stamp, of that time, in a form that no line of the test has.
StampReader ReaderAt(uint32_t sec) {
    const std::time_t time = sec;
    std::tm broken{};
    gmtime_r(&time, &broken);
    char stamp[32];
    EXPECT_NE(std::strftime(stamp, sizeof(stamp), "%b  %d %H:%M:%S", &broken), 0U);
    StampReader reader = StampReader::FromYear(broken.tm_year + 1900);
    EXPECT_EQ(ReadWith(reader, stamp), Expected(sec, ""));
    return reader;
}

TEST(RememberedStamp, RandomLinesAreReadAsAfresh) {
    RandomStamps stamps;
    int repeats = 0;
    for (int log = 0; log < 200; ++log) {
        StampReader reader = StampReader::FromYear(2024);
        StampReader fresh = StampReader::FromYear(2024);
        std::string line;
        for (int i = 0; i < 200; ++i) {
            const std::string before = line;
            line = stamps.Line();
            repeats += line.substr(0, 15) == before.substr(0, 15) ? 1 : 0;
            const auto expected = fresh.Read(line);
            const auto found = reader.Read(line);
            ASSERT_EQ(found.has_value(), expected.has_value()) << before << "\n" << line;
            if (found) {
                ASSERT_EQ(found->sec, expected->sec) << before << "\n" << line;
                ASSERT_EQ(found->length, expected->length) << before << "\n" << line;
                fresh = ReaderAt(found->sec);
            }
        }
    }
    EXPECT_GT(repeats, 10000);
}

TEST(FormatTime, PadsWithZeros) {
    EXPECT_EQ(FormatTime(0), "1970-01-01 00:00:00");
    EXPECT_EQ(FormatTime(Utc(2026, 3, 4, 5, 6, 7)), "2026-03-04 05:06:07");
    EXPECT_EQ(FormatTime(0xFFFFFFFF), "2106-02-07 06:28:15");
}

}  // namespace
