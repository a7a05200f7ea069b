// A session over everything that takes memory from the host, drawn from a seed, beside a naive
// model of each component. Every allocation of it fails in turn, once and from then on; then, over
// many sessions, any allocation by chance. Each answer must be the model's, to the end of the
// session and through all that the failure has changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/log_filter_fixture.h"
#include "support/test_host.h"

namespace {

// --- the host

struct Host {
    static inline uint64_t calls = 0;
    static inline uint64_t failAt = 0;
    static inline bool fromThenOn = false;
    static inline uint32_t oneIn = 0;
    static inline std::mt19937_64 chance;
    static inline uint64_t failed = 0;
    static inline bool lastFailed = false;
    static inline int64_t live = 0;
    static inline uint32_t now = 0;

    static void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
        ++calls;
        lastFailed = calls == failAt || (fromThenOn && failAt != 0 && calls > failAt) ||
                     (oneIn != 0 && chance() % oneIn == 0);
        if (lastFailed) {
            ++failed;
            return nullptr;
        }
        ++live;
        void *const block = std::malloc(size);
        std::memset(block, 0xA5, size);
        return block;
    }
    static void Free(void *block, const char *, uint32_t) {
        live -= block != nullptr ? 1 : 0;
        std::free(block);
    }
    static uint32_t Seconds() { return now; }
    static void Time(char *text, uint32_t size, uint32_t *seconds) {
        std::snprintf(text, size, "T%u", now);
        *seconds = now;
    }
    static uint32_t Count(void *query, uint32_t *count) {
        *count = *static_cast<uint32_t *>(query);
        return 0;
    }
    static uint32_t Select(void *, uint32_t, void *) { return 0; }
    static uint32_t Length(const char *) { return 3000; }
    static void *Open(const char *, const char *) { return &now; }
    static uint32_t Read(void *, uint32_t size, uint32_t, void *) { return size; }
    static uint32_t Close(void *) { return 0; }
};

// Runs the call and tells whether it asked for memory and got none.
template <typename Call>
bool RanOut(Call call) {
    const uint64_t failed = Host::failed;
    call();
    return Host::failed != failed;
}

// --- the models

// A ring with its growth, as it is described.
class RingModel {
  public:
    // Whether the line is a repeat; `ranOut`: the growth that is due does not come about.
    bool Decide(uint32_t hash, uint32_t interval, bool ranOut) {
        Age();
        for (uint32_t i = 0; i < size_; ++i) {
            Entry &entry = entries_[(index_ + i) % entries_.size()];
            if (entry.hash != hash) {
                continue;
            }
            if (interval != 0 && Host::now >= entry.last + interval) {
                entry.last = Host::now;
                return false;
            }
            ++entry.count;
            return true;
        }
        Add(hash, ranOut);
        return false;
    }
    void Add(uint32_t hash, bool ranOut) {
        if (entries_.size() <= 1024 && entries_.size() <= size_ + 1 && !ranOut) {
            entries_.resize(entries_.size() * 2 + 1);
        }
        if (entries_.empty()) {
            return;
        }
        const size_t capacity = entries_.size();
        entries_[(index_ + size_) % capacity] = {hash, Host::now, Host::now, 0};
        if (size_ < capacity) {
            ++size_;
        } else {
            index_ = (index_ + 1) % capacity;
        }
    }
    // What the record must say.
    [[nodiscard]] std::vector<uint64_t> Look() const { return {index_, size_, entries_.size()}; }

  private:
    struct Entry {
        uint32_t hash = 0;
        uint32_t begin = 0;
        uint32_t last = 0;
        uint32_t count = 0;
    };
    void Age() {
        uint32_t removed = 0;
        uint64_t position = 0;
        while (removed != size_) {
            position = (index_ + removed) % entries_.size();
            if (entries_[position].begin + 3600 > Host::now) {
                break;
            }
            ++removed;
        }
        index_ = position;
        size_ -= removed;
    }
    std::vector<Entry> entries_;
    uint64_t index_ = 0;
    uint32_t size_ = 0;
};

struct RecordModel {
    std::string text;
    uint32_t count;
};

// --- the session

