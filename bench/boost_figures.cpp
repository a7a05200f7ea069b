#include <boost/crc.hpp>
#include <boost/dynamic_bitset.hpp>
#include <cstddef>
#include <cstdint>

#include "dxr_api.h"
#include "figures.h"
#include "package_figures.h"
#include "words.h"

namespace bench {
namespace {

// ---- CRC-8

using PeerCrc = boost::crc_optimal<8, 0x31, 0, 0, false, false>;

[[gnu::noinline]] uint32_t CrcOf(const Words &words, size_t bytes) {
    PeerCrc crc;
    crc.process_bytes(words.data(), bytes);
    return crc.checksum();
}

// ---- Bitmaps

constexpr const char *kBitsetName = "boost::dynamic_bitset";

using Bitset = boost::dynamic_bitset<unsigned long, DenseAllocator<unsigned long>>;

Bitset BitsetOf(const Words &words) {
    Bitset bits(words.size() * 32);
    for (size_t bit = 0; bit < bits.size(); ++bit) {
        bits[bit] = (words[bit / 32] >> bit % 32 & 1U) != 0;
    }
    return bits;
}

// The peer's operation is a function of its own, which the compiler turns into vector code.
[[gnu::noinline]] void Or(Bitset &dst, const Bitset &src) {
    dst |= src;
}
[[gnu::noinline]] void And(Bitset &dst, const Bitset &src) {
    dst &= src;
}
[[gnu::noinline]] void Xor(Bitset &dst, const Bitset &src) {
    dst ^= src;
}

struct Pair {
    void (*ours)(uint32_t *, const uint32_t *, uint32_t);
    void (*peer)(Bitset &, const Bitset &);
};

Pair PairOf(Operation operation) {
    switch (operation) {
        case Operation::kOr:
            return {DXR_OrBmp, Or};
        case Operation::kAnd:
            return {DXR_AndBmp, And};
        default:
            return {DXR_XorBmp, Xor};
    }
}

struct BitsetPair {
    Bitset dst;
    Bitset src;
};

// Bitsets of so many words, for which both contenders give the same.
BitsetPair CheckedPair(Operation operation, size_t words) {
    auto [dst, src] = RandomPair(words);
    const BitsetPair pair = {BitsetOf(dst), BitsetOf(src)};
    const auto [ours, peer] = PairOf(operation);
    Bitset peerResult = pair.dst;
    peer(peerResult, pair.src);
    ours(dst.data(), src.data(), static_cast<uint32_t>(words));
    Require(BitsetOf(dst) == peerResult, "combination of Boost");
    return pair;
}

// Each operation is inlined into a loop of its own.
Run InlineInTurn(Operation operation, const BitsetPair &pair, size_t words) {
    const auto &[dst, src] = pair;
    switch (operation) {
        case Operation::kOr:
            return InTurn(dst, src, words, [](Bitset &d, const Bitset &s) { d |= s; });
        case Operation::kAnd:
            return InTurn(dst, src, words, [](Bitset &d, const Bitset &s) { d &= s; });
        default:
            return InTurn(dst, src, words, [](Bitset &d, const Bitset &s) { d ^= s; });
    }
}

}  // namespace

Figure Crc8BesideBoost(size_t bytes) {
    const Words words = RandomWords(bytes / sizeof(Words::value_type) + 1);
    const auto *const data = reinterpret_cast<const uint8_t *>(words.data());
    Require(DXR_CalculateCrc8(data, bytes) == CrcOf(words, bytes), "CRC-8 of Boost");
    return Beside(Crc8(bytes), "boost::crc_optimal", [words, bytes](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Keep(CrcOf(words, bytes));
        }
    });
}

Figure CombinationBesideBoost(Operation operation, size_t words) {
    const auto [dst, src] = CheckedPair(operation, words);
    return Beside(Combination(operation, words), kBitsetName,
                  InTurn(dst, src, words, PairOf(operation).peer));
}

Figure CombinationBesideInlineBoost(Operation operation, size_t words) {
    return Beside(Combination(operation, words), "boost::dynamic_bitset inlined",
                  InlineInTurn(operation, CheckedPair(operation, words), words));
}

Figure ZeroTestBesideBoost(size_t words) {
    const Bitset bits(words * 32);
    Bitset other = bits;
    other.set(other.size() - 1);
    Require(bits.none() && !other.none(), "zero test of Boost");
    return Beside(ZeroTest(words), "boost::dynamic_bitset::none", [bits](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Keep(bits.none());
        }
    });
}

Figure SetBitsBesideBoost(size_t words) {
    const Words array = RandomWords(words);
    const Bitset bits = BitsetOf(array);
    Require(DXR_CountValidBitOfArray(array.data(), static_cast<uint32_t>(words)) == bits.count(),
            "set bits of Boost");
    return Beside(SetBits(words), kBitsetName, [bits](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Keep(bits.count());
        }
    });
}

}  // namespace bench
