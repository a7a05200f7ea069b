#include "dxr_devhost/fault_management.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "host.h"
#include "module_call.h"

namespace devhost {
namespace {

constexpr const char *kService = "ffm";
constexpr uint32_t kFaultLevel = 2;
constexpr uint32_t kWellLevel = 6;

// One that was taken out stays in memory, since others may just stop it.
struct Check : Job {
    Check() : Job("a fault check", Run, this) {}
    static void Run(void *user);

    class FfmService *service = nullptr;
    DxrHostFaultCheck function = nullptr;
    void *user = nullptr;
    DxrHostFaultCheckState known{};
    bool isRemoved = false;
};

class FfmService : public Service {
  public:
    explicit FfmService(Host &host) : Service(host), startFails(host.chance.Point("ffm.start")) {}
    using Service::TheHost;

    ~FfmService() override {
        for (const auto &check : checks) {
            (void)TheHost().scheduler.Stop(*check, nullptr, {});
            // Also one whose function was cut off.
            check->self.reset();
        }
    }

    void ReportLeftovers() override {
        if (isStarted) {
            TheHost().ReportLeftover(kService, started, "started fault checks");
        }
    }

    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        for (const auto &check : checks) {
            if (!check->isRemoved && code.Holds(reinterpret_cast<const void *>(check->function))) {
                return std::string("fault check ") + check->known.name;
            }
        }
        return {};
    }

    // Under the lock. As Scheduler::Start.
    uint32_t StartCheck(const std::shared_ptr<Check> &check) {
        Scheduler &scheduler = TheHost().scheduler;
        const uint64_t periodNs = check->known.periodMs * kNsPerMs;
        return scheduler.Start(check, scheduler.clock.NowNs() + periodNs, periodNs);
    }

    // Under the lock: those that do not run will not, those that do are not waited for.
    void StopAll() {
        for (const auto &check : checks) {
            (void)TheHost().scheduler.Stop(*check, nullptr, {});
        }
    }

    // The check with that index, also one that was taken out; null when there is none. It stays as
    // long as the host.
    Check *At(size_t index) {
        const std::lock_guard lock(mutex);
        return index < checks.size() ? checks[index].get() : nullptr;
    }

    // Under the lock.
    Check *Find(uint32_t number) {
        Check *const check =
            number != 0 && number <= checks.size() ? checks[number - 1].get() : nullptr;
        return check != nullptr && !check->isRemoved ? check : nullptr;
    }

    // A check was called, and returned that.
    void Note(Check &check, uint32_t result) {
        std::array<char, 80> line{};
        bool isNews = false;
        {
            const std::lock_guard lock(mutex);
            isNews = check.known.result != result;
            check.known.result = result;
            ++check.known.calls;
            check.known.faults += result != 0 ? 1 : 0;
            check.known.latestMs = TheHost().scheduler.clock.WallMs();
        }
        if (isNews && result != 0) {
            (void)std::snprintf(line.data(), line.size(), "fault check %s: fault %u",
                                check.known.name, result);
            TheHost().Say(kFaultLevel, line.data());
        } else if (isNews) {
            (void)std::snprintf(line.data(), line.size(), "fault check %s: all is well",
                                check.known.name);
            TheHost().Say(kWellLevel, line.data());
        }
    }

