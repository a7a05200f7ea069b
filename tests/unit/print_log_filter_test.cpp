// The log filter's front end: lines and keys that are let through or not, clearing, the table of a
// ring.
#include "dxr/print_log_filter.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "support/log_filter_fixture.h"

namespace dxrtest {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class SameLogFilter : public LogFilterTest {};
class DiffLogFilter : public LogFilterTest {};
class IsSameKey : public LogFilterTest {};
class ClearLogFilterInfo : public LogFilterTest {};
class ShowLogFilterInfo : public LogFilterTest {};
class CombineShowLog : public LogFilterTest {};

// Formats that the compiler need not judge.
using FilterFunction = void (*)(const DxrLogFilterCfg *, const char *, ...);
const FilterFunction kSame = DXR_SameLogFilter;
const FilterFunction kDiff = DXR_DiffLogFilter;

// No multibyte form in the "C" locale: formatting it fails.
const wchar_t kUnformattable[] = {static_cast<wchar_t>(0x110000), 0};

uint32_t OnlyHashOf(uint32_t logType) {
    EXPECT_EQ(LookAt(logType).curSize, 1U);
    return LookAt(logType).curSize == 1
               ? LookAt(logType).entries[LookAt(logType).curIndex].logHashCode
               : 0;
}

// --- by text

TEST_F(SameLogFilter, HandsOnTheFirstAndSuppressesTheSecond) {
    InitStore();
    const DxrLogFilterCfg site{3, 30, 31, 32, 33, 0};
    DXR_SameLogFilter(&site, "link %u %s", 5U, "down");
    EXPECT_THAT(host.diagLines, ElementsAre("link 5 down"));
    EXPECT_THAT(host.calls, ElementsAre("lock #3", "currSec", "allocate mid=9 size=64",
                                        "currTime size=39", "unlock #3", "diag link 5 down"));
    EXPECT_EQ(OnlyHashOf(3), HashOf("link 5 down"));
    EXPECT_EQ(LookAt(3).entries[0].key1, 30U);

    Forget();
    DXR_SameLogFilter(&site, "link %u %s", 5U, "down");
    EXPECT_THAT(host.calls, ElementsAre("lock #3", "currSec", "unlock #3"));
    EXPECT_EQ(LookAt(3).entries[0].logCnt, 1U);

    DXR_SameLogFilter(&site, "link %u %s", 6U, "down");
    EXPECT_THAT(host.diagLines, ElementsAre("link 6 down"));
}

TEST_F(SameLogFilter, TextCountsHoweverItWasMade) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    const DxrLogFilterCfg other{3, 1, 2, 3, 4, 0};
    DXR_SameLogFilter(&site, "%s %d", "a", 1);
    DXR_SameLogFilter(&other, "a %s", "1");
    EXPECT_THAT(host.diagLines, ElementsAre("a 1"));
}

TEST_F(SameLogFilter, IntervalHandsItOnAgain) {
    InitStore();
    const DxrLogFilterCfg site = Site(3, 5);
    for (uint32_t i = 0; i < 11; ++i) {
        DXR_SameLogFilter(&site, "line");
        ++host.nowSec;
    }
    EXPECT_THAT(host.diagLines, SizeIs(3));
}

TEST_F(SameLogFilter, NullConfigurationPrintsNothing) {
    InitStore();
    DXR_SameLogFilter(nullptr, "line %u", 1U);
    DXR_EnableLogFilter(0);
    DXR_SameLogFilter(nullptr, "line %u", 1U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(SameLogFilter, NullFormatPrintsNothing) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    kSame(&site, nullptr);
    EXPECT_THAT(host.calls, IsEmpty());
}

// MODULE-3
TEST_F(SameLogFilter, LineThatCannotBeFormattedIsDropped) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    DXR_SameLogFilter(&site, "line %ls", kUnformattable);
    DXR_SameLogFilter(&site, "line %ls", kUnformattable);
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_EQ(LookAt(3).capacity, 0U);
}

TEST_F(SameLogFilter, ThousandTwentyThreeCharactersAreKept) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    const std::string head(1022, 'h');
    for (const char *tail : {"", "1", "12", "1XYZ", "2", "2abc"}) {
        DXR_SameLogFilter(&site, "%s%s", head.c_str(), tail);
    }
    // "1", "12" and "1XYZ" are one line, cut behind the digit; so are the two beginning with "2".
    EXPECT_THAT(host.diagLines, ElementsAre(head, head + "1", head + "2"));
    EXPECT_EQ(LookAt(3).curSize, 3U);
    EXPECT_EQ(LookAt(3).entries[1].logHashCode, HashOf(head + "1"));
    EXPECT_EQ(LookAt(3).entries[1].logCnt, 2U);
    EXPECT_EQ(LookAt(3).entries[2].logCnt, 1U);
}

TEST_F(SameLogFilter, VeryLongTextIsCut) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    const std::string text(100000, 'x');
    DXR_SameLogFilter(&site, "%s", text.c_str());
    EXPECT_THAT(host.diagLines, ElementsAre(text.substr(0, 1023)));
    EXPECT_EQ(OnlyHashOf(3), HashOf(text.substr(0, 1023)));
}

TEST_F(SameLogFilter, EveryLengthAroundTheLimitIsHashedWhole) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    for (size_t length = 1015; length <= 1023; ++length) {
        DXR_ClearLogFilterInfo(3);
        const std::string text(length, 'y');
        DXR_SameLogFilter(&site, "%s", text.c_str());
        EXPECT_EQ(host.diagLines.back(), text);
        EXPECT_EQ(OnlyHashOf(3), HashOf(text));
    }
}

