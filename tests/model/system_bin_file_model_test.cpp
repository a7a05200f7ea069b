// The latest file against a naive search over names drawn from few letters, so that prefixes, ties
// and names around the buffer's length come up often.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dxr_api.h"
#include "support/scripted_folder.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::ScriptedFolder;
using dxrtest::TestHost;

constexpr uint32_t kFound = 0;
constexpr uint32_t kDoesNotFit = 11;
constexpr uint32_t kNothing = 12;

struct Outcome {
    uint32_t result;
    std::string name;
    bool operator==(const Outcome &) const = default;
};

std::vector<unsigned char> Bytes(const std::string &text) {
    return {text.begin(), text.end()};
}

// The names that matter are those that beat every one before them; the first of them without room
// ends it.
Outcome Model(const std::vector<std::string> &names, const std::string &pattern, size_t len) {
    std::string best;
    for (const std::string &name : names) {
        if (name.find(pattern) == std::string::npos || Bytes(name) <= Bytes(best)) {
            continue;
        }
        if (name.size() >= len) {
            return {kDoesNotFit, ""};
        }
        best = name;
    }
    return {best.empty() ? kNothing : kFound, best};
}

class Draw {
  public:
    explicit Draw(uint64_t seed) : engine_(seed) {}
    size_t Below(size_t bound) {
        return std::uniform_int_distribution<size_t>(0, bound - 1)(engine_);
    }
    std::string Name(size_t minLength, size_t maxLength) {
        static const std::string letters = "ab.\x01\x7F\x80\xFF";
        std::string name(minLength + Below(maxLength - minLength + 1), '\0');
        std::generate(name.begin(), name.end(), [this] { return letters[Below(letters.size())]; });
        return name;
    }

  private:
    std::mt19937_64 engine_;
};

TEST(LatestFileModel, RandomFoldersAgreeWithANaiveSearch) {
    TestHost host;
    host.WithPrint();
    Draw draw(dxrtest::Seed());
    std::vector<int> outcomes(13);
    for (int round = 0; round < 20'000; ++round) {
        std::vector<std::string> names(draw.Below(8));
        std::generate(names.begin(), names.end(), [&] { return draw.Name(1, 6); });
        const std::string pattern = draw.Name(0, 2);
        const auto len = static_cast<uint32_t>(1 + draw.Below(9));

        host.printed.clear();
        GuardedBuffer buffer(len);
        Outcome outcome = {};
        {
            ScriptedFolder folder(names);
            outcome.result = DXR_GetLatestFile(pattern.c_str(), "sub", buffer.Data(), len);
            outcome.name = buffer.Text();
            ASSERT_EQ(folder.closes, 1U);
        }
        const Outcome expected = Model(names, pattern, len);
        ASSERT_EQ(outcome, expected)
            << "round " << round << ", length " << len << ", pattern \"" << pattern << "\", names "
            << testing::PrintToString(names) << ": " << outcome.result << " \"" << outcome.name
            << "\" instead of " << expected.result << " \"" << expected.name << '"';
        ASSERT_TRUE(buffer.Intact());
        ASSERT_EQ(host.printed.size(), outcome.result == kDoesNotFit ? 1U : 0U);
        ++outcomes.at(outcome.result);
    }
    EXPECT_GT(outcomes[kFound], 1000);
    EXPECT_GT(outcomes[kDoesNotFit], 1000);
    EXPECT_GT(outcomes[kNothing], 1000);
}

}  // namespace
