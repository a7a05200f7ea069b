#include "drain.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <string>
#include <system_error>
#include <thread>

#include "dxr_api.h"
#include "encoder.h"
#include "format.h"
#include "hash_keys.h"
#include "note.h"
#include "slots.h"
#include "state.h"
#include "threads.h"
#include "ticks.h"

namespace dxr_trace {
namespace {

using std::chrono::milliseconds;

// What a crash may lose, if no ring fills sooner.
constexpr milliseconds kPeriod{5};
// A thread that waits for room looks again after so long at the latest.
constexpr milliseconds kLongestWait{10};
// A block is written when it has grown to this.
constexpr size_t kBlockBytes = 65536;

struct Signals {
    std::mutex mutex;
    std::condition_variable work;
    std::condition_variable room;
    std::atomic<bool> isAsked = false;  // to drain now
    bool ends = false;
};

// Never ended: threads may still wait while the program exits.
Signals &TheSignals() {
    alignas(Signals) static std::array<std::byte, sizeof(Signals)> room;
    static auto *const signals = new (room.data()) Signals;
    return *signals;
}

class BlockFile {
  public:
    BlockFile() = default;
    ~BlockFile() { Close(); }
    BlockFile(const BlockFile &) = delete;
    BlockFile &operator=(const BlockFile &) = delete;
    BlockFile(BlockFile &&) = delete;
    BlockFile &operator=(BlockFile &&) = delete;

    // Anew.
    void Open(const char *path) {
        fd_ = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (fd_ < 0) {
            Fail(errno);
        }
    }

    // What was written may fail to reach the disk only now.
    void Close() {
        if (fd_ >= 0 && close(fd_) != 0 && errno != EINTR) {
            Fail(errno);
        }
        fd_ = -1;
    }

    void WriteHead() { Write(FileHead()); }

    void WriteBlock(BlockKind kind, const std::string &content) {
        Write(BlockHead(kind, blocks_++, content));
        Write(content);
    }

    void Fail(int error) {
        if (error_ == 0) {
            error_ = error;
        }
    }

    [[nodiscard]] int Error() const { return error_; }

  private:
    // After a failure nothing more: the block that was torn stays the last one.
    void Write(const std::string &bytes) {
        size_t done = 0;
        while (error_ == 0 && done < bytes.size()) {
            const ssize_t written = write(fd_, bytes.data() + done, bytes.size() - done);
            if (written > 0) {
                done += static_cast<size_t>(written);
            } else if (written == 0 || errno != EINTR) {
                Fail(written == 0 ? ENOSPC : errno);
            }
        }
    }

    int fd_ = -1;
    uint32_t blocks_ = 0;
    int error_ = 0;
};

void PutMoment(Encoder &out) {
    const Moment now = Now();
    out.Varint(now.ticks);
    out.Varint(now.ns);
}

uint64_t WallNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

class Drain {
  public:
    explicit Drain(uint32_t session) : session_(session) {}

    // Makes the file, and writes how it begins.
    void Start(const char *path) {
        file_.Open(path);
        content_.Clear();
        content_.Varint(static_cast<uint64_t>(getpid()));
        content_.Varint(WallNs());
        PutMoment(content_);
        content_.Varint(static_cast<uint64_t>(g_state.follow.load()));
        content_.Varint(g_state.dataBytes.load());
        content_.Text(DXR_TRACE_VERSION);
        content_.Varint(g_state.callbacks.load() ? 1 : 0);
        content_.Varint(1);  // threads tell whether they began it
        file_.WriteHead();
        file_.WriteBlock(BlockKind::kStart, content_.Get());
        WriteSlots();
    }

    void Run() {
        Signals &signals = TheSignals();
        std::unique_lock<std::mutex> lock(signals.mutex);
        while (!signals.ends) {
            signals.work.wait_for(lock, kPeriod, [&] { return signals.isAsked || signals.ends; });
            signals.isAsked = false;
            lock.unlock();
            Pass();
            signals.room.notify_all();
            lock.lock();
        }
    }

