// The host's system service, by the sentences of its header.
#include "dxr_devhost/system.h"

#include <dlfcn.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "devhost/file_calls.h"
#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

bool g_zlibHasMemory = true;
// What the host reads for the machine's load; null for the machine's own.
const char *g_load = nullptr;

}  // namespace

// The host's streams come by here.
extern "C" [[gnu::visibility("default")]] std::FILE *fopen64(const char *path, const char *mode) {
    const bool isLoad = g_load != nullptr && std::strcmp(path, "/proc/stat") == 0;
    return reinterpret_cast<decltype(&fopen64)>(dlsym(RTLD_NEXT, "fopen64"))(isLoad ? g_load : path,
                                                                             mode);
}

// The host's compression comes by here.
extern "C" [[gnu::visibility("default")]] int compress2(Bytef *to, uLongf *room, const Bytef *from,
                                                        uLong size, int level) {
    return g_zlibHasMemory ? reinterpret_cast<decltype(&compress2)>(dlsym(RTLD_NEXT, "compress2"))(
                                 to, room, from, size, level)
                           : Z_MEM_ERROR;
}

namespace {

using dxrtest::FileCalls;
using dxrtest::TemporaryDirectory;

class HostFiles : public dxrtest::HostTest {
  protected:
    HostFiles() {
        options.allowOutside = 1;
        Begin();
    }
};

TEST_F(HostFiles, ReadsReportBytes) {
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

// Each call on a file fails, once and from then on: the call that needs it gives its failure value,
// the others go on, and the file is closed for the machine.
TEST_F(HostFiles, EachCallOnAFileMayFail) {
    const TemporaryDirectory directory(TemporaryDirectory::InMemory());
    const std::string path = directory.Write("data", "0123456789");
    for (const FileCalls::How how : {FileCalls::How::kOnce, FileCalls::How::kFromThenOn}) {
        std::vector<size_t> failed;
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n) {
            ASSERT_LT(n, 20U);
            const size_t descriptors = dxrtest::Descriptors();
            std::array<char, 4> read{};
            uint32_t bytes = 0;
            uint32_t sought = 1;
            uint32_t closed = 1;
            FileCalls::Begin(n, how);
            void *const file = DXR_FOpen(path.c_str(), "rb");
            if (file != nullptr) {
                sought = DXR_FSeek(file, 3, SEEK_SET);
                bytes = DXR_FRead(read.data(), 1, 4, file);
            }
            const uint32_t length = DXR_FileLength(path.c_str());
            closed = file != nullptr ? DXR_FClose(file) : 1;
            hasFailed = FileCalls::End();
            const std::array<bool, 5> isWell = {file != nullptr, sought == 0, bytes == 4,
                                                length == 10, closed == 0};
            EXPECT_TRUE(bytes == 0 || bytes == 4) << n;
            EXPECT_TRUE(length == 10 || length == 0xFFFFFFFF) << n;
            EXPECT_TRUE(sought <= 1 && closed <= 1) << n;
            if (bytes == 4) {
                EXPECT_EQ(std::string(read.data(), 4), sought == 0 ? "3456" : "0123");
            }
            const auto first = std::find(isWell.begin(), isWell.end(), false);
            EXPECT_EQ(hasFailed, first != isWell.end()) << n;
            if (first != isWell.end()) {
                failed.push_back(static_cast<size_t>(first - isWell.begin()));
            }
            if (hasFailed && file != nullptr) {
                const auto wells = std::count(isWell.begin(), isWell.end(), true);
                EXPECT_EQ(wells, how == FileCalls::How::kOnce ? 4 : first - isWell.begin()) << n;
            }
            EXPECT_EQ(DXR_FClose(file), 1U) << "it is none, or no more";
            EXPECT_EQ(dxrtest::Descriptors(), descriptors) << n;
        }
        EXPECT_THAT(failed, testing::ElementsAre(0, 0, 1, 2, 3, 4)) << "each was the first";
    }
}

TEST_F(HostFiles, SeeksFromAllOrigins) {
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

TEST_F(HostFiles, AModeIsNotEmpty) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123456789");
    EXPECT_EQ(DXR_FOpen(path.c_str(), ""), nullptr);
    EXPECT_EQ(DXR_FOpen(path.c_str(), nullptr), nullptr);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre("no mode of a file", "no mode of a file"));
}

