// Every step of the private logs that can fail is made to, in each way that it can: the C library's
// calls, the system calls beneath its streams, the host's hooks; once, from then on, and by chance.
// What the library does next and answers must be what its steps say for the results that it got;
// the files and the open descriptors must be those of the steps that were done.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
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

const std::string kDirectory = DXR_PRIVATE_LOG_DIRECTORY;
const std::string kTemporary = "dxr_log.tmp";
constexpr uint32_t kNoLength = 0xFFFFFFFF;

FileFaults *g_files = nullptr;
size_t g_blocks = 0;

// --- the host, whose services fail as the files do

void *Allocate(uint32_t mid, uint32_t size, const char * /*file*/, uint32_t /*line*/) {
    void *const block = g_files->Step("allocate", 1) ? nullptr : std::malloc(size);
    g_blocks += block != nullptr ? 1 : 0;
    g_files->Log(
        {"allocate " + std::to_string(mid) + " " + std::to_string(size), block == nullptr});
    return block;
}

void Free(void *block, const char * /*file*/, uint32_t /*line*/) {
    --g_blocks;
    g_files->Log({"free"});
    std::free(block);
}

// Gives no length, or a wrong one.
uint32_t FileLength(const char *path) {
    const FileFaults::Pause pause(*g_files);
    const auto files = g_files->Files();
    const auto found = files.find(std::string(path).substr(kDirectory.size()));
    auto length = found != files.end() ? static_cast<uint32_t>(found->second.size()) : kNoLength;
    if (const auto kind = g_files->Step("fileLength", 5)) {
        length = std::vector<uint32_t>{kNoLength, length + 1000, length / 2, 0, 0x80000000}[*kind];
    }
    g_files->Log({std::string("fileLength ") + path, false, std::to_string(length)});
    return length;
}

// Writes nothing, or half.
DXR_PRINTF(2, 3)
uint32_t WriteLog(const char *name, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const std::string rest = va_arg(args, const char *);
    va_end(args);
    std::string piece = rest.substr(0, 1000);
    const auto kind = g_files->Step("write hook", 2);
    if (kind) {
        piece.resize(*kind == 0 ? 0 : piece.size() / 2);
    }
    const bool writes = !kind || *kind == 1;
    if (writes) {
        g_files->Append(name, piece);
    }
    g_files->Log({std::string("write hook ") + name + " " + rest, !writes, piece});
    return kind ? 7 : 0;
}

// --- what is to be done for the results that the calls gave, step by step

struct Answer {
    uint32_t result;
    std::string text = {};
    bool isText = false;  // something was written
};

Answer ReplayPath(Replay &replay, const std::string &name) {
    return {replay.Next("realpath " + kDirectory + name).failed ? 1U : 0U};
}

Answer ReplayRead(Replay &replay, const std::string &name, size_t size) {
    if (ReplayPath(replay, name).result != 0 ||
        replay.Next("fopen " + kDirectory + name + " r").failed) {
        return {1};
    }
    Answer answer = {0};
    for (;;) {
        const FileCall &line = replay.Next("fgets 512");
        if (line.failed) {
            break;
        }
        if (size == 0) {
            answer.result = 1;
            break;
        }
        answer.isText = true;
        answer.text += line.data;
        answer.text.resize(std::min(answer.text.size(), size - 1));
    }
    replay.Next("fclose");
    return answer;
}

Answer ReplayLength(Replay &replay, const std::string &name) {
    if (replay.Next("allocate 6 4096").failed) {
        return {kNoLength};
    }
    uint32_t length = kNoLength;
    if (ReplayPath(replay, name).result == 0) {
        length =
            static_cast<uint32_t>(std::stoul(replay.Next("fileLength " + kDirectory + name).data));
    }
    replay.Next("free");
    return {length};
}

Answer ReplayCopy(Replay &replay, const std::string &from, const std::string &to, uint32_t offset,
                  uint32_t length) {
    if (ReplayPath(replay, from).result != 0 ||
        replay.Next("fopen " + kDirectory + from + " r").failed) {
        return {1};
    }
    if (replay.Next("fseek " + std::to_string(offset) + " 0").failed) {
        replay.Next("fclose");
        return {1};
    }
    if (ReplayPath(replay, to).result != 0 ||
        replay.Next("fopen " + kDirectory + to + " w").failed) {
        replay.Next("fclose");
        return {1};
    }
    bool ended = false;
    for (uint32_t copied = 0; copied < length && !ended; copied += 512) {
        const FileCall &read =
            replay.Next("fread " + std::to_string(std::min<uint32_t>(length - copied, 512)));
        ended = read.ended;
        replay.Next("fwrite " + std::to_string(read.data.size()) + " 1 " + read.data);
    }
    replay.Next("fclose");
    replay.Next("fclose");
    return {0};
}

