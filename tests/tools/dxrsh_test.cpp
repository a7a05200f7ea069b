// dxrsh itself, and its commands without an input.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <utility>
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

// Values have names of their own, not those of types of the parser.
TEST(Dxrsh, HelpNamesValuesInWords) {
    std::vector<std::vector<std::string>> all = {{"chassis", "status"}, {"chassis", "shell"},
                                                 {"privatelog", "cut"}, {"simulate", "replay"},
                                                 {"msgfilter", "set"},  {"db", "init"}};
    for (const std::string &command : kCommands) {
        all.push_back({command});
    }
    for (std::vector<std::string> words : all) {
        words.emplace_back("--help");
        const Outcome outcome = RunDxrsh(words);
        for (const std::string &line : SplitLines(outcome.out)) {
            for (const char *const type : {"UINT", " INT", "TEXT:", "{", " in ["}) {
                EXPECT_EQ(line.find(type), std::string::npos) << line;
            }
            const bool isTyped = line.find("--") != std::string::npos &&
                                 line.find(" TEXT ") != std::string::npos &&
                                 line.find("--title TEXT ") == std::string::npos;
            EXPECT_FALSE(isTyped) << line;
        }
    }
    EXPECT_NE(RunDxrsh({"replay", "--help"}).out.find("1 to 1000000"), std::string::npos);
    EXPECT_NE(RunDxrsh({"filter", "--help"}).out.find("1970 to 2105"), std::string::npos);
}

TEST(Dxrsh, RefusalsAreOneLineInItsOwnWords) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--jsn"}, "there is no option '--jsn'; 'dxrsh --help' lists them"},
        {{"slots", "--jsn"}, "there is no option '--jsn'; did you mean '--json'?"},
        {{"slots", "extra"},
         "'extra' is one word too many; 'dxrsh slots --help' tells what it takes"},
        {{"slots", "--group", ""}, "--group: must not be empty"},
        {{"msgfilter"}, "name a command; 'dxrsh msgfilter --help' lists them"},
        {{"msgfilter", "sow"}, "there is no command 'sow'; did you mean 'show'?"},
        {{"chassis", "stats"}, "there is no command 'stats'; did you mean 'status'?"},
        {{"chassis", "status", "--wait", "3601"},
         "--wait: '3601' is no whole number from 0 to 3600"},
        {{"chassis", "status", "--wait"}, "--wait: SECONDS is missing"},
        {{"replay", "--lose", "a"}, "there is no option '--lose'; did you mean '--loose'?"},
        {{"replay", "--patience", "0", "a", "b"},
         "--patience: '0' is no whole number from 1 to 1000000"},
        {{"run", ""}, "MODULE: must not be empty"},
        {{"--json", "slots"}, "the option '--json' belongs after 'dxrsh slots'"},
        {{"--seed=5", "run", "x"}, "the option '--seed' belongs after 'dxrsh run'"},
        {{"--trace", "x", "run", "x"}, "the option '--trace' belongs after 'dxrsh run'"},
        {{"privatelog", "--json", "read", "x"},
         "the option '--json' belongs after 'dxrsh privatelog read'"},
        {{"replay", "calls", "--loose", "x.so"},
         "the option '--loose' belongs right after 'dxrsh replay'"},
        {{"--machine", "a", "chassis", "status"},
         "the option '--machine' belongs after 'dxrsh chassis'"},
        {{"--jsn", "slots"},
         "there is no option '--jsn'; did you mean '--json', after 'dxrsh slots'?"},
        {{"chassis", "--machin", "a", "status"},
         "there is no option '--machin'; did you mean '--machine'?"},
        {{"--bogus", "slots"}, "there is no option '--bogus'; 'dxrsh slots --help' lists them"},
        {{"bench", "--rounds", "1001"}, "--rounds: '1001' is no whole number from 1 to 1000"},
    };
    for (const auto &[words, message] : cases) {
        const Outcome outcome = RunDxrsh(words);
        EXPECT_EQ(outcome.status, 2) << message;
        EXPECT_EQ(outcome.out, "") << message;
        EXPECT_EQ(outcome.err, "dxrsh: " + message + "\n");
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
