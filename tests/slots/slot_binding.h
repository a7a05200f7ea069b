// Ties an exported function to the type of its slot, as the headers declare both: what its type is,
// how to call it with plain 64-bit words, and a hook of exactly its type that records what reaches
// it.
#ifndef DXR_TESTS_SLOTS_SLOT_BINDING_H
#define DXR_TESTS_SLOTS_SLOT_BINDING_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace dxrtest {

using Word = uint64_t;
constexpr size_t kMaxArguments = 7;
using Words = std::array<Word, kMaxArguments>;

// A slot's content, whatever its type.
using Hook = void (*)();

struct Recorder {
    size_t calls = 0;
    Hook called = nullptr;  // the hook of the last call
    size_t arity = 0;
    Words arguments = {};
    Word result = 0;  // what the hooks answer
};

inline Recorder g_recorder;

struct Binding {
    std::string arguments;    // as in the expected list: "u32, p"
    std::string_view result;  // "void", "u32", ...
    Word (*call)(const Words &) = nullptr;
    Hook recordingHook = nullptr;
};

template <typename T>
constexpr std::string_view TypeName() {
    if constexpr (std::is_void_v<T>) {
        return "void";
    } else if constexpr (std::is_pointer_v<T> || std::is_same_v<T, uint64_t>) {
        return "p";
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return "u32";
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        return "u16";
    } else if constexpr (std::is_same_v<T, uint8_t>) {
        return "u8";
    } else {
        return "?";
    }
}

template <typename T>
constexpr std::string_view ResultName() {
    return std::is_same_v<T, uint64_t> ? "u64" : TypeName<T>();
}

template <typename T>
T FromWord(Word word) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(word);
    } else {
        return static_cast<T>(word);
    }
}

template <typename T>
Word ToWord(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<Word>(value);
    } else {
        return Word{value};
    }
}

template <auto Function>
struct Typed;

template <typename Result, typename... Args, Result (*Function)(Args...)>
struct Typed<Function> {
    static std::string Arguments() {
        std::string list;
        ((list.append(list.empty() ? "" : ", ").append(TypeName<Args>())), ...);
        return list;
    }

    static Word CallWith(const Words &words) {
        return CallWith(words, std::index_sequence_for<Args...>());
    }

    template <size_t... I>
    static Word CallWith([[maybe_unused]] const Words &words, std::index_sequence<I...>) {
        if constexpr (std::is_void_v<Result>) {
            Function(FromWord<Args>(words[I])...);
            return 0;
        } else {
            return ToWord(Function(FromWord<Args>(words[I])...));
        }
    }

    static Result Record(Args... args) {
        ++g_recorder.calls;
        g_recorder.called = reinterpret_cast<Hook>(&Record);
        g_recorder.arity = sizeof...(Args);
        g_recorder.arguments = Words{ToWord(args)...};
        if constexpr (!std::is_void_v<Result>) {
            return FromWord<Result>(g_recorder.result);
        }
    }

    using Type = Result (*)(Args...);
    using ResultType = Result;
};

template <auto Function, typename Member>
Binding Bind() {
    static_assert(std::is_same_v<Member, typename Typed<Function>::Type>,
                  "a slot's type is the type of the function that dispatches to it");
    return {Typed<Function>::Arguments(), ResultName<typename Typed<Function>::ResultType>(),
            &Typed<Function>::CallWith, reinterpret_cast<Hook>(&Typed<Function>::Record)};
}

}  // namespace dxrtest

#endif  // DXR_TESTS_SLOTS_SLOT_BINDING_H
