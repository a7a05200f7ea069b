// dxrsh crc and dxrsh links as a user runs them.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/test_host.h"
#include "tools/expect_dxrsh.h"
#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::ExpectPrints;
using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::TemporaryDirectory;

// Bit by bit, independent of any table.
uint32_t Crc8(const std::string &bytes) {
    uint32_t crc = 0;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80U) != 0 ? ((crc << 1U) ^ 0x31U) & 0xFFU : (crc << 1U) & 0xFFU;
        }
    }
    return crc;
}

std::string Hex(uint32_t crc) {
    char text[8];
    (void)std::snprintf(text, sizeof(text), "0x%02x", crc);
    return text;
}

// --- crc

TEST(DxrshCrc, KnownValues) {
    ExpectPrints({"crc"}, "0xa2 9 -\n", "123456789");
    ExpectPrints({"crc", "-"}, "0x00 0 -\n", "");
    ExpectPrints({"crc"}, "0x31 1 -\n", "\x01");
    ExpectPrints({"crc"}, "0xac 1 -\n", "\xff");
}

TEST(DxrshCrc, SeveralFiles) {
    const TemporaryDirectory directory;
    const std::string one = directory.Write("one", "123456789");
    const std::string two = directory.Write("two", "\x80");
    ExpectPrints({"crc", one, two}, "0xa2 9 " + one + "\n0x7a 1 " + two + "\n");
}

TEST(DxrshCrc, LargeFilesGoThroughBlockByBlock) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const size_t size : {(1U << 20U) - 1, 1U << 20U, (1U << 20U) + 1, 3'500'000U}) {
        std::string bytes(size, '\0');
        for (char &byte : bytes) {
            byte = static_cast<char>(random());
        }
        ExpectPrints({"crc"}, Hex(Crc8(bytes)) + " " + std::to_string(size) + " -\n", bytes);
    }
}

TEST(DxrshCrc, AMissingFileIsAFailure) {
    ExpectFails({"crc", "/nonexistent/f"}, 1,
                "cannot open /nonexistent/f: No such file or directory");
}

TEST(DxrshCrc, FilesBesideAMissingOneAreTold) {
    const TemporaryDirectory directory;
    const std::string one = directory.Write("one", "123456789");
    const Outcome outcome = RunDxrsh({"crc", one, "/nonexistent/f", one});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0xa2 9 " + one + "\n0xa2 9 " + one + "\n");
    EXPECT_EQ(outcome.err, "dxrsh: cannot open /nonexistent/f: No such file or directory\n");
}

// --- links

TEST(DxrshLinks, PrintsTheMap) {
    ExpectPrints({"links", "2", "40", "0", "33"},
                 "links: TotalValidLink[2] BitMapOrder <- Chip0: Valid[2][ 0x00000002 0x00000001 ]"
                 " Chip1: Valid[0][ 0x00000000 0x00000000 ]\n");
}

TEST(DxrshLinks, LinksByNumberAndByChip) {
    ExpectPrints({"links", "2", "40", "79", "1:0", "0x28", "--title", "link state:"},
                 "link state: TotalValidLink[2] BitMapOrder <-"
                 " Chip0: Valid[0][ 0x00000000 0x00000000 ]"
                 " Chip1: Valid[2][ 0x00000080 0x00000001 ]\n");
}

TEST(DxrshLinks, NumbersAreDecimalOrHexadecimalEverywhere) {
    const std::string chip = " Chip0: Valid[0][ 0x00000000 0x00000000 ]";
    ExpectPrints({"links", "01", "040", "--whole"}, chip + "\n");
    ExpectPrints({"links", "0x1", "0x28", "--whole"}, chip + "\n");
    for (const std::string number : {"", "0b1", "-1", "4294967296"}) {
        ExpectFails({"links", number, "40"}, 2,
                    "CHIPS: '" + number + "' is no whole number from 0 to 4294967295");
        ExpectFails({"links", "1", number}, 2,
                    "LINKS: '" + number + "' is no whole number from 0 to 4294967295");
    }
}

TEST(DxrshLinks, AMapWithoutLinks) {
    ExpectPrints({"links", "1", "1"},
                 "links: TotalValidLink[0] BitMapOrder <- Chip0: Valid[0][ 0x00000000 ]\n");
}

TEST(DxrshLinks, TheLineIsCutAndTheWholeIsNot) {
    const Outcome line = RunDxrsh({"links", "100", "32"});
    EXPECT_EQ(line.status, 0);
    EXPECT_EQ(line.out.size(), 1024U) << "1023 characters and the line break";
    std::string whole;
    for (int chip = 0; chip < 100; ++chip) {
        whole += " Chip" + std::to_string(chip) + ": Valid[0][ 0x00000000 ]";
    }
    ExpectPrints({"links", "100", "32", "--whole"}, whole + "\n");
}

TEST(DxrshLinks, ATitleIsNoFormat) {
    ExpectPrints({"links", "1", "1", "--title", "100%s"},
                 "100%s TotalValidLink[0] BitMapOrder <- Chip0: Valid[0][ 0x00000000 ]\n");
}

TEST(DxrshLinks, LinksOutsideTheMapAreRefused) {
    for (const std::string link : {"80", "2:0", "0:40", "4294967295"}) {
        ExpectFails({"links", "2", "40", link}, 2,
                    "there is no link '" + link + "' on 2 chips of 40 links");
    }
    ExpectFails({"links", "2", "40", "x"}, 2, "link: 'x' is no whole number from 0 to 4294967295");
    ExpectFails({"links", "2", "40", "x:1"}, 2,
                "chip: 'x' is no whole number from 0 to 4294967295");
    ExpectFails({"links", "2", "40", "1:1:1"}, 2,
                "link: '1:1:1' is no whole number from 0 to 4294967295");
}

TEST(DxrshLinks, MapsOfNoSizeOrTooLargeAreRefused) {
    for (const auto &[chips, links] : std::vector<std::pair<std::string, std::string>>{
             {"0", "40"}, {"2", "0"}, {"65537", "1"}, {"4294967295", "4294967295"}}) {
        ExpectFails(
            {"links", chips, links}, 2,
            "links: " + chips + " chips of " + links + " links make no map of 1 to 65536 words");
    }
    ExpectFails({"links", "2"}, 2, "LINKS is required");
}

TEST(DxrshLinks, TheLargestMapIsDrawn) {
    const Outcome outcome = RunDxrsh({"links", "65536", "32", "--whole", "2097151"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find(" Chip65535: Valid[1][ 0x80000000 ]\n"), std::string::npos);
}

}  // namespace
