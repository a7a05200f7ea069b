// Where something was done: the slot that was called and the address that called it.
#ifndef DXR_DEVHOST_PLACE_H
#define DXR_DEVHOST_PLACE_H

#include <cstdint>
#include <string>

namespace devhost {

// The code of one loaded object.
struct CodeRange {
    uintptr_t begin = 0;
    uintptr_t end = 0;

    [[nodiscard]] bool Holds(const void *address) const {
        const auto at = reinterpret_cast<uintptr_t>(address);
        return begin <= at && at < end;
    }
};

// The code of the object, program or library, in which the address lies; empty when none has it.
CodeRange CodeOf(const void *address);

struct Place {
    const char *slot = "";  // a literal
    const void *address = nullptr;
};

// The caller of a slot, past the library's own dispatcher: `address` itself unless it lies in the
// library; then the first frame of this thread's stack outside library and host, when there is one.
// Only within the call.
const void *ModuleCaller(const void *address);

// "function in program+0x1234", by dladdr; "an unknown place" when no module holds the address.
std::string Describe(const void *address);

// "DXR_InitMutex by function in program+0x1234".
std::string Describe(const Place &place);

// The calls that led here, the latest first, but for those of the host and the library: "; called
// by function in program+0x1234" each.
std::string BackTrace();

}  // namespace devhost

#endif  // DXR_DEVHOST_PLACE_H
