// What the log filter remembers, with more of it than the filter keeps: it knows a line by 32 bits,
// and so takes some for repeats that are not.
#ifndef DXRSH_REMEMBERED_LINES_H
#define DXRSH_REMEMBERED_LINES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dxrsh {

class RememberedLines {
  public:
    // With `forever` nothing is forgotten; else as many lines as the filter may hold, the latest,
    // are remembered at least.
    explicit RememberedLines(bool forever) : forever_(forever), slots_(kFirstSlots) {}

    // A line was let through: the filter's hash of what was compared, and 32 bits of another one.
    void Add(uint32_t hash, uint32_t check) {
        // One call late, when the slot has come from memory.
        Settle();
        pending_ = {hash, NotFree(check)};
        __builtin_prefetch(&slots_[HomeOf(hash)]);
    }
    // Whether the line of that hash that was let through last was another one.
    [[nodiscard]] bool IsOther(uint32_t hash, uint32_t check);
    // As long as this stays, a line that was no other one is none, if it was remembered. Never 0.
    [[nodiscard]] uint32_t Generation() {
        Settle();
        return generation_;
    }

  private:
    static constexpr size_t kFirstSlots = 8192;
    static constexpr size_t kKept = 2048;  // the filter holds at most 2047 of a type

    // Few bytes, since it is looked at for each line let through.
    struct Slot {
        uint32_t hash = 0;
        uint32_t check = 0;  // 0: free
    };

    [[nodiscard]] static uint32_t NotFree(uint32_t check) { return check | 1U; }
    [[nodiscard]] size_t HomeOf(uint32_t hash) const {
        constexpr uint32_t kSpread = 0x9E3779B1U;  // equal low bits are common among such hashes
        return ((hash * kSpread) >> 7U) & (slots_.size() - 1);
    }
    [[nodiscard]] size_t PlaceOf(uint32_t hash) const {
        size_t at = HomeOf(hash);
        while (slots_[at].check != 0 && slots_[at].hash != hash) {
            at = (at + 1) & (slots_.size() - 1);
        }
        return at;
    }
    void Settle() {
        if (pending_.check != 0) {
            Put(pending_);
            pending_.check = 0;
        }
    }
    void Put(const Slot &line);
    void MakeRoom();

    bool forever_;
    Slot pending_;
    std::vector<Slot> slots_;  // a power of two of them, at most half of them taken
    std::vector<Slot> order_;  // as they came, since there was room last
    size_t taken_ = 0;
    uint32_t generation_ = 1;
};

}  // namespace dxrsh

#endif  // DXRSH_REMEMBERED_LINES_H
