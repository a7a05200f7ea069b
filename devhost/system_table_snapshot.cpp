// All tables to a file and back.
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <system_error>

#include "system_table.h"

namespace devhost {
namespace {

// The file: this, the counts of what follows, the tables, the pools that have a limit, and the
// entries in their order: for each its lengths, key, data and mask. Numbers as the machine has
// them.
struct Header {
    std::array<char, 8> mark;
    uint32_t version;
    uint32_t crc;    // of all after the header
    uint64_t bytes;  // the same
};
constexpr std::array<char, 8> kMark = {'d', 'x', 'r', 't', 'a', 'b', 'l', 'e'};
constexpr uint32_t kVersion = 1;

struct Amounts {
    uint32_t tables;
    uint32_t pools;
    uint64_t entries;
};

struct PoolRecord {
    uint32_t chip;
    uint32_t number;
    uint32_t capacity;
};

struct EntryRecord {
    uint32_t tableId;
    uint32_t chip;
    uint32_t keyBytes;
    uint32_t dataBytes;
    uint32_t hasMask;
};

// A piece at a time: zlib counts bytes in 32 bits.
uint32_t CrcOf(const unsigned char *data, size_t bytes) {
    constexpr size_t kPiece = size_t{1} << 30;
    uLong crc = crc32(0, nullptr, 0);
    for (size_t at = 0; at < bytes; at += kPiece) {
        crc = crc32(crc, data + at, static_cast<uInt>(std::min(kPiece, bytes - at)));
    }
    return static_cast<uint32_t>(crc);
}

// --- To the file

template <typename Value>
void Append(Bytes &to, const Value &value) {
    const auto *const begin = reinterpret_cast<const unsigned char *>(&value);
    to.insert(to.end(), begin, begin + sizeof(value));
}

void AppendEntry(Bytes &to, const Block &block) {
    const EntryRecord record{block.TableId(), block.Chip(), block.KeyBytes(), block.DataBytes(),
                             block.HasMask() ? 1U : 0U};
    Append(to, record);
    size_t at = to.size();
    to.resize(at + record.keyBytes + size_t{record.dataBytes} * (record.hasMask + 1));
    block.CopyKey(&to[at]);
    at += record.keyBytes;
    if (record.dataBytes != 0) {
        block.CopyData(&to[at]);
        if (record.hasMask != 0) {
            block.CopyMask(&to[at + record.dataBytes]);
        }
    }
}

// With the lock.
Bytes Encode(const TableService &state) {
    Bytes content(sizeof(Header));
    Amounts amounts{static_cast<uint32_t>(state.tables.size()), 0, state.store.Count()};
    for (const auto &[key, pool] : state.pools) {
        amounts.pools += pool.capacity != kNoLimit ? 1 : 0;
    }
    Append(content, amounts);
    for (const auto &[tableId, table] : state.tables) {
        Append(content, table.about);
    }
    for (const auto &[key, pool] : state.pools) {
        if (pool.capacity != kNoLimit) {
            Append(content, PoolRecord{key.first, key.second, pool.capacity});
        }
    }
    state.store.ForEach([&content](const Block &block) { AppendEntry(content, block); });
    const size_t bytes = content.size() - sizeof(Header);
    const Header header{kMark, kVersion, CrcOf(content.data() + sizeof(Header), bytes), bytes};
    std::memcpy(content.data(), &header, sizeof(header));
    return content;
}

// --- From the file

// What a file says; the records' keys and data are in its content.
struct Snapshot {
    Tables tables;
    Counts counts;
    Pools pools;
    std::vector<Record> records;
};

// Goes through a file's content; nothing beyond its end is read.
class Reader {
  public:
    Reader(const Bytes &content, size_t at) : content_(content), at_(at) {}

    template <typename Value>
    bool Take(Value &value) {
        const unsigned char *const from = TakeBytes(sizeof(value));
        if (from != nullptr) {
            std::memcpy(&value, from, sizeof(value));
        }
        return from != nullptr;
    }
    const unsigned char *TakeBytes(size_t bytes) {
        if (bytes > content_.size() - at_) {
            return nullptr;
        }
        at_ += bytes;
        return content_.data() + at_ - bytes;
    }
    [[nodiscard]] size_t At() const { return at_; }
    [[nodiscard]] bool IsAtEnd() const { return at_ == content_.size(); }

