// Link bitmaps beside a table of flags.
#include <cstdint>
#include <vector>

#include "dxr/utils_link_bitmap.h"
#include "fuzz/host.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kMostBits = 64 * 512;

ModelText g_text;

class Run {
  public:
    explicit Run(Input &input) : input_(input) {}
    ~Run() {
        DXR_DestroyLinkBitMap(map_);
        DXR_FUZZ_SAME(Host::live == 0);
    }

    void Operation() {
        switch (input_.Below(8)) {
            case 0:
                Create();
                break;
            case 1:
            case 2:
                Save();
                break;
            case 3:
                SaveAbsolute();
                break;
            case 4:
            case 5:
                Fill();
                break;
            case 6:
                PrintMap();
                break;
            default:
                Arithmetic();
                break;
        }
        DXR_FUZZ_SAME(Host::live == (map_ != nullptr ? 2 : 0));
    }

  private:
    [[nodiscard]] uint32_t RowBits() const { return (links_ + 31) / 32 * 32; }

    void Create() {
        DXR_DestroyLinkBitMap(map_);
        map_ = nullptr;
        const uint32_t chips = input_.Rarely() ? 0 : input_.Below(12);
        const uint32_t links = input_.Rarely() ? 0 : input_.Below(140);
        Host::failIn = input_.Rarely() ? 1 + input_.Below(2) : 0;
        const bool fails = Host::failIn != 0 || chips == 0 || links == 0;
        map_ = DXR_CreateLinkBitMap(chips, links);
        Host::failIn = 0;
        DXR_FUZZ_SAME((map_ == nullptr) == fails);
        if (map_ == nullptr) {
            chips_ = 0;
            return;
        }
        chips_ = chips;
        links_ = links;
        std::memset(bits_, 0, chips_ * RowBits());
        DXR_FUZZ_SAME(map_->chipNum == chips && map_->linkNumPerChip == links);
        DXR_FUZZ_SAME(map_->wordNumPerChip == RowBits() / 32);
        SameBits();
    }

    void Save() {
        const uint32_t chip = input_.Rarely() ? input_.Number() : input_.Below(13);
        const uint32_t link = input_.Rarely() ? input_.Number() : input_.Below(200);
        DXR_SaveLinkToBitMap(map_, chip, link);
        Mark(chip, link);
        SameBits();
    }

    void SaveAbsolute() {
        const uint32_t link = input_.Number();
        DXR_SaveLinkToBitMapByAbsLinkId(map_, link);
        if (chips_ != 0) {
            Mark(link / chips_, link % chips_);
        }
        SameBits();
    }

    void Mark(uint32_t chip, uint32_t link) {
        if (chip < chips_ && link < RowBits()) {
            bits_[chip * RowBits() + link] = 1;
        }
    }

    void SameBits() const {
        if (map_ == nullptr) {
            return;
        }
        for (uint32_t i = 0; i < chips_ * RowBits() / 32; ++i) {
            DXR_FUZZ_SAME(map_->bitMap[i] == WordAt(i));
        }
    }

    [[nodiscard]] uint32_t WordAt(uint32_t index) const {
        uint32_t word = 0;
        for (uint32_t bit = 0; bit < 32; ++bit) {
            word |= static_cast<uint32_t>(bits_[index * 32 + bit]) << bit;
        }
        return word;
    }

    [[nodiscard]] uint32_t Marked(uint32_t first, uint32_t count) const {
        uint32_t marked = 0;
        for (uint32_t i = 0; i < count; ++i) {
            marked += bits_[first + i];
        }
        return marked;
    }

    void ChipText() const {
        for (uint32_t chip = 0; chip < chips_; ++chip) {
            g_text.Add(" Chip").Number(chip).Add(": Valid[");
            g_text.Number(Marked(chip * RowBits(), RowBits())).Add("][");
            for (uint32_t i = RowBits() / 32; i > 0; --i) {
                g_text.Add(" 0x").Hex(WordAt(chip * RowBits() / 32 + i - 1), 8);
            }
            g_text.Add(" ]");
        }
    }

    void Fill() {
        if (map_ == nullptr) {
            return;
        }
        g_text.Clear();
        ChipText();
        const uint32_t size = input_.Flag() ? input_.Byte() : input_.Half() & 0x7FF;
        const ExactBuffer buffer(size);
        DXR_FillLinkBitMapToBuf(map_, buffer.Data(), size);
        DXR_FUZZ_SAME(buffer.HoldsCut(g_text.View()));
    }

    void PrintMap() {
        const std::string_view given = input_.Text(40);
        char text[64];
        const size_t length = strnlen(given.data(), given.size());
        std::memcpy(text, given.data(), length);
        text[length] = '\0';
        const int width = input_.Rarely() ? 900 + input_.Byte() : 0;
        const uint32_t before = Host::lines;
        const bool withHook = !input_.Rarely();
        g_dxrHooks.print.print = withHook ? Host::Print : nullptr;
        DXR_PrintLinkToBitMap(map_, "%*s", width, text);
        g_dxrHooks.print.print = Host::Print;
        DXR_FUZZ_SAME(Host::lines == before + (withHook && map_ != nullptr ? 1 : 0));
        if (Host::lines == before) {
            return;
        }
        g_text.Clear();
        if (static_cast<size_t>(width) > length) {
            g_text.Blanks(static_cast<size_t>(width) - length);
        }
        g_text.Add({text, length}).Add(" TotalValidLink[");
        g_text.Number(Marked(0, chips_ * RowBits())).Add("] BitMapOrder <-");
        ChipText();
        DXR_FUZZ_SAME(Host::level == 6);
        DXR_FUZZ_SAME(std::string_view(Host::line) == g_text.View().substr(0, 1023));
    }

    void Arithmetic() {
        const uint32_t absolute = input_.Number();
        const uint32_t perChip = input_.Number();
        const uint32_t link = input_.Number();
        const uint64_t divisor = perChip == 0 ? 1 : perChip;
        const uint32_t chip = DXR_CalcChipIdByAbsoluteLinkId(absolute, perChip);
        DXR_FUZZ_SAME(chip == absolute / divisor);
        DXR_FUZZ_SAME(DXR_CalcLinkIdByAbsoluteLinkId(absolute, perChip) ==
                      absolute - chip * divisor);
        DXR_FUZZ_SAME(DXR_CalcAbsoluteLinkId(absolute, perChip, link) ==
                      (uint64_t{absolute} * perChip + link) % (uint64_t{1} << 32));
    }

    Input &input_;
    DxrLinkBitMap *map_ = nullptr;
    uint32_t chips_ = 0;
    uint32_t links_ = 0;
    static inline uint8_t bits_[kMostBits];
};

}  // namespace

void LinkBitmap(Input &input) {
    Host::Install();
    Run run(input);
    for (int i = 0; i < 24 && !input.Empty(); ++i) {
        run.Operation();
    }
}

}  // namespace dxrfuzz
