#include "dxr/print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

constexpr size_t kPiece = 480;
constexpr size_t kLine = 1024;

std::string LongText(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>('!' + (i * 7 + i / 94) % 94);  // all printable, '%' and '$' too
    }
    return text;
}

// --- long texts

struct Piece {
    std::string format;
    std::string text;
};

std::vector<Piece> PiecesOf(const std::string &text) {
    if (text.empty()) {
        return {};
    }
    if (text.size() <= kPiece) {
        return {{"%s", text}};
    }
    std::vector<Piece> pieces;
    for (size_t begin = 0; begin < text.size(); begin += kPiece) {
        const bool first = begin == 0;
        const bool last = text.size() - begin <= kPiece;
        std::string piece = text.substr(begin, kPiece);
        piece = (first ? "" : "$$$$") + piece + (last ? "" : "$$$$");
        pieces.push_back({first ? "%s$$$$" : (last ? "$$$$%s" : "$$$$%s$$$$"), piece});
    }
    return pieces;
}

class PrintLargeBuffer : public testing::Test {
  protected:
    void ExpectPieces(const std::string &text) {
        SCOPED_TRACE(testing::Message() << "length " << text.size());
        host_.printed.clear();
        const std::string before = text;
        EXPECT_EQ(0U, DXR_PrintLargeBuffer(text.c_str()));
        EXPECT_EQ(before, text);
        const std::vector<Piece> pieces = PiecesOf(text);
        ASSERT_EQ(pieces.size(), host_.printed.size());
        for (size_t i = 0; i < pieces.size(); ++i) {
            EXPECT_EQ(6U, host_.printed[i].level);
            EXPECT_EQ(pieces[i].format, host_.printed[i].format);
            EXPECT_EQ(pieces[i].text, host_.printed[i].text);
        }
    }
    dxrtest::TestHost host_;
};

TEST_F(PrintLargeBuffer, LengthsAroundEveryPiece) {
    host_.WithPrint();
    for (const size_t length : {0U, 1U, 2U, 40U, 479U, 480U, 481U, 482U, 959U, 960U, 961U, 1000U,
                                1439U, 1440U, 1441U, 1920U, 1921U, 5000U}) {
        ExpectPieces(LongText(length));
    }
}

TEST_F(PrintLargeBuffer, OneLineIsPrintedWithoutMarks) {
    host_.WithPrint();
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(LongText(480).c_str()));
    ASSERT_EQ(1U, host_.printed.size());
    EXPECT_EQ("%s", host_.printed[0].format);
    EXPECT_EQ(LongText(480), host_.printed[0].text);
}

TEST_F(PrintLargeBuffer, OneCharacterMoreMakesASecondPiece) {
    host_.WithPrint();
    const std::string text = LongText(481);
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(text.c_str()));
    ASSERT_EQ(2U, host_.printed.size());
    EXPECT_EQ("%s$$$$", host_.printed[0].format);
    EXPECT_EQ(text.substr(0, 480) + "$$$$", host_.printed[0].text);
    EXPECT_EQ("$$$$%s", host_.printed[1].format);
    EXPECT_EQ("$$$$" + text.substr(480), host_.printed[1].text);
}

TEST_F(PrintLargeBuffer, TwoFullPiecesHaveNoMiddle) {
    host_.WithPrint();
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(LongText(960).c_str()));
    ASSERT_EQ(2U, host_.printed.size());
    EXPECT_EQ("%s$$$$", host_.printed[0].format);
    EXPECT_EQ("$$$$%s", host_.printed[1].format);
    EXPECT_EQ(484U, host_.printed[1].text.size());
}

TEST_F(PrintLargeBuffer, ThreeFullPieces) {
    host_.WithPrint();
    const std::string text = LongText(1440);
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(text.c_str()));
    ASSERT_EQ(3U, host_.printed.size());
    EXPECT_EQ("%s$$$$", host_.printed[0].format);
    EXPECT_EQ("$$$$%s$$$$", host_.printed[1].format);
    EXPECT_EQ("$$$$" + text.substr(480, 480) + "$$$$", host_.printed[1].text);
    EXPECT_EQ("$$$$%s", host_.printed[2].format);
}

TEST_F(PrintLargeBuffer, RandomLengthsFollowTheModel) {
    host_.WithPrint();
    std::mt19937_64 random(dxrtest::Seed());
    for (int round = 0; round < 300; ++round) {
        ExpectPieces(LongText(random() % 4000));
    }
}

TEST_F(PrintLargeBuffer, NothingToPrint) {
    host_.WithPrint();
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(""));
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(nullptr));
    EXPECT_TRUE(host_.printed.empty());
}

