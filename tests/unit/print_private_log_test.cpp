#include "dxr/print_private_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "support/file_sandbox.h"
#include "support/private_log_host.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::PrivateLogHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;

constexpr uint32_t kPathSize = 4096;
constexpr uint32_t kNoLength = 0xFFFFFFFF;
const std::string kDirectory = DXR_PRIVATE_LOG_DIRECTORY;
const std::string kLogPath = kDirectory + "a.log";
const std::string kTemporaryPath = kDirectory + "dxr_log.tmp";
constexpr const char *kFrom = DXR_PRIVATE_LOG_DIRECTORY "from";
constexpr const char *kTo = DXR_PRIVATE_LOG_DIRECTORY "to";

// Text whose every stretch differs from its neighbours: a copy from a wrong place shows.
std::string Pattern(size_t size) {
    std::string text;
    for (size_t line = 0; text.size() < size; ++line) {
        text +=
            "line " + std::to_string(line) + " of the log, " + std::to_string(line * 7919) + "\n";
    }
    text.resize(size);
    return text;
}

class PrivateLog : public testing::Test {
  protected:
    PrivateLogHost host_;
    dxrtest::FileSandbox &files_ = host_.files;
    std::vector<std::string> &calls_ = host_.host.calls;

    // The log's text read into `size` bytes.
    struct Reading {
        uint32_t result;
        bool untouched;
        std::string text;
    };
    static Reading Read(const char *name, uint32_t size) {
        GuardedBuffer out(size);
        const uint32_t result = DXR_GetPrivateLog(name, out.Data(), size);
        EXPECT_TRUE(out.Intact()) << "size " << size;
        const bool untouched = out.Untouched();
        EXPECT_TRUE(untouched || out.Terminated()) << "size " << size;
        return {result, untouched, untouched ? std::string() : out.Text()};
    }

    size_t CallsStartingWith(const std::string &start) const {
        return static_cast<size_t>(
            std::count_if(calls_.begin(), calls_.end(), [&start](const std::string &call) {
                return call.compare(0, start.size(), start) == 0;
            }));
    }
};

using PrivateLogPath = PrivateLog;
using PrivateLogWrite = PrivateLog;
using PrivateLogRead = PrivateLog;
using PrivateLogLength = PrivateLog;
using PrivateLogCut = PrivateLog;
using CopyFile = PrivateLog;

// --- the sandbox itself

TEST_F(PrivateLog, LibraryReachesTheSandboxedFunctions) {
    files_.Put("a.log", "x");
    char path[kPathSize];
    ASSERT_EQ(DXR_GetPrivateLogPath("a.log", path, kPathSize), 0U);
    EXPECT_EQ(files_.Count("realpath"), 1U);
    EXPECT_EQ(DXR_CopyFile(path, path, 0, 1), 0U);
    EXPECT_EQ(files_.Count("fopen"), 2U);
    EXPECT_EQ(files_.Count("fclose"), 2U);
    EXPECT_EQ(files_.OpenStreams(), 0U);
}

// --- DXR_GetPrivateLogPath

TEST(PrivateLogDirectory, IsPartOfTheInterface) {
    EXPECT_STREQ(DXR_PRIVATE_LOG_DIRECTORY, "/opt/lomk2/var/log/");
}

TEST_F(PrivateLogPath, ExistingLogIsResolvedInTheLogDirectory) {
    files_.Put("a.log", "x");
    GuardedBuffer out(kPathSize);
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out.Data(), kPathSize), 0U);
    EXPECT_EQ(out.Text(), kLogPath);
    EXPECT_TRUE(out.Intact());
    EXPECT_THAT(calls_, ElementsAre("realpath " + kLogPath));
}

// MODULE-22
TEST_F(PrivateLogPath, AnyOtherSizeIsRefusedWithoutTouchingTheFileSystem) {
    files_.Put("a.log", "x");
    for (const uint32_t size : {0U, 1U, 512U, 4095U, 4097U, 8192U, 0x10001000U, 0xFFFFFFFFU}) {
        GuardedBuffer out(kPathSize);
        EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out.Data(), size), 1U) << size;
        EXPECT_TRUE(out.Untouched()) << size;
    }
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(PrivateLogPath, NullArgumentsAreFailures) {
    files_.Put("a.log", "x");
    char out[kPathSize];
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", nullptr, kPathSize), 1U);
    EXPECT_EQ(DXR_GetPrivateLogPath(nullptr, out, kPathSize), 1U);
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(PrivateLogPath, MissingLogOrDirectoryIsAFailure) {
    GuardedBuffer out(kPathSize);
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out.Data(), kPathSize), 1U);
    std::filesystem::remove_all(files_.Log(""));
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out.Data(), kPathSize), 1U);
    EXPECT_TRUE(out.Intact());
}

TEST_F(PrivateLogPath, FailureOfRealpathIsAFailure) {
    files_.Put("a.log", "x");
    files_.Fail("realpath", EIO);
    char out[kPathSize];
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out, kPathSize), 1U);
    EXPECT_EQ(DXR_GetPrivateLogPath("a.log", out, kPathSize), 0U);
}

// MODULE-20
TEST_F(PrivateLogPath, LinksAreFollowed) {
    files_.Put("a.log", "x");
    std::filesystem::create_symlink("a.log", files_.Log("link"));
    char out[kPathSize];
    ASSERT_EQ(DXR_GetPrivateLogPath("link", out, kPathSize), 0U);
    EXPECT_EQ(out, kLogPath);
}

