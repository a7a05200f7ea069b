#include "dxr_devhost/network_processor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <tuple>

#include "host.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "np";
constexpr size_t kMostGroups = 4096;
constexpr uint32_t kPriorities = 8;

using Ports = std::array<uint64_t, DXR_HOST_MC_PORTS / 64>;
using QueueKey = std::tuple<uint32_t, uint32_t, uint32_t>;  // unit, port, queue or priority

struct Drops {
    uint64_t packets = 0;
    uint64_t bytes = 0;
};

class NetworkProcessorService : public Service {
  public:
    explicit NetworkProcessorService(Host &host)
        : Service(host),
          mapFails(host.chance.Point("np.map")),
          dropFails(host.chance.Point("np.drop")),
          pfcFails(host.chance.Point("np.pfc")) {}

    std::mutex mutex;  // guards what follows
    uint32_t ports = DXR_HOST_MC_PORTS;
    std::map<uint32_t, Ports> groups;
    std::map<QueueKey, Drops> drops;
    std::map<QueueKey, uint32_t> priorities;
    FaultPoint &mapFails;
    FaultPoint &dropFails;
    FaultPoint &pfcFails;
};

NetworkProcessorService &StateOf(Host &host) {
    return host.Get<NetworkProcessorService>(ServiceId::kNetworkProcessor);
}

// One more than the highest port; 0 without any.
uint32_t PortsNeeded(const Ports &ports) {
    for (size_t i = ports.size(); i-- > 0;) {
        if (ports[i] != 0) {
            return static_cast<uint32_t>(i * 64 + static_cast<size_t>(std::bit_width(ports[i])));
        }
    }
    return 0;
}

uint64_t AddUpToMost(uint64_t value, uint64_t more) {
    return value + std::min(more, std::numeric_limits<uint64_t>::max() - value);
}

// --- Slots

uint32_t SetMcPortMap(uint32_t group, void *given) {
    const Call call("DXR_SetMcPortMap");
    if (!call) {
        return ECANCELED;
    }
    const auto *const map = RecordAt<DxrHostMcPortMap>(call, kService, given);
    if (map == nullptr) {
        return EINVAL;
    }
    Ports ports{};
    std::copy(std::begin(map->ports), std::end(map->ports), ports.begin());
    NetworkProcessorService &state = StateOf(*call);
    if (state.mapFails.Fails()) {
        return EIO;
    }
    const uint32_t needed = PortsNeeded(ports);
    const std::lock_guard lock(state.mutex);
    if (needed == 0) {
        state.groups.erase(group);
        return 0;
    }
    if (needed > state.ports) {
        return ERANGE;
    }
    if (state.groups.size() >= kMostGroups && !state.groups.contains(group)) {
        return ENOSPC;
    }
    state.groups[group] = ports;
    return 0;
}

uint32_t GetQueueDropStat(uint32_t unit, uint32_t port, uint32_t queue, uint8_t mode, void *given) {
    const Call call("DXR_GetQueueDropStat");
    if (!call) {
        return ECANCELED;
    }
    auto *const stat = RecordAt<DxrHostQueueDrops>(call, kService, given);
    if (stat == nullptr) {
        return EINVAL;
    }
    if (mode > DXR_HOST_DROPS_CLEAR) {
        call.Misuse(kService, "an unknown mode");
        return EINVAL;
    }
    NetworkProcessorService &state = StateOf(*call);
    if (state.dropFails.Fails()) {
        return EIO;
    }
    const std::lock_guard lock(state.mutex);
    const auto found = state.drops.find({unit, port, queue});
    const Drops drops = found != state.drops.end() ? found->second : Drops{};
    stat->packets = drops.packets;
    stat->bytes = drops.bytes;
    if (mode == DXR_HOST_DROPS_CLEAR && found != state.drops.end()) {
        state.drops.erase(found);
    }
    return 0;
}

uint32_t GetAbsPfcLogicSp(uint32_t unit, uint32_t port, uint32_t priority, void *sp) {
    const Call call("DXR_GetAbsPfcLogicSp");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<uint32_t>(call, kService, sp)) {
        return EINVAL;
    }
    if (priority >= kPriorities) {
        call.Misuse(kService, "a priority above 7");
        return EINVAL;
    }
    NetworkProcessorService &state = StateOf(*call);
    if (state.pfcFails.Fails()) {
        return EIO;
    }
    const std::lock_guard lock(state.mutex);
    const auto found = state.priorities.find({unit, port, priority});
    *static_cast<uint32_t *>(sp) = found != state.priorities.end() ? found->second : priority;
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeNetworkProcessor(Host &host) {
    return std::make_unique<NetworkProcessorService>(host);
}

void FillNetworkProcessor(DxrHooks &hooks) {
    hooks.np.setMcPortMap = Guarded<SetMcPortMap>;
    hooks.np.getQueueDropStat = Guarded<GetQueueDropStat>;
    hooks.np.getAbsPfcLogicSp = Guarded<GetAbsPfcLogicSp>;
}

}  // namespace devhost

using devhost::ApiCall;

void DxrHostSetMcPorts(DxrHost *host, uint32_t ports) {
    const ApiCall call(host);
    if (call) {
        devhost::NetworkProcessorService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.ports = std::min(ports, DXR_HOST_MC_PORTS);
    }
}

bool DxrHostGetMcPortMap(DxrHost *host, uint32_t group, DxrHostMcPortMap *map) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    devhost::NetworkProcessorService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.groups.find(group);
    if (found == state.groups.end()) {
        return false;
    }
    *map = {};
    map->size = sizeof(DxrHostMcPortMap);
    std::copy(found->second.begin(), found->second.end(), std::begin(map->ports));
    return true;
}

bool DxrHostAddQueueDrops(DxrHost *host, uint32_t unit, uint32_t port, uint32_t queue,
                          uint64_t packets, uint64_t bytes) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    devhost::NetworkProcessorService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    try {
        devhost::Drops &drops = state.drops[{unit, port, queue}];
        drops.packets = devhost::AddUpToMost(drops.packets, packets);
        drops.bytes = devhost::AddUpToMost(drops.bytes, bytes);
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}

bool DxrHostSetAbsPfcLogicSp(DxrHost *host, uint32_t unit, uint32_t port, uint32_t priority,
                             uint32_t sp) {
    const ApiCall call(host);
    if (!call || priority >= devhost::kPriorities) {
        return false;
    }
    devhost::NetworkProcessorService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    try {
        state.priorities[{unit, port, priority}] = sp;
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}
