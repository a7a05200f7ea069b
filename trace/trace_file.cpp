#include "trace_file.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <utility>

#include "format.h"
#include "ticks.h"

namespace dxr_trace {
namespace {

// Takes numbers and bytes from the front. After the first that is not there all are 0 and empty.
class Decoder {
  public:
    explicit Decoder(std::string_view bytes) : bytes_(bytes) {}

    uint8_t Byte() { return static_cast<uint8_t>(Take(1).front()); }

    uint32_t Fixed32() {
        const std::string_view bytes = Take(4);
        uint32_t value = 0;
        for (size_t i = 0; i < 4; ++i) {
            value |= uint32_t{static_cast<uint8_t>(bytes[i])} << (8 * i);
        }
        return value;
    }

    uint64_t Varint() {
        uint64_t value = 0;
        for (size_t i = 0; i < kLongestVarint; ++i) {
            const uint8_t byte = Byte();
            value |= uint64_t{static_cast<uint8_t>(byte & 0x7F)} << (7 * i);
            if ((byte & 0x80) == 0) {
                // The tenth byte has one bit of the number.
                isGood_ = isGood_ && (i + 1 < kLongestVarint || byte <= 1);
                return value;
            }
        }
        isGood_ = false;
        return 0;
    }

    std::string_view Bytes(uint64_t size) {
        isGood_ = isGood_ && size <= bytes_.size();
        if (!isGood_) {
            return {};
        }
        const std::string_view taken = bytes_.substr(0, static_cast<size_t>(size));
        bytes_.remove_prefix(static_cast<size_t>(size));
        return taken;
    }

    std::string_view Text() { return Bytes(Varint()); }

    [[nodiscard]] bool IsGood() const { return isGood_; }
    [[nodiscard]] bool IsEmpty() const { return bytes_.empty(); }

  private:
    std::string_view Take(size_t size) {
        static constexpr std::string_view kZeros("\0\0\0\0", 4);
        const std::string_view taken = Bytes(size);
        return taken.size() == size ? taken : kZeros.substr(0, size);
    }

    std::string_view bytes_;
    bool isGood_ = true;
};

struct Block {
    BlockKind kind;
    std::string_view content;
};

// Turns ticks to nanoseconds, by the moments that stand in the file.
class Clock {
  public:
    void Add(const Moment &moment) { moments_.push_back(moment); }

    // Before the first use.
    void Sort() {
        std::stable_sort(moments_.begin(), moments_.end(),
                         [](const Moment &a, const Moment &b) { return a.ticks < b.ticks; });
    }

    // Since the first moment.
    [[nodiscard]] uint64_t Ns(uint64_t ticks) const {
        if (moments_.size() < 2) {
            return 0;
        }
        auto after = std::upper_bound(
            moments_.begin(), moments_.end(), ticks,
            [](uint64_t value, const Moment &moment) { return value < moment.ticks; });
        after = std::clamp(after, moments_.begin() + 1, moments_.end() - 1);
        const Moment &from = *(after - 1);
        const double distance = Difference(ticks, from.ticks);
        const double span = Difference(after->ticks, from.ticks);
        const double ratio = span > 0 ? Difference(after->ns, from.ns) / span : 0;
        return Rounded(Difference(from.ns, moments_.front().ns) + distance * ratio);
    }

  private:
    static double Difference(uint64_t a, uint64_t b) {
        return a >= b ? static_cast<double>(a - b) : -static_cast<double>(b - a);
    }

    static uint64_t Rounded(double ns) {
        constexpr double kMost = 9e18;
        return ns > 0 ? static_cast<uint64_t>(std::llround(std::min(ns, kMost))) : 0;
    }

    std::vector<Moment> moments_;
};

class Reader {
  public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    TraceFile Read() {
        if (ReadHead()) {
            while (ReadBlock()) {
            }
            Finish();
        }
        return std::move(file_);
    }

  private:
    // Calls that have not returned, each within the one before it.
    struct OpenCall {
        uint64_t sequence;
        uint8_t slot;  // of the file
        bool isCallback;
        bool isForeign;
        size_t call;
    };
    struct Thread {
        TracedThread told;
        std::vector<OpenCall> open;
    };
    static constexpr size_t kMostFileSlots = 256;
    static constexpr size_t kNoForeign = SIZE_MAX;

    static std::array<size_t, kMostFileSlots> FirstRelease() {
        std::array<size_t, kMostFileSlots> slots{};
        for (size_t i = 0; i < slots.size(); ++i) {
            slots[i] = std::min(i, kSlotCount);
        }
        return slots;
    }

    static std::array<size_t, kMostFileSlots> NoForeign() {
        std::array<size_t, kMostFileSlots> none{};
        none.fill(kNoForeign);
        return none;
    }

