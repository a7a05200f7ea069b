// Every step of the binary files that can fail is made to, in each way that it can: the C library's
// calls, the host's file services, which may also lie; once, from then on, and by chance. What the
// library does next, prints and answers must be what its steps say for the results that it got.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "faults/file_faults.h"
#include "support/test_host.h"

namespace {

using dxrtest::FileCall;
using dxrtest::FileFaults;
using dxrtest::GuardedBuffer;
using dxrtest::Replay;

constexpr uint32_t kMostBytes = 0x9FFFFF;
constexpr size_t kPathRoom = 256;

FileFaults *g_files = nullptr;
std::string g_workPath;
size_t g_blocks = 0;
size_t g_handles = 0;
bool g_pretends = false;  // files are longer than they are, and yet read whole

// --- the host. Each service logs what it answered.

void *Allocate(uint32_t mid, uint32_t size, const char * /*file*/, uint32_t /*line*/) {
    void *const block = g_files->Step("allocate", 1) ? nullptr : std::malloc(size);
    if (block != nullptr) {
        std::memset(block, 0xA5, size);
        ++g_blocks;
    }
    g_files->Log(
        {"allocate " + std::to_string(mid) + " " + std::to_string(size), block == nullptr});
    return block;
}

void Free(void *block, const char * /*file*/, uint32_t /*line*/) {
    --g_blocks;
    g_files->Log({"free"});
    std::free(block);
}

uint32_t Length(const char *path) {
    std::error_code error;
    auto length = static_cast<uint32_t>(std::filesystem::file_size(path, error));
    length += g_pretends ? 100 : 0;
    if (const auto kind = g_files->Step("fileLength", 7)) {
        length = std::array{0U,           0xFFFFFFFFU,  kMostBytes + 1, kMostBytes,
                            length + 100, length - 100, 0x80000000U}[*kind];
    }
    g_files->Log({std::string("fileLength ") + path, false, std::to_string(length)});
    return length;
}

void *Open(const char *path, const char *mode) {
    const FileFaults::Pause pause(*g_files);
    std::FILE *const file = g_files->Step("fOpen", 1) ? nullptr : std::fopen(path, mode);
    g_handles += file != nullptr ? 1 : 0;
    g_files->Log({std::string("fOpen ") + path + " " + mode, file == nullptr});
    return file;
}

// Gives the bytes read, as it is expected to; or a number that is wrong.
uint32_t Read(void *block, uint32_t size, uint32_t count, void *file) {
    const FileFaults::Pause pause(*g_files);
    auto got = static_cast<uint32_t>(
        std::fread(block, 1, size_t{size} * count, static_cast<std::FILE *>(file)));
    got = g_pretends ? size : got;
    if (const auto kind = g_files->Step("fRead", 5)) {
        got = std::array{0U, 1U, size - 1, size + 1, 0xFFFFFFFFU}[*kind];
    }
    g_files->Log({"fRead " + std::to_string(size) + " " + std::to_string(count), false,
                  std::to_string(got)});
    return got;
}

uint32_t Close(void *file) {
    const FileFaults::Pause pause(*g_files);
    --g_handles;
    // Closed whatever the answer.
    const bool closed = std::fclose(static_cast<std::FILE *>(file)) == 0;
    const bool fails = g_files->Step("fClose", 1).has_value() || !closed;
    g_files->Log({"fClose", fails});
    return fails ? 1 : 0;
}

// Fails, gives no path, or fills the whole buffer without an end.
uint32_t WorkPath(char *path, uint32_t size) {
    std::string text = g_workPath;
    uint32_t result = 0;
    if (const auto kind = g_files->Step("getSysWorkPath", 4)) {
        result = std::array{1U, 0xFFFFFFFFU, 0U, 0U}[*kind];
        text = *kind < 3 ? "" : std::string(size, 'w');
    }
    if (text.size() == size) {
        std::memcpy(path, text.data(), size);
        text.pop_back();
    } else {
        std::snprintf(path, size, "%s", text.c_str());
    }
    g_files->Log({"getSysWorkPath " + std::to_string(size), result != 0,
                  result != 0 ? std::to_string(result) : text});
    return result;
}

// --- what is to be done for the results that the calls gave, step by step

struct Answer {
    uint32_t result;
    std::string text = {};
    std::vector<std::string> printed = {};
    bool untouched = false;  // the outputs

