// dxrsh itself, and its commands without an input.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/sanitizers.h"
#include "tools/run_dxrsh.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::SplitLines;

TEST(Dxrsh, TellsItsVersion) {
    const Outcome outcome = RunDxrsh({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "dxrsh " DXRSH_EXPECTED_VERSION "\n");
    EXPECT_EQ(outcome.err, "");
}

const std::vector<std::string> kCommands = {
    "filter", "record", "fault", "privatelog", "simulate", "msgfilter", "bin",
    "latest", "crc",    "links", "db",         "slots",    "run",       "chassis",
    "shell",  "attach", "trace", "replay",     "diff",     "bench",     "help"};

TEST(Dxrsh, HelpNamesEveryCommand) {
    const Outcome outcome = RunDxrsh({"--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> named;
    for (const std::string &line : SplitLines(outcome.out)) {
        if (line.substr(0, 2) == "  " && line[2] >= 'a' && line[2] <= 'z') {
            named.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    EXPECT_EQ(named, kCommands);
}

TEST(Dxrsh, EveryCommandHasHelpThatFitsATerminal) {
    for (const std::string &command : kCommands) {
        const Outcome outcome = RunDxrsh({command, "--help"});
        EXPECT_EQ(outcome.status, 0) << command;
        EXPECT_NE(outcome.out.find("Usage: dxrsh " + command), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "") << command;
        for (const std::string &line : SplitLines(outcome.out)) {
            EXPECT_LE(line.size(), 110U) << line;
        }
    }
}

TEST(Dxrsh, WithoutACommandItSaysSo) {
    const Outcome outcome = RunDxrsh({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "dxrsh: name a command; 'dxrsh --help' lists them\n");
}

TEST(Dxrsh, AnUnknownCommandIsRefused) {
    const Outcome outcome = RunDxrsh({"bogus"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "dxrsh: there is no command 'bogus'; 'dxrsh --help' lists them\n");
}

TEST(DxrshSlots, ListsAll226InOrder) {
    const Outcome outcome = RunDxrsh({"slots"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const std::vector<std::string> lines = SplitLines(outcome.out);
    ASSERT_EQ(lines.size(), 228U) << "a heading, the slots, a sum";
    EXPECT_EQ(lines[0],
              "slot  group       index  function                                   "
              "host    fallback");
    size_t filled = 0;
    for (size_t slot = 0; slot < 226; ++slot) {
        EXPECT_EQ(std::stoul(lines[slot + 1].substr(0, 4)), slot) << lines[slot + 1];
        filled += lines[slot + 1].find(" filled ") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(lines[227], "226 slots, " + std::to_string(filled) + " filled, " +
                              std::to_string(226 - filled) + " empty");
}

TEST(DxrshSlots, RowsTellFunctionHostAndFallback) {
    const std::vector<std::string> lines = SplitLines(RunDxrsh({"slots"}).out);
    for (const std::string row : {
             "   2  Alarm           2  -                                          empty   ",
             " 103  Memory          0  DXR_Free                                   filled  no "
             "result",
             " 104  Memory          1  DXR_Malloc                                 filled  NULL",
             " 144  System          9  DXR_GetBinFolderName                       filled  \".\"",
             " 196  JsonDecode      0  -                                          empty   ",
         }) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), row), 1) << row;
    }
}

TEST(DxrshSlots, OneGroupAlone) {
    const std::vector<std::string> lines = SplitLines(RunDxrsh({"slots", "--group", "Memory"}).out);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[3], "2 slots, 2 filled, 0 empty");
}

TEST(DxrshSlots, AnUnknownGroupIsRefused) {
    const Outcome outcome = RunDxrsh({"slots", "--group", "Nope"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.find("dxrsh: slots: there is no group 'Nope', but "), 0U);
    EXPECT_NE(outcome.err.find(", Memory, "), std::string::npos) << outcome.err;
}

// Within the test's own limit of memory, which its programs inherit.
TEST(Dxrsh, TooLittleMemoryIsOneLineAndExitCode1) {
    if (DXRTEST_MEMORY_IS_SHADOWED) {
        GTEST_SKIP() << "the sanitizer's own memory is beyond every limit";
    }
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const rlimit narrow = {rlim_t{512} << 20U, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &narrow), 0);
    const Outcome outcome =
        RunDxrsh({"filter", "--longest", "4294967295", "/dev/zero"});  // a line without end
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "dxrsh: not enough memory\n");
}

}  // namespace
