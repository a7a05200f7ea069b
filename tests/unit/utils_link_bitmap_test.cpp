#include "dxr/utils_link_bitmap.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/guarded_words.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::GuardedWords;
using dxrtest::TestHost;
using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<uint32_t>;

constexpr uint32_t kMax32 = 0xFFFFFFFF;
constexpr uint32_t kRecordSize = 24;

Words WordsOf(const DxrLinkBitMap *map) {
    return {map->bitMap, map->bitMap + size_t{map->chipNum} * map->wordNumPerChip};
}

// A map made by hand over words between guards.
class HandMade {
  public:
    HandMade(uint32_t chipNum, uint32_t wordNumPerChip, const Words &words)
        : words_(words, 0, 0), map_{chipNum, wordNumPerChip * 32, words_.Data(), wordNumPerChip} {}
    ~HandMade() { EXPECT_TRUE(words_.Intact()); }
    HandMade(const HandMade &) = delete;
    HandMade &operator=(const HandMade &) = delete;

    [[nodiscard]] DxrLinkBitMap *Get() { return &map_; }
    [[nodiscard]] Words Bits() const { return words_.Words(); }

  private:
    GuardedWords words_;
    DxrLinkBitMap map_;
};

// ---- Link numbers

TEST(LinkNumbers, ChipAndLinkOfAnAbsoluteLink) {
    EXPECT_EQ(DXR_CalcChipIdByAbsoluteLinkId(100, 48), 2U);
    EXPECT_EQ(DXR_CalcLinkIdByAbsoluteLinkId(100, 48), 4U);
    EXPECT_EQ(DXR_CalcChipIdByAbsoluteLinkId(47, 48), 0U);
    EXPECT_EQ(DXR_CalcLinkIdByAbsoluteLinkId(47, 48), 47U);
    EXPECT_EQ(DXR_CalcChipIdByAbsoluteLinkId(kMax32, 0x80000000), 1U);
    EXPECT_EQ(DXR_CalcLinkIdByAbsoluteLinkId(kMax32, 0x80000000), 0x7FFFFFFFU);
}

TEST(LinkNumbers, ADivisorOfZeroIsTakenAsOne) {
    EXPECT_EQ(DXR_CalcChipIdByAbsoluteLinkId(7, 0), 7U);
    EXPECT_EQ(DXR_CalcLinkIdByAbsoluteLinkId(7, 0), 0U);
    EXPECT_EQ(DXR_CalcChipIdByAbsoluteLinkId(kMax32, 0), kMax32);
    EXPECT_EQ(DXR_CalcLinkIdByAbsoluteLinkId(kMax32, 0), 0U);
}

TEST(LinkNumbers, TheAbsoluteLinkWraps) {
    EXPECT_EQ(DXR_CalcAbsoluteLinkId(2, 48, 4), 100U);
    EXPECT_EQ(DXR_CalcAbsoluteLinkId(0, 0, 5), 5U);
    EXPECT_EQ(DXR_CalcAbsoluteLinkId(0x10000, 0x10000, 3), 3U);
    EXPECT_EQ(DXR_CalcAbsoluteLinkId(1, kMax32, 2), 1U);
}

TEST(LinkNumbers, ChipAndLinkComposeTheAbsoluteLink) {
    for (uint32_t perChip = 1; perChip < 70; ++perChip) {
        for (uint32_t link = 0; link < 300; ++link) {
            ASSERT_EQ(DXR_CalcAbsoluteLinkId(DXR_CalcChipIdByAbsoluteLinkId(link, perChip), perChip,
                                             DXR_CalcLinkIdByAbsoluteLinkId(link, perChip)),
                      link);
        }
    }
}

// ---- Creation and destruction

