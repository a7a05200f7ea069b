// What is kept for each thread that calls hooks.
#ifndef DXR_TRACE_THREADS_H
#define DXR_TRACE_THREADS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "formatted.h"
#include "histogram.h"
#include "ring.h"
#include "slots.h"
#include "state.h"

namespace dxr_trace {

struct ThreadRecord {
    // Written by the thread alone, read by any.
    std::array<std::atomic<uint64_t>, kSlotCount> calls = {};
    std::atomic<uint64_t> dropped = 0;  // records that found no room in the ring

    // Of the thread alone.
    uint64_t sequence = 0;
    Texts texts;

    // Written by the thread as it enters a session, which it does last: who finds the session may
    // read the rest.
    uint64_t systemId = 0;
    std::array<char, 16> name = {};
    bool hasBegun = false;  // the session
    std::unique_ptr<Ring> ring;
    uint32_t number = 0;  // in a recording, from 1, in the order of first calls
    std::atomic<uint32_t> session = 0;

    // From then on the drain's alone.
    bool isAnnounced = false;  // in its file
    uint64_t droppedInFile = 0;

    // Of those who hold the lock of all records.
    bool isEnded = false;  // the thread is gone, but not yet what its ring holds
    bool isLastVisit = false;
    ThreadRecord *next = nullptr;

    [[nodiscard]] bool IsIn(uint32_t one) const {
        return session.load(std::memory_order_acquire) == one;
    }
};

// The calling thread's; null before its first call. Reached without a function call.
extern constinit thread_local ThreadRecord *t_record [[gnu::tls_model("initial-exec")]];

// Where the host keeps who called a slot on this thread; null when it does not say. What it would
// see by itself is the trace.
extern constinit thread_local const void **t_callerPlace [[gnu::tls_model("initial-exec")]];

class CallerTold {
  public:
    explicit CallerTold(const void *caller)
        : place_(t_callerPlace),
          before_(place_ != nullptr ? std::exchange(*place_, caller) : nullptr) {}
    ~CallerTold() {
        if (place_ != nullptr) {
            *place_ = before_;
        }
    }
    CallerTold(const CallerTold &) = delete;
    CallerTold &operator=(const CallerTold &) = delete;
    CallerTold(CallerTold &&) = delete;
    CallerTold &operator=(CallerTold &&) = delete;

  private:
    const void **const place_;
    const void *const before_;
};

// The latest session that the calling thread has begun.
extern constinit thread_local uint32_t t_begunSession [[gnu::tls_model("initial-exec")]];

extern constinit std::array<Histogram, kSlotCount> g_histograms;

// Makes the calling thread's record. Null without memory: the call is counted as unnoted. Leaves
// errno as it is.
[[nodiscard]] ThreadRecord *MakeRecord();

// Counts a call of a thread that has a record; true when it is to be timed or noted.
[[gnu::always_inline]] inline bool CountCall(ThreadRecord &record, size_t slot) {
    std::atomic<uint64_t> &calls = record.calls[slot];
    const uint64_t number = calls.load(std::memory_order_relaxed);
    calls.store(number + 1, std::memory_order_relaxed);
    return (number & g_state.timedMask.load(std::memory_order_relaxed)) == 0;
}

// The same for any thread.
inline bool CountCall(size_t slot) {
    ThreadRecord *const record = t_record != nullptr ? t_record : MakeRecord();
    return record != nullptr && CountCall(*record, slot);
}

// The calling thread's record with a ring for a recording. Null when there is no recording, and
// without memory: then the call counts as unnoted. Leaves errno as it is.
[[nodiscard]] ThreadRecord *RecordOf(uint32_t session);

inline void NoteTime(size_t slot, uint64_t ticks) {
    g_histograms[slot].Add(ticks);
}

// Over all threads, also those that have ended.
[[nodiscard]] uint64_t CallsOf(size_t slot);
[[nodiscard]] uint64_t UnnotedCalls();
[[nodiscard]] uint64_t DroppedRecords();
void ClearCounts();

// What a thread that has ended left in its ring is kept from now on, or no longer.
void KeepEnded(bool keep);

// Calls `visit` with each record; those whose threads had ended before go after it. For one thread
// at a time, while what has ended is kept. Without the lock: a visit that waits, as for a disk,
// holds up no thread that begins, ends or counts.
using Visit = void (*)(ThreadRecord &record, void *context);
void VisitRecords(Visit visit, void *context);

// Around fork, as in drain.h.
void HoldRecords();
void ReleaseRecords();
void ForgetRecords();

// Of the threads: asks the drain to make room soon; waits until it may have done so.
void WakeDrain();
void WaitForRoom();

}  // namespace dxr_trace

#endif  // DXR_TRACE_THREADS_H
