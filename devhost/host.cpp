#include "host.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "dxr_devhost/print.h"
#include "error_text.h"
#include "print.h"

namespace devhost {
namespace {

// How long the end of a host waits for calls that are in progress.
constexpr uint32_t kGraceMs = 10000;

// How often the end of a host tries again that did not have the memory to look at what is left.
constexpr uint32_t kMostTries = 3;

constinit std::atomic<uint64_t> g_lateCalls{0};

DxrHost *Public(Host *host) {
    return reinterpret_cast<DxrHost *>(host);
}

void Register(Host *host) {
    g_registered.store(host, std::memory_order_seq_cst);
    PublishRegistration();
}

}  // namespace

constinit std::atomic<uint32_t> Host::lastNumber_{0};

Host::Host(const Options &given)
    : options(given), chance(given.seed), handles(number), scheduler(*this, given) {
    for (const ServiceEntry &service : kServices) {
        services_[static_cast<size_t>(service.id)] = service.make(*this);
    }
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
    std::string use;
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
    isInUse_ = !WaitUntilOutside(this, kGraceMs);
    if (isInUse_) {
        reports.Add(DXR_HOST_REPORT_LEFTOVER, "host", {}, "call",
                    "a call does not come back: the host's memory is not released");
        return ++leftovers_;
    }
    for (const auto &service : services_) {
        service->ReportLeftovers();
    }
    return leftovers_;
}

void Call::BeginUnusual() {
    if (host_ != nullptr) {
        host_->scheduler.Point(thread_);
        return;
    }
    Scheduler::EndStopped(thread_);
    if (g_lateCalls.fetch_add(1) == 0) {
        (void)std::fprintf(stderr, "dxr: no host is registered: %s by %s\n", slot_,
                           Describe(ModuleCaller(caller_)).c_str());
    }
}

void Call::Misuse(const char *service, const char *what, const std::string &text) const {
    host_->reports.Add(DXR_HOST_REPORT_MISUSE, service, At(), what, text.empty() ? what : text);
}

void Call::ReportHandle(const char *service, const void *handle, HandleType type) const {
    host_->reports.Add(DXR_HOST_REPORT_MISUSE, service, At(), NameOf(type),
                       host_->handles.Explain(handle, type));
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::Host;

namespace {

DxrHost *Make(const devhost::Options &options) {
    try {
        devhost::PublishRegistration();
        return devhost::Public(new Host(options));
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
        devhost::Register(nullptr);
        return 0;
    }
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    devhost::Register(reinterpret_cast<Host *>(host));
    return DXR_RegisterHooks(&hooks);
}

DxrHost *DxrHostGet(void) {
    return devhost::Public(devhost::g_registered.load());
}

uint32_t DxrHostDestroy(DxrHost *given, FILE *out) {
    auto *const host = reinterpret_cast<Host *>(given);
    if (host == nullptr) {
        return 0;
    }
    devhost::ThreadRecord &thread = devhost::ThisThread();
    const bool isTask =
        thread.taskHost == host->number && thread.task != nullptr && thread.task->entry != nullptr;
    if (isTask || (thread.depth != 0 && thread.inside.load() == host)) {
        host->reports.Add(DXR_HOST_REPORT_MISUSE, "host",
                          {"DxrHostDestroy", __builtin_return_address(0)}, "from within",
                          "a host cannot be ended by its own task or from within its call");
        return UINT32_MAX;
    }
    // The table stays until no task is left that reads it: it leads them here, where they end.
    const bool wasRegistered = devhost::g_registered.load() == host;
    if (wasRegistered) {
        devhost::Register(nullptr);
    }
    const auto emptyTable = [&] {
        if (wasRegistered) {
            (void)DXR_RegisterHooks(nullptr);
        }
    };
    uint32_t leftovers = 0;
    for (uint32_t tries = 1;; ++tries) {
        try {
            leftovers = host->Finish();
            break;
        } catch (const std::bad_alloc &) {
            // Memory may come back; without it the host stays.
            if (tries == devhost::kMostTries) {
                emptyTable();
                return UINT32_MAX;
            }
        }
    }
    emptyTable();
    if (out != nullptr) {
        host->reports.WriteAll(out);
    }
    if (thread.taskHost == host->number) {
        thread.task.reset();
    }
    if (!host->IsInUse()) {
        delete host;
    }
    return leftovers;
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
