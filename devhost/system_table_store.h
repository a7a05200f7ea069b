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
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

namespace table_read {

constexpr uint32_t kCopiedWords = 32;   // more are copied with the lock
constexpr uint32_t kWordsAtHand = 4;    // more go through memory on their way
constexpr uint32_t kMostQuickKey = 64;  // bytes

inline uint64_t Mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
}

inline uint64_t WordAt(const unsigned char *from) {
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

// A word that begins with `bytes` bytes, less than 8, zeros after them: without a call, and without
// going through memory where that can be.
inline uint64_t PartOfWord(const unsigned char *from, uint32_t bytes) {
    uint64_t word = 0;
    if constexpr (std::endian::native != std::endian::little) {
        std::memcpy(&word, from, bytes);
        return word;
    }
    uint32_t bits = 0;
    if ((bytes & 4) != 0) {
        uint32_t four = 0;
        std::memcpy(&four, from, 4);
        word = four;
        bits = 32;
        from += 4;
    }
    if ((bytes & 2) != 0) {
        uint16_t two = 0;
        std::memcpy(&two, from, 2);
        word |= uint64_t{two} << bits;
        bits += 16;
        from += 2;
    }
    return (bytes & 1) != 0 ? word | uint64_t{*from} << bits : word;
}

// The first bytes of a word, less than 8.
inline void PutPartOfWord(unsigned char *to, uint64_t word, uint32_t bytes) {
    if constexpr (std::endian::native != std::endian::little) {
        std::memcpy(to, &word, bytes);
        return;
    }
    if ((bytes & 4) != 0) {
        const auto four = static_cast<uint32_t>(word);
        std::memcpy(to, &four, 4);
        word >>= 32;
        to += 4;
    }
    if ((bytes & 2) != 0) {
        const auto two = static_cast<uint16_t>(word);
        std::memcpy(to, &two, 2);
        word >>= 16;
        to += 2;
    }
    if ((bytes & 1) != 0) {
        *to = static_cast<unsigned char>(word);
    }
}

// Four words at a time, then one.
template <typename CopyWord>
inline void ForEachOf(uint32_t words, CopyWord copyWord) {
    uint32_t i = 0;
    for (; words - i >= 4; i += 4) {
        copyWord(i);
        copyWord(i + 1);
        copyWord(i + 2);
        copyWord(i + 3);
    }
    for (; i < words; ++i) {
        copyWord(i);
    }
}

// Word by word, as they were written just before: a wider load would have to wait for two stores.
inline void CopyOut(void *to, uint64_t *words, uint32_t bytes) {
    auto *const begin = static_cast<unsigned char *>(to);
    const uint32_t whole = bytes / 8;
    ForEachOf(whole, [begin, words](uint32_t i) {
        const uint64_t word = std::atomic_ref(words[i]).load(std::memory_order_relaxed);
        std::memcpy(begin + size_t{i} * 8, &word, 8);
    });
    if (bytes % 8 != 0) {
        PutPartOfWord(begin + size_t{whole} * 8, words[whole], bytes % 8);
    }
}

// A key where the caller has it: its words are read there. 1 to 64 bytes.
class KeyInPlace {
  public:
    KeyInPlace(const void *key, uint32_t bytes)
        : begin_(static_cast<const unsigned char *>(key)), bytes_(bytes) {
        if (bytes % 8 != 0) {
            last_ = bytes < 8 ? PartOfWord(begin_, bytes) : EndOfWord();
        }
    }

    [[nodiscard]] uint64_t Hash(uint64_t table) const {
        uint64_t hash = Mix(bytes_, table);
        const unsigned char *const end = begin_ + size_t{bytes_ / 8} * 8;
        for (const unsigned char *at = begin_; at != end; at += 8) {
            hash = Mix(hash, WordAt(at));
        }
        return bytes_ % 8 != 0 ? Mix(hash, last_) : hash;
    }

    // Tells whether those words are the key's; they may be changing.
    [[nodiscard]] bool Is(const std::atomic<uint64_t> *word) const {
        uint64_t differs = 0;
        const unsigned char *const end = begin_ + size_t{bytes_ / 8} * 8;
        for (const unsigned char *at = begin_; at != end; at += 8) {
            differs |= (word++)->load(std::memory_order_acquire) ^ WordAt(at);
        }
        if (bytes_ % 8 != 0) {
            differs |= word->load(std::memory_order_acquire) ^ last_;
        }
        return differs == 0;
    }

  private:
    // Of the last eight bytes those that are in no whole word.
    [[nodiscard]] uint64_t EndOfWord() const {
        const uint64_t word = WordAt(begin_ + bytes_ - 8);
        const uint32_t others = 64 - bytes_ % 8 * 8;
        return std::endian::native == std::endian::little ? word >> others : word << others;
    }

    const unsigned char *const begin_;
    const uint32_t bytes_;
    uint64_t last_ = 0;  // the word after the whole ones: zeros after its bytes
};

}  // namespace table_read

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

    // The quick way of Get, for keys of at most 64 bytes: copies the data, at most `room` bytes,
    // and says how many there are. kNotThere, and nothing is written, when Get is to be asked.
    static constexpr uint32_t kNotThere = 0xFFFFFFFF;
    uint32_t GetQuickly(uint64_t table, const void *key, uint32_t keyBytes, void *data,
                        uint32_t room) const;

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

    // Whether no writer was at work from the counter's value `before` on.
    [[nodiscard]] bool IsStill(uint64_t before) const {
        return (before & 1) == 0 && changes_.load(std::memory_order_relaxed) == before;
    }
    // The end of GetQuickly for more data.
    uint32_t CopyQuickly(const std::atomic<uint64_t> *content, uint64_t before, void *data,
                         uint32_t bytes) const;

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

