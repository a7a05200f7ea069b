// Every allocation that an exported function asks the host for is made to fail, once, from then on,
// and by a host without an allocator; in each state that the function can find. What is left must
// be what a twin is left with that never failed and to which the documented outcome was done by
// hand; and both must go on alike from there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/log_filter_fixture.h"
#include "support/private_log_host.h"
#include "support/test_host.h"

namespace {

using dxrtest::HashOf;
using dxrtest::PrivateLogHost;
using dxrtest::TestHost;
using Lines = std::vector<std::string>;

constexpr uint32_t kNow = 1000000;
constexpr uint32_t kHour = 3600;
constexpr const char *kFile = "src/dxr/api/dxr_utils";

// The database and the files of the host, which log their calls.
struct Services {
    static constexpr uint32_t kRecordSize = 12;
    static constexpr uint32_t kFileSize = 700;

    static inline TestHost *host = nullptr;
    static inline uint32_t records = 0;

    static uint32_t Count(void * /*query*/, uint32_t *count) {
        host->calls.emplace_back("count");
        *count = records;
        return 0;
    }
    static uint32_t Limit(void * /*query*/, uint32_t count, void *block) {
        host->calls.push_back("limit " + std::to_string(count));
        std::memset(block, 'r', size_t{kRecordSize} * count);
        return 0;
    }
    static uint32_t Length(const char * /*path*/) {
        host->calls.emplace_back("length");
        return kFileSize;
    }
    static void *Open(const char * /*path*/, const char * /*mode*/) {
        host->calls.emplace_back("open");
        return host;
    }
    static uint32_t Read(void *block, uint32_t size, uint32_t count, void * /*file*/) {
        host->calls.push_back("read " + std::to_string(size));
        std::memset(block, 'f', size_t{size} * count);
        return size * count;
    }
    static uint32_t Close(void * /*file*/) {
        host->calls.emplace_back("close");
        return 0;
    }
    static uint32_t WorkPath(char *path, uint32_t size) {
        host->calls.emplace_back("work path");
        std::snprintf(path, size, "/");
        return 0;
    }
};

DxrRecordStore g_ownStore;

void Append(std::string &text, const void *bytes, size_t size) {
    text.append(static_cast<const char *>(bytes), size);
}

// A host and the library as at load. One at a time.
class World {
  public:
    explicit World(bool withFiles) : host(Host(withFiles)) {
        g_dxrLogFilterInfo = nullptr;
        std::fill_n(g_dxrLogFilterMutex, DXR_LOG_FILTER_TYPE_NUM, nullptr);
        g_dxrLogFilterSwitch = 1;
        g_dxrLogFilterMid = 9;
        host.WithEverything();
        host.nowSec = kNow;
        host.sysTime.year = 2024;
        Services::host = &host;
        Services::records = 3;
        g_dxrHooks.db.selectDbRecordCount = Services::Count;
        g_dxrHooks.db.selectDbRecordLimit = Services::Limit;
    }
    ~World() {
        if (g_dxrLogFilterInfo != nullptr) {
            DXR_DestroyLogFilter();
        }
        DXR_DestroyRecordInfo();
        for (DxrRecord *&record : g_ownStore.records) {
            if (record != nullptr) {
                DXR_Free(record, __FILE__, __LINE__);
                record = nullptr;
            }
        }
        g_ownStore.nextIndex = 0;
        EXPECT_EQ(host.LiveBlocks(), 0U) << "after the clean-up";
    }
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    // In the place of the private log's own file length.
    static void UseBinFiles() {
        g_dxrHooks.system.fileLength = Services::Length;
        g_dxrHooks.system.fOpen = Services::Open;
        g_dxrHooks.system.fRead = Services::Read;
        g_dxrHooks.system.fClose = Services::Close;
        g_dxrHooks.system.getSysWorkPath = Services::WorkPath;
    }

