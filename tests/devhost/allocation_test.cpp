// Allocations of the host's own fail, once and with all after them: slots give failure values, no
// exception comes out, nothing leaks. DXR_TEST_STRIDE: one in so many fails, 1 for all.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "dxr_devhost.h"
#include "support/new_watch.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::NewWatch;
using dxrtest::Outcome;
using dxrtest::TemporaryDirectory;

// What a module does with a host from its making to its end; asks for nothing to succeed.
class Module {
  public:
    explicit Module(const TemporaryDirectory &directory)
        : work_(directory.Path()),
          file_(directory.Write("data", "0123")),
          board_(directory.Write("board.json", R"({"hardIds": [{"unit": 1, "id": 2}]})")),
          options_(directory.Write("host.json", R"({"clock": "stepped"})")) {
        EXPECT_TRUE(DxrHostInitDatabase(nullptr, directory.Path("chassis.db").c_str(), nullptr, 0));
        std::filesystem::create_directory(directory.Path("conf"));
        (void)directory.Write("conf/defaults.json",
                              R"({"memParams": [{"number": 1, "values": [1, 2]}]})");
        (void)directory.Write("conf/tm_0x00000001_0x00000002.json",
                              R"({"boardData": [{"item": 1, "value": 2}]})");
        (void)directory.Write("conf/broken_0x00000001_0x00000002.json", R"({"boardData": [{]})");
    }

    void Run(void (Module::*use)(DxrHost *)) {
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.clock = use == &Module::UseTasks ? DXR_HOST_CLOCK_VIRTUAL : DXR_HOST_CLOCK_STEPPED;
        options.workPath = work_.c_str();
        options.pluginPath = work_.c_str();
        options.printLevel = 0;
        DxrHost *const host = DxrHostCreate(&options);
        if (host == nullptr) {
            return;
        }
        DxrHostRegister(host);
        DxrHostSetDiagFile(host, nullptr);
        (this->*use)(host);
        End(host);
    }

    // Ends the hosts that could not be ended for want of memory.
    void EndLeft() {
        for (; left_ > 0; --left_) {
            EXPECT_NE(DxrHostDestroy(leftHosts_[left_ - 1], nullptr), UINT32_MAX);
        }
    }

    void UsePlatform(DxrHost *host) {
        UseMemory();
        UseLists();
        UseLocks();
        UseFiles();
        UseTimers(host);
        UseFilters();
        UseModules();
        UseHashTables();
        UseNetworkProcessor(host);
        UseMonitoring(host);
        UseDescriptions(host);
        UseMessages(host);
        UseTables(host);
        Steer(host);
    }

    // Tasks that wait for each other and for timers, until all wait.
    void UseTasks(DxrHost *host) {
        const auto wait = [](void *mutex) {
            uint32_t events = 0;
            DXR_LockMutex(mutex);
            DXR_DelayTask(3);
            DXR_UnlockMutex(mutex);
            DXR_ReadEvent(1, 0, 5, &events);
            DXR_ReadEvent(2, 0, DXR_HOST_FOREVER, &events);
        };
        DxrHostTimer timer{sizeof(DxrHostTimer), 2, 1, 0, [](void *) {}, nullptr, nullptr};
        void *mutex = nullptr;
        std::array<uint32_t, 3> ids{};
        DXR_InitMutex(&mutex, nullptr);
        DXR_StartTimer(&timer);
        for (uint32_t &id : ids) {
            DXR_CreateTask(nullptr, reinterpret_cast<void *>(+wait), mutex, 10, nullptr, 0, &id);
        }
        DXR_DelayTask(4);
        DXR_WriteEvent(ids[0], 3);
        (void)DxrHostJoinTask(host, ids[0], 50);
        DXR_StopTimer(&timer);
        (void)DxrHostJoinTask(host, ids[1], DXR_HOST_FOREVER);
        DXR_DestroyMutex(mutex);
    }

    void UseDatabase(DxrHost *host) {
        std::array<char, 64> error{};
        DxrHostDbQuery query{DXR_HOST_DB_FIC, sizeof(DxrHostFic), 1, {3}};
        uint32_t count = 0;
        (void)DXR_GetTmTypeByGlobalFicIdFromDb(3, &count);
        DXR_Free(DXR_SelectDbRecord(&query, &count), "module.c", 7);
        (void)DxrHostOpenDatabase(host, file_.c_str(), error.data(), error.size());
    }

    void MakeDatabase(DxrHost *host) {
        std::array<char, 64> error{};
        (void)DxrHostInitDatabase(host, file_.c_str(), error.data(), error.size());
    }