TEST_F(HostFiles, MissingFilesAreFailures) {
    EXPECT_EQ(DXR_FOpen("/nonexistent/file", "rb"), nullptr);
    EXPECT_EQ(DXR_FileLength("/nonexistent/file"), 0xFFFFFFFFU);
    EXPECT_EQ(DXR_FileLength(nullptr), 0xFFFFFFFFU);
    char byte = 0;
    EXPECT_EQ(DXR_FRead(&byte, 1, 1, nullptr), 0U);
    EXPECT_EQ(DXR_FSeek(nullptr, 0, SEEK_SET), 1U);
    EXPECT_EQ(DXR_FClose(nullptr), 1U);
}

TEST_F(HostFiles, LengthsBeyond32BitsAreFailures) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "abc");
    EXPECT_EQ(DXR_FileLength(path.c_str()), 3U);
    std::filesystem::resize_file(path, 0xFFFFFFFEULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFEU);
    std::filesystem::resize_file(path, 0x100000000ULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFFU);
}

TEST_F(HostFiles, NamesOfWorkPathAndFolder) {
    std::array<char, 8> buffer{};
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), ".");
    EXPECT_STREQ(DXR_GetBinFolderName(), "bin");
    DxrHostSetWorkPath(host, "/opt/wk");
    DxrHostSetBinFolderName(host, "data");
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), "/opt/wk");
    EXPECT_STREQ(DXR_GetBinFolderName(), "data");
    buffer.fill('#');
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 7), 1U) << "no room for the terminator";
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(DXR_GetSysWorkPath(nullptr, 8), 1U);
}

TEST_F(HostFiles, HandlesOfOtherKindsAreNamed) {
    DxrHostTimer timer{sizeof(DxrHostTimer), 3600000, 1, 0, [](void *) {}, nullptr, nullptr};
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    std::array<char, 4> buffer{};
    EXPECT_EQ(DXR_FRead(buffer.data(), 1, 1, timer.handle), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre(testing::HasSubstr("a timer is no file")));
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
}

TEST_F(HostFiles, ANullBufferOfAReadIsReported) {
    void *const file = DXR_FOpen("/dev/zero", "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(DXR_FRead(nullptr, 1, 1, file), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE), std::vector<std::string>{"a null buffer"});
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(HostFiles, ANullBufferForTheWorkPathIsReported) {
    EXPECT_EQ(DXR_GetSysWorkPath(nullptr, 100), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE), std::vector<std::string>{"a null pointer"});
}

TEST_F(HostFiles, BadHandlesAreReported) {
    const TemporaryDirectory directory;
    void *const file = DXR_FOpen(directory.Write("data", "x").c_str(), "rb");
    EXPECT_EQ(DXR_FClose(file), 0U);
    EXPECT_EQ(DXR_FClose(file), 1U) << "closed already";
    char byte = 0;
    EXPECT_EQ(DXR_FRead(&byte, 1, 1, file), 0U);
    EXPECT_EQ(DXR_FRead(&byte, 1, 1, &byte), 0U);
    EXPECT_EQ(DXR_FSeek(file, 0, SEEK_SET), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 4U);
}

TEST_F(HostFiles, FailedStepsGiveTheFailureValue) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123");
    DxrHostFailNth(host, "file.open", 1, false);
    EXPECT_EQ(DXR_FOpen(path.c_str(), "rb"), nullptr);
    void *const file = DXR_FOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    DxrHostFailNth(host, "file.read", 1, false);
    std::array<char, 4> buffer{};
    EXPECT_EQ(DXR_FRead(buffer.data(), 1, 4, file), 0U);
    EXPECT_EQ(DXR_FRead(buffer.data(), 1, 4, file), 4U);
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(HostFiles, PathsOutsideAreRefusedUnlessAllowed) {
    const TemporaryDirectory directory;
    const TemporaryDirectory elsewhere;
    std::filesystem::create_directory(directory.Path("below"));
    const std::string inside = directory.Write("below/data", "abc");
    const std::string outside = elsewhere.Write("data", "abcd");
    const std::string climbing = directory.Path("below/../../") +
                                 elsewhere.Path().substr(elsewhere.Path().rfind('/') + 1) + "/data";
    std::filesystem::create_symlink(outside, directory.Path("link"));
    EXPECT_EQ(DXR_FileLength(outside.c_str()), 4U) << "allowed";
    End();
    options.allowOutside = 0;
    Begin();
    DxrHostSetWorkPath(host, directory.Path().c_str());
    EXPECT_EQ(DXR_FileLength(inside.c_str()), 3U);
    void *const file = DXR_FOpen(inside.c_str(), "rb");
    EXPECT_NE(file, nullptr);
    EXPECT_EQ(DXR_FClose(file), 0U);
    EXPECT_EQ(reports.size(), 0U);
    EXPECT_EQ(DXR_FileLength(DXR_PRIVATE_LOG_DIRECTORY "nonexistent.log"), 0xFFFFFFFFU);
    EXPECT_EQ(reports.size(), 0U) << "missing, not outside";
    for (const std::string &path : {outside, climbing, directory.Path("link")}) {
        EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFFU) << path;
        EXPECT_EQ(DXR_FOpen(path.c_str(), "rb"), nullptr) << path;
    }
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), testing::Each(testing::StartsWith("outside: ")));
}