    bool Stop(FileState state, std::string problem) {
        file_.state = state;
        file_.problem = std::move(problem);
        return false;
    }

    bool StopDamaged(std::string_view what) {
        return Stop(FileState::kDamaged, "damaged after " + std::to_string(file_.goodBytes) +
                                             " bytes: " + std::string(what));
    }

    bool StopCut() {
        return Stop(FileState::kCut,
                    "has no end after " + std::to_string(file_.goodBytes) + " bytes");
    }

    bool ReadHead() {
        if (bytes_.size() < kFileHeadSize) {
            const std::string_view mark = kFileMark.substr(0, bytes_.size());
            return !mark.empty() && bytes_.substr(0, mark.size()) == mark
                       ? StopCut()
                       : Stop(FileState::kForeign, "is no recording");
        }
        Decoder head(bytes_.substr(0, kFileHeadSize));
        if (head.Bytes(kFileMark.size()) != kFileMark) {
            return Stop(FileState::kForeign, "is no recording");
        }
        const uint32_t version = head.Fixed32();
        if (head.Fixed32() != Crc32c(bytes_.substr(0, kFileHeadSize - 4))) {
            return StopDamaged("its head");
        }
        if (version == 0 || version > kFileVersion) {
            return Stop(FileState::kForeign,
                        "has a format that is not known, " + std::to_string(version));
        }
        file_.goodBytes = kFileHeadSize;
        version_ = version;
        return true;
    }

    bool ReadBlock() {
        const std::string_view rest = bytes_.substr(file_.goodBytes);
        if (hasEnd_) {
            return rest.empty() ? Stop(FileState::kWhole, "") : StopDamaged("bytes after its end");
        }
        if (rest.size() < kBlockHeadSize) {
            return StopCut();
        }
        Decoder head(rest);
        const bool isMarked = head.Fixed32() == kBlockMark;
        const auto kind = BlockKind{head.Fixed32()};
        const uint32_t size = head.Fixed32();
        const uint32_t number = head.Fixed32();
        const uint32_t crc = head.Fixed32();
        if (!isMarked || head.Fixed32() != Crc32c(rest.substr(0, kBlockHeadSize - 4)) ||
            number != blocks_) {
            return StopDamaged("the head of a block");
        }
        if (size > rest.size() - kBlockHeadSize) {
            return StopCut();
        }
        const std::string_view content = rest.substr(kBlockHeadSize, size);
        if (crc != Crc32c(content)) {
            return StopDamaged("the content of a block");
        }
        if ((blocks_ == 0) != (kind == BlockKind::kStart) || !Take({kind, content})) {
            return StopDamaged("a block that says what it cannot");
        }
        ++blocks_;
        file_.goodBytes += kBlockHeadSize + size;
        return true;
    }

    bool Take(const Block &block) {
        Decoder in(block.content);
        switch (block.kind) {
            case BlockKind::kStart:
                return TakeStart(in);
            case BlockKind::kThread:
                return TakeThread(in);
            case BlockKind::kCalls:
                return TakeCalls(in);
            case BlockKind::kEnd:
                TakeMoment(in);
                hasEnd_ = true;
                return in.IsGood();
            case BlockKind::kFilled:
                return TakeSlots(in);
        }
        return true;
    }

    bool TakeStart(Decoder &in) {
        file_.processId = in.Varint();
        file_.wallNs = in.Varint();
        TakeMoment(in);
        const uint64_t follow = in.Varint();
        file_.dataBytes = in.Varint();
        file_.version = in.Text();
        file_.hasCallbacks = version_ >= 2 && !in.IsEmpty() && in.Varint() != 0;
        file_.tellsWhoBegan = !in.IsEmpty() && in.Varint() != 0;
        file_.follow = Follow{static_cast<uint32_t>(follow)};
        return in.IsGood() && follow <= static_cast<uint64_t>(Follow::kDevhost);
    }

    // What is called by a name that this release has, with arguments of the same widths, is that
    // function, whatever its number.
    bool TakeSlots(Decoder &in) {
        if (file_.hasSlots || !file_.calls.empty()) {
            return false;
        }
        file_.hasSlots = true;
        slotOf_.fill(kSlotCount);
        const uint64_t count = in.Varint();
        for (uint64_t i = 0; i < count && in.IsGood(); ++i) {
            const uint64_t told = in.Varint();
            const std::string_view name = in.Text();
            const size_t own = OwnSlot(in, name);
            if (!in.IsGood() || told >= kMostFileSlots) {
                return false;
            }
            const auto number = static_cast<size_t>(told);
            if (slotOf_[number] != kSlotCount || foreignOf_[number] != kNoForeign) {
                return false;
            }
            slotOf_[number] = own;
            if (own == kSlotCount) {
                foreignOf_[number] = file_.foreign.size();
                file_.foreign.push_back({std::string(name), 0});
            } else if (std::exchange(file_.filled[own], true)) {
                return false;
            }
        }
        return in.IsGood() && in.IsEmpty();
    }

