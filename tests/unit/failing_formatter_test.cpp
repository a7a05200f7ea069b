// Texts whose offset moves by whatever the formatter returned: after a failure, which counts -1,
// the next piece begins one character earlier, as far as that is inside the buffer.

#include <gmock/gmock.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "dxr/utils_bitmap.h"
#include "dxr/utils_link_bitmap.h"
#include "support/failing_formatter.h"
#include "support/test_host.h"

namespace {

using dxrtest::FailingFormatter;
using dxrtest::GuardedBuffer;
using dxrtest::PrintedLine;
using dxrtest::TestHost;
using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::set<uint32_t>;
using Words = std::vector<uint32_t>;

class FailingFormatterTest : public testing::Test {
  protected:
    FailingFormatterTest() { host.WithPrint(); }

    [[nodiscard]] std::vector<std::string> Printed() const {
        std::vector<std::string> texts;
        for (const PrintedLine &line : host.printed) {
            EXPECT_EQ(line.level, 6U);
            texts.push_back(line.text);
        }
        return texts;
    }

    TestHost host;
};

// ---- Text of a bitmap: "0x333 0x22 0x1 " in three calls

using BitmapText = FailingFormatterTest;

std::string TextOfBitmap(const Calls &failing, uint32_t room) {
    const Words words = {0xF, 0x1, 0x22, 0x333};
    GuardedBuffer buffer(room);
    const FailingFormatter failures(failing);
    DXR_GetBitMapStr(words.data(), static_cast<uint32_t>(words.size()), buffer.Data(), room);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_TRUE(buffer.Terminated());
    return buffer.Text();
}

TEST_F(BitmapText, WithoutFailuresIsWhole) {
    EXPECT_EQ(TextOfBitmap({}, 64), "0x333 0x22 0x1 ");
    EXPECT_THAT(Printed(), IsEmpty());
}

TEST_F(BitmapText, GoesOnOneCharacterEarlierAfterAFailure) {
    EXPECT_EQ(TextOfBitmap({2}, 64), "0x3330x1 ");
    EXPECT_EQ(TextOfBitmap({2}, 10), "0x3330x1 ");
    EXPECT_EQ(TextOfBitmap({2}, 9), "0x3330x1");
    EXPECT_EQ(TextOfBitmap({2}, 7), "0x333 ")
        << "nothing is formatted any more once the room is used";
    EXPECT_THAT(Printed(), IsEmpty());
}

TEST_F(BitmapText, EndsOneCharacterEarlierAfterAFailureAtTheEnd) {
    EXPECT_EQ(TextOfBitmap({3}, 64), "0x333 0x22");
    EXPECT_EQ(TextOfBitmap({2, 3}, 64), "0x33");
    EXPECT_THAT(Printed(), IsEmpty());
}

TEST_F(BitmapText, AFailureAtTheBeginningLeavesTheBufferAndIsReported) {
    for (const uint32_t room : {2U, 15U, 64U}) {
        EXPECT_EQ(TextOfBitmap({1}, room), "");
        EXPECT_EQ(TextOfBitmap({1, 2, 3}, room), "");
    }
    EXPECT_THAT(Printed(), testing::SizeIs(6));
    EXPECT_THAT(Printed(), testing::Each("bmp is overLenth!"));
}

TEST_F(BitmapText, SoManyFailuresThatTheTextIsUsedUpAreReported) {
    Words words(10, 0x7);
    GuardedBuffer buffer(32);
    const FailingFormatter failures({2, 3, 4, 5, 6});
    DXR_GetBitMapStr(words.data(), 10, buffer.Data(), 32);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(buffer.Data()[31], '\0');
    EXPECT_THAT(Printed(), ElementsAre("bmp is overLenth!"));
}

TEST(BitmapTextWithoutPrint, OverLengthIsSilent) {
    const TestHost host;
    EXPECT_EQ(TextOfBitmap({1}, 64), "");
}

// ---- Text of a link map: a call for " Chip0: Valid[1][", one for each word, one for " ]"

using LinkText = FailingFormatterTest;

struct TwoChips {
    uint32_t words[4] = {0x1, 0x0, 0xA, 0xB};
    DxrLinkBitMap map = {2, 64, words, 2};
};

std::string TextOfChips(const Calls &failing, uint32_t room = 200) {
    const TwoChips chips;
    GuardedBuffer buffer(room);
    const FailingFormatter failures(failing);
    DXR_FillLinkBitMapToBuf(&chips.map, buffer.Data(), room);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_TRUE(buffer.Terminated());
    return buffer.Text();
}

TEST_F(LinkText, WithoutFailuresIsWhole) {
    EXPECT_EQ(TextOfChips({}),
              " Chip0: Valid[1][ 0x00000000 0x00000001 ] Chip1: Valid[5][ 0x0000000b 0x0000000a ]");
}

TEST_F(LinkText, GoesOnOneCharacterEarlierAfterAFailure) {
    EXPECT_EQ(TextOfChips({2}),
              " Chip0: Valid[1] 0x00000001 ] Chip1: Valid[5][ 0x0000000b 0x0000000a ]");
    EXPECT_EQ(TextOfChips({4}),
              " Chip0: Valid[1][ 0x00000000 0x0000000 Chip1: Valid[5][ 0x0000000b 0x0000000a ]");
    EXPECT_EQ(TextOfChips({5, 6}), " Chip0: Valid[1][ 0x00000000 0x00000001 0x0000000a ]");
}

TEST_F(LinkText, AFailureAtTheEndLeavesItsRoom) {
    EXPECT_EQ(TextOfChips({8}),
              " Chip0: Valid[1][ 0x00000000 0x00000001 ] Chip1: Valid[5][ 0x0000000b 0x0000000a");
}

TEST_F(LinkText, AFailureAtTheBeginningEndsTheText) {
    for (const uint32_t room : {1U, 2U, 50U, 200U}) {
        EXPECT_EQ(TextOfChips({1}, room), "");
    }
}

TEST_F(LinkText, SoManyFailuresThatTheTextIsUsedUpEndIt) {
    Words words(40, 0);
    const DxrLinkBitMap map = {1, 40 * 32, words.data(), 40};
    Calls failing;
    for (uint32_t call = 2; call < 30; ++call) {
        failing.insert(call);
    }
    GuardedBuffer buffer(200);
    const FailingFormatter failures(failing);
    DXR_FillLinkBitMapToBuf(&map, buffer.Data(), 200);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_EQ(buffer.Text(), "");
}

std::string LineOfChips(TestHost &host, const Calls &failing, const char *text) {
    const TwoChips chips;
    const FailingFormatter failures(failing);
    host.printed.clear();
    DXR_PrintLinkToBitMap(&chips.map, "%s", text);
    return host.printed.empty() ? "nothing printed" : host.printed[0].text;
}

TEST_F(LinkText, ACallersTextThatFailsIsNotLogged) {
    EXPECT_EQ(LineOfChips(host, {1}, "links"), "nothing printed");
}

TEST_F(LinkText, ALineWithoutItsTotalGoesOnOneCharacterEarlier) {
    EXPECT_EQ(
        LineOfChips(host, {2}, "links"),
        "link Chip0: Valid[1][ 0x00000000 0x00000001 ] Chip1: Valid[5][ 0x0000000b 0x0000000a ]");
    EXPECT_EQ(LineOfChips(host, {2, 3}, "links"), "link");
}

TEST_F(LinkText, ALineOfOneCharacterWithoutItsTotalIsTheChipsAlone) {
    EXPECT_EQ(LineOfChips(host, {2}, "l"),
              " Chip0: Valid[1][ 0x00000000 0x00000001 ] Chip1: Valid[5][ 0x0000000b 0x0000000a ]");
}

TEST_F(LinkText, ALineThatWouldBeginBeforeItsBufferIsEmpty) {
    EXPECT_EQ(LineOfChips(host, {2}, ""), "");
}

}  // namespace
