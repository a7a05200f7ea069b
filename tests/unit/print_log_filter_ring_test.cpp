// The ring component against a naive model: a storage, a window, a walk. The store's records,
// copies of them, exchanged ones and such that are worked on while the exported pointer is away.

#include "dxr_print_log_filter_ring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "internal/fast_paths.h"
#include "support/log_filter_fixture.h"

namespace dxrtest {
namespace {

using dxr::LogRing;

constexpr uint32_t kLogType = 11;

struct ModelEntry {
    uint32_t hash = 0;
    uint32_t beginSec = 0;
    uint32_t lastSec = 0;
    uint32_t count = 0;
};

// One ring. Storages are shared, as records that are copied share them.
struct ModelRing {
    uint32_t first = 0;
    uint32_t count = 0;
    std::shared_ptr<std::vector<ModelEntry>> storage = std::make_shared<std::vector<ModelEntry>>();

    [[nodiscard]] uint32_t Capacity() const { return static_cast<uint32_t>(storage->size()); }
    [[nodiscard]] ModelEntry &At(uint32_t i) const { return (*storage)[i % Capacity()]; }

    void Age(uint32_t now) {
        uint32_t removed = 0;
        uint32_t position = 0;
        while (removed < count) {
            position = (first + removed) % Capacity();
            if (At(position).beginSec + 3600 > now) {
                break;
            }
            ++removed;
        }
        first = position;
        count -= removed;
    }

    [[nodiscard]] std::optional<uint32_t> Find(uint32_t hash) const {
        for (uint32_t i = 0; i < count; ++i) {
            if (At(first + i).hash == hash) {
                return (first + i) % Capacity();
            }
        }
        return std::nullopt;
    }

    void Resize(uint32_t capacity) {
        auto larger = std::make_shared<std::vector<ModelEntry>>(capacity);
        std::copy_n(storage->begin(), std::min(Capacity(), capacity), larger->begin());
        storage = larger;
    }

    void Add(uint32_t hash, uint32_t now, bool memory) {
        if (memory && Capacity() <= 1024 && Capacity() <= count + 1) {
            Resize(Capacity() * 2 + 1);
        }
        if (Capacity() == 0) {
            return;
        }
        At(first + count) = {hash, now, now, 0};
        if (count < Capacity()) {
            ++count;
        } else {
            first = (first + 1) % Capacity();
        }
    }
};

class LogRingTest : public LogFilterTest {
  protected:
    LogRingTest() : random_(Seed()) { InitStore(); }

    uint32_t Below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }

    // Few different ones, so that equal hashes stand in chains, and many. Never one of a zeroed
    // entry.
    uint32_t SomeHash() {
        switch (Below(3)) {
            case 0:
                return 77;
            case 1:
                return 1000 + Below(12);
            default:
                return 1 + Below(3000) * 2654435761U;
        }
    }

    static DxrLogFilterInfo &Record(uint32_t logType) { return g_dxrLogFilterInfo[logType]; }

    void ExpectSame(const ModelRing &model, const DxrLogFilterInfo &record) {
        ASSERT_EQ(record.curSize, model.count);
        ASSERT_EQ(record.curIndex, model.first);
        ASSERT_EQ(record.capacity, model.Capacity());
        for (uint32_t i = 0; i < model.Capacity(); ++i) {
            ASSERT_EQ(record.entries[i].logHashCode, model.At(i).hash) << i;
            ASSERT_EQ(record.entries[i].beginSec, model.At(i).beginSec) << i;
            ASSERT_EQ(record.entries[i].lastSec, model.At(i).lastSec) << i;
            ASSERT_EQ(record.entries[i].logCnt, model.At(i).count) << i;
        }
    }

