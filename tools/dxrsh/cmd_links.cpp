// dxrsh links: a link bitmap, drawn as the library prints it.

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "dxr_api.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_text.h"
#include "number_option.h"
#include "numbers.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr uint64_t kMostWords = 1U << 16U;

struct LinksOptions {
    uint32_t chips = 0;
    uint32_t linksPerChip = 0;
    std::vector<std::string> links;
    std::string title = "links:";
    bool whole = false;
    bool json = false;
};

struct Link {
    uint32_t chip;
    uint32_t link;
};

// "CHIP:LINK", or a number that counts the links across the chips.
Link ParseLink(const std::string &text, const LinksOptions &options) {
    const std::vector<std::string_view> sides = Split(text, ':');
    Link link{};
    if (sides.size() == 2) {
        link = {RequireNumber(sides[0], "chip"), RequireNumber(sides[1], "link")};
    } else {
        const uint32_t number = RequireNumber(text, "link");
        link = {DXR_CalcChipIdByAbsoluteLinkId(number, options.linksPerChip),
                DXR_CalcLinkIdByAbsoluteLinkId(number, options.linksPerChip)};
    }
    if (link.chip >= options.chips || link.link >= options.linksPerChip) {
        throw UsageError(fmt::format("there is no link '{}' on {} chips of {} links", text,
                                     options.chips, options.linksPerChip));
    }
    return link;
}

class LinkMap {
  public:
    explicit LinkMap(const LinksOptions &options)
        : map_(DXR_CreateLinkBitMap(options.chips, options.linksPerChip)) {
        if (map_ == nullptr) {
            throw RunError("there is not enough memory for the map");
        }
    }
    ~LinkMap() { DXR_DestroyLinkBitMap(map_); }
    LinkMap(const LinkMap &) = delete;
    LinkMap &operator=(const LinkMap &) = delete;
    LinkMap(LinkMap &&) = delete;
    LinkMap &operator=(LinkMap &&) = delete;

    void Save(const Link &link) const { DXR_SaveLinkToBitMap(map_, link.chip, link.link); }

    // The line that modules print; it ends where its 1023 characters end.
    [[nodiscard]] std::string PrintedLine(const std::string &title) const {
        const MessageCatcher messages;
        DXR_PrintLinkToBitMap(map_, "%s", title.c_str());
        return messages.Last();
    }

    // All chips, whatever their number.
    [[nodiscard]] std::string AllChips() const {
        constexpr size_t kChip = 48;  // with two numbers of ten digits
        constexpr size_t kWord = 11;
        const size_t words = map_->wordNumPerChip;
        std::vector<char> text(map_->chipNum * (kChip + words * kWord) + 1);
        DXR_FillLinkBitMapToBuf(map_, text.data(), static_cast<uint32_t>(text.size()));
        return text.data();
    }

  private:
    DxrLinkBitMap *map_;
};

void RunLinks(const LinksOptions &options) {
    const uint64_t words = (uint64_t{options.linksPerChip} + 31) / 32;
    if (options.chips == 0 || options.linksPerChip == 0 || words * options.chips > kMostWords) {
        throw UsageError(fmt::format("links: {} chips of {} links make no map of 1 to {} words",
                                     options.chips, options.linksPerChip, kMostWords));
    }
    const Host host;
    const LinkMap map(options);
    JsonText json;
    json.BeginObject()
        .Number("chips", options.chips)
        .Number("links_per_chip", options.linksPerChip)
        .BeginList("links");
    for (const std::string &text : options.links) {
        const Link link = ParseLink(text, options);
        map.Save(link);
        json.BeginObject().Number("chip", link.chip).Number("link", link.link).EndObject();
    }
    const std::string line = options.whole ? map.AllChips() : map.PrintedLine(options.title);
    if (options.json) {
        json.EndList().Text("bitmap", line).EndObject();
        WriteOut(json.Line());
        return;
    }
    WriteOut(Printable(line, SIZE_MAX) + "\n");
}

}  // namespace

void AddLinksCommand(CLI::App &program) {
    const auto options = std::make_shared<LinksOptions>();
    CLI::App *const command = program.add_subcommand("links", "A link bitmap, as modules print it");
    Describe(
        *command,
        "A LINK is CHIP:LINK, or one number that counts the links across the chips (chip times "
        "LINKS plus link). Words are printed from the highest to the lowest, so that links "
        "read from right to left. The printed line is cut at 1023 characters.",
        {"dxrsh links 2 40 0 33 1:39", "dxrsh links 2 40 1:39 --whole"});
    AddJsonFlag(*command, options->json);
    command->add_option("CHIPS", options->chips, "Number of chips")
        ->transform(AsWholeNumber())
        ->required();
    command->add_option("LINKS", options->linksPerChip, "Links per chip")
        ->transform(AsWholeNumber())
        ->required();
    command->add_option("LINK", options->links, "The valid links");
    command->add_option("--title", options->title, "Text at the head of the line")
        ->type_name("TEXT");
    command->add_flag("--whole", options->whole, "The chips alone, all of them, uncut");
    command->callback([options] { RunLinks(*options); });
}

}  // namespace dxrsh
