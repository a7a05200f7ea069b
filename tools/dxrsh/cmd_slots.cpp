// dxrsh slots: the hook table, slot by slot.

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "json_text.h"
#include "slot_table.h"

namespace dxrsh {
namespace {

struct SlotsOptions {
    std::optional<std::string> group;
    bool json = false;
};

using SlotAddresses = std::array<void *, kSlotTable.size()>;

SlotAddresses HostSlots() {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    static_assert(sizeof(SlotAddresses) == sizeof(hooks));
    SlotAddresses slots{};
    std::memcpy(slots.data(), &hooks, sizeof(hooks));
    return slots;
}

std::string_view FallbackText(const SlotRow &row) {
    if (row.function.empty()) {
        return "";
    }
    return row.fallback == "none" ? "no result" : row.fallback;
}

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char &c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

std::vector<std::string> AllGroups() {
    std::vector<std::string> groups;
    for (const SlotRow &row : kSlotTable) {
        if (groups.empty() || row.group != groups.back()) {
            groups.emplace_back(row.group);
        }
    }
    return groups;
}

std::string JsonOf(const SlotRow &row, bool isFilled) {
    JsonText json;
    json.BeginObject()
        .Number("slot", row.slot)
        .Text("group", row.group)
        .Number("index", row.index)
        .Text("function", row.function)
        .Flag("filled", isFilled)
        .Text("fallback", FallbackText(row))
        .EndObject();
    return json.Line();
}

void RunSlots(const SlotsOptions &options) {
    constexpr std::string_view kRow = "{:>4}  {:<11} {:>5}  {:<42} {:<6}  {}\n";
    const SlotAddresses slots = HostSlots();
    Output output(STDOUT_FILENO);
    if (!options.json) {
        output.Write(fmt::format(kRow, "slot", "group", "index", "function", "host", "fallback"));
    }
    size_t shown = 0;
    size_t filled = 0;
    for (const SlotRow &row : kSlotTable) {
        if (options.group && Lower(*options.group) != Lower(row.group)) {
            continue;
        }
        const bool isFilled = slots[row.slot] != nullptr;
        ++shown;
        filled += isFilled ? 1 : 0;
        if (options.json) {
            output.Write(JsonOf(row, isFilled));
            continue;
        }
        output.Write(fmt::format(kRow, row.slot, row.group, row.index,
                                 row.function.empty() ? "-" : row.function,
                                 isFilled ? "filled" : "empty", FallbackText(row)));
    }
    if (shown == 0) {
        throw UsageError(fmt::format("slots: there is no group '{}', but {}", *options.group,
                                     fmt::join(AllGroups(), ", ")));
    }
    if (!options.json) {
        output.Write(fmt::format("{} slots, {} filled, {} empty\n", shown, filled, shown - filled));
    }
    output.Flush();
}

}  // namespace

void AddSlotsCommand(CLI::App &program) {
    const auto options = std::make_shared<SlotsOptions>();
    CLI::App *const command = program.add_subcommand("slots", "Lists the slots of the hook table");
    Describe(*command,
             "Each row has the slot's number, its group and index within it, the function that "
             "reads it (- when none does), whether the development host fills it, and what the "
             "function answers while it is empty.",
             {"dxrsh slots --group memory", "dxrsh slots --json | head -n 3"});
    AddJsonFlag(*command, options->json);
    std::vector<std::string> offered = AllGroups();
    std::transform(offered.begin(), offered.end(), offered.begin(), Lower);
    Offer(*command->add_option("--group", options->group, "Only this group, such as print")
               ->type_name("NAME"),
          std::move(offered));
    command->callback([options] { RunSlots(*options); });
}

}  // namespace dxrsh
