// The function that stands in a slot while calls are noted: one for each slot, of the slot's type.
#ifndef DXR_TRACE_WRAPPER_H
#define DXR_TRACE_WRAPPER_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "callback_types.h"
#include "callbacks.h"
#include "formatted.h"
#include "note.h"
#include "slots.h"
#include "state.h"
#include "threads.h"
#include "ticks.h"
#include "words.h"

namespace dxr_trace {

// Calls a hook and notes how long it takes.
template <size_t kSlot, typename Hook>
auto Timed(const Hook &hook) {
    const uint64_t before = NowTicks();
    if constexpr (std::is_void_v<decltype(hook())>) {
        hook();
        NoteTime(kSlot, NowTicks() - before);
    } else {
        const auto result = hook();
        NoteTime(kSlot, NowTicks() - before);
        return result;
    }
}

// Calls a hook and notes the call.
template <size_t kSlot, typename Hook>
auto Traced(std::span<const uint64_t> words, const char *message, const Hook &hook) {
    const CallNote note(kSlot, words, message);
    if constexpr (std::is_void_v<decltype(hook())>) {
        hook();
        note.End(0);
    } else {
        const auto result = hook();
        note.End(ToWord(result));
        return result;
    }
}

template <size_t kSlot, typename Function>
class Wrapper;

template <size_t kSlot, typename Result, typename... Args>
class Wrapper<kSlot, Result (*)(Args...)> {
  public:
    static Result Call(Args... args) {
        const auto hook = BareHook<Function>(kSlot);
        if (g_state.mode.load(std::memory_order_relaxed) == Mode::kOff) {
            return hook(args...);
        }
        ThreadRecord *const record = t_record;
        if (record == nullptr) [[unlikely]] {
            return FirstCall(__builtin_return_address(0), hook, args...);
        }
        return CountCall(*record, kSlot) ? CallAndNote(__builtin_return_address(0), hook, args...)
                                         : hook(args...);
    }

  private:
    using Function = Result (*)(Args...);

    // These stand apart, so that a call that is only counted needs no stack.
    [[gnu::noinline]] static Result FirstCall(const void *caller, Function hook, Args... args) {
        return CountCall(kSlot) ? CallAndNote(caller, hook, args...) : hook(args...);
    }

    [[gnu::noinline]] static Result CallAndNote(const void *caller, Function hook, Args... args) {
        const CallerTold told(caller);
        if (g_state.mode.load(std::memory_order_relaxed) == Mode::kCalls) {
            const std::array<uint64_t, sizeof...(Args)> words = {ToWord(args)...};
            return Traced<kSlot>(words, nullptr, [&] { return CallHook(hook, words, args...); });
        }
        return Timed<kSlot>([&] { return hook(args...); });
    }

    static Result CallHook(Function hook, std::span<const uint64_t> words, Args... args) {
        using Callback = typename CallbackOf<kSlot>::Type;
        if constexpr (!std::is_void_v<Callback>) {
            if (g_state.callbacks.load(std::memory_order_relaxed)) {
                const SwappedWords swapped(kSlot, words, &Trampoline<kSlot, Callback>::Choose);
                return CallWith(hook, swapped, std::index_sequence_for<Args...>());
            }
        }
        return hook(args...);
    }

    template <size_t... kPlaces>
    static Result CallWith(Function hook, const SwappedWords &words,
                           std::index_sequence<kPlaces...> /*all*/) {
        return hook(FromWord<Args>(words.Get(kPlaces))...);
    }
};

// Arguments that no type names cannot be handed on. Printf's manner allows for the finished text
// instead.
template <size_t kSlot, typename Result, typename First>
class Wrapper<kSlot, Result (*)(First, const char *, ...)> {
  public:
    static Result Call(First first, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        const Formatted text(format, args);
        va_end(args);
        const auto hook = [&] { return Print(first, text.Get()); };
        const Mode mode = g_state.mode.load(std::memory_order_relaxed);
        if (mode == Mode::kOff || !CountCall(kSlot)) {
            return hook();
        }
        const CallerTold told(__builtin_return_address(0));
        if (mode == Mode::kCalls) {
            const std::array<uint64_t, 2> words = {ToWord(first), ToWord(format)};
            return Traced<kSlot>(words, text.Get(), hook);
        }
        return Timed<kSlot>(hook);
    }

  private:
    static Result Print(First first, const char *text) {
        const auto hook = BareHook<Result (*)(First, const char *, ...)>(kSlot);
        return text != nullptr ? hook(first, "%s", text) : hook(first, nullptr);
    }
};

template <typename Member>
struct MemberOf;
template <typename Function, typename Group>
struct MemberOf<Function Group::*> {
    using Type = Function;
};

template <size_t kSlot, auto kMember>
inline constexpr auto kWrap = Wrapper<kSlot, typename MemberOf<decltype(kMember)>::Type>::Call;

}  // namespace dxr_trace

#endif  // DXR_TRACE_WRAPPER_H