    bool operator==(const Answer &) const = default;
};

std::string Hex(uint32_t number) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "0x%x", number);
    return text.data();
}

// The work path, or the line for its failure.
std::optional<std::string> ReplayWorkPath(Replay &replay, Answer &answer) {
    const FileCall &call = replay.Next("getSysWorkPath 256");
    if (call.failed) {
        const auto result = static_cast<uint32_t>(std::stoul(call.data));
        answer.printed.push_back("1 [LINKM_BIN] get sys work path ret[" + Hex(result) + "]");
        return std::nullopt;
    }
    return call.data;
}

Answer ReplayBinPath(Replay &replay, const std::string &folder, const std::string &file,
                     size_t room) {
    Answer answer = {1};
    const auto work = ReplayWorkPath(replay, answer);
    if (work) {
        answer.result = 0;
        answer.text = (*work + "/" + folder + "/" + file).substr(0, room - 1);
    }
    return answer;
}

Answer ReplayLoad(Replay &replay, const std::string &path) {
    Answer answer = {1};
    answer.untouched = true;
    if (replay.Next("access " + path).failed) {
        answer.printed.push_back("6 [TOLV BIN] access file-" + path + " ");
        return answer;
    }
    const auto length = static_cast<uint32_t>(std::stoul(replay.Next("fileLength " + path).data));
    if (length == 0 || length > kMostBytes) {
        answer.printed.push_back("6 [TOLV BIN] file length[" +
                                 std::to_string(static_cast<int32_t>(length)) +
                                 "] is out of range, filePath: " + path);
        return answer;
    }
    if (replay.Next("allocate 21 " + std::to_string(length)).failed) {
        return answer;
    }
    if (replay.Next("fOpen " + path + " rb").failed) {
        answer.printed.emplace_back("2 [TOLV BIN] open file unsuccessfully");
        replay.Next("free");
        return answer;
    }
    const auto read = static_cast<uint32_t>(
        std::stoul(replay.Next("fRead " + std::to_string(length) + " 1").data));
    if (read != length) {
        answer.printed.push_back("1 [TOLV BIN] read file error ret[" + Hex(read) + "]");
        replay.Next("free");
        replay.Next("fClose");
        return answer;
    }
    replay.Next("fClose");
    return {0, std::to_string(length)};
}

Answer ReplayWorkDir(Replay &replay, const std::string &folder, size_t room) {
    Answer answer = {8};
    const auto work = ReplayWorkPath(replay, answer);
    if (work) {
        answer.result = 0;
        answer.text = (*work + "/" + folder).substr(0, room - 1);
    }
    return answer;
}

// A folder that stops answering is at its end, as far as can be seen.
Answer ReplayLatest(Replay &replay, const std::string &pattern, const std::string &folder,
                    size_t room) {
    Answer directory = ReplayWorkDir(replay, folder, kPathRoom);
    Answer answer = {9, "", directory.printed};
    if (directory.result != 0) {
        return answer;
    }
    const FileCall &opened = replay.Next("opendir " + directory.text);
    if (opened.failed) {
        answer.result = 10;
        answer.printed.push_back("1 [LINKM_BIN] open dir " + directory.text +
                                 " failed, errno: " + opened.data + ".");
        return answer;
    }
    for (;;) {
        const FileCall &entry = replay.Next("readdir");
        if (entry.failed) {
            break;
        }
        if (entry.data.find(pattern) == std::string::npos || entry.data <= answer.text) {
            continue;
        }
        if (entry.data.size() >= room) {
            answer.printed.push_back(
                "1 [LINKM_BIN] can not get latest file, fileName: " + entry.data + ", ret 0.");
            answer.text.clear();
            answer.result = 11;
            replay.Next("closedir");
            return answer;
        }
        answer.text = entry.data;
    }
    replay.Next("closedir");
    answer.result = answer.text.empty() ? 12 : 0;
    return answer;
}

