#include "dxr/database_config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;

std::string Hex(uint32_t number) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += kDigits[(number >> shift) & 0xF];
    }
    return text;
}

std::string FileName(const std::string &name, uint32_t id1, uint32_t id2) {
    return "../conf/" + name + "_" + Hex(id1) + "_" + Hex(id2) + ".json";
}

void ExpectFmt(const std::string &name, uint32_t id1, uint32_t id2, uint32_t size) {
    SCOPED_TRACE(testing::Message() << name << " " << id1 << " " << id2 << " size " << size);
    GuardedBuffer buffer(size);
    DXR_CFG_FmtCfgFile(name.c_str(), id1, id2, buffer.Data(), size);
    EXPECT_TRUE(buffer.Intact());
    if (size == 0) {
        EXPECT_TRUE(buffer.Untouched());
        return;
    }
    ASSERT_TRUE(buffer.Terminated());
    EXPECT_EQ(FileName(name, id1, id2).substr(0, size - 1), buffer.Text());
}

TEST(FmtCfgFile, GivesTheDocumentedName) {
    GuardedBuffer buffer(64);
    DXR_CFG_FmtCfgFile("tm", 26, 3, buffer.Data(), 64);
    EXPECT_EQ("../conf/tm_0x0000001A_0x00000003.json", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST(FmtCfgFile, EverySizeKeepsWhatFits) {
    for (uint32_t size = 0; size <= 60; ++size) {
        ExpectFmt("tm", 26, 3, size);
    }
}

TEST(FmtCfgFile, EightBytesHoldTheDirectory) {
    GuardedBuffer buffer(8);
    DXR_CFG_FmtCfgFile("tm", 26, 3, buffer.Data(), 8);
    EXPECT_EQ("../conf", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST(FmtCfgFile, NamesAndNumbersOfEveryKind) {
    for (const char *name : {"", "a", "a/b", "%s%n%d", "with space", "..", "name_0x1"}) {
        for (const uint32_t id1 : {0U, 0xABCDEF01U, 0xFFFFFFFFU}) {
            for (const uint32_t id2 : {0U, 0x80000000U, 0xFFFFFFFFU}) {
                ExpectFmt(name, id1, id2, 100);
            }
        }
    }
}

TEST(FmtCfgFile, LongNameIsCut) {
    const std::string name(5000, 'n');
    for (const uint32_t size : {1U, 100U, 5007U, 5008U, 5036U, 5037U, 5038U, 6000U}) {
        ExpectFmt(name, 1, 2, size);
    }
}

TEST(FmtCfgFile, NullNameGivesAnEmptyText) {
    for (const uint32_t size : {1U, 2U, 32U}) {
        GuardedBuffer buffer(size);
        DXR_CFG_FmtCfgFile(nullptr, 1, 2, buffer.Data(), size);
        EXPECT_TRUE(buffer.Terminated());
        EXPECT_EQ("", buffer.Text());
        EXPECT_TRUE(buffer.Intact());
    }
}

TEST(FmtCfgFile, WithoutABufferOrRoomNothingIsWritten) {
    GuardedBuffer buffer(32);
    DXR_CFG_FmtCfgFile(nullptr, 1, 2, buffer.Data(), 0);
    DXR_CFG_FmtCfgFile("tm", 1, 2, buffer.Data(), 0);
    DXR_CFG_FmtCfgFile("tm", 1, 2, nullptr, 0);
    DXR_CFG_FmtCfgFile("tm", 1, 2, nullptr, 32);
    DXR_CFG_FmtCfgFile(nullptr, 1, 2, nullptr, 32);
    EXPECT_TRUE(buffer.Untouched());
}

TEST(FmtCfgFile, NeedsNoHost) {
    const dxrtest::TestHost host;
    ExpectFmt("board", 0x12345678, 0x9ABCDEF0, 64);
}

TEST(FmtCfgFile, RandomCallsFollowTheModel) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int round = 0; round < 2000; ++round) {
        const std::string name(random() % 40, static_cast<char>('a' + random() % 26));
        ExpectFmt(name, static_cast<uint32_t>(random()), static_cast<uint32_t>(random()),
                  static_cast<uint32_t>(random() % 90));
    }
}

}  // namespace