TEST_F(SameLogFilter, EmptyLineIsReportedAndHandedOnEachTime) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    for (int i = 0; i < 2; ++i) {
        Forget();
        DXR_SameLogFilter(&site, "%s", "");
        EXPECT_THAT(
            host.calls,
            ElementsAre("print 1 get hash code error, hashFuncId[0] strLen[0] ret[0x1]", "diag "));
    }
    Forget();
    DXR_EnableLogFilter(0);
    DXR_SameLogFilter(&site, "%s", "");
    EXPECT_THAT(host.calls, ElementsAre("diag "));
}

TEST_F(SameLogFilter, LengthEndsAtTheFirstZeroByte) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    DXR_SameLogFilter(&site, "ab%ccd", 0);
    EXPECT_THAT(host.diagLines, ElementsAre("ab"));
    EXPECT_EQ(OnlyHashOf(3), 3105U);
    DXR_SameLogFilter(&site, "ab%cef", 0);
    DXR_SameLogFilter(&site, "ab");
    EXPECT_THAT(host.diagLines, SizeIs(1));
    DXR_SameLogFilter(&site, "%cab", 0);  // empty
    EXPECT_THAT(host.diagLines, ElementsAre("ab", ""));
}

TEST_F(SameLogFilter, ResultOfTheHostsLogIsIgnored) {
    InitStore();
    host.diagResult = 1;
    const DxrLogFilterCfg site = Site(3);
    DXR_SameLogFilter(&site, "line");
    DXR_SameLogFilter(&site, "line");
    EXPECT_THAT(host.diagLines, ElementsAre("line"));
}

TEST_F(SameLogFilter, RemembersALineThatHasNoLogToGoTo) {
    InitStore();
    g_dxrHooks.print.diagLogFilter = nullptr;
    const DxrLogFilterCfg site = Site(3);
    DXR_SameLogFilter(&site, "line");
    host.WithDiagLog();
    DXR_SameLogFilter(&site, "line");
    EXPECT_THAT(host.diagLines, IsEmpty());
}

TEST_F(SameLogFilter, HandsOnEverythingWhenAbsentOffOrOfNoType) {
    const DxrLogFilterCfg site = Site(3);
    DXR_SameLogFilter(&site, "absent");
    DXR_SameLogFilter(&site, "absent");
    EXPECT_THAT(host.diagLines, ElementsAre("absent", "absent"));
    InitStore();
    DXR_EnableLogFilter(0);
    DXR_SameLogFilter(&site, "off");
    DXR_SameLogFilter(&site, "off");
    EXPECT_THAT(host.diagLines, ElementsAre("off", "off"));
    Forget();
    DXR_EnableLogFilter(1);
    const DxrLogFilterCfg noType = Site(29);
    DXR_SameLogFilter(&noType, "no type");
    DXR_SameLogFilter(&noType, "no type");
    EXPECT_THAT(host.diagLines, ElementsAre("no type", "no type"));
}

// What the log is handed: the whole buffer of 1024 characters, zero behind the text.
struct WholeBuffer {
    static inline std::string bytes;

    static void Use() {
        g_dxrHooks.print.diagLogFilter = [](const char *text) -> uint32_t {
            bytes.assign(text, 1024);
            return 0;
        };
    }
    static std::string Padded(std::string text) {
        text.resize(1024, '\0');
        return text;
    }
};

// What a hash function of the host finds behind a text.
struct WholeHashInput {
    static inline size_t size;
    static inline std::string bytes;

    static void Use(size_t bufferSize) {
        size = bufferSize;
        g_dxrLogFilterHashFuncList[0].func = [](const DxrLogFilterHashInput *input,
                                                uint32_t *) -> uint32_t {
            bytes.assign(input->text, size);
            return 0;
        };
    }
    static std::string Padded(std::string text) {
        text.resize(size, '\0');
        return text;
    }
};

// Leaves no zero where the next call will have its buffer.
[[gnu::noinline]] void DirtyTheStack() {
    volatile char bytes[8192];
    for (volatile char &byte : bytes) {
        byte = 'D';
    }
}

TEST_F(SameLogFilter, LogIsHandedAZeroedBuffer) {
    WholeBuffer::Use();
    const DxrLogFilterCfg site = Site(3);
    for (const size_t length : {1000U, 0U, 5U, 1022U, 1023U, 5000U, 1U}) {
        const std::string text(length, 'x');
        DirtyTheStack();
        DXR_SameLogFilter(&site, "%s", text.c_str());
        EXPECT_EQ(WholeBuffer::bytes, WholeBuffer::Padded(text.substr(0, 1023))) << length;
        DirtyTheStack();
        DXR_DiffLogFilter(&site, "%s", text.c_str());
        EXPECT_EQ(WholeBuffer::bytes, WholeBuffer::Padded(text.substr(0, 1023))) << length;
    }
    DXR_SameLogFilter(&site, "ab%ccd", 0);
    EXPECT_EQ(WholeBuffer::bytes, WholeBuffer::Padded(std::string("ab\0cd", 5)));
}

