// Hooks of a host that call the recorder again, or change its store, while it is at work.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "dxr/hooks.h"
#include "dxr/info_recorder.h"
#include "dxr/memory.h"
#include "support/test_host.h"

namespace {

// The parameter: how many other records stand in front, since small stores and larger ones are
// searched differently.
class RecorderHooks : public testing::TestWithParam<uint32_t> {
  protected:
    RecorderHooks() {
        host_.WithMemory().WithClock();
        for (uint32_t i = 0; i < GetParam(); ++i) {
            DXR_RecordInfo("in front %u", i);
        }
        sysTime_ = g_dxrHooks.time.getSysTime;
        allocate_ = g_dxrHooks.memory.allocate;
        release_ = g_dxrHooks.memory.release;
        current_ = this;
    }
    ~RecorderHooks() override {
        g_dxrHooks.memory.release = release_;
        DXR_DestroyRecordInfo();
    }

    // The actions run once, inside the next call of the hook or after so many others.
    void OnTime(std::function<void()> action, int before = 0) {
        onTime_ = std::move(action);
        timesBefore_ = before;
        g_dxrHooks.time.getSysTime = [](DxrSysTime *time) {
            if (current_->timesBefore_-- == 0) {
                g_dxrHooks.time.getSysTime = current_->sysTime_;
                current_->onTime_();
            }
            current_->sysTime_(time);
        };
    }
    void OnAllocation(std::function<void()> action) {
        onAllocation_ = std::move(action);
        g_dxrHooks.memory.allocate = [](uint32_t mid, uint32_t size, const char *file,
                                        uint32_t line) {
            g_dxrHooks.memory.allocate = current_->allocate_;
            current_->onAllocation_();
            return current_->allocate_(mid, size, file, line);
        };
    }
    // At every release, with the number of releases before it.
    void OnRelease(std::function<void(int)> action) {
        onRelease_ = std::move(action);
        g_dxrHooks.memory.release = [](void *block, const char *file, uint32_t line) {
            current_->onRelease_(current_->releases_++);
            current_->release_(block, file, line);
        };
    }

    static void FillUpTo(uint32_t count) {
        for (uint32_t i = g_dxrRecord.nextIndex; i < count; ++i) {
            DXR_RecordInfo("filled %u", i);
        }
    }
    // As a host does in place.
    static void EmptySlot(uint32_t i) {
        DXR_Free(g_dxrRecord.records[i], __FILE__, __LINE__);
        g_dxrRecord.records[i] = nullptr;
    }

    // The texts and counts from slot `first` on, "-" for an empty one, up to the last that is
    // occupied; behind them the next index, counted from there too.
    static std::string Slots(uint32_t first = GetParam()) {
        std::string text;
        std::string empty;
        for (uint32_t i = first; i < DXR_RECORD_COUNT; ++i) {
            const DxrRecord *const record = g_dxrRecord.records[i];
            if (record == nullptr) {
                empty += "- ";
            } else {
                text += std::exchange(empty, "") + record->text + std::to_string(record->count);
                text += " ";
            }
        }
        return text + ">" + std::to_string(g_dxrRecord.nextIndex - first);
    }

    dxrtest::TestHost host_;

