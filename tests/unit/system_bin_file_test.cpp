#include "dxr/system_bin_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/scripted_folder.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::ScriptedFolder;
using dxrtest::TestHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uint32_t kMaxLength = 10'485'759;
constexpr uint32_t kWorkPathSize = 256;

// A folder of the test's own, removed with all that is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "dxr_bin_XXXXXX").string();
        path_ = mkdtemp(name.data()) != nullptr ? name : std::string();
        EXPECT_NE(path_, "");
    }
    ~TemporaryFolder() {
        if (!path_.empty()) {
            std::filesystem::remove_all(path_);
        }
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] const std::string &Path() const { return path_; }
    std::string Write(const std::string &name, const std::string &content) const {
        const std::filesystem::path file = std::filesystem::path(path_) / name;
        std::filesystem::create_directories(file.parent_path());
        std::FILE *stream = std::fopen(file.c_str(), "wb");
        EXPECT_NE(stream, nullptr) << file;
        EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), stream), content.size());
        EXPECT_EQ(std::fclose(stream), 0);
        return file.string();
    }

  private:
    std::string path_;
};

std::string Content(size_t length) {
    std::string content(length, '\0');
    uint32_t state = 12345;
    for (char &byte : content) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return content;
}

size_t OpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(descriptors), end(descriptors)));
}

// The file slots of the System group over real files, with every step open to a fault.
class FileHost {
  public:
    FileHost() {
        self_ = this;
        host.WithMemory().WithPrint();
        g_dxrHooks.system.getSysWorkPath = GetSysWorkPath;
        g_dxrHooks.system.fileLength = FileLength;
        g_dxrHooks.system.fOpen = FOpen;
        g_dxrHooks.system.fRead = FRead;
        g_dxrHooks.system.fClose = FClose;
    }
    ~FileHost() {
        EXPECT_THAT(open_, IsEmpty()) << "a file was left open";
        self_ = nullptr;
    }
    FileHost(const FileHost &) = delete;
    FileHost &operator=(const FileHost &) = delete;

    TestHost host;
    std::string workPath = "/w";
    uint32_t workPathResult = 0;
    bool workPathIsNotTerminated = false;
    uint32_t workPathCalls = 0;
    std::optional<uint32_t> length;  // reported instead of the real one
    bool failOpening = false;
    std::optional<uint32_t> readResult;  // reported instead of the bytes read
    std::function<void(const void *, uint32_t)> onRead;

  private:
    static uint32_t GetSysWorkPath(char *buffer, uint32_t size) {
        ++self_->workPathCalls;
        EXPECT_EQ(size, kWorkPathSize);
        EXPECT_TRUE(std::all_of(buffer, buffer + size, [](char byte) { return byte == '\0'; }));
        if (self_->workPathIsNotTerminated) {
            std::memset(buffer, 'w', size);
        } else {
            std::memcpy(buffer, self_->workPath.c_str(), self_->workPath.size() + 1);
        }
        return self_->workPathResult;
    }
    static uint32_t FileLength(const char *path) {
        self_->host.calls.push_back("length " + std::string(path));
        if (self_->length) {
            return *self_->length;
        }
        struct stat status = {};
        EXPECT_EQ(stat(path, &status), 0);
        return static_cast<uint32_t>(status.st_size);
    }
    static void *FOpen(const char *path, const char *mode) {
        self_->host.calls.push_back("open " + std::string(path) + " " + mode);
        if (self_->failOpening) {
            return nullptr;
        }
        std::FILE *file = std::fopen(path, mode);
        EXPECT_NE(file, nullptr);
        self_->open_.insert(file);
        return file;
    }
    static uint32_t FRead(void *buffer, uint32_t size, uint32_t count, void *file) {
        self_->host.calls.push_back("read size=" + std::to_string(size) +
                                    " count=" + std::to_string(count));
        EXPECT_EQ(self_->open_.count(file), 1U);
        if (self_->onRead) {
            self_->onRead(buffer, size);
        }
        const size_t bytes =
            std::fread(buffer, 1, size_t{size} * count, static_cast<std::FILE *>(file));
        return self_->readResult.value_or(static_cast<uint32_t>(bytes));
    }
    static uint32_t FClose(void *file) {
        self_->host.calls.emplace_back("close");
        EXPECT_EQ(self_->open_.erase(file), 1U) << "a file was closed twice";
        // A result that nobody may take for the loader's.
        return static_cast<uint32_t>(std::fclose(static_cast<std::FILE *>(file))) + 77;
    }

    static inline FileHost *self_ = nullptr;
    std::set<void *> open_;
};

std::vector<std::string> Messages(const TestHost &host) {
    std::vector<std::string> messages;
    for (const dxrtest::PrintedLine &line : host.printed) {
        messages.push_back(std::to_string(line.level) + " " + line.text);
    }
    return messages;
}

std::string ZeroedText(const GuardedBuffer &buffer) {
    EXPECT_TRUE(buffer.Intact());
    const std::string text = buffer.Text();
    const std::string whole(buffer.Data(), buffer.Size());
    EXPECT_EQ(whole, text + std::string(buffer.Size() - text.size(), '\0'));
    return text;
}

// -------------------------------------------------------------------------------------------------
// Paths

using PathFunction = std::function<uint32_t(char *, uint32_t)>;

uint32_t FolderFilePath(char *path, uint32_t len) {
    return DXR_GetBinFilePath("folder", "file.bin", path, len);
}

