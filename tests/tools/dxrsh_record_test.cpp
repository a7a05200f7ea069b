// dxrsh record as a user runs it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/run_dxrsh.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::SplitLines;

std::string Record(const std::string &log, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"record", "--quiet"});
    const Outcome outcome = RunDxrsh(options, log);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

TEST(DxrshRecord, CountsWithFirstAndLastTime) {
    EXPECT_EQ(Record("2026-11-21 03:37:00 link 1 down\n"
                     "2026-11-21 03:37:05 link 2 down\n"
                     "2026-11-21T05:38:00+01:00 link 1 down\n"),
              "   0:   First time:2026/11/21 03:37:00, last time:2026/11/21 04:38:00, count[002], "
              "link 1 down\n"
              "   1:   First time:2026/11/21 03:37:05, last time:2026/11/21 03:37:05, count[001], "
              "link 2 down\n");
}

TEST(DxrshRecord, SaysWhichStampsWereRecognised) {
    const auto said = [](const std::string &log, std::vector<std::string> options) {
        options.insert(options.begin(), "record");
        return RunDxrsh(options, log).err;
    };
    EXPECT_EQ(said("2026-11-21 03:37:00 a\nb\nNov 21 03:37:01 c\n", {}),
              "stamped 2 of 3 lines: ISO 8601 and syslog\n");
    EXPECT_EQ(said("2026-11-21 03:37:00 a\n", {"--json"}), "");
    EXPECT_EQ(said("a\nb\n", {}),
              "dxrsh: no time stamp was recognised: the clock stood still; --stamp FORMAT "
              "tells a form\n");
    EXPECT_EQ(said("a\n", {"--stamp", "none"}), "");
    EXPECT_EQ(said("", {}), "");
}

TEST(DxrshRecord, AnEmptyLogHasNoListing) {
    EXPECT_EQ(Record(""), "");
    EXPECT_EQ(Record("\n\n2026-11-21 03:37:00\n"), "") << "empty lines are no events";
}

TEST(DxrshRecord, ALogWithoutStampsStandsStill) {
    EXPECT_EQ(Record("a\na\n"),
              "   0:   First time:2000/01/01 00:00:00, last time:2000/01/01 00:00:00, count[002], "
              "a\n");
}

TEST(DxrshRecord, SyslogStampsTakeTheGivenYear) {
    EXPECT_EQ(Record("Dec 31 23:59:59 a\nJan  1 00:00:01 a\n", {"--year", "2025"}),
              "   0:   First time:2025/12/31 23:59:59, last time:2026/01/01 00:00:01, count[002], "
              "a\n");
}

TEST(DxrshRecord, LongTextsAreCut) {
    const std::string out = Record(std::string(300, 'x') + "\n" + std::string(400, 'x') + "\n");
    EXPECT_NE(out.find("count[002], " + std::string(252, 'x') + "...\n"), std::string::npos) << out;
    EXPECT_EQ(SplitLines(out).size(), 1U);
}

TEST(DxrshRecord, TextsThatDifferBehindANulDiffer) {
    const std::vector<std::string> rows = SplitLines(Record(std::string("a\0b\na\0c\na\0b\n", 12)));
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_NE(rows[0].find("count[002], a\\x00b"), std::string::npos) << rows[0];
    EXPECT_NE(rows[1].find("count[001], a\\x00c"), std::string::npos) << rows[1];
}

TEST(DxrshRecord, TheLatestOf1025TextsTakesTheOldestPlace) {
    std::string log;
    for (int i = 0; i < 1025; ++i) {
        log += "text " + std::to_string(i) + "\n";
    }
    const std::vector<std::string> lines = SplitLines(Record(log));
    ASSERT_EQ(lines.size(), 1024U);
    EXPECT_EQ(lines[0].substr(0, 8), "   0:   ");
    EXPECT_EQ(lines[0].substr(lines[0].size() - 11), ", text 1024");
    EXPECT_EQ(lines[1].substr(lines[1].size() - 8), ", text 1");
    EXPECT_EQ(lines[1023].substr(lines[1023].size() - 11), ", text 1023");
}

// 1024 entries of the greatest length all fit in the listing.
TEST(DxrshRecord, TheLongestListingIsWhole) {
    std::string log;
    for (int i = 0; i < 1024; ++i) {
        log += std::string(245, 'y') + std::to_string(1000 + i) + "\n";
    }
    log += log;
    const std::vector<std::string> lines = SplitLines(Record(log));
    ASSERT_EQ(lines.size(), 1024U);
    EXPECT_EQ(lines[1023].substr(lines[1023].size() - 5), "y2023");
}

TEST(DxrshRecord, AMissingFileIsAFailure) {
    const Outcome outcome = RunDxrsh({"record", "/nonexistent/f"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/f: No such file or directory\n");
}

}  // namespace