// A link to what is not there would make it.
TEST_F(HostFiles, ALinkThatLeadsNowhereMakesNothingOutside) {
    const TemporaryDirectory directory;
    const TemporaryDirectory elsewhere;
    const std::string made = elsewhere.Path("made");
    std::filesystem::create_symlink(made, directory.Path("link"));
    std::filesystem::create_symlink("link", directory.Path("again"));
    std::filesystem::create_symlink(elsewhere.Path("absent"), directory.Path("deep"));
    std::filesystem::create_symlink("new", directory.Path("near"));
    End();
    options.allowOutside = 0;
    Begin();
    DxrHostSetWorkPath(host, directory.Path().c_str());
    for (const char *const name : {"link", "again", "link/", "deep/x"}) {
        EXPECT_EQ(DXR_FOpen(directory.Path(name).c_str(), "w"), nullptr) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(made));
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE),
              std::vector<std::string>{"outside: " + directory.Path("link")});
    DxrHostReport report{};
    EXPECT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.count, 4U);
    void *const file = DXR_FOpen(directory.Path("near").c_str(), "w");
    EXPECT_NE(file, nullptr) << "it leads to a place within";
    EXPECT_EQ(DXR_FClose(file), 0U);
    EXPECT_TRUE(std::filesystem::exists(directory.Path("new")));
    EXPECT_EQ(messages.size(), 0U);
}

TEST_F(HostFiles, ADirectoryIsNone) {
    const TemporaryDirectory directory;
    for (const uint32_t allowed : {1U, 0U}) {
        End();
        options.allowOutside = allowed;
        Begin();
        DxrHostSetWorkPath(host, directory.Path().c_str());
        EXPECT_EQ(DXR_FOpen(directory.Path().c_str(), "r"), nullptr);
        EXPECT_EQ(reports.size(), 0U);
    }
}

