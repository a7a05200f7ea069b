// The internals are linked into this test: their symbols do not leave the library.
#include "internal/bounds_checked.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>

#include "internal/plain_format.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using testing::AnyOf;

constexpr size_t kMaxDest = 20;
constexpr size_t kMaxCount = kMaxDest + 4;
constexpr size_t kLargestUsable = SIZE_MAX >> 1;
constexpr char kFill = static_cast<char>(GuardedBuffer::kFill);

// "abc...": no two neighbours alike and never the fill.
std::string Letters(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>('a' + i % 26);
    }
    return text;
}

// A heap block of exactly this length, so that a sanitizer sees a read behind it.
std::unique_ptr<char[]> Unterminated(size_t length) {
    auto block = std::make_unique<char[]>(length);
    const std::string text = Letters(length);
    std::copy(text.begin(), text.end(), block.get());
    return block;
}

std::string Bytes(const GuardedBuffer &buffer) {
    return {buffer.Data(), buffer.Size()};
}

std::string Expected(const std::string &head, size_t size) {
    std::string all(size, kFill);
    return all.replace(0, head.size(), head);
}

bool RegionsMeet(size_t a, size_t aSize, size_t b, size_t bSize) {
    for (size_t i = a; i < a + aSize; ++i) {
        if (i >= b && i < b + bSize) {
            return true;
        }
    }
    return false;
}

// --- memcpy_s

TEST(MemcpyS, EverySizeAndCount) {
    for (size_t size = 0; size <= kMaxDest; ++size) {
        for (size_t count = 0; count <= kMaxCount; ++count) {
            SCOPED_TRACE(testing::Message() << "size " << size << " count " << count);
            GuardedBuffer dest(size);
            const auto source = Unterminated(count);
            const int result = dxr::memcpy_s(dest.Data(), size, source.get(), count);
            if (size == 0) {
                EXPECT_EQ(EINVAL, result);
            } else if (count > size) {
                EXPECT_EQ(ERANGE, result);
                EXPECT_EQ(std::string(size, '\0'), Bytes(dest));
            } else {
                EXPECT_EQ(0, result);
                EXPECT_EQ(Expected(Letters(count), size), Bytes(dest));
            }
            EXPECT_TRUE(dest.Intact());
        }
    }
}

TEST(MemcpyS, NullDestinationFails) {
    const char source[8] = "source";
    for (const size_t size : {0U, 1U, 8U}) {
        for (const size_t count : {0U, 1U, 8U, 9U}) {
            EXPECT_EQ(EINVAL, dxr::memcpy_s(nullptr, size, source, count));
            EXPECT_EQ(EINVAL, dxr::memcpy_s(nullptr, size, nullptr, count));
        }
    }
}

TEST(MemcpyS, NullSourceZeroesTheWholeDestination) {
    for (size_t size = 1; size <= kMaxDest; ++size) {
        for (size_t count = 0; count <= kMaxCount; ++count) {
            GuardedBuffer dest(size);
            EXPECT_EQ(EINVAL, dxr::memcpy_s(dest.Data(), size, nullptr, count));
            EXPECT_EQ(std::string(size, '\0'), Bytes(dest));
            EXPECT_TRUE(dest.Intact());
        }
    }
}

TEST(MemcpyS, NullSourceAndSizeZeroWriteNothing) {
    GuardedBuffer dest(4);
    EXPECT_EQ(EINVAL, dxr::memcpy_s(dest.Data(), 0, nullptr, 4));
    EXPECT_TRUE(dest.Untouched());
}

TEST(MemcpyS, EveryOverlapFailsAndZeroesTheDestination) {
    constexpr size_t kArena = 3 * kMaxDest;
    for (size_t to = 0; to < 2 * kMaxDest; ++to) {
        for (size_t from = 0; from < 2 * kMaxDest; ++from) {
            for (size_t count = 0; count <= kMaxDest; ++count) {
                SCOPED_TRACE(testing::Message()
                             << "to " << to << " from " << from << " count " << count);
                const std::string before = Letters(kArena);
                std::string arena = before;
                const int result =
                    dxr::memcpy_s(arena.data() + to, kMaxDest, arena.data() + from, count);
                std::string expected = before;
                if (RegionsMeet(to, count, from, count)) {
                    EXPECT_EQ(EINVAL, result);
                    expected.replace(to, kMaxDest, kMaxDest, '\0');
                } else {
                    EXPECT_EQ(0, result);
                    expected.replace(to, count, before, from, count);
                }
                EXPECT_EQ(expected, arena);
            }
        }
    }
}

