#include "dxr_devhost/temperature.h"

#include <cerrno>
#include <fstream>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include "host.h"
#include "module_call.h"

namespace devhost {
namespace {

constexpr const char *kService = "temperature";

class TemperatureService : public Service {
  public:
    explicit TemperatureService(Host &host)
        : Service(host),
          registerFails(host.chance.Point("temperature.register")),
          readFails(host.chance.Point("temperature.read")),
          directory(DirectoryOf(nullptr)) {}

    std::string UseOf(const CodeRange &code) override {
        const std::lock_guard lock(mutex);
        for (const auto &[sensor, function] : functions) {
            if (code.Holds(reinterpret_cast<const void *>(function))) {
                return "the temperature of sensor " + std::to_string(sensor);
            }
        }
        return {};
    }

    // Runs in stepped and virtual time repeat: they see nothing of the machine.
    [[nodiscard]] std::string DirectoryOf(const char *path) const {
        const char *const machine = TheHost().scheduler.clock.IsReal() ? "/sys/class/thermal" : "";
        return path != nullptr ? path : machine;
    }

    FaultPoint &registerFails;
    FaultPoint &readFails;
    std::mutex mutex;  // guards what follows
    std::map<uint32_t, DxrHostTemperatureQuery> functions;
    std::map<uint32_t, int32_t> values;
    std::string directory;  // of thermal zones; empty: none
};

TemperatureService &StateOf(Host &host) {
    return host.Get<TemperatureService>(ServiceId::kTemperature);
}

// 0, or a number of <errno.h>.
uint32_t ReadZone(const std::string &directory, uint32_t zone, int32_t &milliCelsius) {
    const std::string path = directory + "/thermal_zone" + std::to_string(zone) + "/temp";
    errno = 0;
    std::ifstream file(path);
    if (!file.is_open()) {
        return errno == ENOENT || errno == ENOTDIR ? ENOENT : EIO;
    }
    int32_t value = 0;
    if (!(file >> value)) {
        return EIO;
    }
    milliCelsius = value;
    return 0;
}

void RegisterQueryTempFunc(uint32_t sensor, void *function) {
    const Call call("DXR_RegisterQueryTempFunc");
    if (!call) {
        return;
    }
    TemperatureService &state = StateOf(*call);
    if (function == nullptr) {
        const std::lock_guard lock(state.mutex);
        state.functions.erase(sensor);
        return;
    }
    bool isKept = !state.registerFails.Fails();
    try {
        const std::lock_guard lock(state.mutex);
        if (isKept) {
            state.functions[sensor] = reinterpret_cast<DxrHostTemperatureQuery>(function);
        }
    } catch (const std::bad_alloc &) {
        isKept = false;
    }
    if (!isKept) {
        call.Misuse(kService, "no memory for a function: it is not registered");
    }
}

}  // namespace

std::unique_ptr<Service> MakeTemperature(Host &host) {
    return std::make_unique<TemperatureService>(host);
}

void FillTemperature(DxrHooks &hooks) {
    hooks.temperature.registerQueryTempFunc = Guarded<RegisterQueryTempFunc>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::TemperatureService;

uint32_t DxrHostGetTemperature(DxrHost *host, uint32_t sensor, int32_t *milliCelsius) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (milliCelsius == nullptr) {
        return EINVAL;
    }
    TemperatureService &state = devhost::StateOf(*call);
    if (state.readFails.Fails()) {
        return EIO;
    }
    DxrHostTemperatureQuery function = nullptr;
    try {
        std::string directory;
        {
            const std::lock_guard lock(state.mutex);
            const auto value = state.values.find(sensor);
            if (value != state.values.end()) {
                *milliCelsius = value->second;
                return 0;
            }
            const auto found = state.functions.find(sensor);
            function = found != state.functions.end() ? found->second : nullptr;
            if (function == nullptr) {
                directory = state.directory;
            }
        }
        if (function == nullptr) {
            return directory.empty() ? ENOENT : devhost::ReadZone(directory, sensor, *milliCelsius);
        }
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    int32_t asked = 0;
    const uint32_t result =
        devhost::CallModule(*call, devhost::kService, "a temperature's function", devhost::kThrown,
                            function, sensor, &asked);
    if (result == 0) {
        *milliCelsius = asked;
    }
    return result;
}

bool DxrHostSetTemperature(DxrHost *host, uint32_t sensor, int32_t milliCelsius) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    try {
        TemperatureService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.values[sensor] = milliCelsius;
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void DxrHostUnsetTemperature(DxrHost *host, uint32_t sensor) {
    const ApiCall call(host);
    if (call) {
        TemperatureService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.values.erase(sensor);
    }
}

void DxrHostSetThermalDirectory(DxrHost *host, const char *path) {
    const ApiCall call(host);
    if (call) {
        TemperatureService &state = devhost::StateOf(*call);
        try {
            std::string directory = state.DirectoryOf(path);
            const std::lock_guard lock(state.mutex);
            state.directory.swap(directory);
        } catch (const std::bad_alloc &) {
            // The one before stays.
        }
    }
}
