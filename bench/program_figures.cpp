// Whole programs that drop repeated lines of a log.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "package_figures.h"

namespace bench {
namespace {

// A log on disk for as long as this object lives: stamps of a second, 140 lines in each; four lines
// in five repeat one of the last 200 texts, most of them the text just before them, as storms do,
// and the fifth is new. The peers see a repeat only within its second, since they compare stamps
// too.
class Log {
  public:
    explicit Log(uint32_t lines) {
        const char *const folder = std::getenv("TMPDIR");
        path_ = std::string(folder != nullptr ? folder : "/tmp") + "/dxr_bench_XXXXXX";
        const int file = mkstemp(path_.data());
        Require(file >= 0, "temporary file");
        std::FILE *const stream = fdopen(file, "w");
        Write(stream, lines);
        Require(std::fclose(stream) == 0, "writing a log");
    }
    ~Log() { unlink(path_.c_str()); }
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    Log(Log &&) = delete;
    Log &operator=(Log &&) = delete;

    [[nodiscard]] const std::string &Path() const { return path_; }
    // Lines that are left of it when repeats are dropped: of a text behind its stamp, of lines one
    // after the other, of lines anywhere.
    [[nodiscard]] size_t Texts() const { return texts_; }
    [[nodiscard]] size_t Runs() const { return runs_; }
    [[nodiscard]] size_t Lines() const { return lines_; }

  private:
    void Write(std::FILE *stream, uint32_t lines) {
        constexpr uint32_t kLinesASecond = 140;
        constexpr uint32_t kRecent = 200;
        std::mt19937 random(7);
        std::set<uint32_t> inThisSecond;
        uint32_t last = 0;
        for (uint32_t n = 0; n < lines; ++n) {
            const uint32_t second = n / kLinesASecond;
            const auto dice = static_cast<uint32_t>(random()) % 100;
            uint32_t text = last;
            if (n == 0 || dice >= 80) {
                text = static_cast<uint32_t>(texts_++);
            } else if (dice >= 50) {
                const auto recent = std::min(kRecent, static_cast<uint32_t>(texts_));
                text = static_cast<uint32_t>(texts_) - 1 - static_cast<uint32_t>(random()) % recent;
            }
            if (n % kLinesASecond == 0) {
                inThisSecond.clear();
            }
            runs_ += text != last || n % kLinesASecond == 0 ? 1 : 0;
            lines_ += inThisSecond.insert(text).second ? 1 : 0;
            last = text;
            std::fprintf(stream,
                         "2024-03-15T%02u:%02u:%02uZ linkd: chip %u link %u lane %u lost lock, bit "
                         "errors %08x\n",
                         10 + second / 3600, second / 60 % 60, second % 60, text % 12, text,
                         text % 8, text * 2654435761U);
        }
    }

    std::string path_;
    size_t texts_ = 0;
    size_t runs_ = 0;
    size_t lines_ = 0;
};

using Command = std::vector<std::string>;

struct Contender {
    const char *name;
    Command command;  // before the name of the file
};

// Runs it with its output into a pipe or to nowhere, and requires that it ends well.
template <typename WhileItRuns>
void Start(const Command &command, const std::string &path, int output, WhileItRuns whileItRuns) {
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(const_cast<char *>(path.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error = posix_spawnp(&process, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output);
    Require(error == 0, "start of " + command[0]);
    whileItRuns();
    int status = 0;
    waitpid(process, &status, 0);
    Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "end of " + command[0]);
}

size_t LinesOf(const Command &command, const std::string &path) {
    int ends[2];
    Require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    size_t lines = 0;
    Start(command, path, ends[1], [&] {
        std::FILE *const stream = fdopen(ends[0], "r");
        for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
            lines += c == '\n' ? 1 : 0;
        }
        std::fclose(stream);
    });
    return lines;
}

// Both figures are of one log, which is written when the first of them is measured.
const Log &WholeLog() {
    static const Log log(1'000'000);
    return log;
}

Run OverWholeLog(const Command &command) {
    return [command](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Start(command, WholeLog().Path(), open("/dev/null", O_WRONLY | O_CLOEXEC), [] {});
        }
    };
}

}  // namespace

Figure FilterOfFile(const char *dxrsh, Program peer) {
    const Command ours = {dxrsh, "filter"};
    const Contender other = peer == Program::kUniq
                                ? Contender{"uniq -c", {"uniq", "-c"}}
                                : Contender{"awk '!seen[$0]++'", {"awk", "!seen[$0]++"}};
    // As many texts as a ring of the filter holds, within an hour.
    const Log log(8000);
    Require(LinesOf(ours, log.Path()) == log.Texts(), "dxrsh filter");
    Require(
        LinesOf(other.command, log.Path()) == (peer == Program::kUniq ? log.Runs() : log.Lines()),
        other.name);
    return {"dxrsh filter, a million lines", other.name,      0, OverWholeLog(ours),
            OverWholeLog(other.command),     Clock::kChildren};
}

}  // namespace bench
