#include "dxr_devhost/system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "host.h"
#include "module_call.h"
#include "path_below.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "system";
constexpr uint32_t kFailure = 1;
constexpr uint32_t kLevelOfFiles = 2;
constexpr uint32_t kNoLength = 0xFFFFFFFF;

// A file that is open. A call that is in it keeps it while another one closes it.
struct OpenFile {
    OpenFile() = default;
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    OpenFile(OpenFile &&) = delete;
    OpenFile &operator=(OpenFile &&) = delete;
    ~OpenFile() {
        if (file != nullptr) {
            (void)std::fclose(file);
        }
    }

    std::mutex mutex;
    std::FILE *file = nullptr;  // null once it is closed
    std::string path;
};

// A timer or a watched heart: a job, and the module's function.
struct Timer : Job {
    Timer() : Job("a timer's function", Fire, this) {}
    static void Fire(void *user);

    class SystemService *service = nullptr;
    uint64_t serial = 0;
    void *handle = nullptr;         // of a timer
    const void *monitor = nullptr;  // of a heart
    uint32_t number = 0;            // that names the heart
    void (*function)(void *) = nullptr;
    void *argument = nullptr;
    bool firesOnce = false;
    bool isEnding = false;  // nobody finds it any more
    // While its function ran, which may not come back: then the timer goes with the service.
    std::atomic<bool> wasStopped{false};
    Place made;
};

// Jiffies of all processors.
struct Load {
    uint64_t busy = 0;
    uint64_t all = 0;
};

bool ReadLoad(Load &load) {
    std::ifstream file("/proc/stat");
    std::string word;
    file >> word;
    constexpr int kIdle = 3;
    constexpr int kIoWait = 4;
    constexpr int kSteal = 7;
    for (int column = 0; column <= kSteal; ++column) {
        uint64_t jiffies = 0;
        file >> jiffies;
        load.all += jiffies;
        load.busy += column == kIdle || column == kIoWait ? 0 : jiffies;
    }
    return word == "cpu" && !file.fail();
}

class SystemService : public Service {
  public:
    explicit SystemService(Host &host)
        : Service(host),
          workPath(host.options.workPath),
          binFolder(host.options.binFolder),
          cpuUseRate(host.scheduler.clock.IsReal() ? DXR_HOST_MEASURED_LOAD : 0),
          openFails(host.chance.Point("file.open")),
          readFails(host.chance.Point("file.read")),
          timerFails(host.chance.Point("timer.start")),
          zipFails(host.chance.Point("system.zip")) {
        (void)ReadLoad(load);
    }

    using Service::TheHost;

    ~SystemService() override {
        for (const auto &[serial, timer] : timers) {
            (void)TheHost().scheduler.Stop(*timer, nullptr, {});
            // Also one whose function was cut off.
            timer->self.reset();
        }
    }

