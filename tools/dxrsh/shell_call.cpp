#include "shell_call.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <span>

#include "dxr_devhost.h"
#include "errors.h"
#include "nearest.h"
#include "say.h"
#include "shell_words.h"
#include "slot_calls.h"
#include "slot_table.h"
#include "trace/slots.h"
#include "trace/words.h"

namespace dxrsh {
namespace {

using dxr_trace::Direction;
using dxr_trace::Extent;
using dxr_trace::kDirect;
using dxr_trace::kMostParameters;
using dxr_trace::kResultPlace;
using dxr_trace::kSlots;
using dxr_trace::MemoryPlace;
using dxr_trace::PointerRule;
using dxr_trace::SlotInfo;
using dxr_trace::Width;

constexpr size_t kShownWidth = 60;

uint64_t MostOf(Width width) {
    switch (width) {
        case Width::kU8:
            return std::numeric_limits<uint8_t>::max();
        case Width::kU16:
            return std::numeric_limits<uint16_t>::max();
        case Width::kU32:
            return std::numeric_limits<uint32_t>::max();
        default:
            return std::numeric_limits<uint64_t>::max();
    }
}

std::string_view WidthText(Width width) {
    switch (width) {
        case Width::kU8:
            return "8 bits";
        case Width::kU16:
            return "16 bits";
        case Width::kU32:
            return "32 bits";
        default:
            return "64 bits";
    }
}

bool IsIn(const PointerRule &rule) {
    return rule.direction == Direction::kIn || rule.direction == Direction::kInOut;
}

bool IsOut(const PointerRule &rule) {
    return rule.direction == Direction::kOut || rule.direction == Direction::kInOut;
}

bool IsText(const PointerRule &rule) {
    return rule.extent == Extent::kText || rule.extent == Extent::kTextWithin;
}

// The rule for what a parameter, or the result, points to; null.
const PointerRule *RuleOf(const SlotInfo &info, size_t parameter) {
    const auto found =
        std::find_if(info.pointers.begin(), info.pointers.end(), [parameter](const auto &rule) {
            return rule.parameter == parameter && rule.offset == kDirect;
        });
    return found != info.pointers.end() ? &*found : nullptr;
}

// The parameter whose bytes this one counts; its rule, or null.
const PointerRule *CountedBy(const SlotInfo &info, size_t parameter) {
    const auto found =
        std::find_if(info.pointers.begin(), info.pointers.end(), [parameter](const auto &rule) {
            return (rule.extent == Extent::kArgument || rule.extent == Extent::kTextWithin) &&
                   rule.first == parameter && rule.offset == kDirect &&
                   rule.parameter != kResultPlace;
        });
    return found != info.pointers.end() ? &*found : nullptr;
}

// Memory of a size that the other arguments tell, which is only written: it need not be given.
bool IsAutomatic(const SlotInfo &info, size_t parameter) {
    const PointerRule *const rule = RuleOf(info, parameter);
    return rule != nullptr && rule->direction == Direction::kOut && rule->extent != Extent::kText &&
           rule->extent != Extent::kRecord;
}

bool TakesFunction(const SlotCall &call, size_t parameter) {
    return std::any_of(call.functions.begin(), call.functions.begin() + call.functionCount,
                       [parameter](const MemoryPlace &place) {
                           return place.parameter == parameter && place.offset == kDirect;
                       });
}

template <typename Number>
Number Load(const std::byte *address) {
    Number number{};
    std::memcpy(&number, address, sizeof(number));
    return number;
}

using BareSlots = std::array<void *, kSlotCallCount>;

// Those that the host itself fills.
const BareSlots &HostSlots() {
    static const BareSlots slots = [] {
        DxrHooks hooks;
        DxrHostFillHooks(&hooks);
        static_assert(sizeof(BareSlots) == sizeof(hooks));
        BareSlots copy{};
        std::memcpy(copy.data(), &hooks, sizeof(hooks));
        return copy;
    }();
    return slots;
}

AnyHook RegisteredHook(size_t slot) {
    std::array<AnyHook, kSlotCallCount> hooks{};
    static_assert(sizeof(hooks) == sizeof(DxrHooks));
    std::memcpy(hooks.data(), DXR_GetHooks(), sizeof(hooks));
    return hooks[slot];
}

// One call, from its words to what came out.
class TypedCall {
  public:
    TypedCall(size_t slot, bool byHook, Values &values)
        : slot_(slot),
          info_(kSlots[slot]),
          call_(kSlotCalls[slot]),
          byHook_(byHook || call_.function == nullptr),
          values_(values) {}

