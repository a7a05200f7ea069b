// A development host with a chassis database in a directory of its own, and the sample chassis as
// its header describes it.
#ifndef DXR_TESTS_DEVHOST_DATABASE_FIXTURE_H
#define DXR_TESTS_DEVHOST_DATABASE_FIXTURE_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "dxr_devhost/database.h"
#include "tools/temporary_directory.h"

namespace dxrtest {

// A connection of the test's own.
class Sqlite {
  public:
    explicit Sqlite(const std::string &path) {
        EXPECT_EQ(sqlite3_open(path.c_str(), &connection_), SQLITE_OK);
    }
    ~Sqlite() { (void)sqlite3_close(connection_); }
    Sqlite(const Sqlite &) = delete;
    Sqlite &operator=(const Sqlite &) = delete;
    Sqlite(Sqlite &&) = delete;
    Sqlite &operator=(Sqlite &&) = delete;

    [[nodiscard]] bool Run(const std::string &sql) const {
        return sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    [[nodiscard]] sqlite3 *Get() const { return connection_; }

  private:
    sqlite3 *connection_ = nullptr;
};

// One row of any table, as its record has it.
using Row = std::vector<uint32_t>;

// The rows of a table of the sample chassis, in the order of its key.
inline std::vector<Row> SampleRows(uint32_t table) {
    std::vector<Row> rows;
    if (table == DXR_HOST_DB_CHASSIS) {
        return {{1, 1}};
    }
    for (uint32_t slot = 1; slot <= 4; ++slot) {
        if (table == DXR_HOST_DB_LPU) {
            rows.push_back({slot, 256 + slot});
        }
        for (uint32_t core = 0; core < 2; ++core) {
            const uint32_t fic = 2 * (slot - 1) + core;
            if (table == DXR_HOST_DB_FIC) {
                rows.push_back({fic, slot, core, slot > 2 ? 2U : 1U, 10 + core});
            }
            if (table == DXR_HOST_DB_NG_TM) {
                rows.push_back({slot, 0, core, fic, 100 + slot});
            }
        }
        for (uint32_t port = 0; port < 4; ++port) {
            if (table == DXR_HOST_DB_TM_PORT) {
                rows.push_back({slot, 0, port, 32 + port, port / 2, 8 + port % 2, 100000});
            }
            for (uint32_t service = 0; service < 2; ++service) {
                if (table == DXR_HOST_DB_SERVICE_PORT) {
                    rows.push_back({slot, 0, port, service, 1 + service, 7 - service});
                }
                for (uint32_t queue = 0; queue < 4 && table == DXR_HOST_DB_VSQ; ++queue) {
                    rows.push_back({static_cast<uint32_t>(rows.size()), slot, 0, port, service});
                }
            }
        }
    }
    return rows;
}

template <typename Record>
Row RowOf(const Record &record) {
    Row row(sizeof(record) / sizeof(uint32_t));
    std::memcpy(row.data(), &record, sizeof(record));
    return row;
}

template <uint32_t kClock>
class DatabaseHost : public HostTest {
  protected:
    DatabaseHost() : workPath(directory.Path()), file(directory.Path("chassis.db")) {
        options.clock = kClock;
        options.workPath = workPath.c_str();
        Begin();
    }
    ~DatabaseHost() override { End(); }

    void Restart() {
        End();
        reports.clear();
        Begin();
    }

    // The sample chassis where the host looks for it.
    void MakeSample() const {
        std::array<char, 256> error{};
        EXPECT_TRUE(DxrHostInitDatabase(nullptr, file.c_str(), error.data(), error.size()))
            << error.data();
    }

    void Change(const std::string &sql) const { EXPECT_TRUE(Sqlite(file).Run(sql)) << sql; }

    const TemporaryDirectory directory{TemporaryDirectory::InMemory()};
    const std::string workPath;
    const std::string file;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_DATABASE_FIXTURE_H