    // kSlotCount when this release has none like that.
    static size_t OwnSlot(Decoder &in, std::string_view name) {
        const auto *const found = std::find_if(
            std::begin(kSlots), std::end(kSlots),
            [name](const SlotInfo &slot) { return slot.name == name && !slot.isReserved; });
        const uint64_t result = in.Varint();
        const uint64_t count = in.Varint();
        bool isOwn = found != std::end(kSlots) && result == static_cast<uint64_t>(found->result) &&
                     count == found->parameters.size();
        for (uint64_t i = 0; i < count && in.IsGood(); ++i) {
            (void)in.Text();
            const uint64_t width = in.Varint();
            isOwn = isOwn &&
                    width == static_cast<uint64_t>(found->parameters[static_cast<size_t>(i)].width);
        }
        return isOwn ? static_cast<size_t>(found - std::begin(kSlots)) : kSlotCount;
    }

    void TakeMoment(Decoder &in) {
        const uint64_t ticks = in.Varint();
        clock_.Add({ticks, in.Varint()});
    }

    bool TakeThread(Decoder &in) {
        TracedThread told;
        const uint64_t number = in.Varint();
        told.number = static_cast<uint32_t>(number);
        told.systemId = in.Varint();
        told.name = in.Text();
        told.hasBegun = !in.IsEmpty() && in.Varint() != 0;
        const bool isNew = number <= std::numeric_limits<uint32_t>::max() && number != 0 &&
                           !threads_.contains(told.number);
        if (in.IsGood() && isNew) {
            threads_[told.number].told = std::move(told);
        }
        return in.IsGood() && isNew;
    }

    bool TakeCalls(Decoder &in) {
        const uint64_t number = in.Varint();
        const uint64_t dropped = in.Varint();
        const auto found = number <= std::numeric_limits<uint32_t>::max()
                               ? threads_.find(static_cast<uint32_t>(number))
                               : threads_.end();
        TakeMoment(in);
        if (!in.IsGood() || found == threads_.end()) {
            return false;
        }
        // A block is taken as a whole or not at all.
        const size_t callsBefore = file_.calls.size();
        uint64_t ticks = 0;
        returned_.clear();
        while (!in.IsEmpty()) {
            if (!TakeEvent(in, found->second, ticks)) {
                TakeBack(callsBefore);
                return false;
            }
        }
        found->second.told.dropped = dropped;
        return true;
    }

    // The calls from there on, and the returns of the block.
    void TakeBack(size_t callsBefore) {
        for (const size_t index : returned_) {
            TracedCall &call = file_.calls[index];
            call.hasReturned = false;
            call.hasResult = false;
            call.result = 0;
            call.out.clear();
            call.endTicks = call.beginTicks;
        }
        file_.calls.resize(callsBefore);
    }

    bool TakeEvent(Decoder &in, Thread &thread, uint64_t &ticks) {
        const uint8_t kind = in.Byte();
        const uint8_t slot = in.Byte();
        const uint64_t sequence = in.Varint();
        ticks += static_cast<uint64_t>(FromZigZag(in.Varint()));
        std::array<uint64_t, kMostParameters> words{};
        const uint64_t wordCount = in.Varint();
        if (!in.IsGood() || (slotOf_[slot] == kSlotCount && foreignOf_[slot] == kNoForeign) ||
            wordCount > words.size()) {
            return false;
        }
        for (size_t i = 0; i < wordCount; ++i) {
            words[i] = in.Varint();
        }
        std::vector<TracedPiece> pieces;
        if (!TakePieces(in, pieces)) {
            return false;
        }
        const bool isCallback = version_ >= 2 && kind > static_cast<uint8_t>(EventKind::kReturn);
        const auto plain = EventKind{static_cast<uint8_t>(isCallback ? kind - 2 : kind)};
        if (plain == EventKind::kEnter) {
            OpenCall open{sequence, slot, isCallback, slotOf_[slot] == kSlotCount, 0};
            if (open.isForeign) {
                file_.foreign[foreignOf_[slot]].calls += isCallback ? 0 : 1;
            } else {
                open.call = file_.calls.size();
                TracedCall &call = file_.calls.emplace_back();
                call.thread = thread.told.number;
                call.depth = static_cast<uint32_t>(thread.open.size());
                call.sequence = sequence;
                call.beginTicks = ticks;
                call.endTicks = ticks;
                call.slot = static_cast<uint8_t>(slotOf_[slot]);
                call.isCallback = isCallback;
                call.wordCount = static_cast<uint8_t>(wordCount);
                call.words = words;
                call.in = std::move(pieces);
            }
            thread.open.push_back(open);
            return true;
        }
        return plain == EventKind::kReturn && wordCount <= 1 &&
               TakeReturn(thread, {sequence, slot, isCallback, false, 0}, wordCount == 1, words[0],
                          ticks, std::move(pieces));
    }

