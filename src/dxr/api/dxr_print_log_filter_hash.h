// Who hashes log lines.
#ifndef DXR_PRINT_LOG_FILTER_HASH_H
#define DXR_PRINT_LOG_FILTER_HASH_H

#include "dxr/print_log_filter_store.h"

namespace dxr {

// Whether a line goes to a function that the host has put into the table of hash functions.
[[nodiscard]] inline bool HostSeesHashInput() noexcept {
    return g_dxrLogFilterHashFuncList[0].func != DXR_SimpleHash;
}

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_HASH_H
