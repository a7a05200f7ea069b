#include "dxr_devhost/hash.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "hash";
constexpr uint32_t kMostKeyBytes = 4096;
constexpr uint32_t kMostBuckets = 1U << 20;
constexpr uint32_t kDefaultBuckets = 64;
constexpr uint32_t kMostDataBytes = 16U << 20;

struct Table;

struct Entry {
    Table *table = nullptr;
    Entry *next = nullptr;  // of the same bucket, or of those that are to be freed
    void *handle = nullptr;
    uint64_t order = 0;
    uint32_t number = 0;  // the key's
    uint32_t keyBytes = 0;
    uint32_t dataBytes = 0;
    void *pointer = nullptr;  // what it holds with no bytes of data
    std::unique_ptr<unsigned char[]> key;
    std::unique_ptr<unsigned char[]> data;
};

// A removed entry that somebody may still stand on.
struct Removed {
    const void *handle = nullptr;
    uint64_t order = 0;
};

struct Table {
    DxrHostHashOptions options{};
    std::vector<Entry *> buckets;
    std::map<uint64_t, std::unique_ptr<Entry>> entries;  // in the order of their adding
    uint64_t lastOrder = 0;
    uint64_t changes = 0;  // of which keys there are
    void *handle = nullptr;
    std::array<Removed, 64> removed{};
    size_t nextRemoved = 0;
    // While functions of the module look at keys, what is removed stays in memory.
    uint32_t comparing = 0;
    bool isFreed = false;
    Entry *toBeFreed = nullptr;

    Table() = default;
    ~Table() { FreeRemoved(); }
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    Table(Table &&) = delete;
    Table &operator=(Table &&) = delete;

    [[nodiscard]] Entry *&BucketOf(uint32_t number) {
        return buckets[number & (buckets.size() - 1)];
    }

    void FreeRemoved() {
        while (toBeFreed != nullptr) {
            const std::unique_ptr<Entry> entry(toBeFreed);
            toBeFreed = entry->next;
        }
    }
};

struct Key {
    const void *at = nullptr;
    uint32_t bytes = 0;
    uint32_t number = 0;
};

uint32_t NumberOf(const void *key, uint32_t bytes) {
    const auto *const begin = static_cast<const unsigned char *>(key);
    uint64_t number = 0xCBF29CE484222325;
    for (uint32_t i = 0; i < bytes; ++i) {
        number = (number ^ begin[i]) * 0x100000001B3;
    }
    return static_cast<uint32_t>(number ^ number >> 32);
}

std::unique_ptr<unsigned char[]> CopyOf(const void *from, uint32_t bytes) {
    auto copy = std::make_unique<unsigned char[]>(bytes);
    std::memcpy(copy.get(), from, bytes);
    return copy;
}

class HashService : public Service {
  public:
    explicit HashService(Host &host)
        : Service(host),
          createFails(host.chance.Point("hash.create")),
          insertFails(host.chance.Point("hash.insert")) {}

    ~HashService() override {
        for (Table *const table : tables) {
            EndEntries(*table);
            delete table;
        }
    }

    void ReportLeftovers() override {
        for (const Table *const table : tables) {
            if (!table->isFreed) {
                TheHost().ReportLeftover(
                    kService, TheHost().handles.MadeAt(table->handle),
                    "hash table of " + std::to_string(table->entries.size()) + " entries");
            }
        }
    }

    // Also of tables that were released, but whose functions still run.
    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        const bool isUsed = std::any_of(tables.begin(), tables.end(), [&code](const Table *table) {
            return code.Holds(reinterpret_cast<const void *>(table->options.hash)) ||
                   code.Holds(reinterpret_cast<const void *>(table->options.compare));
        });
        return isUsed ? "a hash table" : "";
    }

    void EndEntries(Table &table) {
        for (const auto &[order, entry] : table.entries) {
            (void)TheHost().handles.End(entry->handle, HandleType::kHashEntry, {});
        }
    }

    void Discard(Table &table) {
        tables.erase(&table);
        delete &table;
    }

    std::mutex mutex;  // guards tables and entries
    std::set<Table *> tables;
    FaultPoint &createFails;
    FaultPoint &insertFails;
};

HashService &StateOf(Host &host) {
    return host.Get<HashService>(ServiceId::kHash);
}

// A call for a table; from Open on it has the lock.
class TableCall : public Call {
  public:
    TableCall(const char *slot, const void *caller) : Call(slot, caller) {}

