// dxrsh trace as a user runs it, on the recording of release 1.0 that the documents show: later
// releases must read it too.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tools/expect_dxrsh.h"
#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::TemporaryDirectory;
using Json = nlohmann::json;

std::string Sample() {
    std::ifstream file(DXRSH_SAMPLE_RECORDING, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Json> Lines(const std::string &text) {
    std::istringstream in(text);
    std::vector<Json> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(Json::parse(line));
    }
    return lines;
}

TEST(DxrshTrace, SampleOfRelease1SaysWhatItSaidThen) {
    const Outcome outcome = RunDxrsh({"trace", "--json", DXRSH_SAMPLE_RECORDING});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.err);
    const std::vector<Json> lines = Lines(outcome.out);
    ASSERT_EQ(6U, lines.size());
    EXPECT_EQ("DXR_WriteReg", lines[0]["function"]);
    EXPECT_EQ(0xC0FFEE, lines[0]["args"]["value"]);
    EXPECT_EQ("eeffc000", lines[1]["out"]["value"]["hex"]);
    EXPECT_EQ("speed", lines[2]["in"]["name"]);
    EXPECT_EQ("3130304700000000", lines[3]["out"]["value"]["hex"]);
    EXPECT_EQ(nullptr, lines[4]["result"]);
    EXPECT_EQ("port 3 is up", lines[5]["in"]["message"]);
    for (const Json &line : lines) {
        EXPECT_TRUE(line.contains("duration_ns"));
    }
}

TEST(DxrshTrace, ChromeFormatIsOneJsonText) {
    const Outcome outcome = RunDxrsh({"trace", "--chrome", DXRSH_SAMPLE_RECORDING});
    EXPECT_EQ(0, outcome.status);
    // The process, its thread, six calls.
    EXPECT_EQ(8U, Json::parse(outcome.out)["traceEvents"].size());
}

TEST(DxrshTrace, WhatACrashLeftIsPrintedAndSaid) {
    const TemporaryDirectory directory;
    const std::string bytes = Sample();
    const std::string cut = directory.Write("cut", bytes.substr(0, bytes.size() - 1));
    const Outcome outcome = RunDxrsh({"trace", "--json", cut});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(6U, Lines(outcome.out).size());
    EXPECT_EQ(0U, outcome.err.find("dxrsh: " + cut + ": has no end after "));
}

TEST(DxrshTrace, DamagedFilesFailAfterWhatIsGood) {
    const TemporaryDirectory directory;
    std::string bytes = Sample();
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    const Outcome outcome = RunDxrsh({"trace", "--json", directory.Write("bad", bytes)});
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ(6U, Lines(outcome.out).size());
    EXPECT_NE(std::string::npos, outcome.err.find(": damaged after "));
}

TEST(DxrshTrace, WrongArgumentsAreRefused) {
    const TemporaryDirectory directory;
    const std::string other = directory.Write("other", "no recording at all, but long enough");
    EXPECT_EQ(2, RunDxrsh({"trace"}).status);
    EXPECT_EQ(2, RunDxrsh({"trace", "--json", "--counts", other}).status);
    ExpectFails({"trace", other}, 2, other + ": is no recording");
    ExpectFails({"trace", other + "x"}, 1, other + "x: No such file or directory");
}

}  // namespace
