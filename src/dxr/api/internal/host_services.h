// What the library's own logic uses of the host, through the exported dispatchers only.
#ifndef DXR_INTERNAL_HOST_SERVICES_H
#define DXR_INTERNAL_HOST_SERVICES_H

#include <cstdint>
#include <utility>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "internal/bounds_checked.h"

namespace dxr {

// Return codes of functions that name no others.
constexpr uint32_t kSuccess = 0;
constexpr uint32_t kFailure = 1;

// The module that blocks are accounted to until the host names another one.
constexpr uint32_t kDefaultMid = 9;

// Levels of the print hook.
constexpr uint32_t kLevelFailure = 1;
constexpr uint32_t kLevelOpenFailure = 2;
constexpr uint32_t kLevelInfo = 6;

// The print hook, read anew for every message; null drops the message. The named type keeps the
// compiler's check of format and arguments, which `auto` would lose:
//     if (const DxrPrintHook print = PrintHook()) { print(kLevelFailure, "...[%u]", value); }
inline DxrPrintHook PrintHook() {
    return DXR_GetPrintHooks()->print;
}

// The private-log hook, which DXR_WritePrivateLog calls once for each piece of a text; may be null.
inline DxrPrivateLogHook PrivateLogHook() {
    return DXR_GetPrintHooks()->writePrivateLog;
}

// The place in the sources that a block is accounted to: the caller's, taken as a default argument.
// (The standard's source_location says the same, but not every supported compiler has it.)
struct CallSite {
    const char *file;
    uint32_t line;

    static constexpr CallSite Current(const char *file = __builtin_FILE(),
                                      uint32_t line = __builtin_LINE()) {
        return {file, line};
    }
};

// A zeroed block of the host's memory, released on every path that does not give it away. The
// owner's place in the sources stands for the allocation's and the release's.
template <typename T>
class Zeroed {
  public:
    Zeroed(uint32_t mid, uint32_t size, CallSite site = CallSite::Current())
        : site_(site), block_(static_cast<T *>(DXR_Malloc(mid, size, site.file, site.line))) {
        if (block_ != nullptr) {
            memset_s(block_, size, 0, size);
        }
    }
    // One T.
    explicit Zeroed(uint32_t mid, CallSite site = CallSite::Current())
        : Zeroed(mid, sizeof(T), site) {}
    ~Zeroed() {
        if (block_ != nullptr) {
            DXR_Free(block_, site_.file, site_.line);
        }
    }
    Zeroed(const Zeroed &) = delete;
    Zeroed &operator=(const Zeroed &) = delete;
    Zeroed(Zeroed &&) = delete;
    Zeroed &operator=(Zeroed &&) = delete;

    // Null when the host has no memory.
    [[nodiscard]] T *Get() const { return block_; }
    // From here on the block belongs to the caller.
    [[nodiscard]] T *Release() { return std::exchange(block_, nullptr); }

  private:
    CallSite site_;
    T *block_;
};

inline void FreeBlock(void *block, CallSite site = CallSite::Current()) {
    DXR_Free(block, site.file, site.line);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_HOST_SERVICES_H
