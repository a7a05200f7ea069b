// Where the table manager's entries are: one index of all tables by hash, which readers search
// without a lock, and all entries in the order of their keys.
//
// Readers look at what a writer may be changing, and look again when a counter says that it was.
// For that all that they read is atomic, and no block is given back before the store ends: blocks
// are reused by size.
#ifndef DXR_DEVHOST_SYSTEM_TABLE_STORE_H
#define DXR_DEVHOST_SYSTEM_TABLE_STORE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <vector>

namespace devhost {

constexpr uint32_t kMostKeyBytes = 256;
constexpr uint32_t kMostDataBytes = 65536;

// Table and chip in one number, which orders entries by table, then by chip.
constexpr uint64_t TableWord(uint32_t tableId, uint32_t chip) {
    return uint64_t{tableId} << 32 | chip;
}

constexpr uint32_t WordsOf(uint32_t bytes) {
    return (bytes + 7) / 8;
}

// The key of an entry, as the store looks for it.
struct Key {
    // 1 to 256 bytes.
    Key(uint64_t tableWord, const void *key, uint32_t keyBytes);
    void SetTable(uint64_t tableWord);

    uint64_t table;
    uint64_t hash = 0;
    uint32_t bytes;
    std::array<uint64_t, kMostKeyBytes / 8> words;  // as many as there are; zeros after the bytes
};

// An entry. Its words are the key's, the data's and, if there is one, the mask's.
class Block {
  public:
    explicit Block(uint32_t wordCount);

    const uint32_t words;   // there is room for; all blocks of a size are alike
    Block *next = nullptr;  // of those that are free
    std::atomic<uint64_t> table{0};
    std::atomic<uint64_t> lengths{0};

    [[nodiscard]] std::atomic<uint64_t> *Content() {
        return std::launder(reinterpret_cast<std::atomic<uint64_t> *>(this + 1));
    }
    [[nodiscard]] const std::atomic<uint64_t> *Content() const {
        return std::launder(reinterpret_cast<const std::atomic<uint64_t> *>(this + 1));
    }

    // With the lock.
    [[nodiscard]] uint64_t Table() const { return table.load(std::memory_order_relaxed); }
    [[nodiscard]] uint32_t TableId() const { return static_cast<uint32_t>(Table() >> 32); }
    [[nodiscard]] uint32_t Chip() const { return static_cast<uint32_t>(Table()); }
    [[nodiscard]] uint32_t KeyBytes() const { return static_cast<uint32_t>(Lengths() & 0xFFFF); }
    [[nodiscard]] uint32_t DataBytes() const {
        return static_cast<uint32_t>(Lengths() >> 16 & 0xFFFFFFFF);
    }
    [[nodiscard]] bool HasMask() const { return Lengths() >> 63 != 0; }
    void CopyKey(void *to) const { Copy(to, 0, KeyBytes()); }
    void CopyData(void *to) const { Copy(to, WordsOf(KeyBytes()), DataBytes()); }
    // All bits are 1 without a mask.
    void CopyMask(void *to) const;

  private:
    [[nodiscard]] uint64_t Lengths() const { return lengths.load(std::memory_order_relaxed); }
    void Copy(void *to, uint32_t firstWord, uint32_t bytes) const;
};

// What an entry is to hold.
struct Content {
    const void *data = nullptr;
    uint32_t bytes = 0;
    const void *mask = nullptr;  // as many bytes; null: none
};

struct Record {
    uint64_t table = 0;
    const void *key = nullptr;
    uint32_t keyBytes = 0;
    Content content;
};

class TableStore {
  public:
    TableStore();
    ~TableStore();
    TableStore(const TableStore &) = delete;
    TableStore &operator=(const TableStore &) = delete;
    TableStore(TableStore &&) = delete;
    TableStore &operator=(TableStore &&) = delete;

    enum class Got : uint8_t { kNothing, kData, kNoRoom };

    // Copies the data of a key, at most `room` bytes, and says how many there are; null: copies
    // nothing. Where there is no such key, the same for that key in table word `otherwise`, which
    // the key may then have: one moment holds for both. Without the lock.
    Got Get(Key &key, uint64_t otherwise, void *data, uint32_t room, uint32_t &bytes);

    std::mutex mutex;  // for all that follows

    [[nodiscard]] Block *Find(const Key &key) const;
    // Sets an entry. Changes nothing when there is no memory.
    void Put(const Key &key, const Content &content);
    void Delete(Block *block);
    // All entries become these, which are in their order. Changes nothing when there is no memory.
    void Replace(const std::vector<Record> &records);
    [[nodiscard]] size_t Count() const { return order_.size(); }

    // The first entry from there on in the order of tables, chips and keys; null.
    [[nodiscard]] Block *From(uint64_t table) const;
    // The first entry after a key, which need not be there.
    [[nodiscard]] Block *After(const Key &key) const;

    template <typename Visit>
    void ForEach(Visit visit) const {
        for (const Block *const block : order_) {
            visit(*block);
        }
    }

  private:
    struct Slot {
        std::atomic<uint64_t> hash{0};
        std::atomic<Block *> block{nullptr};
    };
    struct Index {
        explicit Index(size_t slotCount) : mask(slotCount - 1), slots(slotCount) {}
        const size_t mask;
        std::vector<Slot> slots;
    };
    struct Less {
        using is_transparent = void;
        bool operator()(const Block *block, const Block *other) const;
        bool operator()(const Block *block, const Key &key) const;
        bool operator()(const Key &key, const Block *block) const;
        bool operator()(const Block *block, uint64_t table) const { return block->Table() < table; }
        bool operator()(uint64_t table, const Block *block) const { return table < block->Table(); }
    };
    class Writing;
    struct Slab;

    // What a reader finds; torn when a writer was at work.
    struct Seen {
        Got got = Got::kNothing;
        bool isWhole = false;
        uint32_t bytes = 0;
    };
    Seen Look(const Key &key, uint64_t *copy, uint32_t room) const;
    [[nodiscard]] Slot *SlotOf(const Key &key) const;
    Block *Take(uint32_t words);
    void GiveBack(Block *block);
    static void Fill(Block &block, const Key &key, const Content &content);
    static void Insert(Index &index, uint64_t hash, Block *block);
    void Remove(Slot &slot);
    Index &EmptyIndex(size_t slotCount);
    void ReserveIndex();
    static uint32_t WordsFor(const Key &key, const Content &content);

    static constexpr uint32_t kSizes = 20;  // of blocks: powers of two

    std::atomic<uint64_t> changes_{0};  // odd while a writer is at work
    std::atomic<Index *> index_{nullptr};
    std::vector<std::unique_ptr<Index>> indexes_;  // the current one and those that were
    std::set<Block *, Less> order_;
    std::array<Block *, kSizes> free_{};
    std::vector<std::unique_ptr<Slab>> slabs_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_SYSTEM_TABLE_STORE_H
