// The C library's file functions as the code under test calls them, and the system calls beneath
// the streams, under the test's control: the test program defines the functions itself, and the
// shared library finds them there. Every step that can fail is numbered, and can be made to. Files
// below /opt/lomk2 lie in a temporary directory.
#ifndef DXR_TESTS_FAULTS_FILE_FAULTS_H
#define DXR_TESTS_FAULTS_FILE_FAULTS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace dxrtest {

// A call as the code under test has seen it.
struct FileCall {
    std::string text;       // the function and its arguments
    bool failed = false;    // by its result
    std::string data = {};  // what was read, an entry's name
    bool ended = false;     // a stream is at its end or in error after it
};

// One at a time.
class FileFaults {
  public:
    FileFaults();
    ~FileFaults();
    FileFaults(const FileFaults &) = delete;
    FileFaults &operator=(const FileFaults &) = delete;

    // Between these two the functions are this object's; elsewhere they are the C library's.
    void Begin();
    void End() { active_ = false; }
    // While a hook of the test's own does its work.
    class Pause {
      public:
        explicit Pause(FileFaults &faults) : faults_(faults), active_(faults.active_) {
            faults_.active_ = false;
        }
        ~Pause() { faults_.active_ = active_; }
        Pause(const Pause &) = delete;
        Pause &operator=(const Pause &) = delete;

      private:
        FileFaults &faults_;
        bool active_;
    };

    // What is to fail after the next Begin: the n-th step (1: the first) in its kind-th way, once
    // or with all after it; or any step by chance, one in `oneIn`.
    void FailNothing() { plan_ = {}; }
    void FailStep(uint64_t n, size_t kind, bool fromThenOn) {
        plan_ = {.step = n, .kind = kind, .fromThenOn = fromThenOn};
    }
    void FailByChance(uint32_t oneIn, uint64_t seed);
    // The process is killed before the n-th step after the next Begin.
    void KillBefore(uint64_t n) { plan_ = {.killBefore = n}; }

    // A step that can fail in `kinds` ways: the way in which it is to fail now.
    std::optional<size_t> Step(const char *name, size_t kinds);
    // As above, with a failure for each error number, which is stored.
    bool Fails(const char *name, const std::vector<int> &errors);

    // Since Begin: all calls of the code under test; the steps that can fail with their numbers of
    // ways; how many were made to.
    std::vector<FileCall> calls;
    std::vector<std::pair<std::string, size_t>> steps;
    size_t failed = 0;
    // What reached files through streams since Begin, and how much of it before each step.
    std::string written;
    std::vector<size_t> writtenBefore;

    void Log(FileCall call) { calls.push_back(std::move(call)); }

    [[nodiscard]] const std::string &Top() const { return top_; }
    [[nodiscard]] std::string OnDisk(const std::string &path) const;
    [[nodiscard]] std::string FromDisk(const std::string &path) const;

    // The files of the log directory.
    void Put(const std::string &name, const std::string &content);
    void Append(const std::string &name, const std::string &content);
    void Clear();
    [[nodiscard]] std::map<std::string, std::string> Files();

    // Descriptors of the process.
    static size_t Descriptors();

    // For the stand-ins alone.
    static FileFaults *Active();
    std::set<std::FILE *> streams;
    std::set<std::FILE *> broken;

  private:
    struct Plan {
        uint64_t step = 0;
        size_t kind = 0;
        bool fromThenOn = false;
        uint32_t oneIn = 0;
        uint64_t killBefore = 0;
    };
    std::string top_;
    bool active_ = false;
    Plan plan_;
    std::mt19937_64 random_;
};

// What a call should have been, in its turn.
class Replay {
  public:
    explicit Replay(const std::vector<FileCall> &calls) : calls_(calls) {}
    // The next call, which must be this one.
    const FileCall &Next(const std::string &text);
    // No call is left.
    void ExpectEnd() const;

  private:
    const std::vector<FileCall> &calls_;
    size_t at_ = 0;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_FAULTS_FILE_FAULTS_H