TEST(CreateLinkBitMap, RowsAreWholeWordsAndAllClear) {
    TestHost host;
    host.WithMemory();
    struct Case {
        uint32_t links;
        uint32_t words;
    };
    for (const auto &[links, words] : {Case{1, 1}, Case{31, 1}, Case{32, 1}, Case{33, 2},
                                       Case{64, 2}, Case{65, 3}, Case{1000, 32}}) {
        DxrLinkBitMap *map = DXR_CreateLinkBitMap(3, links);
        ASSERT_NE(map, nullptr);
        EXPECT_EQ(map->chipNum, 3U);
        EXPECT_EQ(map->linkNumPerChip, links);
        EXPECT_EQ(map->wordNumPerChip, words) << links;
        EXPECT_EQ(WordsOf(map), Words(size_t{3} * words, 0));
        EXPECT_EQ(host.allocations.back().size, 3 * 4 * words);
        DXR_DestroyLinkBitMap(map);
    }
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

TEST(CreateLinkBitMap, TheRecordComesFirstAndIsZeroedToItsLastByte) {
    TestHost host;
    host.WithMemory();
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(2, 40);
    ASSERT_NE(map, nullptr);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=24", "allocate mid=9 size=16"));
    EXPECT_EQ(host.allocations[0].block, map);
    EXPECT_EQ(host.allocations[1].block, map->bitMap);
    std::array<unsigned char, 4> padding;
    std::memcpy(padding.data(), reinterpret_cast<const char *>(map) + 20, padding.size());
    EXPECT_THAT(padding, testing::Each(0));
    DXR_DestroyLinkBitMap(map);
}

TEST(CreateLinkBitMap, MemoryIsAccountedToTheDefaultModuleAndThisComponent) {
    TestHost host;
    host.WithMemory();
    DXR_SetDefaultMid(77);
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(1, 1);
    DXR_DestroyLinkBitMap(map);
    ASSERT_EQ(host.allocations.size(), 2U);
    ASSERT_EQ(host.releases.size(), 2U);
    for (const dxrtest::Allocation &allocation : host.allocations) {
        EXPECT_EQ(allocation.mid, 77U);
        EXPECT_THAT(allocation.file, testing::StartsWith("src/dxr/api/dxr_utils"));
        EXPECT_NE(allocation.line, 0U);
    }
    EXPECT_NE(host.allocations[0].line, host.allocations[1].line);
    for (const dxrtest::Release &release : host.releases) {
        EXPECT_THAT(release.file, testing::StartsWith("src/dxr/api/dxr_utils"));
        EXPECT_NE(release.line, 0U);
    }
    EXPECT_NE(host.releases[0].line, host.releases[1].line);
}

std::vector<uint32_t> g_mids;

void *AllocateAndChangeTheMid(uint32_t mid, uint32_t size, const char *, uint32_t) {
    g_mids.push_back(mid);
    DXR_SetDefaultMid(mid + 1);
    return std::malloc(size);
}

void FreeBlock(void *block, const char *, uint32_t) {
    std::free(block);
}

TEST(CreateLinkBitMap, TheDefaultModuleIsAskedForAtEachAllocation) {
    TestHost host;
    g_mids.clear();
    DXR_SetMemoryHooks(AllocateAndChangeTheMid, FreeBlock);
    DXR_SetDefaultMid(20);
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(1, 1);
    EXPECT_THAT(g_mids, ElementsAre(20, 21));
    DXR_DestroyLinkBitMap(map);
}

TEST(CreateLinkBitMap, WithoutMemoryThereIsNoMap) {
    TestHost host;
    EXPECT_EQ(DXR_CreateLinkBitMap(2, 40), nullptr);
    host.WithMemory();
    host.FailAllocation(1);
    EXPECT_EQ(DXR_CreateLinkBitMap(2, 40), nullptr);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=24"));
}

TEST(CreateLinkBitMap, ARecordWithoutWordsIsReleased) {
    TestHost host;
    host.WithMemory();
    host.FailAllocation(2);
    EXPECT_EQ(DXR_CreateLinkBitMap(2, 40), nullptr);
    EXPECT_THAT(host.calls,
                ElementsAre("allocate mid=9 size=24", "allocate mid=9 size=16", "release #0"));
    EXPECT_THAT(host.releases[0].file, testing::StartsWith("src/dxr/api/dxr_utils"));
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

// HOST-10
TEST(CreateLinkBitMap, EveryFailingAllocationLeavesNothingBehind) {
    TestHost host;
    host.WithMemory();
    for (uint64_t n = 1;; ++n) {
        ASSERT_LE(n, 3U);
        host.FailAllocationsFrom(n);
        DxrLinkBitMap *map = DXR_CreateLinkBitMap(4, 100);
        host.StopFailingAllocations();
        if (map != nullptr) {
            EXPECT_EQ(n, 3U);
            DXR_DestroyLinkBitMap(map);
            break;
        }
        EXPECT_EQ(host.LiveBlocks(), 0U);
    }
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

TEST(CreateLinkBitMap, AMapOfNoWordsIsNeverMade) {
    TestHost host;
    host.WithMemory();
    EXPECT_EQ(DXR_CreateLinkBitMap(3, 0), nullptr);
    EXPECT_EQ(DXR_CreateLinkBitMap(0, 32), nullptr);
    EXPECT_EQ(DXR_CreateLinkBitMap(0, 0), nullptr);
    // The host is asked for the records alone.
    EXPECT_EQ(host.allocations.size(), 3U);
    for (const dxrtest::Allocation &allocation : host.allocations) {
        EXPECT_EQ(allocation.size, kRecordSize);
    }
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

// MODULE-7
TEST(CreateLinkBitMap, TheByteSizeOfTheWordsWraps) {
    TestHost host;
    host.WithMemory();
    // 0x40000001 chips of one word: 2^32 + 4 bytes.
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(0x40000001, 32);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(host.allocations[1].size, 4U);
    EXPECT_EQ(map->chipNum, 0x40000001U);
    EXPECT_EQ(map->wordNumPerChip, 1U);
    EXPECT_EQ(map->bitMap[0], 0U);
    DXR_DestroyLinkBitMap(map);
    // Exactly 2^32: nothing to ask for.
    EXPECT_EQ(DXR_CreateLinkBitMap(0x40000000, 32), nullptr);
    EXPECT_EQ(DXR_CreateLinkBitMap(32, kMax32), nullptr);
    EXPECT_EQ(host.allocations.size(), 4U);
    // The greatest row: 2^27 words.
    host.FailAllocation(2);
    EXPECT_EQ(DXR_CreateLinkBitMap(1, kMax32), nullptr);
    EXPECT_EQ(host.allocations.back().size, uint32_t{1} << 29);
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

// MODULE-6
TEST(DestroyLinkBitMap, WordsGoBeforeTheRecord) {
    TestHost host;
    host.WithMemory();
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(2, 40);
    host.calls.clear();
    DXR_DestroyLinkBitMap(map);
    EXPECT_THAT(host.calls, ElementsAre("release #1", "release #0"));
}

TEST(DestroyLinkBitMap, ANullMapIsIgnored) {
    TestHost host;
    host.WithEverything();
    DXR_DestroyLinkBitMap(nullptr);
    EXPECT_THAT(host.calls, IsEmpty());
}

std::vector<void *> g_released;
uint32_t *g_wordsWhenTheRecordWent = nullptr;
DxrLinkBitMap *g_record = nullptr;

void RecordRelease(void *block, const char *, uint32_t) {
    g_released.push_back(block);
    if (block == g_record) {
        g_wordsWhenTheRecordWent = g_record->bitMap;
    }
}

TEST(DestroyLinkBitMap, TheRecordGoesWithoutItsWords) {
    TestHost host;
    DXR_SetMemoryHooks(nullptr, RecordRelease);
    uint32_t word = 0;
    DxrLinkBitMap map = {1, 32, &word, 1};
    g_record = &map;
    g_released.clear();
    g_wordsWhenTheRecordWent = &word;
    DXR_DestroyLinkBitMap(&map);
    EXPECT_THAT(g_released, ElementsAre(&word, &map));
    EXPECT_EQ(g_wordsWhenTheRecordWent, nullptr);
}

TEST(DestroyLinkBitMap, ARecordWithoutWordsReleasesTheRecordAlone) {
    TestHost host;
    DXR_SetMemoryHooks(nullptr, RecordRelease);
    DxrLinkBitMap map = {1, 0, nullptr, 0};
    g_released.clear();
    DXR_DestroyLinkBitMap(&map);
    EXPECT_THAT(g_released, ElementsAre(&map));
}

// ---- Setting links

TEST(SaveLinkToBitMap, EachLinkHasItsBit) {
    constexpr uint32_t kChips = 3;
    constexpr uint32_t kRow = 2;
    for (uint32_t chip = 0; chip < kChips; ++chip) {
        for (uint32_t link = 0; link < kRow * 32; ++link) {
            HandMade map(kChips, kRow, Words(kChips * kRow, 0));
            Words expected(kChips * kRow, 0);
            expected[chip * kRow + link / 32] = uint32_t{1} << (link % 32);
            DXR_SaveLinkToBitMap(map.Get(), chip, link);
            ASSERT_EQ(map.Bits(), expected) << chip << ' ' << link;
        }
    }
}

TEST(SaveLinkToBitMap, BitsStayOnceSet) {
    HandMade map(1, 1, {0});
    DXR_SaveLinkToBitMap(map.Get(), 0, 3);
    DXR_SaveLinkToBitMap(map.Get(), 0, 3);
    DXR_SaveLinkToBitMap(map.Get(), 0, 31);
    EXPECT_THAT(map.Bits(), ElementsAre(0x80000008));
}

TEST(SaveLinkToBitMap, NeighboursStay) {
    HandMade map(1, 2, {0xFFFFFFFF, 0xFFFFFFFF});
    for (const uint32_t link : {0U, 15U, 30U, 31U, 32U, 62U}) {
        DXR_SaveLinkToBitMap(map.Get(), 0, link);
        EXPECT_THAT(map.Bits(), ElementsAre(0xFFFFFFFF, 0xFFFFFFFF)) << link;
    }
}

TEST(SaveLinkToBitMap, SpareBitsOfTheRowCanBeSetAndNoneBehind) {
    TestHost host;
    host.WithMemory();
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(2, 20);
    ASSERT_NE(map, nullptr);
    DXR_SaveLinkToBitMap(map, 0, 25);
    EXPECT_THAT(WordsOf(map), ElementsAre(0x02000000, 0));
    for (const uint32_t link : {32U, 33U, 64U, 0x80000000U, kMax32}) {
        DXR_SaveLinkToBitMap(map, 0, link);
        DXR_SaveLinkToBitMap(map, 1, link);
    }
    EXPECT_THAT(WordsOf(map), ElementsAre(0x02000000, 0));
    DXR_DestroyLinkBitMap(map);
}

TEST(SaveLinkToBitMap, ChipsBehindTheLastAndNullMapsAreIgnored) {
    HandMade map(2, 1, {0, 0});
    DXR_SaveLinkToBitMap(map.Get(), 2, 0);
    DXR_SaveLinkToBitMap(map.Get(), kMax32, 0);
    DXR_SaveLinkToBitMap(nullptr, 0, 0);
    EXPECT_THAT(map.Bits(), ElementsAre(0, 0));
}

TEST(SaveLinkToBitMap, ARowWithoutWordsTakesNothing) {
    HandMade map(2, 0, {});
    DXR_SaveLinkToBitMap(map.Get(), 1, 0);
}

TEST(SaveLinkToBitMap, TheRowOfAWrappedMapWrapsLikeItsSize) {
    TestHost host;
    host.WithMemory();
    // 0x40000001 chips of four words are 16 bytes: the last chip's row is the first one's.
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(0x40000001, 128);
    ASSERT_NE(map, nullptr);
    ASSERT_EQ(host.allocations[1].size, 16U);
    DXR_SaveLinkToBitMap(map, 0x40000000, 37);
    EXPECT_THAT(Words(map->bitMap, map->bitMap + 4), ElementsAre(0, 0x20, 0, 0));
    DXR_DestroyLinkBitMap(map);
}

TEST(SaveLinkToBitMapByAbsLinkId, TheDivisorIsTheNumberOfChips) {
    HandMade map(4, 2, Words(8, 0));
    DXR_SaveLinkToBitMapByAbsLinkId(map.Get(), 10);
    EXPECT_THAT(map.Bits(), ElementsAre(0, 0, 0, 0, 0x4, 0, 0, 0));
}

TEST(SaveLinkToBitMapByAbsLinkId, EveryAbsoluteLink) {
    constexpr uint32_t kChips = 5;
    for (uint32_t absolute = 0; absolute < 60; ++absolute) {
        HandMade map(kChips, 1, Words(kChips, 0));
        Words expected(kChips, 0);
        if (absolute / kChips < kChips) {
            expected[absolute / kChips] = uint32_t{1} << (absolute % kChips);
        }
        DXR_SaveLinkToBitMapByAbsLinkId(map.Get(), absolute);
        ASSERT_EQ(map.Bits(), expected) << absolute;
    }
}

TEST(SaveLinkToBitMapByAbsLinkId, NullMapsAndMapsWithoutChipsAreIgnored) {
    DXR_SaveLinkToBitMapByAbsLinkId(nullptr, 0);
    HandMade map(0, 1, {0});
    DXR_SaveLinkToBitMapByAbsLinkId(map.Get(), 0);
    EXPECT_THAT(map.Bits(), ElementsAre(0));
}

// ---- Text

const std::string kExampleChips =
    " Chip0: Valid[2][ 0x00000002 0x00000001 ] Chip1: Valid[0][ 0x00000000 0x00000000 ]";

// Links 0 and 33 of chip 0 of 2 chips.
class ExampleMap : public HandMade {
  public:
    ExampleMap() : HandMade(2, 2, {1, 2, 0, 0}) {}
};

TEST(FillLinkBitMapToBuf, ChipByChipTheHighestWordFirst) {
    TestHost host;
    host.WithMemory();
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(2, 40);
    ASSERT_NE(map, nullptr);
    DXR_SaveLinkToBitMap(map, 0, 0);
    DXR_SaveLinkToBitMap(map, 0, 33);
    GuardedBuffer buffer(200);
    DXR_FillLinkBitMapToBuf(map, buffer.Data(), 200);
    EXPECT_EQ(buffer.Text(), kExampleChips);
    EXPECT_TRUE(buffer.Intact());
    DXR_DestroyLinkBitMap(map);
}

// MODULE-1
TEST(FillLinkBitMapToBuf, EveryRoomCutsTheTextAndTerminatesIt) {
    HandMade map(5, 3, {1, 0xFFFFFFFF, 3, 4, 5, 0, 7, 8, 0x9000000F, 0, 0, 0, 0xABCDEF01, 2, 3});
    const std::string whole =
        " Chip0: Valid[35][ 0x00000003 0xffffffff 0x00000001 ]"
        " Chip1: Valid[3][ 0x00000000 0x00000005 0x00000004 ]"
        " Chip2: Valid[10][ 0x9000000f 0x00000008 0x00000007 ]"
        " Chip3: Valid[0][ 0x00000000 0x00000000 0x00000000 ]"
        " Chip4: Valid[21][ 0x00000003 0x00000002 0xabcdef01 ]";
    for (uint32_t room = 1; room <= 300; ++room) {
        GuardedBuffer buffer(room);
        DXR_FillLinkBitMapToBuf(map.Get(), buffer.Data(), room);
        ASSERT_EQ(buffer.Text(), whole.substr(0, room - 1)) << room;
        ASSERT_TRUE(buffer.Terminated()) << room;
        ASSERT_TRUE(buffer.Intact()) << room;
    }
}

TEST(FillLinkBitMapToBuf, WithoutRoomBufferOrChipsNothingIsWritten) {
    ExampleMap map;
    GuardedBuffer buffer(32);
    DXR_FillLinkBitMapToBuf(map.Get(), buffer.Data(), 0);
    EXPECT_TRUE(buffer.Untouched());
    DXR_FillLinkBitMapToBuf(map.Get(), nullptr, 32);
    HandMade empty(0, 1, {});
    DXR_FillLinkBitMapToBuf(empty.Get(), buffer.Data(), 32);
    EXPECT_TRUE(buffer.Untouched());
}

TEST(FillLinkBitMapToBuf, RowsWithoutWordsAreEmptyBrackets) {
    HandMade map(2, 0, {});
    GuardedBuffer buffer(100);
    DXR_FillLinkBitMapToBuf(map.Get(), buffer.Data(), 100);
    EXPECT_EQ(buffer.Text(), " Chip0: Valid[0][ ] Chip1: Valid[0][ ]");
}

TEST(FillLinkBitMapToBuf, AFullBufferEndsTheWalk) {
    // Of 2^32 - 1 chips, only those whose text has room are looked at.
    HandMade map(kMax32, 0, {});
    GuardedBuffer buffer(30);
    DXR_FillLinkBitMapToBuf(map.Get(), buffer.Data(), 30);
    EXPECT_EQ(buffer.Text(), " Chip0: Valid[0][ ] Chip1: Va");
    EXPECT_TRUE(buffer.Intact());
}

// ---- Printing

TEST(PrintLinkToBitMap, CallersTextTotalAndChips) {
    TestHost host;
    host.WithPrint();
    ExampleMap map;
    DXR_PrintLinkToBitMap(map.Get(), "link state:");
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].level, 6U);
    EXPECT_EQ(host.printed[0].format, "%s");
    EXPECT_EQ(host.printed[0].text, "link state: TotalValidLink[2] BitMapOrder <-" + kExampleChips);
}

TEST(PrintLinkToBitMap, TheCallersTextIsFormatted) {
    TestHost host;
    host.WithPrint();
    ExampleMap map;
    DXR_PrintLinkToBitMap(map.Get(), "%s %u%%", "load", 42U);
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].text, "load 42% TotalValidLink[2] BitMapOrder <-" + kExampleChips);
}

// MODULE-3
TEST(PrintLinkToBitMap, PercentSignsOfTheCallersTextAreNotFormattedAgain) {
    TestHost host;
    host.WithPrint();
    HandMade map(0, 1, {});
    DXR_PrintLinkToBitMap(map.Get(), "%s", "%n%s");
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].text, "%n%s TotalValidLink[0] BitMapOrder <-");
}

