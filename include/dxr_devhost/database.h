/* The host's database service: all 19 slots of the Db group, read from an SQLite file,
 * DxrHostOptions::database. The host never writes to that file; DxrHostInitDatabase and `dxrsh db
 * init` make one with a sample chassis.
 *
 * A result is 0 or a number of <errno.h>:
 *   ECANCELED  there is no host
 *   EINVAL     a null pointer, a query that is none, or an empty path; reported. Any other path is
 *              that of a file, ":memory:" as well
 *   ENOENT     there is no such row; ENOSPC: there is no room for all rows
 *   ENODEV     the file is missing or cannot be opened; reported
 *   EBADMSG    the file is no database, or not one of this schema, or a value in it is no whole
 *              number from 0 to 4294967295; reported
 *   EBUSY      somebody else has locked it, which the host does not wait for
 *   ENOMEM     there is no memory
 *   EIO        it cannot be read, or one of the points "database.open", "database.prepare" (of a
 *              statement) and "database.step" (to its next row) failed
 * A failed look-up of one row writes nothing, one of several and a selection may have written some.
 * The file is opened by the first call that needs it, and tried again by each call until that
 * succeeds; then it stays open, and its statements prepared. Each call sees the committed state of
 * one moment.
 *
 * Any thread may call any of them at any time; calls take turns. Records and numbers may lie at any
 * address. Every number is 32 bits wide.
 *
 * Node groups, fabric interface chips (FIC) and VSQs are numbered across the chassis, local chips
 * within a slot, traffic managers (TM) within a node group, their cores and ports within a TM,
 * service ports within a port.
 *
 *   DXR_GetLocalFicIdFromDb(nodeGroup, tm, core, localFic)   the chip that the core is on
 *   DXR_GetTmTypeByGlobalFicIdFromDb(globalFic, type)
 *   DXR_GetTmTypeByLocalFicIdFromDb(slot, localFic, type)
 *   DXR_GetChipPosByGlobalFicIdFromDb(globalFic, position)
 *   DXR_GetChipPosByLocalFicIdFromDb(slot, localFic, position)   each a number
 *   DXR_GetFicIdByNodeGroupIdFromDb(nodeGroup, globalFics, count, room)   the chips of a node
 *                                            group in ascending order, each once, as numbers; at
 *                                            most `room` are written, and `count`, a number, gets
 *                                            how many there are. ENOSPC when that is more,
 *                                            ENOENT when it is none. With no room `globalFics` may
 *                                            be null
 *   DXR_GetNgTmCfgFromDb(nodeGroup, tm, core, config)    a DxrHostNgTmConfig
 *   DXR_GetNgTmPortInfoFromDb(nodeGroup, tm, port, info)        a DxrHostTmPort, by its number
 *   DXR_GetNgTmPortInfoByTmPortFromDb(nodeGroup, tm, tmPort, info)    by the TM's own number
 *   DXR_GetNgTmPortInfoByVsqIdFromDb(nodeGroup, vsq, info)      the port of a VSQ of that group
 *   DXR_GetNgTmSrvPortInfoFromDb(nodeGroup, tm, port, servicePort, info)   a DxrHostServicePort
 *   DXR_GetNgTmSrvPortByVsqFromDb(vsq, info)             the same, of a VSQ
 *   DXR_GetNgTmSrvPortByFicIdFromDb(slot, localFic, infos, room, count)   those of all ports that
 *                                            are on the chip, by their numbers; room and count as
 *                                            above
 *   DXR_IsMcRepByTm()                        0 when the chassis says so, else 1
 *   DXR_GetDestFicPort(destination, ficPort) where the chips send what is for a port: a
 *                                            DxrHostDestination and a DxrHostFicPort; the second
 *                                            pointer, null for every failure
 *   DXR_GetLpuDevId(slot)                    the device of a line processing unit; 0xFFFFFFFF for
 *                                            every failure
 *
 *   DXR_SelectDbRecordCount(query, count)    how many rows a DxrHostDbQuery selects
 *   DXR_SelectDbRecordLimit(query, limit, records)   the first `limit` of them at most, in the
 *                                            order of the table's key. 0 also when there are fewer:
 *                                            what follows them is not written
 *   DXR_SelectFirstDbRecord(query, record)   the first; ENOENT without one
 *   DXR_SelectDbRecord(query, count)         the library's, by the first two
 *
 * The schema is version 1 (PRAGMA user_version). Each table has the columns that its record below
 * names, all of them INTEGER; more columns and tables do no harm.
 *
 * Cost: the first call opens the file, and the first of its kind prepares its statement, which
 * takes far longer than to run it. A look-up of one row takes the logarithm of the rows, one of
 * several the rows that it finds besides; DXR_GetNgTmSrvPortByFicIdFromDb also goes over the ports
 * of the traffic managers on the chip. A selection by columns that no index begins with reads the
 * whole table. DxrHostInitDatabase writes a file and waits until the disk has it. */
#ifndef DXR_DEVHOST_DATABASE_H
#define DXR_DEVHOST_DATABASE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Records of the tables -------------------------------------------------------------- */

/* A table by its number: DxrHostDbQuery::table. Its columns count from 0. */
#define DXR_HOST_DB_CHASSIS 1u
#define DXR_HOST_DB_LPU 2u
#define DXR_HOST_DB_FIC 3u
#define DXR_HOST_DB_NG_TM 4u
#define DXR_HOST_DB_TM_PORT 5u
#define DXR_HOST_DB_SERVICE_PORT 6u
#define DXR_HOST_DB_VSQ 7u