    std::mutex mutex;  // guards what follows
    std::vector<std::shared_ptr<Check>> checks;
    bool isStarted = false;
    bool isStopping = false;
    Place started;
    FaultPoint &startFails;
};

void Check::Run(void *user) {
    auto *const check = static_cast<Check *>(user);
    const uint32_t result = CallModule(check->service->TheHost(), kService, "a fault check",
                                       kThrown, check->function, check->user);
    // One that did not end with its host: the check is not there any more.
    Scheduler::EndStopped(ThisThread());
    check->service->Note(*check, result);
}

FfmService &StateOf(Host &host) {
    return host.Get<FfmService>(ServiceId::kFaultManagement);
}

// --- Slots

uint32_t FfmStartFaultCheck() {
    const Call call("DXR_FfmStartFaultCheck");
    if (!call) {
        return ECANCELED;
    }
    FfmService &state = StateOf(*call);
    const Place place{call.At().slot, ModuleCaller(call.At().address)};
    const std::lock_guard lock(state.mutex);
    if (state.isStarted || state.isStopping) {
        return state.isStarted ? EALREADY : EBUSY;
    }
    if (call->scheduler.HasEnded()) {
        return ECANCELED;
    }
    if (state.startFails.Fails()) {
        return ENOMEM;
    }
    uint32_t result = 0;
    try {
        for (const auto &check : state.checks) {
            if (!check->isRemoved && result == 0) {
                result = state.StartCheck(check);
            }
        }
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    if (result != 0) {
        state.StopAll();
        return result;
    }
    state.isStarted = true;
    state.started = place;
    return 0;
}

// A frame that waits owns nothing.
uint32_t FfmStopFaultCheck() {
    const Call call("DXR_FfmStopFaultCheck");
    if (!call) {
        return ECANCELED;
    }
    FfmService &state = StateOf(*call);
    Task &task = call->scheduler.Current(call.Thread(), call.At());
    {
        const std::lock_guard lock(state.mutex);
        if (!state.isStarted) {
            return ENOENT;
        }
        state.isStarted = false;
        state.isStopping = true;
        state.StopAll();
    }
    Check *check = state.At(0);
    for (size_t i = 1; check != nullptr; ++i) {
        (void)call->scheduler.Stop(*check, &task, call.At());
        check = state.At(i);
    }
    const std::lock_guard lock(state.mutex);
    state.isStopping = false;
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeFaultManagement(Host &host) {
    return std::make_unique<FfmService>(host);
}

void FillFaultManagement(DxrHooks &hooks) {
    hooks.ffm.ffmStartFaultCheck = Guarded<FfmStartFaultCheck>;
    hooks.ffm.ffmStopFaultCheck = Guarded<FfmStopFaultCheck>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::Check;
using devhost::FfmService;

uint32_t DxrHostAddFaultCheck(DxrHost *host, const char *name, DxrHostFaultCheck function,
                              void *user, uint32_t periodMs) {
    const ApiCall call(host);
    if (!call || name == nullptr || function == nullptr || periodMs == 0) {
        return 0;
    }
    FfmService &state = devhost::StateOf(*call);
    try {
        auto check = std::make_shared<Check>();
        check->service = &state;
        check->function = function;
        check->user = user;
        check->known.periodMs = periodMs;
        (void)std::snprintf(check->known.name, sizeof(check->known.name), "%s", name);
        {
            const std::lock_guard lock(state.mutex);
            if (state.checks.size() < DXR_HOST_MOST_FAULT_CHECKS) {
                state.checks.reserve(state.checks.size() + 1);
                if (state.isStarted && state.StartCheck(check) == EAGAIN) {
                    return 0;
                }
                state.checks.push_back(std::move(check));
                return static_cast<uint32_t>(state.checks.size());
            }
        }
        call->reports.Add(DXR_HOST_REPORT_MISUSE, devhost::kService,
                          {"DxrHostAddFaultCheck", __builtin_return_address(0)}, "full",
                          "more fault checks than a host takes");
        return 0;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

bool DxrHostRemoveFaultCheck(DxrHost *host, uint32_t number) try {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    const devhost::Place place{"DxrHostRemoveFaultCheck", __builtin_return_address(0)};
    FfmService &state = devhost::StateOf(*call);
    devhost::Task &task = call->scheduler.Current(devhost::ThisThread(), place);
    Check *check = nullptr;
    {
        const std::lock_guard lock(state.mutex);
        check = state.Find(number);
        if (check == nullptr) {
            return false;
        }
        check->isRemoved = true;
    }
    (void)call->scheduler.Stop(*check, &task, place);
    return true;
} catch (const std::bad_alloc &) {
    return false;
}

bool DxrHostGetFaultCheck(DxrHost *host, uint32_t number, DxrHostFaultCheckState *state) {
    const ApiCall call(host);
    if (!call || state == nullptr) {
        return false;
    }
    FfmService &service = devhost::StateOf(*call);
    const std::lock_guard lock(service.mutex);
    const Check *const check = service.Find(number);
    if (check != nullptr) {
        *state = check->known;
    }
    return check != nullptr;
}
