#include "dxr_devhost/system.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "host.h"

namespace devhost {
namespace {

constexpr const char *kService = "system";
constexpr uint32_t kFailure = 1;
constexpr uint32_t kNoLength = 0xFFFFFFFF;

// A file that is open. A call that is in it keeps it while another one closes it.
struct OpenFile {
    std::mutex mutex;
    std::FILE *file = nullptr;  // null once it is closed
    std::string path;
};

class SystemService : public Service {
  public:
    explicit SystemService(Host &host)
        : Service(host),
          workPath(host.options.workPath),
          binFolder(host.options.binFolder),
          openFails(host.chance.Point("file.open")),
          readFails(host.chance.Point("file.read")) {}

    ~SystemService() override {
        for (const auto &[handle, open] : files) {
            (void)std::fclose(open->file);
        }
    }

    void ReportLeftovers() override {
        for (const auto &[handle, open] : files) {
            TheHost().ReportLeftover(kService, TheHost().handles.MadeAt(handle),
                                     "file " + open->path);
        }
    }

    std::shared_ptr<OpenFile> FileOf(const void *handle) {
        const std::lock_guard lock(mutex);
        const auto found = files.find(handle);
        return found != files.end() ? found->second : nullptr;
    }

    std::shared_ptr<OpenFile> TakeOut(const void *handle) {
        const std::lock_guard lock(mutex);
        const auto found = files.find(handle);
        if (found == files.end()) {
            return nullptr;
        }
        const std::shared_ptr<OpenFile> open = found->second;
        files.erase(found);
        return open;
    }

    // Tells whether modules may open it: all below the work path, or everything.
    bool IsAllowed(const char *path) {
        if (TheHost().options.allowOutside) {
            return true;
        }
        namespace fs = std::filesystem;
        std::error_code error;
        const fs::path file = fs::weakly_canonical(path, error);
        fs::path below;
        {
            const std::lock_guard lock(mutex);
            below = fs::weakly_canonical(workPath, error);
        }
        const auto [end, _] = std::mismatch(below.begin(), below.end(), file.begin(), file.end());
        return !error && end == below.end();
    }