uint32_t FolderPath(char *path, uint32_t len) {
    return DXR_GetWorkDir("folder", path, len);
}

TEST(BinFilePath, JoinsWorkPathFolderAndFile) {
    FileHost files;
    files.workPath = "/opt/work";
    GuardedBuffer path(64);
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/opt/work/folder/file.bin");
    EXPECT_TRUE(path.Intact());
    EXPECT_THAT(files.host.calls, IsEmpty());
}

TEST(BinFilePath, EmptyNamesKeepTheirSeparators) {
    const FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(DXR_GetBinFilePath("", "", path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/w//");
}

TEST(BinFilePath, NamesAreNoFormats) {
    const FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(DXR_GetBinFilePath("%s%n", "%d", path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/w/%s%n/%d");
}

TEST(BinFilePath, WorkPathIsAskedAtEveryCall) {
    FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 0U);
    files.workPath = "/elsewhere";
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/elsewhere/folder/file.bin");
    EXPECT_EQ(files.workPathCalls, 2U);
}

// HOST-21
TEST(BinFilePath, WithoutAWorkPathHookTheWorkPathIsEmpty) {
    const TestHost host;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/folder/file.bin");
}

// HOST-21
TEST(BinFilePath, FailedWorkPathIsReportedInHexAndNothingIsWritten) {
    FileHost files;
    files.workPathResult = 0xBEEF;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 1U);
    EXPECT_THAT(Messages(files.host), ElementsAre("1 [LINKM_BIN] get sys work path ret[0xbeef]"));
    EXPECT_EQ(files.host.printed.at(0).format, "[LINKM_BIN] get sys work path ret[0x%x]");
    EXPECT_TRUE(path.Untouched());
}

TEST(BinFilePath, AllBitsOfTheWorkPathResultCount) {
    FileHost files;
    files.workPathResult = 0x80000000;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderFilePath(path.Data(), 64), 1U);
    EXPECT_THAT(Messages(files.host),
                ElementsAre("1 [LINKM_BIN] get sys work path ret[0x80000000]"));
}

// HOST-7
TEST(BinFilePath, WorkPathThatTheHostLeftUnterminatedEndsInItsBuffer) {
    FileHost files;
    files.workPathIsNotTerminated = true;
    GuardedBuffer path(600);
    EXPECT_EQ(FolderFilePath(path.Data(), 600), 0U);
    EXPECT_EQ(path.Text(), std::string(kWorkPathSize - 1, 'w') + "/folder/file.bin");
}

void ExpectEveryLength(const PathFunction &form, const std::string &whole, uint32_t failure) {
    FileHost files;
    for (uint32_t len = 0; len <= 40; ++len) {
        SCOPED_TRACE(len);
        files.host.printed.clear();
        GuardedBuffer path(len);
        if (len <= 1) {
            EXPECT_EQ(form(path.Data(), len), failure);
            EXPECT_THAT(Messages(files.host),
                        ElementsAre(len == 0 ? "1 [LINKM_BIN] format file path ret[0xffffffff]"
                                             : "1 [LINKM_BIN] format file path ret[0x0]"));
            EXPECT_EQ(files.host.printed.at(0).format, "[LINKM_BIN] format file path ret[0x%x]");
            EXPECT_EQ(path.Text(), "");
        } else {
            EXPECT_EQ(form(path.Data(), len), 0U);
            EXPECT_THAT(Messages(files.host), IsEmpty());
            EXPECT_TRUE(path.Terminated());
            EXPECT_EQ(path.Text(), whole.substr(0, len - 1));
        }
        EXPECT_TRUE(path.Intact());
    }
}

TEST(BinFilePath, EveryLengthCutsWithoutLeavingTheBuffer) {
    ExpectEveryLength(FolderFilePath, "/w/folder/file.bin", 1);
}

TEST(BinFilePath, NullPointersAreFormattingFailures) {
    FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(DXR_GetBinFilePath(nullptr, "file", path.Data(), 64), 1U);
    EXPECT_EQ(DXR_GetBinFilePath("folder", nullptr, path.Data(), 64), 1U);
    EXPECT_EQ(DXR_GetBinFilePath("folder", "file", nullptr, 64), 1U);
    EXPECT_TRUE(path.Untouched());
    const std::string message = "1 [LINKM_BIN] format file path ret[0xffffffff]";
    EXPECT_THAT(Messages(files.host), ElementsAre(message, message, message));
}

TEST(BinFilePath, CodesAreTheSameWithoutAPrintHook) {
    FileHost files;
    g_dxrHooks.print.print = nullptr;
    GuardedBuffer path(1);
    EXPECT_EQ(FolderFilePath(path.Data(), 1), 1U);
    EXPECT_EQ(FolderPath(path.Data(), 1), 9U);
    files.workPathResult = 5;
    EXPECT_EQ(FolderFilePath(path.Data(), 1), 1U);
    EXPECT_EQ(FolderPath(path.Data(), 1), 8U);
    EXPECT_TRUE(path.Intact());
}

TEST(WorkDir, JoinsWorkPathAndFolder) {
    FileHost files;
    files.workPath = "/opt/work";
    GuardedBuffer path(64);
    EXPECT_EQ(FolderPath(path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/opt/work/folder");
    EXPECT_TRUE(path.Intact());
    EXPECT_EQ(files.workPathCalls, 1U);
}

TEST(WorkDir, EmptyFolderKeepsItsSeparator) {
    const FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(DXR_GetWorkDir("", path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/w/");
}

TEST(WorkDir, WithoutAWorkPathHookTheWorkPathIsEmpty) {
    const TestHost host;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderPath(path.Data(), 64), 0U);
    EXPECT_EQ(path.Text(), "/folder");
}

TEST(WorkDir, FailedWorkPathHasACodeOfItsOwn) {
    FileHost files;
    files.workPathResult = 0xFFFFFFFF;
    GuardedBuffer path(64);
    EXPECT_EQ(FolderPath(path.Data(), 64), 8U);
    EXPECT_THAT(Messages(files.host),
                ElementsAre("1 [LINKM_BIN] get sys work path ret[0xffffffff]"));
    EXPECT_EQ(files.host.printed.at(0).format, "[LINKM_BIN] get sys work path ret[0x%x]");
    EXPECT_TRUE(path.Untouched());
}

TEST(WorkDir, EveryLengthCutsWithoutLeavingTheBuffer) {
    ExpectEveryLength(FolderPath, "/w/folder", 9);
}

TEST(WorkDir, NullPointersAreFormattingFailures) {
    FileHost files;
    GuardedBuffer path(64);
    EXPECT_EQ(DXR_GetWorkDir(nullptr, path.Data(), 64), 9U);
    EXPECT_EQ(DXR_GetWorkDir("folder", nullptr, 64), 9U);
    EXPECT_TRUE(path.Untouched());
    const std::string message = "1 [LINKM_BIN] format file path ret[0xffffffff]";
    EXPECT_THAT(Messages(files.host), ElementsAre(message, message));
}

// -------------------------------------------------------------------------------------------------
// Loading

// The outputs of a loading function, marked so that a write is seen.
struct Loaded {
    static inline uint8_t mark = 0;
    uint8_t *data = &mark;
    uint32_t len = 0xA5A5A5A5;

    [[nodiscard]] bool IsUntouched() const { return data == &mark && len == 0xA5A5A5A5; }
    [[nodiscard]] std::string Bytes() const {
        return IsUntouched() ? "untouched" : std::string(reinterpret_cast<const char *>(data), len);
    }
    void Free() const { DXR_Free(data, __FILE__, __LINE__); }
};

uint32_t Load(const std::string &path, Loaded &loaded) {
    return DXR_GetBinFileDataByFilePath(path.c_str(), &loaded.data, &loaded.len);
}

// A load that must fail leaves the outputs alone, no block and no descriptor.
void ExpectFailedLoad(FileHost &files, const std::string &path) {
    Loaded loaded;
    const size_t descriptors = OpenDescriptors();
    EXPECT_EQ(Load(path, loaded), 1U);
    EXPECT_TRUE(loaded.IsUntouched());
    EXPECT_EQ(files.host.LiveBlocks(), 0U);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(BinFileLoad, GivesTheBytesAndTheirNumber) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string content = std::string("a\0b\r\n\xFF", 6);
    const std::string path = folder.Write("data.bin", content);
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_EQ(loaded.Bytes(), content);
    EXPECT_THAT(Messages(files.host), IsEmpty());
    EXPECT_TRUE(files.host.IsLive(loaded.data));
    loaded.Free();
    EXPECT_EQ(files.host.LiveBlocks(), 0U);
}

TEST(BinFileLoad, TakesItsStepsInOrder) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_THAT(files.host.calls,
                ElementsAre("length " + path, "allocate mid=9 size=5", "open " + path + " rb",
                            "read size=5 count=1", "close"));
    loaded.Free();
}

TEST(BinFileLoad, AllocatesUnderTheDefaultModuleAndTheSourceFile) {
    const TemporaryFolder folder;
    const FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    DXR_SetDefaultMid(77);
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    ASSERT_EQ(files.host.allocations.size(), 1U);
    EXPECT_EQ(files.host.allocations[0].mid, 77U);
    EXPECT_EQ(files.host.allocations[0].size, 5U);
    EXPECT_THAT(files.host.allocations[0].file, StartsWith("src/dxr/api/dxr_system"));
    EXPECT_NE(files.host.allocations[0].line, 0U);
    loaded.Free();
}

TEST(BinFileLoad, BlockIsZeroBeforeItIsRead) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", Content(1000));
    bool wasZero = false;
    files.onRead = [&](const void *buffer, uint32_t size) {
        const auto *bytes = static_cast<const uint8_t *>(buffer);
        wasZero = std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
    };
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_TRUE(wasZero);
    loaded.Free();
}

TEST(BinFileLoad, SmallestFileIsOneByte) {
    const TemporaryFolder folder;
    const FileHost files;
    const std::string path = folder.Write("one.bin", "x");
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_EQ(loaded.Bytes(), "x");
    loaded.Free();
}

TEST(BinFileLoad, EmptyFileIsOutOfRange) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("empty.bin", "");
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host),
                ElementsAre("6 [TOLV BIN] file length[0] is out of range, filePath: " + path));
    EXPECT_THAT(files.host.calls,
                ElementsAre("length " + path, "print 6 " + files.host.printed[0].text));
    EXPECT_EQ(files.host.printed[0].format,
              "[TOLV BIN] file length[%d] is out of range, filePath: %s");
}

