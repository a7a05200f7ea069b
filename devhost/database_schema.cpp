#include "database_schema.h"

#include <iterator>

#include "dxr_devhost/database.h"

namespace devhost {
namespace {

constexpr Table kTables[] = {
    {"chassis", "number", {"number", "multicast_by_tm"}, 2},
    {"lpu", "slot", {"slot", "device_id"}, 2},
    {"fic",
     "global_fic_id",
     {"global_fic_id", "slot", "local_fic_id", "tm_type", "chip_position"},
     5},
    {"ng_tm",
     "node_group_id, tm_id, core_id",
     {"node_group_id", "tm_id", "core_id", "global_fic_id", "fe_node_group_id"},
     5},
    {"tm_port",
     "node_group_id, tm_id, port_id",
     {"node_group_id", "tm_id", "port_id", "tm_port", "core_id", "fic_port", "speed_mbps"},
     7},
    {"service_port",
     "node_group_id, tm_id, port_id, service_port_id",
     {"node_group_id", "tm_id", "port_id", "service_port_id", "kind", "priority"},
     6},
    {"vsq", "vsq_id", {"vsq_id", "node_group_id", "tm_id", "port_id", "service_port_id"}, 5},
};

static_assert(kTables[DXR_HOST_DB_CHASSIS - 1].columnCount * 4 == sizeof(DxrHostChassis));
static_assert(kTables[DXR_HOST_DB_LPU - 1].columnCount * 4 == sizeof(DxrHostLpu));
static_assert(kTables[DXR_HOST_DB_FIC - 1].columnCount * 4 == sizeof(DxrHostFic));
static_assert(kTables[DXR_HOST_DB_NG_TM - 1].columnCount * 4 == sizeof(DxrHostNgTm));
static_assert(kTables[DXR_HOST_DB_TM_PORT - 1].columnCount * 4 == sizeof(DxrHostTmPort));
static_assert(kTables[DXR_HOST_DB_SERVICE_PORT - 1].columnCount * 4 == sizeof(DxrHostServicePort));
static_assert(kTables[DXR_HOST_DB_VSQ - 1].columnCount * 4 == sizeof(DxrHostVsq));

}  // namespace

const Table *FindTable(uint32_t number) {
    return number - 1 < std::size(kTables) ? &kTables[number - 1] : nullptr;
}

constinit const char *const kSampleChassis = R"sql(
PRAGMA user_version = 1;
PRAGMA foreign_keys = ON;

CREATE TABLE chassis (
    number INTEGER PRIMARY KEY CHECK (number = 1),
    multicast_by_tm INTEGER NOT NULL CHECK (multicast_by_tm IN (0, 1))
) STRICT;

CREATE TABLE lpu (
    slot INTEGER PRIMARY KEY CHECK (slot BETWEEN 0 AND 4294967295),
    device_id INTEGER NOT NULL CHECK (device_id BETWEEN 0 AND 4294967295)
) STRICT;

CREATE TABLE fic (
    global_fic_id INTEGER PRIMARY KEY CHECK (global_fic_id BETWEEN 0 AND 4294967295),
    slot INTEGER NOT NULL REFERENCES lpu,
    local_fic_id INTEGER NOT NULL CHECK (local_fic_id BETWEEN 0 AND 4294967295),
    tm_type INTEGER NOT NULL CHECK (tm_type BETWEEN 0 AND 4294967295),
    chip_position INTEGER NOT NULL CHECK (chip_position BETWEEN 0 AND 4294967295),
    UNIQUE (slot, local_fic_id)
) STRICT;

CREATE TABLE ng_tm (
    node_group_id INTEGER NOT NULL CHECK (node_group_id BETWEEN 0 AND 4294967295),
    tm_id INTEGER NOT NULL CHECK (tm_id BETWEEN 0 AND 4294967295),
    core_id INTEGER NOT NULL CHECK (core_id BETWEEN 0 AND 4294967295),
    global_fic_id INTEGER NOT NULL REFERENCES fic,
    fe_node_group_id INTEGER NOT NULL CHECK (fe_node_group_id BETWEEN 0 AND 4294967295),
    PRIMARY KEY (node_group_id, tm_id, core_id)
) STRICT, WITHOUT ROWID;
CREATE INDEX ng_tm_by_fic ON ng_tm (global_fic_id);

CREATE TABLE tm_port (
    node_group_id INTEGER NOT NULL,
    tm_id INTEGER NOT NULL,
    port_id INTEGER NOT NULL CHECK (port_id BETWEEN 0 AND 4294967295),
    tm_port INTEGER NOT NULL CHECK (tm_port BETWEEN 0 AND 4294967295),
    core_id INTEGER NOT NULL,
    fic_port INTEGER NOT NULL CHECK (fic_port BETWEEN 0 AND 4294967295),
    speed_mbps INTEGER NOT NULL CHECK (speed_mbps BETWEEN 0 AND 4294967295),
    PRIMARY KEY (node_group_id, tm_id, port_id),
    UNIQUE (node_group_id, tm_id, tm_port),
    FOREIGN KEY (node_group_id, tm_id, core_id) REFERENCES ng_tm
) STRICT, WITHOUT ROWID;

CREATE TABLE service_port (
    node_group_id INTEGER NOT NULL,
    tm_id INTEGER NOT NULL,
    port_id INTEGER NOT NULL,
    service_port_id INTEGER NOT NULL CHECK (service_port_id BETWEEN 0 AND 4294967295),
    kind INTEGER NOT NULL CHECK (kind BETWEEN 0 AND 4294967295),
    priority INTEGER NOT NULL CHECK (priority BETWEEN 0 AND 4294967295),
    PRIMARY KEY (node_group_id, tm_id, port_id, service_port_id),
    FOREIGN KEY (node_group_id, tm_id, port_id) REFERENCES tm_port
) STRICT, WITHOUT ROWID;

CREATE TABLE vsq (
    vsq_id INTEGER PRIMARY KEY CHECK (vsq_id BETWEEN 0 AND 4294967295),
    node_group_id INTEGER NOT NULL,
    tm_id INTEGER NOT NULL,
    port_id INTEGER NOT NULL,
    service_port_id INTEGER NOT NULL,
    FOREIGN KEY (node_group_id, tm_id, port_id, service_port_id) REFERENCES service_port
) STRICT;

INSERT INTO chassis VALUES (1, 1);
INSERT INTO lpu VALUES (1, 257), (2, 258), (3, 259), (4, 260);
INSERT INTO fic
    SELECT 2 * (slot - 1) + chip.column1, slot, chip.column1, 1 + (slot > 2), 10 + chip.column1
    FROM lpu, (VALUES (0), (1)) AS chip;
INSERT INTO ng_tm SELECT slot, 0, local_fic_id, global_fic_id, 100 + slot FROM fic;
INSERT INTO tm_port
    SELECT node_group_id, 0, 2 * core_id + port.column1, 32 + 2 * core_id + port.column1, core_id,
           8 + port.column1, 100000
    FROM ng_tm, (VALUES (0), (1)) AS port;
INSERT INTO service_port
    SELECT node_group_id, 0, port_id, service.column1, 1 + service.column1, 7 - service.column1
    FROM tm_port, (VALUES (0), (1)) AS service;
INSERT INTO vsq
    SELECT 32 * (node_group_id - 1) + 8 * port_id + 4 * service_port_id + queue.column1,
           node_group_id, 0, port_id, service_port_id
    FROM service_port, (VALUES (0), (1), (2), (3)) AS queue;
)sql";

}  // namespace devhost