    CallOutcome Make(const std::vector<std::string> &arguments) {
        if (info_.isReserved) {
            throw UsageError(SlotName(slot_) + ": a reserved slot has no type and is not called");
        }
        if (byHook_ && HostSlots()[slot_] == nullptr) {
            throw UsageError(SlotName(slot_) + ": the host leaves the slot empty");
        }
        Read(Complete(arguments));
        Fill();
        Check();
        const std::span<const uint64_t> words(words_.data(), info_.parameters.size());
        result_ = byHook_ ? call_.hook(RegisteredHook(slot_), words) : call_.function(words);
        return Tell();
    }

  private:
    [[nodiscard]] std::string Name(size_t parameter) const { return call_.names[parameter]; }

    // One word for each parameter; "_" where none was given.
    [[nodiscard]] std::vector<std::string> Complete(const std::vector<std::string> &given) const {
        const size_t count = info_.parameters.size();
        if (given.size() == count) {
            return given;
        }
        std::vector<std::string> words;
        size_t next = 0;
        for (size_t i = 0; i < count; ++i) {
            if (IsAutomatic(info_, i)) {
                words.emplace_back("_");
            } else if (next < given.size()) {
                words.push_back(given[next++]);
            } else {
                ++next;
            }
        }
        if (next != given.size()) {
            throw UsageError(fmt::format("{}: {} arguments are needed, {} given; 'help {}' tells",
                                         SlotName(slot_), Needed(), given.size(), SlotName(slot_)));
        }
        return words;
    }

    [[nodiscard]] size_t Needed() const {
        size_t needed = 0;
        for (size_t i = 0; i < info_.parameters.size(); ++i) {
            needed += IsAutomatic(info_, i) ? 0 : 1;
        }
        return needed;
    }

    void Read(const std::vector<std::string> &words) {
        for (size_t i = 0; i < words.size(); ++i) {
            isLeft_[i] = words[i] == "_";
            if (isLeft_[i]) {
                continue;
            }
            const Width width = info_.parameters[i].width;
            if (width == Width::kPointer) {
                words_[i] = ReadPointer(i, words[i]);
            } else {
                words_[i] = ReadNumber(i, words[i], width);
            }
        }
    }

    [[nodiscard]] uint64_t ReadNumber(size_t i, const std::string &word, Width width) const {
        if (LongNumber(word).value_or(0) > MostOf(width)) {
            throw UsageError(
                fmt::format("{}: {} does not fit in {}", Name(i), word, WidthText(width)));
        }
        return NumberOf(word, MostOf(width), Name(i), values_);
    }

    uint64_t ReadPointer(size_t i, const std::string &word) {
        if (word == "null") {
            return 0;
        }
        if (TakesFunction(call_, i)) {
            throw UsageError(fmt::format(
                "{}: '{}' is a function of the caller's, which a line cannot give; null is none",
                SlotName(slot_), Name(i)));
        }
        const PointerRule *const rule = RuleOf(info_, i);
        if (word.size() > 1 && word[0] == '$') {
            return ReadValue(i, word, rule);
        }
        if (Blocks::IsMemory(word)) {
            return ReadMemory(i, word, rule);
        }
        if (rule != nullptr && IsText(*rule) && IsIn(*rule)) {
            return blocks_.Read(Name(i), "text:" + Escaped(word), values_).Address();
        }
        const bool isHandle = rule == nullptr && !IsVariadicText(i);
        if (isHandle && LongNumber(word)) {
            return NumberOf(word, std::numeric_limits<uintptr_t>::max(), Name(i), values_);
        }
        if (IsVariadicText(i)) {
            return blocks_.Read(Name(i), "text:" + Escaped(word), values_).Address();
        }
        throw UsageError(fmt::format(
            "{}: '{}' is no memory (@BYTES, hex:, text:, u32:, ...){}, nor $NAME, nor null",
            Name(i), Printable(word, kShownWidth), isHandle ? ", no number" : ""));
    }