TEST(BinFileLoad, LargestFileIsOneByteShortOfTenMebibytes) {
    const TemporaryFolder folder;
    const FileHost files;
    const std::string content = Content(kMaxLength);
    const std::string path = folder.Write("large.bin", content);
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_EQ(loaded.len, kMaxLength);
    EXPECT_TRUE(loaded.Bytes() == content);
    loaded.Free();
}

TEST(BinFileLoad, TenMebibytesAreOutOfRange) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("huge.bin", Content(kMaxLength + 1));
    ExpectFailedLoad(files, path);
    EXPECT_THAT(
        Messages(files.host),
        ElementsAre("6 [TOLV BIN] file length[10485760] is out of range, filePath: " + path));
    EXPECT_THAT(files.host.allocations, IsEmpty());
}

TEST(BinFileLoad, LengthsAreJudgedUnsignedAndPrintedSigned) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    const std::map<uint32_t, std::string> lengths = {
        {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}, {0xFFFFFFFF, "-1"}};
    for (const auto &[length, text] : lengths) {
        files.host.printed.clear();
        files.length = length;
        ExpectFailedLoad(files, path);
        EXPECT_THAT(Messages(files.host), ElementsAre("6 [TOLV BIN] file length[" + text +
                                                      "] is out of range, filePath: " + path));
    }
}

