// dxrsh privatelog as a user runs it, with a directory of the test's own in the place of /opt.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::Outcome;
using Words = std::vector<std::string>;

class DxrshPrivateLog : public testing::Test {
  protected:
    DxrshPrivateLog() { std::filesystem::create_directories(opt.Path("lomk2/var/log")); }

    [[nodiscard]] Outcome Run(Words words, const std::string &input = {}) const {
        words.insert(words.begin(), "privatelog");
        return dxrtest::RunDxrshWithOpt(opt.Path(), words, input);
    }

    void ExpectPrints(const Words &words, const std::string &expected,
                      const std::string &input = {}) const {
        const Outcome outcome = Run(words, input);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, expected);
        EXPECT_EQ(outcome.err, "");
    }

    void ExpectFails(const Words &words, int status, const std::string &complaint,
                     const std::string &input = {}) const {
        const Outcome outcome = Run(words, input);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "dxrsh: " + complaint + "\n");
    }

    [[nodiscard]] std::string Log(const std::string &name) const {
        return opt.Read("lomk2/var/log/" + name);
    }

    dxrtest::TemporaryDirectory opt;
};

TEST_F(DxrshPrivateLog, WritesAppendsAndReads) {
    ExpectPrints({"write", "tm.log"}, "tm.log: 8 bytes added, 8 in all\n", "one\ntwo\n");
    ExpectPrints({"write", "tm.log", "-"}, "tm.log: 5 bytes added, 13 in all\n", "three");
    EXPECT_EQ(Log("tm.log"), "one\ntwo\nthree");
    ExpectPrints({"read", "tm.log"}, "one\ntwo\nthree");
    ExpectPrints({"length", "tm.log"}, "13\n");
}

TEST_F(DxrshPrivateLog, WritesAFile) {
    const dxrtest::TemporaryDirectory directory;
    const std::string text = directory.Write("text", "100%s\n");
    ExpectPrints({"write", "tm.log", text}, "tm.log: 6 bytes added, 6 in all\n");
    EXPECT_EQ(Log("tm.log"), "100%s\n");
}

TEST_F(DxrshPrivateLog, AnEmptyTextCreatesTheLog) {
    ExpectPrints({"write", "tm.log"}, "tm.log: 0 bytes added, 0 in all\n");
    EXPECT_TRUE(std::filesystem::exists(opt.Path("lomk2/var/log/tm.log")));
    ExpectPrints({"read", "tm.log"}, "");
}

TEST_F(DxrshPrivateLog, LongTextsAreWholeInOrder) {
    std::string text;
    while (text.size() < 2'500'000) {
        text += "line " + std::to_string(text.size()) + "\n";
    }
    ExpectPrints({"write", "tm.log"},
                 "tm.log: " + std::to_string(text.size()) + " bytes added, " +
                     std::to_string(text.size()) + " in all\n",
                 text);
    EXPECT_TRUE(Log("tm.log") == text);
    EXPECT_TRUE(Run({"read", "tm.log"}).out == text);
}

TEST_F(DxrshPrivateLog, CutsToTheLatestBytes) {
    std::string text;
    for (int i = 0; i < 10000; ++i) {
        text += static_cast<char>('a' + i % 26);
    }
    opt.Write("lomk2/var/log/tm.log", text);
    ExpectPrints({"cut", "tm.log", "4000"}, "tm.log: 4000 bytes, 10000 before\n");
    EXPECT_EQ(Log("tm.log"), text.substr(6000));
    ExpectPrints({"cut", "tm.log", "04000"}, "tm.log: 4000 bytes, 4000 before\n");
    EXPECT_EQ(Log("tm.log"), text.substr(6000));
    ExpectPrints({"cut", "tm.log", "0"}, "tm.log: 0 bytes, 4000 before\n");
    EXPECT_FALSE(std::filesystem::exists(opt.Path("lomk2/var/log/dxr_log.tmp")));
}

TEST_F(DxrshPrivateLog, AMissingLogIsAFailure) {
    for (const Words &words :
         {Words{"read", "no.log"}, Words{"length", "no.log"}, Words{"cut", "no.log", "5"}}) {
        ExpectFails(words, 1, "there is no log /opt/lomk2/var/log/no.log");
    }
}

TEST_F(DxrshPrivateLog, AMissingDirectoryIsAFailure) {
    std::filesystem::remove(opt.Path("lomk2/var/log"));
    for (const Words &words : {Words{"write", "tm.log"}, Words{"read", "tm.log"},
                               Words{"length", "tm.log"}, Words{"cut", "tm.log", "5"}}) {
        ExpectFails(words, 1, "there is no directory /opt/lomk2/var/log/", "text");
    }
}

TEST_F(DxrshPrivateLog, ALogThatCannotBeWrittenIsAFailure) {
    std::filesystem::create_directory(opt.Path("lomk2/var/log/tm.log"));
    ExpectFails({"write", "tm.log"}, 1, "/opt/lomk2/var/log/tm.log is a directory", "text");
}

TEST_F(DxrshPrivateLog, NamesStayInTheDirectory) {
    ExpectFails({"read", ""}, 2, "NAME: must not be empty");
    for (const std::string name : {".", "..", "../tm.log", "a/b", "/etc/passwd"}) {
        ExpectFails({"read", name}, 2, "'" + name + "' is no name of a log");
    }
}

TEST_F(DxrshPrivateLog, ATextWithANulByteIsRefused) {
    ExpectFails({"write", "tm.log"}, 1, "standard input holds a NUL byte, which ends a text",
                std::string("a\0b", 3));
    EXPECT_FALSE(std::filesystem::exists(opt.Path("lomk2/var/log/tm.log")));
}

TEST_F(DxrshPrivateLog, WrongArgumentsAreRefused) {
    ExpectFails({}, 2, "name a command; 'dxrsh privatelog --help' lists them");
    ExpectFails({"cut", "tm.log"}, 2, "BYTES is required");
    ExpectFails({"cut", "tm.log", "x"}, 2, "BYTES: 'x' is no whole number from 0 to 4294967295");
    ExpectFails({"write"}, 2, "NAME is required");
}

}  // namespace
