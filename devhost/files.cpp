#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "dxr_devhost.h"
#include "services.h"

namespace devhost {
namespace {

constexpr uint32_t kFailure = 1;
constexpr uint32_t kNoLength = 0xFFFFFFFF;

struct Names {
    std::string workPath = ".";
    std::string binFolder = "bin";
};

struct Settings {
    std::mutex mutex;
    Names names;
};

Settings &TheSettings() {
    static Settings &settings = *new Settings;
    return settings;
}

}  // namespace

void *FOpen(const char *path, const char *mode) {
    return std::fopen(path, mode);
}

uint32_t FClose(void *file) {
    return file != nullptr && std::fclose(static_cast<std::FILE *>(file)) == 0 ? 0 : kFailure;
}

// Gives the bytes read, not the items.
uint32_t FRead(void *buffer, uint32_t size, uint32_t count, void *file) {
    if (file == nullptr) {
        return 0;
    }
    // What the result cannot tell is not asked for.
    const uint64_t wanted = std::min<uint64_t>(uint64_t{size} * count, 0xFFFFFFFF);
    return static_cast<uint32_t>(std::fread(buffer, 1, wanted, static_cast<std::FILE *>(file)));
}

// `origin` is SEEK_SET, SEEK_CUR or SEEK_END; with SEEK_CUR and SEEK_END the offset is a signed
// number.
uint32_t FSeek(void *file, uint32_t offset, uint32_t origin) {
    constexpr std::array<int, 3> kOrigins = {SEEK_SET, SEEK_CUR, SEEK_END};
    const auto *const known =
        std::find(kOrigins.begin(), kOrigins.end(), static_cast<int64_t>(origin));
    if (file == nullptr || known == kOrigins.end()) {
        return kFailure;
    }
    const long distance = *known == SEEK_SET ? long{offset} : long{static_cast<int32_t>(offset)};
    return std::fseek(static_cast<std::FILE *>(file), distance, *known) == 0 ? 0 : kFailure;
}

uint32_t FileLength(const char *path) {
    struct stat status {};
    if (path == nullptr || stat(path, &status) != 0 || status.st_size > int64_t{kNoLength}) {
        return kNoLength;
    }
    return static_cast<uint32_t>(status.st_size);
}

const char *GetBinFolderName() {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    return settings.names.binFolder.c_str();
}

uint32_t GetSysWorkPath(char *buffer, uint32_t size) {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    if (buffer == nullptr || settings.names.workPath.size() >= size) {
        return kFailure;
    }
    std::memcpy(buffer, settings.names.workPath.c_str(), settings.names.workPath.size() + 1);
    return 0;
}

void ResetFiles() {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.names = {};
}

}  // namespace devhost

void DxrHostSetWorkPath(const char *path) {
    devhost::Settings &settings = devhost::TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.names.workPath = path;
}

void DxrHostSetBinFolderName(const char *name) {
    devhost::Settings &settings = devhost::TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.names.binFolder = name;
}
