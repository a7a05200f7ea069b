// A test body over many seeds, each in a host and a virtual time of its own.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "dxr_devhost/host.h"
#include "dxr_devhost/system_task.h"
#include "host.h"
#include "options.h"

namespace devhost {
namespace {

constexpr uint32_t kDefaultEndSec = 3600;

struct Run {
    DxrHost *host;
    DxrHostBody body;
    void *user;
    uint32_t result;
};

void RunBody(void *argument) {
    auto *const run = static_cast<Run *>(argument);
    run->result = run->body(run->host, run->user);
}

constexpr const char *kHostIsThere = "a host is registered, and each run needs one of its own";

// Whether a host is registered already; that is reported to it. Throws std::bad_alloc.
bool IsInTheWay(const void *caller) {
    const ApiCall call(nullptr);
    if (call) {
        call->reports.Add(DXR_HOST_REPORT_MISUSE, "host", {"DxrHostExplore", caller},
                          "runs within a host", kHostIsThere);
    }
    return static_cast<bool>(call);
}

// Why the run failed; empty when it did not. Throws std::bad_alloc.
std::string RunOnce(Run &run) {
    auto &host = *reinterpret_cast<Host *>(run.host);
    auto task = std::make_unique<Task>();
    task->name = "body";
    task->entry = RunBody;
    task->argument = &run;
    const uint32_t id = host.scheduler.Create(std::move(task));
    const Place place{"DxrHostExplore", nullptr};
    Task &main = host.scheduler.Current(ThisThread(), place);
    if (id == 0) {
        return "no thread could be made";
    }
    const uint32_t joined = host.scheduler.Join(main, id, kForever, place);
    if (joined == ENOMEM) {
        throw std::bad_alloc();
    }
    if (joined != 0) {
        const std::string text = host.scheduler.EndText();
        return text.empty() ? "the run has ended" : text;
    }
    return run.result != 0 ? "the body returned " + std::to_string(run.result) : std::string();
}

}  // namespace
}  // namespace devhost

uint32_t DxrHostExplore(const DxrHostOptions *options, uint32_t seeds, DxrHostBody body, void *user,
                        DxrHostExploration *found) {
    constexpr uint32_t kAllWell = 0;
    constexpr uint32_t kOneFailed = 1;
    constexpr uint32_t kNoHost = 2;
    constexpr uint32_t kNoMemory = 2;
    DxrHostOptions each;
    DxrHostInitOptions(&each);
    each.endSec = devhost::kDefaultEndSec;
    each = devhost::OptionsOr(options, each);
    each.clock = DXR_HOST_CLOCK_VIRTUAL;
    DxrHostExploration exploration{};
    uint32_t result = body != nullptr ? kAllWell : kNoHost;
    try {
        if (devhost::IsInTheWay(__builtin_return_address(0))) {
            (void)std::snprintf(exploration.text, sizeof(exploration.text), "%s",
                                devhost::kHostIsThere);
            result = kNoHost;
        }
    } catch (const std::bad_alloc &) {
        result = kNoMemory;
    }
    while (result == kAllWell && exploration.runs < seeds) {
        devhost::Run run{DxrHostCreate(&each), body, user, 0};
        if (run.host == nullptr || DxrHostRegister(run.host) != 0) {
            (void)DxrHostDestroy(run.host, nullptr);
            result = kNoHost;
            break;
        }
        std::string why;
        bool hasRun = true;
        try {
            why = devhost::RunOnce(run);
        } catch (const std::bad_alloc &) {
            hasRun = false;
        }
        exploration.runs += hasRun ? 1 : 0;
        // What the end of the run cuts off is no finding.
        DxrHostSetReportSink(
            run.host, [](const DxrHostReport *, void *) {}, nullptr);
        (void)DxrHostDestroy(run.host, nullptr);
        if (!hasRun) {
            result = kNoMemory;
        } else if (!why.empty()) {
            exploration.result = run.result;
            exploration.seed = each.seed;
            (void)std::snprintf(exploration.text, sizeof(exploration.text), "%s", why.c_str());
            (void)std::fprintf(stderr, "seed %llu: %s\n",
                               static_cast<unsigned long long>(each.seed), why.c_str());
            result = kOneFailed;
        }
        ++each.seed;
    }
    if (found != nullptr) {
        *found = exploration;
    }
    return result;
}
