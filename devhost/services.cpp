#include "services.h"

#include "host.h"

namespace devhost {

constinit const std::array<ServiceEntry, kServiceCount> kServices = {{
    {ServiceId::kPrint, "print", MakePrint, FillPrint},
    {ServiceId::kMemory, "memory", MakeMemory, FillMemory},
    {ServiceId::kSystem, "system", MakeSystem, FillSystem},
    {ServiceId::kSystemTask, "task", MakeSystemTask, FillSystemTask},
    {ServiceId::kSystemTime, "time", MakeSystemTime, FillSystemTime},
    {ServiceId::kList, "list", MakeList, FillList},
    {ServiceId::kDevice, "device", MakeDevice, FillDevice},
    {ServiceId::kModule, "module", MakeModule, FillModule},
    {ServiceId::kPlugin, "plug-in", MakePlugin, FillPlugin},
    {ServiceId::kHash, "hash", MakeHash, FillHash},
    {ServiceId::kNetworkProcessor, "np", MakeNetworkProcessor, FillNetworkProcessor},
    {ServiceId::kAlarm, "alarm", MakeAlarm, FillAlarm},
    {ServiceId::kKpi, "kpi", MakeKpi, FillKpi},
    {ServiceId::kFaultManagement, "ffm", MakeFaultManagement, FillFaultManagement},
    {ServiceId::kTemperature, "temperature", MakeTemperature, FillTemperature},
    {ServiceId::kDatabase, "database", MakeDatabase, FillDatabase},
    {ServiceId::kMessage, "message", MakeMessage, FillMessage},
    {ServiceId::kSystemTable, "table", MakeSystemTable, FillSystemTable},
    {ServiceId::kDatabaseConfig, "config", MakeDatabaseConfig, FillDatabaseConfig},
}};

}  // namespace devhost

void DxrHostFillHooks(DxrHooks *hooks) {
    *hooks = {};
    for (const devhost::ServiceEntry &service : devhost::kServices) {
        service.fill(*hooks);
    }
}
