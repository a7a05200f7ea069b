// What stands in a recording, as the exports tell it: every kind of pointer, results, threads, what
// was dropped.
#include "trace/recording.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "dxr_trace.h"
#include "support/guarded_page.h"
#include "support/new_watch.h"
#include "support/sanitizers.h"
#include "support/test_host.h"

namespace dxrtest {
namespace {

using Json = nlohmann::json;

std::vector<Json> Lines(Recording &recording, uint32_t expected = 0) {
    std::istringstream text(recording.Text(DXR_TRACE_JSON_LINES, expected));
    std::vector<Json> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(Json::parse(line));
    }
    return lines;
}

uint32_t ReadReg(uint32_t unit, uint32_t, uint32_t address, void *value) {
    const uint32_t content = 0x01020304 + address;
    std::memcpy(value, &content, sizeof(content));
    return unit;
}

uint32_t FRead(void *buffer, uint32_t size, uint32_t count, void *) {
    std::memset(buffer, 'f', size_t{size} * count);
    return size * count - 1;
}

uint32_t GetTable(uint32_t, DxrTblmRequest *request) {
    DxrTblmRequest told;
    std::memcpy(&told, request, sizeof(told));
    std::memcpy(told.data, "DATA", 4);
    told.dataLen = 4;
    std::memcpy(request, &told, sizeof(told));
    return 0;
}

void Print(uint32_t, const char *, ...) {
}

class TraceRecording : public testing::Test {
  protected:
    TraceRecording() {
        hooks_.dev.readReg = ReadReg;
        hooks_.dev.isIssuState = []() -> uint32_t { return 1; };
        hooks_.dev.initSafeIo = [] {};
        hooks_.dev.writeMdio = [](uint32_t, uint32_t, uint8_t, uint8_t, uint16_t, uint16_t) {
            return uint32_t{0x80000000};
        };
        hooks_.system.fOpen = [](const char *, const char *) {
            return static_cast<void *>(&g_file);
        };
        hooks_.system.fRead = FRead;
        hooks_.system.getBinFolderName = [] { return "bin \xc3\xa4"; };
        hooks_.tblm.getChipTblmData = GetTable;
        hooks_.time.getCurrMs = [] { return uint64_t{0xFFFFFFFFFFFFFFF0}; };
        hooks_.print.print = Print;
        EXPECT_EQ(0U, DXR_RegisterHooks(&hooks_));
    }

