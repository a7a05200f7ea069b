// Who builds the CRC's table when several threads make the first calculation.
#ifndef DXR_UTILS_CRC8_BUILD_H
#define DXR_UTILS_CRC8_BUILD_H

#include <atomic>

namespace dxr {

// True while a thread builds the table for its calculation. Others do not wait for it.
extern constinit std::atomic<bool> g_crc8IsBeingBuilt;

// Builds the table and sets the flag, unless another thread is about to, or has meanwhile: an entry
// that somebody may be reading is never written, not even with what it holds. False while the other
// thread is at it.
[[nodiscard]] bool BuildCrc8Table() noexcept;

}  // namespace dxr

#endif  // DXR_UTILS_CRC8_BUILD_H
