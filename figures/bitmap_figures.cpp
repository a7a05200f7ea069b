#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "figures.h"
#include "words.h"

namespace bench {
namespace {

uint32_t Count(const Words &words) {
    return static_cast<uint32_t>(words.size());
}

double Bytes(size_t words) {
    return static_cast<double>(words * sizeof(Words::value_type));
}

std::string Of(const char *function, size_t words) {
    constexpr size_t kMebibyte = (1U << 20U) / sizeof(Words::value_type);
    return std::string(function) + (words == kMebibyte ? ", 1 MiB"
                                    : words == 1       ? ", 1 word"
                                                       : ", " + std::to_string(words) + " words");
}

// ---- OR, AND, XOR

[[gnu::noinline]] void OrLoop(Words &dst, const Words &src) {
    for (size_t i = 0; i < dst.size(); ++i) {
        dst[i] |= src[i];
    }
}

[[gnu::noinline]] void AndLoop(Words &dst, const Words &src) {
    for (size_t i = 0; i < dst.size(); ++i) {
        dst[i] &= src[i];
    }
}

[[gnu::noinline]] void XorLoop(Words &dst, const Words &src) {
    for (size_t i = 0; i < dst.size(); ++i) {
        dst[i] ^= src[i];
    }
}

template <auto Ours, auto Loop>
Figure CombinationOf(const char *name, size_t words) {
    const auto [dst, src] = RandomPair(words);
    const auto ours = [](Words &d, const Words &s) { Ours(d.data(), s.data(), Count(d)); };
    Words result = dst;
    Words expected = dst;
    ours(result, src);
    Loop(expected, src);
    Require(result == expected, name);
    return {Of(name, words), "loop over the words", Bytes(words), InTurn(dst, src, words, ours),
            InTurn(dst, src, words, Loop)};
}

// ---- Comparison and zero test

template <auto Operation>
Run OverTwo(const Words &words) {
    return [a = words, b = words](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Keep(Operation(a, b));
        }
    };
}

uint32_t Same(const Words &a, const Words &b) {
    return DXR_IsSameBitMap(a.data(), b.data(), Count(a));
}

uint32_t IsZero(const Words &a, const Words &) {
    return DXR_IsZeroBmp(a.data(), Count(a));
}

inline uint32_t MemcmpInPlace(const Words &a, const Words &b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) == 0 ? 1 : 0;
}

[[gnu::noinline]] uint32_t SameByMemcmp(const Words &a, const Words &b) {
    return MemcmpInPlace(a, b);
}

// ---- Set bits

[[gnu::noinline]] uint32_t CountLoop(const Words &words) {
    uint32_t bits = 0;
    for (const uint32_t word : words) {
        bits += static_cast<uint32_t>(std::popcount(word));
    }
    return bits;
}

// ---- Bit fields

struct Field {
    uint32_t startBit;
    uint32_t width;
};

constexpr size_t kFields = 64;
constexpr uint32_t kFieldWords = 16;

// Fields as in the registers of a chip, one in three over two words.
std::vector<Field> RandomFields() {
    std::mt19937 random(4);
    std::vector<Field> fields(kFields);
    for (Field &field : fields) {
        field.width = static_cast<uint32_t>(random() % 24 + 1);
        field.startBit = static_cast<uint32_t>(random() % (kFieldWords * 32 - field.width));
    }
    return fields;
}

inline uint32_t MaskOf(uint32_t width) {
    return 0xFFFFFFFFU >> (32 - width);
}

inline uint32_t ReadInline(const uint32_t *words, Field field) {
    const uint32_t word = field.startBit / 32;
    const uint32_t shift = field.startBit % 32;
    uint32_t bits = words[word] >> shift;
    if (shift + field.width > 32) {
        bits |= words[word + 1] << (32 - shift);
    }
    return bits & MaskOf(field.width);
}

inline void WriteInline(uint32_t *words, Field field, uint32_t value) {
    const uint32_t word = field.startBit / 32;
    const uint32_t shift = field.startBit % 32;
    const uint32_t mask = MaskOf(field.width);
    value &= mask;
    words[word] = (words[word] & ~(mask << shift)) | value << shift;
    if (shift + field.width > 32) {
        words[word + 1] = (words[word + 1] & ~(mask >> (32 - shift))) | value >> (32 - shift);
    }
}

