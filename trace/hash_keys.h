// The keys of the development host's hash tables. How long they are stands in no argument, but in
// what the table was created with: what is known of the tables that were created meanwhile. A
// recording and a replay may both be at work, for which a table has the same handle.
#ifndef DXR_TRACE_HASH_KEYS_H
#define DXR_TRACE_HASH_KEYS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "dxr_devhost/hash.h"
#include "pointers.h"
#include "slots.h"

namespace dxr_trace {

inline bool IsOfHash(const SlotInfo &slot) {
    return std::strcmp(slot.group, "Hash") == 0;
}

// The record at `options`; false when there is none.
bool ReadHashOptions(uint64_t options, DxrHostHashOptions &read);

// A table was created by the record at `options`, or is to be freed. Any thread.
void LearnHashKeys(uint64_t options, uint64_t table);
void ForgetHashKeys(uint64_t table);
void ForgetAllHashKeys();

// Adds the key that a call hands to a table, unless there is none, or nothing is known of it, or it
// may differ from run to run: a long one may hold addresses, and one that a function of the module
// compares bytes that say nothing.
void CollectHashKey(const SlotInfo &slot, std::span<const uint64_t> arguments, Follow follow,
                    size_t limit, Pieces &pieces);

}  // namespace dxr_trace

#endif  // DXR_TRACE_HASH_KEYS_H
