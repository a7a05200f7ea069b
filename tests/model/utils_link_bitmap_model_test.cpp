// Random link maps against a set of links.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "dxr/utils_link_bitmap.h"
#include "support/test_host.h"

namespace {

constexpr size_t kLineLength = 1023;

struct Model {
    uint32_t chips;
    uint32_t row;                                   // links a row has room for
    std::set<std::pair<uint32_t, uint32_t>> links;  // chip, link

    void Save(uint32_t chip, uint32_t link) {
        if (chip < chips && link < row) {
            links.emplace(chip, link);
        }
    }

    [[nodiscard]] std::string ChipText(uint32_t chip) const {
        uint32_t valid = 0;
        std::string digits;  // of the whole row as one number
        for (uint32_t nibble = row / 4; nibble-- > 0;) {
            uint32_t digit = 0;
            for (uint32_t bit = 0; bit < 4; ++bit) {
                if (links.count({chip, nibble * 4 + bit}) != 0) {
                    digit += uint32_t{1} << bit;
                    ++valid;
                }
            }
            if (nibble % 8 == 7) {
                digits += " 0x";
            }
            digits += "0123456789abcdef"[digit];
        }
        return " Chip" + std::to_string(chip) + ": Valid[" + std::to_string(valid) + "][" + digits +
               " ]";
    }

    [[nodiscard]] std::string Text() const {
        std::string text;
        for (uint32_t chip = 0; chip < chips; ++chip) {
            text += ChipText(chip);
        }
        return text;
    }
};

class LinkBitMapModel : public testing::Test {
  protected:
    uint32_t Below(size_t bound) { return static_cast<uint32_t>(random_() % bound); }

    void SaveSome(DxrLinkBitMap *map, Model &model) {
        for (uint32_t step = Below(200); step > 0; --step) {
            if (Below(2) == 0) {
                const uint32_t chip = Below(model.chips + 2);
                const uint32_t link = Below(model.row + 40);
                DXR_SaveLinkToBitMap(map, chip, link);
                model.Save(chip, link);
            } else {
                const uint32_t absolute = Below(model.chips * model.chips + 10);
                DXR_SaveLinkToBitMapByAbsLinkId(map, absolute);
                model.Save(absolute / model.chips, absolute % model.chips);
            }
        }
    }

    void CheckFill(const DxrLinkBitMap *map, const std::string &whole) {
        const uint32_t room = 1 + Below(whole.size() + 20);
        dxrtest::GuardedBuffer buffer(room);
        DXR_FillLinkBitMapToBuf(map, buffer.Data(), room);
        ASSERT_EQ(buffer.Text(), whole.substr(0, room - 1));
        ASSERT_TRUE(buffer.Terminated() && buffer.Intact());
    }

    void CheckPrint(dxrtest::TestHost &host, const DxrLinkBitMap *map, const Model &model) {
        const std::string callers(Below(Below(4) == 0 ? 1200 : 40), 'c');
        host.printed.clear();
        DXR_PrintLinkToBitMap(map, "%s%u", callers.c_str(), model.row);
        const std::string whole = callers + std::to_string(model.row) + " TotalValidLink[" +
                                  std::to_string(model.links.size()) + "] BitMapOrder <-" +
                                  model.Text();
        ASSERT_EQ(host.printed.size(), 1U);
        ASSERT_EQ(host.printed[0].text, whole.substr(0, kLineLength));
    }

  private:
    std::mt19937_64 random_{dxrtest::Seed()};
};

TEST_F(LinkBitMapModel, RandomMapsAgreeWithASetOfLinks) {
    for (int round = 0; round < 300; ++round) {
        dxrtest::TestHost host;
        host.WithMemory().WithPrint();
        const uint32_t chips = 1 + Below(20);
        const uint32_t links = 1 + Below(150);
        DxrLinkBitMap *map = DXR_CreateLinkBitMap(chips, links);
        ASSERT_NE(map, nullptr);
        Model model = {chips, (links + 31) / 32 * 32, {}};
        for (int step = 0; step < 5; ++step) {
            SaveSome(map, model);
            ASSERT_NO_FATAL_FAILURE(CheckFill(map, model.Text())) << round;
            ASSERT_NO_FATAL_FAILURE(CheckPrint(host, map, model)) << round;
        }
        DXR_DestroyLinkBitMap(map);
        ASSERT_EQ(host.LiveBlocks(), 0U);
    }
}

}  // namespace
