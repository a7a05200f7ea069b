#include "system_table.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "dxr_devhost/inspect.h"
#include "records.h"

namespace devhost {

TableService::TableService(Host &host)
    : Service(host),
      createFails(host.chance.Point("table.create")),
      setFails(host.chance.Point("table.set")),
      getFails(host.chance.Point("table.get")),
      walkFails(host.chance.Point("table.walk")),
      readFails(host.chance.Point("table.read")),
      file(host.chance, {"table.open", "table.write", "table.sync", "table.rename"}) {
}

void TableService::ReportLeftovers() {
    for (const auto &[tableId, table] : tables) {
        if (table.about.isStatic == 0) {
            TheHost().ReportLeftover(kTable, table.made,
                                     "table " + std::to_string(tableId) + " of " +
                                         std::to_string(table.about.entries) + " entries");
        }
    }
    for (const auto &[number, walk] : walks) {
        const bool isThroughOne = !walk.isThroughAll && walk.tables.size() == 1;
        TheHost().ReportLeftover(
            kTable, walk.made,
            "walk " + std::to_string(number) + " through " +
                (isThroughOne ? "table " + std::to_string(walk.tables[0]) : "tables"));
    }
}

void TableService::Delete(Block *block) {
    DxrHostTable &about = tables[block->TableId()].about;
    --about.entries;
    --counts[block->Table()];
    --pools[{block->Chip(), about.pool}].used;
    store.Delete(block);
}

TableService &TablesOf(Host &host) {
    return host.Get<TableService>(ServiceId::kSystemTable);
}

bool IsTable(const DxrHostTable &about) {
    return about.size == sizeof(DxrHostTable) && about.keyBytes <= kMostKeyBytes &&
           about.dataBytes <= kMostDataBytes && about.pool <= 0xFFFF && about.isStatic <= 1;
}

namespace {

// What cannot be an entry's key; null when it can.
const char *WhyNoKey(uint32_t chip, const void *key, uint32_t keyBytes) {
    if (chip > kMostChip) {
        return kBadChip;
    }
    if (key == nullptr) {
        return "a null pointer";
    }
    return keyBytes == 0 || keyBytes > kMostKeyBytes ? "a key of no or of more than 256 bytes"
                                                     : nullptr;
}

const char *WhyNoData(const void *data, uint32_t bytes) {
    if (bytes != 0 && data == nullptr) {
        return "a null pointer";
    }
    return bytes > kMostDataBytes ? "more than 65536 bytes of data" : nullptr;
}

// Why a key is not there; called when it is not.
Answer WhyMissing(TableService &state, uint32_t tableId, uint32_t keyBytes) {
    const std::lock_guard lock(state.store.mutex);
    const auto table = state.tables.find(tableId);
    if (table == state.tables.end()) {
        return {ENXIO, kNoSuchTable};
    }
    const uint32_t wanted = table->second.about.keyBytes;
    if (wanted != 0 && wanted != keyBytes) {
        return {EINVAL, "a key of another length than the table's"};
    }
    return {ENOENT};
}

// Bits of the new data where the mask has them, else those that were there.
Bytes Merged(const Block *before, const Content &content) {
    Bytes merged(content.bytes);
    if (before != nullptr) {
        Bytes old(before->DataBytes());
        before->CopyData(old.data());
        old.resize(content.bytes);
        merged.swap(old);
    }
    const auto *const data = static_cast<const unsigned char *>(content.data);
    const auto *const mask = static_cast<const unsigned char *>(content.mask);
    for (uint32_t i = 0; i < content.bytes; ++i) {
        merged[i] = static_cast<unsigned char>((merged[i] & ~mask[i]) | (data[i] & mask[i]));
    }
    return merged;
}

Answer SetEntry(TableService &state, const Key &key, Content content) {
    const auto tableId = static_cast<uint32_t>(key.table >> 32);
    const auto chip = static_cast<uint32_t>(key.table);
    const std::lock_guard lock(state.store.mutex);
    const auto table = state.tables.find(tableId);
    if (table == state.tables.end()) {
        return {ENXIO, kNoSuchTable};
    }
    DxrHostTable &about = table->second.about;
    if (about.keyBytes != 0 && about.keyBytes != key.bytes) {
        return {EINVAL, "a key of another length than the table's"};
    }
    if (about.dataBytes != 0 && content.bytes != 0 && about.dataBytes != content.bytes) {
        return {EINVAL, "data of another length than the table's"};
    }
    if (state.setFails.Fails()) {
        return {ENOMEM};
    }
    const Block *const before = state.store.Find(key);
    Bytes merged;
    if (content.mask != nullptr) {
        merged = Merged(before, content);
        content.data = merged.data();
    }
    if (before != nullptr) {
        state.store.Put(key, content);
        return {};
    }
    uint32_t &ofChip = state.counts[key.table];
    Pool &pool = state.pools[{chip, about.pool}];
    if ((about.capacity != 0 && ofChip >= about.capacity) || pool.used >= pool.capacity) {
        return {ENOSPC};
    }
    state.store.Put(key, content);
    ++ofChip;
    ++pool.used;
    ++about.entries;
    return {};
}

// --- Slots

uint32_t DynamicCreateTable(uint32_t tableId) {
    const Call call("DXR_DynamicCreateTable");
    if (!call) {
        return ECANCELED;
    }
    TableService &state = TablesOf(*call);
    if (state.createFails.Fails()) {
        return ENOMEM;
    }
    const Place made{call.At().slot, ModuleCaller(call.At().address)};
    const std::lock_guard lock(state.store.mutex);
    if (state.tables.contains(tableId)) {
        return EEXIST;
    }
    Table table{{sizeof(DxrHostTable), tableId, 0, 0, 0, 0, 0, 0}, made};
    const auto described = state.described.find(tableId);
    if (described != state.described.end()) {
        table.about = described->second;
    }
    state.tables.emplace(tableId, table);
    return 0;
}

// Gets the entry of the chip itself, where nothing is out of the ordinary. False, and nothing is
// written, otherwise. The request is one that may be.
[[gnu::always_inline]] inline bool GetOwnEntry(TableService &state, uint32_t chip,
                                               DxrTblmRequest &request) {
    auto *const data = static_cast<unsigned char *>(request.data);
    const uint32_t room = request.dataLen;
    if (request.keyLen > table_read::kMostQuickKey || request.dataValid == 0 || data == nullptr) {
        return false;
    }
    const uint32_t bytes = state.store.GetQuickly(TableWord(request.tableId, chip), request.key,
                                                  request.keyLen, data, room);
    if (bytes == TableStore::kNotThere) {
        return false;
    }
    request.dataLen = bytes;
    if (bytes < room) {
        std::memset(data + bytes, 0, room - bytes);
    }
    return true;
}

// The same without a Call before it. The other requests go to the function below.
[[gnu::always_inline]] inline bool GetDataQuickly(uint32_t chip, DxrTblmRequest *request) {
    ThreadRecord *const thread = t_record;
    Host *const host = EnterQuickly(thread);
    if (host == nullptr || request == nullptr || chip > kMostChip || request->key == nullptr ||
        request->keyLen == 0) [[unlikely]] {
        return false;
    }
    TableService &state = TablesOf(*host);
    if (state.getFails.IsSet()) [[unlikely]] {
        return false;
    }
    const bool isDone = GetOwnEntry(state, chip, *request);
    LeaveQuickly(*thread);
    return isDone;
}

uint32_t GetData(uint32_t chip, DxrTblmRequest *request) {
    const Call call("DXR_GetChipTblmData");
    if (!call) {
        return ECANCELED;
    }
    if (request == nullptr) {
        call.Misuse(kTable, "a null pointer");
        return EINVAL;
    }
    void *const data = request->dataValid != 0 ? request->data : nullptr;
    const uint32_t room = request->dataLen;
    const char *why = WhyNoKey(chip, request->key, request->keyLen);
    if (why == nullptr && request->dataValid != 0) {
        why = room != 0 && data == nullptr ? "a null pointer" : nullptr;
    }
    if (why != nullptr) {
        call.Misuse(kTable, why);
        return EINVAL;
    }
    TableService &state = TablesOf(*call);
    if (state.getFails.Fails()) {
        return EIO;
    }
    if (GetOwnEntry(state, chip, *request)) {
        return 0;
    }
    Key key(TableWord(request->tableId, chip), request->key, request->keyLen);
    uint32_t bytes = 0;
    const TableStore::Got got = state.store.Get(
        key, TableWord(request->tableId, DXR_TBLM_CHIPID_NOTCARE), data, room, bytes);
    if (got == TableStore::Got::kNothing) {
        return Tell(call, WhyMissing(state, request->tableId, request->keyLen));
    }
    request->dataLen = bytes;
    // Room for no bytes may be nowhere; that is not to ask for the length alone.
    if (got == TableStore::Got::kNoRoom || (request->dataValid != 0 && bytes > room)) {
        return ENOSPC;
    }
    if (data != nullptr && bytes < room) {
        std::memset(static_cast<unsigned char *>(data) + bytes, 0, room - bytes);
    }
    return 0;
}

[[gnu::noinline]] uint32_t GetDataUnusual(uint32_t chip, DxrTblmRequest *request,
                                          const void *caller) {
    return RunGuarded<GetData>(caller, chip, request);
}

uint32_t GetDataSlot(uint32_t chip, DxrTblmRequest *request) {
    return GetDataQuickly(chip, request)
               ? 0
               : GetDataUnusual(chip, request, __builtin_return_address(0));
}

uint32_t SetData(uint32_t chip, DxrTblmRequest *request) {
    const Call call("DXR_SetChipTblmData");
    if (!call) {
        return ECANCELED;
    }
    if (request == nullptr) {
        call.Misuse(kTable, "a null pointer");
        return EINVAL;
    }
    const bool hasData = request->dataValid != 0;
    const Content content{hasData ? request->data : nullptr, hasData ? request->dataLen : 0};
    const char *why = WhyNoKey(chip, request->key, request->keyLen);
    why = why == nullptr ? WhyNoData(content.data, content.bytes) : why;
    if (why != nullptr) {
        call.Misuse(kTable, why);
        return EINVAL;
    }
    const Key key(TableWord(request->tableId, chip), request->key, request->keyLen);
    return Tell(call, SetEntry(TablesOf(*call), key, content));
}

uint32_t SetDataAndMask(uint32_t chip, void *given) {
    const Call call("DXR_SetChipTblmDataAndMask");
    if (!call) {
        return ECANCELED;
    }
    const auto *const record = RecordAt<DxrHostMaskedData>(call, kTable, given);
    if (record == nullptr) {
        return EINVAL;
    }
    const char *why = WhyNoKey(chip, record->key, record->keyLen);
    why = why == nullptr ? WhyNoData(record->data, record->dataLen) : why;
    why = why == nullptr ? WhyNoData(record->mask, record->dataLen) : why;
    if (why != nullptr) {
        call.Misuse(kTable, why);
        return EINVAL;
    }
    const Key key(TableWord(record->tableId, chip), record->key, record->keyLen);
    return Tell(call, SetEntry(TablesOf(*call), key,
                               {record->data, record->dataLen,
                                record->dataLen != 0 ? record->mask : nullptr}));
}

uint32_t DeleteData(uint32_t chip, uint32_t tableId, void *keyAt, uint32_t keyBytes) {
    const Call call("DXR_DeleteChipTblmData");
    if (!call) {
        return ECANCELED;
    }
    if (const char *const why = WhyNoKey(chip, keyAt, keyBytes)) {
        call.Misuse(kTable, why);
        return EINVAL;
    }
    TableService &state = TablesOf(*call);
    const Key key(TableWord(tableId, chip), keyAt, keyBytes);
    {
        const std::lock_guard lock(state.store.mutex);
        Block *const block = state.store.Find(key);
        if (block != nullptr) {
            state.Delete(block);
            return 0;
        }
    }
    return Tell(call, WhyMissing(state, tableId, keyBytes));
}

uint32_t GetAttr(uint32_t tableId, void *given) {
    const Call call("DXR_GetTblmAttr");
    if (!call) {
        return ECANCELED;
    }
    auto *const about = RecordAt<DxrHostTable>(call, kTable, given);
    if (about == nullptr) {
        return EINVAL;
    }
    TableService &state = TablesOf(*call);
    const std::lock_guard lock(state.store.mutex);
    const auto table = state.tables.find(tableId);
    if (table == state.tables.end()) {
        return ENXIO;
    }
    *about = table->second.about;
    return 0;
}

uint32_t GetCstPoolCount(uint32_t chip, uint16_t number, uint32_t what, void *count) {
    const Call call("DXR_GetCstPoolCount");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<uint32_t>(call, kTable, count)) {
        return EINVAL;
    }
    if (chip > kMostChip || what > DXR_HOST_POOL_CAPACITY) {
        call.Misuse(kTable, chip > kMostChip ? kBadChip : "a pool has no such count");
        return EINVAL;
    }
    TableService &state = TablesOf(*call);
    const std::lock_guard lock(state.store.mutex);
    const auto found = state.pools.find({chip, number});
    const Pool pool = found != state.pools.end() ? found->second : Pool{};
    uint32_t value = what == DXR_HOST_POOL_USED ? pool.used : pool.capacity;
    if (what == DXR_HOST_POOL_FREE && pool.capacity != kNoLimit) {
        value = pool.capacity - std::min(pool.used, pool.capacity);
    }
    *static_cast<uint32_t *>(count) = value;
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeSystemTable(Host &host) {
    return std::make_unique<TableService>(host);
}

void FillSystemTable(DxrHooks &hooks) {
    hooks.tblm.dynamicCreateTable = Guarded<DynamicCreateTable>;
    hooks.tblm.getChipTblmData = GetDataSlot;
    hooks.tblm.setChipTblmData = Guarded<SetData>;
    hooks.tblm.deleteChipTblmData = Guarded<DeleteData>;
    hooks.tblm.getTblmAttr = Guarded<GetAttr>;
    hooks.tblm.getCstPoolCount = Guarded<GetCstPoolCount>;
    hooks.tblm.setChipTblmDataAndMask = Guarded<SetDataAndMask>;
    FillTableWalks(hooks.tblm);
}

}  // namespace devhost

uint32_t DxrHostGetTables(DxrHost *host, DxrHostTable *tables, uint32_t room) {
    const devhost::ApiCall call(host);
    if (!call) {
        return 0;
    }
    devhost::TableService &state = devhost::TablesOf(*call);
    const std::lock_guard lock(state.store.mutex);
    uint32_t count = 0;
    for (const auto &[number, table] : state.tables) {
        if (tables != nullptr && count < room) {
            tables[count] = table.about;
        }
        ++count;
    }
    return count;
}

uint32_t DxrHostDescribeTable(DxrHost *host, const DxrHostTable *table) {
    const devhost::ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (table == nullptr || !devhost::IsTable(*table)) {
        return EINVAL;
    }
    devhost::TableService &state = devhost::TablesOf(*call);
    const std::lock_guard lock(state.store.mutex);
    if (state.tables.contains(table->tableId)) {
        return EEXIST;
    }
    try {
        DxrHostTable about = *table;
        about.entries = 0;
        if (about.isStatic != 0) {
            state.tables.emplace(about.tableId, devhost::Table{about, {}});
        } else {
            state.described.insert_or_assign(about.tableId, about);
        }
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    return 0;
}

bool DxrHostSetTablePool(DxrHost *host, uint32_t chip, uint16_t pool, uint32_t capacity) {
    const devhost::ApiCall call(host);
    if (!call || chip > devhost::kMostChip) {
        return false;
    }
    devhost::TableService &state = devhost::TablesOf(*call);
    const std::lock_guard lock(state.store.mutex);
    try {
        state.pools[{chip, pool}].capacity = capacity;
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}
