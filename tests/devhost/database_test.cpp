// The development host's database service, by the sentences of its header.
#include "dxr_devhost/database.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <random>
#include <thread>

#include "devhost/database_fixture.h"
#include "support/test_host.h"

namespace {

using dxrtest::Row;
using dxrtest::RowOf;
using dxrtest::SampleRows;
using dxrtest::Sqlite;

constexpr uint32_t kTables = 7;

class Database : public dxrtest::DatabaseHost<DXR_HOST_CLOCK_STEPPED> {
  protected:
    Database() { MakeSample(); }

    static DxrHostDbQuery QueryOf(uint32_t table) {
        const size_t columns = SampleRows(table)[0].size();
        return {table, static_cast<uint32_t>(columns * sizeof(uint32_t)), 0, {}};
    }

    // What the library's own selection gives.
    static std::vector<Row> Selected(DxrHostDbQuery query) {
        uint32_t count = 0;
        void *const records = DXR_SelectDbRecord(&query, &count);
        std::vector<Row> rows(count, Row(query.recordSize / sizeof(uint32_t)));
        for (uint32_t i = 0; i < count; ++i) {
            std::memcpy(rows[i].data(), static_cast<char *>(records) + i * query.recordSize,
                        query.recordSize);
        }
        DXR_Free(records, __FILE__, __LINE__);
        return rows;
    }

