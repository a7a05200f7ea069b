// dxrsh fault as a user runs it.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tools/run_dxrsh.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using Words = std::vector<std::string>;

constexpr const char *kHeading = "time                 events  before   with it\n";

Outcome Fault(const std::string &events, Words options) {
    options.insert(options.begin(), {"fault", "--quiet"});
    Outcome outcome = RunDxrsh(options, events);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome;
}

TEST(DxrshFault, ABurstWithinTheInterval) {
    EXPECT_EQ(Fault("2026-11-21 03:00:00 a\n"
                    "2026-11-21 03:00:05 a\n"
                    "2026-11-21 03:00:10 a\n"
                    "2026-11-21 03:00:16 a\n"
                    "2026-11-21 03:00:20 a\n",
                    {"--rule", "10,3"})
                  .out,
              std::string(kHeading) +
                  "2026-11-21 03:00:00       1  ok       ok\n"
                  "2026-11-21 03:00:05       2  ok       ok\n"
                  "2026-11-21 03:00:10       3  ok       fault\n"
                  "2026-11-21 03:00:16       4  ok       ok\n"
                  "2026-11-21 03:00:20       5  ok       fault\n");
}

TEST(DxrshFault, SaysWhichStampsWereRecognised) {
    const auto said = [](const std::string &log, Words options) {
        options.insert(options.begin(), {"fault", "--rule", "10,3"});
        return RunDxrsh(options, log).err;
    };
    EXPECT_EQ(said("2026-11-21 03:00:00 a\nb\n", {}), "stamped 1 of 2 lines: ISO 8601\n");
    EXPECT_EQ(said("a\n", {"-"}),
              "dxrsh: no time stamp was recognised: the clock stood still; --stamp FORMAT "
              "tells a form\n");
    EXPECT_EQ(said("a\n", {"--quiet"}), "");
}

TEST(DxrshFault, SilenceIsJudgedBeforeTheEventAndAtTheEnd) {
    EXPECT_EQ(Fault("2026-11-21 03:00:00 a\n2026-11-21 03:00:10 a\n2026-11-21 03:00:21 a\n",
                    {"--rule", "10,0", "--end", "2026-11-21 03:01:00"})
                  .out,
              std::string(kHeading) +
                  "2026-11-21 03:00:00       1  ok       ok\n"
                  "2026-11-21 03:00:10       2  ok       ok\n"
                  "2026-11-21 03:00:21       3  fault    ok\n"
                  "2026-11-21 03:01:00       3  fault\n");
}

TEST(DxrshFault, OfSeveralRulesOneSuffices) {
    EXPECT_EQ(Fault("2026-11-21 03:00:00 a\n2026-11-21 03:00:01 a\n2026-11-21 03:01:00 a\n",
                    {"--rule", "1,2", "--rule", "60,3", "--rule", "0,0"})
                  .out,
              std::string(kHeading) +
                  "2026-11-21 03:00:00       1  ok       ok\n"
                  "2026-11-21 03:00:01       2  ok       fault\n"
                  "2026-11-21 03:01:00       3  ok       fault\n");
}

TEST(DxrshFault, TheTimeoutLooksAtTheUptime) {
    EXPECT_EQ(Fault("2026-11-21 03:00:00 a\n2026-11-21 03:01:00 a\n2026-11-21 03:01:01 a\n",
                    {"--timeout", "60"})
                  .out,
              std::string(kHeading) +
                  "2026-11-21 03:00:00       1  ok       ok\n"
                  "2026-11-21 03:01:00       2  ok       ok\n"
                  "2026-11-21 03:01:01       3  fault    fault\n");
    EXPECT_EQ(Fault("2026-11-21 03:00:00 a\n", {"--timeout", "60", "--uptime", "61"}).out,
              std::string(kHeading) + "2026-11-21 03:00:00       1  ok       fault\n");
}

TEST(DxrshFault, EmptyLinesAreNoEventsAndUnstampedOnesKeepTheTime) {
    EXPECT_EQ(Fault("\n2026-11-21 03:00:00\n\nagain\n", {"--rule", "1,2"}).out,
              std::string(kHeading) +
                  "2026-11-21 03:00:00       1  ok       ok\n"
                  "2026-11-21 03:00:00       2  ok       fault\n");
    EXPECT_EQ(Fault("a\n", {"--rule", "1,1"}).out,
              std::string(kHeading) + "2000-01-01 00:00:00       1  ok       fault\n");
}

TEST(DxrshFault, TheRingLooksBackOver4096Events) {
    std::string events;
    for (int i = 0; i < 4097; ++i) {
        events += "x\n";
    }
    const std::string out = Fault(events, {"--rule", "10,4096"}).out;
    EXPECT_NE(out.find("2000-01-01 00:00:00    4095  ok       ok\n"
                       "2000-01-01 00:00:00    4096  ok       fault\n"
                       "2000-01-01 00:00:00    4096  fault    fault\n"),
              std::string::npos);
}

TEST(DxrshFault, WithoutEventsNothingIsAFault) {
    EXPECT_EQ(Fault("", {"--rule", "10,0", "--end", "2026-11-21T03:00:00Z"}).out,
              std::string(kHeading) + "2026-11-21 03:00:00       0  ok\n");
}

TEST(DxrshFault, WrongArgumentsAreRefused) {
    const std::vector<std::pair<Words, std::string>> cases = {
        {{}, "fault: give a --rule or a --timeout"},
        {{"--rule", "10"}, "--rule: '10' is not of the form SECONDS,EVENTS"},
        {{"--rule", "10,3,4"}, "--rule: '10,3,4' is not of the form SECONDS,EVENTS"},
        {{"--rule", "10,x"}, "--rule: 'x' is no whole number from 0 to 4294967295"},
        {{"--rule", "-1,3"}, "--rule: '-1' is no whole number from 0 to 4294967295"},
        {{"--rule", "10,4294967296"},
         "--rule: '4294967296' is no whole number from 0 to 4294967295"},
        {{"--timeout", "x"}, "--timeout: 'x' is no whole number from 0 to 4294967295"},
        {{"--rule", "1,1", "--end", "soon"},
         "--end: 'soon' is no time such as 2026-11-21T03:37:00"},
        {{"--rule", "1,1", "--end", "2026-11-21T03:37:00 x"},
         "--end: '2026-11-21T03:37:00 x' is no time such as 2026-11-21T03:37:00"},
        {{"--rule", "1,1", "--end", "Nov 21 03:37:00"},
         "--end: 'Nov 21 03:37:00' is no time such as 2026-11-21T03:37:00"},
    };
    for (const auto &[options, complaint] : cases) {
        Words words = options;
        words.insert(words.begin(), "fault");
        const Outcome outcome = RunDxrsh(words, "a\n");
        EXPECT_EQ(outcome.status, 2) << complaint;
        EXPECT_EQ(outcome.out, "") << complaint;
        EXPECT_EQ(outcome.err, "dxrsh: " + complaint + "\n");
    }
}

TEST(DxrshFault, AMissingFileIsAFailure) {
    const Outcome outcome = RunDxrsh({"fault", "--rule", "1,1", "/nonexistent/f"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/f: No such file or directory\n");
}

}  // namespace
