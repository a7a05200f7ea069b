// New chassis databases, and what is left of databases whose writer was killed.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <barrier>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "devhost/database_fixture.h"

namespace {

using dxrtest::Sqlite;

class DatabaseInit : public dxrtest::DatabaseHost<DXR_HOST_CLOCK_STEPPED> {
  protected:
    std::string WhyNot(const std::string &path) {
        std::array<char, 256> error{};
        error.fill('#');
        const bool isMade = DxrHostInitDatabase(host, path.c_str(), error.data(), error.size());
        EXPECT_EQ(isMade, error[0] == '\0');
        return error.data();
    }

    size_t Files() const {
        return static_cast<size_t>(
            std::distance(std::filesystem::directory_iterator(workPath), {}));
    }
};

TEST_F(DatabaseInit, HasTablesForNumbersOf32Bits) {
    EXPECT_EQ(WhyNot(file), "");
    const Sqlite made(file);
    using Column = std::pair<std::string, std::string>;
    std::vector<Column> columns;
    const auto keep = [](void *user, int, char **values, char **) {
        static_cast<std::vector<Column> *>(user)->emplace_back(values[0], values[1]);
        return 0;
    };
    // Those that refer to others may be what these are.
    ASSERT_EQ(sqlite3_exec(made.Get(),
                           "SELECT m.name, c.name FROM sqlite_master m, pragma_table_info(m.name) c"
                           " WHERE m.type = 'table' AND m.name <> 'chassis' AND c.name NOT IN "
                           "(SELECT \"from\" FROM pragma_foreign_key_list(m.name))",
                           keep, &columns, nullptr),
              SQLITE_OK);
    EXPECT_GT(columns.size(), 15U);
    for (const auto &[table, column] : columns) {
        const auto change = [&made, &table = table, &column = column](const char *value) {
            EXPECT_TRUE(made.Run("PRAGMA foreign_keys = OFF; BEGIN"));
            // As many as are there must not become one.
            EXPECT_TRUE(made.Run("DELETE FROM " + table + " WHERE (" + column +
                                 ") NOT IN (SELECT " + column + " FROM " + table + " LIMIT 1)"));
            const bool isDone =
                made.Run("UPDATE OR REPLACE " + table + " SET " + column + " = " + value);
            EXPECT_TRUE(made.Run("ROLLBACK"));
            return isDone;
        };
        EXPECT_TRUE(change("0")) << table << '.' << column;
        EXPECT_TRUE(change("4294967295")) << table << '.' << column;
        EXPECT_FALSE(change("4294967296")) << table << '.' << column;
        EXPECT_FALSE(change("-1")) << table << '.' << column;
    }
}

TEST_F(DatabaseInit, OverwritesNothing) {
    EXPECT_EQ(WhyNot(file), "");
    EXPECT_EQ(DXR_GetLpuDevId(1), 257U);
    const std::string before = directory.Read("chassis.db");
    EXPECT_EQ(WhyNot(file), file + ": exists already");
    EXPECT_EQ(directory.Read("chassis.db"), before);
    const std::string text = directory.Write("text", "x");
    EXPECT_EQ(WhyNot(text), text + ": exists already");
    EXPECT_EQ(directory.Read("text"), "x");
    EXPECT_EQ(WhyNot(directory.Path("no/such")),
              directory.Path("no/such") + ": cannot be written: No such file or directory");
    EXPECT_EQ(WhyNot(""), "no file was given");
    EXPECT_FALSE(DxrHostInitDatabase(host, nullptr, nullptr, 0));
    EXPECT_EQ(Files(), 2U);
}

TEST_F(DatabaseInit, KeepsWhatItsTablesPromise) {
    EXPECT_EQ(WhyNot(file), "");
    const Sqlite database(file);
    EXPECT_TRUE(database.Run("PRAGMA foreign_keys = ON"));
    for (const char *const refused :
         {"INSERT INTO chassis VALUES (2, 1)", "INSERT INTO lpu VALUES (9, -1)",
          "INSERT INTO lpu VALUES (9, 4294967296)", "INSERT INTO lpu VALUES (9, 'a')",
          "INSERT INTO fic VALUES (9, 1, 1, 1, 1)", "INSERT INTO fic VALUES (9, 9, 1, 1, 1)",
          "INSERT INTO ng_tm VALUES (1, 0, 5, 99, 1)",
          "INSERT INTO tm_port VALUES (1, 0, 9, 32, 0, 1, 1)",
          "INSERT INTO tm_port VALUES (1, 0, 9, 99, 9, 1, 1)",
          "INSERT INTO tm_port VALUES (1, 0, 9, 99, 0, 1, 4294967296)",
          "INSERT INTO service_port VALUES (1, 0, 9, 1, 1, 1)",
          "INSERT INTO vsq VALUES (999, 1, 0, 1, 9)"}) {
        EXPECT_FALSE(database.Run(refused)) << refused;
    }
    EXPECT_TRUE(database.Run("INSERT INTO vsq VALUES (4294967295, 1, 0, 1, 1)"));
    EXPECT_TRUE(database.Run("INSERT INTO tm_port VALUES (1, 0, 9, 99, 0, 1, 4294967295)"));
}

TEST_F(DatabaseInit, LeavesNothingWhenAStepFails) {
    for (const char *const point :
         {"database.create", "database.write", "database.sync", "database.link"}) {
        DxrHostFailNth(host, point, 1, false);
        EXPECT_EQ(WhyNot(file), file + ": cannot be written: Input/output error") << point;
        EXPECT_EQ(DxrHostGetFailures(host, point), 1U) << point;
        EXPECT_EQ(Files(), 0U) << point;
    }
    // A disk that takes no more.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    const rlimit narrow = {10000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &narrow), 0);
    EXPECT_EQ(WhyNot(file), file + ": cannot be written: File too large");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(Files(), 0U);
    EXPECT_EQ(WhyNot(file), "");
    EXPECT_EQ(Files(), 1U);
}

// --- Many threads at once

TEST_F(DatabaseInit, IsMadeByOneOfManyThreads) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<uint32_t> made{0};
        std::array<std::string, 4> why;
        std::barrier begin(static_cast<std::ptrdiff_t>(why.size()));
        std::vector<std::thread> threads;
        for (std::string &mine : why) {
            threads.emplace_back([this, &mine, &made, &begin] {
                begin.arrive_and_wait();
                mine = WhyNot(file);
                made += mine.empty() ? 1 : 0;
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        EXPECT_EQ(made.load(), 1U) << "round " << round;
        for (const std::string &mine : why) {
            EXPECT_TRUE(mine.empty() || mine == file + ": exists already") << mine;
        }
        EXPECT_TRUE(DxrHostOpenDatabase(host, file.c_str(), nullptr, 0));
        EXPECT_EQ(Files(), 1U);
        ASSERT_TRUE(std::filesystem::remove(file));
    }
}

}  // namespace
