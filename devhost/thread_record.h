// What the host knows of each thread that calls it, and the way into the registered host.
#ifndef DXR_DEVHOST_THREAD_RECORD_H
#define DXR_DEVHOST_THREAD_RECORD_H

#include <atomic>
#include <cstdint>
#include <memory>
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

// Records are never freed: a thread that begins takes over one of a thread that has ended, with the
// caches in it.
struct ThreadRecord {
    std::atomic<Host *> inside{nullptr};  // the host that a call of this thread is in
    uint32_t depth = 0;                   // calls within calls: a host calls modules back
    uint32_t number = 0;                  // from 1
    std::atomic<bool> isUsed{true};
    ThreadRecord *next = nullptr;
    std::vector<NamedCall> named;  // the hosts that calls of this thread are in by name

    // What belongs to one host, by its number; stale when the host is another one.
    uint32_t taskHost = 0;
    std::shared_ptr<Task> task;
    uint32_t cacheHost = 0;
    void *memoryCache = nullptr;
    uint32_t heldHost = 0;
    std::vector<Mutex *> held;  // in the order of locking
};

extern thread_local constinit ThreadRecord *t_record [[gnu::tls_model("initial-exec")]];

// Who called the slot that the thread is about to enter; null when the slot finds out by itself.
extern thread_local constinit const void *t_caller [[gnu::tls_model("initial-exec")]];

// Who called a function that stands before the host's in its slot; null while none does.
extern thread_local constinit const void *t_callerBehind [[gnu::tls_model("initial-exec")]];

ThreadRecord &MakeThreadRecord();

// For a thread that is about to be made: takes a record, then, on it, keeps that as its own. The
// first throws std::bad_alloc.
ThreadRecord &TakeThreadRecord();
void KeepThreadRecord(ThreadRecord &record);

inline ThreadRecord &ThisThread() {
    return t_record != nullptr ? *t_record : MakeThreadRecord();
}

extern std::atomic<Host *> g_registered;

// True when the one who ends a host can see all threads' stores (a membarrier): then a call begins
// without a fence of its own.
extern std::atomic<bool> g_isFenceRemote;

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

// Begins a call that makes no others, of a thread that is in none; null when that is not so, or
// nothing is registered, and always without g_isFenceRemote: then Enter is the way, also after a
// call that was begun here. Else the call ends with LeaveQuickly.
inline Host *EnterQuickly(ThreadRecord *thread) {
    if (thread == nullptr || thread->depth != 0 || !g_isFenceRemote.load(std::memory_order_relaxed))
        [[unlikely]] {
        return nullptr;
    }
    Host *const host = g_registered.load(std::memory_order_acquire);
    thread->inside.store(host, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return g_registered.load(std::memory_order_seq_cst) == host ? host : nullptr;
}

inline void LeaveQuickly(ThreadRecord &thread) {
    thread.inside.store(nullptr, std::memory_order_release);
}

// Makes the registration take effect everywhere: calls that begin later do not reach the old host.
void PublishRegistration();

// Lets all threads pass a full fence. Only while g_isFenceRemote is set.
void FenceAllThreads();

// Waits until no other thread is in the host, registered or named; gives up after the given time.
// Tells whether all are out.
bool WaitUntilOutside(Host &host, uint32_t ms);

}  // namespace devhost

#endif  // DXR_DEVHOST_THREAD_RECORD_H