TEST(BinFileLoad, MissingFileIsNotAskedForItsLength) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Path() + "/missing.bin";
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host), ElementsAre("6 [TOLV BIN] access file-" + path + " "));
    EXPECT_THAT(files.host.calls, ElementsAre("print 6 [TOLV BIN] access file-" + path + " "));
    EXPECT_EQ(files.host.printed[0].format, "[TOLV BIN] access file-%s ");
}

TEST(BinFileLoad, FailedAllocationIsSilentAndOpensNothing) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    files.host.FailAllocation(1);
    ExpectFailedLoad(files, path);
    EXPECT_THAT(files.host.calls, ElementsAre("length " + path, "allocate mid=9 size=5"));
}

TEST(BinFileLoad, WithoutAnAllocatorNothingIsOpened) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    g_dxrHooks.memory = {};
    ExpectFailedLoad(files, path);
    EXPECT_THAT(files.host.calls, ElementsAre("length " + path));
}

TEST(BinFileLoad, FailedOpeningReleasesTheBlockAndClosesNothing) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    files.failOpening = true;
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host), ElementsAre("2 [TOLV BIN] open file unsuccessfully"));
    EXPECT_THAT(files.host.calls,
                ElementsAre("length " + path, "allocate mid=9 size=5", "open " + path + " rb",
                            "print 2 [TOLV BIN] open file unsuccessfully", "release #0"));
    ASSERT_EQ(files.host.releases.size(), 1U);
    EXPECT_THAT(files.host.releases[0].file, StartsWith("src/dxr/api/dxr_system"));
}

TEST(BinFileLoad, WithoutAnOpenHookTheFileDoesNotOpen) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    g_dxrHooks.system.fOpen = nullptr;
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host), ElementsAre("2 [TOLV BIN] open file unsuccessfully"));
}

// HOST-20
TEST(BinFileLoad, WithoutALengthHookEveryFileIsEmpty) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    g_dxrHooks.system.fileLength = nullptr;
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host),
                ElementsAre("6 [TOLV BIN] file length[0] is out of range, filePath: " + path));
}

TEST(BinFileLoad, WithoutAReadHookTheReadIsShort) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    g_dxrHooks.system.fRead = nullptr;
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host), ElementsAre("1 [TOLV BIN] read file error ret[0x0]"));
}

// HOST-19
TEST(BinFileLoad, ReadThatReportsAnythingButTheBytesFreesThenCloses) {
    const TemporaryFolder folder;
    const std::string content = Content(300);
    const std::string path = folder.Write("data.bin", content);
    const std::map<uint32_t, std::string> results = {
        {0, "0x0"}, {1, "0x1"}, {299, "0x12b"}, {301, "0x12d"}, {0xFFFFFFFF, "0xffffffff"}};
    for (const auto &[result, text] : results) {
        SCOPED_TRACE(text);
        FileHost files;
        files.readResult = result;
        ExpectFailedLoad(files, path);
        const std::string message = "1 [TOLV BIN] read file error ret[" + text + "]";
        EXPECT_THAT(Messages(files.host), ElementsAre(message));
        EXPECT_EQ(files.host.printed.at(0).format, "[TOLV BIN] read file error ret[0x%x]");
        EXPECT_THAT(files.host.calls, ElementsAre("length " + path, "allocate mid=9 size=300",
                                                  "open " + path + " rb", "read size=300 count=1",
                                                  "print " + message, "release #0", "close"));
    }
}

TEST(BinFileLoad, FileThatShrinksBeforeItIsReadIsAShortRead) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "123");
    files.length = 20;
    ExpectFailedLoad(files, path);
    EXPECT_THAT(Messages(files.host), ElementsAre("1 [TOLV BIN] read file error ret[0x3]"));
}

// HOST-20
TEST(BinFileLoad, FileThatGrowsBeforeItIsReadIsLoadedAsLongAsItWas) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345678");
    files.length = 5;
    Loaded loaded;
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_EQ(loaded.Bytes(), "12345");
    loaded.Free();
}

TEST(BinFileLoad, OutputsAreNotWrittenBeforeTheReadIsComplete) {
    const TemporaryFolder folder;
    FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    Loaded loaded;
    bool wasUntouched = false;
    files.onRead = [&](const void *, uint32_t) { wasUntouched = loaded.IsUntouched(); };
    ASSERT_EQ(Load(path, loaded), 0U);
    EXPECT_TRUE(wasUntouched);
    loaded.Free();
}