    void ReportLeftovers() override {
        for (const auto &[serial, timer] : timers) {
            if (!timer->wasStopped) {
                TheHost().ReportLeftover(kService, timer->made,
                                         timer->handle != nullptr
                                             ? "timer"
                                             : "monitor of heart " + std::to_string(timer->number));
            }
        }
        for (const auto &[handle, open] : files) {
            TheHost().ReportLeftover(kService, TheHost().handles.MadeAt(handle),
                                     "file " + open->path);
        }
    }

    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        const bool isUsed = std::any_of(timers.begin(), timers.end(), [&code](const auto &each) {
            return code.Holds(reinterpret_cast<const void *>(each.second->function));
        });
        return isUsed ? "a timer or heart-beat" : "";
    }

    std::shared_ptr<OpenFile> FileOf(const void *handle) {
        const std::lock_guard lock(mutex);
        const auto found = files.find(handle);
        return found != files.end() ? found->second : nullptr;
    }

    // A handle for the file; null without memory. Who finds one finds its file too: it may be
    // guessed before it is given to anybody.
    void *Keep(const std::shared_ptr<OpenFile> &open, const Place &place) {
        const std::lock_guard lock(mutex);
        void *const handle = TheHost().handles.Make(HandleType::kFile, open.get(), place);
        if (handle == nullptr) {
            return nullptr;
        }
        try {
            files.emplace(handle, open);
        } catch (const std::bad_alloc &) {
            (void)TheHost().handles.End(handle, HandleType::kFile, place);
            throw;
        }
        return handle;
    }

    // Ends a handle and gives its file; null for what is no handle.
    std::shared_ptr<OpenFile> TakeOut(const void *handle, const Place &place) {
        const std::lock_guard lock(mutex);
        const auto found = files.find(handle);
        if (found == files.end()) {
            return nullptr;
        }
        std::shared_ptr<OpenFile> open = std::move(found->second);
        files.erase(found);
        (void)TheHost().handles.End(handle, HandleType::kFile, place);
        return open;
    }

    // Starts a timer with a handle, which is written to its record before the function can run.
    // Who finds the timer can stop it: it is started by then. 0, or a number of <errno.h>.
    uint32_t StartWithHandle(const std::shared_ptr<Timer> &timer, uint64_t ms, bool repeats,
                             void *record) {
        Handles &handles = TheHost().handles;
        const std::lock_guard lock(mutex);
        timer->handle = handles.Make(HandleType::kTimer, timer.get(), timer->made);
        if (timer->handle == nullptr) {
            return ENOMEM;
        }
        std::memcpy(static_cast<std::byte *>(record) + offsetof(DxrHostTimer, handle),
                    &timer->handle, sizeof(timer->handle));
        uint32_t result = ENOMEM;
        try {
            result = Start(timer, ms, repeats);
        } catch (const std::bad_alloc &) {
            result = ENOMEM;
        }
        if (result != 0) {
            (void)handles.End(timer->handle, HandleType::kTimer, timer->made);
        }
        return result;
    }

    // Starts to watch a heart. As above; EEXIST when somebody else does for the same monitor.
    uint32_t StartWatch(const std::shared_ptr<Timer> &timer, uint64_t ms) {
        const std::lock_guard lock(mutex);
        const auto [begin, end] = hearts.equal_range(timer->monitor);
        const bool isTwin =
            std::any_of(begin, end, [](const auto &each) { return !each.second->isEnding; });
        return isTwin ? EEXIST : Start(timer, ms, false);
    }

    // With the lock.
    uint32_t Start(const std::shared_ptr<Timer> &timer, uint64_t ms, bool repeats) {
        Scheduler &scheduler = TheHost().scheduler;
        // Beyond that nobody lives to see it.
        const uint64_t ns = std::min(ms, kLongestMs) * kNsPerMs;
        timer->service = this;
        timer->serial = ++lastSerial;
        timer->firesOnce = !repeats;
        const auto entry = timers.emplace(timer->serial, timer).first;
        uint32_t result = ENOMEM;
        try {
            if (timer->monitor != nullptr) {
                hearts.emplace(timer->monitor, timer.get());
            }
            result = scheduler.Start(timer, scheduler.clock.NowNs() + ns, repeats ? ns : 0);
        } catch (const std::bad_alloc &) {
            result = ENOMEM;
        }
        if (result != 0) {
            EraseHeart(*timer);
            timers.erase(entry);
        }
        return result;
    }

    // The timer of a handle, or the one that watches for a monitor, while it is started. One that
    // somebody else ends is none; when its function runs, `running` is it, and is held: then
    // Scheduler::AwaitRun follows.
    Timer *FindTimer(const void *handle, const void *monitor, Job *&running) {
        const std::lock_guard lock(mutex);
        auto *found = static_cast<Timer *>(TheHost().handles.Find(handle, HandleType::kTimer));
        if (monitor != nullptr) {
            const auto [begin, end] = hearts.equal_range(monitor);
            for (auto at = begin; at != end && (found == nullptr || found->isEnding); ++at) {
                found = at->second;
            }
        }
        if (found != nullptr && std::exchange(found->isEnding, true)) {
            running = TheHost().scheduler.HoldRunning(*found) ? found : nullptr;
            found = nullptr;
        }
        return found;
    }

    // Stops a timer, or the one that watches for a monitor. Its function does not run afterwards,
    // unless it is the caller. False when there was none.
    bool Stop(const Call &call, const void *handle, const void *monitor) {
        Scheduler &scheduler = call->scheduler;
        // Before a running one is held, which nothing may come between.
        Task &by = scheduler.Current(call.Thread(), call.At());
        Job *running = nullptr;
        Timer *const found = FindTimer(handle, monitor, running);
        if (found != nullptr) {
            Stop(by, *found, call.At());
        } else if (running != nullptr) {
            scheduler.AwaitRun(*running, by, call.At());
        }
        return found != nullptr;
    }

    // Stops a timer that FindTimer gave, and forgets it, or lets its function do so at its end.
    void Stop(Task &by, Timer &timer, const Place &place) {
        if (TheHost().scheduler.Stop(timer, &by, place)) {
            Forget(timer.serial);
        } else {
            timer.wasStopped = true;
        }
    }

    void Forget(uint64_t serial) {
        std::shared_ptr<Timer> last;
        const std::lock_guard lock(mutex);
        const auto found = timers.find(serial);
        if (found != timers.end()) {
            last = std::move(found->second);
            timers.erase(found);
            EraseHeart(*last);
            if (last->handle != nullptr) {
                (void)TheHost().handles.End(last->handle, HandleType::kTimer, {});
            }
        }
    }

    // With the lock. A monitor has one heart, and those that are ending.
    void EraseHeart(const Timer &timer) {
        const auto [begin, end] = hearts.equal_range(timer.monitor);
        const auto found =
            std::find_if(begin, end, [&timer](const auto &each) { return each.second == &timer; });
        if (found != end) {
            hearts.erase(found);
        }
    }

    // Nobody finds the timer any more. False when somebody else ends it already.
    bool EndHandle(Timer &timer) {
        const std::lock_guard lock(mutex);
        return !std::exchange(timer.isEnding, true);
    }

    void ReportHeart(const Timer &timer) {
        TheHost().reports.Add(DXR_HOST_REPORT_RUN, kService, timer.made, "heart-beat",
                              "heart " + std::to_string(timer.number) + " has stopped");
    }

    // Tells whether modules may open it: all below the work path and in the directory of private
    // logs, which the library reads, or everything. False with an error when it cannot tell. Unless
    // everything is allowed, `resolved` is where the path leads.
    bool IsAllowed(const char *path, std::error_code &error, std::string &resolved) {
        if (TheHost().options.allowOutside) {
            return true;
        }
        std::string work;
        {
            const std::lock_guard lock(mutex);
            work = workPath;
        }
        const auto file = Resolve(path, error);
        if (error) {
            return false;
        }
        const std::array<const char *, 3> directories = {work.c_str(), DXR_PRIVATE_LOG_DIRECTORY,
                                                         TheHost().options.logDirectory.c_str()};
        for (const char *const directory : directories) {
            std::error_code failed;
            if (IsBelow(file, directory, failed)) {
                error.clear();
                resolved = file.string();
                return true;
            }
            error = failed ? failed : error;
        }
        return false;
    }

    std::mutex mutex;  // guards what follows
    std::string workPath;
    std::string binFolder;
    std::map<const void *, std::shared_ptr<OpenFile>> files;
    std::map<uint64_t, std::shared_ptr<Timer>> timers;
    std::multimap<const void *, Timer *> hearts;  // those of the timers that watch, by monitor
    uint64_t lastSerial = 0;
    std::map<uint32_t, uint32_t> envValues;
    uint32_t lrId = 0;
    uint32_t cpuUseRate;
    Load load;
    FaultPoint &openFails;
    FaultPoint &readFails;
    FaultPoint &timerFails;
    FaultPoint &zipFails;
};

