// The book against a walk over its store, with the store driven as the recorder drives it and
// changed in place.
#include "dxr_info_recorder_book.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "internal/fast_paths.h"
#include "support/test_host.h"

namespace {

using dxr::RecordBook;
using dxr::RecordText;

constexpr uint32_t kSlots = DXR_RECORD_COUNT;
// Larger stores than this may be searched by the index.
constexpr uint32_t kSmall = 8;

using Slots = std::vector<uint32_t>;

class Book {
  public:
    DxrRecordStore &Store() { return store_; }

    // As the recorder adds a text, to the book's own store or to another.
    void Add(const std::string &text) { Add(store_, text); }
    void Add(DxrRecordStore &store, const std::string &text) {
        const uint32_t slot = store.nextIndex;
        if (store.records[slot] == nullptr) {
            book_.Place(store, Make());
        }
        RecordText added(text.c_str());
        book_.Write(store, slot, added);
    }
    void AddMany(uint32_t from, uint32_t to) {
        for (uint32_t i = from; i < to; ++i) {
            Add("text " + std::to_string(i));
        }
    }
    DxrRecord *TakeOut(uint32_t slot) { return book_.TakeOut(slot); }
    void Place() { book_.Place(store_, Make()); }

    // In place, past the book.
    void Put(uint32_t slot, const std::string &text) {
        store_.records[slot] = Make();
        Overwrite(slot, text);
    }
    void Overwrite(uint32_t slot, const std::string &text) {
        std::memcpy(store_.records[slot]->text, text.c_str(), text.size() + 1);
    }

