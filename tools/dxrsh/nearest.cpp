#include "nearest.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace dxrsh {
namespace {

size_t Distance(const std::string &a, const std::string &b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t before = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = before + (a[i] == b[j] ? 0 : 1);
            before = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

}  // namespace

std::string Nearest(const std::string &word, const std::vector<std::string> &known) {
    constexpr size_t kLongest = 100;  // nobody types a longer one
    if (word.size() > kLongest) {
        return {};
    }
    // What all begin with says nothing.
    size_t common = known.empty() ? 0 : known[0].size();
    for (const std::string &one : known) {
        while (one.compare(0, common, known[0], 0, common) != 0) {
            --common;
        }
    }
    const size_t own = word.size() - std::min(common, word.size());
    std::string nearest;
    size_t least = std::max<size_t>(1, own / 2) + 1;
    for (const std::string &one : known) {
        const bool begins = own > 1 && one.starts_with(word);
        const size_t distance = begins ? 1 : Distance(word, one);
        if (distance < least) {
            least = distance;
            nearest = one;
        }
    }
    return nearest;
}

std::string Advice(const std::string &word, const std::vector<std::string> &known,
                   const std::string &otherwise) {
    const std::string nearest = Nearest(word, known);
    return nearest.empty() ? otherwise : fmt::format("did you mean '{}'?", nearest);
}

}  // namespace dxrsh
