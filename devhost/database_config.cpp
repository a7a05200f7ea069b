#include "dxr_devhost/database_config.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "host.h"
#include "json_members.h"

namespace devhost {
namespace {

constexpr const char *kService = "config";

// The number first; zeros after the last value. A block as it is handed out.
using Block = std::array<uint32_t, sizeof(DxrHostConfigBlock) / sizeof(uint32_t)>;

// What one file says.
struct Config {
    using Pair = std::pair<uint32_t, uint32_t>;

    std::map<uint32_t, uint32_t> boardData;
    std::map<uint32_t, Block> memParams;
    std::map<Pair, Block> advancedSpecs;  // specification and chip
    std::map<uint32_t, uint32_t> phyBoardInfo;
};

template <typename Map>
void Add(Members &from, Map &map, const typename Map::key_type &key, const char *keyName,
         const typename Map::mapped_type &value) {
    if (!map.emplace(key, value).second) {
        from.Blame(keyName, "is there already");
    }
}

void TakeItems(Members &from, const char *name, std::map<uint32_t, uint32_t> &items) {
    from.ForEach(name, [&items](Members &each) {
        Add(each, items, each.Number32("item"), "item", each.Number32("value"));
    });
}

Block TakeBlock(Members &from, uint32_t number) {
    const JsonValue *const values = from.Find("values");
    if (values == nullptr || !values->IsList() || values->list.size() > DXR_HOST_CONFIG_VALUES) {
        from.Blame("values", "must be a list of at most 30 numbers");
    }
    Block block = {number, static_cast<uint32_t>(values->list.size())};
    size_t next = 2;
    for (const JsonValue &each : values->list) {
        const std::optional<uint64_t> value = NumberOf(each);
        if (!value || *value > UINT32_MAX) {
            from.Blame("values", "must be whole numbers within their range");
        }
        block[next++] = static_cast<uint32_t>(*value);
    }
    return block;
}

void TakeConfig(Members &from, Config &config) {
    TakeItems(from, "boardData", config.boardData);
    from.ForEach("memParams", [&config](Members &each) {
        const uint32_t number = each.Number32("number");
        Add(each, config.memParams, number, "number", TakeBlock(each, number));
    });
    from.ForEach("advancedSpecs", [&config](Members &each) {
        const uint32_t spec = each.Number32("spec");
        const uint32_t chip = each.Number32("chip", 0);
        Add(each, config.advancedSpecs, {spec, chip}, "spec", TakeBlock(each, spec));
    });
    TakeItems(from, "phyBoardInfo", config.phyBoardInfo);
}

bool ReadConfig(const std::string &path, Config &config, std::string &error) {
    Config read;
    if (!ReadMembers(
            path, [&read](Members &members) { TakeConfig(members, read); }, error)) {
        return false;
    }
    config = std::move(read);
    return true;
}

class ConfigService : public Service {
  public:
    explicit ConfigService(Host &host)
        : Service(host), readFails(host.chance.Point("config.read")) {
        const std::string path = host.options.configPath + "/defaults.json";
        std::error_code ignored;
        std::string error;
        if (std::filesystem::exists(path, ignored) && !ReadConfig(path, defaults, error)) {
            host.reports.Add(DXR_HOST_REPORT_MISUSE, kService, {}, "defaults", error);
        }
    }

    // What the board has of its own, or else the default; null without both.
    template <typename Map>
    [[nodiscard]] const typename Map::mapped_type *Find(Map Config::*map,
                                                        const typename Map::key_type &key) const {
        const auto found = (own.*map).find(key);
        if (found != (own.*map).end()) {
            return &found->second;
        }
        const auto byDefault = (defaults.*map).find(key);
        return byDefault != (defaults.*map).end() ? &byDefault->second : nullptr;
    }

