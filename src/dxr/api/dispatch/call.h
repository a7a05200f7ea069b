// The one dispatch rule: a slot that is set is called with the dispatcher's own arguments and its
// result is the dispatcher's; an empty slot gives the fallback. Result, arguments and fallback take
// their types from the slot. Inlined, a dispatcher is one getter call, one load, one test and a
// jump to the hook.
#ifndef DXR_DISPATCH_CALL_H
#define DXR_DISPATCH_CALL_H

#include <type_traits>

namespace dxr {

template <typename Result, typename... Args>
[[gnu::always_inline]] inline Result Call(Result (*hook)(Args...),
                                          std::type_identity_t<Result> fallback,
                                          std::type_identity_t<Args>... args) {
    return hook != nullptr ? hook(args...) : fallback;
}

template <typename... Args>
[[gnu::always_inline]] inline void Call(void (*hook)(Args...), std::type_identity_t<Args>... args) {
    if (hook != nullptr) {
        hook(args...);
    }
}

}  // namespace dxr

#endif  // DXR_DISPATCH_CALL_H
