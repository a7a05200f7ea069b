#include "dxr_devhost/plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "host.h"

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

    std::mutex mutex;  // guards what follows
    std::map<std::string, Plugin, std::less<>> plugins;
    std::vector<Library> kept;  // whose code is needed until the end
    FaultPoint &registerFails;
    FaultPoint &loadFails;
};

PluginService &StateOf(Host &host) {
    return host.Get<PluginService>(ServiceId::kPlugin);
}

// False, and a report, for what is no record.
bool ReadRecord(const Call &call, const void *record, DxrHostPlugin &given) {
    given = {};
    if (record != nullptr) {
        std::memcpy(&given.size, record, sizeof(given.size));
    }
    if (given.size == sizeof(given)) {
        std::memcpy(&given, record, sizeof(given));
    }
    if (given.size != sizeof(given) || given.name == nullptr || given.name[0] == '\0') {
        call.Misuse(kService, "no plug-in record, or no name in it");
        return false;
    }
    return true;
}

void Misuse(const Call &call, const char *what, const char *name) {
    call.Misuse(kService, what, std::string(what) + ": \"" + name + "\"");
}

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

// Opens the file of a plug-in and looks at its table. 0, or a number of <errno.h> after a message.
uint32_t Open(const Call &call, const Plugin &plugin, Library &library,
              const DxrHostPluginTable *&table) {
    const auto fail = [&](uint32_t error, const std::string &why) {
        call->Say(kFailureLevel, ("plug-in " + plugin.path + ": " + why).c_str());
        library.reset();
        return error;
    };
    // What is no file, say a pipe, would be waited for.
    std::error_code error;
    if (!std::filesystem::is_regular_file(plugin.path, error)) {
        return fail(ENOEXEC, "there is no such file any more");
    }
    if (!IsWhole(plugin.path, std::filesystem::file_size(plugin.path, error))) {
        return fail(ENOEXEC, "it is no shared object, or was cut");
    }
    library.reset(dlopen(plugin.path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (library == nullptr) {
        const char *const why = dlerror();  // NOLINT(concurrency-mt-unsafe): a text of the thread
        return fail(ENOEXEC, why != nullptr ? why : "it cannot be opened");
    }
    table = static_cast<const DxrHostPluginTable *>(dlsym(library.get(), DXR_HOST_PLUGIN_SYMBOL));
    if (table == nullptr) {
        return fail(ENOSYS, "there is no " DXR_HOST_PLUGIN_SYMBOL " in it");
    }
    if (table->size != sizeof(DxrHostPluginTable) ||
        table->interfaceVersion != DXR_HOST_PLUGIN_INTERFACE) {
        return fail(EPROTONOSUPPORT, "its table is of another version");
    }
    if (!Fits(table->version, plugin.wanted)) {
        std::array<char, 80> why{};
        (void)std::snprintf(why.data(), why.size(), "its version is %u.%u, wanted is %u.%u",
                            table->version >> 16, table->version & 0xFFFF, plugin.wanted >> 16,
                            plugin.wanted & 0xFFFF);
        return fail(EPROTONOSUPPORT, why.data());
    }
    return 0;
}

// Closes the file of a plug-in that is no longer loaded, unless its code is still needed.
void CloseUnused(const Call &call, const char *name, Library library,
                 const DxrHostPluginTable *table) {
    std::string use;
    try {
        use = call->UseOf(CodeOf(table));
        if (use.empty()) {
            return;
        }
        PluginService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.kept.push_back(std::move(library));
    } catch (const std::bad_alloc &) {
        (void)library.release();  // nobody knows whether it is needed
        throw;
    }
    call.Misuse(kService, "unloaded while its code is needed",
                std::string("plug-in \"") + name + "\" is unloaded while its code is needed by " +
                    use + ": it stays in memory");
}

// --- Slots

// The file of a record, without links and dots. 0, or EACCES when it is not below the directory.
uint32_t PathOf(const Options &options, const DxrHostPlugin &given, std::string &path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path directory = fs::weakly_canonical(fs::absolute(options.pluginPath), error);
    const fs::path file = fs::weakly_canonical(
        directory / (given.path != nullptr ? given.path : std::string(given.name) + ".so"), error);
    path = file.string();
    const fs::path within = file.lexically_relative(directory);
    const bool isBelow = !within.empty() && *within.begin() != "..";
    return isBelow || options.allowOutside ? 0 : EACCES;
}

uint32_t RegisterBrdPlugin(void *record) {
    const Call call("DXR_RegisterBrdPlugin");
    if (!call) {
        return ECANCELED;
    }
    DxrHostPlugin given;
    if (!ReadRecord(call, record, given)) {
        return EINVAL;
    }
    Plugin made;
    made.wanted = given.version;
    made.argument = given.argument;
    made.made = {call.At().slot, ModuleCaller(call.At().address)};
    if (PathOf(call->options, given, made.path) != 0) {
        call.Misuse(kService, "a path outside the plug-in directory", "outside: " + made.path);
        return EACCES;
    }
    std::error_code error;
    if (!std::filesystem::is_regular_file(made.path, error)) {
        return ENOENT;
    }
    PluginService &state = StateOf(*call);
    if (state.registerFails.Fails()) {
        return ENOMEM;
    }
    bool isNew = false;
    {
        const std::lock_guard lock(state.mutex);
        isNew = state.plugins.try_emplace(given.name, std::move(made)).second;
    }
    if (!isNew) {
        Misuse(call, "a plug-in that is registered already", given.name);
    }
    return isNew ? 0 : EEXIST;
}

uint32_t UnRegisterBrdPlugin(void *record) {
    const Call call("DXR_UnRegisterBrdPlugin");
    if (!call) {
        return ECANCELED;
    }
    DxrHostPlugin given;
    if (!ReadRecord(call, record, given)) {
        return EINVAL;
    }
    {
        PluginService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        const auto found = state.plugins.find(given.name);
        if (found == state.plugins.end()) {
            return ENOENT;
        }
        // A function of it that was cut off or is in progress: its counter is still needed.
        if (found->second.state == PluginState::kRegistered && found->second.inside == 0) {
            state.plugins.erase(found);
            return 0;
        }
    }
    Misuse(call, "a plug-in that is loaded ends its registration", given.name);
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
    const Call call("DXR_LoadBrdPlugin");
    if (!call) {
        return ECANCELED;
    }
    DxrHostPlugin given;
    if (!ReadRecord(call, record, given)) {
        return EINVAL;
    }
    PluginService &state = StateOf(*call);
    Plugin *plugin = nullptr;
    const uint32_t refusal = BeginOpening(state, given.name, plugin);
    if (refusal == EALREADY) {
        Misuse(call, "a plug-in that is loaded already", given.name);
    }
    if (refusal != 0) {
        return refusal;
    }
    Busy busy(state, *plugin);
    if (state.loadFails.Fails()) {
        return ENOMEM;
    }
    const uint32_t error = Open(call, *plugin, plugin->library, plugin->table);
    if (error != 0) {
        return error;
    }
    uint32_t result = 0;
    if (plugin->table->load != nullptr) {
        {
            const std::lock_guard lock(state.mutex);
            ++plugin->inside;
        }
        const Inside inside(state, *plugin);
        result = plugin->table->load(plugin->argument);
    }
    if (result != 0) {
        CloseUnused(call, given.name, std::move(plugin->library), plugin->table);
        return result;
    }
    const std::lock_guard lock(state.mutex);
    ++plugin->loads;
    busy.next = PluginState::kLoaded;
    return 0;
}

void UnLoadBrdPlugin(void *record) {
    const Call call("DXR_UnLoadBrdPlugin");
    DxrHostPlugin given;
    if (!call || !ReadRecord(call, record, given)) {
        return;
    }
    PluginService &state = StateOf(*call);
    Plugin *plugin = nullptr;
    const char *refusal = nullptr;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(given.name);
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
        Misuse(call, refusal, given.name);
        return;
    }
    const Busy busy(state, *plugin);
    {
        const Inside inside(state, *plugin);
        if (plugin->table->unload != nullptr) {
            plugin->table->unload(plugin->argument);
        }
    }
    CloseUnused(call, given.name, std::move(plugin->library), plugin->table);
}

uint32_t IsBrdPluginLoaded(void *record) {
    const Call call("DXR_IsBrdPluginLoaded");
    DxrHostPlugin given;
    if (!call || !ReadRecord(call, record, given)) {
        return 0;
    }
    PluginService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const Plugin *const plugin = state.Find(given.name);
    return plugin != nullptr && plugin->state == PluginState::kLoaded ? 1 : 0;
}

uint32_t CheckBrdPlugin(void *record) {
    const Call call("DXR_CheckBrdPlugin");
    if (!call) {
        return ECANCELED;
    }
    DxrHostPlugin given;
    if (!ReadRecord(call, record, given)) {
        return EINVAL;
    }
    PluginService &state = StateOf(*call);
    Plugin *plugin = nullptr;
    bool isLoaded = false;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(given.name);
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
    Library library;
    const DxrHostPluginTable *table = nullptr;
    return Open(call, *plugin, library, table);
}

uint32_t QueryBrdPlugin(void *record, void *question, void *answer) {
    const Call call("DXR_QueryBrdPlugin");
    if (!call) {
        return ECANCELED;
    }
    DxrHostPlugin given;
    if (!ReadRecord(call, record, given)) {
        return EINVAL;
    }
    PluginService &state = StateOf(*call);
    Plugin *plugin = nullptr;
    {
        const std::lock_guard lock(state.mutex);
        plugin = state.Find(given.name);
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

// The line of the n-th plug-in, or of the one of that name; false when there is none. In plain
// room: a task may not come back from the function that gets it.
using Line = std::array<char, 600>;

bool MakeLine(PluginService &state, const char *name, size_t index, bool isDetailed, Line &line) {
    const std::lock_guard lock(state.mutex);
    if (name == nullptr && index >= state.plugins.size()) {
        return false;
    }
    const auto found = name != nullptr
                           ? state.plugins.find(name)
                           : std::next(state.plugins.begin(), static_cast<std::ptrdiff_t>(index));
    if (found == state.plugins.end()) {
        return false;
    }
    const Plugin &plugin = found->second;
    std::array<char, 40> text = {"registered"};
    if (plugin.state == PluginState::kLoaded) {
        (void)std::snprintf(text.data(), text.size(), "loaded, version %u.%u",
                            plugin.table->version >> 16, plugin.table->version & 0xFFFF);
    }
    (void)std::snprintf(line.data(), line.size(), "plug-in \"%.63s\": %s", found->first.c_str(),
                        text.data());
    if (isDetailed) {
        const size_t used = std::strlen(line.data());
        (void)std::snprintf(line.data() + used, line.size() - used,
                            ", %u calls inside, loaded %u times, %.400s", plugin.inside,
                            plugin.loads, plugin.path.c_str());
    }
    return true;
}

void DisplayBrdPlugin(void *record, void *print, void *user, uint32_t detail) {
    const Call call("DXR_DisplayBrdPlugin");
    DxrHostPlugin given{};
    if (!call || (record != nullptr && !ReadRecord(call, record, given))) {
        return;
    }
    PluginService &state = StateOf(*call);
    Line line{};
    for (size_t i = 0; MakeLine(state, given.name, i, detail != 0, line); ++i) {
        if (print != nullptr) {
            reinterpret_cast<DxrHostPluginPrint>(print)(line.data(), user);
        } else {
            call->Say(kListingLevel, line.data());
        }
        if (record != nullptr) {
            break;
        }
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