    // The steps of a decision on a line with this hash.
    void Decide(LogRing ring, ModelRing &model, uint32_t hash, uint32_t interval) {
        ring.Age(host.nowSec);
        model.Age(host.nowSec);
        const std::optional<uint32_t> position = ring.Find(hash);
        ASSERT_EQ(position, model.Find(hash));
        if (!position) {
            ring.Add(hash, 0);
            model.Add(hash, host.nowSec, memory_);
            return;
        }
        ModelEntry &entry = model.At(*position);
        const bool due = ring.IsDue(*position, interval, host.nowSec);
        ASSERT_EQ(due, host.nowSec >= entry.lastSec + interval);
        if (due) {
            ring.LetThrough(*position);
            entry.lastSec = host.nowSec;
        } else {
            ring.Count(*position);
            ++entry.count;
        }
    }

    void Run(uint32_t operations, uint32_t tick);

    std::mt19937_64 random_;
    bool memory_ = true;
};

void LogRingTest::Run(uint32_t operations, uint32_t tick) {
    std::array<ModelRing, 2> models;
    const std::array<uint32_t, 2> types = {kLogType, 28};
    for (uint32_t i = 0; i < operations; ++i) {
        SCOPED_TRACE(i);
        host.nowSec += Below(tick + 1);
        const uint32_t which = Below(4) == 0 ? 1 : 0;
        ModelRing &model = models[which];
        DxrLogFilterInfo *record = &Record(types[which]);
        LogRing ring(types[which]);
        const uint32_t hash = SomeHash();
        const uint32_t what = Below(100);
        if (what < 70) {
            Decide(ring, model, hash, Below(2) * 600 + 1);
        } else if (what < 78) {
            LogRing(record).Add(hash, 0);
            model.Add(hash, host.nowSec, memory_);
        } else if (what < 80) {
            LogRing(record).Age(host.nowSec);
            model.Age(host.nowSec);
        } else if (what < 84) {
            // A copy of the record: entries change under the store's own.
            DxrLogFilterInfo copy = *record;
            ModelRing modelCopy = model;
            host.FailAllocationsFrom(1);
            for (uint32_t n = Below(3); n > 0; --n) {
                LogRing(&copy).Add(hash + n, 0);
                modelCopy.Add(hash + n, host.nowSec, false);
            }
            ASSERT_EQ(LogRing(&copy).Find(hash), modelCopy.Find(hash));
            if (Below(2) == 0) {
                *record = copy;
                model = modelCopy;
            }
        } else if (what < 88) {
            // The pointer is away meanwhile; now and then the record looks as before in the end.
            DxrLogFilterInfo *const away = std::exchange(g_dxrLogFilterInfo, nullptr);
            EXPECT_FALSE(ring.Find(hash).has_value());
            const uint32_t times = Below(8) == 0 ? record->capacity : Below(4);
            for (uint32_t n = 0; n < times; ++n) {
                LogRing(record).Add(hash + n, 0);
                model.Add(hash + n, host.nowSec, memory_);
            }
            g_dxrLogFilterInfo = away;
        } else if (what < 90) {
            std::swap(Record(types[0]), Record(types[1]));
            std::swap(models[0], models[1]);
        } else if (what < 91) {
            ring.Clear();
            model.first = 0;
            model.count = 0;
        } else if (what < 92 && Below(6) == 0) {
            // Never below what is live: such a ring would not hold together.
            const uint32_t capacity = std::max(1U, model.count) + Below(40);
            host.StopFailingAllocations();
            LogRing(record).Resize(capacity);
            model.Resize(capacity);
            model.first = model.first % capacity;
            record->curIndex = model.first;
        } else if (what < 93 && Below(10) == 0) {
            memory_ = !memory_;
        }
        if (memory_) {
            host.StopFailingAllocations();
        } else {
            host.FailAllocationsFrom(1);
        }
        const uint32_t asked = SomeHash();
        ASSERT_EQ(LogRing(types[0]).Find(asked), models[0].Find(asked));
        ASSERT_EQ(LogRing(types[1]).Find(asked), models[1].Find(asked));
        if (i % 16 == 0) {
            ExpectSame(model, *record);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(LogRingTest, DoesWhatTheModelDoes) {
    for (const uint32_t tick : {0U, 2U, 40U, 400U}) {
        SCOPED_TRACE(tick);
        Run(8000, tick);
        ASSERT_FALSE(HasFatalFailure());
        host.StopFailingAllocations();
        memory_ = true;
        DXR_DestroyLogFilter();
        InitStore();
    }
}

// A full ring of 2047 entries, looked up once.
void FillLargest(LogRing ring) {
    for (uint32_t i = 0; i < 2047; ++i) {
        ring.Add(5000 + i, 0);
    }
    ASSERT_EQ(ring.Find(5001), 1U);
    ASSERT_EQ(ring.IsIndexed(), dxr::kFastPaths);
}

TEST_F(LogRingTest, TheIndexFollowsTheOperationsOnTheStoresOwnRing) {
    if (!dxr::kFastPaths) {
        GTEST_SKIP() << "no ring has an index";
    }
    LogRing ring(kLogType);
    EXPECT_FALSE(ring.IsIndexed());
    FillLargest(ring);
    // An entry that is overwritten in place is not found, until a pass over the ring has read it.
    Record(kLogType).entries[1000].logHashCode = 3;
    for (uint32_t i = 0; i < 500; ++i) {
        LogRing(&Record(kLogType)).Add(i % 2 == 0 ? 9999 : 10000 + i, 0);
        ASSERT_TRUE(ring.IsIndexed());
        ring.Age(host.nowSec);
        ASSERT_EQ(ring.Find(9999), 0U);
        ASSERT_EQ(ring.Find(3), std::nullopt);
    }
    host.nowSec += 1800;
    ring.Add(1, 0);
    host.nowSec += 1800;
    LogRing(&Record(kLogType)).Age(host.nowSec);
    EXPECT_EQ(Record(kLogType).curSize, 1U);
    EXPECT_TRUE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(1), 500U);
    EXPECT_EQ(ring.Find(9999), std::nullopt);
    ring.Count(500);
    ring.LetThrough(500);
    EXPECT_TRUE(ring.IsIndexed());
    ring.Clear();
    EXPECT_TRUE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(1), std::nullopt);
    ring.Add(2, 0);
    EXPECT_TRUE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(2), 0U);
}

TEST_F(LogRingTest, TheIndexForgetsWhatItCannotFollow) {
    if (!dxr::kFastPaths) {
        GTEST_SKIP() << "no ring has an index";
    }
    LogRing ring(kLogType);
    FillLargest(ring);
    DxrLogFilterInfo copy = Record(kLogType);
    LogRing(&copy).Age(host.nowSec);
    EXPECT_TRUE(ring.IsIndexed());
    LogRing(&copy).Add(1, 0);
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(1), 0U);
    EXPECT_TRUE(ring.IsIndexed());
    ring.Resize(2048);
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(1), 0U);
    EXPECT_TRUE(ring.IsIndexed());
    Record(kLogType).curIndex = 5;
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(5004), std::nullopt);
    EXPECT_TRUE(ring.IsIndexed());
    ring.Release();
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(5005), std::nullopt);
}

