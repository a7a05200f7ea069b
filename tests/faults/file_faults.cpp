// The definitions below are of the plain functions, however the rest of the program is built.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS

#include "faults/file_faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "dxr/print_private_log.h"

namespace dxrtest {
namespace {

constexpr const char *kRoot = "/opt/lomk2";

FileFaults *g_faults = nullptr;

template <typename Function>
Function *Next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool IsBelow(const std::string &path, const std::string &root) {
    return path.compare(0, root.size(), root) == 0 &&
           (path.size() == root.size() || path[root.size()] == '/');
}

void WriteFile(const std::string &path, const std::string &content, int flags) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644);
    ASSERT_GE(file, 0) << path;
    EXPECT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    ::close(file);
}

// --- the system calls beneath a stream. Streams outlive the window of a test only by mistake.

struct Beneath {
    int file;
};

ssize_t ReadBeneath(void *cookie, char *block, size_t size) {
    size_t wanted = size;
    if (const auto kind = g_faults->Step("read", 4)) {
        switch (*kind) {
            case 0:
                errno = EIO;
                return -1;
            case 1:
                errno = EINTR;
                return -1;
            case 2:
                return 0;
            default:
                wanted = std::min<size_t>(size, 1);
        }
    }
    return ::read(static_cast<Beneath *>(cookie)->file, block, wanted);
}

// As the C library does it for a descriptor: a short write is gone on with, any error ends it.
ssize_t WriteBeneath(void *cookie, const char *block, size_t size) {
    size_t done = 0;
    while (done < size) {
        size_t wanted = size - done;
        if (const auto kind = g_faults->Step("write", 4)) {
            if (*kind < 3) {
                errno = std::array{ENOSPC, EIO, EINTR}[*kind];
                break;
            }
            wanted = 1;
        }
        const ssize_t wrote = ::write(static_cast<Beneath *>(cookie)->file, block + done, wanted);
        if (wrote <= 0) {
            break;
        }
        g_faults->written.append(block + done, static_cast<size_t>(wrote));
        done += static_cast<size_t>(wrote);
    }
    return static_cast<ssize_t>(done);
}

int SeekBeneath(void *cookie, off64_t *offset, int whence) {
    if (g_faults->Fails("lseek", {EIO})) {
        return -1;
    }
    const off_t at = ::lseek(static_cast<Beneath *>(cookie)->file, *offset, whence);
    *offset = at;
    return at < 0 ? -1 : 0;
}

// The descriptor is gone, whatever close answers.
int CloseBeneath(void *cookie) {
    const std::unique_ptr<Beneath> beneath(static_cast<Beneath *>(cookie));
    ::close(beneath->file);
    return g_faults->Fails("close", {EIO, EINTR, ENOSPC}) ? -1 : 0;
}

std::FILE *OpenStream(const std::string &path, const std::string &mode) {
    const int flags = mode == "r" ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    const int file = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
    if (file < 0) {
        return nullptr;
    }
    std::FILE *const stream = fopencookie(new Beneath{file}, mode.c_str(),
                                          {ReadBeneath, WriteBeneath, SeekBeneath, CloseBeneath});
    EXPECT_NE(stream, nullptr);
    return stream;
}

bool Ended(std::FILE *stream) {
    return std::feof(stream) != 0 || std::ferror(stream) != 0;
}

}  // namespace

FileFaults::FileFaults() {
    // In memory if nobody says where: the files are made anew for each run.
    constexpr const char *kMemory = "/dev/shm";
    const bool isMemory = std::getenv("TMPDIR") == nullptr && ::access(kMemory, W_OK) == 0;
    std::string pattern =
        std::filesystem::canonical(isMemory ? kMemory : std::filesystem::temp_directory_path()) /
        "dxr-test-XXXXXX";
    if (g_faults != nullptr || mkdtemp(pattern.data()) == nullptr) {
        std::abort();
    }
    top_ = pattern;
    std::filesystem::create_directories(top_ + DXR_PRIVATE_LOG_DIRECTORY);
    g_faults = this;
}

