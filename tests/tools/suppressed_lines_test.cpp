#include "suppressed_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

}  // namespace