TEST_F(SameLogFilter, HashFunctionOfTheHostSeesZeroedBuffers) {
    InitStore();
    const DxrLogFilterCfg site{3, 1, 2, 3, 4, 0};
    WholeHashInput::Use(1024);
    for (const size_t length : {1000U, 1U, 1022U, 5000U, 0U}) {
        const std::string text(length, 'x');
        DirtyTheStack();
        DXR_SameLogFilter(&site, "%s", text.c_str());
        EXPECT_EQ(WholeHashInput::bytes, WholeHashInput::Padded(text.substr(0, 1023))) << length;
    }
    WholeHashInput::Use(128);
    DirtyTheStack();
    DXR_DiffLogFilter(&site, "line");
    EXPECT_EQ(WholeHashInput::bytes, WholeHashInput::Padded("31234"));
    DirtyTheStack();
    EXPECT_EQ(DXR_IsSameKey(5, 6, 7, 8), 0);
    EXPECT_EQ(WholeHashInput::bytes, WholeHashInput::Padded("265678"));
}

TEST_F(SameLogFilter, HashFunctionOfTheHostIsNotAskedForALineThatCannotBeFormatted) {
    InitStore();
    const DxrLogFilterCfg site{3, 1, 2, 3, 4, 0};
    WholeHashInput::Use(1024);
    WholeHashInput::bytes = "not asked";
    DXR_SameLogFilter(&site, "line %ls", kUnformattable);
    EXPECT_EQ(WholeHashInput::bytes, "not asked");
    EXPECT_THAT(host.calls, ElementsAre());
}

// --- by key

TEST_F(DiffLogFilter, HandsOnOnlyTheFirstMessageOfAKey) {
    InitStore();
    const DxrLogFilterCfg site{3, 10, 200, 3000, 40000, 0};
    DXR_DiffLogFilter(&site, "first %u", 1U);
    EXPECT_THAT(host.calls, ElementsAre("lock #3", "currSec", "allocate mid=9 size=64",
                                        "currTime size=39", "unlock #3", "diag first 1"));
    EXPECT_EQ(OnlyHashOf(3), HashOf("310200300040000"));
    EXPECT_EQ(LookAt(3).entries[0].key1, 10U);
    Forget();
    DXR_DiffLogFilter(&site, "second %u", 2U);
    EXPECT_THAT(host.calls, ElementsAre("lock #3", "currSec", "unlock #3"));
    EXPECT_EQ(LookAt(3).entries[0].logCnt, 1U);
}

TEST_F(DiffLogFilter, EachKeyCounts) {
    InitStore();
    const DxrLogFilterCfg sites[] = {{3, 1, 1, 1, 1, 0}, {3, 2, 1, 1, 1, 0}, {3, 1, 2, 1, 1, 0},
                                     {3, 1, 1, 2, 1, 0}, {3, 1, 1, 1, 2, 0}, {3, 1, 1, 1, 1, 7}};
    for (const DxrLogFilterCfg &site : sites) {
        DXR_DiffLogFilter(&site, "line");
    }
    // All but the last, which differs in its interval alone.
    EXPECT_THAT(host.diagLines, SizeIs(5));
}

TEST_F(DiffLogFilter, LargestNumbersMakeTheLongestKey) {
    InitStore();
    const DxrLogFilterCfg site{28, UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX, 0};
    DXR_DiffLogFilter(&site, "line");
    EXPECT_EQ(OnlyHashOf(28), HashOf("284294967295429496729542949672954294967295"));
}

// MODULE-15
TEST_F(DiffLogFilter, DigitsAreJoinedWithoutSeparators) {
    InitStore();
    const DxrLogFilterCfg one{3, 1, 23, 4, 5, 0};
    const DxrLogFilterCfg same{3, 12, 3, 4, 5, 0};
    const DxrLogFilterCfg other{3, 12, 34, 4, 5, 0};
    DXR_DiffLogFilter(&one, "one");
    DXR_DiffLogFilter(&same, "same");
    DXR_DiffLogFilter(&other, "other");
    EXPECT_THAT(host.diagLines, ElementsAre("one", "other"));
}

TEST_F(DiffLogFilter, SameDigitsUnderAnotherTypeAreAnotherKey) {
    InitStore();
    const DxrLogFilterCfg one{1, 11, 0, 0, 0, 0};
    const DxrLogFilterCfg other{11, 1, 0, 0, 0, 0};
    DXR_DiffLogFilter(&one, "one");
    DXR_DiffLogFilter(&other, "other");
    EXPECT_THAT(host.diagLines, ElementsAre("one", "other"));
    EXPECT_EQ(OnlyHashOf(1), OnlyHashOf(11));
}

// A text whose page can be made unreadable: whoever formats it then does not come back.
class LockablePage {
  public:
    LockablePage()
        : size_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          text_(static_cast<char *>(
              mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        std::strcpy(text_, "read");
    }
    ~LockablePage() { munmap(text_, size_); }
    LockablePage(const LockablePage &) = delete;
    LockablePage &operator=(const LockablePage &) = delete;

    void Lock() { ASSERT_EQ(mprotect(text_, size_, PROT_NONE), 0); }
    [[nodiscard]] const char *Text() const { return text_; }

  private:
    size_t size_;
    char *text_;
};

TEST_F(DiffLogFilter, SuppressedMessageIsNotEvenFormatted) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    LockablePage page;
    DXR_DiffLogFilter(&site, "%s", page.Text());
    page.Lock();
    DXR_DiffLogFilter(&site, "%s", page.Text());
    EXPECT_THAT(host.diagLines, ElementsAre("read"));
    EXPECT_EQ(LookAt(3).entries[0].logCnt, 1U);
}

