// Environment and flash information.
#include "device_variables.h"

#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "device.h"

namespace devhost {
namespace {

// The file: this, then for each variable the lengths of its name and its value, and both.
struct Header {
    std::array<char, 8> mark;
    uint32_t crc;
    uint32_t bytes;  // after the header
};
constexpr std::array<char, 8> kMark = {'d', 'x', 'r', 'v', 'a', 'r', 's', '1'};

struct Lengths {
    uint32_t name;
    uint32_t value;
};

constexpr size_t kMostName = 63;
constexpr size_t kMostBytes = size_t{64} * 1024;

uint32_t CrcOf(const unsigned char *data, size_t bytes) {
    return static_cast<uint32_t>(crc32(0, data, static_cast<uInt>(bytes)));
}

void Append(Bytes &to, const void *data, size_t bytes) {
    const auto *const begin = static_cast<const unsigned char *>(data);
    to.insert(to.end(), begin, begin + bytes);
}

}  // namespace

Variables::Variables(Host &host, const char *fileName)
    : fileName_(fileName),
      path_(host.options.workPath + "/" + fileName),
      file_(host.chance, {"env.open", "env.write", "env.sync", "env.rename"}) {
}

uint32_t Variables::Values::Set(std::string_view name, const void *value, uint32_t size) {
    const auto found = each.find(name);
    const size_t before =
        found != each.end() ? sizeof(Lengths) + name.size() + found->second.size() : 0;
    if (size == 0) {
        if (found != each.end()) {
            each.erase(found);
            bytes -= before;
        }
        return 0;
    }
    const size_t after = sizeof(Lengths) + name.size() + size;
    if (size > kMostBytes || bytes - before + after > kMostBytes) {
        return ENOSPC;
    }
    const auto *const begin = static_cast<const unsigned char *>(value);
    Bytes copy(begin, begin + size);
    if (found != each.end()) {
        found->second.swap(copy);
    } else {
        each.emplace(name, std::move(copy));
    }
    bytes = bytes - before + after;
    return 0;
}

uint32_t Variables::Set(std::string_view name, const void *value, uint32_t size) {
    return values_.Set(name, value, size);
}

const Bytes *Variables::Find(std::string_view name) const {
    const auto found = values_.each.find(name);
    return found != values_.each.end() ? &found->second : nullptr;
}

Bytes Variables::Values::Encode() const {
    Bytes content(sizeof(Header));
    content.reserve(sizeof(Header) + bytes);
    for (const auto &[name, value] : each) {
        const Lengths lengths{static_cast<uint32_t>(name.size()),
                              static_cast<uint32_t>(value.size())};
        Append(content, &lengths, sizeof(lengths));
        Append(content, name.data(), name.size());
        Append(content, value.data(), value.size());
    }
    const size_t length = content.size() - sizeof(Header);
    const Header header{kMark, CrcOf(content.data() + sizeof(Header), length),
                        static_cast<uint32_t>(length)};
    std::memcpy(content.data(), &header, sizeof(header));
    return content;
}

bool Variables::Values::Decode(const Bytes &content) {
    Header header{};
    if (content.size() < sizeof(header)) {
        return false;
    }
    std::memcpy(&header, content.data(), sizeof(header));
    size_t at = sizeof(header);
    if (header.mark != kMark || header.bytes != content.size() - at || header.bytes > kMostBytes ||
        header.crc != CrcOf(content.data() + at, header.bytes)) {
        return false;
    }
    while (at < content.size()) {
        Lengths lengths{};
        if (content.size() - at < sizeof(lengths)) {
            return false;
        }
        std::memcpy(&lengths, content.data() + at, sizeof(lengths));
        at += sizeof(lengths);
        if (content.size() - at < uint64_t{lengths.name} + lengths.value) {
            return false;
        }
        const std::string name(reinterpret_cast<const char *>(content.data()) + at, lengths.name);
        at += lengths.name;
        (void)Set(name, content.data() + at, lengths.value);
        at += lengths.value;
    }
    return true;
}

bool Variables::Load(std::string &error) {
    Bytes content;
    const int failure = ReadWholeFile(path_, content);
    if (failure == ENOENT) {
        return true;
    }
    if (failure != 0) {
        error = path_ + ": cannot be read: " + std::generic_category().message(failure) +
                "; its variables are lost";
        return false;
    }
    if (!values_.Decode(content)) {
        values_ = {};
        error = path_ + ": is torn; its variables are lost";
        return false;
    }
    return true;
}

uint32_t Variables::Write(const Bytes &content, std::string &why) {
    const std::string failed = file_.Write(path_, content);
    if (failed.empty()) {
        return 0;
    }
    why = path_ + ": could not be " + failed;
    return EIO;
}

uint32_t Variables::Save(std::mutex &guard, std::string &why) {
    // One after the other: what is saved last is what was set last.
    const std::lock_guard saving(saving_);
    try {
        Bytes content;
        {
            const std::lock_guard lock(guard);
            content = values_.Encode();
        }
        return Write(content, why);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t Variables::SetSaved(std::mutex &guard, std::string_view name, const void *value,
                             uint32_t size, std::string &why) {
    const std::lock_guard saving(saving_);
    try {
        Values next;
        {
            const std::lock_guard lock(guard);
            next = values_;
        }
        uint32_t result = next.Set(name, value, size);
        result = result != 0 ? result : Write(next.Encode(), why);
        if (result == 0) {
            const std::lock_guard lock(guard);
            std::swap(values_, next);
        }
        return result;
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

namespace {

// False, and a report or an error, for what can be no name.
bool IsName(const Call &call, const char *name, uint32_t &error) {
    error = EINVAL;
    if (!IsUsable<char>(call, name)) {
        return false;
    }
    const size_t length = strnlen(name, kMostName + 1);
    if (length == 0) {
        call.Misuse(kDevice, "an empty name");
        return false;
    }
    error = ENAMETOOLONG;
    return length <= kMostName;
}

uint32_t Get(const Call &call, Variables DeviceService::*set, const char *name, void *value,
             uint32_t size) {
    uint32_t error = ECANCELED;
    if (!call || !IsName(call, name, error)) {
        return error;
    }
    if (!IsUsable<char>(call, value)) {
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const Bytes *const found = (state.*set).Find(name);
    if (found == nullptr) {
        return ENOENT;
    }
    if (found->size() > size) {
        return ENOSPC;
    }
    std::memcpy(value, found->data(), found->size());
    std::memset(static_cast<char *>(value) + found->size(), 0, size - found->size());
    return 0;
}

// Whether that can be set; `error` says why not.
bool IsSettable(const Call &call, const char *name, const void *value, uint32_t size,
                uint32_t &error) {
    error = ECANCELED;
    if (!call || !IsName(call, name, error)) {
        return false;
    }
    error = EINVAL;
    return size == 0 || IsUsable<char>(call, value);
}

uint32_t Set(const Call &call, Variables DeviceService::*set, const char *name, const void *value,
             uint32_t size) {
    uint32_t error = 0;
    if (!IsSettable(call, name, value, size, error)) {
        return error;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    try {
        return (state.*set).Set(name, value, size);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

// Says why a file could not be replaced.
uint32_t Tell(const Call &call, uint32_t result, const std::string &why) {
    constexpr uint32_t kLevelFailure = 1;
    if (!why.empty()) {
        call->Say(kLevelFailure, why.c_str());
    }
    return result;
}

uint32_t Save(const Call &call, Variables DeviceService::*set) {
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    std::string why;
    const uint32_t result = (state.*set).Save(state.mutex, why);
    return Tell(call, result, why);
}

uint32_t GetEnv(const char *name, void *value, uint32_t size) {
    const Call call("DXR_GetEnv");
    return Get(call, &DeviceService::block, name, value, size);
}

uint32_t SetEnv(const char *name, void *value, uint32_t size) {
    const Call call("DXR_SetEnv");
    return Set(call, &DeviceService::block, name, value, size);
}

uint32_t GetMemEnv(const char *name, void *value, uint32_t size) {
    const Call call("DXR_GetMemEnv");
    return Get(call, &DeviceService::memory, name, value, size);
}

uint32_t SetMemEnv(const char *name, void *value, uint32_t size) {
    const Call call("DXR_SetMemEnv");
    return Set(call, &DeviceService::memory, name, value, size);
}

uint32_t SaveEnvBlock() {
    const Call call("DXR_SaveEnvBlock");
    return Save(call, &DeviceService::block);
}

uint32_t SaveMemEnv() {
    const Call call("DXR_SaveMemEnv");
    return Save(call, &DeviceService::memory);
}

uint32_t SaveEnv() {
    const Call call("DXR_SaveEnv");
    const uint32_t first = Save(call, &DeviceService::block);
    const uint32_t second = call ? Save(call, &DeviceService::memory) : first;
    return first != 0 ? first : second;
}

uint32_t WriteFlashInfo(void *info) {
    const Call call("DXR_WriteFlashInfo");
    if (!call) {
        return ECANCELED;
    }
    const auto *const record = RecordAt<DxrHostFlashInfo>(call, info);
    if (record == nullptr) {
        return EINVAL;
    }
    const std::string name = std::to_string(record->item);
    uint32_t error = 0;
    if (!IsSettable(call, name.c_str(), record->data, record->bytes, error)) {
        return error;
    }
    DeviceService &state = DeviceOf(*call);
    std::string why;
    const uint32_t result =
        state.flash.SetSaved(state.mutex, name, record->data, record->bytes, why);
    return Tell(call, result, why);
}

}  // namespace

void FillDeviceVariables(DxrDevHooks &hooks) {
    hooks.getEnv = Guarded<GetEnv>;
    hooks.setEnv = Guarded<SetEnv>;
    hooks.getMemEnv = Guarded<GetMemEnv>;
    hooks.setMemEnv = Guarded<SetMemEnv>;
    hooks.saveEnvBlock = Guarded<SaveEnvBlock>;
    hooks.saveMemEnv = Guarded<SaveMemEnv>;
    hooks.saveEnv = Guarded<SaveEnv>;
    hooks.writeFlashInfo = Guarded<WriteFlashInfo>;
}

}  // namespace devhost

uint32_t DxrHostGetFlashInfo(DxrHost *host, uint32_t item, void *buffer, uint32_t size) {
    const devhost::ApiCall call(host);
    if (!call) {
        return 0;
    }
    const std::string name = std::to_string(item);  // of so few digits that it needs no memory
    devhost::DeviceService &state = devhost::DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    const devhost::Bytes *const found = state.flash.Find(name);
    if (found == nullptr) {
        return 0;
    }
    if (buffer != nullptr) {
        std::memcpy(buffer, found->data(), std::min<size_t>(size, found->size()));
    }
    return static_cast<uint32_t>(found->size());
}