TEST(BinFileLoad, FailuresHaveTheSameCodesWithoutAPrintHook) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("data.bin", "12345");
    FileHost files;
    g_dxrHooks.print.print = nullptr;
    ExpectFailedLoad(files, folder.Path() + "/missing.bin");
    files.length = 0;
    ExpectFailedLoad(files, path);
    files.length.reset();
    files.failOpening = true;
    ExpectFailedLoad(files, path);
    files.failOpening = false;
    files.readResult = 4;
    ExpectFailedLoad(files, path);
}

TEST(BinFileLoad, NullPointersFailBeforeTheHostIsAsked) {
    const TemporaryFolder folder;
    const FileHost files;
    const std::string path = folder.Write("data.bin", "12345");
    Loaded loaded;
    EXPECT_EQ(DXR_GetBinFileDataByFilePath(nullptr, &loaded.data, &loaded.len), 1U);
    EXPECT_EQ(DXR_GetBinFileDataByFilePath(path.c_str(), nullptr, &loaded.len), 1U);
    EXPECT_EQ(DXR_GetBinFileDataByFilePath(path.c_str(), &loaded.data, nullptr), 1U);
    EXPECT_TRUE(loaded.IsUntouched());
    EXPECT_THAT(files.host.calls, IsEmpty());
}

TEST(BinFileData, LoadsTheFileBelowTheWorkPath) {
    const TemporaryFolder folder;
    FileHost files;
    files.workPath = folder.Path();
    folder.Write("sub/data.bin", "12345");
    Loaded loaded;
    ASSERT_EQ(DXR_GetBinFileData("sub", "data.bin", &loaded.data, &loaded.len), 0U);
    EXPECT_EQ(loaded.Bytes(), "12345");
    EXPECT_EQ(files.workPathCalls, 1U);
    loaded.Free();
}

TEST(BinFileData, FailedPathLoadsNothing) {
    FileHost files;
    files.workPathResult = 3;
    Loaded loaded;
    EXPECT_EQ(DXR_GetBinFileData("sub", "data.bin", &loaded.data, &loaded.len), 1U);
    EXPECT_TRUE(loaded.IsUntouched());
    EXPECT_THAT(files.host.calls, ElementsAre("print 1 [LINKM_BIN] get sys work path ret[0x3]"));
}

TEST(BinFileData, FailedLoadIsPassedOn) {
    const TemporaryFolder folder;
    FileHost files;
    files.workPath = folder.Path();
    Loaded loaded;
    EXPECT_EQ(DXR_GetBinFileData("sub", "data.bin", &loaded.data, &loaded.len), 1U);
    EXPECT_TRUE(loaded.IsUntouched());
    EXPECT_THAT(Messages(files.host),
                ElementsAre("6 [TOLV BIN] access file-" + folder.Path() + "/sub/data.bin "));
}

// MODULE-24
TEST(BinFileData, PathIsCutAt255Characters) {
    const TemporaryFolder folder;
    FileHost files;
    files.workPath = folder.Path();
    // The cut falls into the file's name.
    const std::string sub(150, 's');
    const std::string whole(kWorkPathSize, 'f');
    const std::string cut =
        whole.substr(0, kWorkPathSize - 1 - (folder.Path() + "/" + sub + "/").size());
    folder.Write(sub + "/" + cut, "the cut one");
    Loaded loaded;
    ASSERT_EQ(DXR_GetBinFileData(sub.c_str(), whole.c_str(), &loaded.data, &loaded.len), 0U);
    EXPECT_EQ(loaded.Bytes(), "the cut one");
    loaded.Free();
}

TEST(BinFileData, NullPointersFail) {
    const TemporaryFolder folder;
    FileHost files;
    files.workPath = folder.Path();
    folder.Write("sub/data.bin", "12345");
    Loaded loaded;
    EXPECT_EQ(DXR_GetBinFileData(nullptr, "data.bin", &loaded.data, &loaded.len), 1U);
    EXPECT_EQ(DXR_GetBinFileData("sub", nullptr, &loaded.data, &loaded.len), 1U);
    EXPECT_EQ(DXR_GetBinFileData("sub", "data.bin", nullptr, &loaded.len), 1U);
    EXPECT_EQ(DXR_GetBinFileData("sub", "data.bin", &loaded.data, nullptr), 1U);
    EXPECT_TRUE(loaded.IsUntouched());
    EXPECT_EQ(files.host.LiveBlocks(), 0U);
}

// -------------------------------------------------------------------------------------------------
// The latest file

// A real folder "sub" below the work path.
class LatestFile : public testing::Test {
  protected:
    LatestFile() {
        files.workPath = folder.Path();
        std::filesystem::create_directory(folder.Path() + "/sub");
    }
    ~LatestFile() override {
        EXPECT_EQ(OpenDescriptors(), descriptors_);
        EXPECT_EQ(dxrtest::OpenRealFolders(), 0U);
    }

    uint32_t Find(const char *pattern) {
        return DXR_GetLatestFile(pattern, "sub", name.Data(), 64);
    }

    TemporaryFolder folder;
    FileHost files;
    GuardedBuffer name{64};

  private:
    size_t descriptors_ = OpenDescriptors();
};

