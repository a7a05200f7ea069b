#include "message_wire.h"

#include <bit>
#include <cstring>

#include "message.h"

namespace devhost {
namespace {

constexpr uint32_t kMark = 0x4D525844;  // "DXRM"
constexpr uint32_t kVersion = 2;        // another layout gets another one

enum RecordType : uint32_t { kMessageRecord = 1, kAcknowledgementRecord = 2 };

struct FrameHead {
    uint32_t mark;
    uint32_t version;
};

struct MessageHead {
    uint32_t type;
    uint32_t kind;
    uint32_t fromKind;
    uint32_t fromNumber;
    uint32_t toKind;
    uint32_t toNumber;
    uint32_t flags;
    uint32_t timeoutMs;
    uint64_t sequence;
    uint32_t code;
    uint32_t dataBytes;
};

struct AcknowledgementRecord {
    uint32_t type;
    uint32_t result;
    uint64_t sequence;
};

static_assert(sizeof(FrameHead) == kFrameHeadBytes);
static_assert(sizeof(MessageHead) == kMessageHeadBytes && kMessageHeadBytes % kRecordUnit == 0);
static_assert(sizeof(AcknowledgementRecord) == kAcknowledgementBytes &&
              kAcknowledgementBytes % kRecordUnit == 0);

// To the order of bytes in frames, or from it.
constexpr uint32_t Little(uint32_t number) {
    return std::endian::native == std::endian::little ? number : __builtin_bswap32(number);
}

constexpr uint64_t Little(uint64_t number) {
    return std::endian::native == std::endian::little ? number : __builtin_bswap64(number);
}

template <typename Value>
Value ReadAt(const std::byte *at) {
    Value value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

uint32_t TypeAt(const std::byte *record) {
    return Little(ReadAt<uint32_t>(record));
}

// Its data is in the record.
DxrHostMessage MessageAt(const std::byte *record) {
    const auto head = ReadAt<MessageHead>(record);
    DxrHostMessage message{};
    message.size = sizeof(message);
    message.kind = Little(head.kind);
    message.from = {Little(head.fromKind), Little(head.fromNumber)};
    message.to = {Little(head.toKind), Little(head.toNumber)};
    message.flags = Little(head.flags);
    message.timeoutMs = Little(head.timeoutMs);
    message.sequence = Little(head.sequence);
    message.code = Little(head.code);
    message.bytes = Little(head.dataBytes);
    message.data = message.bytes != 0 ? record + kMessageHeadBytes : nullptr;
    return message;
}

bool IsWell(const DxrHostMessage &message) {
    return IsUnit(message.to) && (message.from.kind == 0 || IsUnit(message.from)) &&
           (message.flags & ~DXR_HOST_MESSAGE_ACK) == 0 && message.bytes <= DXR_HOST_MESSAGE_BYTES;
}

// Reads one frame, and makes a letter of each run of messages for one unit.
class FrameReader {
  public:
    FrameReader(const void *data, size_t size, const ChassisPlan &plan, Incoming &incoming)
        : at_(static_cast<const std::byte *>(data)),
          end_(at_ + size),
          plan_(plan),
          incoming_(incoming) {}

    bool ReadAll() {
        if (Left() <= kFrameHeadBytes) {
            return false;
        }
        const auto head = ReadAt<FrameHead>(at_);
        if (Little(head.mark) != kMark || Little(head.version) != kVersion) {
            return false;
        }
        at_ += kFrameHeadBytes;
        bool isWell = true;
        while (isWell && at_ != end_) {
            isWell = ReadRecord();
        }
        EndRun();
        return isWell;
    }

  private:
    [[nodiscard]] size_t Left() const { return static_cast<size_t>(end_ - at_); }

    bool ReadRecord() {
        if (Left() < kRecordUnit) {
            return false;
        }
        switch (TypeAt(at_)) {
            case kMessageRecord:
                return ReadMessage();
            case kAcknowledgementRecord:
                ReadAcknowledgement();
                return true;
            default:
                return false;
        }
    }

    void ReadAcknowledgement() {
        EndRun();
        const auto record = ReadAt<AcknowledgementRecord>(at_);
        incoming_.acknowledgements.push_back({Little(record.sequence), Little(record.result)});
        at_ += kAcknowledgementBytes;
    }

    bool ReadMessage() {
        if (Left() < kMessageHeadBytes) {
            return false;
        }
        const DxrHostMessage message = MessageAt(at_);
        if (!IsWell(message) || Left() < MessageBytes(message.bytes)) {
            return false;
        }
        if (message.to.kind != to_.kind || message.to.number != to_.number) {
            EndRun();
            to_ = message.to;
            isForHere_ = plan_.OwnerOf(to_) == plan_.self;
        }
        if (isForHere_ && plan_.OriginOf(message.sequence) != plan_.boards.size()) {
            run_ = runCount_ == 0 ? at_ : run_;
            ++runCount_;
        } else {
            EndRun();
            ++incoming_.malformed;
        }
        at_ += MessageBytes(message.bytes);
        return true;
    }

    // Up to where the reader is now.
    void EndRun() {
        if (runCount_ == 0) {
            return;
        }
        Letters one;
        if (static_cast<size_t>(at_ - run_) >= kLargeLetterBytes && !incoming_.spare.empty()) {
            one.splice(one.end(), incoming_.spare, incoming_.spare.begin());
        } else {
            one.emplace_back();
        }
        Letter &letter = one.front();
        letter.body.assign(run_, at_);
        letter.next = 0;
        letter.more = runCount_;
        (void)ReadNext(letter);
        incoming_.messages += runCount_;
        runCount_ = 0;
        incoming_.letters.splice(incoming_.letters.end(), one);
    }

    const std::byte *at_;
    const std::byte *const end_;
    const ChassisPlan &plan_;
    Incoming &incoming_;
    DxrHostUnit to_{};
    bool isForHere_ = false;
    const std::byte *run_ = nullptr;
    uint32_t runCount_ = 0;  // messages from there on
};

}  // namespace

void WriteFrameHead(std::byte *to) {
    const FrameHead head = {Little(kMark), Little(kVersion)};
    std::memcpy(to, &head, sizeof(head));
}

void WriteMessage(std::byte *to, const DxrHostMessage &message) {
    const MessageHead head = {Little(uint32_t{kMessageRecord}),
                              Little(message.kind),
                              Little(message.from.kind),
                              Little(message.from.number),
                              Little(message.to.kind),
                              Little(message.to.number),
                              Little(message.flags),
                              Little(message.timeoutMs),
                              Little(message.sequence),
                              Little(message.code),
                              Little(message.bytes)};
    std::memcpy(to, &head, sizeof(head));
    if (message.bytes == 0) {
        return;
    }
    std::byte *const data = to + kMessageHeadBytes;
    std::memset(to + MessageBytes(message.bytes) - kRecordUnit, 0, kRecordUnit);
    std::memcpy(data, message.data, message.bytes);
}

void WriteAcknowledgement(std::byte *to, const Acknowledgement &acknowledgement) {
    const AcknowledgementRecord record = {Little(uint32_t{kAcknowledgementRecord}),
                                          Little(acknowledgement.result),
                                          Little(acknowledgement.sequence)};
    std::memcpy(to, &record, sizeof(record));
}

Written LookAt(const std::byte *record) {
    if (TypeAt(record) == kAcknowledgementRecord) {
        return {kAcknowledgementBytes, 0, 0, 0};
    }
    const auto head = ReadAt<MessageHead>(record);
    const uint32_t dataBytes = Little(head.dataBytes);
    return {MessageBytes(dataBytes), Little(head.flags), Little(head.timeoutMs), dataBytes};
}

void ReadFrame(const void *data, size_t size, const ChassisPlan &plan, Incoming &incoming) {
    FrameReader reader(data, size, plan, incoming);
    incoming.malformed += reader.ReadAll() ? 0 : 1;
}

bool ReadNext(Letter &letter) {
    if (letter.more == 0) {
        return false;
    }
    --letter.more;
    letter.head = MessageAt(letter.body.data() + letter.next);
    letter.next += MessageBytes(letter.head.bytes);
    return true;
}

}  // namespace devhost
