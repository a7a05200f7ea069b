#include "dxr/info_recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::TestHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uint32_t kSlots = 1024;

// Copied before any test runs.
const DxrRecordStore g_storeAtLoad = g_dxrRecord;

DxrSysTime Time(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                uint8_t second) {
    return {year, month, day, hour, minute, second, {0xF1, 0xF2, 0xF3, 0xF4, 0xF5}};
}

bool operator==(const DxrSysTime &a, const DxrSysTime &b) {
    return std::memcmp(&a, &b, sizeof(DxrSysTime)) == 0;
}

const DxrSysTime kEarly = Time(2024, 3, 5, 7, 8, 9);
const DxrSysTime kLate = Time(2031, 12, 31, 23, 59, 58);
const DxrSysTime kUnset = {};

class Recorder : public testing::Test {
  protected:
    Recorder() {
        host_.WithMemory().WithPrint().WithClock();
        host_.sysTime = kEarly;
    }
    ~Recorder() override { DXR_DestroyRecordInfo(); }

    static void RecordText(const std::string &text) { DXR_RecordInfo("%s", text.c_str()); }
    static void RecordMany(uint32_t from, uint32_t to) {
        for (uint32_t i = from; i < to; ++i) {
            DXR_RecordInfo("text %u", i);
        }
    }
    static const DxrRecord &At(uint32_t slot) {
        static const DxrRecord none = {};
        EXPECT_NE(g_dxrRecord.records[slot], nullptr) << slot;
        return g_dxrRecord.records[slot] != nullptr ? *g_dxrRecord.records[slot] : none;
    }
    static size_t Occupied() {
        return kSlots - static_cast<size_t>(std::count(std::begin(g_dxrRecord.records),
                                                       std::end(g_dxrRecord.records), nullptr));
    }
    static std::string ListRange(uint32_t start, uint32_t end, uint32_t size = 300000) {
        GuardedBuffer buffer(size);
        const uint32_t written = DXR_GetRecordStr(&g_dxrRecord, start, end, buffer.Data(), size);
        EXPECT_TRUE(buffer.Intact());
        if (buffer.Untouched()) {
            EXPECT_EQ(written, 0U);
            return "";
        }
        EXPECT_EQ(written, buffer.Text().size());
        return buffer.Text();
    }
    static std::string ListAll() {
        GuardedBuffer buffer(500000);
        const uint32_t written = DXR_GetAllRecordStr(buffer.Data(), 500000);
        EXPECT_TRUE(buffer.Intact());
        EXPECT_EQ(written, buffer.Untouched() ? 0U : buffer.Text().size());
        return buffer.Untouched() ? "" : buffer.Text();
    }

    TestHost host_;
};

using RecorderLayout = Recorder;
using RecorderRecord = Recorder;
using RecorderUpdate = Recorder;
using RecorderAdd = Recorder;
using RecorderDestroy = Recorder;
using RecorderListing = Recorder;

// --- data

TEST_F(RecorderLayout, RecordAndStoreAreAsTheHostReadsThem) {
    EXPECT_EQ(sizeof(DxrRecord), 284U);
    EXPECT_EQ(offsetof(DxrRecord, text), 0U);
    EXPECT_EQ(sizeof(DxrRecord::text), 256U);
    EXPECT_EQ(offsetof(DxrRecord, count), 256U);
    EXPECT_EQ(offsetof(DxrRecord, firstTime), 260U);
    EXPECT_EQ(offsetof(DxrRecord, lastTime), 272U);
    EXPECT_EQ(sizeof(DxrSysTime), 12U);
    EXPECT_EQ(sizeof(DxrRecordStore), 8200U);
    EXPECT_EQ(sizeof(g_dxrRecord), 8200U);
    EXPECT_EQ(offsetof(DxrRecordStore, records), 0U);
    EXPECT_EQ(offsetof(DxrRecordStore, nextIndex), 8192U);
    EXPECT_EQ(sizeof(DxrRecordStore::records) / sizeof(DxrRecord *), 1024U);
    EXPECT_EQ(DXR_RECORD_COUNT, 1024U);
}

TEST_F(RecorderLayout, StoreIsEmptyAtLoad) {
    static const DxrRecordStore zero = {};
    EXPECT_EQ(std::memcmp(&g_storeAtLoad, &zero, sizeof(zero)), 0);
    EXPECT_EQ(ListAll(), "");
}

TEST_F(RecorderLayout, EntityIsTheExportedStore) {
    EXPECT_EQ(DXR_GetRecordEntity(), &g_dxrRecord);
    RecordText("x");
    EXPECT_EQ(DXR_GetRecordEntity(), &g_dxrRecord);
}

// --- DXR_RecordInfo

