// The index against a walk over the live entries, with the ring driven as the library drives it.

#include "dxr_print_log_filter_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/test_host.h"

namespace {

using dxr::LogFilterIndex;

class Ring {
  public:
    explicit Ring(uint32_t capacity) : entries_(capacity) {
        record_.capacity = capacity;
        record_.entries = entries_.data();
    }

    DxrLogFilterInfo &Record() { return record_; }
    DxrLogFilterEntry &At(uint32_t position) { return entries_[position]; }

    uint32_t Add(uint32_t hash) {
        const uint32_t position = (record_.curIndex + record_.curSize) % record_.capacity;
        entries_[position].logHashCode = hash;
        if (record_.curSize < record_.capacity) {
            ++record_.curSize;
        } else {
            record_.curIndex = (record_.curIndex + 1) % record_.capacity;
        }
        return position;
    }

    void Age(uint32_t count) {
        record_.curIndex = (record_.curIndex + count) % record_.capacity;
        record_.curSize -= count;
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

// Hashes of which eight at a time want the same slot, near the end of the table: runs are long and
// go on at its beginning.
uint32_t CrowdedHash(uint32_t n) {
    constexpr uint32_t kInverseOfTheMultiplier = 0x0E8B2F51U;
    return (n * (1U << 17U) + (4000U << 20U)) * kInverseOfTheMultiplier;
}

uint32_t ScatteredHash(uint32_t n) {
    return n * 2654435769U + 1;
}

void Drive(uint32_t capacity, uint32_t hashes, uint32_t (*hashOf)(uint32_t), uint64_t seed,
           uint32_t operations) {
    SCOPED_TRACE(::testing::Message() << "capacity " << capacity << ", " << hashes << " hashes");
    std::mt19937_64 random(seed);
    const auto index = std::make_unique<LogFilterIndex>();
    Ring ring(capacity);
    index->Rebuild(ring.Record());
    for (uint32_t i = 0; i < operations; ++i) {
        const uint64_t what = random() % 100;
        if (what < 90) {
            const uint32_t hash = hashOf(static_cast<uint32_t>(1 + random() % hashes));
            const uint32_t walked = ring.Walk(hash);
            ASSERT_EQ(index->Find(ring.Record(), hash), walked) << "operation " << i;
            // Equal hashes may stand twice: a host may add entries by itself.
            if (walked == capacity || what < 5) {
                index->Put(ring.Add(hash), hash);
            }
        } else if (what < 92) {
            ring.Age(static_cast<uint32_t>(random() % (ring.Record().curSize / 8 + 2)) %
                     (ring.Record().curSize + 1));
        } else if (what < 98 && ring.Record().curSize != 0) {
            // A host has written into an entry: it must not be given for its old hash.
            const auto position = static_cast<uint32_t>(random() % capacity);
            const uint32_t old = ring.At(position).logHashCode;
            ring.At(position).logHashCode = 0;
            if (old != 0) {
                ASSERT_EQ(index->Find(ring.Record(), old), ring.Walk(old)) << "operation " << i;
            }
            ring.At(position).logHashCode = old;
        } else if (random() % 64 == 0) {
            index->Rebuild(ring.Record());
        }
    }
}

TEST(LogFilterIndex, AgreesWithAWalk) {
    uint64_t seed = dxrtest::Seed();
    for (const uint32_t capacity : {1U, 3U, 7U, 31U, 255U, 2047U}) {
        const uint32_t operations = capacity < 1000 ? 60000U : 20000U;
        Drive(capacity, capacity * 2 + 1, ScatteredHash, seed++, operations);
        Drive(capacity, capacity * 2 + 1, CrowdedHash, seed++, operations);
        Drive(capacity, 3, CrowdedHash, seed++, 3000);
    }
}

TEST(LogFilterIndex, AFullRingTurnsOverForEver) {
    const auto index = std::make_unique<LogFilterIndex>();
    Ring ring(LogFilterIndex::kMaxPositions);
    index->Rebuild(ring.Record());
    for (uint32_t n = 1; n <= 10 * LogFilterIndex::kMaxPositions; ++n) {
        const uint32_t hash = ScatteredHash(n);
        ASSERT_EQ(index->Find(ring.Record(), hash), ring.Record().capacity);
        const uint32_t position = ring.Add(hash);
        index->Put(position, hash);
        ASSERT_EQ(index->Find(ring.Record(), hash), position);
        if (n > LogFilterIndex::kMaxPositions) {
            const uint32_t gone = ScatteredHash(n - LogFilterIndex::kMaxPositions);
            ASSERT_EQ(index->Find(ring.Record(), gone), ring.Record().capacity);
        }
    }
}

TEST(LogFilterIndex, KnowsTheRecordItKept) {
    const auto index = std::make_unique<LogFilterIndex>();
    Ring ring(3);
    Ring other(3);
    ring.Add(5);
    index->Rebuild(ring.Record());
    DxrLogFilterInfo &record = ring.Record();
    EXPECT_TRUE(index->Matches(record));
    index->Forget();
    EXPECT_FALSE(index->Matches(record));
    index->Keep(record);
    EXPECT_TRUE(index->Matches(record));

    const DxrLogFilterInfo kept = record;
    record.curIndex = 1;
    EXPECT_FALSE(index->Matches(record));
    record = kept;
    record.curSize = 0;
    EXPECT_FALSE(index->Matches(record));
    record = kept;
    record.capacity = 7;
    EXPECT_FALSE(index->Matches(record));
    record = kept;
    record.entries = &other.At(0);
    EXPECT_FALSE(index->Matches(record));
    record = kept;
    EXPECT_TRUE(index->Matches(record));
}

TEST(LogFilterIndex, ANewIndexKnowsNoRecord) {
    static LogFilterIndex zeroed;
    EXPECT_FALSE(zeroed.Matches(DxrLogFilterInfo{}));
}

TEST(LogFilterIndex, ServesRingsThatHoldTogether) {
    DxrLogFilterEntry entry = {};
    EXPECT_TRUE(LogFilterIndex::Serves({0, 0, 0, nullptr}));
    EXPECT_FALSE(LogFilterIndex::Serves({0, 1, 0, nullptr}));
    EXPECT_FALSE(LogFilterIndex::Serves({0, 0, 1, nullptr}));
    EXPECT_TRUE(LogFilterIndex::Serves({0, 1, 1, &entry}));
    EXPECT_FALSE(LogFilterIndex::Serves({1, 1, 1, &entry}));
    EXPECT_FALSE(LogFilterIndex::Serves({0, 2, 1, &entry}));
    EXPECT_TRUE(LogFilterIndex::Serves({2046, 2047, 2047, &entry}));
    EXPECT_FALSE(LogFilterIndex::Serves({0, 1, 2048, &entry}));
}

}  // namespace
