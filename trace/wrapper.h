// The function that stands in a slot while calls are noted: one for each slot, of the slot's type.
#ifndef DXR_TRACE_WRAPPER_H
#define DXR_TRACE_WRAPPER_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "formatted.h"
#include "slots.h"
#include "state.h"
#include "threads.h"
#include "ticks.h"

namespace dxr_trace {

// Calls a hook and, where that is asked for, looks how long it takes.
template <size_t kSlot, typename Result, typename... Args>
class Way {
  public:
    using Function = Result (*)(Args...);

    [[gnu::always_inline]] static Result Go(Function hook, Args... args) {
        const Mode mode = g_state.mode.load(std::memory_order_relaxed);
        if (mode == Mode::kOff || !CountCall(kSlot)) {
            return hook(args...);
        }
        return Timed(hook, args...);
    }

  private:
    [[gnu::noinline]] static Result Timed(Function hook, Args... args) {
        const uint64_t before = NowTicks();
        if constexpr (std::is_void_v<Result>) {
            hook(args...);
            NoteTime(kSlot, NowTicks() - before);
        } else {
            const Result result = hook(args...);
            NoteTime(kSlot, NowTicks() - before);
            return result;
        }
    }
};

template <size_t kSlot, typename Function>
struct Wrapper;

template <size_t kSlot, typename Result, typename... Args>
struct Wrapper<kSlot, Result (*)(Args...)> {
    static Result Call(Args... args) {
        return Way<kSlot, Result, Args...>::Go(BareHook<Result (*)(Args...)>(kSlot), args...);
    }
};

// Arguments that no type names cannot be handed on. Printf's manner allows for the finished text
// instead.
template <size_t kSlot, typename Result, typename First>
struct Wrapper<kSlot, Result (*)(First, const char *, ...)> {
    static Result Call(First first, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        const Formatted text(format, args);
        va_end(args);
        return Way<kSlot, Result, First, const char *>::Go(Print, first, text.Get());
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
