// The function that stands in a slot while a test keeps its calls: one for each, of its type.
#ifndef DXR_DEVHOST_TEST_RECORDER_H
#define DXR_DEVHOST_TEST_RECORDER_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "test_calls.h"
#include "thread_record.h"
#include "trace/formatted.h"

namespace devhost {

template <typename Value>
uint64_t ToWord(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<uintptr_t>(value);
    } else {
        return value;
    }
}

template <typename Hook>
auto CallAndNote(uint64_t number, const Hook &hook) {
    if constexpr (std::is_void_v<decltype(hook())>) {
        hook();
        NoteReturn(number, 0);
    } else {
        const auto result = hook();
        NoteReturn(number, ToWord(result));
        return result;
    }
}

template <size_t kSlot, typename Function>
class Recorder;

template <size_t kSlot, typename Result, typename... Args>
class Recorder<kSlot, Result (*)(Args...)> {
  public:
    static Result Call(Args... args) {
        const CallerBehind caller(__builtin_return_address(0));
        const auto hook = reinterpret_cast<Result (*)(Args...)>(HookBehind(kSlot));
        const std::array<uint64_t, sizeof...(Args)> words = {ToWord(args)...};
        return CallAndNote(NoteCall(kSlot, words, nullptr), [&] { return hook(args...); });
    }
};

// Arguments that no type names cannot be handed on; the finished text can.
template <size_t kSlot, typename Result, typename First>
class Recorder<kSlot, Result (*)(First, const char *, ...)> {
  public:
    static Result Call(First first, const char *format, ...) {
        const CallerBehind caller(__builtin_return_address(0));
        std::va_list args;
        va_start(args, format);
        const dxr_trace::Formatted text(format, args);
        va_end(args);
        const auto hook = reinterpret_cast<Result (*)(First, const char *, ...)>(HookBehind(kSlot));
        const std::array<uint64_t, 2> words = {ToWord(first), ToWord(format)};
        return CallAndNote(NoteCall(kSlot, words, text.Get()), [&] {
            return text.Get() != nullptr ? hook(first, "%s", text.Get()) : hook(first, nullptr);
        });
    }
};

template <typename Member>
struct MemberOf;
template <typename Function, typename Group>
struct MemberOf<Function Group::*> {
    using Type = Function;
};

template <size_t kSlot, auto kMember>
inline constexpr auto kRecord = Recorder<kSlot, typename MemberOf<decltype(kMember)>::Type>::Call;

}  // namespace devhost

#endif  // DXR_DEVHOST_TEST_RECORDER_H
