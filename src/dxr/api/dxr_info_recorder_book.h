// The recorder's store as a book of texts: all records of a text are found, and a record is
// written, at the same cost whatever the store holds.
//
// Beside the plain records stands an index, which nobody else sees. Either it follows an operation
// or it is forgotten, and made anew by the next search. Invariant, while InStep(): slots 0 to
// live - 1 are the live ones, those before the first empty slot; each has the hash of its record's
// text as the library wrote it and stands in the one chain of that hash's home, in the order of
// slots.
//
// A slot that the index gives is a candidate only: its record's own text decides. So what a host
// overwrites in place may stay unseen, but no text is taken for another.
#ifndef DXR_INFO_RECORDER_BOOK_H
#define DXR_INFO_RECORDER_BOOK_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dxr/info_recorder.h"

namespace dxr {

// A text on its way to a record, up to its terminator or as much as a record has room for. The
// caller's characters stay in place as long as it.
class RecordText {
  public:
    explicit RecordText(const char *text) noexcept
        : RecordText(text, strnlen(text, DXR_RECORD_TEXT_SIZE)) {}
    // For a length that is known, which is that up to the terminator.
    RecordText(const char *text, size_t length) noexcept : text_(text), length_(length) {}

    // Never true of a text without a terminator in that room, which is stored cut.
    [[nodiscard]] bool IsIn(const DxrRecord &record) const noexcept {
        return std::memcmp(record.text, text_, length_ < kRoom ? length_ + 1 : kRoom) == 0;
    }
    void CopyTo(DxrRecord &record) const noexcept {
        std::memmove(record.text, text_, Stored());  // the text may be the record's own
        record.text[Stored()] = '\0';
    }
    // Of the text as it is stored. Mixed well enough that any of its bits will do.
    [[nodiscard]] uint32_t Hash() noexcept {
        if (!hashed_) {
            hash_ = HashOf(text_, Stored());
            hashed_ = true;
        }
        return hash_;
    }

  private:
    static constexpr size_t kRoom = DXR_RECORD_TEXT_SIZE;
    [[nodiscard]] size_t Stored() const noexcept { return length_ < kRoom ? length_ : kRoom - 1; }
    static uint32_t HashOf(const char *text, size_t length) noexcept;

    const char *text_;
    size_t length_;
    uint32_t hash_ = 0;
    bool hashed_ = false;  // small stores are searched without
};

class RecordBook {
  public:
    static constexpr uint32_t kNone = DXR_RECORD_COUNT;

    // All zero knows nothing, so a recorder that is never used costs no memory.
    struct Index {
        // Links are slots plus 1; 0 ends a chain.
        struct Node {
            uint32_t hash;
            uint16_t next;
        };
        static constexpr uint32_t kHomeBits = 11;

        std::array<uint16_t, 1U << kHomeBits> heads;
        std::array<Node, DXR_RECORD_COUNT> nodes;
        uint32_t live;
        bool known;  // false: forgotten
        // The store as the last operation left it that the index followed.
        uint32_t nextIndex;
        const DxrRecord *newest;
    };

    constexpr RecordBook(DxrRecordStore &store, Index &index) noexcept
        : store_(store), index_(index) {}

    // Searches come to the slots in ascending order and end at the first empty one. Whatever
    // happens between two steps, each gives the first slot from `from` on that holds the text, or
    // kNone. This one sees all that a host has written in place.
    [[nodiscard]] static uint32_t Walk(const DxrRecordStore &store, const RecordText &text,
                                       uint32_t from) noexcept;
    // The same in the book's own store.
    [[nodiscard]] uint32_t Find(RecordText &text, uint32_t from) const noexcept;

    // The operations on a store, the book's own or another, which may share records with it.

    // Puts a zeroed record into the empty slot at the next index.
    void Place(DxrRecordStore &store, DxrRecord *record) const noexcept;
    // Writes count and text of the record in `slot` and moves the next index on.
    void Write(DxrRecordStore &store, uint32_t slot, RecordText &text) const noexcept;
    // Empties a slot of the book's own store and gives its record, or null.
    [[nodiscard]] DxrRecord *TakeOut(uint32_t slot) const noexcept;

  private:
    // Up to so many records are sooner walked than a text is hashed. The index knows nothing of
    // them, so what a host has done in place by then is seen when the store has grown past them.
    static constexpr uint32_t kFewRecords = 8;

    static constexpr uint32_t Home(uint32_t hash) noexcept {
        return hash >> (32U - Index::kHomeBits);
    }
    [[nodiscard]] bool HasFew() const noexcept { return store_.records[kFewRecords] == nullptr; }
    [[nodiscard]] bool InStep() const noexcept;
    [[nodiscard]] const DxrRecord *Newest() const noexcept;
    [[nodiscard]] uint32_t FindInChain(RecordText &text, uint32_t from) const noexcept;
    void Rebuild() const noexcept;
    // After a change of the record in `slot`, whose text has this hash now, and before which the
    // index was in step or not: then the hash does not count.
    void Follow(bool inStep, uint32_t slot, uint32_t hash) const noexcept;
    void Put(uint32_t slot, uint32_t hash) const noexcept;
    void Keep() const noexcept;

    DxrRecordStore &store_;
    Index &index_;
};

}  // namespace dxr

#endif  // DXR_INFO_RECORDER_BOOK_H
