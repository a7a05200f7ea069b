#include "internal/text_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

#include "support/test_host.h"

namespace {

using dxr::TextWriter;
using dxrtest::GuardedBuffer;

std::string Fitting(const std::string &text, uint32_t size) {
    return size == 0 ? "" : text.substr(0, size - 1);
}

TEST(TextWriter, NothingIsWrittenBeforeTheFirstPiece) {
    for (const uint32_t size : {0U, 1U, 2U, 20U}) {
        GuardedBuffer buffer(size);
        const TextWriter writer(buffer.Data(), size);
        EXPECT_EQ(0U, writer.Written());
        EXPECT_EQ(size, writer.Room());
        EXPECT_EQ(size <= 1, writer.Full());
        EXPECT_TRUE(buffer.Untouched());
    }
}

TEST(TextWriter, EverySizeKeepsThePiecesThatFit) {
    const std::string pieces[] = {"abc", "", "d", "efghij", "k", "lmnopqrstuvw"};
    for (uint32_t size = 0; size <= 30; ++size) {
        SCOPED_TRACE(size);
        GuardedBuffer buffer(size);
        TextWriter writer(buffer.Data(), size);
        std::string all;
        for (const std::string &piece : pieces) {
            const size_t before = Fitting(all, size).size();
            all += piece;
            const std::string kept = Fitting(all, size);
            const int stored = writer.Append("%s", piece.c_str());
            EXPECT_EQ(size == 0 ? -1 : static_cast<int>(kept.size() - before), stored);
            EXPECT_EQ(kept.size(), writer.Written());
            EXPECT_EQ(size - kept.size(), writer.Room());
            EXPECT_EQ(size - kept.size() <= 1, writer.Full());
            if (size != 0) {
                ASSERT_TRUE(buffer.Terminated());
                EXPECT_EQ(kept, buffer.Text());
            }
            EXPECT_TRUE(buffer.Intact());
        }
    }
}

TEST(TextWriter, FormatsItsArguments) {
    GuardedBuffer buffer(40);
    TextWriter writer(buffer.Data(), 40);
    EXPECT_EQ(17, writer.Append("[%u] %s\r\n", 4294967295U, "ab"));
    EXPECT_EQ("[4294967295] ab\r\n", buffer.Text());
}

TEST(TextWriter, FailedPieceCountsAsEmptyAndTheNextFollows) {
    for (uint32_t size = 5; size <= 12; ++size) {
        GuardedBuffer buffer(size);
        TextWriter writer(buffer.Data(), size);
        EXPECT_EQ(3, writer.Append("%s", "abc"));
        EXPECT_EQ(-1, writer.Append("xy%ls", L"\x20AC"));
        EXPECT_EQ(3U, writer.Written());
        EXPECT_EQ("abc", buffer.Text());
        EXPECT_EQ(1, writer.Append("%s", "d"));
        EXPECT_EQ("abcd", buffer.Text());
        EXPECT_TRUE(buffer.Intact());
    }
}

TEST(TextWriter, FullWriterKeepsItsText) {
    GuardedBuffer buffer(4);
    TextWriter writer(buffer.Data(), 4);
    EXPECT_EQ(3, writer.Append("%s", "abcdef"));
    EXPECT_TRUE(writer.Full());
    EXPECT_EQ(1U, writer.Room());
    EXPECT_EQ(0, writer.Append("%s", "ghi"));
    EXPECT_EQ(-1, writer.Append("%ls", L"\x20AC"));
    EXPECT_EQ(3U, writer.Written());
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST(TextWriter, NullBufferStoresNothing) {
    TextWriter none(nullptr, 0);
    EXPECT_EQ(-1, none.Append("%s", "text"));
    EXPECT_EQ(0U, none.Written());
    TextWriter wrong(nullptr, 8);
    EXPECT_EQ(-1, wrong.Append("%s", "text"));
    EXPECT_EQ(0U, wrong.Written());
}

TEST(TextWriter, RandomPiecesFollowTheConcatenation) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int round = 0; round < 2000; ++round) {
        const auto size = static_cast<uint32_t>(random() % 64);
        GuardedBuffer buffer(size);
        TextWriter writer(buffer.Data(), size);
        std::string all;
        for (uint64_t n = random() % 8; n > 0; --n) {
            const std::string piece(random() % 24, static_cast<char>('a' + random() % 26));
            all += piece;
            writer.Append("%s", piece.c_str());
        }
        ASSERT_EQ(Fitting(all, size).size(), writer.Written());
        ASSERT_TRUE(buffer.Intact());
        if (size != 0 && buffer.Terminated()) {
            ASSERT_EQ(Fitting(all, size), buffer.Text());
        } else {
            ASSERT_TRUE(all.empty() || size == 0);
        }
    }
}

}  // namespace