    // Of a hook in the manner of printf.
    [[nodiscard]] bool IsVariadicText(size_t i) const { return info_.isVariadic && i == 1; }

    static std::string Escaped(const std::string &word) {
        std::string escaped;
        for (const char c : word) {
            if (c == ',' || c == ')' || c == '\\') {
                escaped += '\\';
            }
            escaped += c;
        }
        return escaped;
    }

    uint64_t ReadValue(size_t i, const std::string &word, const PointerRule *rule) {
        const Value &value = values_.Get(word.substr(1));
        const bool takesText = IsVariadicText(i) || (rule != nullptr && IsText(*rule));
        if (IsVariadicText(i) && !value.isText && value.block == nullptr) {
            throw UsageError(fmt::format("{}: {} is no text", Name(i), word));
        }
        if (value.isText && value.block == nullptr) {
            if (!takesText) {
                throw UsageError(fmt::format("{}: {} is a text", Name(i), word));
            }
            return blocks_.Read(Name(i), "text:" + Escaped(value.text), values_).Address();
        }
        if (value.block != nullptr) {
            given_.push_back(value.block);
        }
        return value.number;
    }

    uint64_t ReadMemory(size_t i, const std::string &word, const PointerRule *rule) {
        Block &block = blocks_.Read(Name(i), word, values_);
        // "@24" for a record is one of 24 bytes that says so.
        if (rule != nullptr && rule->extent == Extent::kRecord && word[0] == '@' &&
            word.find(',') == std::string::npos && block.size >= sizeof(uint32_t)) {
            const auto size = static_cast<uint32_t>(block.size);
            std::memcpy(block.Data(), &size, sizeof(size));
        }
        return block.Address();
    }

    // What was left out.
    void Fill() {
        for (size_t i = 0; i < info_.parameters.size(); ++i) {
            if (isLeft_[i] && info_.parameters[i].width != Width::kPointer) {
                const PointerRule *const counted = CountedBy(info_, i);
                const Block *const block =
                    counted != nullptr ? Find(words_[counted->parameter]) : nullptr;
                if (block == nullptr) {
                    throw UsageError(fmt::format("{}: a number is needed", Name(i)));
                }
                words_[i] = std::min<uint64_t>(block->size, MostOf(info_.parameters[i].width));
            }
        }
        for (size_t i = 0; i < info_.parameters.size(); ++i) {
            if (isLeft_[i] && info_.parameters[i].width == Width::kPointer) {
                if (!IsAutomatic(info_, i)) {
                    throw UsageError(fmt::format("{}: memory is needed, such as @8", Name(i)));
                }
                words_[i] = blocks_.Make(Name(i), SizeBefore(*RuleOf(info_, i)), true).Address();
            }
        }
    }

    [[nodiscard]] const Block *Find(uint64_t address) const {
        if (const Block *const block = blocks_.At(address)) {
            return block;
        }
        const auto found = std::find_if(given_.begin(), given_.end(), [address](const auto &block) {
            return block->Address() == address;
        });
        return found != given_.end() ? found->get() : nullptr;
    }

