// What the figures of bitmaps work on.
#ifndef DXR_BENCH_WORDS_H
#define DXR_BENCH_WORDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "harness.h"

namespace bench {

// Memory from the beginning of a cache line, so that no figure depends on where an array happens to
// lie.
template <typename T>
struct LineAllocator {
    using value_type = T;
    LineAllocator() = default;
    template <typename U>
    explicit LineAllocator(const LineAllocator<U> &) {}
    T *allocate(std::size_t count) {
        return static_cast<T *>(::operator new(count * sizeof(T), kLine));
    }
    void deallocate(T *memory, std::size_t) { ::operator delete(memory, kLine); }
    friend bool operator==(LineAllocator, LineAllocator) { return true; }
    static constexpr std::align_val_t kLine{64};
};

using Words = std::vector<std::uint32_t, LineAllocator<std::uint32_t>>;

[[nodiscard]] Words RandomWords(std::size_t size);

// What a combination starts from.
struct WordPair {
    Words dst;
    Words src;
};
[[nodiscard]] WordPair RandomPair(std::size_t size);

// Works on pairs of small bitmaps in turn, so that none waits for what the one before has stored.
template <typename Bits, typename Operation>
Run InTurn(const Bits &dst, const Bits &src, std::size_t words, Operation operation) {
    constexpr std::size_t kWords = 1024;
    const std::size_t pairs = std::max<std::size_t>(1, kWords / (2 * words));
    return [dsts = std::vector<Bits>(pairs, dst), srcs = std::vector<Bits>(pairs, src),
            at = std::size_t{0}, operation](std::uint64_t count) mutable {
        for (std::uint64_t i = 0; i < count; ++i) {
            at = at + 1 < dsts.size() ? at + 1 : 0;
            operation(dsts[at], srcs[at]);
            Keep(dsts.data());
        }
    };
}

}  // namespace bench

#endif  // DXR_BENCH_WORDS_H
