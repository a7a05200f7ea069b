// A file system in memory, in the place of the C library's for the sources that are linked with the
// options --wrap=fopen and so on (see CMakeLists.txt). It stands in only while a target asks for
// it; everybody else reaches the C library.
#ifndef DXR_TESTS_FUZZ_MEMORY_FILES_H
#define DXR_TESTS_FUZZ_MEMORY_FILES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace dxrfuzz {

// What can be made to fail.
enum class Call : uint8_t {
    kRealpath,
    kFopen,
    kFseek,
    kFgets,
    kFread,
    kFwrite,
    kRemove,
    kRename,
    kOpendir,
    kCalls,
};

struct MemoryFile {
    std::string path;
    std::string content;
    bool exists = false;
};

class MemoryFiles {
  public:
    static constexpr size_t kFiles = 4;
    static constexpr size_t kHandles = 4;

    std::array<MemoryFile, kFiles> files;
    // The n-th call from now on fails, once; 0: none. A read that fails gives half of what was
    // wanted first, and so does a write.
    std::array<uint32_t, static_cast<size_t>(Call::kCalls)> failIn = {};
    int openHandles = 0;

    // Names in a folder, one after the other, each ended by a NUL byte.
    std::string folderPath;
    std::string folderNames;
    int openFolders = 0;

    bool Fails(Call call) {
        uint32_t &left = failIn[static_cast<size_t>(call)];
        return left != 0 && --left == 0;
    }

    MemoryFile *Find(std::string_view path) {
        for (MemoryFile &file : files) {
            if (file.exists && file.path == path) {
                return &file;
            }
        }
        return nullptr;
    }

    // The one that the C library's calls reach while it stands in; null: the C library itself.
    static inline MemoryFiles *standing = nullptr;
};

class StandIn {
  public:
    explicit StandIn(MemoryFiles *files) { MemoryFiles::standing = files; }
    ~StandIn() { MemoryFiles::standing = nullptr; }
    StandIn(const StandIn &) = delete;
    StandIn &operator=(const StandIn &) = delete;
};

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_MEMORY_FILES_H