TEST_F(LatestFile, IsTheGreatestNameThatContainsThePattern) {
    folder.Write("sub/a_20240101.bin", "");
    folder.Write("sub/a_20240315.bin", "");
    folder.Write("sub/b_20250101.bin", "");
    EXPECT_EQ(Find("a_"), 0U);
    EXPECT_EQ(ZeroedText(name), "a_20240315.bin");
    EXPECT_THAT(files.host.calls, IsEmpty());
    EXPECT_EQ(files.workPathCalls, 1U);
}

TEST_F(LatestFile, PatternCountsAnywhereInTheName) {
    folder.Write("sub/1.bin", "");
    folder.Write("sub/2.bin.old", "");
    folder.Write("sub/3.txt", "");
    EXPECT_EQ(Find(".bin"), 0U);
    EXPECT_EQ(ZeroedText(name), "2.bin.old");
}

TEST_F(LatestFile, PatternIsNoWildcard) {
    folder.Write("sub/abc", "");
    EXPECT_EQ(Find("a*"), 12U);
    EXPECT_EQ(Find("a?c"), 12U);
    folder.Write("sub/a*", "");
    EXPECT_EQ(Find("a*"), 0U);
    EXPECT_EQ(ZeroedText(name), "a*");
}

TEST_F(LatestFile, WithoutAMatchTheNameIsEmpty) {
    folder.Write("sub/a_20240101.bin", "");
    EXPECT_EQ(Find("zz"), 12U);
    EXPECT_EQ(ZeroedText(name), "");
    EXPECT_THAT(Messages(files.host), IsEmpty());
}

TEST_F(LatestFile, EmptyPatternMatchesTheFolderItselfAndItsParent) {
    EXPECT_EQ(Find(""), 0U);
    EXPECT_EQ(ZeroedText(name), "..");
    folder.Write("sub/-", "");
    EXPECT_EQ(Find(""), 0U);
    EXPECT_EQ(ZeroedText(name), "..");
    folder.Write("sub/0", "");
    EXPECT_EQ(Find(""), 0U);
    EXPECT_EQ(ZeroedText(name), "0");
}

TEST_F(LatestFile, FoldersCountLikeFiles) {
    folder.Write("sub/a1", "");
    std::filesystem::create_directory(folder.Path() + "/sub/a2");
    EXPECT_EQ(Find("a"), 0U);
    EXPECT_EQ(ZeroedText(name), "a2");
}

TEST_F(LatestFile, NameBeyondTheBufferFailsAndLeavesNothingOpen) {
    const std::string longName = "a" + std::string(64, 'x');
    folder.Write("sub/" + longName, "");
    EXPECT_EQ(Find("a"), 11U);
    EXPECT_EQ(ZeroedText(name), "");
    EXPECT_THAT(
        Messages(files.host),
        ElementsAre("1 [LINKM_BIN] can not get latest file, fileName: " + longName + ", ret 0."));
    EXPECT_EQ(files.host.printed.at(0).format,
              "[LINKM_BIN] can not get latest file, fileName: %s, ret %#x.");
}

TEST_F(LatestFile, MissingFolderIsReportedWithItsErrorNumber) {
    EXPECT_EQ(DXR_GetLatestFile("a", "missing", name.Data(), 64), 10U);
    EXPECT_EQ(ZeroedText(name), "");
    EXPECT_THAT(Messages(files.host),
                ElementsAre("1 [LINKM_BIN] open dir " + folder.Path() +
                            "/missing failed, errno: " + std::to_string(ENOENT) + "."));
    EXPECT_EQ(files.host.printed.at(0).format, "[LINKM_BIN] open dir %s failed, errno: %d.");
}

TEST_F(LatestFile, FileInPlaceOfAFolderIsReportedWithItsErrorNumber) {
    folder.Write("file", "");
    EXPECT_EQ(DXR_GetLatestFile("a", "file", name.Data(), 64), 10U);
    EXPECT_THAT(Messages(files.host),
                ElementsAre("1 [LINKM_BIN] open dir " + folder.Path() +
                            "/file failed, errno: " + std::to_string(ENOTDIR) + "."));
}

TEST_F(LatestFile, NullNameBufferIsReportedBeforeTheHostIsAsked) {
    EXPECT_EQ(DXR_GetLatestFile("a", "sub", nullptr, 64), 8U);
    EXPECT_THAT(Messages(files.host), ElementsAre("1 [LINKM_BIN] file name is nullptr"));
    EXPECT_EQ(DXR_GetLatestFile("a", "sub", nullptr, 0), 8U);
    EXPECT_EQ(files.workPathCalls, 0U);
}

TEST_F(LatestFile, FailedWorkPathIsNineWhateverTheInnerCode) {
    files.workPathResult = 0x21;
    EXPECT_EQ(Find("a"), 9U);
    EXPECT_EQ(ZeroedText(name), "");
    EXPECT_THAT(Messages(files.host), ElementsAre("1 [LINKM_BIN] get sys work path ret[0x21]"));
}

TEST_F(LatestFile, NullFolderIsNine) {
    EXPECT_EQ(DXR_GetLatestFile("a", nullptr, name.Data(), 64), 9U);
    EXPECT_EQ(ZeroedText(name), "");
    EXPECT_THAT(Messages(files.host),
                ElementsAre("1 [LINKM_BIN] format file path ret[0xffffffff]"));
}

TEST_F(LatestFile, NullPatternMatchesNothing) {
    folder.Write("sub/a", "");
    EXPECT_EQ(Find(nullptr), 12U);
    EXPECT_EQ(ZeroedText(name), "");
}