// What each mode does to a file that is there, and to one that is not.
TEST_F(HostFiles, ModesAreThoseOfTheMachine) {
    for (const uint32_t allowed : {1U, 0U}) {
        End();
        options.allowOutside = allowed;
        Begin();
        for (const char *const mode : {"r", "rb", "r+", "w", "wb+", "a", "a+", "wx", "ae", "re"}) {
            for (const bool isThere : {true, false}) {
                const TemporaryDirectory directory;
                DxrHostSetWorkPath(host, directory.Path().c_str());
                if (isThere) {
                    (void)directory.Write("host", "abc");
                    (void)directory.Write("machine", "abc");
                }
                void *const file = DXR_FOpen(directory.Path("host").c_str(), mode);
                std::FILE *const plain = std::fopen(directory.Path("machine").c_str(), mode);
                ASSERT_EQ(file != nullptr, plain != nullptr) << mode << isThere;
                std::array<char, 4> ours{};
                std::array<char, 4> theirs{};
                if (plain != nullptr) {
                    EXPECT_EQ(DXR_FRead(ours.data(), 1, 4, file),
                              std::fread(theirs.data(), 1, 4, plain));
                    EXPECT_EQ(ours, theirs) << mode << isThere;
                    EXPECT_EQ(DXR_FClose(file), 0U);
                    (void)std::fclose(plain);
                }
                ASSERT_EQ(std::filesystem::exists(directory.Path("host")),
                          std::filesystem::exists(directory.Path("machine")));
                if (std::filesystem::exists(directory.Path("host"))) {
                    EXPECT_EQ(directory.Read("host"), directory.Read("machine")) << mode;
                }
            }
        }
    }
}

// A loop of links, a name that is too long: what the machine says, and nothing about outside.
TEST_F(HostFiles, APathThatCannotBeLookedUpIsNotOutside) {
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("loop", directory.Path("loop"));
    End();
    options.allowOutside = 0;
    Begin();
    DxrHostSetWorkPath(host, directory.Path().c_str());
    const std::string looping = directory.Path("loop/data");
    const std::string tooLong = directory.Path(std::string(300, 'x'));
    EXPECT_EQ(DXR_FOpen(looping.c_str(), "rb"), nullptr);
    EXPECT_EQ(DXR_FileLength(tooLong.c_str()), 0xFFFFFFFFU);
    EXPECT_EQ(reports.size(), 0U);
    const std::vector<dxrtest::Message> expected = {
        {2, "DXR_FOpen: " + looping + " cannot be looked up: " + std::strerror(ELOOP)},
        {2, "DXR_FileLength: " + tooLong + " cannot be looked up: " + std::strerror(ENAMETOOLONG)},
    };
    EXPECT_EQ(messages, expected);
}

// Nor is what cannot be compared with a directory, unless another one has it.
TEST_F(HostFiles, ADirectoryThatCannotBeLookedUpIsTold) {
    const TemporaryDirectory directory;
    const TemporaryDirectory elsewhere;
    const std::string inside = elsewhere.Write("data", "abc");
    std::filesystem::create_symlink("loop", directory.Path("loop"));
    const std::string logs = directory.Path("loop/");
    End();
    options.allowOutside = 0;
    options.logDirectory = logs.c_str();
    Begin();
    EXPECT_EQ(DXR_FileLength(inside.c_str()), 0xFFFFFFFFU);
    EXPECT_EQ(reports.size(), 0U);
    EXPECT_EQ(messages.size(), 1U);
    DxrHostSetWorkPath(host, elsewhere.Path().c_str());
    EXPECT_EQ(DXR_FileLength(inside.c_str()), 3U);
    EXPECT_EQ(messages.size(), 1U);
}

TEST_F(HostFiles, AMissingFileOfARelativePathIsNotOutside) {
    End();
    options.allowOutside = 0;
    Begin();
    for (const char *const work : {".", "missing"}) {
        DxrHostSetWorkPath(host, work);
        EXPECT_EQ(DXR_FOpen("missing/data", "rb"), nullptr);
        EXPECT_EQ(reports.size(), 0U) << work;
    }
    EXPECT_EQ(DXR_FOpen("missing/../../data", "rb"), nullptr);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE),
              std::vector<std::string>{"outside: missing/../../data"});
    EXPECT_EQ(messages.size(), 0U);
}

// --- Timers and heart-beats

std::vector<std::string> *g_log = nullptr;

void Log(void *name) {
    g_log->push_back(std::string(static_cast<const char *>(name)) + "@" +
                     std::to_string(DXR_GetCurrMs() % 100000));
}

