// The hash tables of a replay. Where an entry's key and data are is the host's, and no recording
// has it: they are made again from what the module adds, as the development host keeps them.
#ifndef DXR_TRACE_HASH_TABLES_H
#define DXR_TRACE_HASH_TABLES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "dxr_devhost/hash.h"

namespace dxr_trace {

class HashTables {
  public:
    // A call of the module's, with its own arguments, that the recording answered with `result`.
    // Tables and entries are named as the recording names them. The function that a table compares
    // with may be called. Gives what DXR_HashGetFromEntry gives now, null when the module has not
    // put that in; `result` for all others, and for entries that are not known. Throws
    // std::bad_alloc.
    uint64_t Follow(std::string_view function, std::span<const uint64_t> words, uint64_t result);

  private:
    using Bytes = std::unique_ptr<std::byte[]>;  // aligned for any type

    struct Item {
        Bytes key;
        size_t keySize;
        Bytes data;  // null: the entry holds a pointer
        size_t dataSize;
        uint64_t pointer;
    };

    struct Table {
        uint32_t keyBytes;  // 0: texts
        DxrHostHashCompare compare;
        void *user;
        uint64_t added = 0;
        std::map<uint64_t, Item> items;           // in the order in which they were added
        std::map<std::string, uint64_t> numbers;  // by all bytes of their keys, without `compare`

        [[nodiscard]] std::string_view KeyAt(const char *key) const;
    };

    struct Entry {
        uint64_t table;
        uint64_t number;  // stays when the item is removed: a walk goes on from there
    };

    void Create(uint64_t options, uint64_t table);
    void Free(uint64_t table);
    static void Insert(Table &table, const char *key, uint64_t data, size_t bytes);
    static void Remove(Table &table, const char *key);
    static std::map<uint64_t, Item>::iterator Find(Table &table, const char *key);
    [[nodiscard]] uint64_t Place(uint64_t entry, uint64_t what, uint64_t offset,
                                 uint64_t unknown) const;

    std::map<uint64_t, Table> tables_;
    std::map<uint64_t, Entry> entries_;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_HASH_TABLES_H
