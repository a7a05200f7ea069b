#include "whole_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "file_steps.h"

namespace devhost {
namespace {

// A descriptor that is closed at the end.
class Descriptor {
  public:
    explicit Descriptor(int file) : file_(file) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor(Descriptor &&) = delete;
    Descriptor &operator=(Descriptor &&) = delete;

    [[nodiscard]] int Get() const { return file_; }
    bool Close() {
        const int file = file_;
        file_ = -1;
        return file >= 0 && close(file) == 0;
    }

  private:
    int file_;
};

}  // namespace

WholeFile::WholeFile(Chance &chance, const Points &points)
    : openFails_(chance.Point(points.open)),
      writeFails_(chance.Point(points.write)),
      syncFails_(chance.Point(points.sync)),
      renameFails_(chance.Point(points.rename)) {
}

std::string WholeFile::Write(const std::string &path, const Bytes &content) {
    const std::string next = path + ".new";
    // What a point lets fail is an error of the device.
    const auto fails = [](FaultPoint &point) {
        errno = EIO;
        return point.Fails();
    };
    const char *step = "opened";
    Descriptor file(fails(openFails_)
                        ? -1
                        : open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    bool isWell = file.Get() >= 0;
    int error = errno;
    if (isWell) {
        step = "written";
        isWell = !fails(writeFails_) && WriteAll(file.Get(), content.data(), content.size());
        if (isWell) {
            step = "synchronised";
            isWell = !fails(syncFails_) && fsync(file.Get()) == 0;
        }
        error = errno;
        if (!file.Close() && isWell) {
            error = errno;
            step = "closed";
            isWell = false;
        }
        if (isWell) {
            step = "renamed";
            isWell = !fails(renameFails_) && std::rename(next.c_str(), path.c_str()) == 0;
            error = errno;
        }
        if (!isWell) {
            (void)unlink(next.c_str());
        }
    }
    if (isWell) {
        SyncDirectoryOf(path);
        return {};
    }
    return step + (": " + std::generic_category().message(error));
}

}  // namespace devhost
