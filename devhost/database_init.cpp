// A new chassis database. It is made in memory and reaches its file at once.
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "database_schema.h"
#include "dxr_devhost/database.h"
#include "error_text.h"
#include "file_steps.h"
#include "host.h"

namespace devhost {
namespace {

// The steps that a host can let fail.
class Steps {
  public:
    explicit Steps(Host *host) : host_(host) {}

    [[nodiscard]] bool Fails(const PointName &point) const {
        if (host_ == nullptr || !host_->chance.Point(point).Fails()) {
            return false;
        }
        errno = EIO;
        return true;
    }

  private:
    Host *const host_;
};

struct Close {
    void operator()(sqlite3 *connection) const { (void)sqlite3_close(connection); }
};
struct Free {
    void operator()(unsigned char *bytes) const { sqlite3_free(bytes); }
};

struct Image {
    std::unique_ptr<unsigned char, Free> bytes;
    sqlite3_int64 count = 0;
};

// Nothing without memory.
Image MakeImage() {
    sqlite3 *opened = nullptr;
    const int code =
        sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    const std::unique_ptr<sqlite3, Close> connection(opened);
    Image image;
    if (code == SQLITE_OK &&
        sqlite3_exec(opened, kSampleChassis, nullptr, nullptr, nullptr) == SQLITE_OK) {
        image.bytes.reset(sqlite3_serialize(opened, "main", &image.count, 0));
    }
    return image;
}

// The name that a new file has at first is one for all threads of the process.
constinit std::mutex g_writing;

// 0, or a number of <errno.h>.
int Write(const Steps &steps, const Image &image, const std::string &path) {
    const std::string next = path + ".new." + std::to_string(getpid());
    const std::lock_guard lock(g_writing);
    // From a process of that number that was killed.
    (void)unlink(next.c_str());
    const int file = steps.Fails("database.create")
                         ? -1
                         : open(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0) {
        return errno;
    }
    bool isWell = !steps.Fails("database.write") &&
                  WriteAll(file, image.bytes.get(), static_cast<size_t>(image.count)) &&
                  !steps.Fails("database.sync") && fsync(file) == 0;
    int error = isWell ? 0 : errno;
    isWell = close(file) == 0 && isWell;
    // A link, unlike another name, takes the place of nothing.
    if (isWell && (steps.Fails("database.link") || link(next.c_str(), path.c_str()) != 0)) {
        error = errno;
    }
    (void)unlink(next.c_str());
    SyncDirectoryOf(path);
    return isWell || error != 0 ? error : EIO;
}

// Empty when all is well.
std::string Init(const Steps &steps, const char *path) {
    if (path == nullptr || path[0] == '\0') {
        return "no file was given";
    }
    const Image image = MakeImage();
    if (image.bytes == nullptr) {
        return "not enough memory";
    }
    const int error = Write(steps, image, path);
    if (error == 0) {
        return "";
    }
    return std::string(path) +
           (error == EEXIST ? ": exists already"
                            : ": cannot be written: " + std::generic_category().message(error));
}

}  // namespace
}  // namespace devhost

bool DxrHostInitDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize) {
    const devhost::ApiCall call(host);
    try {
        const std::string why = devhost::Init(devhost::Steps(call ? &*call : nullptr), path);
        devhost::WriteError(error, errorSize, why.c_str());
        return why.empty();
    } catch (const std::exception &) {
        devhost::WriteError(error, errorSize, "not enough memory");
        return false;
    }
}
