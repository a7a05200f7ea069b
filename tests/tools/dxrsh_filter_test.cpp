// dxrsh filter as a user runs it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <ctime>
#include <deque>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/test_host.h"
#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::SplitLines;
using dxrtest::TemporaryDirectory;
using testing::PrintToString;
using Lines = std::vector<std::string>;

Outcome Filter(const std::string &log, Lines options = {}) {
    options.insert(options.begin(), "filter");
    Outcome outcome = RunDxrsh(options, log);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome;
}

std::string Kept(const std::string &log, const Lines &options = {}) {
    return Filter(log, options).out;
}

bool Contains(const std::string &text, const std::string &piece) {
    return text.find(piece) != std::string::npos;
}

TEST(DxrshFilter, SuppressesRepeats) {
    EXPECT_EQ(Kept("a\nb\na\na\nb\nc\n"), "a\nb\nc\n");
}

TEST(DxrshFilter, AnEmptyLogGivesNothing) {
    const Outcome outcome = Filter("");
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Contains(
        outcome.err,
        "lines read            0\n  stamped        0 of 0\nlet through           0    0.0 %\n"))
        << outcome.err;
}

TEST(DxrshFilter, TheWholeReport) {
    const Outcome outcome = Filter(
        "2026-11-21 03:37:00 link 1 down\n"
        "2026-11-21 03:37:01 link 2 down\n"
        "\n"
        "2026-11-21 03:37:02 link 1 down\n"
        "2026-11-21 03:37:03 link 1 down\n"
        "2026-11-21 03:37:04 link 2 down\n");
    EXPECT_EQ(outcome.out, "2026-11-21 03:37:00 link 1 down\n2026-11-21 03:37:01 link 2 down\n\n");
    EXPECT_EQ(
        outcome.err,
        "lines read            6\n"
        "  stamped        5 of 6  ISO 8601\n"
        "let through           3   50.0 %\n"
        "  unasked             1\n"
        "suppressed            3   50.0 %\n"
        "\n"
        "most suppressed\n"
        "         2  link 1 down\n"
        "         1  link 2 down\n"
        "\n"
        "the filter's table, its last 2 of 2 entries\n"
        "logtype[0], curIndex[0], curSize[2], capacity[3] switchState[1]\n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\n"
        "Index | state |       logBeginTime       |  logHashCode  | logCnt \n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\n"
        "  0      CUR    2026-11-21 03:37:00         0x15773617      2\n"
        "  1      CUR    2026-11-21 03:37:01         0x172c0eb6      1\n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\n"
        "\n"
        "memory of the filter\n"
        "  module 9: 2 blocks, 772 bytes live; at most 836 bytes\n"
        "memory after its end\n"
        "  module 9: 0 blocks, 0 bytes live; at most 836 bytes\n");
}

TEST(DxrshFilter, TheStampIsNotCompared) {
    EXPECT_EQ(Kept("2026-11-21 03:37:00 a\n2026-11-21T03:37:01Z a\nNov 21 03:37:02 a\na\n",
                   {"--year", "2026"}),
              "2026-11-21 03:37:00 a\n");
}

TEST(DxrshFilter, TheStampIsTheClock) {
    EXPECT_EQ(Kept("2026-11-21 03:00:00 a\n"
                   "2026-11-21 03:59:59 a\n"
                   "2026-11-21 04:00:00 a\n"
                   "2026-11-21 04:00:01 a\n"),
              "2026-11-21 03:00:00 a\n2026-11-21 04:00:00 a\n");
}

TEST(DxrshFilter, ZonesCount) {
    EXPECT_EQ(Kept("2026-11-21T03:00:00+01:00 a\n2026-11-21T02:59:59Z a\n"),
              "2026-11-21T03:00:00+01:00 a\n");
    EXPECT_EQ(Kept("2026-11-21T03:00:00+01:00 a\n2026-11-21T03:00:00Z a\n"),
              "2026-11-21T03:00:00+01:00 a\n2026-11-21T03:00:00Z a\n");
}

