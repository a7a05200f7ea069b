#include "dxr/print_private_log.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "dxr/system.h"
#include "internal/bounds_checked.h"
#include "internal/host_services.h"
#include "internal/text_writer.h"

namespace {

using dxr::kFailure;
using dxr::kSuccess;
using dxr::TextWriter;
using dxr::Zeroed;

constexpr uint32_t kNoLength = 0xFFFFFFFF;

constexpr char kTemporaryName[] = "dxr_log.tmp";
constexpr uint32_t kPathSize = DXR_PRIVATE_LOG_PATH_SIZE;
constexpr uint32_t kLineSize = 512;
constexpr uint32_t kCopyBlockSize = 512;
constexpr uint32_t kLengthReaderMid = 6;

using Path = std::array<char, kPathSize>;

struct FileCloser {
    void operator()(std::FILE *file) const noexcept { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool FormatLogPath(const char *name, Path &path) {
    return name != nullptr && dxr::snprintf_truncated_s(path.data(), path.size(), "%s%s",
                                                        DXR_PRIVATE_LOG_DIRECTORY, name) > 0;
}

// Null when the file cannot be resolved or opened: a file to be written must exist as well.
File OpenResolved(const char *path, const char *mode) {
    Path resolved = {};
    if (path == nullptr || realpath(path, resolved.data()) == nullptr) {
        return nullptr;
    }
    return File(std::fopen(resolved.data(), mode));
}

bool GetLogPath(const char *name, Path &path) {
    return DXR_GetPrivateLogPath(name, path.data(), kPathSize) == kSuccess;
}

void CopyBytes(std::FILE *source, std::FILE *destination, uint32_t length) {
    std::array<char, kCopyBlockSize> block;
    // Counts blocks asked for, whatever a read returned: a short read shortens the copy. Intended.
    // 64 bits, since the sum may pass the largest length.
    for (uint64_t copied = 0; copied < length; copied += kCopyBlockSize) {
        if (std::feof(source) != 0 || std::ferror(source) != 0) {
            return;
        }
        const auto wanted =
            static_cast<size_t>(std::min<uint64_t>(length - copied, kCopyBlockSize));
        const size_t got = std::fread(block.data(), 1, wanted, source);
        // Write errors are ignored by intent.
        static_cast<void>(std::fwrite(block.data(), got, 1, destination));
    }
}

}  // namespace

uint32_t DXR_GetPrivateLogPath(const char *name, char *out, uint32_t outSize) {
    // realpath writes up to this size and is told no other.
    if (outSize != kPathSize || out == nullptr) {
        return kFailure;
    }
    Path path = {};
    if (!FormatLogPath(name, path)) {
        return kFailure;
    }
    return realpath(path.data(), out) != nullptr ? kSuccess : kFailure;
}

uint32_t DXR_WritePrivateLog(const char *name, uint32_t length, const char *text) {
    const DxrPrivateLogHook write = dxr::PrivateLogHook();
    if (write == nullptr || name == nullptr) {
        return kSuccess;
    }
    if (length == 0) {
        return write(name, "%s", "");
    }
    if (text == nullptr) {
        return kSuccess;
    }
    // Pieces are neither cut nor terminated: the hook bounds each write itself.
    for (uint64_t offset = 0; offset < length; offset += DXR_PRIVATE_LOG_WRITE_MAX) {
        write(name, "%s", text + offset);
    }
    return kSuccess;
}

uint32_t DXR_GetPrivateLog(const char *name, char *out, uint32_t outSize) {
    Path path = {};
    if (out == nullptr || !FormatLogPath(name, path)) {
        return kFailure;
    }
    const File file = OpenResolved(path.data(), "r");
    if (file == nullptr) {
        return kFailure;
    }
    TextWriter writer(out, outSize);
    for (;;) {
        std::array<char, kLineSize> line = {};
        if (std::fgets(line.data(), kLineSize, file.get()) == nullptr) {
            return kSuccess;
        }
        if (writer.Append("%s", line.data()) < 0) {
            return kFailure;
        }
    }
}

uint32_t DXR_GetPrivateLogLen(const char *name) {
    const Zeroed<char> path(kLengthReaderMid, kPathSize);
    if (path.Get() == nullptr || DXR_GetPrivateLogPath(name, path.Get(), kPathSize) != kSuccess) {
        return kNoLength;
    }
    return DXR_FileLength(path.Get());
}

uint32_t DXR_FixPrivateLogLen(const char *name, uint32_t maxLength) {
    const uint32_t length = DXR_GetPrivateLogLen(name);
    // A length that is negative as a signed number is a failure: 2 GiB and more count as one.
    if (static_cast<int32_t>(length) < 0) {
        return kFailure;
    }
    if (length <= maxLength) {
        return kSuccess;
    }
    Path log = {};
    if (!GetLogPath(name, log)) {
        return kFailure;
    }
    // The host creates the file; should it not, resolving tells.
    DXR_WritePrivateLog(kTemporaryName, 0, "");
    Path temporary = {};
    if (!GetLogPath(kTemporaryName, temporary)) {
        return kFailure;
    }
    if (DXR_CopyFile(log.data(), temporary.data(), length - maxLength, maxLength) != kSuccess) {
        return kFailure;
    }
    if (std::remove(log.data()) != 0) {
        return kFailure;
    }
    return std::rename(temporary.data(), log.data()) == 0 ? kSuccess : kFailure;
}

uint32_t DXR_CopyFile(const char *source, const char *destination, uint32_t offset,
                      uint32_t length) {
    const File from = OpenResolved(source, "r");
    if (from == nullptr || std::fseek(from.get(), offset, SEEK_SET) != 0) {
        return kFailure;
    }
    const File to = OpenResolved(destination, "w");
    if (to == nullptr) {
        return kFailure;
    }
    CopyBytes(from.get(), to.get(), length);
    return kSuccess;
}