template <typename Fixture>
class Timers : public Fixture {
  protected:
    Timers() {
        g_log = &log;
        this->End();
        this->options.startSec = 0;
        this->Begin();
    }

    static DxrHostTimer Timer(uint32_t ms, bool repeats, const char *name) {
        DxrHostTimer timer{};
        timer.size = sizeof(timer);
        timer.ms = ms;
        timer.repeats = repeats ? 1 : 0;
        timer.function = Log;
        timer.argument = const_cast<char *>(name);
        return timer;
    }

    std::vector<std::string> log;
};

using VirtualTimers = Timers<dxrtest::VirtualHost>;
using SteppedTimers = Timers<dxrtest::SteppedHost>;

TEST_F(VirtualTimers, FireInTheirOrder) {
    DxrHostTimer once = Timer(250, false, "once");
    DxrHostTimer often = Timer(100, true, "often");
    EXPECT_EQ(DXR_StartTimer(&once), 0U);
    EXPECT_EQ(DXR_StartTimer(&often), 0U);
    DXR_DelayTask(350);
    EXPECT_EQ(DXR_StopTimer(&often), 0U);
    DXR_DelayTask(1000);
    EXPECT_EQ(log, (std::vector<std::string>{"often@100", "often@200", "once@250", "often@300"}));
    const auto enoent = static_cast<uint32_t>(ENOENT);
    EXPECT_EQ(DXR_StopTimer(&often), enoent) << "stopped before";
    EXPECT_EQ(DXR_StopTimer(&once), enoent) << "it fired";
    EXPECT_EQ(End(), 0U);
}

TEST_F(SteppedTimers, AVeryPatientMonitorWaits) {
    static uint32_t calls;
    calls = 0;
    DxrHostHeartMonitor monitor{sizeof(DxrHostHeartMonitor), 0, [](void *) { ++calls; }, nullptr};
    // 2^58 ms are a multiple of 2^64 ns.
    EXPECT_EQ(DXR_SetHeartMon(&monitor, 1U << 29, 1U << 29, 1), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 1000));
    EXPECT_EQ(calls, 0U);
    EXPECT_EQ(DXR_StopHeartToMon(&monitor), 0U);
}

TEST_F(SteppedTimers, TheClockDoesNotRunOver) {
    EXPECT_TRUE(DxrHostAdvance(host, 1000));
    EXPECT_FALSE(DxrHostAdvance(host, UINT64_MAX));
    EXPECT_FALSE(DxrHostAdvance(host, UINT64_MAX / 1000000));
    EXPECT_EQ(DxrHostGetElapsedNs(host), 1000000000U) << "it stays";
    EXPECT_TRUE(DxrHostAdvance(host, uint64_t{100} * 365 * 86400 * 1000)) << "a hundred years";
}

TEST_F(SteppedTimers, FireWhileTheClockIsMoved) {
    DxrHostTimer once = Timer(250, false, "once");
    DxrHostTimer often = Timer(100, true, "often");
    DXR_StartTimer(&once);
    DXR_StartTimer(&often);
    DxrHostAdvance(host, 99);
    EXPECT_TRUE(log.empty());
    DxrHostAdvance(host, 251);
    EXPECT_EQ(log, (std::vector<std::string>{"often@100", "often@200", "once@250", "often@300"}));
    EXPECT_EQ(DXR_GetCurrMs(), 350U);
    EXPECT_EQ(End(), 1U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_LEFTOVER),
                testing::ElementsAre(testing::StartsWith("left behind: timer, made by "
                                                         "DXR_StartTimer by ")));
}

TEST_F(VirtualTimers, BeginAnew) {
    DxrHostTimer timer = Timer(100, false, "t");
    DXR_StartTimer(&timer);
    DXR_DelayTask(60);
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    DXR_DelayTask(60);
    EXPECT_TRUE(log.empty());
    DXR_DelayTask(60);
    EXPECT_EQ(log, std::vector<std::string>{"t@160"});
}

