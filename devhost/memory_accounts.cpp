#include "memory_accounts.h"

#include <algorithm>

namespace devhost {

Part &Account::PartOf(const void *owner, ThreadRecord &thread) {
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(parts_.begin(), parts_.end(),
                                    [owner](const auto &part) { return part->cache == owner; });
    if (found != parts_.end()) {
        return **found;
    }
    parts_.push_back(std::make_unique<Part>(*this, owner, thread));
    // Only the first one opens without having shown that it is left alone.
    parts_.back()->patience_ = parts_.size() == 1 ? 0 : Part::kLeastPatience;
    return *parts_.back();
}

void Account::Add(Part &own, uint32_t bytes) {
    TakeWhatIsLeft(own);
    if (values_.blocks + 1 > values_.blocksPeak || values_.bytes + bytes > values_.bytesPeak) {
        CloseAllBut(&own);
    }
    ++values_.blocks;
    values_.bytes += bytes;
    values_.blocksPeak = std::max(values_.blocksPeak, values_.blocks);
    values_.bytesPeak = std::max(values_.bytesPeak, values_.bytes);
    OpenPerhaps(own);
}

void Account::Prepare(Part &part, const void *by) {
    if (part.cache == by) {
        return;  // its thread is here
    }
    if (part.IsOpen()) {
        part.openFor_.store(nullptr, std::memory_order_relaxed);
        FenceAllThreads();
        AwaitClosed(part);
    }
    part.steps_ = 0;
}

void Account::Subtract(Part &part, const void *by, uint32_t bytes) {
    --values_.blocks;
    values_.bytes -= bytes;
    if (part.cache == by && !part.IsOpen()) {
        OpenPerhaps(part);
    }
}

void Account::CloseAllBut(const Part *open) {
    bool isAnyClosing = false;
    for (const auto &part : parts_) {
        part->isClosing_ = part.get() != open && part->IsOpen();
        if (part->isClosing_) {
            part->openFor_.store(nullptr, std::memory_order_relaxed);
            isAnyClosing = true;
        }
    }
    if (!isAnyClosing) {
        return;
    }
    FenceAllThreads();
    for (const auto &part : parts_) {
        if (part->isClosing_) {
            AwaitClosed(*part);
        }
    }
}

void Account::AwaitClosed(Part &part) {
    AwaitQuickCall(part.thread_, host_);
    TakeWhatIsLeft(part);
    part.steps_ = 0;
    part.patience_ = std::clamp(part.patience_ * 2, Part::kLeastPatience, Part::kMostPatience);
}

void Account::TakeWhatIsLeft(Part &part) {
    values_.blocks -= part.BlocksLeft();
    values_.bytes -= part.BytesLeft();
    part.SetLeft(0, 0);
}

// Leaves a part what there is up to the highest values, or half of it when there are others.
void Account::OpenPerhaps(Part &own) {
    if (!g_isFenceRemote.load(std::memory_order_relaxed) ||
        staysClosed_.load(std::memory_order_relaxed)) {
        return;
    }
    const bool isAlone = parts_.size() == 1;
    if (!own.IsOpen() && ++own.steps_ < own.patience_) {
        return;
    }
    const uint64_t share = isAlone ? 1 : 2;
    const uint64_t blocks =
        std::min((values_.blocksPeak - values_.blocks) / share, Part::kMostBlocksLeft);
    const uint64_t bytes =
        std::min((values_.bytesPeak - values_.bytes) / share, Part::kMostBytesLeft);
    own.SetLeft(blocks, bytes);
    values_.blocks += blocks;
    values_.bytes += bytes;
    own.openFor_.store(own.cache, std::memory_order_relaxed);
}

bool Account::Pause() {
    bool isAnyOpen = false;
    for (const auto &part : parts_) {
        part->isPaused_ = part->IsOpen();
        if (part->isPaused_) {
            part->openFor_.store(nullptr, std::memory_order_relaxed);
            isAnyOpen = true;
        }
    }
    return isAnyOpen;
}

void Account::AwaitPause() {
    for (const auto &part : parts_) {
        if (part->isPaused_) {
            AwaitQuickCall(part->thread_, host_);
        }
    }
}

void Account::Resume() {
    for (const auto &part : parts_) {
        if (part->isPaused_) {
            part->openFor_.store(part->cache, std::memory_order_release);
        }
    }
}

Account::Values Account::ValuesInPause() const {
    Values values = values_;
    for (const auto &part : parts_) {
        values.blocks -= part->BlocksLeft();
        values.bytes -= part->BytesLeft();
    }
    return values;
}

}  // namespace devhost