    // False, and a report, when the handle is none.
    bool Open(const void *handle) {
        if (!*this) {
            return false;
        }
        handle_ = handle;
        lock_ = std::unique_lock(State().mutex);
        table_ = static_cast<Table *>((*this)->handles.Find(handle, HandleType::kHashTable));
        if (table_ == nullptr) {
            lock_.unlock();
            (void)Find<Table>(kService, handle, HandleType::kHashTable);
        }
        return table_ != nullptr;
    }

    [[nodiscard]] Table &TheTable() const { return *table_; }
    [[nodiscard]] HashService &State() const { return StateOf(**this); }
    void Unlock() { lock_.unlock(); }

    // 0, or why there is no such key. The lock is given back for a while.
    uint32_t Read(const void *address, Key &key) {
        const DxrHostHashOptions options = table_->options;
        lock_.unlock();
        if (address == nullptr) {
            Misuse(kService, "a null pointer");
            return EINVAL;
        }
        key = {address, options.keyBytes, 0};
        if (options.keyBytes == 0) {
            const size_t length = strnlen(static_cast<const char *>(address), kMostKeyBytes);
            if (length == kMostKeyBytes) {
                Misuse(kService, "a key above 4095 bytes");
                return EINVAL;
            }
            key.bytes = static_cast<uint32_t>(length) + 1;
        }
        key.number = options.hash != nullptr ? options.hash(address, options.user)
                                             : NumberOf(address, key.bytes);
        return Open(handle_) ? 0 : EBADF;
    }

    // 0 and the entry of the key, null when there is none: as things are with the lock that the
    // call has afterwards. Or why not, without the lock.
    uint32_t Look(const Key &key, Entry *&found) {
        for (;;) {
            const uint64_t before = table_->changes;
            found = table_->BucketOf(key.number);
            while (found != nullptr && !IsEqual(key, *found) && HasStayed(before)) {
                found = found->next;
            }
            if (table_ == nullptr) {
                (void)Open(handle_);  // says that it was released
                return EBADF;
            }
            if (table_->changes == before) {
                return 0;
            }
        }
    }

  private:
    // Lets a function of the module compare: without the lock, and what it looks at stays.
    class Comparing {
      public:
        explicit Comparing(TableCall &call) : call_(call), table_(*call.table_) {
            ++table_.comparing;
            call_.lock_.unlock();
        }
        ~Comparing() {
            call_.lock_.lock();
            const bool isFreed = table_.isFreed;
            if (--table_.comparing == 0) {
                table_.FreeRemoved();
                if (isFreed) {
                    call_.State().Discard(table_);
                }
            }
            if (isFreed) {
                call_.table_ = nullptr;
                call_.lock_.unlock();
            }
        }
        Comparing(const Comparing &) = delete;
        Comparing &operator=(const Comparing &) = delete;
        Comparing(Comparing &&) = delete;
        Comparing &operator=(Comparing &&) = delete;

      private:
        TableCall &call_;
        Table &table_;
    };

    // Whether the table is still there and has the same keys.
    [[nodiscard]] bool HasStayed(uint64_t changes) const {
        return table_ != nullptr && table_->changes == changes;
    }

    // May leave the call without a table, when another thread releases it.
    bool IsEqual(const Key &key, const Entry &entry) {
        if (entry.number != key.number) {
            return false;
        }
        const DxrHostHashOptions options = table_->options;
        if (options.compare == nullptr) {
            return entry.keyBytes == key.bytes &&
                   std::memcmp(entry.key.get(), key.at, key.bytes) == 0;
        }
        const void *const other = entry.key.get();
        const Comparing comparing(*this);
        return options.compare(key.at, other, options.user) == 0;
    }

    std::unique_lock<std::mutex> lock_;
    const void *handle_ = nullptr;
    Table *table_ = nullptr;
};

// --- Slots

void *Create(void *given) {
    const Call call("DXR_HashCreate");
    if (!call) {
        return nullptr;
    }
    const auto *const options = RecordAt<DxrHostHashOptions>(call, kService, given);
    if (options == nullptr) {
        return nullptr;
    }
    if (options->keyBytes > kMostKeyBytes || options->buckets > kMostBuckets) {
        call.Misuse(kService, "a number that is too large");
        return nullptr;
    }
    HashService &state = StateOf(*call);
    if (state.createFails.Fails()) {
        return nullptr;
    }
    auto table = std::make_unique<Table>();
    table->options = *options;
    table->buckets.resize(
        std::bit_ceil(options->buckets != 0 ? options->buckets : kDefaultBuckets));
    const std::lock_guard lock(state.mutex);
    const auto at = state.tables.insert(table.get()).first;
    table->handle = call->handles.Make(HandleType::kHashTable, table.get(), call.At());
    if (table->handle == nullptr) {
        state.tables.erase(at);
        return nullptr;
    }
    return table.release()->handle;
}

