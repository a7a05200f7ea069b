#include "say.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using dxrsh::HoldsControlCharacter;
using dxrsh::PlainLines;
using dxrsh::Printable;

TEST(Printable, PlainTextStays) {
    EXPECT_EQ(Printable("link 3 up", 100), "link 3 up");
    EXPECT_EQ(Printable("", 100), "");
}

TEST(Printable, ControlCharactersCannotReachTheTerminal) {
    EXPECT_EQ(Printable("a\x1b[2Jb\tc\x7f\r", 100), "a\\x1b[2Jb\\x09c\\x7f\\x0d");
    EXPECT_EQ(Printable(std::string("a\0b", 3), 100), "a\\x00b");
}

TEST(Printable, ControlCharactersOfTwoBytesCannotEither) {
    EXPECT_EQ(Printable("a\xc2\x9bm", 100), "a\\xc2\\x9bm");
    EXPECT_EQ(Printable("\xc2\x80\xc2\x9f", 16), "\\xc2\\x80\\xc2\\x9f");
    EXPECT_EQ(Printable("\xc2\x80\xc2\x9f", 15), "\\xc2\\x80...");
    EXPECT_EQ(Printable("\xc2\xa0\xc2", 100), "\xc2\xa0\xc2") << "a blank, and a piece";
    EXPECT_EQ(Printable("\xc3\x9b", 100), "\xc3\x9b") << "a letter";
}

TEST(HoldsControlCharacter, FindsThemAnywhere) {
    for (const char *text : {"\n", "a\x1b", "\x7f-", "a\xc2\x9b", "\xc2\x80", "\xc2\x9f"}) {
        EXPECT_TRUE(HoldsControlCharacter(text)) << text;
    }
    EXPECT_TRUE(HoldsControlCharacter(std::string_view("a\0", 2)));
    for (const char *text : {"", "a ~", "\xc2\xa0", "\xc3\x9b", "\xc2", "\xe2\x80\x9c"}) {
        EXPECT_FALSE(HoldsControlCharacter(text)) << text;
    }
}

TEST(Printable, LongTextIsCutToTheWidth) {
    EXPECT_EQ(Printable("0123456789", 10), "0123456789");
    EXPECT_EQ(Printable("0123456789a", 10), "0123456...");
    EXPECT_EQ(Printable("012345\n789", 10), "012345...") << "the escape is whole or absent";
}

TEST(Printable, CharactersOfSeveralBytesCountOnce) {
    EXPECT_EQ(Printable("äöüäöüäöüä", 10), "äöüäöüäöüä");
    EXPECT_EQ(Printable("äöüäöüäöüäö", 10), "äöüäöüä...");
}

TEST(PlainLines, OnlyCarriageReturnsOfLineEndsGo) {
    EXPECT_EQ(PlainLines("a\r\nb\r\n"), "a\nb\n");
    EXPECT_EQ(PlainLines("a\rb\r\r\n\r"), "a\rb\r\n\r");
    EXPECT_EQ(PlainLines(""), "");
}

}  // namespace
