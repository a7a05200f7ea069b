// The state of the table manager, and what its files share. system_table.cpp has the slots of
// tables and entries, system_table_walk.cpp those of walks, system_table_snapshot.cpp what goes to
// disk and back; system_table_store.h holds the entries.
#ifndef DXR_DEVHOST_SYSTEM_TABLE_INTERNAL_H
#define DXR_DEVHOST_SYSTEM_TABLE_INTERNAL_H

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "dxr_devhost/system_table.h"
#include "host.h"
#include "system_table_store.h"
#include "whole_file.h"

namespace devhost {

constexpr const char *kTable = "table";
constexpr uint32_t kMostChip = 0xFFFF;

struct Table {
    DxrHostTable about{};  // `entries` is up to date
    Place made{};
};

constexpr uint32_t kNoLimit = std::numeric_limits<uint32_t>::max();

struct Pool {
    uint32_t capacity = kNoLimit;
    uint32_t used = 0;
};

using Tables = std::map<uint32_t, Table>;
using Counts = std::map<uint64_t, uint32_t>;                  // of entries, by table and chip
using Pools = std::map<std::pair<uint32_t, uint32_t>, Pool>;  // by chip and number

// Where a walk is: at a key of a table, or before the first one.
struct Position {
    size_t at = 0;  // in the list of tables
    uint32_t tableId = 0;
    uint32_t chip = 0;
    uint32_t keyBytes = 0;  // 0 before the first one
    std::array<unsigned char, kMostKeyBytes> key{};
};

struct Walk {
    Place made{};
    uint32_t chip = 0;
    bool isThroughAll = false;
    std::vector<uint32_t> tables;
    Position position;
};

class TableService : public Service {
  public:
    explicit TableService(Host &host);
    void ReportLeftovers() override;

    // With the lock. Deletes an entry and counts that.
    void Delete(Block *block);

    TableStore store;  // its mutex guards what follows
    std::map<uint32_t, DxrHostTable> described;
    Tables tables;
    Counts counts;
    Pools pools;
    std::map<uint32_t, Walk> walks;
    uint32_t lastWalk = 0;

    FaultPoint &createFails;
    FaultPoint &setFails;
    FaultPoint &getFails;
    FaultPoint &walkFails;
    FaultPoint &readFails;
    std::mutex saving;  // guards `file`, and is locked first
    WholeFile file;
};

TableService &TablesOf(Host &host);

// Whether there can be such a table.
bool IsTable(const DxrHostTable &about);

// What a slot gives, and what is to be reported once no lock is held.
struct Answer {
    uint32_t result = 0;
    const char *misuse = nullptr;
};

inline uint32_t Tell(const Call &call, const Answer &answer) {
    if (answer.misuse != nullptr) {
        call.Misuse(kTable, answer.misuse);
    }
    return answer.result;
}

constexpr const char *kNoSuchTable = "there is no such table";
constexpr const char *kBadChip = "a chip above 65535";

void FillTableWalks(DxrTblmHooks &hooks);

}  // namespace devhost

#endif  // DXR_DEVHOST_SYSTEM_TABLE_INTERNAL_H
