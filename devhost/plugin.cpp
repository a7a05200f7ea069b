#include "dxr_devhost/plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "host.h"
#include "path_below.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "plug-in";
constexpr uint32_t kFailureLevel = 1;
constexpr uint32_t kListingLevel = 2;

struct Close {
    void operator()(void *library) const { (void)dlclose(library); }
};
using Library = std::unique_ptr<void, Close>;

enum class PluginState : uint8_t {
    kRegistered,
    kBusy,  // one call loads, checks or unloads it
    kLoaded,
};

struct Plugin {
    std::string path;
    uint32_t wanted = 0;
    void *argument = nullptr;
    Place made;
    PluginState state = PluginState::kRegistered;
    Library library;
    const DxrHostPluginTable *table = nullptr;
    uint32_t inside = 0;
    uint32_t loads = 0;
};

class PluginService : public Service {
  public:
    explicit PluginService(Host &host)
        : Service(host),
          registerFails(host.chance.Point("plugin.register")),
          loadFails(host.chance.Point("plugin.load")) {}

    ~PluginService() override {
        if (TheHost().scheduler.HasAbandoned()) {
            for (auto &[name, plugin] : plugins) {
                (void)plugin.library.release();
            }
            for (Library &library : kept) {
                (void)library.release();
            }
        }
    }

    void ReportLeftovers() override {
        for (const auto &[name, plugin] : plugins) {
            TheHost().ReportLeftover(
                kService, plugin.made,
                (plugin.library != nullptr ? "loaded plug-in \"" : "plug-in \"") + name + "\"");
        }
    }

    // Under the lock; null when it is not registered.
    Plugin *Find(const char *name) {
        const auto found = plugins.find(name);
        return found != plugins.end() ? &found->second : nullptr;
    }

    // Tells whether a plug-in that is loaded has the same file open.
    bool IsOpenElsewhere(const void *library) {
        const std::lock_guard lock(mutex);
        return std::any_of(plugins.begin(), plugins.end(), [library](const auto &each) {
            return each.second.library.get() == library;
        });
    }

    // Of a plug-in that is no longer loaded.
    Library TakeLibrary(Plugin &plugin) {
        const std::lock_guard lock(mutex);
        return std::move(plugin.library);
    }

    std::mutex mutex;  // guards what follows
    std::map<std::string, Plugin, std::less<>> plugins;
    std::list<std::string> displays;  // how far each display of all is: the name of the last line
    std::vector<Library> kept;        // whose code is needed until the end
    FaultPoint &registerFails;
    FaultPoint &loadFails;
};

PluginService &StateOf(Host &host) {
    return host.Get<PluginService>(ServiceId::kPlugin);
}

// A call with a record. False without a host, and, with a report, for what is no record.
class PluginCall : public Call {
  public:
    PluginCall(const char *slot, const void *record,
               const void *caller = __builtin_return_address(0))
        : Call(slot, caller) {
        if (!Call::operator bool()) {
            return;
        }
        refusal_ = EINVAL;
        if (!CopyRecord(record, given_) || given_.name == nullptr || given_.name[0] == '\0') {
            Call::Misuse(kService, "no plug-in record, or no name in it");
            return;
        }
        refusal_ = 0;
    }

    explicit operator bool() const { return refusal_ == 0; }
    // What the slot gives then.
    [[nodiscard]] uint32_t Refusal() const { return refusal_; }

    [[nodiscard]] const DxrHostPlugin &Given() const { return given_; }
    [[nodiscard]] PluginService &State() const { return StateOf(**this); }

    // A mistake with the plug-in that the record names.
    void Misuse(const char *what) const {
        Call::Misuse(kService, what, std::string(what) + ": \"" + given_.name + "\"");
    }

  private:
    DxrHostPlugin given_{};
    uint32_t refusal_ = ECANCELED;
};

// Keeps a plug-in for one call; gives it the state that is then to follow.
class Busy {
  public:
    Busy(PluginService &state, Plugin &plugin) : state_(state), plugin_(plugin) {}
    ~Busy() {
        const std::lock_guard lock(state_.mutex);
        plugin_.state = next;
    }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;
    Busy(Busy &&) = delete;
    Busy &operator=(Busy &&) = delete;

    PluginState next = PluginState::kRegistered;

  private:
    PluginService &state_;
    Plugin &plugin_;
};