    void ExpectMisuse(const std::string &text) {
        const std::vector<std::string> texts = Texts(DXR_HOST_REPORT_MISUSE);
        ASSERT_FALSE(texts.empty());
        EXPECT_NE(texts.back().find(text), std::string::npos) << texts.back();
    }
};

// --- Selections

TEST_F(Database, HoldsTheSampleChassis) {
    for (uint32_t table = 1; table <= kTables; ++table) {
        EXPECT_EQ(Selected(QueryOf(table)), SampleRows(table)) << "table " << table;
    }
    EXPECT_TRUE(reports.empty());
}

// Random queries beside a filter over the rows that the test knows.
TEST_F(Database, SelectsWhatMatches) {
    std::mt19937_64 random(dxrtest::Seed());
    const auto below = [&random](uint64_t bound) {
        return static_cast<uint32_t>(random() % bound);
    };
    constexpr uint64_t kAny = uint64_t{1} << 32;
    for (int round = 0; round < 3000; ++round) {
        const uint32_t table = 1 + below(kTables);
        const std::vector<Row> all = SampleRows(table);
        DxrHostDbQuery query = QueryOf(table);
        const Row &like = all[below(all.size())];
        query.match = below(1U << like.size()) & below(kAny);
        for (uint32_t &value : query.values) {
            value = below(kAny);  // where it is not matched, or no such column: tm_type is
        }
        for (size_t i = 0; i < like.size(); ++i) {
            query.values[i] = below(8) == 0 ? below(10) : like[i];
        }
        std::vector<Row> expected;
        std::copy_if(all.begin(), all.end(), std::back_inserter(expected), [&](const Row &row) {
            for (size_t i = 0; i < row.size(); ++i) {
                if ((query.match & 1U << i) != 0 && row[i] != query.values[i]) {
                    return false;
                }
            }
            return true;
        });
        ASSERT_EQ(Selected(query), expected);

        uint32_t count = 77;
        ASSERT_EQ(DXR_SelectDbRecordCount(&query, &count), 0U);
        ASSERT_EQ(count, expected.size());
        const uint32_t limit = below(10);
        const size_t columns = query.recordSize / sizeof(uint32_t);
        std::vector<uint32_t> records(10 * columns, 0xABABABAB);
        ASSERT_EQ(DXR_SelectDbRecordLimit(&query, limit, records.data()), 0U);
        std::vector<uint32_t> wanted;
        for (size_t i = 0; i < std::min<size_t>(limit, expected.size()); ++i) {
            wanted.insert(wanted.end(), expected[i].begin(), expected[i].end());
        }
        wanted.resize(10 * columns, 0xABABABAB);
        ASSERT_EQ(records, wanted) << "what follows is not written";
        std::vector<uint32_t> first(columns + 1, 0xABABABAB);
        ASSERT_EQ(DXR_SelectFirstDbRecord(&query, first.data()),
                  expected.empty() ? uint32_t{ENOENT} : 0U);
        if (!expected.empty()) {
            ASSERT_TRUE(std::equal(expected[0].begin(), expected[0].end(), first.begin()));
        } else {
            ASSERT_EQ(first[0], 0xABABABAB);
        }
        ASSERT_EQ(first[columns], 0xABABABAB);
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(Database, RefusesWhatIsNoQuery) {
    DxrHostDbQuery query = QueryOf(DXR_HOST_DB_FIC);
    uint32_t number = 77;
    std::array<uint32_t, 8> record{};
    EXPECT_EQ(DXR_SelectDbRecordCount(nullptr, &number), uint32_t{EINVAL});
    ExpectMisuse("a null pointer");
    EXPECT_EQ(DXR_SelectDbRecordCount(&query, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SelectDbRecordLimit(&query, 1, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SelectFirstDbRecord(&query, nullptr), uint32_t{EINVAL});
    for (const uint32_t table : {0U, kTables + 1, 0xFFFFFFFFU}) {
        query.table = table;
        EXPECT_EQ(DXR_SelectDbRecordCount(&query, &number), uint32_t{EINVAL});
    }
    ExpectMisuse("no table");
    query.table = DXR_HOST_DB_FIC;
    for (const uint32_t size : {0U, 16U, 19U, 24U}) {
        query.recordSize = size;
        EXPECT_EQ(DXR_SelectDbRecordLimit(&query, 1, record.data()), uint32_t{EINVAL});
    }
    ExpectMisuse("a record of another size");
    query = QueryOf(DXR_HOST_DB_FIC);
    query.match = 1U << 5;
    EXPECT_EQ(DXR_SelectFirstDbRecord(&query, record.data()), uint32_t{EINVAL});
    ExpectMisuse("a column that the table does not have");
    EXPECT_EQ(number, 77U);
    EXPECT_EQ(record[0], 0U);
}

TEST_F(Database, TakesRecordsAtAnyAddress) {
    std::array<char, 100> from{};
    std::array<char, 100> to{};
    DxrHostDbQuery query = QueryOf(DXR_HOST_DB_LPU);
    std::memcpy(from.data() + 1, &query, sizeof(query));
    EXPECT_EQ(DXR_SelectFirstDbRecord(from.data() + 1, to.data() + 3), 0U);
    DxrHostLpu lpu;
    std::memcpy(&lpu, to.data() + 3, sizeof(lpu));
    EXPECT_EQ(lpu.deviceId, 257U);
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(7, to.data() + 1), 0U);
    EXPECT_EQ(to[1], 2);
}

// --- Look-ups

TEST_F(Database, FindsChips) {
    uint32_t number = 77;
    EXPECT_EQ(DXR_GetLocalFicIdFromDb(3, 0, 1, &number), 0U);
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(3, &number), 0U);
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(4, &number), 0U);
    EXPECT_EQ(number, 2U);
    EXPECT_EQ(DXR_GetTmTypeByLocalFicIdFromDb(2, 0, &number), 0U);
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(DXR_GetChipPosByGlobalFicIdFromDb(5, &number), 0U);
    EXPECT_EQ(number, 11U);
    EXPECT_EQ(DXR_GetChipPosByLocalFicIdFromDb(4, 0, &number), 0U);
    EXPECT_EQ(number, 10U);
    number = 77;
    EXPECT_EQ(DXR_GetLocalFicIdFromDb(3, 1, 1, &number), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(8, &number), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetTmTypeByLocalFicIdFromDb(2, 2, &number), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetChipPosByGlobalFicIdFromDb(0xFFFFFFFF, &number), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetChipPosByLocalFicIdFromDb(5, 0, &number), uint32_t{ENOENT});
    EXPECT_EQ(number, 77U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(3, nullptr), uint32_t{EINVAL});
    ExpectMisuse("a null pointer");
}

TEST_F(Database, FindsTheChipsOfANodeGroup) {
    // One chip of the group once more, so that it is there twice.
    Change("INSERT INTO ng_tm VALUES (2, 1, 0, 2, 102)");
    std::array<uint32_t, 3> fics = {77, 77, 77};
    uint32_t count = 0;
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(2, fics.data(), &count, 3), 0U);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(fics, (std::array<uint32_t, 3>{2, 3, 77}));
    fics.fill(77);
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(2, fics.data(), &count, 1), uint32_t{ENOSPC});
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(fics, (std::array<uint32_t, 3>{2, 77, 77}));
    count = 0;
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(2, nullptr, &count, 0), uint32_t{ENOSPC});
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(9, fics.data(), &count, 3), uint32_t{ENOENT});
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(2, nullptr, &count, 3), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetFicIdByNodeGroupIdFromDb(2, fics.data(), nullptr, 3), uint32_t{EINVAL});
}

