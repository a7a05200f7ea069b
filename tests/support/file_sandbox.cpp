// The definitions below are of the plain functions, however the rest of the program is built.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS

#include "support/file_sandbox.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "dxr/print_private_log.h"

namespace dxrtest {
namespace {

FileSandbox *g_sandbox = nullptr;

// The function that would have been called without this file.
template <typename Function>
Function *Next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void WriteFile(const std::filesystem::path &path, const std::string &content, int flags) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644);
    ASSERT_GE(file, 0) << path;
    EXPECT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    ::close(file);
}

bool IsBelow(const std::string &path, const std::string &root) {
    return path.compare(0, root.size(), root) == 0 &&
           (path.size() == root.size() || path[root.size()] == '/');
}

}  // namespace

FileSandbox::FileSandbox(std::vector<std::string> &log) : log_(log) {
    if (g_sandbox != nullptr) {
        std::fprintf(stderr, "two file sandboxes at a time\n");
        std::abort();
    }
    std::string pattern =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "dxr-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp");
        std::abort();
    }
    top_ = pattern;
    std::filesystem::create_directories(top_ + DXR_PRIVATE_LOG_DIRECTORY);
    g_sandbox = this;
}

FileSandbox::~FileSandbox() {
    g_sandbox = nullptr;
    EXPECT_EQ(streams_.size(), 0U) << "streams were left open";
    std::error_code ignored;
    std::filesystem::remove_all(top_, ignored);
}

void FileSandbox::Fail(const std::string &function, int error, uint64_t n) {
    const uint64_t call = counts_[function] + n;
    failures_[function] = {call, call, error};
}

void FileSandbox::FailAll(const std::string &function, int error) {
    failures_[function] = {counts_[function] + 1, UINT64_MAX, error};
}

uint64_t FileSandbox::Count(const std::string &function) const {
    const auto found = counts_.find(function);
    return found != counts_.end() ? found->second : 0;
}

std::string FileSandbox::OnDisk(const std::string &path) const {
    return IsBelow(path, kRoot) ? top_ + path : path;
}

std::string FileSandbox::FromDisk(const std::string &path) const {
    return IsBelow(path, top_ + kRoot) ? path.substr(top_.size()) : path;
}

std::filesystem::path FileSandbox::Log(const std::string &name) const {
    return top_ + DXR_PRIVATE_LOG_DIRECTORY + name;
}

void FileSandbox::Put(const std::string &name, const std::string &content) const {
    WriteFile(Log(name), content, O_TRUNC);
}

void FileSandbox::Append(const std::string &name, const std::string &content) const {
    WriteFile(Log(name), content, O_APPEND);
}

std::optional<std::string> FileSandbox::Content(const std::string &name) const {
    const int file = ::open(Log(name).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return std::nullopt;
    }
    std::string content;
    std::array<char, 4096> block;
    for (ssize_t got = 0; (got = ::read(file, block.data(), block.size())) > 0;) {
        content.append(block.data(), static_cast<size_t>(got));
    }
    ::close(file);
    return content;
}