TEST_F(PrintLargeBuffer, EmptySlotDropsEverything) {
    for (const size_t length : {0U, 1U, 480U, 481U, 1441U}) {
        EXPECT_EQ(0U, DXR_PrintLargeBuffer(LongText(length).c_str()));
    }
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(nullptr));
    EXPECT_TRUE(host_.calls.empty());
}

int g_firstCalls = 0;
std::vector<std::string> g_secondFormats;

void SecondPrint(uint32_t, const char *format, ...) {
    g_secondFormats.emplace_back(format);
}

void ReplacingPrint(uint32_t, const char *, ...) {
    ++g_firstCalls;
    g_dxrHooks.print.print = SecondPrint;
}

void LeavingPrint(uint32_t, const char *, ...) {
    ++g_firstCalls;
    g_dxrHooks.print.print = nullptr;
}

TEST_F(PrintLargeBuffer, SlotIsReadBeforeEachPiece) {
    g_firstCalls = 0;
    g_secondFormats.clear();
    g_dxrHooks.print.print = ReplacingPrint;
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(LongText(1441).c_str()));
    EXPECT_EQ(1, g_firstCalls);
    EXPECT_EQ((std::vector<std::string>{"$$$$%s$$$$", "$$$$%s$$$$", "$$$$%s"}), g_secondFormats);

    g_dxrHooks.print.print = LeavingPrint;
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(LongText(1441).c_str()));
    EXPECT_EQ(2, g_firstCalls);
}

std::vector<std::string> g_pieceBuffers;

DXR_PRINTF(2, 3) void KeepPieceBuffer(uint32_t, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    g_pieceBuffers.emplace_back(va_arg(args, const char *), kPiece + 1);
    va_end(args);
}

TEST_F(PrintLargeBuffer, NothingOfAPieceIsLeftBehindAShorterOne) {
    g_pieceBuffers.clear();
    g_dxrHooks.print.print = KeepPieceBuffer;
    const std::string text = LongText(kPiece + 3);
    EXPECT_EQ(0U, DXR_PrintLargeBuffer(text.c_str()));
    ASSERT_EQ(2U, g_pieceBuffers.size());
    EXPECT_EQ(text.substr(0, kPiece) + '\0', g_pieceBuffers[0]);
    EXPECT_EQ(text.substr(kPiece) + std::string(kPiece - 2, '\0'), g_pieceBuffers[1]);
}

// --- lines formatted for the host's filters

struct FilterCall {
    void *handle;
    std::string text;
};

std::vector<FilterCall> g_sameCalls;
std::vector<FilterCall> g_diffKeyCalls;
bool g_restWasZero = true;
uint32_t g_filterResult = 0;

FilterCall Received(void *handle, const char *text) {
    const size_t length = std::strlen(text);
    g_restWasZero = std::all_of(text + length, text + kLine, [](char c) { return c == '\0'; });
    return {handle, text};
}

uint32_t FilterSame(void *handle, const char *text) {
    g_sameCalls.push_back(Received(handle, text));
    return g_filterResult;
}

uint32_t FilterDiffKey(void *handle, const char *text) {
    g_diffKeyCalls.push_back(Received(handle, text));
    return g_filterResult;
}

struct FilterFunction {
    const char *name;
    uint32_t (*call)(void *handle, const char *format, ...);
    void (*setSlot)(bool filled);
    std::vector<FilterCall> *calls;
    std::vector<FilterCall> *otherCalls;
};

class HostFilter : public testing::TestWithParam<FilterFunction> {
  protected:
    HostFilter() {
        g_sameCalls.clear();
        g_diffKeyCalls.clear();
        g_restWasZero = false;
        g_filterResult = 0;
        // Both slots are filled; a test empties the one it looks at.
        g_dxrHooks.print.logFilterFilterSameLog = FilterSame;
        g_dxrHooks.print.logFilterFilterDiffKeyLog = FilterDiffKey;
    }
    ~HostFilter() override { EXPECT_TRUE(GetParam().otherCalls->empty()); }

    dxrtest::TestHost host_;
    std::vector<FilterCall> &calls_ = *GetParam().calls;
    // Through the pointer the compiler cannot object to a null or failing format.
    uint32_t (*filter_)(void *, const char *, ...) = GetParam().call;
    int handle_ = 0;
};

TEST_P(HostFilter, FormatsTheLineIntoAZeroedBuffer) {
    EXPECT_EQ(0U, filter_(&handle_, "%s-%u-%08X-%d", "ab", 7U, 0x1A2BU, -5));
    ASSERT_EQ(1U, calls_.size());
    EXPECT_EQ(&handle_, calls_[0].handle);
    EXPECT_EQ("ab-7-00001A2B--5", calls_[0].text);
    EXPECT_TRUE(g_restWasZero);
}

