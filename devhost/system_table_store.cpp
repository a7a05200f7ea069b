#include "system_table_store.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace devhost {
namespace {

constexpr size_t kFirstSlots = 64;
constexpr uint32_t kFewestWords = 4;
constexpr uint32_t kSlabWords = 2048;
constexpr uint32_t kMostTries = 64;
constexpr uint64_t kMaskBit = uint64_t{1} << 63;

uint64_t HashOf(uint64_t table, const Key &key) {
    uint64_t hash = table_read::Mix(key.bytes, table);
    for (uint32_t i = 0; i < WordsOf(key.bytes); ++i) {
        hash = table_read::Mix(hash, key.words[i]);
    }
    return hash;
}

// As a number, the word's bytes have the order of their addresses.
uint64_t InOrder(uint64_t word) {
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// Calls `store` with the words of so many bytes, zeros after the last of them.
template <typename Store>
void ForEachWord(const void *from, uint32_t bytes, Store store) {
    const auto *const begin = static_cast<const unsigned char *>(from);
    uint32_t at = 0;
    for (; bytes - at >= 8; at += 8) {
        uint64_t word = 0;
        std::memcpy(&word, begin + at, 8);
        store(word);
    }
    if (at < bytes) {
        store(table_read::PartOfWord(begin + at, bytes - at));
    }
}

// Less than 0, 0 or more, as the block comes before another key, is of it, or comes after it.
template <typename WordAt>
int Compare(const Block &block, uint64_t table, uint32_t bytes, WordAt wordAt) {
    if (block.Table() != table) {
        return block.Table() < table ? -1 : 1;
    }
    const uint32_t words = WordsOf(std::min(block.KeyBytes(), bytes));
    for (uint32_t i = 0; i < words; ++i) {
        const uint64_t word = InOrder(block.Content()[i].load(std::memory_order_relaxed));
        const uint64_t against = InOrder(wordAt(i));
        if (word != against) {
            return word < against ? -1 : 1;
        }
    }
    return block.KeyBytes() < bytes ? -1 : static_cast<int>(block.KeyBytes() > bytes);
}

int Compare(const Block &block, const Key &key) {
    return Compare(block, key.table, key.bytes, [&key](uint32_t i) { return key.words[i]; });
}

Key KeyOf(const Block &block) {
    std::array<unsigned char, kMostKeyBytes> key;
    block.CopyKey(key.data());
    return {block.Table(), key.data(), block.KeyBytes()};
}

}  // namespace

Key::Key(uint64_t tableWord, const void *key, uint32_t keyBytes)
    : table(tableWord), bytes(keyBytes) {
    uint64_t *to = words.data();
    ForEachWord(key, keyBytes, [&to](uint64_t word) { *to++ = word; });
    hash = HashOf(table, *this);
}

void Key::SetTable(uint64_t tableWord) {
    table = tableWord;
    hash = HashOf(table, *this);
}

Block::Block(uint32_t wordCount) : words(wordCount) {
    std::uninitialized_value_construct_n(reinterpret_cast<std::atomic<uint64_t> *>(this + 1),
                                         words);
}

void Block::Copy(void *to, uint32_t firstWord, uint32_t bytes) const {
    auto *const begin = static_cast<unsigned char *>(to);
    const std::atomic<uint64_t> *word = Content() + firstWord;
    for (uint32_t i = 0; i < bytes; i += 8) {
        const uint64_t value = (word++)->load(std::memory_order_relaxed);
        std::memcpy(begin + i, &value, bytes - i < 8 ? bytes - i : 8);
    }
}

void Block::CopyMask(void *to) const {
    if (HasMask()) {
        Copy(to, WordsOf(KeyBytes()) + WordsOf(DataBytes()), DataBytes());
    } else if (DataBytes() != 0) {
        std::memset(to, 0xFF, DataBytes());
    }
}

// Blocks of a size, one after the other; small ones do not cross cache lines.
struct TableStore::Slab {
    static constexpr size_t kLine = 64;

    explicit Slab(size_t bytes)
        : room(std::make_unique_for_overwrite<unsigned char[]>(bytes + kLine)),
          first(room.get() + (kLine - reinterpret_cast<uintptr_t>(room.get()) % kLine)) {}

