#include "message_wire.h"

#include <cstring>
#include <type_traits>

#include "message.h"

namespace devhost {
namespace {

constexpr uint32_t kMark = 0x4D525844;  // "DXRM"; another layout gets another one
constexpr uint8_t kMessageRecord = 1;
constexpr uint8_t kAcknowledgementRecord = 2;

constexpr size_t kHeadBytes = 1 + 9 * 4 + 8;
constexpr size_t kAcknowledgementBytes = 1 + 8 + 4;

template <typename Number>
std::byte *Put(std::byte *to, Number number) {
    for (size_t i = 0; i < sizeof(Number); ++i) {
        *to++ = static_cast<std::byte>(static_cast<uint64_t>(number) >> (8 * i));
    }
    return to;
}

// What is left of a frame.
class Reader {
  public:
    Reader(const void *data, size_t size)
        : at_(static_cast<const std::byte *>(data)), left_(size) {}

    [[nodiscard]] bool IsAtEnd() const { return left_ == 0; }

    template <typename Number>
    bool Take(Number &number) {
        if (left_ < sizeof(Number)) {
            return false;
        }
        uint64_t value = 0;
        for (size_t i = 0; i < sizeof(Number); ++i) {
            value |= std::to_integer<uint64_t>(at_[i]) << (8 * i);
        }
        number = static_cast<Number>(value);
        Pass(sizeof(Number));
        return true;
    }

    const std::byte *TakeBytes(size_t bytes) {
        if (left_ < bytes) {
            return nullptr;
        }
        const std::byte *const begin = at_;
        Pass(bytes);
        return begin;
    }

  private:
    void Pass(size_t bytes) {
        at_ += bytes;
        left_ -= bytes;
    }

    const std::byte *at_;
    size_t left_;
};

bool IsWell(const DxrHostMessage &head) {
    return IsUnit(head.to) && (head.from.kind == 0 || IsUnit(head.from)) &&
           (head.flags & ~DXR_HOST_MESSAGE_ACK) == 0 && head.bytes <= DXR_HOST_MESSAGE_BYTES;
}

bool TakeMessage(Reader &reader, Letters &letters) {
    DxrHostMessage head{};
    head.size = sizeof(head);
    const bool isRead = reader.Take(head.kind) && reader.Take(head.from.kind) &&
                        reader.Take(head.from.number) && reader.Take(head.to.kind) &&
                        reader.Take(head.to.number) && reader.Take(head.flags) &&
                        reader.Take(head.timeoutMs) && reader.Take(head.code) &&
                        reader.Take(head.bytes) && reader.Take(head.sequence);
    const std::byte *const data = isRead && IsWell(head) ? reader.TakeBytes(head.bytes) : nullptr;
    if (data == nullptr) {
        return false;
    }
    Letters one(1);
    one.front().head = head;
    one.front().body.assign(data, data + head.bytes);
    letters.splice(letters.end(), one);
    return true;
}

bool TakeAcknowledgement(Reader &reader, std::vector<Acknowledgement> &acknowledgements) {
    Acknowledgement taken{};
    if (!reader.Take(taken.sequence) || !reader.Take(taken.result)) {
        return false;
    }
    acknowledgements.push_back(taken);
    return true;
}

}  // namespace

size_t FrameBytesOf(const Letter &letter) {
    return kHeadBytes + letter.body.size();
}

size_t FrameBytesOf(const Acknowledgement & /*acknowledgement*/) {
    return kAcknowledgementBytes;
}

FrameWriter::FrameWriter(void *to) : to_(Put(static_cast<std::byte *>(to), kMark)) {
    static_assert(sizeof(kMark) == kEmptyFrame);
}

void FrameWriter::Add(const Letter &letter) {
    const DxrHostMessage &head = letter.head;
    to_ = Put(to_, kMessageRecord);
    for (const uint32_t number :
         {head.kind, head.from.kind, head.from.number, head.to.kind, head.to.number, head.flags,
          head.timeoutMs, head.code, static_cast<uint32_t>(letter.body.size())}) {
        to_ = Put(to_, number);
    }
    to_ = Put(to_, head.sequence);
    if (!letter.body.empty()) {
        std::memcpy(to_, letter.body.data(), letter.body.size());
        to_ += letter.body.size();
    }
}

void FrameWriter::Add(const Acknowledgement &acknowledgement) {
    to_ = Put(Put(Put(to_, kAcknowledgementRecord), acknowledgement.sequence),
              acknowledgement.result);
}

bool ReadFrame(const void *data, size_t size, Letters &letters,
               std::vector<Acknowledgement> &acknowledgements) {
    Reader reader(data, size);
    uint32_t mark = 0;
    if (!reader.Take(mark) || mark != kMark) {
        return false;
    }
    do {
        uint8_t record = 0;
        const bool isTaken =
            reader.Take(record) &&
            (record == kMessageRecord ? TakeMessage(reader, letters)
                                      : record == kAcknowledgementRecord &&
                                            TakeAcknowledgement(reader, acknowledgements));
        if (!isTaken) {
            return false;
        }
    } while (!reader.IsAtEnd());
    return true;
}

}  // namespace devhost