// What fires once is forgotten before its function runs, which may start it anew; its memory stays
// until then.
void Timer::Fire(void *user) {
    auto *const timer = static_cast<Timer *>(user);
    if (timer->monitor != nullptr) {
        timer->service->ReportHeart(*timer);
    }
    const char *const name = timer->name;
    void (*const call)(void *) = timer->function;
    void *const with = timer->argument;
    const bool isOver = timer->firesOnce && timer->service->EndHandle(*timer);
    bool hasReturned = false;
    const auto forgetIt = [timer, isOver] {
        if (isOver || timer->wasStopped) {
            timer->service->Forget(timer->serial);
        }
    };
    const AlsoAtThreadsEnd forget([&forgetIt, &hasReturned] {
        if (!hasReturned) {
            forgetIt();
        }
    });
    if (call != nullptr) {
        CallModuleVoid(timer->service->TheHost(), kService, name, call, with);
    }
    // One that did not end with its host: neither the timer nor the host is there any more. Whoever
    // passes here comes back to the scheduler, also when the host ends just now.
    Scheduler::EndStopped(ThisThread());
    hasReturned = true;
    forgetIt();
}

SystemService &StateOf(Host &host) {
    return host.Get<SystemService>(ServiceId::kSystem);
}

// Who called, looked up before a lock is held.
Place PlaceOf(const Call &call) {
    return {call.At().slot, ModuleCaller(call.At().address)};
}

