// What modules hand over by address: looked at before it is used.
#ifndef DXR_DEVHOST_RECORDS_H
#define DXR_DEVHOST_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host.h"

namespace devhost {

// False, and a report, unless a value of the type can be there.
template <typename Value>
bool IsUsable(const Call &call, const char *service, const void *address) {
    if (address == nullptr) {
        call.Misuse(service, "a null pointer");
        return false;
    }
    if (reinterpret_cast<uintptr_t>(address) % alignof(Value) != 0) {
        call.Misuse(service, "a misaligned pointer");
        return false;
    }
    return true;
}

// Copies a record from wherever it is. False without one, and when its size shows that it is none:
// then no more than the size was read, for nothing else need be there.
template <typename Record>
[[nodiscard]] bool CopyRecord(const void *from, Record &to) {
    static_assert(offsetof(Record, size) == 0);
    if (from == nullptr) {
        return false;
    }
    std::memcpy(&to.size, from, sizeof(to.size));
    if (to.size != sizeof(to)) {
        return false;
    }
    std::memcpy(&to, from, sizeof(to));
    return true;
}

// The record at an address; null, and a report, when its size shows that it is none.
template <typename Record>
Record *RecordAt(const Call &call, const char *service, void *address) {
    if (!IsUsable<Record>(call, service, address)) {
        return nullptr;
    }
    auto *const record = static_cast<Record *>(address);
    if (record->size != sizeof(Record)) {
        call.Misuse(service, "a record of another size");
        return nullptr;
    }
    return record;
}

}  // namespace devhost

#endif  // DXR_DEVHOST_RECORDS_H
