// The index against a walk over its window.

#include "dxr_print_log_filter_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/test_host.h"

namespace {

using dxr::LogRingIndex;

// A ring as its operations leave it, and a walk over it.
class Ring {
  public:
    explicit Ring(uint32_t capacity) : entries_(capacity) {
        record_.capacity = capacity;
        record_.entries = entries_.data();
    }

    [[nodiscard]] const DxrLogFilterInfo &Record() const { return record_; }
    [[nodiscard]] const DxrLogFilterEntry *Entries() const { return entries_.data(); }
    DxrLogFilterEntry &At(uint32_t position) { return entries_[position]; }

    uint32_t Append(uint32_t hash) {
        const uint32_t position = (record_.curIndex + record_.curSize) % record_.capacity;
        entries_[position].logHashCode = hash;
        if (record_.curSize < record_.capacity) {
            ++record_.curSize;
        } else {
            record_.curIndex = (record_.curIndex + 1) % record_.capacity;
        }
        return position;
    }

    void Drop(uint32_t count, uint32_t first) {
        record_.curSize -= count;
        record_.curIndex = first;
    }

    [[nodiscard]] uint32_t Walk(uint32_t hash) const {
        for (uint32_t i = 0; i < record_.curSize; ++i) {
            const uint32_t position = (record_.curIndex + i) % record_.capacity;
            if (entries_[position].logHashCode == hash) {
                return position;
            }
        }
        return record_.capacity;
    }

