// The thread that carries what stands in the rings to the file.
#ifndef DXR_TRACE_DRAIN_H
#define DXR_TRACE_DRAIN_H

#include <cstdint>

namespace dxr_trace {

// Makes the file anew and begins to write what the rings hold. Returns 0 or a number of <errno.h>.
// The state's session is set from then on.
[[nodiscard]] uint32_t StartDrain(const char *path);

// Writes what is left and ends the file. Returns the first error of writing, or 0.
[[nodiscard]] uint32_t StopDrain();

// Around fork: nobody is within what is shared when the child gets its copy of it.
void HoldDrain();
void ReleaseDrain();
// In the child instead of the latter: it has the file but not the thread.
void ForgetDrain();

}  // namespace dxr_trace

#endif  // DXR_TRACE_DRAIN_H