struct Operation {
    std::string name;
    std::function<Answer()> call;
    std::function<Answer(Replay &)> replay;
};

class BinFileFaults : public testing::Test {
  protected:
    BinFileFaults() {
        g_files = &files_;
        g_workPath = files_.Top() + "/work";
        std::filesystem::create_directories(g_workPath + "/bin");
        // Whatever the order in which they are read, a long name comes before a greater short one.
        for (const char *const name : {"a_1.bin", "a_2.bin", "a_3.bin", "b_9_long_name.bin",
                                       "c.bin", "x.bin", "w_8_long_name.bin", "v.bin"}) {
            std::FILE *const file = std::fopen((g_workPath + "/bin/" + name).c_str(), "w");
            for (int i = 0; i < 7000; ++i) {
                std::fputc(i % 251, file);
            }
            std::fclose(file);
        }
        DXR_SetMemoryHooks(Allocate, Free);
        DXR_SetDefaultMid(21);
        g_dxrHooks.system.fileLength = Length;
        g_dxrHooks.system.fOpen = Open;
        g_dxrHooks.system.fRead = Read;
        g_dxrHooks.system.fClose = Close;
        g_dxrHooks.system.getSysWorkPath = WorkPath;
    }
    ~BinFileFaults() override {
        std::printf("%zu operations, %zu steps, %zu runs with a failure, %zu failures\n",
                    operations_, steps_, runs_, failures_);
        g_files = nullptr;
    }

    // All failures in each way, once and from then on; then by chance.
    void Fail(const Operation &operation) {
        ++operations_;
        files_.FailNothing();
        Run(operation);
        EXPECT_EQ(files_.failed, 0U);
        const auto steps = files_.steps;
        steps_ += steps.size();
        for (size_t n = 0; n < steps.size() && !HasFailure(); ++n) {
            for (size_t kind = 0; kind < steps[n].second; ++kind) {
                for (const bool fromThenOn : {false, true}) {
                    SCOPED_TRACE(operation.name + ", step " + std::to_string(n + 1) + ", " +
                                 steps[n].first + ", kind " + std::to_string(kind) +
                                 (fromThenOn ? " and all after it" : ""));
                    files_.FailStep(n + 1, kind, fromThenOn);
                    Run(operation);
                    EXPECT_GE(files_.failed, 1U);
                    ++runs_;
                }
            }
        }
        for (uint32_t seed = 0; seed < 200 && !HasFailure(); ++seed) {
            SCOPED_TRACE(operation.name + ", seed " + std::to_string(seed));
            files_.FailByChance(2 + seed % 7, dxrtest::Seed() + seed);
            Run(operation);
            runs_ += files_.failed > 0 ? 1 : 0;
        }
    }

    FileFaults files_;

  private:
    void Run(const Operation &operation) {
        for (const bool prints : {true, false}) {
            // Without the print hook the codes are the same. By chance the second run gets other
            // failures.
            if (prints) {
                host_.WithPrint();
            } else {
                g_dxrHooks.print.print = nullptr;
            }
            host_.printed.clear();
            const size_t descriptors = FileFaults::Descriptors();
            files_.Begin();
            Answer answer = operation.call();
            files_.End();
            failures_ += files_.failed;
            EXPECT_EQ(FileFaults::Descriptors() - g_handles, descriptors) << "descriptors";
            EXPECT_EQ(g_handles, 0U) << "the host's files";
            EXPECT_EQ(g_blocks, 0U) << "blocks";
            for (const dxrtest::PrintedLine &line : host_.printed) {
                answer.printed.push_back(std::to_string(line.level) + " " + line.text);
            }
            Replay replay(files_.calls);
            Answer expected = operation.replay(replay);
            replay.ExpectEnd();
            if (!prints) {
                expected.printed.clear();
            }
            EXPECT_EQ(answer.result, expected.result);
            EXPECT_EQ(answer.text, expected.text);
            EXPECT_EQ(answer.printed, expected.printed);
            EXPECT_EQ(answer.untouched, expected.untouched);
        }
    }