// The open file of a handle; null, and a report, when there is none.
std::shared_ptr<OpenFile> FileOf(const Call &call, const void *handle) {
    auto open = StateOf(*call).FileOf(handle);
    if (open == nullptr) {
        (void)call.Find<OpenFile>(kService, handle, HandleType::kFile);
    }
    return open;
}

// False, and a report, for a null path and one that is outside; false, and a message, where that
// cannot be found out: the machine's fault, not the caller's. `resolved` as above.
bool IsAllowed(const Call &call, const char *path, std::string &resolved) {
    if (path == nullptr) {
        call.Misuse(kService, "a null path");
        return false;
    }
    std::error_code error;
    const bool isAllowed = StateOf(*call).IsAllowed(path, error, resolved);
    if (error) {
        call->Say(kLevelOfFiles, WhyUnknown(call, path, error).c_str());
    } else if (!isAllowed) {
        call.Misuse(kService, "a path outside the work path", std::string("outside: ") + path);
    }
    return isAllowed;
}

// As fopen, but for directories, of which nothing can be read, and with flags of open.
std::FILE *OpenPlain(const char *path, const char *mode, int flags) {
    const std::string_view how = std::string_view(mode).substr(0, std::strcspn(mode, ","));
    const auto has = [how](char letter) { return how.find(letter) != std::string_view::npos; };
    const bool isRead = how.front() == 'r';
    flags |= has('+') ? O_RDWR : (isRead ? O_RDONLY : O_WRONLY);
    flags |= isRead ? 0 : (O_CREAT | (how.front() == 'w' ? O_TRUNC : O_APPEND));
    flags |= (has('x') ? O_EXCL : 0) | (has('e') ? O_CLOEXEC : 0);
    constexpr mode_t kMode = 0666;
    const int file = open(path, flags, kMode);
    if (file < 0) {
        return nullptr;
    }
    struct stat status {};
    std::FILE *const stream =
        fstat(file, &status) == 0 && !S_ISDIR(status.st_mode) ? fdopen(file, mode) : nullptr;
    if (stream == nullptr) {
        (void)close(file);
    }
    return stream;
}

// --- Slots

void *FOpen(const char *path, const char *mode) {
    const Call call("DXR_FOpen");
    std::string resolved;
    if (!call || !IsAllowed(call, path, resolved)) {
        return nullptr;
    }
    if (mode == nullptr || mode[0] == '\0' || std::strchr("rwa", mode[0]) == nullptr) {
        call.Misuse(kService, "no mode of a file");
        return nullptr;
    }
    SystemService &state = StateOf(*call);
    auto open = std::make_shared<OpenFile>();
    open->path = path;
    // What is a link by now was none when its place was looked at.
    if (!state.openFails.Fails()) {
        open->file = resolved.empty() ? OpenPlain(path, mode, 0)
                                      : OpenPlain(resolved.c_str(), mode, O_NOFOLLOW);
    }
    if (open->file == nullptr) {
        return nullptr;
    }
    return state.Keep(open, PlaceOf(call));
}