FileFaults::~FileFaults() {
    g_faults = nullptr;
    std::error_code ignored;
    std::filesystem::remove_all(top_, ignored);
}

void FileFaults::Begin() {
    calls.clear();
    steps.clear();
    written.clear();
    writtenBefore.clear();
    failed = 0;
    active_ = true;
}

void FileFaults::FailByChance(uint32_t oneIn, uint64_t seed) {
    plan_ = {.oneIn = oneIn};
    random_.seed(seed);
}

std::optional<size_t> FileFaults::Step(const char *name, size_t kinds) {
    steps.emplace_back(name, kinds);
    writtenBefore.push_back(written.size());
    if (steps.size() == plan_.killBefore) {
        ::raise(SIGKILL);
    }
    bool fails = steps.size() == plan_.step || (plan_.fromThenOn && steps.size() > plan_.step);
    size_t kind = plan_.kind;
    if (plan_.oneIn != 0) {
        fails = random_() % plan_.oneIn == 0;
        kind = random_() % kinds;
    }
    if (!fails) {
        return std::nullopt;
    }
    ++failed;
    return kind % kinds;
}

bool FileFaults::Fails(const char *name, const std::vector<int> &errors) {
    const auto kind = Step(name, errors.size());
    if (kind) {
        errno = errors[*kind];
    }
    return kind.has_value();
}

std::string FileFaults::OnDisk(const std::string &path) const {
    return IsBelow(path, kRoot) ? top_ + path : path;
}

std::string FileFaults::FromDisk(const std::string &path) const {
    return IsBelow(path, top_ + kRoot) ? path.substr(top_.size()) : path;
}

void FileFaults::Put(const std::string &name, const std::string &content) {
    const Pause pause(*this);
    WriteFile(top_ + DXR_PRIVATE_LOG_DIRECTORY + name, content, O_TRUNC);
}

void FileFaults::Append(const std::string &name, const std::string &content) {
    const Pause pause(*this);
    WriteFile(top_ + DXR_PRIVATE_LOG_DIRECTORY + name, content, O_APPEND);
}

void FileFaults::Clear() {
    const Pause pause(*this);
    for (const auto &entry :
         std::filesystem::directory_iterator(top_ + DXR_PRIVATE_LOG_DIRECTORY)) {
        std::filesystem::remove_all(entry.path());
    }
}

std::map<std::string, std::string> FileFaults::Files() {
    const Pause pause(*this);
    std::map<std::string, std::string> files;
    for (const auto &entry :
         std::filesystem::directory_iterator(top_ + DXR_PRIVATE_LOG_DIRECTORY)) {
        std::string &content = files[entry.path().filename()];
        const int file = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
        std::array<char, 4096> block;
        for (ssize_t got = 0; (got = ::read(file, block.data(), block.size())) > 0;) {
            content.append(block.data(), static_cast<size_t>(got));
        }
        ::close(file);
    }
    return files;
}

size_t FileFaults::Descriptors() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(open), end(open)));
}

FileFaults *FileFaults::Active() {
    return g_faults != nullptr && g_faults->active_ ? g_faults : nullptr;
}

const FileCall &Replay::Next(const std::string &text) {
    static const FileCall kNone = {"nothing", true};
    const FileCall &call = at_ < calls_.size() ? calls_[at_] : kNone;
    ++at_;
    EXPECT_EQ(call.text, text) << "call " << at_;
    return call;
}

void Replay::ExpectEnd() const {
    EXPECT_EQ(at_, calls_.size()) << "calls too many, from "
                                  << (at_ < calls_.size() ? calls_[at_].text : "");
}

}  // namespace dxrtest

using dxrtest::FileFaults;
using dxrtest::Next;

