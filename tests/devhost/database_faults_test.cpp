// Databases whose memory and files fail, one step after the other, and whose writers are killed.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include "devhost/database_fixture.h"
#include "devhost/file_calls.h"
#include "devhost/killed.h"
#include "devhost/sqlite_faults.h"

namespace {

using dxrtest::FileCalls;
using dxrtest::SqliteFaults;

class DatabaseFaults : public dxrtest::DatabaseHost<DXR_HOST_CLOCK_STEPPED>,
                       public testing::WithParamInterface<SqliteFaults::Of> {
  protected:
    DatabaseFaults() {
        MakeSample();
        memory_ = sqlite3_memory_used();
    }
    ~DatabaseFaults() override {
        End();
        EXPECT_EQ(sqlite3_memory_used(), memory_) << "SQLite's memory is left behind";
    }

    // What a failure of that kind is told as.
    static uint32_t Error() { return GetParam() == SqliteFaults::Of::kMemory ? ENOMEM : EIO; }

    // Lets steps of `work`, which gives 0 or an error, fail, until it has run through. Returns how
    // many there are.
    static uint64_t FailEach(const std::function<void()> &before,
                             const std::function<uint32_t()> &work) {
        const uint64_t failed = FailEach(before, work, true);
        return std::min(failed, FailEach(before, work, false));
    }

    static uint64_t FailEach(const std::function<void()> &before,
                             const std::function<uint32_t()> &work, bool fromThenOn) {
        const uint64_t stride = Stride();
        for (uint64_t n = 1 + (fromThenOn ? stride / 2 : 0);; n += stride) {
            before();
            SqliteFaults::FailNth(GetParam(), n, fromThenOn);
            const uint32_t result = work();
            if (!SqliteFaults::Stop(GetParam())) {
                EXPECT_EQ(result, 0U);
                return n - 1;
            }
            // SQLite can do without some of its memory.
            EXPECT_TRUE(result == 0 || result == Error()) << n << ": " << result;
            EXPECT_EQ(work(), 0U) << n << ": what failed once can be done again";
        }
    }

    // DXR_TEST_STRIDE: one in so many allocations fails, 1 for all; 31 without it. Of the steps
    // with files all do.
    static uint64_t Stride() {
        const char *const wanted = std::getenv("DXR_TEST_STRIDE");
        if (GetParam() == SqliteFaults::Of::kFiles) {
            return 1;
        }
        return wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 31;
    }

    static uint32_t FindType() {
        uint32_t type = 77;
        const uint32_t result = DXR_GetTmTypeByGlobalFicIdFromDb(4, &type);
        EXPECT_EQ(type, result == 0 ? 2U : 77U);
        return result;
    }

    static uint32_t FindServicePorts() {
        std::array<DxrHostServicePort, 4> ports{};
        uint32_t count = 0;
        const uint32_t result =
            DXR_GetNgTmSrvPortByFicIdFromDb(3, 1, ports.data(), ports.size(), &count);
        EXPECT_EQ(count, result == 0 ? 4U : 0U);
        return result;
    }

  private:
    sqlite3_int64 memory_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, DatabaseFaults,
                         testing::Values(SqliteFaults::Of::kMemory, SqliteFaults::Of::kFiles),
                         [](const auto &of) { return of.index == 0 ? "Memory" : "Files"; });

TEST_P(DatabaseFaults, NoStepOfTheFirstLookUpIsMissed) {
    EXPECT_GE(FailEach([this] { Restart(); }, FindType), 5U);
    EXPECT_TRUE(reports.empty());
}

TEST_P(DatabaseFaults, NoStepOfALookUpIsMissed) {
    ASSERT_EQ(FindType(), 0U);
    const uint64_t failed = FailEach([] {}, FindServicePorts);
    EXPECT_TRUE(GetParam() == SqliteFaults::Of::kMemory || failed >= 2) << failed;
    EXPECT_TRUE(reports.empty());
}

TEST_P(DatabaseFaults, NoStepOfASelectionIsMissed) {
    DxrHostDbQuery query{DXR_HOST_DB_VSQ, sizeof(DxrHostVsq), 0, {}};
    EXPECT_GE(FailEach([this] { Restart(); },
                       [&query] {
                           uint32_t count = 0;
                           return DXR_SelectDbRecordCount(&query, &count);
                       }),
              5U);
    EXPECT_GE(FailEach([this] { Restart(); },
                       [&query] {
                           std::array<DxrHostVsq, 128> records{};
                           const uint32_t result =
                               DXR_SelectDbRecordLimit(&query, 128, records.data());
                           EXPECT_TRUE(result != 0 || records[127].nodeGroupId == 4);
                           return result;
                       }),
              5U);
}

TEST_P(DatabaseFaults, NoStepOfOpeningIsMissed) {
    EXPECT_GE(
        FailEach(
            [] {},
            [this] { return DxrHostOpenDatabase(host, file.c_str(), nullptr, 0) ? 0U : Error(); }),
        5U);
}

TEST_P(DatabaseFaults, NewOnesAppearWholeOrNotAtAll) {
    const std::string other = directory.Path("other.db");
    const auto init = [&] {
        std::array<char, 256> error{};
        const bool isMade = DxrHostInitDatabase(host, other.c_str(), error.data(), error.size());
        EXPECT_TRUE(isMade || std::string(error.data()) == "not enough memory") << error.data();
        EXPECT_EQ(std::filesystem::exists(other), isMade);
        const bool isWhole = !isMade || directory.Read("other.db") == directory.Read("chassis.db");
        EXPECT_TRUE(isWhole);
        (void)std::filesystem::remove(other);
        return isMade ? 0U : uint32_t{ENOMEM};
    };
    const uint64_t failed = FailEach([] {}, init);
    EXPECT_TRUE(GetParam() == SqliteFaults::Of::kFiles || failed > 100) << failed;
}

// --- Calls of the host's own that fail

class DatabaseFileFaults : public dxrtest::DatabaseHost<DXR_HOST_CLOCK_STEPPED> {};

TEST_F(DatabaseFileFaults, NewOnesAppearWholeOrNotAtAll) {
    MakeSample();
    const std::string whole = directory.Read("chassis.db");
    const std::string other = directory.Path("other.db");
    const size_t descriptors = dxrtest::Descriptors();
    for (const FileCalls::How how : FileCalls::kAll) {
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n) {
            // SQLite's own part, one call a byte, is a long one.
            ASSERT_LT(n, 100000U);
            std::array<char, 256> error{};
            FileCalls::Begin(n, how);
            const bool isMade =
                DxrHostInitDatabase(nullptr, other.c_str(), error.data(), error.size());
            hasFailed = FileCalls::End();
            ASSERT_EQ(std::filesystem::exists(other), isMade) << n << ": " << error.data();
            ASSERT_TRUE(!isMade || directory.Read("other.db") == whole) << n;
            ASSERT_TRUE(isMade || !FileCalls::IsPart(how)) << n << ": " << error.data();
            ASSERT_EQ(isMade, error[0] == '\0');
            ASSERT_EQ(dxrtest::Descriptors(), descriptors);
            (void)std::filesystem::remove(other);
        }
    }
    size_t files = 0;
    for ([[maybe_unused]] const auto &each :
         std::filesystem::directory_iterator(directory.Path())) {
        ++files;
    }
    EXPECT_EQ(files, 1U) << "nothing half made is left";
}

