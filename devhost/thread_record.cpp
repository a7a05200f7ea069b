#include "thread_record.h"

#include <linux/membarrier.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>

#include "live_hosts.h"
#include "scheduler.h"

#if defined(__SANITIZE_THREAD__)
#define DXR_THREADS_ARE_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define DXR_THREADS_ARE_WATCHED 1
#endif
#endif
#ifndef DXR_THREADS_ARE_WATCHED
#define DXR_THREADS_ARE_WATCHED 0
#endif

namespace devhost {

thread_local constinit ThreadRecord *t_record [[gnu::tls_model("initial-exec")]] = nullptr;
thread_local constinit const void *t_caller [[gnu::tls_model("initial-exec")]] = nullptr;
thread_local constinit const void *t_callerBehind [[gnu::tls_model("initial-exec")]] = nullptr;
thread_local constinit uint32_t t_taskOf [[gnu::tls_model("initial-exec")]] = 0;
constinit std::atomic<Host *> g_registered{nullptr};
constinit std::atomic<Host *> g_quickHost{nullptr};
constinit std::atomic<uint32_t> g_quickNumber{kNoHost};
constinit std::atomic<bool> g_isFenceRemote{false};

namespace {

constinit std::atomic<ThreadRecord *> g_records{nullptr};
constinit std::atomic<uint32_t> g_lastNumber{0};

void Clear(ThreadRecord &record) {
    record.tasks.Clear();
    record.held.Clear();
    std::vector<NamedCall>().swap(record.named);
}

// For the thread that ends. Calls after that take another record.
void GiveBack(ThreadRecord &record) {
    Scheduler::ThreadEnds(record, record);
    t_record = nullptr;
    Clear(record);
    (void)pthread_mutex_unlock(&record.life);
    record.isUsed.store(false, std::memory_order_release);
}

void InitLife(ThreadRecord &record) {
    pthread_mutexattr_t attributes;
    (void)pthread_mutexattr_init(&attributes);
    (void)pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    (void)pthread_mutex_init(&record.life, &attributes);
    (void)pthread_mutexattr_destroy(&attributes);
}

// Who looks whether the thread is there has its lock for a moment. By trying alone: what is locked
// within the other's locks, and the other way round, has no order.
void BeginLife(ThreadRecord &record) {
    while (pthread_mutex_trylock(&record.life) == EBUSY) {
        (void)sched_yield();
    }
}

// For one who may go on with the record of a thread that is lost. Once for each.
bool TakeLost(ThreadRecord &record) {
    return IsLost(record) && record.isLost.exchange(false);
}

thread_local constinit bool t_isEnding = false;

// Gives the record of a thread back after the modules' destructors there, which may call the host:
// those of thread_local objects come first, and those of keys in rounds, the first of which it lets
// pass. Who puts work off to a later one is another thread to the host, whose record is given back
// in the next round, or is that of a lost thread when there is none; the last of all is the
// sanitizers'.
class EndOfThread {
  public:
    EndOfThread() : isMade_(pthread_key_create(&key_, Round) == 0) {}

    // False without a key, and without the memory for its value.
    [[nodiscard]] bool Await(ThreadRecord &record) const {
        return isMade_ && pthread_setspecific(key_, &record) == 0;
    }

    static const EndOfThread &Get() {
        static const EndOfThread one;
        return one;
    }

  private:
    static void Round(void *value) {
        auto &record = *static_cast<ThreadRecord *>(value);
        if (std::exchange(t_isEnding, true) || !Get().Await(record)) {
            GiveBack(record);
        }
    }