TEST_F(VirtualTimers, MayStopAndStartThemselves) {
    static DxrHostTimer timer;
    static int rounds;
    rounds = 0;
    timer = Timer(10, true, "");
    timer.function = [](void *) {
        if (++rounds == 3) {
            EXPECT_EQ(DXR_StopTimer(&timer), 0U);
        }
    };
    DXR_StartTimer(&timer);
    DXR_DelayTask(100);
    EXPECT_EQ(rounds, 3);
    static DxrHostTimer once;
    once = Timer(10, false, "");
    once.function = [](void *) {
        if (++rounds < 6) {
            EXPECT_EQ(DXR_StartTimer(&once), 0U);
        }
    };
    DXR_StartTimer(&once);
    DXR_DelayTask(100);
    EXPECT_EQ(rounds, 6);
    EXPECT_EQ(End(), 0U);
}

TEST_F(VirtualTimers, AStopWaitsForTheFunction) {
    static bool isOver;
    isOver = false;
    DxrHostTimer timer = Timer(10, true, "");
    timer.function = [](void *) {
        DXR_DelayTask(500);
        isOver = true;
    };
    DXR_StartTimer(&timer);
    DXR_DelayTask(50);
    EXPECT_FALSE(isOver);
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
    EXPECT_TRUE(isOver);
    EXPECT_EQ(DXR_GetCurrMs(), 510U);
}