TEST_F(RecorderRecord, FirstOccurrenceMakesARecord) {
    DXR_RecordInfo("chip %u lost %s", 7, "sync");
    EXPECT_STREQ(At(0).text, "chip 7 lost sync");
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_TRUE(At(0).firstTime == kEarly);
    EXPECT_TRUE(At(0).lastTime == kEarly);
    EXPECT_EQ(Occupied(), 1U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
    EXPECT_THAT(host_.calls, ElementsAre("allocate mid=0 size=284", "sysTime", "sysTime"));
}

TEST_F(RecorderRecord, RepeatRaisesTheCountAndTheLastTimeOnly) {
    DXR_RecordInfo("%s", "same");
    host_.calls.clear();
    host_.sysTime = kLate;
    DXR_RecordInfo("sa%s", "me");
    EXPECT_EQ(At(0).count, 2U);
    EXPECT_TRUE(At(0).firstTime == kEarly);
    EXPECT_TRUE(At(0).lastTime == kLate);
    EXPECT_EQ(Occupied(), 1U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
    EXPECT_THAT(host_.calls, ElementsAre("sysTime"));
}

TEST_F(RecorderRecord, TextsAreComparedExactly) {
    for (const char *const text : {"text", "Text", "text ", " text", "tex", "", "text\n"}) {
        DXR_RecordInfo("%s", text);
    }
    EXPECT_EQ(Occupied(), 7U);
    for (uint32_t slot = 0; slot < 7; ++slot) {
        EXPECT_EQ(At(slot).count, 1U);
    }
    DXR_RecordInfo("%s", "");
    EXPECT_EQ(At(5).count, 2U);
    EXPECT_EQ(Occupied(), 7U);
}

// As the log filter's hash, in which "Aa" and "BB" are the same.
TEST_F(RecorderRecord, TextsOfEqualHashAreKeptApartAlsoAmongMany) {
    RecordMany(0, 20);
    RecordText("Aa");
    RecordText("BB");
    RecordText("BB");
    RecordText("AaBB");
    RecordText("BBAa");
    RecordText("AaBB");
    EXPECT_STREQ(At(20).text, "Aa");
    EXPECT_STREQ(At(21).text, "BB");
    EXPECT_STREQ(At(22).text, "AaBB");
    EXPECT_STREQ(At(23).text, "BBAa");
    EXPECT_EQ(At(20).count, 1U);
    EXPECT_EQ(At(21).count, 2U);
    EXPECT_EQ(At(22).count, 2U);
    EXPECT_EQ(At(23).count, 1U);
    EXPECT_EQ(Occupied(), 24U);
}

TEST_F(RecorderRecord, TextOf254CharactersIsKeptAsItIs) {
    const std::string text(254, 'a');
    RecordText(text);
    EXPECT_EQ(At(0).text, text);
}

TEST_F(RecorderRecord, TextOfExactly255CharactersEndsInDots) {
    const std::string text = std::string(252, 'a') + "xyz";
    RecordText(text);
    EXPECT_EQ(At(0).text, std::string(252, 'a') + "...");
    // The mark hides the last three characters: another text counts as the same.
    RecordText(std::string(252, 'a') + "123");
    EXPECT_EQ(At(0).count, 2U);
    EXPECT_EQ(Occupied(), 1U);
}

TEST_F(RecorderRecord, LongerTextIsItsFirst252CharactersAndDots) {
    std::string text;
    for (int i = 0; text.size() < 300; ++i) {
        text += std::to_string(i) + ",";
    }
    for (const size_t size : {256U, 257U, 300U}) {
        RecordText(text.substr(0, size));
    }
    RecordText(text + std::string(100000, 'z'));
    EXPECT_EQ(At(0).text, text.substr(0, 252) + "...");
    EXPECT_EQ(std::strlen(At(0).text), 255U);
    EXPECT_EQ(At(0).count, 4U);
    EXPECT_EQ(Occupied(), 1U);
}

TEST_F(RecorderRecord, EveryLengthUpToTheCutIsItsOwnText) {
    for (uint32_t length = 0; length <= 254; ++length) {
        RecordText(std::string(length, 'q'));
    }
    EXPECT_EQ(Occupied(), 255U);
    for (uint32_t length = 0; length <= 254; ++length) {
        EXPECT_EQ(At(length).text, std::string(length, 'q'));
    }
}

TEST_F(RecorderRecord, LengthCountsUpToTheFirstNul) {
    // 300 characters formatted, 10 of them in front of a NUL: nothing of this text was cut.
    DXR_RecordInfo("%s%c%s", std::string(10, 'a').c_str(), 0, std::string(289, 'b').c_str());
    EXPECT_STREQ(At(0).text, "aaaaaaaaaa");
    RecordText("aaaaaaaaaa");
    EXPECT_EQ(At(0).count, 2U);
}

TEST_F(RecorderRecord, FailedFormatIsPrintedAndNothingIsRecorded) {
    RecordText("before");
    host_.calls.clear();
    const wchar_t invalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    DXR_RecordInfo("text %ls", invalid);
    ASSERT_EQ(host_.printed.size(), 1U);
    EXPECT_EQ(host_.printed[0].level, 1U);
    EXPECT_EQ(host_.printed[0].format, "Record info is illegal, ret[0x%x].");
    EXPECT_EQ(host_.printed[0].text, "Record info is illegal, ret[0xffffffff].");
    EXPECT_EQ(host_.calls.size(), 1U);
    EXPECT_EQ(Occupied(), 1U);
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
}

TEST_F(RecorderRecord, FailedFormatWithoutThePrintHookIsSilent) {
    g_dxrHooks.print.print = nullptr;
    const wchar_t invalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    DXR_RecordInfo("text %ls", invalid);
    EXPECT_THAT(host_.calls, IsEmpty());
    EXPECT_EQ(Occupied(), 0U);
}

TEST_F(RecorderRecord, NullFormatIsAFailedFormat) {
    const char *volatile none = nullptr;
    const char *const format = none;
    DXR_RecordInfo(format, "");
    ASSERT_EQ(host_.printed.size(), 1U);
    EXPECT_EQ(host_.printed[0].text, "Record info is illegal, ret[0xffffffff].");
    EXPECT_EQ(Occupied(), 0U);
}

TEST_F(RecorderRecord, NothingIsPrintedOtherwise) {
    RecordMany(0, 1100);
    host_.FailAllocationsFrom(1);
    DXR_DestroyRecordInfo();
    RecordMany(0, 10);
    ListAll();
    EXPECT_THAT(host_.printed, IsEmpty());
}

TEST_F(RecorderRecord, EveryMatchingRecordIsRefreshed) {
    DXR_AddNewRecord("twin", &g_dxrRecord);
    DXR_AddNewRecord("other", &g_dxrRecord);
    DXR_AddNewRecord("twin", &g_dxrRecord);
    DXR_AddNewRecord("twin", &g_dxrRecord);
    host_.sysTime = kLate;
    host_.calls.clear();
    RecordText("twin");
    for (const uint32_t slot : {0U, 2U, 3U}) {
        EXPECT_EQ(At(slot).count, 2U) << slot;
        EXPECT_TRUE(At(slot).firstTime == kEarly);
        EXPECT_TRUE(At(slot).lastTime == kLate);
    }
    EXPECT_EQ(At(1).count, 1U);
    EXPECT_TRUE(At(1).lastTime == kEarly);
    EXPECT_THAT(host_.calls, ElementsAre("sysTime", "sysTime", "sysTime"));
    EXPECT_EQ(Occupied(), 4U);
}

TEST_F(RecorderRecord, NextTextAfter1024TakesSlotZero) {
    RecordMany(0, kSlots);
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
    EXPECT_EQ(Occupied(), kSlots);
    const DxrRecord *const block = g_dxrRecord.records[0];
    host_.calls.clear();
    host_.sysTime = kLate;
    DXR_RecordInfo("text %u", kSlots);
    EXPECT_EQ(g_dxrRecord.records[0], block);
    EXPECT_STREQ(At(0).text, "text 1024");
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_TRUE(At(0).firstTime == kLate);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
    EXPECT_THAT(host_.calls, ElementsAre("sysTime", "sysTime"));
    EXPECT_STREQ(At(1).text, "text 1");

    // The text that lost its slot is new again, and takes the next.
    DXR_RecordInfo("text 0");
    EXPECT_STREQ(At(1).text, "text 0");
    EXPECT_EQ(host_.allocations.size(), kSlots);
}

TEST_F(RecorderRecord, TextInTheLastSlotIsFound) {
    RecordMany(0, kSlots);
    DXR_RecordInfo("text 1023");
    EXPECT_EQ(At(1023).count, 2U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
}

TEST_F(RecorderRecord, CountWraps) {
    RecordText("x");
    g_dxrRecord.records[0]->count = 0xFFFFFFFF;
    RecordText("x");
    EXPECT_EQ(At(0).count, 0U);
    EXPECT_EQ(Occupied(), 1U);
}

TEST_F(RecorderRecord, FailedAllocationRecordsNothingAndKeepsTheIndex) {
    RecordText("one");
    host_.FailAllocation(1);
    RecordText("two");
    EXPECT_EQ(Occupied(), 1U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
    RecordText("three");
    EXPECT_STREQ(At(1).text, "three");
    DXR_SetMemoryHooks(nullptr, g_dxrHooks.memory.release);
    RecordText("four");
    EXPECT_EQ(Occupied(), 2U);
    RecordText("one");
    EXPECT_EQ(At(0).count, 2U);
}

TEST_F(RecorderRecord, FailedAllocationAsksForNoTime) {
    host_.FailAllocation(1);
    RecordText("one");
    EXPECT_THAT(host_.calls, ElementsAre("allocate mid=0 size=284"));
}

// HOST-17
TEST_F(RecorderRecord, WithoutTheTimeHookRecordsAreCountedButNotListed) {
    g_dxrHooks.time.getSysTime = nullptr;
    RecordText("timeless");
    RecordText("timeless");
    EXPECT_EQ(At(0).count, 2U);
    EXPECT_TRUE(At(0).firstTime == kUnset);
    EXPECT_TRUE(At(0).lastTime == kUnset);
    EXPECT_EQ(ListAll(), "");
}

// --- DXR_UpdateExistingRecord

TEST_F(RecorderUpdate, TellsWhetherThereWasAMatch) {
    EXPECT_EQ(DXR_UpdateExistingRecord("x", &g_dxrRecord), 0U);
    RecordText("x");
    EXPECT_EQ(DXR_UpdateExistingRecord("x", &g_dxrRecord), 1U);
    EXPECT_EQ(DXR_UpdateExistingRecord("y", &g_dxrRecord), 0U);
    EXPECT_EQ(At(0).count, 2U);
}

TEST_F(RecorderUpdate, WalkStopsAtTheFirstEmptySlot) {
    RecordMany(0, 4);
    DxrRecordStore store = g_dxrRecord;
    store.records[2] = nullptr;
    EXPECT_EQ(DXR_UpdateExistingRecord("text 1", &store), 1U);
    EXPECT_EQ(DXR_UpdateExistingRecord("text 3", &store), 0U);
    EXPECT_EQ(At(3).count, 1U);
}

TEST_F(RecorderUpdate, FullStoreIsWalkedToItsEndAndNoFurther) {
    RecordMany(0, kSlots);
    // What follows the slots is the index; taken for a record it would crash.
    g_dxrRecord.nextIndex = 1;
    EXPECT_EQ(DXR_UpdateExistingRecord("none", &g_dxrRecord), 0U);
    EXPECT_EQ(DXR_UpdateExistingRecord("text 1023", &g_dxrRecord), 1U);
}

TEST_F(RecorderUpdate, NullArgumentsMatchNothing) {
    RecordText("");
    EXPECT_EQ(DXR_UpdateExistingRecord(nullptr, &g_dxrRecord), 0U);
    EXPECT_EQ(DXR_UpdateExistingRecord("", nullptr), 0U);
    EXPECT_EQ(At(0).count, 1U);
}

TEST_F(RecorderUpdate, LongTextNeverMatchesItself) {
    const std::string text(300, 'l');
    DXR_AddNewRecord(text.c_str(), &g_dxrRecord);
    EXPECT_EQ(At(0).text, std::string(255, 'l'));
    EXPECT_EQ(DXR_UpdateExistingRecord(text.c_str(), &g_dxrRecord), 0U);
    EXPECT_EQ(DXR_UpdateExistingRecord(std::string(255, 'l').c_str(), &g_dxrRecord), 1U);
}

TEST_F(RecorderUpdate, WithoutTheTimeHookTheLastTimeStays) {
    RecordText("x");
    g_dxrHooks.time.getSysTime = nullptr;
    EXPECT_EQ(DXR_UpdateExistingRecord("x", &g_dxrRecord), 1U);
    EXPECT_EQ(At(0).count, 2U);
    EXPECT_TRUE(At(0).lastTime == kEarly);
}

// --- DXR_AddNewRecord

TEST_F(RecorderAdd, BlockIsAccountedToIdentifierZeroAndThisFile) {
    DXR_SetDefaultMid(42);
    DXR_AddNewRecord("x", &g_dxrRecord);
    ASSERT_EQ(host_.allocations.size(), 1U);
    EXPECT_EQ(host_.allocations[0].mid, 0U);
    EXPECT_EQ(host_.allocations[0].size, 284U);
    EXPECT_THAT(host_.allocations[0].file, StartsWith("src/dxr/api/dxr_info_recorder"));
    EXPECT_GT(host_.allocations[0].line, 0U);
}

TEST_F(RecorderAdd, NewRecordIsZeroedBehindItsText) {
    g_dxrHooks.time.getSysTime = nullptr;
    DXR_AddNewRecord("ab", &g_dxrRecord);
    DxrRecord expected = {};
    expected.text[0] = 'a';
    expected.text[1] = 'b';
    expected.count = 1;
    EXPECT_EQ(std::memcmp(&At(0), &expected, sizeof(expected)), 0);
}

TEST_F(RecorderAdd, FirstAndLastTimeAreReadOneAfterTheOther) {
    static uint8_t second;
    second = 0;
    g_dxrHooks.time.getSysTime = [](DxrSysTime *time) { *time = Time(2024, 1, 1, 0, 0, ++second); };
    DXR_AddNewRecord("x", &g_dxrRecord);
    EXPECT_EQ(At(0).firstTime.second, 1);
    EXPECT_EQ(At(0).lastTime.second, 2);
    EXPECT_EQ(second, 2);
}

TEST_F(RecorderAdd, WhatTheTimeHookLeavesUnwrittenStays) {
    RecordMany(0, kSlots);
    g_dxrHooks.time.getSysTime = [](DxrSysTime *time) { time->year = 2099; };
    DxrSysTime expected = kEarly;
    expected.year = 2099;
    DXR_AddNewRecord("x", &g_dxrRecord);
    EXPECT_TRUE(At(0).firstTime == expected);
    EXPECT_TRUE(At(0).lastTime == expected);
    DXR_RecordInfo("text 1");
    EXPECT_TRUE(At(1).firstTime == kEarly);
    EXPECT_TRUE(At(1).lastTime == expected);
}

TEST_F(RecorderAdd, ARecordsOwnTextCanBeItsNewText) {
    RecordMany(0, kSlots);
    DXR_AddNewRecord(g_dxrRecord.records[0]->text, &g_dxrRecord);
    EXPECT_STREQ(At(0).text, "text 0");
    DXR_AddNewRecord(g_dxrRecord.records[1]->text + 2, &g_dxrRecord);
    EXPECT_STREQ(At(1).text, "xt 1");
    DXR_RecordInfo("text 0");
    DXR_RecordInfo("xt 1");
    EXPECT_EQ(At(0).count, 2U);
    EXPECT_EQ(At(1).count, 2U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 2U);
}

TEST_F(RecorderAdd, AddingDoesNotLookForTheText) {
    DXR_AddNewRecord("x", &g_dxrRecord);
    DXR_AddNewRecord("x", &g_dxrRecord);
    EXPECT_EQ(Occupied(), 2U);
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_EQ(At(1).count, 1U);
}

TEST_F(RecorderAdd, ReusedRecordIsNotClearedFirst) {
    RecordMany(0, kSlots);
    std::memset(g_dxrRecord.records[0], 'r', sizeof(DxrRecord));
    DXR_AddNewRecord("new", &g_dxrRecord);
    std::string expected(256, 'r');
    expected.replace(0, 4, std::string("new\0", 4));
    EXPECT_EQ(std::string(At(0).text, 256), expected);
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_TRUE(At(0).firstTime == kEarly);
    EXPECT_TRUE(At(0).lastTime == kEarly);
}

TEST_F(RecorderAdd, ReusedRecordWithoutTheTimeHookKeepsItsOldTimes) {
    RecordMany(0, kSlots);
    g_dxrHooks.time.getSysTime = nullptr;
    DXR_AddNewRecord("new", &g_dxrRecord);
    EXPECT_STREQ(At(0).text, "new");
    EXPECT_TRUE(At(0).firstTime == kEarly);
    EXPECT_TRUE(At(0).lastTime == kEarly);
    EXPECT_THAT(ListRange(0, 1), testing::HasSubstr("new"));
}

TEST_F(RecorderAdd, TextIsCutTo255CharactersWithoutDots) {
    for (const size_t length : {254U, 255U, 256U, 5000U}) {
        const std::string text(length, 't');
        DXR_DestroyRecordInfo();
        DXR_AddNewRecord(text.c_str(), &g_dxrRecord);
        EXPECT_EQ(At(0).text, text.substr(0, 255));
    }
    DXR_AddNewRecord("100%s%n", &g_dxrRecord);
    EXPECT_STREQ(At(1).text, "100%s%n");
}

TEST_F(RecorderAdd, ReusedRecordsNeedNoMemory) {
    RecordMany(0, kSlots);
    host_.FailAllocationsFrom(1);
    RecordMany(2000, 2000 + kSlots);
    EXPECT_STREQ(At(0).text, "text 2000");
    EXPECT_STREQ(At(1023).text, "text 3023");
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
}

TEST_F(RecorderAdd, NullArgumentsOrAnIndexOutsideChangeNothing) {
    DXR_AddNewRecord(nullptr, &g_dxrRecord);
    DXR_AddNewRecord("x", nullptr);
    for (const uint32_t index : {1024U, 1025U, 0xFFFFFFFFU}) {
        g_dxrRecord.nextIndex = index;
        DXR_AddNewRecord("x", &g_dxrRecord);
        EXPECT_EQ(g_dxrRecord.nextIndex, index);
    }
    EXPECT_THAT(host_.calls, IsEmpty());
    EXPECT_EQ(Occupied(), 0U);
}

TEST_F(RecorderAdd, AnotherStoreOfTheHostIsServedLikewise) {
    const auto store = std::make_unique<DxrRecordStore>();
    DXR_AddNewRecord("x", store.get());
    ASSERT_NE(store->records[0], nullptr);
    EXPECT_EQ(store->nextIndex, 1U);
    EXPECT_EQ(DXR_UpdateExistingRecord("x", store.get()), 1U);
    EXPECT_EQ(store->records[0]->count, 2U);
    EXPECT_EQ(Occupied(), 0U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
    DXR_Free(store->records[0], "", 0);
}

// --- DXR_DestroyRecordInfo

TEST_F(RecorderDestroy, AllRecordsAreFreedInOrderAndTheStoreIsEmpty) {
    RecordMany(0, 5);
    host_.calls.clear();
    DXR_DestroyRecordInfo();
    EXPECT_THAT(host_.calls,
                ElementsAre("release #0", "release #1", "release #2", "release #3", "release #4"));
    static const DxrRecordStore zero = {};
    EXPECT_EQ(std::memcmp(&g_dxrRecord, &zero, sizeof(zero)), 0);
    EXPECT_EQ(host_.LiveBlocks(), 0U);
    ASSERT_EQ(host_.releases.size(), 5U);
    for (const auto &release : host_.releases) {
        EXPECT_THAT(release.file, StartsWith("src/dxr/api/dxr_info_recorder"));
        EXPECT_GT(release.line, 0U);
    }
}

TEST_F(RecorderDestroy, IndexIsResetBeforeTheFirstRelease) {
    RecordMany(0, 3);
    static std::vector<uint32_t> seen;
    seen.clear();
    static DxrReleaseHook release;
    release = g_dxrHooks.memory.release;
    g_dxrHooks.memory.release = [](void *block, const char *file, uint32_t line) {
        seen.push_back(g_dxrRecord.nextIndex);
        release(block, file, line);
    };
    DXR_DestroyRecordInfo();
    EXPECT_THAT(seen, ElementsAre(0, 0, 0));
}

TEST_F(RecorderDestroy, WrappedStoreIsFreedWhole) {
    RecordMany(0, 3000);
    EXPECT_EQ(host_.LiveBlocks(), kSlots);
    DXR_DestroyRecordInfo();
    EXPECT_EQ(host_.LiveBlocks(), 0U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
}

TEST_F(RecorderDestroy, EveryOccupiedSlotIsFreedAlsoBehindAGap) {
    RecordMany(0, 3);
    std::swap(g_dxrRecord.records[1], g_dxrRecord.records[1023]);
    DXR_DestroyRecordInfo();
    EXPECT_EQ(host_.LiveBlocks(), 0U);
    EXPECT_EQ(Occupied(), 0U);
}

TEST_F(RecorderDestroy, EmptyStoreFreesNothing) {
    DXR_DestroyRecordInfo();
    DXR_DestroyRecordInfo();
    EXPECT_THAT(host_.calls, IsEmpty());
}

TEST_F(RecorderDestroy, IndexIsResetEvenWithoutRecords) {
    g_dxrRecord.nextIndex = 77;
    DXR_DestroyRecordInfo();
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
}

TEST_F(RecorderDestroy, RecordingGoesOnAndAllocatesAnew) {
    RecordMany(0, 1500);
    DXR_DestroyRecordInfo();
    EXPECT_EQ(ListAll(), "");
    host_.calls.clear();
    DXR_RecordInfo("text 1");
    EXPECT_EQ(At(0).count, 1U);
    EXPECT_THAT(host_.calls, ElementsAre("allocate mid=0 size=284", "sysTime", "sysTime"));
}

// HOST-12
TEST_F(RecorderDestroy, WithoutTheReleaseHookTheStoreIsEmptiedAllTheSame) {
    RecordMany(0, 3);
    host_.KeepLeaks();
    DXR_SetMemoryHooks(nullptr, nullptr);
    DXR_DestroyRecordInfo();
    EXPECT_EQ(Occupied(), 0U);
}

// --- listings

TEST_F(RecorderListing, LineHasItsFixedForm) {
    RecordText("the text");
    host_.sysTime = kLate;
    RecordText("the text");
    EXPECT_EQ(ListAll(),
              "\r\n   0:   First time:2024/03/05 07:08:09, last time:2031/12/31 23:59:58, "
              "count[002], the text");
}

TEST_F(RecorderListing, NumbersHaveTheirLeastWidths) {
    RecordMany(0, kSlots);
    DxrRecord &record = *g_dxrRecord.records[1000];
    record.firstTime = Time(1, 0, 0, 0, 0, 0);
    record.lastTime = Time(0, 100, 200, 255, 255, 255);
    record.count = 0xFFFFFFFF;
    std::memcpy(record.text, "%s %d", 6);
    EXPECT_EQ(ListRange(1000, 1001),
              "\r\n1000:   First time:0001/00/00 00:00:00, last time:0000/100/200 255:255:255, "
              "count[4294967295], %s %d");
    g_dxrRecord.records[10]->firstTime.year = 65535;
    g_dxrRecord.records[10]->count = 12;
    EXPECT_THAT(ListRange(10, 11), StartsWith("\r\n  10:   First time:65535/03/05 "));
    EXPECT_THAT(ListRange(10, 11), testing::HasSubstr("count[012], "));
}

TEST_F(RecorderListing, ReservedBytesOfATimeAreNotShown) {
    RecordText("x");
    const std::string before = ListAll();
    std::memset(g_dxrRecord.records[0]->firstTime.reserved, 0x33, 5);
    std::memset(g_dxrRecord.records[0]->lastTime.reserved, 0x44, 5);
    EXPECT_EQ(ListAll(), before);
}

std::string Line(uint32_t slot, const std::string &text) {
    std::string number = std::to_string(slot);
    number.insert(0, 4 - number.size(), ' ');
    return "\r\n" + number +
           ":   First time:2024/03/05 07:08:09, last time:2024/03/05 07:08:09, count[001], " + text;
}

TEST_F(RecorderListing, RangeKeepsSlotNumbersAndEndsBeforeItsEnd) {
    RecordMany(0, 5);
    EXPECT_EQ(ListRange(1, 3), Line(1, "text 1") + Line(2, "text 2"));
    EXPECT_EQ(ListRange(4, 5), Line(4, "text 4"));
    EXPECT_EQ(ListRange(2, 2), "");
    EXPECT_EQ(ListRange(3, 2), "");
    EXPECT_EQ(ListRange(0, 0), "");
    EXPECT_EQ(ListRange(5, 100), "");
    EXPECT_EQ(ListRange(3, 100), Line(3, "text 3") + Line(4, "text 4"));
}

TEST_F(RecorderListing, RangeEndsAtTheEndOfTheStore) {
    RecordMany(0, kSlots);
    const std::string last = Line(1023, "text 1023");
    EXPECT_EQ(ListRange(1023, 1024), last);
    EXPECT_EQ(ListRange(1023, 1025), last);
    EXPECT_EQ(ListRange(1023, 0xFFFFFFFF), last);
    for (const uint32_t start : {1024U, 1025U, 2000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        EXPECT_EQ(ListRange(start, 0xFFFFFFFF), "");
        EXPECT_EQ(ListRange(start, 5), "");
    }
}

TEST_F(RecorderListing, WalkStopsAtTheFirstEmptySlot) {
    RecordMany(0, 4);
    DxrRecordStore store = g_dxrRecord;
    store.records[2] = nullptr;
    char buffer[1000];
    DXR_GetRecordStr(&store, 0, 4, buffer, sizeof(buffer));
    EXPECT_EQ(buffer, Line(0, "text 0") + Line(1, "text 1"));
}

// HOST-17
TEST_F(RecorderListing, RecordWithoutAFirstYearIsSkippedNotTheRest) {
    RecordMany(0, 4);
    g_dxrRecord.records[1]->firstTime.year = 0;
    g_dxrRecord.records[2]->lastTime.year = 0;
    EXPECT_EQ(ListRange(0, 2), Line(0, "text 0"));
    EXPECT_EQ(ListRange(0, 4),
              Line(0, "text 0") +
                  "\r\n   2:   First time:2024/03/05 07:08:09, last time:0000/03/05 07:08:09, "
                  "count[001], text 2" +
                  Line(3, "text 3"));
    for (uint32_t slot = 0; slot < 4; ++slot) {
        g_dxrRecord.records[slot]->firstTime.year = 0;
    }
    EXPECT_EQ(ListAll(), "");
}

TEST_F(RecorderListing, WholeStoreBeforeTheWrapIsInSlotOrder) {
    RecordMany(0, 3);
    EXPECT_EQ(ListAll(), Line(0, "text 0") + Line(1, "text 1") + Line(2, "text 2"));
}

TEST_F(RecorderListing, ExactlyFullStoreIsListedWhole) {
    RecordMany(0, kSlots);
    std::string expected;
    for (uint32_t slot = 0; slot < kSlots; ++slot) {
        expected += Line(slot, "text " + std::to_string(slot));
    }
    EXPECT_EQ(ListAll(), expected);
}

TEST_F(RecorderListing, AfterTheWrapNewestSlotsComeFirst) {
    RecordMany(0, kSlots + 3);
    std::string expected = Line(0, "text 1024") + Line(1, "text 1025") + Line(2, "text 1026");
    for (uint32_t slot = 3; slot < kSlots; ++slot) {
        expected += Line(slot, "text " + std::to_string(slot));
    }
    EXPECT_EQ(ListAll(), expected);
}

// Slots below the next index are the first run even when the other slots come first in time; the
// hole in the first run does not end the second.
TEST_F(RecorderListing, RunsAreTwo) {
    RecordMany(0, 6);
    g_dxrRecord.nextIndex = 3;
    DxrRecord *const hole = g_dxrRecord.records[1];
    g_dxrRecord.records[1] = nullptr;
    EXPECT_EQ(ListAll(),
              Line(0, "text 0") + Line(3, "text 3") + Line(4, "text 4") + Line(5, "text 5"));
    g_dxrRecord.records[1] = hole;
    g_dxrRecord.nextIndex = 0;
    EXPECT_EQ(ListAll(), ListRange(0, 6));
}

TEST_F(RecorderListing, IndexOutsideTheStoreListsAllSlotsOnce) {
    RecordMany(0, kSlots);
    const std::string whole = ListAll();
    for (const uint32_t index : {1024U, 5000U, 0xFFFFFFFFU}) {
        g_dxrRecord.nextIndex = index;
        EXPECT_EQ(ListAll(), whole);
    }
}

TEST_F(RecorderListing, NothingListedMeansNothingWritten) {
    for (const uint32_t size : {0U, 1U, 2U, 100U}) {
        GuardedBuffer buffer(size);
        EXPECT_EQ(DXR_GetAllRecordStr(buffer.Data(), size), 0U);
        EXPECT_EQ(DXR_GetRecordStr(&g_dxrRecord, 0, kSlots, buffer.Data(), size), 0U);
        EXPECT_TRUE(buffer.Untouched());
    }
}

TEST_F(RecorderListing, NullArgumentsGiveZero) {
    RecordText("x");
    char buffer[100];
    EXPECT_EQ(DXR_GetRecordStr(nullptr, 0, 1, buffer, sizeof(buffer)), 0U);
    EXPECT_EQ(DXR_GetRecordStr(&g_dxrRecord, 0, 1, nullptr, 100), 0U);
    EXPECT_EQ(DXR_GetAllRecordStr(nullptr, 100), 0U);
}

// Both listings, for a size: what fits of `whole`, terminated, with nothing written outside.
void CheckSize(const std::string &whole, uint32_t size) {
    for (const bool all : {false, true}) {
        GuardedBuffer buffer(size);
        const uint32_t written =
            all ? DXR_GetAllRecordStr(buffer.Data(), size)
                : DXR_GetRecordStr(&g_dxrRecord, 0, kSlots, buffer.Data(), size);
        ASSERT_TRUE(buffer.Intact()) << "size " << size;
        if (size == 0) {
            EXPECT_EQ(written, 0U);
            continue;
        }
        ASSERT_TRUE(buffer.Terminated()) << "size " << size;
        EXPECT_EQ(written, std::min<size_t>(whole.size(), size - 1)) << "size " << size;
        ASSERT_EQ(buffer.Text(), whole.substr(0, size - 1)) << "size " << size;
    }
}

// MODULE-1
TEST_F(RecorderListing, EverySizeUpTo600StaysInsideTheBuffer) {
    RecordMany(0, 7);
    const std::string whole = ListAll();
    ASSERT_GT(whole.size(), 600U);
    for (uint32_t size = 0; size <= 600; ++size) {
        CheckSize(whole, size);
    }
}

TEST_F(RecorderListing, SizesAroundTheWholeListingStayInsideTheBuffer) {
    RecordMany(0, 7);
    const std::string whole = ListAll();
    const auto length = static_cast<uint32_t>(whole.size());
    for (uint32_t size = length - 100; size <= length + 100; ++size) {
        CheckSize(whole, size);
    }
}

TEST_F(RecorderListing, EverySizeAroundTheBorderOfTheTwoRunsStaysInsideTheBuffer) {
    RecordMany(0, kSlots + 2);
    const std::string whole = ListAll();
    // Two lines of the first run, then the second. Slot order is the same here, so both listings
    // agree.
    const auto border = static_cast<uint32_t>(ListRange(0, 2).size());
    for (uint32_t size = 0; size <= border + 100; ++size) {
        CheckSize(whole, size);
    }
}

}  // namespace