    void UseJson(DxrHost *host) {
        std::array<char, 64> error{};
        std::array<char, 100> text{};
        (void)DxrHostLoadBoard(host, board_.c_str(), error.data(), error.size());
        (void)DxrHostLoadBoard(host, options_.c_str(), error.data(), error.size());
        (void)DxrHostLoadBoard(host, file_.c_str(), error.data(), error.size());
        DxrHost *const another =
            DxrHostCreateFromFile(options_.c_str(), error.data(), error.size());
        End(another);
        (void)DxrHostCreateFromFile(board_.c_str(), error.data(), error.size());
        text = {"tm"};
        DXR_CFG_ReadBoardData(text.data(), 1, 2);
        (void)DXR_CFG_GetMemParam(1);
        (void)DXR_CFG_DisplayBoardData(text.data(), text.size());
        text = {"broken"};
        DXR_CFG_ReadBoardData(text.data(), 1, 2);
        (void)DXR_CFG_GetMemParam(1);
    }

  private:
    void End(DxrHost *host) {
        if (DxrHostDestroy(host, nullptr) == UINT32_MAX) {
            leftHosts_.at(left_++) = host;
        }
    }

    static void UseMemory() {
        void *const small = DXR_Malloc(9, 40, "module.c", 1);
        void *const large = DXR_Malloc(9, 40000, "module.c", 2);
        DXR_Free(small, "module.c", 3);
        DXR_Free(small, "module.c", 4);
        DXR_Free(large, "module.c", 5);
        (void)DXR_Malloc(9, 3, "module.c", 6);
    }

    static void UseLists() {
        int value = 0;
        void *const list = DXR_CreateSll();
        DXR_AddSll(list, &value, 0);
        DXR_AddSll(list, &value, 0);
        DXR_RemoveSll(list, &value);
        (void)DXR_SslGetNodeData(&value);
        DXR_DestroySll(list);
        (void)DXR_CreateSll();
    }

    static void UseLocks() {
        std::array<void *, 2> mutexes{};
        for (void *&mutex : mutexes) {
            DXR_InitMutex(&mutex, nullptr);
        }
        for (int round = 0; round < 2; ++round) {
            DXR_LockMutex(mutexes[0]);
            DXR_LockMutex(mutexes[1]);
            DXR_LockMutex(mutexes[1]);
            DXR_UnlockMutex(mutexes[1]);
            DXR_UnlockMutex(mutexes[0]);
            std::swap(mutexes[0], mutexes[1]);
        }
        DXR_DestroyMutex(mutexes[0]);
        uint32_t events = 0;
        DXR_ReadEvent(1, 0, 0, &events);
    }

    void UseFiles() const {
        void *const file = DXR_FOpen(file_.c_str(), "rb");
        char byte = 0;
        if (file != nullptr) {
            DXR_FRead(&byte, 1, 1, file);
            DXR_FClose(file);
        }
        (void)DXR_FOpen("/etc/passwd", "rb");
        (void)DXR_FileLength(file_.c_str());
    }

    static void UseTimers(DxrHost *host) {
        DxrHostTimer timer{sizeof(DxrHostTimer), 5, 1, 0, [](void *) {}, nullptr, nullptr};
        DxrHostHeartMonitor monitor{sizeof(DxrHostHeartMonitor), 0, nullptr, nullptr};
        DXR_StartTimer(&timer);
        DXR_SetHeartMon(&monitor, 5, 5, 5);
        DxrHostAdvance(host, 10);
        DXR_StopTimer(&timer);
        DXR_StopHeartToMon(&monitor);
    }

    static void UseFilters() {
        DxrHostLogFilter filter{sizeof(DxrHostLogFilter), 2, 5, 0, "filter", nullptr};
        if (DXR_LOGFILTER_Register(&filter) == 0) {
            for (const char *line : {"one", "two", "one", "three"}) {
                DXR_LOGFILTER_FilterSameLog(filter.handle, "%s", line);
            }
            std::array<char, 100> listing{};
            DXR_LOGFILTER_ShowCurInfo(1, filter.handle, listing.data(), listing.size());
            DXR_LOGFILTER_Destroy(filter.handle);
        }
        std::array<char, 8> milestone = {"up"};
        DXR_RecordWarmRebootMileStone(milestone.data());
        DxrHostEvent event{sizeof(DxrHostEvent), 1, 2, 0, "text"};
        DXR_WriteEventLog(&event);
        DXR_Assert(nullptr, 1);
    }