// MODULE-20
TEST_F(PrivateLogPath, NamesAreAppendedAsTheyAre) {
    files_.Put("a.log", "x");
    files_.Put("50%s%n.log", "x");
    std::filesystem::create_directory(files_.Log("sub"));
    const struct {
        const char *name;
        std::string path;
    } rows[] = {{"/a.log", kLogPath},
                {"./a.log", kLogPath},
                {"../log/a.log", kLogPath},
                {"sub/../a.log", kLogPath},
                {"50%s%n.log", kDirectory + "50%s%n.log"},
                {"", "/opt/lomk2/var/log"}};
    for (const auto &row : rows) {
        char out[kPathSize];
        calls_.clear();
        EXPECT_EQ(DXR_GetPrivateLogPath(row.name, out, kPathSize), 0U) << row.name;
        EXPECT_EQ(out, row.path);
        EXPECT_THAT(calls_, ElementsAre("realpath " + kDirectory + row.name));
    }
}

TEST_F(PrivateLogPath, OverlongNameIsCutToThePathBuffer) {
    // A name that fills the buffer to its last character; what is behind that is lost.
    std::string name = "a.log";
    while (kDirectory.size() + name.size() < kPathSize - 2) {
        name.insert(0, "./");
    }
    if (kDirectory.size() + name.size() < kPathSize - 1) {
        name.insert(0, "/");
    }
    ASSERT_EQ(kDirectory.size() + name.size(), kPathSize - 1);
    char out[kPathSize];
    DXR_GetPrivateLogPath(name.c_str(), out, kPathSize);
    DXR_GetPrivateLogPath((name + "X").c_str(), out, kPathSize);
    DXR_GetPrivateLogPath((name + std::string(10000, 'X')).c_str(), out, kPathSize);
    const std::string asked = "realpath " + kDirectory + name;
    EXPECT_THAT(calls_, ElementsAre(asked, asked, asked));
}

TEST_F(PrivateLogPath, OverlongComponentIsAFailure) {
    GuardedBuffer out(kPathSize);
    EXPECT_EQ(DXR_GetPrivateLogPath(std::string(300, 'n').c_str(), out.Data(), kPathSize), 1U);
    EXPECT_TRUE(out.Intact());
}

// --- DXR_WritePrivateLog

TEST_F(PrivateLogWrite, EmptySlotWritesNothing) {
    g_dxrHooks.print.writePrivateLog = nullptr;
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 0, ""), 0U);
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 4, "text"), 0U);
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 2500, std::string(2500, 'x').c_str()), 0U);
    EXPECT_THAT(calls_, IsEmpty());
    EXPECT_THAT(files_.Names(), IsEmpty());
}

TEST_F(PrivateLogWrite, LengthZeroMakesOneEmptyWriteAndGivesItsResult) {
    std::vector<std::string> rests;
    for (const char *const text : {"", "not looked at", static_cast<const char *>(nullptr)}) {
        for (const uint32_t result : {0U, 1U, 77U, 0xFFFFFFFFU}) {
            calls_.clear();
            host_.onWrite = [&rests, result](const char *, const char *rest) {
                rests.emplace_back(rest);
                return result;
            };
            EXPECT_EQ(DXR_WritePrivateLog("a.log", 0, text), result);
            EXPECT_THAT(calls_, ElementsAre("write a.log %s"));
        }
    }
    EXPECT_THAT(rests, testing::Each(std::string()));
}

TEST_F(PrivateLogWrite, EmptyWriteCreatesTheFile) {
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 0, ""), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(std::string()));
}

TEST_F(PrivateLogWrite, TextGoesInStepsOf1000FromTheCallersOwnMemory) {
    const std::string text = Pattern(5001);
    for (const uint32_t length :
         {1U, 999U, 1000U, 1001U, 1999U, 2000U, 2001U, 2500U, 5000U, 5001U}) {
        std::vector<ptrdiff_t> offsets;
        host_.onWrite = [&offsets, &text](const char *name, const char *rest) {
            EXPECT_STREQ(name, "a.log");
            offsets.push_back(rest - text.data());
            return 5U;  // results of pieces are not looked at
        };
        calls_.clear();
        EXPECT_EQ(DXR_WritePrivateLog("a.log", length, text.data()), 0U);
        std::vector<ptrdiff_t> expected;
        for (ptrdiff_t offset = 0; offset < static_cast<ptrdiff_t>(length); offset += 1000) {
            expected.push_back(offset);
        }
        EXPECT_EQ(offsets, expected) << "length " << length;
        EXPECT_THAT(calls_, testing::Each(std::string("write a.log %s")));
    }
    EXPECT_EQ(text, Pattern(5001));
}

// HOST-22
TEST_F(PrivateLogWrite, Length2500MakesThreeCalls) {
    const std::string text = Pattern(2500);
    std::vector<std::string> rests;
    host_.onWrite = [&rests](const char *, const char *rest) {
        rests.emplace_back(rest);
        return 0U;
    };
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 2500, text.c_str()), 0U);
    EXPECT_THAT(rests, ElementsAre(text, text.substr(1000), text.substr(2000)));
}

// HOST-22
TEST_F(PrivateLogWrite, HookThatBoundsItsWritesKeepsTheWholeText) {
    const std::string text = Pattern(12345);
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 12345, text.c_str()), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(text));
}

int g_otherHookCalls;