    const std::unique_ptr<unsigned char[]> room;
    unsigned char *const first;
};

// While there is one, what readers see may be torn. Stores within it must be releases, so that
// none is seen before the counter is odd.
class TableStore::Writing {
  public:
    explicit Writing(TableStore &store) : changes_(store.changes_) {
        changes_.store(changes_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    ~Writing() {
        changes_.store(changes_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }
    Writing(const Writing &) = delete;
    Writing &operator=(const Writing &) = delete;
    Writing(Writing &&) = delete;
    Writing &operator=(Writing &&) = delete;

  private:
    std::atomic<uint64_t> &changes_;
};

TableStore::TableStore() {
    indexes_.push_back(std::make_unique<Index>(kFirstSlots));
    index_.store(indexes_.back().get(), std::memory_order_release);
}

TableStore::~TableStore() = default;

bool TableStore::Less::operator()(const Block *block, const Block *other) const {
    return Compare(*block, other->Table(), other->KeyBytes(), [other](uint32_t i) {
               return other->Content()[i].load(std::memory_order_relaxed);
           }) < 0;
}

bool TableStore::Less::operator()(const Block *block, const Key &key) const {
    return Compare(*block, key) < 0;
}

bool TableStore::Less::operator()(const Key &key, const Block *block) const {
    return Compare(*block, key) > 0;
}

// --- Readers. Each load is an acquire: the counter is read after all of them.

TableStore::Seen TableStore::Look(const Key &key, uint64_t *copy, uint32_t room) const {
    constexpr auto kOrder = std::memory_order_acquire;
    const Index &index = *index_.load(kOrder);
    const uint32_t keyWords = WordsOf(key.bytes);
    for (size_t step = 0; step <= index.mask; ++step) {
        const Slot &slot = index.slots[(key.hash + step) & index.mask];
        const Block *const block = slot.block.load(kOrder);
        if (block == nullptr) {
            return {Got::kNothing, true, 0};
        }
        if (slot.hash.load(kOrder) != key.hash || block->words < keyWords ||
            block->table.load(kOrder) != key.table) {
            continue;
        }
        const uint64_t lengths = block->lengths.load(kOrder);
        if ((lengths & 0xFFFF) != key.bytes) {
            continue;
        }
        const std::atomic<uint64_t> *word = block->Content();
        uint64_t differs = 0;
        for (uint32_t i = 0; i < keyWords; ++i) {
            differs |= (word++)->load(kOrder) ^ key.words[i];
        }
        if (differs != 0) {
            continue;
        }
        const auto bytes = static_cast<uint32_t>(lengths >> 16 & 0xFFFFFFFF);
        if (copy == nullptr) {
            return {Got::kData, true, bytes};
        }
        if (bytes > room) {
            return {Got::kNoRoom, true, bytes};
        }
        const uint32_t words = WordsOf(bytes);
        if (words > table_read::kCopiedWords || words > block->words - keyWords) {
            return {};
        }
        for (uint32_t i = 0; i < words; ++i) {
            copy[i] = (word++)->load(kOrder);
        }
        return {Got::kData, true, bytes};
    }
    return {};
}

uint32_t TableStore::CopyQuickly(const std::atomic<uint64_t> *content, uint64_t before, void *data,
                                 uint32_t bytes) const {
    uint64_t copy[table_read::kCopiedWords];
    table_read::ForEachOf(WordsOf(bytes), [&copy, content](uint32_t i) {
        copy[i] = content[i].load(std::memory_order_acquire);
    });
    if (!IsStill(before)) {
        return kNotThere;
    }
    table_read::CopyOut(data, copy, bytes);
    return bytes;
}

TableStore::Got TableStore::Get(Key &key, uint64_t otherwise, void *data, uint32_t room,
                                uint32_t &bytes) {
    const uint64_t first = key.table;
    for (uint32_t tries = 0; tries < kMostTries; ++tries) {
        uint64_t copy[table_read::kCopiedWords];
        uint64_t *const to = data != nullptr ? copy : nullptr;
        const uint64_t before = changes_.load(std::memory_order_acquire);
        Seen seen = Look(key, to, room);
        if (seen.isWhole && seen.got == Got::kNothing && otherwise != first) {
            key.SetTable(otherwise);
            seen = Look(key, to, room);
        }
        if ((before & 1) == 0 && changes_.load(std::memory_order_relaxed) == before) {
            if (!seen.isWhole) {
                break;  // more than fits here
            }
            bytes = seen.bytes;
            if (data != nullptr && seen.got == Got::kData) {
                table_read::CopyOut(data, copy, bytes);
            }
            return seen.got;
        }
        if (key.table != first) {
            key.SetTable(first);
        }
    }
    key.SetTable(first);
    const std::lock_guard lock(mutex);
    const Block *block = Find(key);
    if (block == nullptr) {
        key.SetTable(otherwise);
        block = Find(key);
    }
    if (block == nullptr) {
        return Got::kNothing;
    }
    bytes = block->DataBytes();
    if (data != nullptr && bytes > room) {
        return Got::kNoRoom;
    }
    if (data != nullptr) {
        block->CopyData(data);
    }
    return Got::kData;
}

// --- Writers

TableStore::Slot *TableStore::SlotOf(const Key &key) const {
    Index &index = *index_.load(std::memory_order_relaxed);
    for (size_t at = key.hash & index.mask;; at = (at + 1) & index.mask) {
        Slot &slot = index.slots[at];
        const Block *const block = slot.block.load(std::memory_order_relaxed);
        if (block == nullptr) {
            return nullptr;
        }
        if (slot.hash.load(std::memory_order_relaxed) == key.hash && Compare(*block, key) == 0) {
            return &slot;
        }
    }
}

Block *TableStore::Find(const Key &key) const {
    const Slot *const slot = SlotOf(key);
    return slot != nullptr ? slot->block.load(std::memory_order_relaxed) : nullptr;
}

uint32_t TableStore::WordsFor(const Key &key, const Content &content) {
    return WordsOf(key.bytes) + WordsOf(content.bytes) * (content.mask != nullptr ? 2 : 1);
}

Block *TableStore::Take(uint32_t words) {
    words = std::bit_ceil(std::max(words, kFewestWords));
    Block *&first = free_[static_cast<size_t>(std::countr_zero(words))];
    if (first == nullptr) {
        const size_t bytes = sizeof(Block) + size_t{words} * sizeof(uint64_t);
        const uint32_t count = std::max(kSlabWords / words, 1U);
        slabs_.push_back(std::make_unique<Slab>(bytes * count));
        for (uint32_t i = count; i-- > 0;) {
            auto *const block = new (slabs_.back()->first + i * bytes) Block(words);
            block->next = std::exchange(first, block);
        }
    }
    return std::exchange(first, first->next);
}

void TableStore::GiveBack(Block *block) {
    Block *&first = free_[static_cast<size_t>(std::countr_zero(block->words))];
    block->next = std::exchange(first, block);
}

// A reader may still look at a block that is filled anew.
void TableStore::Fill(Block &block, const Key &key, const Content &content) {
    std::atomic<uint64_t> *to = block.Content();
    const auto store = [&to](uint64_t word) { (to++)->store(word, std::memory_order_release); };
    block.table.store(key.table, std::memory_order_release);
    block.lengths.store(
        key.bytes | uint64_t{content.bytes} << 16 | (content.mask != nullptr ? kMaskBit : 0),
        std::memory_order_release);
    for (uint32_t i = 0; i < WordsOf(key.bytes); ++i) {
        store(key.words[i]);
    }
    ForEachWord(content.data, content.bytes, store);
    if (content.mask != nullptr) {
        ForEachWord(content.mask, content.bytes, store);
    }
}

void TableStore::Insert(Index &index, uint64_t hash, Block *block) {
    size_t at = hash & index.mask;
    while (index.slots[at].block.load(std::memory_order_relaxed) != nullptr) {
        at = (at + 1) & index.mask;
    }
    index.slots[at].hash.store(hash, std::memory_order_release);
    index.slots[at].block.store(block, std::memory_order_release);
}

// An index with so many slots and nothing in it: one that was given up, or a new one. Readers may
// still look at the former.
TableStore::Index &TableStore::EmptyIndex(size_t slotCount) {
    const Index *const current = index_.load(std::memory_order_relaxed);
    for (const auto &index : indexes_) {
        if (index.get() != current && index->slots.size() == slotCount) {
            for (Slot &slot : index->slots) {
                slot.block.store(nullptr, std::memory_order_release);
            }
            return *index;
        }
    }
    indexes_.push_back(std::make_unique<Index>(slotCount));
    return *indexes_.back();
}

// Makes room for one more: at most half of the slots are in use.
void TableStore::ReserveIndex() {
    const Index &old = *index_.load(std::memory_order_relaxed);
    if ((order_.size() + 1) * 2 <= old.slots.size()) {
        return;
    }
    Index &index = EmptyIndex(old.slots.size() * 2);
    for (const Slot &slot : old.slots) {
        Block *const block = slot.block.load(std::memory_order_relaxed);
        if (block != nullptr) {
            Insert(index, slot.hash.load(std::memory_order_relaxed), block);
        }
    }
    const Writing writing(*this);
    index_.store(&index, std::memory_order_release);
}

void TableStore::Put(const Key &key, const Content &content) {
    const uint32_t words = WordsFor(key, content);
    Slot *const slot = SlotOf(key);
    if (slot == nullptr) {
        ReserveIndex();
        Block *const block = Take(words);
        Fill(*block, key, content);
        try {
            order_.insert(block);
        } catch (const std::bad_alloc &) {
            GiveBack(block);
            throw;
        }
        const Writing writing(*this);
        Insert(*index_.load(std::memory_order_relaxed), key.hash, block);
        return;
    }
    Block *const before = slot->block.load(std::memory_order_relaxed);
    if (before->words >= words) {
        const Writing writing(*this);
        Fill(*before, key, content);
        return;
    }
    Block *const block = Take(words);
    Fill(*block, key, content);
    auto node = order_.extract(before);
    node.value() = block;
    (void)order_.insert(std::move(node));
    {
        const Writing writing(*this);
        slot->block.store(block, std::memory_order_release);
    }
    GiveBack(before);
}

void TableStore::Replace(const std::vector<Record> &records) {
    Index &index = EmptyIndex(std::max(kFirstSlots, std::bit_ceil(records.size() * 2)));
    std::set<Block *, Less> order;
    try {
        for (const Record &record : records) {
            const Key key(record.table, record.key, record.keyBytes);
            Block *const block = Take(WordsFor(key, record.content));
            Fill(*block, key, record.content);
            try {
                (void)order.insert(order.end(), block);
            } catch (const std::bad_alloc &) {
                GiveBack(block);
                throw;
            }
            Insert(index, key.hash, block);
        }
    } catch (const std::bad_alloc &) {
        std::for_each(order.begin(), order.end(), [this](Block *block) { GiveBack(block); });
        throw;
    }
    {
        const Writing writing(*this);
        index_.store(&index, std::memory_order_release);
    }
    order_.swap(order);
    std::for_each(order.begin(), order.end(), [this](Block *block) { GiveBack(block); });
}

// Takes a block out of the index; those that were put off because of it move up.
void TableStore::Remove(Slot &slot) {
    Index &index = *index_.load(std::memory_order_relaxed);
    auto hole = static_cast<size_t>(&slot - index.slots.data());
    const Writing writing(*this);
    for (size_t at = (hole + 1) & index.mask;; at = (at + 1) & index.mask) {
        Block *const block = index.slots[at].block.load(std::memory_order_relaxed);
        if (block == nullptr) {
            break;
        }
        const uint64_t hash = index.slots[at].hash.load(std::memory_order_relaxed);
        if (((at - hash) & index.mask) >= ((at - hole) & index.mask)) {
            index.slots[hole].hash.store(hash, std::memory_order_release);
            index.slots[hole].block.store(block, std::memory_order_release);
            hole = at;
        }
    }
    index.slots[hole].block.store(nullptr, std::memory_order_release);
}

void TableStore::Delete(Block *block) {
    const Key key = KeyOf(*block);
    Remove(*SlotOf(key));
    order_.erase(order_.find(key));
    GiveBack(block);
}

Block *TableStore::From(uint64_t table) const {
    const auto found = order_.lower_bound(table);
    return found != order_.end() ? *found : nullptr;
}

Block *TableStore::After(const Key &key) const {
    const auto found = order_.upper_bound(key);
    return found != order_.end() ? *found : nullptr;
}

}  // namespace devhost