    void UseModules() const {
        DxrHostModule module{sizeof(DxrHostModule), 9, 1, 1, {}, "module", nullptr};
        DXR_Register(&module);
        DXR_Register(&module);
        DXR_SetUdf(&module);
        DXR_UnRegister();
        DXR_UnRegister();
        DxrHostPlugin plugin{sizeof(DxrHostPlugin), 0, "plug-in", file_.c_str(), nullptr};
        DXR_RegisterBrdPlugin(&plugin);
        DXR_RegisterBrdPlugin(&plugin);
        DXR_LoadBrdPlugin(&plugin);
        DXR_CheckBrdPlugin(&plugin);
        DXR_DisplayBrdPlugin(nullptr, nullptr, nullptr, 1);
        DXR_UnLoadBrdPlugin(&plugin);
        DXR_UnRegisterBrdPlugin(&plugin);
    }

    static void UseHashTables() {
        DxrHostHashOptions options{sizeof(DxrHostHashOptions), 4, 1, 0, nullptr, nullptr, nullptr};
        for (int round = 0; round < 2; ++round) {
            void *const table = DXR_HashCreate(&options);
            for (uint32_t key = 0; key < 3; ++key) {
                (void)DXR_HashInsert(table, &key, &key, sizeof(key), DXR_HOST_HASH_ADD);
                (void)DXR_HashInsert(table, &key, &key, sizeof(key), DXR_HOST_HASH_REPLACE);
                (void)DXR_HashGetFromEntry(DXR_HashFindKey(table, &key), DXR_HOST_HASH_KEY, 0);
            }
            uint32_t key = 1;
            void *const entry = DXR_HashGetFirst(table);
            (void)DXR_HashRemove(table, &key);
            (void)DXR_HashGetNext(table, entry);
            if (round == 0) {
                (void)DXR_HashFree(table);
                (void)DXR_HashCount(table);
            }
        }
    }

    static void UseNetworkProcessor(DxrHost *host) {
        DxrHostMcPortMap map{};
        map.size = sizeof(map);
        map.ports[0] = 1;
        DxrHostQueueDrops drops{sizeof(drops), 0, 0, 0};
        uint32_t sp = 0;
        (void)DXR_SetMcPortMap(1, &map);
        (void)DxrHostGetMcPortMap(host, 1, &map);
        (void)DxrHostAddQueueDrops(host, 1, 2, 3, 4, 5);
        (void)DXR_GetQueueDropStat(1, 2, 3, DXR_HOST_DROPS_CLEAR, &drops);
        (void)DxrHostSetAbsPfcLogicSp(host, 1, 2, 3, 4);
        (void)DXR_GetAbsPfcLogicSp(1, 2, 3, &sp);
        (void)DXR_GetAbsPfcLogicSp(1, 2, 9, &sp);
    }

    // Alarms, KPIs, fault checks, temperatures.
    static void UseMonitoring(DxrHost *host) {
        std::array<char, 8> text = {"text"};
        DXR_Alarm(1, 2, DXR_HOST_ALARM_MAJOR, DXR_HOST_ALARM_RAISED, text.data());
        DxrHostFmAlarm alarm{};
        alarm.size = sizeof(alarm);
        alarm.severity = DXR_HOST_ALARM_MINOR;
        alarm.state = DXR_HOST_ALARM_RAISED;
        DXR_FmAlarm(&alarm);
        alarm.state = DXR_HOST_ALARM_CLEARED;
        DXR_FmAlarm(&alarm);
        DXR_FmAlarm(nullptr);
        DxrHostAlarm known;
        (void)DxrHostGetAlarm(host, 0, &known);
        DxrHostKpiAttribute attribute{sizeof(DxrHostKpiAttribute), 1, 2, 3};
        DXR_UpdateKpiAttrVal(&attribute, 5);
        const auto isHot = [](void *) -> uint32_t { return 7; };
        const uint32_t check = DxrHostAddFaultCheck(host, "heat", isHot, nullptr, 5);
        DXR_FfmStartFaultCheck();
        (void)DxrHostAddFaultCheck(host, "more heat", isHot, nullptr, 5);
        DxrHostAdvance(host, 10);
        (void)DxrHostRemoveFaultCheck(host, check);
        DXR_FfmStopFaultCheck();
        DXR_FfmStartFaultCheck();
        const auto query = [](uint32_t, int32_t *) -> uint32_t { return 0; };
        DXR_RegisterQueryTempFunc(
            1, reinterpret_cast<void *>(static_cast<DxrHostTemperatureQuery>(query)));
        (void)DxrHostSetTemperature(host, 2, 5);
        DxrHostSetThermalDirectory(host, "/there/is/no/such/directory");
        int32_t temperature = 0;
        (void)DxrHostGetTemperature(host, 1, &temperature);
    }

