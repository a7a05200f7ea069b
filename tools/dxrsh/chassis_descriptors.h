// How many descriptors the processes of a chassis may open.
#ifndef DXRSH_CHASSIS_DESCRIPTORS_H
#define DXRSH_CHASSIS_DESCRIPTORS_H

#include <cstddef>
#include <cstdint>

namespace dxrsh {

struct DescriptorLimit {
    uint64_t before = 0;  // as the process was started
    uint64_t now = 0;
};

// What a supervisor of so many boards needs, and a board that talks to all others of so many.
[[nodiscard]] uint64_t DescriptorsOfSupervisor(size_t boards);
[[nodiscard]] uint64_t DescriptorsOfBoard(size_t boards);

// Raises the limit to what is needed, or as far as that goes; it is never lowered.
[[nodiscard]] DescriptorLimit AllowDescriptors(uint64_t needed);

// Also after fork.
void LimitDescriptors(uint64_t most);

// The same for a board, whose module may start programs: they get the former limit. Once.
void AllowOwnDescriptors(uint64_t needed);

}  // namespace dxrsh

#endif  // DXRSH_CHASSIS_DESCRIPTORS_H
