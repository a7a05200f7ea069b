// What the library's own logic uses of the host, through the exported dispatchers only.
#ifndef DXR_INTERNAL_HOST_SERVICES_H
#define DXR_INTERNAL_HOST_SERVICES_H

#include <cstdint>
#include <source_location>
#include <utility>

#include "dxr/hooks.h"
#include "dxr/memory.h"

namespace dxr {

// Levels of the print hook.
constexpr std::uint32_t kLevelFailure = 1;
constexpr std::uint32_t kLevelOpenFailure = 2;
constexpr std::uint32_t kLevelInfo = 6;

// The print hook, read anew for every message; null drops the message. The named type keeps the
// compiler's check of format and arguments, which `auto` would lose:
//     if (const DxrPrintHook print = PrintHook()) { print(kLevelFailure, "...[%u]", value); }
inline DxrPrintHook PrintHook() {
    return DXR_GetPrintHooks()->print;
}

// A block of the host's memory, released on every path that does not give it away. The source
// location of the owner stands for the allocation's and the release's.
class HostBlock {
  public:
    HostBlock(std::uint32_t mid, std::uint32_t size,
              std::source_location site = std::source_location::current())
        : site_(site), block_(DXR_Malloc(mid, size, site.file_name(), site.line())) {}
    ~HostBlock() {
        if (block_ != nullptr) {
            DXR_Free(block_, site_.file_name(), site_.line());
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
    std::source_location site_;
    void *block_;
};

inline void FreeBlock(void *block, std::source_location site = std::source_location::current()) {
    DXR_Free(block, site.file_name(), site.line());
}

}  // namespace dxr

#endif  // DXR_INTERNAL_HOST_SERVICES_H