// A call of a plug-in's function: for its time nobody unloads it. The count is raised already.
class Inside {
  public:
    Inside(PluginService &state, Plugin &plugin) : state_(state), plugin_(plugin) {}
    ~Inside() {
        const std::lock_guard lock(state_.mutex);
        --plugin_.inside;
    }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;
    Inside(Inside &&) = delete;
    Inside &operator=(Inside &&) = delete;

  private:
    PluginService &state_;
    Plugin &plugin_;
};

bool Fits(uint32_t version, uint32_t wanted) {
    constexpr uint32_t kMinorBits = 16;
    return wanted == 0 || (version >> kMinorBits == wanted >> kMinorBits && version >= wanted);
}

// Tells whether the file holds all that its headers say. Loading one that was cut would end the
// program: the loader touches pages that the file does not have.
bool IsWhole(const std::string &path, uint64_t bytes) {
    std::ifstream file(path, std::ios::binary);
    ElfW(Ehdr) header{};
    if (!file.read(reinterpret_cast<char *>(&header), sizeof(header)) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_phentsize != sizeof(ElfW(Phdr)) || header.e_phoff > bytes) {
        return false;
    }
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (uint32_t i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) part{};
        if (!file.read(reinterpret_cast<char *>(&part), sizeof(part)) || part.p_offset > bytes ||
            (part.p_type == PT_LOAD && part.p_filesz > bytes - part.p_offset)) {
            return false;
        }
    }
    return true;
}

// The file of a plug-in, open, or why it cannot be used. Nothing here needs memory once it is open.
struct Opened {
    Library library;
    const DxrHostPluginTable *table = nullptr;
    uint32_t error = 0;  // of <errno.h>
    std::array<char, 400> why{};

    Opened Refused(uint32_t number, const char *text) {
        error = number;
        (void)std::snprintf(why.data(), why.size(), "%s", text);
        return std::move(*this);
    }
};

