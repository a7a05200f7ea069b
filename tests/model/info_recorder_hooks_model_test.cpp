// The recorder under a host whose hooks call it again, which sets its index, empties its slots and
// writes its records through copies of the store, against the algorithm written down word for word.
// Both sides meet the same hooks in the same order, and neither touches a record that was released.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/info_recorder.h"
#include "support/test_host.h"

namespace {

constexpr uint32_t kSlots = DXR_RECORD_COUNT;
constexpr int kOperations = 6000;
constexpr uint32_t kTexts = 40;
constexpr int kDeepest = 2;
// Up to so many records a store is searched as it stands.
constexpr uint32_t kSmall = 8;

// Few texts, so that many records share one; the first is empty, the last two are as long as texts
// can be.
std::string TextOf(uint32_t n) {
    if (n == 0) {
        return "";
    }
    return n >= kTexts - 2 ? std::string(254 + n % 2, 'x') : "event " + std::to_string(n);
}

// What is done to the recorder; one for the library, one for the algorithm.
class Side {
  public:
    Side() = default;
    virtual ~Side() = default;
    Side(const Side &) = delete;
    Side &operator=(const Side &) = delete;

    virtual DxrRecordStore &Store() = 0;
    virtual void Record(const std::string &text) = 0;
    virtual uint8_t Update(const char *text) = 0;
    virtual void Add(const char *text, DxrRecordStore &store) = 0;
    virtual void Destroy() = 0;

    void Do(uint64_t what) {
        const std::string text = TextOf(static_cast<uint32_t>(what >> 32U) % kTexts);
        const uint64_t kind = what % 4000;
        if (kind < 1000) {
            Record(text);
        } else if (kind < 3700) {
            Add(text.c_str(), Store());
        } else if (kind < 3860) {
            matches_ += Update(text.c_str());
        } else if (kind < 3880) {
            AddToACopy(static_cast<uint32_t>(what >> 40U) % kSlots, text);
        } else if (kind < 3900) {
            EmptySlot(static_cast<uint32_t>(what >> 40U) % kSlots, text);
        } else if (kind < 3980) {
            // At the end, beyond it, so that a gap is left, or even outside the store.
            Store().nextIndex = FirstEmpty() + static_cast<uint32_t>(kind % 2);
        } else if (kind < 3998) {
            Store().nextIndex = static_cast<uint32_t>(what >> 40U) % kSlots;
        } else {
            Destroy();
        }
    }

    // Every hook is numbered; what it does follows from its number alone.
    void OnHook() {
        const uint64_t number = ++hooks_;
        if (depth_ == kDeepest) {
            return;
        }
        std::mt19937_64 random(dxrtest::Seed() + number);
        if (random() % 100 < 8) {
            ++depth_;
            ++again_;
            Do(random());
            --depth_;
        }
    }
    void Time(DxrSysTime *time) {
        OnHook();
        *time = {static_cast<uint16_t>(hooks_), 0, 0, 0, 0, 0, {}};
        std::memcpy(&time->reserved, &hooks_, sizeof(time->reserved));
    }
    // Released blocks are kept to the end, so that no address returns and a write to one shows.
    void *Allocate() {
        OnHook();
        if (hooks_ % 50 == 0) {
            return nullptr;
        }
        std::memset(&blocks_.emplace_back(), 0xA5, sizeof(DxrRecord));
        return &blocks_.back();
    }
    void Release(void *block) {
        OnHook();
        Discard(block);
    }
    [[nodiscard]] bool ReleasedBlocksAreUntouched() const {
        return std::all_of(released_.begin(), released_.end(), [](const DxrRecord *record) {
            const auto *const bytes = reinterpret_cast<const unsigned char *>(record);
            return std::all_of(bytes, bytes + sizeof(*record),
                               [](unsigned char byte) { return byte == kReleased; });
        });
    }
    // All blocks that are not released stand in the store, but for those that only a copy had.
    [[nodiscard]] bool NothingLeaks() {
        const auto &records = Store().records;
        const auto empty = std::count(std::begin(records), std::end(records), nullptr);
        return blocks_.size() - released_.size() - onlyInCopies_ ==
               kSlots - static_cast<size_t>(empty);
    }