TEST(MemcpyS, TooLargeAndOverlappingFails) {
    GuardedBuffer dest(8);
    EXPECT_THAT(dxr::memcpy_s(dest.Data(), 8, dest.Data(), 9), AnyOf(EINVAL, ERANGE));
    EXPECT_EQ(std::string(8, '\0'), Bytes(dest));
    EXPECT_TRUE(dest.Intact());
}

TEST(MemcpyS, NoSizeOf32BitsIsRefused) {
    GuardedBuffer dest(4);
    for (const size_t size :
         {size_t{0x7FFFFFFF}, size_t{0x80000000}, size_t{0xFFFFFFFF}, size_t{0x100000000}}) {
        EXPECT_EQ(0, dxr::memcpy_s(dest.Data(), size, "wxyz", 4));
        EXPECT_EQ("wxyz", Bytes(dest));
    }
    EXPECT_EQ(0, dxr::memcpy_s(dest.Data(), kLargestUsable, "abcd", 4));
    EXPECT_EQ("abcd", Bytes(dest));
    EXPECT_TRUE(dest.Intact());
}

TEST(MemcpyS, SizeOfANegativeNumberIsRefused) {
    GuardedBuffer dest(4);
    for (const size_t size : {kLargestUsable + 1, SIZE_MAX - 7, SIZE_MAX}) {
        EXPECT_EQ(EINVAL, dxr::memcpy_s(dest.Data(), size, "wxyz", 4));
        EXPECT_EQ(EINVAL, dxr::memcpy_s(dest.Data(), size, nullptr, 4));
    }
    EXPECT_TRUE(dest.Untouched());
}

TEST(MemcpyS, CountOfANegativeNumberDoesNotFit) {
    GuardedBuffer dest(4);
    const char source[4] = {'w', 'x', 'y', 'z'};
    EXPECT_EQ(ERANGE, dxr::memcpy_s(dest.Data(), 4, source, SIZE_MAX));
    EXPECT_EQ(std::string(4, '\0'), Bytes(dest));
    EXPECT_TRUE(dest.Intact());
}

// --- memset_s

TEST(MemsetS, EverySizeAndCount) {
    for (const int value : {0, 1, 0x5A, 0xFF, 0x1A5, -1}) {
        for (size_t size = 0; size <= kMaxDest; ++size) {
            for (size_t count = 0; count <= kMaxCount; ++count) {
                SCOPED_TRACE(testing::Message()
                             << "value " << value << " size " << size << " count " << count);
                GuardedBuffer dest(size);
                const int result = dxr::memset_s(dest.Data(), size, value, count);
                EXPECT_EQ(size == 0 ? EINVAL : (count > size ? ERANGE : 0), result);
                const size_t filled = std::min(size, count);
                EXPECT_EQ(Expected(std::string(filled, static_cast<char>(value)), size),
                          Bytes(dest));
                EXPECT_TRUE(dest.Intact());
            }
        }
    }
}

TEST(MemsetS, NullDestinationFails) {
    for (const size_t size : {0U, 1U, 8U}) {
        for (const size_t count : {0U, 1U, 8U, 9U}) {
            EXPECT_EQ(EINVAL, dxr::memset_s(nullptr, size, 0, count));
        }
    }
}

TEST(MemsetS, OnlyTheSizeOfANegativeNumberIsRefused) {
    GuardedBuffer dest(4);
    EXPECT_EQ(EINVAL, dxr::memset_s(dest.Data(), kLargestUsable + 1, 'x', 4));
    EXPECT_EQ(EINVAL, dxr::memset_s(dest.Data(), SIZE_MAX, 'x', 4));
    EXPECT_TRUE(dest.Untouched());
    EXPECT_EQ(0, dxr::memset_s(dest.Data(), 0xFFFFFFFF, 'x', 4));
    EXPECT_EQ("xxxx", Bytes(dest));
    EXPECT_EQ(ERANGE, dxr::memset_s(dest.Data(), 4, 'y', SIZE_MAX));
    EXPECT_EQ("yyyy", Bytes(dest));
    EXPECT_TRUE(dest.Intact());
}

