// What dxrsh reads lines with and writes about them: written forms of stamps, masks, the lines that
// are remembered, JSON.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "errors.h"
#include "json_text.h"
#include "line_mask.h"
#include "remembered_lines.h"
#include "stamp_format.h"
#include "support/test_host.h"

namespace {

using dxrsh::FormatReader;
using dxrsh::JsonText;
using dxrsh::LineMask;
using dxrsh::RememberedLines;
using dxrsh::StampFormat;
using dxrsh::StampWidth;
using dxrsh::TimeStamp;
using dxrsh::UsageError;
using dxrsh::YearFinder;

constexpr uint32_t kMoment = 1795232220;  // 2026-11-21 03:37:00

// --- StampFormat

class Reader {
  public:
    explicit Reader(const std::string &format, StampWidth width = StampWidth::kFree,
                    YearFinder years = YearFinder::Before(kMoment))
        : reader_(StampFormat(format, width), years) {}

    // 0: no stamp.
    uint32_t Sec(std::string_view text) {
        const std::optional<TimeStamp> stamp = reader_.Read(text);
        return stamp ? stamp->sec : 0;
    }
    size_t Length(std::string_view text) {
        const std::optional<TimeStamp> stamp = reader_.Read(text);
        return stamp ? stamp->length : 0;
    }