TEST(DxrshFilter, SyslogStampsCrossTheNewYear) {
    EXPECT_EQ(Kept("Dec 31 23:59:59 a\nJan  1 00:00:00 a\nJan  1 00:59:59 a\n", {"--year", "2026"}),
              "Dec 31 23:59:59 a\nJan  1 00:59:59 a\n");
}

TEST(DxrshFilter, ALogWithoutStampsStandsStill) {
    std::string log;
    for (int i = 0; i < 10000; ++i) {
        log += "a\n";
    }
    EXPECT_EQ(Kept(log), "a\n");
}

TEST(DxrshFilter, ALineWithoutStampKeepsTheTime) {
    EXPECT_EQ(
        Kept("2026-11-21 03:00:00 a\nb\n2026-11-21 03:59:59 c\nb\n2026-11-21 04:00:00 d\nb\n"),
        "2026-11-21 03:00:00 a\nb\n2026-11-21 03:59:59 c\n2026-11-21 04:00:00 d\nb\n");
}

TEST(DxrshFilter, LinesBeforeTheFirstStampTakeItsTime) {
    EXPECT_EQ(Kept("a\n2026-11-21 03:00:00 b\na\n2026-11-21 04:00:00 b\na\n"),
              "a\n2026-11-21 03:00:00 b\n2026-11-21 04:00:00 b\na\n");
}

TEST(DxrshFilter, AClockAtTheBeginningOfTimeAgesNothingOut) {
    EXPECT_EQ(Kept("1970-01-01 00:00:00 a\n1970-01-01 00:00:00 a\n1970-01-01 00:59:59 a\n"
                   "1970-01-01 01:00:00 a\n"),
              "1970-01-01 00:00:00 a\n1970-01-01 01:00:00 a\n");
}

TEST(DxrshFilter, AClockPutBackKeepsEntries) {
    EXPECT_EQ(Kept("2026-11-21 03:00:00 a\n2026-11-20 03:00:00 a\n2026-11-21 03:00:01 a\n"),
              "2026-11-21 03:00:00 a\n");
}

TEST(DxrshFilter, TheIntervalLetsThroughAgain) {
    EXPECT_EQ(Kept("2026-11-21 03:00:00 a\n"
                   "2026-11-21 03:00:04 a\n"
                   "2026-11-21 03:00:05 a\n"
                   "2026-11-21 03:00:09 a\n"
                   "2026-11-21 03:00:10 a\n",
                   {"--interval", "5"}),
              "2026-11-21 03:00:00 a\n2026-11-21 03:00:05 a\n2026-11-21 03:00:10 a\n");
}

TEST(DxrshFilter, LinesStayAsTheyStood) {
    const std::string odd("\xff\xfe\x80 \0 mid\x1b[0m\r", 14);
    EXPECT_EQ(Kept(odd + "\n" + odd + "\n\tb\nno line break"), odd + "\n\tb\nno line break");
    EXPECT_EQ(Kept("a\nno line break\nno line break"), "a\nno line break\n");
}

TEST(DxrshFilter, LinesThatDifferBehindANulDiffer) {
    const std::string one("a\0b\n", 4);
    const std::string other("a\0c\n", 4);
    EXPECT_EQ(Kept(one + other + one + "a\n"), one + other + "a\n");
}

TEST(DxrshFilter, EmptyLinesAreLetThroughUnasked) {
    const Outcome outcome = Filter("\n\n2026-11-21 03:00:00\n2026-11-21 03:00:00\n");
    EXPECT_EQ(outcome.out, "\n\n2026-11-21 03:00:00\n2026-11-21 03:00:00\n");
    EXPECT_TRUE(Contains(outcome.err, "unasked             4\n")) << outcome.err;
    EXPECT_FALSE(Contains(outcome.err, "hash")) << outcome.err;
}

TEST(DxrshFilter, LongLinesAreComparedInTheirFirst1023Characters) {
    const std::string first(1023, 'x');
    const std::string shorter(1022, 'x');
    EXPECT_EQ(Kept(first + "one\n" + first + "two\n" + first + "\n" + shorter + "\n"),
              first + "one\n" + shorter + "\n");
    const std::string huge(3'000'000, 'y');
    EXPECT_TRUE(Kept(huge + "\n" + huge + "\n") == huge + "\n") << "printed whole";
}

