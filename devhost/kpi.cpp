#include "dxr_devhost/kpi.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <mutex>
#include <tuple>

#include "host.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "kpi";

// Indicator, object, attribute.
using Key = std::tuple<uint32_t, uint32_t, uint32_t>;

Key KeyOf(const DxrHostKpiAttribute &attribute) {
    return {attribute.indicator, attribute.object, attribute.attribute};
}

class KpiService : public Service {
  public:
    explicit KpiService(Host &host) : Service(host), updateFails(host.chance.Point("kpi.update")) {}

    std::mutex mutex;  // guards what follows
    std::map<Key, DxrHostKpi> kpis;
    FaultPoint &updateFails;
};

KpiService &StateOf(Host &host) {
    return host.Get<KpiService>(ServiceId::kKpi);
}

uint32_t UpdateKpiAttrVal(void *attribute, uint32_t value) {
    const Call call("DXR_UpdateKpiAttrVal");
    if (!call) {
        return ECANCELED;
    }
    const auto *const given = RecordAt<DxrHostKpiAttribute>(call, kService, attribute);
    if (given == nullptr) {
        return EINVAL;
    }
    KpiService &state = StateOf(*call);
    if (state.updateFails.Fails()) {
        return ENOMEM;
    }
    std::unique_lock lock(state.mutex);
    const uint64_t nowMs = call->scheduler.clock.WallMs();
    if (state.kpis.size() >= DXR_HOST_MOST_KPIS && !state.kpis.contains(KeyOf(*given))) {
        lock.unlock();
        call.Misuse(kService, "more attributes than are kept");
        return ENOSPC;
    }
    const auto [entry, isNew] = state.kpis.try_emplace(KeyOf(*given));
    DxrHostKpi &kpi = entry->second;
    if (isNew) {
        kpi.attribute = *given;
        kpi.least = value;
        kpi.most = value;
        kpi.firstMs = nowMs;
    }
    kpi.value = value;
    kpi.least = std::min(kpi.least, value);
    kpi.most = std::max(kpi.most, value);
    ++kpi.updates;
    kpi.sum += value;
    kpi.latestMs = nowMs;
    return 0;
}

}  // namespace

std::unique_ptr<Service> MakeKpi(Host &host) {
    return std::make_unique<KpiService>(host);
}

void FillKpi(DxrHooks &hooks) {
    hooks.kpi.updateKpiAttrVal = Guarded<UpdateKpiAttrVal>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::KpiService;

bool DxrHostFindKpi(DxrHost *host, const DxrHostKpiAttribute *attribute, DxrHostKpi *kpi) {
    const ApiCall call(host);
    if (!call || attribute == nullptr || kpi == nullptr) {
        return false;
    }
    KpiService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.kpis.find(devhost::KeyOf(*attribute));
    if (found == state.kpis.end()) {
        return false;
    }
    *kpi = found->second;
    return true;
}

uint32_t DxrHostGetKpiCount(DxrHost *host) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    KpiService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return static_cast<uint32_t>(state.kpis.size());
}

bool DxrHostGetKpi(DxrHost *host, uint32_t index, DxrHostKpi *kpi) {
    const ApiCall call(host);
    if (!call || kpi == nullptr) {
        return false;
    }
    KpiService &state = devhost::StateOf(*call);
    const std::lock_guard lock(state.mutex);
    if (index >= state.kpis.size()) {
        return false;
    }
    *kpi = std::next(state.kpis.begin(), static_cast<ptrdiff_t>(index))->second;
    return true;
}

void DxrHostForgetKpis(DxrHost *host) {
    const ApiCall call(host);
    if (call) {
        KpiService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.kpis.clear();
    }
}