Opened Open(const Plugin &plugin) {
    Opened opened;
    // What is no file, say a pipe, would be waited for.
    std::error_code error;
    if (!std::filesystem::is_regular_file(plugin.path, error)) {
        return opened.Refused(ENOEXEC, "there is no such file any more");
    }
    if (!IsWhole(plugin.path, std::filesystem::file_size(plugin.path, error))) {
        return opened.Refused(ENOEXEC, "it is no shared object, or was cut");
    }
    opened.library.reset(dlopen(plugin.path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (opened.library == nullptr) {
        const char *const why = dlerror();  // NOLINT(concurrency-mt-unsafe): a text of the thread
        return opened.Refused(ENOEXEC, why != nullptr ? why : "it cannot be opened");
    }
    const auto *const table = static_cast<const DxrHostPluginTable *>(
        dlsym(opened.library.get(), DXR_HOST_PLUGIN_SYMBOL));
    if (table == nullptr) {
        return opened.Refused(ENOSYS, "there is no " DXR_HOST_PLUGIN_SYMBOL " in it");
    }
    if (table->size != sizeof(DxrHostPluginTable) ||
        table->interfaceVersion != DXR_HOST_PLUGIN_INTERFACE) {
        return opened.Refused(EPROTONOSUPPORT, "its table is of another version");
    }
    if (!Fits(table->version, plugin.wanted)) {
        std::array<char, 80> why{};
        (void)std::snprintf(why.data(), why.size(), "its version is %u.%u, wanted is %u.%u",
                            table->version >> 16, table->version & 0xFFFF, plugin.wanted >> 16,
                            plugin.wanted & 0xFFFF);
        return opened.Refused(EPROTONOSUPPORT, why.data());
    }
    opened.table = table;
    return opened;
}

CodeRange CodeOfLibrary(void *library) {
    link_map *object = nullptr;
    return dlinfo(library, RTLD_DI_LINKMAP, &object) == 0 ? CodeOf(object->l_ld) : CodeRange{};
}

// Closes the file of a plug-in that is not loaded, or no longer, unless its code is still needed:
// what runs while it is opened may have given functions away already.
void CloseUnused(const PluginCall &call, Library library) {
    if (library == nullptr) {
        return;
    }
    PluginService &state = call.State();
    std::string use;
    try {
        if (state.IsOpenElsewhere(library.get())) {
            return;  // its code stays, and is asked for when that is closed
        }
        use = call->UseOf(CodeOfLibrary(library.get()));
        if (use.empty()) {
            return;
        }
        const std::lock_guard lock(state.mutex);
        state.kept.push_back(std::move(library));
    } catch (const std::bad_alloc &) {
        (void)library.release();  // nobody knows whether it is needed
        throw;
    }
    call.Call::Misuse(kService, "unloaded while its code is needed",
                      std::string("plug-in \"") + call.Given().name +
                          "\" is unloaded while its code is needed by " + use +
                          ": it stays in memory");
}

// As above, of a plug-in that cannot be used, and says why.
uint32_t Refuse(const PluginCall &call, const Plugin &plugin, Opened opened) {
    CloseUnused(call, std::move(opened.library));
    call->Say(kFailureLevel, ("plug-in " + plugin.path + ": " + opened.why.data()).c_str());
    return opened.error;
}

// --- Slots

// The file of a record, without links and dots. 0; EACCES, reported, when it is not below the
// directory; what the machine says, and a message, when that cannot be found out.
uint32_t PathOf(const PluginCall &call, const DxrHostPlugin &given, std::string &path) {
    const Options &options = call->options;
    const std::filesystem::path file =
        std::filesystem::path(options.pluginPath) /
        (given.path != nullptr ? given.path : std::string(given.name) + ".so");
    std::error_code error;
    const auto resolved = Resolve(file, error);
    path = resolved.string();
    const bool isAllowed =
        !error && (options.allowOutside || IsBelow(resolved, options.pluginPath, error));
    if (error) {
        call->Say(kFailureLevel, WhyUnknown(call, file.string(), error).c_str());
        return static_cast<uint32_t>(error.value());
    }
    if (!isAllowed) {
        call.Call::Misuse(kService, "a path outside the plug-in directory", "outside: " + path);
    }
    return isAllowed ? 0 : EACCES;
}

uint32_t RegisterBrdPlugin(void *record) {
    const PluginCall call("DXR_RegisterBrdPlugin", record);
    if (!call) {
        return call.Refusal();
    }
    const DxrHostPlugin &given = call.Given();
    Plugin made;
    made.wanted = given.version;
    made.argument = given.argument;
    made.made = {call.At().slot, ModuleCaller(call.At().address)};
    if (const uint32_t refusal = PathOf(call, given, made.path)) {
        return refusal;
    }
    std::error_code error;
    if (!std::filesystem::is_regular_file(made.path, error)) {
        return ENOENT;
    }
    PluginService &state = call.State();
    if (state.registerFails.Fails()) {
        return ENOMEM;
    }
    bool isNew = false;
    {
        const std::lock_guard lock(state.mutex);
        isNew = state.plugins.try_emplace(given.name, std::move(made)).second;
    }
    if (!isNew) {
        call.Misuse("a plug-in that is registered already");
    }
    return isNew ? 0 : EEXIST;
}

uint32_t UnRegisterBrdPlugin(void *record) {
    const PluginCall call("DXR_UnRegisterBrdPlugin", record);
    if (!call) {
        return call.Refusal();
    }
    {
        PluginService &state = call.State();
        const std::lock_guard lock(state.mutex);
        const auto found = state.plugins.find(call.Given().name);
        if (found == state.plugins.end()) {
            return ENOENT;
        }
        // A function of it that was cut off or is in progress: its counter is still needed.
        if (found->second.state == PluginState::kRegistered && found->second.inside == 0) {
            state.plugins.erase(found);
            return 0;
        }
    }
    call.Misuse("a plug-in that is loaded ends its registration");
    return EBUSY;
}

// Makes a plug-in busy that is not loaded. 0, or why not.
uint32_t BeginOpening(PluginService &state, const char *name, Plugin *&plugin) {
    const std::lock_guard lock(state.mutex);
    plugin = state.Find(name);
    if (plugin == nullptr) {
        return ENOENT;
    }
    if (plugin->state != PluginState::kRegistered) {
        return plugin->state == PluginState::kLoaded ? EALREADY : EBUSY;
    }
    plugin->state = PluginState::kBusy;
    return 0;
}

uint32_t LoadBrdPlugin(void *record) {
    const PluginCall call("DXR_LoadBrdPlugin", record);
    if (!call) {
        return call.Refusal();
    }
    PluginService &state = call.State();
    Plugin *plugin = nullptr;
    const uint32_t refusal = BeginOpening(state, call.Given().name, plugin);
    if (refusal == EALREADY) {
        call.Misuse("a plug-in that is loaded already");
    }
    if (refusal != 0) {
        return refusal;
    }
    Busy busy(state, *plugin);
    if (state.loadFails.Fails()) {
        return ENOMEM;
    }
    Opened opened = Open(*plugin);
    if (opened.error != 0) {
        return Refuse(call, *plugin, std::move(opened));
    }
    {
        const std::lock_guard lock(state.mutex);
        plugin->library = std::move(opened.library);
        plugin->table = opened.table;
        ++plugin->inside;
    }
    uint32_t result = 0;
    try {
        const Inside inside(state, *plugin);
        result = plugin->table->load != nullptr ? plugin->table->load(plugin->argument) : 0;
    } catch (const std::exception &) {
        result = ENOMEM;  // what was thrown has ended before its code is closed
    }
    if (result != 0) {
        CloseUnused(call, state.TakeLibrary(*plugin));
        return result;
    }
    const std::lock_guard lock(state.mutex);
    ++plugin->loads;
    busy.next = PluginState::kLoaded;
    return 0;
}

void UnLoadBrdPlugin(void *record) {
    const PluginCall call("DXR_UnLoadBrdPlugin", record);
    if (!call) {
        return;
    }
    PluginService &state = call.State();
    Plugin *plugin = nullptr;
    const char *refusal = nullptr;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(call.Given().name);
        if (plugin == nullptr || plugin->state != PluginState::kLoaded) {
            refusal = "a plug-in that is not loaded is unloaded";
        } else if (plugin->inside != 0) {
            refusal = "a plug-in is unloaded while a call of it is in progress";
        } else {
            plugin->state = PluginState::kBusy;
            ++plugin->inside;
        }
    }
    if (refusal != nullptr) {
        call.Misuse(refusal);
        return;
    }
    const Busy busy(state, *plugin);
    try {
        const Inside inside(state, *plugin);
        if (plugin->table->unload != nullptr) {
            plugin->table->unload(plugin->argument);
        }
    } catch (const std::exception &) {
        // It is unloaded all the same; what was thrown has ended before its code is closed.
    }
    CloseUnused(call, state.TakeLibrary(*plugin));
}

uint32_t IsBrdPluginLoaded(void *record) {
    const PluginCall call("DXR_IsBrdPluginLoaded", record);
    if (!call) {
        return 0;
    }
    PluginService &state = call.State();
    const std::lock_guard lock(state.mutex);
    const Plugin *const plugin = state.Find(call.Given().name);
    return plugin != nullptr && plugin->state == PluginState::kLoaded ? 1 : 0;
}

uint32_t CheckBrdPlugin(void *record) {
    const PluginCall call("DXR_CheckBrdPlugin", record);
    if (!call) {
        return call.Refusal();
    }
    PluginService &state = call.State();
    Plugin *plugin = nullptr;
    bool isLoaded = false;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(call.Given().name);
        if (plugin == nullptr || plugin->state == PluginState::kBusy) {
            return plugin == nullptr ? ENOENT : EBUSY;
        }
        isLoaded = plugin->state == PluginState::kLoaded;
        if (isLoaded) {
            ++plugin->inside;
        } else {
            plugin->state = PluginState::kBusy;
        }
    }
    if (isLoaded) {
        const Inside inside(state, *plugin);
        return plugin->table->check != nullptr ? plugin->table->check(plugin->argument) : 0;
    }
    const Busy busy(state, *plugin);
    Opened opened = Open(*plugin);
    if (opened.error != 0) {
        return Refuse(call, *plugin, std::move(opened));
    }
    CloseUnused(call, std::move(opened.library));
    return 0;
}

