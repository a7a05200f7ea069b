// The index against a walk over the store, with the store driven as the library drives it and
// changed past the index.
#include "dxr_info_recorder_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/test_host.h"

namespace {

using dxr::RecordIndex;

constexpr uint32_t kSlots = DXR_RECORD_COUNT;

uint32_t HashOf(const std::string &text) {
    return dxr::RecordHash(text.data(), text.size());
}

class Store {
  public:
    DxrRecordStore &Get() { return store_; }

    // As the recorder adds a text.
    void Add(RecordIndex &index, const std::string &text) {
        const uint32_t slot = store_.nextIndex;
        if (store_.records[slot] == nullptr) {
            DxrRecord *const made = Make();
            index.Change(store_, slot, made, [&] {
                store_.records[slot] = made;
                return HashOf("");
            });
        }
        DxrRecord *const record = store_.records[slot];
        index.Change(store_, slot, record, [&] {
            std::memcpy(record->text, text.c_str(), text.size() + 1);
            store_.nextIndex = (store_.nextIndex + 1) % kSlots;
            return HashOf(text);
        });
    }

    // Past the index.
    void Put(uint32_t slot, const std::string &text) {
        store_.records[slot] = Make();
        std::memcpy(store_.records[slot]->text, text.c_str(), text.size() + 1);
    }

    void Clear() { store_ = {}; }

    // All slots of the walk whose record has the text.
    std::vector<uint32_t> Walk(const std::string &text) const {
        std::vector<uint32_t> slots;
        for (uint32_t i = 0; i < kSlots && store_.records[i] != nullptr; ++i) {
            if (store_.records[i]->text == text) {
                slots.push_back(i);
            }
        }
        return slots;
    }

  private:
    DxrRecord *Make() {
        made_.push_back(std::make_unique<DxrRecord>());
        return made_.back().get();
    }

    DxrRecordStore store_ = {};
    std::vector<std::unique_ptr<DxrRecord>> made_;
};

std::vector<uint32_t> Candidates(const RecordIndex &index, const std::string &text) {
    const uint32_t hash = HashOf(text);
    std::vector<uint32_t> slots;
    for (uint32_t slot = index.First(hash); slot != RecordIndex::kNone;
         slot = index.Next(slot, hash)) {
        slots.push_back(slot);
    }
    return slots;
}

// Of these texts, "Aa..." and "BB..." of one length have one hash.
std::string TextOf(uint32_t n) {
    return (n % 2 == 0 ? "Aa" : "BB") + std::to_string(n / 2) + std::string(n / 2 % 100, 'x');
}

std::vector<uint32_t> OfTheText(const Store &store, std::vector<uint32_t> slots,
                                const std::string &text) {
    const std::vector<uint32_t> walked = store.Walk(text);
    std::erase_if(slots, [&](uint32_t slot) {
        return !std::binary_search(walked.begin(), walked.end(), slot);
    });
    return slots;
}

TEST(RecordIndex, EqualHashesOfDifferentTextsAreCandidatesOfBoth) {
    ASSERT_EQ(HashOf("Aa7"), HashOf("BB7"));
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    for (const char *const text : {"Aa7", "BB7", "x", "BB7"}) {
        store.Add(*index, text);
    }
    EXPECT_EQ(Candidates(*index, "Aa7"), (std::vector<uint32_t>{0, 1, 3}));
    EXPECT_EQ(Candidates(*index, "x"), (std::vector<uint32_t>{2}));
}

TEST(RecordIndex, AgreesWithAWalk) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const uint32_t texts : {3U, 40U, 1000U, 5000U}) {
        const auto index = std::make_unique<RecordIndex>();
        Store store;
        uint32_t wraps = 0;
        for (int i = 0; i < 12000; ++i) {
            const std::string text = TextOf(static_cast<uint32_t>(random() % texts));
            const uint64_t what = random() % 3000;
            DxrRecordStore &records = store.Get();
            if (what == 0) {
                store.Clear();
            } else if (what == 1) {
                records.nextIndex = static_cast<uint32_t>(random() % kSlots);
            } else if (what == 2 && records.nextIndex != 0) {
                --records.nextIndex;
                records.records[records.nextIndex] = nullptr;
            } else if (what < 5) {
                store.Put(records.nextIndex, text);
                records.nextIndex = (records.nextIndex + 1) % kSlots;
            } else if (what == 5) {
                index->Forget();
            } else if (what < 2000) {
                store.Add(*index, text);
                wraps += records.nextIndex == 0 ? 1 : 0;
            }
            index->Follow(records);
            const std::vector<uint32_t> slots = Candidates(*index, text);
            ASSERT_TRUE(std::is_sorted(slots.begin(), slots.end())) << "operation " << i;
            ASSERT_EQ(OfTheText(store, slots, text), store.Walk(text)) << "operation " << i;
        }
        EXPECT_GT(wraps, 1U);
    }
}

TEST(RecordIndex, AFullStoreTurnsOverForEver) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    for (uint32_t n = 0; n < 20 * kSlots; ++n) {
        const std::string text = "text " + std::to_string(n);
        index->Follow(store.Get());
        ASSERT_EQ(Candidates(*index, text), std::vector<uint32_t>{});
        store.Add(*index, text);
        ASSERT_EQ(Candidates(*index, text), std::vector<uint32_t>{n % kSlots});
        if (n >= kSlots) {
            const std::string gone = "text " + std::to_string(n - kSlots);
            ASSERT_EQ(Candidates(*index, gone), std::vector<uint32_t>{});
        }
    }
}