// Its hook shortens a full ring while a line takes the place of the oldest: the window ends up as
// the index knows it, with another entry in it.
TEST_F(LogRingTest, AWindowThatAHookMovesAndTheLineMovesBackIsForgotten) {
    if (!dxr::kFastPaths) {
        GTEST_SKIP() << "no ring has an index";
    }
    LogRing ring(kLogType);
    FillLargest(ring);
    static decltype(g_dxrHooks.time.getCurrTime) hostTime;
    hostTime = g_dxrHooks.time.getCurrTime;
    g_dxrHooks.time.getCurrTime = [](char *text, uint32_t size, uint32_t *sec) {
        hostTime(text, size, sec);
        --Record(kLogType).curSize;
    };
    ring.Add(1, 0);
    g_dxrHooks.time.getCurrTime = hostTime;
    EXPECT_EQ(Record(kLogType).curSize, 2047U);
    EXPECT_EQ(Record(kLogType).curIndex, 0U);
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(1), 0U);
    EXPECT_EQ(ring.Find(5001), 1U);
}

// The address of a storage that was given back may come back as another one.
TEST_F(LogRingTest, AStorageThatIsGivenBackIsForgotten) {
    if (!dxr::kFastPaths) {
        GTEST_SKIP() << "no ring has an index";
    }
    LogRing ring(kLogType);
    FillLargest(ring);
    DxrLogFilterInfo before = Record(kLogType);
    ring.Resize(2048);
    std::swap(before, Record(kLogType));
    EXPECT_FALSE(ring.IsIndexed());
    std::swap(before, Record(kLogType));
    EXPECT_EQ(ring.Find(5001), 1U);
    before = Record(kLogType);
    ring.Release();
    std::swap(before, Record(kLogType));
    EXPECT_FALSE(ring.IsIndexed());
    Record(kLogType) = {};
}

