#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "figures.h"

namespace bench {
namespace {

using Elements = std::vector<int32_t>;

// Elements any two of which differ by less than 2^31, enough of them that no processor learns
// their order.
Elements RandomElements(size_t count) {
    std::mt19937 random(20240229);
    Elements elements(count);
    for (int32_t &element : elements) {
        element = static_cast<int32_t>(random()) / 2;
    }
    return elements;
}

// Sorts one piece of `pool` after the other, each in a copy.
template <typename Sort>
Run OverPieces(const Elements &pool, size_t size, Sort sort) {
    return [pool, size, sort, at = size_t{0}](uint64_t count) mutable {
        Elements piece(size);
        for (uint64_t i = 0; i < count; ++i) {
            std::memcpy(piece.data(), pool.data() + at, size * sizeof(piece[0]));
            sort(piece.data(), size);
            Keep(piece.data());
            at = at + 2 * size <= pool.size() ? at + size : 0;
        }
    };
}

void Ours(int32_t *elements, size_t size) {
    DXR_AscendSort(elements, static_cast<uint32_t>(size));
}

void Peer(int32_t *elements, size_t size) {
    std::sort(elements, elements + size);
}

}  // namespace

Figure Sort(size_t size) {
    const Elements pool = RandomElements(std::max<size_t>(200'000, 2 * size));
    Elements sorted(pool.begin(), pool.begin() + static_cast<ptrdiff_t>(size));
    Elements expected = sorted;
    Ours(sorted.data(), size);
    Peer(expected.data(), size);
    Require(sorted == expected, "sort");
    return {"DXR_AscendSort, " + std::to_string(size) + " elements", "std::sort",
            static_cast<double>(size), OverPieces(pool, size, Ours), OverPieces(pool, size, Peer)};
}

}  // namespace bench