std::vector<std::string> FileSandbox::Names() const {
    std::vector<std::string> names;
    for (const auto &entry :
         std::filesystem::directory_iterator(top_ + DXR_PRIVATE_LOG_DIRECTORY)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool FileSandbox::Enter(const char *function, const std::string &arguments) {
    if (!watching) {
        return false;
    }
    log_.push_back(arguments.empty() ? function : function + (" " + arguments));
    const uint64_t call = ++counts_[function];
    const auto failure = failures_.find(function);
    if (failure == failures_.end() || call < failure->second.first || call > failure->second.last) {
        return false;
    }
    errno = failure->second.error;
    return true;
}

// What the interposed functions do; `next` is the function they stand before.
struct FileCalls {
    static char *RealPath(char *(*next)(const char *, char *), const char *path, char *resolved) {
        FileSandbox *const sandbox = g_sandbox;
        if (sandbox == nullptr || path == nullptr) {
            return next(path, resolved);
        }
        if (sandbox->Enter("realpath", path)) {
            return nullptr;
        }
        if (resolved == nullptr) {
            // cppcheck-suppress returnDanglingLifetime; allocated by the C library
            return next(sandbox->OnDisk(path).c_str(), nullptr);
        }
        std::array<char, PATH_MAX> found;
        if (next(sandbox->OnDisk(path).c_str(), found.data()) == nullptr) {
            return nullptr;
        }
        const std::string shown = sandbox->FromDisk(found.data());
        std::memcpy(resolved, shown.c_str(), shown.size() + 1);
        return resolved;
    }

    static std::FILE *Open(std::FILE *(*next)(const char *, const char *), const char *path,
                           const char *mode) {
        FileSandbox *const sandbox = g_sandbox;
        if (sandbox == nullptr) {
            return next(path, mode);
        }
        if (sandbox->Enter("fopen", std::string(path) + " " + mode)) {
            return nullptr;
        }
        std::FILE *const stream = next(sandbox->OnDisk(path).c_str(), mode);
        // cppcheck-suppress danglingTemporaryLifetime; the stream does not hold the path
        if (stream != nullptr) {
            sandbox->streams_.insert(stream);
        }
        return stream;
    }

    // The sandbox, if it opened the stream.
    static FileSandbox *Of(std::FILE *stream) {
        return g_sandbox != nullptr && g_sandbox->streams_.count(stream) != 0 ? g_sandbox : nullptr;
    }

    template <typename Number>
    static bool Fails(FileSandbox *sandbox, const char *function, Number number) {
        return sandbox->watching && sandbox->Enter(function, std::to_string(number));
    }

    static void Break(FileSandbox *sandbox, std::FILE *stream) { sandbox->broken_.insert(stream); }

    static bool IsBroken(std::FILE *stream) {
        return g_sandbox != nullptr && g_sandbox->broken_.count(stream) != 0;
    }

    // For fclose; true when it is to fail.
    static bool Forget(FileSandbox *sandbox, std::FILE *stream) {
        sandbox->streams_.erase(stream);
        sandbox->broken_.erase(stream);
        return sandbox->Enter("fclose", "");
    }

    // Nothing outside the sandbox is ever removed or renamed.
    static bool Refused(const FileSandbox &sandbox, const std::string &path) {
        if (IsBelow(sandbox.OnDisk(path), sandbox.top_)) {
            return false;
        }
        ADD_FAILURE() << "a file outside the sandbox is to go: " << path;
        errno = EPERM;
        return true;
    }

    static int Remove(int (*next)(const char *), const char *path) {
        FileSandbox *const sandbox = g_sandbox;
        if (sandbox == nullptr) {
            return next(path);
        }
        if (sandbox->Enter("remove", path) || Refused(*sandbox, path)) {
            return -1;
        }
        return next(sandbox->OnDisk(path).c_str());
    }

    static int Rename(int (*next)(const char *, const char *), const char *from, const char *to) {
        FileSandbox *const sandbox = g_sandbox;
        if (sandbox == nullptr) {
            return next(from, to);
        }
        if (sandbox->Enter("rename", std::string(from) + " " + to) || Refused(*sandbox, from) ||
            Refused(*sandbox, to)) {
            return -1;
        }
        return next(sandbox->OnDisk(from).c_str(), sandbox->OnDisk(to).c_str());
    }
};

}  // namespace dxrtest

using dxrtest::FileCalls;
using dxrtest::Next;

extern "C" {

char *realpath(const char *path, char *resolved) noexcept {
    static const auto next = Next<char *(const char *, char *)>("realpath");
    return FileCalls::RealPath(next, path, resolved);
}

// The name a fortified build calls.
char *__realpath_chk(const char *path, char *resolved, size_t size) noexcept;
char *__realpath_chk(const char *path, char *resolved, size_t size) noexcept {
    if (resolved != nullptr && size < PATH_MAX) {
        std::abort();
    }
    return realpath(path, resolved);
}

std::FILE *fopen(const char *path, const char *mode) {
    static const auto next = Next<std::FILE *(const char *, const char *)>("fopen");
    return FileCalls::Open(next, path, mode);
}

// The name a build with 64-bit offsets calls.
std::FILE *fopen64(const char *path, const char *mode) {
    static const auto next = Next<std::FILE *(const char *, const char *)>("fopen64");
    return FileCalls::Open(next, path, mode);
}

int fclose(std::FILE *stream) {
    static const auto next = Next<int(std::FILE *)>("fclose");
    dxrtest::FileSandbox *const sandbox = FileCalls::Of(stream);
    if (sandbox == nullptr) {
        return next(stream);
    }
    const bool fails = FileCalls::Forget(sandbox, stream);
    const int result = next(stream);
    return fails ? EOF : result;
}

int fseek(std::FILE *stream, long offset, int whence) {
    static const auto next = Next<int(std::FILE *, long, int)>("fseek");
    dxrtest::FileSandbox *const sandbox = FileCalls::Of(stream);
    if (sandbox != nullptr) {
        EXPECT_EQ(whence, SEEK_SET);
        if (FileCalls::Fails(sandbox, "fseek", offset)) {
            return -1;
        }
    }
    return next(stream, offset, whence);
}

size_t fread(void *block, size_t size, size_t count, std::FILE *stream) {
    static const auto next = Next<size_t(void *, size_t, size_t, std::FILE *)>("fread");
    dxrtest::FileSandbox *const sandbox = FileCalls::Of(stream);
    if (sandbox == nullptr) {
        return next(block, size, count, stream);
    }
    if (FileCalls::Fails(sandbox, "fread", size * count)) {
        FileCalls::Break(sandbox, stream);
        return 0;
    }
    if (sandbox->readInstead) {
        return sandbox->readInstead(block, size * count) / size;
    }
    return next(block, size, count, stream);
}

size_t fwrite(const void *block, size_t size, size_t count, std::FILE *stream) {
    static const auto next = Next<size_t(const void *, size_t, size_t, std::FILE *)>("fwrite");
    dxrtest::FileSandbox *const sandbox = FileCalls::Of(stream);
    if (sandbox != nullptr && FileCalls::Fails(sandbox, "fwrite", size * count)) {
        FileCalls::Break(sandbox, stream);
        return 0;
    }
    return next(block, size, count, stream);
}

char *fgets(char *text, int size, std::FILE *stream) {
    static const auto next = Next<char *(char *, int, std::FILE *)>("fgets");
    dxrtest::FileSandbox *const sandbox = FileCalls::Of(stream);
    if (sandbox != nullptr && FileCalls::Fails(sandbox, "fgets", size)) {
        FileCalls::Break(sandbox, stream);
        return nullptr;
    }
    return next(text, size, stream);
}

int ferror(std::FILE *stream) noexcept {
    static const auto next = Next<int(std::FILE *)>("ferror");
    return FileCalls::IsBroken(stream) ? 1 : next(stream);
}

int remove(const char *path) noexcept {
    static const auto next = Next<int(const char *)>("remove");
    return FileCalls::Remove(next, path);
}

int rename(const char *from, const char *to) noexcept {
    static const auto next = Next<int(const char *, const char *)>("rename");
    return FileCalls::Rename(next, from, to);
}

}  // extern "C"