  private:
    std::vector<DxrLogFilterEntry> entries_;
    DxrLogFilterInfo record_ = {};
};

// Hashes of which many at a time want the same slot, also of small tables: chains are long.
uint32_t CrowdedHash(uint32_t n) {
    constexpr uint32_t kInverseOfTheFactor = 0x0E8B2F51U;
    static_assert(kInverseOfTheFactor * dxr::kGoldenRatioFactor == 1);
    return (n % 5 * (1U << 29U) + n) * kInverseOfTheFactor;
}

uint32_t ScatteredHash(uint32_t n) {
    return n * 2654435769U + 1;
}

void Drive(uint32_t capacity, uint32_t hashes, uint32_t (*hashOf)(uint32_t), uint64_t seed,
           uint32_t operations) {
    SCOPED_TRACE(::testing::Message() << "capacity " << capacity << ", " << hashes << " hashes");
    std::mt19937_64 random(seed);
    const auto index = std::make_unique<LogRingIndex>();
    Ring ring(capacity);
    index->Rebuild(ring.Record());
    for (uint32_t i = 0; i < operations; ++i) {
        const uint64_t what = random() % 100;
        const uint32_t size = ring.Record().curSize;
        if (what < 90) {
            const uint32_t hash = hashOf(static_cast<uint32_t>(1 + random() % hashes));
            const uint32_t walked = ring.Walk(hash);
            ASSERT_EQ(index->Find(ring.Entries(), hash), walked) << "operation " << i;
            // Equal hashes may stand twice: a host may add entries by itself.
            if (walked == capacity || what < 5) {
                ring.Append(hash);
                index->Append(hash);
            }
        } else if (what < 93) {
            const auto count =
                random() % 40 == 0 ? size : static_cast<uint32_t>(random() % (size / 8 + 1));
            const uint32_t first = count == size ? static_cast<uint32_t>(random() % capacity)
                                                 : (ring.Record().curIndex + count) % capacity;
            ring.Drop(count, first);
            index->Drop(count, first);
        } else if (what < 98) {
            // A host has written into an entry: it must not be given for its old hash.
            const auto position = static_cast<uint32_t>(random() % capacity);
            const uint32_t old = ring.At(position).logHashCode;
            ring.At(position).logHashCode = 0;
            if (old != 0) {
                ASSERT_EQ(index->Find(ring.Entries(), old), ring.Walk(old)) << "operation " << i;
            }
            ring.At(position).logHashCode = old;
        } else if (random() % 64 == 0) {
            index->Rebuild(ring.Record());
        }
        ASSERT_TRUE(index->Knows(ring.Record())) << "operation " << i;
    }
}

TEST(LogRingIndex, AgreesWithAWalk) {
    uint64_t seed = dxrtest::Seed();
    for (const uint32_t capacity : {8U, 9U, 15U, 31U, 255U, 2047U, 2049U}) {
        const uint32_t operations = capacity < 1000 ? 60000U : 20000U;
        Drive(capacity, capacity * 2 + 1, ScatteredHash, seed++, operations);
        Drive(capacity, capacity * 2 + 1, CrowdedHash, seed++, operations);
        Drive(capacity, 3, CrowdedHash, seed++, 3000);
    }
}

TEST(LogRingIndex, AFullRingTurnsOverForEver) {
    const auto index = std::make_unique<LogRingIndex>();
    Ring ring(2047);
    index->Rebuild(ring.Record());
    for (uint32_t n = 1; n <= 10 * 2047; ++n) {
        const uint32_t hash = ScatteredHash(n);
        ASSERT_EQ(index->Find(ring.Entries(), hash), 2047U);
        const uint32_t position = ring.Append(hash);
        index->Append(hash);
        ASSERT_EQ(index->Find(ring.Entries(), hash), position);
        if (n > 2047) {
            ASSERT_EQ(index->Find(ring.Entries(), ScatteredHash(n - 2047)), 2047U);
        }
    }
}

// Whatever a host writes over hashes, also of positions that have gone: nothing loops, nothing is
// found that is not there.
TEST(LogRingIndex, HashesOverwrittenInPlaceDoNotBreakIt) {
    std::mt19937_64 random(dxrtest::Seed());
    const auto index = std::make_unique<LogRingIndex>();
    Ring ring(63);
    index->Rebuild(ring.Record());
    for (int i = 0; i < 20000; ++i) {
        const auto hash = static_cast<uint32_t>(random() % 100);
        ring.At(static_cast<uint32_t>(random() % 63)).logHashCode = hash;
        const uint32_t found = index->Find(ring.Entries(), hash);
        if (found != 63) {
            ASSERT_EQ(ring.At(found).logHashCode, hash);
        }
        if (random() % 4 == 0) {
            ring.Drop(1 % (ring.Record().curSize + 1),
                      (ring.Record().curIndex + (ring.Record().curSize != 0 ? 1 : 0)) % 63);
            index->Drop(index->Knows(ring.Record()) ? 0 : 1, ring.Record().curIndex);
        }
        ring.Append(hash + 1);
        index->Append(hash + 1);
        ASSERT_TRUE(index->Knows(ring.Record()));
    }
    index->Rebuild(ring.Record());
    for (uint32_t hash = 0; hash < 101; ++hash) {
        EXPECT_EQ(index->Find(ring.Entries(), hash), ring.Walk(hash));
    }
}

TEST(LogRingIndex, KnowsTheWindowItFollowed) {
    const auto index = std::make_unique<LogRingIndex>();
    DxrLogFilterEntry entries[9] = {};
    const DxrLogFilterInfo record = {2, 3, 9, entries};
    index->Rebuild(record);
    EXPECT_TRUE(index->Knows(record));
    EXPECT_FALSE(index->Knows({1, 3, 9, entries}));
    EXPECT_FALSE(index->Knows({2, 2, 9, entries}));
    EXPECT_FALSE(index->Knows({2, 3, 8, entries}));
    index->Append(1);
    EXPECT_TRUE(index->Knows({2, 4, 9, entries}));
    index->Drop(4, 0);
    EXPECT_TRUE(index->Knows({0, 0, 9, entries}));
}

TEST(LogRingIndex, ServesRingsThatHoldTogether) {
    DxrLogFilterEntry entry = {};
    EXPECT_FALSE(LogRingIndex::Serves({0, 0, 0, nullptr}));
    EXPECT_FALSE(LogRingIndex::Serves({0, 0, 20, nullptr}));
    EXPECT_FALSE(LogRingIndex::Serves({0, 1, 7, &entry}));
    EXPECT_TRUE(LogRingIndex::Serves({0, 1, 8, &entry}));
    EXPECT_FALSE(LogRingIndex::Serves({8, 1, 8, &entry}));
    EXPECT_FALSE(LogRingIndex::Serves({0, 9, 8, &entry}));
    // The largest that growth leads to: from 1024, which a host has chosen.
    EXPECT_TRUE(LogRingIndex::Serves({2048, 2049, 2049, &entry}));
    EXPECT_FALSE(LogRingIndex::Serves({0, 1, 2050, &entry}));
}

}  // namespace