uint32_t Free(void *handle) {
    TableCall call("DXR_HashFree", __builtin_return_address(0));
    if (!call.Open(handle)) {
        return EBADF;
    }
    Table &table = call.TheTable();
    (void)call->handles.End(handle, HandleType::kHashTable, call.At());
    call.State().EndEntries(table);
    table.isFreed = true;
    if (table.comparing == 0) {
        call.State().Discard(table);
    }
    return 0;
}

// Adds an entry for a key that is not there.
uint32_t Add(const TableCall &call, const Key &key, std::unique_ptr<Entry> entry) {
    Table &table = call.TheTable();
    if (table.options.maxItems != 0 && table.entries.size() >= table.options.maxItems) {
        return ENOSPC;
    }
    entry->table = &table;
    entry->order = table.lastOrder + 1;
    entry->number = key.number;
    entry->keyBytes = key.bytes;
    entry->key = CopyOf(key.at, key.bytes);
    Entry &added = *entry;
    const auto at = table.entries.emplace(added.order, std::move(entry)).first;
    added.handle = call->handles.Make(HandleType::kHashEntry, &added, call.At());
    if (added.handle == nullptr) {
        table.entries.erase(at);
        return ENOMEM;
    }
    added.next = std::exchange(table.BucketOf(key.number), &added);
    ++table.lastOrder;
    ++table.changes;
    return 0;
}

// Why there can be no entry with that; null when there can.
const char *WhyNot(const void *data, uint32_t bytes, uint32_t mode) {
    if (mode > DXR_HOST_HASH_REPLACE) {
        return "an unknown mode";
    }
    if (bytes != 0 && data == nullptr) {
        return "a null pointer";
    }
    return bytes > kMostDataBytes ? "data above 16 MiB" : nullptr;
}

uint32_t Insert(void *handle, void *keyAt, void *data, uint32_t bytes, uint32_t mode) {
    TableCall call("DXR_HashInsert", __builtin_return_address(0));
    if (!call) {
        return EBADF;
    }
    if (const char *const why = WhyNot(data, bytes, mode)) {
        call.Misuse(kService, why);
        return EINVAL;
    }
    if (!call.Open(handle)) {
        return EBADF;
    }
    Key key;
    uint32_t result = call.Read(keyAt, key);
    if (result != 0) {
        return result;
    }
    Entry *found = nullptr;
    result = call.Look(key, found);
    if (result != 0) {
        return result;
    }
    if (found != nullptr && mode == DXR_HOST_HASH_ADD) {
        return EEXIST;
    }
    if (call.State().insertFails.Fails()) {
        return ENOMEM;
    }
    auto entry = std::make_unique<Entry>();
    entry->dataBytes = bytes;
    entry->pointer = bytes == 0 ? data : nullptr;
    entry->data = bytes != 0 ? CopyOf(data, bytes) : nullptr;
    if (found == nullptr) {
        return Add(call, key, std::move(entry));
    }
    found->dataBytes = entry->dataBytes;
    found->pointer = entry->pointer;
    found->data = std::move(entry->data);
    return 0;
}

// The entry of a key, with the lock; null otherwise.
Entry *FindEntry(TableCall &call, const void *handle, const void *keyAt, uint32_t &result) {
    Key key;
    Entry *found = nullptr;
    result = call.Open(handle) ? call.Read(keyAt, key) : EBADF;
    result = result == 0 ? call.Look(key, found) : result;
    if (result == 0 && found == nullptr) {
        result = ENOENT;
    }
    return result == 0 ? found : nullptr;
}

void *FindKey(void *handle, void *key) {
    TableCall call("DXR_HashFindKey", __builtin_return_address(0));
    uint32_t result = 0;
    const Entry *const found = FindEntry(call, handle, key, result);
    return found != nullptr ? found->handle : nullptr;
}

