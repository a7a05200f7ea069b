#include "numbers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "errors.h"

namespace {

using dxrsh::LongWholeNumber;
using dxrsh::RequireNumber;
using dxrsh::Split;
using dxrsh::WholeNumber;

TEST(WholeNumber, DecimalAndHexadecimal) {
    EXPECT_EQ(WholeNumber("0"), 0U);
    EXPECT_EQ(WholeNumber("010"), 10U) << "a leading zero makes nothing octal";
    EXPECT_EQ(WholeNumber("4294967295"), 4294967295U);
    EXPECT_EQ(WholeNumber("0x1f"), 31U);
    EXPECT_EQ(WholeNumber("0xFFFFFFFF"), 4294967295U);
}

TEST(WholeNumber, OfMoreBitsWhereTheyFit) {
    EXPECT_EQ(WholeNumber("4294967296"), std::nullopt);
    EXPECT_EQ(LongWholeNumber("4294967296"), uint64_t{1} << 32U);
    EXPECT_EQ(LongWholeNumber("0xFFFFFFFFFFFFFFFF"), UINT64_MAX);
    EXPECT_EQ(LongWholeNumber("18446744073709551616"), std::nullopt);
    EXPECT_EQ(LongWholeNumber("-1"), std::nullopt);
}

TEST(WholeNumber, NothingElse) {
    for (const char *text : {"", " ", "-1", "+1", " 1", "1 ", "1.0", "1e3", "0x", "0x-1", "x", "1x",
                             "0xg", "4294967296", "0x100000000", "99999999999999999999"}) {
        EXPECT_EQ(WholeNumber(text), std::nullopt) << text;
    }
}

TEST(RequireNumber, SaysWhatIsWrong) {
    EXPECT_EQ(RequireNumber("7", "--rule"), 7U);
    try {
        (void)RequireNumber("7\n", "--rule");
        FAIL() << "accepted";
    } catch (const dxrsh::UsageError &error) {
        EXPECT_STREQ(error.what(), "--rule: '7\\x0a' is no whole number from 0 to 4294967295");
    }
}

TEST(Split, GivesAllPieces) {
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(Split("1/2/3", '/'), (Pieces{"1", "2", "3"}));
    EXPECT_EQ(Split("", '/'), (Pieces{""}));
    EXPECT_EQ(Split("/", '/'), (Pieces{"", ""}));
    EXPECT_EQ(Split("1//2", '/'), (Pieces{"1", "", "2"}));
}

}  // namespace
