// Whether two calls are the same: functions and values are compared, and what pointers lead to;
// addresses and times are not, nor what the list of slots calls opaque.
#ifndef DXR_TRACE_COMPARE_H
#define DXR_TRACE_COMPARE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "slots.h"
#include "trace_file.h"

namespace dxr_trace {

// Where what had an address in the recording is now.
class Addresses {
  public:
    struct Block {
        uint64_t real;
        uint64_t size;
    };

    // Memory that was given to the caller.
    void AddBlock(uint64_t recorded, const Block &block) { blocks_[recorded] = block; }
    void RemoveBlock(uint64_t recorded) { blocks_.erase(recorded); }
    [[nodiscard]] const Block *FindBlock(uint64_t recorded) const;

    // A handle that the host gave out: callers get the recorded value.
    void Give(uint64_t recorded) { given_.insert(recorded); }

    // The caller's own address in the place of a recorded one.
    void Learn(uint64_t recorded, uint64_t real);

    [[nodiscard]] uint64_t Translate(uint64_t recorded) const;
    // False when it is known that the recorded address is now another one.
    [[nodiscard]] bool MayBe(uint64_t recorded, uint64_t real) const;

  private:
    [[nodiscard]] bool InBlock(uint64_t recorded, uint64_t *real) const;

    std::map<uint64_t, Block> blocks_;
    std::unordered_map<uint64_t, uint64_t> learned_;
    std::unordered_set<uint64_t> given_;
};

// What differs between two calls.
struct CallDifference {
    std::string name;  // of an argument, of what it led to, or "function" or "result"
    std::string expected;
    std::string got;

    // "arg3: expected 16, got 20"
    [[nodiscard]] std::string Text() const {
        return name + ": expected " + expected + ", got " + got;
    }
};
using Differences = std::vector<CallDifference>;

// What was asked. `addresses` and `differences` may be null.
[[nodiscard]] bool IsSameCall(const TracedCall &expected, const TracedCall &got,
                              const Addresses *addresses, Differences *differences);

// What was answered.
[[nodiscard]] bool IsSameAnswer(const TracedCall &expected, const TracedCall &got,
                                Differences *differences);

// The bytes of a record that are pointers or handles: where each begins.
[[nodiscard]] bool IsOpaqueByte(const SlotInfo &slot, const TracedPiece &record, size_t byte,
                                size_t *begin);

}  // namespace dxr_trace

#endif  // DXR_TRACE_COMPARE_H