// --- strcpy_s

TEST(StrcpyS, EverySizeAndLength) {
    for (size_t size = 0; size <= kMaxDest; ++size) {
        for (size_t length = 0; length <= kMaxCount; ++length) {
            SCOPED_TRACE(testing::Message() << "size " << size << " length " << length);
            GuardedBuffer dest(size);
            const std::string source = Letters(length);
            const int result = dxr::strcpy_s(dest.Data(), size, source.c_str());
            EXPECT_TRUE(dest.Intact());
            if (size == 0) {
                EXPECT_EQ(EINVAL, result);
                continue;
            }
            EXPECT_EQ(length < size ? 0 : ERANGE, result);
            ASSERT_TRUE(dest.Terminated());
            EXPECT_EQ(length < size ? source : "", dest.Text());
        }
    }
}

TEST(StrcpyS, DoesNotReadBehindWhatCannotFit) {
    for (size_t size = 1; size <= kMaxDest; ++size) {
        GuardedBuffer dest(size);
        const auto source = Unterminated(size);
        EXPECT_EQ(ERANGE, dxr::strcpy_s(dest.Data(), size, source.get()));
        EXPECT_EQ("", dest.Text());
        EXPECT_TRUE(dest.Intact());
    }
}

TEST(StrcpyS, NullPointersFail) {
    for (const size_t size : {0U, 1U, 8U}) {
        EXPECT_EQ(EINVAL, dxr::strcpy_s(nullptr, size, "text"));
        EXPECT_EQ(EINVAL, dxr::strcpy_s(nullptr, size, nullptr));
    }
    GuardedBuffer dest(8);
    EXPECT_EQ(EINVAL, dxr::strcpy_s(dest.Data(), 0, nullptr));
    EXPECT_TRUE(dest.Untouched());
    EXPECT_EQ(EINVAL, dxr::strcpy_s(dest.Data(), 8, nullptr));
    EXPECT_EQ('\0', dest.Data()[0]);
    EXPECT_TRUE(dest.Intact());
}

TEST(StrcpyS, SizesBeyondTheText) {
    GuardedBuffer dest(8);
    EXPECT_EQ(0, dxr::strcpy_s(dest.Data(), 0xFFFFFFFF, "large"));
    EXPECT_EQ("large", dest.Text());
    EXPECT_EQ(0, dxr::strcpy_s(dest.Data(), kLargestUsable, "larger"));
    EXPECT_EQ("larger", dest.Text());
    EXPECT_EQ(EINVAL, dxr::strcpy_s(dest.Data(), kLargestUsable + 1, "wrong"));
    EXPECT_EQ(EINVAL, dxr::strcpy_s(dest.Data(), SIZE_MAX, "wrong"));
    EXPECT_EQ("larger", dest.Text());
    EXPECT_TRUE(dest.Intact());
}

TEST(StrcpyS, EveryOverlapFailsAndEmptiesTheDestination) {
    constexpr size_t kSize = 12;
    constexpr size_t kArena = 3 * kSize;
    for (size_t length = 0; length < kSize; ++length) {
        for (size_t to = 0; to < kArena - kSize; ++to) {
            for (size_t from = 0; from + length < kArena; ++from) {
                SCOPED_TRACE(testing::Message()
                             << "to " << to << " from " << from << " length " << length);
                std::string arena = Letters(kArena);
                arena[from + length] = '\0';
                const std::string text(arena, from, length);
                const int result = dxr::strcpy_s(arena.data() + to, kSize, arena.data() + from);
                if (RegionsMeet(to, length + 1, from, length + 1)) {
                    EXPECT_EQ(EINVAL, result);
                    EXPECT_EQ('\0', arena[to]);
                } else {
                    EXPECT_EQ(0, result);
                    EXPECT_STREQ(text.c_str(), arena.data() + to);
                }
            }
        }
    }
}

// --- strncpy_s

