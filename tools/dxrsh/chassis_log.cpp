#include "chassis_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

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

}  // namespace

Descriptor OpenLog(const std::string &directory, const ChassisLog &limits) {
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

std::string LastLog(const std::string &directory) {
    struct stat found {};
    const std::string path = directory + "/" + kName;
    const std::string before = directory + "/" + OldName(1);
    const bool isEmpty = stat(path.c_str(), &found) != 0 || found.st_size == 0;
    return isEmpty && access(before.c_str(), F_OK) == 0 ? before : path;
}

std::string LastLineOf(const std::string &path) {
    constexpr off_t kMostBytes = 4096;
    struct stat found {};
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file || fstat(file.Get(), &found) != 0 || !S_ISREG(found.st_mode)) {
        return {};
    }
    const off_t from = std::max<off_t>(found.st_size - kMostBytes, 0);
    std::string end(static_cast<size_t>(found.st_size - from), '\0');
    const ssize_t bytes = pread(file.Get(), end.data(), end.size(), from);
    end.resize(static_cast<size_t>(std::max<ssize_t>(bytes, 0)));
    end.erase(end.find_last_not_of(" \t\r\n") + 1);
    return end.substr(end.find_last_of('\n') + 1);
}

OwnLog::OwnLog(const std::string &directory, const ChassisLog &limits)
    : directory_(OpenDirectory(directory)), limits_(limits) {
}

void OwnLog::Look() {
    struct stat log {};
    if (fstatat(directory_.Get(), kName, &log, 0) != 0 || !IsLong(log, limits_)) {
        return;
    }
    // The module may print to elsewhere meanwhile.
    const auto isLog = [&log](int fd) {
        struct stat found {};
        return fstat(fd, &found) == 0 && found.st_dev == log.st_dev && found.st_ino == log.st_ino;
    };
    const bool isOut = isLog(STDOUT_FILENO);
    const bool isError = isLog(STDERR_FILENO);
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

}  // namespace dxrsh
