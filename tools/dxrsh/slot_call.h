// The call of one slot.
#ifndef DXRSH_SLOT_CALL_H
#define DXRSH_SLOT_CALL_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "slot_calls.h"
#include "trace/words.h"

namespace dxrsh {

template <typename Result, typename... Args, size_t... kIndex>
uint64_t CallWith(Result (*function)(Args...), std::span<const uint64_t> words,
                  std::index_sequence<kIndex...> /*indices*/) {
    if constexpr (std::is_void_v<Result>) {
        function(dxr_trace::FromWord<Args>(words[kIndex])...);
        return 0;
    } else {
        return dxr_trace::ToWord(function(dxr_trace::FromWord<Args>(words[kIndex])...));
    }
}

template <typename Result, typename... Args>
uint64_t CallAll(Result (*function)(Args...), std::span<const uint64_t> words) {
    return CallWith(function, words, std::index_sequence_for<Args...>());
}

template <auto kFunction>
struct ByFunction {
    static uint64_t Call(std::span<const uint64_t> words) { return CallAll(kFunction, words); }
};

template <typename Function>
struct ByHook {
    static uint64_t Call(AnyHook hook, std::span<const uint64_t> words) {
        return CallAll(reinterpret_cast<Function>(hook), words);
    }
};

template <typename Result, typename First>
struct ByHook<Result (*)(First, const char *, ...)> {
    static uint64_t Call(AnyHook hook, std::span<const uint64_t> words) {
        const auto function = reinterpret_cast<Result (*)(First, const char *, ...)>(hook);
        const auto first = dxr_trace::FromWord<First>(words[0]);
        const auto *const text = dxr_trace::FromWord<const char *>(words[1]);
        const char *const format = text != nullptr ? "%s" : nullptr;
        if constexpr (std::is_void_v<Result>) {
            function(first, format, text);
            return 0;
        } else {
            return dxr_trace::ToWord(function(first, format, text));
        }
    }
};

template <typename Member>
struct HookOf;
template <typename Function, typename Group>
struct HookOf<Function Group::*> {
    using Type = Function;
};

template <auto kMember>
inline constexpr auto kByHook = ByHook<typename HookOf<decltype(kMember)>::Type>::Call;

}  // namespace dxrsh

#endif  // DXRSH_SLOT_CALL_H