uint32_t FClose(void *file) {
    const Call call("DXR_FClose");
    const auto open = call ? StateOf(*call).TakeOut(file, PlaceOf(call)) : nullptr;
    if (open == nullptr) {
        if (call) {
            (void)call.Find<OpenFile>(kService, file, HandleType::kFile);
        }
        return kFailure;
    }
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
    std::string resolved;
    if (!call || !IsAllowed(call, path, resolved) || stat(path, &status) != 0 ||
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
    if (buffer == nullptr) {
        call.Misuse(kService, "a null pointer");
        return kFailure;
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    if (state.workPath.size() >= size) {
        return kFailure;
    }
    std::memcpy(buffer, state.workPath.c_str(), state.workPath.size() + 1);
    return 0;
}

// --- Slots: timers and heart-beats

uint32_t StopTimer(void *timer) {
    const Call call("DXR_StopTimer");
    if (!call) {
        return ECANCELED;
    }
    DxrHostTimer given;
    if (!CopyRecord(timer, given)) {
        call.Misuse(kService, "no timer");
        return EINVAL;
    }
    if (given.handle == nullptr) {
        return ENOENT;
    }
    if (!call->handles.WasMade(given.handle, HandleType::kTimer)) {
        call.Misuse(kService, "no timer", call->handles.Explain(given.handle, HandleType::kTimer));
        return EINVAL;
    }
    return StateOf(*call).Stop(call, given.handle, nullptr) ? 0 : ENOENT;
}

uint32_t StartTimer(void *timer) {
    const Call call("DXR_StartTimer");
    if (!call) {
        return ECANCELED;
    }
    DxrHostTimer given;
    if (!CopyRecord(timer, given) || given.function == nullptr) {
        call.Misuse(kService, "no timer");
        return EINVAL;
    }
    SystemService &state = StateOf(*call);
    if (given.handle != nullptr) {
        (void)state.Stop(call, given.handle, nullptr);
    }
    if (state.timerFails.Fails()) {
        return ENOMEM;
    }
    auto made = std::make_shared<Timer>();
    made->function = given.function;
    made->argument = given.argument;
    made->made = PlaceOf(call);
    // A period of nothing would never let the clock move.
    const uint64_t ms = given.repeats != 0 ? std::max(given.ms, 1U) : given.ms;
    return state.StartWithHandle(made, ms, given.repeats != 0, timer);
}

uint32_t StopHeartToMon(void *monitor) {
    const Call call("DXR_StopHeartToMon");
    if (!call) {
        return ECANCELED;
    }
    if (monitor == nullptr) {
        call.Misuse(kService, "a null pointer");
        return EINVAL;
    }
    SystemService &state = StateOf(*call);
    return state.Stop(call, nullptr, monitor) ? 0 : ENOENT;
}

// As SystemService::StartWatch.
uint32_t Watch(const Call &call, const DxrHostHeartMonitor &given, const void *monitor, uint64_t ms,
               uint32_t number) {
    auto made = std::make_shared<Timer>();
    made->function = given.function;
    made->argument = given.argument;
    made->monitor = monitor;
    made->name = monitor != nullptr ? "a monitor's function" : made->name;
    made->number = number;
    made->made = PlaceOf(call);
    return StateOf(*call).StartWatch(made, ms);
}

uint32_t SetHeartMon(void *monitor, uint32_t ms, uint32_t misses, uint32_t number) {
    const Call call("DXR_SetHeartMon");
    if (!call) {
        return ECANCELED;
    }
    DxrHostHeartMonitor given;
    if (ms == 0 || misses == 0 || !CopyRecord(monitor, given)) {
        call.Misuse(kService, "no monitor");
        return EINVAL;
    }
    SystemService &state = StateOf(*call);
    (void)state.Stop(call, nullptr, monitor);
    if (state.timerFails.Fails()) {
        return ENOMEM;
    }
    for (;;) {
        // Nothing is owned while the one before is awaited.
        const uint32_t result = Watch(call, given, monitor, uint64_t{ms} * misses, number);
        if (result != EEXIST) {
            return result;
        }
        (void)state.Stop(call, nullptr, monitor);
    }
}

// --- Slots: the rest

uint32_t GetEnvValueById(uint32_t id, void *value) {
    const Call call("DXR_GetEnvValueById");
    if (!call) {
        return ECANCELED;
    }
    if (value == nullptr) {
        call.Misuse(kService, "a null pointer");
        return EINVAL;
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.envValues.find(id);
    if (found == state.envValues.end()) {
        return ENOENT;
    }
    std::memcpy(value, &found->second, sizeof(found->second));
    return 0;
}

uint32_t GetLrId() {
    const Call call("DXR_GetLrId");
    if (!call) {
        return 0;
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.lrId;
}

uint32_t GetCpuUseRate() {
    const Call call("DXR_GetCpuUseRate");
    if (!call) {
        return 0;
    }
    SystemService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    if (state.cpuUseRate != DXR_HOST_MEASURED_LOAD) {
        return state.cpuUseRate;
    }
    Load now;
    if (!ReadLoad(now) || now.all <= state.load.all || now.busy < state.load.busy) {
        return 0;
    }
    const uint64_t busy = now.busy - state.load.busy;
    const uint64_t all = now.all - state.load.all;
    state.load = now;
    return static_cast<uint32_t>(100 * busy / all);
}

uint32_t ZipBuffer(uint32_t size, void *from, void *to, void *room) {
    const Call call("DXR_ZipBuffer");
    if (!call) {
        return ECANCELED;
    }
    if (from == nullptr || to == nullptr || room == nullptr) {
        call.Misuse(kService, "a null pointer");
        return EINVAL;
    }
    if (StateOf(*call).zipFails.Fails()) {
        return ENOMEM;
    }
    uint32_t given = 0;
    std::memcpy(&given, room, sizeof(given));
    uLongf length = given;
    const int result = compress2(static_cast<Bytef *>(to), &length, static_cast<Bytef *>(from),
                                 size, Z_DEFAULT_COMPRESSION);
    if (result == Z_MEM_ERROR) {
        return ENOMEM;
    }
    const auto told = static_cast<uint32_t>(
        std::min<uLong>(result == Z_OK ? length : compressBound(size), UINT32_MAX));
    std::memcpy(room, &told, sizeof(told));
    return result == Z_OK ? 0 : ENOSPC;
}

uint32_t RestorePatch() {
    const Call call("DXR_RestorePatch");
    if (!call) {
        return ECANCELED;
    }
    constexpr uint32_t kInformation = 6;
    call->Say(kInformation, "no patches to restore");
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeSystem(Host &host) {
    return std::make_unique<SystemService>(host);
}

void FillSystem(DxrHooks &hooks) {
    hooks.system.fOpen = Guarded<FOpen>;
    hooks.system.fClose = Guarded<FClose, kFailure>;
    hooks.system.fRead = Guarded<FRead, 0>;
    hooks.system.fileLength = Guarded<FileLength, kNoLength>;
    hooks.system.getBinFolderName = Guarded<GetBinFolderName>;
    hooks.system.getSysWorkPath = Guarded<GetSysWorkPath, kFailure>;
    hooks.system.fSeek = Guarded<FSeek, kFailure>;
    hooks.system.startTimer = Guarded<StartTimer>;
    hooks.system.stopTimer = Guarded<StopTimer>;
    hooks.system.setHeartMon = Guarded<SetHeartMon>;
    hooks.system.stopHeartToMon = Guarded<StopHeartToMon>;
    hooks.system.getEnvValueById = Guarded<GetEnvValueById>;
    hooks.system.getLrId = Guarded<GetLrId, 0>;
    hooks.system.getCpuUseRate = Guarded<GetCpuUseRate, 0>;
    hooks.system.zipBuffer = Guarded<ZipBuffer>;
    hooks.system.restorePatch = Guarded<RestorePatch>;
}

}  // namespace devhost

using devhost::ApiCall;

void DxrHostSetWorkPath(DxrHost *host, const char *path) try {
    const ApiCall call(host);
    if (call && path != nullptr) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.workPath = path;
    }
} catch (const std::bad_alloc &) {
    // The one before stays.
}

void DxrHostSetBinFolderName(DxrHost *host, const char *name) try {
    const ApiCall call(host);
    if (call && name != nullptr) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.binFolder = name;
    }
} catch (const std::bad_alloc &) {
    // The one before stays.
}

void DxrHostSetEnvValue(DxrHost *host, uint32_t id, uint32_t value) try {
    const ApiCall call(host);
    if (call) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.envValues[id] = value;
    }
} catch (const std::bad_alloc &) {
    // The one before stays.
}

void DxrHostSetLrId(DxrHost *host, uint32_t lrId) {
    const ApiCall call(host);
    if (call) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.lrId = lrId;
    }
}

void DxrHostSetCpuUseRate(DxrHost *host, uint32_t perCent) {
    const ApiCall call(host);
    if (call) {
        devhost::SystemService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.cpuUseRate = perCent;
    }
}
