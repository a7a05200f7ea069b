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

class SuppressedLines {
  public:
    // `key` is what makes lines one and the same; the text of the first stands for all of them.
    void Add(std::string_view key, std::string_view text);

    // The `count` most frequent, those of one frequency in the order of their first suppression.
    // Valid as long as this object.
    [[nodiscard]] std::vector<SuppressedLine> Top(size_t count) const;

  private:
    struct Entry {
        std::string_view key;
        SuppressedLine line;
    };
    // A place of the hash table. A long log has many lines that are suppressed once or twice: the
    // hash here spares a look at the entry, and the tables grow without hashing again.
    struct Slot {
        uint32_t hash;
        uint32_t entry;  // its number from 1 on; 0: free
    };

    [[nodiscard]] Slot &SlotOf(std::string_view key, uint32_t hash);
    void Grow();
    [[nodiscard]] std::string_view Keep(std::string_view text);

    std::vector<Entry> entries_;  // in the order of their first suppression
    std::vector<Slot> slots_;     // a power of two of them, at most half of them taken
    std::pmr::monotonic_buffer_resource texts_;
};

}  // namespace dxrsh

#endif  // DXRSH_SUPPRESSED_LINES_H
