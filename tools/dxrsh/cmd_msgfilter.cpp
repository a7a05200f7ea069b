// dxrsh msgfilter: the message filter tree, built from a file.

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "commands.h"
#include "file_io.h"
#include "filter_tree.h"
#include "help.h"
#include "json_text.h"
#include "number_option.h"
#include "numbers.h"
#include "replay.h"

namespace dxrsh {
namespace {

struct MsgFilterOptions {
    std::string treeFile;
    std::string path;
    uint32_t count = 0;
    ReplayOptions replay;
    bool json = false;
};

std::optional<uint32_t> NumberAfter(std::string_view line, std::string_view words) {
    const size_t at = line.find(words);
    uint32_t number = 0;
    if (at == std::string_view::npos ||
        std::from_chars(line.data() + at + words.size(), line.data() + line.size(), number).ec !=
            std::errc()) {
        return std::nullopt;
    }
    return number;
}

// The nodes in the order of the listing, each with its path. A line of the listing is
// "    msgType[1], lostCnt[0], name[link]", with four blanks more for each level.
std::string JsonOf(const FilterTree &tree) {
    JsonText json;
    json.BeginObject().BeginList("filters");
    std::vector<std::string> path;
    const std::string listing = tree.Listing();
    for (const std::string_view line : Split(listing, '\n')) {
        const size_t indent = line.find_first_not_of(' ');
        const size_t nameAt = line.find("name[");
        const std::optional<uint32_t> type = NumberAfter(line, "msgType[");
        const std::optional<uint32_t> lost = NumberAfter(line, "lostCnt[");
        if (indent == std::string_view::npos || nameAt == std::string_view::npos || !type ||
            !lost) {
            continue;
        }
        const size_t level = indent / 4;
        path.resize(level == 0 ? 0 : level - 1);
        if (level != 0) {
            path.push_back(std::to_string(*type));
        }
        const std::string_view name = line.substr(nameAt + 5, line.rfind(']') - nameAt - 5);
        json.BeginObject()
            .Text("path", level == 0 ? "/" : fmt::format("{}", fmt::join(path, "/")))
            .Text("name", name)
            .Number("lost", *lost)
            .EndObject();
    }
    json.EndList().EndObject();
    return json.Line();
}

std::string Shown(const FilterTree &tree, const MsgFilterOptions &options) {
    return options.json ? JsonOf(tree) : tree.Listing();
}

void Show(const MsgFilterOptions &options) {
    const FilterTree tree(options.treeFile);
    WriteOut(Shown(tree, options));
}

void Set(const MsgFilterOptions &options) {
    FilterTree tree(options.treeFile);
    tree.Set(options.path, options.count);
    WriteOut(Shown(tree, options));
}

void Replay(const MsgFilterOptions &options) {
    FilterTree tree(options.treeFile);
    ForEachSetting(options.replay,
                   [&tree](const std::string &path, uint32_t count) { tree.Set(path, count); });
    Output output(STDOUT_FILENO);
    ForEachMessage(options.replay, [&](const std::string &message) {
        const bool dropped = tree.IsFiltered(message);
        if (options.json) {
            JsonText json;
            json.BeginObject().Text("message", message).Flag("dropped", dropped).EndObject();
            output.Write(json.Line());
            return;
        }
        output.Write(fmt::format("{:>16}  {}\n", message, dropped ? "dropped" : "passed"));
    });
    output.Write((options.json ? "" : "\n") + Shown(tree, options));
    output.Flush();
}

}  // namespace

void AddMsgFilterCommand(CLI::App &program) {
    const auto options = std::make_shared<MsgFilterOptions>();
    CLI::App *const command =
        program.add_subcommand("msgfilter", "The message filter tree, built from a file");
    command->require_subcommand(1);
    const std::vector<std::string> examples = {
        "dxrsh msgfilter show examples/dxrsh/filters.json",
        "dxrsh msgfilter replay examples/dxrsh/filters.json 1/10 2/7 --set 1/11=4"};
    Describe(
        *command,
        "TREE is a JSON file; a node has a message type, a name of at most 31 bytes, a number "
        "of messages to drop (0 when it is left out) and, if it is no leaf, filters below it:\n"
        "{\"filters\": [{\"type\": 1, \"name\": \"a\", \"lost\": 0, \"filters\": [...]}]}\n"
        "A PATH is the message types from the first level down, at most 16, such as 1/2; / is "
        "the root, whose count is for messages without a type; it is shown while it is not 0.",
        examples);
    const auto addAction = [&](const char *name, const char *about) {
        CLI::App *const action = command->add_subcommand(name, about);
        action->add_option("TREE", options->treeFile, "The tree, JSON")->required();
        AddJsonFlag(*action, options->json);
        Describe(*action, "", examples);
        return action;
    };

    addAction("show", "Prints the tree")->callback([options] { Show(*options); });

    CLI::App *const set = addAction("set", "Sets one count and prints the tree");
    set->add_option("PATH", options->path, "The node")->required();
    set->add_option("COUNT", options->count, "Messages to drop")
        ->transform(AsWholeNumber())
        ->required();
    set->callback([options] { Set(*options); });

    CLI::App *const replay =
        addAction("replay", "Tells of each message whether it is dropped; then the tree");
    AddReplayOptions(*replay, options->replay, "PATH", "PATH");
    replay->callback([options] { Replay(*options); });
}

}  // namespace dxrsh
