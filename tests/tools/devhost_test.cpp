// The development host, reached as modules reach it: through the library's functions.
#include "dxr_devhost.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/test_host.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::TemporaryDirectory;
using Message = std::pair<uint32_t, std::string>;

// The host with its messages caught.
class DevHost : public testing::Test {
  protected:
    DevHost() {
        DxrHostReset();
        EXPECT_EQ(DxrHostInstall(), 0U);
        const auto keep = [](uint32_t level, const char *text, void *user) {
            static_cast<std::vector<Message> *>(user)->emplace_back(level, text);
        };
        DxrHostSetPrintSink(keep, &messages, 6);
    }
    ~DevHost() override {
        DXR_RegisterHooks(nullptr);
        DxrHostReset();
    }

    static void Print(uint32_t level, const char *text) {
        DXR_GetPrintHooks()->print(level, "%s", text);
    }

    std::vector<Message> messages;
};

std::vector<uint64_t> Numbers(const DxrHostMemoryAccount &account) {
    return {account.mid,       account.blocksLive,  account.bytesLive, account.blocksPeak,
            account.bytesPeak, account.blocksTotal, account.bytesTotal};
}

using Account = std::vector<uint64_t>;

// --- Hook table

TEST_F(DevHost, FillsExactlyTheSlotsItNames) {
    DxrHooks hooks;
    std::memset(&hooks, 0xFF, sizeof(hooks));
    DxrHostFillHooks(&hooks);
    std::array<void *, 226> slots{};
    static_assert(sizeof(slots) == sizeof(hooks));
    std::memcpy(slots.data(), &hooks, sizeof(hooks));
    std::vector<size_t> filled;
    for (size_t i = 0; i < slots.size(); ++i) {
        if (slots[i] != nullptr) {
            filled.push_back(i);
        }
    }
    constexpr size_t kList = 95;
    constexpr size_t kMemory = 103;
    constexpr size_t kPrint = 116;
    constexpr size_t kSystem = 135;
    constexpr size_t kTask = 151;
    constexpr size_t kTime = 170;
    std::vector<size_t> expected;
    const auto add = [&expected](size_t first, const std::vector<size_t> &indexes) {
        for (const size_t index : indexes) {
            expected.push_back(first + index);
        }
    };
    add(kList, {0, 1, 2, 3, 4, 5, 6, 7});
    add(kMemory, {0, 1});
    add(kPrint, {2, 4, 5, 6, 8});
    add(kSystem, {5, 6, 7, 8, 9, 10, 15});
    add(kTask, {4, 5, 6, 7});
    add(kTime, {0, 2, 4, 5, 8, 14});
    EXPECT_EQ(filled, expected);
}

// --- Memory

TEST_F(DevHost, AccountsByModuleIdentifier) {
    void *const a = DXR_Malloc(9, 100, "a.cpp", 1);
    void *const b = DXR_Malloc(9, 50, "b.cpp", 2);
    void *const c = DXR_Malloc(0, 7, "c.cpp", 3);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(9)), (Account{9, 2, 150, 2, 150, 2, 150}));
    DXR_Free(a, "a.cpp", 4);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(9)), (Account{9, 1, 50, 2, 150, 2, 150}));
    void *const d = DXR_Malloc(9, 60, "d.cpp", 5);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(9)), (Account{9, 2, 110, 2, 150, 3, 210}));
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(0)), (Account{0, 1, 7, 1, 7, 1, 7}));
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(5)), (Account{5, 0, 0, 0, 0, 0, 0}));
    for (void *const block : {b, c, d}) {
        DXR_Free(block, "", 0);
    }
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(9)), (Account{9, 0, 0, 2, 150, 3, 210}));
    EXPECT_EQ(DxrHostReportLeaks(nullptr), 0U);
}

