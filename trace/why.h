// Why a function of the interface failed.
#ifndef DXR_TRACE_WHY_H
#define DXR_TRACE_WHY_H

#include <cstdint>
#include <cstdio>
#include <new>
#include <string>

namespace dxr_trace {

// To the caller's room, cut to it and terminated; nowhere without one.
inline void WriteWhy(char *error, uint32_t errorSize, const char *text) {
    if (error != nullptr && errorSize != 0) {
        (void)std::snprintf(error, errorSize, "%s", text);
    }
}

// Gives what `body` gives, which gets a text to write to; `withoutMemory` when it throws for that.
// The caller's room gets the text.
template <typename Body>
uint32_t Telling(char *error, uint32_t errorSize, uint32_t withoutMemory, Body body) {
    const char *told = "not enough memory";
    std::string problem;
    uint32_t code = withoutMemory;
    try {
        code = static_cast<uint32_t>(body(problem));
        told = problem.c_str();
    } catch (const std::bad_alloc &) {
        code = withoutMemory;
    }
    WriteWhy(error, errorSize, told);
    return code;
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_WHY_H
