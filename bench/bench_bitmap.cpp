#include <algorithm>
#include <boost/dynamic_bitset.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "harness.h"

namespace bench {
namespace {

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
using Bitset = boost::dynamic_bitset<unsigned long, LineAllocator<unsigned long>>;

constexpr std::size_t kMebibyte = (1U << 20U) / sizeof(std::uint32_t);

Words RandomWords(std::size_t size) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(size));
    Words words(size);
    for (std::uint32_t &word : words) {
        word = static_cast<std::uint32_t>(random());
    }
    return words;
}

Bitset BitsetOf(const Words &words) {
    Bitset bits(words.size() * 32);
    for (std::size_t bit = 0; bit < bits.size(); ++bit) {
        bits[bit] = (words[bit / 32] >> bit % 32 & 1U) != 0;
    }
    return bits;
}

std::uint32_t Count(const Words &words) {
    return static_cast<std::uint32_t>(words.size());
}

std::string Of(const char *what, std::size_t size) {
    return what + (size == kMebibyte ? ", 1 MiB" : ", " + std::to_string(size) + " words");
}

// ---- OR, AND, XOR

// The peer's operation is a function of its own, which the compiler turns into vector code.
struct Or {
    static constexpr const char *kName = "OR";
    static constexpr auto *kOurs = DXR_OrBmp;
    [[gnu::noinline]] static void Peer(Bitset &dst, const Bitset &src) { dst |= src; }
};

struct And {
    static constexpr const char *kName = "AND";
    static constexpr auto *kOurs = DXR_AndBmp;
    [[gnu::noinline]] static void Peer(Bitset &dst, const Bitset &src) { dst &= src; }
};

struct Xor {
    static constexpr const char *kName = "XOR";
    static constexpr auto *kOurs = DXR_XorBmp;
    [[gnu::noinline]] static void Peer(Bitset &dst, const Bitset &src) { dst ^= src; }
};

// Works on pairs of small bitmaps in turn, so that none waits for what the one before has stored.
template <typename Bits, typename Operation>
Run InTurn(const Bits &dst, const Bits &src, std::size_t size, Operation operation) {
    constexpr std::size_t kWords = 1024;
    const std::size_t pairs = std::max<std::size_t>(1, kWords / (2 * size));
    return [dsts = std::vector<Bits>(pairs, dst), srcs = std::vector<Bits>(pairs, src),
            at = std::size_t{0}, operation](std::uint64_t count) mutable {
        for (std::uint64_t i = 0; i < count; ++i) {
            at = at + 1 < dsts.size() ? at + 1 : 0;
            operation(dsts[at], srcs[at]);
            Keep(dsts.data());
        }
    };
}

void Memcpy(Words &dst, const Words &src) {
    std::memcpy(dst.data(), src.data(), src.size() * sizeof(src[0]));
}

template <typename Operation>
void AddOperation(Suite &suite, std::size_t size) {
    const Words src = RandomWords(size);
    Words dst = src;
    std::reverse(dst.begin(), dst.end());
    Words ours = dst;
    Bitset peer = BitsetOf(dst);
    Operation::kOurs(ours.data(), src.data(), Count(src));
    Operation::Peer(peer, BitsetOf(src));
    Require(BitsetOf(ours) == peer, Operation::kName);

    const Run run = InTurn(dst, src, size, [](Words &d, const Words &s) {
        Operation::kOurs(d.data(), s.data(), Count(d));
    });
    const auto bytes = static_cast<double>(size * sizeof(src[0]));
    const std::string name = Of(Operation::kName, size);
    if (size == kMebibyte) {
        suite.Add({"OR, AND, XOR of 1 MiB", name, "memcpy", 1.2, 1.05, bytes, run,
                   InTurn(dst, src, size, Memcpy)});
    } else {
        suite.Add({"OR, AND, XOR", name, "boost::dynamic_bitset", 0.7, 0.45, bytes, run,
                   InTurn(BitsetOf(dst), BitsetOf(src), size, Operation::Peer)});
    }
}

// ---- Comparison and zero test

template <typename Operation>
Run OverTwo(const Words &words, Operation operation) {
    return [a = words, b = words, operation](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            Keep(operation(a, b));
        }
    };
}

std::uint32_t SameByMemcmp(const Words &a, const Words &b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) == 0 ? 1 : 0;
}

void AddComparison(Suite &suite, std::size_t size) {
    const Words words = RandomWords(size);
    const Words zeros(size);
    Words other = words;
    other.back() ^= 1;
    const auto same = [](const Words &a, const Words &b) {
        return DXR_IsSameBitMap(a.data(), b.data(), Count(a));
    };
    const auto isZero = [](const Words &a, const Words &) {
        return DXR_IsZeroBmp(a.data(), Count(a));
    };
    Require(same(words, Words(words)) == 1 && same(words, other) == 0, "comparison");
    Require(isZero(zeros, zeros) == 1 && isZero(words, zeros) == 0, "zero test");
    const auto bytes = static_cast<double>(size * sizeof(words[0]));
    suite.Add({"compare, zero test", Of("comparison", size), "memcmp", 1.2, 1.0, bytes,
               OverTwo(words, same), OverTwo(words, SameByMemcmp)});
    suite.Add({"compare, zero test", Of("zero test", size), "memcmp with zeros", 1.2, 1.0, bytes,
               OverTwo(zeros, isZero), OverTwo(zeros, SameByMemcmp)});
}