// Each load is an acquire: the counter is read after all of them.
[[gnu::always_inline]] inline uint32_t TableStore::GetQuickly(uint64_t table, const void *key,
                                                              uint32_t keyBytes, void *data,
                                                              uint32_t room) const {
    constexpr auto kOrder = std::memory_order_acquire;
    constexpr size_t kMostSteps = 16;
    const table_read::KeyInPlace inPlace(key, keyBytes);
    const uint64_t hash = inPlace.Hash(table);
    const uint64_t before = changes_.load(kOrder);
    const Index &index = *index_.load(kOrder);
    const Slot *const slots = index.slots.data();
    const Block *block = nullptr;
    size_t at = hash;
    do {
        const Slot &slot = slots[at++ & index.mask];
        block = slot.block.load(kOrder);
        if (block == nullptr) {
            return kNotThere;
        }
        if (slot.hash.load(kOrder) == hash) {
            break;
        }
        block = nullptr;
    } while (at - hash < kMostSteps);
    if (block == nullptr) [[unlikely]] {
        return kNotThere;
    }
    const uint64_t lengths = block->lengths.load(kOrder);
    const auto bytes = static_cast<uint32_t>(lengths >> 16);
    const uint32_t keyWords = WordsOf(keyBytes);
    const uint32_t words = WordsOf(bytes);
    // Words that are there, whatever the lengths: they may be of another entry already.
    if (block->table.load(kOrder) != table || (lengths & 0xFFFF) != keyBytes || bytes > room ||
        words > table_read::kCopiedWords || keyWords + words > block->words ||
        !inPlace.Is(block->Content())) [[unlikely]] {
        return kNotThere;
    }
    const std::atomic<uint64_t> *const content = block->Content() + keyWords;
    if (words > table_read::kWordsAtHand) {
        return CopyQuickly(content, before, data, bytes);
    }
    uint64_t copy[table_read::kWordsAtHand] = {};
#pragma GCC unroll 4
    for (uint32_t i = 0; i < table_read::kWordsAtHand; ++i) {
        if (i < words) {
            copy[i] = content[i].load(kOrder);
        }
    }
    if (!IsStill(before)) [[unlikely]] {
        return kNotThere;
    }
    auto *to = static_cast<unsigned char *>(data);
    uint32_t left = bytes;
#pragma GCC unroll 4
    for (const uint64_t word : copy) {
        if (left < 8) {
            table_read::PutPartOfWord(to, word, left);
            break;
        }
        std::memcpy(to, &word, 8);
        to += 8;
        left -= 8;
    }
    return bytes;
}

}  // namespace devhost

#endif  // DXR_DEVHOST_SYSTEM_TABLE_STORE_H