Answer ReplayCut(Replay &replay, const std::string &name, uint32_t maxLength, bool hasHook) {
    const uint32_t length = ReplayLength(replay, name).result;
    if (length >= 0x80000000) {
        return {1};
    }
    if (length <= maxLength) {
        return {0};
    }
    if (ReplayPath(replay, name).result != 0) {
        return {1};
    }
    if (hasHook) {
        replay.Next("write hook " + kTemporary + " ");
    }
    if (ReplayPath(replay, kTemporary).result != 0 ||
        ReplayCopy(replay, name, kTemporary, length - maxLength, maxLength).result != 0 ||
        replay.Next("remove " + kDirectory + name).failed ||
        replay.Next("rename " + kDirectory + kTemporary + " " + kDirectory + name).failed) {
        return {1};
    }
    return {0};
}

// Text whose every stretch differs from its neighbours.
std::string Pattern(size_t size) {
    std::string text;
    for (size_t line = 0; text.size() < size; ++line) {
        text += "line " + std::to_string(line) + " of the log, " + std::to_string(line * 7919) +
                (line % 9 == 0 ? std::string(700, '-') : "") + "\n";
    }
    text.resize(size);
    return text;
}

struct Operation {
    std::string name;
    std::map<std::string, std::string> files;
    std::function<Answer()> call;
    std::function<Answer(Replay &)> replay;
    bool hasHook = true;
};

class PrivateLogFaults : public testing::Test {
  protected:
    PrivateLogFaults() {
        g_files = &files_;
        DXR_SetMemoryHooks(Allocate, Free);
        g_dxrHooks.system.fileLength = FileLength;
    }
    ~PrivateLogFaults() override {
        std::printf("%zu operations, %zu steps, %zu runs with a failure, %zu failures\n",
                    operations_, steps_, runs_, failures_);
        g_files = nullptr;
    }

    // All failures of the operation, in each way, once and from then on.
    void FailEachStep(const Operation &operation) {
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
    }

    void FailByChance(const Operation &operation, uint32_t times) {
        ++operations_;
        for (uint32_t seed = 0; seed < times && !HasFailure(); ++seed) {
            SCOPED_TRACE(operation.name + ", seed " + std::to_string(seed));
            files_.FailByChance(2 + seed % 40, dxrtest::Seed() + seed);
            Run(operation);
            runs_ += files_.failed > 0 ? 1 : 0;
        }
    }

    static Operation Cut(const std::string &name, std::map<std::string, std::string> files,
                         uint32_t maxLength, bool hasHook = true) {
        return {"cut, " + name, std::move(files),
                [maxLength] { return Answer{DXR_FixPrivateLogLen("a.log", maxLength)}; },
                [maxLength, hasHook](Replay &replay) {
                    return ReplayCut(replay, "a.log", maxLength, hasHook);
                },
                hasHook};
    }

    static Operation Copy(const std::string &name, std::map<std::string, std::string> files,
                          uint32_t offset, uint32_t length) {
        return {"copy, " + name, std::move(files),
                [offset, length] {
                    return Answer{DXR_CopyFile((kDirectory + "a.log").c_str(),
                                               (kDirectory + "b.log").c_str(), offset, length)};
                },
                [offset, length](Replay &replay) {
                    return ReplayCopy(replay, "a.log", "b.log", offset, length);
                }};
    }

    static Operation Read(const std::string &content, uint32_t size) {
        return {"read " + std::to_string(content.size()) + " into " + std::to_string(size),
                {{"a.log", content}, {"b.log", "b"}},
                [size] {
                    GuardedBuffer out(size);
                    const uint32_t result = DXR_GetPrivateLog("a.log", out.Data(), size);
                    EXPECT_TRUE(out.Intact());
                    const bool isText = !out.Untouched();
                    EXPECT_TRUE(!isText || out.Terminated());
                    return Answer{result, isText ? out.Text() : "", isText};
                },
                [size](Replay &replay) { return ReplayRead(replay, "a.log", size); }};
    }

