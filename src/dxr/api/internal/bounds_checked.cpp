#include "internal/bounds_checked.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "internal/fast_paths.h"
#include "internal/plain_format.h"

namespace dxr {
namespace {

// Sizes above this are taken for negative numbers that went through a conversion.
constexpr size_t kMaxSize = SIZE_MAX >> 1;

bool IsUsable(const void *dest, size_t destSize) {
    return dest != nullptr && destSize != 0 && destSize <= kMaxSize;
}

bool Overlap(const void *a, size_t aSize, const void *b, size_t bSize) {
    const auto aBegin = reinterpret_cast<uintptr_t>(a);
    const auto bBegin = reinterpret_cast<uintptr_t>(b);
    return aBegin < bBegin + bSize && bBegin < aBegin + aSize;
}

int FailBytes(void *dest, size_t destSize, int error) {
    std::memset(dest, 0, destSize);
    return error;
}

int FailText(char *dest, int error) {
    *dest = '\0';
    return error;
}

// Not by the checking one of fortified builds: it ends the process for a count ("%n") in a format
// that lies in writable memory, as a host's may.
[[gnu::format(printf, 3, 0)]] int FormatByLibrary(char *buffer, size_t size, const char *format,
                                                  std::va_list args) {
    const int length = __builtin_vsnprintf(buffer, size, format, args);
    if (length < 0) {
        buffer[0] = '\0';
        return -1;
    }
    return static_cast<int>(std::min(static_cast<size_t>(length), size - 1));
}

}  // namespace

int memcpy_s(void *dest, size_t destSize, const void *src, size_t count) noexcept {
    if (!IsUsable(dest, destSize)) {
        return EINVAL;
    }
    if (src == nullptr) {
        return FailBytes(dest, destSize, EINVAL);
    }
    if (count > destSize) {
        return FailBytes(dest, destSize, ERANGE);
    }
    if (Overlap(dest, count, src, count)) {
        return FailBytes(dest, destSize, EINVAL);
    }
    std::memcpy(dest, src, count);
    return 0;
}

int memset_s(void *dest, size_t destSize, int value, size_t count) noexcept {
    if (!IsUsable(dest, destSize)) {
        return EINVAL;
    }
    if (count > destSize) {
        // Unlike the copies, a fill that does not fit fills what there is.
        std::memset(dest, value, destSize);
        return ERANGE;
    }
    std::memset(dest, value, count);
    return 0;
}

int strcpy_s(char *dest, size_t destSize, const char *src) noexcept {
    return strncpy_s(dest, destSize, src, kMaxSize);
}

int strncpy_s(char *dest, size_t destSize, const char *src, size_t count) noexcept {
    if (!IsUsable(dest, destSize)) {
        return EINVAL;
    }
    if (src == nullptr) {
        return FailText(dest, EINVAL);
    }
    // Never looks further into the source than the destination is long.
    const size_t length = strnlen(src, count < destSize ? count : destSize);
    if (length == destSize) {
        return FailText(dest, ERANGE);
    }
    // The source's terminator is read only when it is reached before `count`.
    const size_t read = length < count ? length + 1 : length;
    if (read != 0 && Overlap(dest, length + 1, src, read)) {
        return FailText(dest, EINVAL);
    }
    std::memcpy(dest, src, length);
    dest[length] = '\0';
    return 0;
}

int snprintf_truncated_s(char *buffer, size_t size, const char *format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    const int stored = vsnprintf_truncated_s(buffer, size, format, args);
    va_end(args);
    return stored;
}

int vsnprintf_truncated_s(char *buffer, size_t size, const char *format,
                          std::va_list args) noexcept {
    if (!IsUsable(buffer, size) || format == nullptr) {
        return -1;
    }
    PlainRoom room;
    Arguments copy;
    va_copy(copy.list, args);
    const int plain = kFastPaths ? GatherPlain(room, format, copy) : kNotPlain;
    va_end(copy.list);
    if (plain == kNotPlain) {
        return FormatByLibrary(buffer, size, format, args);
    }
    const size_t stored = std::min(static_cast<size_t>(plain), size - 1);
    std::memcpy(buffer, room, stored);
    buffer[stored] = '\0';
    return static_cast<int>(stored);
}

FormattedLine FormatLine(PlainRoom &room, size_t size, const char *format, Arguments &args,
                         std::va_list again) noexcept {
    if (format == nullptr) {
        return {-1, 0};
    }
    const int plain = kFastPaths ? GatherPlain(room, format, args) : kNotPlain;
    if (plain != kNotPlain) {
        const size_t length = std::min(static_cast<size_t>(plain), size - 1);
        room[length] = '\0';
        return {static_cast<int>(length), length};
    }
    const int stored = FormatByLibrary(room, size, format, again);
    return {stored, stored > 0 ? strnlen(room, static_cast<size_t>(stored)) : 0};
}

}  // namespace dxr
