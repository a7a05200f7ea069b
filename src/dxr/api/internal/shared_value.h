// Plain variables of the interface that several threads may use at once: read and written whole, at
// the price of a plain access, and in no order with anything else.
#ifndef DXR_INTERNAL_SHARED_VALUE_H
#define DXR_INTERNAL_SHARED_VALUE_H

#include <atomic>

namespace dxr {

template <typename T>
[[nodiscard]] T LoadShared(T &value) noexcept {
    static_assert(std::atomic_ref<T>::is_always_lock_free);
    return std::atomic_ref(value).load(std::memory_order_relaxed);
}

template <typename T>
void StoreShared(T &value, T to) noexcept {
    std::atomic_ref(value).store(to, std::memory_order_relaxed);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_SHARED_VALUE_H