DXR_PRINTF(2, 3)
uint32_t OtherHook(const char *, const char *, ...) {
    ++g_otherHookCalls;
    return 0;
}

TEST_F(PrivateLogWrite, SlotIsReadOnce) {
    g_otherHookCalls = 0;
    const std::string text = Pattern(2500);
    for (const DxrPrivateLogHook replacement :
         {&OtherHook, static_cast<DxrPrivateLogHook>(nullptr)}) {
        g_dxrHooks.print.writePrivateLog = PrivateLogHost::Write;
        calls_.clear();
        host_.onWrite = [replacement](const char *, const char *) {
            g_dxrHooks.print.writePrivateLog = replacement;
            return 0U;
        };
        EXPECT_EQ(DXR_WritePrivateLog("a.log", 2500, text.c_str()), 0U);
        EXPECT_EQ(calls_.size(), 3U);
    }
    EXPECT_EQ(g_otherHookCalls, 0);
}

TEST_F(PrivateLogWrite, NullNameOrTextWritesNothing) {
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 3, nullptr), 0U);
    EXPECT_EQ(DXR_WritePrivateLog(nullptr, 3, "abc"), 0U);
    EXPECT_EQ(DXR_WritePrivateLog(nullptr, 0, ""), 0U);
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(PrivateLogWrite, OffsetsEndBefore32BitsOverflow) {
    // Address space that is never read: the hook only looks at the pointers.
    constexpr size_t kSpace = size_t{1} << 32;
    void *const space =
        mmap(nullptr, kSpace, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(space, MAP_FAILED);
    const char *const text = static_cast<const char *>(space);
    uint64_t calls = 0;
    ptrdiff_t last = 0;
    host_.onWrite = [&](const char *, const char *rest) {
        ++calls;
        last = rest - text;
        return 0U;
    };
    files_.watching = false;
    EXPECT_EQ(DXR_WritePrivateLog("a.log", 0xFFFFFFFF, text), 0U);
    EXPECT_EQ(calls, 4294968U);
    EXPECT_EQ(last, 4294967000);
    munmap(space, kSpace);
}

// --- DXR_GetPrivateLog

TEST_F(PrivateLogRead, WholeLogIsRead) {
    for (const size_t size : {1U, 5U, 510U, 511U, 512U, 513U, 1022U, 1023U, 20000U}) {
        const std::string text = Pattern(size);
        files_.Put("a.log", text);
        const Reading reading = Read("a.log", 30000);
        EXPECT_EQ(reading.result, 0U);
        EXPECT_EQ(reading.text, text);
    }
}

TEST_F(PrivateLogRead, LineEndsAndPercentSignsAreKept) {
    const std::string text = "%s%n 100%\r\n\n\n\tlast line without an end";
    files_.Put("a.log", text);
    EXPECT_EQ(Read("a.log", 1000).text, text);
}

TEST_F(PrivateLogRead, LinesOfAnyLengthAreKeptWhole) {
    for (size_t length = 508; length <= 516; ++length) {
        const std::string text =
            std::string(length, 'a') + "\n" + std::string(2 * length, 'b') + "\nend\n";
        files_.Put("a.log", text);
        EXPECT_EQ(Read("a.log", 4000).text, text) << length;
    }
}

TEST_F(PrivateLogRead, EveryBufferSizeKeepsWhatFits) {
    const std::string text = "first line\n" + std::string(530, 'x') + "\nthird\n";
    files_.Put("a.log", text);
    for (uint32_t size = 1; size <= 600; ++size) {
        const Reading reading = Read("a.log", size);
        EXPECT_EQ(reading.result, 0U) << size;
        EXPECT_EQ(reading.text, text.substr(0, size - 1)) << size;
    }
}

TEST_F(PrivateLogRead, BufferOfSizeZeroIsAFailureAtTheFirstLine) {
    files_.Put("a.log", "line one\nline two\n");
    const Reading reading = Read("a.log", 0);
    EXPECT_EQ(reading.result, 1U);
    EXPECT_TRUE(reading.untouched);
    EXPECT_EQ(CallsStartingWith("fgets"), 1U);
    EXPECT_EQ(CallsStartingWith("fclose"), 1U);
}

TEST_F(PrivateLogRead, RestOfTheFileIsReadButNotKept) {
    files_.Put("a.log", "1\n2\n3\n4\n5\n");
    EXPECT_EQ(Read("a.log", 3).text, "1\n");
    EXPECT_EQ(CallsStartingWith("fgets 512"), 6U);
}

TEST_F(PrivateLogRead, FileIsOpenedByItsResolvedPathForReadingText) {
    files_.Put("a.log", "");
    std::filesystem::create_symlink("a.log", files_.Log("link"));
    Read("link", 10);
    EXPECT_THAT(calls_, ElementsAre("realpath " + kDirectory + "link", "fopen " + kLogPath + " r",
                                    "fgets 512", "fclose"));
}

TEST_F(PrivateLogRead, EmptyLogLeavesTheBufferAsItWas) {
    files_.Put("a.log", "");
    for (const uint32_t size : {0U, 1U, 100U}) {
        const Reading reading = Read("a.log", size);
        EXPECT_EQ(reading.result, 0U);
        EXPECT_TRUE(reading.untouched);
    }
}

TEST_F(PrivateLogRead, MissingLogIsAFailure) {
    const Reading reading = Read("a.log", 100);
    EXPECT_EQ(reading.result, 1U);
    EXPECT_TRUE(reading.untouched);
    EXPECT_THAT(calls_, ElementsAre("realpath " + kLogPath));
}

TEST_F(PrivateLogRead, FailureToResolveOrOpenIsAFailure) {
    files_.Put("a.log", "text");
    for (const char *const function : {"realpath", "fopen"}) {
        files_.Fail(function, EMFILE);
        const Reading reading = Read("a.log", 100);
        EXPECT_EQ(reading.result, 1U) << function;
        EXPECT_TRUE(reading.untouched) << function;
    }
    EXPECT_EQ(Read("a.log", 100).result, 0U);
}

TEST_F(PrivateLogRead, NullArgumentsAreFailures) {
    files_.Put("a.log", "");
    char out[10];
    EXPECT_EQ(DXR_GetPrivateLog("a.log", nullptr, 10), 1U);
    EXPECT_EQ(DXR_GetPrivateLog(nullptr, out, 10), 1U);
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(PrivateLogRead, ReadErrorEndsTheTextWithSuccess) {
    files_.Put("a.log", "one\ntwo\nthree\n");
    files_.Fail("fgets", EIO, 3);
    const Reading reading = Read("a.log", 100);
    EXPECT_EQ(reading.result, 0U);
    EXPECT_EQ(reading.text, "one\ntwo\n");
    EXPECT_EQ(CallsStartingWith("fclose"), 1U);
}

TEST_F(PrivateLogRead, DirectoryReadsAsAnEmptyLog) {
    std::filesystem::create_directory(files_.Log("sub"));
    const Reading reading = Read("sub", 100);
    EXPECT_EQ(reading.result, 0U);
    EXPECT_TRUE(reading.untouched);
}

TEST_F(PrivateLogRead, LineIsKeptUpToItsFirstNulByte) {
    const std::string nul(1, '\0');
    files_.Put("a.log", "one" + nul + "lost\n" + nul + "lost\ntwo\n");
    EXPECT_EQ(Read("a.log", 100).text, "onetwo\n");

    // In a long line only the 511 characters read at once are one line.
    files_.Put("a.log", "x" + nul + std::string(509, 'y') + "second\n");
    EXPECT_EQ(Read("a.log", 100).text, "xsecond\n");
}

TEST_F(PrivateLogRead, OldContentOfTheBufferDoesNotMatter) {
    files_.Put("a.log", "new\n");
    char out[16] = "old old old";
    EXPECT_EQ(DXR_GetPrivateLog("a.log", out, sizeof(out)), 0U);
    EXPECT_STREQ(out, "new\n");
}

TEST_F(PrivateLogRead, NamesThatCannotBeResolvedForLengthAreFailures) {
    EXPECT_EQ(Read(std::string(300, 'n').c_str(), 10).result, 1U);
    EXPECT_EQ(Read(std::string(9000, 'n').c_str(), 10).result, 1U);
}

// --- DXR_GetPrivateLogLen

TEST_F(PrivateLogLength, LengthComesFromTheHostInOneFixedOrder) {
    files_.Put("a.log", Pattern(1234));
    EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), 1234U);
    EXPECT_THAT(calls_, ElementsAre("allocate mid=6 size=4096", "realpath " + kLogPath,
                                    "fileLength " + kLogPath, "release #0"));
}