    // All that a host or a caller can see of the library, to the byte; addresses aside.
    [[nodiscard]] std::string Look() const {
        std::string look = std::to_string(host.LiveBlocks()) + " blocks, mids " +
                           std::to_string(g_dxrMemoryMid) + " " +
                           std::to_string(g_dxrLogFilterMid) + ", switch " +
                           std::to_string(g_dxrLogFilterSwitch) + "\n";
        Append(look, g_dxrLogFilterMutex, sizeof(g_dxrLogFilterMutex));
        for (uint32_t type = 0; type < DXR_LOG_FILTER_TYPE_NUM; ++type) {
            const DxrLogFilterInfo *const record = DXR_GetLogFilter(type);
            if (record == nullptr) {
                look += "no store\n";
                break;
            }
            look += std::to_string(record->curIndex) + " " + std::to_string(record->curSize) + " " +
                    std::to_string(record->capacity) + "\n";
            if (record->entries != nullptr) {
                Append(look, record->entries, size_t{record->capacity} * sizeof(*record->entries));
            }
        }
        for (const DxrRecordStore *const store : {DXR_GetRecordEntity(), &g_ownStore}) {
            look += "records, next " + std::to_string(store->nextIndex) + "\n";
            for (uint32_t slot = 0; slot < DXR_RECORD_COUNT; ++slot) {
                if (store->records[slot] != nullptr) {
                    look += std::to_string(slot) + " ";
                    Append(look, store->records[slot], sizeof(DxrRecord));
                }
            }
        }
        if (log) {
            for (const std::string &name : log->files.Names()) {
                look += name + ": " + log->files.Content(name).value_or("none") + "\n";
            }
        }
        return look;
    }

  private:
    TestHost &Host(bool withFiles) {
        return withFiles ? log.emplace().host : withoutFiles_.emplace();
    }
    std::optional<TestHost> withoutFiles_;

  public:
    std::optional<PrivateLogHost> log;
    TestHost &host;
};

// A function in a state.
struct Case {
    std::string state;
    std::function<void(World &)> arrange;
    // Calls the function; its results and outputs as text.
    std::function<std::string(World &)> call;
    // What the n-th allocation's failure leaves, done to the twin by hand: the answer, and in
    // `calls` what the host was asked in the meantime.
    std::function<std::string(World &, uint64_t n, Lines &calls)> outcome;
    // Goes on from there.
    std::function<std::string(World &)> goOn;
    bool withFiles = false;
};

struct Seen {
    std::string answer;
    Lines calls;
    std::string look;
    std::string later;
    bool failed;
};

// Everything at once would be more than a screen can hold.
void ExpectAlike(const std::string &seen, const std::string &expected, const char *what) {
    if (seen != expected) {
        const auto at = std::mismatch(seen.begin(), seen.end(), expected.begin(), expected.end());
        const auto where = static_cast<size_t>(at.first - seen.begin());
        ADD_FAILURE() << what << " differs at byte " << where << ": \n"
                      << seen.substr(where > 80 ? where - 80 : 0, 160) << "\ninstead of\n"
                      << expected.substr(where > 80 ? where - 80 : 0, 160);
    }
}

enum class Fault { kOnce, kFromThenOn, kNoAllocator };

class MemoryFaults : public testing::Test {
  protected:
    ~MemoryFaults() override {
        std::printf("%zu states, %zu failures of an allocation\n", states_, failures_);
    }