// --- Killed at any moment

// Somebody else's writer, in the middle of a transaction: what it had not committed is taken back.
TEST(DatabaseKilled, ShowsWhatWasCommitted) {
    const dxrtest::TemporaryDirectory directory;
    const std::string workPath = directory.Path();
    const std::string file = directory.Path("chassis.db");
    ASSERT_TRUE(DxrHostInitDatabase(nullptr, file.c_str(), nullptr, 0));
    // More pages than the writer's memory holds: some reach the file before the rest is known.
    ASSERT_TRUE(
        dxrtest::Sqlite(file).Run("CREATE TABLE filler (number INTEGER, bytes BLOB);"
                                  "WITH RECURSIVE rows (n) AS (SELECT 1 UNION ALL "
                                  "SELECT n + 1 FROM rows WHERE n < 30) "
                                  "INSERT INTO filler SELECT n, randomblob(2000) FROM rows"));
    const auto begin = [&] {
        const auto writer = std::make_shared<dxrtest::Sqlite>(file);
        (void)writer->Run("PRAGMA cache_size = 3");
        return [writer](uint32_t number) {
            const std::string text = std::to_string(number);
            return writer->Run("BEGIN; UPDATE tm_port SET speed_mbps = " + text +
                               "; UPDATE filler SET number = " + text +
                               "; UPDATE service_port SET priority = " + text + "; COMMIT");
        };
    };
    dxrtest::KillAtAnyMoment(begin, [&] {
        DxrHost *const host = dxrtest::HostAt(workPath.c_str());
        std::array<DxrHostTmPort, 16> ports{};
        std::array<DxrHostServicePort, 32> services{};
        DxrHostDbQuery query{DXR_HOST_DB_TM_PORT, sizeof(DxrHostTmPort), 0, {}};
        EXPECT_EQ(DXR_SelectDbRecordLimit(&query, ports.size(), ports.data()), 0U);
        query = {DXR_HOST_DB_SERVICE_PORT, sizeof(DxrHostServicePort), 0, {}};
        EXPECT_EQ(DXR_SelectDbRecordLimit(&query, services.size(), services.data()), 0U);
        const uint32_t number = ports[0].speedMbps;
        for (const DxrHostTmPort &port : ports) {
            EXPECT_EQ(port.speedMbps, number);
        }
        for (const DxrHostServicePort &service : services) {
            EXPECT_EQ(service.priority, number);
        }
        EXPECT_EQ(DxrHostGetReportCount(host), 0U);
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
        return number;
    });
}

// A new one is there whole or not at all.
TEST(DatabaseKilled, NewOnesAppearWholeOrNotAtAll) {
    const dxrtest::TemporaryDirectory directory;
    const auto fileOf = [&](uint32_t number) { return directory.Path(std::to_string(number)); };
    ASSERT_TRUE(DxrHostInitDatabase(nullptr, fileOf(0).c_str(), nullptr, 0));
    const std::string whole = directory.Read("0");
    const auto begin = [&] {
        return [&](uint32_t number) {
            std::error_code error;
            const bool isMade = DxrHostInitDatabase(nullptr, fileOf(number).c_str(), nullptr, 0);
            (void)std::filesystem::remove(fileOf(number - 2), error);
            return isMade;
        };
    };
    uint32_t last = 0;
    dxrtest::KillAtAnyMoment(begin, [&] {
        uint32_t next = last;
        for (const auto &each : std::filesystem::directory_iterator(directory.Path())) {
            const std::string name = each.path().filename().string();
            const bool isStarted = name.find(".new.") != std::string::npos;
            EXPECT_TRUE(isStarted || directory.Read(name) == whole) << name;
            next = isStarted ? next : std::max(next, static_cast<uint32_t>(std::stoul(name)));
            if (isStarted) {
                (void)std::filesystem::remove(each.path());
            }
        }
        return last = next;
    });
}

}  // namespace