    uint64_t hooks_ = 0;
    uint64_t again_ = 0;  // hooks that called the recorder
    uint64_t matches_ = 0;
    uint64_t emptied_ = 0;
    uint64_t copies_ = 0;

  private:
    static constexpr unsigned char kReleased = 0xDD;

    void Discard(void *block) {
        std::memset(block, kReleased, sizeof(DxrRecord));
        released_.push_back(static_cast<DxrRecord *>(block));
    }

    // No hook comes back meanwhile: what it did to the store would be lost on the copy.
    void AddToACopy(uint32_t slot, const std::string &text) {
        const int depth = std::exchange(depth_, kDeepest);
        DxrRecordStore copy = Store();
        copy.nextIndex = slot;
        Add(text.c_str(), copy);
        if (copy.records[slot] != Store().records[slot]) {
            ++onlyInCopies_;
        }
        depth_ = depth;
        ++copies_;
    }

    // In place. In a larger store it is the next slot that is written, and the emptying shows in
    // this.
    void EmptySlot(uint32_t slot, const std::string &text) {
        DxrRecordStore &store = Store();
        const bool isSmall = store.records[kSmall] == nullptr;
        slot = isSmall ? slot % (kSmall + 1) : slot;
        if (store.records[slot] == nullptr || (!isSmall && store.nextIndex == slot)) {
            return;
        }
        Discard(std::exchange(store.records[slot], nullptr));
        ++emptied_;
        if (!isSmall) {
            store.nextIndex = slot;
            Record(text);
        }
    }

    uint32_t FirstEmpty() {
        const auto &records = Store().records;
        return static_cast<uint32_t>(std::find(std::begin(records), std::end(records), nullptr) -
                                     std::begin(records));
    }

    int depth_ = 0;
    std::deque<DxrRecord> blocks_;
    std::vector<const DxrRecord *> released_;
    size_t onlyInCopies_ = 0;
};

class Algorithm : public Side {
  public:
    DxrRecordStore &Store() override { return store_; }

    void Record(const std::string &text) override {
        const std::string marked = text.size() >= 255 ? text.substr(0, 252) + "..." : text;
        if (Update(marked.c_str()) == 0) {
            Add(marked.c_str(), store_);
        }
    }
    uint8_t Update(const char *text) override {
        uint8_t matched = 0;
        for (uint32_t i = 0; i < kSlots && store_.records[i] != nullptr; ++i) {
            DxrRecord *const record = store_.records[i];
            if (std::strcmp(record->text, text) == 0) {
                DxrSysTime time = {};
                Time(&time);
                if (store_.records[i] == record) {
                    record->lastTime = time;
                    record->count += 1;
                }
                matched = 1;
            }
        }
        return matched;
    }
    void Add(const char *text, DxrRecordStore &store) override {
        while (store.nextIndex < kSlots && store.records[store.nextIndex] == nullptr) {
            void *const block = Allocate();
            if (block == nullptr) {
                return;
            }
            if (store.nextIndex < kSlots && store.records[store.nextIndex] == nullptr) {
                store.records[store.nextIndex] =
                    static_cast<DxrRecord *>(std::memset(block, 0, sizeof(DxrRecord)));
            } else {
                Release(block);
            }
        }
        if (store.nextIndex >= kSlots) {
            return;
        }
        DxrRecord *&slot = store.records[store.nextIndex];
        DxrRecord *const record = slot;
        for (DxrSysTime DxrRecord::*const field : {&DxrRecord::firstTime, &DxrRecord::lastTime}) {
            DxrSysTime time = {};
            Time(&time);
            if (slot != record) {
                return;
            }
            record->*field = time;
        }
        record->count = 1;
        std::snprintf(record->text, sizeof(record->text), "%s", text);
        store.nextIndex = (store.nextIndex + 1) & (kSlots - 1);
    }
    void Destroy() override {
        store_.nextIndex = 0;
        for (DxrRecord *&slot : store_.records) {
            if (slot != nullptr) {
                Release(std::exchange(slot, nullptr));
            }
        }
    }

