// What modules hand over by address: looked at before it is used.
#ifndef DXR_DEVHOST_RECORDS_H
#define DXR_DEVHOST_RECORDS_H

#include <cstdint>

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
