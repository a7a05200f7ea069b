#include "chassis_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

#include "chassis_process.h"
#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr const char *kName = "board.log";
constexpr const char *kNext = "board.log.next";
constexpr mode_t kMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

Descriptor OpenDirectory(const std::string &path) {
    return Descriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Descriptor OpenFile(int directory, const char *name, int flags) {
    return Descriptor(
        openat(directory, name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | flags, kMode));
}

std::string OldName(uint32_t number) {
    return std::string(kName) + "." + std::to_string(number);
}

// The next file, once those before have their new names. It is there first: without it, all stays
// as it is.
Descriptor BeginNext(int directory, uint32_t kept) {
    Descriptor next = OpenFile(directory, kNext, O_TRUNC);
    if (!next) {
        return next;
    }
    for (uint32_t number = kept; number > 1; --number) {
        (void)renameat(directory, OldName(number - 1).c_str(), directory, OldName(number).c_str());
    }
    if (renameat(directory, kName, directory, OldName(1).c_str()) != 0 ||
        renameat(directory, kNext, directory, kName) != 0) {
        return {};
    }
    return next;
}

bool IsLong(const struct stat &file, const ChassisLog &limits) {
    return S_ISREG(file.st_mode) && static_cast<uint64_t>(file.st_size) > limits.mostBytes;
}

// The line that ends a report of a sanitizer, "==123==ABORTING": why stands in the one before.
bool IsEndOfReport(std::string_view line) {
    constexpr std::string_view kMark = "==";
    constexpr std::string_view kEnd = "==ABORTING";
    return line.size() > kMark.size() + kEnd.size() && line.starts_with(kMark) &&
           line.ends_with(kEnd) &&
           line.find_first_not_of("0123456789", kMark.size()) == line.size() - kEnd.size();
}

// Of the bytes of a file between two places.
std::string LastLine(const Descriptor &file, off_t from, off_t to) {
    constexpr off_t kMostBytes = 4096;
    const off_t begin = std::max(from, to - kMostBytes);
    std::string end(static_cast<size_t>(to - begin), '\0');
    const ssize_t bytes = pread(file.Get(), end.data(), end.size(), begin);
    end.resize(static_cast<size_t>(std::max<ssize_t>(bytes, 0)));
    const auto takeLine = [&end] {
        end.erase(end.find_last_not_of(" \t\r\n") + 1);
        const size_t lineBegin = end.find_last_of('\n') + 1;
        std::string line = end.substr(lineBegin);
        end.erase(lineBegin);
        return line;
    };
    std::string last = takeLine();
    if (IsEndOfReport(last)) {
        const std::string before = takeLine();
        last = before.empty() ? last : before;
    }
    return last;
}

}  // namespace

void TidyLog(const std::string &directory) {
    const Descriptor in = OpenDirectory(directory);
    struct stat latest {};
    if (in && fstatat(in.Get(), kName, &latest, AT_SYMLINK_NOFOLLOW) == 0) {
        (void)unlinkat(in.Get(), kNext, 0);
    } else if (in) {
        (void)renameat(in.Get(), kNext, in.Get(), kName);
    }
}

Descriptor OpenLog(const std::string &directory, const ChassisLog &limits) {
    TidyLog(directory);
    const Descriptor in = OpenDirectory(directory);
    struct stat found {};
    Descriptor log;
    if (in && fstatat(in.Get(), kName, &found, 0) == 0 && IsLong(found, limits)) {
        log = BeginNext(in.Get(), limits.kept);
    }
    if (in && !log) {
        log = OpenFile(in.Get(), kName, 0);
    }
    if (!log) {
        throw RunError(directory + "/" + kName + ": " + std::generic_category().message(errno));
    }
    return log;
}

LogPlace PlaceIn(const Descriptor &log) {
    struct stat found {};
    return fstat(log.Get(), &found) == 0 ? LogPlace{found.st_dev, found.st_ino, found.st_size}
                                         : LogPlace{};
}

LastWords LastWordsSince(const LogPlace &start, const std::string &directory) {
    const std::string latest = directory + "/" + kName;
    for (const std::string &path : {latest, directory + "/" + OldName(1)}) {
        struct stat found {};
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!file || fstat(file.Get(), &found) != 0 || !S_ISREG(found.st_mode)) {
            break;
        }
        // One that somebody has cut meanwhile has no more of what stood before.
        const bool isFirst = found.st_dev == start.device && found.st_ino == start.inode;
        const off_t from = isFirst && found.st_size >= start.size ? start.size : 0;
        const std::string line = LastLine(file, from, found.st_size);
        if (!line.empty()) {
            return {path, line};
        }
        if (isFirst) {
            break;
        }
    }
    return {latest, {}};
}

// The module may print to elsewhere meanwhile.
bool OwnLog::IsAt(int fd) const {
    struct stat log {};
    struct stat found {};
    return fstatat(directory_.Get(), kName, &log, 0) == 0 && fstat(fd, &found) == 0 &&
           found.st_dev == log.st_dev && found.st_ino == log.st_ino;
}

OwnLog::OwnLog(const std::string &directory, const ChassisLog &limits)
    : directory_(OpenDirectory(directory)), limits_(limits) {
}

void OwnLog::Look() {
    struct stat log {};
    if (fstatat(directory_.Get(), kName, &log, 0) != 0 || !IsLong(log, limits_)) {
        return;
    }
    const bool isOut = IsAt(STDOUT_FILENO);
    const bool isError = IsAt(STDERR_FILENO);
    if (!isOut && !isError) {
        return;
    }
    const Descriptor next = BeginNext(directory_.Get(), limits_.kept);
    if (!next) {
        if (!hasFailed_) {
            Say(stderr, "{}: no other one can be begun, so it grows: {}\n", kName,
                std::generic_category().message(errno));
        }
        hasFailed_ = true;
        return;
    }
    if (isOut) {
        (void)dup2(next.Get(), STDOUT_FILENO);
    }
    if (isError) {
        (void)dup2(next.Get(), STDERR_FILENO);
    }
}

uint64_t OwnLog::Error() {
    for (std::FILE *const stream : {stdout, stderr}) {
        // Without its lock, which one that writes may keep.
        const int fd = stream == stdout ? STDOUT_FILENO : STDERR_FILENO;
        if (error_ == 0 && ferror_unlocked(stream) != 0 && IsAt(fd)) {
            // The stream does not know why. An end of line, where there is room again.
            error_ = write(fd, "\n", 1) < 0 ? static_cast<uint64_t>(errno) : kNoLongerKnown;
        }
    }
    return error_;
}

}  // namespace dxrsh