TEST_F(DiffLogFilter, MessageIsCutAfterThousandTwentyThreeCharacters) {
    InitStore();
    const std::string text(3000, 'x');
    const DxrLogFilterCfg site = Site(3);
    DXR_DiffLogFilter(&site, "%s", text.c_str());
    EXPECT_THAT(host.diagLines, ElementsAre(text.substr(0, 1023)));
}

TEST_F(DiffLogFilter, EmptyMessageIsHandedOn) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    DXR_DiffLogFilter(&site, "%s", "");
    EXPECT_THAT(host.diagLines, ElementsAre(""));
    EXPECT_THAT(host.printed, IsEmpty());
}

TEST_F(DiffLogFilter, MessageThatCannotBeFormattedIsDroppedButRemembered) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    DXR_DiffLogFilter(&site, "%ls", kUnformattable);
    EXPECT_THAT(host.diagLines, IsEmpty());
    EXPECT_EQ(OnlyHashOf(3), HashOf("30000"));
    DXR_DiffLogFilter(&site, "good");
    EXPECT_THAT(host.diagLines, IsEmpty());
    EXPECT_THAT(host.printed, IsEmpty());
}

TEST_F(DiffLogFilter, NullFormatIsDropped) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    kDiff(&site, nullptr);
    EXPECT_THAT(host.diagLines, IsEmpty());
    EXPECT_THAT(host.printed, IsEmpty());
}

TEST_F(DiffLogFilter, NullConfigurationPrintsNothing) {
    InitStore();
    DXR_DiffLogFilter(nullptr, "line %u", 1U);
    DXR_EnableLogFilter(0);
    DXR_DiffLogFilter(nullptr, "line %u", 1U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(DiffLogFilter, IntervalHandsOnTheMessageOfThatTime) {
    InitStore();
    const DxrLogFilterCfg site = Site(3, 5);
    for (uint32_t i = 0; i < 11; ++i) {
        DXR_DiffLogFilter(&site, "%u", i);
        ++host.nowSec;
    }
    EXPECT_THAT(host.diagLines, ElementsAre("0", "5", "10"));
}

TEST_F(DiffLogFilter, ResultOfTheHostsLogIsIgnored) {
    InitStore();
    host.diagResult = 1;
    const DxrLogFilterCfg site = Site(3);
    DXR_DiffLogFilter(&site, "line");
    DXR_DiffLogFilter(&site, "line");
    EXPECT_THAT(host.diagLines, ElementsAre("line"));
}

TEST_F(DiffLogFilter, HandsOnEverythingWhenAbsentOffOrOfNoType) {
    const DxrLogFilterCfg site = Site(3);
    DXR_DiffLogFilter(&site, "absent");
    DXR_DiffLogFilter(&site, "absent");
    EXPECT_THAT(host.diagLines, ElementsAre("absent", "absent"));
    InitStore();
    DXR_EnableLogFilter(0);
    DXR_DiffLogFilter(&site, "off");
    DXR_DiffLogFilter(&site, "off");
    EXPECT_THAT(host.diagLines, ElementsAre("off", "off"));
    Forget();
    DXR_EnableLogFilter(1);
    const DxrLogFilterCfg noType = Site(29);
    DXR_DiffLogFilter(&noType, "no type");
    DXR_DiffLogFilter(&noType, "no type");
    EXPECT_THAT(host.diagLines, ElementsAre("no type", "no type"));
}

// MODULE-14
TEST_F(DiffLogFilter, TextAndKeyOfTheSameDigitsAreOneEntry) {
    InitStore();
    const DxrLogFilterCfg site{3, 1, 2, 3, 4, 0};
    DXR_DiffLogFilter(&site, "line");
    DXR_SameLogFilter(&site, "%s", "31234");
    EXPECT_THAT(host.diagLines, ElementsAre("line"));
}

TEST_F(IsSameKey, TellsARepeatedKey) {
    InitStore();
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
    EXPECT_EQ(OnlyHashOf(26), HashOf("261234"));
    EXPECT_EQ(LookAt(26).entries[0].key1, 0U);
    EXPECT_THAT(host.calls, ElementsAre("lock #26", "currSec", "allocate mid=9 size=64",
                                        "currTime size=39", "unlock #26"));
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 1);
    EXPECT_EQ(DXR_IsSameKey(4, 3, 2, 1), 0);
    EXPECT_THAT(host.diagLines, IsEmpty());
}

// MODULE-15
TEST_F(IsSameKey, DigitsAreJoinedWithoutSeparators) {
    InitStore();
    EXPECT_EQ(DXR_IsSameKey(1, 23, 4, 0), 0);
    EXPECT_EQ(DXR_IsSameKey(12, 3, 4, 0), 1);
    EXPECT_EQ(DXR_IsSameKey(1, 2, 34, 0), 1);
    EXPECT_EQ(DXR_IsSameKey(123, 4, 0, 0), 0);
    EXPECT_EQ(DXR_IsSameKey(0, 1234, 0, 0), 0);
}

TEST_F(IsSameKey, LargestNumbersMakeTheLongestKey) {
    InitStore();
    EXPECT_EQ(DXR_IsSameKey(UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX), 0);
    EXPECT_EQ(OnlyHashOf(26), HashOf("264294967295429496729542949672954294967295"));
}

// MODULE-14
TEST_F(IsSameKey, SharesTheRingOfItsType) {
    InitStore();
    const DxrLogFilterCfg site{26, 7, 8, 9, 10, 0};
    DXR_DiffLogFilter(&site, "line");
    EXPECT_EQ(DXR_IsSameKey(7, 8, 9, 10), 1);
    EXPECT_EQ(DXR_IsSameKey(5, 5, 5, 5), 0);
    EXPECT_EQ(Decide(Site(26), "265555"), 1);
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        EXPECT_EQ(LookAt(type).curSize, type == 26 ? 2U : 0U);
    }
}

