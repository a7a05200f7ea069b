#include "threads.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <new>
#include <utility>

// Of the host that the program is linked with, if that is one which wants to know.
extern "C" [[gnu::weak, gnu::visibility("default")]] const void **DxrHostCallerPlace();

namespace dxr_trace {

constinit thread_local ThreadRecord *t_record = nullptr;
constinit thread_local uint32_t t_begunSession = 0;
constinit thread_local const void **t_callerPlace = nullptr;
constinit std::array<Histogram, kSlotCount> g_histograms = {};

namespace {

// Records are put before the first one. While what has ended is kept, only VisitRecords takes them
// out, so that it may follow the links without the lock.
struct Registry {
    std::mutex mutex;  // guards what follows, and the links of the records
    ThreadRecord *first = nullptr;
    std::array<uint64_t, kSlotCount> callsOfEnded = {};
    uint64_t droppedByEnded = 0;
    bool keepsEnded = false;
    uint32_t threadsInSession = 0;
    bool hasKey = false;
    pthread_key_t key = 0;
};

constinit Registry g_registry;
constinit std::atomic<uint64_t> g_unnoted = 0;

// Takes a record out of the list and ends it. The lock is held.
void Delete(ThreadRecord **link) {
    ThreadRecord *const record = *link;
    g_registry.droppedByEnded += record->dropped.load(std::memory_order_relaxed);
    *link = record->next;
    delete record;
}

void DeleteWhere(bool ThreadRecord::*is) {
    ThreadRecord **link = &g_registry.first;
    while (*link != nullptr) {
        if ((*link)->*is) {
            Delete(link);
        } else {
            link = &(*link)->next;
        }
    }
}

// At a thread's end. Should the thread call hooks once more, it gets another record, whose end
// comes in the next round of destructors.
void EndRecord(void *ended) {
    auto *const record = static_cast<ThreadRecord *>(ended);
    t_record = nullptr;
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    for (size_t i = 0; i < kSlotCount; ++i) {
        g_registry.callsOfEnded[i] += record->calls[i].exchange(0, std::memory_order_relaxed);
    }
    record->isEnded = true;
    if (!g_registry.keepsEnded) {
        DeleteWhere(&ThreadRecord::isEnded);
    }
}

ThreadRecord *TryMakeRecord() {
    auto *const record = new (std::nothrow) ThreadRecord;
    if (record == nullptr) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    if (!g_registry.hasKey) {
        g_registry.hasKey = pthread_key_create(&g_registry.key, EndRecord) == 0;
    }
    if (!g_registry.hasKey || pthread_setspecific(g_registry.key, record) != 0) {
        delete record;
        return nullptr;
    }
    record->next = g_registry.first;
    g_registry.first = record;
    if (DxrHostCallerPlace != nullptr) {
        t_callerPlace = DxrHostCallerPlace();
    }
    return record;
}

void PutIn(ThreadRecord &record, uint32_t session, std::unique_ptr<Ring> ring) {
    record.ring = std::move(ring);
    record.systemId = static_cast<uint64_t>(gettid());
    (void)pthread_getname_np(pthread_self(), record.name.data(), record.name.size());
    record.hasBegun = t_begunSession == session;
    record.sequence = 0;
    record.number = ++g_registry.threadsInSession;
    record.isAnnounced = false;
    record.droppedInFile = 0;
    record.dropped.store(0, std::memory_order_relaxed);
    record.session.store(session, std::memory_order_release);
}

bool TryPrepare(ThreadRecord &record, uint32_t session) {
    try {
        auto ring = std::make_unique<Ring>(g_state.ringBytes.load(std::memory_order_relaxed));
        const std::lock_guard<std::mutex> lock(g_registry.mutex);
        PutIn(record, session, std::move(ring));
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

}  // namespace

ThreadRecord *MakeRecord() {
    const int before = errno;
    t_record = TryMakeRecord();
    if (t_record == nullptr) {
        g_unnoted.fetch_add(1, std::memory_order_relaxed);
    }
    errno = before;
    return t_record;
}

Texts *TextsOfThread() {
    ThreadRecord *const record = t_record != nullptr ? t_record : MakeRecord();
    return record != nullptr ? &record->texts : nullptr;
}

ThreadRecord *RecordOf(uint32_t session) {
    ThreadRecord *const record = t_record;
    if (session == 0 || record == nullptr || record->IsIn(session)) {
        return session != 0 ? record : nullptr;
    }
    const int before = errno;
    const bool isPrepared = TryPrepare(*record, session);
    errno = before;
    if (!isPrepared) {
        g_unnoted.fetch_add(1, std::memory_order_relaxed);
        return nullptr;
    }
    return record;
}

uint64_t CallsOf(size_t slot) {
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    uint64_t calls = g_registry.callsOfEnded[slot];
    for (const ThreadRecord *record = g_registry.first; record != nullptr; record = record->next) {
        calls += record->calls[slot].load(std::memory_order_relaxed);
    }
    return calls;
}

uint64_t UnnotedCalls() {
    return g_unnoted.load(std::memory_order_relaxed);
}

uint64_t DroppedRecords() {
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    uint64_t dropped = g_registry.droppedByEnded;
    for (const ThreadRecord *record = g_registry.first; record != nullptr; record = record->next) {
        dropped += record->dropped.load(std::memory_order_relaxed);
    }
    return dropped;
}

void ClearCounts() {
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    g_registry.callsOfEnded = {};
    g_registry.droppedByEnded = 0;
    for (ThreadRecord *record = g_registry.first; record != nullptr; record = record->next) {
        for (std::atomic<uint64_t> &calls : record->calls) {
            calls.store(0, std::memory_order_relaxed);
        }
        record->dropped.store(0, std::memory_order_relaxed);
    }
    for (Histogram &histogram : g_histograms) {
        histogram.Clear();
    }
    g_unnoted.store(0, std::memory_order_relaxed);
}

void KeepEnded(bool keep) {
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    g_registry.keepsEnded = keep;
    g_registry.threadsInSession = 0;
    if (!keep) {
        DeleteWhere(&ThreadRecord::isEnded);
    }
}

void HoldRecords() {
    g_registry.mutex.lock();
}

void ReleaseRecords() {
    g_registry.mutex.unlock();
}

void ForgetRecords() {
    g_registry.keepsEnded = false;
    DeleteWhere(&ThreadRecord::isEnded);
    ReleaseRecords();
}

void VisitRecords(Visit visit, void *context) {
    ThreadRecord *first = nullptr;
    {
        const std::lock_guard<std::mutex> lock(g_registry.mutex);
        first = g_registry.first;
        for (ThreadRecord *record = first; record != nullptr; record = record->next) {
            record->isLastVisit = record->isEnded;
        }
    }
    for (ThreadRecord *record = first; record != nullptr; record = record->next) {
        visit(*record, context);
    }
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    DeleteWhere(&ThreadRecord::isLastVisit);
}

}  // namespace dxr_trace