    static void UseDescriptions(DxrHost *host) {
        std::array<char, 64> error{};
        (void)DxrHostLoadBoard(host, nullptr, error.data(), error.size());
        (void)DxrHostLoadBoard(host, "/there is no such file", error.data(), error.size());
        (void)DxrHostCreateFromFile(nullptr, error.data(), error.size());
        (void)DxrHostCreateFromFile("/there is no such file", error.data(), error.size());
    }

    static void UseMessages(DxrHost *host) {
        const DxrHostUnit lpu{DXR_HOST_UNIT_LPU, 3};
        const DxrHostUnit devm{DXR_HOST_UNIT_DEVM, 0};
        const auto answer = [](const DxrHostMessage *, void *) -> uint32_t { return 1; };
        const DxrHostMailbox waiting{sizeof(DxrHostMailbox), 0, lpu, nullptr, nullptr};
        const DxrHostMailbox handled{sizeof(DxrHostMailbox), 0, devm, answer, nullptr};
        (void)DxrHostOpenMailbox(host, &waiting);
        (void)DxrHostOpenMailbox(host, &handled);
        DxrMessageFilter *filter = nullptr;
        try {  // the library's: a function of C++
            const DxrMessageFilterInfo info = {DXR_HOST_UNIT_SFU, 1, "sfu", nullptr, 0};
            filter = DXR_CreateMessageFilter(&info, 0);
        } catch (const std::bad_alloc &) {
            filter = nullptr;
        }
        DxrHostSetMessageFilter(host, filter);
        DxrHostMessage message{};
        message.size = sizeof(message);
        message.data = "text";
        message.bytes = 4;
        for (const char *const point :
             {"", "message.lose", "message.twice", "message.delay", "message.reorder"}) {
            DxrHostFailNth(host, point, 1, false);
            message.to = lpu;
            (void)DXR_SendMsg(&message);
            message.flags = DXR_HOST_MESSAGE_ACK;
            (void)DXR_SendMsgToDevm(&message);
            message.flags = 0;
        }
        (void)DXR_SendEopEvent(1, nullptr);
        DXR_SendMsgToNp(1);
        DXR_SendMsg(nullptr);
        DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS);
        DxrHostMessage received;
        std::array<char, 8> buffer{};
        (void)DxrHostReceiveMessage(host, &lpu, &received, buffer.data(), buffer.size(), 0);
        (void)DxrHostSetEvent(host, 100, 1, 2);
        (void)DxrHostSetTriggerText(host, 100, "a text that is longer than some");
        DxrHostSetMessageFilter(host, nullptr);
        DXR_DestroyMessageFilter(&filter);
        (void)DxrHostCloseMailbox(host, &devm);
    }

    static void UseTables(DxrHost *host) {
        DxrHostTable described{sizeof(described), 2, 0, 0, 0, 1, 0, 0};
        (void)DxrHostDescribeTable(host, &described);
        (void)DxrHostSetTablePool(host, 0, 1, 100);
        (void)DXR_DynamicCreateTable(1);
        (void)DXR_DynamicCreateTable(2);
        std::array<char, 600> data{};
        for (uint32_t key = 0; key < 40; ++key) {
            (void)DXR_AddChipTblmData(0, 1 + key % 2, &key, sizeof(key), data.data(), key);
        }
        uint32_t key = 3;
        (void)DXR_AddChipTblmData(0, 2, &key, sizeof(key), data.data(), 600);
        (void)DXR_QueryChipTblmData(0, 2, &key, sizeof(key), data.data(), 600);
        (void)DXR_DeleteChipTblmData(0, 2, &key, sizeof(key));
        DxrHostMaskedData masked{sizeof(masked), 2, 4, 8, &key, data.data(), data.data()};
        (void)DXR_SetChipTblmDataAndMask(0, &masked);
        (void)DXR_SetChipTblmDataAndMask(0, &masked);
        DxrHostTableWalk walk{sizeof(walk), 0, 1, 2, 0, 0};
        DxrHostTableEntry entry{sizeof(entry), 0, 0, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr};
        (void)DXR_GetLinearTblmFirstData(&walk, &entry);
        (void)DXR_GetTblmNextData(walk.walk, &entry);
        DXR_ReleaseTblm(1, walk.walk);
        std::array<uint32_t, 2> tables = {1, 2};
        (void)DXR_GetCrossTblmFirstData(&walk, tables.data(), &entry);
        if (DxrHostSaveTables(host, nullptr, nullptr, 0)) {
            (void)DxrHostLoadTables(host, nullptr, nullptr, 0);
        }
        DXR_ReleaseTblm(2, 0);
        DXR_ReleaseTblm(2, 0);
    }

    // What only tests call.
    void Steer(DxrHost *host) {
        DxrHostFailNth(host, "a point of its own", 1, false);
        DxrHostFailShare(host, "another point of its own", 1);
        (void)DxrHostGetSteps(host, "a third point of its own");
        (void)DxrHostGetFailures(host, "a fourth point of its own");
        void *const block = DXR_Malloc(9, 40, "module.c", 8);
        std::array<DxrHostMemoryAccount, 2> accounts{};
        std::array<DxrHostMemorySite, 2> sites{};
        (void)DxrHostGetMemoryAccounts(host, accounts.data(), accounts.size());
        (void)DxrHostGetMemoryAccount(host, 9);
        (void)DxrHostGetMemorySites(host, sites.data(), sites.size());
        (void)DxrHostReportLeaks(host, nullptr);
        DXR_Free(block, "module.c", 9);
        DxrHostSetWorkPath(host, work_.c_str());
        DxrHostSetBinFolderName(host, "a folder with a name that is long");
        DxrHostSetEnvValue(host, 7, 8);
        DxrHost *const another = DxrHostCreate(nullptr);
        const uint32_t task = DxrHostGetTaskId(another);
        (void)DxrHostJoinTask(another, task, 0);
        (void)DxrHostRemoveFaultCheck(another, 1);
        End(another);
        (void)DxrHostJoinTask(host, DxrHostGetTaskId(host), 0);
    }

    const std::string work_;
    const std::string file_;
    const std::string board_;
    const std::string options_;
    std::array<DxrHost *, 3> leftHosts_{};
    size_t left_ = 0;
};

