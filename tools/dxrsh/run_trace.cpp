#include "run_trace.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <fstream>
#include <future>
#include <string>
#include <system_error>
#include <utility>

#include "errors.h"

namespace dxrsh {
namespace {

// As much as one message or file block has; more is cut, and a replay says so.
constexpr uint32_t kPieceBytes = 65536;

[[noreturn]] void Refuse(const std::string &file, uint32_t error) {
    throw RunError(
        fmt::format("{}: {}", file, std::generic_category().message(static_cast<int>(error))));
}

// Tells whether a file is a module or a library of this program, which runs in it as it is there.
// The loader knows them by the names they were loaded by, which may mean others by now.
bool IsLoaded(const std::string &file) {
    struct stat found {};
    if (stat(file.c_str(), &found) != 0) {
        return false;
    }
    std::ifstream mappings("/proc/self/maps");
    for (std::string line; std::getline(mappings, line);) {
        const size_t path = line.find('/');
        struct stat mapped {};
        if (path != std::string::npos && stat(line.c_str() + path, &mapped) == 0 &&
            mapped.st_dev == found.st_dev && mapped.st_ino == found.st_ino) {
            return true;
        }
    }
    return false;
}

}  // namespace

uint32_t RunTrace::StartLocked(const std::string &file) {
    DxrTraceOptions trace;
    DxrTraceInitOptions(&trace);
    trace.timedCalls = 1;
    if (!file.empty()) {
        trace.mode = DXR_TRACE_CALLS;
        trace.pointers = DXR_TRACE_POINTERS_DEVHOST;
        trace.dataBytes = kPieceBytes;
        trace.whenFull = DXR_TRACE_WAIT;
        trace.callbacks = 1;
        trace.file = file.c_str();
    }
    const uint32_t error = DxrTraceStart(&trace);
    if (error != 0) {
        return error;
    }
    CountUnfilled();
    isOn_ = true;
    file_ = file;
    return 0;
}

// Not on this thread, which may be that of those who are attached: the one that begins a recording
// passes for the module's.
uint32_t RunTrace::StartAsideLocked(const std::string &file) {
    try {
        return std::async(std::launch::async, [this, &file] { return StartLocked(file); }).get();
    } catch (const std::system_error &error) {
        return static_cast<uint32_t>(error.code().value());
    }
}

uint32_t RunTrace::StopLocked() {
    if (!isOn_) {
        return 0;
    }
    isOn_ = false;
    file_.clear();
    CallCounts counts{};
    (void)DxrTraceGetCounts(counts.data(), kTableSlots);
    for (size_t i = 0; i < kTableSlots; ++i) {
        counts[i].calls += before_[i].calls;
    }
    before_ = counts;
    StopCountingUnfilled();
    return DxrTraceStop();
}

uint32_t RunTrace::Start(const std::string &file, bool isOfRun) {
    const std::lock_guard lock(mutex_);
    isOfRun_ = isOfRun;
    return StartLocked(file);
}

uint32_t RunTrace::Stop() {
    const std::lock_guard lock(mutex_);
    return StopLocked();
}

void RunTrace::Record(const std::string &file) {
    const std::lock_guard lock(mutex_);
    if (isOfRun_) {
        throw RunError("the run records its calls itself");
    }
    if (IsLoaded(file)) {
        throw RunError(file + ": is a module or a library of the run");
    }
    const std::string earlier = file_;
    const uint32_t stopped = StopLocked();
    const uint32_t started = StartAsideLocked(file);
    if (started != 0) {
        (void)StartLocked({});
        Refuse(file, started);
    }
    if (stopped != 0) {
        Refuse(earlier, stopped);
    }
}

void RunTrace::StopRecording() {
    const std::lock_guard lock(mutex_);
    if (isOfRun_) {
        throw RunError("the run records its calls itself");
    }
    if (file_.empty()) {
        throw RunError("no trace is on");
    }
    const std::string file = file_;
    const uint32_t error = StopLocked();
    (void)StartLocked({});
    if (error != 0) {
        Refuse(file, error);
    }
}

CallCounts RunTrace::Counts() const {
    const std::lock_guard lock(mutex_);
    CallCounts counts = before_;
    if (isOn_) {
        (void)DxrTraceGetCounts(counts.data(), kTableSlots);
        for (size_t i = 0; i < kTableSlots; ++i) {
            counts[i].calls += before_[i].calls;
        }
    }
    return counts;
}

}  // namespace dxrsh