TEST_F(LatestFile, BufferOfSizeZeroHoldsNothing) {
    folder.Write("sub/a", "");
    GuardedBuffer none(0);
    EXPECT_EQ(DXR_GetLatestFile("a", "sub", none.Data(), 0), 12U);
    EXPECT_EQ(DXR_GetLatestFile("", "sub", none.Data(), 0), 12U);
    EXPECT_EQ(DXR_GetLatestFile("a", "missing", none.Data(), 0), 12U);
    EXPECT_TRUE(none.Intact());
    EXPECT_THAT(Messages(files.host), IsEmpty());
}

TEST_F(LatestFile, CodesAreTheSameWithoutAPrintHook) {
    folder.Write("sub/" + std::string(64, 'a'), "");
    g_dxrHooks.print.print = nullptr;
    EXPECT_EQ(DXR_GetLatestFile("a", "sub", nullptr, 64), 8U);
    EXPECT_EQ(DXR_GetLatestFile("a", "missing", name.Data(), 64), 10U);
    EXPECT_EQ(Find("a"), 11U);
    files.workPathResult = 1;
    EXPECT_EQ(Find("a"), 9U);
    EXPECT_EQ(ZeroedText(name), "");
}

// The order of the entries is the test's.
struct Search {
    uint32_t result;
    std::string name;
    std::vector<std::string> messages;
    size_t reads;
    size_t closes;
};

Search FindIn(const std::vector<std::string> &names, const char *pattern, uint32_t len) {
    FileHost files;
    GuardedBuffer buffer(len);
    ScriptedFolder folder(names);
    Search search = {};
    search.result = DXR_GetLatestFile(pattern, "sub", buffer.Data(), len);
    EXPECT_THAT(folder.opened, ElementsAre("/w/sub"));
    search.name = ZeroedText(buffer);
    search.messages = Messages(files.host);
    search.reads = folder.reads;
    search.closes = folder.closes;
    return search;
}

TEST(LatestFileOrder, EveryOrderOfFittingNamesFindsTheGreatest) {
    std::vector<std::string> names = {"a1", "a2", "a3", "b9", "a10"};
    std::sort(names.begin(), names.end());
    do {
        const Search search = FindIn(names, "a", 8);
        EXPECT_EQ(search.result, 0U);
        EXPECT_EQ(search.name, "a3");
        EXPECT_EQ(search.reads, names.size() + 1);
        EXPECT_EQ(search.closes, 1U);
        EXPECT_THAT(search.messages, IsEmpty());
    } while (std::next_permutation(names.begin(), names.end()));
}

TEST(LatestFileOrder, NameThatDoesNotFitEndsTheSearchEvenBeforeAGreaterOne) {
    const Search search = FindIn({"a_too_long", "b"}, "", 4);
    EXPECT_EQ(search.result, 11U);
    EXPECT_EQ(search.name, "");
    EXPECT_EQ(search.reads, 1U);
    EXPECT_EQ(search.closes, 1U);
    EXPECT_THAT(search.messages,
                ElementsAre("1 [LINKM_BIN] can not get latest file, fileName: a_too_long, ret 0."));
}

TEST(LatestFileOrder, NameThatDoesNotFitIsSkippedAfterAGreaterOne) {
    const Search search = FindIn({"b", "a_too_long"}, "", 4);
    EXPECT_EQ(search.result, 0U);
    EXPECT_EQ(search.name, "b");
    EXPECT_EQ(search.reads, 3U);
}

TEST(LatestFileOrder, GreatestNameThatDoesNotFitDropsTheBestSoFar) {
    const Search search = FindIn({"a", "b", "c_too_long", "d"}, "", 4);
    EXPECT_EQ(search.result, 11U);
    EXPECT_EQ(search.name, "");
    EXPECT_EQ(search.reads, 3U);
    EXPECT_EQ(search.closes, 1U);
}

TEST(LatestFileOrder, NameThatDoesNotFitAndDoesNotMatchIsSkipped) {
    const Search search = FindIn({"z_too_long", "a"}, "a", 4);
    EXPECT_EQ(search.result, 0U);
    EXPECT_EQ(search.name, "a");
}

TEST(LatestFileOrder, NameFitsOnlyWithItsTerminator) {
    EXPECT_EQ(FindIn({"abc"}, "", 4).result, 0U);
    EXPECT_EQ(FindIn({"abc"}, "", 4).name, "abc");
    EXPECT_EQ(FindIn({"abcd"}, "", 4).result, 11U);
}

TEST(LatestFileOrder, ShorterNameIsBelowItsOwnContinuation) {
    EXPECT_EQ(FindIn({"ab", "abc", "ab"}, "", 4).name, "abc");
    // "abcd" is greater than "abc" at the place of the terminator.
    EXPECT_EQ(FindIn({"abc", "abcd"}, "", 4).result, 11U);
    // Nothing after the buffer's length is compared.
    EXPECT_EQ(FindIn({"abd", "abcdefgh"}, "", 4).name, "abd");
}

