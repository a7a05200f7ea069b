#include "compare.h"

#include <algorithm>
#include <string_view>

#include "export.h"

namespace dxr_trace {
namespace {

constexpr size_t kPointerBytes = sizeof(void *);

bool IsOpaqueParameter(const TracedCall &call, size_t parameter) {
    if (call.isCallback) {
        return parameter == 0;
    }
    return std::any_of(kSlots[call.slot].opaque.begin(), kSlots[call.slot].opaque.end(),
                       [parameter](const MemoryPlace &place) {
                           return place.parameter == parameter && place.offset == kDirect;
                       });
}

const TracedPiece *FindPiece(const std::vector<TracedPiece> &pieces, uint32_t place) {
    for (const TracedPiece &piece : pieces) {
        if (piece.place == place) {
            return &piece;
        }
    }
    return nullptr;
}

void Note(Differences *differences, const std::string &what, const std::string &expected,
          const std::string &got) {
    if (differences != nullptr) {
        differences->push_back({what, expected, got});
    }
}

bool AreSameBytes(const SlotInfo &slot, const TracedPiece &expected, const TracedPiece &got) {
    if (expected.bytes == got.bytes && expected.whole == got.whole) {
        return true;
    }
    if (expected.whole != got.whole || expected.bytes.size() != got.bytes.size()) {
        return false;
    }
    for (size_t i = 0; i < expected.bytes.size(); ++i) {
        size_t begin = 0;
        if (expected.bytes[i] != got.bytes[i] && !IsOpaqueByte(slot, expected, i, &begin)) {
            return false;
        }
    }
    return true;
}

bool IsKnown(const SlotInfo &slot, const TracedPiece &piece) {
    return piece.Parameter() == kMessagePlace ||
           std::any_of(slot.pointers.begin(), slot.pointers.end(),
                       [&](const PointerRule &rule) { return PlaceOf(rule) == piece.place; });
}

// Whether a pointer in a record led nowhere when the call began. Of one whose record is not there
// nothing is known.
bool WasNull(const std::vector<TracedPiece> &pieces, const TracedPiece &behind) {
    for (const TracedPiece &record : pieces) {
        if (record.Parameter() == behind.Parameter() && record.Offset() == kDirect) {
            const size_t offset = behind.Offset();
            const std::string_view pointer =
                offset < record.bytes.size() ? record.bytes.substr(offset, kPointerBytes) : "";
            return pointer.size() == kPointerBytes &&
                   pointer.find_first_not_of('\0') == std::string_view::npos;
        }
    }
    return false;
}

// A pointer that only one side has followed is no difference, unless the other one was null there:
// releases differ in what they follow. Of arguments that is compared as such.
bool ArePiecesSame(const TracedCall &call, const std::vector<TracedPiece> &expected,
                   const std::vector<TracedPiece> &got, Differences *differences) {
    const SlotInfo &slot = kSlots[call.slot];
    bool isSame = true;
    for (const TracedPiece &piece : expected) {
        // Of two for one place, which only a damaged recording has, the first one counts.
        if (IsOpaqueParameter(call, piece.Parameter()) ||
            FindPiece(expected, piece.place) != &piece) {
            continue;
        }
        const TracedPiece *const other = FindPiece(got, piece.place);
        if (other == nullptr ? IsKnown(slot, piece) : !AreSameBytes(slot, piece, *other)) {
            isSame = false;
            Note(differences, PieceName(slot, piece), ShownPiece(piece),
                 other != nullptr ? ShownPiece(*other) : "nothing");
        }
    }
    for (const TracedPiece &piece : got) {
        if (piece.Offset() != kDirect && piece.whole != 0 &&
            FindPiece(expected, piece.place) == nullptr && WasNull(expected, piece)) {
            isSame = false;
            Note(differences, PieceName(slot, piece), "nothing", ShownPiece(piece));
        }
    }
    return isSame;
}

bool IsSameWord(const TracedCall &expected, const TracedCall &got, size_t i,
                const Addresses *addresses) {
    const uint64_t recorded = expected.words[i];
    const uint64_t word = got.words[i];
    if (WidthOf(expected, i) != Width::kPointer) {
        return recorded == word;
    }
    return (recorded == 0) == (word == 0) &&
           (addresses == nullptr || addresses->MayBe(recorded, word));
}

// What is followed is compared by that.
bool IsFollowed(const TracedCall &call, size_t parameter) {
    const auto is = [parameter](const TracedPiece &piece) {
        return piece.Parameter() == parameter && piece.Offset() == kDirect;
    };
    return std::any_of(call.in.begin(), call.in.end(), is) ||
           std::any_of(call.out.begin(), call.out.end(), is);
}

}  // namespace

const Addresses::Block *Addresses::FindBlock(uint64_t recorded) const {
    const auto found = blocks_.find(recorded);
    return found != blocks_.end() ? &found->second : nullptr;
}

bool Addresses::InBlock(uint64_t recorded, uint64_t *real) const {
    auto after = blocks_.upper_bound(recorded);
    if (after == blocks_.begin()) {
        return false;
    }
    --after;
    const uint64_t distance = recorded - after->first;
    *real = after->second.real + distance;
    return distance == 0 || distance < after->second.size;
}

void Addresses::Learn(uint64_t recorded, uint64_t real) {
    uint64_t known = 0;
    if (recorded != 0 && !given_.contains(recorded) && !InBlock(recorded, &known)) {
        learned_[recorded] = real;
    }
}

uint64_t Addresses::Translate(uint64_t recorded) const {
    uint64_t real = 0;
    if (InBlock(recorded, &real)) {
        return real;
    }
    const auto found = learned_.find(recorded);
    return found != learned_.end() ? found->second : recorded;
}

bool Addresses::MayBe(uint64_t recorded, uint64_t real) const {
    uint64_t known = 0;
    if (InBlock(recorded, &known)) {
        return known == real;
    }
    return !given_.contains(recorded) || recorded == real;
}

bool IsOpaqueByte(const SlotInfo &slot, const TracedPiece &record, size_t byte, size_t *begin) {
    if (record.Offset() != kDirect) {
        return false;
    }
    const auto holds = [&](uint8_t parameter, uint16_t offset) {
        *begin = offset;
        return parameter == record.Parameter() && offset != kDirect && byte >= offset &&
               byte < offset + kPointerBytes;
    };
    for (const PointerRule &rule : slot.pointers) {
        if (holds(rule.parameter, rule.offset)) {
            return true;
        }
    }
    for (const MemoryPlace &place : slot.opaque) {
        if (holds(place.parameter, place.offset)) {
            return true;
        }
    }
    return slot.callback != nullptr &&
           (holds(slot.callback->function.parameter, slot.callback->function.offset) ||
            holds(slot.callback->argument.parameter, slot.callback->argument.offset));
}

bool IsSameCall(const TracedCall &expected, const TracedCall &got, const Addresses *addresses,
                Differences *differences) {
    if (expected.slot != got.slot || expected.isCallback != got.isCallback) {
        Note(differences, "function", CallName(expected), CallName(got));
        return false;
    }
    bool isSame = expected.wordCount == got.wordCount;
    for (size_t i = 0; i < std::min(expected.wordCount, got.wordCount); ++i) {
        const Addresses *const known = IsFollowed(expected, i) ? nullptr : addresses;
        if (!IsOpaqueParameter(expected, i) && !IsSameWord(expected, got, i, known)) {
            isSame = false;
            Note(differences, ArgumentName(expected, i), ShownWord(expected, i), ShownWord(got, i));
        }
    }
    return ArePiecesSame(expected, expected.in, got.in, differences) && isSame;
}

bool IsSameAnswer(const TracedCall &expected, const TracedCall &got, Differences *differences) {
    if (std::string_view(kSlots[expected.slot].group) == "Time") {
        return true;
    }
    bool isSame = true;
    if (expected.hasReturned != got.hasReturned) {
        Note(differences, "end", expected.hasReturned ? "a return" : "none",
             got.hasReturned ? "a return" : "none");
        return false;
    }
    const bool isPointer = ResultWidth(expected) == Width::kPointer;
    if (isPointer ? (expected.result == 0) != (got.result == 0) : expected.result != got.result) {
        isSame = false;
        Note(differences, "result", ShownResult(expected), ShownResult(got));
    }
    return ArePiecesSame(expected, expected.out, got.out, differences) && isSame;
}

}  // namespace dxr_trace