// ---- Set bits

void AddCount(Suite &suite, std::size_t size) {
    const Words words = RandomWords(size);
    const Bitset bits = BitsetOf(words);
    Require(DXR_CountValidBitOfArray(words.data(), Count(words)) == bits.count(), "set bits");
    suite.Add({"count of set bits", Of("set bits", size), "boost::dynamic_bitset", 0.25, 0.07,
               static_cast<double>(size * sizeof(words[0])),
               [words](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Keep(DXR_CountValidBitOfArray(words.data(), Count(words)));
                   }
               },
               [bits](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Keep(bits.count());
                   }
               }});
}

// ---- Bit fields

struct Field {
    std::uint32_t startBit;
    std::uint32_t width;
};

constexpr std::size_t kFields = 64;
constexpr std::uint32_t kFieldWords = 16;

// Fields as in the registers of a chip, one in three over two words.
std::vector<Field> RandomFields() {
    std::mt19937 random(4);
    std::vector<Field> fields(kFields);
    for (Field &field : fields) {
        field.width = static_cast<std::uint32_t>(random() % 24 + 1);
        field.startBit = static_cast<std::uint32_t>(random() % (kFieldWords * 32 - field.width));
    }
    return fields;
}

inline std::uint32_t MaskOf(std::uint32_t width) {
    return 0xFFFFFFFFU >> (32 - width);
}

inline std::uint32_t ReadInline(const std::uint32_t *words, Field field) {
    const std::uint32_t word = field.startBit / 32;
    const std::uint32_t shift = field.startBit % 32;
    std::uint32_t bits = words[word] >> shift;
    if (shift + field.width > 32) {
        bits |= words[word + 1] << (32 - shift);
    }
    return bits & MaskOf(field.width);
}

inline void WriteInline(std::uint32_t *words, Field field, std::uint32_t value) {
    const std::uint32_t word = field.startBit / 32;
    const std::uint32_t shift = field.startBit % 32;
    const std::uint32_t mask = MaskOf(field.width);
    value &= mask;
    words[word] = (words[word] & ~(mask << shift)) | value << shift;
    if (shift + field.width > 32) {
        words[word + 1] = (words[word + 1] & ~(mask >> (32 - shift))) | value >> (32 - shift);
    }
}

template <typename Operation>
Run OverFields(Operation operation) {
    return [words = RandomWords(kFieldWords), fields = RandomFields(),
            operation](std::uint64_t count) mutable {
        for (std::uint64_t i = 0; i < count; ++i) {
            operation(words.data(), fields[i % kFields], static_cast<std::uint32_t>(i));
        }
    };
}

void AddFields(Suite &suite) {
    Words ours = RandomWords(kFieldWords);
    Words peer = ours;
    for (const Field field : RandomFields()) {
        DXR_SetBitField(ours.data(), kFieldWords, field.startBit, field.startBit, field.width);
        WriteInline(peer.data(), field, field.startBit);
        Require(ours == peer, "write of a bit field");
        Require(DXR_GetBitField(ours.data(), kFieldWords, field.startBit, field.width) ==
                    ReadInline(peer.data(), field),
                "read of a bit field");
    }
    suite.Add({"bit field read / write", "bit field read", "the same shifts inlined", 2.4, 2.0, 0,
               OverFields([](std::uint32_t *words, Field field, std::uint32_t) {
                   Keep(DXR_GetBitField(words, kFieldWords, field.startBit, field.width));
               }),
               OverFields([](std::uint32_t *words, Field field, std::uint32_t) {
                   Keep(ReadInline(words, field));
               })});
    suite.Add({"bit field read / write", "bit field write", "the same shifts inlined", 2.4, 2.0, 0,
               OverFields([](std::uint32_t *words, Field field, std::uint32_t value) {
                   DXR_SetBitField(words, kFieldWords, value, field.startBit, field.width);
                   Keep(words);
               }),
               OverFields([](std::uint32_t *words, Field field, std::uint32_t value) {
                   WriteInline(words, field, value);
                   Keep(words);
               })});
}

}  // namespace

void AddBitmap(Suite &suite) {
    for (const std::size_t size : {std::size_t{64}, std::size_t{1024}, kMebibyte}) {
        AddOperation<Or>(suite, size);
        AddOperation<And>(suite, size);
        AddOperation<Xor>(suite, size);
        AddComparison(suite, size);
        if (size != kMebibyte) {
            AddCount(suite, size);
        }
    }
    AddFields(suite);
}

}  // namespace bench