TEST_F(DevHost, ListsTheAccountsAscendingAndWithinTheirRoom) {
    EXPECT_EQ(DxrHostGetMemoryAccounts(nullptr, 0), 0U);
    std::vector<void *> blocks;
    for (const uint32_t mid : {7U, 0xFFFFFFFFU, 0U}) {
        blocks.push_back(DXR_Malloc(mid, 8, "", 0));
    }
    std::array<DxrHostMemoryAccount, 3> accounts{};
    accounts[2].mid = 1234;
    EXPECT_EQ(DxrHostGetMemoryAccounts(accounts.data(), 2), 3U);
    EXPECT_EQ(accounts[0].mid, 0U);
    EXPECT_EQ(accounts[1].mid, 7U);
    EXPECT_EQ(accounts[2].mid, 1234U) << "outside the room";
    EXPECT_EQ(DxrHostGetMemoryAccounts(accounts.data(), 3), 3U);
    EXPECT_EQ(accounts[2].mid, 0xFFFFFFFFU);
    for (void *const block : blocks) {
        DXR_Free(block, "", 0);
    }
}

TEST_F(DevHost, ReportsLeaksInTheOrderOfAllocation) {
    std::vector<void *> blocks;
    for (uint32_t i = 1; i <= 20; ++i) {
        blocks.push_back(DXR_Malloc(9, i, "src/dxr/api/dxr_utils.cpp", 100 + i));
    }
    for (size_t i = 2; i < blocks.size(); ++i) {
        DXR_Free(blocks[i], "", 0);
    }
    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("leaks").c_str(), "w");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(DxrHostReportLeaks(file), 2U);
    std::fclose(file);
    EXPECT_EQ(directory.Read("leaks"),
              "mid 9: 1 bytes from src/dxr/api/dxr_utils.cpp:101\n"
              "mid 9: 2 bytes from src/dxr/api/dxr_utils.cpp:102\n");
    DXR_Free(blocks[0], "", 0);
    DXR_Free(blocks[1], "", 0);
}

TEST_F(DevHost, ABadReleaseIsCountedAndSaidAndHarmless) {
    int outside = 0;
    void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
    DXR_Free(&outside, "b.cpp", 7);
    EXPECT_EQ(DxrHostGetBadReleases(), 1U);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].first, 1U);
    EXPECT_NE(messages[0].second.find("b.cpp:7"), std::string::npos) << messages[0].second;
    DXR_Free(block, "", 0);
    DXR_Free(nullptr, "", 0);
    EXPECT_EQ(DxrHostGetBadReleases(), 1U);
    EXPECT_EQ(DxrHostGetMemoryAccount(9).blocksLive, 0U);
}

TEST_F(DevHost, AResetForgetsLiveBlocksButTakesThemBack) {
    void *const before = DXR_Malloc(9, 8, "a.cpp", 1);
    DxrHostReset();
    EXPECT_EQ(DxrHostGetMemoryAccounts(nullptr, 0), 0U);
    EXPECT_EQ(DxrHostReportLeaks(nullptr), 0U);
    void *const behind = DXR_Malloc(9, 4, "a.cpp", 2);
    DXR_Free(before, "", 0);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(9)), (Account{9, 1, 4, 1, 4, 1, 4}));
    DXR_Free(behind, "", 0);
    EXPECT_EQ(DxrHostGetBadReleases(), 0U);
}

