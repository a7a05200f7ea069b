#include "callbacks.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <utility>

namespace dxr_trace {
namespace {

// Never ended: threads may still be called while the program exits.
struct Targets {
    std::mutex mutex;
    std::map<std::pair<Hook, void *>, CallbackTarget> all;
};

Targets &TheTargets() {
    static auto *const targets = new Targets;
    return *targets;
}

// Into what the caller may have where nothing can be written, as a constant.
bool TryStore(std::byte *to, const std::byte *from, size_t size) {
    const int before = errno;
    const iovec source = {const_cast<std::byte *>(from), size};
    const iovec target = {to, size};
    const bool isStored =
        process_vm_writev(getpid(), &source, 1, &target, 1, 0) == static_cast<ssize_t>(size);
    errno = before;
    return isStored;
}

uint64_t Load(const std::byte *from) {
    uintptr_t word = 0;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

void Store(std::byte *to, uint64_t value) {
    const auto word = static_cast<uintptr_t>(value);
    std::memcpy(to, &word, sizeof(word));
}

}  // namespace

CallbackTarget *TargetOf(Hook function, void *argument) {
    const int before = errno;
    try {
        Targets &targets = TheTargets();
        const std::lock_guard<std::mutex> lock(targets.mutex);
        CallbackTarget &target = targets.all[{function, argument}];
        target = {function, argument};
        errno = before;
        return &target;
    } catch (const std::bad_alloc &) {
        errno = before;
        return nullptr;
    }
}

// Only what is copied is written.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
SwappedWords::SwappedWords(size_t slot, std::span<const uint64_t> words, ChooseTrampoline choose) {
    std::memcpy(words_.data(), words.data(), words.size_bytes());
    const CallbackRule &rule = *kSlots[slot].callback;
    const bool isInRecord = rule.function.offset != kDirect;
    std::byte *const record = isInRecord ? Copy(words_[rule.function.parameter]) : nullptr;
    if (isInRecord &&
        (record == nullptr || rule.function.offset + sizeof(void *) > size_ ||
         (rule.argument.parameter != kNoPlace && rule.argument.offset + sizeof(void *) > size_))) {
        original_ = nullptr;
        return;
    }
    const auto load = [&](const MemoryPlace &place) {
        return isInRecord ? Load(record + place.offset) : words_[place.parameter];
    };
    const auto store = [&](const MemoryPlace &place, uint64_t value) {
        if (isInRecord) {
            Store(record + place.offset, value);
        } else {
            words_[place.parameter] = value;
        }
    };
    const auto function = FromWord<Hook>(load(rule.function));
    const Hook ours = function != nullptr ? choose(function) : nullptr;
    const bool hasArgument = rule.argument.parameter != kNoPlace;
    // It is ours already while another thread hands over the same record.
    CallbackTarget *const target = ours != nullptr && ours != function && hasArgument
                                       ? TargetOf(function, FromWord<void *>(load(rule.argument)))
                                       : nullptr;
    if (ours == nullptr || (hasArgument && target == nullptr)) {
        original_ = nullptr;
        return;
    }
    if (rule.isKnown) {
        given_ = record_;
    }
    store(rule.function, ToWord(ours));
    if (hasArgument) {
        store(rule.argument, ToWord(target));
    }
    if (rule.isKnown) {
        known_ = &rule;
        if (!TryStore(original_, record_.data(), size_)) {
            (void)TryStore(original_, given_.data(), size_);
            original_ = nullptr;
        }
    } else if (isInRecord) {
        given_ = record_;
        words_[rule.function.parameter] = ToWord(record_.data());
    }
}

SwappedWords::~SwappedWords() {
    if (original_ == nullptr) {
        return;
    }
    if (known_ != nullptr) {
        PutBack(known_->function);
        PutBack(known_->argument);
        return;
    }
    for (size_t i = 0; i < size_; ++i) {
        if (record_[i] != given_[i]) {
            original_[i] = record_[i];
        }
    }
}

// Of the caller's own record a word of ours, unless somebody has put another one there.
void SwappedWords::PutBack(const MemoryPlace &place) {
    if (place.parameter != kNoPlace &&
        Load(original_ + place.offset) == Load(record_.data() + place.offset)) {
        Store(original_ + place.offset, Load(given_.data() + place.offset));
    }
}

// Null for one that is too long to be copied, or none.
std::byte *SwappedWords::Copy(uint64_t record) {
    original_ = FromWord<std::byte *>(record);
    if (original_ == nullptr) {
        return nullptr;
    }
    uint32_t size = 0;
    std::memcpy(&size, original_, sizeof(size));
    if (size > kMostRecord) {
        return nullptr;
    }
    size_ = size;
    std::memcpy(record_.data(), original_, size_);
    return record_.data();
}

}  // namespace dxr_trace