TEST(PrintLinkToBitMap, AMapWithoutChipsIsTheTotalPartAlone) {
    TestHost host;
    host.WithPrint();
    HandMade map(0, 2, {});
    DXR_PrintLinkToBitMap(map.Get(), "none:");
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].text, "none: TotalValidLink[0] BitMapOrder <-");
}

TEST(PrintLinkToBitMap, AnEmptyCallersText) {
    TestHost host;
    host.WithPrint();
    ExampleMap map;
    DXR_PrintLinkToBitMap(map.Get(), "%s", "");
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].text, " TotalValidLink[2] BitMapOrder <-" + kExampleChips);
}

TEST(PrintLinkToBitMap, TheCallersTextEndsAtItsFirstNul) {
    TestHost host;
    host.WithPrint();
    ExampleMap map;
    DXR_PrintLinkToBitMap(map.Get(), "a%cb", 0);
    ASSERT_EQ(host.printed.size(), 1U);
    EXPECT_EQ(host.printed[0].text, "a TotalValidLink[2] BitMapOrder <-" + kExampleChips);
}

TEST(PrintLinkToBitMap, TheLineIsCutAt1023CharactersWhereverItIsFull) {
    ExampleMap map;
    for (size_t length = 880; length <= 1100; ++length) {
        TestHost host;
        host.WithPrint();
        const std::string callers(length, 'x');
        DXR_PrintLinkToBitMap(map.Get(), "%s", callers.c_str());
        const std::string whole = callers + " TotalValidLink[2] BitMapOrder <-" + kExampleChips;
        ASSERT_EQ(host.printed.size(), 1U);
        ASSERT_EQ(host.printed[0].text, whole.substr(0, 1023)) << length;
    }
}