/* chassis: what holds for all; the row with number 1. */
typedef struct DxrHostChassis {
    uint32_t number;        /* number, the key */
    uint32_t multicastByTm; /* multicast_by_tm: 1 when traffic managers replicate multicast, 0 */
} DxrHostChassis;

/* lpu: line processing units. */
typedef struct DxrHostLpu {
    uint32_t slot;     /* slot, the key */
    uint32_t deviceId; /* device_id */
} DxrHostLpu;

/* fic: fabric interface chips. */
typedef struct DxrHostFic {
    uint32_t globalFicId;  /* global_fic_id, the key */
    uint32_t slot;         /* slot; with local_fic_id no other row has it */
    uint32_t localFicId;   /* local_fic_id */
    uint32_t tmType;       /* tm_type: of the traffic manager on the chip */
    uint32_t chipPosition; /* chip_position: on the board */
} DxrHostFic;

/* ng_tm: cores of the traffic managers of node groups. */
typedef struct DxrHostNgTm {
    uint32_t nodeGroupId;   /* node_group_id; key together with the next two */
    uint32_t tmId;          /* tm_id */
    uint32_t coreId;        /* core_id */
    uint32_t globalFicId;   /* global_fic_id: the chip it is on, in fic */
    uint32_t feNodeGroupId; /* fe_node_group_id: the node group of its fabric elements */
} DxrHostNgTm;

/* tm_port: ports of traffic managers. */
typedef struct DxrHostTmPort {
    uint32_t nodeGroupId; /* node_group_id; key together with the next two */
    uint32_t tmId;        /* tm_id */
    uint32_t portId;      /* port_id */
    uint32_t tmPort;      /* tm_port: the TM's own number of it; no other port of the TM has it */
    uint32_t coreId;      /* core_id: in ng_tm */
    uint32_t ficPort;     /* fic_port: of the core's chip, by which it is reached */
    uint32_t speedMbps;   /* speed_mbps: megabits a second */
} DxrHostTmPort;

/* service_port: service ports of ports. */
typedef struct DxrHostServicePort {
    uint32_t nodeGroupId;   /* node_group_id; key together with the next three */
    uint32_t tmId;          /* tm_id */
    uint32_t portId;        /* port_id: in tm_port */
    uint32_t servicePortId; /* service_port_id */
    uint32_t kind;          /* kind: of the service; any number */
    uint32_t priority;      /* priority: any number */
} DxrHostServicePort;

/* vsq: virtual statistics queues. */
typedef struct DxrHostVsq {
    uint32_t vsqId;         /* vsq_id, the key */
    uint32_t nodeGroupId;   /* node_group_id */
    uint32_t tmId;          /* tm_id */
    uint32_t portId;        /* port_id */
    uint32_t servicePortId; /* service_port_id: in service_port */
} DxrHostVsq;

/* ---- Records of the slots --------------------------------------------------------------- */

/* Values of a query at most. */
#define DXR_HOST_DB_VALUES 8u

/* What is selected: the rows of a table whose columns of the bits in `match`, bit 0 for the first
 * one, have the value of the same place in `values`. Others of the values are not looked at. */
typedef struct DxrHostDbQuery {
    uint32_t table;      /* DXR_HOST_DB_... */
    uint32_t recordSize; /* of the table's record, in bytes */
    uint32_t match;
    uint32_t values[DXR_HOST_DB_VALUES];
} DxrHostDbQuery;

/* What is known of a core of a traffic manager. */
typedef struct DxrHostNgTmConfig {
    uint32_t globalFicId;
    uint32_t localFicId;
    uint32_t tmType;
    uint32_t feNodeGroupId;
} DxrHostNgTmConfig;

/* A port to be reached through the fabric. */
typedef struct DxrHostDestination {
    uint32_t nodeGroupId;
    uint32_t tmId;
    uint32_t portId;
} DxrHostDestination;

/* The port of a chip. */
typedef struct DxrHostFicPort {
    uint32_t globalFicId;
    uint32_t slot;
    uint32_t localFicId;
    uint32_t ficPort;
} DxrHostFicPort;

DXR_STATIC_ASSERT(sizeof(DxrHostChassis) == 8, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostLpu) == 8, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostFic) == 20, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostNgTm) == 20, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostTmPort) == 28, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostServicePort) == 24, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostVsq) == 20, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostDbQuery) == 44, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostNgTmConfig) == 16, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostDestination) == 12, "fixed layout");
DXR_STATIC_ASSERT(sizeof(DxrHostFicPort) == 16, "fixed layout");

/* ---- The file --------------------------------------------------------------------------- */

/* Opens a file in the place of the one that the host has, which is closed. On failure returns
 * false, the host keeps what it had, and a line that says why goes to `error` (at most `errorSize`
 * bytes, terminated; null: nowhere). Any thread may call it at any time. */
DXR_API bool DxrHostOpenDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize);

/* Makes a file with a sample chassis: four line processing units in slots 1 to 4, each of one node
 * group of the same number with one traffic manager, two cores on two chips, four ports, eight
 * service ports and 32 VSQs. Nothing that exists is overwritten. The file appears whole or not at
 * all, also when the process ends on the way, which may leave "PATH.new.PID" behind. On failure
 * returns false and a line that says why as above.
 *
 * The points "database.create", "database.write", "database.sync" and "database.link" of the host
 * make its steps fail; without a host none does. Any thread may call it at any time. */
DXR_API bool DxrHostInitDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_DATABASE_H */