TEST_F(Database, FindsConfigurations) {
    DxrHostNgTmConfig config{};
    EXPECT_EQ(DXR_GetNgTmCfgFromDb(3, 0, 1, &config), 0U);
    EXPECT_EQ(RowOf(config), (Row{5, 1, 2, 103}));
    config = {};
    EXPECT_EQ(DXR_GetNgTmCfgFromDb(3, 0, 2, &config), uint32_t{ENOENT});
    EXPECT_EQ(RowOf(config), (Row{0, 0, 0, 0}));
    EXPECT_EQ(DXR_GetFeNodeGrpId(3, 0), 103U) << "the library's, from core 0";
    EXPECT_EQ(DXR_GetFeNodeGrpId(3, 1), 0U);
}

TEST_F(Database, FindsPorts) {
    const Row expected = SampleRows(DXR_HOST_DB_TM_PORT)[6];
    DxrHostTmPort port{};
    EXPECT_EQ(DXR_GetNgTmPortInfoFromDb(2, 0, 2, &port), 0U);
    EXPECT_EQ(RowOf(port), expected);
    port = {};
    EXPECT_EQ(DXR_GetNgTmPortInfoByTmPortFromDb(2, 0, 34, &port), 0U);
    EXPECT_EQ(RowOf(port), expected);
    for (const uint32_t vsq : {48U, 55U}) {
        port = {};
        EXPECT_EQ(DXR_GetNgTmPortInfoByVsqIdFromDb(2, vsq, &port), 0U);
        EXPECT_EQ(RowOf(port), expected);
    }
    port = {};
    EXPECT_EQ(DXR_GetNgTmPortInfoFromDb(2, 0, 34, &port), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetNgTmPortInfoByTmPortFromDb(2, 0, 2, &port), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetNgTmPortInfoByVsqIdFromDb(3, 48, &port), uint32_t{ENOENT}) << "of group 2";
    EXPECT_EQ(DXR_GetNgTmPortInfoByVsqIdFromDb(4, 128, &port), uint32_t{ENOENT});
    EXPECT_EQ(port.nodeGroupId, 0U);
}

TEST_F(Database, FindsServicePorts) {
    const Row expected = {3, 0, 1, 1, 2, 6};
    DxrHostServicePort port{};
    EXPECT_EQ(DXR_GetNgTmSrvPortInfoFromDb(3, 0, 1, 1, &port), 0U);
    EXPECT_EQ(RowOf(port), expected);
    port = {};
    EXPECT_EQ(DXR_GetNgTmSrvPortByVsqFromDb(79, &port), 0U);
    EXPECT_EQ(RowOf(port), expected);
    EXPECT_EQ(DXR_GetNgTmSrvPortInfoFromDb(3, 0, 1, 2, &port), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetNgTmSrvPortByVsqFromDb(128, &port), uint32_t{ENOENT});

    std::array<DxrHostServicePort, 5> ports{};
    uint32_t count = 0;
    EXPECT_EQ(DXR_GetNgTmSrvPortByFicIdFromDb(3, 1, ports.data(), 5, &count), 0U);
    ASSERT_EQ(count, 4U);
    EXPECT_EQ(RowOf(ports[0]), (Row{3, 0, 2, 0, 1, 7}));
    EXPECT_EQ(RowOf(ports[1]), (Row{3, 0, 2, 1, 2, 6}));
    EXPECT_EQ(RowOf(ports[3]), (Row{3, 0, 3, 1, 2, 6}));
    EXPECT_EQ(ports[4].nodeGroupId, 0U);
    ports.fill({});
    EXPECT_EQ(DXR_GetNgTmSrvPortByFicIdFromDb(3, 1, ports.data(), 3, &count), uint32_t{ENOSPC});
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(ports[2].portId, 3U);
    EXPECT_EQ(ports[3].portId, 0U);
    EXPECT_EQ(DXR_GetNgTmSrvPortByFicIdFromDb(3, 1, nullptr, 0, &count), uint32_t{ENOSPC});
    EXPECT_EQ(DXR_GetNgTmSrvPortByFicIdFromDb(3, 2, ports.data(), 3, &count), uint32_t{ENOENT});
    EXPECT_EQ(count, 0U);
}