TEST_F(IsSameKey, IsNewAgainAfterTheHourAndNotBefore) {
    InitStore();
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
    host.nowSec += 3599;
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 1);
    host.nowSec += 1;
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
}

TEST_F(IsSameKey, IsNewWhenAbsentOrOff) {
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
    InitStore();
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
    DXR_EnableLogFilter(0);
    EXPECT_EQ(DXR_IsSameKey(1, 2, 3, 4), 0);
}

// --- clearing

TEST_F(ClearLogFilterInfo, MakesLinesNewAgainAndKeepsTheStorage) {
    InitStore();
    for (const char *line : {"a", "b", "c", "c"}) {
        Decide(Site(5), line);
    }
    EXPECT_EQ(Decide(Site(6), "a"), 0);
    DxrLogFilterInfo *record = DXR_GetLogFilter(5);
    record->curIndex = 1;
    const DxrLogFilterEntry *storage = record->entries;
    const std::string contents(reinterpret_cast<const char *>(storage), record->capacity * 64);
    Forget();

    EXPECT_EQ(DXR_ClearLogFilterInfo(5), 0U);
    EXPECT_THAT(host.calls, ElementsAre("lock #5", "unlock #5"));
    EXPECT_EQ(LookAt(5).curIndex, 0U);
    EXPECT_EQ(LookAt(5).curSize, 0U);
    EXPECT_EQ(LookAt(5).capacity, 7U);
    EXPECT_EQ(LookAt(5).entries, storage);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(storage), record->capacity * 64),
              contents);

    EXPECT_EQ(Decide(Site(5), "c"), 0);
    EXPECT_EQ(Decide(Site(6), "a"), 1);
}