    pthread_key_t key_{};
    const bool isMade_;
};

// The same where there is no key for it: before the destructors of other keys.
struct Return {
    ThreadRecord *record = nullptr;
    Return() = default;
    Return(const Return &) = delete;
    Return &operator=(const Return &) = delete;
    Return(Return &&) = delete;
    Return &operator=(Return &&) = delete;
    ~Return() {
        if (record != nullptr) {
            GiveBack(*record);
        }
    }
};

ThreadRecord *TakeUnused() {
    for (ThreadRecord *at = g_records.load(std::memory_order_acquire); at != nullptr;
         at = at->next) {
        bool isUsed = false;
        if (!at->isUsed.load(std::memory_order_relaxed) &&
            at->isUsed.compare_exchange_strong(isUsed, true, std::memory_order_acquire)) {
            return at;
        }
    }
    // Those of lost threads that leave nothing to be told.
    for (ThreadRecord *at = g_records.load(std::memory_order_acquire); at != nullptr;
         at = at->next) {
        if (TakeLost(*at)) {
            if (!at->tasks.HasAny() && !at->held.HasAny()) {
                Clear(*at);
                return at;
            }
            at->isLost = true;
        }
    }
    return nullptr;
}

long MemBarrier(int command) {
    return syscall(SYS_membarrier, command, 0, 0);
}

// Once, before the first host is reached.
bool HasMemBarrier() {
#if DXR_THREADS_ARE_WATCHED
    return false;  // the sanitizer would not know
#else
    static const bool has = MemBarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0;
    return has;
#endif
}

}  // namespace

ThreadRecord::ThreadRecord() {
    InitLife(*this);
}

bool IsNeeded(const std::shared_ptr<Task> &task) {
    return task.use_count() > 1;
}

ThreadRecord &TakeThreadRecord() {
    ThreadRecord *record = TakeUnused();
    if (record == nullptr) {
        record = new ThreadRecord;
        record->next = g_records.load(std::memory_order_relaxed);
        while (!g_records.compare_exchange_weak(record->next, record, std::memory_order_release)) {
        }
    }
    record->number = g_lastNumber.fetch_add(1, std::memory_order_relaxed) + 1;
    return *record;
}

void KeepThreadRecord(ThreadRecord &record) {
    t_record = &record;
    BeginLife(record);
    if (!EndOfThread::Get().Await(record)) {
        thread_local Return atEnd;
        atEnd.record = &record;
    }
}

bool IsLost(ThreadRecord &record) {
    if (&record == t_record || !record.isUsed.load(std::memory_order_acquire)) {
        return false;
    }
    const int result = pthread_mutex_trylock(&record.life);
    if (result == EOWNERDEAD) {
        record.isLost.store(true);
        (void)pthread_mutex_consistent(&record.life);
    }
    if (result == 0 || result == EOWNERDEAD) {
        (void)pthread_mutex_unlock(&record.life);
    }
    // With what it stored in its last call.
    return record.isLost.load() && record.inside.load(std::memory_order_acquire) == nullptr;
}

void EndLostThreads(ThreadRecord &by) {
    for (ThreadRecord *at = g_records.load(std::memory_order_acquire); at != nullptr;
         at = at->next) {
        if (TakeLost(*at)) {
            Scheduler::ThreadEnds(*at, by);
            Clear(*at);
            at->isUsed.store(false, std::memory_order_release);
        }
    }
}

void BeginLivesAnew() {
    for (ThreadRecord *at = g_records.load(); at != nullptr; at = at->next) {
        InitLife(*at);
    }
    if (t_record != nullptr) {
        BeginLife(*t_record);
    }
}

ThreadRecord &MakeThreadRecord() {
    ThreadRecord &record = TakeThreadRecord();
    KeepThreadRecord(record);
    return record;
}

void PrepareCalls() {
    g_isFenceRemote.store(HasMemBarrier(), std::memory_order_seq_cst);
}

void Register(Host *host, uint32_t quickNumber) {
    quickNumber = HasMemBarrier() ? quickNumber : kNoHost;
    g_registered.store(host, std::memory_order_seq_cst);
    g_quickHost.store(quickNumber != kNoHost ? host : nullptr, std::memory_order_seq_cst);
    g_quickNumber.store(quickNumber, std::memory_order_seq_cst);
    if (HasMemBarrier()) {
        FenceAllThreads();
    }
}

void FenceAllThreads() {
    (void)MemBarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
}

void AwaitQuickCall(const ThreadRecord &thread, const Host &host) {
    while (IsQuickIn(thread, host)) {
        (void)sched_yield();
    }
}

bool WaitUntilOutside(Host &host, uint32_t ms) {
    const ThreadRecord &self = ThisThread();
    for (uint32_t waited = 0;; ++waited) {
        bool isInside = live::HasOthers(host, self);
        for (ThreadRecord *at = g_records.load(std::memory_order_acquire); at != nullptr;
             at = at->next) {
            isInside |= at != &self && (at->inside.load(std::memory_order_seq_cst) == &host ||
                                        IsQuickIn(*at, host));
        }
        if (!isInside || waited == ms) {
            return !isInside;
        }
        timespec pause{0, 1000000};
        (void)nanosleep(&pause, nullptr);
    }
}

}  // namespace devhost