    static std::vector<Operation> Cuts() {
        return {Cut("to the end of it", {{"a.log", Pattern(3000)}}, 1200),
                Cut("over several buffers", {{"a.log", Pattern(20000)}}, 17000),
                Cut("to nothing", {{"a.log", Pattern(600)}}, 0),
                Cut("with a copy that was left",
                    {{"a.log", Pattern(3000)}, {kTemporary, Pattern(5000)}}, 2999),
                Cut("without a write hook", {{"a.log", Pattern(900)}, {kTemporary, "left"}}, 600,
                    false),
                Cut("short enough", {{"a.log", Pattern(900)}}, 900)};
    }

    FileFaults files_;

  private:
    void Run(const Operation &operation) {
        files_.Clear();
        for (const auto &[name, content] : operation.files) {
            files_.Put(name, content);
        }
        g_dxrHooks.print.writePrivateLog = operation.hasHook ? WriteLog : nullptr;
        const size_t descriptors = FileFaults::Descriptors();
        files_.Begin();
        const Answer answer = operation.call();
        files_.End();
        failures_ += files_.failed;
        EXPECT_EQ(FileFaults::Descriptors(), descriptors) << "descriptors";
        EXPECT_TRUE(files_.streams.empty()) << "streams left open";
        EXPECT_EQ(g_blocks, 0U) << "blocks";

        Replay replay(files_.calls);
        const Answer expected = operation.replay(replay);
        replay.ExpectEnd();
        EXPECT_EQ(answer.result, expected.result);
        EXPECT_EQ(answer.isText, expected.isText);
        EXPECT_EQ(answer.text, expected.text);
        EXPECT_EQ(files_.Files(), FilesAfter(operation)) << "the files";
    }

    // The directory, by the calls that reached it.
    std::map<std::string, std::string> FilesAfter(const Operation &operation) const {
        std::map<std::string, std::string> after = operation.files;
        for (const FileCall &call : files_.calls) {
            const auto is = [&call](const std::string &start) {
                return call.text.compare(0, start.size(), start) == 0;
            };
            if (is("write hook ")) {
                if (!call.failed) {
                    after[call.text.substr(11, call.text.find(' ', 11) - 11)] += call.data;
                }
            } else if (!call.failed && is("fopen ") && call.text.back() == 'w') {
                const size_t begin = 6 + kDirectory.size();
                after[call.text.substr(begin, call.text.size() - begin - 2)] = files_.written;
            } else if (!call.failed && is("remove ")) {
                after.erase(call.text.substr(7 + kDirectory.size()));
            } else if (!call.failed && is("rename ")) {
                const size_t space = call.text.find(' ', 7);
                auto moved = after.extract(
                    call.text.substr(7 + kDirectory.size(), space - 7 - kDirectory.size()));
                after[call.text.substr(space + 1 + kDirectory.size())] = moved.mapped();
            }
        }
        return after;
    }

    dxrtest::TestHost host_;
    size_t operations_ = 0;
    size_t steps_ = 0;
    size_t runs_ = 0;
    size_t failures_ = 0;
};

TEST_F(PrivateLogFaults, EachStepOfACut) {
    for (const Operation &cut : Cuts()) {
        FailEachStep(cut);
    }
}

TEST_F(PrivateLogFaults, EachStepOfACopy) {
    const std::string content = Pattern(12000);
    FailEachStep(Copy("a range", {{"a.log", content}, {"b.log", "old"}}, 1000, 9500));
    FailEachStep(Copy("nothing", {{"a.log", content}, {"b.log", "old"}}, 1000, 0));
    FailEachStep(Copy("beyond the end", {{"a.log", content}, {"b.log", "old"}}, 13000, 100));
    FailEachStep(Copy("an end that comes early", {{"a.log", content}, {"b.log", ""}}, 11900, 600));
    FailEachStep(Copy("no destination", {{"a.log", content}}, 0, 600));
}

TEST_F(PrivateLogFaults, EachStepOfReading) {
    for (const size_t size : {0U, 100U, 20000U}) {
        for (const uint32_t room : {0U, 1U, 150U, 30000U}) {
            FailEachStep(Read(Pattern(size), room));
        }
    }
    FailEachStep(Read(std::string("a\0b\nc", 5), 100));
}