    dxrtest::TestHost host_;
    size_t operations_ = 0;
    size_t steps_ = 0;
    size_t runs_ = 0;
    size_t failures_ = 0;
};

// A block that was handed out has the file's bytes, and zeros where the host read less than it
// said.
Answer Load(const std::function<uint32_t(uint8_t **, uint32_t *)> &load) {
    uint8_t nothing = 0;
    uint8_t *data = &nothing;
    uint32_t length = 4711;
    const uint32_t result = load(&data, &length);
    Answer answer = {result};
    answer.untouched = data == &nothing && length == 4711;
    if (data != &nothing) {
        const FileFaults::Pause pause(*g_files);
        for (uint32_t i = 0; i < length; ++i) {
            if (data[i] != (i < 7000 ? i % 251 : 0)) {
                ADD_FAILURE() << "byte " << i;
                break;
            }
        }
        answer.text = std::to_string(length);
        --g_blocks;
        std::free(data);
    }
    return answer;
}

TEST_F(BinFileFaults, GetBinFileDataByFilePath) {
    const std::string path = g_workPath + "/bin/a_1.bin";
    for (const bool pretends : {false, true}) {
        g_pretends = pretends;
        Fail({"load",
              [&path] {
                  return Load([&path](uint8_t **data, uint32_t *length) {
                      return DXR_GetBinFileDataByFilePath(path.c_str(), data, length);
                  });
              },
              [&path](Replay &replay) { return ReplayLoad(replay, path); }});
    }
    g_pretends = false;
}

TEST_F(BinFileFaults, GetBinFileData) {
    Fail({"load by name",
          [] {
              return Load([](uint8_t **data, uint32_t *length) {
                  return DXR_GetBinFileData("bin", "a_2.bin", data, length);
              });
          },
          [](Replay &replay) {
              Answer path = ReplayBinPath(replay, "bin", "a_2.bin", kPathRoom);
              if (path.result != 0) {
                  path.untouched = true;
                  return path;
              }
              return ReplayLoad(replay, path.text);
          }});
}

TEST_F(BinFileFaults, GetBinFilePathAndGetWorkDir) {
    for (const uint32_t room : {2U, 20U, 256U, 600U}) {
        Fail({"path",
              [room] {
                  GuardedBuffer path(room);
                  const uint32_t result = DXR_GetBinFilePath("bin", "a_1.bin", path.Data(), room);
                  EXPECT_TRUE(path.Intact());
                  return Answer{result, path.Untouched() ? "" : path.Text()};
              },
              [room](Replay &replay) { return ReplayBinPath(replay, "bin", "a_1.bin", room); }});
        Fail({"folder",
              [room] {
                  GuardedBuffer path(room);
                  const uint32_t result = DXR_GetWorkDir("bin", path.Data(), room);
                  EXPECT_TRUE(path.Intact());
                  return Answer{result, path.Untouched() ? "" : path.Text()};
              },
              [room](Replay &replay) { return ReplayWorkDir(replay, "bin", room); }});
    }
}

TEST_F(BinFileFaults, GetLatestFile) {
    for (const char *const pattern : {"a_", "", "bin", "no such name"}) {
        for (const uint32_t room : {8U, 64U}) {
            Fail({std::string("latest of ") + pattern,
                  [pattern, room] {
                      GuardedBuffer name(room);
                      const uint32_t result = DXR_GetLatestFile(pattern, "bin", name.Data(), room);
                      EXPECT_TRUE(name.Intact() && name.Terminated());
                      EXPECT_TRUE(std::all_of(name.Data() + name.Text().size(), name.Data() + room,
                                              [](char byte) { return byte == 0; }))
                          << "after the name";
                      return Answer{result, name.Text()};
                  },
                  [pattern, room](Replay &replay) {
                      return ReplayLatest(replay, pattern, "bin", room);
                  }});
        }
    }
}

}  // namespace
