// A process that writes and cuts private logs is killed at random moments, again and again, and
// the next one goes on with what the last one left. After each kill the files must be in one of the
// states that a step of the work leaves; docs/reliability.md lists them.
//
// DXR_TEST_KILLS=N sets the number of kills, 50 without it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dxr_api.h"
#include "support/file_sandbox.h"
#include "support/test_host.h"

namespace {

using dxrtest::FileSandbox;

const std::string kLog = "a.log";
const std::string kTemporary = "dxr_log.tmp";

// What is logged is one endless text of numbered lines: whatever is found in a file tells by itself
// where it comes from.
std::string TextOf(uint64_t from, uint64_t to) {
    constexpr uint64_t kLine = 32;
    std::string text;
    for (uint64_t line = from / kLine; line * kLine < to; ++line) {
        std::array<char, kLine + 1> digits;
        const unsigned long long number = line * 0x9E3779B97F4A7C15U;
        std::snprintf(digits.data(), digits.size(), "%031llu\n", number);
        text += digits.data();
    }
    return text.substr(from % kLine, to - from);
}

enum class Work : uint32_t { kNone, kWrite, kCut };

// What the writer is about, in memory that outlives it. The log holds the text from `begin` to
// `end`, or is missing when they are equal; the work in hand leads to `newBegin`, `newEnd`.
struct Desk {
    std::atomic<uint64_t> done;
    std::atomic<uint64_t> cuts;  // those that this writer has finished
    std::atomic<Work> work;
    std::atomic<uint64_t> begin;
    std::atomic<uint64_t> end;
    std::atomic<uint64_t> newBegin;
    std::atomic<uint64_t> newEnd;
};

class Writer {
  public:
    Writer(FileSandbox &files, Desk &desk, uint64_t seed) : files_(files), desk_(desk) {
        random_.seed(seed);
        writer = this;
        DXR_SetMemoryHooks(
            [](uint32_t, uint32_t size, const char *, uint32_t) { return std::malloc(size); },
            [](void *block, const char *, uint32_t) { std::free(block); });
        g_dxrHooks.system.fileLength = FileLength;
        g_dxrHooks.print.writePrivateLog = WriteHook;
    }
    ~Writer() { writer = nullptr; }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    // One write or cut. Returns whether it did what it was to do.
    bool Step() {
        const uint64_t begin = desk_.begin;
        const uint64_t end = desk_.end;
        bool good = true;
        if (end - begin > 3000 && random_() % 2 == 0) {
            const uint64_t keep = random_() % (end - begin);
            Begin(Work::kCut, end - keep, end);
            good = DXR_FixPrivateLogLen(kLog.c_str(), static_cast<uint32_t>(keep)) == 0;
        } else {
            const uint64_t length = 1 + random_() % 5000;
            const std::string text = TextOf(end, end + length);
            Begin(Work::kWrite, begin, end + length);
            good =
                DXR_WritePrivateLog(kLog.c_str(), static_cast<uint32_t>(length), text.c_str()) == 0;
        }
        desk_.begin = desk_.newBegin.load();
        desk_.end = desk_.newEnd.load();
        desk_.cuts += desk_.work == Work::kCut ? 1 : 0;
        desk_.work = Work::kNone;
        ++desk_.done;
        return good;
    }

  private:
    void Begin(Work work, uint64_t newBegin, uint64_t newEnd) {
        desk_.newBegin = newBegin;
        desk_.newEnd = newEnd;
        desk_.work = work;
    }

    static uint32_t FileLength(const char *path) {
        std::error_code error;
        const auto size = std::filesystem::file_size(writer->files_.OnDisk(path), error);
        return error ? 0xFFFFFFFF : static_cast<uint32_t>(size);
    }

    // As a host is expected to: appends at most 1000 characters, creates the file.
    DXR_PRINTF(2, 3)
    static uint32_t WriteHook(const char *name, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        const char *const rest = va_arg(args, const char *);
        va_end(args);
        const int file = ::open(writer->files_.Log(name).c_str(),
                                O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (file < 0) {
            return 1;
        }
        const size_t length = strnlen(rest, 1000);
        const ssize_t put = ::write(file, rest, length);
        ::close(file);
        return put == static_cast<ssize_t>(length) ? 0 : 1;
    }

    static inline Writer *writer = nullptr;
    FileSandbox &files_;
    Desk &desk_;
    std::mt19937_64 random_;
};

// Where the killed process was, by the files that it left.
enum State {
    kNothingInHand,  // between two pieces of work
    kWriteNotBegun,  // nothing of the text is there
    kWritePart,      // a part of it
    kWriteWhole,     // all of it, and the writer did not get to know
    kCutNotBegun,    // the log as before, no copy or an older one that was left
    kCutEmptyCopy,   // the log as before, the copy empty
    kCutPartOfCopy,  // the log as before, a part of the copy
    kCutWholeCopy,   // the log as before, the copy whole
    kCutLogMissing,  // the log removed, the copy whole
    kCutDone,        // the copy is the log
    kStates
};

constexpr std::array<const char *, kStates> kStateNames = {
    "between two calls",
    "write: nothing of the text",
    "write: a part of the text",
    "write: all of the text",
    "cut: the old log, no copy or one of an earlier cut",
    "cut: the old log, an empty copy",
    "cut: the old log, a part of the copy",
    "cut: the old log, the whole copy",
    "cut: no log, the whole copy",
    "cut: the new log"};

class KillPrivateLog : public testing::Test {
  protected:
    KillPrivateLog() : random_(dxrtest::Seed()) {
        void *const memory =
            mmap(nullptr, sizeof(Desk), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            std::abort();
        }
        desk_ = new (memory) Desk{};
        files_.watching = false;
    }
    ~KillPrivateLog() override { munmap(desk_, sizeof(Desk)); }

