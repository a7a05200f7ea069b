// The hidden headers of text in words and of digits. Numbers are what the C library prints.
#include "internal/digits.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "internal/characters.h"
#include "support/test_host.h"

namespace {

// Room for a piece, watched beyond what may be written.
class Room {
  public:
    Room() { std::memset(bytes_, kUntouched, sizeof(bytes_)); }

    char *Begin() { return bytes_ + kBefore; }
    // The text up to `end`, when nothing else but the surplus after it was written.
    std::string Text(const char *end) {
        const size_t length = static_cast<size_t>(end - Begin());
        EXPECT_EQ(std::string(kBefore, kUntouched), std::string(bytes_, kBefore));
        const size_t used = kBefore + length + dxr::kTextBlock;
        EXPECT_LE(used, sizeof(bytes_));
        EXPECT_EQ(std::string(sizeof(bytes_) - used, kUntouched),
                  std::string(bytes_ + used, sizeof(bytes_) - used));
        return {Begin(), length};
    }

  private:
    static constexpr char kUntouched = '\x5A';
    static constexpr size_t kBefore = 16;
    char bytes_[400];
};

constexpr char kEight[] =
    "\x01"
    "b%\xFF%\x80"
    "yz";

TEST(Characters, TheFirstIsTheLowestByte) {
    const uint64_t word = dxr::LoadCharacters(kEight);
    for (unsigned i = 0; i < 8; ++i) {
        EXPECT_EQ(static_cast<uint8_t>(kEight[i]), word >> (8 * i) & 0xFF) << i;
    }
    char stored[10] = "untouched";
    dxr::StoreCharacters(stored, word);
    EXPECT_EQ(std::string(kEight, 8) + "d", std::string(stored, 9));
    EXPECT_EQ(0xABABABABABABABABU, dxr::Eight(0xAB));
}

TEST(Characters, TheByteOfABit) {
    EXPECT_EQ(8U, dxr::ByteOfLowest(0));
    for (unsigned bit = 0; bit < 64; ++bit) {
        EXPECT_EQ(bit / 8, dxr::ByteOfLowest(1ULL << bit | 1ULL << 63)) << bit;
    }
}

// Also beside the bytes that differ from it in their highest or lowest bit alone.
TEST(Characters, TheFirstPlaceOfACharacter) {
    std::mt19937_64 random(dxrtest::Seed());
    constexpr char kOthers[] = "%%$&\xA5\xA4\x01\x80\xFF";
    for (int i = 0; i < 100000; ++i) {
        std::string text(8, '\0');
        for (char &character : text) {
            character = kOthers[random() % sizeof(kOthers)];  // a NUL too
        }
        for (const char wanted : {'%', '\0', '\xFF'}) {
            const size_t place = std::min<size_t>(text.find(wanted), 8);
            const uint64_t bit = dxr::BitAtFirst(wanted, dxr::LoadCharacters(text.data()));
            ASSERT_EQ(place, dxr::ByteOfLowest(bit)) << place;
        }
    }
}

TEST(Characters, AfterTheLastThereAreNuls) {
    const std::string text = "characters of it";
    for (size_t length = 1; length <= text.size(); ++length) {
        for (size_t left = 1; left <= length; ++left) {
            char eight[8] = {};
            text.copy(eight, 8, length - left);
            if (left < 8) {
                std::memset(eight + left, 0, 8 - left);
            }
            const char *const at = text.data() + (length - left);
            ASSERT_EQ(dxr::LoadCharacters(eight), dxr::LoadNext(text.data(), at, left))
                << length << ' ' << left;
        }
    }
}

// A text is the whole of its block: a memory checker watches what is read.
TEST(Characters, TextIsCopiedUpToACharacterOrItsEnd) {
    for (size_t length = 0; length <= 40; ++length) {
        for (size_t from = 0; from <= length; ++from) {
            for (size_t at = from; at <= length; ++at) {
                const auto text = std::make_unique<char[]>(length);
                for (size_t i = 0; i < length; ++i) {
                    text[i] = i >= at && (i - at) % 3 == 0 ? '%' : static_cast<char>('a' + i % 20);
                }
                Room room;
                const char *const begin = text.get();
                const char *const place =
                    dxr::CopyUpTo('%', room.Begin(), begin, begin + from, begin + length);
                ASSERT_EQ(begin + at, place) << length << ' ' << from;
                ASSERT_EQ(std::string(begin + from, at - from),
                          room.Text(room.Begin() + (place - begin) - from));
            }
        }
    }
}

TEST(Characters, WhatAPieceLacksIsFilled) {
    for (const size_t width : {0U, 1U, 15U, 16U, 17U, 32U, 33U, 128U}) {
        for (size_t length = 0; length <= width + 3; ++length) {
            Room room;
            const char *const end = dxr::Fill(room.Begin(), 'f', width, length);
            ASSERT_EQ(std::string(width > length ? width - length : 0, 'f'), room.Text(end));
        }
    }
}

std::string Printed(const char *format, size_t least, uint64_t number) {
    char text[300];
    std::snprintf(text, sizeof(text), format, static_cast<int>(least), number);
    return text;
}

void Expect(const char *format, const dxr::Digits &digits, uint64_t number) {
    for (const size_t least : {0U, 1U, 2U, 7U, 8U, 9U, 16U, 17U, 22U, 23U, 24U, 25U, 128U}) {
        Room room;
        const char *const end = dxr::StoreDigits(room.Begin(), digits, least);
        const std::string expected = Printed(format, least, number);
        ASSERT_EQ(expected, room.Text(end)) << format << ' ' << number << ' ' << least;
        ASSERT_EQ(expected.size(), digits.Count(least)) << format << ' ' << number << ' ' << least;
    }
}

void ExpectAll(uint64_t number) {
    Expect("%.*lu", dxr::DecimalDigits(number), number);
    Expect("%.*lo", dxr::OctalDigits(number), number);
    Expect("%.*lx", dxr::HexadecimalDigits(number, 'a'), number);
    Expect("%.*lX", dxr::HexadecimalDigits(number, 'A'), number);
}

TEST(Digits, AreWhatTheCLibraryPrints) {
    static_assert(sizeof(uint64_t) == sizeof(unsigned long));
    ExpectAll(0);
    for (unsigned bit = 0; bit < 64; ++bit) {
        for (const uint64_t more : {0U, 1U, 2U}) {
            ExpectAll((1ULL << bit) - 1 + more);
        }
    }
    uint64_t power = 1;
    for (unsigned digits = 1; digits < 20; ++digits) {
        power *= 10;
        for (const uint64_t more : {0U, 1U, 2U}) {
            ExpectAll(power - 1 + more);
        }
    }
    ExpectAll(UINT64_MAX);
    std::mt19937_64 random(dxrtest::Seed());
    for (int i = 0; i < 1000; ++i) {
        ExpectAll(random() >> random() % 64);
    }
}

// All of four decimal digits: each of their pairs, in the upper and in the lower half.
TEST(Digits, OfEveryPairOfDecimals) {
    for (uint64_t number = 0; number < 10000; ++number) {
        for (const uint64_t whole : {number, number * 10000, 12340000 + number}) {
            Room room;
            const dxr::Digits digits = dxr::DecimalDigits(whole);
            ASSERT_EQ(std::to_string(whole), room.Text(dxr::StoreDigits(room.Begin(), digits, 1)));
        }
    }
}

}  // namespace
