// Who hashes log lines.
#ifndef DXR_PRINT_LOG_FILTER_HASH_H
#define DXR_PRINT_LOG_FILTER_HASH_H

namespace dxr {

// Whether a line goes to a function that the host has put into the table of hash functions. Also
// true where the table holds DXR_SimpleHash by the address that an executable at a fixed address
// has for it.
[[nodiscard]] bool HostSeesHashInput() noexcept;

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_HASH_H