TEST(DxrshFilter, LogTypesAreApart) {
    EXPECT_TRUE(Contains(Filter("a\n", {"--type", "0"}).err, "logtype[0], "));
    EXPECT_TRUE(Contains(Filter("a\n", {"--type", "28"}).err, "logtype[28], "));
}

TEST(DxrshFilter, TheTableShowsTheLatestEntries) {
    std::string log;
    for (int i = 0; i < 5000; ++i) {
        log += "line " + std::to_string(i) + "\n";
    }
    const std::string report = Filter(log, {"--rows", "2"}).err;
    EXPECT_TRUE(Contains(report, "its last 2 of 2047 entries\n")) << report;
    // 5000 lines in a ring of 2047: the last one stands at position 4999 % 2047.
    EXPECT_TRUE(Contains(report, "\n  904 ")) << report;
    EXPECT_TRUE(Contains(report, "\n  905 ")) << report;
    EXPECT_FALSE(Contains(report, "\n  903 ")) << report;
    EXPECT_FALSE(Contains(report, "\n  906 ")) << report;
    EXPECT_TRUE(Contains(Filter(log, {"--rows", "0"}).err, "its last 0 of 2047 entries\n"));
    const Lines all = SplitLines(Filter(log, {"--rows", "4294967295"}).err);
    EXPECT_GT(all.size(), 2047U);
    EXPECT_LT(all.size(), 2100U);
}

TEST(DxrshFilter, TheTableLeavesOutWhatAgedOut) {
    const std::string report = Filter("2026-11-21 03:00:00 a\n2026-11-21 05:00:00 \n").err;
    EXPECT_TRUE(Contains(report, "its last 0 of 0 entries\n")) << report;
}

// --- Keys

TEST(DxrshFilter, AKeyComparesNumbers) {
    EXPECT_EQ(Kept("port 1 up\nport 1 down\nport 2 up\nhello\nhello\nport 01 gone\n",
                   {"--key", "port ([0-9]+)"}),
              "port 1 up\nport 2 up\nhello\nhello\n");
}

TEST(DxrshFilter, AKeyWithoutGroupsIsTheWholeMatch) {
    EXPECT_EQ(Kept("a 7\nb 7\nb 8\n", {"--key", "[0-9]+"}), "a 7\nb 8\n");
}

TEST(DxrshFilter, TextKeysAreHashed) {
    EXPECT_EQ(Kept("x: link up\ny: link up\nx: link down\n", {"--key", "link (up|down)"}),
              "x: link up\nx: link down\n");
}

TEST(DxrshFilter, FourGroupsMakeOneKey) {
    const Lines key = {"--key", "([0-9]+)/([0-9]+)/([0-9]+)/([0-9]+)"};
    EXPECT_EQ(Kept("1/2/3/4 a\n1/2/3/4 b\n1/2/3/5 c\n2/2/3/4 d\n", key),
              "1/2/3/4 a\n1/2/3/5 c\n2/2/3/4 d\n");
    // The library joins the digits without a mark between them.
    EXPECT_EQ(Kept("1/23/4/0 a\n12/3/4/0 b\n", key), "1/23/4/0 a\n");
}

TEST(DxrshFilter, AGroupWithoutPartIsZero) {
    EXPECT_EQ(Kept("a\na 0\na 5\n", {"--key", "a( ([1-9]))?"}), "a\na 5\n");
}

TEST(DxrshFilter, TheReportOfKeys) {
    const Outcome outcome =
        Filter("port 1 up\nport 1 down\nother\nport 1 gone\n", {"--key", "port ([0-9]+)"});
    EXPECT_TRUE(Contains(outcome.err, "  unasked             1\n")) << outcome.err;
    EXPECT_TRUE(Contains(outcome.err, "\n         2  port 1 down\n")) << outcome.err;
}