// Each stop that looked at all of them would make these minutes.
TEST_F(SteppedTimers, ManyAreStoppedOneByOne) {
    std::vector<DxrHostTimer> timers(50000);
    uint32_t bad = 0;
    for (DxrHostTimer &timer : timers) {
        timer = {sizeof(DxrHostTimer), 1000, 0, 0, [](void *) {}, nullptr, nullptr};
        bad += DXR_StartTimer(&timer) != 0 ? 1 : 0;
    }
    for (DxrHostTimer &timer : timers) {
        bad += DXR_StopTimer(&timer) != 0 ? 1 : 0;
    }
    EXPECT_EQ(bad, 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(VirtualTimers, WrongOnesAreRefused) {
    const auto einval = static_cast<uint32_t>(EINVAL);
    DxrHostTimer timer = Timer(10, false, "");
    timer.function = nullptr;
    EXPECT_EQ(DXR_StartTimer(&timer), einval);
    EXPECT_EQ(DXR_StartTimer(nullptr), einval);
    EXPECT_EQ(DXR_StopTimer(nullptr), einval);
    timer = Timer(10, false, "t");
    EXPECT_EQ(DXR_StopTimer(&timer), static_cast<uint32_t>(ENOENT)) << "never started";
    DxrHostFailNth(host, "timer.start", 1, false);
    EXPECT_EQ(DXR_StartTimer(&timer), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
    EXPECT_EQ(DXR_StopTimer(&timer), static_cast<uint32_t>(ENOENT)) << "stopped before";
    reports.clear();
    timer.handle = &timer;
    EXPECT_EQ(DXR_StopTimer(&timer), einval) << "a handle that is none";
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_STREQ(reports[0].slot, "DXR_StopTimer");
    EXPECT_STREQ(reports[0].text, "an address that is no timer");
}

TEST_F(VirtualTimers, AHeartThatStopsIsToldOnce) {
    DxrHostHeartMonitor monitor{};
    monitor.size = sizeof(monitor);
    monitor.function = Log;
    monitor.argument = const_cast<char *>("stopped");
    for (int beat = 0; beat < 10; ++beat) {
        EXPECT_EQ(DXR_SetHeartMon(&monitor, 100, 3, 7), 0U);
        DXR_DelayTask(290);
    }
    EXPECT_TRUE(log.empty());
    DXR_DelayTask(1000);
    EXPECT_EQ(log, std::vector<std::string>{"stopped@2910"});
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), testing::ElementsAre("heart 7 has stopped"));
    EXPECT_EQ(DXR_StopHeartToMon(&monitor), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(DXR_SetHeartMon(&monitor, 100, 3, 7), 0U);
    EXPECT_EQ(DXR_StopHeartToMon(&monitor), 0U);
    DXR_DelayTask(1000);
    EXPECT_EQ(log.size(), 1U);
    EXPECT_EQ(DXR_SetHeartMon(&monitor, 0, 3, 7), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_SetHeartMon(nullptr, 1, 3, 7), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_StopHeartToMon(nullptr), static_cast<uint32_t>(EINVAL));
}

class RealTimers : public dxrtest::RealHost {};

// The handle that is made next when that one has ended: whoever breaks rules can guess it.
void *NextAfter(void *handle) {
    constexpr uintptr_t kGeneration = uintptr_t{1} << 24;
    return reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(handle) + kGeneration);
}

// Ends what has the guessed handle, again and again, on a thread of its own.
template <typename EndIt>
class Guesser {
  public:
    explicit Guesser(EndIt end) : end_(end) {}
    ~Guesser() { Join(); }
    Guesser(const Guesser &) = delete;
    Guesser &operator=(const Guesser &) = delete;
    Guesser(Guesser &&) = delete;
    Guesser &operator=(Guesser &&) = delete;

    void Guess(void *handle) { guess_ = handle; }
    // How often it met.
    uint32_t Join() {
        isOver_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
        return ended_;
    }

  private:
    void Run() {
        while (!isOver_) {
            ended_ += end_(guess_) == 0 ? 1 : 0;
        }
    }

    EndIt end_;
    std::atomic<void *> guess_{nullptr};
    std::atomic<bool> isOver_{false};
    uint32_t ended_ = 0;
    std::thread thread_{[this] { Run(); }};
};

constexpr uint32_t kGuesses = 20000;

TEST_F(RealTimers, AGuessedHandleStopsATimerOnce) {
    static constexpr DxrHostTimer kTimer = {sizeof(DxrHostTimer), 3600000, 1,      0,
                                            [](void *) {},        nullptr, nullptr};
    Guesser guesser([](void *handle) {
        DxrHostTimer guessed = kTimer;
        guessed.handle = handle;
        return DXR_StopTimer(&guessed);
    });
    uint32_t stops = 0;
    DxrHostTimer timer = kTimer;
    for (uint32_t round = 0; round < kGuesses; ++round) {
        guesser.Guess(NextAfter(timer.handle));
        EXPECT_EQ(DXR_StartTimer(&timer), 0U);
        stops += DXR_StopTimer(&timer) == 0 ? 1 : 0;
    }
    EXPECT_EQ(stops + guesser.Join(), kGuesses);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostFiles, AGuessedHandleClosesAFileOnce) {
    Guesser guesser([](void *handle) { return DXR_FClose(handle); });
    uint32_t closes = 0;
    void *file = nullptr;
    for (uint32_t round = 0; round < kGuesses; ++round) {
        guesser.Guess(NextAfter(file));
        file = DXR_FOpen("/dev/null", "rb");
        ASSERT_NE(file, nullptr);
        closes += DXR_FClose(file) == 0 ? 1 : 0;
    }
    EXPECT_EQ(closes + guesser.Join(), kGuesses);
    EXPECT_EQ(End(), 0U);
}

TEST_F(RealTimers, AStopWaitsForAFunctionThatRunsOnce) {
    static std::atomic<int> step{0};
    step = 0;
    DxrHostTimer timer{sizeof(DxrHostTimer),
                       0,
                       0,
                       0,
                       [](void *) {
                           step = 1;
                           std::this_thread::sleep_for(std::chrono::milliseconds(500));
                           step = 2;
                       },
                       nullptr,
                       nullptr};
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    while (step == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_StopTimer(&timer), static_cast<uint32_t>(ENOENT)) << "it did fire";
    EXPECT_EQ(step, 2) << "and does not run any more";
}

TEST_F(RealTimers, AHeartHasOneWatchHoweverManyThreadsBeat) {
    DxrHostHeartMonitor monitor{sizeof(DxrHostHeartMonitor), 0, nullptr, nullptr};
    for (int round = 0; round < 50; ++round) {
        std::vector<std::thread> threads;
        for (uint32_t thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&monitor] {
                for (int beat = 0; beat < 20; ++beat) {
                    EXPECT_EQ(DXR_SetHeartMon(&monitor, 60000, 10, 7), 0U);
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        ASSERT_EQ(DXR_StopHeartToMon(&monitor), 0U);
        ASSERT_EQ(DXR_StopHeartToMon(&monitor), static_cast<uint32_t>(ENOENT)) << round;
    }
    EXPECT_EQ(End(), 0U);
}

TEST_F(RealTimers, FireInRealTime) {
    static std::atomic<int> fired;
    fired = 0;
    DxrHostTimer timer{};
    timer.size = sizeof(timer);
    timer.ms = 1;
    timer.repeats = 1;
    timer.function = [](void *) { ++fired; };
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    while (fired < 3) {
        DXR_DelayTask(1);
    }
    EXPECT_EQ(DXR_StopTimer(&timer), 0U);
    const int then = fired;
    DXR_DelayTask(5);
    EXPECT_EQ(fired, then);
}

// --- The rest

TEST_F(HostFiles, ValuesAreWhatTheyWereSetTo) {
    uint32_t value = 5;
    EXPECT_EQ(DXR_GetEnvValueById(3, &value), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(value, 5U);
    DxrHostSetEnvValue(host, 3, 77);
    EXPECT_EQ(DXR_GetEnvValueById(3, &value), 0U);
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(DXR_GetEnvValueById(3, nullptr), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_GetLrId(), 0U);
    DxrHostSetLrId(host, 4);
    EXPECT_EQ(DXR_GetLrId(), 4U);
    EXPECT_LE(DXR_GetCpuUseRate(), 100U);
    const TemporaryDirectory load(TemporaryDirectory::InMemory());
    const std::string stat = load.Path("stat");
    g_load = stat.c_str();
    (void)load.Write("stat", "cpu  4000000000000 0 0 4000000000000 0 0 0 0 0 0\n");
    (void)DXR_GetCpuUseRate();
    (void)load.Write("stat", "cpu  4000000000010 5 10 4000000000060 10 3 1 1 7 7\n");
    EXPECT_EQ(DXR_GetCpuUseRate(), 30U) << "since the last time";
    g_load = nullptr;
    DxrHostSetCpuUseRate(host, 35);
    EXPECT_EQ(DXR_GetCpuUseRate(), 35U);
    EXPECT_EQ(DXR_RestorePatch(), 0U);
    EXPECT_EQ(messages.back(), (dxrtest::Message{6, "no patches to restore"}));
}

TEST_F(HostFiles, BuffersAreCompressed) {
    std::string text;
    for (int i = 0; i < 500; ++i) {
        text += "line " + std::to_string(i % 7) + "\n";
    }
    std::vector<unsigned char> packed(text.size());
    auto room = static_cast<uint32_t>(packed.size());
    const auto size = static_cast<uint32_t>(text.size());
    EXPECT_EQ(DXR_ZipBuffer(size, text.data(), packed.data(), &room), 0U);
    EXPECT_LT(room, 200U);
    std::string back(text.size(), ' ');
    uLongf length = back.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef *>(back.data()), &length, packed.data(), room),
              Z_OK);
    EXPECT_EQ(back, text);
    room = 5;
    EXPECT_EQ(DXR_ZipBuffer(size, text.data(), packed.data(), &room),
              static_cast<uint32_t>(ENOSPC));
    EXPECT_GE(room, size);
    DxrHostFailNth(host, "system.zip", 1, false);
    EXPECT_EQ(DXR_ZipBuffer(size, text.data(), packed.data(), &room),
              static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(DXR_ZipBuffer(size, text.data(), nullptr, &room), static_cast<uint32_t>(EINVAL));
    const uint32_t before = room;
    g_zlibHasMemory = false;
    EXPECT_EQ(DXR_ZipBuffer(size, text.data(), packed.data(), &room),
              static_cast<uint32_t>(ENOMEM));
    g_zlibHasMemory = true;
    EXPECT_EQ(room, before) << "nothing is known of the room";
}

}  // namespace
