// dxrsh simulate and dxrsh msgfilter as a user runs them.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::TemporaryDirectory;
using Words = std::vector<std::string>;

class Messages : public testing::Test {
  protected:
    // Runs "COMMAND ACTION FILE arguments..." on a file with that JSON.
    [[nodiscard]] Outcome Run(const std::string &command, const std::string &action,
                              const std::string &json, const Words &arguments,
                              const std::string &input = {}) const {
        Words words = {command, action, directory.Write("file.json", json)};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunDxrsh(words, input);
    }

    void ExpectRefused(const Outcome &outcome, const std::string &complaint) const {
        EXPECT_EQ(outcome.status, 2) << complaint;
        EXPECT_EQ(outcome.out, "") << complaint;
        EXPECT_EQ(outcome.err, "dxrsh: " + complaint + "\n");
    }

    [[nodiscard]] std::string File() const { return directory.Path("file.json"); }

    TemporaryDirectory directory;
};

// --- simulate

class DxrshSimulate : public Messages {
  protected:
    static constexpr const char *kTable =
        R"({"messages": [{"id": 1, "type": 17, "name": "hello", "lost": 2},
                         {"name": "link state", "type": 18, "id": 2}]})";
    static std::string Listing(unsigned first, unsigned second) {
        return "\n   Simulate ID                Message Name[Type]           Remain Lost Count\n"
               "       1                             hello[ 17]                    " +
               std::to_string(first) +
               "\n"
               "       2                        link state[ 18]                    " +
               std::to_string(second) + "\n";
    }
};

TEST_F(DxrshSimulate, ShowsTheTable) {
    const Outcome outcome = Run("simulate", "show", kTable, {});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, Listing(2, 0));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DxrshSimulate, ShowsAnEmptyTable) {
    EXPECT_EQ(Run("simulate", "show", R"({"messages": []})", {}).out,
              "\n   Simulate ID                Message Name[Type]           Remain Lost Count\n");
}

TEST_F(DxrshSimulate, ShowsLongNamesAndGreatNumbersWhole) {
    const std::string name(255, 'n');
    EXPECT_EQ(Run("simulate", "show",
                  R"({"messages": [{"id": 4294967295, "type": 4294967295, "lost": 4294967295,
                                    "name": ")" +
                      name + "\"}]}",
                  {})
                  .out,
              "\n   Simulate ID                Message Name[Type]           Remain Lost Count\n"
              "     4294967295              " +
                  name + "[4294967295]                  4294967295\n");
}

TEST_F(DxrshSimulate, SetsACount) {
    const Outcome outcome = Run("simulate", "set", kTable, {"2", "7"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "simulate msg[18][link state] lost[7] success, id[2]\n" + Listing(2, 7));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DxrshSimulate, AnUnknownIdentifierIsRefused) {
    ExpectRefused(Run("simulate", "set", kTable, {"3", "7"}),
                  File() + ": there is no message with the id 3");
    ExpectRefused(Run("simulate", "replay", kTable, {"--set", "3=7", "17"}),
                  File() + ": there is no message with the id 3");
}

TEST_F(DxrshSimulate, ReplaysMessages) {
    const Outcome outcome =
        Run("simulate", "replay", kTable, {"17", "17", "0x11", "18", "99", "--set", "2=1"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "        17  dropped  simulate msg[17][hello]lost, remain [1] times\n"
              "        17  dropped  simulate msg[17][hello]lost, remain [0] times\n"
              "      0x11  passed\n"
              "        18  dropped  simulate msg[18][link state]lost, remain [0] times\n"
              "        99  passed\n" +
                  Listing(0, 0));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DxrshSimulate, ReplaysMessagesOfAFileAfterThoseOfTheCommandLine) {
    EXPECT_EQ(Run("simulate", "replay", kTable, {"18", "--from", "-"},
                  "\xef\xbb\xbf"
                  "17\r\n\n  18 \n17")
                  .out,
              "        18  passed\n"
              "        17  dropped  simulate msg[17][hello]lost, remain [1] times\n"
              "        18  passed\n"
              "        17  dropped  simulate msg[17][hello]lost, remain [0] times\n" +
                  Listing(0, 0));
}

TEST_F(DxrshSimulate, TheFirstOfTwoWithOneTypeCounts) {
    EXPECT_EQ(Run("simulate", "replay",
                  R"({"messages": [{"id": 1, "type": 5, "name": "a", "lost": 1},
                                   {"id": 2, "type": 5, "name": "b", "lost": 9}]})",
                  {"5", "5"})
                  .out,
              "         5  dropped  simulate msg[5][a]lost, remain [0] times\n"
              "         5  passed\n"
              "\n   Simulate ID                Message Name[Type]           Remain Lost Count\n"
              "       1                                 a[  5]                    0\n"
              "       2                                 b[  5]                    9\n");
}

