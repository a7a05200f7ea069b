// What the board is.
#include <cerrno>
#include <cstring>
#include <functional>
#include <new>

#include "device.h"

namespace devhost {
namespace {

constexpr uint32_t kNone = 0xFFFFFFFF;

// A number of the board, or the value without a host.
uint32_t ValueOf(const Call &call, const char *name, uint32_t otherwise) {
    if (!call) {
        return otherwise;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.board.values.find(name)->second;
}

uint32_t IsTrue(const Call &call, const char *name, uint32_t otherwise) {
    return ValueOf(call, name, otherwise) != 0 ? 1 : 0;
}

// The number that a map holds for a key, or the one in what it holds; ENOENT without any.
template <typename Map, typename Number = std::identity>
uint32_t LookUp(const Call &call, Map Board::*map, const typename Map::key_type &key, void *value,
                Number number = {}) {
    return Tell<uint32_t, 1>(call, {value}, [&](const DeviceService &state, auto &to) {
        const auto found = (state.board.*map).find(key);
        if (found == (state.board.*map).end()) {
            return uint32_t{ENOENT};
        }
        to = {std::invoke(number, found->second)};
        return 0U;
    });
}

uint32_t BoardIsMaster() {
    const Call call("DXR_BoardIsMaster");
    return IsTrue(call, "master", 1);
}

uint32_t IsRunInLs() {
    const Call call("DXR_IsRunInLs");
    return IsTrue(call, "runsInLs", 0);
}

uint32_t IsCentralPurchaseMode() {
    const Call call("DXR_IsCentralPurchaseMode");
    return IsTrue(call, "centralPurchase", 0);
}

uint32_t IsIssuState() {
    const Call call("DXR_IsIssuState");
    return IsTrue(call, "issu", 0);
}

uint32_t GetProductFamilyType() {
    const Call call("DXR_GetProductFamilyType");
    return ValueOf(call, "productFamily", 2);
}

uint32_t GetServiceType() {
    const Call call("DXR_GetServiceType");
    return ValueOf(call, "serviceType", 0);
}

uint32_t GetPcbVersion() {
    const Call call("DXR_GetPcbVersion");
    return ValueOf(call, "pcbVersion", 0);
}

uint32_t GetLocalPcbVersion() {
    const Call call("DXR_GetLocalPcbVersion");
    return ValueOf(call, "localPcbVersion", 0);
}

uint32_t GetSoftPcbVersion() {
    const Call call("DXR_GetSoftPcbVersion");
    return ValueOf(call, "softPcbVersion", 0);
}

uint32_t GetBoardDrvType() {
    const Call call("DXR_GetBoardDrvType");
    return ValueOf(call, "driverType", kNone);
}

uint32_t GetVsfuDevName(void *name, uint32_t size) {
    const Call call("DXR_GetVsfuDevName");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<char>(call, name)) {
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const std::string &text = state.board.vsfuDevice;
    if (text.empty()) {
        return ENOENT;
    }
    if (text.size() >= size) {
        return ENOSPC;
    }
    std::memcpy(name, text.c_str(), text.size() + 1);
    return 0;
}

uint32_t GetHardId(uint32_t unit, void *id) {
    const Call call("DXR_GetHardId");
    return LookUp(call, &Board::hardIds, unit, id) == 0 ? 0 : kNone;
}

uint32_t GetBomId(uint32_t unit, uint32_t part, void *id) {
    const Call call("DXR_GetBomId");
    return LookUp(call, &Board::boms, {unit, part}, id);
}

uint32_t GetDevAttrValue(uint32_t device, uint32_t attribute, void *value) {
    const Call call("DXR_GetDevAttrValue");
    return LookUp(call, &Board::attributes, {device, attribute}, value, &Attribute::value);
}

uint32_t SetDevAttrValue(uint32_t device, uint32_t attribute, uint32_t value) {
    const Call call("DXR_SetDevAttrValue");
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    try {
        Attribute &found = state.board.attributes[{device, attribute}];
        if (found.isReadOnly) {
            return EACCES;
        }
        found.value = value;
        return 0;
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t GetVoltageKey(uint32_t unit, uint32_t chip, uint32_t rail, void *key) {
    const Call call("DXR_GetVoltageKey");
    return LookUp(call, &Board::voltageKeys, {unit, chip, rail}, key);
}

uint32_t GetVoltage(uint32_t unit, uint32_t key, void *millivolts) {
    const Call call("DXR_GetVoltage");
    return LookUp(call, &Board::voltages, {unit, key}, millivolts, &Voltage::millivolts);
}

uint32_t SetVoltage(uint32_t unit, uint32_t key, uint32_t millivolts) {
    const Call call("DXR_SetVoltage");
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.board.voltages.find({unit, key});
    if (found == state.board.voltages.end()) {
        return ENOENT;
    }
    if (millivolts < found->second.least || millivolts > found->second.most) {
        return ERANGE;
    }
    found->second.millivolts = millivolts;
    return 0;
}

uint32_t CheckSmiLosEnable(uint32_t chip, uint32_t port) {
    const Call call("DXR_CheckSmiLosEnable");
    if (!call) {
        return 1;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.board.smiLos.contains({chip, port}) ? 1 : 0;
}

}  // namespace

void FillDeviceBoard(DxrDevHooks &hooks) {
    hooks.boardIsMaster = Guarded<BoardIsMaster, 1>;
    hooks.isRunInLs = Guarded<IsRunInLs, 0>;
    hooks.isCentralPurchaseMode = Guarded<IsCentralPurchaseMode, 0>;
    hooks.isIssuState = Guarded<IsIssuState, 0>;
    hooks.getProductFamilyType = Guarded<GetProductFamilyType, 2>;
    hooks.getServiceType = Guarded<GetServiceType, 0>;
    hooks.getPcbVersion = Guarded<GetPcbVersion, 0>;
    hooks.getLocalPcbVersion = Guarded<GetLocalPcbVersion, 0>;
    hooks.getSoftPcbVersion = Guarded<GetSoftPcbVersion, 0>;
    hooks.getBoardDrvType = Guarded<GetBoardDrvType, kNone>;
    hooks.getVsfuDevName = Guarded<GetVsfuDevName>;
    hooks.getHardId = Guarded<GetHardId, kNone>;
    hooks.getBomId = Guarded<GetBomId>;
    hooks.getDevAttrValue = Guarded<GetDevAttrValue>;
    hooks.setDevAttrValue = Guarded<SetDevAttrValue>;
    hooks.getVoltageKey = Guarded<GetVoltageKey>;
    hooks.getVoltage = Guarded<GetVoltage>;
    hooks.setVoltage = Guarded<SetVoltage>;
    hooks.checkSmiLosEnable = Guarded<CheckSmiLosEnable, 1>;
}

}  // namespace devhost

bool DxrHostSetBoardValue(DxrHost *host, const char *name, uint32_t value) {
    const devhost::ApiCall call(host);
    if (!call || name == nullptr) {
        return false;
    }
    devhost::DeviceService &state = devhost::DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const auto found = state.board.values.find(name);
    if (found == state.board.values.end()) {
        return false;
    }
    found->second = value;
    return true;
}
