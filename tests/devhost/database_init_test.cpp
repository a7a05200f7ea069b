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
          "INSERT INTO service_port VALUES (1, 0, 9, 1, 1, 1)",
          "INSERT INTO vsq VALUES (999, 1, 0, 1, 9)"}) {
        EXPECT_FALSE(database.Run(refused)) << refused;
    }
    EXPECT_TRUE(database.Run("INSERT INTO vsq VALUES (4294967295, 1, 0, 1, 1)"));
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

// --- Killed at any moment

// DXR_TEST_KILLS sets how many times; 50 without it.
int Kills() {
    const char *const wanted = std::getenv("DXR_TEST_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 50;
}

// A number that a child process and its parent see.
class SharedNumber {
  public:
    SharedNumber()
        : page_(mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                     -1, 0)) {
        EXPECT_NE(page_, MAP_FAILED);
    }
    ~SharedNumber() { (void)munmap(page_, sizeof(uint32_t)); }
    SharedNumber(const SharedNumber &) = delete;
    SharedNumber &operator=(const SharedNumber &) = delete;
    SharedNumber(SharedNumber &&) = delete;
    SharedNumber &operator=(SharedNumber &&) = delete;

    volatile uint32_t &operator*() const { return *static_cast<volatile uint32_t *>(page_); }

  private:
    void *const page_;
};

// Lets a child work from the time it has done something on, then kills it.
template <typename Work>
void WorkAndKill(const SharedNumber &done, std::mt19937 &random, Work work) {
    const uint32_t before = *done;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        work();
        _exit(1);
    }
    while (*done == before && waitpid(child, nullptr, WNOHANG) == 0) {
        (void)usleep(100);
    }
    ASSERT_NE(*done, before) << "the writer has failed";
    (void)usleep(static_cast<useconds_t>(random() % 3000));
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(DatabaseInit, AppearsWholeOrNotAtAllWhenItIsKilled) {
    std::mt19937 random(7);
    const SharedNumber made;
    const auto pathOf = [this](uint32_t number) {
        return directory.Path("chassis" + std::to_string(number) + ".db");
    };
    for (int round = 0; round < Kills() && !HasFatalFailure(); ++round) {
        const uint32_t before = *made;
        WorkAndKill(made, random, [&] {
            while (DxrHostInitDatabase(nullptr, pathOf(*made).c_str(), nullptr, 0)) {
                *made = *made + 1;
            }
        });
        // The last one may be there already, though not counted.
        const uint32_t last = *made;
        for (uint32_t number = before; number <= last; ++number) {
            const bool isThere = std::filesystem::exists(pathOf(number));
            ASSERT_TRUE(isThere || number == last);
            if (!isThere) {
                continue;
            }
            ASSERT_TRUE(DxrHostOpenDatabase(host, pathOf(number).c_str(), nullptr, 0));
            for (uint32_t table = 1; table <= 7; ++table) {
                const auto rows = dxrtest::SampleRows(table);
                DxrHostDbQuery query{table, static_cast<uint32_t>(rows[0].size() * 4), 0, {}};
                uint32_t count = 0;
                ASSERT_EQ(DXR_SelectDbRecordCount(&query, &count), 0U);
                ASSERT_EQ(count, rows.size());
            }
            std::filesystem::remove(pathOf(number));
        }
    }
}

// All rows change in each of the writer's transactions.
TEST_F(DatabaseInit, IsReadInItsOldOrItsNewStateWhenItsWriterIsKilled) {
    MakeSample();
    std::mt19937 random(8);
    const SharedNumber committed;
    for (int round = 0; round < Kills() && !HasFatalFailure(); ++round) {
        WorkAndKill(committed, random, [&] {
            const Sqlite writer(file);
            for (uint32_t number = *committed + 1;; ++number) {
                const std::string value = std::to_string(number);
                if (!writer.Run("BEGIN; UPDATE fic SET tm_type = " + value +
                                "; UPDATE vsq SET vsq_id = vsq_id + 1000 * (1 - 2 * (vsq_id >= "
                                "1000)); UPDATE lpu SET device_id = " +
                                value + "; COMMIT")) {
                    return;
                }
                *committed = number;
            }
        });
        Restart();
        const uint32_t number = DXR_GetLpuDevId(1);
        ASSERT_GE(number, *committed) << "what was committed is there";
        ASSERT_LE(number, *committed + 1);
        for (uint32_t slot = 1; slot <= 4; ++slot) {
            ASSERT_EQ(DXR_GetLpuDevId(slot), number);
        }
        for (uint32_t fic = 0; fic < 8; ++fic) {
            uint32_t type = 0;
            ASSERT_EQ(DXR_GetTmTypeByGlobalFicIdFromDb(fic, &type), 0U);
            ASSERT_EQ(type, number);
        }
        *committed = number;
        ASSERT_TRUE(reports.empty());
    }
}

}  // namespace
