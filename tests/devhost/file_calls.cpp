#include "devhost/file_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace dxrtest {
namespace {

using How = FileCalls::How;

struct State {
    bool isOn = false;
    uint64_t made = 0;
    uint64_t failAt = 0;
    How how = How::kOnce;
    bool hasLeaked = false;
};

State g_state;

// Whether this is a call to which something happens.
bool IsMeant() {
    if (!g_state.isOn) {
        return false;
    }
    ++g_state.made;
    const bool isOnce = g_state.how == How::kOnce || g_state.how == How::kPartOnce;
    return isOnce ? g_state.made == g_state.failAt : g_state.made >= g_state.failAt;
}

bool Fails(int error) {
    const bool fails = IsMeant() && !FileCalls::IsPart(g_state.how);
    if (fails) {
        errno = error;
    }
    return fails;
}

template <typename Function>
Function *Real(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// A call that moves bytes.
template <typename Move>
ssize_t Transfer(size_t bytes, int error, Move move) {
    if (!IsMeant()) {
        return move(bytes);
    }
    if (!FileCalls::IsPart(g_state.how)) {
        errno = error;
        return -1;
    }
    if (g_state.made % 2 == 0) {
        errno = EINTR;
        return -1;
    }
    return move(bytes > 1 ? 1 : bytes);
}

}  // namespace

void FileCalls::Begin(uint64_t n, How how) {
    g_state = {true, 0, n, how, false};
}

bool FileCalls::End() {
    g_state.isOn = false;
    return g_state.made >= g_state.failAt;
}

bool FileCalls::HasLeaked() {
    return g_state.hasLeaked;
}

size_t Descriptors() {
    size_t count = 0;
    for ([[maybe_unused]] const auto &each : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

}  // namespace dxrtest

using dxrtest::Fails;
using dxrtest::g_state;
using dxrtest::Real;
using dxrtest::Transfer;

#define VISIBLE __attribute__((visibility("default")))

extern "C" {

VISIBLE int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    g_state.hasLeaked |= g_state.isOn && (flags & O_CLOEXEC) == 0;
    return Fails(EMFILE) ? -1 : Real<int(const char *, int, ...)>("open")(path, flags, mode);
}

VISIBLE ssize_t read(int file, void *buffer, size_t bytes) {
    return Transfer(bytes, EIO, [=](size_t some) {
        return Real<ssize_t(int, void *, size_t)>("read")(file, buffer, some);
    });
}

VISIBLE ssize_t write(int file, const void *buffer, size_t bytes) {
    return Transfer(bytes, ENOSPC, [=](size_t some) {
        return Real<ssize_t(int, const void *, size_t)>("write")(file, buffer, some);
    });
}

VISIBLE ssize_t pread(int file, void *buffer, size_t bytes, off_t offset) {
    return Transfer(bytes, EIO, [=](size_t some) {
        return Real<ssize_t(int, void *, size_t, off_t)>("pread")(file, buffer, some, offset);
    });
}

VISIBLE ssize_t pwrite(int file, const void *buffer, size_t bytes, off_t offset) {
    return Transfer(bytes, ENOSPC, [=](size_t some) {
        return Real<ssize_t(int, const void *, size_t, off_t)>("pwrite")(file, buffer, some,
                                                                         offset);
    });
}

VISIBLE int fsync(int file) {
    return Fails(EIO) ? -1 : Real<int(int)>("fsync")(file);
}

// The descriptor is gone all the same.
VISIBLE int close(int file) {
    const int result = Real<int(int)>("close")(file);
    return Fails(EIO) ? -1 : result;
}

VISIBLE int rename(const char *from, const char *to) noexcept {
    return Fails(EIO) ? -1 : Real<int(const char *, const char *)>("rename")(from, to);
}

VISIBLE int link(const char *from, const char *to) noexcept {
    return Fails(EIO) ? -1 : Real<int(const char *, const char *)>("link")(from, to);
}

VISIBLE int ftruncate(int file, off_t bytes) noexcept {
    return Fails(EIO) ? -1 : Real<int(int, off_t)>("ftruncate")(file, bytes);
}

VISIBLE int memfd_create(const char *name, unsigned int flags) noexcept {
    return Fails(EMFILE) ? -1 : Real<int(const char *, unsigned int)>("memfd_create")(name, flags);
}

VISIBLE int fstat(int file, struct stat *status) noexcept {
    return Fails(EIO) ? -1 : Real<int(int, struct stat *)>("fstat")(file, status);
}

VISIBLE int fchmod(int file, mode_t mode) noexcept {
    return Fails(EPERM) ? -1 : Real<int(int, mode_t)>("fchmod")(file, mode);
}

VISIBLE int fcntl(int file, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    return command == F_DUPFD_CLOEXEC && Fails(EMFILE)
               ? -1
               : Real<int(int, int, ...)>("fcntl")(file, command, argument);
}

VISIBLE void *mmap(void *address, size_t bytes, int access, int flags, int file,
                   off_t offset) noexcept {
    return file >= 0 && Fails(ENOMEM) ? MAP_FAILED
                                      : Real<void *(void *, size_t, int, int, int, off_t)>("mmap")(
                                            address, bytes, access, flags, file, offset);
}

VISIBLE std::FILE *fopen(const char *path, const char *mode) {
    return Fails(EMFILE) ? nullptr
                         : Real<std::FILE *(const char *, const char *)>("fopen")(path, mode);
}

// Nothing of it is read.
VISIBLE size_t fread(void *data, size_t size, size_t count, std::FILE *file) {
    return Fails(EIO) ? 0
                      : Real<size_t(void *, size_t, size_t, std::FILE *)>("fread")(data, size,
                                                                                   count, file);
}

VISIBLE int fseek(std::FILE *file, long offset, int origin) {
    return Fails(EIO) ? -1 : Real<int(std::FILE *, long, int)>("fseek")(file, offset, origin);
}

VISIBLE int stat(const char *path, struct stat *status) noexcept {
    return Fails(EIO) ? -1 : Real<int(const char *, struct stat *)>("stat")(path, status);
}

// Nothing of it is written.
VISIBLE size_t fwrite(const void *data, size_t size, size_t count, std::FILE *file) {
    return Fails(ENOSPC) ? 0
                         : Real<size_t(const void *, size_t, size_t, std::FILE *)>("fwrite")(
                               data, size, count, file);
}

VISIBLE int fclose(std::FILE *file) {
    const int result = Real<int(std::FILE *)>("fclose")(file);
    return Fails(ENOSPC) ? EOF : result;
}

}  // extern "C"
