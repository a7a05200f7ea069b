// As allocation_test.cpp, for devices and prints, the functions that steer them, and runs over many
// seeds: allocations fail, alone and with all that follow. DXR_TEST_STRIDE: one in so many fails, 1
// for all.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>

#include "dxr_devhost.h"
#include "support/new_watch.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::NewWatch;
using dxrtest::Outcome;
using dxrtest::TemporaryDirectory;

// Longer than what a std::string holds within itself.
constexpr const char *kLong = "/dev/a device with a name that is longer than the shortest ones";

class AllocationsOf : public testing::Test {
  protected:
    AllocationsOf() {
        std::filesystem::create_directory(directory.Path("dev"));
        (void)directory.Write(kLong + 1, "12345678");
        (void)directory.Write("board.json", R"({"vsfuDevice": "a name that is not short at all",
            "devices": [{"path": "/dev/memory of this test, with a long name", "bytes": 10}],
            "reserved": [{"number": 0, "name": "an area with a long name", "bytes": 4096}],
            "pcie": [{"bus": 1, "vendor": 7, "id": 8,
                      "bars": [{"number": 0, "address": "0xE0000000", "bytes": 4096}]}],
            "i2c": [{"bus": 0, "device": "0x50", "bytes": [1, 2, 3]}],
            "mdio": [{"phy": 1, "value": 7}]})");
    }

    // Lets `use` run in a host of its own while allocations fail.
    template <typename Use>
    void FailEach(size_t least, Use use) {
        const auto run = [&] {
            DxrHostOptions options;
            DxrHostInitOptions(&options);
            options.clock = DXR_HOST_CLOCK_STEPPED;
            options.workPath = work.c_str();
            options.printLevel = 0;
            DxrHost *const host = DxrHostCreate(&options);
            if (host == nullptr) {
                return;
            }
            (void)DxrHostRegister(host);
            use(host);
            // For want of memory it may be ended later only.
            left = DxrHostDestroy(host, nullptr) == UINT32_MAX ? host : nullptr;
        };
        run();  // what the process keeps is there by now
        const char *const wanted = std::getenv("DXR_TEST_STRIDE");
        const size_t stride = wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 11;
        for (const bool fromThenOn : {false, true}) {
            for (size_t n = fromThenOn ? 1 : 1 + stride / 2;; n += stride) {
                const Outcome outcome = dxrtest::RunFailing(n, run, fromThenOn);
                EXPECT_NE(DxrHostDestroy(std::exchange(left, nullptr), nullptr), UINT32_MAX);
                if (!NewWatch::Failed()) {
                    EXPECT_GT(n, least);
                    break;
                }
                ASSERT_EQ(outcome, Outcome::kDone) << n << (fromThenOn ? " and all after it" : "");
                ASSERT_EQ(NewWatch::Live(), 0U) << n << (fromThenOn ? " and all after it" : "");
                ASSERT_EQ(DxrHostGet(), nullptr);
            }
        }
    }

    TemporaryDirectory directory{TemporaryDirectory::InMemory()};
    DxrHost *left = nullptr;
    const std::string work = directory.Path();
    const std::string devices = directory.Path("dev");
    const std::string board = directory.Path("board.json");
};