TEST(StrncpyS, EverySizeCountAndLength) {
    for (size_t size = 0; size <= kMaxDest; ++size) {
        for (size_t count = 0; count <= kMaxCount; ++count) {
            for (size_t length = 0; length <= kMaxCount; ++length) {
                SCOPED_TRACE(testing::Message()
                             << "size " << size << " count " << count << " length " << length);
                GuardedBuffer dest(size);
                const std::string source = Letters(length);
                const int result = dxr::strncpy_s(dest.Data(), size, source.c_str(), count);
                EXPECT_TRUE(dest.Intact());
                if (size == 0) {
                    EXPECT_EQ(EINVAL, result);
                    continue;
                }
                const size_t copied = std::min(count, length);
                EXPECT_EQ(copied < size ? 0 : ERANGE, result);
                ASSERT_TRUE(dest.Terminated());
                EXPECT_EQ(copied < size ? Letters(copied) : "", dest.Text());
            }
        }
    }
}

TEST(StrncpyS, SourceNeedsNoTerminatorBehindCount) {
    for (size_t count = 0; count <= kMaxDest; ++count) {
        GuardedBuffer dest(count + 1);
        const auto source = Unterminated(count);
        EXPECT_EQ(0, dxr::strncpy_s(dest.Data(), count + 1, source.get(), count));
        EXPECT_EQ(Letters(count), dest.Text());
        EXPECT_TRUE(dest.Intact());
    }
}

TEST(StrncpyS, DoesNotReadBehindWhatCannotFit) {
    for (size_t size = 1; size <= kMaxDest; ++size) {
        for (const size_t count : {size, size + 1, size_t{0xFFFFFFFF}, SIZE_MAX}) {
            GuardedBuffer dest(size);
            const auto source = Unterminated(size);
            EXPECT_EQ(ERANGE, dxr::strncpy_s(dest.Data(), size, source.get(), count));
            EXPECT_EQ('\0', dest.Data()[0]);
            EXPECT_TRUE(dest.Intact());
        }
    }
}

TEST(StrncpyS, NullPointersFail) {
    for (const size_t size : {0U, 1U, 8U}) {
        for (const size_t count : {0U, 4U, 9U}) {
            EXPECT_EQ(EINVAL, dxr::strncpy_s(nullptr, size, "text", count));
            EXPECT_EQ(EINVAL, dxr::strncpy_s(nullptr, size, nullptr, count));
        }
    }
    for (const size_t count : {0U, 4U, 9U}) {
        GuardedBuffer dest(8);
        EXPECT_EQ(EINVAL, dxr::strncpy_s(dest.Data(), 0, nullptr, count));
        EXPECT_EQ(EINVAL, dxr::strncpy_s(dest.Data(), 0, "text", count));
        EXPECT_TRUE(dest.Untouched());
        EXPECT_EQ(EINVAL, dxr::strncpy_s(dest.Data(), 8, nullptr, count));
        EXPECT_EQ('\0', dest.Data()[0]);
        EXPECT_TRUE(dest.Intact());
    }
}

TEST(StrncpyS, OnlyTheSizeOfANegativeNumberIsRefused) {
    GuardedBuffer dest(8);
    EXPECT_EQ(EINVAL, dxr::strncpy_s(dest.Data(), kLargestUsable + 1, "wrong", 2));
    EXPECT_EQ(EINVAL, dxr::strncpy_s(dest.Data(), SIZE_MAX, "wrong", 2));
    EXPECT_TRUE(dest.Untouched());
    EXPECT_EQ(0, dxr::strncpy_s(dest.Data(), 0xFFFFFFFF, "right", 0xFFFFFFFF));
    EXPECT_EQ("right", dest.Text());
    EXPECT_TRUE(dest.Intact());
}