TEST_F(DevHost, AccountsHoldUnderThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;
    for (uint32_t mid = 0; mid < kThreads; ++mid) {
        threads.emplace_back([mid] {
            for (int i = 0; i < kRounds; ++i) {
                void *const block = DXR_Malloc(mid % 2, 16, "a.cpp", 1);
                std::memset(block, 0x5A, 16);
                DXR_Free(block, "a.cpp", 2);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const uint32_t mid : {0U, 1U}) {
        const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(mid);
        EXPECT_EQ(account.blocksLive, 0U);
        EXPECT_EQ(account.bytesLive, 0U);
        EXPECT_EQ(account.blocksTotal, 2U * kRounds);
        EXPECT_LE(account.blocksPeak, 2U);
    }
}

// --- Messages and diagnostic lines

TEST_F(DevHost, MessagesAboveTheLevelAreDropped) {
    for (uint32_t level = 0; level <= 8; ++level) {
        Print(level, "x");
    }
    EXPECT_EQ(messages.size(), 7U) << "levels 0 to 6";
    messages.clear();
    EXPECT_EQ(DXR_GetDbgLevel(), 6U);
    EXPECT_EQ(DXR_SetDbgLevel(1), 0U);
    EXPECT_EQ(DXR_GetDbgLevel(), 1U);
    Print(1, "failure");
    Print(2, "open");
    EXPECT_EQ(messages, (std::vector<Message>{{1, "failure"}}));
}

TEST_F(DevHost, MessagesAreFormatted) {
    DXR_GetPrintHooks()->print(6, "chip[%u] %s 100%%", 3U, "up");
    EXPECT_EQ(messages, (std::vector<Message>{{6, "chip[3] up 100%"}}));
}

TEST_F(DevHost, LongMessagesAreCut) {
    const std::string longText(10000, 'x');
    Print(1, longText.c_str());
    EXPECT_EQ(messages, (std::vector<Message>{{1, longText.substr(0, 4095)}}));
}

TEST_F(DevHost, MessagesToAFileCarryPrefixAndLevel) {
    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("log").c_str(), "w");
    ASSERT_NE(file, nullptr);
    DxrHostSetPrintFile(file, 2, "host: ");
    Print(1, "one");
    Print(6, "six");
    DxrHostSetPrintFile(file, 6, nullptr);
    Print(6, "bare");
    DxrHostSetPrintFile(nullptr, 6, "host: ");
    Print(1, "nowhere");
    std::fclose(file);
    EXPECT_EQ(directory.Read("log"), "host: [1] one\n[6] bare\n");
}

TEST_F(DevHost, ANullSinkDropsMessages) {
    DxrHostSetPrintSink(nullptr, nullptr, 6);
    Print(1, "nowhere");
    EXPECT_TRUE(messages.empty());
}

TEST_F(DevHost, ASinkMayUseTheHost) {
    struct Nested {
        int calls = 0;
    } nested;
    DxrHostSetPrintSink(
        [](uint32_t, const char *, void *user) {
            auto *const inner = static_cast<Nested *>(user);
            if (++inner->calls == 1) {
                Print(1, "again");
                DXR_Free(DXR_Malloc(9, 8, "", 0), "", 0);
                DxrHostSetPrintSink(nullptr, nullptr, 6);
            }
        },
        &nested, 6);
    Print(1, "first");
    Print(1, "third");
    EXPECT_EQ(nested.calls, 2);
}

TEST_F(DevHost, DiagnosticLinesGoToTheSinkOrTheFile) {
    std::vector<std::string> lines;
    DxrHostSetDiagSink(
        [](const char *line, void *user) {
            static_cast<std::vector<std::string> *>(user)->emplace_back(line);
        },
        &lines);
    EXPECT_EQ(DXR_DiagLogFilter("to the sink"), 0U);
    EXPECT_EQ(lines, std::vector<std::string>{"to the sink"});

    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("log").c_str(), "w");
    ASSERT_NE(file, nullptr);
    DxrHostSetDiagFile(file);
    DXR_DiagLogFilter("100% to the file");
    DxrHostSetDiagFile(nullptr);
    DXR_DiagLogFilter("nowhere");
    std::fclose(file);
    EXPECT_EQ(directory.Read("log"), "100% to the file\n");
    EXPECT_EQ(lines.size(), 1U);
}

// --- Private logs

class DevHostPrivateLog : public DevHost {
  protected:
    DevHostPrivateLog() { DxrHostSetLogDirectory((directory.Path() + "/").c_str()); }

    static uint32_t Write(const char *text) {
        return DXR_GetPrintHooks()->writePrivateLog("tm.log", "%s", text);
    }

    TemporaryDirectory directory;
};

TEST_F(DevHostPrivateLog, CreatesAndAppends) {
    EXPECT_EQ(Write(""), 0U);
    EXPECT_EQ(directory.Read("tm.log"), "");
    EXPECT_EQ(Write("one\n"), 0U);
    EXPECT_EQ(Write("two\n"), 0U);
    EXPECT_EQ(directory.Read("tm.log"), "one\ntwo\n");
}

TEST_F(DevHostPrivateLog, WritesAtMost1000Characters) {
    Write(std::string(1000, 'a').c_str());
    EXPECT_EQ(directory.Read("tm.log").size(), 1000U);
    Write(std::string(1001, 'b').c_str());
    EXPECT_EQ(directory.Read("tm.log"), std::string(1000, 'a') + std::string(1000, 'b'));
}

TEST_F(DevHostPrivateLog, FormatsAnyFormat) {
    const std::string longText(2000, 'x');
    DXR_GetPrintHooks()->writePrivateLog("tm.log", "%u:%s", 7U, longText.c_str());
    EXPECT_EQ(directory.Read("tm.log"), "7:" + longText.substr(0, 998));
}

TEST_F(DevHostPrivateLog, AFailedWriteIsSaid) {
    DxrHostSetLogDirectory("/nonexistent/");
    EXPECT_NE(Write("x"), 0U);
    EXPECT_EQ(messages,
              (std::vector<Message>{{1, "private log /nonexistent/tm.log cannot be written"}}));
}

// --- Files

TEST_F(DevHost, ReadsReportBytes) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123456789");
    void *const file = DXR_FOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<char, 16> buffer{};
    EXPECT_EQ(DXR_FRead(buffer.data(), 4, 1, file), 4U);
    EXPECT_EQ(std::string(buffer.data()), "0123");
    EXPECT_EQ(DXR_FRead(buffer.data(), 2, 2, file), 4U);
    EXPECT_EQ(DXR_FRead(buffer.data(), 16, 1, file), 2U) << "what is left";
    EXPECT_EQ(DXR_FRead(buffer.data(), 16, 1, file), 0U);
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(DevHost, SeeksFromAllOrigins) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123456789");
    void *const file = DXR_FOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    const auto next = [file] {
        char byte = 0;
        return DXR_FRead(&byte, 1, 1, file) == 1 ? byte : '!';
    };
    EXPECT_EQ(DXR_FSeek(file, 7, SEEK_SET), 0U);
    EXPECT_EQ(next(), '7');
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-3), SEEK_CUR), 0U);
    EXPECT_EQ(next(), '5');
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-1), SEEK_END), 0U);
    EXPECT_EQ(next(), '9');
    EXPECT_EQ(DXR_FSeek(file, 0, 3), 1U) << "no such origin";
    EXPECT_EQ(DXR_FSeek(file, 0, 0xFFFFFFFF), 1U);
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-30), SEEK_CUR), 1U);
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(DevHost, MissingFilesAreFailures) {
    EXPECT_EQ(DXR_FOpen("/nonexistent/file", "rb"), nullptr);
    EXPECT_EQ(DXR_FileLength("/nonexistent/file"), 0xFFFFFFFFU);
    EXPECT_EQ(DXR_FileLength(nullptr), 0xFFFFFFFFU);
    char byte = 0;
    EXPECT_EQ(DXR_FRead(&byte, 1, 1, nullptr), 0U);
    EXPECT_EQ(DXR_FSeek(nullptr, 0, SEEK_SET), 1U);
    EXPECT_EQ(DXR_FClose(nullptr), 1U);
}

