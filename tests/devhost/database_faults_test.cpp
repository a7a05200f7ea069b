// Databases whose memory and files fail, one step after the other.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "devhost/database_fixture.h"
#include "devhost/sqlite_faults.h"

namespace {

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
        const uint64_t stride = Stride();
        for (uint64_t n = 1;; n += stride) {
            before();
            SqliteFaults::FailNth(GetParam(), n);
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

    // DXR_TEST_STRIDE: one in so many allocations fails, 1 for all; 17 without it. Of the steps
    // with files all do.
    static uint64_t Stride() {
        const char *const wanted = std::getenv("DXR_TEST_STRIDE");
        if (GetParam() == SqliteFaults::Of::kFiles) {
            return 1;
        }
        return wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 17;
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

}  // namespace