uint32_t QueryBrdPlugin(void *record, void *question, void *answer) {
    const PluginCall call("DXR_QueryBrdPlugin", record);
    if (!call) {
        return call.Refusal();
    }
    PluginService &state = call.State();
    Plugin *plugin = nullptr;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(call.Given().name);
        if (plugin == nullptr || plugin->state != PluginState::kLoaded) {
            return plugin == nullptr ? ENOENT : ENXIO;
        }
        if (plugin->table->query == nullptr) {
            return ENOSYS;
        }
        ++plugin->inside;
    }
    const Inside inside(state, *plugin);
    return plugin->table->query(plugin->argument, question, answer);
}

// The line of a plug-in. In plain room: a task may not come back from the function that gets it.
using Line = std::array<char, 600>;

// With the lock.
void MakeLine(const std::string &name, const Plugin &plugin, bool isDetailed, Line &line) {
    std::array<char, 40> text = {"registered"};
    if (plugin.state == PluginState::kLoaded) {
        (void)std::snprintf(text.data(), text.size(), "loaded, version %u.%u",
                            plugin.table->version >> 16, plugin.table->version & 0xFFFF);
    }
    (void)std::snprintf(line.data(), line.size(), "plug-in \"%.63s\": %s", name.c_str(),
                        text.data());
    if (isDetailed) {
        const size_t used = std::strlen(line.data());
        (void)std::snprintf(line.data() + used, line.size() - used,
                            ", %u calls inside, loaded %u times, %.400s", plugin.inside,
                            plugin.loads, plugin.path.c_str());
    }
}