  private:
    static inline RecorderHooks *current_ = nullptr;
    void (*sysTime_)(DxrSysTime *) = nullptr;
    void *(*allocate_)(uint32_t, uint32_t, const char *, uint32_t) = nullptr;
    void (*release_)(void *, const char *, uint32_t) = nullptr;
    std::function<void()> onTime_;
    int timesBefore_ = 0;
    std::function<void()> onAllocation_;
    std::function<void(int)> onRelease_;
    int releases_ = 0;
};

TEST_P(RecorderHooks, ATextRecordedWhileAnotherIsAddedSharesItsSlot) {
    OnTime([] { DXR_RecordInfo("inner"); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "outer1 >2");
    DXR_RecordInfo("inner");
    EXPECT_EQ(Slots(), "outer1 - inner1 >3");
    // Behind the gap nothing is found.
    DXR_RecordInfo("inner");
    EXPECT_EQ(Slots(), "outer1 - inner1 inner1 >4");
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "outer2 - inner1 inner1 >4");
}

TEST_P(RecorderHooks, ANewRecordIsAnEmptyTextUntilItsTimeIsRead) {
    OnTime([] { DXR_RecordInfo("%s", ""); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "outer1 >1");
    DXR_RecordInfo("%s", "");
    EXPECT_EQ(Slots(), "outer1 1 >2");
}

TEST_P(RecorderHooks, ATextRecordedInTheAllocationTakesTheSlotBefore) {
    OnAllocation([] { DXR_RecordInfo("inner"); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "inner1 outer1 >2");
    DXR_RecordInfo("inner");
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "inner2 outer2 >2");
}

TEST_P(RecorderHooks, TheTextItselfRecordedInTheAllocationStandsTwice) {
    OnAllocation([] { DXR_RecordInfo("twin"); });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "twin1 twin1 >2");
}

TEST_P(RecorderHooks, ABlockThatTheAllocationMadeNeedlessIsReleased) {
    FillUpTo(DXR_RECORD_COUNT - 1);
    const std::string oldest = g_dxrRecord.records[1]->text;
    OnAllocation([] { DXR_RecordInfo("last"); });
    DXR_RecordInfo("outer");
    // The last slot was taken meanwhile, so the oldest record is reused.
    EXPECT_STREQ(g_dxrRecord.records[DXR_RECORD_COUNT - 1]->text, "last");
    EXPECT_STREQ(g_dxrRecord.records[0]->text, "outer");
    EXPECT_EQ(g_dxrRecord.records[1]->text, oldest);
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
    EXPECT_EQ(host_.LiveBlocks(), size_t{DXR_RECORD_COUNT});
    EXPECT_EQ(host_.releases.size(), 1U);
}

TEST_P(RecorderHooks, ANeedlessBlocksReleaseMayEmptyTheStore) {
    FillUpTo(DXR_RECORD_COUNT - 1);
    OnAllocation([] { DXR_RecordInfo("last"); });
    OnRelease([](int before) {
        if (before == 0) {
            DXR_DestroyRecordInfo();
        }
    });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(0), "outer1 >1");
    EXPECT_EQ(host_.LiveBlocks(), 1U);
}

TEST_P(RecorderHooks, AnAllocationThatEmptiesTheStoreIsUsedForItsFirstSlot) {
    OnAllocation([] { DXR_DestroyRecordInfo(); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(0), "outer1 >1");
}

TEST_P(RecorderHooks, AnIndexSetOutsideInTheAllocationRecordsNothing) {
    OnAllocation([] { g_dxrRecord.nextIndex = DXR_RECORD_COUNT; });
    DXR_RecordInfo("outer");
    EXPECT_EQ(g_dxrRecord.nextIndex, DXR_RECORD_COUNT);
    EXPECT_EQ(host_.LiveBlocks(), size_t{GetParam()});
}

TEST_P(RecorderHooks, AFailedAllocationKeepsWhatItsHookRecorded) {
    OnAllocation([this] {
        DXR_RecordInfo("inner");
        host_.FailAllocation(1);
    });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "inner1 >1");
}

// The store goes while a text is added to it, in the first or the second reading of the time.
TEST_P(RecorderHooks, AStoreEmptiedWhileATextIsAddedStaysEmpty) {
    for (const int before : {0, 1}) {
        DXR_RecordInfo("a");
        OnTime([] { DXR_DestroyRecordInfo(); }, before);
        DXR_RecordInfo("outer");
        EXPECT_EQ(Slots(0), ">0");
        EXPECT_EQ(host_.LiveBlocks(), 0U);
        DXR_RecordInfo("outer");
        EXPECT_EQ(Slots(0), "outer1 >1");
        DXR_DestroyRecordInfo();
    }
}

TEST_P(RecorderHooks, ANewRecordThatTheTimeHookTakesOutIsLeftAlone) {
    OnTime([] { EmptySlot(GetParam()); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), ">0");
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "outer1 >1");
}