    // No thread adds to its ring any more.
    void Finish() {
        Pass();
        try {
            content_.Clear();
            PutMoment(content_);
            file_.WriteBlock(BlockKind::kEnd, content_.Get());
        } catch (const std::bad_alloc &) {
            file_.Fail(ENOMEM);
        }
        file_.Close();
    }

    [[nodiscard]] int Error() const { return file_.Error(); }

    std::thread thread;

  private:
    // Names stay when numbers change, so they tell later releases what was called.
    void WriteSlots() {
        std::array<Hook, kSlotCount> table{};
        std::memcpy(table.data(), DXR_GetHooks(), sizeof(table));
        const auto isFilled = [&table](size_t i) {
            return table[i] != nullptr && !kSlots[i].isReserved;
        };
        content_.Clear();
        size_t filled = 0;
        for (size_t i = 0; i < kSlotCount; ++i) {
            filled += isFilled(i) ? 1 : 0;
        }
        content_.Varint(filled);
        for (size_t i = 0; i < kSlotCount; ++i) {
            if (isFilled(i)) {
                PutSlot(i);
            }
        }
        file_.WriteBlock(BlockKind::kFilled, content_.Get());
    }

    void PutSlot(size_t number) {
        const SlotInfo &slot = kSlots[number];
        content_.Varint(number);
        content_.Text(slot.name);
        content_.Varint(static_cast<uint64_t>(slot.result));
        content_.Varint(slot.parameters.size());
        for (const Parameter &parameter : slot.parameters) {
            content_.Text(parameter.name);
            content_.Varint(static_cast<uint64_t>(parameter.width));
        }
    }

    void Pass() {
        VisitRecords(
            [](ThreadRecord &record, void *drain) { static_cast<Drain *>(drain)->Take(record); },
            this);
    }

    void Take(ThreadRecord &record) {
        if (!record.IsIn(session_)) {
            return;
        }
        try {
            if (file_.Error() == 0) {
                TryTake(record);
            }
        } catch (const std::bad_alloc &) {
            file_.Fail(ENOMEM);
        }
        if (file_.Error() != 0) {
            Discard(record);
        }
    }

    // What can no longer be written: threads that wait for room would wait for ever.
    static void Discard(ThreadRecord &record) {
        size_t left = record.ring->Size();
        for (auto front = record.ring->Front(); !front.empty() && left > 0;
             front = record.ring->Front()) {
            left -= std::min(left, front.size());
            record.ring->Release();
        }
    }

    void TryTake(ThreadRecord &record) {
        Announce(record);
        // Not for ever: a thread may write as fast as this one reads.
        size_t left = record.ring->Size();
        std::span<const std::byte> front = record.ring->Front();
        while (!front.empty() && left > 0) {
            Begin(record);
            while (!front.empty() && left > 0 && content_.Size() < kBlockBytes) {
                PutEvent(front);
                left -= std::min(left, front.size());
                record.ring->Release();
                front = record.ring->Front();
            }
            file_.WriteBlock(BlockKind::kCalls, content_.Get());
        }
        if (record.dropped.load(std::memory_order_relaxed) != record.droppedInFile) {
            Begin(record);
            file_.WriteBlock(BlockKind::kCalls, content_.Get());
        }
    }

    void Announce(ThreadRecord &record) {
        if (record.isAnnounced) {
            return;
        }
        record.isAnnounced = true;
        content_.Clear();
        content_.Varint(record.number);
        content_.Varint(record.systemId);
        content_.Text(record.name.data());
        content_.Varint(record.hasBegun ? 1 : 0);
        file_.WriteBlock(BlockKind::kThread, content_.Get());
    }

    void Begin(ThreadRecord &record) {
        record.droppedInFile = record.dropped.load(std::memory_order_relaxed);
        content_.Clear();
        content_.Varint(record.number);
        content_.Varint(record.droppedInFile);
        PutMoment(content_);
        lastTicks_ = 0;
    }