  private:
    FormatReader reader_;
};

uint32_t SecIn(const std::string &format, std::string_view text,
               StampWidth width = StampWidth::kFree) {
    return Reader(format, width).Sec(text);
}

std::string ComplaintAbout(const std::string &format) {
    try {
        const StampFormat compiled(format, StampWidth::kFree);
        return "";
    } catch (const UsageError &error) {
        return error.what();
    }
}

// What the C library writes is read as the second that it was written for.
TEST(StampFormat, ReadsWhatStrftimeWrites) {
    constexpr std::array<const char *, 12> kFormats = {"%Y-%m-%d %H:%M:%S",
                                                       "%a %b %e %T %Y",
                                                       "%A, %d %B %Y %I:%M:%S %p",
                                                       "%D %T",
                                                       "%F%t%R",
                                                       "%y%m%d.%H%M%S",
                                                       "%j of %Y %T",
                                                       "%h %d %Y %k:%M:%S",
                                                       "%s",
                                                       "100%% %l:%M:%S %p %d%b%Y",
                                                       "%F %T %z",
                                                       "%F %T %Z"};
    std::mt19937_64 random(dxrtest::Seed());
    for (const char *const format : kFormats) {
        for (const StampWidth width : {StampWidth::kFree, StampWidth::kExact}) {
            Reader reader(format, width);
            for (int i = 0; i < 200; ++i) {
                // From the year 2001 on, as %s with fewer digits may be any number; to 2068, the
                // last year of two digits.
                std::time_t sec = 1'000'000'000 + static_cast<std::time_t>(random() % 2100000000);
                const bool tellsSeconds = std::string_view(format) != "%F%t%R";
                sec -= tellsSeconds ? 0 : sec % 60;
                std::tm parts{};
                ASSERT_NE(gmtime_r(&sec, &parts), nullptr);
                std::array<char, 100> text{};
                ASSERT_NE(std::strftime(text.data(), text.size(), format, &parts), 0U);
                if (std::string_view(format) == "%s") {
                    // strftime() takes the parts for local time.
                    sec = std::mktime(&parts);
                }
                EXPECT_EQ(reader.Sec(text.data()), static_cast<uint32_t>(sec))
                    << format << ": " << text.data();
            }
        }
    }
}

TEST(StampFormat, ExactNumbersHaveAllTheirDigits) {
    constexpr const char *kFormat = "%Y-%m-%d %H:%M:%S";
    EXPECT_EQ(SecIn(kFormat, "2026-1-2 3:4:5"), 1767323045U);
    EXPECT_EQ(SecIn(kFormat, "2026-1-2 3:4:5", StampWidth::kExact), 0U);
    EXPECT_EQ(SecIn(kFormat, "2026-01-02 03:04:05", StampWidth::kExact), 1767323045U);
    EXPECT_EQ(SecIn("%s", "17", StampWidth::kExact), 0U) << "any number";
    EXPECT_EQ(SecIn("%s", "17"), 17U);
}

TEST(StampFormat, OnlyTimesThatExistAreRead) {
    for (const char *const text :
         {"2026-02-29 00:00:00", "2026-00-01 00:00:00", "2026-13-01 00:00:00",
          "2026-01-32 00:00:00", "2026-01-01 24:00:00", "2026-01-01 00:60:00",
          "2026-01-01 00:00:61", "1969-12-31 23:59:59", "2106-01-01 00:00:00", "2026-01-01"}) {
        EXPECT_EQ(SecIn("%F %T", text), 0U) << text;
    }
    EXPECT_NE(SecIn("%F %T", "2024-02-29 00:00:00"), 0U);
    EXPECT_EQ(SecIn("%F %T", "2026-01-01 00:00:60"), SecIn("%F %T", "2026-01-01 00:01:00"));
    EXPECT_EQ(SecIn("%j %Y %R", "366 2026 00:00"), 0U);
    EXPECT_NE(SecIn("%j %Y %R", "366 2024 00:00"), 0U);
}

TEST(StampFormat, TheStampEndsWithItsWord) {
    Reader reader("%F %T");
    EXPECT_EQ(reader.Length("2026-11-21 03:37:00 up"), 19U);
    EXPECT_EQ(reader.Length("2026-11-21 03:37:00] up"), 19U);
    EXPECT_EQ(reader.Length("2026-11-21 03:37:00"), 19U);
    EXPECT_EQ(reader.Length("2026-11-21 03:37:00x"), 0U);
    EXPECT_EQ(reader.Length("2026-11-21 03:37:001"), 0U) << "not the head of the line before";
    EXPECT_EQ(reader.Length("2026-11-21 \t 03:37:00"), 21U) << "a blank stands for many";
    EXPECT_EQ(reader.Length("2026-11-2103:37:00"), 18U) << "and for none";
    EXPECT_EQ(SecIn("%F %T", "2026-11-2103:37:00", StampWidth::kExact), 0U);
}

TEST(StampFormat, AWordMayFollowWhatEndsInNone) {
    EXPECT_EQ(Reader("%F|%T|").Length("2026-11-21|03:37:00|up"), 20U);
    EXPECT_EQ(Reader("[%F %T]").Length("[2026-11-21 03:37:00]up"), 21U);
    Reader blank("%F %T ");
    EXPECT_EQ(blank.Length("2026-11-21 03:37:00 up"), 20U);
    EXPECT_EQ(blank.Length("2026-11-21 03:37:00"), 19U);
    EXPECT_EQ(blank.Length("2026-11-21 03:37:00x"), 0U);
    EXPECT_EQ(blank.Length("2026-11-21 03:37:00_"), 0U);
}

TEST(StampFormat, NumbersInAColumnHaveBlanksOrNone) {
    Reader sinceStart("[ %s.%f]");
    EXPECT_EQ(sinceStart.Sec("[    7.000001] up"), 7U);
    EXPECT_EQ(sinceStart.Sec("[99999.000001] up"), 99999U);
}

TEST(StampFormat, FractionsArePassedOver) {
    Reader seconds("%F %T");
    EXPECT_EQ(seconds.Sec("2026-11-21 03:37:00.999"), kMoment);
    EXPECT_EQ(seconds.Length("2026-11-21 03:37:00,25 x"), 22U);
    Reader given("%T.%f");
    EXPECT_EQ(given.Length("03:37:00.250"), 12U);
    EXPECT_EQ(given.Length("03:37:00"), 0U) << "the form says that there is one";
    EXPECT_EQ(SecIn("%Q", "1795232220999"), kMoment);
    EXPECT_EQ(SecIn("%s", "1795232220.5"), kMoment);
}

TEST(StampFormat, ZonesAreReckonedWith) {
    for (const char *const zone : {"+01", "+0100", "+01:00"}) {
        EXPECT_EQ(SecIn("%F %T%z", std::string("2026-11-21 04:37:00") + zone), kMoment) << zone;
    }
    EXPECT_EQ(SecIn("%F %T %z", "2026-11-20 22:07:00 -0530"), kMoment);
    EXPECT_EQ(SecIn("%F %T%z", "2026-11-21 03:37:00Z"), kMoment);
    EXPECT_EQ(SecIn("%F %T%z", "2026-11-21 03:37:00"), 0U) << "one is asked for";
    StampFormat maybe("%F %T", StampWidth::kExact);
    maybe.AllowZone();
    FormatReader reader(maybe, YearFinder::Before(kMoment));
    EXPECT_EQ(reader.Read("2026-11-21 03:37:00")->sec, kMoment);
    EXPECT_EQ(reader.Read("2026-11-21 04:37:00 +0100")->sec, kMoment);
}

TEST(StampFormat, HalvesOfADay) {
    constexpr const char *kFormat = "%F %I:%M %p";
    const uint32_t midnight = SecIn("%F %R", "2026-11-21 00:00");
    EXPECT_EQ(SecIn(kFormat, "2026-11-21 12:00 am"), midnight);
    EXPECT_EQ(SecIn(kFormat, "2026-11-21 12:00 PM"), midnight + 43200);
    EXPECT_EQ(SecIn(kFormat, "2026-11-21 1:00 Pm"), midnight + 46800);
    EXPECT_EQ(SecIn(kFormat, "2026-11-21 13:00 pm"), 0U);
    EXPECT_EQ(SecIn(kFormat, "2026-11-21 01:00 xm"), 0U);
}

TEST(StampFormat, WhatIsNotToldIsFound) {
    Reader yearless("%m-%d %T", StampWidth::kExact, YearFinder::FromYear(2024));
    EXPECT_EQ(yearless.Sec("12-31 23:59:59"), SecIn("%F %T", "2024-12-31 23:59:59"));
    EXPECT_EQ(yearless.Sec("01-01 00:00:01"), SecIn("%F %T", "2025-01-01 00:00:01"));
    EXPECT_EQ(yearless.Sec("02-30 00:00:00"), 0U);
    Reader dateless("%T");
    const uint32_t first = dateless.Sec("23:59:59");
    EXPECT_EQ(dateless.Sec("00:00:01"), first + 2) << "a day has passed";
}

TEST(StampFormat, FormatsWithoutSenseAreRefused) {
    EXPECT_EQ(ComplaintAbout("%F %T"), "");
    EXPECT_EQ(ComplaintAbout("%F %T %"), "--stamp: '%F %T %' ends in a single %");
    EXPECT_EQ(ComplaintAbout("%F"), "--stamp: '%F' tells no time of day");
    EXPECT_EQ(ComplaintAbout("%H"), "--stamp: '%H' tells no time of day");
    EXPECT_EQ(ComplaintAbout("%m %T"), "--stamp: '%m %T' tells a part of a date");
    EXPECT_EQ(ComplaintAbout("%j %T"), "--stamp: '%j %T' tells a part of a date");
    EXPECT_EQ(ComplaintAbout("").find("--stamp: '' tells no"), 0U);
    EXPECT_EQ(ComplaintAbout("%E %T"),
              "--stamp: %E is not known, but %Y %y %m %b %d %e %j %a %H %k %I %l %M %S %p %z %Z %s "
              "%Q %f %T %R %D %F %n %t %%");
}

// --- LineMask

std::string Masked(const std::string &text, const std::vector<std::string> &expressions = {""}) {
    LineMask mask(expressions);
    return std::string(mask.Of(text, 1023));
}

TEST(LineMask, WhatVariesIsOneMark) {
    const std::vector<std::array<const char *, 2>> rows = {
        {"eth0 up", "eth# up"},
        {"at 10.0.0.1:80", "at #:#"},
        {"1,024 of 3.14", "# of #"},
        {"x -5 +7 a-5", "x # # a-#"},
        {"0x1F 0Xff 0xg", "# # #xg"},
        {"deadbeef facade", "# facade"},
        {"cafe caf3", "cafe #"},
        {"550e8400-e29b-41d4-a716-446655440000", "#"},
        {"00:1b:2c:3d:4e:5f up", "# up"},
        {"fe80::1%eth0", "#%eth#"},
        {"a1b2c3 z1z2", "# z#z#"},
        {"abcdefghijklmnopqrs1", "#"},
        {"03:37", "#:#"},
        {"", ""},
        {"nothing at all", "nothing at all"},
    };
    for (const auto &[text, wanted] : rows) {
        EXPECT_EQ(Masked(text), wanted) << text;
    }
}

TEST(LineMask, ExpressionsMaskWhereverTheyMatch) {
    EXPECT_EQ(Masked("id=7 id=8", {"id=[0-9]+"}), "# #");
    EXPECT_EQ(Masked("aab", {"^a"}), "#ab") << "the line has one beginning";
    EXPECT_EQ(Masked("abc", {"x*"}), "abc") << "matches of nothing mask nothing";
    EXPECT_EQ(Masked("up 7", {"[a-z]+", ""}), "# #");
    EXPECT_EQ(Masked("abcb", {"b", "c"}), "a###");
    EXPECT_THROW(Masked("", {"ok", "("}), UsageError);
}

TEST(LineMask, RoomIsEnoughForWhatIsCompared) {
    LineMask mask({""});
    const std::string text(3000, 'x');
    EXPECT_EQ(mask.Of(text, 10).substr(0, 10), text.substr(0, 10));
    const std::string_view masked = mask.Of("a 1", 100);
    EXPECT_EQ(masked.data()[masked.size()], '\0');
}

// --- RememberedLines

TEST(RememberedLines, ForEverAsAMap) {
    std::mt19937_64 random(dxrtest::Seed());
    RememberedLines lines(true);
    std::unordered_map<uint32_t, uint32_t> model;
    for (int i = 0; i < 60000; ++i) {
        const auto hash = static_cast<uint32_t>(random() % 30000 * 4096);
        const auto check = static_cast<uint32_t>(random() % 4 * 2);
        if (random() % 2 == 0) {
            lines.Add(hash, check);
            model[hash] = check;
        } else {
            const auto known = model.find(hash);
            ASSERT_EQ(lines.IsOther(hash, check), known != model.end() && known->second != check);
        }
    }
}

TEST(RememberedLines, TheLatestAsAMap) {
    constexpr uint64_t kHeld = 2047;  // by the filter
    std::mt19937_64 random(dxrtest::Seed());
    RememberedLines lines(false);
    struct Known {
        uint32_t check;
        uint64_t when;
    };
    std::unordered_map<uint32_t, Known> model;
    uint64_t added = 0;
    for (int i = 0; i < 60000; ++i) {
        const auto hash = static_cast<uint32_t>(random() % 30000);
        const auto check = static_cast<uint32_t>(random() % 4 * 2);
        const auto known = model.find(hash);
        if (random() % 2 == 0) {
            lines.Add(hash, check);
            model[hash] = {check, added++};
        } else if (known == model.end()) {
            ASSERT_FALSE(lines.IsOther(hash, check));
        } else if (known->second.when + kHeld >= added) {
            ASSERT_EQ(lines.IsOther(hash, check), known->second.check != check);
        } else {
            ASSERT_TRUE(!lines.IsOther(hash, check) || known->second.check != check);
        }
    }
}

TEST(RememberedLines, AsLongAsTheGenerationStaysNoLineBecomesAnother) {
    std::mt19937_64 random(dxrtest::Seed());
    RememberedLines lines(true);
    lines.Add(7, 2);
    uint32_t generation = lines.Generation();
    bool wasOther = lines.IsOther(7, 2);
    uint32_t changes = 0;
    for (int i = 0; i < 20000; ++i) {
        lines.Add(static_cast<uint32_t>(random() % 500), static_cast<uint32_t>(random() % 2 * 2));
        const bool isOther = lines.IsOther(7, 2);
        ASSERT_TRUE(wasOther || !isOther || lines.Generation() != generation);
        ASSERT_NE(lines.Generation(), 0U);
        changes += isOther != wasOther ? 1 : 0;
        generation = lines.Generation();
        wasOther = isOther;
    }
    EXPECT_GT(changes, 0U);
}

// --- JsonText

TEST(JsonText, CommasComeByThemselves) {
    JsonText json;
    json.BeginObject()
        .Text("a", "b")
        .BeginList("c")
        .Number("", 1)
        .BeginObject()
        .EndObject()
        .Flag("", false)
        .BeginList()
        .EndList()
        .EndList()
        .Null("d")
        .Real("e", 0.5)
        .Real("f", std::numeric_limits<double>::infinity())
        .Number("g", UINT64_MAX)
        .EndObject();
    EXPECT_EQ(json.Line(),
              "{\"a\":\"b\",\"c\":[1,{},false,[]],\"d\":null,\"e\":0.5,\"f\":null,"
              "\"g\":18446744073709551615}\n");
}

TEST(JsonText, TextsAreEscaped) {
    EXPECT_EQ(dxrsh::JsonString("\"\\\n\r\t\x01\x7f/"), R"("\"\\\n\r\t\u0001\u007f/")");
    EXPECT_EQ(dxrsh::JsonString(std::string_view("a\0b", 3)), R"("a\u0000b")");
    EXPECT_EQ(dxrsh::JsonString("\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"),
              "\"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80\"");
}

TEST(JsonText, BytesThatAreNoUtf8AreReplaced) {
    constexpr const char *kMark = "\xEF\xBF\xBD";
    for (const char *const bad : {"\x80", "\xC1", "\xF5", "\xC3", "\xFF"}) {
        EXPECT_EQ(dxrsh::JsonString(bad), std::string("\"") + kMark + "\"");
    }
    // Overlong, a surrogate, beyond the last character: none of their bytes is a character.
    for (const char *const bad : {"\xE0\x80\x80", "\xED\xA0\x80"}) {
        EXPECT_EQ(dxrsh::JsonString(bad), std::string("\"") + kMark + kMark + kMark + "\"");
    }
    EXPECT_EQ(dxrsh::JsonString("\xF4\x90\x80\x80x"),
              std::string("\"") + kMark + kMark + kMark + kMark + "x\"");
}

}  // namespace
