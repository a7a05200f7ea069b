// The hidden source is compiled into this test. What is right is what the C library prints.
#include "internal/plain_format.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "internal/bounds_checked.h"
#include "support/sanitizers.h"
#include "support/test_host.h"

// Formats are made at run time here.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-truncation"

namespace {

using dxrtest::GuardedBuffer;

int Plain(dxr::PlainRoom &room, const char *format, ...) {
    dxr::Arguments args;
    va_start(args.list, format);
    const int length = dxr::GatherPlain(room, format, args);
    va_end(args.list);
    return length;
}

dxr::FormattedLine Line(dxr::PlainRoom &room, size_t size, const char *format, ...) {
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    const dxr::FormattedLine line = dxr::FormatLine(room, size, format, args, again);
    va_end(again);
    va_end(args.list);
    return line;
}

constexpr size_t kRoom = 2048;

enum class Must { kExpand, kMayHandOver, kHandOver };

// At one size: the text, what is stored and every byte of the buffer are the C library's.
template <typename... Args>
void CompareAt(size_t size, Must must, const char *format, Args... args) {
    static char expected[kRoom + 64];
    static char actual[kRoom + 64];
    ASSERT_LE(size, kRoom);
    const int length = std::snprintf(expected, size, format, args...);
    // Up to some bytes behind the text, or behind the buffer where that ends before.
    const size_t watched = std::min(size, static_cast<size_t>(length < 0 ? 0 : length)) + 40;
    std::memset(expected, GuardedBuffer::kFill, watched);
    std::memset(actual, GuardedBuffer::kFill, watched);
    std::snprintf(expected, size, format, args...);
    static dxr::PlainRoom room;
    if (size != 0) {
        const int plain = Plain(room, format, args...);
        if (plain != dxr::kNotPlain) {
            ASSERT_NE(Must::kHandOver, must) << format;
            ASSERT_EQ(length, plain) << format;
            ASSERT_EQ(0, std::memcmp(expected, room, std::strlen(expected)))
                << format << "\n[" << expected << "]\n[" << room << "]";
        } else {
            ASSERT_NE(Must::kExpand, must) << format;
        }
    }
    const int stored = dxr::snprintf_truncated_s(actual, size, format, args...);
    if (size != 0 && size <= sizeof(room)) {
        const dxr::FormattedLine line = Line(room, size, format, args...);
        ASSERT_EQ(stored, line.stored) << format << " size " << size;
        ASSERT_EQ(std::strlen(actual), line.length) << format << " size " << size;
        ASSERT_EQ(0, std::memcmp(actual, room, static_cast<size_t>(std::max(stored, 0)) + 1))
            << format << " size " << size << "\n[" << actual << "]\n[" << room << "]";
    }
    if (size == 0 || length < 0) {
        ASSERT_EQ(-1, stored) << format;
    } else {
        ASSERT_EQ(std::min(length, static_cast<int>(size) - 1), stored) << format;
        ASSERT_EQ(0, std::memcmp(expected, actual, watched)) << format << " size " << size;
    }
}

template <typename... Args>
void Compare(Must must, const char *format, Args... args) {
    CompareAt(kRoom, must, format, args...);
}

template <typename... Args>
void CompareAtEverySize(Must must, const char *format, Args... args) {
    const int length = std::snprintf(nullptr, 0, format, args...);
    for (size_t size = 0; size <= static_cast<size_t>(length) + 2; ++size) {
        CompareAt(size, must, format, args...);
    }
}

constexpr char kFlagCharacters[] = "-0+# ";

std::string Flags(unsigned set) {
    std::string flags;
    for (unsigned i = 0; i < 5; ++i) {
        if ((set >> i & 1) != 0) {
            flags += kFlagCharacters[i];
        }
    }
    return flags;
}

// A width or a precision: its text, and the argument if that is a star.
struct Number {
    const char *text;
    bool isStar;
    int value;
};

constexpr Number kWidths[] = {{"", false, 0},  {"1", false, 0}, {"4", false, 0},  {"20", false, 0},
                              {"*", true, 11}, {"*", true, 0},  {"*", true, -11}, {"8", false, 0}};
constexpr Number kPrecisions[] = {{"", false, 0},   {".", false, 0},   {".0", false, 0},
                                  {".3", false, 0}, {".20", false, 0}, {".*", true, 7},
                                  {".*", true, 0},  {".*", true, -7}};

// Every field before one conversion, with an argument.
template <typename T>
void CompareFields(const std::string &conversion, T argument,
                   Must must(unsigned flags, bool precise)) {
    for (unsigned set = 0; set < 32; ++set) {
        for (const Number &width : kWidths) {
            for (const Number &precision : kPrecisions) {
                const std::string format =
                    "<%" + Flags(set) + width.text + precision.text + conversion + ">";
                const char *const f = format.c_str();
                const Must expected = must(set, precision.text[0] != '\0');
                const size_t size = set % 3 == 0 ? kRoom : 1 + (set * 7 + conversion.size()) % 24;
                if (width.isStar && precision.isStar) {
                    CompareAt(size, expected, f, width.value, precision.value, argument);
                } else if (width.isStar) {
                    CompareAt(size, expected, f, width.value, argument);
                } else if (precision.isStar) {
                    CompareAt(size, expected, f, precision.value, argument);
                } else {
                    CompareAt(size, expected, f, argument);
                }
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

Must Always(unsigned, bool) {
    return Must::kExpand;
}
Must OnlyLeft(unsigned flags, bool) {
    return (flags & ~1U) == 0 ? Must::kExpand : Must::kMayHandOver;
}
Must OnlyLeftAndVague(unsigned flags, bool precise) {
    return precise ? Must::kMayHandOver : OnlyLeft(flags, precise);
}

Must AlwaysButOctalMarks(unsigned flags, bool) {
    return (flags & 8U) == 0 ? Must::kExpand : Must::kMayHandOver;
}
Must Vague(unsigned, bool precise) {
    return precise ? Must::kMayHandOver : Must::kExpand;
}
Must Never(unsigned, bool) {
    return Must::kMayHandOver;
}

template <typename T>
void CompareIntegers(const std::string &modifier) {
    constexpr T kMost = static_cast<T>(static_cast<uint64_t>(-1) >> (65 - 8 * sizeof(T)));
    std::vector<T> numbers = {0,     1,        -1,        7,     8,
                              9,     10,       99,        100,   127,
                              128,   255,      256,       32767, -32768,
                              65535, 99999999, 100000000, kMost, static_cast<T>(-kMost - 1)};
    std::mt19937_64 random(dxrtest::Seed());
    numbers.push_back(static_cast<T>(random()));
    if constexpr (sizeof(T) == 8) {
        for (const uint64_t number :
             std::initializer_list<uint64_t>{4294967295U, 4294967296U, 9999999999999999U,
                                             10000000000000000U, 10000000000000000000U, 1U << 24}) {
            numbers.push_back(static_cast<T>(number));
        }
    }
    for (const char conversion : {'d', 'i', 'u', 'x', 'X', 'o'}) {
        for (const T number : numbers) {
            // The number 0 with a precision of 0 has no digits.
            CompareFields(modifier + conversion, number,
                          conversion == 'o' ? ((number & 0xFF) == 0 ? Never : AlwaysButOctalMarks)
                          : (number & 0xFF) == 0 ? Vague
                                                 : Always);
        }
    }
}

TEST(PlainFormat, EveryFieldOfIntegers) {
    CompareIntegers<int>("");
    CompareIntegers<int>("h");
    CompareIntegers<int>("hh");
    CompareIntegers<long>("l");
    CompareIntegers<long long>("ll");
    CompareIntegers<intmax_t>("j");
    CompareIntegers<ssize_t>("z");
    CompareIntegers<ptrdiff_t>("t");
}

// Beside letters that are conversions too, after fields that look alike.
TEST(PlainFormat, AConversionIsTheFirstLetterAfterItsField) {
    Compare(Must::kExpand, "%0dx%0us%0xd%0Xu", 5, 6U, 7U, 8U);
    Compare(Must::kExpand, "%04dx%04us%04xd%04Xu", 5, 6U, 7U, 8U);
    Compare(Must::kExpand, "x%04dd%05uu%06xs%07X", 5, 6U, 7U, 8U);
    Compare(Must::kExpand, "d%dd%uu%xs%X%s", 5, 6U, 7U, 8U, "d");
    Compare(Must::kExpand, "%0 d%0+d%0#x%0-d", 5, 6, 7U, 8);
    Compare(Must::kExpand, "%01d%02d%08d%09d%010d%029d", 1, 2, 3, 4, 5, 6);
    Compare(Must::kExpand, "%9d%19u%.9d%29.19x%90s", 1, 2U, 3, 4U, "ninety");
    Compare(Must::kExpand, "%02d%02d%05d%05d%08x", -1, -123, -12, -12345, 0x9abcdefU);
    Compare(Must::kExpand, "%jd%zd%td%ld%lld%hd%hhd", INTMAX_MIN, ssize_t{-2}, ptrdiff_t{-3}, -4L,
            -5LL, -6, -7);
    Compare(Must::kExpand, "%.0d|%.0u|%5.0x|%-5.0o|%+.0d", 0, 0U, 0U, 0U, 0);
    Compare(Must::kExpand, "%5c|%-5c|%20p|%-20p|%3s|%-9s|%.2s|", 'c', 'd', "", "", "four", "left",
            "cut");
    Compare(Must::kExpand, "%#x|%#X|%#8x|%#08X|%-#8x|%#.5x|%#x", 1U, 2U, 3U, 4U, 5U, 6U, 0U);
    Compare(Must::kExpand, "%+d|% d|%+5d|% 05d|%+05d|%-+5d|%+d", 1, 2, 3, 4, 5, 6, -7);
    Compare(Must::kExpand, "%o|%5o|%-5o|%.5o|%05o|%lo", 1U, 2U, 3U, 4U, 5U, ~0UL);
}

Must MustWithLength(size_t length) {
    return length <= dxr::kLongestPlainText ? Must::kExpand : Must::kHandOver;
}

// Whatever it is that reaches the longest text.
TEST(PlainFormat, TextsUpToTheLongestAreExpanded) {
    for (const size_t literal : {0U, 1U, 14U, 15U, 16U, 17U, 63U, 64U, 65U, 400U}) {
        const std::string format = "%s" + std::string(literal, 'l');
        for (size_t length = dxr::kLongestPlainText - 20; length < dxr::kLongestPlainText + 20;
             ++length) {
            const std::string text(length - literal, 't');
            const char *const before10 = text.c_str() + 10;
            const Must must = MustWithLength(length);
            Compare(must, format.c_str(), text.c_str());
            Compare(must, (format + "%s").c_str(), before10, "ten______!");
            Compare(must, (format + "%-10s").c_str(), before10, "");
            Compare(must, (format + "%.10s").c_str(), before10, text.c_str());
            Compare(must, (format + "%d%%").c_str(), text.c_str() + 6, 12345);
            Compare(must, (format + "%128d|").c_str(), text.c_str() + 129, 1);
        }
    }
}

TEST(PlainFormat, FormatsUpToTheLongestAreExpanded) {
    for (size_t length = dxr::kLongestPlainFormat - 70; length < dxr::kLongestPlainFormat + 4;
         ++length) {
        const Must must = length <= dxr::kLongestPlainFormat ? Must::kExpand : Must::kHandOver;
        const std::string literal(length - 2, 'l');
        Compare(must, (literal + "%d").c_str(), 7);
        Compare(must, ("%d" + literal).c_str(), 7);
        Compare(must, (literal + "%%").c_str());
    }
}

TEST(PlainFormat, EveryFieldOfCharactersTextsAndPointers) {
    for (const int character : {int{'a'}, int{'%'}, 255, 256 + 'b', -1}) {
        CompareFields("c", character, OnlyLeftAndVague);
    }
    CompareFields("c", 0, Never);
    const std::string texts[] = {"",
                                 "a",
                                 "sevench",
                                 "eightchr",
                                 "ninechars",
                                 "fifteen letters",
                                 "sixteen letters.",
                                 std::string(40, 'l'),
                                 std::string(127, 'm'),
                                 std::string(128, 'n'),
                                 std::string(129, 'o'),
                                 std::string(900, 'p')};
    for (const std::string &text : texts) {
        CompareFields("s", text.c_str(), OnlyLeft);
    }
    CompareFields("s", static_cast<const char *>(nullptr), Never);
    CompareFields("p", static_cast<const void *>(nullptr), Never);
    for (const uintptr_t address : {uintptr_t{1}, uintptr_t{0xABCDEF01}, UINTPTR_MAX}) {
        CompareFields("p", reinterpret_cast<const void *>(address), OnlyLeftAndVague);
    }
}

TEST(PlainFormat, EverySizeCutsWhereTheCLibraryCuts) {
    const std::string longText(700, 'x');
    CompareAtEverySize(Must::kExpand, "");
    CompareAtEverySize(Must::kExpand, "a line without a conversion");
    CompareAtEverySize(Must::kExpand, "100%%");
    CompareAtEverySize(Must::kExpand, "%5d|%-5d|%05d|%+d|%#x|%c|%s|%p", 12, 34, 56, 78, 0x9aU, 'b',
                       "text", static_cast<const void *>(longText.c_str()));
    CompareAtEverySize(Must::kExpand, "%s", longText.c_str());
    CompareAtEverySize(Must::kExpand, "before %s after %d", longText.c_str(), 5);
    CompareAtEverySize(Must::kExpand, "%128d%-128d%0128d%.128d", 1, 2, 3, 4);
    CompareAtEverySize(Must::kHandOver, "%s%d%s", longText.c_str(), 77, longText.c_str());
    CompareAtEverySize(Must::kExpand, "%llu %llo %c end", ULLONG_MAX, ULLONG_MAX, 'b');
    CompareAtEverySize(Must::kHandOver, "%d %c end", INT_MIN, 0);
    CompareAtEverySize(Must::kHandOver, "before %s after %f", longText.c_str(), 5.5);
}

TEST(PlainFormat, WhatItDoesNotKnowIsHandedOver) {
    if (DXRTEST_FORMATS_ARE_READ != 0) {
        GTEST_SKIP() << "the thread sanitizer ends the program at formats that it does not know";
    }
    int count = 0;
    Compare(Must::kHandOver, "a%nb", &count);
    EXPECT_EQ(1, count);
    Compare(Must::kHandOver, "%f %e %g %a", 1.5, 2.5, 3.5, 4.5);
    Compare(Must::kHandOver, "%5.2f", 1.25);
    Compare(Must::kHandOver, "%Lf", 1.5L);
    Compare(Must::kHandOver, "%lc", L'a');
    Compare(Must::kHandOver, "%ls", L"abc");
    Compare(Must::kHandOver, "%S", L"abc");
    Compare(Must::kHandOver, "%C", L'a');
    Compare(Must::kHandOver, "%2$d %1$d", 1, 2);
    Compare(Must::kHandOver, "%'d", 1234567);
    Compare(Must::kHandOver, "%Id", 1234567);
    Compare(Must::kHandOver, "%m");
    Compare(Must::kHandOver, "%qd", 1LL);
    Compare(Must::kHandOver, "%Ld", 1LL);
    Compare(Must::kHandOver, "%lld%llld", 1LL, 2LL);
    Compare(Must::kHandOver, "%hld", 1);
    Compare(Must::kHandOver, "%5%");
    Compare(Must::kHandOver, "%5-d", 1);
    Compare(Must::kHandOver, "%.-5d", 1);
    Compare(Must::kHandOver, "%y", 1);
    Compare(Must::kHandOver, "%@", 1);
    Compare(Must::kHandOver, "%129d", 1);
    Compare(Must::kHandOver, "%1000d", 1);
    Compare(Must::kHandOver, "%.1000d", 1);
    Compare(Must::kHandOver, "%2147483648d", 1);
    Compare(Must::kHandOver, "%99999999999999999999d", 1);
    // Two thousand million blanks are slow to come: only that they are left to the C library.
    dxr::PlainRoom room;
    EXPECT_EQ(dxr::kNotPlain, Plain(room, "%2147483647d", 1));
    EXPECT_EQ(dxr::kNotPlain, Plain(room, "%*d", INT_MAX, 1));
    EXPECT_EQ(dxr::kNotPlain, Plain(room, "%.*d", INT_MAX, 1));
    EXPECT_EQ(dxr::kNotPlain, Plain(room, "%*d", INT_MIN, 1));
    Compare(Must::kMayHandOver, "%.*d", INT_MIN, 1);
    for (const char *lone : {"%", "text %", "%5", "%-", "%.", "%l", "%hh", "%0"}) {
        Compare(Must::kHandOver, lone);
    }
}

TEST(PlainFormat, TheFailureOfTheCLibraryIsTheFailureOfTheLine) {
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    Compare(Must::kHandOver, "abc %d %ls", 1, L"\x20AC");
}

// Memory up to the very end of a page, with none after it.
class PageEnd {
  public:
    PageEnd() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        void *const block =
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block == MAP_FAILED ||
            mprotect(static_cast<char *>(block) + page_, page_, PROT_NONE) != 0) {
            std::abort();
        }
        end_ = static_cast<char *>(block) + page_;
    }
    ~PageEnd() { munmap(end_ - page_, 2 * page_); }
    PageEnd(const PageEnd &) = delete;
    PageEnd &operator=(const PageEnd &) = delete;

    char *Put(const char *bytes, size_t count) {
        return static_cast<char *>(std::memcpy(end_ - count, bytes, count));
    }

  private:
    size_t page_;
    char *end_;
};

// However far beyond the longest text a piece leads before that is noticed.
TEST(PlainFormat, NothingIsWrittenBehindTheRoom) {
    PageEnd memory;
    const dxr::PlainRoom none = {};
    auto &room = *reinterpret_cast<dxr::PlainRoom *>(memory.Put(none, sizeof(none)));
    const std::string text(dxr::kLongestPlainText, 't');
    for (size_t length = 0; length + 9 <= dxr::kLongestPlainFormat; ++length) {
        const std::string format = "%s" + std::string(length, 'l');
        const auto expectNotPlain = [&](const char *conversion, auto argument) {
            const std::string whole = format + conversion;
            ASSERT_EQ(dxr::kNotPlain, Plain(room, whole.c_str(), text.c_str(), argument)) << whole;
        };
        for (const char *integer : {"%128llu", "%-128llx", "%.128llo", "%0128lli"}) {
            expectNotPlain(integer, ULLONG_MAX);
        }
        expectNotPlain("%d", INT_MIN);
        expectNotPlain("%128c", 'c');
        expectNotPlain("%-128s", "text");
    }
}

TEST(PlainFormat, TextIsNotReadBehindItsPrecision) {
    PageEnd memory;
    const std::string letters(200, 't');
    for (int length = 0; length <= 128; ++length) {
        const char *const text = memory.Put(letters.data(), static_cast<size_t>(length));
        Compare(Must::kExpand, "%.*s|", length, text);
        Compare(Must::kExpand, "%40.*s|", length, text);
        Compare(Must::kExpand, "%-40.*s|", length, text);
        if (length > 0) {
            Compare(Must::kExpand, "%.*s|", length - 1, text);
        }
    }
}

TEST(PlainFormat, FormatsAndTextsMayEndWithTheirPage) {
    PageEnd memory;
    for (size_t length = 0; length <= 70; ++length) {
        std::string text(length, 'f');
        Compare(Must::kExpand, "%s|%5s|", memory.Put(text.c_str(), length + 1), "text");
        Compare(Must::kExpand, memory.Put(text.c_str(), length + 1));
        if (DXRTEST_FORMATS_ARE_READ == 0) {
            Compare(Must::kHandOver, memory.Put((text + "%").c_str(), length + 2));
        }
        for (size_t at = 0; at + 2 <= length; ++at) {
            std::string format = text;
            format.replace(at, 2, "%d");
            Compare(Must::kExpand, memory.Put(format.c_str(), length + 1), 1234);
        }
    }
}

// Nothing is read after the terminator, be it on the same page: a memory checker watches the
// blocks.
TEST(PlainFormat, AFormatMayBeTheWholeOfItsBlock) {
    for (size_t length = 0; length <= 70; ++length) {
        for (size_t at = 0; at <= length; ++at) {
            std::string format(length, 'f');
            if (at + 2 <= length) {
                format.replace(at, 2, "%d");
            }
            const auto block = std::make_unique<char[]>(length + 1);
            std::memcpy(block.get(), format.c_str(), length + 1);
            Compare(Must::kExpand, block.get(), 1234);
        }
    }
}

TEST(PlainFormat, ATextBeyondIntMaxFails) {
#if DXRTEST_MEMORY_IS_SHADOWED
    GTEST_SKIP() << "the sanitizer's own vsnprintf counts the text in an int";
#endif
    // One piece mapped again and again, so that the text is long and the memory is not.
    constexpr size_t kPiece = size_t{1} << 20;
    constexpr size_t kPieces = 2048;
    char name[] = "/tmp/plain_format_XXXXXX";
    const int file = mkstemp(name);
    ASSERT_GE(file, 0);
    ASSERT_EQ(0, unlink(name));
    const std::string piece(kPiece, 'x');
    ASSERT_EQ(static_cast<ssize_t>(kPiece), write(file, piece.data(), kPiece));
    auto *const text =
        static_cast<char *>(mmap(nullptr, kPiece * kPieces + 4096, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void *>(text));
    for (size_t i = 0; i < kPieces; ++i) {
        ASSERT_EQ(static_cast<void *>(text + i * kPiece),
                  mmap(text + i * kPiece, kPiece, PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_FIXED | MAP_POPULATE, file, 0));
    }
    // INT_MAX + 1 characters.
    char buffer[64];
    dxr::PlainRoom room;
    EXPECT_EQ(dxr::kNotPlain, Plain(room, "%s", text));
    EXPECT_EQ(-1, dxr::snprintf_truncated_s(buffer, sizeof(buffer), "%s", text));
    EXPECT_STREQ("", buffer);
    munmap(text, kPiece * kPieces + 4096);
    close(file);
}

// Random formats for a fixed order of argument types. An argument of type int may serve as a star.
class RandomLine {
  public:
    explicit RandomLine(uint64_t seed) : random_(seed) {}

    void CheckOne() {
        format_.clear();
        ints_.fill(0);
        slot_ = 0;
        Literal();
        for (uint64_t n = random_() % 8; n > 0 && slot_ < kTypes.size(); --n) {
            Conversion();
            Literal();
        }
        const size_t size = random_() % 4 == 0 ? random_() % 80 : kRoom / 2;
        const char *const text = texts_[random_() % texts_.size()].c_str();
        CompareAt(size, Must::kMayHandOver, format_.c_str(), ints_[0], ints_[1], text,
                  static_cast<long>(Value()), ints_[2], ints_[3], static_cast<long long>(Value()),
                  random_() % 8 == 0 ? nullptr : text, ints_[4], static_cast<size_t>(Value()),
                  reinterpret_cast<const void *>(Value()), ints_[5], static_cast<intmax_t>(Value()),
                  ints_[6], static_cast<ptrdiff_t>(Value()));
    }

  private:
    // d: int, and so on by their modifiers.
    static constexpr std::array<char, 15> kTypes = {'d', 'd', 's', 'l', 'd', 'd', 'L', 's',
                                                    'd', 'z', 'p', 'd', 'j', 'd', 't'};

    uint64_t Value() {
        const uint64_t value = random_();
        return random_() % 8 == 0 ? 0 - (value >> random_() % 64) : value >> random_() % 64;
    }
    template <size_t kCount>
    const char *One(const char *const (&choices)[kCount]) {
        return choices[random_() % kCount];
    }
    int &NextInt() {
        const auto before =
            std::count(kTypes.begin(), kTypes.begin() + static_cast<long>(slot_), 'd');
        ++slot_;
        return ints_[static_cast<size_t>(before)];
    }
    [[nodiscard]] bool IsInt() const { return slot_ + 1 < kTypes.size() && kTypes[slot_] == 'd'; }

    void Literal() {
        static constexpr char kCharacters[] = "abc XYZ-0.%\x80\xFF\x01$&";
        for (uint64_t n = random_() % 2 == 0 ? 0 : random_() % 40; n > 0; --n) {
            const char character = kCharacters[random_() % (sizeof(kCharacters) - 1)];
            format_ += character;
            if (character == '%') {
                format_ += '%';
            }
        }
    }
    void FieldNumber(const char *const (&choices)[6]) {
        if (IsInt() && random_() % 4 == 0) {
            format_ += choices[0];
            NextInt() = static_cast<int>(random_() % 61) - 30;
        } else {
            format_ += choices[1 + random_() % 5];
        }
    }
    void Conversion() {
        format_ += '%';
        for (uint64_t n = random_() % 4; n > 0 && random_() % 2 == 0; --n) {
            format_ += kFlagCharacters[random_() % 5];
        }
        FieldNumber({"*", "", "", "2", "8", "31"});
        FieldNumber({".*", "", "", "", ".2", ".11"});
        static constexpr const char *kIntegers[] = {"d", "i", "u", "x", "X", "o"};
        switch (kTypes[slot_]) {
            case 'd': {
                const bool isCharacter = random_() % 8 == 0;
                NextInt() = static_cast<int>(Value());
                format_ +=
                    isCharacter ? "c" : std::string(One({"", "", "h", "hh"})) + One(kIntegers);
                return;
            }
            case 's':
                format_ += 's';
                break;
            case 'p':
                format_ += 'p';
                break;
            case 'l':
                format_ += std::string("l") + One(kIntegers);
                break;
            case 'L':
                format_ += std::string("ll") + One(kIntegers);
                break;
            default:
                format_ += kTypes[slot_];
                format_ += One(kIntegers);
        }
        ++slot_;
    }

    std::mt19937_64 random_;
    std::string format_;
    std::array<int, 7> ints_ = {};
    size_t slot_ = 0;
    const std::array<std::string, 6> texts_ = {
        "", "up", "training", "serdes lost lock", std::string(130, 'q'), std::string(400, 'r')};
};

// DXR_TEST_FORMATS: how many, for a long run.
TEST(PlainFormat, RandomFormatsPrintWhatTheCLibraryPrints) {
    const char *const given = std::getenv("DXR_TEST_FORMATS");
    const uint64_t count = given != nullptr ? std::strtoull(given, nullptr, 10) : 100000;
    RandomLine line(dxrtest::Seed());
    for (uint64_t i = 0; i < count; ++i) {
        line.CheckOne();
        if (HasFatalFailure()) {
            return;
        }
    }
    std::printf("random formats: %llu\n", static_cast<unsigned long long>(count));
}

}  // namespace