  private:
    DxrRecordStore store_ = {};
};

class Library : public Side {
  public:
    Library() {
        current_ = this;
        g_dxrHooks.time.getSysTime = [](DxrSysTime *time) { current_->Time(time); };
        g_dxrHooks.memory.allocate = [](uint32_t, uint32_t, const char *, uint32_t) {
            return current_->Allocate();
        };
        g_dxrHooks.memory.release = [](void *block, const char *, uint32_t) {
            current_->Release(block);
        };
    }
    ~Library() override {
        g_dxrHooks.memory.release = [](void *, const char *, uint32_t) {};
        DXR_DestroyRecordInfo();
    }

    DxrRecordStore &Store() override { return g_dxrRecord; }
    void Record(const std::string &text) override { DXR_RecordInfo("%s", text.c_str()); }
    uint8_t Update(const char *text) override {
        return DXR_UpdateExistingRecord(text, DXR_GetRecordEntity());
    }
    void Add(const char *text, DxrRecordStore &store) override { DXR_AddNewRecord(text, &store); }
    void Destroy() override { DXR_DestroyRecordInfo(); }

  private:
    static inline Library *current_ = nullptr;
};

void Compare(Side &library, Side &algorithm) {
    ASSERT_EQ(library.hooks_, algorithm.hooks_);
    ASSERT_EQ(library.matches_, algorithm.matches_);
    ASSERT_EQ(library.Store().nextIndex, algorithm.Store().nextIndex);
    for (uint32_t i = 0; i < kSlots; ++i) {
        const DxrRecord *const record = library.Store().records[i];
        const DxrRecord *const expected = algorithm.Store().records[i];
        ASSERT_EQ(record != nullptr, expected != nullptr) << "slot " << i;
        if (record != nullptr) {
            ASSERT_EQ(std::memcmp(record, expected, sizeof(DxrRecord)), 0)
                << "slot " << i << ": " << record->text << " / " << expected->text;
        }
    }
}

void Fill(Side &library, Side &algorithm) {
    for (uint32_t n = 0; library.Store().records[kSlots - 1] == nullptr; ++n) {
        library.Add(TextOf(n % kTexts).c_str(), library.Store());
        algorithm.Add(TextOf(n % kTexts).c_str(), algorithm.Store());
    }
}

TEST(RecorderHooksModel, HooksThatRecordLeaveTheStoreOfTheAlgorithm) {
    dxrtest::TestHost host;
    std::mt19937_64 random(dxrtest::Seed());
    Library library;
    Algorithm algorithm;
    uint32_t full = 0;
    for (int operation = 0; operation < kOperations; ++operation) {
        SCOPED_TRACE("operation " + std::to_string(operation));
        if (operation % (kOperations / 3) == 0) {
            Fill(library, algorithm);
        }
        const uint64_t what = random();
        library.Do(what);
        algorithm.Do(what);
        ASSERT_NO_FATAL_FAILURE(Compare(library, algorithm));
        full += g_dxrRecord.records[kSlots - 1] != nullptr ? 1 : 0;
    }
    EXPECT_TRUE(library.ReleasedBlocksAreUntouched());
    EXPECT_TRUE(algorithm.ReleasedBlocksAreUntouched());
    EXPECT_TRUE(library.NothingLeaks());
    // The run went where it was meant to go.
    EXPECT_GT(library.emptied_, 5U);
    EXPECT_GT(library.copies_, 5U);
    EXPECT_GT(library.again_, 1000U);
    EXPECT_GT(library.matches_, 50U);
    EXPECT_GT(full, 100U);
}

}  // namespace