class Session {
  public:
    explicit Session(uint64_t seed) : random_(seed) {
        g_dxrLogFilterInfo = nullptr;
        std::fill_n(g_dxrLogFilterMutex, DXR_LOG_FILTER_TYPE_NUM, nullptr);
        g_dxrLogFilterSwitch = 1;
        Host::now = 100000;
        Host::calls = 0;
        Host::failed = 0;
    }
    ~Session() {
        DXR_DestroyLogFilter();
        DXR_DestroyRecordInfo();
        for (DxrLinkBitMap *const map : maps_) {
            DXR_DestroyLinkBitMap(map);
        }
        EXPECT_EQ(Host::live, 0) << "blocks after the clean-up";
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    void Step() {
        const uint32_t kind = Below(100);
        if (kind < 2) {
            SwitchFilter();
        } else if (kind < 54) {
            Decide();
        } else if (kind < 55) {
            AddRound();
        } else if (kind < 58) {
            Host::now += Below(1500);
        } else if (kind < 78) {
            Record();
        } else if (kind < 79) {
            DXR_DestroyRecordInfo();
            records_.clear();
            next_ = 0;
        } else if (kind < 86) {
            LinkMap();
        } else if (kind < 92) {
            Select();
        } else {
            Load();
        }
    }

  private:
    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(random_);
    }

    void SwitchFilter() {
        if (hasStore_ && Below(6) == 0) {
            DXR_DestroyLogFilter();
            hasStore_ = false;
            rings_.clear();
            return;
        }
        uint32_t result = 0;
        const bool ranOut = RanOut([&] { result = DXR_InitLogFilter(9); });
        ASSERT_EQ(result, ranOut ? 1U : 0U);
        hasStore_ = hasStore_ || !ranOut;
    }

    void Decide() {
        const uint32_t type = Below(4);
        const std::string line = "line " + std::to_string(Below(Below(2) == 0 ? 20 : 400));
        const uint32_t interval = Below(3) == 0 ? Below(50) : 0;
        uint8_t repeated = 0;
        const bool ranOut =
            RanOut([&] { repeated = dxrtest::Decide(dxrtest::Site(type, interval), line); });
        if (!hasStore_) {
            ASSERT_EQ(repeated, 0);
            return;
        }
        RingModel &ring = rings_[type];
        ASSERT_EQ(repeated != 0, ring.Decide(dxrtest::HashOf(line), interval, ranOut)) << line;
        const DxrLogFilterInfo *const record = DXR_GetLogFilter(type);
        ASSERT_EQ(std::vector<uint64_t>({record->curIndex, record->curSize, record->capacity}),
                  ring.Look());
    }

    // As many lines as the ring has room for: one that is stuck stands where it stood, with other
    // lines.
    void AddRound() {
        const uint32_t type = Below(4);
        DxrLogFilterInfo *const record = DXR_GetLogFilter(type);
        for (uint32_t i = record != nullptr ? record->capacity : 0; i > 0; --i) {
            const uint32_t hash = dxrtest::HashOf("line " + std::to_string(Below(400)));
            const bool ranOut = RanOut([&] { DXR_AddLogFilterInfo(record, hash, 0); });
            rings_[type].Add(hash, ranOut);
        }
    }

    void Record() {
        const std::string text = "record " + std::to_string(Below(60));
        const bool ranOut = RanOut([&] { DXR_RecordInfo("%s", text.c_str()); });
        bool found = false;
        for (RecordModel &record : records_) {
            if (record.text == text) {
                ++record.count;
                found = true;
            }
        }
        if (!found && !ranOut) {
            records_.push_back({text, 1});
            ++next_;
        }
        const DxrRecordStore *const store = DXR_GetRecordEntity();
        ASSERT_EQ(store->nextIndex, next_);
        for (size_t slot = 0; slot <= records_.size(); ++slot) {
            const DxrRecord *const record = store->records[slot];
            ASSERT_EQ(record != nullptr, slot < records_.size());
            if (record != nullptr) {
                ASSERT_EQ(records_[slot].text, record->text);
                ASSERT_EQ(records_[slot].count, record->count);
            }
        }
    }