extern "C" {

char *realpath(const char *path, char *resolved) noexcept {
    static const auto next = Next<char *(const char *, char *)>("realpath");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(path, resolved);
    }
    char *result = nullptr;
    if (!faults->Fails("realpath", {ENOENT, EACCES, EIO, ENOMEM})) {
        std::array<char, PATH_MAX> found;
        if (next(faults->OnDisk(path).c_str(), found.data()) != nullptr) {
            const std::string shown = faults->FromDisk(found.data());
            std::memcpy(resolved, shown.c_str(), shown.size() + 1);
            result = resolved;
        }
    }
    faults->Log({std::string("realpath ") + path, result == nullptr});
    return result;
}

// The name a fortified build calls; so below.
char *__realpath_chk(const char *path, char *resolved, size_t size) noexcept;
char *__realpath_chk(const char *path, char *resolved, size_t /*size*/) noexcept {
    return realpath(path, resolved);
}

std::FILE *fopen(const char *path, const char *mode) {
    static const auto next = Next<std::FILE *(const char *, const char *)>("fopen");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(path, mode);
    }
    std::FILE *stream = nullptr;
    if (!faults->Fails("fopen", {EMFILE, EACCES, ENOSPC, EINTR, EIO})) {
        stream = dxrtest::OpenStream(faults->OnDisk(path), mode);
    }
    if (stream != nullptr) {
        faults->streams.insert(stream);
    }
    faults->Log({std::string("fopen ") + path + " " + mode, stream == nullptr});
    return stream;
}

std::FILE *fopen64(const char *path, const char *mode) {
    return fopen(path, mode);
}

// Closes whatever it answers, as the C library does.
int fclose(std::FILE *stream) {
    static const auto next = Next<int(std::FILE *)>("fclose");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr || faults->streams.count(stream) == 0) {
        return next(stream);
    }
    faults->streams.erase(stream);
    faults->broken.erase(stream);
    const bool fails = faults->Fails("fclose", {EIO, ENOSPC, EINTR});
    const int result = next(stream);
    faults->Log({"fclose", fails || result != 0});
    return fails ? EOF : result;
}

int fseek(std::FILE *stream, long offset, int whence) {
    static const auto next = Next<int(std::FILE *, long, int)>("fseek");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr || faults->streams.count(stream) == 0) {
        return next(stream, offset, whence);
    }
    const int result = faults->Fails("fseek", {EIO, EINTR}) ? -1 : next(stream, offset, whence);
    faults->Log({"fseek " + std::to_string(offset) + " " + std::to_string(whence), result != 0});
    return result;
}

size_t fread(void *block, size_t size, size_t count, std::FILE *stream) {
    static const auto next = Next<size_t(void *, size_t, size_t, std::FILE *)>("fread");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr || faults->streams.count(stream) == 0) {
        return next(block, size, count, stream);
    }
    size_t got = 0;
    const auto kind = faults->Step("fread", 3);
    if (kind) {
        // Nothing and an error; a part and an error; a part and no reason.
        got = *kind == 0 ? 0 : next(block, size, count / 2, stream);
        if (*kind < 2) {
            faults->broken.insert(stream);
        }
    } else {
        got = next(block, size, count, stream);
    }
    faults->Log({"fread " + std::to_string(size * count), got != count,
                 std::string(static_cast<const char *>(block), got * size),
                 dxrtest::Ended(stream)});
    return got;
}

size_t __fread_chk(void *block, size_t room, size_t size, size_t count, std::FILE *stream);
size_t __fread_chk(void *block, size_t /*room*/, size_t size, size_t count, std::FILE *stream) {
    return fread(block, size, count, stream);
}

size_t fwrite(const void *block, size_t size, size_t count, std::FILE *stream) {
    static const auto next = Next<size_t(const void *, size_t, size_t, std::FILE *)>("fwrite");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr || faults->streams.count(stream) == 0) {
        return next(block, size, count, stream);
    }
    size_t put = 0;
    if (const auto kind = faults->Step("fwrite", 2)) {
        // Nothing, or a part.
        if (*kind == 1) {
            next(block, 1, size * count / 2, stream);
        }
        faults->broken.insert(stream);
    } else {
        put = next(block, size, count, stream);
    }
    faults->Log({"fwrite " + std::to_string(size) + " " + std::to_string(count) + " " +
                     std::string(static_cast<const char *>(block), size * count),
                 put != count});
    return put;
}

