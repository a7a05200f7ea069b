// What slots of the development host cost beside the call that each stands on, in processor time
// of the least of several rounds; and how many timer events a second the virtual clock runs.
#include <pthread.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "dxr_devhost.h"

namespace {

constexpr int kRounds = 15;
constexpr uint32_t kLive = 1000;

double ProcessorNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// Nanoseconds of one of `count` operations.
double Cost(uint32_t count, const std::function<void(uint32_t)> &run) {
    double least = 1e18;
    for (int round = 0; round < kRounds; ++round) {
        const double before = ProcessorNs();
        run(count);
        least = std::min(least, (ProcessorNs() - before) / count);
    }
    return least;
}

// Two things in turn, so that both see the same machine.
void Row(const char *what, const char *peerName, uint32_t count,
         const std::function<void(uint32_t)> &host, const std::function<void(uint32_t)> &peer) {
    const double hostNs = Cost(count, host);
    const double peerNs = Cost(count, peer);
    std::printf("%-44s %8.1f ns  %-28s %8.1f ns  %5.2f\n", what, hostNs, peerName, peerNs,
                hostNs / peerNs);
}

struct Sizes {
    uint32_t state = 1;
    uint32_t Next() {
        state = state * 1664525 + 1013904223;
        return 16 + (state >> 16) % 500;
    }
};

template <typename Allocate, typename Release>
void Pairs(uint32_t count, Allocate allocate, Release release) {
    for (uint32_t i = 0; i < count; ++i) {
        release(allocate(100));
    }
}

// Look-ups in a sample chassis, and the statements that they stand on.
class Database {
  public:
    explicit Database(DxrHost *host) {
        (void)unlink(kPath);
        if (!DxrHostInitDatabase(host, kPath, nullptr, 0) ||
            !DxrHostOpenDatabase(host, kPath, nullptr, 0) ||
            sqlite3_open(kPath, &connection_) != SQLITE_OK) {
            std::fprintf(stderr, "%s cannot be made\n", kPath);
            std::exit(1);
        }
        (void)unlink(kPath);
    }
    ~Database() {
        (void)sqlite3_finalize(statement_);
        (void)sqlite3_close(connection_);
    }
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    Database(Database &&) = delete;
    Database &operator=(Database &&) = delete;

    void Prepare(const char *sql) {
        (void)sqlite3_finalize(statement_);
        (void)sqlite3_prepare_v2(connection_, sql, -1, &statement_, nullptr);
    }

    // The first row of the statement, whose parameters are the values.
    void Find(const std::array<uint32_t, 3> &values, uint32_t *row) {
        const int parameters = sqlite3_bind_parameter_count(statement_);
        for (int i = 0; i < parameters; ++i) {
            sqlite3_bind_int64(statement_, i + 1, values[static_cast<size_t>(i)]);
        }
        if (sqlite3_step(statement_) == SQLITE_ROW) {
            const int columns = sqlite3_column_count(statement_);
            for (int i = 0; i < columns; ++i) {
                row[i] = static_cast<uint32_t>(sqlite3_column_int64(statement_, i));
            }
        }
        sqlite3_reset(statement_);
    }

  private:
    static constexpr const char *kPath = "devhost_costs.db";

    sqlite3 *connection_ = nullptr;
    sqlite3_stmt *statement_ = nullptr;
};

void DatabaseRows(DxrHost *host, const DxrHooks &hooks) {
    constexpr uint32_t kLookUps = 20000;
    Database database(host);
    DxrHostTmPort port{};
    DxrHostTmPort plainPort{};
    uint32_t type = 0;
    uint32_t plainType = 0;
    database.Prepare("SELECT tm_type FROM fic WHERE global_fic_id = ?1");
    Row(
        "TM type of a chip", "the statement", kLookUps,
        [&](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                (void)hooks.db.getTmTypeByGlobalFicIdFromDb(i % 8, &type);
            }
        },
        [&](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                database.Find({i % 8}, &plainType);
            }
        });
    database.Prepare(
        "SELECT p.node_group_id, p.tm_id, p.port_id, p.tm_port, p.core_id, p.fic_port, "
        "p.speed_mbps FROM vsq v JOIN tm_port p USING (node_group_id, tm_id, port_id) "
        "WHERE v.node_group_id = ?1 AND v.vsq_id = ?2");
    std::array<uint32_t, sizeof(DxrHostTmPort) / sizeof(uint32_t)> row{};
    Row(
        "port of a VSQ", "the statement", kLookUps,
        [&](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                (void)hooks.db.getNgTmPortInfoByVsqIdFromDb(1 + i % 128 / 32, i % 128, &port);
            }
        },
        [&](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                database.Find({1 + i % 128 / 32, i % 128}, row.data());
            }
        });
    std::memcpy(&plainPort, row.data(), sizeof(plainPort));
    if (type != plainType || port.nodeGroupId != plainPort.nodeGroupId ||
        port.tmPort != plainPort.tmPort || port.speedMbps != plainPort.speedMbps) {
        std::fprintf(stderr, "the two differ\n");
        std::exit(1);
    }
}

