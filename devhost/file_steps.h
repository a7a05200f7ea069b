// Steps on the way of a file to the disk.
#ifndef DXR_DEVHOST_FILE_STEPS_H
#define DXR_DEVHOST_FILE_STEPS_H

#include <cstddef>
#include <string>

namespace devhost {

// False, and errno, when not everything was written; `written` gets how much was, if wanted.
bool WriteAll(int file, const void *data, size_t bytes, size_t *written = nullptr);

// The name of a directory's new entry reaches the disk, where the file system can do that.
void SyncDirectoryOf(const std::string &path);

}  // namespace devhost

#endif  // DXR_DEVHOST_FILE_STEPS_H
