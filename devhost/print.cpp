#include "dxr_devhost/print.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "file_steps.h"
#include "host.h"
#include "path_below.h"
#include "print.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "print";
constexpr uint32_t kLevelFailure = 1;
constexpr uint32_t kLevelEvent = 3;
constexpr uint32_t kLevelInformation = 6;
constexpr size_t kTextRoom = 4096;
constexpr size_t kMostMilestones = 256;
constexpr size_t kOutputs = 4;
constexpr uint32_t kMostEntries = 65536;
constexpr uint32_t kFailure = 1;

// Where messages go: to a function or to a file.
struct PrintTarget {
    DxrHostPrintSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stderr;
    std::string prefix = "dxr ";
};

struct DiagTarget {
    DxrHostLineSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stdout;
};

struct EventTarget {
    DxrHostEventSink sink = nullptr;
    void *user = nullptr;
};

// A filter of lines, known by a key each.
struct LogFilter {
    struct Line {
        uint64_t sinceNs = 0;
        uint64_t suppressed = 0;
        uint64_t order = 0;
    };

    uint32_t entries = 0;
    uint64_t ns = 0;
    std::string file;
    std::map<std::string, Line, std::less<>> lines;
    std::map<uint64_t, std::string> byAge;
    uint64_t lastOrder = 0;
    uint64_t passed = 0;
    uint64_t suppressed = 0;

    // Tells whether a line with that key is to be written. Changes nothing without memory.
    bool Passes(std::string_view key, uint64_t now) {
        const auto found = lines.find(key);
        if (found != lines.end() && now - found->second.sinceNs < ns) {
            ++found->second.suppressed;
            ++suppressed;
            return false;
        }
        const uint64_t order = lastOrder + 1;
        if (found != lines.end()) {
            auto aged = byAge.extract(found->second.order);
            aged.key() = order;
            (void)byAge.insert(std::move(aged));
            found->second.sinceNs = now;
            found->second.order = order;
        } else {
            const auto aged = byAge.emplace(order, key).first;
            try {
                lines.emplace(std::string(key), Line{now, 0, order});
            } catch (const std::bad_alloc &) {
                byAge.erase(aged);
                throw;
            }
            if (lines.size() > entries) {
                lines.erase(byAge.begin()->second);
                byAge.erase(byAge.begin());
            }
        }
        lastOrder = order;
        ++passed;
        return true;
    }
};

// The file that messages also go to; full ones are renamed.
class LogFile {
  public:
    // A step that failed.
    struct Problem {
        const char *what = nullptr;  // null: none did
        int error = 0;
    };

    explicit LogFile(const Options &options)
        : path_(options.logFile), most_(options.logFileBytes), kept_(options.logFileCount) {}
    ~LogFile() { Close(); }
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;
    LogFile(LogFile &&) = delete;
    LogFile &operator=(LogFile &&) = delete;

    [[nodiscard]] const std::string &Path() const { return path_; }

    // Opens the file, unless it is open or there is none.
    Problem Begin() {
        const std::lock_guard lock(mutex_);
        return path_.empty() || file_ >= 0 ? Problem{} : Open();
    }

    // Writes a line. One that cannot be written whole is not there at all.
    Problem Write(const std::string &line) {
        if (path_.empty()) {
            return {};
        }
        const std::lock_guard lock(mutex_);
        Problem problem = file_ < 0 ? Open() : Problem{};
        // One that is empty cannot get more room.
        if (file_ >= 0 && most_ != 0 && written_ != 0 && written_ + line.size() > most_) {
            Close();
            problem = Rotate();
            const Problem opening = Open();
            problem = opening.what != nullptr ? opening : problem;
        }
        if (file_ < 0) {
            return problem;
        }
        size_t done = 0;
        if (!WriteAll(file_, line.data(), line.size(), &done)) {
            problem = {kWritten, errno};
            CutBack(done);
            return problem;
        }
        written_ += done;
        return problem;
    }