// A working set of a thousand blocks of mixed sizes, of which one after the other is replaced.
template <typename Allocate, typename Release>
void WorkingSet(uint32_t count, Allocate allocate, Release release) {
    std::vector<void *> blocks(kLive, nullptr);
    Sizes sizes;
    uint32_t at = 0;
    for (uint32_t i = 0; i < count; ++i) {
        at = (at + sizes.state % 97 + 1) % kLive;
        release(blocks[at]);
        blocks[at] = allocate(sizes.Next());
    }
    for (void *const block : blocks) {
        release(block);
    }
}

// The fields of blocks are used as modules do: the first and the last byte are written.
void *Touch(void *block, uint32_t size) {
    static_cast<volatile char *>(block)[0] = 1;
    static_cast<volatile char *>(block)[size - 1] = 1;
    return block;
}

// --- Entries of tables: 12 bytes of key, 32 bytes of data.

using TableKey = std::array<char, 12>;
using TableData = std::array<unsigned char, 32>;

struct HashOfBytes {
    using is_transparent = void;
    size_t operator()(std::string_view bytes) const { return std::hash<std::string_view>()(bytes); }
};

TableKey KeyOf(uint32_t number) {
    TableKey key{'p', 'o', 'r', 't', '/', 'v', 'l', 'n'};
    std::memcpy(&key[8], &number, sizeof(number));
    return key;
}

// Calls `get` with keys that are there, in an order without rule.
template <typename Get>
void GetEntries(uint32_t count, uint32_t entries, Get get) {
    std::vector<TableKey> keys(1024);
    uint32_t number = 1;
    for (TableKey &key : keys) {
        number = number * 1664525 + 1013904223;
        key = KeyOf((number >> 8) % entries);
    }
    TableData data{};
    for (uint32_t i = 0; i < count; ++i) {
        get(keys[i % keys.size()], data);
        asm volatile("" : : "r"(data.data()) : "memory");  // what was got is used
    }
}

// A table of the host's beside the map that its keys would be in: of bytes, without a lock and with
// the one that readers of several threads would need.
void TableRows(const DxrHooks &hooks, uint32_t entries) {
    std::unordered_map<std::string, TableData, HashOfBytes, std::equal_to<>> map;
    std::shared_mutex mutex;
    hooks.tblm.dynamicCreateTable(1);
    for (uint32_t number = 0; number < entries; ++number) {
        TableKey key = KeyOf(number);
        TableData data{};
        std::memcpy(data.data(), &number, sizeof(number));
        DxrTblmRequest request{1, key.data(), sizeof(key), data.data(), sizeof(data), 1, {}};
        hooks.tblm.setChipTblmData(0, &request);
        map.emplace(std::string(key.data(), key.size()), data);
    }
    const auto host = [&](TableKey &key, TableData &data) {
        DxrTblmRequest request{1, key.data(), sizeof(key), data.data(), sizeof(data), 1, {}};
        hooks.tblm.getChipTblmData(0, &request);
    };
    const auto find = [&map](TableKey &key, TableData &data) {
        const auto found = map.find(std::string_view(key.data(), key.size()));
        data = found != map.end() ? found->second : TableData{};
    };
    const std::string what = "table get, " + std::to_string(entries) + " entries";
    const auto run = [&](uint32_t n) { GetEntries(n, entries, host); };
    Row(what.c_str(), "unordered_map of bytes", 1000000, run,
        [&](uint32_t n) { GetEntries(n, entries, find); });
    Row(what.c_str(), "the same, shared_mutex", 1000000, run, [&](uint32_t n) {
        GetEntries(n, entries, [&](TableKey &key, TableData &data) {
            const std::shared_lock lock(mutex);
            find(key, data);
        });
    });
    hooks.tblm.releaseTblm(1, 0);
}

uint64_t g_fired = 0;

