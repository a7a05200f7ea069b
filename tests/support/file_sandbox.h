// Puts a temporary directory in the place of /opt/lomk2 for the C library's file functions, as the
// code under test calls them: the test program defines these functions itself, and the shared
// library finds them there. Calls are logged, and each can be made to fail. Outside the life of a
// sandbox everything passes through.
#ifndef DXR_TESTS_SUPPORT_FILE_SANDBOX_H
#define DXR_TESTS_SUPPORT_FILE_SANDBOX_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace dxrtest {

// One at a time. Destruction removes the directory and fails the test for streams that were left
// open.
class FileSandbox {
  public:
    static constexpr const char *kRoot = "/opt/lomk2";

    // Calls go to `log` in order: "realpath PATH", "fopen PATH MODE", "fseek OFFSET", "fread
    // BYTES", "fwrite BYTES", "fgets BYTES", "fclose", "remove PATH", "rename FROM TO".
    explicit FileSandbox(std::vector<std::string> &log);
    ~FileSandbox();
    FileSandbox(const FileSandbox &) = delete;
    FileSandbox &operator=(const FileSandbox &) = delete;

    // The n-th call of `function` from now on (1: the next one) fails with `error`, once.
    void Fail(const std::string &function, int error, uint64_t n = 1);
    // Every call of `function` from now on fails.
    void FailAll(const std::string &function, int error);
    // Stands for fread: gets the block and the bytes wanted, gives the bytes read.
    std::function<size_t(void *, size_t)> readInstead;
    // Off: calls still go to the temporary directory, but none is logged, counted or made to fail.
    bool watching = true;

    [[nodiscard]] uint64_t Count(const std::string &function) const;
    [[nodiscard]] size_t OpenStreams() const { return streams_.size(); }

    // Where a path below kRoot lies on the disk; other paths as they are. Never logged.
    [[nodiscard]] std::string OnDisk(const std::string &path) const;

    // Files of the log directory, reached without the functions above.
    [[nodiscard]] std::filesystem::path Log(const std::string &name) const;
    void Put(const std::string &name, const std::string &content) const;
    void Append(const std::string &name, const std::string &content) const;
    [[nodiscard]] std::optional<std::string> Content(
        const std::string &name) const;  // none: missing
    [[nodiscard]] std::vector<std::string> Names() const;

  private:
    friend struct FileCalls;

    struct Failure {
        uint64_t first;
        uint64_t last;
        int error;
    };
    // Counts and logs a call; true when it is to fail, errno is then set.
    bool Enter(const char *function, const std::string &arguments);
    [[nodiscard]] std::string FromDisk(const std::string &path) const;

    std::vector<std::string> &log_;
    std::string top_;
    std::map<std::string, uint64_t> counts_;
    std::map<std::string, Failure> failures_;
    std::set<std::FILE *> streams_;
    std::set<std::FILE *> broken_;  // report an error from now on
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_FILE_SANDBOX_H