TEST_P(RecorderHooks, AReusedRecordThatTheTimeHookTakesOutIsLeftAlone) {
    FillUpTo(DXR_RECORD_COUNT);
    OnTime([] { EmptySlot(0); }, 1);
    DXR_RecordInfo("outer");
    EXPECT_EQ(g_dxrRecord.records[0], nullptr);
    EXPECT_EQ(g_dxrRecord.nextIndex, 0U);
    DXR_RecordInfo("outer");
    EXPECT_STREQ(g_dxrRecord.records[0]->text, "outer");
    EXPECT_EQ(g_dxrRecord.nextIndex, 1U);
}

TEST_P(RecorderHooks, AStoreEmptiedWhileATextIsRefreshedStaysEmpty) {
    DXR_RecordInfo("a");
    OnTime([] { DXR_DestroyRecordInfo(); });
    DXR_RecordInfo("a");
    EXPECT_EQ(Slots(0), ">0");
    DXR_RecordInfo("a");
    EXPECT_EQ(Slots(0), "a1 >1");
}

TEST_P(RecorderHooks, AStoreThatTheTimeHookEmptiesAndUsesIsSearchedOn) {
    for (int i = 0; i < 3; ++i) {
        DXR_AddNewRecord("twin", &g_dxrRecord);
    }
    OnTime([] {
        DXR_DestroyRecordInfo();
        for (uint32_t i = 0; i < GetParam() + 3; ++i) {
            DXR_AddNewRecord("twin", &g_dxrRecord);
        }
    });
    DXR_RecordInfo("twin");
    // The search goes on after the slot it stood at; the new record there may or may not stand
    // where the old one stood.
    EXPECT_EQ(g_dxrRecord.records[GetParam() + 1]->count, 2U);
    EXPECT_EQ(g_dxrRecord.records[GetParam() + 2]->count, 2U);
    if (GetParam() != 0) {
        EXPECT_EQ(g_dxrRecord.records[GetParam() - 1]->count, 1U);
    }
}

// The slot was passed, so that it does not end the search.
TEST_P(RecorderHooks, ASlotEmptiedWhileItIsRefreshedDoesNotEndTheSearch) {
    for (int i = 0; i < 3; ++i) {
        DXR_AddNewRecord("twin", &g_dxrRecord);
    }
    OnTime([] { EmptySlot(GetParam()); });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "- twin2 twin2 >3");
}

TEST_P(RecorderHooks, TheLastSlotEmptiedWhileItIsRefreshedWasAMatch) {
    DXR_RecordInfo("a");
    OnTime([] { EmptySlot(GetParam()); });
    DXR_RecordInfo("a");
    EXPECT_EQ(Slots(), ">1");
}

TEST_P(RecorderHooks, ASlotEmptiedBeforeTheOneThatIsRefreshedDoesNotEndTheSearch) {
    for (const char *const text : {"a", "twin", "twin"}) {
        DXR_AddNewRecord(text, &g_dxrRecord);
    }
    OnTime([] {
        EmptySlot(GetParam());
        DXR_RecordInfo("b");
    });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "- twin2 twin2 b1 >4");
}

TEST_P(RecorderHooks, ATextAddedWhileItsLikeIsRefreshedIsRefreshedToo) {
    DXR_RecordInfo("twin");
    OnTime([] { DXR_AddNewRecord("twin", DXR_GetRecordEntity()); });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "twin2 twin2 >2");
}

TEST_P(RecorderHooks, ARecordOverwrittenWhileItsLikeIsRefreshedIsNot) {
    for (int i = 0; i < 3; ++i) {
        DXR_AddNewRecord("twin", &g_dxrRecord);
    }
    OnTime([] {
        g_dxrRecord.nextIndex = GetParam() + 1;
        DXR_AddNewRecord("other", &g_dxrRecord);
    });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "twin2 other1 twin2 >2");
}