TEST_F(DevHost, LengthsBeyond32BitsAreFailures) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "abc");
    EXPECT_EQ(DXR_FileLength(path.c_str()), 3U);
    std::filesystem::resize_file(path, 0xFFFFFFFEULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFEU);
    std::filesystem::resize_file(path, 0x100000000ULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFFU);
}

TEST_F(DevHost, NamesOfWorkPathAndFolder) {
    std::array<char, 8> buffer{};
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), ".");
    EXPECT_STREQ(DXR_GetBinFolderName(), "bin");
    DxrHostSetWorkPath("/opt/wk");
    DxrHostSetBinFolderName("data");
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), "/opt/wk");
    EXPECT_STREQ(DXR_GetBinFolderName(), "data");
    buffer.fill('#');
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 7), 1U) << "no room for the terminator";
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(DXR_GetSysWorkPath(nullptr, 8), 1U);
}

// --- Mutexes

TEST_F(DevHost, MutexesExclude) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    ASSERT_NE(mutex, nullptr);
    uint64_t counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                DXR_LockMutex(mutex);
                ++counter;
                DXR_UnlockMutex(mutex);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 20000U);
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
}

TEST_F(DevHost, MisusedMutexesGiveErrors) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EPERM)) << "not locked";
    EXPECT_EQ(DXR_LockMutex(mutex), 0U);
    EXPECT_EQ(DXR_LockMutex(mutex), static_cast<uint32_t>(EDEADLK)) << "locked twice";
    EXPECT_EQ(DXR_DestroyMutex(mutex), static_cast<uint32_t>(EBUSY));
    std::thread([mutex] {
        EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EPERM)) << "by another";
    }).join();
    EXPECT_EQ(DXR_UnlockMutex(mutex), 0U);
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    for (const auto result : {DXR_InitMutex(nullptr, nullptr), DXR_LockMutex(nullptr),
                              DXR_UnlockMutex(nullptr), DXR_DestroyMutex(nullptr)}) {
        EXPECT_EQ(result, static_cast<uint32_t>(EINVAL));
    }
}

