// What the library's own logic uses of the host, through the exported dispatchers only.
#ifndef DXR_INTERNAL_HOST_SERVICES_H
#define DXR_INTERNAL_HOST_SERVICES_H

#include <cstdint>
#include <utility>

#include "dxr/hooks.h"
#include "dxr/memory.h"

namespace dxr {

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

// A block of the host's memory, released on every path that does not give it away. The owner's
// place in the sources stands for the allocation's and the release's.
class HostBlock {
  public:
    HostBlock(uint32_t mid, uint32_t size, CallSite site = CallSite::Current())
        : site_(site), block_(DXR_Malloc(mid, size, site.file, site.line)) {}
    ~HostBlock() {
        if (block_ != nullptr) {
            DXR_Free(block_, site_.file, site_.line);
        }
    }
    HostBlock(const HostBlock &) = delete;
    HostBlock &operator=(const HostBlock &) = delete;
    HostBlock(HostBlock &&) = delete;
    HostBlock &operator=(HostBlock &&) = delete;

    [[nodiscard]] void *Get() const { return block_; }
    // From here on the block belongs to the caller.
    [[nodiscard]] void *Release() { return std::exchange(block_, nullptr); }

  private:
    CallSite site_;
    void *block_;
};

inline void FreeBlock(void *block, CallSite site = CallSite::Current()) {
    DXR_Free(block, site.file, site.line);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_HOST_SERVICES_H