    // A block to hand out: what is alike is one, so that reading again and again needs no more.
    void *HandOut(const Block *block) {
        if (block == nullptr) {
            return nullptr;
        }
        std::unique_ptr<DxrHostConfigBlock> &kept = handedOut[*block];
        if (kept == nullptr) {
            kept = std::make_unique<DxrHostConfigBlock>();
            std::memcpy(kept.get(), block, sizeof(*kept));
        }
        return kept.get();
    }

    std::mutex mutex;  // guards what follows
    Config defaults;
    Config own;
    std::map<Block, std::unique_ptr<DxrHostConfigBlock>> handedOut;
    FaultPoint &readFails;
};

ConfigService &StateOf(Host &host) {
    return host.Get<ConfigService>(ServiceId::kDatabaseConfig);
}

// --- The listing

std::string Words(uint32_t number) {
    return std::to_string(number);
}

std::string Words(const Config::Pair &specAndChip) {
    return Words(specAndChip.first) + " chip " + Words(specAndChip.second);
}

std::string ValueWords(uint32_t value) {
    return " " + Words(value);
}

std::string ValueWords(const Block &block) {
    std::string words;
    for (size_t i = 0; i < block[1]; ++i) {
        words += " " + Words(block[2 + i]);
    }
    return words;
}

template <typename Map>
void List(const ConfigService &state, const char *name, Map Config::*map,
          std::vector<std::string> &lines) {
    const Map &own = state.own.*map;
    Map all = own;
    all.insert((state.defaults.*map).begin(), (state.defaults.*map).end());
    for (const auto &[key, value] : all) {
        lines.push_back(std::string(name) + " " + Words(key) + " =" + ValueWords(value) +
                        (own.contains(key) ? " (board)\n" : " (default)\n"));
    }
}

// --- Slots

// The board's file of a name that has no slash, as the library names it.
std::string PathOf(const Host &host, const std::string &name, uint32_t id1, uint32_t id2) {
    constexpr size_t kBesidesName = 64;
    std::vector<char> text(name.size() + kBesidesName);
    DXR_CFG_FmtCfgFile(name.c_str(), id1, id2, text.data(), static_cast<uint32_t>(text.size()));
    return host.options.configPath + std::strrchr(text.data(), '/');
}

void ReadBoardData(void *given, uint32_t id1, uint32_t id2) {
    const Call call("DXR_CFG_ReadBoardData");
    if (!call) {
        return;
    }
    const auto *const name = static_cast<const char *>(given);
    if (name == nullptr || *name == '\0' || std::strchr(name, '/') != nullptr) {
        call.Misuse(kService, "no name of a configuration file");
        return;
    }
    ConfigService &state = StateOf(*call);
    Config read;
    std::string error;
    bool isRead = false;
    try {
        const std::string path = PathOf(*call, name, id1, id2);
        error = path + ": cannot be read";
        isRead = !state.readFails.Fails() && ReadConfig(path, read, error);
    } catch (const std::bad_alloc &) {
        error.clear();
    }
    {
        const std::lock_guard lock(state.mutex);
        std::swap(state.own, read);
    }
    if (!isRead) {
        call.Misuse(kService, "the board's file cannot be read", error);
    }
}

void ClearBoardData() {
    const Call call("DXR_CFG_ClearBoardData");
    if (call) {
        Config none;
        ConfigService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        std::swap(state.own, none);
    }
}

uint32_t DisplayBoardData(void *text, uint32_t size) {
    const Call call("DXR_CFG_DisplayBoardData");
    if (!call) {
        return 0;
    }
    if (text == nullptr) {
        call.Misuse(kService, "a null pointer");
        return 0;
    }
    std::vector<std::string> lines;
    {
        ConfigService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        List(state, "boardData", &Config::boardData, lines);
        List(state, "memParams", &Config::memParams, lines);
        List(state, "advancedSpecs", &Config::advancedSpecs, lines);
        List(state, "phyBoardInfo", &Config::phyBoardInfo, lines);
    }
    std::string whole;
    for (const std::string &line : lines) {
        if (whole.size() + line.size() >= size) {
            break;
        }
        whole += line;
    }
    if (size != 0) {
        std::memcpy(text, whole.c_str(), whole.size() + 1);
    }
    return static_cast<uint32_t>(whole.size());
}

// A number of one of the lists; 0 without it.
uint32_t ValueOf(const Call &call, std::map<uint32_t, uint32_t> Config::*map, uint32_t item) {
    if (!call) {
        return 0;
    }
    ConfigService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const uint32_t *const value = state.Find(map, item);
    return value != nullptr ? *value : 0;
}

// 1 when the board has it of its own.
template <typename Map>
uint32_t IsOwn(const Call &call, Map Config::*map, const typename Map::key_type &key) {
    if (!call) {
        return 0;
    }
    ConfigService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return (state.own.*map).contains(key) ? 1 : 0;
}

template <typename Map>
void *BlockOf(const Call &call, Map Config::*map, const typename Map::key_type &key) {
    if (!call) {
        return nullptr;
    }
    ConfigService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.HandOut(state.Find(map, key));
}

uint32_t GetBoardData(uint32_t item) {
    const Call call("DXR_CFG_GetBoardData");
    return ValueOf(call, &Config::boardData, item);
}

uint32_t IsFromBoardData(uint32_t item) {
    const Call call("DXR_CFG_IsFromBoardData");
    return IsOwn(call, &Config::boardData, item);
}

void *GetMemParam(uint32_t number) {
    const Call call("DXR_CFG_GetMemParam");
    return BlockOf(call, &Config::memParams, number);
}

uint32_t IsFromMemParam(uint32_t number) {
    const Call call("DXR_CFG_IsFromMemParam");
    return IsOwn(call, &Config::memParams, number);
}

void *GetAdvancedSpec(uint32_t spec, uint32_t chip) {
    const Call call("DXR_CFG_GetAdvancedSpec");
    return BlockOf(call, &Config::advancedSpecs, {spec, chip});
}

uint32_t IsFromBoardAdvancedSpec(uint32_t spec) {
    const Call call("DXR_CFG_IsFromBoardAdvancedSpec");
    if (!call) {
        return 0;
    }
    ConfigService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto first = state.own.advancedSpecs.lower_bound({spec, 0});
    return first != state.own.advancedSpecs.end() && first->first.first == spec ? 1 : 0;
}

uint32_t GetPhyBoardInfo(uint32_t item) {
    const Call call("DXR_CFG_GetPhyBoardInfo");
    return ValueOf(call, &Config::phyBoardInfo, item);
}

uint32_t IsFromPhyBoardInfo(uint32_t item) {
    const Call call("DXR_CFG_IsFromPhyBoardInfo");
    return IsOwn(call, &Config::phyBoardInfo, item);
}

}  // namespace

std::unique_ptr<Service> MakeDatabaseConfig(Host &host) {
    return std::make_unique<ConfigService>(host);
}

void FillDatabaseConfig(DxrHooks &hooks) {
    hooks.cfg.cfgReadBoardData = Guarded<ReadBoardData>;
    hooks.cfg.cfgDisplayBoardData = Guarded<DisplayBoardData, 0>;
    hooks.cfg.cfgClearBoardData = Guarded<ClearBoardData>;
    hooks.cfg.cfgGetBoardData = Guarded<GetBoardData, 0>;
    hooks.cfg.cfgIsFromBoardData = Guarded<IsFromBoardData, 0>;
    hooks.cfg.cfgGetMemParam = Guarded<GetMemParam>;
    hooks.cfg.cfgIsFromMemParam = Guarded<IsFromMemParam, 0>;
    hooks.cfg.cfgGetAdvancedSpec = Guarded<GetAdvancedSpec>;
    hooks.cfg.cfgIsFromBoardAdvancedSpec = Guarded<IsFromBoardAdvancedSpec, 0>;
    hooks.cfg.cfgGetPhyBoardInfo = Guarded<GetPhyBoardInfo, 0>;
    hooks.cfg.cfgIsFromPhyBoardInfo = Guarded<IsFromPhyBoardInfo, 0>;
}

}  // namespace devhost
