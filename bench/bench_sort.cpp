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

using Elements = std::vector<std::int32_t>;

// Elements any two of which differ by less than 2^31, enough of them that no processor learns
// their order.
Elements RandomElements(std::size_t count) {
    std::mt19937 random(20240229);
    Elements elements(count);
    for (std::int32_t &element : elements) {
        element = static_cast<std::int32_t>(random()) / 2;
    }
    return elements;
}

// Sorts one piece of `pool` after the other, each in a copy.
template <typename Sort>
Run OverPieces(const Elements &pool, std::size_t size, Sort sort) {
    return [pool, size, sort, at = std::size_t{0}](std::uint64_t count) mutable {
        Elements piece(size);
        for (std::uint64_t i = 0; i < count; ++i) {
            std::memcpy(piece.data(), pool.data() + at, size * sizeof(piece[0]));
            sort(piece.data(), size);
            Keep(piece.data());
            at = at + 2 * size <= pool.size() ? at + size : 0;
        }
    };
}

void Ours(std::int32_t *elements, std::size_t size) {
    DXR_AscendSort(elements, static_cast<std::uint32_t>(size));
}

void Peer(std::int32_t *elements, std::size_t size) {
    std::sort(elements, elements + size);
}

}  // namespace

Figure Sort(std::size_t size) {
    const Elements pool = RandomElements(std::max<std::size_t>(200'000, 2 * size));
    Elements sorted(pool.begin(), pool.begin() + static_cast<std::ptrdiff_t>(size));
    Elements expected = sorted;
    Ours(sorted.data(), size);
    Peer(expected.data(), size);
    Require(sorted == expected, "sort");
    return {"DXR_AscendSort, " + std::to_string(size) + " elements", "std::sort",
            static_cast<double>(size), OverPieces(pool, size, Ours), OverPieces(pool, size, Peer)};
}

}  // namespace bench
