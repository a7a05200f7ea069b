// The chassis database as an open file: its connection, its statements, and what its failures mean.
#ifndef DXR_DEVHOST_DATABASE_FILE_H
#define DXR_DEVHOST_DATABASE_FILE_H

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "chance.h"
#include "database_schema.h"

namespace devhost {

// The named look-ups, each one statement.
enum class LookUp : uint8_t {
    kLocalFic,
    kTmTypeOfGlobalFic,
    kTmTypeOfLocalFic,
    kPositionOfGlobalFic,
    kPositionOfLocalFic,
    kFicsOfNodeGroup,
    kNgTmConfig,
    kTmPort,
    kTmPortByTmPort,
    kTmPortOfVsq,
    kServicePort,
    kServicePortOfVsq,
    kServicePortsOfFic,
    kMulticastByTm,
    kDestination,
    kLpu,
    kCount,
};
constexpr auto kLookUpCount = static_cast<size_t>(LookUp::kCount);

// How a step ended: 0 or a number of <errno.h>. `what` is a literal when it is to be reported.
struct DbResult {
    uint32_t error = 0;
    const char *what = nullptr;
    std::string text = {};
};

// The values of a statement's parameters, from the first on.
using DbValues = std::array<uint32_t, kMostColumns + 1>;

// Where rows go: their columns as 32-bit numbers, one row after the other.
struct DbRows {
    void *to;
    uint32_t room;           // rows
    bool countsAll = false;  // also those that there is no room for
    uint32_t found = 0;
};

// One thread at a time.
class DatabaseFile {
  public:
    explicit DatabaseFile(Chance &chance);

    // Once. Afterwards all look-ups are prepared.
    DbResult Open(const std::string &path);

    DbResult Find(LookUp lookUp, const DbValues &values, DbRows &rows);

    // The rows of a table whose columns of the bits in `match` have the values; at most rows.room.
    DbResult Select(uint32_t table, uint32_t match, const uint32_t *values, DbRows &rows);
    DbResult Count(uint32_t table, uint32_t match, const uint32_t *values, uint32_t &count);

  private:
    struct Close {
        void operator()(sqlite3 *connection) const { (void)sqlite3_close(connection); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt *statement) const { (void)sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

    // What is selected and counted by, which its SQL depends on.
    struct Selection {
        uint32_t table;
        uint32_t match;
        bool counts;
        bool operator<(const Selection &other) const {
            return std::tie(table, match, counts) <
                   std::tie(other.table, other.match, other.counts);
        }
    };

    DbResult Prepare(const std::string &sql, Statement &statement);
    DbResult Prepared(const Selection &selection, sqlite3_stmt *&statement);
    DbResult CheckVersion();
    DbResult Run(sqlite3_stmt *statement, const DbValues &values, DbRows &rows);
    DbResult Failure(int code);

    FaultPoint &openFails_;
    FaultPoint &prepareFails_;
    FaultPoint &stepFails_;
    std::string path_;
    std::unique_ptr<sqlite3, Close> connection_;  // ends after its statements
    std::array<Statement, kLookUpCount> lookUps_;
    std::map<Selection, Statement> selections_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_DATABASE_FILE_H