TEST_F(PrivateLogLength, BlockIsAccountedToItsOwnIdentifierAndPlace) {
    files_.Put("a.log", "x");
    DXR_SetDefaultMid(42);
    DXR_GetPrivateLogLen("a.log");
    ASSERT_EQ(host_.host.allocations.size(), 1U);
    ASSERT_EQ(host_.host.releases.size(), 1U);
    EXPECT_EQ(host_.host.allocations[0].mid, 6U);
    EXPECT_THAT(host_.host.allocations[0].file, StartsWith("src/dxr/api/dxr_print"));
    EXPECT_GT(host_.host.allocations[0].line, 0U);
    EXPECT_THAT(host_.host.releases[0].file, StartsWith("src/dxr/api/dxr_print"));
    EXPECT_GT(host_.host.releases[0].line, 0U);
}

TEST_F(PrivateLogLength, PathBufferIsZeroedBeforeUse) {
    files_.Put("a.log", "x");
    std::string seen;
    host_.onFileLength = [&seen](const char *path) {
        seen.assign(path, kPathSize);
        return 1U;
    };
    DXR_GetPrivateLogLen("a.log");
    EXPECT_EQ(seen, kLogPath + std::string(kPathSize - kLogPath.size(), '\0'));
}

TEST_F(PrivateLogLength, EveryLengthOfTheHostIsPassedOn) {
    files_.Put("a.log", "x");
    for (const uint32_t length : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        host_.onFileLength = [length](const char *) { return length; };
        EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), length);
    }
    g_dxrHooks.system.fileLength = nullptr;
    EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), 0U);
}

TEST_F(PrivateLogLength, FailedAllocationIsAFailureBeforeAnyFileIsTouched) {
    files_.Put("a.log", "x");
    host_.host.FailAllocation(1);
    EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), kNoLength);
    EXPECT_THAT(calls_, ElementsAre("allocate mid=6 size=4096"));
    calls_.clear();
    DXR_SetMemoryHooks(nullptr, nullptr);
    EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), kNoLength);
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(PrivateLogLength, MissingLogIsAFailureAndReleasesTheBuffer) {
    EXPECT_EQ(DXR_GetPrivateLogLen("a.log"), kNoLength);
    EXPECT_THAT(calls_,
                ElementsAre("allocate mid=6 size=4096", "realpath " + kLogPath, "release #0"));
    EXPECT_EQ(DXR_GetPrivateLogLen(nullptr), kNoLength);
    EXPECT_EQ(host_.host.LiveBlocks(), 0U);
}