    // The bytes that the host may read or write; those of a text are found elsewhere.
    [[nodiscard]] uint64_t SizeBefore(const PointerRule &rule) const {
        switch (rule.extent) {
            case Extent::kFixed:
                return rule.first;
            case Extent::kText:
                return 0;
            case Extent::kTextWithin:
            case Extent::kArgument:
                return words_[rule.first];
            case Extent::kProduct:
            case Extent::kResult: {
                uint64_t product = 0;
                if (__builtin_mul_overflow(words_[rule.first], words_[rule.second], &product)) {
                    product = std::numeric_limits<uint64_t>::max();
                }
                return product;
            }
            case Extent::kRecord: {
                const Block *const block = Find(words_[rule.parameter]);
                return block != nullptr && block->size >= sizeof(uint32_t)
                           ? Load<uint32_t>(block->Data())
                           : sizeof(uint32_t);
            }
            case Extent::kField: {
                const Block *const block = Find(words_[rule.second]);
                return block != nullptr && block->size >= rule.first + sizeof(uint32_t)
                           ? Load<uint32_t>(block->Data() + rule.first)
                           : 0;
            }
            case Extent::kFieldWithin: {
                const Block *const block = Find(words_[rule.parameter]);
                return block != nullptr && block->size >= rule.second + sizeof(uint32_t)
                           ? Load<uint32_t>(block->Data() + rule.second)
                           : 0;
            }
        }
        return 0;
    }

    // Nobody is to read or write further than what was given.
    void Check() const {
        for (const PointerRule &rule : info_.pointers) {
            if (rule.parameter == kResultPlace) {
                continue;
            }
            uint64_t address = words_[rule.parameter];
            const Block *block = Find(address);
            std::string name = Name(rule.parameter);
            if (block == nullptr && rule.offset != kDirect) {
                continue;  // a record of the host's
            }
            if (block != nullptr && rule.offset != kDirect) {
                if (block->size < rule.offset + sizeof(void *)) {
                    continue;  // the record is shorter
                }
                address = Load<uintptr_t>(block->Data() + rule.offset);
                block = Find(address);
                name += fmt::format("+{}", rule.offset);
                if (block == nullptr && address != 0 && !IsKnown(address)) {
                    throw UsageError(name + ": a pointer is given by ptr(...) or $NAME");
                }
            }
            if (block == nullptr && address != 0) {
                CheckAddress(rule, name, address);
            }
            const bool isBounded = !(IsText(rule) && IsIn(rule));
            if (block != nullptr && isBounded && SizeBefore(rule) > block->size) {
                throw UsageError(fmt::format("{}: {} bytes are given where {} are {}", name,
                                             block->size, SizeBefore(rule),
                                             IsOut(rule) ? "written" : "read"));
            }
        }
        CheckFunctions();
    }

    // A number in the place of memory: an address of the host's, or any other number.
    void CheckAddress(const PointerRule &rule, const std::string &name, uint64_t address) const {
        const uint64_t there = BytesAt(address, IsOut(rule));
        uint64_t needed = std::max<uint64_t>(1, SizeBefore(rule));
        if (IsText(rule) && IsIn(rule)) {
            needed = strnlen(dxr_trace::FromWord<const char *>(address), there) + 1;
        } else if (rule.extent == Extent::kRecord && there >= sizeof(uint32_t)) {
            needed = Load<uint32_t>(dxr_trace::FromWord<const std::byte *>(address));
        }
        if (there < needed) {
            throw UsageError(fmt::format("{}: at {:#x} are no {} bytes that can be {}", name,
                                         address, needed, IsOut(rule) ? "written" : "read"));
        }
    }

    // An address that the host has given.
    [[nodiscard]] bool IsKnown(uint64_t address) const {
        return std::any_of(values_.All().begin(), values_.All().end(), [address](const auto &item) {
            return !item.second.isText && item.second.number == address;
        });
    }

    // Those within records.
    void CheckFunctions() const {
        for (size_t i = 0; i < call_.functionCount; ++i) {
            const MemoryPlace &place = call_.functions[i];
            const Block *const block = Find(words_[place.parameter]);
            if (place.offset == kDirect || block == nullptr ||
                block->size < place.offset + sizeof(void *)) {
                continue;
            }
            if (Load<uintptr_t>(block->Data() + place.offset) != 0) {
                throw UsageError(fmt::format(
                    "{}: at {}+{} stands a function of the caller's, which a line cannot give",
                    SlotName(slot_), Name(place.parameter), place.offset));
            }
        }
    }