    uint32_t Find(const std::string &text, uint32_t from = 0) {
        RecordText wanted(text.c_str());
        return book_.Find(wanted, from);
    }
    Slots FindAll(const std::string &text) {
        RecordText wanted(text.c_str());
        Slots slots;
        for (uint32_t slot = book_.Find(wanted, 0); slot != RecordBook::kNone;
             slot = book_.Find(wanted, slot + 1)) {
            slots.push_back(slot);
        }
        return slots;
    }
    // What FindAll gives if it misses nothing.
    Slots WalkAll(const std::string &text) const {
        Slots slots;
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
    std::unique_ptr<RecordBook::Index> index_ = std::make_unique<RecordBook::Index>();
    RecordBook book_{store_, *index_};
};

uint32_t HashOf(const std::string &text) {
    return RecordText(text.c_str()).Hash();
}

// Sooner or later two texts share a hash of 32 bits.
std::pair<std::string, std::string> TwoTextsOfOneHash() {
    std::unordered_map<uint32_t, uint32_t> seen;
    for (uint32_t n = 0; n < 2000000; ++n) {
        const auto [entry, isNew] = seen.try_emplace(HashOf("some text " + std::to_string(n)), n);
        if (!isNew) {
            return {"some text " + std::to_string(entry->second), "some text " + std::to_string(n)};
        }
    }
    return {};
}

std::string TextOf(uint32_t n) {
    return "text " + std::to_string(n) + std::string(n % 250, 'x').substr(0, 245);
}

// --- texts

TEST(RecordText, IsInARecordThatHoldsItExactly) {
    DxrRecord record = {};
    for (const char *const text : {"", "a", "ab", "abc", "b"}) {
        std::memset(&record, 0, sizeof(record));
        std::strcpy(record.text, text);
        for (const char *const other : {"", "a", "ab", "abc", "b"}) {
            EXPECT_EQ(RecordText(other).IsIn(record), text == std::string(other));
        }
    }
}

TEST(RecordText, LongerThanARecordIsInNone) {
    const std::string text(300, 'l');
    DxrRecord record = {};
    RecordText(text.c_str()).CopyTo(record);
    EXPECT_EQ(record.text, std::string(255, 'l'));
    EXPECT_EQ(record.count, 0U);
    EXPECT_FALSE(RecordText(text.c_str()).IsIn(record));
    EXPECT_TRUE(RecordText(record.text).IsIn(record));
}

TEST(RecordText, HashIsThatOfTheTextAsItIsStored) {
    const std::string text(300, 'l');
    EXPECT_EQ(HashOf(text), HashOf(text.substr(0, 255)));
    EXPECT_NE(HashOf(text), HashOf(text.substr(0, 254)));
}

TEST(RecordText, EveryCharacterAndTheLengthCountInTheHash) {
    for (size_t length = 0; length < 256; ++length) {
        std::string text(length, 'a');
        const uint32_t hash = HashOf(text);
        EXPECT_NE(HashOf(text + "a"), length < 255 ? hash : 0);
        for (char &c : text) {
            for (const char other : {'b', 'A', '\x01', '\xE1'}) {
                c = other;
                EXPECT_NE(HashOf(text), hash) << length;
            }
            c = 'a';
        }
        for (size_t i = 1; i < length; ++i) {
            text[i - 1] = 'b';
            const uint32_t before = HashOf(text);
            std::swap(text[i - 1], text[i]);
            EXPECT_NE(HashOf(text), before) << length;
            text[i] = 'a';
        }
    }
}

TEST(RecordText, HashesOfLikeTextsFallIntoDifferentHomes) {
    // Wherever the bits are taken: 4096 numbers into 2048 homes, none of which may hold many.
    for (const uint32_t shift : {0U, 10U, 21U}) {
        std::vector<uint32_t> homes(2048);
        for (uint32_t n = 0; n < 4096; ++n) {
            ++homes[HashOf("fic 7 link " + std::to_string(n) + ": lost lock") >> shift & 2047U];
        }
        EXPECT_LT(*std::max_element(homes.begin(), homes.end()), 16U) << shift;
        EXPECT_LT(std::count(homes.begin(), homes.end(), 0U), 400) << shift;
    }
}

// --- the book

TEST(RecordBook, TextsOfEqualHashAreKeptApart) {
    const auto [one, other] = TwoTextsOfOneHash();
    ASSERT_NE(one, other);
    ASSERT_EQ(HashOf(one), HashOf(other));
    Book book;
    book.AddMany(0, 20);
    for (const std::string &text : {one, other, one, other}) {
        book.Add(text);
        EXPECT_EQ(book.FindAll(one), book.WalkAll(one));
        EXPECT_EQ(book.FindAll(other), book.WalkAll(other));
    }
    EXPECT_EQ(book.FindAll(one), (Slots{20, 22}));
}

TEST(RecordBook, AgreesWithAWalk) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const uint32_t texts : {3U, 40U, 1000U, 5000U}) {
        Book book;
        DxrRecordStore &store = book.Store();
        uint32_t wraps = 0;
        for (int i = 0; i < 12000; ++i) {
            const std::string text = TextOf(static_cast<uint32_t>(random() % texts));
            const uint64_t what = random() % 3000;
            if (what == 0) {
                store = {};
            } else if (what == 1) {
                store.nextIndex = static_cast<uint32_t>(random() % kSlots);
            } else if (what == 2 && store.nextIndex != 0) {
                store.records[--store.nextIndex] = nullptr;
            } else if (what < 5) {
                book.Put(store.nextIndex, text);
                store.nextIndex = (store.nextIndex + 1) % kSlots;
            } else if (what == 5) {
                book.TakeOut(static_cast<uint32_t>(random() % kSlots));
            } else if (what < 10) {
                DxrRecordStore copy = store;
                copy.nextIndex = static_cast<uint32_t>(random() % kSlots);
                book.Add(copy, text);
            } else if (what < 2000) {
                book.Add(text);
                wraps += store.nextIndex == 0 ? 1 : 0;
            }
            ASSERT_EQ(book.FindAll(text), book.WalkAll(text)) << "operation " << i;
        }
        EXPECT_GT(wraps, 1U);
    }
}

// A search goes on rightly whatever has happened since the step before: from any slot on it gives
// what a walk gives that stands there.
TEST(RecordBook, AgreesWithAWalkFromEverySlot) {
    std::mt19937_64 random(dxrtest::Seed());
    Book book;
    book.AddMany(0, 100);
    for (int i = 0; i < 3000; ++i) {
        const std::string text = TextOf(static_cast<uint32_t>(random() % 4));
        if (random() % 20 == 0) {
            book.TakeOut(static_cast<uint32_t>(random() % 100));
            book.Store().nextIndex = static_cast<uint32_t>(random() % 100);
        } else {
            book.Add(text);
        }
        const auto from = static_cast<uint32_t>(random() % 110);
        if (random() % 2 == 0) {
            book.Find("another", 0);
        }
        ASSERT_EQ(book.Find(text, from),
                  RecordBook::Walk(book.Store(), RecordText(text.c_str()), from))
            << "operation " << i;
    }
}

