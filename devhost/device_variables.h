// Sets of named values, each in a file that a crash leaves whole.
#ifndef DXR_DEVHOST_DEVICE_VARIABLES_H
#define DXR_DEVHOST_DEVICE_VARIABLES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "whole_file.h"

namespace devhost {

class Host;

class Variables {
  public:
    Variables(Host &host, const char *fileName);  // a literal

    [[nodiscard]] const char *FileName() const { return fileName_; }

    // With the service's lock. 0, or a number of <errno.h>.
    uint32_t Set(std::string_view name, const void *value, uint32_t size);
    [[nodiscard]] const Bytes *Find(std::string_view name) const;
    [[nodiscard]] Bytes Encode() const;

    // Reads the file. False, and why, when it is there but not whole.
    bool Load(std::string &error);

    // Replaces the file by what Encode gives under `guard`. Without the service's lock.
    uint32_t Save(std::mutex &guard);

  private:
    bool Decode(const Bytes &content);

    const char *const fileName_;
    const std::string path_;
    std::map<std::string, Bytes, std::less<>> values_;
    size_t bytes_ = 0;
    std::mutex saving_;
    WholeFile file_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_VARIABLES_H