void TimerEvents(uint32_t timers) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    DxrHost *const host = DxrHostCreate(&options);
    DxrHostRegister(host);
    std::vector<DxrHostTimer> all(timers);
    uint32_t ms = 1;
    for (DxrHostTimer &timer : all) {
        timer = {sizeof(DxrHostTimer), ms, 1, 0, [](void *) { ++g_fired; }, nullptr, nullptr};
        ms = ms % 97 + 1;
        DXR_StartTimer(&timer);
    }
    g_fired = 0;
    timespec before{};
    timespec after{};
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
    uint32_t simulatedMs = 0;
    while (g_fired < 2000000) {
        DXR_DelayTask(1000);
        simulatedMs += 1000;
    }
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
    const double seconds = static_cast<double>(after.tv_sec - before.tv_sec) +
                           static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
    std::printf("virtual clock, %5u timers: %.2f million events a second (%u s in %.2f s)\n",
                timers, static_cast<double>(g_fired) / seconds / 1e6, simulatedMs / 1000, seconds);
    for (DxrHostTimer &timer : all) {
        DXR_StopTimer(&timer);
    }
    DxrHostDestroy(host, stdout);
}

}  // namespace

int main() {
    // Locks of a program with one thread cost nothing, but modules have threads.
    std::thread another([] { (void)pause(); });
    another.detach();
    DxrHost *const host = DxrHostCreate(nullptr);
    DxrHostRegister(host);
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    const auto allocate = [&hooks](uint32_t size) {
        return Touch(hooks.memory.allocate(9, size, "bench/devhost_costs.cpp", 1), size);
    };
    const auto release = [&hooks](void *block) {
        hooks.memory.release(block, "bench/devhost_costs.cpp", 2);
    };
    const auto plainAllocate = [](uint32_t size) { return Touch(std::malloc(size), size); };
    const auto plainRelease = [](void *block) { std::free(block); };
    Row(
        "allocate and release 100 bytes", "malloc, free", 1000000,
        [&](uint32_t n) { Pairs(n, allocate, release); },
        [&](uint32_t n) { Pairs(n, plainAllocate, plainRelease); });
    const auto allocateShared = [&hooks](uint32_t size) {
        return Touch(hooks.memory.allocate(10, size, "bench/devhost_costs.cpp", 5), size);
    };
    // Another thread uses the account meanwhile.
    std::atomic<bool> isOver{false};
    std::thread sharer([&] {
        while (!isOver) {
            Pairs(1000, allocateShared, release);
        }
    });
    Row(
        "the same, an account of several threads", "malloc, free", 1000000,
        [&](uint32_t n) { Pairs(n, allocateShared, release); },
        [&](uint32_t n) { Pairs(n, plainAllocate, plainRelease); });
    isOver = true;
    sharer.join();
    Row(
        "allocate and release, 1000 live, 16-515 bytes", "malloc, free", 1000000,
        [&](uint32_t n) { WorkingSet(n, allocate, release); },
        [&](uint32_t n) { WorkingSet(n, plainAllocate, plainRelease); });

    void *mutex = nullptr;
    hooks.task.initMutex(&mutex, nullptr);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t plain = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t checking;
    pthread_mutex_init(&checking, &attributes);
    const auto lock = [&hooks, mutex](uint32_t n) {
        for (uint32_t i = 0; i < n; ++i) {
            hooks.task.lockMutex(mutex);
            hooks.task.unlockMutex(mutex);
        }
    };
    const auto plainLock = [](pthread_mutex_t &peer) {
        return [&peer](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                pthread_mutex_lock(&peer);
                pthread_mutex_unlock(&peer);
            }
        };
    };
    Row("lock and unlock", "pthread_mutex_lock, _unlock", 2000000, lock, plainLock(plain));
    Row("lock and unlock", "the same, error-checking", 2000000, lock, plainLock(checking));
    hooks.task.destroyMutex(mutex);
    Row(
        "current milliseconds", "clock_gettime", 1000000,
        [&hooks](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                (void)hooks.time.getCurrMs();
            }
        },
        [](uint32_t n) {
            timespec now{};
            for (uint32_t i = 0; i < n; ++i) {
                (void)clock_gettime(CLOCK_REALTIME, &now);
            }
        });
    TableRows(hooks, 1000);
    TableRows(hooks, 100000);
    DatabaseRows(host, hooks);
    DxrHostDestroy(host, stdout);
    for (const uint32_t timers : {1U, 100U, 10000U}) {
        TimerEvents(timers);
    }
    return 0;
}