// --- The clock

std::vector<int> Fields(const DxrSysTime &time) {
    return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

TEST_F(DevHost, ASetClockStandsStill) {
    DxrHostSetClock(1795232220, 77);  // 2026-11-21 03:37:00
    EXPECT_EQ(DXR_GetCurrSec(), 1795232220U);
    EXPECT_EQ(DXR_GetCurrMs(), 1795232220000U);
    EXPECT_EQ(DXR_GetStartupTimeSec(), 77U);
    DxrSysTime time;
    std::memset(&time, 0xFF, sizeof(time));
    DXR_GetSysTime(&time);
    EXPECT_EQ(Fields(time), (std::vector<int>{2026, 11, 21, 3, 37, 0}));
    for (const auto byte : time.reserved) {
        EXPECT_EQ(byte, 0);
    }
    std::array<char, 39> text{};
    uint32_t sec = 0;
    DXR_GetCurrTime(text.data(), 39, &sec);
    EXPECT_STREQ(text.data(), "2026-11-21 03:37:00");
    EXPECT_EQ(sec, 1795232220U);
}

TEST_F(DevHost, TheTextOfTheTimeIsBounded) {
    DxrHostSetClock(1795232220, 0);
    for (uint32_t size = 0; size <= 25; ++size) {
        dxrtest::GuardedBuffer buffer(size);
        uint32_t sec = 0;
        DXR_GetCurrTime(buffer.Data(), size, &sec);
        EXPECT_TRUE(buffer.Intact()) << size;
        EXPECT_EQ(sec, 1795232220U);
        if (size > 0) {
            EXPECT_EQ(buffer.Text(), std::string("2026-11-21 03:37:00").substr(0, size - 1));
        }
    }
    DXR_GetCurrTime(nullptr, 39, nullptr);
}

TEST_F(DevHost, SecondsBecomeCalendarTimes) {
    std::mt19937_64 random(dxrtest::Seed());
    std::vector<uint32_t> seconds = {0, 951782399, 951782400, 4107542399, 0xFFFFFFFF};
    for (int i = 0; i < 5000; ++i) {
        seconds.push_back(static_cast<uint32_t>(random()));
    }
    for (const uint32_t sec : seconds) {
        const std::time_t expected = sec;
        std::tm broken{};
        gmtime_r(&expected, &broken);
        DxrSysTime time{};
        DXR_SysTimeSec2Time(sec, &time);
        ASSERT_EQ(Fields(time),
                  (std::vector<int>{broken.tm_year + 1900, broken.tm_mon + 1, broken.tm_mday,
                                    broken.tm_hour, broken.tm_min, broken.tm_sec}));
    }
}

TEST_F(DevHost, TheSystemClockKeepsOneScale) {
    DxrHostSetClock(5, 6);
    DxrHostUseSystemClock();
    const uint32_t first = DXR_GetCurrSec();
    uint32_t sec = 0;
    DXR_GetCurrTime(nullptr, 0, &sec);
    const uint32_t last = DXR_GetCurrSec();
    EXPECT_NE(first, 5U);
    // A clock put back between the readings would be nobody's fault.
    if (first <= last) {
        EXPECT_LE(first, sec);
        EXPECT_LE(sec, last);
    }
    EXPECT_LE(DXR_GetStartupTimeSec(), DXR_GetStartupTimeSec());
}

// --- Lists

std::vector<int> Walk(void *list) {
    std::vector<int> values;
    DxrSllIterator iterator = DXR_InitSllIterator(list);
    while (DXR_SllIteratorHasNext(&iterator) != 0) {
        values.push_back(*static_cast<int *>(DXR_SllIteratorGetNextData(&iterator)));
    }
    return values;
}

TEST_F(DevHost, ListsKeepTheirOrder) {
    std::array<int, 4> data = {0, 1, 2, 3};
    void *const list = DXR_CreateSll();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(Walk(list), std::vector<int>());
    DXR_AddSll(list, &data[1], DXR_HOST_LIST_TAIL);
    DXR_AddSll(list, &data[2], DXR_HOST_LIST_TAIL);
    DXR_AddSll(list, &data[0], DXR_HOST_LIST_HEAD);
    DXR_AddSll(list, &data[3], 77);
    EXPECT_EQ(Walk(list), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(DXR_SslGetCount(list), 4U);
    DXR_RemoveSll(list, &data[3]);
    DXR_RemoveSll(list, &data[3]);
    DXR_AddSll(list, &data[0], DXR_HOST_LIST_TAIL);
    EXPECT_EQ(Walk(list), (std::vector<int>{0, 1, 2, 0}));
    DXR_RemoveSll(list, &data[0]);
    EXPECT_EQ(Walk(list), (std::vector<int>{1, 2, 0})) << "only the first";
    DXR_DestroySll(list);
}

TEST_F(DevHost, ListsProcessASingleNode) {
    std::array<int, 3> data = {0, 1, 2};
    void *const list = DXR_CreateSll();
    for (int &value : data) {
        DXR_AddSll(list, &value, DXR_HOST_LIST_TAIL);
    }
    int other = 0;
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], DXR_HOST_LIST_FIND), 0U);
    EXPECT_EQ(DXR_SslProcSingleNode(list, &other, DXR_HOST_LIST_FIND), 1U);
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], 3), 1U) << "no such action";
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[2], DXR_HOST_LIST_MOVE_TO_HEAD), 0U);
    EXPECT_EQ(Walk(list), (std::vector<int>{2, 0, 1}));
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], DXR_HOST_LIST_REMOVE), 0U);
    EXPECT_EQ(Walk(list), (std::vector<int>{2, 0}));
    DXR_DestroySll(list);
}