    // A call that was within one that returns will not: its task was ended, or its end was dropped.
    bool TakeReturn(Thread &thread, const OpenCall &returned, bool hasResult, uint64_t result,
                    uint64_t ticks, std::vector<TracedPiece> pieces) {
        size_t count = thread.open.size();
        while (count > 0 && thread.open[count - 1].sequence > returned.sequence) {
            --count;
        }
        if (count == 0) {
            return false;
        }
        const OpenCall open = thread.open[count - 1];
        if (open.sequence != returned.sequence || open.slot != returned.slot ||
            open.isCallback != returned.isCallback) {
            return false;
        }
        thread.open.resize(count - 1);
        if (open.isForeign) {
            return true;
        }
        // A call of a block that was not taken.
        if (open.call >= file_.calls.size()) {
            return false;
        }
        TracedCall &call = file_.calls[open.call];
        call.hasReturned = true;
        call.hasResult = hasResult;
        call.result = result;
        call.out = std::move(pieces);
        returned_.push_back(open.call);
        call.endTicks = ticks;
        return true;
    }

    static bool TakePieces(Decoder &in, std::vector<TracedPiece> &pieces) {
        const uint64_t count = in.Varint();
        for (uint64_t i = 0; i < count && in.IsGood(); ++i) {
            TracedPiece piece;
            const uint64_t place = in.Varint();
            piece.place = static_cast<uint32_t>(place);
            piece.whole = in.Varint();
            piece.bytes = in.Text();
            if (place > std::numeric_limits<uint32_t>::max() || piece.bytes.size() > piece.whole) {
                return false;
            }
            pieces.push_back(piece);
        }
        return in.IsGood();
    }

    void Finish() {
        clock_.Sort();
        for (TracedCall &call : file_.calls) {
            call.beginNs = clock_.Ns(call.beginTicks);
            const uint64_t endNs = clock_.Ns(call.endTicks);
            call.durationNs = endNs > call.beginNs ? endNs - call.beginNs : 0;
        }
        const auto isEarlier = [](const TracedCall &a, const TracedCall &b) {
            return std::pair(a.beginNs, a.sequence) < std::pair(b.beginNs, b.sequence);
        };
        // Sorting takes as much memory again, and those of one thread are in order.
        if (!std::is_sorted(file_.calls.begin(), file_.calls.end(), isEarlier)) {
            std::stable_sort(file_.calls.begin(), file_.calls.end(), isEarlier);
        }
        for (auto &[number, thread] : threads_) {
            file_.dropped += thread.told.dropped;
            file_.threads.push_back(std::move(thread.told));
        }
    }

    std::string_view bytes_;
    TraceFile file_;
    uint32_t blocks_ = 0;
    bool hasEnd_ = false;
    Clock clock_;
    std::vector<size_t> returned_;  // in the block that is being read
    uint32_t version_ = 0;
    // By the file's number of a slot: this release's, or where it stands among the foreign ones.
    std::array<size_t, kMostFileSlots> slotOf_ = FirstRelease();
    std::array<size_t, kMostFileSlots> foreignOf_ = NoForeign();
    std::map<uint32_t, Thread> threads_;
};

}  // namespace

const TracedThread *TraceFile::FindThread(uint32_t number) const {
    const auto found = std::lower_bound(
        threads.begin(), threads.end(), number,
        [](const TracedThread &thread, uint32_t wanted) { return thread.number < wanted; });
    return found != threads.end() && found->number == number ? &*found : nullptr;
}

TraceFile ReadTraceFile(std::string_view bytes) {
    return Reader(bytes).Read();
}

std::string PieceName(const SlotInfo &slot, const TracedPiece &piece) {
    for (const PointerRule &rule : slot.pointers) {
        if (rule.parameter == piece.Parameter() && rule.offset == piece.Offset()) {
            return rule.name;
        }
    }
    std::string name;
    if (piece.Parameter() == kResultPlace) {
        name = "result";
    } else if (piece.Parameter() == kMessagePlace) {
        name = "message";
    } else if (piece.Parameter() < slot.parameters.size()) {
        name = slot.parameters[piece.Parameter()].name;
    } else {
        name = "arg" + std::to_string(piece.Parameter() + 1);
    }
    return piece.Offset() == kDirect ? name : name + "+" + std::to_string(piece.Offset());
}

}  // namespace dxr_trace