template <typename Operation>
Run OverFields(Operation operation) {
    return [words = RandomWords(kFieldWords), fields = RandomFields(),
            operation](uint64_t count) mutable {
        for (uint64_t i = 0; i < count; ++i) {
            operation(words.data(), fields[i % kFields], static_cast<uint32_t>(i));
        }
    };
}

// The fields are read back as they were written.
void CheckFields() {
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
}

constexpr const char *kInlineName = "the same shifts inlined";

}  // namespace

std::pmr::memory_resource &DenseMemory() {
    constexpr size_t kSize = size_t{64} << 20U;
    static std::pmr::monotonic_buffer_resource memory(kSize);
    return memory;
}

Words RandomWords(size_t size) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(size));
    Words words(size);
    for (uint32_t &word : words) {
        word = static_cast<uint32_t>(random());
    }
    return words;
}

WordPair RandomPair(size_t size) {
    Words src = RandomWords(size);
    Words dst = src;
    std::reverse(dst.begin(), dst.end());
    return {dst, src};
}

Figure Combination(Operation operation, size_t words) {
    switch (operation) {
        case Operation::kOr:
            return CombinationOf<DXR_OrBmp, OrLoop>("DXR_OrBmp", words);
        case Operation::kAnd:
            return CombinationOf<DXR_AndBmp, AndLoop>("DXR_AndBmp", words);
        default:
            return CombinationOf<DXR_XorBmp, XorLoop>("DXR_XorBmp", words);
    }
}

Figure CombinationBesideCopy(Operation operation, size_t words) {
    const auto [dst, src] = RandomPair(words);
    return Beside(Combination(operation, words), "memcpy",
                  InTurn(dst, src, words, [](Words &d, const Words &s) {
                      std::memcpy(d.data(), s.data(), s.size() * sizeof(s[0]));
                  }));
}

Figure SetBits(size_t words) {
    const Words array = RandomWords(words);
    Require(DXR_CountValidBitOfArray(array.data(), Count(array)) == CountLoop(array), "set bits");
    return {Of("DXR_CountValidBitOfArray", words), "loop over the words", Bytes(words),
            [array](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    Keep(DXR_CountValidBitOfArray(array.data(), Count(array)));
                }
            },
            [array](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    Keep(CountLoop(array));
                }
            }};
}

Figure SmallComparison(size_t words) {
    return Beside(Comparison(words), "memcmp in place", OverTwo<MemcmpInPlace>(RandomWords(words)));
}

Figure Comparison(size_t words) {
    const Words array = RandomWords(words);
    Words other = array;
    Require(Same(array, other) == 1, "comparison of the same");
    other.back() ^= 1;
    Require(Same(array, other) == 0, "comparison of different ones");
    return {Of("DXR_IsSameBitMap", words), "memcmp", Bytes(words), OverTwo<Same>(array),
            OverTwo<SameByMemcmp>(array)};
}

Figure ZeroTest(size_t words) {
    const Words zeros(words);
    Words other = zeros;
    other.back() = 1;
    Require(IsZero(zeros, zeros) == 1 && IsZero(other, zeros) == 0, "zero test");
    return {Of("DXR_IsZeroBmp", words), "memcmp with zeros", Bytes(words), OverTwo<IsZero>(zeros),
            OverTwo<SameByMemcmp>(zeros)};
}

Figure FieldRead() {
    CheckFields();
    return {
        "DXR_GetBitField", kInlineName, 0, OverFields([](uint32_t *words, Field field, uint32_t) {
            Keep(DXR_GetBitField(words, kFieldWords, field.startBit, field.width));
        }),
        OverFields([](uint32_t *words, Field field, uint32_t) { Keep(ReadInline(words, field)); })};
}

Figure FieldWrite() {
    CheckFields();
    return {"DXR_SetBitField", kInlineName, 0,
            OverFields([](uint32_t *words, Field field, uint32_t value) {
                DXR_SetBitField(words, kFieldWords, value, field.startBit, field.width);
                Keep(words);
            }),
            OverFields([](uint32_t *words, Field field, uint32_t value) {
                WriteInline(words, field, value);
                Keep(words);
            })};
}

}  // namespace bench