TEST_F(AllocationsOf, Cells) {
    FailEach(30, [](DxrHost *host) {
        DxrHostCell cell{DXR_HOST_REGISTERS, 0, 1, 0, 0x100};
        const DxrHostCellFault fault{
            sizeof(fault), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_READS, 1, 1, 1, 0};
        uint32_t value = 7;
        uint16_t half = 7;
        uint64_t count = 0;
        (void)DxrHostPokeCell(host, &cell, 5);
        (void)DxrHostShapeCell(host, &cell, 1, 2);
        const uint32_t rule = DxrHostFaultCells(host, &cell, 4, &fault);
        const auto watch = [](const DxrHostAccess *, void *) {};
        (void)DxrHostWatchCells(host, &cell, 4, watch, nullptr);
        (void)DXR_ReadReg(0, 1, 0x100, &value);
        (void)DXR_WriteReg16(0, 2, 0x102, 3);
        (void)DXR_ReadReg16(0, 2, 0x102, &half);
        (void)DxrHostGetCellCounts(host, &cell, &count, &count);
        (void)DxrHostEndRule(host, rule);
        cell = {DXR_HOST_I2C, 0, 0x50, 0, 0};
        (void)DxrHostPokeCell(host, &cell, 5);
        std::array<unsigned char, 16> bytes{};
        DxrHostI2cRequest request{sizeof(request), 0, 0x50, 0, bytes.size(), 0, bytes.data()};
        const uint32_t result = DXR_WriteI2c(&request);
        EXPECT_EQ(request.done, result == 0 ? bytes.size() : 0U);
        uint64_t writes = 0;
        for (cell.address = 0; cell.address < bytes.size(); ++cell.address) {
            if (DxrHostGetCellCounts(host, &cell, &count, &writes)) {
                EXPECT_EQ(writes, result == 0 ? 1U : 0U) << "all or nothing";
            }
        }
        cell = {DXR_HOST_MDIO, 0, 0, 1, 0};
        (void)DxrHostPokeCell(host, &cell, 5);
        (void)DXR_WriteMdio(0, 0, 1, 0, 3, 9);
        (void)DXR_EnableMdioParallel(0, 3, 1);
        (void)DXR_HardResetChip(0, 1, DXR_HOST_RESET_HOLD);
        (void)DXR_HardResetChip(0, 2, DXR_HOST_RESET_PULSE);
        (void)DXR_CdrResetChip(0, 3, 1);
        (void)DXR_SetDevAttrValue(1, 2, 3);
    });
}

TEST_F(AllocationsOf, Devices) {
    FailEach(60, [this](DxrHost *host) {
        std::array<char, 100> error{};
        const bool isTaken = DxrHostLoadBoard(host, board.c_str(), error.data(), error.size());
        EXPECT_NE(isTaken, error[0] != '\0');
        DxrHostSetDeviceDirectory(host, devices.c_str());
        const auto control = [](DxrHostDevRequest *, void *) -> uint32_t { return 0; };
        DxrHostSetDeviceControl(host, kLong, control, nullptr);
        const uint32_t file = DXR_OpenDevWithOption(kLong, DXR_HOST_DEV_EXCLUSIVE);
        const uint32_t memory = DXR_OpenDev("/dev/memory of this test, with a long name");
        for (const uint32_t device : {file, memory}) {
            if (device == 0) {
                continue;
            }
            uint32_t done = 0;
            (void)DXR_WriteDev(device, error.data(), 5, &done);
            DxrHostDevRequest request{sizeof(request), device, 77, 0, 0, nullptr, 0, 0};
            (void)DXR_ControlDev(&request);
            void *const at = DXR_MmapDev(device, 5);
            if (at != nullptr) {
                EXPECT_EQ(DXR_MunmapDev(at, 5), 0U);
            }
            (void)DXR_CloseDev(device);
        }
        (void)DXR_CloseDev(99);
        std::array<char, 30> name = {"an area with a long name"};
        void *address = nullptr;
        (void)DXR_GetRsvMemMmapAddr(name.data(), 10, &address);
        (void)DxrHostLoadBoard(host, board.c_str(), error.data(), error.size());
    });
}

TEST_F(AllocationsOf, Variables) {
    FailEach(30, [](DxrHost *host) {
        std::array<char, 40> value{};
        (void)DXR_SetEnv("a variable with a long name", value.data(), value.size());
        (void)DXR_SetMemEnv("a variable with a long name", value.data(), value.size());
        (void)DXR_SaveEnv();
        DxrHostFlashInfo info{sizeof(info), 5, value.size(), 0, value.data()};
        (void)DXR_WriteFlashInfo(&info);
        (void)DxrHostGetFlashInfo(host, 4000000000, value.data(), value.size());
        const auto before = [](uint32_t, void *) {};
        const auto function = static_cast<DxrHostPreReset>(before);
        (void)DXR_RegisterPreResetProcFunc(reinterpret_cast<void *>(function), nullptr);
        const auto happened = [](uint32_t, uint32_t, void *) {};
        const auto interrupt = static_cast<DxrHostInterrupt>(happened);
        (void)DXR_IntrSetRegist(1, 2, reinterpret_cast<void *>(interrupt), nullptr);
        DXR_ResetBoard(3);
    });
}

