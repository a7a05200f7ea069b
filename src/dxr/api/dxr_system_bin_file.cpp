#include "dxr/system_bin_file.h"

#include <dirent.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "dxr/memory.h"
#include "dxr/system.h"
#include "internal/bounds_checked.h"
#include "internal/host_services.h"

namespace dxr {
namespace {

// Results of the folder functions.
constexpr uint32_t kNoWorkPath = 8;
constexpr uint32_t kNoFileNameBuffer = 8;
constexpr uint32_t kNoPath = 9;
constexpr uint32_t kFolderNotOpened = 10;
constexpr uint32_t kNameDoesNotFit = 11;
constexpr uint32_t kNothingFound = 12;

constexpr uint32_t kPathSize = 256;
// One byte short of 10 MiB, intended: a file of 10 MiB is refused.
constexpr uint32_t kMaxFileLength = 10 * 1024 * 1024 - 1;

// A file of the host, closed at the end of its scope.
class HostFile {
  public:
    HostFile() = default;
    ~HostFile() {
        if (handle_ != nullptr) {
            DXR_FClose(handle_);
        }
    }
    HostFile(const HostFile &) = delete;
    HostFile &operator=(const HostFile &) = delete;
    HostFile(HostFile &&) = delete;
    HostFile &operator=(HostFile &&) = delete;

    [[nodiscard]] bool Open(const char *path) {
        handle_ = DXR_FOpen(path, "rb");
        return handle_ != nullptr;
    }
    [[nodiscard]] void *Get() const { return handle_; }

  private:
    void *handle_ = nullptr;
};

// A folder being read, closed at the end of its scope.
class Folder {
  public:
    explicit Folder(const char *path) : handle_(opendir(path)) {}
    ~Folder() {
        if (handle_ != nullptr) {
            closedir(handle_);
        }
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    Folder(Folder &&) = delete;
    Folder &operator=(Folder &&) = delete;

    [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }
    // Null after the last entry.
    [[nodiscard]] const char *NextName() {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): unsafe only for threads that share a handle.
        const dirent *entry = readdir(handle_);
        return entry != nullptr ? entry->d_name : nullptr;
    }

  private:
    DIR *handle_;
};

[[nodiscard]] bool GetWorkPath(char (&workPath)[kPathSize]) {
    memset_s(workPath, sizeof(workPath), 0, sizeof(workPath));
    const uint32_t result = DXR_GetSysWorkPath(workPath, kPathSize);
    if (result != kSuccess) {
        if (const DxrPrintHook print = PrintHook()) {
            print(kLevelFailure, "[LINKM_BIN] get sys work path ret[0x%x]", result);
        }
        return false;
    }
    workPath[kPathSize - 1] = '\0';
    return true;
}

// Whether a path was stored, be it cut; `stored` is the formatter's result.
[[nodiscard]] bool IsFormatted(int stored) {
    if (stored > 0) {
        return true;
    }
    if (const DxrPrintHook print = PrintHook()) {
        print(kLevelFailure, "[LINKM_BIN] format file path ret[0x%x]",
              static_cast<uint32_t>(stored));
    }
    return false;
}

// The best name so far, in the caller's buffer; empty before the first.
class GreatestName {
  public:
    GreatestName(char *name, uint32_t size) : name_(name), size_(size) { Clear(); }

    // Of equal names the one read first stays.
    [[nodiscard]] bool IsBelow(const char *name) const {
        return std::strncmp(name, name_, size_) > 0;
    }
    // False, and empty, when the name does not fit.
    [[nodiscard]] bool Replace(const char *name) {
        Clear();
        return strcpy_s(name_, size_, name) == 0;
    }
    [[nodiscard]] bool IsEmpty() const { return name_[0] == '\0'; }

  private:
    void Clear() { memset_s(name_, size_, 0, size_); }

    char *name_;
    uint32_t size_;
};

uint32_t FindGreatestName(Folder &folder, const char *pattern, GreatestName &greatest) {
    while (const char *name = folder.NextName()) {
        if (pattern == nullptr || std::strstr(name, pattern) == nullptr ||
            !greatest.IsBelow(name)) {
            continue;
        }
        if (!greatest.Replace(name)) {
            // The number is always 0, intended: it is not the copy's result.
            if (const DxrPrintHook print = PrintHook()) {
                print(kLevelFailure, "[LINKM_BIN] can not get latest file, fileName: %s, ret %#x.",
                      name, 0U);
            }
            return kNameDoesNotFit;
        }
    }
    return greatest.IsEmpty() ? kNothingFound : kSuccess;
}

}  // namespace
}  // namespace dxr

