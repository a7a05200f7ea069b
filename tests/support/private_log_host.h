// A host that keeps private logs: the test host, the sandboxed files, and the two hooks a log
// needs.
#ifndef DXR_TESTS_SUPPORT_PRIVATE_LOG_HOST_H
#define DXR_TESTS_SUPPORT_PRIVATE_LOG_HOST_H

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include "dxr_api.h"
#include "support/file_sandbox.h"
#include "support/test_host.h"

namespace dxrtest {

// One at a time, as its parts are. Hooks log into `host.calls`, among the calls of the file
// functions: "write NAME FORMAT", "fileLength PATH".
class PrivateLogHost {
  public:
    // The bound of the hook on what one call writes.
    static constexpr size_t kWriteLimit = 1000;

    PrivateLogHost() {
        current = this;
        host.WithMemory();
        g_dxrHooks.print.writePrivateLog = Write;
        g_dxrHooks.system.fileLength = FileLength;
    }
    ~PrivateLogHost() { current = nullptr; }
    PrivateLogHost(const PrivateLogHost &) = delete;
    PrivateLogHost &operator=(const PrivateLogHost &) = delete;

    TestHost host;
    FileSandbox files{host.calls};

    // Each replaces the hook's own answer when it is set.
    std::function<uint32_t(const char *name, const char *rest)> onWrite;
    std::function<uint32_t(const char *path)> onFileLength;
    uint32_t writeResult = 0;

    static uint32_t FileLength(const char *path) {
        if (current->files.watching) {
            current->host.calls.push_back(std::string("fileLength ") + path);
        }
        if (current->onFileLength) {
            return current->onFileLength(path);
        }
        std::error_code error;
        const auto size = std::filesystem::file_size(current->files.OnDisk(path), error);
        return error ? 0xFFFFFFFF : static_cast<uint32_t>(size);
    }

    DXR_PRINTF(2, 3)
    static uint32_t Write(const char *name, const char *format, ...) {
        if (current->files.watching) {
            current->host.calls.push_back(std::string("write ") + name + " " + format);
        }
        std::va_list args;
        va_start(args, format);
        const char *const rest = va_arg(args, const char *);
        va_end(args);
        if (current->onWrite) {
            return current->onWrite(name, rest);
        }
        current->files.Append(name, std::string(rest, strnlen(rest, kWriteLimit)));
        return current->writeResult;
    }

  private:
    static inline PrivateLogHost *current = nullptr;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_PRIVATE_LOG_HOST_H