// What counts is what is read and written: the characters taken, the source's terminator if it is
// reached, and the terminator written.
TEST(StrncpyS, EveryOverlapFailsAndEmptiesTheDestination) {
    constexpr size_t kSize = 10;
    constexpr size_t kArena = 3 * kSize;
    for (size_t length = 0; length <= kSize; ++length) {
        for (size_t count = 0; count < kSize; ++count) {
            for (size_t to = 0; to < kArena - kSize; ++to) {
                for (size_t from = 0; from + length < kArena; ++from) {
                    SCOPED_TRACE(testing::Message() << "to " << to << " from " << from << " length "
                                                    << length << " count " << count);
                    std::string arena = Letters(kArena);
                    arena[from + length] = '\0';
                    const size_t copied = std::min(length, count);
                    const std::string text(arena, from, copied);
                    const int result =
                        dxr::strncpy_s(arena.data() + to, kSize, arena.data() + from, count);
                    const size_t read = copied + (length < count ? 1 : 0);
                    if (RegionsMeet(to, copied + 1, from, read)) {
                        EXPECT_EQ(EINVAL, result);
                        EXPECT_EQ('\0', arena[to]);
                    } else {
                        EXPECT_EQ(0, result);
                        EXPECT_STREQ(text.c_str(), arena.data() + to);
                    }
                }
            }
        }
    }
}

// --- the formatters

[[gnu::format(printf, 3, 4)]] int FormatByList(char *buffer, size_t size, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(buffer, size, format, args);
    va_end(args);
    return stored;
}

using Formatter = int (*)(char *, size_t, const char *, ...);

class TruncatingFormatter : public testing::TestWithParam<Formatter> {
  protected:
    // Through the pointer the compiler cannot object to a null or failing format.
    Formatter format_ = GetParam();
};

TEST_P(TruncatingFormatter, EverySizeAndLength) {
    for (size_t size = 0; size <= kMaxDest; ++size) {
        for (size_t length = 0; length <= kMaxCount; ++length) {
            SCOPED_TRACE(testing::Message() << "size " << size << " length " << length);
            GuardedBuffer buffer(size);
            const std::string text = Letters(length);
            const int stored = format_(buffer.Data(), size, "%s", text.c_str());
            EXPECT_TRUE(buffer.Intact());
            if (size == 0) {
                EXPECT_EQ(-1, stored);
                continue;
            }
            const size_t kept = std::min(length, size - 1);
            EXPECT_EQ(static_cast<int>(kept), stored);
            ASSERT_TRUE(buffer.Terminated());
            EXPECT_EQ(Letters(kept), buffer.Text());
        }
    }
}