TEST(RecordBook, AFullStoreTurnsOverForEver) {
    Book book;
    for (uint32_t n = 0; n < 20 * kSlots; ++n) {
        const std::string text = "text " + std::to_string(n);
        ASSERT_EQ(book.FindAll(text), Slots{});
        book.Add(text);
        ASSERT_EQ(book.FindAll(text), Slots{n % kSlots});
        if (n >= kSlots) {
            const std::string gone = "text " + std::to_string(n - kSlots);
            ASSERT_EQ(book.FindAll(gone), Slots{});
        }
    }
}

TEST(RecordBook, OneTextInEverySlotIsFoundInTheOrderOfSlots) {
    Book book;
    for (uint32_t n = 0; n < kSlots + 100; ++n) {
        book.Add("same");
        book.Find("same");
    }
    EXPECT_EQ(book.FindAll("same"), book.WalkAll("same"));
    EXPECT_EQ(book.FindAll("same").size(), kSlots);
}

TEST(RecordBook, WhatStandsBeyondAnEmptySlotIsNotFound) {
    Book book;
    book.AddMany(0, 20);
    book.Find("a");
    book.Store().nextIndex = 22;
    book.Add("a");
    EXPECT_EQ(book.FindAll("a"), Slots{});
    // The gap is filled: slot 22 belongs to the search again.
    book.Store().nextIndex = 20;
    book.Add("b");
    EXPECT_EQ(book.FindAll("a"), Slots{});
    book.Add("a");
    EXPECT_EQ(book.FindAll("a"), (Slots{21, 22}));
}

TEST(RecordBook, APlacedRecordHoldsTheEmptyText) {
    Book book;
    book.AddMany(0, 20);
    EXPECT_EQ(book.FindAll(""), Slots{});
    book.Place();
    EXPECT_EQ(book.FindAll(""), Slots{20});
}

TEST(RecordBook, ATextWithoutTerminatorEndsWithItsRoom) {
    Book book;
    book.AddMany(0, 20);
    std::memset(book.Store().records[3], 'r', sizeof(DxrRecord));
    EXPECT_EQ(book.FindAll(std::string(255, 'r')), Slots{});
    EXPECT_EQ(book.FindAll(std::string(256, 'r')), Slots{3});
}

TEST(RecordBook, ATakenOutRecordIsGiven) {
    Book book;
    book.AddMany(0, 20);
    DxrRecord *const record = book.Store().records[5];
    EXPECT_EQ(book.TakeOut(5), record);
    EXPECT_EQ(book.TakeOut(5), nullptr);
    EXPECT_EQ(book.Find("text 4"), 4U);
    EXPECT_EQ(book.Find("text 6"), RecordBook::kNone);
}

// --- changes in place

class RecordBookBesideAHost : public testing::TestWithParam<uint32_t> {
  protected:
    RecordBookBesideAHost() {
        book_.AddMany(0, GetParam());
        book_.Find("nothing");
        book_.Add("a");
        book_.Add("b");
        book_.Add("c");
    }
    static uint32_t At(uint32_t slot) { return GetParam() + slot; }

    Book book_;
};

TEST_P(RecordBookBesideAHost, AReplacedStoreIsNoticed) {
    book_.Put(At(0), "x");
    book_.Put(At(1), "y");
    book_.Put(At(2), "z");
    EXPECT_EQ(book_.FindAll("x"), Slots{At(0)});
    EXPECT_EQ(book_.FindAll("a"), Slots{});
}

TEST_P(RecordBookBesideAHost, AReplacedStoreIsNoticedAfterAFurtherAdditionToo) {
    book_.Put(At(0), "x");
    book_.Put(At(2), "z");
    book_.Add("w");
    EXPECT_EQ(book_.FindAll("x"), Slots{At(0)});
    EXPECT_EQ(book_.FindAll("w"), Slots{At(3)});
}

TEST_P(RecordBookBesideAHost, AnAdditionToAnUnknownStoreDoesNotMakeItKnown) {
    // It brings the index of the store back to where it was.
    book_.Store().nextIndex = At(2);
    book_.Add("w");
    EXPECT_EQ(book_.FindAll("w"), Slots{At(2)});
    EXPECT_EQ(book_.FindAll("c"), Slots{});
}

TEST_P(RecordBookBesideAHost, ARecordPlacedInAnUnknownStoreDoesNotMakeItKnown) {
    book_.Store().nextIndex = At(3);
    DxrRecord *const newest = std::exchange(book_.Store().records[At(2)], nullptr);
    book_.Place();
    book_.Store().records[At(2)] = newest;
    EXPECT_EQ(book_.FindAll(""), Slots{At(3)});
}

