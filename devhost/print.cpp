#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "dxr_devhost.h"
#include "services.h"

namespace devhost {
namespace {

constexpr uint32_t kLevelFailure = 1;
constexpr uint32_t kDefaultMaxLevel = 2;
constexpr size_t kTextRoom = 4096;

// Where messages go: to a function or to a file.
struct PrintTarget {
    DxrHostPrintSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stderr;
    std::string prefix = "dxr ";
};

struct DiagTarget {
    DxrHostLineSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stdout;
};

struct Settings {
    std::mutex mutex;
    uint32_t maxLevel = kDefaultMaxLevel;
    PrintTarget print;
    DiagTarget diag;
    std::string logDirectory = DXR_PRIVATE_LOG_DIRECTORY;
};

Settings &TheSettings() {
    static Settings &settings = *new Settings;
    return settings;
}

void Deliver(const PrintTarget &target, uint32_t level, const char *text) {
    if (target.sink != nullptr) {
        target.sink(level, text, target.user);
    } else if (target.file != nullptr) {
        (void)std::fprintf(target.file, "%s[%u] %s\n", target.prefix.c_str(), level, text);
    }
}

// The library writes with "%s" and hands over the whole rest of a long text each time: only what is
// stored of it is looked at.
size_t FormatPiece(std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> &piece, const char *format,
                   std::va_list args) {
    if (std::strcmp(format, "%s") == 0) {
        const char *const text = va_arg(args, const char *);
        const size_t length = strnlen(text, DXR_PRIVATE_LOG_WRITE_MAX);
        std::memcpy(piece.data(), text, length);
        return length;
    }
    if (std::vsnprintf(piece.data(), piece.size(), format, args) < 0) {
        return 0;
    }
    return std::strlen(piece.data());
}

bool AppendToFile(const std::string &path, const char *text, size_t length) {
    std::FILE *const file = std::fopen(path.c_str(), "ae");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(text, 1, length, file) == length;
    return std::fclose(file) == 0 && written;
}

}  // namespace

void Print(uint32_t level, const char *format, ...) {
    PrintTarget target;
    {
        Settings &settings = TheSettings();
        const std::lock_guard lock(settings.mutex);
        if (level > settings.maxLevel) {
            return;
        }
        target = settings.print;
    }
    std::array<char, kTextRoom> text;
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    if (length >= 0) {
        Deliver(target, level, text.data());
    }
}

uint32_t DiagLogFilter(const char *text) {
    DiagTarget target;
    {
        Settings &settings = TheSettings();
        const std::lock_guard lock(settings.mutex);
        target = settings.diag;
    }
    if (target.sink != nullptr) {
        target.sink(text, target.user);
    } else if (target.file != nullptr) {
        (void)std::fprintf(target.file, "%s\n", text);
    }
    return 0;
}

uint32_t GetDbgLevel() {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    return settings.maxLevel;
}

uint32_t SetDbgLevel(uint32_t level) {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.maxLevel = level;
    return 0;
}

uint32_t WritePrivateLog(const char *name, const char *format, ...) {
    std::string path;
    {
        Settings &settings = TheSettings();
        const std::lock_guard lock(settings.mutex);
        path = settings.logDirectory + name;
    }
    std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> piece;
    std::va_list args;
    va_start(args, format);
    const size_t length = FormatPiece(piece, format, args);
    va_end(args);
    if (!AppendToFile(path, piece.data(), length)) {
        Print(kLevelFailure, "private log %s cannot be written", path.c_str());
        return 1;
    }
    return 0;
}

void ResetPrint() {
    Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.maxLevel = kDefaultMaxLevel;
    settings.print = {};
    settings.diag = {};
    settings.logDirectory = DXR_PRIVATE_LOG_DIRECTORY;
}

}  // namespace devhost

using devhost::TheSettings;

void DxrHostSetPrintFile(FILE *out, uint32_t maxLevel, const char *prefix) {
    devhost::Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.maxLevel = maxLevel;
    settings.print = {nullptr, nullptr, out, prefix != nullptr ? prefix : ""};
}

void DxrHostSetPrintSink(DxrHostPrintSink sink, void *user, uint32_t maxLevel) {
    devhost::Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.maxLevel = maxLevel;
    settings.print = {sink, user, nullptr, {}};
}

void DxrHostSetDiagFile(FILE *out) {
    devhost::Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.diag = {nullptr, nullptr, out};
}

void DxrHostSetDiagSink(DxrHostLineSink sink, void *user) {
    devhost::Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.diag = {sink, user, nullptr};
}

void DxrHostSetLogDirectory(const char *directory) {
    devhost::Settings &settings = TheSettings();
    const std::lock_guard lock(settings.mutex);
    settings.logDirectory = directory;
}
