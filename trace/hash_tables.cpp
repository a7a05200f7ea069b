#include "hash_tables.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "hash_keys.h"
#include "words.h"

namespace dxr_trace {
namespace {

// Of an entry that was there and is not now: the module has not put it in.
constexpr uint64_t kNoItem = UINT64_MAX;

std::unique_ptr<std::byte[]> CopyOf(const void *bytes, size_t size) {
    auto copy = std::make_unique<std::byte[]>(size);
    std::memcpy(copy.get(), bytes, size);
    return copy;
}

}  // namespace

uint64_t HashTables::Follow(std::string_view function, std::span<const uint64_t> words,
                            uint64_t result) {
    if (function == "DXR_HashCreate") {
        Create(words[0], result);
        return result;
    }
    if (function == "DXR_HashGetFromEntry") {
        return Place(words[0], words[1], words[2], result);
    }
    const auto found = tables_.find(words[0]);
    if (found == tables_.end()) {
        return result;
    }
    Table &table = found->second;
    const auto name = [&](std::map<uint64_t, Item>::iterator item) {
        if (result != 0) {
            entries_[result] = {words[0], item != table.items.end() ? item->first : kNoItem};
        }
    };
    if (function == "DXR_HashFindKey") {
        if (result != 0) {
            name(Find(table, FromWord<const char *>(words[1])));
        }
    } else if (function == "DXR_HashGetFirst") {
        name(table.items.begin());
    } else if (function == "DXR_HashGetNext") {
        const auto before = entries_.find(words[1]);
        if (before != entries_.end() && before->second.table == words[0]) {
            name(table.items.upper_bound(before->second.number));
        }
    } else if (result != 0) {
        return result;  // nothing has changed
    } else if (function == "DXR_HashFree") {
        Free(words[0]);
    } else if (function == "DXR_HashRemove") {
        Remove(table, FromWord<const char *>(words[1]));
    } else if (function == "DXR_HashInsert") {
        Insert(table, FromWord<const char *>(words[1]), words[2], static_cast<size_t>(words[3]));
    }
    return result;
}

std::string_view HashTables::Table::KeyAt(const char *key) const {
    constexpr size_t kLongestKey = 4096;
    return {key, keyBytes != 0 ? keyBytes : std::min(strnlen(key, kLongestKey) + 1, kLongestKey)};
}

void HashTables::Create(uint64_t options, uint64_t table) {
    DxrHostHashOptions read{};
    if (table == 0 || !ReadHashOptions(options, read)) {
        return;
    }
    Free(table);
    LearnHashKeys(options, table);
    tables_[table] = {read.keyBytes, read.compare, read.user, 0, {}, {}};
}

void HashTables::Free(uint64_t table) {
    ForgetHashKeys(table);
    tables_.erase(table);
    std::erase_if(entries_, [table](const auto &entry) { return entry.second.table == table; });
}

std::map<uint64_t, HashTables::Item>::iterator HashTables::Find(Table &table, const char *key) {
    if (table.compare != nullptr) {
        return std::find_if(table.items.begin(), table.items.end(), [&](const auto &item) {
            return table.compare(key, item.second.key.get(), table.user) == 0;
        });
    }
    const auto found = table.numbers.find(std::string(table.KeyAt(key)));
    return found != table.numbers.end() ? table.items.find(found->second) : table.items.end();
}

void HashTables::Insert(Table &table, const char *key, uint64_t data, size_t bytes) {
    Bytes copy = bytes != 0 ? CopyOf(FromWord<const void *>(data), bytes) : nullptr;
    const auto known = Find(table, key);
    if (known != table.items.end()) {
        known->second.data = std::move(copy);
        known->second.dataSize = bytes;
        known->second.pointer = data;
        return;
    }
    const std::string_view all = table.KeyAt(key);
    Item item{CopyOf(all.data(), all.size()), all.size(), std::move(copy), bytes, data};
    if (table.compare == nullptr) {
        table.numbers[std::string(all)] = table.added;
    }
    table.items.emplace(table.added, std::move(item));
    ++table.added;
}

void HashTables::Remove(Table &table, const char *key) {
    const auto item = Find(table, key);
    if (item == table.items.end()) {
        return;
    }
    if (table.compare == nullptr) {
        table.numbers.erase(std::string(table.KeyAt(key)));
    }
    table.items.erase(item);
}

uint64_t HashTables::Place(uint64_t entry, uint64_t what, uint64_t offset, uint64_t unknown) const {
    const auto named = entries_.find(entry);
    if (unknown == 0 || named == entries_.end()) {
        return unknown;
    }
    const auto table = tables_.find(named->second.table);
    if (table == tables_.end()) {
        return unknown;
    }
    const auto found = table->second.items.find(named->second.number);
    if (found == table->second.items.end()) {
        return 0;
    }
    const Item &item = found->second;
    if (what == DXR_HOST_HASH_DATA && item.data == nullptr) {
        return item.pointer;
    }
    const bool isKey = what == DXR_HOST_HASH_KEY;
    const size_t size = isKey ? item.keySize : item.dataSize;
    return offset < size ? ToWord((isKey ? item.key : item.data).get() + offset) : 0;
}

}  // namespace dxr_trace
