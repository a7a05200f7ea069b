// A call of a slot with arguments as a person types them.
#ifndef DXRSH_SHELL_CALL_H
#define DXRSH_SHELL_CALL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell_memory.h"

namespace dxrsh {

// By the function that reads it (DXR_ReadReg), or by group and member (Dev.readReg).
[[nodiscard]] std::optional<size_t> SlotNamed(std::string_view name);
// What may have been meant by such a name: functions, or slots with their groups.
[[nodiscard]] std::vector<std::string> SlotNamesLike(std::string_view name);
// As above. Throws UsageError.
[[nodiscard]] size_t RequireSlot(const std::string &name);

// The name by which it is shown: that of its function, else group and member.
[[nodiscard]] std::string SlotName(size_t slot);

// What a call of it is given and gives, for people.
[[nodiscard]] std::string SlotHelp(size_t slot);

// What came out of a call.
struct CallOutcome {
    std::string text;  // lines
    // Blocks that the host may still have an address of.
    std::vector<std::shared_ptr<Block>> kept;
};

// Calls it: by its exported function, unless `byHook` is set or the function has another type. Its
// results are put into `values`, as "result" and by their names. Throws UsageError for arguments
// that do not fit.
[[nodiscard]] CallOutcome CallSlot(size_t slot, const std::vector<std::string> &arguments,
                                   bool byHook, Values &values);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_CALL_H