TEST_F(DxrshSimulate, WrongTablesAreRefused) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[]", "must be an object"},
        {"{}", "'messages' is missing"},
        {R"({"messages": 1})", "'messages' must be a list"},
        {R"({"messages": [1]})", "messages[0]: must be an object"},
        {R"({"messages": [], "extra": 1})", "unknown key 'extra'"},
        {R"({"messages": [{"type": 1, "name": "a"}]})", "messages[0]: 'id' is missing"},
        {R"({"messages": [{"id": 1, "name": "a"}]})", "messages[0]: 'type' is missing"},
        {R"({"messages": [{"id": 1, "type": 1}]})", "messages[0]: 'name' is missing"},
        {R"({"messages": [{"id": 1, "type": 1, "name": 5}]})",
         "messages[0]: 'name' must be a text"},
        {R"({"messages": [{"id": 1, "type": 1, "name": "a", "lost": -1}]})",
         "messages[0]: 'lost' must be a whole number from 0 to 4294967295"},
        {R"({"messages": [{"id": 1, "type": 1, "name": "a", "count": 1}]})",
         "messages[0]: unknown key 'count'"},
    };
    for (const auto &[json, complaint] : cases) {
        ExpectRefused(Run("simulate", "show", json, {}), File() + ": " + complaint);
    }
    const Outcome broken = Run("simulate", "show", "{\"messages\": [", {});
    EXPECT_EQ(broken.status, 2);
    EXPECT_EQ(broken.err.find("dxrsh: " + File() + ": parse error at line 1, column 15: "), 0U)
        << broken.err;
    EXPECT_EQ(dxrtest::SplitLines(broken.err).size(), 1U);
}

TEST_F(DxrshSimulate, WrongArgumentsAreRefused) {
    ExpectRefused(Run("simulate", "replay", kTable, {"x"}),
                  "message type: 'x' is no whole number from 0 to 4294967295");
    ExpectRefused(Run("simulate", "replay", kTable, {"--set", "1"}), "--set: '1' needs one =");
    ExpectRefused(Run("simulate", "replay", kTable, {"--set", "1=2=3"}),
                  "--set: '1=2=3' needs one =");
    ExpectRefused(Run("simulate", "replay", kTable, {"--set", "1=x"}),
                  "--set: 'x' is no whole number from 0 to 4294967295");
    ExpectRefused(Run("simulate", "replay", kTable, {"--set", "x=1"}),
                  "--set: 'x' is no whole number from 0 to 4294967295");
    ExpectRefused(Run("simulate", "set", kTable, {"1"}), "COUNT is required");
    ExpectRefused(Run("simulate", "set", kTable, {"1", "4294967296"}),
                  "COUNT: '4294967296' is no whole number from 0 to 4294967295");
    ExpectRefused(RunDxrsh({"simulate"}), "name a command; 'dxrsh simulate --help' lists them");
    ExpectRefused(RunDxrsh({"simulate", "show"}), "TABLE is required");
}

TEST_F(DxrshSimulate, MissingFilesAreFailures) {
    for (const Words &words : {Words{"simulate", "show", "/nonexistent/f"},
                               Words{"msgfilter", "show", "/nonexistent/f"}}) {
        const Outcome outcome = RunDxrsh(words);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/f: No such file or directory\n");
    }
    const Outcome outcome = Run("simulate", "replay", kTable, {"--from", "/nonexistent/f"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/f: No such file or directory\n");
}

// --- msgfilter

class DxrshMsgFilter : public Messages {
  protected:
    static constexpr const char *kTree =
        R"({"filters": [{"type": 1, "name": "link", "filters": [
                            {"type": 10, "name": "up", "lost": 1},
                            {"type": 11, "name": "down", "filters": []}]},
                        {"type": 2, "name": "queue", "lost": 3}]})";
    static std::string Listing(unsigned up, unsigned down, unsigned queue) {
        return "    msgType[1], lostCnt[0], name[link]\n"
               "        msgType[10], lostCnt[" +
               std::to_string(up) +
               "], name[up]\n"
               "        msgType[11], lostCnt[" +
               std::to_string(down) +
               "], name[down]\n"
               "    msgType[2], lostCnt[" +
               std::to_string(queue) + "], name[queue]\n";
    }
};