uint32_t DXR_GetBinFilePath(const char *folderName, const char *fileName, char *filePath,
                            uint32_t len) {
    char workPath[dxr::kPathSize];
    if (!dxr::GetWorkPath(workPath)) {
        return dxr::kFailure;
    }
    const bool isGiven = folderName != nullptr && fileName != nullptr;
    const int stored = isGiven ? dxr::snprintf_truncated_s(filePath, len, "%s/%s/%s", workPath,
                                                           folderName, fileName)
                               : -1;
    return dxr::IsFormatted(stored) ? dxr::kSuccess : dxr::kFailure;
}

uint32_t DXR_GetBinFileDataByFilePath(const char *filePath, uint8_t **data, uint32_t *len) {
    if (filePath == nullptr || data == nullptr || len == nullptr) {
        return dxr::kFailure;
    }
    if (DXR_IsFileExist(filePath) == 0) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelInfo, "[TOLV BIN] access file-%s ", filePath);
        }
        return dxr::kFailure;
    }
    const uint32_t length = DXR_FileLength(filePath);
    if (length == 0 || length > dxr::kMaxFileLength) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelInfo, "[TOLV BIN] file length[%d] is out of range, filePath: %s",
                  static_cast<int32_t>(length), filePath);
        }
        return dxr::kFailure;
    }
    dxr::HostFile file;  // before the block: a short read frees, then closes
    dxr::Zeroed<uint8_t> block(DXR_GetDefaultMid(), length);
    if (block.Get() == nullptr) {
        return dxr::kFailure;
    }
    if (!file.Open(filePath)) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelOpenFailure, "[TOLV BIN] open file unsuccessfully");
        }
        return dxr::kFailure;
    }
    // One item of the whole length, and yet the result is compared with bytes: intended, the host's
    // read reports bytes.
    const uint32_t read = DXR_FRead(block.Get(), length, 1, file.Get());
    if (read != length) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "[TOLV BIN] read file error ret[0x%x]", read);
        }
        return dxr::kFailure;
    }
    *data = block.Release();
    *len = length;
    return dxr::kSuccess;
}

uint32_t DXR_GetBinFileData(const char *folderName, const char *fileName, uint8_t **data,
                            uint32_t *len) {
    char filePath[dxr::kPathSize] = {};
    if (DXR_GetBinFilePath(folderName, fileName, filePath, dxr::kPathSize) != dxr::kSuccess) {
        return dxr::kFailure;
    }
    return DXR_GetBinFileDataByFilePath(filePath, data, len);
}

uint32_t DXR_GetWorkDir(const char *subDir, char *path, uint32_t len) {
    char workPath[dxr::kPathSize];
    if (!dxr::GetWorkPath(workPath)) {
        return dxr::kNoWorkPath;
    }
    const int stored =
        subDir != nullptr ? dxr::snprintf_truncated_s(path, len, "%s/%s", workPath, subDir) : -1;
    return dxr::IsFormatted(stored) ? dxr::kSuccess : dxr::kNoPath;
}

uint32_t DXR_GetLatestFile(const char *pattern, const char *subDir, char *fileName, uint32_t len) {
    if (fileName == nullptr) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "[LINKM_BIN] file name is nullptr");
        }
        return dxr::kNoFileNameBuffer;
    }
    if (len == 0) {
        return dxr::kNothingFound;
    }
    dxr::GreatestName greatest(fileName, len);
    char directory[dxr::kPathSize] = {};
    // Whatever the reason, intended: the code of the inner function is not passed on.
    if (DXR_GetWorkDir(subDir, directory, dxr::kPathSize) != dxr::kSuccess) {
        return dxr::kNoPath;
    }
    dxr::Folder folder(directory);
    if (!folder.IsOpen()) {
        const int error = errno;
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "[LINKM_BIN] open dir %s failed, errno: %d.", directory,
                  error);
        }
        return dxr::kFolderNotOpened;
    }
    return dxr::FindGreatestName(folder, pattern, greatest);
}
