// The line that says why a function of the host's interface failed.
#ifndef DXR_DEVHOST_ERROR_TEXT_H
#define DXR_DEVHOST_ERROR_TEXT_H

#include <cstdint>
#include <cstdio>

namespace devhost {

// To the caller's room, cut to it and terminated; nowhere without one.
inline void WriteError(char *error, uint32_t errorSize, const char *text) {
    if (error != nullptr && errorSize > 0) {
        (void)std::snprintf(error, errorSize, "%s", text);
    }
}

}  // namespace devhost

#endif  // DXR_DEVHOST_ERROR_TEXT_H
