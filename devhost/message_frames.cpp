#include "message_frames.h"

#include <algorithm>
#include <cstring>

namespace devhost {
namespace {

// Gives up what is due in a frame; what is left moves together.
FrameQueue::Given GiveUp(Frame &frame, uint64_t nowNs, uint64_t tookNs) {
    FrameQueue::Given given;
    std::byte *const data = frame.data.get();
    size_t from = kFrameHeadBytes;
    size_t to = kFrameHeadBytes;
    size_t keptEnd = kFrameHeadBytes;
    auto kept = frame.seen.begin();
    frame.dueNs = kForever;
    for (const Frame::Seen each : frame.seen) {
        while (from < each.end) {
            const Written record = LookAt(data + from);
            const uint64_t patienceNs = PatienceFor(record.flags, record.timeoutMs);
            // A board that takes what it is sent, however slowly, is there.
            const uint64_t sinceNs = patienceNs < kPatienceNs ? each.ns : std::max(each.ns, tookNs);
            if (sinceNs + patienceNs <= nowNs) {
                ++given.count;
                given.dataBytes += record.dataBytes;
            } else {
                std::memmove(data + to, data + from, record.size);
                to += record.size;
                frame.dueNs = std::min(frame.dueNs, sinceNs + patienceNs);
            }
            from += record.size;
        }
        if (to != keptEnd) {
            *kept++ = {to, each.ns};
            keptEnd = to;
        }
    }
    frame.seen.erase(kept, frame.seen.end());
    // What was not seen.
    std::memmove(data + to, data + from, frame.size - from);
    frame.size -= from - to;
    frame.count -= static_cast<uint32_t>(given.count);
    frame.dataBytes -= given.dataBytes;
    return given;
}

size_t SeenEnd(const Frame &frame) {
    return frame.seen.empty() ? kFrameHeadBytes : frame.seen.back().end;
}

}  // namespace

Frame::Frame() : data(new std::byte[kFrameBytes]), patienceNs(kForever) {
    WriteFrameHead(data.get());
}

uint64_t PatienceFor(uint32_t flags, uint32_t timeoutMs) {
    const bool isBrief = (flags & DXR_HOST_MESSAGE_ACK) != 0 && timeoutMs != 0;
    return isBrief ? std::min(kPatienceNs, timeoutMs * kNsPerMs) : kPatienceNs;
}

void FillAlone(const DxrHostMessage &message, Frames &alone) {
    if (alone.empty()) {
        alone.emplace_back();
    }
    Frame &frame = alone.front();
    WriteMessage(frame.data.get() + frame.size, message);
    frame.size += MessageBytes(message.bytes);
    frame.isClosed = true;
    frame.count = 1;
    frame.dataBytes = message.bytes;
    frame.patienceNs = PatienceFor(message.flags, message.timeoutMs);
}

void Renew(Frame &frame) {
    frame.size = kFrameHeadBytes;
    frame.isClosed = false;
    frame.count = 0;
    frame.dataBytes = 0;
    frame.seen.clear();
    frame.dueNs = kForever;
    frame.patienceNs = kForever;
}

// Where a record goes.
std::byte *FrameQueue::MakeRoom(size_t bytes, Frames &spare) {
    if (frames_.empty() || frames_.back().isClosed || kFrameBytes - frames_.back().size < bytes) {
        if (spare.empty()) {
            frames_.emplace_back();
        } else {
            frames_.splice(frames_.end(), spare, spare.begin());
        }
    }
    return frames_.back().data.get() + frames_.back().size;
}

void FrameQueue::Added(size_t bytes, uint32_t dataBytes, uint64_t patienceNs) {
    Frame &frame = frames_.back();
    frame.size += bytes;
    ++frame.count;
    frame.dataBytes += dataBytes;
    frame.patienceNs = std::min(frame.patienceNs, patienceNs);
    ++count_;
}

void FrameQueue::Add(const DxrHostMessage &message, Frames &spare) {
    const size_t bytes = MessageBytes(message.bytes);
    WriteMessage(MakeRoom(bytes, spare), message);
    Added(bytes, message.bytes, PatienceFor(message.flags, message.timeoutMs));
}

void FrameQueue::Add(const Acknowledgement &acknowledgement, Frames &spare) {
    WriteAcknowledgement(MakeRoom(kAcknowledgementBytes, spare), acknowledgement);
    Added(kAcknowledgementBytes, 0, kPatienceNs);
}

void FrameQueue::Add(Frames &alone) {
    count_ += alone.front().count;
    frames_.splice(frames_.end(), alone);
}

void FrameQueue::TakeFirst(Frames &to) {
    count_ -= frames_.front().count;
    to.splice(to.end(), frames_, frames_.begin());
    dueNs_ = frames_.empty() ? kForever : dueNs_;
}

void FrameQueue::PutBack(Frames &from) {
    count_ += from.front().count;
    dueNs_ = std::min(dueNs_, from.front().dueNs);
    frames_.splice(frames_.begin(), from);
}

void FrameQueue::TakeAll(Frames &to) {
    to.splice(to.end(), frames_);
    count_ = 0;
    dueNs_ = kForever;
}

void FrameQueue::Look(uint64_t nowNs, uint64_t tookNs, Given &given, Frames &gone) {
    if (dueNs_ <= nowNs) {
        dueNs_ = kForever;
        for (auto each = frames_.begin(); each != frames_.end();) {
            const auto next = std::next(each);
            if (each->dueNs <= nowNs) {
                const Given some = GiveUp(*each, nowNs, tookNs);
                given.count += some.count;
                given.dataBytes += some.dataBytes;
                count_ -= some.count;
            }
            if (each->count == 0) {
                gone.splice(gone.end(), frames_, each);
            } else {
                dueNs_ = std::min(dueNs_, each->dueNs);
            }
            each = next;
        }
    }
    for (auto each = frames_.rbegin(); each != frames_.rend() && SeenEnd(*each) != each->size;
         ++each) {
        each->seen.push_back({each->size, nowNs});
        each->dueNs = std::min(each->dueNs, nowNs + each->patienceNs);
        each->patienceNs = kForever;
        dueNs_ = std::min(dueNs_, each->dueNs);
    }
}

}  // namespace devhost