  private:
    static constexpr const char *kOpened = "opened";
    static constexpr const char *kWritten = "written";
    static constexpr const char *kRenamed = "renamed";
    static constexpr mode_t kMode = 0666;

    Problem Open() {
        file_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kMode);
        if (file_ < 0) {
            return {kOpened, errno};
        }
        written_ = static_cast<uint64_t>(std::max(lseek(file_, 0, SEEK_END), off_t{0}));
        return {};
    }

    void Close() {
        if (file_ >= 0) {
            (void)close(file_);
            file_ = -1;
        }
    }

    // Takes away the part of a line that was written, unless somebody else has written behind it.
    void CutBack(size_t part) const {
        struct stat status {};
        const off_t end = lseek(file_, 0, SEEK_CUR);
        if (part != 0 && end >= 0 && fstat(file_, &status) == 0 && status.st_size == end) {
            [[maybe_unused]] const int result = ftruncate(file_, end - static_cast<off_t>(part));
        }
    }

    // name.2 becomes name.3, name.1 name.2, name name.1; the oldest goes. A number that is free
    // ends that.
    Problem Rotate() {
        if (kept_ == 0) {
            return std::remove(path_.c_str()) == 0 ? Problem{} : Problem{kRenamed, errno};
        }
        const auto name = [this](uint32_t number) {
            return number == 0 ? path_ : path_ + "." + std::to_string(number);
        };
        uint32_t last = 1;
        while (last < kept_ && access(name(last).c_str(), F_OK) == 0) {
            ++last;
        }
        Problem problem;
        for (uint32_t number = last; number > 0; --number) {
            if (std::rename(name(number - 1).c_str(), name(number).c_str()) != 0) {
                problem = {kRenamed, errno};
            }
        }
        return problem;
    }

    const std::string path_;
    const uint64_t most_;
    const uint32_t kept_;
    std::mutex mutex_;
    int file_ = -1;
    uint64_t written_ = 0;
};

class PrintService : public Service {
  public:
    explicit PrintService(Host &host)
        : Service(host),
          maxLevel(host.options.printLevel),
          logDirectory(host.options.logDirectory),
          logFile(host.options),
          writeFails(host.chance.Point("file.write")),
          registerFails(host.chance.Point("filter.register")) {
        isOn.fill(true);
    }

