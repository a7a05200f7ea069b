#include "database_file.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace devhost {
namespace {

// In the order of LookUp. A host's own numbers are its parameters, never part of the text.
constexpr std::array<const char *, kLookUpCount> kLookUps = {
    "SELECT f.local_fic_id FROM ng_tm t JOIN fic f USING (global_fic_id) "
    "WHERE t.node_group_id = ?1 AND t.tm_id = ?2 AND t.core_id = ?3",

    "SELECT tm_type FROM fic WHERE global_fic_id = ?1",

    "SELECT tm_type FROM fic WHERE slot = ?1 AND local_fic_id = ?2",

    "SELECT chip_position FROM fic WHERE global_fic_id = ?1",

    "SELECT chip_position FROM fic WHERE slot = ?1 AND local_fic_id = ?2",

    "SELECT DISTINCT global_fic_id FROM ng_tm WHERE node_group_id = ?1 ORDER BY global_fic_id",

    "SELECT f.global_fic_id, f.local_fic_id, f.tm_type, t.fe_node_group_id "
    "FROM ng_tm t JOIN fic f USING (global_fic_id) "
    "WHERE t.node_group_id = ?1 AND t.tm_id = ?2 AND t.core_id = ?3",

    "SELECT node_group_id, tm_id, port_id, tm_port, core_id, fic_port, speed_mbps "
    "FROM tm_port WHERE node_group_id = ?1 AND tm_id = ?2 AND port_id = ?3",

    "SELECT node_group_id, tm_id, port_id, tm_port, core_id, fic_port, speed_mbps "
    "FROM tm_port WHERE node_group_id = ?1 AND tm_id = ?2 AND tm_port = ?3",

    "SELECT p.node_group_id, p.tm_id, p.port_id, p.tm_port, p.core_id, p.fic_port, p.speed_mbps "
    "FROM vsq v JOIN tm_port p USING (node_group_id, tm_id, port_id) "
    "WHERE v.node_group_id = ?1 AND v.vsq_id = ?2",

    "SELECT node_group_id, tm_id, port_id, service_port_id, kind, priority "
    "FROM service_port "
    "WHERE node_group_id = ?1 AND tm_id = ?2 AND port_id = ?3 AND service_port_id = ?4",

    "SELECT s.node_group_id, s.tm_id, s.port_id, s.service_port_id, s.kind, s.priority "
    "FROM vsq v JOIN service_port s USING (node_group_id, tm_id, port_id, service_port_id) "
    "WHERE v.vsq_id = ?1",

    "SELECT s.node_group_id, s.tm_id, s.port_id, s.service_port_id, s.kind, s.priority "
    "FROM fic f JOIN ng_tm t USING (global_fic_id) "
    "JOIN tm_port p USING (node_group_id, tm_id, core_id) "
    "JOIN service_port s USING (node_group_id, tm_id, port_id) "
    "WHERE f.slot = ?1 AND f.local_fic_id = ?2 "
    "ORDER BY s.node_group_id, s.tm_id, s.port_id, s.service_port_id",

    "SELECT multicast_by_tm FROM chassis WHERE number = 1",

    "SELECT f.global_fic_id, f.slot, f.local_fic_id, p.fic_port "
    "FROM tm_port p JOIN ng_tm t USING (node_group_id, tm_id, core_id) "
    "JOIN fic f USING (global_fic_id) "
    "WHERE p.node_group_id = ?1 AND p.tm_id = ?2 AND p.port_id = ?3",

    "SELECT device_id FROM lpu WHERE slot = ?1",
};

// A statement that stands at its beginning again afterwards, and holds no lock on the file.
class Running {
  public:
    explicit Running(sqlite3_stmt *statement) : statement_(statement) {}
    ~Running() { (void)sqlite3_reset(statement_); }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;
    Running(Running &&) = delete;
    Running &operator=(Running &&) = delete;

  private:
    sqlite3_stmt *const statement_;
};

// The SQL of a selection, from names of the schema alone.
std::string TextOf(const Table &table, uint32_t match, bool counts) {
    std::string columns;
    std::string conditions;
    uint32_t parameters = 0;
    for (size_t i = 0; i < table.columnCount; ++i) {
        columns += std::string(i == 0 ? "" : ", ") + table.columns[i];
        if ((match & uint32_t{1} << i) != 0) {
            conditions += std::string(parameters == 0 ? " WHERE " : " AND ") + table.columns[i] +
                          " = ?" + std::to_string(parameters + 1);
            ++parameters;
        }
    }
    const std::string from = std::string(" FROM ") + table.name + conditions;
    return counts ? "SELECT count(*)" + from
                  : "SELECT " + columns + from + " ORDER BY " + table.key + " LIMIT ?" +
                        std::to_string(parameters + 1);
}

// The values of the columns that are matched, without gaps, then the limit.
DbValues ValuesOf(const Table &table, uint32_t match, const uint32_t *values, uint32_t limit) {
    DbValues taken{};
    size_t count = 0;
    for (size_t i = 0; i < table.columnCount; ++i) {
        if ((match & uint32_t{1} << i) != 0) {
            taken[count++] = values[i];
        }
    }
    taken[count] = limit;
    return taken;
}

}  // namespace

DatabaseFile::DatabaseFile(Chance &chance)
    : openFails_(chance.Point("database.open")),
      prepareFails_(chance.Point("database.prepare")),
      stepFails_(chance.Point("database.step")) {
}