TEST_P(RecordBookBesideAHost, AnEmptiedStoreIsNoticed) {
    book_.Store() = {};
    EXPECT_EQ(book_.FindAll("a"), Slots{});
    EXPECT_EQ(book_.FindAll("c"), Slots{});
}

TEST_P(RecordBookBesideAHost, ARecordMoreIsNoticed) {
    book_.Put(At(3), "d");
    EXPECT_EQ(book_.FindAll("d"), Slots{At(3)});
}

TEST_P(RecordBookBesideAHost, TheNewestRecordReplacedIsNoticed) {
    book_.Put(At(2), "d");
    EXPECT_EQ(book_.FindAll("d"), Slots{At(2)});
    EXPECT_EQ(book_.FindAll("c"), Slots{});
}

TEST_P(RecordBookBesideAHost, ASlotEmptiedInPlaceIsNotFound) {
    book_.Store().records[At(1)] = nullptr;
    EXPECT_EQ(book_.FindAll("b"), Slots{});
}

TEST_P(RecordBookBesideAHost, ASharedRecordIsFollowedToAllItsSlots) {
    book_.Store().records[At(1)] = book_.Store().records[At(0)];
    DxrRecordStore own = {};
    own.records[7] = book_.Store().records[At(0)];
    own.nextIndex = 7;
    book_.Add(own, "shared");
    EXPECT_EQ(own.nextIndex, 8U);
    EXPECT_EQ(book_.FindAll("shared"), (Slots{At(0), At(1)}));
    EXPECT_EQ(book_.FindAll("a"), Slots{});
    EXPECT_EQ(book_.FindAll("c"), Slots{At(2)});
}

INSTANTIATE_TEST_SUITE_P(RecordsInFront, RecordBookBesideAHost, testing::Values(0U, 5U, 6U, 20U));

// --- the index itself: texts overwritten in place tell whether it was asked, and whether it was
// made anew since.

class RecordIndex : public testing::Test {
  protected:
    RecordIndex() {
        if (!dxr::kFastPaths) {
            return;
        }
        book_.AddMany(0, kSmall + 1);
        book_.Find("nothing");
        book_.Overwrite(3, "in place");
    }
    void SetUp() override {
        if (!dxr::kFastPaths) {
            GTEST_SKIP() << "built without";
        }
    }
    bool IsKept() { return book_.Find("in place") == RecordBook::kNone; }

    Book book_;
};

TEST_F(RecordIndex, IsAsked) {
    EXPECT_TRUE(IsKept());
    EXPECT_EQ(book_.WalkAll("in place"), Slots{3});
}

TEST_F(RecordIndex, IsKeptByAdditionsUntilTheSlotIsWrittenAgain) {
    for (uint32_t i = kSmall + 1; i < kSlots + 3; ++i) {
        ASSERT_TRUE(IsKept()) << i;
        const std::string text = "text " + std::to_string(i);
        book_.Add(text);
        ASSERT_EQ(book_.FindAll(text), Slots{i % kSlots});
    }
    ASSERT_TRUE(IsKept());
    book_.Add("in place");
    EXPECT_EQ(book_.FindAll("in place"), Slots{3});
}

TEST_F(RecordIndex, IsKeptByAdditionsToOtherStores) {
    DxrRecordStore own = {};
    for (uint32_t i = 0; i < 10; ++i) {
        book_.Add(own, "own");
    }
    own.nextIndex = 0;
    book_.Add(own, "own");
    EXPECT_TRUE(IsKept());
    own.records[0] = book_.Store().records[5];
    own.nextIndex = 0;
    book_.Add(own, "shared");
    EXPECT_TRUE(IsKept());
    EXPECT_EQ(book_.FindAll("shared"), Slots{5});
}

TEST_F(RecordIndex, IsForgottenWhenARecordIsTakenOut) {
    DxrRecord *const record = book_.TakeOut(kSmall);
    book_.Store().records[kSmall] = record;
    EXPECT_FALSE(IsKept());
}

TEST_F(RecordIndex, OfAllZeroBytesKnowsNothing) {
    Book book;
    book.Put(0, "a");
    for (uint32_t i = 1; i < 20; ++i) {
        book.Put(i, "b");
    }
    EXPECT_EQ(book.FindAll("a"), Slots{0});
}

}  // namespace