// --- DXR_FixPrivateLogLen

TEST_F(PrivateLogCut, NewestBytesAreKept) {
    const std::string text = Pattern(10000);
    files_.Put("a.log", text);
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 4000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(text.substr(6000)));
    EXPECT_THAT(files_.Names(), ElementsAre("a.log"));
}

TEST_F(PrivateLogCut, StepsGoInTheirOrder) {
    files_.Put("a.log", Pattern(1100));
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 600), 0U);
    EXPECT_THAT(calls_,
                ElementsAre("allocate mid=6 size=4096", "realpath " + kLogPath,
                            "fileLength " + kLogPath, "release #0",  // its length
                            "realpath " + kLogPath,                  // its path
                            "write dxr_log.tmp %s", "realpath " + kTemporaryPath,
                            "realpath " + kLogPath, "fopen " + kLogPath + " r", "fseek 500",
                            "realpath " + kTemporaryPath, "fopen " + kTemporaryPath + " w",
                            "fread 512", "fwrite 512", "fread 88", "fwrite 88", "fclose", "fclose",
                            "remove " + kLogPath, "rename " + kTemporaryPath + " " + kLogPath));
}

TEST_F(PrivateLogCut, LogThatIsShortEnoughIsLeftAlone) {
    files_.Put("a.log", Pattern(4000));
    for (const uint32_t maxLength : {4000U, 4001U, 0x80000000U, 0xFFFFFFFFU}) {
        calls_.clear();
        EXPECT_EQ(DXR_FixPrivateLogLen("a.log", maxLength), 0U);
        EXPECT_EQ(calls_.back(), "release #" + std::to_string(host_.host.releases.size() - 1));
        EXPECT_EQ(calls_.size(), 4U);
    }
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(4000)));
    EXPECT_THAT(files_.Names(), ElementsAre("a.log"));
}

TEST_F(PrivateLogCut, AnyMaximumKeepsThatMany) {
    const std::string text = Pattern(1300);
    for (const uint32_t maxLength : {0U, 1U, 2U, 275U, 276U, 277U, 511U, 512U, 513U, 787U, 788U,
                                     789U, 1023U, 1024U, 1025U, 1298U, 1299U, 1300U, 1301U}) {
        calls_.clear();
        files_.Put("a.log", text);
        EXPECT_EQ(DXR_FixPrivateLogLen("a.log", maxLength), 0U);
        const size_t kept = std::min<size_t>(maxLength, text.size());
        EXPECT_THAT(files_.Content("a.log"), Optional(text.substr(text.size() - kept)))
            << maxLength;
    }
}

// HOST-20
TEST_F(PrivateLogCut, LengthOf2GiBOrMoreIsAFailure) {
    files_.Put("a.log", "text");
    for (const uint32_t length : {0x80000000U, 0x80000001U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        for (const uint32_t maxLength : {0U, 100U, 0x80000000U, 0xFFFFFFFFU}) {
            host_.onFileLength = [length](const char *) { return length; };
            calls_.clear();
            EXPECT_EQ(DXR_FixPrivateLogLen("a.log", maxLength), 1U);
            EXPECT_EQ(calls_.size(), 4U);
        }
    }
    host_.onFileLength = [](const char *) { return 0x7FFFFFFFU; };
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 0x7FFFFFFF), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(std::string("text")));
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 10), 0U);
    EXPECT_EQ(CallsStartingWith("fseek 2147483637"), 1U);
}

TEST_F(PrivateLogCut, AnEmptyLogIsShortEnough) {
    files_.Put("a.log", "");
    for (const uint32_t maxLength : {0U, 1U, 1000U}) {
        EXPECT_EQ(DXR_FixPrivateLogLen("a.log", maxLength), 0U);
    }
    EXPECT_THAT(files_.Content("a.log"), Optional(std::string()));
}

TEST_F(PrivateLogCut, MissingLogNullNameOrNoMemoryIsAFailure) {
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 10), 1U);
    EXPECT_EQ(DXR_FixPrivateLogLen(nullptr, 10), 1U);
    files_.Put("a.log", Pattern(100));
    host_.host.FailAllocation(1);
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 10), 1U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(100)));
    EXPECT_EQ(CallsStartingWith("write"), 0U);
}

// MODULE-11
TEST_F(PrivateLogCut, OldContentOfTheTemporaryFileIsReplaced) {
    files_.Put("a.log", Pattern(3000));
    files_.Put("dxr_log.tmp", std::string(5000, 'o'));
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000).substr(2000)));
}

TEST_F(PrivateLogCut, FailureBeforeTheRemovalLeavesTheLogUntouched) {
    const std::string text = Pattern(3000);
    const struct {
        const char *function;
        uint64_t call;               // which call of a cut fails
        size_t writeCalls;           // whether the host had been asked for the temporary file
    } rows[] = {{"realpath", 1, 0},  // for the length
                {"realpath", 2, 0},  // the log's path
                {"realpath", 3, 1},  // the temporary file's path
                {"realpath", 4, 1},  // the copy's source
                {"fopen", 1, 1},    {"fseek", 1, 1}, {"realpath", 5, 1},  // the copy's destination
                {"fopen", 2, 1},    {"remove", 1, 1}};
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.call));
        files_.Put("a.log", text);
        calls_.clear();
        files_.Fail(row.function, EACCES, row.call);
        EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
        EXPECT_THAT(files_.Content("a.log"), Optional(text));
        EXPECT_EQ(CallsStartingWith("write"), row.writeCalls);
        EXPECT_EQ(CallsStartingWith("rename"), 0U);
        EXPECT_EQ(files_.OpenStreams(), 0U);
    }
}

