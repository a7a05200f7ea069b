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

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "slot_table.h"

namespace dxrsh {
namespace {

struct SlotsOptions {
    std::optional<std::string> group;
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

void RunSlots(const SlotsOptions &options) {
    constexpr std::string_view kRow = "{:>4}  {:<11} {:>5}  {:<42} {:<6}  {}\n";
    const SlotAddresses slots = HostSlots();
    Output output(STDOUT_FILENO);
    output.Write(fmt::format(kRow, "slot", "group", "index", "function", "host", "fallback"));
    size_t shown = 0;
    size_t filled = 0;
    for (const SlotRow &row : kSlotTable) {
        if (options.group && *options.group != row.group) {
            continue;
        }
        const bool isFilled = slots[row.slot] != nullptr;
        ++shown;
        filled += isFilled ? 1 : 0;
        output.Write(fmt::format(kRow, row.slot, row.group, row.index,
                                 row.function.empty() ? "-" : row.function,
                                 isFilled ? "filled" : "empty", FallbackText(row)));
    }
    if (shown == 0) {
        throw UsageError(fmt::format("slots: there is no group '{}'", *options.group));
    }
    output.Write(fmt::format("{} slots, {} filled, {} empty\n", shown, filled, shown - filled));
    output.Flush();
}

}  // namespace

void AddSlotsCommand(CLI::App &program) {
    const auto options = std::make_shared<SlotsOptions>();
    CLI::App *const command = program.add_subcommand("slots", "Lists the slots of the hook table");
    command->footer(
        "Each row has the slot's number, its group and index within it, the function that reads\n"
        "it (- when none does), whether the development host fills it, and what the function\n"
        "answers while it is empty.");
    command->add_option("--group", options->group, "Only this group, such as Print")
        ->type_name("NAME");
    command->callback([options] { RunSlots(*options); });
}

}  // namespace dxrsh