void Show(const Call &call, const Line &line, void *print, void *user) {
    if (print != nullptr) {
        reinterpret_cast<DxrHostPluginPrint>(print)(line.data(), user);
    } else {
        call->Say(kListingLevel, line.data());
    }
}

void DisplayOne(const Call &call, const char *name, void *print, void *user, uint32_t detail) {
    PluginService &state = StateOf(*call);
    Line line{};
    {
        const std::lock_guard lock(state.mutex);
        const auto found = state.plugins.find(name);
        if (found == state.plugins.end()) {
            return;
        }
        MakeLine(found->first, found->second, detail != 0, line);
    }
    Show(call, line, print, user);
}

// By the names: registrations may change between two lines. No name is empty.
void DisplayAll(const Call &call, void *print, void *user, uint32_t detail) {
    PluginService &state = StateOf(*call);
    std::list<std::string>::iterator last;
    {
        const std::lock_guard lock(state.mutex);
        last = state.displays.emplace(state.displays.end());
    }
    for (;;) {
        Line line{};
        {
            const std::lock_guard lock(state.mutex);
            const auto next = state.plugins.upper_bound(*last);
            if (next == state.plugins.end()) {
                state.displays.erase(last);
                return;
            }
            last->assign(next->first);
            MakeLine(next->first, next->second, detail != 0, line);
        }
        Show(call, line, print, user);
    }
}

void DisplayBrdPlugin(void *record, void *print, void *user, uint32_t detail) {
    constexpr const char *kSlot = "DXR_DisplayBrdPlugin";
    if (record != nullptr) {
        const PluginCall call(kSlot, record);
        if (call) {
            DisplayOne(call, call.Given().name, print, user, detail);
        }
        return;
    }
    const Call call(kSlot);
    if (call) {
        DisplayAll(call, print, user, detail);
    }
}

}  // namespace

std::unique_ptr<Service> MakePlugin(Host &host) {
    return std::make_unique<PluginService>(host);
}

void FillPlugin(DxrHooks &hooks) {
    hooks.plugin.registerBrdPlugin = Guarded<RegisterBrdPlugin>;
    hooks.plugin.unRegisterBrdPlugin = Guarded<UnRegisterBrdPlugin>;
    hooks.plugin.loadBrdPlugin = Guarded<LoadBrdPlugin>;
    hooks.plugin.unLoadBrdPlugin = Guarded<UnLoadBrdPlugin>;
    hooks.plugin.isBrdPluginLoaded = Guarded<IsBrdPluginLoaded, 0>;
    hooks.plugin.checkBrdPlugin = Guarded<CheckBrdPlugin>;
    hooks.plugin.queryBrdPlugin = Guarded<QueryBrdPlugin>;
    hooks.plugin.displayBrdPlugin = Guarded<DisplayBrdPlugin>;
}

}  // namespace devhost

using devhost::ApiCall;

namespace {

template <size_t kRoom>
void Copy(char (&to)[kRoom], const std::string &text) {
    std::memcpy(to, text.data(), std::min(text.size(), kRoom - 1));
}

}  // namespace

uint32_t DxrHostGetPlugins(DxrHost *host, DxrHostPluginInfo *plugins, uint32_t room) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    devhost::PluginService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    uint32_t index = 0;
    for (const auto &[name, plugin] : state.plugins) {
        if (index == room) {
            break;
        }
        const bool isLoaded = plugin.state == devhost::PluginState::kLoaded;
        DxrHostPluginInfo &to = plugins[index++];
        to = {};
        Copy(to.name, name);
        Copy(to.path, plugin.path);
        to.isLoaded = isLoaded ? 1 : 0;
        to.version = isLoaded ? plugin.table->version : 0;
        to.inside = plugin.inside;
        to.loads = plugin.loads;
    }
    return static_cast<uint32_t>(state.plugins.size());
}
