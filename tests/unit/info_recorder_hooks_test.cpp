// Hooks of a host that call the recorder again, or change its store, while it is at work.
#include <gtest/gtest.h>

#include <cstdint>
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

    // The actions run once, inside the next call of the hook.
    void OnTime(std::function<void()> action) {
        action_ = std::move(action);
        g_dxrHooks.time.getSysTime = [](DxrSysTime *time) {
            g_dxrHooks.time.getSysTime = current_->sysTime_;
            current_->action_();
            current_->sysTime_(time);
        };
    }
    void OnAllocation(std::function<void()> action) {
        action_ = std::move(action);
        g_dxrHooks.memory.allocate = [](uint32_t mid, uint32_t size, const char *file,
                                        uint32_t line) {
            g_dxrHooks.memory.allocate = current_->allocate_;
            current_->action_();
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
    std::function<void()> action_;
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

TEST_P(RecorderHooks, ATextRecordedInTheAllocationLosesItsRecord) {
    host_.KeepLeaks();
    OnAllocation([] { DXR_RecordInfo("inner"); });
    DXR_RecordInfo("outer");
    EXPECT_EQ(Slots(), "outer1 >2");
    DXR_RecordInfo("inner");
    EXPECT_EQ(Slots(), "outer1 - inner1 >3");
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
    // At the second release slot 0 is empty already: the walk ends there, and c is new.
    EXPECT_EQ(Slots(0), "c1 >1");
}

TEST_P(RecorderHooks, ASlotThatTheHostEmptiesEndsTheWalk) {
    DXR_RecordInfo("a");
    DXR_RecordInfo("b");
    DxrRecord *&slot = g_dxrRecord.records[GetParam()];
    DXR_Free(slot, __FILE__, __LINE__);
    slot = nullptr;
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

INSTANTIATE_TEST_SUITE_P(RecordsInFront, RecorderHooks, testing::Values(0U, 7U, 8U, 9U, 100U));

}  // namespace
