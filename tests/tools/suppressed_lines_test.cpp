#include "suppressed_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/test_host.h"

namespace {

using dxrsh::SuppressedLines;

using Ranking = std::vector<std::pair<std::string, uint64_t>>;

Ranking Top(const SuppressedLines &lines, size_t count) {
    Ranking ranking;
    for (const auto &line : lines.Top(count)) {
        ranking.emplace_back(line.text, line.count);
    }
    return ranking;
}

TEST(SuppressedLines, NoneAtFirst) {
    EXPECT_EQ(Top(SuppressedLines(), 10), Ranking());
}

TEST(SuppressedLines, MostFrequentFirst) {
    SuppressedLines lines;
    for (const char *text : {"a", "b", "b", "c", "b", "c"}) {
        lines.Add(text, text);
    }
    EXPECT_EQ(Top(lines, 10), (Ranking{{"b", 3}, {"c", 2}, {"a", 1}}));
    EXPECT_EQ(Top(lines, 2), (Ranking{{"b", 3}, {"c", 2}}));
}

TEST(SuppressedLines, EqualsInTheOrderOfTheirFirst) {
    SuppressedLines lines;
    for (int i = 0; i < 100; ++i) {
        const std::string text = std::to_string(i);
        lines.Add(text, text);
    }
    EXPECT_EQ(Top(lines, 3), (Ranking{{"0", 1}, {"1", 1}, {"2", 1}}));
}

TEST(SuppressedLines, TheKeyDecidesAndTheFirstTextStands) {
    SuppressedLines lines;
    lines.Add("7", "port 7 down");
    lines.Add("7", "port 7 up");
    lines.Add("8", "port 8 down");
    EXPECT_EQ(Top(lines, 10), (Ranking{{"port 7 down", 2}, {"port 8 down", 1}}));
}

TEST(SuppressedLines, TextsOutliveTheirLines) {
    SuppressedLines lines;
    std::string line = "a line that is longer than any text kept within an object";
    const std::string first = line;
    lines.Add(line, line);
    line.assign(line.size(), 'x');
    lines.Add(first, line);
    EXPECT_EQ(Top(lines, 10), (Ranking{{first, 2}}));
}

TEST(SuppressedLines, OneByteMakesAnotherLine) {
    // One step of the hash, two, and in between; a NUL byte is a byte as any other.
    for (const size_t length : {1U, 7U, 8U, 15U, 16U, 17U, 31U, 32U, 33U, 64U, 100U}) {
        SuppressedLines lines;
        const std::string text(length, 'a');
        lines.Add(text, text);
        for (size_t i = 0; i < length; ++i) {
            std::string other = text;
            other[i] = '\0';
            lines.Add(other, other);
        }
        lines.Add(text + '\0', text + '\0');
        lines.Add(text.substr(1), text.substr(1));
        lines.Add(text, text);
        const Ranking ranking = Top(lines, 1000);
        EXPECT_EQ(ranking.size(), length + 3) << length;
        EXPECT_EQ(ranking[0], std::make_pair(text, uint64_t{2})) << length;
    }
}

TEST(SuppressedLines, AnEmptyKeyIsAKey) {
    SuppressedLines lines;
    lines.Add({}, "a");
    lines.Add("", {});
    lines.Add("0", {});
    EXPECT_EQ(Top(lines, 10), (Ranking{{"a", 2}, {"", 1}}));
}

// Among so many lines some have the same hash of 32 bits.
TEST(SuppressedLines, LinesOfOneHashAreApart) {
    constexpr size_t kLines = 400'000;
    SuppressedLines lines;
    for (size_t i = 0; i < kLines; ++i) {
        const std::string text = std::to_string(i);
        lines.Add(text, text);
    }
    EXPECT_EQ(lines.Top(2 * kLines).size(), kLines);
}

TEST(SuppressedLines, RandomLinesAgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const size_t distinct : {3U, 700U, 20000U}) {
        SuppressedLines lines;
        std::unordered_map<std::string, size_t> places;
        Ranking model;
        for (int i = 0; i < 40000; ++i) {
            const uint64_t number = random() % distinct;
            // Some keys have their first bytes in common, some their last.
            const std::string digits = std::to_string(number);
            const std::string pad(number % 40, '.');
            const std::string key = number % 2 == 0 ? pad + digits : digits + pad;
            const std::string text = number % 3 == 0 ? key : key + " " + std::to_string(i);
            lines.Add(key, text);
            const auto [place, isNew] = places.emplace(key, model.size());
            if (isNew) {
                model.emplace_back(text, 0);
            }
            ++model[place->second].second;
        }
        std::stable_sort(model.begin(), model.end(),
                         [](const auto &a, const auto &b) { return a.second > b.second; });
        EXPECT_TRUE(Top(lines, 100000) == model) << distinct;
        model.resize(std::min<size_t>(model.size(), 10));
        EXPECT_EQ(Top(lines, 10), model) << distinct;
    }
}

}  // namespace