TEST_F(PrivateLogCut, FailedRemovalLeavesTheTrimmedCopyBehind) {
    files_.Put("a.log", Pattern(3000));
    files_.Fail("remove", EROFS);
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000)));
    EXPECT_THAT(files_.Content("dxr_log.tmp"), Optional(Pattern(3000).substr(2000)));
}

TEST_F(PrivateLogCut, FailedRenamingLeavesTheLogMissing) {
    files_.Put("a.log", Pattern(3000));
    files_.Fail("rename", EIO);
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Names(), ElementsAre("dxr_log.tmp"));
    EXPECT_THAT(files_.Content("dxr_log.tmp"), Optional(Pattern(3000).substr(2000)));
}

TEST_F(PrivateLogCut, WithoutTheWriteHookTheTemporaryFileMustExist) {
    g_dxrHooks.print.writePrivateLog = nullptr;
    files_.Put("a.log", Pattern(3000));
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000)));
    EXPECT_THAT(files_.Names(), ElementsAre("a.log"));

    files_.Put("dxr_log.tmp", "old");
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000).substr(2000)));
}

TEST_F(PrivateLogCut, ResultOfTheEmptyWriteIsIgnored) {
    files_.Put("a.log", Pattern(3000));
    host_.writeResult = 1;
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000).substr(2000)));
}

// HOST-23
TEST_F(PrivateLogCut, HostThatCreatesNoTemporaryFileIsAFailure) {
    files_.Put("a.log", Pattern(3000));
    host_.onWrite = [](const char *name, const char *rest) {
        EXPECT_STREQ(name, "dxr_log.tmp");
        EXPECT_STREQ(rest, "");
        return 0U;
    };
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000)));
}

// MODULE-21
TEST_F(PrivateLogCut, LogNamedLikeTheTemporaryFileLosesItsContent) {
    files_.Put("dxr_log.tmp", Pattern(30000));
    EXPECT_EQ(DXR_FixPrivateLogLen("dxr_log.tmp", 1000), 1U);
    EXPECT_THAT(files_.Names(), IsEmpty());
}

TEST_F(PrivateLogCut, DirectoryInThePlaceOfTheTemporaryFileIsAFailure) {
    files_.Put("a.log", Pattern(3000));
    std::filesystem::create_directory(files_.Log("dxr_log.tmp"));
    host_.onWrite = [](const char *, const char *) { return 1U; };
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000)));
}

TEST_F(PrivateLogCut, DirectoryInThePlaceOfTheLogIsNotRemovedWithItsContent) {
    std::filesystem::create_directory(files_.Log("a.log"));
    files_.Put("a.log/inner", "text");
    host_.onFileLength = [](const char *) { return 3000U; };
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    EXPECT_THAT(files_.Content("a.log/inner"), Optional(std::string("text")));
    EXPECT_THAT(files_.Content("dxr_log.tmp"), Optional(std::string()));
}

TEST_F(PrivateLogCut, LogThatGotShorterMeanwhileKeepsWhatIsThere) {
    files_.Put("a.log", Pattern(2500));
    host_.onFileLength = [](const char *) { return 3000U; };
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(2500).substr(2000)));
}

// Kept: a copy does not report write errors, so a cut on a full device loses what could not be
// written.
TEST_F(PrivateLogCut, WriteErrorsDoNotStopTheCut) {
    files_.Put("a.log", Pattern(3000));
    files_.FailAll("fwrite", ENOSPC);
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("a.log"), Optional(std::string()));
    EXPECT_THAT(files_.Names(), ElementsAre("a.log"));
}

TEST_F(PrivateLogCut, LinkedLogIsCutAtItsTarget) {
    files_.Put("real.log", Pattern(3000));
    std::filesystem::create_symlink("real.log", files_.Log("a.log"));
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 0U);
    EXPECT_THAT(files_.Content("real.log"), Optional(Pattern(3000).substr(2000)));
    EXPECT_TRUE(std::filesystem::is_symlink(files_.Log("a.log")));
}

// Files are reached as an ordinary user, also when the tests run as root, whom no permission stops.
class OrdinaryUser {
  public:
    OrdinaryUser() : before_(static_cast<uid_t>(setfsuid(Target()))) {}
    ~OrdinaryUser() { setfsuid(before_); }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

    static uid_t Target() { return geteuid() == 0 ? 65534 : geteuid(); }
    static bool InForce() {
        return static_cast<uid_t>(setfsuid(static_cast<uid_t>(-1))) == Target();
    }

  private:
    uid_t before_;
};