TEST_F(DevHost, ANullListIsEmpty) {
    int value = 0;
    DXR_AddSll(nullptr, &value, 0);
    DXR_RemoveSll(nullptr, &value);
    DXR_DestroySll(nullptr);
    EXPECT_EQ(DXR_SslGetCount(nullptr), 0U);
    EXPECT_EQ(DXR_SslGetNextNode(nullptr, nullptr), nullptr);
    EXPECT_EQ(DXR_SslGetNodeData(nullptr), nullptr);
    EXPECT_EQ(DXR_SslProcSingleNode(nullptr, &value, DXR_HOST_LIST_FIND), 1U);
}

TEST_F(DevHost, ListsAgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    std::array<int, 8> data = {0, 1, 2, 3, 4, 5, 6, 7};
    void *const list = DXR_CreateSll();
    std::vector<int> model;
    for (int step = 0; step < 5000; ++step) {
        const int value = static_cast<int>(random() % data.size());
        const auto found = std::find(model.begin(), model.end(), value);
        switch (random() % 5) {
            case 0:
                DXR_AddSll(list, &data[static_cast<size_t>(value)], DXR_HOST_LIST_TAIL);
                model.push_back(value);
                break;
            case 1:
                DXR_AddSll(list, &data[static_cast<size_t>(value)], DXR_HOST_LIST_HEAD);
                model.insert(model.begin(), value);
                break;
            case 2:
                DXR_SslProcSingleNode(list, &data[static_cast<size_t>(value)],
                                      DXR_HOST_LIST_MOVE_TO_HEAD);
                if (found != model.end()) {
                    std::rotate(model.begin(), found, found + 1);
                }
                break;
            default:
                DXR_RemoveSll(list, &data[static_cast<size_t>(value)]);
                if (found != model.end()) {
                    model.erase(found);
                }
        }
        ASSERT_EQ(DXR_SslGetCount(list), model.size());
        ASSERT_EQ(Walk(list), model);
    }
    DXR_DestroySll(list);
}

}  // namespace