std::string g_lineBuffer;

DXR_PRINTF(2, 3) void KeepLineBuffer(uint32_t, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    g_lineBuffer.assign(va_arg(args, const char *), 1024);
    va_end(args);
}

TEST(PrintLinkToBitMap, TheLinesBufferIsZeroBehindTheText) {
    TestHost host;
    g_dxrHooks.print.print = KeepLineBuffer;
    ExampleMap map;
    std::string expected = "link state: TotalValidLink[2] BitMapOrder <-" + kExampleChips;
    expected.resize(1024, '\0');
    DXR_PrintLinkToBitMap(map.Get(), "link state:");
    EXPECT_EQ(g_lineBuffer, expected);
}

TEST(PrintLinkToBitMap, TheChipsOfALargeMapAreCut) {
    TestHost host;
    host.WithPrint();
    HandMade map(64, 8, Words(512, kMax32));
    DXR_PrintLinkToBitMap(map.Get(), "large:");
    ASSERT_EQ(host.printed.size(), 1U);
    const std::string &text = host.printed[0].text;
    EXPECT_EQ(text.size(), 1023U);
    EXPECT_THAT(text, testing::StartsWith("large: TotalValidLink[16384] BitMapOrder <- Chip0: "
                                          "Valid[256][ 0xffffffff 0xffffffff"));
}

TEST(PrintLinkToBitMap, NothingIsPrintedWithoutAMap) {
    TestHost host;
    host.WithPrint();
    DXR_PrintLinkToBitMap(nullptr, "link state:");
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST(PrintLinkToBitMap, NothingIsPrintedOfATextThatCannotBeFormatted) {
    TestHost host;
    host.WithPrint();
    ExampleMap map;
    const char *const volatile noFormat = nullptr;
    DXR_PrintLinkToBitMap(map.Get(), noFormat);
    // No wide character of the C locale.
    const wchar_t unencodable[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    DXR_PrintLinkToBitMap(map.Get(), "%ls", unencodable);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST(PrintLinkToBitMap, WithoutAPrintHookNothingHappens) {
    TestHost host;
    ExampleMap map;
    DXR_PrintLinkToBitMap(map.Get(), "link state:");
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_THAT(map.Bits(), ElementsAre(1, 2, 0, 0));
}

}  // namespace