TEST_P(RecorderHooks, ARecordThatIsReplacedWhileItIsRefreshedDoesNotEndTheWalk) {
    for (int i = 0; i < 3; ++i) {
        DXR_AddNewRecord("twin", &g_dxrRecord);
    }
    OnTime([] {
        g_dxrRecord.nextIndex = GetParam();
        DXR_AddNewRecord("other", &g_dxrRecord);
    });
    DXR_RecordInfo("twin");
    EXPECT_EQ(Slots(), "other2 twin2 twin2 >1");
}

TEST_P(RecorderHooks, TextsRecordedDuringTheDestructionSeeWhatIsLeft) {
    for (const char *const text : {"a", "b", "c"}) {
        DXR_RecordInfo("%s", text);
    }
    OnRelease([](int before) {
        if (before < 2) {
            DXR_RecordInfo("%s", before == 0 ? "b" : "c");
        }
    });
    DXR_DestroyRecordInfo();
    // The slots are empty when their records are released: both texts are new.
    EXPECT_EQ(Slots(0), "b1 c1 >2");
}

TEST_P(RecorderHooks, ARecordIsOutOfTheStoreWhenItIsReleased) {
    DXR_RecordInfo("a");
    OnRelease([](int before) { EXPECT_EQ(g_dxrRecord.records[before], nullptr); });
    DXR_DestroyRecordInfo();
    EXPECT_EQ(host_.releases.size(), size_t{GetParam() + 1});
}

TEST_P(RecorderHooks, ASlotThatTheHostEmptiesEndsTheWalk) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    EmptySlot(GetParam());
    DXR_RecordInfo("a");
    EXPECT_EQ(Slots(), "- b1 a1 >3");
}

TEST_P(RecorderHooks, AStoreThatTheHostEmptiesItselfIsEmpty) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    const DxrRecordStore kept = g_dxrRecord;
    g_dxrRecord = {};
    DXR_RecordInfo("b");
    EXPECT_EQ(Slots(0), "b1 >1");
    DXR_DestroyRecordInfo();
    g_dxrRecord = kept;
    DXR_RecordInfo("b");
    EXPECT_EQ(Slots(), "a1 b2 >2");
}

TEST_P(RecorderHooks, ATextAddedThroughACopyOfTheStoreIsFound) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecordStore copy = g_dxrRecord;
    copy.nextIndex = GetParam();
    DXR_AddNewRecord("c", &copy);
    DXR_RecordInfo("c");
    DXR_RecordInfo("a");
    EXPECT_EQ(Slots(), "c2 b1 a1 >3");
}

TEST_P(RecorderHooks, ARecordRewrittenThroughAnotherStoreIsFound) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecordStore own = {};
    own.records[0] = g_dxrRecord.records[GetParam() + 1];
    DXR_AddNewRecord("c", &own);
    EXPECT_EQ(Slots(), "a1 c1 >2");
    DXR_RecordInfo("c");
    EXPECT_EQ(Slots(), "a1 c2 >2");
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    EXPECT_EQ(Slots(), "a2 c2 b1 >3");
}

TEST_P(RecorderHooks, TheFirstRecordRewrittenThroughAnotherStoreIsFound) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecordStore own = {};
    own.records[0] = g_dxrRecord.records[0];
    DXR_AddNewRecord("c", &own);
    const std::string before = Slots(0);
    DXR_RecordInfo("c");
    EXPECT_STREQ(g_dxrRecord.records[0]->text, "c");
    EXPECT_EQ(g_dxrRecord.records[0]->count, 2U) << before;
}

TEST_P(RecorderHooks, ATextThatStandsTwiceIsNotFoundPastASlotThatTheHostEmpties) {
    OnAllocation([] { DXR_RecordInfo("twice"); });
    DXR_RecordInfo("twice");
    DXR_RecordInfo("last");
    ASSERT_EQ(Slots(), "twice1 twice1 last1 >3");
    EmptySlot(GetParam());
    DXR_RecordInfo("twice");
    EXPECT_EQ(Slots(), "- twice1 last1 twice1 >4");
}