TEST_F(PrivateLogCut, ReadOnlyDirectoryStopsAtTheRemoval) {
    namespace fs = std::filesystem;
    files_.Put("a.log", Pattern(3000));
    files_.Put("dxr_log.tmp", "");
    host_.onWrite = [](const char *, const char *) { return 0U; };
    for (const char *const name :
         {"../../../..", "../../..", "../..", "..", "a.log", "dxr_log.tmp"}) {
        fs::permissions(files_.Log(name), fs::perms::all);
    }
    fs::permissions(files_.Log("."), fs::perms{0555});
    {
        const OrdinaryUser user;
        ASSERT_TRUE(OrdinaryUser::InForce());
        EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 1000), 1U);
    }
    fs::permissions(files_.Log("."), fs::perms::all);
    EXPECT_EQ(calls_.back(), "remove " + kLogPath);
    EXPECT_THAT(files_.Content("a.log"), Optional(Pattern(3000)));
    EXPECT_THAT(files_.Content("dxr_log.tmp"), Optional(Pattern(3000).substr(2000)));
}

TEST_F(PrivateLog, NothingIsEverPrinted) {
    host_.host.WithPrint();
    DXR_GetPrivateLogPath("missing", nullptr, 0);
    Read("missing", 10);
    DXR_GetPrivateLogLen("missing");
    DXR_FixPrivateLogLen("missing", 0);
    DXR_CopyFile("missing", "missing", 0, 1);
    files_.Put("a.log", Pattern(3000));
    files_.Fail("rename", EIO);
    DXR_FixPrivateLogLen("a.log", 10);
    EXPECT_THAT(host_.host.printed, IsEmpty());
}

// --- DXR_CopyFile

TEST_F(CopyFile, AnyRangeIsCopied) {
    const std::string text = Pattern(1600);
    files_.Put("from", text);
    files_.Put("to", "");
    const uint32_t marks[] = {0,    1,    2,    511,  512,  513,  1023, 1024,
                              1025, 1535, 1536, 1599, 1600, 1601, 2000};
    for (const uint32_t offset : marks) {
        for (const uint32_t length : marks) {
            EXPECT_EQ(DXR_CopyFile(kFrom, kTo, offset, length), 0U);
            const std::string expected = offset < text.size() ? text.substr(offset, length) : "";
            EXPECT_THAT(files_.Content("to"), Optional(expected)) << offset << " " << length;
        }
    }
    EXPECT_THAT(files_.Content("from"), Optional(text));
}

TEST_F(CopyFile, BytesAreCopiedAsTheyAre) {
    std::string bytes;
    for (int i = 0; i < 2000; ++i) {
        bytes.push_back(static_cast<char>(i % 256));
    }
    files_.Put("from", bytes);
    files_.Put("to", "");
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 2000), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(bytes));
}

TEST_F(CopyFile, StepsGoInTheirOrder) {
    files_.Put("from", Pattern(2000));
    files_.Put("to", "");
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 100, 1100), 0U);
    EXPECT_THAT(calls_,
                ElementsAre("realpath " + kDirectory + "from", "fopen " + kDirectory + "from r",
                            "fseek 100", "realpath " + kDirectory + "to",
                            "fopen " + kDirectory + "to w", "fread 512", "fwrite 512", "fread 512",
                            "fwrite 512", "fread 76", "fwrite 76", "fclose", "fclose"));
}

TEST_F(CopyFile, LengthZeroEmptiesAnExistingDestination) {
    files_.Put("from", Pattern(2000));
    files_.Put("to", Pattern(500));
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 0), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(std::string()));
    EXPECT_EQ(CallsStartingWith("fread"), 0U);
}

// MODULE-23
TEST_F(CopyFile, MissingDestinationIsAFailureAndIsNotCreated) {
    files_.Put("from", Pattern(2000));
    for (const uint32_t length : {0U, 10U}) {
        EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, length), 1U);
    }
    EXPECT_THAT(files_.Names(), ElementsAre("from"));
}

TEST_F(CopyFile, MissingSourceLeavesTheDestinationAsItWas) {
    files_.Put("to", "kept");
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 10), 1U);
    EXPECT_THAT(files_.Content("to"), Optional(std::string("kept")));
}

TEST_F(CopyFile, FailureBeforeTheDestinationIsOpenLeavesItAsItWas) {
    const struct {
        const char *function;
        uint64_t call;
        size_t closed;
    } rows[] = {
        {"realpath", 1, 0}, {"fopen", 1, 0}, {"fseek", 1, 1}, {"realpath", 2, 1}, {"fopen", 2, 1}};
    files_.Put("from", Pattern(2000));
    files_.Put("to", "kept");
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.call));
        calls_.clear();
        files_.Fail(row.function, EIO, row.call);
        EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 5, 10), 1U);
        EXPECT_THAT(files_.Content("to"), Optional(std::string("kept")));
        EXPECT_EQ(CallsStartingWith("fclose"), row.closed);
        EXPECT_EQ(files_.OpenStreams(), 0U);
        EXPECT_EQ(
            calls_[row.closed == 1 ? calls_.size() - 2 : calls_.size() - 1].rfind(row.function, 0),
            0U);
    }
}

TEST_F(CopyFile, NullPathsAreFailures) {
    files_.Put("a", "x");
    const std::string path = kDirectory + "a";
    EXPECT_EQ(DXR_CopyFile(nullptr, path.c_str(), 0, 1), 1U);
    EXPECT_EQ(DXR_CopyFile(path.c_str(), nullptr, 0, 1), 1U);
    EXPECT_THAT(files_.Content("a"), Optional(std::string("x")));
}

