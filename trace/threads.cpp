#include "threads.h"

#include <pthread.h>

#include <cerrno>
#include <mutex>
#include <new>

namespace dxr_trace {

constinit thread_local ThreadRecord *t_record = nullptr;
constinit std::array<Histogram, kSlotCount> g_histograms = {};

namespace {

struct Registry {
    std::mutex mutex;  // guards what follows, and the links of the records
    ThreadRecord *first = nullptr;
    std::array<uint64_t, kSlotCount> callsOfEnded = {};
    bool hasKey = false;
    pthread_key_t key = 0;
};

constinit Registry g_registry;
constinit std::atomic<uint64_t> g_unnoted = 0;

// At a thread's end. Should the thread call hooks once more, it gets another record, whose end
// comes in the next round of destructors.
void EndRecord(void *ended) {
    auto *const record = static_cast<ThreadRecord *>(ended);
    t_record = nullptr;
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    for (size_t i = 0; i < kSlotCount; ++i) {
        g_registry.callsOfEnded[i] += record->calls[i].load(std::memory_order_relaxed);
    }
    for (ThreadRecord **link = &g_registry.first; *link != nullptr; link = &(*link)->next) {
        if (*link == record) {
            *link = record->next;
            break;
        }
    }
    delete record;
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
    return record;
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

void ClearCounts() {
    const std::lock_guard<std::mutex> lock(g_registry.mutex);
    g_registry.callsOfEnded = {};
    for (ThreadRecord *record = g_registry.first; record != nullptr; record = record->next) {
        for (std::atomic<uint64_t> &calls : record->calls) {
            calls.store(0, std::memory_order_relaxed);
        }
    }
    for (Histogram &histogram : g_histograms) {
        histogram.Clear();
    }
    g_unnoted.store(0, std::memory_order_relaxed);
}

}  // namespace dxr_trace
