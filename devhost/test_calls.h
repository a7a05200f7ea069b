// What a test keeps of the calls of slots, and the functions that stand in the slots meanwhile.
#ifndef DXR_DEVHOST_TEST_CALLS_H
#define DXR_DEVHOST_TEST_CALLS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "test_pattern.h"
#include "trace/slots.h"

namespace devhost {

using dxr_trace::kMostParameters;
using dxr_trace::kSlotCount;

// A hook, whatever its type.
using AnyHook = void (*)();

// What an argument led to when the call began.
struct Pointee {
    size_t argument = 0;
    bool isText = false;
    std::vector<char> bytes;  // of a text with its NUL
};

struct KeptCall {
    size_t slot = 0;
    bool hasReturned = false;
    std::array<uint64_t, kMostParameters> words{};
    uint64_t result = 0;
    std::vector<Pointee> pointees;

    [[nodiscard]] const Pointee *Find(size_t argument) const;
    [[nodiscard]] std::string Describe() const;
};

bool Matches(const CallPattern &pattern, const KeptCall &call);

// Kept calls, the earliest first, up to a limit.
class KeptCalls {
  public:
    // A number by which the call is known, never 0; 0 when it is not kept.
    uint64_t Add(KeptCall call);
    void EndCall(uint64_t number, uint64_t result);
    void Forget();

    [[nodiscard]] const std::deque<KeptCall> &All() const { return calls_; }
    // Calls of a slot that were not kept, and of all.
    [[nodiscard]] uint64_t NotKept(size_t slot) const { return notKept_[slot]; }
    [[nodiscard]] uint64_t NotKept() const;
    void CountNotKept(size_t slot) { ++notKept_[slot]; }

  private:
    std::deque<KeptCall> calls_;
    uint64_t first_ = 1;  // the number of the earliest
    std::array<uint64_t, kSlotCount> notKept_{};
};

// For the functions in the slots: notes the beginning of a call, with the finished text of one in
// the manner of printf; gives its number. And its end.
uint64_t NoteCall(size_t slot, std::span<const uint64_t> words, const char *message) noexcept;
void NoteReturn(uint64_t number, uint64_t result) noexcept;

// What is called behind the function in a slot.
AnyHook HookBehind(size_t slot);
void SetHookBehind(size_t slot, AnyHook hook);

// The slot at an address within the library's table; kSlotCount for other addresses.
size_t SlotAt(const void *address);
AnyHook &SlotOfTable(size_t slot);

// The function that keeps the calls of a slot; null where no function of the library reads it.
AnyHook KeeperOf(size_t slot);

// Lets the calls of all filled slots be kept.
void KeepCalls();

}  // namespace devhost

#endif  // DXR_DEVHOST_TEST_CALLS_H