    // Fails every allocation of the case in turn. There are `allocations` of them.
    void Try(const Case &tried, uint64_t allocations) {
        ++states_;
        for (uint64_t n = 1; n <= allocations; ++n) {
            for (const Fault fault : {Fault::kOnce, Fault::kFromThenOn, Fault::kNoAllocator}) {
                if (fault == Fault::kNoAllocator && n > 1) {
                    continue;
                }
                SCOPED_TRACE(tried.state + ", allocation " + std::to_string(n) +
                             (fault == Fault::kOnce         ? " once"
                              : fault == Fault::kFromThenOn ? " and all after it"
                                                            : " without an allocator"));
                const Seen seen = Fail(tried, fault, n);
                const Seen twin = Twin(tried, fault, n);
                ASSERT_TRUE(seen.failed || fault == Fault::kNoAllocator);
                ++failures_;
                ExpectAlike(seen.answer, twin.answer, "the answer");
                EXPECT_EQ(seen.calls, twin.calls);
                ExpectAlike(seen.look, twin.look, "what is left");
                ExpectAlike(seen.later, twin.later, "how it goes on");
                if (HasFailure()) {
                    return;
                }
            }
        }
        SCOPED_TRACE(tried.state);
        ASSERT_FALSE(Fail(tried, Fault::kOnce, allocations + 1).failed) << "one allocation more";
    }

  private:
    static Seen Fail(const Case &tried, Fault fault, uint64_t n) {
        World world(tried.withFiles);
        tried.arrange(world);
        const size_t before = world.host.allocations.size();
        world.host.calls.clear();
        const auto allocate = g_dxrHooks.memory.allocate;
        switch (fault) {
            case Fault::kOnce:
                world.host.FailAllocation(n);
                break;
            case Fault::kFromThenOn:
                world.host.FailAllocationsFrom(n);
                break;
            case Fault::kNoAllocator:
                g_dxrHooks.memory.allocate = nullptr;
                break;
        }
        Seen seen;
        seen.answer = tried.call(world);
        world.host.StopFailingAllocations();
        g_dxrHooks.memory.allocate = allocate;
        seen.calls = world.host.calls;
        seen.failed = std::any_of(world.host.allocations.begin() + static_cast<ptrdiff_t>(before),
                                  world.host.allocations.end(),
                                  [](const auto &made) { return made.block == nullptr; });
        Finish(tried, world, seen);
        return seen;
    }

    static Seen Twin(const Case &tried, Fault fault, uint64_t n) {
        World world(tried.withFiles);
        tried.arrange(world);
        Seen seen;
        seen.answer = tried.outcome(world, n, seen.calls);
        if (fault == Fault::kNoAllocator) {
            seen.calls.erase(
                std::remove_if(seen.calls.begin(), seen.calls.end(),
                               [](const std::string &call) { return call.find("allo") == 0; }),
                seen.calls.end());
        }
        Finish(tried, world, seen);
        return seen;
    }

    static void Finish(const Case &tried, World &world, Seen &seen) {
        seen.look = world.Look();
        world.host.calls.clear();
        seen.later = tried.goOn(world);
        for (const std::string &call : world.host.calls) {
            // Blocks are numbered in the order of their making, and the twin made others.
            seen.later += call.substr(0, call.find('#')) + "\n";
        }
        seen.later += world.Look();
    }