DbResult DatabaseFile::Failure(int code) {
    switch (code & 0xFF) {
        case SQLITE_CANTOPEN:
            return {ENODEV, "the database cannot be opened",
                    path_ + ": " + sqlite3_errmsg(connection_.get())};
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return {EBUSY};
        case SQLITE_NOMEM:
            return {ENOMEM};
        case SQLITE_ERROR:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_SCHEMA:
            return {EBADMSG, "the database is not as it should be",
                    path_ + ": " + sqlite3_errmsg(connection_.get())};
        default:
            return {EIO};
    }
}

DbResult DatabaseFile::Open(const std::string &path) {
    path_ = path;
    if (openFails_.Fails()) {
        return {EIO};
    }
    if (path.empty()) {
        return {EINVAL, "the path of the database is empty", "the path of the database is empty"};
    }
    // What begins otherwise may be no file for SQLite, such as ":memory:".
    const std::string file = path[0] == '/' ? path : "./" + path;
    // To be written, where it may be, so that what a writer that was killed left is taken back.
    sqlite3 *opened = nullptr;
    const int code = sqlite3_open_v2(file.c_str(), &opened,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    connection_.reset(opened);
    DbResult result = code == SQLITE_OK ? CheckVersion() : Failure(code);
    for (size_t i = 0; i < kLookUpCount && result.error == 0; ++i) {
        result = Prepare(kLookUps[i], lookUps_[i]);
    }
    return result;
}

DbResult DatabaseFile::CheckVersion() {
    Statement statement;
    DbResult result = Prepare("PRAGMA user_version", statement);
    uint32_t version = 0;
    DbRows rows{&version, 1};
    if (result.error == 0) {
        result = Run(statement.get(), {}, rows);
    }
    if (result.error == 0 && version != kSchemaVersion) {
        return {EBADMSG, "a database of another version",
                path_ + ": user_version is " + std::to_string(version) + ", not " +
                    std::to_string(kSchemaVersion)};
    }
    return result;
}

DbResult DatabaseFile::Prepare(const std::string &sql, Statement &statement) {
    if (prepareFails_.Fails()) {
        return {EIO};
    }
    sqlite3_stmt *prepared = nullptr;
    const int code =
        sqlite3_prepare_v3(connection_.get(), sql.c_str(), static_cast<int>(sql.size() + 1),
                           SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    statement.reset(prepared);
    return code == SQLITE_OK ? DbResult{} : Failure(code);
}

DbResult DatabaseFile::Prepared(const Selection &selection, sqlite3_stmt *&statement) {
    const auto found = selections_.find(selection);
    if (found != selections_.end()) {
        statement = found->second.get();
        return {};
    }
    Statement made;
    DbResult result =
        Prepare(TextOf(*FindTable(selection.table), selection.match, selection.counts), made);
    if (result.error == 0) {
        statement = selections_.emplace(selection, std::move(made)).first->second.get();
    }
    return result;
}

DbResult DatabaseFile::Run(sqlite3_stmt *statement, const DbValues &values, DbRows &rows) {
    const Running running(statement);
    const int parameters = sqlite3_bind_parameter_count(statement);
    for (int i = 0; i < parameters; ++i) {
        (void)sqlite3_bind_int64(statement, i + 1, values[static_cast<size_t>(i)]);
    }
    std::array<uint32_t, kMostColumns> row;
    for (rows.found = 0;;) {
        if (stepFails_.Fails()) {
            return {EIO};
        }
        const int code = sqlite3_step(statement);
        if (code == SQLITE_DONE) {
            return {};
        }
        if (code != SQLITE_ROW) {
            return Failure(code);
        }
        const int columns = sqlite3_column_count(statement);
        for (int i = 0; i < columns; ++i) {
            const bool isWhole = sqlite3_column_type(statement, i) == SQLITE_INTEGER;
            const int64_t value = sqlite3_column_int64(statement, i);
            if (!isWhole || value < 0 || value > UINT32_MAX) {
                return {EBADMSG, "a value that is none",
                        path_ + ": a value is no whole number from 0 to 4294967295"};
            }
            row[static_cast<size_t>(i)] = static_cast<uint32_t>(value);
        }
        if (rows.found < rows.room) {
            const size_t bytes = static_cast<size_t>(columns) * sizeof(uint32_t);
            std::memcpy(static_cast<std::byte *>(rows.to) + rows.found * bytes, row.data(), bytes);
        }
        ++rows.found;
        if (rows.found == rows.room && !rows.countsAll) {
            return {};
        }
    }
}

DbResult DatabaseFile::Find(LookUp lookUp, const DbValues &values, DbRows &rows) {
    return Run(lookUps_[static_cast<size_t>(lookUp)].get(), values, rows);
}

DbResult DatabaseFile::Select(uint32_t table, uint32_t match, const uint32_t *values,
                              DbRows &rows) {
    sqlite3_stmt *statement = nullptr;
    DbResult result = Prepared({table, match, false}, statement);
    return result.error == 0
               ? Run(statement, ValuesOf(*FindTable(table), match, values, rows.room), rows)
               : result;
}

DbResult DatabaseFile::Count(uint32_t table, uint32_t match, const uint32_t *values,
                             uint32_t &count) {
    sqlite3_stmt *statement = nullptr;
    DbResult result = Prepared({table, match, true}, statement);
    DbRows rows{&count, 1};
    return result.error == 0 ? Run(statement, ValuesOf(*FindTable(table), match, values, 0), rows)
                             : result;
}

}  // namespace devhost