uint32_t Remove(void *handle, void *key) {
    TableCall call("DXR_HashRemove", __builtin_return_address(0));
    uint32_t result = 0;
    Entry *const found = FindEntry(call, handle, key, result);
    if (found == nullptr) {
        return result;
    }
    Table &table = call.TheTable();
    Entry **link = &table.BucketOf(found->number);
    while (*link != found) {
        link = &(*link)->next;
    }
    *link = found->next;
    table.removed[table.nextRemoved] = {found->handle, found->order};
    table.nextRemoved = (table.nextRemoved + 1) % table.removed.size();
    (void)call->handles.End(found->handle, HandleType::kHashEntry, call.At());
    const auto at = table.entries.find(found->order);
    found->next = std::exchange(table.toBeFreed, at->second.release());
    table.entries.erase(at);
    ++table.changes;
    if (table.comparing == 0) {
        table.FreeRemoved();
    }
    return 0;
}

uint32_t Count(void *handle) {
    TableCall call("DXR_HashCount", __builtin_return_address(0));
    return call.Open(handle) ? static_cast<uint32_t>(call.TheTable().entries.size()) : 0;
}

uint32_t GetBucketNum(void *handle) {
    TableCall call("DXR_HashGetBucketNum", __builtin_return_address(0));
    return call.Open(handle) ? static_cast<uint32_t>(call.TheTable().buckets.size()) : 0;
}

uint32_t GetMaxItem(void *handle) {
    TableCall call("DXR_HashGetMaxItem", __builtin_return_address(0));
    return call.Open(handle) ? call.TheTable().options.maxItems : 0;
}

// The entry that was added next after that order.
void *FirstAfter(const Table &table, uint64_t order) {
    const auto next = table.entries.upper_bound(order);
    return next != table.entries.end() ? next->second->handle : nullptr;
}

void *GetFirst(void *handle) {
    TableCall call("DXR_HashGetFirst", __builtin_return_address(0));
    return call.Open(handle) ? FirstAfter(call.TheTable(), 0) : nullptr;
}

void *GetNext(void *handle, void *entry) {
    TableCall call("DXR_HashGetNext", __builtin_return_address(0));
    if (!call.Open(handle)) {
        return nullptr;
    }
    const Table &table = call.TheTable();
    const auto *const at = static_cast<Entry *>(call->handles.Find(entry, HandleType::kHashEntry));
    if (at != nullptr && at->table == &table) {
        return FirstAfter(table, at->order);
    }
    // The latest removal with that handle; a number can have come back since.
    uint64_t order = 0;
    for (const Removed &each : table.removed) {
        order = each.handle == entry && each.order > order ? each.order : order;
    }
    if (entry != nullptr && order != 0) {
        return FirstAfter(table, order);
    }
    call.Unlock();
    if (at != nullptr) {
        call.Misuse(kService, "the entry belongs to another table");
    } else {
        (void)call.Find<Entry>(kService, entry, HandleType::kHashEntry);
    }
    return nullptr;
}

void *GetFromEntry(void *handle, uint32_t what, uint32_t offset) {
    const Call call("DXR_HashGetFromEntry");
    if (!call) {
        return nullptr;
    }
    if (what > DXR_HOST_HASH_DATA) {
        call.Misuse(kService, "neither key nor data");
        return nullptr;
    }
    {
        const std::lock_guard lock(StateOf(*call).mutex);
        const auto *const entry =
            static_cast<Entry *>(call->handles.Find(handle, HandleType::kHashEntry));
        if (entry != nullptr) {
            if (what == DXR_HOST_HASH_KEY) {
                return offset < entry->keyBytes ? entry->key.get() + offset : nullptr;
            }
            if (entry->dataBytes == 0) {
                return offset == 0 ? entry->pointer : nullptr;
            }
            return offset < entry->dataBytes ? entry->data.get() + offset : nullptr;
        }
    }
    (void)call.Find<Entry>(kService, handle, HandleType::kHashEntry);
    return nullptr;
}

}  // namespace

std::unique_ptr<Service> MakeHash(Host &host) {
    return std::make_unique<HashService>(host);
}

void FillHash(DxrHooks &hooks) {
    hooks.hash.hashCount = Guarded<Count, 0>;
    hooks.hash.hashCreate = Guarded<Create>;
    hooks.hash.hashFindKey = Guarded<FindKey>;
    hooks.hash.hashFree = Guarded<Free>;
    hooks.hash.hashGetBucketNum = Guarded<GetBucketNum, 0>;
    hooks.hash.hashGetFirst = Guarded<GetFirst>;
    hooks.hash.hashGetNext = Guarded<GetNext>;
    hooks.hash.hashGetMaxItem = Guarded<GetMaxItem, 0>;
    hooks.hash.hashInsert = Guarded<Insert>;
    hooks.hash.hashRemove = Guarded<Remove>;
    hooks.hash.hashGetFromEntry = Guarded<GetFromEntry>;
}

}  // namespace devhost
