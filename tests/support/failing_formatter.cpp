#include "support/failing_formatter.h"

#include <cstdarg>
#include <cstddef>
#include <utility>

// The library's formatters under other names, for calls that are not to fail.
#define snprintf_truncated_s FormatArguments
#define vsnprintf_truncated_s Format
#include "internal/bounds_checked.cpp"
#undef snprintf_truncated_s
#undef vsnprintf_truncated_s

namespace {

std::set<uint32_t> g_failingCalls;
uint32_t g_calls = 0;

}  // namespace

namespace dxrtest {

FailingFormatter::FailingFormatter(std::set<uint32_t> calls) {
    g_failingCalls = std::move(calls);
    g_calls = 0;
}

FailingFormatter::~FailingFormatter() {
    g_failingCalls.clear();
}

}  // namespace dxrtest

namespace dxr {

[[gnu::format(printf, 3, 0)]] int vsnprintf_truncated_s(char *buffer, size_t size,
                                                        const char *format,
                                                        std::va_list args) noexcept {
    ++g_calls;
    if (g_failingCalls.count(g_calls) == 0) {
        return Format(buffer, size, format, args);
    }
    if (buffer != nullptr && size != 0) {
        buffer[0] = '\0';
    }
    return -1;
}

[[gnu::format(printf, 3, 4)]] int snprintf_truncated_s(char *buffer, size_t size,
                                                       const char *format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    const int stored = vsnprintf_truncated_s(buffer, size, format, args);
    va_end(args);
    return stored;
}

}  // namespace dxr
