// What the host knows of each thread that calls it, and the way into the registered host.
#ifndef DXR_DEVHOST_THREAD_RECORD_H
#define DXR_DEVHOST_THREAD_RECORD_H

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace devhost {

class Host;
class Mutex;
struct Task;

// Calls of a host that was named, which are within each other.
struct NamedCall {
    Host *host;
    uint32_t depth;
};

// Whether something of a thread in a host is of use there after a call: a task that the host still
// has, mutexes that are locked.
bool IsNeeded(const std::shared_ptr<Task> &task);
inline bool IsNeeded(const std::vector<Mutex *> &held) {
    return !held.empty();
}

// What a thread has in each host, by the host's number; at hand that of the host it asked for last.
template <typename Value>
class PerHost {
  public:
    // Empty at first. May throw std::bad_alloc when it is another host than the last one.
    Value &Of(uint32_t host) {
        if (host_ != host) [[unlikely]] {
            Turn(host);
        }
        return here_;
    }

    // Null when it is another host than the last one.
    [[nodiscard]] Value *AtHand(uint32_t host) { return host_ == host ? &here_ : nullptr; }

    // Null where nothing was asked for yet.
    [[nodiscard]] Value *Find(uint32_t host) {
        if (host_ == host) [[likely]] {
            return &here_;
        }
        for (auto &[number, value] : others_) {
            if (number == host) {
                return &value;
            }
        }
        return nullptr;
    }

    // False only when there is nothing of use in any host.
    [[nodiscard]] bool HasAny() const { return IsNeeded(here_) || !others_.empty(); }

    void Forget(uint32_t host) {
        if (host_ == host) {
            here_ = Value();
        }
        std::erase_if(others_, [host](const auto &each) { return each.first == host; });
    }

    void Clear() {
        here_ = Value();
        std::vector<std::pair<uint32_t, Value>>().swap(others_);
    }

  private:
    void Turn(uint32_t host) {
        std::erase_if(others_, [](const auto &each) { return !IsNeeded(each.second); });
        if (IsNeeded(here_)) {
            others_.emplace_back(host_, std::move(here_));
        }
        here_ = Value();
        host_ = host;
        for (auto at = others_.begin(); at != others_.end(); ++at) {
            if (at->first == host) {
                here_ = std::move(at->second);
                others_.erase(at);
                return;
            }
        }
    }

    uint32_t host_ = 0;
    Value here_;
    std::vector<std::pair<uint32_t, Value>> others_;
};

// Records are never freed: a thread that begins takes over one of a thread that has ended, with the
// caches in it.
struct ThreadRecord {
    ThreadRecord();

    // The host that a call of this thread is in; an odd address in a quick call.
    std::atomic<Host *> inside{nullptr};
    uint32_t depth = 0;   // calls within calls: a host calls modules back
    uint32_t number = 0;  // from 1
    std::atomic<bool> isUsed{true};
    ThreadRecord *next = nullptr;
    std::vector<NamedCall> named;  // the hosts that calls of this thread are in by name

    PerHost<std::shared_ptr<Task>> tasks;
    PerHost<std::vector<Mutex *>> held;  // in the order of locking
    Task *own = nullptr;                 // that the thread was made for

    // What belongs to one host, by its number; stale when the host is another one.
    uint32_t cacheHost = 0;
    void *memoryCache = nullptr;
    Host *cacheMark = nullptr;  // what stands in `inside` during quick calls in that host

    // The thread has it locked: it tells of an end that no destructor saw, as in the last round of
    // those of keys.
    pthread_mutex_t life;
    std::atomic<bool> isLost{false};
};

extern thread_local constinit ThreadRecord *t_record [[gnu::tls_model("initial-exec")]];

// Who called the slot that the thread is about to enter; null when the slot finds out by itself.
extern thread_local constinit const void *t_caller [[gnu::tls_model("initial-exec")]];

// Who called a function that stands before the host's in its slot; null while none does.
extern thread_local constinit const void *t_callerBehind [[gnu::tls_model("initial-exec")]];

// While one is there, the host takes that caller for its own: modules are told by their code. Null
// while the host calls a module back: who called the host then is nobody's caller there. A call
// that never comes back takes its thread along.
class CallerBehind {
  public:
    explicit CallerBehind(const void *caller) : before_(std::exchange(t_callerBehind, caller)) {}
    ~CallerBehind() { t_callerBehind = before_; }
    CallerBehind(const CallerBehind &) = delete;
    CallerBehind &operator=(const CallerBehind &) = delete;
    CallerBehind(CallerBehind &&) = delete;
    CallerBehind &operator=(CallerBehind &&) = delete;

  private:
    const void *const before_;
};

// The number of the host whose task the thread was made for, also at its last destructors; 0: none.
extern thread_local constinit uint32_t t_taskOf [[gnu::tls_model("initial-exec")]];

ThreadRecord &MakeThreadRecord();

// For a thread that is about to be made: takes a record, then, on it, keeps that as its own. The
// first throws std::bad_alloc.
ThreadRecord &TakeThreadRecord();
void KeepThreadRecord(ThreadRecord &record);

// Whether the thread has ended without giving its record back.
bool IsLost(ThreadRecord &record);

// Does for such threads what they would have done at their end. No lock is held; reports.
void EndLostThreads(ThreadRecord &by);

// In a child process by fork: the locks were those of its parent's threads.
void BeginLivesAnew();

inline ThreadRecord &ThisThread() {
    return t_record != nullptr ? *t_record : MakeThreadRecord();
}

extern std::atomic<Host *> g_registered;

// True when the one who ends a host can see all threads' stores (a membarrier): then a call begins
// without a fence of its own.
extern std::atomic<bool> g_isFenceRemote;

// The registered host, and its number, while quick calls may be made in it; else null and kNoHost.
extern std::atomic<Host *> g_quickHost;
extern std::atomic<uint32_t> g_quickNumber;
constexpr uint32_t kNoHost = 0xFFFFFFFF;

// Begins a call in the registered host, or in the one that the thread is in already; null without
// one. Each Enter has its Leave.
inline Host *Enter(ThreadRecord &thread) {
    if (thread.depth++ != 0) {
        return thread.inside.load(std::memory_order_relaxed);
    }
    Host *host = g_registered.load(std::memory_order_acquire);
    for (;;) {
        if (g_isFenceRemote.load(std::memory_order_relaxed)) {
            thread.inside.store(host, std::memory_order_relaxed);
            std::atomic_signal_fence(std::memory_order_seq_cst);
        } else {
            thread.inside.exchange(host, std::memory_order_seq_cst);
        }
        // Whoever ends a host takes it out of the registration before it looks at the threads.
        Host *const still = g_registered.load(std::memory_order_seq_cst);
        if (still == host) {
            return host;
        }
        host = still;
    }
}

inline void Leave(ThreadRecord &thread) {
    if (--thread.depth == 0) {
        thread.inside.store(nullptr, std::memory_order_release);
    }
}

// What stands in `inside` during a quick call in that host.
inline Host *QuickMark(Host *host) {
    return reinterpret_cast<Host *>(reinterpret_cast<char *>(host) + 1);
}
inline bool IsQuickIn(const ThreadRecord &thread, const Host &host) {
    const auto *const inside = thread.inside.load(std::memory_order_acquire);
    return reinterpret_cast<const char *>(inside) == reinterpret_cast<const char *>(&host) + 1;
}

// Begins a quick call: one that makes no others, waits for nothing, and is of a thread that is in
// none. Null when that is not so, or where none may be made: then Enter is the way, also after a
// call that was begun here. Else the call ends with LeaveQuickly.
inline Host *EnterQuickly(ThreadRecord *thread) {
    Host *const host = g_quickHost.load(std::memory_order_acquire);
    if (host == nullptr || thread == nullptr || thread->depth != 0) [[unlikely]] {
        return nullptr;
    }
    thread->inside.store(QuickMark(host), std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return g_quickHost.load(std::memory_order_seq_cst) == host ? host : nullptr;
}

// The same for a service that keeps a cache for the thread: false also when that is another host's.
inline bool EnterWithCache(ThreadRecord *thread) {
    if (thread == nullptr || thread->depth != 0) [[unlikely]] {
        return false;
    }
    thread->inside.store(thread->cacheMark, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return g_quickNumber.load(std::memory_order_seq_cst) == thread->cacheHost;
}

inline void LeaveQuickly(ThreadRecord &thread) {
    thread.inside.store(nullptr, std::memory_order_release);
}

// A quick call goes on as one that may wait; it ends with LeaveQuickly all the same.
inline void SlowDown(ThreadRecord &thread, Host &host) {
    thread.inside.store(&host, std::memory_order_release);
}

// A quick call goes on as any other, with calls within it, and ends with this.
class SlowedDown {
  public:
    SlowedDown(ThreadRecord &thread, Host &host) : thread_(thread) {
        SlowDown(thread, host);
        ++thread.depth;
    }
    ~SlowedDown() { Leave(thread_); }
    SlowedDown(const SlowedDown &) = delete;
    SlowedDown &operator=(const SlowedDown &) = delete;
    SlowedDown(SlowedDown &&) = delete;
    SlowedDown &operator=(SlowedDown &&) = delete;

  private:
    ThreadRecord &thread_;
};

// A step of a call that is not quick, which is as if it were one: others wait for its end.
class QuickStep {
  public:
    QuickStep(ThreadRecord &thread, Host &host) : thread_(thread), host_(host) {
        thread_.inside.store(QuickMark(&host_), std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ~QuickStep() { thread_.inside.store(&host_, std::memory_order_release); }
    QuickStep(const QuickStep &) = delete;
    QuickStep &operator=(const QuickStep &) = delete;
    QuickStep(QuickStep &&) = delete;
    QuickStep &operator=(QuickStep &&) = delete;

  private:
    ThreadRecord &thread_;
    Host &host_;
};

// Registers a host, or none. Calls that begin later do not reach the old one. Quick calls may be
// made in it unless its number is kNoHost.
void Register(Host *host, uint32_t quickNumber);

// Finds out how calls begin: before the first host is made.
void PrepareCalls();

// Lets all threads pass a full fence. Only while g_isFenceRemote is set.
void FenceAllThreads();

// Waits until the thread is out of a quick call that it may be in. After FenceAllThreads, and never
// within a quick call.
void AwaitQuickCall(const ThreadRecord &thread, const Host &host);

// Waits until no other thread is in the host, registered or named; gives up after the given time.
// Tells whether all are out.
bool WaitUntilOutside(Host &host, uint32_t ms);

}  // namespace devhost

#endif  // DXR_DEVHOST_THREAD_RECORD_H