TEST_F(Database, FindsTheRest) {
    EXPECT_EQ(DXR_IsMcRepByTm(), 1U);
    Change("UPDATE chassis SET multicast_by_tm = 0");
    EXPECT_EQ(DXR_IsMcRepByTm(), 0U);
    Change("DELETE FROM chassis");
    EXPECT_EQ(DXR_IsMcRepByTm(), 1U);

    DxrHostDestination destination{4, 0, 3};
    DxrHostFicPort port{};
    EXPECT_EQ(DXR_GetDestFicPort(&destination, &port), &port);
    EXPECT_EQ(RowOf(port), (Row{7, 4, 1, 9}));
    destination.portId = 4;
    EXPECT_EQ(DXR_GetDestFicPort(&destination, &port), nullptr);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetDestFicPort(nullptr, &port), nullptr);
    EXPECT_EQ(DXR_GetDestFicPort(&destination, nullptr), nullptr);
    ExpectMisuse("a null pointer");

    EXPECT_EQ(DXR_GetLpuDevId(4), 260U);
    EXPECT_EQ(DXR_GetLpuDevId(5), 0xFFFFFFFFU);
}

// --- Without a host, without a file, with another file

TEST_F(Database, AnswersFailuresWithoutAHost) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    End();
    DxrHostDbQuery query = QueryOf(DXR_HOST_DB_LPU);
    uint32_t number = 77;
    EXPECT_EQ(hooks.db.selectDbRecordCount(&query, &number), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.db.selectFirstDbRecord(&query, &number), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.db.getTmTypeByGlobalFicIdFromDb(1, &number), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.db.getFicIdByNodeGroupIdFromDb(1, nullptr, &number, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.db.isMcRepByTm(), 1U);
    EXPECT_EQ(hooks.db.getDestFicPort(&query, &query), nullptr);
    EXPECT_EQ(hooks.db.getLpuDevId(1), 0xFFFFFFFFU);
    EXPECT_EQ(number, 77U);
    EXPECT_FALSE(DxrHostOpenDatabase(nullptr, file.c_str(), nullptr, 0));
}

class DatabaseFiles : public Database {
  protected:
    // What a look-up gives in a host that finds a file with this content.
    uint32_t With(const std::string &content) {
        (void)directory.Write("chassis.db", content);
        Restart();
        return LookUp();
    }
    static uint32_t LookUp() {
        uint32_t type = 0;
        return DXR_GetTmTypeByGlobalFicIdFromDb(1, &type);
    }
};

TEST_F(DatabaseFiles, AreOpenedWhenTheyAreThere) {
    std::filesystem::rename(file, file + ".away");
    EXPECT_EQ(LookUp(), uint32_t{ENODEV});
    ExpectMisuse(file + ": unable to open database file");
    EXPECT_EQ(DXR_GetLpuDevId(4), 0xFFFFFFFFU);
    EXPECT_EQ(DXR_IsMcRepByTm(), 1U);
    EXPECT_FALSE(std::filesystem::exists(file)) << "none is made";
    std::filesystem::rename(file + ".away", file);
    EXPECT_EQ(LookUp(), 0U);
    EXPECT_TRUE(std::filesystem::remove(file));
    EXPECT_EQ(LookUp(), 0U) << "it stays open";
    std::filesystem::create_directory(file);
    Restart();
    EXPECT_EQ(LookUp(), uint32_t{ENODEV});
}