TEST_F(ClearLogFilterInfo, LaterTypesAreLeftAlone) {
    InitStore();
    for (const uint32_t type : {29U, 30U, UINT32_MAX}) {
        host.unlockResult = 9;
        EXPECT_EQ(DXR_ClearLogFilterInfo(type), 0U);
    }
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(ClearLogFilterInfo, ResultIsThatOfTheUnlock) {
    InitStore();
    host.lockResult = 4;
    host.unlockResult = 77;
    EXPECT_EQ(Decide(Site(28), "a"), 0);
    EXPECT_EQ(DXR_ClearLogFilterInfo(28), 77U);
    EXPECT_EQ(LookAt(28).curSize, 0U);
    g_dxrHooks.task = {};
    EXPECT_EQ(DXR_ClearLogFilterInfo(28), 0U);
}

// HOST-14
TEST_F(ClearLogFilterInfo, WithoutAStoreStillLocksAndUnlocks) {
    host.unlockResult = 5;
    EXPECT_EQ(DXR_ClearLogFilterInfo(3), 5U);
    EXPECT_THAT(host.calls, ElementsAre("lock null", "unlock null"));
    InitStore();
    DXR_DestroyLogFilter();
    Forget();
    EXPECT_EQ(DXR_ClearLogFilterInfo(3), 5U);
    EXPECT_THAT(host.calls, ElementsAre("lock #3", "unlock #3"));
}

TEST_F(ClearLogFilterInfo, EmptyRecordStaysEmpty) {
    InitStore();
    EXPECT_EQ(DXR_ClearLogFilterInfo(0), 0U);
    EXPECT_EQ(LookAt(0), (Ring{0, 0, 0, nullptr}));
}

TEST_F(ClearLogFilterInfo, WorksWhileTheFilterIsOff) {
    InitStore();
    EXPECT_EQ(Decide(Site(5), "a"), 0);
    DXR_EnableLogFilter(0);
    EXPECT_EQ(DXR_ClearLogFilterInfo(5), 0U);
    DXR_EnableLogFilter(1);
    EXPECT_EQ(Decide(Site(5), "a"), 0);
}

// --- table

const std::string kSeparator =
    "------+-------+--------------------------+---------------------------------+----------+"
    "---------------+--------\r\n";
const std::string kColumns =
    "Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n";

std::string Pad(std::string text, size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

std::string Hex(uint32_t value) {
    char digits[9];
    std::snprintf(digits, sizeof(digits), "%x", value);
    return digits;
}

std::string Row(uint32_t position, const char *state, const std::string &time, uint32_t hash,
                uint32_t count) {
    return "  " + Pad(std::to_string(position), 3) + "    " + state + "    " + Pad(time, 23) +
           "     0x" + Pad(Hex(hash), 11) + "   " + std::to_string(count) + "\r\n";
}

std::string Head(const DxrLogFilterCfg &cfg, const DxrLogFilterInfo &record) {
    return "logtype[" + std::to_string(cfg.logType) + "], curIndex[" +
           std::to_string(record.curIndex) + "], curSize[" + std::to_string(record.curSize) +
           "], capacity[" + std::to_string(record.capacity) + "] switchState[" +
           std::to_string(DXR_IsLogFilterEnable()) + "]\r\n";
}

// The whole table, built without the library.
std::string Table(const DxrLogFilterCfg &cfg, const DxrLogFilterInfo &record) {
    std::string table = Head(cfg, record) + kSeparator + kColumns + kSeparator;
    for (uint32_t i = 0; i < cfg.key2 && record.capacity != 0; ++i) {
        const uint32_t position = (cfg.key1 + i) % record.capacity;
        const DxrLogFilterEntry &entry = record.entries[position];
        table += Row(position, entry.state != 0 ? "CUR" : "HIS", entry.logBeginTime,
                     entry.logHashCode, entry.logCnt);
    }
    return table + kSeparator;
}

DxrLogFilterCfg Rows(uint32_t logType, uint32_t first, uint32_t count) {
    return {logType, first, count, 0, 0, 0};
}

struct Shown {
    std::string text;
    uint32_t length;
};

// Renders into a guarded buffer and checks what holds for every size.
Shown Combine(const DxrLogFilterCfg &cfg, const DxrLogFilterInfo *record, uint32_t size) {
    GuardedBuffer buffer(size);
    uint32_t length = 0xABCDABCDU;
    DXR_CombineShowLog(&cfg, record, buffer.Data(), &length, size);
    EXPECT_TRUE(buffer.Intact()) << "size " << size;
    if (size == 0) {
        EXPECT_TRUE(buffer.Untouched());
        return {"", length};
    }
    EXPECT_TRUE(buffer.Terminated()) << "size " << size;
    return {buffer.Text(), length};
}

void SomeEntries(DxrLogFilterInfo *record) {
    Fill(record, 3, 1, 2, 1000, 0x11);
    const char *times[] = {"", "2024-03-15 10:20:30", "2024-03-15 10:20:30.123456 +0000"};
    const uint32_t hashes[] = {0, 0xABC, 0xFFFFFFFFU};
    const uint32_t counts[] = {0, 7, 4294967295U};
    const uint8_t states[] = {0, 1, 200};
    for (uint32_t i = 0; i < 3; ++i) {
        std::strcpy(record->entries[i].logBeginTime, times[i]);
        record->entries[i].logHashCode = hashes[i];
        record->entries[i].logCnt = counts[i];
        record->entries[i].state = states[i];
    }
}

TEST_F(CombineShowLog, TableIsThisToTheLetter) {
    OwnRecord own;
    SomeEntries(own.Get());
    const Shown shown = Combine(Rows(12, 0, 3), own.Get(), 4096);
    EXPECT_EQ(
        shown.text,
        "logtype[12], curIndex[1], curSize[2], capacity[3] switchState[1]\r\n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\r\n"
        "Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\r\n"
        "  0      HIS                                0x0             0\r\n"
        "  1      CUR    2024-03-15 10:20:30         0xabc           7\r\n"
        "  2      CUR    2024-03-15 10:20:30.123456 +0000     0xffffffff      4294967295\r\n"
        "------+-------+--------------------------+---------------------------------+----------+"
        "---------------+--------\r\n");
    EXPECT_EQ(shown.length, shown.text.size());
    EXPECT_EQ(shown.text, Table(Rows(12, 0, 3), *own.Get()));
}

TEST_F(CombineShowLog, NoRowsAskedForGivesThreeSeparators) {
    OwnRecord own;
    SomeEntries(own.Get());
    const DxrLogFilterCfg cfg = Rows(12, 1, 0);
    const Shown shown = Combine(cfg, own.Get(), 4096);
    EXPECT_EQ(shown.text, Head(cfg, *own.Get()) + kSeparator + kColumns + kSeparator + kSeparator);
    EXPECT_EQ(shown.length, shown.text.size());
}

TEST_F(CombineShowLog, StaysInsideEverySizeOfBuffer) {
    OwnRecord own;
    SomeEntries(own.Get());
    for (const uint32_t rows : {0U, 1U, 3U, 5U, 20U}) {
        const DxrLogFilterCfg cfg = Rows(12, 1, rows);
        const std::string table = Table(cfg, *own.Get());
        for (uint32_t size = 0; size <= 700; ++size) {
            const Shown shown = Combine(cfg, own.Get(), size);
            const std::string fitting = size == 0 ? "" : table.substr(0, size - 1);
            ASSERT_EQ(shown.text, fitting) << "size " << size << ", rows " << rows;
            ASSERT_EQ(shown.length, fitting.size()) << "size " << size << ", rows " << rows;
        }
    }
}

// MODULE-16
TEST_F(CombineShowLog, RowsStartAnywhereAndWrap) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 4, 100, 0x11);
    for (const uint32_t first :
         {0U, 1U, 6U, 7U, 8U, 1000000U, 0x7FFFFFFFU, 0xFFFFFFFCU, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        for (const uint32_t count : {1U, 2U, 7U, 8U, 15U}) {
            const DxrLogFilterCfg cfg = Rows(0, first, count);
            const Shown shown = Combine(cfg, own.Get(), 8192);
            ASSERT_EQ(shown.text, Table(cfg, *own.Get())) << first << "+" << count;
            ASSERT_EQ(shown.length, shown.text.size());
        }
    }
}

TEST_F(CombineShowLog, ListsRowsOutsideTheLivePart) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 3, 1000, 0x11);
    own.Get()->entries[1].beginSec = host.nowSec;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    const Shown shown = Combine(Rows(4, 0, 3), own.Get(), 4096);
    EXPECT_EQ(shown.text, "logtype[4], curIndex[1], curSize[2], capacity[3] switchState[1]\r\n" +
                              kSeparator + kColumns + kSeparator + Row(0, "HIS", "", 0x11, 0) +
                              Row(1, "CUR", "", 0x12, 0) + Row(2, "CUR", "", 0x13, 0) + kSeparator);
}

