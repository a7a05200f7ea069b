// The function that counts the calls of one slot that a host leaves empty.
#ifndef DXRSH_UNFILLED_SLOT_H
#define DXRSH_UNFILLED_SLOT_H

#include <atomic>
#include <cstddef>
#include <type_traits>

#include "unfilled.h"

namespace dxrsh {

template <size_t kSlot, auto kFallback, typename Member>
struct Asked;

template <size_t kSlot, auto kFallback, typename Result, typename... Args, typename Group>
struct Asked<kSlot, kFallback, Result (*Group::*)(Args...)> {
    static Result Call(Args... /*args*/) {
        g_askedUnfilled[kSlot].fetch_add(1, std::memory_order_relaxed);
        if constexpr (!std::is_void_v<Result>) {
            return static_cast<Result>(kFallback);
        }
    }
};

template <size_t kSlot, auto kFallback, typename Result, typename First, typename Group>
struct Asked<kSlot, kFallback, Result (*Group::*)(First, const char *, ...)> {
    static Result Call(First /*first*/, const char * /*format*/, ...) {
        g_askedUnfilled[kSlot].fetch_add(1, std::memory_order_relaxed);
        if constexpr (!std::is_void_v<Result>) {
            return static_cast<Result>(kFallback);
        }
    }
};

template <size_t kSlot, auto kMember, auto kFallback>
inline constexpr auto kAsked = Asked<kSlot, kFallback, decltype(kMember)>::Call;

}  // namespace dxrsh

#endif  // DXRSH_UNFILLED_SLOT_H