    void ReportLeftovers() override {
        for (const auto &[handle, filter] : filters) {
            TheHost().ReportLeftover(kService, TheHost().handles.MadeAt(handle),
                                     "log filter " + filter->file);
        }
    }

    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        const bool isUsed = code.Holds(reinterpret_cast<const void *>(print.sink)) ||
                            code.Holds(reinterpret_cast<const void *>(diag.sink)) ||
                            code.Holds(reinterpret_cast<const void *>(events.sink));
        return isUsed ? "a sink of messages, lines or events" : "";
    }

    void Note(const char *text) {
        DxrHostMilestone milestone{};
        (void)std::snprintf(milestone.text, sizeof(milestone.text), "%s", text);
        const std::lock_guard lock(mutex);
        milestone.ns = TheHost().scheduler.clock.NowNs();
        milestones.push_back(milestone);
        if (milestones.size() > kMostMilestones) {
            milestones.pop_front();
        }
    }

    bool IsOn(uint32_t kind) {
        const std::lock_guard lock(mutex);
        return isOn[kind];
    }

    void Deliver(uint32_t level, const char *text) {
        PrintTarget target;
        std::unique_lock writing(files);
        {
            const std::lock_guard lock(mutex);
            if (level > maxLevel || !isOn[DXR_HOST_OUTPUT_MESSAGES]) {
                return;
            }
            target = print;
        }
        if (target.sink != nullptr) {
            writing.unlock();
        }
        const auto problem = logFile.Write("[" + std::to_string(level) + "] " + text + "\n");
        if (target.sink != nullptr) {
            const CallerBehind nobody(nullptr);
            target.sink(level, text, target.user);
        } else if (target.file != nullptr) {
            (void)std::fprintf(target.file, "%s[%u] %s\n", target.prefix.c_str(), level, text);
            writing.unlock();
        } else {
            writing.unlock();
        }
        Tell(problem);
    }

    // The report of what failed with the log file. When it becomes a message, which meets the same
    // failure, that is the same report once more, and ends there.
    void Tell(const LogFile::Problem &problem) {
        if (problem.what != nullptr) {
            TheHost().reports.Add(DXR_HOST_REPORT_MISUSE, kService, {}, problem.what,
                                  "the log file " + logFile.Path() + " could not be " +
                                      problem.what + ": " +
                                      std::generic_category().message(problem.error));
        }
    }

    void OpenLog() { Tell(logFile.Begin()); }

    void DeliverLine(const char *text) {
        DiagTarget target;
        std::unique_lock writing(files);
        {
            const std::lock_guard lock(mutex);
            if (!isOn[DXR_HOST_OUTPUT_DIAG]) {
                return;
            }
            target = diag;
        }
        if (target.sink != nullptr) {
            writing.unlock();
            const CallerBehind nobody(nullptr);
            target.sink(text, target.user);
        } else if (target.file != nullptr) {
            (void)std::fprintf(target.file, "%s\n", text);
        }
    }

    bool AppendToLog(const std::string &path, const char *text, size_t length) {
        if (writeFails.Fails()) {
            return false;
        }
        std::FILE *const file = std::fopen(path.c_str(), "ae");
        if (file == nullptr) {
            return false;
        }
        const bool written = std::fwrite(text, 1, length, file) == length;
        return std::fclose(file) == 0 && written;
    }

    std::string LogDirectory() {
        const std::lock_guard lock(mutex);
        return logDirectory;
    }

    // Held while messages and lines are written to files: who has put another one in may close the
    // one before. Locked first.
    std::recursive_mutex files;
    std::mutex mutex;  // guards what follows
    uint32_t maxLevel;
    PrintTarget print;
    DiagTarget diag;
    std::string logDirectory;
    EventTarget events;
    std::array<bool, kOutputs> isOn{};
    std::deque<DxrHostMilestone> milestones;
    std::map<const void *, std::unique_ptr<LogFilter>> filters;
    LogFile logFile;
    FaultPoint &writeFails;
    FaultPoint &registerFails;
};

PrintService &StateOf(Host &host) {
    return host.Get<PrintService>(ServiceId::kPrint);
}

// The library writes with "%s" and hands over the whole rest of a long text each time: only what is
// stored of it is looked at. Nothing for a null text.
std::optional<size_t> FormatPiece(std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> &piece,
                                  const char *format, std::va_list args) {
    if (std::strcmp(format, "%s") == 0) {
        const char *const text = va_arg(args, const char *);
        if (text == nullptr) {
            return std::nullopt;
        }
        const size_t length = strnlen(text, DXR_PRIVATE_LOG_WRITE_MAX);
        std::memcpy(piece.data(), text, length);
        return length;
    }
    if (std::vsnprintf(piece.data(), piece.size(), format, args) < 0) {
        return 0;
    }
    return std::strlen(piece.data());
}

// False, and a report, for null.
bool IsThere(const Call &call, const void *given) {
    if (given == nullptr) {
        call.Misuse(kService, "a null pointer");
    }
    return given != nullptr;
}

