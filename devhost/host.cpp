#include "host.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "dxr_devhost/print.h"
#include "error_text.h"
#include "live_hosts.h"
#include "module_call.h"
#include "print.h"

namespace devhost {
namespace {

// How long the end of a host waits for calls that are in progress.
constexpr uint32_t kGraceMs = 10000;

// How often the end of a host tries again that did not have the memory to look at what is left.
constexpr uint32_t kMostTries = 3;

constinit std::atomic<uint64_t> g_lateCalls{0};

// The places of late calls that were told. A place is a number of 64 bits that slot and caller mix
// to, so that one exchange enters it: no lock, and no memory, at a time when nothing is sure.
constinit std::array<std::atomic<uint64_t>, 256> g_lateTold{};
constinit std::atomic<bool> g_hasToldOfMore{false};

enum class Late { kNew, kKnown, kNoRoom };

Late Enter(const char *slot, const void *caller) {
    uint64_t place = reinterpret_cast<uintptr_t>(slot) * 0x9E3779B97F4A7C15;
    place = ((place ^ place >> 32) + reinterpret_cast<uintptr_t>(caller)) * 0xD6E8FEB86659FD93;
    place = (place ^ place >> 32) | 1;  // 0 is a free entry
    for (size_t i = 0; i < g_lateTold.size(); ++i) {
        std::atomic<uint64_t> &entry = g_lateTold[(place / 2 + i) % g_lateTold.size()];
        uint64_t there = 0;
        if (entry.compare_exchange_strong(there, place)) {
            return Late::kNew;
        }
        if (there == place) {
            return Late::kKnown;
        }
    }
    return Late::kNoRoom;
}

// Each place once; when there are too many, that there are more.
void TellLate(const char *slot, const void *caller) {
    const Late late = Enter(slot, caller);
    if (late == Late::kNew) {
        std::string by = "an unknown place";
        try {
            by = Describe(caller);
        } catch (const std::bad_alloc &) {
            // The slot says something too.
        }
        (void)std::fprintf(stderr, "dxr: no host is registered: %s by %s\n", slot, by.c_str());
    } else if (late == Late::kNoRoom && !g_hasToldOfMore.exchange(true)) {
        (void)std::fputs("dxr: no host is registered: further places are not told\n", stderr);
    }
}

DxrHost *Public(Host *host) {
    return reinterpret_cast<DxrHost *>(host);
}

}  // namespace

constinit std::atomic<uint32_t> Host::lastNumber_{0};

Host::Host(const Options &given)
    : options(given), chance(given.seed), handles(number), scheduler(*this, given) {
    for (const ServiceEntry &service : kServices) {
        services_[static_cast<size_t>(service.id)] = service.make(*this);
    }
    OpenLog(*this);
    if (scheduler.clock.IsVirtual()) {
        scheduler.AdoptMain();
    }
}

Host::~Host() {
    std::for_each(services_.rbegin(), services_.rend(), [](auto &service) { service.reset(); });
}

void Host::Say(uint32_t level, const char *text) {
    devhost::Say(*this, level, text);
}

void Host::ReportLeftover(const char *service, const Place &made, const std::string &what) {
    ++leftovers_;
    std::string text = "left behind: " + what;
    if (made.slot[0] != '\0') {
        text += ", made by " + Describe(made);
    }
    reports.Add(DXR_HOST_REPORT_LEFTOVER, service, {}, "left behind", text);
}

std::string Host::UseOf(const CodeRange &code) {
    std::string use = reports.HasSinkIn(code) ? "the sink of reports" : "";
    for (const auto &service : services_) {
        const std::string found = service->UseOf(code);
        use += !use.empty() && !found.empty() ? ", " : "";
        use += found;
    }
    return use;
}

uint32_t Host::Finish() {
    leftovers_ = 0;
    scheduler.Finish();
    isInUse_ = !WaitUntilOutside(*this, kGraceMs);
    if (isInUse_) {
        reports.Add(DXR_HOST_REPORT_LEFTOVER, "host", {}, "call",
                    "a call does not come back: the host's memory is not released");
        return ++leftovers_;
    }
    for (const auto &service : services_) {
        service->ReportLeftovers();
    }
    reports.TellMore();
    return leftovers_;
}

void ReportException(Host &host, const char *service, const char *what, const void *function) {
    if (Scheduler::IsStopped(ThisThread())) {
        return;  // the host may be gone already
    }
    const std::string finding =
        std::string("an exception left ") + what + ", " + Describe(function);
    std::string text = finding;
    try {
        // cppcheck-suppress rethrowNoCurrentException
        throw;
    } catch (const std::exception &exception) {
        text += std::string(": ") + exception.what();
    } catch (...) {
        text += ", no std::exception";
    }
    host.reports.Add(DXR_HOST_REPORT_MISUSE, service, {}, finding.c_str(), text);
}

void Call::BeginUnusual() {
    if (host_ != nullptr) {
        host_->scheduler.Point(thread_);
        return;
    }
    Scheduler::EndStopped(thread_);
    ++g_lateCalls;
    TellLate(slot_, ModuleCaller(caller_));
}

void Call::Misuse(const char *service, const char *what, const std::string &text) const {
    host_->reports.Add(DXR_HOST_REPORT_MISUSE, service, At(), what, text.empty() ? what : text);
}

void Call::ReportHandle(const char *service, const void *handle, HandleType type) const {
    host_->reports.Add(DXR_HOST_REPORT_MISUSE, service, At(), NameOf(type),
                       host_->handles.Explain(handle, type));
}

ApiCall::ApiCall(DxrHost *host) {
    try {
        thread_ = &ThisThread();
        auto *const named = reinterpret_cast<Host *>(host);
        // Who is in it by a slot is in it already.
        isNamed_ = named != nullptr && (thread_->depth == 0 || thread_->inside.load() != named);
        // The registered host has a way without a lock.
        if (isNamed_ && thread_->depth == 0 && g_registered.load() == named) {
            isNamed_ = Enter(*thread_) != named;
            if (isNamed_) {
                Leave(*thread_);
            } else {
                host_ = named;
                return;
            }
        }
        if (!isNamed_) {
            host_ = Enter(*thread_);
        } else if (live::Enter(named, *thread_)) {
            host_ = named;
        }
    } catch (const std::bad_alloc &) {
        thread_ = nullptr;
        return;
    }
    if (host_ == nullptr) {
        Scheduler::EndStopped(*thread_);
        if (!isNamed_) {
            Leave(*thread_);
        }
        thread_ = nullptr;
    }
}

ApiCall::~ApiCall() {
    if (thread_ == nullptr) {
        return;
    }
    if (isNamed_) {
        live::Leave(host_, *thread_);
    } else {
        Leave(*thread_);
    }
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::Host;
using devhost::ThreadRecord;

namespace {

DxrHost *Make(const devhost::Options &options) {
    try {
        devhost::PrepareCalls();
        devhost::live::EndInChildren();
        auto *const host = new Host(options);
        devhost::live::Add(*host);
        return devhost::Public(host);
    } catch (const std::exception &) {
        return nullptr;
    }
}

}  // namespace

DxrHost *DxrHostCreate(const DxrHostOptions *options) {
    DxrHostOptions defaults;
    DxrHostInitOptions(&defaults);
    try {
        devhost::Options read;
        return devhost::ReadOptions(options != nullptr ? *options : defaults, read) ? Make(read)
                                                                                    : nullptr;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

DxrHost *DxrHostCreateFromFile(const char *path, char *error, uint32_t errorSize) {
    try {
        devhost::Options options;
        std::string why = "no file was given";
        DxrHost *host = nullptr;
        if (path != nullptr) {
            why.clear();
            if (devhost::ReadOptionsFile(path, options, why)) {
                host = Make(options);
                why = host != nullptr ? "" : "the host could not be made";
            }
        }
        devhost::WriteError(error, errorSize, why.c_str());
        return host;
    } catch (const std::bad_alloc &) {
        devhost::WriteError(error, errorSize, "not enough memory");
        return nullptr;
    }
}

uint32_t DxrHostRegister(DxrHost *host) {
    if (host == nullptr) {
        (void)DXR_RegisterHooks(nullptr);
        devhost::Register(nullptr, devhost::kNoHost);
        return 0;
    }
    const ApiCall call(host);
    if (!call) {
        return EINVAL;
    }
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    devhost::Register(&*call, call->scheduler.SwitchesAtCalls() ? devhost::kNoHost : call->number);
    return DXR_RegisterHooks(&hooks);
}

DxrHost *DxrHostGet(void) {
    return devhost::Public(devhost::g_registered.load());
}

namespace {

// Takes the host out: nobody gets in any more but the calling thread. False, and a report, when the
// thread is the host's or in it; false also when it is no host, or somebody else ends it.
bool TakeOut(DxrHost *given, ThreadRecord &thread, const void *caller) {
    auto *const host = reinterpret_cast<Host *>(given);
    const bool isIn =
        (thread.depth != 0 && thread.inside.load() == host) || devhost::live::IsIn(host, thread);
    {
        const ApiCall call(given);
        if (!call) {
            return false;
        }
        // Also at the thread's last destructors, when the task has ended: the host joins it.
        if (isIn || devhost::t_taskOf == call->number) {
            host->reports.Add(DXR_HOST_REPORT_MISUSE, "host", {"DxrHostDestroy", caller},
                              "from within",
                              "a host cannot be ended by its own task or from within its call");
            return false;
        }
    }
    return devhost::live::TakeOut(host, thread);
}

// False without the memory to look at what is left.
bool Finish(Host &host, uint32_t &leftovers) {
    for (uint32_t tries = 0; tries < devhost::kMostTries; ++tries) {
        try {
            leftovers = host.Finish();
            return true;
        } catch (const std::bad_alloc &) {
            // Memory may come back.
        }
    }
    return false;
}

}  // namespace

uint32_t DxrHostDestroy(DxrHost *given, FILE *out) {
    if (given == nullptr) {
        return 0;
    }
    ThreadRecord *thread = nullptr;
    try {
        thread = &devhost::ThisThread();
        devhost::EndLostThreads(*thread);
        if (!TakeOut(given, *thread, __builtin_return_address(0))) {
            return UINT32_MAX;
        }
    } catch (const std::bad_alloc &) {
        return UINT32_MAX;
    }
    auto *const host = reinterpret_cast<Host *>(given);
    host->isEnding = true;
    // The table stays until no task is left that reads it: it leads them here, where they end.
    const bool wasRegistered = devhost::g_registered.load() == host;
    if (wasRegistered) {
        devhost::Register(nullptr, devhost::kNoHost);
    }
    uint32_t leftovers = 0;
    const bool isFinished = Finish(*host, leftovers);
    if (wasRegistered) {
        (void)DXR_RegisterHooks(nullptr);
    }
    if (!isFinished) {
        // It stays, to be ended later.
        devhost::live::Add(*host);
        devhost::live::Leave(host, *thread);
        return UINT32_MAX;
    }
    if (out != nullptr) {
        host->reports.WriteAll(out);
    }
    thread->tasks.Forget(host->number);
    thread->held.Forget(host->number);
    devhost::live::Leave(host, *thread);
    if (!host->IsInUse()) {
        delete host;
    }
    return leftovers;
}

const void **DxrHostCallerPlace(void) {
    return &devhost::t_callerBehind;
}

uint64_t DxrHostGetLateCalls(void) {
    return devhost::g_lateCalls.load();
}

void DxrHostSetReportSink(DxrHost *host, DxrHostReportSink sink, void *user) {
    const ApiCall call(host);
    if (call) {
        call->reports.SetSink(sink, user);
    }
}

uint32_t DxrHostGetReportCount(DxrHost *host) {
    const ApiCall call(host);
    return call ? call->reports.Count() : 0;
}

bool DxrHostGetReport(DxrHost *host, uint32_t index, DxrHostReport *report) {
    const ApiCall call(host);
    return call && report != nullptr && call->reports.Get(index, *report);
}