    std::mutex mutex;  // guards what follows
    std::string workPath;
    std::string binFolder;
    std::map<const void *, std::shared_ptr<OpenFile>> files;
    FaultPoint &openFails;
    FaultPoint &readFails;
};

SystemService &StateOf(Host &host) {
    return host.Get<SystemService>(ServiceId::kSystem);
}

// The open file of a handle; null, and a report, when there is none.
std::shared_ptr<OpenFile> FileOf(const Call &call, const void *handle) {
    auto open = StateOf(*call).FileOf(handle);
    if (open == nullptr) {
        (void)call.Find<OpenFile>(kService, handle, HandleType::kFile);
    }
    return open;
}

// False, and a report, for a null path and one that is outside.
bool IsAllowed(const Call &call, const char *path) {
    if (path == nullptr) {
        call.Misuse(kService, "a null path");
        return false;
    }
    if (!StateOf(*call).IsAllowed(path)) {
        call.Misuse(kService, "a path outside the work path", std::string("outside: ") + path);
        return false;
    }
    return true;
}

// --- Slots

void *FOpen(const char *path, const char *mode) {
    const Call call("DXR_FOpen");
    if (!call || !IsAllowed(call, path)) {
        return nullptr;
    }
    if (mode == nullptr || std::strchr("rwa", mode[0]) == nullptr) {
        call.Misuse(kService, "no mode of a file");
        return nullptr;
    }
    SystemService &state = StateOf(*call);
    auto open = std::make_shared<OpenFile>();
    open->path = path;
    open->file = state.openFails.Fails() ? nullptr : std::fopen(path, mode);
    if (open->file == nullptr) {
        return nullptr;
    }
    void *const handle = call->handles.Make(HandleType::kFile, open.get(), call.At());
    if (handle == nullptr) {
        (void)std::fclose(open->file);
        return nullptr;
    }
    const std::lock_guard lock(state.mutex);
    state.files.emplace(handle, open);
    return handle;
}

uint32_t FClose(void *file) {
    const Call call("DXR_FClose");
    if (!call || call.End<OpenFile>(kService, file, HandleType::kFile) == nullptr) {
        return kFailure;
    }
    const auto open = StateOf(*call).TakeOut(file);
    const std::lock_guard lock(open->mutex);
    const bool isClosed = std::fclose(open->file) == 0;
    open->file = nullptr;
    return isClosed ? 0 : kFailure;
}

uint32_t FRead(void *buffer, uint32_t size, uint32_t count, void *file) {
    const Call call("DXR_FRead");
    const auto open = call ? FileOf(call, file) : nullptr;
    if (open == nullptr) {
        return 0;
    }
    if (buffer == nullptr) {
        call.Misuse(kService, "a null buffer");
        return 0;
    }
    const std::lock_guard lock(open->mutex);
    if (open->file == nullptr || StateOf(*call).readFails.Fails()) {
        return 0;
    }
    // What the result cannot tell is not asked for.
    const uint64_t wanted = std::min<uint64_t>(uint64_t{size} * count, 0xFFFFFFFF);
    return static_cast<uint32_t>(std::fread(buffer, 1, wanted, open->file));
}

uint32_t FSeek(void *file, uint32_t offset, uint32_t origin) {
    constexpr std::array<int, 3> kOrigins = {SEEK_SET, SEEK_CUR, SEEK_END};
    const Call call("DXR_FSeek");
    const auto open = call ? FileOf(call, file) : nullptr;
    const auto *const known =
        std::find(kOrigins.begin(), kOrigins.end(), static_cast<int64_t>(origin));
    if (open == nullptr || known == kOrigins.end()) {
        return kFailure;
    }
    const std::lock_guard lock(open->mutex);
    const long distance = *known == SEEK_SET ? long{offset} : long{static_cast<int32_t>(offset)};
    return open->file != nullptr && std::fseek(open->file, distance, *known) == 0 ? 0 : kFailure;
}

uint32_t FileLength(const char *path) {
    const Call call("DXR_FileLength");
    struct stat status {};
    if (!call || !IsAllowed(call, path) || stat(path, &status) != 0 ||
        status.st_size > int64_t{kNoLength}) {
        return kNoLength;
    }
    return static_cast<uint32_t>(status.st_size);
}

const char *GetBinFolderName() {
    const Call call("DXR_GetBinFolderName");
    if (!call) {
        return ".";
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.binFolder.c_str();
}

uint32_t GetSysWorkPath(char *buffer, uint32_t size) {
    const Call call("DXR_GetSysWorkPath");
    if (!call) {
        return kFailure;
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    if (buffer == nullptr || state.workPath.size() >= size) {
        return kFailure;
    }
    std::memcpy(buffer, state.workPath.c_str(), state.workPath.size() + 1);
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeSystem(Host &host) {
    return std::make_unique<SystemService>(host);
}

void FillSystem(DxrHooks &hooks) {
    hooks.system.fOpen = FOpen;
    hooks.system.fClose = FClose;
    hooks.system.fRead = FRead;
    hooks.system.fileLength = FileLength;
    hooks.system.getBinFolderName = GetBinFolderName;
    hooks.system.getSysWorkPath = GetSysWorkPath;
    hooks.system.fSeek = FSeek;
}

}  // namespace devhost

using devhost::ApiCall;

void DxrHostSetWorkPath(DxrHost *host, const char *path) {
    const ApiCall call(host);
    if (call && path != nullptr) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.workPath = path;
    }
}

void DxrHostSetBinFolderName(DxrHost *host, const char *name) {
    const ApiCall call(host);
    if (call && name != nullptr) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.binFolder = name;
    }
}
