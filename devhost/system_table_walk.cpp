// Walks through tables, and the release of both.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "records.h"
#include "system_table.h"

namespace devhost {
namespace {

constexpr uint32_t kMostTables = 4096;

// The entry after the position in its table; null.
Block *NextInTable(const TableService &state, uint32_t chip, const Position &position) {
    const bool isEvery = chip == DXR_HOST_EVERY_CHIP;
    Block *next = nullptr;
    if (position.keyBytes != 0) {
        next = state.store.After(Key(TableWord(position.tableId, position.chip),
                                     position.key.data(), position.keyBytes));
    } else {
        next = state.store.From(TableWord(position.tableId, isEvery ? 0 : chip));
    }
    const bool isWanted =
        next != nullptr && next->TableId() == position.tableId && (isEvery || next->Chip() == chip);
    return isWanted ? next : nullptr;
}

// The next entry of a walk, and the position of its table; null.
Block *Next(const TableService &state, const Walk &walk, Position &position) {
    position = walk.position;
    for (;;) {
        Block *const next = NextInTable(state, walk.chip, position);
        if (next != nullptr) {
            return next;
        }
        if (walk.isThroughAll) {
            const auto table = state.tables.upper_bound(position.tableId);
            if (table == state.tables.end()) {
                return nullptr;
            }
            position.tableId = table->first;
        } else {
            if (++position.at >= walk.tables.size()) {
                return nullptr;
            }
            position.tableId = walk.tables[position.at];
        }
        position.keyBytes = 0;
    }
}

// Writes the next entry of a walk, which then stands on it.
uint32_t Step(const TableService &state, Walk &walk, DxrHostTableEntry &entry) {
    Position position;
    const Block *const next = Next(state, walk, position);
    if (next == nullptr) {
        return ENOENT;
    }
    entry.keyBytes = next->KeyBytes();
    entry.dataBytes = next->DataBytes();
    if ((entry.key != nullptr && entry.keyBytes > entry.keyRoom) ||
        ((entry.data != nullptr || entry.mask != nullptr) && entry.dataBytes > entry.dataRoom)) {
        return ENOSPC;
    }
    entry.tableId = next->TableId();
    entry.chip = next->Chip();
    if (entry.key != nullptr) {
        next->CopyKey(entry.key);
    }
    if (entry.data != nullptr) {
        next->CopyData(entry.data);
    }
    if (entry.mask != nullptr) {
        next->CopyMask(entry.mask);
    }
    position.chip = entry.chip;
    position.keyBytes = entry.keyBytes;
    next->CopyKey(position.key.data());
    walk.position = position;
    return 0;
}

// Begins a walk that is described but for its list of tables.
uint32_t Begin(const Call &call, DxrHostTableWalk &given, Walk walk, DxrHostTableEntry &entry) {
    TableService &state = TablesOf(*call);
    if (state.walkFails.Fails()) {
        return ENOMEM;
    }
    walk.chip = given.chip;
    walk.made = {call.At().slot, ModuleCaller(call.At().address)};
    walk.position.tableId = walk.tables.empty() ? 0 : walk.tables[0];
    const std::lock_guard lock(state.store.mutex);
    while (++state.lastWalk == 0 || state.walks.contains(state.lastWalk)) {
    }
    const uint32_t number = state.lastWalk;
    const auto at = state.walks.emplace(number, std::move(walk)).first;
    const uint32_t result = Step(state, at->second, entry);
    if (result != 0) {
        state.walks.erase(at);
        return result;
    }
    given.walk = number;
    return 0;
}

// The records of a walk that begins; false, and a report, when they are none.
bool IsBeginning(const Call &call, void *givenWalk, void *givenEntry) {
    auto *const walk = RecordAt<DxrHostTableWalk>(call, kTable, givenWalk);
    if (walk == nullptr) {
        return false;
    }
    walk->walk = 0;
    if (RecordAt<DxrHostTableEntry>(call, kTable, givenEntry) == nullptr) {
        return false;
    }
    if (walk->chip > kMostChip && walk->chip != DXR_HOST_EVERY_CHIP) {
        call.Misuse(kTable, kBadChip);
        return false;
    }
    return true;
}

// --- Slots

uint32_t GetLinearFirst(void *givenWalk, void *givenEntry) {
    const Call call("DXR_GetLinearTblmFirstData");
    if (!call) {
        return ECANCELED;
    }
    if (!IsBeginning(call, givenWalk, givenEntry)) {
        return EINVAL;
    }
    auto &given = *static_cast<DxrHostTableWalk *>(givenWalk);
    TableService &state = TablesOf(*call);
    bool isThere = false;
    {
        const std::lock_guard lock(state.store.mutex);
        isThere = state.tables.contains(given.tableId);
    }
    if (!isThere) {
        return Tell(call, {ENXIO, kNoSuchTable});
    }
    Walk walk;
    walk.tables = {given.tableId};
    return Begin(call, given, std::move(walk), *static_cast<DxrHostTableEntry *>(givenEntry));
}

uint32_t GetCrossFirst(void *givenWalk, void *tables, void *givenEntry) {
    const Call call("DXR_GetCrossTblmFirstData");
    if (!call) {
        return ECANCELED;
    }
    if (!IsBeginning(call, givenWalk, givenEntry) ||
        (tables != nullptr && !IsUsable<uint32_t>(call, kTable, tables))) {
        return EINVAL;
    }
    auto &given = *static_cast<DxrHostTableWalk *>(givenWalk);
    Walk walk;
    walk.isThroughAll = tables == nullptr;
    if (tables != nullptr) {
        if (given.tables > kMostTables) {
            call.Misuse(kTable, "more than 4096 tables");
            return EINVAL;
        }
        const auto *const first = static_cast<const uint32_t *>(tables);
        walk.tables.assign(first, first + given.tables);
        if (walk.tables.empty()) {
            return ENOENT;
        }
    }
    return Begin(call, given, std::move(walk), *static_cast<DxrHostTableEntry *>(givenEntry));
}

uint32_t GetNext(uint32_t number, void *givenEntry) {
    const Call call("DXR_GetTblmNextData");
    if (!call) {
        return ECANCELED;
    }
    auto *const entry = RecordAt<DxrHostTableEntry>(call, kTable, givenEntry);
    if (entry == nullptr) {
        return EINVAL;
    }
    TableService &state = TablesOf(*call);
    if (state.walkFails.Fails()) {
        return ENOMEM;
    }
    {
        const std::lock_guard lock(state.store.mutex);
        const auto walk = state.walks.find(number);
        if (walk != state.walks.end()) {
            return Step(state, walk->second, *entry);
        }
    }
    return Tell(call, {EBADF, "there is no such walk"});
}

Answer ReleaseTable(TableService &state, uint32_t tableId) {
    const std::lock_guard lock(state.store.mutex);
    const auto table = state.tables.find(tableId);
    if (table == state.tables.end()) {
        return {ENXIO, kNoSuchTable};
    }
    if (table->second.about.isStatic != 0) {
        return {EINVAL, "a static table is not released"};
    }
    for (;;) {
        Block *const block = state.store.From(TableWord(tableId, 0));
        if (block == nullptr || block->TableId() != tableId) {
            break;
        }
        state.Delete(block);
    }
    state.counts.erase(state.counts.lower_bound(TableWord(tableId, 0)),
                       state.counts.upper_bound(TableWord(tableId, kMostChip)));
    state.tables.erase(table);
    return {};
}

Answer ReleaseWalk(TableService &state, uint32_t number) {
    const std::lock_guard lock(state.store.mutex);
    if (state.walks.erase(number) == 0) {
        return {EBADF, "there is no such walk"};
    }
    return {};
}

void Release(uint32_t tableId, uint32_t walk) {
    const Call call("DXR_ReleaseTblm");
    if (!call) {
        return;
    }
    TableService &state = TablesOf(*call);
    (void)Tell(call, walk == 0 ? ReleaseTable(state, tableId) : ReleaseWalk(state, walk));
}

}  // namespace

void FillTableWalks(DxrTblmHooks &hooks) {
    hooks.getCrossTblmFirstData = Guarded<GetCrossFirst>;
    hooks.getLinearTblmFirstData = Guarded<GetLinearFirst>;
    hooks.getTblmNextData = Guarded<GetNext>;
    hooks.releaseTblm = Guarded<Release>;
}

}  // namespace devhost
