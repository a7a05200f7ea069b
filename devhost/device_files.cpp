// Devices, their mappings and reserved memory.
#include "device_files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <limits>
#include <new>

#include "device.h"
#include "module_call.h"

namespace devhost {
namespace {

constexpr std::string_view kDevPrefix = "/dev/";
constexpr uint32_t kOptions = DXR_HOST_DEV_READ_ONLY | DXR_HOST_DEV_CREATE | DXR_HOST_DEV_EXCLUSIVE;
constexpr uint64_t kMostOffset = std::numeric_limits<off_t>::max();

uint64_t LengthOf(const Descriptor &file) {
    struct stat status {};
    return fstat(file.Number(), &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

// Reads or writes at a position until all is done, or no more can be. 0, or a number of <errno.h>.
template <typename Step>
uint32_t Repeat(uint64_t bytes, uint64_t &done, Step step) {
    while (done < bytes) {
        const ssize_t now = step(done);
        if (now < 0 && errno != EINTR) {
            return static_cast<uint32_t>(errno);
        }
        if (now == 0) {
            break;
        }
        done += now > 0 ? static_cast<uint64_t>(now) : 0;
    }
    return 0;
}

}  // namespace

Descriptor::~Descriptor() {
    if (number_ >= 0) {
        (void)close(number_);
    }
}

Descriptor MakeMemory(const std::string &name, uint64_t bytes, const std::string &content) {
    constexpr size_t kMostName = 200;
    Descriptor file(memfd_create(name.substr(0, kMostName).c_str(), MFD_CLOEXEC));
    uint64_t done = 0;
    const bool isMade = file.IsOpen() && ftruncate(file.Number(), static_cast<off_t>(bytes)) == 0 &&
                        Repeat(content.size(), done, [&](uint64_t at) {
                            return pwrite(file.Number(), content.data() + at, content.size() - at,
                                          static_cast<off_t>(at));
                        }) == 0;
    return isMade ? std::move(file) : Descriptor();
}

Devices::Devices(Host &host)
    : directory(host.options.workPath + "/dev"),
      openFails(host.chance.Point("device.open")),
      writeFails(host.chance.Point("device.write")),
      mapFails(host.chance.Point("device.map")) {
}

Devices::~Devices() {
    for (const auto &[address, mapping] : mappings) {
        (void)munmap(address, mapping.bytes);
    }
}

namespace {

std::string NoMemoryFor(const std::string &name) {
    return "no memory can be made for " + name;
}

}  // namespace

bool Devices::Make(const Board &board, Memories &made, std::string &error) {
    for (const auto &[path, device] : board.devices) {
        Descriptor memory = MakeMemory(path, device.bytes, device.text);
        if (!memory.IsOpen()) {
            error = NoMemoryFor(path);
            return false;
        }
        made.emplace(path, std::move(memory));
    }
    return true;
}

Area::Area(const DescribedArea &from)
    : described(from), file(MakeMemory(from.name, from.bytes, {})) {
    if (file.IsOpen()) {
        (void)fchmod(file.Number(), mode);
    }
}

Area::~Area() {
    for (void *const mapping : {writable, readable}) {
        if (mapping != nullptr) {
            (void)munmap(mapping, described.bytes);
        }
    }
}

bool ReservedMemory::Make(const Board &board, Areas &made, std::string &error) {
    for (const DescribedArea &each : board.reserved) {
        made.push_back(std::make_unique<Area>(each));
        if (!made.back()->file.IsOpen()) {
            error = NoMemoryFor(each.name);
            return false;
        }
    }
    return true;
}

void ReservedMemory::Take(Areas &made) {
    former.reserve(former.size() + areas.size());
    for (std::unique_ptr<Area> &each : areas) {
        if (each->writable != nullptr || each->readable != nullptr) {
            former.push_back(std::move(each));
        }
    }
    areas.swap(made);
}

namespace {

// The file of a device that is not described. False when it cannot be found out; false, and a
// report, for a path that leaves the devices' directory.
bool PlaceOf(const Call &call, const std::string &path, const std::string &directory,
             std::string &file) {
    const std::string name = path.rfind(kDevPrefix, 0) == 0 ? path.substr(kDevPrefix.size()) : "";
    if (name.empty() || name.back() == '/') {
        call.Misuse(kDevice, "no path of a device", "no path of a device: " + path);
        return false;
    }
    namespace fs = std::filesystem;
    std::error_code error;
    const std::string absolute = fs::absolute(directory).string();
    const fs::path above = fs::weakly_canonical(absolute, error);
    const fs::path found = error ? fs::path() : fs::weakly_canonical(absolute + "/" + name, error);
    if (error) {
        return false;  // the machine's fault, not the caller's
    }
    const fs::path within =
        found.lexically_relative(above.has_filename() ? above : above.parent_path());
    if (within.empty() || *within.begin() == ".." || *within.begin() == ".") {
        call.Misuse(kDevice, "a path outside the devices' directory",
                    "outside the devices' directory: " + path);
        return false;
    }
    file = found.string();
    return true;
}

Descriptor OpenFile(const std::string &path, uint32_t option) {
    const int access = (option & DXR_HOST_DEV_READ_ONLY) != 0 ? O_RDONLY : O_RDWR;
    const int create = (option & DXR_HOST_DEV_CREATE) != 0 ? O_CREAT : 0;
    Descriptor file(
        open(path.c_str(), access | create | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0644));
    struct stat status {};
    const bool isFile =
        file.IsOpen() && fstat(file.Number(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? std::move(file) : Descriptor();
}

// Adds a device to those that are open, and gives its number; 0 when one or the other is to be open
// alone. With the lock.
uint32_t Add(Devices &devices, std::shared_ptr<OpenDevice> made) {
    for (const auto &[number, each] : devices.open) {
        const bool isExclusive = ((each->option | made->option) & DXR_HOST_DEV_EXCLUSIVE) != 0;
        if (isExclusive && each->identity == made->identity) {
            return 0;
        }
    }
    const uint32_t number = devices.lastNumber + 1;
    devices.open.emplace(number, std::move(made));
    return devices.lastNumber = number;
}

uint32_t Open(const Call &call, const char *path, uint32_t option) {
    if (!call || !IsUsable<char>(call, path)) {
        return 0;
    }
    if ((option & ~kOptions) != 0) {
        call.Misuse(kDevice, "no option of a device");
        return 0;
    }
    DeviceService &state = DeviceOf(*call);
    Devices &devices = state.devices;
    if (devices.openFails.Fails()) {
        return 0;
    }
    const std::string name(path);
    const auto make = [&](Descriptor &&file, const std::string &identity) {
        auto made = std::make_shared<OpenDevice>(std::move(file));
        made->path = name;
        made->identity = identity;
        made->option = option;
        made->made = {call.At().slot, ModuleCaller(call.At().address)};
        return made;
    };
    std::string directory;
    {
        const std::lock_guard lock(state.mutex);
        const auto found = devices.memories.find(name);
        if (found != devices.memories.end()) {
            Descriptor copy(fcntl(found->second.Number(), F_DUPFD_CLOEXEC, 0));
            if (!copy.IsOpen()) {
                return 0;
            }
            // No file is called so.
            const auto made = make(std::move(copy), "described: " + name);
            made->hasFixedSize = true;
            return Add(devices, made);
        }
        directory = devices.directory;
    }
    std::string file;
    if (!PlaceOf(call, name, directory, file)) {
        return 0;
    }
    Descriptor opened = OpenFile(file, option);
    if (!opened.IsOpen()) {
        return 0;
    }
    auto made = make(std::move(opened), file);
    const std::lock_guard lock(state.mutex);
    return Add(devices, std::move(made));
}

// The open device of a number; null, and a report, when there is none.
std::shared_ptr<OpenDevice> Find(const Call &call, uint32_t number) {
    DeviceService &state = DeviceOf(*call);
    {
        const std::lock_guard lock(state.mutex);
        const auto found = state.devices.open.find(number);
        if (found != state.devices.open.end()) {
            return found->second;
        }
    }
    call.Misuse(kDevice, "no device that is open",
                "device " + std::to_string(number) + " is not open");
    return nullptr;
}

uint32_t OpenDev(const char *path) {
    const Call call("DXR_OpenDev");
    return Open(call, path, 0);
}

uint32_t OpenDevWithOption(const char *path, uint32_t option) {
    const Call call("DXR_OpenDevWithOption");
    return Open(call, path, option);
}

uint32_t CloseDev(uint32_t device) {
    const Call call("DXR_CloseDev");
    if (!call) {
        return ECANCELED;
    }
    if (Find(call, device) == nullptr) {
        return EBADF;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.devices.open.erase(device) != 0 ? 0 : EBADF;
}

uint32_t WriteDev(uint32_t device, void *data, uint32_t bytes, void *done) {
    const Call call("DXR_WriteDev");
    if (!call) {
        return ECANCELED;
    }
    if ((bytes != 0 && !IsUsable<char>(call, data)) ||
        (done != nullptr && !IsUsable<uint32_t>(call, done))) {
        return EINVAL;
    }
    const std::shared_ptr<OpenDevice> open = Find(call, device);
    if (open == nullptr) {
        return EBADF;
    }
    if ((open->option & DXR_HOST_DEV_READ_ONLY) != 0) {
        return EACCES;
    }
    const std::lock_guard lock(open->mutex);
    uint64_t written = 0;
    uint64_t wanted = bytes;
    uint32_t result = 0;
    if (open->hasFixedSize) {
        const uint64_t length = LengthOf(open->file);
        const uint64_t room = open->position < length ? length - open->position : 0;
        wanted = std::min<uint64_t>(bytes, room);
        result = wanted < bytes ? ENOSPC : 0;
    }
    if (DeviceOf(*call).devices.writeFails.Fails()) {
        result = EIO;
    } else if (wanted != 0 && open->position > kMostOffset - wanted) {
        result = EFBIG;
    } else {
        const uint32_t failure = Repeat(wanted, written, [&](uint64_t at) {
            return pwrite(open->file.Number(), static_cast<const char *>(data) + at, wanted - at,
                          static_cast<off_t>(open->position + at));
        });
        result = failure != 0 ? failure : result;
    }
    open->position += written;
    if (done != nullptr) {
        *static_cast<uint32_t *>(done) = static_cast<uint32_t>(written);
    }
    return result;
}

uint32_t ReadDevice(OpenDevice &open, DxrHostDevRequest &request) {
    // The bytes may go into the request itself.
    const uint32_t bytes = request.bytes;
    auto *const data = static_cast<char *>(request.data);
    if (open.position > kMostOffset - bytes) {
        return 0;
    }
    uint64_t done = 0;
    const uint32_t result = Repeat(bytes, done, [&](uint64_t at) {
        return pread(open.file.Number(), data + at, bytes - at,
                     static_cast<off_t>(open.position + at));
    });
    open.position += done;
    request.done = static_cast<uint32_t>(done);
    return result;
}

// What the host itself does with a device; ENOTTY for a command of others.
uint32_t Control(const Call &call, DxrHostDevRequest &request, std::string &path) {
    const std::shared_ptr<OpenDevice> open = Find(call, request.device);
    if (open == nullptr) {
        return EBADF;
    }
    path = open->path;
    if (request.command == DXR_HOST_DEV_READ && request.bytes != 0 &&
        !IsUsable<char>(call, request.data)) {
        return EINVAL;
    }
    const std::lock_guard lock(open->mutex);
    switch (request.command) {
        case DXR_HOST_DEV_SEEK:
            open->position = request.offset;
            return 0;
        case DXR_HOST_DEV_READ:
            request.done = 0;
            return ReadDevice(*open, request);
        case DXR_HOST_DEV_LENGTH:
            request.offset = LengthOf(open->file);
            return 0;
        case DXR_HOST_DEV_SYNC:
            return fsync(open->file.Number()) == 0 ? 0 : EIO;
        default:
            return ENOTTY;
    }
}

// The function that serves others' commands of the device. Nothing is owned when it is called.
DeviceControl ControlOf(const Call &call, DxrHostDevRequest &request, uint32_t &result) {
    std::string path;
    result = Control(call, request, path);
    if (result != ENOTTY) {
        return {};
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.devices.controls.find(path);
    return found != state.devices.controls.end() ? found->second : DeviceControl{};
}

uint32_t ControlDev(void *request) {
    const Call call("DXR_ControlDev");
    if (!call) {
        return ECANCELED;
    }
    auto *const record = RecordAt<DxrHostDevRequest>(call, request);
    if (record == nullptr) {
        return EINVAL;
    }
    uint32_t result = 0;
    const DeviceControl control = ControlOf(call, *record, result);
    return control.function != nullptr ? CallModule(*call, kDevice, "the control of a device",
                                                    kThrown, control.function, record, control.user)
                                       : result;
}

uint32_t SetDevMmapType(uint32_t device, uint32_t type) {
    const Call call("DXR_SetDevMmapType");
    if (!call) {
        return ECANCELED;
    }
    if (type > DXR_HOST_MAP_READ_ONLY) {
        call.Misuse(kDevice, "no way to map a device");
        return EINVAL;
    }
    const std::shared_ptr<OpenDevice> open = Find(call, device);
    if (open == nullptr) {
        return EBADF;
    }
    const std::lock_guard lock(DeviceOf(*call).mutex);
    open->mapType = type;
    return 0;
}

void *MmapDev(uint32_t device, uint32_t bytes) {
    const Call call("DXR_MmapDev");
    const std::shared_ptr<OpenDevice> open = call ? Find(call, device) : nullptr;
    if (open == nullptr) {
        return nullptr;
    }
    if (bytes == 0) {
        call.Misuse(kDevice, "a mapping of nothing");
        return nullptr;
    }
    DeviceService &state = DeviceOf(*call);
    // A page beyond the end would be a trap.
    if (state.devices.mapFails.Fails() || bytes > LengthOf(open->file)) {
        return nullptr;
    }
    const Place made{call.At().slot, ModuleCaller(call.At().address)};
    try {
        const std::lock_guard lock(state.mutex);
        const uint32_t type = open->mapType;
        // Memory has a descriptor that may be written to, whatever the device was opened for.
        if (type == DXR_HOST_MAP_SHARED && (open->option & DXR_HOST_DEV_READ_ONLY) != 0) {
            return nullptr;
        }
        const int access = type == DXR_HOST_MAP_READ_ONLY ? PROT_READ : PROT_READ | PROT_WRITE;
        Mapping mapping{bytes, open->path, made};
        void *const address =
            mmap(nullptr, bytes, access, type == DXR_HOST_MAP_PRIVATE ? MAP_PRIVATE : MAP_SHARED,
                 open->file.Number(), 0);
        if (address == MAP_FAILED) {
            return nullptr;
        }
        try {
            state.devices.mappings.emplace(address, std::move(mapping));
        } catch (const std::bad_alloc &) {
            (void)munmap(address, bytes);
            return nullptr;
        }
        return address;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

uint32_t MunmapDev(void *address, uint32_t size) {
    const Call call("DXR_MunmapDev");
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    {
        const std::lock_guard lock(state.mutex);
        const auto found = state.devices.mappings.find(address);
        if (found != state.devices.mappings.end() && found->second.bytes == size) {
            (void)munmap(address, size);
            state.devices.mappings.erase(found);
            return 0;
        }
    }
    call.Misuse(kDevice, "no mapping of that address and size");
    return EINVAL;
}

// --- Slots: reserved memory

// With the lock.
Area *AreaOf(DeviceService &state, const char *name) {
    const auto found =
        std::find_if(state.reserved.areas.begin(), state.reserved.areas.end(),
                     [name](const auto &each) { return each->described.name == name; });
    return found != state.reserved.areas.end() ? found->get() : nullptr;
}

uint32_t GetRsvdMem(uint32_t number, void *address, void *bytes) {
    const Call call("DXR_GetRsvdMem");
    return Tell<uint64_t, 2>(call, {address, bytes}, [=](const DeviceService &state, auto &to) {
        for (const DescribedArea &each : state.board.reserved) {
            if (each.number == number) {
                to = {each.address, each.bytes};
                return 0U;
            }
        }
        return uint32_t{ENOENT};
    });
}

uint32_t GetRsvMemMmapAddr(void *name, uint32_t bytes, void *address) {
    constexpr mode_t kOwnerReads = 0400;
    constexpr mode_t kOwnerWrites = 0200;
    const Call call("DXR_GetRsvMemMmapAddr");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<char>(call, name) || !IsUsable<void *>(call, address)) {
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    Area *const area = AreaOf(state, static_cast<const char *>(name));
    if (area == nullptr) {
        return ENOENT;
    }
    if (bytes > area->described.bytes) {
        return ERANGE;
    }
    if ((area->mode & kOwnerReads) == 0) {
        return EACCES;
    }
    const bool isWritable = (area->mode & kOwnerWrites) != 0;
    void *&mapping = isWritable ? area->writable : area->readable;
    if (mapping == nullptr) {
        const int access = isWritable ? PROT_READ | PROT_WRITE : PROT_READ;
        void *const made =
            state.devices.mapFails.Fails()
                ? MAP_FAILED
                : mmap(nullptr, area->described.bytes, access, MAP_SHARED, area->file.Number(), 0);
        if (made == MAP_FAILED) {
            return ENOMEM;
        }
        mapping = made;
    }
    *static_cast<void **>(address) = mapping;
    return 0;
}

uint32_t ChmodRsvMemFile(void *file, uint32_t mode) {
    constexpr uint32_t kAllModes = 0777;
    const Call call("DXR_ChmodRsvMemFile");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<char>(call, file)) {
        return EINVAL;
    }
    if (mode > kAllModes) {
        call.Misuse(kDevice, "no access mode");
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    Area *const area = AreaOf(state, static_cast<const char *>(file));
    if (area == nullptr) {
        return ENOENT;
    }
    if (fchmod(area->file.Number(), mode) != 0) {
        return EIO;
    }
    area->mode = mode;
    return 0;
}

}  // namespace

void FillDeviceFiles(DxrDevHooks &hooks) {
    hooks.openDev = Guarded<OpenDev, 0>;
    hooks.openDevWithOption = Guarded<OpenDevWithOption, 0>;
    hooks.closeDev = Guarded<CloseDev>;
    hooks.writeDev = Guarded<WriteDev>;
    hooks.controlDev = Guarded<ControlDev>;
    hooks.setDevMmapType = Guarded<SetDevMmapType>;
    hooks.mmapDev = Guarded<MmapDev>;
    hooks.munmapDev = Guarded<MunmapDev>;
    hooks.getRsvdMem = Guarded<GetRsvdMem>;
    hooks.getRsvMemMmapAddr = Guarded<GetRsvMemMmapAddr>;
    hooks.chmodRsvMemFile = Guarded<ChmodRsvMemFile>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::DeviceService;

void DxrHostSetDeviceDirectory(DxrHost *host, const char *path) {
    const ApiCall call(host);
    if (call && path != nullptr) {
        devhost::Guard([&] {
            DeviceService &state = devhost::DeviceOf(*call);
            const std::lock_guard lock(state.mutex);
            state.devices.directory = path;
        });
    }
}

void DxrHostSetDeviceControl(DxrHost *host, const char *path, DxrHostDevControl control,
                             void *user) {
    const ApiCall call(host);
    if (!call || path == nullptr) {
        return;
    }
    devhost::Guard([&] {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        if (control != nullptr) {
            state.devices.controls[path] = {control, user};
        } else {
            state.devices.controls.erase(path);
        }
    });
}
