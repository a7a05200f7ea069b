#include "note.h"

#include <algorithm>
#include <cstring>

#include "format.h"
#include "hash_keys.h"
#include "pointers.h"
#include "slots.h"
#include "state.h"
#include "threads.h"
#include "ticks.h"

namespace dxr_trace {
namespace {

size_t KeptOf(const Piece &piece, size_t limit) {
    return std::min(piece.size, limit);
}

// Writes from a place on that lies in the ring.
class RawWriter {
  public:
    explicit RawWriter(std::byte *at) : at_(at) {}

    void Put(const void *data, size_t size) {
        if (size > 0) {
            std::memcpy(at_, data, size);
        }
        at_ += RawSize(size);
    }

  private:
    std::byte *at_;
};

struct Record {
    EventKind kind;
    size_t slot;
    uint64_t sequence;
    std::span<const uint64_t> words;
};

// Null when there is no room, and nobody makes any. Waiting comes to an end with the session.
std::byte *Room(ThreadRecord &thread, uint32_t session, size_t size) {
    std::byte *room = thread.ring->Reserve(size);
    while (room == nullptr && g_state.waitsForRoom.load(std::memory_order_relaxed) &&
           g_state.session.load(std::memory_order_acquire) == session) {
        WaitForRoom();
        room = thread.ring->Reserve(size);
    }
    return room;
}

// The ticks of the record; 0 when it found no room.
uint64_t Write(ThreadRecord &thread, uint32_t session, const Record &record, const Pieces &pieces,
               uint64_t ticks) {
    const size_t limit = g_state.dataBytes.load(std::memory_order_relaxed);
    size_t size = sizeof(RawHead) + record.words.size_bytes();
    for (size_t i = 0; i < pieces.count; ++i) {
        size += sizeof(RawPiece) + RawSize(KeptOf(pieces.items[i], limit));
    }
    std::byte *const room = Room(thread, session, size);
    if (room == nullptr) {
        // What comes after the end of the recording is not missing in it.
        if (g_state.session.load(std::memory_order_acquire) == session) {
            thread.dropped.fetch_add(1, std::memory_order_relaxed);
        }
        return 0;
    }
    RawWriter out(room + sizeof(RawHead));
    out.Put(record.words.data(), record.words.size_bytes());
    for (size_t i = 0; i < pieces.count; ++i) {
        const Piece &piece = pieces.items[i];
        const size_t kept = KeptOf(piece, limit);
        const RawPiece head = {piece.place, static_cast<uint32_t>(kept), piece.size};
        out.Put(&head, sizeof(head));
        out.Put(piece.data, kept);
    }
    // Last, so that what was copied does not count as the hook's time.
    const RawHead head = {static_cast<uint8_t>(record.kind),
                          static_cast<uint8_t>(record.slot),
                          static_cast<uint8_t>(record.words.size()),
                          static_cast<uint8_t>(pieces.count),
                          0,
                          ticks != 0 ? ticks : NowTicks(),
                          record.sequence};
    RawWriter(room).Put(&head, sizeof(head));
    thread.ring->Commit();
    if (thread.ring->IsHalfFull()) {
        WakeDrain();
    }
    return head.ticks;
}

Follow Followed() {
    return g_state.follow.load(std::memory_order_relaxed);
}

}  // namespace

size_t LongestRawRecord(size_t dataBytes) {
    return sizeof(RawHead) + kMostParameters * sizeof(uint64_t) +
           kMostPieces * (sizeof(RawPiece) + RawSize(dataBytes));
}

CallNote::CallNote(size_t slot, std::span<const uint64_t> words, const char *message)
    : slot_(slot), words_(words), session_(g_state.session.load(std::memory_order_acquire)) {
    ThreadRecord *const thread = RecordOf(session_);
    if (thread == nullptr) {
        begin_ = NowTicks();
        return;
    }
    const size_t limit = g_state.dataBytes.load(std::memory_order_relaxed);
    Pieces pieces;
    Collect(kSlots[slot], {words, 0}, Direction::kIn, Followed(), limit, pieces);
    CollectHashKey(kSlots[slot], words, Followed(), limit, pieces);
    if (IsOfHash(kSlots[slot]) && std::strcmp(kSlots[slot].name, "DXR_HashFree") == 0) {
        ForgetHashKeys(words[0]);  // before another one has its handle
    }
    if (message != nullptr && Followed() != Follow::kNone) {
        pieces.Add({PlaceOf(kMessagePlace, kDirect, true), message, strnlen(message, limit + 1)});
    }
    sequence_ = thread->sequence++;
    begin_ = Write(*thread, session_, {EventKind::kEnter, slot, sequence_, words}, pieces, 0);
    isNoted_ = begin_ != 0;
    if (!isNoted_) {
        begin_ = NowTicks();
    }
}

void CallNote::End(uint64_t result) const {
    const uint64_t end = NowTicks();
    NoteTime(slot_, end - begin_);
    if (Followed() == Follow::kDevhost && IsOfHash(kSlots[slot_]) &&
        std::strcmp(kSlots[slot_].name, "DXR_HashCreate") == 0) {
        LearnHashKeys(words_[0], result);
    }
    ThreadRecord *const thread = t_record;
    // Meanwhile the trace may have been stopped, and even begun anew.
    if (!isNoted_ || thread == nullptr || !thread->IsIn(session_) ||
        g_state.session.load(std::memory_order_acquire) != session_) {
        return;
    }
    Pieces pieces;
    Collect(kSlots[slot_], {words_, result}, Direction::kOut, Followed(),
            g_state.dataBytes.load(std::memory_order_relaxed), pieces);
    const bool hasResult = kSlots[slot_].result != Width::kNone;
    const std::span<const uint64_t> words(&result, hasResult ? 1 : 0);
    (void)Write(*thread, session_, {EventKind::kReturn, slot_, sequence_, words}, pieces, end);
}

CallbackNote::CallbackNote(size_t slot, std::span<const uint64_t> words)
    : slot_(slot), session_(g_state.session.load(std::memory_order_acquire)) {
    // A thread of the host's may have called no hook before.
    ThreadRecord *const thread =
        t_record != nullptr || MakeRecord() != nullptr ? RecordOf(session_) : nullptr;
    if (thread != nullptr) {
        sequence_ = thread->sequence++;
        isNoted_ = Write(*thread, session_, {EventKind::kCallbackEnter, slot, sequence_, words}, {},
                         NowTicks()) != 0;
    }
}

void CallbackNote::End(uint64_t result) const {
    const uint64_t end = NowTicks();
    ThreadRecord *const thread = t_record;
    if (!isNoted_ || thread == nullptr || !thread->IsIn(session_) ||
        g_state.session.load(std::memory_order_acquire) != session_) {
        return;
    }
    const bool hasResult = kSlots[slot_].callback->result != Width::kNone;
    const std::span<const uint64_t> words(&result, hasResult ? 1 : 0);
    (void)Write(*thread, session_, {EventKind::kCallbackReturn, slot_, sequence_, words}, {}, end);
}

}  // namespace dxr_trace