    void LinkMap() {
        if (!maps_.empty() && Below(2) == 0) {
            DXR_DestroyLinkBitMap(maps_.back());
            maps_.pop_back();
            return;
        }
        DxrLinkBitMap *map = nullptr;
        const int64_t live = Host::live;
        const uint32_t chips = 1 + Below(8);
        const bool ranOut = RanOut([&] { map = DXR_CreateLinkBitMap(chips, 1 + Below(100)); });
        ASSERT_EQ(map == nullptr, ranOut);
        ASSERT_EQ(Host::live, live + (ranOut ? 0 : 2));
        if (map != nullptr) {
            ASSERT_EQ(DXR_CountValidBitOfArray(map->bitMap, chips * map->wordNumPerChip), 0U);
            maps_.push_back(map);
        }
    }

    void Select() {
        uint32_t query[2] = {1 + Below(20), 8};
        uint32_t count = 4711;
        void *block = nullptr;
        const bool ranOut = RanOut([&] { block = DXR_SelectDbRecord(query, &count); });
        ASSERT_EQ(block == nullptr, ranOut);
        ASSERT_EQ(count, ranOut ? 4711 : query[0]);
        DXR_Free(block, "", 0);
    }

    void Load() {
        uint8_t *data = nullptr;
        uint32_t length = 4711;
        uint32_t result = 0;
        const bool ranOut =
            RanOut([&] { result = DXR_GetBinFileDataByFilePath("/", &data, &length); });
        ASSERT_EQ(result, ranOut ? 1U : 0U);
        ASSERT_EQ(data == nullptr, ranOut);
        ASSERT_EQ(length, ranOut ? 4711U : 3000U);
        DXR_Free(data, "", 0);
    }

    std::mt19937_64 random_;
    bool hasStore_ = false;
    std::map<uint32_t, RingModel> rings_;
    std::vector<RecordModel> records_;
    uint32_t next_ = 0;
    std::vector<DxrLinkBitMap *> maps_;
};

class MemorySession : public testing::Test {
  protected:
    MemorySession() {
        DXR_SetMemoryHooks(Host::Allocate, Host::Free);
        g_dxrHooks.time.getCurrSec = Host::Seconds;
        g_dxrHooks.time.getCurrTime = Host::Time;
        g_dxrHooks.db.selectDbRecordCount = Host::Count;
        g_dxrHooks.db.selectDbRecordLimit = Host::Select;
        g_dxrHooks.system.fileLength = Host::Length;
        g_dxrHooks.system.fOpen = Host::Open;
        g_dxrHooks.system.fRead = Host::Read;
        g_dxrHooks.system.fClose = Host::Close;
    }
    ~MemorySession() override {
        Host::failAt = 0;
        Host::oneIn = 0;
        std::printf("%llu failures of an allocation\n", static_cast<unsigned long long>(failures_));
    }

    void Play(uint64_t seed, uint32_t steps) {
        Session session(seed);
        for (uint32_t step = 0; step < steps && !HasFatalFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            session.Step();
        }
        failures_ += Host::failed;
    }

    dxrtest::TestHost host_;
    uint64_t failures_ = 0;
};

// HOST-10
TEST_F(MemorySession, EachAllocationFails) {
    constexpr uint32_t kSteps = 800;
    Play(dxrtest::Seed(), kSteps);
    EXPECT_EQ(failures_, 0U);
    const uint64_t allocations = Host::calls;
    std::printf("%llu allocations\n", static_cast<unsigned long long>(allocations));
    EXPECT_GT(allocations, 200U);
    for (const bool fromThenOn : {false, true}) {
        for (uint64_t n = 1; n <= allocations && !HasFailure(); ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n) + (fromThenOn ? " and all after" : ""));
            Host::failAt = n;
            Host::fromThenOn = fromThenOn;
            Play(dxrtest::Seed(), kSteps);
            EXPECT_GE(Host::failed, 1U);
        }
    }
}

TEST_F(MemorySession, AllocationsFailByChance) {
    for (uint64_t session = 0; session < 40 && !HasFailure(); ++session) {
        SCOPED_TRACE("session " + std::to_string(session));
        Host::oneIn = 2 + static_cast<uint32_t>(session % 30);
        Host::chance.seed(dxrtest::Seed() + session);
        Play(dxrtest::Seed() + session, 5000);
    }
    EXPECT_GT(failures_, 1000U);
}

}  // namespace