    size_t states_ = 0;
    size_t failures_ = 0;
};

// --- the log filter

std::string Allocate(uint32_t mid, uint64_t size) {
    return "allocate mid=" + std::to_string(mid) + " size=" + std::to_string(size);
}

std::string GrowthError(uint32_t capacity) {
    return "print 1 log filter capacity malloc error, newLogInfoCapacity[" +
           std::to_string(capacity) + "].";
}

TEST_F(MemoryFaults, InitLogFilter) {
    const auto init = [](World &) { return std::to_string(DXR_InitLogFilter(7)); };
    const auto failure = [](World &, uint64_t, Lines &calls) {
        calls = {Allocate(7, 580), "print 1 log filter init failed, module[7]"};
        return std::string("1");
    };
    const auto goOn = [](World &) {
        const DxrLogFilterCfg site = dxrtest::Site(2);
        std::string answers = std::to_string(dxrtest::Decide(site, "a line")) +
                              std::to_string(dxrtest::Decide(site, "a line"));
        answers += std::to_string(DXR_InitLogFilter(8));
        answers += std::to_string(dxrtest::Decide(site, "a line")) +
                   std::to_string(dxrtest::Decide(site, "a line"));
        return answers;
    };
    Try({"at load", [](World &) {}, init, failure, goOn}, 1);
    Try({"after a store",
         [](World &) {
             DXR_InitLogFilter(3);
             dxrtest::Decide(dxrtest::Site(5), "a line");
             DXR_DestroyLogFilter();
         },
         init, failure, goOn},
        1);
    Try({"with a store", [](World &) { DXR_InitLogFilter(3); }, init, failure, goOn}, 0);
}

// A way to put the i-th of different lines into the ring of a type.
struct Way {
    uint32_t logType;
    std::function<std::string(uint32_t i)> feed;
    std::function<uint32_t(uint32_t i)> hash;
    std::function<uint32_t(uint32_t i)> key1;
    bool isDecision;                              // locks, ages, unlocks
    std::function<std::string(uint32_t i)> diag;  // handed on when the line is new
};

// The line of the store's own record, as the growth leaves it that was refused.
void WriteWithoutGrowth(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1, uint32_t now) {
    const uint32_t position = (record->curIndex + record->curSize) % record->capacity;
    DxrLogFilterEntry &entry = record->entries[position];
    std::snprintf(entry.logBeginTime, 39, "T%u", now);
    entry.logHashCode = hash;
    entry.beginSec = now;
    entry.lastSec = now;
    entry.logCnt = 0;
    entry.key1 = key1;
    entry.state = 1;
    if (record->curSize < record->capacity) {
        ++record->curSize;
    } else {
        record->curIndex = (record->curIndex + 1) % record->capacity;
    }
}

void AgeAll(DxrLogFilterInfo *record) {
    uint32_t position = 0;
    for (uint32_t i = 0; i < record->curSize; ++i) {
        position = (record->curIndex + i) % record->capacity;
        record->entries[position].state = 0;
    }
    record->curIndex = position;
    record->curSize = 0;
}

// `lines` different lines, then `more` while the ring cannot grow; then perhaps an hour.
struct RingState {
    uint32_t lines;
    uint32_t more;
    bool aged;