TEST_F(DatabaseFiles, MustBeOfTheSchema) {
    const std::string whole = directory.Read("chassis.db");
    EXPECT_EQ(With("this is no database, but it is long enough to look like one"),
              uint32_t{EBADMSG});
    ExpectMisuse("file is not a database");
    EXPECT_EQ(With(""), uint32_t{EBADMSG});
    ExpectMisuse("user_version is 0, not 1");
    EXPECT_EQ(With(whole.substr(0, 5000)), uint32_t{EBADMSG});
    ExpectMisuse("malformed");
    EXPECT_EQ(With(whole), 0U);
    Change("PRAGMA user_version = 2");
    Restart();
    EXPECT_EQ(LookUp(), uint32_t{EBADMSG});
    ExpectMisuse("user_version is 2, not 1");
    (void)With(whole);
    Change("ALTER TABLE fic RENAME COLUMN tm_type TO kind");
    Restart();
    EXPECT_EQ(LookUp(), uint32_t{EBADMSG});
    ExpectMisuse("no such column");
    EXPECT_EQ(With(whole), 0U);
    Change("DROP TABLE lpu");
    EXPECT_EQ(DXR_GetLpuDevId(1), 0xFFFFFFFFU) << "also while it is open";
    ExpectMisuse("no such table: lpu");
    (void)With(whole);
    Change("ALTER TABLE lpu ADD COLUMN more TEXT; CREATE TABLE more (a)");
    EXPECT_EQ(DXR_GetLpuDevId(1), 257U);
    Restart();
    EXPECT_EQ(DXR_GetLpuDevId(1), 257U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(DatabaseFiles, HoldNumbersOf32Bits) {
    Change("DROP TABLE lpu; CREATE TABLE lpu (slot, device_id)");
    const Sqlite other(file);
    DxrHostDbQuery query = QueryOf(DXR_HOST_DB_LPU);
    for (const char *const value :
         {"-1", "4294967296", "9223372036854775807", "'1'", "1.5", "NULL", "x'01'", "''"}) {
        ASSERT_TRUE(
            other.Run("DELETE FROM lpu; INSERT INTO lpu VALUES (1, " + std::string(value) + ")"));
        reports.clear();
        EXPECT_EQ(DXR_GetLpuDevId(1), 0xFFFFFFFFU) << value;
        std::array<uint32_t, 2> record{};
        EXPECT_EQ(DXR_SelectFirstDbRecord(&query, record.data()), uint32_t{EBADMSG}) << value;
        EXPECT_EQ(record[0], 0U) << value;
    }
    ASSERT_TRUE(other.Run("DELETE FROM lpu; INSERT INTO lpu VALUES (4294967295, 4294967294)"));
    EXPECT_EQ(DXR_GetLpuDevId(0xFFFFFFFF), 0xFFFFFFFEU);
    Restart();
    ASSERT_TRUE(other.Run("UPDATE lpu SET device_id = -1"));
    EXPECT_EQ(DXR_GetLpuDevId(0xFFFFFFFF), 0xFFFFFFFFU);
    ExpectMisuse("a value is no whole number from 0 to 4294967295");
}

TEST_F(DatabaseFiles, AreNotWaitedForWhenTheyAreLocked) {
    const Sqlite other(file);
    EXPECT_EQ(LookUp(), 0U);
    ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE"));
    EXPECT_EQ(LookUp(), uint32_t{EBUSY});
    ASSERT_TRUE(other.Run("UPDATE fic SET tm_type = 9; COMMIT"));
    uint32_t type = 0;
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(1, &type), 0U);
    EXPECT_EQ(type, 9U) << "what was committed since is seen";
    ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE"));
    Restart();
    EXPECT_EQ(LookUp(), uint32_t{EBUSY}) << "it cannot be opened either";
    ASSERT_TRUE(other.Run("COMMIT"));
    EXPECT_EQ(LookUp(), 0U);
    ASSERT_TRUE(other.Run("BEGIN IMMEDIATE; UPDATE fic SET tm_type = 10"));
    EXPECT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(1, &type), 0U);
    EXPECT_EQ(type, 9U) << "what is not committed is not seen";
    ASSERT_TRUE(other.Run("COMMIT")) << "no look-up holds it";
    EXPECT_TRUE(reports.empty());
}

TEST_F(DatabaseFiles, AreTakenFromTheOptions) {
    std::filesystem::rename(file, directory.Path("other.db"));
    End();
    const std::string other = directory.Path("other.db");
    options.database = other.c_str();
    Begin();
    EXPECT_EQ(LookUp(), 0U);
}

TEST_F(DatabaseFiles, CanBeExchanged) {
    const std::string other = directory.Path("other.db");
    ASSERT_TRUE(DxrHostInitDatabase(host, other.c_str(), nullptr, 0));
    ASSERT_TRUE(Sqlite(other).Run("UPDATE lpu SET device_id = 5"));
    std::array<char, 200> error{};
    error.fill('#');
    EXPECT_EQ(DXR_GetLpuDevId(1), 257U);
    EXPECT_TRUE(DxrHostOpenDatabase(nullptr, other.c_str(), error.data(), error.size()));
    EXPECT_STREQ(error.data(), "");
    EXPECT_EQ(DXR_GetLpuDevId(1), 5U);
    const std::string bad = directory.Write("bad.db", "no database at all, is it not clear?");
    EXPECT_FALSE(DxrHostOpenDatabase(host, bad.c_str(), error.data(), error.size()));
    EXPECT_EQ(error.data(), bad + ": file is not a database");
    EXPECT_EQ(DXR_GetLpuDevId(1), 5U) << "it keeps what it had";
    EXPECT_FALSE(DxrHostOpenDatabase(host, bad.c_str(), error.data(), 5));
    EXPECT_EQ(error.data(), bad.substr(0, 4));
    EXPECT_FALSE(DxrHostOpenDatabase(host, nullptr, error.data(), error.size()));
    EXPECT_STREQ(error.data(), "no file was given");
    DxrHostFailNth(host, "database.open", 1, false);
    EXPECT_FALSE(DxrHostOpenDatabase(host, file.c_str(), error.data(), error.size()));
    EXPECT_EQ(error.data(), file + ": Input/output error");
}