    CallOutcome Tell() {
        CallOutcome outcome;
        outcome.text = byHook_ ? "hook " + HookName() : SlotName(slot_);
        if (info_.result != Width::kNone) {
            outcome.text += " = " + ResultText();
        }
        if (HostSlots()[slot_] == nullptr) {
            outcome.text += ", the fallback: the host leaves the slot empty";
        }
        outcome.text += "\n";
        for (const auto &block : blocks_.All()) {
            TellBlock(*block, outcome);
            if (RuleFor(*block) == nullptr) {
                outcome.kept.push_back(block);
            }
        }
        return outcome;
    }

    [[nodiscard]] std::string HookName() const {
        return fmt::format("{}.{}", kSlotTable[slot_].group, kSlotTable[slot_].member);
    }

    std::string ResultText() {
        const PointerRule *const rule = RuleOf(info_, kResultPlace);
        Value value;
        value.number = result_;
        std::string text = NumberText(result_);
        if (info_.result == Width::kPointer) {
            text = result_ == 0 ? "null" : fmt::format("{:#x}", result_);
            if (result_ != 0 && rule != nullptr && IsText(*rule)) {
                value.isText = true;
                // The rule says that a text is there.
                value.text = dxr_trace::FromWord<const char *>(result_);
                text = QuotedText(value.text);
            } else if (result_ != 0 && rule != nullptr && rule->extent == Extent::kFixed) {
                const auto *const bytes = dxr_trace::FromWord<const char *>(result_);
                text += ": " + BytesText({bytes, rule->first});
            }
        }
        values_.Set("result", value);
        return text;
    }

    [[nodiscard]] const PointerRule *RuleFor(const Block &block) const {
        for (size_t i = 0; i < info_.parameters.size(); ++i) {
            if (words_[i] == block.Address()) {
                return RuleOf(info_, i);
            }
        }
        return nullptr;
    }

    void TellBlock(const Block &block, CallOutcome &outcome) {
        if (!block.IsWhole()) {
            outcome.text += fmt::format("  {}: the host has written past its {} bytes\n",
                                        block.name, block.size);
        }
        const PointerRule *const rule = RuleFor(block);
        if (!block.isShown && (rule == nullptr || !IsOut(*rule))) {
            return;
        }
        std::string_view bytes = block.Text();
        if (rule != nullptr && rule->extent == Extent::kResult) {
            bytes = bytes.substr(0, static_cast<size_t>(std::min<uint64_t>(result_, block.size)));
        }
        Value value;
        std::string text = BytesText(bytes);
        if (rule != nullptr && IsText(*rule)) {
            bytes = bytes.substr(0, bytes.find('\0'));
            value.isText = true;
            value.text = bytes;
            text = QuotedText(bytes);
        } else if (bytes.size() <= sizeof(value.number)) {
            value.number = NumberIn(bytes);
        }
        outcome.text += fmt::format("  {} = {}\n", block.name, text);
        values_.Set(block.name, value);
    }

    static uint64_t NumberIn(std::string_view bytes) {
        const auto *const raw = reinterpret_cast<const std::byte *>(bytes.data());
        switch (bytes.size()) {
            case 1:
                return Load<uint8_t>(raw);
            case 2:
                return Load<uint16_t>(raw);
            case 4:
                return Load<uint32_t>(raw);
            case 8:
                return Load<uint64_t>(raw);
            default:
                return 0;
        }
    }

