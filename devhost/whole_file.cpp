#include "whole_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

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

bool WholeFile::Write(const std::string &path, const Bytes &content, const char **failed) {
    const std::string next = path + ".new";
    const char *step = "opened";
    Descriptor file(openFails_.Fails()
                        ? -1
                        : open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    bool isWell = file.Get() >= 0;
    if (isWell) {
        step = "written";
        isWell = !writeFails_.Fails() && WriteAll(file.Get(), content.data(), content.size());
        if (isWell) {
            step = "synchronised";
            isWell = !syncFails_.Fails() && fsync(file.Get()) == 0;
        }
        if (!file.Close()) {
            step = isWell ? "closed" : step;
            isWell = false;
        }
        if (isWell) {
            step = "renamed";
            isWell = !renameFails_.Fails() && std::rename(next.c_str(), path.c_str()) == 0;
        }
        if (!isWell) {
            (void)unlink(next.c_str());
        }
    }
    if (isWell) {
        SyncDirectoryOf(path);
    } else if (failed != nullptr) {
        *failed = step;
    }
    return isWell;
}

}  // namespace devhost
