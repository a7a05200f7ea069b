// Files that are the old or the new one after a crash, never a part.
#ifndef DXR_DEVHOST_WHOLE_FILE_H
#define DXR_DEVHOST_WHOLE_FILE_H

#include <string>
#include <vector>

#include "chance.h"

namespace devhost {

using Bytes = std::vector<unsigned char>;

// The steps that replace a file, each a point, such as "env.open".
class WholeFile {
  public:
    struct Points {
        PointName open;
        PointName write;
        PointName sync;
        PointName rename;
    };
    WholeFile(Chance &chance, const Points &points);

    // The content gets the name path + ".new" first: the old file stays whole until it is replaced.
    // Empty; or, when a step fails, which and why: "written: No space left on device". `path` is
    // then the old file. Not for two threads at once. Throws std::bad_alloc.
    std::string Write(const std::string &path, const Bytes &content);

  private:
    FaultPoint &openFails_;
    FaultPoint &writeFails_;
    FaultPoint &syncFails_;
    FaultPoint &renameFails_;
};

// Reads a file. Returns 0 or a number of <errno.h>.
int ReadWholeFile(const std::string &path, Bytes &content);

}  // namespace devhost

#endif  // DXR_DEVHOST_WHOLE_FILE_H