TEST_F(CombineShowLog, ThousandsOfRowsAreListed) {
    OwnRecord own;
    Fill(own.Get(), 2047, 100, 2047, 1000);
    const DxrLogFilterCfg cfg = Rows(4, 100, 5000);
    const Shown shown = Combine(cfg, own.Get(), 1000000);
    EXPECT_EQ(shown.text, Table(cfg, *own.Get()));
    EXPECT_EQ(shown.length, shown.text.size());
}

// MODULE-16
TEST_F(CombineShowLog, EndlessRowsEndWithTheBuffer) {
    OwnRecord own;
    SomeEntries(own.Get());
    const std::string table = Table(Rows(4, 0xFFFFFFF0U, 40), *own.Get());
    for (const uint32_t size : {0U, 1U, 2U, 60U, 500U, 1023U, 1024U}) {
        const Shown shown = Combine(Rows(4, 0xFFFFFFF0U, UINT32_MAX), own.Get(), size);
        const std::string fitting = size == 0 ? "" : table.substr(0, size - 1);
        EXPECT_EQ(shown.text, fitting);
        EXPECT_EQ(shown.length, fitting.size());
    }
}

TEST_F(CombineShowLog, CapacityOfZeroListsNoRows) {
    OwnRecord own;
    for (const uint32_t rows : {1U, 100U, UINT32_MAX}) {
        const DxrLogFilterCfg cfg = Rows(4, 3, rows);
        const std::string table =
            Head(cfg, *own.Get()) + kSeparator + kColumns + kSeparator + kSeparator;
        EXPECT_EQ(Combine(cfg, own.Get(), 4096).text, table);
        EXPECT_EQ(Combine(cfg, own.Get(), 4096).length, table.size());
        EXPECT_EQ(Combine(cfg, own.Get(), 100).text, table.substr(0, 99));
    }
}

TEST_F(CombineShowLog, StorageOfACapacityOfZeroListsNoRows) {
    OwnRecord own;
    own.Get()->entries = static_cast<DxrLogFilterEntry *>(DXR_Malloc(9, 64, __FILE__, __LINE__));
    const DxrLogFilterCfg cfg = Rows(4, 3, 5);
    EXPECT_EQ(Combine(cfg, own.Get(), 4096).text,
              Head(cfg, *own.Get()) + kSeparator + kColumns + kSeparator + kSeparator);
}

TEST_F(CombineShowLog, CapacityWithoutStorageListsNoRows) {
    OwnRecord own;
    own.Get()->capacity = 7;
    own.Get()->curSize = 3;
    const DxrLogFilterCfg cfg = Rows(4, 3, 5);
    EXPECT_EQ(Combine(cfg, own.Get(), 4096).text,
              Head(cfg, *own.Get()) + kSeparator + kColumns + kSeparator + kSeparator);
}

TEST_F(CombineShowLog, HeaderShowsTheFieldsAsTheyAre) {
    OwnRecord own;
    SomeEntries(own.Get());
    own.Get()->curIndex = UINT32_MAX;
    own.Get()->curSize = 4000000000U;
    for (const int on : {0, 7, 255}) {
        DXR_EnableLogFilter(static_cast<uint8_t>(on));
        const Shown shown = Combine(Rows(UINT32_MAX, 0, 0), own.Get(), 4096);
        EXPECT_EQ(shown.text.substr(0, shown.text.find('\n') + 1),
                  "logtype[4294967295], curIndex[4294967295], curSize[4000000000], capacity[3] "
                  "switchState[" +
                      std::to_string(on) + "]\r\n");
    }
}

