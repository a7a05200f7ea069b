// The list of services: one file each, named after the header of the library that it serves.
#ifndef DXR_DEVHOST_SERVICES_H
#define DXR_DEVHOST_SERVICES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "dxr_api.h"

namespace devhost {

class Host;
class Service;

// In the order in which they are made; they end in the reverse one.
enum class ServiceId : uint8_t {
    kPrint,
    kMemory,
    kSystem,
    kSystemTask,
    kSystemTime,
    kList,
    kDevice,
    kModule,
    kPlugin,
    kHash,
    kNetworkProcessor,
    kAlarm,
    kKpi,
    kFaultManagement,
    kTemperature,
    kDatabase,
    kMessage,
    kSystemTable,
    kDatabaseConfig,
    kCount,
};
constexpr auto kServiceCount = static_cast<size_t>(ServiceId::kCount);

// What a service's file gives: its state, and its functions into their slots.
struct ServiceEntry {
    ServiceId id;
    const char *name;  // as reports say it
    std::unique_ptr<Service> (*make)(Host &);
    void (*fill)(DxrHooks &);
};

extern const std::array<ServiceEntry, kServiceCount> kServices;

std::unique_ptr<Service> MakeAlarm(Host &host);
std::unique_ptr<Service> MakeDatabase(Host &host);
std::unique_ptr<Service> MakeDatabaseConfig(Host &host);
std::unique_ptr<Service> MakeDevice(Host &host);
std::unique_ptr<Service> MakeFaultManagement(Host &host);
std::unique_ptr<Service> MakeHash(Host &host);
std::unique_ptr<Service> MakeKpi(Host &host);
std::unique_ptr<Service> MakeList(Host &host);
std::unique_ptr<Service> MakeMemory(Host &host);
std::unique_ptr<Service> MakeMessage(Host &host);
std::unique_ptr<Service> MakeModule(Host &host);
std::unique_ptr<Service> MakeNetworkProcessor(Host &host);
std::unique_ptr<Service> MakePlugin(Host &host);
std::unique_ptr<Service> MakePrint(Host &host);
std::unique_ptr<Service> MakeSystem(Host &host);
std::unique_ptr<Service> MakeSystemTable(Host &host);
std::unique_ptr<Service> MakeSystemTask(Host &host);
std::unique_ptr<Service> MakeSystemTime(Host &host);
std::unique_ptr<Service> MakeTemperature(Host &host);

void FillAlarm(DxrHooks &hooks);
void FillDatabase(DxrHooks &hooks);
void FillDatabaseConfig(DxrHooks &hooks);
void FillDevice(DxrHooks &hooks);
void FillFaultManagement(DxrHooks &hooks);
void FillHash(DxrHooks &hooks);
void FillKpi(DxrHooks &hooks);
void FillList(DxrHooks &hooks);
void FillMemory(DxrHooks &hooks);
void FillMessage(DxrHooks &hooks);
void FillModule(DxrHooks &hooks);
void FillNetworkProcessor(DxrHooks &hooks);
void FillPlugin(DxrHooks &hooks);
void FillPrint(DxrHooks &hooks);
void FillSystem(DxrHooks &hooks);
void FillSystemTable(DxrHooks &hooks);
void FillSystemTask(DxrHooks &hooks);
void FillSystemTime(DxrHooks &hooks);
void FillTemperature(DxrHooks &hooks);

}  // namespace devhost

#endif  // DXR_DEVHOST_SERVICES_H
