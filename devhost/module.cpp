#include "dxr_devhost/module.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "host.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "module";

struct Module {
    DxrHostModuleInfo info{};
    Place made;
    CodeRange code;  // of the object that registered it
};

class ModuleService : public Service {
  public:
    explicit ModuleService(Host &host)
        : Service(host), registerFails(host.chance.Point("module.register")) {}

    void ReportLeftovers() override {
        for (const Module &module : modules) {
            TheHost().ReportLeftover(
                kService, module.made,
                "module " + std::to_string(module.info.mid) + " \"" + module.info.name + "\"");
        }
    }

    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        const auto found =
            std::find_if(modules.begin(), modules.end(),
                         [&code](const Module &each) { return each.code.begin == code.begin; });
        return found != modules.end() ? std::string("module \"") + found->info.name + "\"" : "";
    }

    // Under the lock: the module that the caller's code registered last; null when there is none.
    Module *Of(const void *caller) {
        const auto found =
            std::find_if(modules.rbegin(), modules.rend(),
                         [caller](const Module &each) { return each.code.Holds(caller); });
        return found != modules.rend() ? &*found : nullptr;
    }

    std::mutex mutex;  // guards what follows
    std::vector<Module> modules;
    uint8_t velder = 0;
    FaultPoint &registerFails;
};

ModuleService &StateOf(Host &host) {
    return host.Get<ModuleService>(ServiceId::kModule);
}

// A call with the lock, and the module of the caller.
class ModuleCall : public Call {
  public:
    ModuleCall(const char *slot, const void *caller) : Call(slot, caller) {
        if (*this) {
            const void *const from = ModuleCaller(At().address);
            lock_ = std::unique_lock(StateOf(**this).mutex);
            module_ = StateOf(**this).Of(from);
        }
    }

    [[nodiscard]] Module *TheModule() const { return module_; }
    void ReportNone() {
        lock_.unlock();
        Misuse(kService, "the caller has registered no module");
    }

  private:
    std::unique_lock<std::mutex> lock_;
    Module *module_ = nullptr;
};

// --- Slots

// Why a record cannot be registered; null when it can. Under the lock.
const char *Refusal(const ModuleService &state, const DxrHostModuleInfo &info) {
    for (const Module &each : state.modules) {
        if (each.info.mid == info.mid) {
            return "the module identifier is registered";
        }
        if (std::strcmp(each.info.name, info.name) == 0) {
            return "the name is registered";
        }
    }
    return nullptr;
}

void RegisterModule(void *record) {
    const Call call("DXR_Register");
    if (!call) {
        return;
    }
    DxrHostModule given{};
    if (!CopyRecord(record, given) || given.name == nullptr || given.name[0] == '\0') {
        call.Misuse(kService, "no registration record, or no name in it");
        return;
    }
    Module made;
    made.info.mid = given.mid;
    made.info.version = given.version;
    made.info.useVelder = given.useVelder;
    made.info.instance = given.instance;
    std::memcpy(made.info.name, given.name, strnlen(given.name, sizeof(made.info.name) - 1));
    made.made = {call.At().slot, ModuleCaller(call.At().address)};
    made.code = CodeOf(made.made.address);
    ModuleService &state = StateOf(*call);
    const char *why = "no memory for a module: it is not registered";
    if (!state.registerFails.Fails()) {
        try {
            const std::lock_guard lock(state.mutex);
            why = Refusal(state, made.info);
            if (why == nullptr) {
                state.modules.push_back(made);
            }
        } catch (const std::bad_alloc &) {
            why = "no memory for a module: it is not registered";
        }
    }
    if (why != nullptr) {
        call.Misuse(kService, why,
                    std::string(why) + ": module " + std::to_string(made.info.mid) + " \"" +
                        made.info.name + "\"");
    }
}

void UnRegister() {
    ModuleCall call("DXR_UnRegister", __builtin_return_address(0));
    if (!call) {
        return;
    }
    if (call.TheModule() == nullptr) {
        call.ReportNone();
        return;
    }
    std::vector<Module> &modules = StateOf(*call).modules;
    modules.erase(modules.begin() + (call.TheModule() - modules.data()));
}

void SetUdf(void *udf) {
    ModuleCall call("DXR_SetUdf", __builtin_return_address(0));
    if (!call) {
        return;
    }
    if (call.TheModule() == nullptr) {
        call.ReportNone();
        return;
    }
    call.TheModule()->info.udf = udf;
}

void RegisterVelderFuncs(uint8_t flag) {
    const ModuleCall call("DXR_RegisterVelderFuncs", __builtin_return_address(0));
    if (!call) {
        return;
    }
    StateOf(*call).velder = flag;
    if (call.TheModule() != nullptr) {
        call.TheModule()->info.useVelder = flag;
    }
}

void *GetThis() {
    const ModuleCall call("DXR_GetThis", __builtin_return_address(0));
    return call && call.TheModule() != nullptr ? call.TheModule()->info.instance : nullptr;
}

}  // namespace

std::unique_ptr<Service> MakeModule(Host &host) {
    return std::make_unique<ModuleService>(host);
}

void FillModule(DxrHooks &hooks) {
    hooks.init.registerModule = Guarded<RegisterModule>;
    hooks.init.unRegister = Guarded<UnRegister>;
    hooks.init.setUdf = Guarded<SetUdf>;
    hooks.init.registerVelderFuncs = Guarded<RegisterVelderFuncs>;
    hooks.init.getThis = Guarded<GetThis>;
}

}  // namespace devhost

using devhost::ApiCall;

uint32_t DxrHostGetModules(DxrHost *host, DxrHostModuleInfo *modules, uint32_t room) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    devhost::ModuleService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    for (size_t i = 0; i < std::min<size_t>(room, state.modules.size()); ++i) {
        modules[i] = state.modules[i].info;
    }
    return static_cast<uint32_t>(state.modules.size());
}

uint32_t DxrHostGetVelder(DxrHost *host) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    devhost::ModuleService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.velder;
}