// MODULE-10
TEST_F(CombineShowLog, CallsNothingOfTheHost) {
    OwnRecord own;
    SomeEntries(own.Get());
    Forget();
    Combine(Rows(4, 0, 3), own.Get(), 4096);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(CombineShowLog, NullArgumentsWriteNothing) {
    OwnRecord own;
    SomeEntries(own.Get());
    const DxrLogFilterCfg cfg = Rows(4, 0, 3);
    GuardedBuffer buffer(100);
    uint32_t length = 77;
    DXR_CombineShowLog(&cfg, own.Get(), nullptr, &length, 100);
    DXR_CombineShowLog(nullptr, own.Get(), buffer.Data(), &length, 100);
    DXR_CombineShowLog(&cfg, nullptr, buffer.Data(), &length, 100);
    DXR_CombineShowLog(&cfg, own.Get(), buffer.Data(), nullptr, 100);
    EXPECT_EQ(length, 77U);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_TRUE(buffer.Untouched());
}

// --- show

TEST_F(ShowLogFilterInfo, AgesTheRingThenRendersItUnderTheLock) {
    InitStore();
    EXPECT_EQ(Decide(Site(8), "old"), 0);
    host.nowSec += 3000;
    EXPECT_EQ(Decide(Site(8), "young"), 0);
    EXPECT_EQ(Decide(Site(8), "young"), 1);
    host.nowSec += 600;
    Forget();

    GuardedBuffer buffer(2000);
    uint32_t length = 0;
    const DxrLogFilterCfg cfg = Rows(8, 0, 2);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
    EXPECT_THAT(host.calls, ElementsAre("lock #8", "currSec", "unlock #8"));
    EXPECT_TRUE(buffer.Intact());
    EXPECT_EQ(buffer.Text(), "logtype[8], curIndex[1], curSize[1], capacity[3] switchState[1]\r\n" +
                                 kSeparator + kColumns + kSeparator +
                                 Row(0, "HIS", "T1000000", HashOf("old"), 0) +
                                 Row(1, "CUR", "T1003000", HashOf("young"), 1) + kSeparator);
    EXPECT_EQ(length, buffer.Text().size());
}

GuardedBuffer *g_bufferAtUnlock;
std::string g_textAtUnlock;
std::string g_textAtLock;

TEST_F(ShowLogFilterInfo, TextStandsInTheBufferWhenTheLockOpens) {
    InitStore();
    EXPECT_EQ(Decide(Site(8), "line"), 0);
    GuardedBuffer buffer(2000);
    g_bufferAtUnlock = &buffer;
    g_dxrHooks.task.lockMutex = [](void *) -> uint32_t {
        g_textAtLock = g_bufferAtUnlock->Untouched() ? "untouched" : "touched";
        return 0;
    };
    g_dxrHooks.task.unlockMutex = [](void *) -> uint32_t {
        g_textAtUnlock = g_bufferAtUnlock->Text();
        return 0;
    };
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    uint32_t length = 0;
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
    EXPECT_EQ(g_textAtLock, "untouched");
    EXPECT_EQ(g_textAtUnlock, Table(cfg, *DXR_GetLogFilter(8)));
}

TEST_F(ShowLogFilterInfo, NullArgumentsWriteNothing) {
    InitStore();
    host.unlockResult = 9;
    GuardedBuffer buffer(200);
    uint32_t length = 4711;
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    EXPECT_EQ(DXR_ShowLogFilterInfo(nullptr, buffer.Data(), &length, 200), 0U);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, nullptr, &length, 200), 0U);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), nullptr, 200), 0U);
    EXPECT_EQ(DXR_ShowLogFilterInfo(nullptr, nullptr, nullptr, 0), 0U);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(length, 4711U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(ShowLogFilterInfo, WithoutARecordTakesNoLockAndLeavesTheLength) {
    host.unlockResult = 9;
    GuardedBuffer buffer(200);
    uint32_t length = 4711;
    const DxrLogFilterCfg valid = Rows(8, 0, 1);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&valid, buffer.Data(), &length, 200), 0U);
    InitStore();
    for (const uint32_t type : {29U, UINT32_MAX}) {
        const DxrLogFilterCfg beyond = Rows(type, 0, 1);
        EXPECT_EQ(DXR_ShowLogFilterInfo(&beyond, buffer.Data(), &length, 200), 0U);
    }
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(length, 4711U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(ShowLogFilterInfo, ResultIsThatOfTheUnlock) {
    InitStore();
    host.lockResult = 3;
    host.unlockResult = 78;
    GuardedBuffer buffer(2000);
    uint32_t length = 0;
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 78U);
    EXPECT_EQ(buffer.Text(), Table(cfg, *DXR_GetLogFilter(8)));
    g_dxrHooks.task = {};
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
}

TEST_F(ShowLogFilterInfo, TypeWithoutStorageHasNoRows) {
    InitStore();
    GuardedBuffer buffer(2000);
    uint32_t length = 0;
    const DxrLogFilterCfg cfg = Rows(8, 0, 5);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
    EXPECT_EQ(buffer.Text(), "logtype[8], curIndex[0], curSize[0], capacity[0] switchState[1]\r\n" +
                                 kSeparator + kColumns + kSeparator + kSeparator);
    EXPECT_EQ(length, buffer.Text().size());
}

TEST_F(ShowLogFilterInfo, WorksWhileTheFilterIsOff) {
    InitStore();
    EXPECT_EQ(Decide(Site(8), "line"), 0);
    DXR_EnableLogFilter(0);
    GuardedBuffer buffer(2000);
    uint32_t length = 0;
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
    EXPECT_EQ(buffer.Text(), Table(cfg, *DXR_GetLogFilter(8)));
    EXPECT_NE(buffer.Text().find("switchState[0]"), std::string::npos);
}

TEST_F(ShowLogFilterInfo, TruncatedTableTellsHowFarItGot) {
    InitStore();
    EXPECT_EQ(Decide(Site(8), "line"), 0);
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    const std::string table = Table(cfg, *DXR_GetLogFilter(8));
    for (const uint32_t size : {0U, 1U, 2U, 100U, 400U}) {
        GuardedBuffer buffer(size);
        uint32_t length = 4711;
        EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, size), 0U);
        EXPECT_TRUE(buffer.Intact());
        const std::string fitting = size == 0 ? "" : table.substr(0, size - 1);
        EXPECT_EQ(length, fitting.size());
        if (size > 0) {
            EXPECT_EQ(buffer.Text(), fitting);
        }
    }
}

TEST_F(ShowLogFilterInfo, HooksOfClockAndHashMayBeEmpty) {
    InitStore();
    EXPECT_EQ(Decide(Site(8), "line"), 0);
    g_dxrHooks.time = {};
    g_dxrHooks.hash = {};
    g_dxrHooks.task = {};
    GuardedBuffer buffer(2000);
    uint32_t length = 0;
    const DxrLogFilterCfg cfg = Rows(8, 0, 1);
    EXPECT_EQ(DXR_ShowLogFilterInfo(&cfg, buffer.Data(), &length, 2000), 0U);
    EXPECT_EQ(buffer.Text(), Table(cfg, *DXR_GetLogFilter(8)));
    EXPECT_EQ(LookAt(8).curSize, 1U);
    EXPECT_EQ(Decide(Site(8), "line"), 1);
    EXPECT_EQ(Decide(Site(8), "other"), 0);
    EXPECT_STREQ(LookAt(8).entries[1].logBeginTime, "");
}

}  // namespace
}  // namespace dxrtest
