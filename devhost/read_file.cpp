#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "whole_file.h"

namespace devhost {

int ReadWholeFile(const std::string &path, Bytes &content) {
    struct Closer {
        int fd;
        explicit Closer(int opened) : fd(opened) {}
        ~Closer() {
            if (fd >= 0) {
                (void)close(fd);
            }
        }
        Closer(const Closer &) = delete;
        Closer &operator=(const Closer &) = delete;
        Closer(Closer &&) = delete;
        Closer &operator=(Closer &&) = delete;
    };
    const Closer file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0) {
        return errno;
    }
    content.clear();
    std::array<unsigned char, 65536> part;
    for (;;) {
        const ssize_t bytes = read(file.fd, part.data(), part.size());
        if (bytes == 0) {
            return 0;
        }
        if (bytes > 0) {
            content.insert(content.end(), part.begin(), part.begin() + bytes);
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

}  // namespace devhost