TEST(LatestFileOrder, OfEqualNamesTheFirstStays) {
    FileHost files;
    GuardedBuffer buffer(8);
    ScriptedFolder folder({"same", "same", "a"});
    std::string afterFirst;
    size_t reads = 0;
    folder.OnRead([&](const char *) {
        if (++reads == 2) {
            afterFirst = buffer.Text();
            // A copy of the second one would take this mark away.
            buffer.Data()[7] = '!';
        }
    });
    EXPECT_EQ(DXR_GetLatestFile("", "sub", buffer.Data(), 8), 0U);
    EXPECT_EQ(afterFirst, "same");
    EXPECT_EQ(buffer.Text(), "same");
    EXPECT_EQ(buffer.Data()[7], '!');
}

TEST(LatestFileOrder, NamesAreComparedAsUnsignedBytes) {
    EXPECT_EQ(FindIn({"a\x80", "a~"}, "a", 8).name, "a\x80");
    EXPECT_EQ(FindIn({"a~", "a\x80"}, "a", 8).name, "a\x80");
    EXPECT_EQ(FindIn({"\xC3\xA4", "z", "\xFF", "\x7F"}, "", 8).name, "\xFF");
}

TEST(LatestFileOrder, LongerNameLeavesNothingOfAShorterGreaterOne) {
    EXPECT_EQ(FindIn({"aaaaaa", "b"}, "", 8).name, "b");
}

TEST(LatestFileOrder, EmptyPatternMatchesEveryEntryOfAnEmptyFolder) {
    EXPECT_EQ(FindIn({".", ".."}, "", 8).name, "..");
    EXPECT_EQ(FindIn({"..", "."}, "", 8).name, "..");
    EXPECT_EQ(FindIn({".", ".."}, "", 2).result, 11U);
}

TEST(LatestFileOrder, EmptyNameIsNotFound) {
    EXPECT_EQ(FindIn({""}, "", 8).result, 12U);
    EXPECT_EQ(FindIn({}, "", 8).result, 12U);
}

TEST(LatestFileOrder, PatternIsFoundAsTheStandardLibraryFindsIt) {
    std::vector<std::string> texts = {""};
    for (size_t i = 0; texts[i].size() < 5; ++i) {
        texts.push_back(texts[i] + 'a');
        texts.push_back(texts[i] + 'b');
    }
    for (const std::string &name : texts) {
        for (const std::string &pattern : texts) {
            const bool expected = !name.empty() && name.find(pattern) != std::string::npos;
            EXPECT_EQ(FindIn({name}, pattern.c_str(), 8).result, expected ? 0U : 12U)
                << name << " " << pattern;
        }
    }
    const std::string longest(255, 'x');
    EXPECT_EQ(FindIn({longest}, longest.c_str(), 256).result, 0U);
    EXPECT_EQ(FindIn({longest}, (longest + 'x').c_str(), 256).result, 12U);
}

TEST(LatestFileOrder, LongestNameOfAFileSystemFitsIn256Bytes) {
    const std::string longest(255, 'x');
    EXPECT_EQ(FindIn({longest}, "x", 256).name, longest);
    EXPECT_EQ(FindIn({longest}, "x", 255).result, 11U);
}

TEST(LatestFileOrder, EveryBufferLength) {
    const std::string longName = "abcdefghijklmnopqrst";
    for (uint32_t len = 1; len <= 40; ++len) {
        SCOPED_TRACE(len);
        const Search search = FindIn({"abc", longName, "abd"}, "ab", len);
        if (len <= 3) {  // not even the first one fits
            EXPECT_EQ(search.result, 11U);
            EXPECT_EQ(search.reads, 1U);
        } else if (len <= longName.size()) {
            EXPECT_EQ(search.result, 11U);
            EXPECT_EQ(search.reads, 2U);
        } else {
            EXPECT_EQ(search.result, 0U);
            EXPECT_EQ(search.reads, 4U);
        }
        EXPECT_EQ(search.name, search.result == 0 ? "abd" : "");
        EXPECT_EQ(search.closes, 1U);
    }
}

TEST(LatestFileOrder, BufferIsZeroFromTheStart) {
    const FileHost files;
    GuardedBuffer buffer(16);
    ScriptedFolder folder({"skipped"});
    bool wasZero = false;
    folder.OnRead([&](const char *) { wasZero = ZeroedText(buffer).empty(); });
    EXPECT_EQ(DXR_GetLatestFile("zz", "sub", buffer.Data(), 16), 12U);
    EXPECT_TRUE(wasZero);
}

TEST(LatestFileOrder, FolderPathIsCutAt255Characters) {
    const FileHost files;
    GuardedBuffer buffer(16);
    ScriptedFolder folder({"a"});
    const std::string sub(300, 's');
    EXPECT_EQ(DXR_GetLatestFile("a", sub.c_str(), buffer.Data(), 16), 0U);
    EXPECT_THAT(folder.opened, ElementsAre("/w/" + sub.substr(0, 252)));
}

TEST(LatestFileOrder, ErrorNumberIsTheOneOfOpening) {
    for (const int error : {EACCES, EMFILE, ENOMEM}) {
        FileHost files;
        GuardedBuffer buffer(16);
        ScriptedFolder folder({"a"});
        folder.FailOpening(error);
        EXPECT_EQ(DXR_GetLatestFile("a", "sub", buffer.Data(), 16), 10U);
        EXPECT_EQ(ZeroedText(buffer), "");
        EXPECT_THAT(Messages(files.host),
                    ElementsAre("1 [LINKM_BIN] open dir /w/sub failed, errno: " +
                                std::to_string(error) + "."));
        EXPECT_EQ(folder.reads, 0U);
        EXPECT_EQ(folder.closes, 0U);
    }
}

}  // namespace