TEST(DxrshFilter, ABadKeyIsRefused) {
    const Outcome bad = RunDxrsh({"filter", "--key", "("});
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.out, "");
    EXPECT_EQ(bad.err, "dxrsh: --key: '(' is no regular expression: Unmatched ( or \\(\n");
    for (const std::string option : {"--key=", "--mask="}) {
        const Outcome digits = RunDxrsh({"filter", option + R"(port \d+)"});
        EXPECT_EQ(digits.status, 2);
        EXPECT_EQ(digits.err, "dxrsh: " + option.substr(0, option.size() - 1) +
                                  R"(: 'port \d+' is no regular expression: )"
                                  "\\d is not known; [0-9] is a digit\n");
    }
    EXPECT_TRUE(Contains(RunDxrsh({"filter", R"(--mask=[]:[:alpha:]\t]\\x\t)"}).err,
                         ": \\t is not known\n"));
    for (const char *const known :
         {R"(\\d)", R"([\d])", R"([[:alpha:]\d]\w)", R"([]\d])", R"([^]\d]\.\<)", R"((a)\1\b)"}) {
        const Outcome outcome = Filter("a\n", {std::string("--mask=") + known});
        EXPECT_EQ(outcome.status, 0) << known;
        EXPECT_FALSE(Contains(outcome.err, "is not known")) << known;
    }
    EXPECT_TRUE(Contains(RunDxrsh({"filter", R"(--mask=a\)"}).err, "Trailing backslash\n"));
    const Outcome many = RunDxrsh({"filter", "--key", "(a)(b)(c)(d)(e)"});
    EXPECT_EQ(many.status, 2);
    EXPECT_EQ(many.err, "dxrsh: --key: '(a)(b)(c)(d)(e)' has more than 4 groups\n");
}

// --- Arguments, files, output

TEST(DxrshFilter, ReadsAFileOrStandardInput) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("log", "a\na\nb\n");
    EXPECT_EQ(RunDxrsh({"filter", path}, "unread\n").out, "a\nb\n");
    EXPECT_EQ(RunDxrsh({"filter", "-"}, "a\na\n").out, "a\n");
    EXPECT_EQ(RunDxrsh({"filter"}, "a\na\n").out, "a\n");
}

TEST(DxrshFilter, WrongArgumentsAreOneLineAndExitCode2) {
    const std::vector<std::pair<Lines, std::string>> cases = {
        {{"--type", "29"}, "dxrsh: --type: '29' is no whole number from 0 to 28\n"},
        {{"--type", "029"}, "dxrsh: --type: '029' is no whole number from 0 to 28\n"},
        {{"--type", "x"}, "dxrsh: --type: 'x' is no whole number from 0 to 28\n"},
        {{"--type", "-1"}, "dxrsh: --type: '-1' is no whole number from 0 to 28\n"},
        {{"--interval", "x"}, "dxrsh: --interval: 'x' is no whole number from 0 to 4294967295\n"},
        {{"--interval", ""}, "dxrsh: --interval: '' is no whole number from 0 to 4294967295\n"},
        {{"--rows", "0b1"}, "dxrsh: --rows: '0b1' is no whole number from 0 to 4294967295\n"},
        {{"--year", "1969"}, "dxrsh: --year: '1969' is no whole number from 1970 to 2105\n"},
        {{"--type"}, "dxrsh: --type: N is missing\n"},
        {{"--type", "1", "--type", "2"}, "dxrsh: --type: is given more than once\n"},
        {{"--longest", "0"}, "dxrsh: --longest: '0' is no whole number from 1 to 4294967295\n"},
        {{"--color", "blue"}, "dxrsh: --color: 'blue' is none of auto, always, never\n"},
        {{"--quiet=1"}, "dxrsh: --quiet: takes no value\n"},
        {{"--key", "a", "--mask"},
         "dxrsh: --key and --mask: lines are compared in one way alone\n"},
        {{"--key", ""}, "dxrsh: --key: must not be empty\n"},
        {{"--doubtful", ""}, "dxrsh: --doubtful: must not be empty\n"},
        {{""}, "dxrsh: FILE: must not be empty\n"},
        {{"--histgram"}, "dxrsh: there is no option '--histgram'; did you mean '--histogram'?\n"},
        {{"--bogus"}, "dxrsh: there is no option '--bogus'; 'dxrsh filter --help' lists them\n"},
    };
    for (const auto &[options, message] : cases) {
        Lines arguments = options;
        arguments.insert(arguments.begin(), "filter");
        const Outcome outcome = RunDxrsh(arguments);
        EXPECT_EQ(outcome.status, 2) << PrintToString(options);
        EXPECT_EQ(outcome.out, "") << PrintToString(options);
        EXPECT_EQ(outcome.err, message) << PrintToString(options);
    }
}

