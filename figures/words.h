// What the figures of bitmaps work on.
#ifndef DXR_FIGURES_WORDS_H
#define DXR_FIGURES_WORDS_H

#include <algorithm>
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
template <typename Bits, typename Operation>
Run InTurn(const Bits &dst, const Bits &src, size_t words, Operation operation) {
    constexpr size_t kWords = 1024;
    constexpr size_t kMostPairs = 16;
    const size_t pairs = std::clamp<size_t>(kWords / (2 * words), 1, kMostPairs);
    return [dsts = std::vector<Bits>(pairs, dst), srcs = std::vector<Bits>(pairs, src),
            at = size_t{0}, operation](uint64_t count) mutable {
        for (uint64_t i = 0; i < count; ++i) {
            at = at + 1 < dsts.size() ? at + 1 : 0;
            operation(dsts[at], srcs[at]);
            Keep(dsts.data());
        }
    };
}

}  // namespace bench

#endif  // DXR_FIGURES_WORDS_H