TEST_F(DxrshMsgFilter, ShowsTheTree) {
    const Outcome outcome = Run("msgfilter", "show", kTree, {});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, Listing(1, 0, 3));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DxrshMsgFilter, ShowsAnEmptyTree) {
    const Outcome outcome = Run("msgfilter", "show", R"({"filters": []})", {});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(DxrshMsgFilter, SetsACount) {
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"1/11", "4"}).out, Listing(1, 4, 3));
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"0x2", "0"}).out, Listing(1, 0, 0));
    // The root, for messages without a type, is shown while it has a count.
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"/", "7"}).out,
              "msgType[0], lostCnt[7], name[root]\n" + Listing(1, 0, 3));
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"/", "0"}).out, Listing(1, 0, 3));
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"/", "7", "--json"})
                  .out.find(R"({"filters":[{"path":"/","name":"root","lost":7},{"path":"1",)"),
              0U);
    // A leaf takes every path that goes on after it.
    EXPECT_EQ(Run("msgfilter", "set", kTree, {"2/9/9", "5"}).out, Listing(1, 0, 5));
}

TEST_F(DxrshMsgFilter, ReplaysMessages) {
    const Outcome outcome = Run("msgfilter", "replay", kTree,
                                {"1/10", "1/10", "1", "3", "2/7", "/", "--set", "/=2"}, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "            1/10  dropped\n"
              "            1/10  passed\n"
              "               1  passed\n"
              "               3  passed\n"
              "             2/7  dropped\n"
              "               /  dropped\n"
              "\n"
              "msgType[0], lostCnt[1], name[root]\n" +
                  Listing(0, 0, 2));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DxrshMsgFilter, ReplaysMessagesOfAFile) {
    const std::string messages = directory.Write("messages", "2\n1/11\n");
    EXPECT_EQ(
        Run("msgfilter", "replay", kTree, {"--set", "1/11=1", "--set", "2=0", "--from", messages})
            .out,
        "               2  passed\n"
        "            1/11  dropped\n"
        "\n" +
            Listing(1, 0, 0));
}

// A tree with one node on each of `depth` levels; the last may lose one message.
std::string Chain(unsigned depth) {
    std::string json = R"({"type": 1, "name": "leaf", "lost": 1})";
    for (unsigned i = 1; i < depth; ++i) {
        json = R"({"type": 1, "name": "inner", "filters": [)" + json + "]}";
    }
    return R"({"filters": [)" + json + "]}";
}

TEST_F(DxrshMsgFilter, SixteenLevelsAndNoMore) {
    std::string path = "1";
    for (int i = 1; i < 16; ++i) {
        path += "/1";
    }
    const Outcome outcome = Run("msgfilter", "replay", Chain(16), {path});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find(path + "  dropped\n"), 0U) << outcome.out;
    ExpectRefused(Run("msgfilter", "show", Chain(17), {}),
                  File() + ": the tree has more than 16 levels");
    ExpectRefused(Run("msgfilter", "replay", Chain(1), {path + "/1"}),
                  "path '" + path + "/1' has more than 16 levels");
}

TEST_F(DxrshMsgFilter, WrongTreesAreRefused) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"filter": []})", "'filters' is missing"},
        {R"({"filters": [{"name": "a"}]})", "filters[0]: 'type' is missing"},
        {R"({"filters": [{"type": 1}]})", "filters[0]: 'name' is missing"},
        {R"({"filters": [{"type": 1, "name": "a", "filters": {}}]})",
         "filters[0]: 'filters' must be a list"},
        {R"({"filters": [{"type": 1, "name": "a", "filters": [{"type": "x", "name": "b"}]}]})",
         "filters[0]: filters[0]: 'type' must be a whole number from 0 to 4294967295"},
        {R"({"filters": [{"type": 1, "name": "abcdefghijklmnopqrstuvwxyz012345"}]})",
         "filters[0]: 'name' must have at most 31 bytes"},
        {R"({"filters": [{"type": 1, "name": "a", "lost": 4294967296}]})",
         "filters[0]: 'lost' must be a whole number from 0 to 4294967295"},
        {R"({"filters": [{"type": 1, "name": "a", "id": 1}]})", "filters[0]: unknown key 'id'"},
    };
    for (const auto &[json, complaint] : cases) {
        ExpectRefused(Run("msgfilter", "show", json, {}), File() + ": " + complaint);
    }
}

TEST_F(DxrshMsgFilter, WrongArgumentsAreRefused) {
    ExpectRefused(Run("msgfilter", "set", kTree, {"3", "1"}), "the tree has no node at '3'");
    ExpectRefused(Run("msgfilter", "set", kTree, {"1/x", "1"}),
                  "path '1/x': 'x' is no whole number from 0 to 4294967295");
    ExpectRefused(Run("msgfilter", "set", kTree, {"1//2", "1"}),
                  "path '1//2': '' is no whole number from 0 to 4294967295");
    ExpectRefused(Run("msgfilter", "replay", kTree, {"", "1"}), "PATH: must not be empty");
    ExpectRefused(Run("msgfilter", "replay", kTree, {"--set", "1/10"}),
                  "--set: '1/10' needs one =");
    ExpectRefused(RunDxrsh({"msgfilter"}), "name a command; 'dxrsh msgfilter --help' lists them");
}

}  // namespace