TEST(DxrshFilter, DoubtfulLinesGoToAFileOfTheirOwn) {
    const TemporaryDirectory directory;
    const std::string log = directory.Write("log", "a\na\n");
    const std::string isOutput =
        "dxrsh: --doubtful: standard output has the lines that are let through; name another "
        "file\n";
    for (const char *const name : {"-", "/dev/stdout"}) {
        const Outcome outcome = RunDxrsh({"filter", "--doubtful", name, log});
        EXPECT_EQ(outcome.status, 2) << name;
        EXPECT_EQ(outcome.out, "") << name;
        EXPECT_EQ(outcome.err, isOutput) << name;
    }
    const Outcome itself = RunDxrsh({"filter", "--doubtful", log, log});
    EXPECT_EQ(itself.status, 2);
    EXPECT_EQ(itself.err, "dxrsh: --doubtful: " + log + " is a log that is read\n");
    EXPECT_EQ(RunDxrsh({"filter", "--quiet", log}).out, "a\n") << "it is as it was";
    const int output = open(directory.Path("out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(output, 0);
    const Outcome both =
        dxrtest::RunDxrshInto(output, {"filter", "--doubtful", directory.Path("out"), log});
    (void)close(output);
    EXPECT_EQ(both.status, 2);
    EXPECT_EQ(both.err, isOutput);
}

// Some editors begin a file with it.
TEST(DxrshFilter, AMarkOfUtf8IsNoPartOfTheFirstLine) {
    const TemporaryDirectory directory;
    const std::string mark = "\xef\xbb\xbf";
    const std::string log = "2026-11-21T03:37:00 a\n2026-11-21T03:37:01 a\n";
    for (const auto &outcome : {RunDxrsh({"filter", directory.Write("log", mark + log)}),
                                RunDxrsh({"filter"}, mark + log)}) {
        EXPECT_EQ(outcome.out, "2026-11-21T03:37:00 a\n");
        EXPECT_NE(outcome.err.find("stamped        2 of 2"), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(RunDxrsh({"filter", "--quiet"}, mark).out, "");
    EXPECT_EQ(RunDxrsh({"filter", "--quiet"}, mark + mark + "a\n").out, mark + "a\n")
        << "only one of them is a mark";
    EXPECT_EQ(RunDxrsh({"filter", "--quiet"}, mark.substr(0, 2)).out, mark.substr(0, 2));
    EXPECT_EQ(RunDxrsh({"filter", "--quiet"}, "a\n" + mark + "b\n").out, "a\n" + mark + "b\n");
}

TEST(DxrshFilter, AMissingFileIsOneLineAndExitCode1) {
    const Outcome outcome = RunDxrsh({"filter", "/nonexistent/log"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/log: No such file or directory\n");
}

TEST(DxrshFilter, ADirectoryIsOneLineAndExitCode1) {
    const Outcome outcome = RunDxrsh({"filter", "/"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "dxrsh: cannot read /: Is a directory\n");
}

TEST(DxrshFilter, EndsQuietlyWhenTheReaderLeaves) {
    int ends[2] = {};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    const Outcome outcome = dxrtest::RunDxrshInto(ends[1], {"filter"}, "a\nb\n");
    close(ends[1]);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST(DxrshFilter, AFullDeviceIsAFailure) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    const Outcome outcome = dxrtest::RunDxrshInto(full, {"filter"}, "a\n");
    close(full);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "dxrsh: cannot write the output: No space left on device\n");
}

// --- Against a model: texts remembered for an hour, all distinct enough never to fill the ring

TEST(DxrshFilter, RandomLogsAgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    const auto below = [&random](uint64_t bound) { return random() % bound; };
    std::string log;
    std::string expected;
    std::unordered_map<std::string, uint64_t> firstSeen;
    uint64_t sec = 0;  // since 2026-11-21 00:00:00
    for (int i = 0; i < 20000; ++i) {
        sec += below(4);
        const uint64_t day = 21 + sec / 86400;
        const uint64_t inDay = sec % 86400;
        char stamp[64];
        (void)std::snprintf(stamp, sizeof(stamp), "2026-11-%02u %02u:%02u:%02u ",
                            static_cast<unsigned>(day), static_cast<unsigned>(inDay / 3600),
                            static_cast<unsigned>(inDay / 60 % 60),
                            static_cast<unsigned>(inDay % 60));
        const std::string text = "link " + std::to_string(below(500)) + " changed";
        const std::string line = stamp + text + "\n";
        log += line;
        const auto seen = firstSeen.find(text);
        if (seen == firstSeen.end() || sec - seen->second >= 3600) {
            firstSeen[text] = sec;
            expected += line;
        }
    }
    EXPECT_TRUE(Kept(log) == expected);
}

// The same over several blocks of reading, with all that a log may hold: long lines, carriage
// returns and NUL bytes, stamps of all lengths, clocks put back, no line break at the end.
class OddLog {
  public:
    OddLog() {
        for (size_t i = 0; i < 300; ++i) {
            std::string text = "text " + std::to_string(i) + std::string(Below(80), 'x');
            if (i % 7 == 0) {
                text.insert(Below(text.size()), 1, '\0');
            }
            if (i % 30 == 0) {
                text.insert(0, 1023, 'z');  // as far as lines are compared, all one
            }
            texts_.push_back(text + (i % 5 == 0 ? "\r" : ""));
        }
    }

    void AddLines(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const std::string &text = i % 5000 == 0 ? longerThanABlock_ : OneOf(texts_);
            const std::string line =
                (i == 0 || Below(4) != 0 ? Stamp() : "") + text + (i + 1 < count ? "\n" : "");
            written += line;
            if (IsNew(text.substr(0, 1023))) {
                kept += line;
            } else {
                ++suppressed;
            }
        }
    }

    std::string written;
    std::string kept;
    size_t suppressed = 0;

  private:
    size_t Below(size_t bound) { return random_() % bound; }
    const std::string &OneOf(const Lines &choice) { return choice[Below(choice.size())]; }

    std::string Stamp() {
        sec_ += Below(3) == 0 ? static_cast<std::time_t>(Below(12)) : 0;
        sec_ -= Below(500) == 0 ? static_cast<std::time_t>(Below(5000)) : 0;
        std::tm time{};
        gmtime_r(&sec_, &time);
        char text[32];
        const char *const form = Below(2) == 0 ? "%Y-%m-%d %H:%M:%S" : "%Y-%m-%dT%H:%M:%S";
        (void)std::strftime(text, sizeof(text), form, &time);
        return text + OneOf({"", ".25", ",9"}) + OneOf({" ", "Z ", "+00:00\t", "  "});
    }
    bool IsNew(const std::string &text) {
        while (!live_.empty() && live_.front().second + 3600 <= sec_) {
            live_.pop_front();
        }
        for (const auto &[known, since] : live_) {
            if (known == text) {
                return false;
            }
        }
        live_.emplace_back(text, sec_);
        return true;
    }

    std::mt19937_64 random_{dxrtest::Seed()};
    Lines texts_;
    const std::string longerThanABlock_ = std::string(1'200'000, 'y');
    std::time_t sec_ = 1'700'000'000;
    std::deque<std::pair<std::string, std::time_t>> live_;  // oldest first
};

TEST(DxrshFilter, RandomOddLogsAgreeWithAModel) {
    OddLog log;
    log.AddLines(20000);
    const Outcome outcome = Filter(log.written);
    EXPECT_TRUE(outcome.out == log.kept);
    EXPECT_GT(log.suppressed, 10000U);
    const std::string suppressed = " " + std::to_string(log.suppressed) + "  ";
    EXPECT_TRUE(Contains(outcome.err, suppressed)) << outcome.err;
}

}  // namespace