TEST_F(PrivateLogFaults, PathAndLength) {
    FailEachStep({"path",
                  {{"a.log", "text"}},
                  [] {
                      std::string path(4096, '#');
                      const uint32_t result = DXR_GetPrivateLogPath("a.log", path.data(), 4096);
                      EXPECT_TRUE(result != 0 || path.c_str() == kDirectory + "a.log");
                      return Answer{result};
                  },
                  [](Replay &replay) { return ReplayPath(replay, "a.log"); }});
    for (const char *const name : {"a.log", "missing.log"}) {
        FailEachStep({"length",
                      {{"a.log", "text"}},
                      [name] { return Answer{DXR_GetPrivateLogLen(name)}; },
                      [name](Replay &replay) { return ReplayLength(replay, name); }});
    }
}

// The hook is called for each piece, whatever it answered for the one before.
TEST_F(PrivateLogFaults, Writing) {
    const std::string text = Pattern(2500);
    FailEachStep({"write",
                  {{"a.log", "before\n"}},
                  [&text] { return Answer{DXR_WritePrivateLog("a.log", 2500, text.c_str())}; },
                  [&text](Replay &replay) {
                      for (const size_t offset : {0U, 1000U, 2000U}) {
                          replay.Next("write hook a.log " + text.substr(offset));
                      }
                      return Answer{0};
                  }});
    FailEachStep({"empty write",
                  {},
                  [] { return Answer{DXR_WritePrivateLog("a.log", 0, "")}; },
                  [this](Replay &replay) {
                      replay.Next("write hook a.log ");
                      return Answer{files_.failed > 0 ? 7U : 0U};
                  }});
}

TEST_F(PrivateLogFaults, StepsByChance) {
    for (const Operation &cut : Cuts()) {
        FailByChance(cut, 400);
    }
    FailByChance(Copy("a range", {{"a.log", Pattern(12000)}, {"b.log", "old"}}, 1000, 9500), 400);
    FailByChance(Read(Pattern(20000), 30000), 400);
}

// What a cut that is not disturbed gives; the other tests follow the calls alone.
TEST_F(PrivateLogFaults, AnUndisturbedCutKeepsTheNewestBytes) {
    const std::string content = Pattern(20000);
    files_.Put("a.log", content);
    g_dxrHooks.print.writePrivateLog = WriteLog;
    files_.FailNothing();
    files_.Begin();
    EXPECT_EQ(DXR_FixPrivateLogLen("a.log", 17000), 0U);
    files_.End();
    const std::map<std::string, std::string> expected = {{"a.log", content.substr(3000)}};
    EXPECT_EQ(files_.Files(), expected);
}

// Killed before each step of a cut: the log is the old one until the whole copy stands, then it is
// missing, then it is the new one.
TEST_F(PrivateLogFaults, KilledBeforeEachStepOfACut) {
    using Files = std::map<std::string, std::string>;
    const std::string content = Pattern(20000);
    const std::string kept = content.substr(3000);
    for (const bool hasOldCopy : {false, true}) {
        const Files before =
            hasOldCopy ? Files{{"a.log", content}, {kTemporary, "old"}} : Files{{"a.log", content}};
        const auto cut = [&](uint64_t killBefore) {
            files_.Clear();
            for (const auto &[name, text] : before) {
                files_.Put(name, text);
            }
            files_.KillBefore(killBefore);
            files_.Begin();
            const uint32_t result = DXR_FixPrivateLogLen("a.log", 17000);
            files_.End();
            return result;
        };
        g_dxrHooks.print.writePrivateLog = WriteLog;
        ASSERT_EQ(cut(0), 0U);
        const auto steps = files_.steps;
        const std::vector<size_t> written = files_.writtenBefore;
        Files expected = before;
        int opened = 0;
        int states = 1;
        for (size_t n = 0; n < steps.size(); ++n) {
            SCOPED_TRACE("before step " + std::to_string(n + 1) + ", " + steps[n].first);
            const Files last = expected;
            const std::string done = n > 0 ? steps[n - 1].first : "";
            opened += done == "fopen" ? 1 : 0;
            if (done == "remove") {
                expected.erase("a.log");
            } else if (opened == 2) {
                expected[kTemporary] = kept.substr(0, written[n]);
            } else if (done == "write hook") {
                expected[kTemporary] += "";
            }
            states += expected != last ? 1 : 0;

            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                cut(n + 1);
                _exit(1);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
            EXPECT_EQ(files_.Files(), expected);
        }
        // The last step is the renaming.
        EXPECT_EQ(expected, Files({{kTemporary, kept}}));
        EXPECT_GE(states, 6);
        EXPECT_EQ(steps.back().first, "rename");
    }
}

}  // namespace