TEST_P(HostFilter, CutsTheLineAt1023Characters) {
    for (const size_t length : {0U, 1U, 1000U, 1022U, 1023U, 1024U, 1025U, 5000U}) {
        calls_.clear();
        const std::string text = LongText(length);
        EXPECT_EQ(0U, filter_(&handle_, "%s", text.c_str()));
        ASSERT_EQ(1U, calls_.size());
        EXPECT_EQ(text.substr(0, 1023), calls_[0].text);
        EXPECT_TRUE(g_restWasZero);
    }
}

TEST_P(HostFilter, GivesNothingOfTheHooksResult) {
    for (const uint32_t result : {1U, 0x80000000U, 0xFFFFFFFFU}) {
        g_filterResult = result;
        EXPECT_EQ(0U, filter_(&handle_, "%s", "line"));
    }
    EXPECT_EQ(3U, calls_.size());
}

TEST_P(HostFilter, HandsOnANullHandle) {
    EXPECT_EQ(0U, filter_(nullptr, "%s", "line"));
    ASSERT_EQ(1U, calls_.size());
    EXPECT_EQ(nullptr, calls_[0].handle);
}

TEST_P(HostFilter, DoesNotCallAfterAFailedConversion) {
    EXPECT_EQ(0U, filter_(&handle_, "line %ls", L"\x20AC"));
    EXPECT_TRUE(calls_.empty());
}

TEST_P(HostFilter, DoesNotCallForANullFormat) {
    EXPECT_EQ(0U, filter_(&handle_, nullptr));
    EXPECT_TRUE(calls_.empty());
}

TEST_P(HostFilter, FormatsNothingWithoutAHook) {
    GetParam().setSlot(false);
    int formatted = -1;
    EXPECT_EQ(0U, filter_(&handle_, "line%n", &formatted));
    EXPECT_EQ(-1, formatted);
    EXPECT_EQ(0U, filter_(&handle_, nullptr));
    GetParam().setSlot(true);
    EXPECT_EQ(0U, filter_(&handle_, "line%n", &formatted));
    EXPECT_EQ(4, formatted);
    EXPECT_EQ(1U, calls_.size());
}

void SetSameSlot(bool filled) {
    g_dxrHooks.print.logFilterFilterSameLog = filled ? FilterSame : nullptr;
}

void SetDiffKeySlot(bool filled) {
    g_dxrHooks.print.logFilterFilterDiffKeyLog = filled ? FilterDiffKey : nullptr;
}

INSTANTIATE_TEST_SUITE_P(
    Print, HostFilter,
    testing::Values(FilterFunction{"FilterSameLog", DXR_LOGFILTER_FilterSameLog, SetSameSlot,
                                   &g_sameCalls, &g_diffKeyCalls},
                    FilterFunction{"FilterDiffKeyLog", DXR_LOGFILTER_FilterDiffKeyLog,
                                   SetDiffKeySlot, &g_diffKeyCalls, &g_sameCalls}),
    [](const testing::TestParamInfo<FilterFunction> &function) { return function.param.name; });

// --- finished lines, and a name

class Print : public testing::Test {
  protected:
    dxrtest::TestHost host_;
};

TEST_F(Print, DiagLogFilterForwardsEveryTextButNull) {
    host_.WithDiagLog();
    host_.diagResult = 0x80000001;
    EXPECT_EQ(0x80000001U, DXR_DiagLogFilter("a line"));
    EXPECT_EQ(0x80000001U, DXR_DiagLogFilter(""));
    const std::string text = LongText(3000);
    EXPECT_EQ(0x80000001U, DXR_DiagLogFilter(text.c_str()));
    EXPECT_EQ((std::vector<std::string>{"a line", "", text}), host_.diagLines);
    EXPECT_EQ(0U, DXR_DiagLogFilter(nullptr));
    EXPECT_EQ(3U, host_.diagLines.size());
}

const char *g_diagText = nullptr;

TEST_F(Print, DiagLogFilterHandsOnTheCallersText) {
    g_dxrHooks.print.diagLogFilter = [](const char *text) {
        g_diagText = text;
        return uint32_t{0};
    };
    const char text[] = "line";
    EXPECT_EQ(0U, DXR_DiagLogFilter(text));
    EXPECT_EQ(text, g_diagText);
}

TEST_F(Print, DiagLogFilterWithoutAHook) {
    EXPECT_EQ(0U, DXR_DiagLogFilter("a line"));
    EXPECT_EQ(0U, DXR_DiagLogFilter(nullptr));
}

TEST_F(Print, FileNameWithoutAHookIsNullAndNotEmpty) {
    EXPECT_EQ(nullptr, DXR_LOGFILTER_GetFileName(&host_));
}

}  // namespace
