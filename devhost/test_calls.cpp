#include "test_calls.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <exception>
#include <numeric>
#include <utility>

#include "test_recorders.h"
#include "test_session.h"
#include "trace/formatted.h"
#include "trace/pointers.h"

namespace devhost {
namespace {

using dxr_trace::Direction;
using dxr_trace::Extent;
using dxr_trace::kSlots;
using dxr_trace::PointerRule;
using dxr_trace::SlotInfo;
using dxr_trace::Width;

constexpr size_t kMostCalls = 32768;
constexpr size_t kMostBytes = 65536;  // of what an argument leads to

constinit std::array<std::atomic<AnyHook>, kSlotCount> g_behind{};

const AnyHook *Slots(const DxrHooks &hooks) {
    return reinterpret_cast<const AnyHook *>(&hooks);
}

Pointee Text(size_t argument, const char *text) {
    return {argument, true, {text, text + std::strlen(text) + 1}};
}

// What the arguments lead to, as far as the list of slots says it.
std::vector<Pointee> PointeesOf(const SlotInfo &info, std::span<const uint64_t> words) {
    std::vector<Pointee> pointees;
    for (const PointerRule &rule : info.pointers) {
        const bool isRead =
            (static_cast<unsigned>(rule.direction) & static_cast<unsigned>(Direction::kIn)) != 0;
        if (!isRead || rule.offset != dxr_trace::kDirect ||
            rule.parameter == dxr_trace::kResultPlace) {
            continue;
        }
        const dxr_trace::Piece piece = dxr_trace::PieceOf(rule, {words}, kMostBytes);
        if (piece.data == nullptr) {
            continue;
        }
        const auto *const data = static_cast<const char *>(piece.data);
        Pointee pointee{rule.parameter, false, {data, data + std::min(piece.size, kMostBytes)}};
        if (rule.extent == Extent::kText || rule.extent == Extent::kTextWithin) {
            pointee.isText = true;
            pointee.bytes.push_back('\0');
        }
        pointees.push_back(std::move(pointee));
    }
    return pointees;
}

std::string Address(uint64_t word) {
    std::array<char, 24> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(word));
    return text.data();
}

std::string DescribeWord(uint64_t word, Width width, const Pointee *pointee) {
    if (pointee != nullptr && pointee->isText) {
        return '"' + std::string(pointee->bytes.data()) + '"';
    }
    if (width == Width::kPointer) {
        return word == 0 ? "null" : Address(word);
    }
    return std::to_string(word);
}

bool MatchesWord(const ValuePattern &pattern, uint64_t word, const Pointee *pointee) {
    switch (pattern.kind) {
        case ValuePattern::Kind::kAny:
            return true;
        case ValuePattern::Kind::kNumber:
            return word == pattern.number;
        case ValuePattern::Kind::kText:
            return pointee != nullptr && pointee->isText &&
                   MatchesText(pattern.text, pointee->bytes.data());
    }
    return false;
}

}  // namespace

const Pointee *KeptCall::Find(size_t argument) const {
    const auto found = std::find_if(pointees.begin(), pointees.end(), [argument](const auto &each) {
        return each.argument == argument;
    });
    return found != pointees.end() ? &*found : nullptr;
}

std::string KeptCall::Describe() const {
    const SlotInfo &info = kSlots[slot];
    std::string text = std::string(info.name) + "(";
    for (size_t i = 0; i < info.parameters.size(); ++i) {
        text += i != 0 ? ", " : "";
        text += DescribeWord(words[i], info.parameters[i].width, Find(i));
    }
    text += ")";
    if (!hasReturned) {
        return text + ", which has not returned";
    }
    return info.result == Width::kNone ? text
                                       : text + " = " + DescribeWord(result, info.result, nullptr);
}

bool Matches(const CallPattern &pattern, const KeptCall &call) {
    if (call.slot != pattern.slot) {
        return false;
    }
    for (size_t i = 0; i < pattern.arguments.size(); ++i) {
        if (!MatchesWord(pattern.arguments[i], call.words[i], call.Find(i))) {
            return false;
        }
    }
    return pattern.result.kind == ValuePattern::Kind::kAny ||
           (call.hasReturned && MatchesWord(pattern.result, call.result, nullptr));
}

uint64_t KeptCalls::Add(KeptCall call) {
    if (calls_.size() >= kMostCalls) {
        CountNotKept(call.slot);
        return 0;
    }
    calls_.push_back(std::move(call));
    return first_ + calls_.size() - 1;
}

void KeptCalls::EndCall(uint64_t number, uint64_t result) {
    if (number >= first_ && number - first_ < calls_.size()) {
        KeptCall &call = calls_[static_cast<size_t>(number - first_)];
        call.hasReturned = true;
        call.result = result;
    }
}

void KeptCalls::Forget() {
    first_ += calls_.size();
    calls_.clear();
    notKept_ = {};
}

uint64_t KeptCalls::NotKept() const {
    return std::accumulate(notKept_.begin(), notKept_.end(), uint64_t{0});
}

uint64_t NoteCall(size_t slot, std::span<const uint64_t> words, const char *message) noexcept {
    try {
        KeptCall call;
        call.slot = slot;
        std::copy(words.begin(), words.end(), call.words.begin());
        call.pointees = PointeesOf(kSlots[slot], words);
        if (message != nullptr) {
            // The format is what the list of slots leads to.
            std::erase_if(call.pointees, [](const Pointee &each) { return each.argument == 1; });
            call.pointees.push_back(Text(1, message));
        }
        const SessionLock session;
        return session ? session->calls.Add(std::move(call)) : 0;
    } catch (const std::exception &) {
        const SessionLock session;
        if (session) {
            session->calls.CountNotKept(slot);
        }
        return 0;
    }
}

void NoteReturn(uint64_t number, uint64_t result) noexcept {
    if (number != 0) {
        const SessionLock session;
        if (session) {
            session->calls.EndCall(number, result);
        }
    }
}

AnyHook HookBehind(size_t slot) {
    return g_behind[slot].load(std::memory_order_relaxed);
}

void SetHookBehind(size_t slot, AnyHook hook) {
    g_behind[slot].store(hook, std::memory_order_relaxed);
}

size_t SlotAt(const void *address) {
    const auto distance =
        reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(&g_dxrHooks);
    return distance < sizeof(DxrHooks) && distance % sizeof(AnyHook) == 0
               ? distance / sizeof(AnyHook)
               : kSlotCount;
}

AnyHook &SlotOfTable(size_t slot) {
    return const_cast<AnyHook *>(Slots(g_dxrHooks))[slot];
}

AnyHook KeeperOf(size_t slot) {
    return Slots(kRecorders)[slot];
}

void KeepCalls() {
    for (size_t slot = 0; slot < kSlotCount; ++slot) {
        AnyHook &hook = SlotOfTable(slot);
        SetHookBehind(slot, hook);
        if (hook != nullptr && KeeperOf(slot) != nullptr) {
            hook = KeeperOf(slot);
        }
    }
}

}  // namespace devhost

dxr_trace::Texts *dxr_trace::TextsOfThread() {
    thread_local Texts texts;
    return &texts;
}