TEST_F(CopyFile, PathsAreResolved) {
    files_.Put("from", "text");
    files_.Put("to", "");
    std::filesystem::create_symlink("from", files_.Log("fromLink"));
    std::filesystem::create_symlink("to", files_.Log("toLink"));
    EXPECT_EQ(
        DXR_CopyFile((kDirectory + "fromLink").c_str(), (kDirectory + "toLink").c_str(), 1, 2), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(std::string("ex")));
    EXPECT_EQ(CallsStartingWith("fopen " + kDirectory + "from r"), 1U);
    EXPECT_EQ(CallsStartingWith("fopen " + kDirectory + "to w"), 1U);
}

TEST_F(CopyFile, PathsOutsideTheLogDirectoryAreTaken) {
    const std::filesystem::path elsewhere = files_.Log("../../../../elsewhere");
    std::filesystem::create_directory(elsewhere);
    files_.Put("../../../../elsewhere/from", "outside");
    files_.Put("to", "old");
    const std::string from = std::filesystem::canonical(elsewhere / "from");
    EXPECT_EQ(DXR_CopyFile(from.c_str(), kTo, 3, 5), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(std::string("side")));
    EXPECT_EQ(CallsStartingWith("fopen " + from + " r"), 1U);
}

TEST_F(CopyFile, OffsetBeyondTheEndCopiesNothing) {
    files_.Put("from", "text");
    for (const uint32_t offset : {4U, 5U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        files_.Put("to", "old");
        calls_.clear();
        EXPECT_EQ(DXR_CopyFile(kFrom, kTo, offset, 10), 0U);
        EXPECT_THAT(files_.Content("to"), Optional(std::string()));
        EXPECT_EQ(CallsStartingWith("fseek " + std::to_string(offset)), 1U);
    }
}

TEST_F(CopyFile, ReadingStopsAtTheEndOfTheSource) {
    files_.Put("from", Pattern(600));
    files_.Put("to", "");
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 0xFFFFFFFF), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(Pattern(600)));
    EXPECT_EQ(CallsStartingWith("fread"), 2U);
    EXPECT_EQ(CallsStartingWith("fwrite 88"), 1U);
}

TEST_F(CopyFile, ShortReadCountsAsAWholeBlock) {
    files_.Put("from", Pattern(2000));
    files_.Put("to", "");
    std::vector<size_t> gives = {100, 512, 0, 7};
    size_t call = 0;
    files_.readInstead = [&](void *block, size_t wanted) {
        const size_t got = std::min(wanted, gives.at(call++));
        std::memset(block, 'a' + static_cast<int>(call) - 1, got);
        return got;
    };
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 2000), 0U);
    EXPECT_EQ(call, 4U);
    EXPECT_THAT(files_.Content("to"),
                Optional(std::string(100, 'a') + std::string(512, 'b') + std::string(7, 'd')));
    EXPECT_EQ(CallsStartingWith("fread 464"), 1U);
}

TEST_F(CopyFile, ReadErrorEndsTheCopyWithSuccess) {
    files_.Put("from", Pattern(2000));
    files_.Put("to", "");
    files_.Fail("fread", EIO, 2);
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 2000), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(Pattern(512)));
    EXPECT_EQ(CallsStartingWith("fread"), 2U);
}

TEST_F(CopyFile, WriteErrorsAreIgnored) {
    files_.Put("from", Pattern(2000));
    files_.Put("to", "");
    files_.Fail("fwrite", ENOSPC, 2);
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 2000), 0U);
    EXPECT_EQ(CallsStartingWith("fwrite"), 4U);
    EXPECT_THAT(files_.Content("to"), Optional(Pattern(512) + Pattern(2000).substr(1024)));
    files_.Fail("fclose", ENOSPC, 1);
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 10), 0U);
    files_.Fail("fclose", ENOSPC, 2);
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 10), 0U);
}

TEST_F(CopyFile, FullDeviceIsNotReported) {
    ASSERT_TRUE(std::filesystem::is_character_file("/dev/full"));
    files_.Put("from", Pattern(20000));
    EXPECT_EQ(DXR_CopyFile((kDirectory + "from").c_str(), "/dev/full", 0, 20000), 0U);
    EXPECT_EQ(CallsStartingWith("fread"), 40U);
}

TEST_F(CopyFile, DirectoryAsSourceCopiesNothing) {
    std::filesystem::create_directory(files_.Log("sub"));
    files_.Put("to", "old");
    EXPECT_EQ(DXR_CopyFile((kDirectory + "sub").c_str(), kTo, 0, 1000), 0U);
    EXPECT_THAT(files_.Content("to"), Optional(std::string()));
}

TEST_F(CopyFile, DirectoryAsDestinationIsAFailure) {
    std::filesystem::create_directory(files_.Log("sub"));
    files_.Put("from", "text");
    EXPECT_EQ(DXR_CopyFile(kFrom, (kDirectory + "sub").c_str(), 0, 4), 1U);
    EXPECT_EQ(CallsStartingWith("fclose"), 1U);
}

TEST_F(CopyFile, CountOfBytesEndsBefore32BitsOverflow) {
    files_.Put("from", Pattern(10));
    files_.Put("to", "");
    uint64_t reads = 0;
    size_t lastWanted = 0;
    files_.readInstead = [&](void *, size_t wanted) -> size_t {
        ++reads;
        lastWanted = wanted;
        return 0;
    };
    files_.watching = false;
    EXPECT_EQ(DXR_CopyFile(kFrom, kTo, 0, 0xFFFFFFFF), 0U);
    EXPECT_EQ(reads, 8388608U);
    EXPECT_EQ(lastWanted, 511U);
}

}  // namespace