    void PutEvent(std::span<const std::byte> raw) {
        RawHead head{};
        const std::byte *at = raw.data();
        std::memcpy(&head, at, sizeof(head));
        at += sizeof(head);
        content_.Byte(head.kind);
        content_.Byte(head.slot);
        content_.Varint(head.sequence);
        content_.Varint(ZigZag(static_cast<int64_t>(head.ticks - lastTicks_)));
        lastTicks_ = head.ticks;
        content_.Varint(head.words);
        for (uint8_t i = 0; i < head.words; ++i) {
            uint64_t word = 0;
            std::memcpy(&word, at, sizeof(word));
            at += sizeof(word);
            content_.Varint(word);
        }
        content_.Varint(head.pieces);
        for (uint8_t i = 0; i < head.pieces; ++i) {
            RawPiece piece{};
            std::memcpy(&piece, at, sizeof(piece));
            at += sizeof(piece);
            content_.Varint(piece.place);
            content_.Varint(piece.whole);
            content_.Varint(piece.kept);
            content_.Bytes({reinterpret_cast<const char *>(at), piece.kept});
            at += RawSize(piece.kept);
        }
    }

    BlockFile file_;
    uint32_t session_;
    Encoder content_;
    uint64_t lastTicks_ = 0;
};

// One at a time, under the lock of start and stop.
constinit Drain *g_drain = nullptr;
constinit uint32_t g_sessions = 0;

// The thread takes no signals that are meant for the program's own.
void Launch(Drain &drain) {
    sigset_t all;
    sigset_t before;
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        drain.thread = std::thread([&drain] {
            (void)pthread_setname_np(pthread_self(), "dxr_trace");
            drain.Run();
        });
    } catch (...) {
        (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

uint32_t TryStart(const char *path) {
    TheSignals().ends = false;
    auto drain = std::make_unique<Drain>(g_sessions + 1);
    ForgetAllHashKeys();  // tables may have come and gone since the last recording
    drain->Start(path);
    if (drain->Error() != 0) {
        return static_cast<uint32_t>(drain->Error());
    }
    KeepEnded(true);
    try {
        Launch(*drain);
    } catch (...) {
        KeepEnded(false);
        throw;
    }
    g_drain = drain.release();
    t_begunSession = g_sessions + 1;
    g_state.session.store(++g_sessions, std::memory_order_release);
    return 0;
}

}  // namespace

void WakeDrain() {
    Signals &signals = TheSignals();
    // Without the lock: a wake-up that comes too early costs one period.
    if (!signals.isAsked.exchange(true, std::memory_order_relaxed)) {
        signals.work.notify_one();
    }
}

void WaitForRoom() {
    const int before = errno;
    WakeDrain();
    Signals &signals = TheSignals();
    std::unique_lock<std::mutex> lock(signals.mutex);
    (void)signals.room.wait_for(lock, kLongestWait);
    errno = before;
}

uint32_t StartDrain(const char *path) {
    try {
        return TryStart(path);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    } catch (const std::system_error &) {
        return EAGAIN;
    }
}

uint32_t StopDrain() {
    Drain *const drain = g_drain;
    if (drain == nullptr) {
        return 0;
    }
    g_drain = nullptr;
    Signals &signals = TheSignals();
    {
        const std::lock_guard<std::mutex> lock(signals.mutex);
        signals.ends = true;
    }
    signals.work.notify_one();
    drain->thread.join();
    g_state.session.store(0, std::memory_order_release);
    drain->Finish();
    KeepEnded(false);
    const auto error = static_cast<uint32_t>(drain->Error());
    delete drain;
    return error;
}

void HoldDrain() {
    TheSignals().mutex.lock();
    HoldRecords();
}

void ReleaseDrain() {
    ReleaseRecords();
    TheSignals().mutex.unlock();
}

void ForgetDrain() {
    g_drain = nullptr;
    g_state.session.store(0);
    // The parent's threads, which may have waited, are not in this process.
    Signals &signals = TheSignals();
    new (&signals.work) std::condition_variable;
    new (&signals.room) std::condition_variable;
    signals.isAsked = false;
    ForgetRecords();
    signals.mutex.unlock();
}

}  // namespace dxr_trace
