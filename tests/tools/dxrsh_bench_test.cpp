// dxrsh bench as a user runs it. No time is expected to be of any size: machines differ.

#include <gtest/gtest.h>

#include <cstddef>
#include <regex>
#include <string>
#include <vector>

#include "tools/run_dxrsh.h"

namespace {

using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::SplitLines;

const std::vector<std::string> kFunctions = {
    "DXR_ReadReg, slot set",
    "DXR_ReadReg16, slot empty",
    "DXR_SameLogFilter plain repeat, newest of 1",
    "DXR_SameLogFilter plain repeat, random of 2047",
    "DXR_SameLogFilter padded repeat, newest of 1",
    "DXR_SameLogFilter padded repeat, random of 2047",
    "DXR_SameLogFilter plain %f repeat, newest of 100",
    "DXR_SameLogFilter plain new line, ring of 2047",
    "DXR_DiffLogFilter repeat, 2047 live",
    "DXR_SimpleHash, 8 bytes",
    "DXR_SimpleHash, 80 bytes",
    "DXR_SimpleHash, 1000 bytes",
    "DXR_RecordInfo plain repeat, 1 live",
    "DXR_RecordInfo plain repeat, 1024 live",
    "DXR_RecordInfo plain new text, store full",
    "DXR_IsMessageFiltered, depth 4, random path",
    "IncreaseCount and IsSatisfied of a fault rule",
    "DXR_CalculateCrc8, 8 bytes",
    "DXR_CalculateCrc8, 64 bytes",
    "DXR_CalculateCrc8, 1024 bytes",
    "DXR_CalculateCrc8, 65536 bytes",
    "DXR_OrBmp, 4 words",
    "DXR_OrBmp, 1024 words",
    "DXR_CountValidBitOfArray, 1024 words",
    "DXR_IsSameBitMap, 4 words",
    "DXR_IsSameBitMap, 1024 words",
    "DXR_AscendSort, 1000 elements",
};

TEST(DxrshBench, PrintsATableOfPositiveFigures) {
    const Outcome outcome = RunDxrsh({"bench", "--rounds", "1"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const std::vector<std::string> lines = SplitLines(outcome.out);
    ASSERT_EQ(lines.size(), kFunctions.size() + 3) << outcome.out;
    EXPECT_TRUE(std::regex_match(lines[0], std::regex("processor: .*[^ ].*"))) << lines[0];
    EXPECT_EQ(lines[1], "");
    EXPECT_TRUE(
        std::regex_match(lines[2], std::regex("function +library ns +peer ns +ratio  peer")))
        << lines[2];
    const size_t peerColumn = lines[2].rfind("peer");
    const std::regex numbers(R"( +(\d+\.\d) +(\d+\.\d) +(\d+\.\d{3})  )");
    for (size_t i = 0; i < kFunctions.size(); ++i) {
        const std::string &line = lines[i + 3];
        ASSERT_GT(line.size(), peerColumn) << line;
        ASSERT_EQ(line.substr(0, kFunctions[i].size()), kFunctions[i]);
        const std::string rest =
            line.substr(kFunctions[i].size(), peerColumn - kFunctions[i].size());
        std::smatch found;
        ASSERT_TRUE(std::regex_match(rest, found, numbers)) << line;
        for (size_t number = 1; number < found.size(); ++number) {
            EXPECT_GT(std::stod(found[number]), 0.0) << line;
        }
        EXPECT_NE(line[peerColumn], ' ') << "the peers stand below their heading: " << line;
        EXPECT_LE(line.size(), 110U) << line;
    }
}

TEST(DxrshBench, HelpNamesItsOption) {
    const Outcome outcome = RunDxrsh({"bench", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("--rounds N"), std::string::npos) << outcome.out;
}

void ExpectRefused(const std::vector<std::string> &words, const std::string &complaint) {
    const Outcome outcome = RunDxrsh(words);
    EXPECT_EQ(outcome.status, 2) << complaint;
    EXPECT_EQ(outcome.out, "") << complaint;
    EXPECT_EQ(outcome.err, "dxrsh: " + complaint + "\n");
}

TEST(DxrshBench, WhatItDoesNotKnowIsRefused) {
    ExpectRefused({"bench", "--bogus"},
                  "there is no option '--bogus'; 'dxrsh bench --help' lists them");
    ExpectRefused({"bench", "fast"},
                  "'fast' is one word too many; 'dxrsh bench --help' tells what it takes");
}

TEST(DxrshBench, SoAreRoundsBeyondTheirRange) {
    for (const std::string rounds : {"0", "1001", "-1", "x"}) {
        const Outcome outcome = RunDxrsh({"bench", "--rounds", rounds});
        EXPECT_EQ(outcome.status, 2) << rounds;
        EXPECT_EQ(outcome.out, "") << rounds;
        EXPECT_EQ(SplitLines(outcome.err).size(), 1U) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("dxrsh: ", 0), 0U) << outcome.err;
        EXPECT_NE(outcome.err.find("--rounds"), std::string::npos) << outcome.err;
    }
}

}  // namespace
