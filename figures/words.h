// What the figures of bitmaps work on.
#ifndef DXR_FIGURES_WORDS_H
#define DXR_FIGURES_WORDS_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <vector>

#include "harness.h"

namespace bench {

[[nodiscard]] std::pmr::memory_resource &DenseMemory();

// Memory from a multiple of 256 bytes on, one array close behind the other, so that no figure
// depends on where they happen to lie: small ones across two pages, or pages apart, where a
// processor takes one for the other.
template <typename T>
struct DenseAllocator {
    using value_type = T;
    DenseAllocator() = default;
    template <typename U>
    explicit DenseAllocator(const DenseAllocator<U> &) {}
    T *allocate(size_t count) {
        return static_cast<T *>(DenseMemory().allocate(count * sizeof(T), 256));
    }
    void deallocate(T *, size_t) {}  // kept until the program ends
    friend bool operator==(DenseAllocator, DenseAllocator) { return true; }
};

using Words = std::vector<uint32_t, DenseAllocator<uint32_t>>;

[[nodiscard]] Words RandomWords(size_t size);

// What a combination starts from.
struct WordPair {
    Words dst;
    Words src;
};
[[nodiscard]] WordPair RandomPair(size_t size);

// Works on pairs of small bitmaps in turn, so that none waits for what the one before has stored.
// There are as many as a power of two: which pair it is follows from the loop's own counter, and
// what is measured is the operation, not the choice of its operands.
template <typename Bits, typename Operation>
Run InTurn(const Bits &dst, const Bits &src, size_t words, Operation operation) {
    constexpr size_t kWords = 1024;
    constexpr size_t kMostPairs = 16;
    struct Pair {
        Bits dst;
        Bits src;
    };
    const size_t count = std::bit_floor(std::clamp<size_t>(kWords / (2 * words), 1, kMostPairs));
    return [pairs = std::vector<Pair>(count, {dst, src}), operation](uint64_t runs) mutable {
        Pair *const first = pairs.data();
        const size_t last = pairs.size() - 1;
        for (uint64_t i = 0; i < runs; ++i) {
            operation(first[i & last].dst, first[i & last].src);
            Keep(first);
        }
    };
}

}  // namespace bench

#endif  // DXR_FIGURES_WORDS_H
