// Answers the calls of a module from a recording, and calls it as the host did.
#ifndef DXR_TRACE_REPLAY_H
#define DXR_TRACE_REPLAY_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace dxr_trace {

struct Reply {
    uint64_t result = 0;
    bool isLast = false;  // in the recording the call did not come back, and its task ended
};

// A call of a slot. `message`: the finished text of a hook in the manner of printf, or null.
[[nodiscard]] Reply Answer(size_t slot, std::span<const uint64_t> words, const char *message);

// Ends the calling thread, which the replay has made, without destructors.
[[noreturn]] void EndThread();

}  // namespace dxr_trace

#endif  // DXR_TRACE_REPLAY_H
