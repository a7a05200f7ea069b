// A recording as a script: what each thread calls, what the host calls in it, and the order of all.
#ifndef DXR_TRACE_SCRIPT_H
#define DXR_TRACE_SCRIPT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "trace_file.h"

namespace dxr_trace {

inline constexpr uint32_t kNoEvent = UINT32_MAX;

struct Step {
    uint32_t call;  // in the file's calls
    uint32_t end;   // the step after all that are within this one
    // What the host did by itself, in a call or on a thread of its own: nobody does it again.
    bool isHosts;
    uint32_t enterEvent = kNoEvent;
    uint32_t returnEvent = kNoEvent;  // none when it did not return
};

enum class ThreadKind : uint8_t {
    kMain,  // the one that began the recording
    kTask,  // runs a task that the module created
    kHost,  // the host's own: it calls functions that it was given
    kOwn,   // any other one that calls the host
};

struct ScriptThread {
    uint32_t number = 0;  // 0: main, of which the recording has no call
    ThreadKind kind = ThreadKind::kOwn;
    std::vector<Step> steps;  // in the order of their beginnings
};

struct Script {
    std::vector<ScriptThread> threads;  // in the order of their beginnings; the first is main
    std::vector<uint32_t> events;       // in the order of time: the index of the thread
    uint64_t unknown = 0;               // calls on threads of the host's by functions of which the
                                        // recording does not tell
};

// Throws std::bad_alloc only.
[[nodiscard]] Script MakeScript(const TraceFile &file);

}  // namespace dxr_trace

#endif  // DXR_TRACE_SCRIPT_H