    static inline int g_file = 0;
    TestHost host_;
    DxrHooks hooks_ = {};
    Recording recording_;
};

TEST_F(TraceRecording, CallsStandInOrderWithArgumentsAndResults) {
    recording_.Start();
    EXPECT_EQ(1U, DXR_IsIssuState());
    DXR_InitSafeIo();
    EXPECT_EQ(0x80000000U, DXR_WriteMdio(0xFFFFFFFF, 2, 255, 4, 65535, 6));
    EXPECT_EQ(0xFFFFFFFFFFFFFFF0U, DXR_GetCurrMs());
    EXPECT_EQ(&g_file, DXR_FOpen("a/b", nullptr));
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    EXPECT_EQ("", recording_.problem);
    ASSERT_EQ(5U, lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(i, lines[i]["call"]);
        EXPECT_EQ(1, lines[i]["thread"]);
        EXPECT_TRUE(lines[i]["duration_ns"].is_number_unsigned());
        EXPECT_LE(lines[i == 0 ? 0 : i - 1]["ns"], lines[i]["ns"]);
    }
    EXPECT_EQ("DXR_IsIssuState", lines[0]["function"]);
    EXPECT_EQ("Dev", lines[0]["group"]);
    EXPECT_EQ(79, lines[0]["slot"]);
    EXPECT_EQ(1, lines[0]["result"]);
    EXPECT_EQ(Json::object(), lines[0]["args"]);
    EXPECT_FALSE(lines[1].contains("result"));
    EXPECT_EQ(0x80000000, lines[2]["result"]);
    const Json mdio = {{"arg1", 0xFFFFFFFF}, {"arg2", 2},     {"arg3", 255},
                       {"arg4", 4},          {"arg5", 65535}, {"value", 6}};
    EXPECT_EQ(mdio, lines[2]["args"]);
    EXPECT_EQ(0xFFFFFFFFFFFFFFF0, lines[3]["result"]);
    EXPECT_EQ((Json{{"path", "a/b"}}), lines[4]["in"]);
    EXPECT_EQ(nullptr, lines[4]["args"]["mode"]);
    std::ostringstream address;
    address << static_cast<const void *>(&g_file);
    EXPECT_EQ(address.str(), lines[4]["result"].get<std::string>());
}

TEST_F(TraceRecording, PointersAreFollowedAsAsked) {
    for (const uint32_t follow :
         {DXR_TRACE_POINTERS_NONE, DXR_TRACE_POINTERS_INTERFACE, DXR_TRACE_POINTERS_DEVHOST}) {
        DxrTraceOptions options = recording_.Options();
        options.pointers = follow;
        ASSERT_EQ(0U, DxrTraceStart(&options));
        uint32_t value = 0;
        EXPECT_EQ(7U, DXR_ReadReg(7, 2, 3, &value));
        EXPECT_STREQ("bin \xc3\xa4", DXR_GetBinFolderName());
        DXR_GetPrintHooks()->print(6, "port %d %s", 3, "down");
        ASSERT_EQ(0U, DxrTraceStop());
        const std::vector<Json> lines = Lines(recording_);
        ASSERT_EQ(3U, lines.size());
        EXPECT_EQ(follow == DXR_TRACE_POINTERS_DEVHOST, lines[0].contains("out"));
        EXPECT_EQ(follow != DXR_TRACE_POINTERS_NONE, lines[1].contains("out"));
        EXPECT_EQ(follow != DXR_TRACE_POINTERS_NONE, lines[2].contains("in"));
        if (follow == DXR_TRACE_POINTERS_DEVHOST) {
            EXPECT_EQ("07030201", lines[0]["out"]["value"]["hex"]);
        }
        if (follow != DXR_TRACE_POINTERS_NONE) {
            EXPECT_EQ("bin \xc3\xa4", lines[1]["out"]["result"]);
            EXPECT_EQ((Json{{"format", "port %d %s"}, {"message", "port 3 down"}}), lines[2]["in"]);
        }
    }
}

TEST_F(TraceRecording, RecordsAndWhatHangsOnThemAreFollowed) {
    recording_.Start();
    char key[] = "key7";
    std::array<char, 16> data{};
    DxrTblmRequest request = {9, key, 3, data.data(), sizeof(data), 1, {}};
    EXPECT_EQ(0U, DXR_GetChipTblmData(1, &request));
    std::array<char, 8> read{};
    EXPECT_EQ(5U, DXR_FRead(read.data(), 2, 3, nullptr));
    DxrTblmRequest empty = {9, nullptr, 3, nullptr, 0, 0, {}};
    empty.data = data.data();
    EXPECT_EQ(0U, DXR_GetChipTblmData(1, &empty));
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ("6b6579", lines[0]["in"]["request->key"]["hex"]);
    EXPECT_EQ("44415441", lines[0]["out"]["request->data"]["hex"]);
    EXPECT_EQ(96U, lines[0]["in"]["request"]["hex"].get<std::string>().size());
    EXPECT_EQ("6666666666", lines[1]["out"]["buffer"]["hex"]);
    EXPECT_FALSE(lines[2]["in"].contains("request->key"));
}

// What the host would refuse by its size is not read beyond that, nor is a pointer in it followed.
TEST_F(TraceRecording, RecordsThatAreNoneAreNotReadBeyondTheirSize) {
    hooks_.plugin.checkBrdPlugin = [](void *) -> uint32_t { return EINVAL; };
    EXPECT_EQ(0U, DXR_RegisterHooks(&hooks_));
    DxrTraceOptions options = recording_.Options();
    options.pointers = DXR_TRACE_POINTERS_DEVHOST;
    ASSERT_EQ(0U, DxrTraceStart(&options));
    const GuardedPage page;
    uint64_t words[4] = {};
    for (const uint32_t size : {0U, 4U, 0xFFFFFFFFU}) {
        void *const end = static_cast<char *>(page.End()) - sizeof(size);
        std::memcpy(end, &size, sizeof(size));
        EXPECT_EQ(uint32_t{EINVAL}, DXR_CheckBrdPlugin(end));
        // A name that is no address.
        std::memset(words, 0xFF, sizeof(words));
        std::memcpy(words, &size, sizeof(size));
        EXPECT_EQ(uint32_t{EINVAL}, DXR_CheckBrdPlugin(words));
    }
    const char *const name = "name";
    const uint32_t size = sizeof(words);
    std::memcpy(&words[0], &size, sizeof(size));
    std::memcpy(&words[1], &name, sizeof(name));
    EXPECT_EQ(uint32_t{EINVAL}, DXR_CheckBrdPlugin(words));
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(7U, lines.size());
    EXPECT_EQ(R"({"plugin":{"hex":""}})", lines[0]["in"].dump());
    EXPECT_EQ(R"({"plugin":{"hex":"ffffffff"}})", lines[5]["in"].dump());
    EXPECT_EQ("name", lines[6]["in"]["plugin+8"]);
}

TEST_F(TraceRecording, PiecesAreCutAtTheBytesAskedFor) {
    DxrTraceOptions options = recording_.Options();
    options.dataBytes = 8;
    ASSERT_EQ(0U, DxrTraceStart(&options));
    DXR_FOpen("12345678", "123456789");
    std::array<char, 100> buffer{};
    EXPECT_EQ(99U, DXR_FRead(buffer.data(), 100, 1, nullptr));
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(2U, lines.size());
    EXPECT_EQ("12345678", lines[0]["in"]["path"]);
    EXPECT_EQ((Json{{"text", "12345678"}, {"cut", true}}), lines[0]["in"]["mode"]);
    EXPECT_EQ((Json{{"hex", "6666666666666666"}, {"bytes", 99}}), lines[1]["out"]["buffer"]);
}

TEST_F(TraceRecording, TextsOfAnyBytesMakeGoodJson) {
    recording_.Start();
    std::string all;
    for (int c = 1; c < 256; ++c) {
        const char text[] = {static_cast<char>(c), '\0'};
        DXR_FOpen(text, "\xe2\x82\xac \xf0\x9f\x98\x80 \"\\/");
    }
    DXR_FOpen("\xc0\x80", "\xed\xa0\x80");  // overlong; a surrogate
    DXR_FOpen("\xf4\x90\x80\x80", "\xe2\x82");
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(257U, lines.size());
    for (int c = 1; c < 128; ++c) {
        const Json &path = lines[static_cast<size_t>(c) - 1]["in"]["path"];
        EXPECT_EQ(std::string(1, static_cast<char>(c)), path.get<std::string>());
    }
    EXPECT_EQ("\xe2\x82\xac \xf0\x9f\x98\x80 \"\\/", lines[0]["in"]["mode"]);
    EXPECT_EQ("80", lines[127]["in"]["path"]["hex"]);
    EXPECT_EQ("c080", lines[255]["in"]["path"]["hex"]);
    EXPECT_EQ("eda080", lines[255]["in"]["mode"]["hex"]);
    EXPECT_EQ("f4908080", lines[256]["in"]["path"]["hex"]);
    EXPECT_EQ("e282", lines[256]["in"]["mode"]["hex"]);
    EXPECT_TRUE(Json::accept(recording_.Text(DXR_TRACE_CHROME)));
    const std::string text = recording_.Text(DXR_TRACE_TEXT);
    EXPECT_NE(std::string::npos, text.find("path=\"\\x1b\""));
    EXPECT_NE(std::string::npos, text.find("path=\"\\x9b\""));
    EXPECT_EQ(std::string::npos, text.find('\x1b'));
}

TEST_F(TraceRecording, ChromeFormatHasOneEventForEachCall) {
    recording_.Start();
    std::thread([] {
        pthread_setname_np(pthread_self(), "worker");
        DXR_IsIssuState();
    }).join();
    uint32_t value = 0;
    DXR_ReadReg(1, 2, 3, &value);
    ASSERT_EQ(0U, DxrTraceStop());
    const Json trace = Json::parse(recording_.Text(DXR_TRACE_CHROME));
    std::map<std::string, int> kinds;
    std::map<std::string, Json> calls;
    std::vector<std::string> names;
    for (const Json &event : trace["traceEvents"]) {
        ++kinds[event["ph"]];
        EXPECT_EQ(getpid(), event["pid"]);
        if (event["ph"] == "X") {
            EXPECT_TRUE(event["ts"].is_number_float());
            EXPECT_TRUE(event["dur"].is_number_float());
            EXPECT_GT(event["tid"], 0);
            calls[event["name"]] = event;
        } else if (event["name"] == "thread_name") {
            names.push_back(event["args"]["name"]);
        }
    }
    EXPECT_EQ((std::map<std::string, int>{{"M", 3}, {"X", 2}}), kinds);
    EXPECT_THAT(names, testing::Contains("worker"));
    EXPECT_EQ(3, calls["DXR_ReadReg"]["args"]["arguments"]["arg3"]);
    EXPECT_EQ("Dev", calls["DXR_ReadReg"]["cat"]);
    EXPECT_NE(calls["DXR_ReadReg"]["tid"], calls["DXR_IsIssuState"]["tid"]);
}

TEST_F(TraceRecording, TextAndCountsAreForPeople) {
    recording_.Start();
    uint32_t value = 0;
    DXR_ReadReg(1, 2, 3, &value);
    DXR_FOpen("x", "r");
    DXR_FOpen("y", "r");
    ASSERT_EQ(0U, DxrTraceStop());
    EXPECT_THAT(recording_.Text(DXR_TRACE_TEXT),
                testing::ContainsRegex("  DXR_FOpen\\(path=\"y\", mode=\"r\"\\) = 0x[0-9a-f]+  "));
    EXPECT_THAT(recording_.Text(DXR_TRACE_COUNTS),
                testing::AllOf(testing::ContainsRegex("DXR_ReadReg +1 "),
                               testing::ContainsRegex("DXR_FOpen +2 ")));
    EXPECT_THAT(
        recording_.Text(DXR_TRACE_COUNTS_JSON),
        testing::ContainsRegex("\"function\":\"DXR_FOpen\",\"calls\":2,\"p50_ns\":[0-9]+,"));
}

// A hook that calls another, and the outer call is first.
TEST_F(TraceRecording, NestedCallsStandWithinTheirCallers) {
    DXR_GetDevHooks()->boardIsMaster = [] { return DXR_IsIssuState() + DXR_IsIssuState(); };
    recording_.Start();
    EXPECT_EQ(2U, DXR_BoardIsMaster());
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ("DXR_BoardIsMaster", lines[0]["function"]);
    EXPECT_EQ(2, lines[0]["result"]);
    EXPECT_EQ("DXR_IsIssuState", lines[1]["function"]);
    EXPECT_EQ(1, lines[1]["call"]);
    EXPECT_EQ(2, lines[2]["call"]);
}

TEST_F(TraceRecording, ThreadsKeepTheirOrder) {
    constexpr uint32_t kThreads = 6;
    constexpr uint32_t kCalls = 3000;
    DxrTraceOptions options = recording_.Options();
    options.ringBytes = 4096;
    ASSERT_EQ(0U, DxrTraceStart(&options));
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            uint32_t value = 0;
            for (uint32_t n = 0; n < kCalls; ++n) {
                DXR_ReadReg(i, n, 0, &value);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    ASSERT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(0U, DxrTraceGetDropped());
    std::map<uint32_t, std::map<uint32_t, Json>> byThread;
    for (const Json &line : Lines(recording_)) {
        byThread[line["thread"]][line["call"]] = line;
    }
    ASSERT_EQ(kThreads, byThread.size());
    for (const auto &[thread, calls] : byThread) {
        ASSERT_EQ(kCalls, calls.size());
        for (const auto &[number, call] : calls) {
            ASSERT_EQ(number, call["args"]["arg2"]);
            ASSERT_EQ(calls.at(0)["args"]["arg1"], call["args"]["arg1"]);
            ASSERT_TRUE(call.contains("result"));
        }
    }
}

// Takes a recording's place as a pipe that nobody reads: the thread that writes it stands still, so
// that a ring must fill however slow the calls are. Once let go, what was written becomes the file.
class HeldBack {
  public:
    explicit HeldBack(std::string path) : path_(std::move(path)) {
        EXPECT_EQ(0, mkfifo(path_.c_str(), 0600));
        fd_ = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_EQ(0, fcntl(fd_, F_SETFL, 0));
    }
    ~HeldBack() { (void)close(fd_); }  // the writer, if it still stands there, fails
    HeldBack(const HeldBack &) = delete;
    HeldBack &operator=(const HeldBack &) = delete;
    HeldBack(HeldBack &&) = delete;
    HeldBack &operator=(HeldBack &&) = delete;

    void LetGo() {
        reader_ = std::thread([this] {
            std::array<char, 65536> bytes{};
            for (ssize_t got = 0; (got = read(fd_, bytes.data(), bytes.size())) > 0;) {
                written_.append(bytes.data(), static_cast<size_t>(got));
            }
        });
    }

    // The recording has ended.
    void Keep() {
        reader_.join();
        ASSERT_EQ(0, unlink(path_.c_str()));
        std::ofstream(path_, std::ios::binary) << written_;
    }

  private:
    std::string path_;
    int fd_ = -1;
    std::string written_;
    std::thread reader_;
};

TEST_F(TraceRecording, WhatFindsNoRoomIsCounted) {
    DxrTraceOptions options = recording_.Options();
    options.ringBytes = 4096;
    options.whenFull = DXR_TRACE_DROP;
    HeldBack held(recording_.Path());
    ASSERT_EQ(0U, DxrTraceStart(&options));
    constexpr uint64_t kCalls = 40000;
    for (uint64_t i = 0; i < kCalls; ++i) {
        if (i == kCalls / 2) {
            held.LetGo();
        }
        EXPECT_EQ(1U, DXR_IsIssuState());
    }
    EXPECT_EQ(0U, DxrTraceStop());
    held.Keep();
    const uint64_t dropped = DxrTraceGetDropped();
    EXPECT_GT(dropped, 0U);
    const std::vector<Json> lines = Lines(recording_);
    uint64_t records = 0;
    for (const Json &line : lines) {
        records += line.contains("result") ? 2 : 1;
    }
    // A call whose beginning found no room counts once.
    EXPECT_EQ(std::to_string(dropped) + " records were dropped", recording_.problem);
    EXPECT_EQ(kCalls, lines.size() + dropped - (2 * lines.size() - records));
}

TEST_F(TraceRecording, ReadersHearOfWhatWasDropped) {
    DxrTraceOptions options = recording_.Options();
    options.ringBytes = 4096;
    options.whenFull = DXR_TRACE_DROP;
    HeldBack held(recording_.Path());
    ASSERT_EQ(0U, DxrTraceStart(&options));
    for (int i = 0; i < 20000; ++i) {
        EXPECT_EQ(1U, DXR_IsIssuState());
    }
    EXPECT_GT(DxrTraceGetDropped(), 0U);
    held.LetGo();
    EXPECT_EQ(0U, DxrTraceStop());
    held.Keep();
    std::array<char, 256> problem{};
    EXPECT_EQ(0U, DxrTraceRead(
                      recording_.Path().c_str(), [](const DxrTraceCall *, void *) {}, nullptr,
                      problem.data(), problem.size()));
    EXPECT_EQ(std::to_string(DxrTraceGetDropped()) + " records were dropped",
              std::string(problem.data()));
}

// Where calls may be dropped, nothing of the program waits for the file.
TEST_F(TraceRecording, AFileThatStandsStillHoldsUpNobody) {
    DxrTraceOptions options = recording_.Options();
    options.ringBytes = 4096;
    options.whenFull = DXR_TRACE_DROP;
    HeldBack held(recording_.Path());
    ASSERT_EQ(0U, DxrTraceStart(&options));
    const auto fill = [] {
        for (int i = 0; i < 20000; ++i) {
            EXPECT_EQ(1U, DXR_IsIssuState());
        }
    };
    fill();
    const uint64_t dropped = DxrTraceGetDropped();
    EXPECT_GT(dropped, 0U);
    std::thread(fill).join();
    EXPECT_GT(DxrTraceGetDropped(), dropped);
    const pid_t child = fork();
    if (child == 0) {
        _exit(DXR_IsIssuState() == 1 ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    held.LetGo();
    EXPECT_EQ(0U, DxrTraceStop());
    held.Keep();
    // Of both threads what found room.
    std::map<uint64_t, uint64_t> byThread;
    for (const Json &line : Lines(recording_)) {
        ++byThread[line["thread"]];
    }
    EXPECT_EQ(2U, byThread.size());
}

// Also when it stands in a record, and whichever recording has it.
TEST_F(TraceRecording, APointerThatIsThereOrNotIsADifference) {
    const Recording other;
    const auto record = [](const Recording &recording, char *key) {
        recording.Start();
        std::array<char, 16> data{};
        DxrTblmRequest request = {9, key, 3, data.data(), sizeof(data), 0, {}};
        EXPECT_EQ(0U, DXR_GetChipTblmData(1, &request));
        ASSERT_EQ(0U, DxrTraceStop());
    };
    char key[] = "key";
    record(recording_, key);
    record(other, nullptr);
    const auto differ = [](const Recording &a, const Recording &b) {
        char *text = nullptr;
        size_t size = 0;
        FILE *const out = open_memstream(&text, &size);
        const uint32_t result =
            DxrTraceDiff(a.Path().c_str(), b.Path().c_str(), 0, out, nullptr, 0);
        (void)std::fclose(out);
        const std::string told(text, size);
        std::free(text);
        EXPECT_EQ(result == 1, told.find("request->key: expected ") != std::string::npos) << told;
        return result;
    };
    EXPECT_EQ(0U, differ(recording_, recording_));
    EXPECT_EQ(0U, differ(other, other));
    EXPECT_EQ(1U, differ(recording_, other));
    EXPECT_EQ(1U, differ(other, recording_));
}

TEST_F(TraceRecording, ModeSwitchesLeaveGapsAlone) {
    recording_.Start();
    DXR_IsIssuState();
    ASSERT_EQ(0U, DxrTraceSetMode(DXR_TRACE_COUNT));
    DXR_InitSafeIo();
    ASSERT_EQ(0U, DxrTraceSetMode(DXR_TRACE_OFF));
    DXR_InitSafeIo();
    ASSERT_EQ(0U, DxrTraceSetMode(DXR_TRACE_CALLS));
    DXR_IsIssuState();
    ASSERT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(2U, Lines(recording_).size());
}

TEST_F(TraceRecording, EachStartMakesTheFileAnew) {
    for (int round = 0; round < 3; ++round) {
        recording_.Start();
        DXR_IsIssuState();
        ASSERT_EQ(0U, DxrTraceStop());
        const std::vector<Json> lines = Lines(recording_);
        ASSERT_EQ(1U, lines.size());
        EXPECT_EQ(0, lines[0]["call"]);
    }
}

TEST_F(TraceRecording, WrongOptionsMakeNoFile) {
    const DxrTraceOptions good = recording_.Options();
    std::vector<DxrTraceOptions> wrong(8, good);
    wrong[0].file = nullptr;
    wrong[1].pointers = 3;
    wrong[2].whenFull = 2;
    wrong[3].ringBytes = 2048;
    wrong[4].ringBytes = 5000;
    wrong[5].ringBytes = 1U << 31;
    wrong[6].dataBytes = 1U << 20;
    wrong[7].dataBytes = UINT32_MAX;
    for (const DxrTraceOptions &options : wrong) {
        EXPECT_EQ(uint32_t{EINVAL}, DxrTraceStart(&options));
    }
    EXPECT_FALSE(std::filesystem::exists(recording_.Path()));
    DxrTraceOptions nowhere = good;
    nowhere.file = "/nowhere/at/all";
    EXPECT_EQ(uint32_t{ENOENT}, DxrTraceStart(&nowhere));
    EXPECT_EQ(0, std::memcmp(&hooks_, &g_dxrHooks, sizeof(hooks_)));
    ASSERT_EQ(0U, DxrTraceStart(nullptr));
    EXPECT_EQ(uint32_t{EINVAL}, DxrTraceSetMode(DXR_TRACE_CALLS));
}

TEST_F(TraceRecording, FullDiskIsTold) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    DxrTraceOptions options = recording_.Options();
    options.file = "/dev/full";
    EXPECT_EQ(uint32_t{ENOSPC}, DxrTraceStart(&options));
    EXPECT_EQ(uint32_t{EALREADY}, DxrTraceStop());
    recording_.Start();
    EXPECT_EQ(0U, DxrTraceStop());
}

// A thread that is inside of a hook when the trace ends, and even begins anew.
TEST_F(TraceRecording, CallsThatOutlastTheTraceComeBack) {
    static std::atomic<int> g_step;
    g_step = 0;
    DXR_GetDevHooks()->saveEnv = []() -> uint32_t {
        g_step = 1;
        while (g_step != 2) {
            std::this_thread::yield();
        }
        return 9;
    };
    recording_.Start();
    std::thread caller([] { EXPECT_EQ(9U, DXR_SaveEnv()); });
    while (g_step != 1) {
        std::this_thread::yield();
    }
    ASSERT_EQ(0U, DxrTraceStop());
    const std::vector<Json> lines = Lines(recording_);
    ASSERT_EQ(1U, lines.size());
    EXPECT_FALSE(lines[0].contains("duration_ns"));
    EXPECT_THAT(recording_.Text(DXR_TRACE_TEXT),
                testing::HasSubstr("DXR_SaveEnv() has not returned"));
    EXPECT_EQ("B", Json::parse(recording_.Text(DXR_TRACE_CHROME))["traceEvents"].back()["ph"]);
    recording_.Start();
    g_step = 2;
    caller.join();
    ASSERT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(0U, Lines(recording_).size());
}

// A crash leaves what was written until then.
TEST_F(TraceRecording, KilledProgramsLeaveAReadableFile) {
    int pipes[2];
    ASSERT_EQ(0, pipe(pipes));
    const pid_t child = fork();
    if (child == 0) {
        recording_.Start();
        for (int i = 0; i < 1000; ++i) {
            DXR_IsIssuState();
        }
        // A few periods of the drain.
        while (recording_.Bytes().size() < 2000) {
            usleep(1000);
        }
        (void)!write(pipes[1], "x", 1);
        pause();
    }
    char byte = 0;
    ASSERT_EQ(1, read(pipes[0], &byte, 1));
    ASSERT_EQ(0, kill(child, SIGKILL));
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
    close(pipes[0]);
    close(pipes[1]);
    EXPECT_GT(Lines(recording_, ENODATA).size(), 0U);
    EXPECT_THAT(recording_.problem, testing::StartsWith("has no end after "));
}

TEST_F(TraceRecording, ProgramsThatExitEndTheFile) {
    const pid_t child = fork();
    if (child == 0) {
        recording_.Start();
        DXR_IsIssuState();
        std::exit(0);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(1U, Lines(recording_).size());
}

// The child's calls go on, and the file stays its parent's.
TEST_F(TraceRecording, ChildProcessesNoteNothing) {
    recording_.Start();
    DXR_IsIssuState();
    const pid_t child = fork();
    if (child == 0) {
        const bool good = DXR_IsIssuState() == 1 && DxrTraceGetMode() == DXR_TRACE_OFF &&
                          DxrTraceStop() == 0 && DXR_IsIssuState() == 1;
        _exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    DXR_IsIssuState();
    ASSERT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(2U, Lines(recording_).size());
}

// Also while the trace's own thread is at work, whose locks are not left behind in the child.
TEST_F(TraceRecording, ChildProcessesMayBeMadeAtAnyTime) {
    recording_.Start();
    std::atomic<bool> isAtWork{false};
    std::jthread other([&isAtWork](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            DXR_IsIssuState();
            isAtWork = true;
        }
    });
    while (!isAtWork) {
        std::this_thread::yield();
    }
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            (void)alarm(20);
            DxrTraceCount count{};
            bool good = DxrTraceGetCounts(&count, 1) == 226 &&
                        DxrTraceSetMode(DXR_TRACE_COUNT) == 0 && DXR_IsIssuState() == 1 &&
                        DxrTraceStop() == 0;
// Neither sanitizer lets a child begin threads: they leave locks of their own behind in it.
#if !DXRTEST_MEMORY_IS_SHADOWED
            DxrTraceOptions options;
            DxrTraceInitOptions(&options);
            options.mode = DXR_TRACE_CALLS;
            options.file = "/dev/null";
            good = good && DxrTraceStart(&options) == 0 && DXR_IsIssuState() == 1;
            std::thread([&good] { good = good && DXR_IsIssuState() == 1; }).join();
            good = good && DxrTraceStop() == 0;
#endif
            _exit(good ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        ASSERT_EQ(0, status) << "round " << round;
    }
    other.request_stop();
    other.join();
    ASSERT_EQ(0U, DxrTraceStop());
}

size_t Descriptors() {
    size_t count = 0;
    for ([[maybe_unused]] const auto &each : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

TEST_F(TraceRecording, StartsThatFailForMemoryLeaveNothingBehind) {
    DxrTraceOptions options;
    DxrTraceInitOptions(&options);
    options.mode = DXR_TRACE_CALLS;
    options.file = "/dev/null";
    const size_t descriptors = Descriptors();
    for (const bool fromThenOn : {false, true}) {
        for (size_t n = 1;; ++n) {
            uint32_t result = 0;
            const Outcome outcome = RunFailing(
                n, [&] { result = DxrTraceStart(&options); }, fromThenOn);
            ASSERT_EQ(Outcome::kDone, outcome);
            if (result == 0) {
                break;
            }
            ASSERT_EQ(uint32_t{ENOMEM}, result);
            ASSERT_EQ(0U, NewWatch::Live()) << n;
            ASSERT_EQ(descriptors, Descriptors()) << n;
            ASSERT_EQ(uint32_t{EALREADY}, DxrTraceStop());
            ASSERT_EQ(hooks_.dev.isIssuState, DXR_GetDevHooks()->isIssuState);
        }
        EXPECT_EQ(1U, DXR_IsIssuState());
        EXPECT_EQ(0U, DxrTraceStop());
    }
    EXPECT_EQ(descriptors, Descriptors());
}

TEST_F(TraceRecording, ExportsRefuseWhatIsNoRecording) {
    (void)recording_.Text(DXR_TRACE_TEXT, ENOENT);
    EXPECT_EQ("No such file or directory", recording_.problem);
    recording_.Write("#!/bin/sh\n and more than that\n");
    (void)recording_.Text(DXR_TRACE_TEXT, EINVAL);
    EXPECT_EQ("is no recording", recording_.problem);
    recording_.Start();
    ASSERT_EQ(0U, DxrTraceStop());
    (void)recording_.Text(DXR_TRACE_COUNTS_JSON + 1, EINVAL);
    EXPECT_EQ("there is no such format", recording_.problem);
    EXPECT_EQ("", recording_.Text(DXR_TRACE_TEXT));
}

}  // namespace
}  // namespace dxrtest
