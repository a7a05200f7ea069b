// dxrsh trace as a user runs it, on the recording of release 1.0 that the documents show: later
// releases must read it too.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
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

TEST(DxrshTrace, CountsAsJson) {
    const Outcome outcome = RunDxrsh({"trace", "--counts", "--json", DXRSH_SAMPLE_RECORDING});
    EXPECT_EQ(0, outcome.status) << outcome.err;
    const std::vector<Json> lines = Lines(outcome.out);
    uint64_t calls = 0;
    for (const Json &line : lines) {
        calls += line["calls"].get<uint64_t>();
        EXPECT_LE(line["p50_ns"], line["p90_ns"]);
        EXPECT_LE(line["p99_ns"], line["most_ns"]);
    }
    EXPECT_EQ(6U, calls);
    ASSERT_FALSE(lines.empty());
    const auto read = std::find_if(lines.begin(), lines.end(), [](const Json &line) {
        return line["function"] == "DXR_ReadReg" && line["group"] == "Dev";
    });
    ASSERT_NE(lines.end(), read) << outcome.out;
    EXPECT_EQ(53U, (*read)["slot"]);
}

TEST(DxrshTrace, ReadsStandardInput) {
    for (const std::vector<std::string> &options :
         std::vector<std::vector<std::string>>{{}, {"--json"}, {"--counts"}}) {
        std::vector<std::string> piped = {"trace", "-"};
        std::vector<std::string> named = {"trace", DXRSH_SAMPLE_RECORDING};
        piped.insert(piped.end(), options.begin(), options.end());
        named.insert(named.end(), options.begin(), options.end());
        const Outcome outcome = RunDxrsh(piped, Sample());
        EXPECT_EQ(0, outcome.status) << outcome.err;
        EXPECT_EQ(RunDxrsh(named).out, outcome.out);
    }
    ExpectFails({"trace", "-"}, 2, "standard input: is empty, and no recording");
    const Outcome other = RunDxrsh({"trace", "-"}, std::string(1000000, 'x'));
    EXPECT_EQ(2, other.status);
    EXPECT_EQ("dxrsh: standard input: is no recording\n", other.err);
    const Outcome cut = RunDxrsh({"trace", "-"}, Sample().substr(0, Sample().size() - 1));
    EXPECT_EQ(0, cut.status);
    EXPECT_EQ(0U, cut.err.find("dxrsh: standard input: has no end after ")) << cut.err;
    EXPECT_EQ(0, RunDxrsh({"diff", "-", DXRSH_SAMPLE_RECORDING}, Sample()).status);
    const Outcome wrong = RunDxrsh({"diff", DXRSH_SAMPLE_RECORDING, "-"}, "no recording");
    EXPECT_EQ(2, wrong.status);
    EXPECT_EQ("dxrsh: standard input: is no recording\n", wrong.err);
    ExpectFails({"diff", "-", "-"}, 2, "standard input is one recording, and cannot be both");
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
    ExpectFails({"trace", "--json", "--chrome", other}, 2,
                "--chrome and --json ask for different things");
    ExpectFails({"trace", ""}, 2, "FILE: must not be empty");
    ExpectFails({"trace", other}, 2, other + ": is no recording");
    ExpectFails({"trace", other + "x"}, 1, other + "x: No such file or directory");
}

}  // namespace
