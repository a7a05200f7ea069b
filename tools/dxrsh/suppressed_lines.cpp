#include "suppressed_lines.h"

#include <algorithm>
#include <cstddef>

namespace dxrsh {

void SuppressedLines::Add(std::string_view key, std::string_view text) {
    const auto known = entries_.find(key);
    if (known != entries_.end()) {
        ++known->second.count;
        return;
    }
    entries_.emplace(key, Entry{std::string(text), 1, entries_.size()});
}

std::vector<SuppressedLine> SuppressedLines::Top(size_t count) const {
    std::vector<const Entry *> ranked;
    ranked.reserve(entries_.size());
    for (const auto &[key, entry] : entries_) {
        ranked.push_back(&entry);
    }
    const auto moreFrequent = [](const Entry *a, const Entry *b) {
        return a->count != b->count ? a->count > b->count : a->order < b->order;
    };
    const size_t kept = std::min(count, ranked.size());
    std::partial_sort(ranked.begin(), ranked.begin() + static_cast<ptrdiff_t>(kept), ranked.end(),
                      moreFrequent);
    std::vector<SuppressedLine> top;
    for (size_t i = 0; i < kept; ++i) {
        top.push_back({ranked[i]->text, ranked[i]->count});
    }
    return top;
}

}  // namespace dxrsh