TEST(RecordIndex, OneTextInEverySlotIsGivenInTheOrderOfSlots) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    for (uint32_t n = 0; n < kSlots + 100; ++n) {
        store.Add(*index, "same");
    }
    EXPECT_EQ(Candidates(*index, "same"), store.Walk("same"));
    EXPECT_EQ(Candidates(*index, "same").size(), kSlots);
}

TEST(RecordIndex, TheNextSlotIsFoundWhateverHasHappenedToTheLast) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    for (const char *const text : {"a", "b", "a", "b", "a"}) {
        store.Add(*index, text);
    }
    const uint32_t hash = HashOf("a");
    ASSERT_EQ(index->First(hash), 0U);
    store.Get().nextIndex = 0;
    index->Follow(store.Get());
    store.Add(*index, "c");  // in slot 0
    EXPECT_EQ(index->Next(0, hash), 2U);
    EXPECT_EQ(index->Next(2, hash), 4U);
    store.Clear();
    index->Follow(store.Get());
    EXPECT_EQ(index->Next(2, hash), RecordIndex::kNone);
    store.Add(*index, "a");
    EXPECT_EQ(index->Next(0, hash), RecordIndex::kNone);
    EXPECT_EQ(index->First(hash), 0U);
}

TEST(RecordIndex, AZeroedIndexIsThatOfAnEmptyStore) {
    static RecordIndex zeroed;
    Store store;
    EXPECT_EQ(zeroed.First(0), RecordIndex::kNone);
    store.Add(zeroed, "first");  // followed, so that it is known without a rebuild
    EXPECT_EQ(zeroed.First(HashOf("first")), 0U);
}

TEST(RecordIndex, WhatStandsBehindAnEmptySlotIsNotGiven) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    store.Add(*index, "a");
    store.Get().nextIndex = 3;
    index->Follow(store.Get());
    store.Add(*index, "a");
    index->Follow(store.Get());
    EXPECT_EQ(Candidates(*index, "a"), std::vector<uint32_t>{0});
    // The gap is filled: slot 3 belongs to the walk again.
    store.Get().nextIndex = 1;
    index->Follow(store.Get());
    store.Add(*index, "b");
    index->Follow(store.Get());
    store.Add(*index, "a");
    index->Follow(store.Get());
    EXPECT_EQ(Candidates(*index, "a"), (std::vector<uint32_t>{0, 2, 3}));
}

TEST(RecordIndex, ATextWithoutTerminatorEndsWithItsRoom) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    store.Put(0, "");
    std::memset(store.Get().records[0], 'r', sizeof(DxrRecord));
    store.Get().nextIndex = 1;
    index->Follow(store.Get());
    EXPECT_EQ(index->First(HashOf(std::string(DXR_RECORD_TEXT_SIZE, 'r'))), 0U);
}

TEST(RecordIndex, AChangeThatTheSlotDoesNotShowIsNotFollowed) {
    const auto index = std::make_unique<RecordIndex>();
    Store store;
    store.Add(*index, "a");
    DxrRecord orphan = {};
    index->Change(store.Get(), 0, &orphan, [&] {
        std::strcpy(orphan.text, "b");
        return HashOf("b");
    });
    index->Follow(store.Get());
    EXPECT_EQ(Candidates(*index, "b"), std::vector<uint32_t>{});
    EXPECT_EQ(Candidates(*index, "a"), std::vector<uint32_t>{0});
}

class RecordIndexBesideAHost : public testing::Test {
  protected:
    RecordIndexBesideAHost() {
        for (const char *const text : {"a", "b", "c"}) {
            store_.Add(*index_, text);
        }
    }

    // Past the index: as many other records in the place of those that it knows.
    void ReplaceAll() {
        store_.Clear();
        store_.Put(0, "x");
        store_.Put(1, "y");
        store_.Put(2, "z");
        store_.Get().nextIndex = 3;
    }

    std::vector<uint32_t> Followed(const std::string &text) {
        index_->Follow(store_.Get());
        return Candidates(*index_, text);
    }

    std::unique_ptr<RecordIndex> index_ = std::make_unique<RecordIndex>();
    Store store_;
};

TEST_F(RecordIndexBesideAHost, AReplacedStoreIsNoticed) {
    ReplaceAll();
    EXPECT_EQ(Followed("x"), std::vector<uint32_t>{0});
    EXPECT_EQ(Followed("a"), std::vector<uint32_t>{});
}

TEST_F(RecordIndexBesideAHost, AReplacedStoreIsNoticedBehindAFurtherChangeToo) {
    ReplaceAll();
    store_.Add(*index_, "w");
    EXPECT_EQ(Followed("x"), std::vector<uint32_t>{0});
    EXPECT_EQ(Followed("w"), std::vector<uint32_t>{3});
}

TEST_F(RecordIndexBesideAHost, AChangeOfAnUnknownStoreDoesNotMakeItKnown) {
    // The change brings the index of the store back to where it was.
    store_.Get().nextIndex = 2;
    store_.Add(*index_, "w");
    EXPECT_EQ(Followed("w"), std::vector<uint32_t>{2});
    EXPECT_EQ(Followed("c"), std::vector<uint32_t>{});
}

TEST_F(RecordIndexBesideAHost, AnEmptiedStoreIsNoticed) {
    store_.Clear();
    EXPECT_EQ(Followed("a"), std::vector<uint32_t>{});
    EXPECT_EQ(Followed("c"), std::vector<uint32_t>{});
}

TEST_F(RecordIndexBesideAHost, ARecordMoreIsNoticed) {
    store_.Put(3, "d");
    EXPECT_EQ(Followed("d"), std::vector<uint32_t>{3});
}

}  // namespace