TEST_F(DatabaseFiles, FailAtEachPoint) {
    for (const char *const point : {"database.open", "database.prepare", "database.step"}) {
        Restart();
        uint64_t failed = 0;
        for (uint64_t n = 1;; ++n) {
            DxrHostFailNth(host, point, n, false);
            const uint32_t result = LookUp();
            if (DxrHostGetFailures(host, point) == 0) {
                EXPECT_EQ(result, 0U);
                break;
            }
            EXPECT_EQ(result, uint32_t{EIO}) << point << " " << n;
            ++failed;
        }
        DxrHostFailNth(host, point, 0, false);
        EXPECT_GE(failed, 1U) << point;
        EXPECT_TRUE(reports.empty());
    }
    // A selection prepares its own statement once.
    DxrHostDbQuery query = QueryOf(DXR_HOST_DB_LPU);
    uint32_t count = 0;
    DxrHostFailNth(host, "database.prepare", 1, false);
    EXPECT_EQ(DXR_SelectDbRecordCount(&query, &count), uint32_t{EIO});
    EXPECT_EQ(DXR_SelectDbRecordCount(&query, &count), 0U);
    DxrHostFailNth(host, "database.prepare", 1, true);
    EXPECT_EQ(DXR_SelectDbRecordCount(&query, &count), 0U);
    DxrHostFailNth(host, "database.prepare", 0, false);
    DxrHostFailNth(host, "database.step", 4, false);
    EXPECT_EQ(DXR_SelectDbRecord(&query, &count), nullptr) << "after the second of four rows";
}

TEST_F(Database, AnswersManyThreads) {
    std::atomic<uint32_t> wrong{0};
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&wrong, thread] {
            for (uint32_t i = 0; i < 500; ++i) {
                const uint32_t fic = (i + thread) % 8;
                uint32_t type = 0;
                wrong += DXR_GetTmTypeByGlobalFicIdFromDb(fic, &type) != 0 ||
                         type != (fic < 4 ? 1U : 2U);
                DxrHostDbQuery query = QueryOf(DXR_HOST_DB_VSQ);
                query.match = 1U << (i % 5);
                query.values[i % 5] = 2;
                uint32_t count = 0;
                wrong += DXR_SelectDbRecordCount(&query, &count) != 0 ||
                         count != std::array<uint32_t, 5>{1, 32, 0, 32, 0}[i % 5];
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong.load(), 0U);
}

// Names that SQLite would take for something else are names of files, too.
TEST_F(DatabaseFiles, HaveAnyNameButNone) {
    const std::string before = std::filesystem::current_path().string();
    std::filesystem::current_path(directory.Path());
    for (const char *const name : {":memory:", "file:other?mode=memory", "chassis.db"}) {
        std::array<char, 256> error{};
        const bool isKnown = std::string(name) == "chassis.db";
        EXPECT_EQ(DxrHostOpenDatabase(host, name, error.data(), error.size()), isKnown);
        const std::string why = isKnown ? "" : ": unable to open database file";
        EXPECT_EQ(error.data(), isKnown ? "" : name + why);
        std::filesystem::copy_file("chassis.db", std::string(name) + (isKnown ? ".copy" : ""));
        EXPECT_TRUE(DxrHostOpenDatabase(host, name, nullptr, 0));
        EXPECT_EQ(LookUp(), 0U) << name;
    }
    std::array<char, 256> error{};
    EXPECT_FALSE(DxrHostOpenDatabase(host, "", error.data(), error.size()));
    EXPECT_STREQ(error.data(), "the path of the database is empty");
    EXPECT_FALSE(DxrHostOpenDatabase(host, nullptr, error.data(), error.size()));
    EXPECT_STREQ(error.data(), "no file was given");
    EXPECT_EQ(LookUp(), 0U) << "the one before stays open";
    options.database = "";
    Restart();
    EXPECT_EQ(LookUp(), uint32_t{EINVAL});
    ExpectMisuse("the path of the database is empty");
    options.database = nullptr;
    std::filesystem::current_path(before);
}

}  // namespace