TEST_F(AllocationsOf, Prints) {
    const std::string logs = work + "/";
    FailEach(30, [&logs](DxrHost *host) {
        DxrHostSetPrintFile(host, nullptr, 6, kLong);
        DxrHostSetLogDirectory(host, logs.c_str());
        const DxrPrintHooks &print = *DXR_GetPrintHooks();
        if (print.print == nullptr) {
            return;  // the host is not registered
        }
        print.print(1, "%s", kLong);
        print.print(1, nullptr);
        (void)print.writePrivateLog("a log with a long name", "%s", kLong);
        (void)print.writePrivateLog(nullptr, "%s", kLong);
        (void)print.writePrivateLog("there/is no such/directory", "%s", kLong);
        // One line is known at a time, whatever fails.
        DxrHostLogFilter filter{sizeof(filter), 1, 5, 0, kLong, nullptr};
        if (print.logFilterRegister(&filter) == 0) {
            DxrHostSetDiagFile(host, nullptr);
            for (const char *const line : {kLong, kLong + 1, kLong, kLong + 2, kLong + 2}) {
                (void)print.logFilterFilterSameLog(filter.handle, line);
            }
            EXPECT_EQ(print.logFilterDestroy(filter.handle), 0U);
        }
        std::array<char, 8> name = {"x.c"};
        void *handle = nullptr;
        (void)print.logFilterRegisterDiffLogForFramework(7, name.data(), &filter, &handle);
    });
}

uint32_t Body(DxrHost * /*host*/, void *user) {
    ++*static_cast<int *>(user);
    DXR_DelayTask(5);
    return 0;
}

// What a call gives while allocations fail, one after the other; another thing when none does.
template <typename Call, typename Result>
void ExpectOfFailures(Call call, Result wanted) {
    for (size_t n = 1;; ++n) {
        Result result{};
        EXPECT_EQ(dxrtest::RunFailing(n, [&] { result = call(); }), Outcome::kDone);
        if (!NewWatch::Failed()) {
            EXPECT_GT(n, 1U);
            EXPECT_NE(result, wanted);
            return;
        }
        EXPECT_EQ(result, wanted) << n;
    }
}

TEST(Allocations, FailInWhatTellsOfThem) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    options.printLevel = 0;
    DxrHost *const host = DxrHostCreate(&options);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    std::array<void *, 3> blocks{};
    for (uint32_t i = 0; i < blocks.size(); ++i) {
        blocks[i] = DXR_Malloc(9 + i, 8, "a.cpp", i);
    }
    std::array<DxrHostMemoryAccount, 3> accounts{};
    std::array<DxrHostMemorySite, 3> sites{};
    ExpectOfFailures([&] { return DxrHostGetMemoryAccounts(host, accounts.data(), 3); }, 0U);
    ExpectOfFailures([&] { return DxrHostGetMemorySites(host, sites.data(), 3); }, 0U);
    ExpectOfFailures([&] { return DxrHostReportLeaks(host, nullptr); }, 0U);
    ExpectOfFailures(
        [&] {
            const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(host, 9);
            EXPECT_EQ(account.mid, 9U);
            return account.blocksLive;
        },
        decltype(DxrHostMemoryAccount::blocksLive){0});
    for (void *const block : blocks) {
        DXR_Free(block, "a.cpp", 9);
    }
    ExpectOfFailures([&] { return DxrHostSetTemperature(host, 7, 70); }, false);
    const DxrHostUnit devm{DXR_HOST_UNIT_DEVM, 0};
    const DxrHostMailbox box{sizeof(DxrHostMailbox), 0, devm, nullptr, nullptr};
    ExpectOfFailures([&] { return DxrHostOpenMailbox(host, &box); }, uint32_t{ENOMEM});
    // A thread that waits for nothing yet.
    std::thread([&] {
        EXPECT_EQ(DxrHostGetBadReleases(host), 0U);
        ExpectOfFailures([&] { return DxrHostCloseMailbox(host, &devm); }, uint32_t{ENOMEM});
    }).join();
    (void)DxrHostDestroy(host, nullptr);
}

TEST_F(AllocationsOf, Runs) {
    FailEach(30, [](DxrHost *host) {
        (void)DxrHostRegister(nullptr);
        int runs = 0;
        DxrHostExploration found{};
        const uint32_t result = DxrHostExplore(nullptr, 2, Body, &runs, &found);
        EXPECT_TRUE(result == 2 || (result == 0 && runs == 2)) << result;
        EXPECT_EQ(DxrHostGet(), nullptr);
        (void)DxrHostRegister(host);
    });
}

}  // namespace