    size_t slot_;
    const SlotInfo &info_;
    const SlotCall &call_;
    bool byHook_;
    Values &values_;
    Blocks blocks_;
    std::vector<std::shared_ptr<const Block>> given_;  // kept ones that are named
    std::array<uint64_t, kMostParameters> words_{};
    std::array<bool, kMostParameters> isLeft_{};
    uint64_t result_ = 0;
};

std::string ExtentText(const SlotCall &call, const PointerRule &rule) {
    const auto name = [&call](uint16_t parameter) { return call.names[parameter]; };
    switch (rule.extent) {
        case Extent::kFixed:
            return fmt::format("{} bytes", rule.first);
        case Extent::kText:
            return "a text";
        case Extent::kTextWithin:
            return fmt::format("a text of at most {} bytes", name(rule.first));
        case Extent::kArgument:
            return fmt::format("{} bytes", name(rule.first));
        case Extent::kProduct:
        case Extent::kResult:
            return fmt::format("{} * {} bytes", name(rule.first), name(rule.second));
        case Extent::kRecord:
            return "a record, whose first u32 counts its bytes";
        case Extent::kField:
            return fmt::format("as many bytes as the u32 at {}+{} says", name(rule.second),
                               rule.first);
        case Extent::kFieldWithin:
            return fmt::format("at most as many bytes as the u32 at {}+{} says",
                               name(rule.parameter), rule.second);
    }
    return "";
}

std::string_view DirectionText(const PointerRule &rule) {
    return rule.direction == Direction::kIn      ? "read"
           : rule.direction == Direction::kInOut ? "read and written"
                                                 : "written";
}

std::string ParameterText(const SlotInfo &info, const SlotCall &call, size_t i) {
    if (info.parameters[i].width != Width::kPointer) {
        return std::string(WidthText(info.parameters[i].width));
    }
    if (TakesFunction(call, i)) {
        return "a function: null alone can be given";
    }
    const PointerRule *const rule = RuleOf(info, i);
    if (rule == nullptr) {
        return "a handle, an address or memory";
    }
    return fmt::format("{}: {}{}", DirectionText(*rule), ExtentText(call, *rule),
                       IsAutomatic(info, i) ? "; may be left out" : "");
}

}  // namespace

std::optional<size_t> SlotNamed(std::string_view name) {
    if (name.empty()) {
        return std::nullopt;  // slots without a function have no name there
    }
    for (const SlotRow &row : kSlotTable) {
        if (name == row.function || name == fmt::format("{}.{}", row.group, row.member)) {
            return row.slot;
        }
    }
    return std::nullopt;
}

size_t RequireSlot(const std::string &name) {
    const auto slot = SlotNamed(name);
    if (!slot) {
        throw UsageError(fmt::format("there is no slot '{}'; {}", Printable(name, kShownWidth),
                                     Advice(name, SlotNamesLike(name), "'slots' lists them")));
    }
    return *slot;
}

std::vector<std::string> SlotNamesLike(std::string_view name) {
    const bool isFunction = name.starts_with("DXR_");
    std::vector<std::string> names;
    for (const SlotRow &row : kSlotTable) {
        if (!isFunction) {
            names.push_back(fmt::format("{}.{}", row.group, row.member));
        } else if (!row.function.empty()) {
            names.emplace_back(row.function);
        }
    }
    return names;
}

std::string SlotName(size_t slot) {
    const SlotRow &row = kSlotTable[slot];
    return row.function.empty() ? fmt::format("{}.{}", row.group, row.member)
                                : std::string(row.function);
}

std::string SlotHelp(size_t slot) {
    const SlotInfo &info = kSlots[slot];
    const SlotCall &call = kSlotCalls[slot];
    if (info.isReserved) {
        return SlotName(slot) + ": a reserved slot, which has no type\n";
    }
    std::string usage = "call " + SlotName(slot);
    std::string text;
    for (size_t i = 0; i < info.parameters.size(); ++i) {
        usage += IsAutomatic(info, i) ? fmt::format(" [{}]", call.names[i])
                                      : fmt::format(" {}", call.names[i]);
        text += fmt::format("  {:<12} {}\n", call.names[i], ParameterText(info, call, i));
    }
    for (const PointerRule &rule : info.pointers) {
        if (rule.offset != kDirect && rule.parameter != kResultPlace) {
            text += fmt::format("  {:<12} {}: {}\n",
                                fmt::format("{}+{}", call.names[rule.parameter], rule.offset),
                                DirectionText(rule), ExtentText(call, rule));
        }
    }
    return fmt::format("{}\n{}\n{}", usage, call.about, text);
}

CallOutcome CallSlot(size_t slot, const std::vector<std::string> &arguments, bool byHook,
                     Values &values) {
    return TypedCall(slot, byHook, values).Make(arguments);
}

}  // namespace dxrsh
