// How often each line was suppressed.
#ifndef DXRSH_SUPPRESSED_LINES_H
#define DXRSH_SUPPRESSED_LINES_H

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

namespace dxrsh {

struct SuppressedLine {
    std::string_view text;
    uint64_t count;
};

// A hash of 64 bits, of which equal ones can be taken for equal texts.
[[nodiscard]] uint64_t WideHashOf(std::string_view text);

class SuppressedLines {
  public:
    // What is known of a line; few bytes, since a long log has many lines.
    class Entry {
      public:
        // Half of WideHashOf(key).
        [[nodiscard]] uint32_t Check() const { return check_; }
        // For whoever adds; 0 at first.
        uint32_t mark = 0;

      private:
        friend SuppressedLines;
        Entry(std::string_view key, std::string_view text, uint64_t wideHash)
            : check_(static_cast<uint32_t>(wideHash >> 32U)),
              keySize_(static_cast<uint32_t>(key.size())),
              textSize_(static_cast<uint32_t>(text.size())),
              key_(key.data()),
              text_(text.data()) {}
        [[nodiscard]] std::string_view Key() const { return {key_, keySize_}; }
        [[nodiscard]] SuppressedLine Line() const { return {{text_, textSize_}, count_}; }

        uint32_t check_;
        uint32_t keySize_;
        uint32_t textSize_;
        const char *key_;
        const char *text_;
        uint64_t count_ = 0;
    };

    // `key` is what makes lines one and the same; the text of the first stands for all of them.
    // What is given back is valid until the next call.
    Entry &Add(std::string_view key, std::string_view text) {
        return Add(key, text, IsLatest(key) ? 0 : WideHashOf(key));
    }
    // The same with WideHashOf(key), which nobody looks at when the key is the latest.
    Entry &Add(std::string_view key, std::string_view text, uint64_t wideHash);

    [[nodiscard]] bool IsLatest(std::string_view key) const {
        return last_ < entries_.size() && entries_[last_].Key() == key;
    }
    // A key of that hash may follow.
    void Expect(uint64_t wideHash) const {
        __builtin_prefetch(slots_.data() + (ShortHash(wideHash) & (slots_.size() - 1)));
    }

    // The `count` most frequent, those of one frequency in the order of their first suppression.
    // Valid as long as this object.
    [[nodiscard]] std::vector<SuppressedLine> Top(size_t count) const;

  private:
    static constexpr size_t kFirstSlots = 1024;

    // A place of the hash table. A long log has many lines that are suppressed once or twice: the
    // hash here spares a look at the entry, and the tables grow without hashing again.
    struct Slot {
        uint32_t hash;
        uint32_t entry;  // its number from 1 on; 0: free
    };

    [[nodiscard]] static uint32_t ShortHash(uint64_t wideHash) {
        return static_cast<uint32_t>(wideHash ^ (wideHash >> 32U));
    }
    [[nodiscard]] Slot &SlotOf(std::string_view key, uint32_t hash);
    void Grow();
    [[nodiscard]] std::string_view Keep(std::string_view text);

    size_t last_ = 0;             // the entry of the latest line, which often comes again at once
    std::vector<Entry> entries_;  // in the order of their first suppression
    // A power of two of them, at most half of them taken.
    std::vector<Slot> slots_ = std::vector<Slot>(kFirstSlots);
    std::pmr::monotonic_buffer_resource texts_;
};

}  // namespace dxrsh

#endif  // DXRSH_SUPPRESSED_LINES_H
