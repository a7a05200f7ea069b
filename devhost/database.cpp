#include "dxr_devhost/database.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

#include "database_file.h"
#include "error_text.h"
#include "host.h"

namespace devhost {
namespace {

constexpr const char *kService = "database";
constexpr uint32_t kNoDevice = 0xFFFFFFFF;

class DatabaseService : public Service {
  public:
    explicit DatabaseService(Host &host) : Service(host), path(host.options.database) {}

    // With the lock: the file is open afterwards, or the result says why not.
    DbResult Open() {
        if (file != nullptr) {
            return {};
        }
        auto opened = std::make_unique<DatabaseFile>(TheHost().chance);
        DbResult result = opened->Open(path);
        if (result.error == 0) {
            file = std::move(opened);
        }
        return result;
    }

    std::mutex mutex;  // guards what follows
    std::string path;
    std::unique_ptr<DatabaseFile> file;  // null until it is open
};

DatabaseService &StateOf(Host &host) {
    return host.Get<DatabaseService>(ServiceId::kDatabase);
}

// Does something with the open file; `use` gives a DbResult. 0 or a number of <errno.h>.
template <typename Use>
uint32_t WithFile(const Call &call, Use use) {
    DbResult result;
    {
        DatabaseService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        result = state.Open();
        if (result.error == 0) {
            result = use(*state.file);
        }
    }
    if (result.what != nullptr) {
        call.Misuse(kService, result.what, result.text);
    }
    return result.error;
}

bool IsNull(const Call &call, const void *pointer) {
    if (pointer == nullptr) {
        call.Misuse(kService, "a null pointer");
    }
    return pointer == nullptr;
}

// The one row of a look-up.
uint32_t FindOne(const Call &call, LookUp lookUp, const DbValues &values, void *row) {
    if (!call) {
        return ECANCELED;
    }
    if (IsNull(call, row)) {
        return EINVAL;
    }
    DbRows rows{row, 1};
    const uint32_t error =
        WithFile(call, [&](DatabaseFile &file) { return file.Find(lookUp, values, rows); });
    return error == 0 && rows.found == 0 ? ENOENT : error;
}

// All rows of a look-up; at most `room` are written.
uint32_t FindAll(const Call &call, LookUp lookUp, const DbValues &values, void *to, uint32_t room,
                 void *count) {
    if (!call) {
        return ECANCELED;
    }
    if (IsNull(call, count) || (room != 0 && IsNull(call, to))) {
        return EINVAL;
    }
    DbRows rows{to, room, true};
    const uint32_t error =
        WithFile(call, [&](DatabaseFile &file) { return file.Find(lookUp, values, rows); });
    if (error != 0) {
        return error;
    }
    std::memcpy(count, &rows.found, sizeof(rows.found));
    if (rows.found == 0) {
        return ENOENT;
    }
    return rows.found > room ? ENOSPC : 0;
}

// The query at an address. False, and a report, when it is none.
bool TakeQuery(const Call &call, const void *address, DxrHostDbQuery &query) {
    if (IsNull(call, address)) {
        return false;
    }
    std::memcpy(&query, address, sizeof(query));
    const Table *const table = FindTable(query.table);
    const char *wrong = nullptr;
    if (table == nullptr) {
        wrong = "a query of no table";
    } else if (query.recordSize != table->columnCount * sizeof(uint32_t)) {
        wrong = "a query with a record of another size";
    } else if (query.match >> table->columnCount != 0) {
        wrong = "a query for a column that the table does not have";
    }
    if (wrong != nullptr) {
        call.Misuse(kService, wrong);
    }
    return wrong == nullptr;
}

uint32_t SelectRows(const Call &call, const void *address, DbRows &rows) {
    if (!call) {
        return ECANCELED;
    }
    DxrHostDbQuery query;
    if (!TakeQuery(call, address, query) || IsNull(call, rows.to)) {
        return EINVAL;
    }
    return WithFile(call, [&](DatabaseFile &file) {
        return file.Select(query.table, query.match, query.values, rows);
    });
}

// --- Slots: selections

uint32_t SelectDbRecordCount(void *query, uint32_t *count) {
    const Call call("DXR_SelectDbRecordCount");
    if (!call) {
        return ECANCELED;
    }
    DxrHostDbQuery taken;
    if (!TakeQuery(call, query, taken) || IsNull(call, count)) {
        return EINVAL;
    }
    uint32_t found = 0;
    const uint32_t error = WithFile(call, [&](DatabaseFile &file) {
        return file.Count(taken.table, taken.match, taken.values, found);
    });
    if (error == 0) {
        std::memcpy(static_cast<void *>(count), &found, sizeof(found));
    }
    return error;
}

uint32_t SelectDbRecordLimit(void *query, uint32_t limit, void *records) {
    const Call call("DXR_SelectDbRecordLimit");
    DbRows rows{records, limit};
    return SelectRows(call, query, rows);
}

uint32_t SelectFirstDbRecord(void *query, void *record) {
    const Call call("DXR_SelectFirstDbRecord");
    DbRows rows{record, 1};
    const uint32_t error = SelectRows(call, query, rows);
    return error == 0 && rows.found == 0 ? ENOENT : error;
}

// --- Slots: chips

uint32_t GetLocalFicId(uint32_t nodeGroup, uint32_t tm, uint32_t core, void *localFic) {
    const Call call("DXR_GetLocalFicIdFromDb");
    return FindOne(call, LookUp::kLocalFic, {nodeGroup, tm, core}, localFic);
}

uint32_t GetTmTypeByGlobalFicId(uint32_t globalFic, void *type) {
    const Call call("DXR_GetTmTypeByGlobalFicIdFromDb");
    return FindOne(call, LookUp::kTmTypeOfGlobalFic, {globalFic}, type);
}

uint32_t GetTmTypeByLocalFicId(uint32_t slot, uint32_t localFic, void *type) {
    const Call call("DXR_GetTmTypeByLocalFicIdFromDb");
    return FindOne(call, LookUp::kTmTypeOfLocalFic, {slot, localFic}, type);
}

uint32_t GetChipPosByGlobalFicId(uint32_t globalFic, void *position) {
    const Call call("DXR_GetChipPosByGlobalFicIdFromDb");
    return FindOne(call, LookUp::kPositionOfGlobalFic, {globalFic}, position);
}

uint32_t GetChipPosByLocalFicId(uint32_t slot, uint32_t localFic, void *position) {
    const Call call("DXR_GetChipPosByLocalFicIdFromDb");
    return FindOne(call, LookUp::kPositionOfLocalFic, {slot, localFic}, position);
}

uint32_t GetFicIdByNodeGroupId(uint32_t nodeGroup, void *globalFics, void *count, uint32_t room) {
    const Call call("DXR_GetFicIdByNodeGroupIdFromDb");
    return FindAll(call, LookUp::kFicsOfNodeGroup, {nodeGroup}, globalFics, room, count);
}

// --- Slots: traffic managers and their ports

uint32_t GetNgTmCfg(uint32_t nodeGroup, uint32_t tm, uint32_t core, void *config) {
    const Call call("DXR_GetNgTmCfgFromDb");
    return FindOne(call, LookUp::kNgTmConfig, {nodeGroup, tm, core}, config);
}

uint32_t GetNgTmPortInfo(uint32_t nodeGroup, uint32_t tm, uint32_t port, void *info) {
    const Call call("DXR_GetNgTmPortInfoFromDb");
    return FindOne(call, LookUp::kTmPort, {nodeGroup, tm, port}, info);
}

uint32_t GetNgTmPortInfoByTmPort(uint32_t nodeGroup, uint32_t tm, uint32_t tmPort, void *info) {
    const Call call("DXR_GetNgTmPortInfoByTmPortFromDb");
    return FindOne(call, LookUp::kTmPortByTmPort, {nodeGroup, tm, tmPort}, info);
}

uint32_t GetNgTmPortInfoByVsqId(uint32_t nodeGroup, uint32_t vsq, void *info) {
    const Call call("DXR_GetNgTmPortInfoByVsqIdFromDb");
    return FindOne(call, LookUp::kTmPortOfVsq, {nodeGroup, vsq}, info);
}

uint32_t GetNgTmSrvPortInfo(uint32_t nodeGroup, uint32_t tm, uint32_t port, uint32_t servicePort,
                            void *info) {
    const Call call("DXR_GetNgTmSrvPortInfoFromDb");
    return FindOne(call, LookUp::kServicePort, {nodeGroup, tm, port, servicePort}, info);
}

uint32_t GetNgTmSrvPortByVsq(uint32_t vsq, void *info) {
    const Call call("DXR_GetNgTmSrvPortByVsqFromDb");
    return FindOne(call, LookUp::kServicePortOfVsq, {vsq}, info);
}

uint32_t GetNgTmSrvPortByFicId(uint32_t slot, uint32_t localFic, void *infos, uint32_t room,
                               void *count) {
    const Call call("DXR_GetNgTmSrvPortByFicIdFromDb");
    return FindAll(call, LookUp::kServicePortsOfFic, {slot, localFic}, infos, room, count);
}

// --- Slots: the rest

uint32_t IsMcRepByTm() {
    const Call call("DXR_IsMcRepByTm");
    uint32_t value = 1;
    return FindOne(call, LookUp::kMulticastByTm, {}, &value) != 0 || value != 0 ? 1 : 0;
}

void *GetDestFicPort(void *destination, void *ficPort) {
    const Call call("DXR_GetDestFicPort");
    if (!call || IsNull(call, destination)) {
        return nullptr;
    }
    DxrHostDestination wanted;
    std::memcpy(&wanted, destination, sizeof(wanted));
    const uint32_t error = FindOne(call, LookUp::kDestination,
                                   {wanted.nodeGroupId, wanted.tmId, wanted.portId}, ficPort);
    return error == 0 ? ficPort : nullptr;
}

uint32_t GetLpuDevId(uint32_t slot) {
    const Call call("DXR_GetLpuDevId");
    uint32_t device = kNoDevice;
    return FindOne(call, LookUp::kLpu, {slot}, &device) == 0 ? device : kNoDevice;
}

// A file takes the place of the one that is open. Empty when all is well.
std::string Exchange(Host &host, const char *path) {
    if (path == nullptr) {
        return "no file was given";
    }
    std::string kept = path;
    auto opened = std::make_unique<DatabaseFile>(host.chance);
    const DbResult result = opened->Open(kept);
    if (result.error == 0) {
        DatabaseService &state = StateOf(host);
        const std::lock_guard lock(state.mutex);
        state.path.swap(kept);
        state.file.swap(opened);
        return "";
    }
    return result.what != nullptr
               ? result.text
               : kept + ": " + std::generic_category().message(static_cast<int>(result.error));
}

}  // namespace

std::unique_ptr<Service> MakeDatabase(Host &host) {
    return std::make_unique<DatabaseService>(host);
}

void FillDatabase(DxrHooks &hooks) {
    hooks.db.selectDbRecordCount = Guarded<SelectDbRecordCount>;
    hooks.db.selectDbRecordLimit = Guarded<SelectDbRecordLimit>;
    hooks.db.selectFirstDbRecord = Guarded<SelectFirstDbRecord>;
    hooks.db.getLocalFicIdFromDb = Guarded<GetLocalFicId>;
    hooks.db.getTmTypeByGlobalFicIdFromDb = Guarded<GetTmTypeByGlobalFicId>;
    hooks.db.getTmTypeByLocalFicIdFromDb = Guarded<GetTmTypeByLocalFicId>;
    hooks.db.getChipPosByGlobalFicIdFromDb = Guarded<GetChipPosByGlobalFicId>;
    hooks.db.getChipPosByLocalFicIdFromDb = Guarded<GetChipPosByLocalFicId>;
    hooks.db.getFicIdByNodeGroupIdFromDb = Guarded<GetFicIdByNodeGroupId>;
    hooks.db.getNgTmCfgFromDb = Guarded<GetNgTmCfg>;
    hooks.db.getNgTmPortInfoFromDb = Guarded<GetNgTmPortInfo>;
    hooks.db.getNgTmPortInfoByTmPortFromDb = Guarded<GetNgTmPortInfoByTmPort>;
    hooks.db.getNgTmPortInfoByVsqIdFromDb = Guarded<GetNgTmPortInfoByVsqId>;
    hooks.db.getNgTmSrvPortInfoFromDb = Guarded<GetNgTmSrvPortInfo>;
    hooks.db.getNgTmSrvPortByVsqFromDb = Guarded<GetNgTmSrvPortByVsq>;
    hooks.db.isMcRepByTm = Guarded<IsMcRepByTm, 1>;
    hooks.db.getDestFicPort = Guarded<GetDestFicPort>;
    hooks.db.getNgTmSrvPortByFicIdFromDb = Guarded<GetNgTmSrvPortByFicId>;
    hooks.db.getLpuDevId = Guarded<GetLpuDevId, kNoDevice>;
}

}  // namespace devhost

bool DxrHostOpenDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize) {
    const devhost::ApiCall call(host);
    try {
        const std::string why = call ? devhost::Exchange(*call, path) : "there is no host";
        devhost::WriteError(error, errorSize, why.c_str());
        return why.empty();
    } catch (const std::exception &) {
        devhost::WriteError(error, errorSize, "not enough memory");
        return false;
    }
}
