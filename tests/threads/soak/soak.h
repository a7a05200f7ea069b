// The soak: threads that do a little of everything at once, on the development host. What a thread
// owns it compares with a model; what all share has to add up whenever all threads rest.
#ifndef DXR_TESTS_THREADS_SOAK_SOAK_H
#define DXR_TESTS_THREADS_SOAK_SOAK_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <random>
#include <string>

#include "dxr_devhost.h"

namespace soak {

constexpr uint32_t kLogTypes = 29;
constexpr uint32_t kMostThreads = 64;
constexpr uint32_t kOwnTypes = 20;         // types below this one have one thread each
constexpr uint32_t kHourlyType = 20;       // all threads; never cleared
constexpr uint32_t kFirstSharedType = 21;  // all threads; cleared, shown and resized meanwhile
constexpr uint32_t kSameKeyType = 26;

// Prints what was found to be wrong; the run ends with it.
[[gnu::format(printf, 1, 2)]] void Find(const char *format, ...);
extern std::atomic<uint64_t> g_findings;

// Says so, with the place, when something that must hold does not.
#define SOAK_CHECK(condition)                                                \
    do {                                                                     \
        if (!(condition)) {                                                  \
            soak::Find("%s:%d: not so: %s", __FILE__, __LINE__, #condition); \
        }                                                                    \
    } while (false)

// The host's clock: stands still while jobs run.
extern uint32_t g_now;
extern uint32_t g_startupSec;
extern uint32_t g_latest;  // the highest g_now so far

// Lines and messages that reached the host from this thread.
extern thread_local uint64_t t_diagLines;
extern thread_local uint64_t t_messages;

// Cuts of private logs, and the recorder, are used in turn.
extern std::mutex g_cutting;
extern std::mutex g_recording;

// Threads enter for a job; who closes the gate has the process to itself.
class Gate {
  public:
    void Enter() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !closed_; });
        ++inside_;
    }
    void Leave() {
        const std::lock_guard lock(mutex_);
        --inside_;
        changed_.notify_all();
    }
    void Close() {
        std::unique_lock lock(mutex_);
        closed_ = true;
        changed_.wait(lock, [this] { return inside_ == 0; });
    }
    void Open() {
        const std::lock_guard lock(mutex_);
        closed_ = false;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool closed_ = false;
    uint32_t inside_ = 0;
};

class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}
    // 0 to `limit` - 1.
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(engine_() % limit); }
    uint32_t Word() { return static_cast<uint32_t>(engine_() >> 32U); }
    bool OneIn(uint32_t times) { return Below(times) == 0; }

  private:
    std::mt19937_64 engine_;
};

// A part of the work; each thread has its own. Run makes some calls and returns their number.
class Job {
  public:
    virtual ~Job() = default;
    virtual uint64_t Run(Random &random) = 0;
};

// What all threads use of the log filter and the recorder, looked at while all rest.
void CheckSharedRings();
void CheckRecorder();
[[nodiscard]] uint32_t RecordedTexts();

}  // namespace soak

#endif  // DXR_TESTS_THREADS_SOAK_SOAK_H