// Whether all allocations after the one fail too.
class Allocations : public testing::TestWithParam<bool> {
  protected:
    static void FailEach(void (Module::*use)(DxrHost *)) {
        const TemporaryDirectory directory(TemporaryDirectory::InMemory());
        Module module(directory);
        module.Run(use);  // what the process keeps is there by now
        const char *const given = std::getenv("DXR_TEST_STRIDE");
        const size_t stride = given != nullptr ? std::strtoull(given, nullptr, 10) : 5;
        // Both ways together make the walk twice as dense.
        size_t n = GetParam() ? 1 : 1 + stride / 2;
        for (;; n += stride) {
            const Outcome outcome = dxrtest::RunFailing(
                n, [&module, use] { module.Run(use); }, GetParam());
            module.EndLeft();
            if (!NewWatch::Failed()) {
                break;
            }
            ASSERT_EQ(outcome, Outcome::kDone) << "allocation " << n;
            ASSERT_EQ(NewWatch::Live(), 0U) << "allocation " << n;
            ASSERT_EQ(DxrHostGet(), nullptr);
        }
        EXPECT_EQ(NewWatch::Live(), 0U);
        EXPECT_GT(n, 50U);
        std::printf("up to %zu allocations, one in %zu\n", n - 1, stride);
    }
};

// HOST-8
TEST_P(Allocations, OfServicesFail) {
    FailEach(&Module::UsePlatform);
}

TEST_P(Allocations, OfTasksFail) {
    FailEach(&Module::UseTasks);
}

TEST_P(Allocations, OfJsonFilesFail) {
    FailEach(&Module::UseJson);
}

TEST_P(Allocations, OfADatabaseFail) {
    FailEach(&Module::UseDatabase);
}

TEST_P(Allocations, OfANewDatabaseFail) {
    FailEach(&Module::MakeDatabase);
}

// What could not be kept is told the next time, and counted from then on.
TEST(Reports, AreToldAgainAfterAnAllocationFailed) {
    for (size_t n = 1;; ++n) {
        DxrHost *const host = DxrHostCreate(nullptr);
        ASSERT_NE(host, nullptr);
        DxrHostRegister(host);
        DxrHostSetReportSink(
            host, [](const DxrHostReport *, void *) {}, nullptr);
        const auto lock = [] { EXPECT_NE(DXR_LockMutex(nullptr), 0U); };
        EXPECT_EQ(dxrtest::RunFailing(n, lock), Outcome::kDone);
        const bool hasFailed = NewWatch::Failed();
        lock();
        lock();
        EXPECT_EQ(DxrHostGetReportCount(host), 1U);
        DxrHostReport report{};
        EXPECT_TRUE(DxrHostGetReport(host, 0, &report));
        EXPECT_GE(report.count, 2U);
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
        if (!hasFailed) {
            EXPECT_EQ(report.count, 3U);
            EXPECT_GT(n, 3U);
            break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Allocations, testing::Values(false, true),
                         [](const auto &each) { return each.param ? "FromThenOn" : "Once"; });

}  // namespace