TEST_P(RecorderHooks, AFullStoreWhoseIndexTheHostSetsIsSearchedWhole) {
    FillUpTo(DXR_RECORD_COUNT);
    for (const uint32_t next : {DXR_RECORD_COUNT / 2, DXR_RECORD_COUNT - 1, 1U}) {
        g_dxrRecord.nextIndex = next;
        const DxrRecord &last = *g_dxrRecord.records[DXR_RECORD_COUNT - 1];
        const uint32_t count = last.count;
        DXR_RecordInfo("%s", last.text);
        EXPECT_EQ(last.count, count + 1);
        EXPECT_EQ(g_dxrRecord.nextIndex, next);
    }
}

TEST_P(RecorderHooks, ARecordRewrittenWhileTheIndexStandsElsewhereIsFound) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecordStore own = {};
    own.records[0] = g_dxrRecord.records[GetParam()];
    const uint32_t next = std::exchange(g_dxrRecord.nextIndex, 0);
    DXR_AddNewRecord("c", &own);
    g_dxrRecord.nextIndex = next;
    DXR_RecordInfo("c");
    EXPECT_EQ(Slots(), "c2 b1 >2");
}

TEST_P(RecorderHooks, TheNewestRecordReplacedInPlaceIsFound) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecord other = {"c", 7, {}, {}};
    DxrRecord *const replaced = std::exchange(g_dxrRecord.records[GetParam() + 1], &other);
    DXR_RecordInfo("c");
    EXPECT_EQ(Slots(), "a1 c8 >2");
    g_dxrRecord.records[GetParam() + 1] = replaced;
    DXR_RecordInfo("b");
    EXPECT_EQ(Slots(), "a1 b2 >2");
}

INSTANTIATE_TEST_SUITE_P(RecordsInFront, RecorderHooks, testing::Values(0U, 7U, 8U, 9U, 100U));

// A store of up to eight records is searched by DXR_RecordInfo as by DXR_UpdateExistingRecord.
class SmallStore : public testing::TestWithParam<uint32_t> {
  protected:
    SmallStore() {
        host_.WithMemory().WithClock();
        Fill();
    }
    ~SmallStore() override { DXR_DestroyRecordInfo(); }

    static void Fill() {
        for (uint32_t i = 0; i < GetParam(); ++i) {
            DXR_RecordInfo("text %u", i);
        }
    }

    dxrtest::TestHost host_;
};

TEST_P(SmallStore, AnEmptiedSlotEndsTheSearch) {
    for (uint32_t emptied = 0; emptied < GetParam(); ++emptied) {
        for (uint32_t text = 0; text < GetParam(); ++text) {
            DXR_DestroyRecordInfo();
            Fill();
            DxrRecord *&slot = g_dxrRecord.records[emptied];
            DXR_Free(std::exchange(slot, nullptr), __FILE__, __LINE__);
            DXR_RecordInfo("text %u", text);
            EXPECT_EQ(g_dxrRecord.nextIndex, GetParam() + (text < emptied ? 0 : 1))
                << "text " << text << ", emptied " << emptied;
        }
    }
}

TEST_P(SmallStore, ATextOverwrittenInPlaceIsSeen) {
    for (uint32_t i = 0; i < GetParam(); ++i) {
        std::strcpy(g_dxrRecord.records[i]->text, "other");
        g_dxrRecord.records[i]->text[0] = static_cast<char>('a' + i);
        DXR_RecordInfo("%cther", static_cast<int>('a' + i));
        EXPECT_EQ(g_dxrRecord.records[i]->count, 2U);
    }
    EXPECT_EQ(g_dxrRecord.nextIndex, GetParam());
}

TEST_P(SmallStore, WhatAHostDidInPlaceIsSeenWhenTheStoreHasGrown) {
    std::strcpy(g_dxrRecord.records[0]->text, "other");
    for (uint32_t i = GetParam(); i < 20; ++i) {
        DXR_RecordInfo("text %u", i);
    }
    DXR_RecordInfo("other");
    EXPECT_EQ(g_dxrRecord.records[0]->count, 2U);
    EXPECT_EQ(g_dxrRecord.nextIndex, 20U);
}

INSTANTIATE_TEST_SUITE_P(Records, SmallStore, testing::Range(1U, 9U));

}  // namespace
