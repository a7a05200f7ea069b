// Functions that hosts are given are replaced by functions of ours, so that what the host calls is
// noted as well.
#ifndef DXR_TRACE_CALLBACKS_H
#define DXR_TRACE_CALLBACKS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "callback_types.h"
#include "note.h"
#include "slots.h"
#include "state.h"
#include "words.h"

namespace dxr_trace {

// What a function of ours stands for. It stays for ever: nobody tells when a host forgets it.
struct CallbackTarget {
    Hook function;
    void *argument;
};

// The same one for the same pair. Null without memory.
[[nodiscard]] CallbackTarget *TargetOf(Hook function, void *argument);

// The function of ours for one that the host is given; null when there is none left.
using ChooseTrampoline = Hook (*)(Hook function);

// The words that the hook is called with. A record in which the function stands is a copy; what the
// hook writes into it is written to the caller's at the end. One that the host knows by its address
// is the caller's, with other words in it meanwhile, so that calls before the trace and after it
// name the same one.
class SwappedWords {
  public:
    SwappedWords(size_t slot, std::span<const uint64_t> words, ChooseTrampoline choose);
    ~SwappedWords();
    SwappedWords(const SwappedWords &) = delete;
    SwappedWords &operator=(const SwappedWords &) = delete;
    SwappedWords(SwappedWords &&) = delete;
    SwappedWords &operator=(SwappedWords &&) = delete;

    [[nodiscard]] uint64_t Get(size_t parameter) const { return words_[parameter]; }

  private:
    static constexpr size_t kMostRecord = 128;

    std::byte *Copy(uint64_t record);
    void PutBack(const MemoryPlace &place);

    std::array<uint64_t, kMostParameters> words_ = {};
    std::byte *original_ = nullptr;
    size_t size_ = 0;
    const CallbackRule *known_ = nullptr;  // the original itself has words of ours
    alignas(16) std::array<std::byte, kMostRecord> record_;  // as the hook leaves it
    std::array<std::byte, kMostRecord> given_;
};

// The functions of ours for one slot.
template <size_t kSlot, typename Function>
class Trampoline;

template <size_t kSlot, typename Result, typename... Params>
class Trampoline<kSlot, Result (*)(Params...)> {
  public:
    static Hook Choose(Hook function) {
        if constexpr (CallbackOf<kSlot>::kHasArgument) {
            return reinterpret_cast<Hook>(&WithArgument);
        } else {
            return Pooled(function, std::make_index_sequence<kPool>());
        }
    }

  private:
    using Function = Result (*)(Params...);
    static constexpr size_t kPool = 16;

    // The last argument of these is the target.
    static Result WithArgument(Params... params) {
        std::tuple<Params...> all(params...);
        auto &last = std::get<sizeof...(Params) - 1>(all);
        const auto *const target = static_cast<const CallbackTarget *>(last);
        last = target->argument;
        return std::apply([target](Params... own) { return Pass(target->function, own...); }, all);
    }

    // Functions without an argument of the caller's have one of these each.
    template <size_t kIndex>
    static Result OfPool(Params... params) {
        return Pass(pool_[kIndex].load(std::memory_order_acquire), params...);
    }

    template <size_t... kIndices>
    static Hook Pooled(Hook function, std::index_sequence<kIndices...> /*all*/) {
        constexpr Function kFunctions[] = {&OfPool<kIndices>...};
        for (size_t i = 0; i < kPool; ++i) {
            Hook before = nullptr;
            if (pool_[i].compare_exchange_strong(before, function) || before == function) {
                return reinterpret_cast<Hook>(kFunctions[i]);
            }
        }
        return nullptr;
    }

    static Result Pass(Hook function, Params... params) {
        const auto own = reinterpret_cast<Function>(function);
        if (g_state.mode.load(std::memory_order_relaxed) != Mode::kCalls) {
            return own(params...);
        }
        const std::array<uint64_t, sizeof...(Params) + 1> words = {
            reinterpret_cast<uintptr_t>(function), ToWord(params)...};
        const CallbackNote note(kSlot, words);
        if constexpr (std::is_void_v<Result>) {
            own(params...);
            note.End(0);
        } else {
            const Result result = own(params...);
            note.End(ToWord(result));
            return result;
        }
    }

    static constinit inline std::array<std::atomic<Hook>, kPool> pool_ = {};
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_CALLBACKS_H
