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

    // Reads the file. False, and why, when it is there but not whole.
    bool Load(std::string &error);

    // Replaces the file by the values there are, which `guard` guards: the service's lock, which is
    // not held. 0, or a number of <errno.h> and, when it is EIO, why.
    uint32_t Save(std::mutex &guard, std::string &why);

    // Sets a value in the file, and here when that went well. As Save; not for a set of which Set
    // is called, too.
    uint32_t SetSaved(std::mutex &guard, std::string_view name, const void *value, uint32_t size,
                      std::string &why);

  private:
    struct Values {
        uint32_t Set(std::string_view name, const void *value, uint32_t size);
        [[nodiscard]] Bytes Encode() const;
        bool Decode(const Bytes &content);

        std::map<std::string, Bytes, std::less<>> each;
        size_t bytes = 0;  // in the file, without its header
    };

    uint32_t Write(const Bytes &content, std::string &why);

    const char *const fileName_;
    const std::string path_;
    Values values_;
    std::mutex saving_;
    WholeFile file_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_VARIABLES_H
