// A directory of one test's own, removed with all it holds.
#ifndef DXR_TESTS_TOOLS_TEMPORARY_DIRECTORY_H
#define DXR_TESTS_TOOLS_TEMPORARY_DIRECTORY_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace dxrtest {

class TemporaryDirectory {
  public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}
    explicit TemporaryDirectory(const std::filesystem::path &below) {
        std::string name = (below / "dxr_test_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        path_ = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    TemporaryDirectory(TemporaryDirectory &&) = delete;
    TemporaryDirectory &operator=(TemporaryDirectory &&) = delete;

    // Where files lie in memory, if the machine has that: for tests that write many, and have the
    // host bring each to the disk.
    static std::filesystem::path InMemory() {
        constexpr const char *kMemory = "/dev/shm";
        return access(kMemory, W_OK | X_OK) == 0 ? kMemory : std::filesystem::temp_directory_path();
    }

    [[nodiscard]] std::string Path(const std::string &name = {}) const {
        return name.empty() ? path_.string() : (path_ / name).string();
    }

    // Writes a file and returns its path.
    std::string Write(const std::string &name, const std::string &bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }

    [[nodiscard]] std::string Read(const std::string &name) const {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    std::filesystem::path path_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_TOOLS_TEMPORARY_DIRECTORY_H
