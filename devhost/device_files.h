// Devices that can be opened and mapped, and reserved memory.
#ifndef DXR_DEVHOST_DEVICE_FILES_H
#define DXR_DEVHOST_DEVICE_FILES_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "chance.h"
#include "device_board.h"
#include "dxr_devhost/device.h"
#include "place.h"

namespace devhost {

class Host;

// A descriptor that is closed at the end.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor();
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor(Descriptor &&other) noexcept : number_(other.number_) { other.number_ = -1; }
    Descriptor &operator=(Descriptor &&) = delete;

    [[nodiscard]] int Number() const { return number_; }
    [[nodiscard]] bool IsOpen() const { return number_ >= 0; }

  private:
    int number_;
};

// Memory of the host's own with a name that listings of the process show.
Descriptor MakeMemory(const std::string &name, uint64_t bytes, const std::string &content);

// A device that is open.
struct OpenDevice {
    explicit OpenDevice(Descriptor &&opened) : file(std::move(opened)) {}

    const Descriptor file;
    std::string path;
    std::string identity;  // however the path is written
    uint32_t option = 0;
    bool hasFixedSize = false;  // it is kept in memory
    Place made;
    std::mutex mutex;  // guards the position
    uint64_t position = 0;
    uint32_t mapType = DXR_HOST_MAP_SHARED;  // the service's lock guards it
};

struct Mapping {
    uint64_t bytes;
    std::string path;
    Place made;
};

struct DeviceControl {
    DxrHostDevControl function;
    void *user;
};

struct Devices {
    explicit Devices(Host &host);
    ~Devices();
    Devices(const Devices &) = delete;
    Devices &operator=(const Devices &) = delete;
    Devices(Devices &&) = delete;
    Devices &operator=(Devices &&) = delete;

    using Memories = std::map<std::string, Descriptor, std::less<>>;
    // False, and why, when there is not enough of what they are made of.
    static bool Make(const Board &board, Memories &made, std::string &error);

    std::string directory;
    Memories memories;  // of described devices
    std::map<uint32_t, std::shared_ptr<OpenDevice>> open;
    uint32_t lastNumber = 0;
    std::map<void *, Mapping> mappings;
    std::map<std::string, DeviceControl, std::less<>> controls;
    FaultPoint &openFails;
    FaultPoint &writeFails;
    FaultPoint &mapFails;
};

// A reserved area; its mappings last as long as it.
struct Area {
    explicit Area(const DescribedArea &from);
    ~Area();
    Area(const Area &) = delete;
    Area &operator=(const Area &) = delete;
    Area(Area &&) = delete;
    Area &operator=(Area &&) = delete;

    const DescribedArea described;
    const Descriptor file;
    mode_t mode = 0600;
    void *writable = nullptr;
    void *readable = nullptr;
};

struct ReservedMemory {
    using Areas = std::vector<std::unique_ptr<Area>>;
    static bool Make(const Board &board, Areas &made, std::string &error);
    // Others take the place of the areas; those that are mapped stay.
    void Take(Areas &made);

    Areas areas;
    Areas former;  // whose mappings modules may hold
};

}  // namespace devhost

#endif  // DXR_DEVHOST_DEVICE_FILES_H