alignas(16) unsigned char g_hostsRing[2047 * 64];

// A host that takes a ring's storage out of the record does not say so, and may give its address to
// the next one.
TEST_F(LogRingTest, AStorageThatTheHostTookAndGivesAgainIsForgotten) {
    if (!dxr::kFastPaths) {
        GTEST_SKIP() << "no ring has an index";
    }
    const DxrMemoryHooks memory = g_dxrHooks.memory;
    g_dxrHooks.memory.allocate = [](uint32_t, uint32_t, const char *, uint32_t) -> void * {
        return g_hostsRing;
    };
    LogRing ring(kLogType);
    ring.Resize(2047);
    FillLargest(ring);
    Record(kLogType).entries = nullptr;
    ring.Resize(2047);
    g_dxrHooks.memory = memory;
    EXPECT_EQ(static_cast<void *>(Record(kLogType).entries), g_hostsRing);
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(ring.Find(5001), std::nullopt);
    EXPECT_EQ(ring.Find(0), 0U);
    Record(kLogType) = {};
}

TEST_F(LogRingTest, ARingOfTheHostsOwnIsWalked) {
    OwnRecord own;
    LogRing ring(own.Get());
    for (uint32_t i = 0; i < 100; ++i) {
        ring.Add(i + 1, 0);
        ASSERT_EQ(ring.Find(i / 2 + 1), i / 2);
    }
    EXPECT_FALSE(ring.IsIndexed());
    own.Get()->entries[50].logHashCode = 7777;
    EXPECT_EQ(ring.Find(7777), 50U);
}

TEST_F(LogRingTest, ARingWithoutAStoreTakesNothing) {
    DXR_DestroyLogFilter();
    LogRing ring(kLogType);
    ring.Age(host.nowSec);
    ring.Add(1, 2);
    ring.Resize(5);
    ring.Grow();
    ring.Count(0);
    ring.LetThrough(0);
    ring.Clear();
    ring.Release();
    EXPECT_EQ(ring.Find(1), std::nullopt);
    EXPECT_TRUE(ring.IsDue(0, 1, 0));
    EXPECT_FALSE(ring.IsIndexed());
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

// As a host may spoil it: the window begins beyond the ring, and goes round it twice.
TEST(WalkRing, AWindowThatBeginsOutsideTheRingStaysInIt) {
    std::array<DxrLogFilterEntry, 6> entries = {};
    constexpr uint32_t kCapacity = 4;
    for (uint32_t i = 0; i < entries.size(); ++i) {
        entries[i].logHashCode = 100 + i;
    }
    DxrLogFilterInfo record = {};
    record.entries = entries.data();
    record.capacity = kCapacity;
    record.curSize = kCapacity;
    for (uint32_t first = 0; first <= 3 * kCapacity; ++first) {
        record.curIndex = static_cast<decltype(record.curIndex)>(first);
        for (uint32_t position = 0; position < entries.size(); ++position) {
            EXPECT_EQ(dxr::WalkRing(record, 100 + position), std::min(position, kCapacity))
                << "from " << first;
        }
    }
}

}  // namespace
}  // namespace dxrtest
