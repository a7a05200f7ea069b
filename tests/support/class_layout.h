// Looks at the binary side of exported classes.
#ifndef DXR_TESTS_SUPPORT_CLASS_LAYOUT_H
#define DXR_TESTS_SUPPORT_CLASS_LAYOUT_H

#include <dlfcn.h>

#include <cstddef>
#include <cstring>

namespace dxrtest {

// What lies `offset` bytes into the object.
template <typename T>
T FieldAt(const void *object, size_t offset) {
    T value{};
    std::memcpy(&value, static_cast<const unsigned char *>(object) + offset, sizeof(value));
    return value;
}

template <typename T>
void SetFieldAt(void *object, size_t offset, const T &value) {
    std::memcpy(static_cast<unsigned char *>(object) + offset, &value, sizeof(value));
}

// The function in a slot of the object's virtual table.
inline const void *VirtualSlot(const void *object, size_t slot) {
    return FieldAt<const void *const *>(object, 0)[slot];
}

// The exported function or object with this symbol name; null if there is none.
inline const void *ExportedSymbol(const char *mangledName) {
    return dlsym(RTLD_DEFAULT, mangledName);
}

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_CLASS_LAYOUT_H
