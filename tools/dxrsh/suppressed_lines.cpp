#include "suppressed_lines.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace dxrsh {
namespace {

constexpr size_t kStep = 2 * sizeof(uint64_t);

// Both halves of the product, so that every bit of a step reaches every bit of the sum.
uint64_t HashStep(uint64_t sum, const char *from) {
    __extension__ using Product = unsigned __int128;
    std::array<uint64_t, 2> words;
    std::memcpy(words.data(), from, kStep);
    const Product product =
        Product{sum ^ words[0] ^ 0x9E3779B97F4A7C15} * (words[1] ^ 0xC2B2AE3D27D4EB4F);
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64U);
}

}  // namespace

uint64_t WideHashOf(std::string_view text) {
    uint64_t sum = text.size();
    if (text.size() < kStep) {
        std::array<char, kStep> padded{};
        text.copy(padded.data(), text.size());
        sum = HashStep(sum, padded.data());
    } else {
        const char *const last = text.data() + text.size() - kStep;
        for (const char *from = text.data(); from < last; from += kStep) {
            sum = HashStep(sum, from);
        }
        sum = HashStep(sum, last);
    }
    return sum;
}

SuppressedLines::Entry &SuppressedLines::Add(std::string_view key, std::string_view text,
                                             uint64_t wideHash) {
    if (IsLatest(key)) {
        ++entries_[last_].count_;
        return entries_[last_];
    }
    if (2 * entries_.size() >= slots_.size()) {
        Grow();
    }
    const uint32_t hash = ShortHash(wideHash);
    Slot &slot = SlotOf(key, hash);
    if (slot.entry == 0) {
        const std::string_view kept = Keep(text);
        entries_.push_back(Entry(key == text ? kept : Keep(key), kept, wideHash));
        slot = {hash, static_cast<uint32_t>(entries_.size())};
    }
    last_ = slot.entry - 1;
    ++entries_[last_].count_;
    return entries_[last_];
}

std::vector<SuppressedLine> SuppressedLines::Top(size_t count) const {
    std::vector<const Entry *> ranked;
    ranked.reserve(entries_.size());
    for (const Entry &entry : entries_) {
        ranked.push_back(&entry);
    }
    const auto moreFrequent = [](const Entry *a, const Entry *b) {
        return a->count_ != b->count_ ? a->count_ > b->count_ : a < b;
    };
    const size_t kept = std::min(count, ranked.size());
    std::partial_sort(ranked.begin(), ranked.begin() + static_cast<ptrdiff_t>(kept), ranked.end(),
                      moreFrequent);
    std::vector<SuppressedLine> top;
    for (size_t i = 0; i < kept; ++i) {
        top.push_back(ranked[i]->Line());
    }
    return top;
}

SuppressedLines::Slot &SuppressedLines::SlotOf(std::string_view key, uint32_t hash) {
    for (size_t at = hash;; ++at) {
        Slot &slot = slots_[at & (slots_.size() - 1)];
        if (slot.entry == 0 || (slot.hash == hash && entries_[slot.entry - 1].Key() == key)) {
            return slot;
        }
    }
}

void SuppressedLines::Grow() {
    std::vector<Slot> grown(2 * slots_.size());
    for (const Slot &slot : slots_) {
        if (slot.entry != 0) {
            size_t at = slot.hash;
            while (grown[at & (grown.size() - 1)].entry != 0) {
                ++at;
            }
            grown[at & (grown.size() - 1)] = slot;
        }
    }
    slots_ = std::move(grown);
}

std::string_view SuppressedLines::Keep(std::string_view text) {
    auto *const kept = static_cast<char *>(texts_.allocate(text.size(), 1));
    text.copy(kept, text.size());
    return {kept, text.size()};
}

}  // namespace dxrsh