    [[nodiscard]] std::string Name() const {
        return std::to_string(lines) + " lines, " + std::to_string(more) + " without growth" +
               (aged ? ", aged" : "");
    }
    void Make(World &world, const Way &way) const {
        ASSERT_EQ(DXR_InitLogFilter(9), 0U);
        for (uint32_t i = 0; i < lines; ++i) {
            way.feed(i);
        }
        world.host.FailAllocationsFrom(1);
        for (uint32_t i = 0; i < more; ++i) {
            way.feed(lines + i);
        }
        world.host.StopFailingAllocations();
        world.host.nowSec += aged ? kHour : 0;
    }
    [[nodiscard]] uint32_t Next() const { return lines + more; }
};

// All states from which a new line asks for memory, and their neighbours; of the large rings, which
// take their time, some or none.
enum class Rings { kAll, kSmall };

std::vector<RingState> RingStates(Rings rings) {
    std::vector<RingState> states;
    for (const uint32_t lines : {0U, 1U, 2U, 6U, 14U, 30U, 62U}) {
        for (const uint32_t more : {0U, 1U, 2U, 3U, 40U}) {
            states.push_back({lines, more, false});
            states.push_back({lines, more, true});
        }
    }
    for (const uint32_t lines : {126U, 254U, 510U, 1022U}) {
        for (const uint32_t more : {0U, 40U}) {
            if (rings == Rings::kAll) {
                states.push_back({lines, more, false});
            }
        }
    }
    return states;
}

Case FeedCase(const Way &way, const RingState &state) {
    Case made;
    made.state = state.Name();
    made.arrange = [way, state](World &world) { state.Make(world, way); };
    made.call = [way, state](World &) { return way.feed(state.Next()); };
    made.outcome = [way, state](World &world, uint64_t, Lines &calls) {
        DxrLogFilterInfo *const record = DXR_GetLogFilter(way.logType);
        const std::string type = std::to_string(way.logType);
        const uint32_t i = state.Next();
        if (way.isDecision) {
            calls = {"lock #" + type, "currSec"};
            if (state.aged) {
                AgeAll(record);
            }
        }
        const uint32_t grown = record->capacity * 2 + 1;
        calls.push_back(Allocate(9, uint64_t{grown} * 64));
        calls.push_back(GrowthError(grown));
        if (record->capacity != 0) {
            calls.emplace_back("currTime size=39");
            WriteWithoutGrowth(record, way.hash(i), way.key1(i), world.host.nowSec);
        }
        if (way.isDecision) {
            calls.push_back("unlock #" + type);
        }
        if (way.diag) {
            calls.push_back("diag " + way.diag(i));
        }
        return std::string(way.diag || !way.isDecision ? "" : "0");
    };
    made.goOn = [way, state](World &) {
        std::string answers;
        // New ones and those that are there, so that the ring grows several times.
        const uint32_t end = state.Next() + 5;
        for (uint32_t i = end; i-- > end - std::min(end, 150U);) {
            answers += way.feed(i);
        }
        return answers;
    };
    return made;
}

uint64_t AllocationsOf(const RingState &state, const Way &way) {
    World world(false);
    state.Make(world, way);
    const DxrLogFilterInfo *const record = DXR_GetLogFilter(way.logType);
    const uint32_t live = state.aged && way.isDecision ? 0 : record->curSize;
    return record->capacity <= 1024 && record->capacity <= live + 1 ? 1 : 0;
}

class LogFilterMemoryFaults : public MemoryFaults {
  protected:
    void TryAll(const Way &way, Rings rings) {
        uint64_t allocations = 0;
        for (const RingState &state : RingStates(rings)) {
            const uint64_t expected = AllocationsOf(state, way);
            allocations += expected;
            Try(FeedCase(way, state), expected);
            if (HasFailure()) {
                return;
            }
        }
        EXPECT_GT(allocations, 40U);
    }
};

std::string LineOf(uint32_t i) {
    return "line " + std::to_string(i);
}

TEST_F(LogFilterMemoryFaults, IsRepeatedLog) {
    const auto decide = [](uint32_t i) {
        const DxrLogFilterCfg site = {2, i, 0, 0, 0, i % 2};
        return std::to_string(dxrtest::Decide(site, LineOf(i)));
    };
    TryAll({2, decide, [](uint32_t i) { return HashOf(LineOf(i)); }, [](uint32_t i) { return i; },
            true, nullptr},
           Rings::kAll);
}

TEST_F(LogFilterMemoryFaults, SameLogFilter) {
    const auto log = [](uint32_t i) {
        const DxrLogFilterCfg site = {3, 77, 0, 0, 0, 0};
        DXR_SameLogFilter(&site, "line %u", i);
        return std::string();
    };
    TryAll({3, log, [](uint32_t i) { return HashOf(LineOf(i)); }, [](uint32_t) { return 77U; },
            true, LineOf},
           Rings::kSmall);
}

TEST_F(LogFilterMemoryFaults, DiffLogFilter) {
    const auto log = [](uint32_t i) {
        const DxrLogFilterCfg site = {28, i, 8, 9, 10, 0};
        DXR_DiffLogFilter(&site, "line %u", i);
        return std::string();
    };
    const auto hash = [](uint32_t i) { return HashOf("28" + std::to_string(i) + "8910"); };
    TryAll({28, log, hash, [](uint32_t i) { return i; }, true, LineOf}, Rings::kSmall);
}

TEST_F(LogFilterMemoryFaults, IsSameKey) {
    const auto ask = [](uint32_t i) { return std::to_string(DXR_IsSameKey(i, 1, 2, 3)); };
    const auto hash = [](uint32_t i) { return HashOf("26" + std::to_string(i) + "123"); };
    TryAll({26, ask, hash, [](uint32_t) { return 0U; }, true, nullptr}, Rings::kSmall);
}

Way AddWay() {
    const auto add = [](uint32_t i) {
        DXR_AddLogFilterInfo(DXR_GetLogFilter(4), 1000 + i, 5 * i);
        return std::string();
    };
    return {4,     add,    [](uint32_t i) { return 1000 + i; }, [](uint32_t i) { return 5 * i; },
            false, nullptr};
}

TEST_F(LogFilterMemoryFaults, AddLogFilterInfo) {
    TryAll(AddWay(), Rings::kAll);
}

TEST_F(LogFilterMemoryFaults, UpdateLogFilterCapacity) {
    const Way way = AddWay();
    for (const RingState &state : RingStates(Rings::kAll)) {
        Case grow = FeedCase(way, state);
        grow.call = [](World &) {
            DXR_UpdateLogFilterCapacity(DXR_GetLogFilter(4));
            return std::string();
        };
        grow.outcome = [](World &, uint64_t, Lines &calls) {
            const uint32_t grown = DXR_GetLogFilter(4)->capacity * 2 + 1;
            calls = {Allocate(9, uint64_t{grown} * 64), GrowthError(grown)};
            return std::string();
        };
        Try(grow, AllocationsOf(state, way));
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(LogFilterMemoryFaults, ResizeLogFilterInfo) {
    const Way way = AddWay();
    for (const RingState &state : RingStates(Rings::kAll)) {
        for (const uint32_t capacity : {1U, 2U, 3000U, 0U}) {
            if (state.lines > 62 && capacity < 3000) {
                continue;
            }
            Case resize = FeedCase(way, state);
            resize.state += ", to " + std::to_string(capacity);
            resize.call = [capacity](World &) {
                DXR_ResizeLogFilterInfo(DXR_GetLogFilter(4), capacity);
                return std::string();
            };
            resize.outcome = [capacity](World &, uint64_t, Lines &calls) {
                calls = {Allocate(9, uint64_t{capacity} * 64), GrowthError(capacity)};
                return std::string();
            };
            if (capacity < 3000) {
                // Live entries beyond the storage are nothing to go on with.
                resize.goOn = [](World &) { return std::string(); };
            }
            // A ring of no size is refused before the host is asked.
            Try(resize, capacity != 0 ? 1 : 0);
            if (HasFailure()) {
                return;
            }
        }
    }
}

// A ring that cannot grow comes back to where it stood, with other lines in it.
TEST_F(LogFilterMemoryFaults, ARingThatWentRoundIsSeenAnew) {
    for (const uint32_t lines : {2U, 6U, 14U, 62U, 1022U}) {
        SCOPED_TRACE(lines);
        World world(false);
        ASSERT_EQ(DXR_InitLogFilter(9), 0U);
        const DxrLogFilterCfg site = dxrtest::Site(4);
        for (uint32_t i = 0; i <= lines; ++i) {
            if (i == lines) {
                world.host.FailAllocationsFrom(1);
            }
            ASSERT_EQ(dxrtest::Decide(site, LineOf(i)), 0);
        }
        DxrLogFilterInfo *const record = DXR_GetLogFilter(4);
        const uint32_t capacity = record->capacity;
        ASSERT_EQ(capacity, lines + 1);
        ASSERT_EQ(dxrtest::Decide(site, LineOf(0)), 1);
        for (uint32_t i = 0; i < capacity; ++i) {
            DXR_AddLogFilterInfo(record, HashOf("other " + LineOf(i)), 0);
        }
        ASSERT_EQ(dxrtest::Look(*record).curIndex, 0U);
        for (uint32_t i = 0; i < capacity; ++i) {
            ASSERT_EQ(dxrtest::Decide(site, "other " + LineOf(i)), 1) << i;
        }
        ASSERT_EQ(dxrtest::Decide(site, LineOf(0)), 0);
    }
}

// --- the recorder

struct RecorderWay {
    const char *name;
    void (*feed)(uint32_t i);
};

const RecorderWay kRecorderWays[] = {
    {"DXR_RecordInfo", [](uint32_t i) { DXR_RecordInfo("text %u", i); }},
    {"DXR_AddNewRecord",
     [](uint32_t i) {
         DXR_AddNewRecord(("text " + std::to_string(i)).c_str(), DXR_GetRecordEntity());
     }},
    {"DXR_AddNewRecord to a store of the host's own",
     [](uint32_t i) { DXR_AddNewRecord(("text " + std::to_string(i)).c_str(), &g_ownStore); }},
};

TEST_F(MemoryFaults, RecordInfoAndAddNewRecord) {
    for (const RecorderWay &way : kRecorderWays) {
        for (const uint32_t records : {0U, 1U, 2U, 7U, 8U, 9U, 10U, 1023U, 1024U}) {
            Case record;
            record.state = std::string(way.name) + ", " + std::to_string(records) + " records";
            record.arrange = [&way, records](World &) {
                for (uint32_t i = 0; i < records; ++i) {
                    way.feed(i);
                }
            };
            record.call = [&way, records](World &) {
                way.feed(records);
                return std::string();
            };
            record.outcome = [](World &, uint64_t, Lines &calls) {
                calls = {Allocate(0, sizeof(DxrRecord))};
                return std::string();
            };
            record.goOn = [&way, records](World &world) {
                ++world.host.sysTime.year;
                std::string listing(200000, '\0');
                for (const uint32_t i : {records + 1, records, 0U, records + 2, records}) {
                    way.feed(i);
                }
                listing.resize(
                    DXR_GetAllRecordStr(listing.data(), static_cast<uint32_t>(listing.size())));
                return listing;
            };
            Try(record, records < DXR_RECORD_COUNT ? 1 : 0);
        }
    }
    // After all were released.
    Case again;
    again.state = "released";
    again.arrange = [](World &) {
        for (uint32_t i = 0; i < 20; ++i) {
            DXR_RecordInfo("text %u", i);
        }
        DXR_DestroyRecordInfo();
    };
    again.call = [](World &) {
        DXR_RecordInfo("text 3");
        return std::string();
    };
    again.outcome = [](World &, uint64_t, Lines &calls) {
        calls = {Allocate(0, sizeof(DxrRecord))};
        return std::string();
    };
    again.goOn = [](World &) {
        DXR_RecordInfo("text 3");
        DXR_RecordInfo("text 3");
        return std::string();
    };
    Try(again, 1);
}

// --- blocks that are handed out

TEST_F(MemoryFaults, Malloc) {
    Try({"a block", [](World &) {},
         [](World &) {
             void *const block = DXR_Malloc(5, 100, kFile, 1);
             const bool given = block != nullptr;
             if (given) {
                 DXR_Free(block, kFile, 2);
             }
             return std::string(given ? "block" : "null");
         },
         [](World &, uint64_t, Lines &calls) {
             calls = {Allocate(5, 100)};
             return std::string("null");
         },
         [](World &) { return std::string(); }},
        1);
}

TEST_F(MemoryFaults, SelectDbRecord) {
    struct Query {
        uint32_t hostField;
        uint32_t recordSize;
    };
    for (const uint32_t records : {1U, 3U, 1000U}) {
        const auto select = [](World &) {
            Query query = {1, Services::kRecordSize};
            uint32_t count = 4711;
            void *const block = DXR_SelectDbRecord(&query, &count);
            const std::string answer =
                (block != nullptr ? "block " : "null ") + std::to_string(count);
            if (block != nullptr) {
                DXR_Free(block, kFile, 1);
            }
            return answer;
        };
        Try({std::to_string(records) + " records",
             [records](World &) {
                 DXR_SetDefaultMid(12);
                 Services::records = records;
             },
             select,
             [records](World &, uint64_t, Lines &calls) {
                 calls = {"count", Allocate(12, uint64_t{records} * Services::kRecordSize)};
                 return std::string("null 4711");
             },
             select},
            1);
    }
}

TEST_F(MemoryFaults, CreateLinkBitMap) {
    for (const uint32_t chips : {1U, 4U, 100U}) {
        for (const uint32_t links : {1U, 32U, 33U, 1000U}) {
            const auto create = [chips, links](World &) {
                DxrLinkBitMap *const map = DXR_CreateLinkBitMap(chips, links);
                DXR_SaveLinkToBitMap(map, 0, 0);
                DXR_DestroyLinkBitMap(map);
                return std::string(map != nullptr ? "map" : "null");
            };
            Try({std::to_string(chips) + " chips of " + std::to_string(links),
                 [](World &) { DXR_SetDefaultMid(13); }, create,
                 [chips, links](World &, uint64_t n, Lines &calls) {
                     calls = {Allocate(13, sizeof(DxrLinkBitMap))};
                     if (n == 2) {
                         calls.push_back(Allocate(13, uint64_t{chips} * ((links + 31) / 32) * 4));
                         calls.emplace_back("release #0");  // the record
                     }
                     return std::string("null");
                 },
                 create},
                2);
        }
    }
}

// --- files

TEST_F(MemoryFaults, GetBinFileDataByFilePathAndGetBinFileData) {
    for (const bool byPath : {true, false}) {
        const auto load = [byPath](World &) {
            uint8_t untouched = 0;
            uint8_t *data = &untouched;
            uint32_t length = 4711;
            const uint32_t result = byPath ? DXR_GetBinFileDataByFilePath("/", &data, &length)
                                           : DXR_GetBinFileData(".", ".", &data, &length);
            const std::string answer = std::to_string(result) + " " + std::to_string(length) +
                                       (data == &untouched ? " untouched" : " block");
            if (data != &untouched) {
                DXR_Free(data, kFile, 1);
            }
            return answer;
        };
        Try({byPath ? "by path" : "by name",
             [](World &) {
                 DXR_SetDefaultMid(14);
                 World::UseBinFiles();
             },
             load,
             [byPath](World &, uint64_t, Lines &calls) {
                 if (!byPath) {
                     calls.emplace_back("work path");
                 }
                 calls.emplace_back("length");
                 calls.push_back(Allocate(14, Services::kFileSize));
                 return std::string("1 4711 untouched");
             },
             load},
            1);
    }
}

TEST_F(MemoryFaults, GetPrivateLogLenAndFixPrivateLogLen) {
    struct Log {
        const char *state;
        size_t size;
        bool hasTemporary;
    };
    for (const Log &log : {Log{"missing", 0, false}, Log{"short", 50, false},
                           Log{"long", 5000, false}, Log{"long, with a left copy", 5000, true}}) {
        for (const bool cuts : {false, true}) {
            const auto ask = [cuts](World &) {
                return std::to_string(cuts ? DXR_FixPrivateLogLen("a.log", 100)
                                           : DXR_GetPrivateLogLen("a.log"));
            };
            Try({std::string(cuts ? "cut, " : "length, ") + log.state,
                 [log](World &world) {
                     if (log.size > 0) {
                         world.log->files.Put("a.log", std::string(log.size, 'x') + "y");
                     }
                     if (log.hasTemporary) {
                         world.log->files.Put("dxr_log.tmp", "left");
                     }
                 },
                 ask,
                 [cuts](World &, uint64_t, Lines &calls) {
                     calls = {Allocate(6, 4096)};
                     return std::string(cuts ? "1" : "4294967295");
                 },
                 ask, true},
                1);
        }
    }
}

}  // namespace
