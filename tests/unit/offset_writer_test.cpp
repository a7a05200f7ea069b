#include "internal/offset_writer.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <string>

#include "support/test_host.h"

namespace {

using dxr::OffsetWriter;
using dxrtest::GuardedBuffer;

// The C library formats this, and fails in the C locale.
constexpr char kFailing[] = "%ls";
constexpr wchar_t kNoCharacter[] = L"\x20AC";

TEST(OffsetWriter, ABufferOfSizeZeroIsFullAndTakesNothing) {
    GuardedBuffer buffer(0);
    OffsetWriter writer(buffer.Data(), 0);
    EXPECT_TRUE(writer.Full());
    EXPECT_EQ(0, writer.Append("%s", "abc"));
    EXPECT_EQ(0U, writer.Offset());
    EXPECT_TRUE(buffer.Intact());
}

TEST(OffsetWriter, EverySizeMovesByWhatWasStored) {
    const std::string pieces[] = {"abc", "", "d", "efghij", "k", "lmnopqrstuvw"};
    for (uint32_t size = 1; size <= 30; ++size) {
        SCOPED_TRACE(size);
        GuardedBuffer buffer(size);
        OffsetWriter writer(buffer.Data(), size);
        EXPECT_EQ(size == 1, writer.Full());
        std::string all;
        for (const std::string &piece : pieces) {
            const size_t before = all.size();
            all = (all + piece).substr(0, size - 1);
            EXPECT_EQ(static_cast<int>(all.size() - before), writer.Append("%s", piece.c_str()));
            EXPECT_EQ(all.size(), writer.Offset());
            EXPECT_EQ(all.size() == size - 1, writer.Full());
            EXPECT_EQ(all, buffer.Text());
            EXPECT_TRUE(buffer.Intact());
        }
    }
}

TEST(OffsetWriter, APieceThatFailsMovesTheNextOneBack) {
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    GuardedBuffer buffer(8);
    OffsetWriter writer(buffer.Data(), 8);
    EXPECT_EQ(3, writer.Append("%s", "abc"));
    EXPECT_EQ(-1, writer.Append(kFailing, kNoCharacter));
    EXPECT_EQ(2U, writer.Offset());
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_EQ(2, writer.Append("%s", "XY"));
    EXPECT_EQ("abXY", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST(OffsetWriter, ATextThatSteppedBackOutOfTheBufferHasEnded) {
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    GuardedBuffer buffer(8);
    OffsetWriter writer(buffer.Data(), 8);
    EXPECT_EQ(-1, writer.Append(kFailing, kNoCharacter));
    EXPECT_EQ(UINT32_MAX, writer.Offset());
    EXPECT_TRUE(writer.Full());
    EXPECT_EQ(0, writer.Append("%s", "abc"));
    EXPECT_EQ(UINT32_MAX, writer.Offset());
    EXPECT_EQ("", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

}  // namespace
