#include "line_key.h"

#include <gtest/gtest.h>

#include <string>

#include "errors.h"

namespace {

using dxrsh::Keys;
using dxrsh::KeyValue;
using dxrsh::LineKey;

Keys Find(const std::string &expression, const std::string &text) {
    Keys keys = {1, 2, 3, 4};
    EXPECT_TRUE(LineKey(expression).Find(text.c_str(), keys));
    return keys;
}

TEST(KeyValue, NumbersAreThemselves) {
    EXPECT_EQ(KeyValue("0"), 0U);
    EXPECT_EQ(KeyValue("0042"), 42U);
    EXPECT_EQ(KeyValue("4294967295"), 4294967295U);
    EXPECT_EQ(KeyValue("0x1F"), 31U);
    EXPECT_EQ(KeyValue("0xffffffff"), 4294967295U);
}

// The hash of a text: h = h * 31 + byte.
uint32_t Hash(const std::string &text) {
    uint32_t hash = 0;
    for (const char c : text) {
        hash = hash * 31 + static_cast<unsigned char>(c);
    }
    return hash;
}

TEST(KeyValue, OtherTextIsItsHash) {
    for (const std::string text :
         {"ab", "4294967296", "0x100000000", "0x", "0xg", "-1", "+1", "1 ", "12a", "", "\xff"}) {
        EXPECT_EQ(KeyValue(text), Hash(text)) << text;
    }
    EXPECT_EQ(KeyValue("ab"), 3105U);
}

TEST(LineKey, WithoutGroupsTheWholeMatchCounts) {
    EXPECT_EQ(Find("[0-9]+", "port 17 of 20"), (Keys{17, 0, 0, 0}));
}

TEST(LineKey, GroupsCountInTheirOrder) {
    EXPECT_EQ(Find("([0-9]+)/([0-9]+)", "port 1/2"), (Keys{1, 2, 0, 0}));
    EXPECT_EQ(Find("(.)(.)(.)(.)", "1234"), (Keys{1, 2, 3, 4}));
    EXPECT_EQ(Find("a(b)?(c)", "ac"), (Keys{0, Hash("c"), 0, 0}));
    EXPECT_EQ(Find("a()", "a"), (Keys{0, 0, 0, 0})) << "an empty group";
}

TEST(LineKey, AlternativesAndRepetitionsAreKnown) {
    EXPECT_EQ(Find("(port|link) ([0-9]{2})", "link 42"), (Keys{Hash("link"), 42, 0, 0}));
}

TEST(LineKey, NoMatchLeavesTheKeysAlone) {
    Keys keys = {1, 2, 3, 4};
    EXPECT_FALSE(LineKey("port [0-9]").Find("port x", keys));
    EXPECT_EQ(keys, (Keys{1, 2, 3, 4}));
}

TEST(LineKey, BytesOutsideAsciiAreBytes) {
    EXPECT_EQ(Find("(.)([0-9])", "\xff\x31"), (Keys{Hash("\xff"), 1, 0, 0}));
}

TEST(LineKey, BadExpressionsAreRefused) {
    for (const char *expression : {"(", "[", "a{2,1}", "*(", "(a)(b)(c)(d)(e)"}) {
        EXPECT_THROW(const LineKey key(expression), dxrsh::UsageError) << expression;
    }
}

}  // namespace