  private:
    const Bytes &content_;
    size_t at_;
};

// Why it is not one; empty when it is.
std::string CheckHeader(const Bytes &content) {
    Header header{};
    if (content.size() < sizeof(header.mark) ||
        std::memcmp(content.data(), kMark.data(), kMark.size()) != 0) {
        return "is no snapshot of tables";
    }
    std::memcpy(&header, content.data(), std::min(sizeof(header), content.size()));
    if (content.size() < sizeof(header)) {
        return "is torn: it ends within its header";
    }
    if (header.version != kVersion) {
        return "is of version " + std::to_string(header.version) + ", but only " +
               std::to_string(kVersion) + " is known";
    }
    const size_t bytes = content.size() - sizeof(header);
    if (header.bytes != bytes) {
        return "is torn: " + std::to_string(bytes) + " bytes follow its header, not " +
               std::to_string(header.bytes);
    }
    if (header.crc != CrcOf(content.data() + sizeof(header), bytes)) {
        return "is torn: its checksum is another one";
    }
    return {};
}

bool ComesAfter(const Record &record, const Record &before) {
    if (record.table != before.table) {
        return record.table > before.table;
    }
    const int order =
        std::memcmp(record.key, before.key, std::min(record.keyBytes, before.keyBytes));
    return order != 0 ? order > 0 : record.keyBytes > before.keyBytes;
}

bool TakeTables(Reader &reader, uint32_t count, Snapshot &snapshot) {
    for (uint32_t i = 0; i < count; ++i) {
        Table table;
        if (!reader.Take(table.about) || !IsTable(table.about) ||
            snapshot.tables.contains(table.about.tableId)) {
            return false;
        }
        table.about.entries = 0;  // counted anew
        snapshot.tables.emplace(table.about.tableId, table);
    }
    return true;
}

bool TakePools(Reader &reader, uint32_t count, Snapshot &snapshot) {
    for (uint32_t i = 0; i < count; ++i) {
        PoolRecord record{};
        if (!reader.Take(record) || record.chip > kMostChip || record.number > 0xFFFF) {
            return false;
        }
        snapshot.pools[{record.chip, record.number}].capacity = record.capacity;
    }
    return true;
}

bool TakeEntry(Reader &reader, Snapshot &snapshot) {
    EntryRecord record{};
    if (!reader.Take(record) || record.keyBytes == 0 || record.keyBytes > kMostKeyBytes ||
        record.dataBytes > kMostDataBytes || record.hasMask > 1 || record.chip > kMostChip) {
        return false;
    }
    Record entry{TableWord(record.tableId, record.chip),
                 reader.TakeBytes(record.keyBytes),
                 record.keyBytes,
                 {}};
    entry.content.data = reader.TakeBytes(record.dataBytes);
    entry.content.bytes = record.dataBytes;
    const void *const mask = reader.TakeBytes(record.hasMask != 0 ? record.dataBytes : 0);
    entry.content.mask = record.hasMask != 0 ? mask : nullptr;
    const auto table = snapshot.tables.find(record.tableId);
    if (entry.key == nullptr || entry.content.data == nullptr || mask == nullptr ||
        table == snapshot.tables.end() ||
        (!snapshot.records.empty() && !ComesAfter(entry, snapshot.records.back()))) {
        return false;
    }
    DxrHostTable &about = table->second.about;
    if ((about.keyBytes != 0 && about.keyBytes != record.keyBytes) ||
        (about.dataBytes != 0 && record.dataBytes != 0 && about.dataBytes != record.dataBytes)) {
        return false;
    }
    ++about.entries;
    ++snapshot.counts[entry.table];
    ++snapshot.pools[{record.chip, about.pool}].used;
    snapshot.records.push_back(entry);
    return true;
}

// Why not; empty when the content is a snapshot.
std::string Decode(const Bytes &content, Snapshot &snapshot) {
    std::string why = CheckHeader(content);
    if (!why.empty()) {
        return why;
    }
    Reader reader(content, sizeof(Header));
    Amounts amounts{};
    bool isWell = reader.Take(amounts) && TakeTables(reader, amounts.tables, snapshot) &&
                  TakePools(reader, amounts.pools, snapshot);
    for (uint64_t i = 0; isWell && i < amounts.entries; ++i) {
        isWell = TakeEntry(reader, snapshot);
    }
    if (!isWell || !reader.IsAtEnd()) {
        return "is torn: what is before byte " + std::to_string(reader.At()) +
               " cannot be in a snapshot";
    }
    return {};
}

// Static tables stay, without entries where the file has none. Tables that there were keep the
// place that made them; others were made by whoever loads them.
void Take(TableService &state, Snapshot &snapshot, const Place &made) {
    const std::lock_guard lock(state.store.mutex);
    for (auto &[tableId, table] : snapshot.tables) {
        table.made = made;
    }
    for (const auto &[tableId, before] : state.tables) {
        auto found = snapshot.tables.find(tableId);
        if (found == snapshot.tables.end()) {
            if (before.about.isStatic == 0) {
                continue;
            }
            found = snapshot.tables.emplace(tableId, before).first;
            found->second.about.entries = 0;
        }
        found->second.about.isStatic |= before.about.isStatic;
        found->second.made = before.made;
    }
    state.store.Replace(snapshot.records);
    state.tables.swap(snapshot.tables);
    state.counts.swap(snapshot.counts);
    state.pools.swap(snapshot.pools);
}

std::string PathOf(Host &host, const char *path) {
    return path != nullptr ? path : host.options.workPath + "/tables.bin";
}

// Why not; empty when all went well.
std::string Save(Host &host, const char *given) {
    TableService &state = TablesOf(host);
    const std::string path = PathOf(host, given);
    // One after the other: what is saved last is what was set last.
    const std::lock_guard saving(state.saving);
    Bytes content;
    {
        const std::lock_guard lock(state.store.mutex);
        content = Encode(state);
    }
    const std::string failed = state.file.Write(path, content);
    return failed.empty() ? "" : path + ": could not be " + failed;
}

std::string Load(Host &host, const char *given, const void *caller) {
    TableService &state = TablesOf(host);
    const std::string path = PathOf(host, given);
    const Place made{"DxrHostLoadTables", caller};
    Bytes content;
    std::string why;
    const int error = state.readFails.Fails() ? EIO : ReadWholeFile(path, content);
    Snapshot snapshot;
    if (error != 0) {
        why = "cannot be read: " + std::generic_category().message(error);
    } else {
        why = Decode(content, snapshot);
    }
    if (!why.empty()) {
        why = path + ": " + why;
        host.reports.Add(DXR_HOST_REPORT_MISUSE, kTable, made, "snapshot", why);
        return why;
    }
    Take(state, snapshot, made);
    return {};
}

// Runs one of both; what goes wrong is at `error`.
template <typename Action>
bool Try(DxrHost *host, char *error, uint32_t errorSize, Action action) {
    std::string why;
    const char *text = "there is no host";
    try {
        const ApiCall call(host);
        if (call) {
            why = action(*call);
            text = why.c_str();
        }
    } catch (const std::exception &) {
        text = "no memory";
    }
    if (error != nullptr && errorSize > 0) {
        (void)std::snprintf(error, errorSize, "%s", text);
    }
    return text[0] == '\0';
}

}  // namespace
}  // namespace devhost

bool DxrHostSaveTables(DxrHost *host, const char *path, char *error, uint32_t errorSize) {
    return devhost::Try(host, error, errorSize,
                        [path](devhost::Host &of) { return devhost::Save(of, path); });
}

bool DxrHostLoadTables(DxrHost *host, const char *path, char *error, uint32_t errorSize) {
    const void *const caller = __builtin_return_address(0);
    return devhost::Try(host, error, errorSize, [path, caller](devhost::Host &of) {
        return devhost::Load(of, path, caller);
    });
}