// Appends to the private log of a name. False, and a message or a report, when that fails or leaves
// the directory.
bool WriteToLog(const Call &call, const char *name, const char *text, size_t length) {
    PrintService &state = StateOf(*call);
    const std::string directory = state.LogDirectory();
    const std::string path = directory + name;
    if (!call->options.allowOutside) {
        std::error_code error;
        const auto resolved = Resolve(path, error);
        const bool isBelow = !error && IsBelow(resolved, directory, error);
        if (error) {
            state.Deliver(kLevelFailure, WhyUnknown(call, path, error).c_str());
            return false;
        }
        if (!isBelow) {
            call.Misuse(kService, "a private log outside its directory", "outside: " + path);
            return false;
        }
    }
    const bool isWritten = state.AppendToLog(path, text, length);
    if (!isWritten) {
        state.Deliver(kLevelFailure, ("private log " + path + " cannot be written").c_str());
    }
    return isWritten;
}

// --- Slots

[[gnu::format(printf, 2, 3)]] void Print(uint32_t level, const char *format, ...) {
    const Call call("the print slot");
    if (!call) {
        return;
    }
    if (format == nullptr) {
        Guard([&call] { call.Misuse(kService, "a null format"); });
        return;
    }
    PrintService &state = StateOf(*call);
    {
        const std::lock_guard lock(state.mutex);
        if (level > state.maxLevel) {
            return;
        }
    }
    std::array<char, kTextRoom> text;
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    if (length >= 0) {
        Guard([&] { state.Deliver(level, text.data()); });  // without memory it is lost
    }
}

uint32_t DiagLogFilter(const char *text) {
    const Call call("DXR_DiagLogFilter");
    if (!call || !IsThere(call, text)) {
        return kFailure;
    }
    StateOf(*call).DeliverLine(text);
    return 0;
}