char *fgets(char *text, int size, std::FILE *stream) {
    static const auto next = Next<char *(char *, int, std::FILE *)>("fgets");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr || faults->streams.count(stream) == 0) {
        return next(text, size, stream);
    }
    char *result = nullptr;
    if (faults->Step("fgets", 1)) {
        faults->broken.insert(stream);
    } else {
        result = next(text, size, stream);
    }
    faults->Log({"fgets " + std::to_string(size), result == nullptr,
                 result != nullptr ? result : "", dxrtest::Ended(stream)});
    return result;
}

char *__fgets_chk(char *text, size_t room, int size, std::FILE *stream);
char *__fgets_chk(char *text, size_t /*room*/, int size, std::FILE *stream) {
    return fgets(text, size, stream);
}

int ferror(std::FILE *stream) noexcept {
    static const auto next = Next<int(std::FILE *)>("ferror");
    FileFaults *const faults = FileFaults::Active();
    return faults != nullptr && faults->broken.count(stream) != 0 ? 1 : next(stream);
}

int remove(const char *path) noexcept {
    static const auto next = Next<int(const char *)>("remove");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(path);
    }
    const std::string disk = faults->OnDisk(path);
    const bool fails = faults->Fails("remove", {EACCES, EBUSY, EIO, EROFS}) ||
                       !dxrtest::IsBelow(disk, faults->Top()) || next(disk.c_str()) != 0;
    faults->Log({std::string("remove ") + path, fails});
    return fails ? -1 : 0;
}

int rename(const char *from, const char *to) noexcept {
    static const auto next = Next<int(const char *, const char *)>("rename");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(from, to);
    }
    const std::string source = faults->OnDisk(from);
    const std::string target = faults->OnDisk(to);
    const bool fails = faults->Fails("rename", {EACCES, ENOSPC, EIO, EXDEV}) ||
                       !dxrtest::IsBelow(source, faults->Top()) ||
                       !dxrtest::IsBelow(target, faults->Top()) ||
                       next(source.c_str(), target.c_str()) != 0;
    faults->Log({std::string("rename ") + from + " " + to, fails});
    return fails ? -1 : 0;
}

int access(const char *path, int mode) noexcept {
    static const auto next = Next<int(const char *, int)>("access");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(path, mode);
    }
    const int result = faults->Fails("access", {ENOENT, EACCES, EIO}) ? -1 : next(path, mode);
    faults->Log({std::string("access ") + path, result != 0});
    return result;
}

DIR *opendir(const char *path) {
    static const auto next = Next<DIR *(const char *)>("opendir");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(path);
    }
    DIR *const folder =
        faults->Fails("opendir", {EMFILE, ENFILE, EACCES, ENOENT, ENOMEM, EINTR, EIO}) ? nullptr
                                                                                       : next(path);
    faults->Log({std::string("opendir ") + path, folder == nullptr,
                 folder == nullptr ? std::to_string(errno) : ""});
    return folder;
}

dirent *readdir(DIR *folder) {
    static const auto next = Next<dirent *(DIR *)>("readdir");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(folder);
    }
    dirent *const entry = faults->Fails("readdir", {EIO, EINTR, EBADF}) ? nullptr : next(folder);
    faults->Log({"readdir", entry == nullptr, entry != nullptr ? entry->d_name : ""});
    return entry;
}

int closedir(DIR *folder) {
    static const auto next = Next<int(DIR *)>("closedir");
    FileFaults *const faults = FileFaults::Active();
    if (faults == nullptr) {
        return next(folder);
    }
    const bool fails = faults->Fails("closedir", {EIO, EINTR});
    const int result = next(folder);
    faults->Log({"closedir", fails || result != 0});
    return fails ? -1 : result;
}

}  // extern "C"
