#include "file_steps.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace devhost {

bool WriteAll(int file, const void *data, size_t bytes, size_t *written) {
    const auto *const begin = static_cast<const unsigned char *>(data);
    size_t done = 0;
    bool isWell = true;
    while (isWell && done < bytes) {
        const ssize_t moved = write(file, begin + done, bytes - done);
        if (moved == 0) {
            errno = ENOSPC;  // it would go on for ever
        }
        isWell = moved > 0 || (moved < 0 && errno == EINTR);
        done += moved > 0 ? static_cast<size_t>(moved) : 0;
    }
    if (written != nullptr) {
        *written = done;
    }
    return isWell;
}

void SyncDirectoryOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int file = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file >= 0) {
        (void)fsync(file);
        (void)close(file);
    }
}

}  // namespace devhost
