// The function that stands in a slot while a recording is replayed: one for each slot, of the
// slot's type.
#ifndef DXR_TRACE_ANSWER_H
#define DXR_TRACE_ANSWER_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "callback_types.h"
#include "formatted.h"
#include "replay.h"
#include "words.h"
#include "wrapper.h"

namespace dxr_trace {

template <size_t kSlot, typename Function>
class Answerer;

// No destructor stands in these: a task that does not come back leaves by longjmp.
template <size_t kSlot, typename Result, typename... Args>
class Answerer<kSlot, Result (*)(Args...)> {
  public:
    static Result Call(Args... args) {
        const std::array<uint64_t, sizeof...(Args)> words = {ToWord(args)...};
        const Reply reply = Answer(kSlot, words, nullptr);
        if (reply.isLast) {
            EndThread();
        }
        if constexpr (!std::is_void_v<Result>) {
            return FromWord<Result>(reply.result);
        }
    }
};

template <size_t kSlot, typename Result, typename First>
class Answerer<kSlot, Result (*)(First, const char *, ...)> {
  public:
    static Result Call(First first, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        const Reply reply = AnswerText(first, format, args);
        va_end(args);
        if (reply.isLast) {
            EndThread();
        }
        if constexpr (!std::is_void_v<Result>) {
            return FromWord<Result>(reply.result);
        }
    }

  private:
    [[gnu::noinline]] static Reply AnswerText(First first, const char *format, std::va_list args) {
        const Formatted text(format, args);
        const std::array<uint64_t, 2> words = {ToWord(first), ToWord(format)};
        return Answer(kSlot, words, text.Get());
    }
};

template <size_t kSlot, auto kMember>
inline constexpr auto kAnswer = Answerer<kSlot, typename MemberOf<decltype(kMember)>::Type>::Call;

template <typename Result, typename... Params, size_t... kPlaces>
uint64_t CallTyped(Result (*function)(Params...), std::span<const uint64_t> words,
                   std::index_sequence<kPlaces...> /*all*/) {
    if constexpr (std::is_void_v<Result>) {
        function(FromWord<Params>(words[kPlaces])...);
        return 0;
    } else {
        return ToWord(function(FromWord<Params>(words[kPlaces])...));
    }
}

template <typename Result, typename... Params>
uint64_t CallTyped(Result (*function)(Params...), std::span<const uint64_t> words) {
    return CallTyped(function, words, std::index_sequence_for<Params...>());
}

template <size_t kSlot>
uint64_t CallBack(Hook function, std::span<const uint64_t> words) {
    return CallTyped(reinterpret_cast<typename CallbackOf<kSlot>::Type>(function), words);
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_ANSWER_H