uint32_t GetDbgLevel() {
    const Call call("DXR_GetDbgLevel");
    if (!call) {
        return 0;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.maxLevel;
}

uint32_t SetDbgLevel(uint32_t level) {
    const Call call("DXR_SetDbgLevel");
    if (!call) {
        return 1;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.maxLevel = level;
    return 0;
}

[[gnu::format(printf, 2, 3)]] uint32_t WritePrivateLog(const char *name, const char *format, ...) {
    const Call call("DXR_WritePrivateLog");
    if (!call) {
        return 1;
    }
    if (name == nullptr || format == nullptr) {
        Guard([&call] { call.Misuse(kService, "a null name or format"); });
        return 1;
    }
    PrintService &state = StateOf(*call);
    if (!state.IsOn(DXR_HOST_OUTPUT_PRIVATE_LOGS)) {
        return 0;
    }
    std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> piece;
    std::va_list args;
    va_start(args, format);
    const std::optional<size_t> length = FormatPiece(piece, format, args);
    va_end(args);
    return Guard(kFailure, [&]() -> uint32_t {
        if (!length) {
            call.Misuse(kService, "a null text");
            return kFailure;
        }
        return WriteToLog(call, name, piece.data(), *length) ? 0 : kFailure;
    });
}

uint32_t EnableLogOutput(uint32_t kind, uint32_t on) {
    const Call call("DXR_EnableLogOutput");
    if (!call || kind >= kOutputs) {
        return kFailure;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.isOn[kind] = on != 0;
    return 0;
}

uint32_t WriteEventLog(void *event) {
    const Call call("DXR_WriteEventLog");
    if (!call) {
        return kFailure;
    }
    DxrHostEvent given;
    if (!CopyRecord(event, given)) {
        call.Misuse(kService, "no event");
        return kFailure;
    }
    PrintService &state = StateOf(*call);
    EventTarget target;
    {
        const std::lock_guard lock(state.mutex);
        if (!state.isOn[DXR_HOST_OUTPUT_EVENTS]) {
            return 0;
        }
        target = state.events;
    }
    if (target.sink != nullptr) {
        const CallerBehind nobody(nullptr);
        target.sink(&given, target.user);
    } else {
        state.Deliver(kLevelEvent, ("event " + std::to_string(given.id) + " level " +
                                    std::to_string(given.level) + ": " +
                                    (given.text != nullptr ? given.text : ""))
                                       .c_str());
    }
    return 0;
}

uint32_t ReportAssert(void *value, uint32_t line) {
    const Call call("DXR_Assert");
    if (!call) {
        return kFailure;
    }
    // With the virtual clock a run repeats byte for byte, and addresses are others each time.
    constexpr uintptr_t kLeastAddress = 65536;
    const auto number = reinterpret_cast<uintptr_t>(value);
    std::array<char, 64> head{};
    if (call->scheduler.clock.IsVirtual() && number >= kLeastAddress) {
        (void)std::snprintf(head.data(), head.size(), "assertion at %u", line);
    } else {
        (void)std::snprintf(head.data(), head.size(), "assertion of 0x%llx at %u",
                            static_cast<unsigned long long>(number), line);
    }
    call.Misuse(kService, "assertion", head.data() + BackTrace());
    return 0;
}

uint32_t RecordWarmRebootMileStone(void *text) {
    const Call call("DXR_RecordWarmRebootMileStone");
    if (!call) {
        return kFailure;
    }
    if (!IsThere(call, text)) {
        return kFailure;
    }
    StateOf(*call).Note(static_cast<const char *>(text));
    return 0;
}

// --- Slots: log filters

// Registers a filter; null when the registration is none, or without memory.
void *Register(const Call &call, const void *registration, const char *file) {
    DxrHostLogFilter given;
    if (!CopyRecord(registration, given) || given.entries == 0 || given.entries > kMostEntries) {
        call.Misuse(kService, "no registration of a log filter");
        return nullptr;
    }
    PrintService &state = StateOf(*call);
    if (state.registerFails.Fails()) {
        return nullptr;
    }
    const char *const name = file != nullptr ? file : given.file;
    auto filter = std::make_unique<LogFilter>();
    filter->entries = given.entries;
    filter->ns = given.seconds * kNsPerSec;
    filter->file = name != nullptr ? name : "";
    const std::lock_guard lock(state.mutex);
    void *const handle = call->handles.Make(HandleType::kLogFilter, filter.get(), call.At());
    if (handle != nullptr) {
        try {
            state.filters.emplace(handle, std::move(filter));
        } catch (const std::bad_alloc &) {
            (void)call->handles.End(handle, HandleType::kLogFilter, call.At());
            throw;
        }
    }
    return handle;
}

uint32_t LogFilterRegister(void *registration) {
    const Call call("DXR_LOGFILTER_Register");
    void *const handle = call ? Register(call, registration, nullptr) : nullptr;
    if (handle == nullptr) {
        return kFailure;
    }
    std::memcpy(static_cast<std::byte *>(registration) + offsetof(DxrHostLogFilter, handle),
                &handle, sizeof(handle));
    return 0;
}

uint32_t LogFilterRegisterForFramework(uint32_t number, void *file, void *registration,
                                       void *handle) {
    const Call call("DXR_LOGFILTER_RegisterDiffLogForFramework");
    if (!call) {
        return kFailure;
    }
    if (!IsThere(call, handle)) {
        return kFailure;
    }
    const std::string name = "framework " + std::to_string(number);
    void *const made =
        Register(call, registration, file != nullptr ? static_cast<char *>(file) : name.c_str());
    if (made != nullptr) {
        std::memcpy(handle, &made, sizeof(made));
    }
    return made != nullptr ? 0 : kFailure;
}

// Calls `use` with the filter of a handle, under the lock. False, and a report, for other handles.
template <typename Use>
bool WithFilter(const Call &call, const void *handle, Use use) {
    {
        PrintService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        const auto found = state.filters.find(handle);
        if (found != state.filters.end()) {
            use(*found->second);
            return true;
        }
    }
    (void)call.Find<LogFilter>(kService, handle, HandleType::kLogFilter);
    return false;
}

uint32_t LogFilterDestroy(void *handle) {
    const Call call("DXR_LOGFILTER_Destroy");
    if (!call || call.End<LogFilter>(kService, handle, HandleType::kLogFilter) == nullptr) {
        return kFailure;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.filters.erase(handle);
    return 0;
}

const char *LogFilterGetFileName(void *handle) {
    const Call call("DXR_LOGFILTER_GetFileName");
    const char *name = nullptr;
    if (call) {
        (void)WithFilter(call, handle,
                         [&name](const LogFilter &filter) { name = filter.file.c_str(); });
    }
    return name;
}

// Writes the line unless one with the same key was.
uint32_t Filter(const Call &call, const void *handle, const char *text, std::string_view key) {
    bool isToBeWritten = false;
    // The time of the filter's turn: another line may have been written meanwhile.
    if (!WithFilter(call, handle, [&](LogFilter &filter) {
            isToBeWritten = filter.Passes(key, call->scheduler.clock.NowNs());
        })) {
        return kFailure;
    }
    if (isToBeWritten) {
        StateOf(*call).DeliverLine(text);
    }
    return 0;
}

uint32_t FilterSameLog(void *handle, const char *text) {
    const Call call("DXR_LOGFILTER_FilterSameLog");
    return call && IsThere(call, text) ? Filter(call, handle, text, text) : kFailure;
}

uint32_t FilterDiffKeyLog(void *handle, const char *text) {
    const Call call("DXR_LOGFILTER_FilterDiffKeyLog");
    if (!call || !IsThere(call, text)) {
        return kFailure;
    }
    const std::string_view whole = text;
    return Filter(call, handle, text, whole.substr(0, whole.find(':')));
}

uint32_t FilterLargeDiffKeyLog(void *handle, void *text, uint32_t length) {
    const Call call("DXR_LOGFILTER_FilterLargeDiffKeyLog");
    if (!call || !IsThere(call, text)) {
        return kFailure;
    }
    const auto *const line = static_cast<const char *>(text);
    return Filter(call, handle, line, std::string_view(line, strnlen(line, length)));
}

uint32_t ShowCurInfo(uint32_t all, void *handle, void *buffer, uint32_t size) {
    const Call call("DXR_LOGFILTER_ShowCurInfo");
    if (!call || !IsThere(call, buffer) || size == 0) {
        return kFailure;
    }
    std::string listing;
    if (!WithFilter(call, handle, [&listing, all](const LogFilter &filter) {
            for (const auto &[order, key] : filter.byAge) {
                const LogFilter::Line &line = filter.lines.find(key)->second;
                if (all != 0 || line.suppressed != 0) {
                    listing += key + ": " + std::to_string(line.suppressed) + " suppressed\n";
                }
            }
        })) {
        return kFailure;
    }
    (void)std::snprintf(static_cast<char *>(buffer), size, "%s", listing.c_str());
    return 0;
}

uint32_t ShowHisInfo(void *handle) {
    const Call call("DXR_LOGFILTER_ShowHisInfo");
    std::string line;
    if (!call || !WithFilter(call, handle, [&line](const LogFilter &filter) {
            line = "log filter " + filter.file + ": " + std::to_string(filter.passed) +
                   " lines passed, " + std::to_string(filter.suppressed) + " suppressed";
        })) {
        return kFailure;
    }
    call->Say(kLevelInformation, line.c_str());
    return 0;
}

}  // namespace

void OpenLog(Host &host) {
    StateOf(host).OpenLog();
}

void Say(Host &host, uint32_t level, const char *text) {
    StateOf(host).Deliver(level, text);
}

std::unique_ptr<Service> MakePrint(Host &host) {
    return std::make_unique<PrintService>(host);
}

void FillPrint(DxrHooks &hooks) {
    hooks.print.print = Print;
    hooks.print.diagLogFilter = Guarded<DiagLogFilter, kFailure>;
    hooks.print.getDbgLevel = Guarded<GetDbgLevel, 0>;
    hooks.print.setDbgLevel = Guarded<SetDbgLevel, kFailure>;
    hooks.print.writePrivateLog = WritePrivateLog;
    hooks.print.reportAssert = Guarded<ReportAssert, kFailure>;
    hooks.print.enableLogOutput = Guarded<EnableLogOutput, kFailure>;
    hooks.print.writeEventLog = Guarded<WriteEventLog, kFailure>;
    hooks.print.logFilterDestroy = Guarded<LogFilterDestroy, kFailure>;
    hooks.print.logFilterGetFileName = Guarded<LogFilterGetFileName>;
    hooks.print.logFilterFilterSameLog = Guarded<FilterSameLog, kFailure>;
    hooks.print.logFilterFilterDiffKeyLog = Guarded<FilterDiffKeyLog, kFailure>;
    hooks.print.logFilterFilterLargeDiffKeyLog = Guarded<FilterLargeDiffKeyLog, kFailure>;
    hooks.print.logFilterRegister = Guarded<LogFilterRegister, kFailure>;
    hooks.print.logFilterRegisterDiffLogForFramework =
        Guarded<LogFilterRegisterForFramework, kFailure>;
    hooks.print.logFilterShowCurInfo = Guarded<ShowCurInfo, kFailure>;
    hooks.print.logFilterShowHisInfo = Guarded<ShowHisInfo, kFailure>;
    hooks.print.recordWarmRebootMileStone = Guarded<RecordWarmRebootMileStone, kFailure>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::PrintService;
using devhost::StateOf;

void DxrHostSetPrintFile(DxrHost *host, FILE *out, uint32_t maxLevel, const char *prefix) {
    const ApiCall call(host);
    if (!call) {
        return;
    }
    devhost::Guard([&] {
        devhost::PrintTarget target = {nullptr, nullptr, out, prefix != nullptr ? prefix : ""};
        PrintService &state = StateOf(*call);
        const std::lock_guard writing(state.files);
        const std::lock_guard lock(state.mutex);
        state.maxLevel = maxLevel;
        std::swap(state.print, target);
    });
}

void DxrHostSetPrintSink(DxrHost *host, DxrHostPrintSink sink, void *user, uint32_t maxLevel) {
    const ApiCall call(host);
    if (!call) {
        return;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard writing(state.files);
    const std::lock_guard lock(state.mutex);
    state.maxLevel = maxLevel;
    state.print = {sink, user, nullptr, {}};
}

void DxrHostSetDiagFile(DxrHost *host, FILE *out) {
    const ApiCall call(host);
    if (call) {
        PrintService &state = StateOf(*call);
        const std::lock_guard writing(state.files);
        const std::lock_guard lock(state.mutex);
        state.diag = {nullptr, nullptr, out};
    }
}

void DxrHostSetDiagSink(DxrHost *host, DxrHostLineSink sink, void *user) {
    const ApiCall call(host);
    if (call) {
        PrintService &state = StateOf(*call);
        const std::lock_guard writing(state.files);
        const std::lock_guard lock(state.mutex);
        state.diag = {sink, user, nullptr};
    }
}

void DxrHostSetLogDirectory(DxrHost *host, const char *directory) {
    const ApiCall call(host);
    if (call && directory != nullptr) {
        devhost::Guard([&] {
            PrintService &state = StateOf(*call);
            const std::lock_guard lock(state.mutex);
            state.logDirectory = directory;
        });
    }
}

void DxrHostSetEventSink(DxrHost *host, DxrHostEventSink sink, void *user) {
    const ApiCall call(host);
    if (call) {
        PrintService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.events = {sink, user};
    }
}

uint32_t DxrHostGetMilestoneCount(DxrHost *host) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return static_cast<uint32_t>(state.milestones.size());
}

bool DxrHostGetMilestone(DxrHost *host, uint32_t index, DxrHostMilestone *milestone) {
    const ApiCall call(host);
    if (!call || milestone == nullptr) {
        return false;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    if (index >= state.milestones.size()) {
        return false;
    }
    *milestone = state.milestones[index];
    return true;
}
