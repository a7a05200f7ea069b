#include "file_steps.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace devhost {

bool WriteAll(int file, const void *data, size_t bytes) {
    const auto *const begin = static_cast<const unsigned char *>(data);
    size_t done = 0;
    while (done < bytes) {
        const ssize_t written = write(file, begin + done, bytes - done);
        if (written == 0) {
            errno = ENOSPC;  // it would go on for ever
        }
        if (written == 0 || (written < 0 && errno != EINTR)) {
            return false;
        }
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
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
