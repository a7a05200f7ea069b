// Functions that let no exception out: modules are C.
#ifndef DXR_DEVHOST_GUARDED_H
#define DXR_DEVHOST_GUARDED_H

#include <cerrno>
#include <cstdint>
#include <exception>
#include <type_traits>

#include "thread_record.h"

namespace devhost {

// What a slot gives when there is no memory and nothing else was said: no pointer, or ENOMEM.
struct NoMemory {};

template <auto kFunction, auto kFailure>
struct GuardedSlot;

template <typename Result, typename... Args, Result (*kFunction)(Args...), auto kFailure>
struct GuardedSlot<kFunction, kFailure> {
    static Result Slot(Args... args) { return Run(__builtin_return_address(0), args...); }

    // For a slot that has a quick way too and knows its caller.
    static Result Run(const void *caller, Args... args) {
        t_caller = caller;  // for the Call with which the function begins
        try {
            return kFunction(args...);
        } catch (const std::exception &) {
            if constexpr (std::is_void_v<Result>) {
                return;
            } else if constexpr (!std::is_same_v<std::remove_cv_t<decltype(kFailure)>, NoMemory>) {
                return static_cast<Result>(kFailure);
            } else if constexpr (std::is_pointer_v<Result>) {
                return nullptr;
            } else {
                return ENOMEM;
            }
        }
    }
};

// The function of a service, as it goes into its slot: hooks.list.addSll = Guarded<AddSll>. A
// result that is no status needs its failure value: Guarded<SllGetCount, 0>.
template <auto kFunction, auto kFailure = NoMemory{}>
constexpr auto Guarded = &GuardedSlot<kFunction, kFailure>::Slot;
template <auto kFunction, auto kFailure = NoMemory{}>
constexpr auto RunGuarded = &GuardedSlot<kFunction, kFailure>::Run;

// The body of a function of the host's own interface; `failure` without memory.
template <typename Result, typename Body>
Result Guard(Result failure, Body body) {
    try {
        return body();
    } catch (const std::exception &) {
        return failure;
    }
}

// The same where there is nothing to give.
template <typename Body>
void Guard(Body body) {
    try {
        body();
    } catch (const std::exception &) {
        // Nothing has changed.
    }
}

}  // namespace devhost

#endif  // DXR_DEVHOST_GUARDED_H