    // Looks at what a killed writer left, and puts down in the desk what there is now.
    State Judge() {
        const std::optional<std::string> log = files_.Content(kLog);
        const std::optional<std::string> copy = files_.Content(kTemporary);
        const uint64_t begin = desk_->begin;
        const uint64_t end = desk_->end;
        const uint64_t newBegin = desk_->newBegin;
        const uint64_t newEnd = desk_->newEnd;
        const Work work = desk_->work;
        desk_->work = Work::kNone;
        EXPECT_EQ(files_.Names().size(), (log ? 1U : 0U) + (copy ? 1U : 0U)) << "other files";
        if (desk_->cuts > 0) {
            left_.reset();
        }

        const std::string before = TextOf(begin, end);
        if (work == Work::kNone) {
            EXPECT_EQ(log.value_or(""), before);
            EXPECT_EQ(copy, left_);
            return kNothingInHand;
        }
        if (work == Work::kWrite) {
            const std::string content = log.value_or("");
            EXPECT_GE(content.size(), end - begin);
            EXPECT_LE(content.size(), newEnd - begin);
            EXPECT_EQ(content, TextOf(begin, begin + content.size()));
            EXPECT_EQ(copy, left_);
            desk_->end = begin + content.size();
            return desk_->end == end      ? kWriteNotBegun
                   : desk_->end == newEnd ? kWriteWhole
                                          : kWritePart;
        }
        const std::string after = TextOf(newBegin, newEnd);
        if (!log) {
            EXPECT_EQ(copy, after) << "the log is missing, and the copy is not whole";
            // As a host can that finds a copy and no log.
            if (copy == after) {
                std::filesystem::rename(files_.Log(kTemporary), files_.Log(kLog));
                left_.reset();
                desk_->begin = newBegin;
            }
            return kCutLogMissing;
        }
        if (*log == after) {
            EXPECT_FALSE(copy.has_value()) << "a copy beside the new log";
            left_.reset();
            desk_->begin = newBegin;
            return kCutDone;
        }
        EXPECT_EQ(*log, before) << "neither the old log nor the new one";
        const std::optional<std::string> left = std::exchange(left_, copy);
        if (copy == left) {
            return kCutNotBegun;
        }
        EXPECT_TRUE(copy && after.compare(0, copy->size(), *copy) == 0) << "another copy";
        return !copy || copy->empty()         ? kCutEmptyCopy
               : copy->size() == after.size() ? kCutWholeCopy
                                              : kCutPartOfCopy;
    }

    // Starts a writer, lets it do some work, and kills it at some moment.
    void Kill() {
        const uint64_t seed = random_();
        const uint64_t done = desk_->done + random_() % 6;
        const uint64_t turns = random_() % (1U << (8 + random_() % 12));
        desk_->cuts = 0;
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            Writer writer(files_, *desk_, seed);
            while (writer.Step()) {
            }
            _exit(3);
        }
        int status = 0;
        while (desk_->done < done) {
            ASSERT_EQ(waitpid(child, &status, WNOHANG), 0) << "a call failed without a reason";
            sched_yield();
        }
        for (std::atomic<uint64_t> turn = 0; turn < turns; ++turn) {
        }
        ::kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "a call failed without a reason";
    }

    dxrtest::TestHost host_;
    std::vector<std::string> ignored_;
    FileSandbox files_{ignored_};
    Desk *desk_;
    std::mt19937_64 random_;
    std::optional<std::string> left_;  // the copy that an earlier kill left
};

TEST_F(KillPrivateLog, AtRandomMoments) {
    const char *const given = std::getenv("DXR_TEST_KILLS");
    const uint64_t kills = given != nullptr ? std::strtoull(given, nullptr, 0) : 50;
    std::array<uint64_t, kStates> seen = {};
    for (uint64_t kill = 1; kill <= kills && !HasFailure(); ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        Kill();
        if (!HasFatalFailure()) {
            ++seen[Judge()];
        }
    }
    std::printf("%llu kills\n", static_cast<unsigned long long>(kills));
    for (size_t state = 0; state < kStates; ++state) {
        std::printf("%8llu %s\n", static_cast<unsigned long long>(seen[state]), kStateNames[state]);
    }
}

}  // namespace