TEST_P(TruncatingFormatter, ConvertsItsArguments) {
    GuardedBuffer buffer(64);
    EXPECT_EQ(36, format_(buffer.Data(), 64, "%s|%08X|%d|%5.2f|%llu|%c|%%", "ab", 0x1A2BU, -7, 1.5,
                          0x1122334455ULL, 'z'));
    EXPECT_EQ("ab|00001A2B|-7| 1.50|73588229205|z|%", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST_P(TruncatingFormatter, NullBufferFails) {
    for (const size_t size : {0U, 1U, 16U}) {
        EXPECT_EQ(-1, format_(nullptr, size, "%s", "text"));
        EXPECT_EQ(-1, format_(nullptr, size, nullptr));
    }
}

TEST_P(TruncatingFormatter, NullFormatFailsAndWritesNothing) {
    GuardedBuffer buffer(16);
    for (const size_t size : {0U, 1U, 16U}) {
        EXPECT_EQ(-1, format_(buffer.Data(), size, nullptr));
    }
    EXPECT_TRUE(buffer.Untouched());
}

// A format of the host's may stand in its own memory, which the C library's formatter for
// fortified builds takes for an attack.
TEST_P(TruncatingFormatter, FormatInWritableMemoryMayCount) {
    std::string format = "ab%nc";
    GuardedBuffer buffer(16);
    int before = -1;
    EXPECT_EQ(3, format_(buffer.Data(), 16, format.data(), &before));
    EXPECT_EQ("abc", buffer.Text());
    EXPECT_EQ(2, before);
    EXPECT_TRUE(buffer.Intact());
}

TEST_P(TruncatingFormatter, FailedConversionEmptiesTheBuffer) {
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    for (size_t size = 1; size <= kMaxDest; ++size) {
        GuardedBuffer buffer(size);
        EXPECT_EQ(-1, format_(buffer.Data(), size, "abc%ls", L"\x20AC"));
        EXPECT_EQ('\0', buffer.Data()[0]);
        EXPECT_TRUE(buffer.Intact());
    }
    GuardedBuffer buffer(8);
    EXPECT_EQ(-1, format_(buffer.Data(), 0, "abc%ls", L"\x20AC"));
    EXPECT_TRUE(buffer.Untouched());
}

TEST_P(TruncatingFormatter, NothingConvertedIsNoFailure) {
    GuardedBuffer buffer(8);
    EXPECT_EQ(0, format_(buffer.Data(), 8, "%ls", L""));
    EXPECT_EQ("", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

TEST_P(TruncatingFormatter, OnlyTheSizeOfANegativeNumberIsRefused) {
    GuardedBuffer buffer(8);
    EXPECT_EQ(-1, format_(buffer.Data(), kLargestUsable + 1, "%s", "wrong"));
    EXPECT_EQ(-1, format_(buffer.Data(), SIZE_MAX, "%s", "wrong"));
    EXPECT_TRUE(buffer.Untouched());
    for (const size_t size : {size_t{0x7FFFFFFF}, size_t{0xFFFFFFFF}}) {
        EXPECT_EQ(5, format_(buffer.Data(), size, "%s", "right"));
        EXPECT_EQ("right", buffer.Text());
    }
    EXPECT_TRUE(buffer.Intact());
}

TEST_P(TruncatingFormatter, EmbeddedNulCountsAsACharacterStored) {
    GuardedBuffer buffer(8);
    EXPECT_EQ(5, format_(buffer.Data(), 8, "ab%ccd", '\0'));
    EXPECT_EQ(std::string("ab\0cd\0", 6), std::string(buffer.Data(), 6));
    EXPECT_EQ("ab", buffer.Text());
    EXPECT_TRUE(buffer.Intact());
}

INSTANTIATE_TEST_SUITE_P(Both, TruncatingFormatter,
                         testing::Values(&dxr::snprintf_truncated_s, &FormatByList),
                         [](const testing::TestParamInfo<Formatter> &formatter) {
                             return formatter.index == 0 ? "Arguments" : "ArgumentList";
                         });

// --- lines

dxr::FormattedLine FormatRoom(dxr::PlainRoom &room, size_t size, const char *format, ...) {
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    const dxr::FormattedLine line = dxr::FormatLine(room, size, format, args, again);
    va_end(again);
    va_end(args.list);
    return line;
}

void ExpectLine(const dxr::FormattedLine &line, int stored, size_t length) {
    EXPECT_EQ(stored, line.stored);
    EXPECT_EQ(length, line.length);
}

TEST(FormatLine, EverySizeAndLength) {
    dxr::PlainRoom room;
    for (const char *format : {"%s", "%-0s"}) {  // the C library's alone
        for (size_t length = 0; length <= kMaxDest + 4; ++length) {
            const std::string text = Letters(length);
            for (size_t size = 1; size <= kMaxDest; ++size) {
                const size_t kept = std::min(length, size - 1);
                ExpectLine(FormatRoom(room, size, format, text.c_str()), static_cast<int>(kept),
                           kept);
                EXPECT_EQ(text.substr(0, kept), room) << size;
            }
        }
    }
}

TEST(FormatLine, OfTheWholeRoom) {
    dxr::PlainRoom room;
    const std::string text = Letters(sizeof(room));
    ExpectLine(FormatRoom(room, sizeof(room), "%s", text.c_str()), sizeof(room) - 1,
               sizeof(room) - 1);
    EXPECT_EQ(text.substr(0, sizeof(room) - 1), room);
}

TEST(FormatLine, EmbeddedNulEndsItsLengthAlone) {
    dxr::PlainRoom room;
    ExpectLine(FormatRoom(room, 8, "ab%ccd", '\0'), 5, 2);
    EXPECT_EQ(std::string("ab\0cd\0", 6), std::string(room, 6));
    ExpectLine(FormatRoom(room, 8, "%cabcdefgh", '\0'), 7, 0);
}

TEST(FormatLine, HasNoLengthWhenItFails) {
    dxr::PlainRoom room = "before";
    ExpectLine(FormatRoom(room, 8, nullptr), -1, 0);
    EXPECT_STREQ("before", room);
    ASSERT_STREQ("C", std::setlocale(LC_CTYPE, nullptr));
    ExpectLine(FormatRoom(room, 8, "abc%ls", L"\x20AC"), -1, 0);
    EXPECT_STREQ("", room);
}

}  // namespace
