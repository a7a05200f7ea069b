#include "json_members.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "json_file.h"

namespace devhost {

std::optional<uint64_t> NumberOf(const JsonValue &value) {
    if (value.IsNumber()) {
        return value.number;
    }
    if (!value.IsText()) {
        return std::nullopt;
    }
    const std::string &text = value.text;
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = isHex ? text.substr(2) : text;
    const bool areDigits =
        !digits.empty() && digits.find_first_not_of(isHex ? "0123456789abcdefABCDEF"
                                                          : "0123456789") == std::string::npos;
    errno = 0;
    const uint64_t number = areDigits ? std::strtoull(digits.c_str(), nullptr, isHex ? 16 : 10) : 0;
    return areDigits && errno == 0 ? std::optional(number) : std::nullopt;
}

Members::Members(const JsonValue &object, std::string place)
    : object_(object), place_(std::move(place)) {
    if (!object.IsObject()) {
        Blame("", "must be an object");
    }
}

void Members::Blame(const char *name, const char *why) const {
    throw Wrong{*name != '\0' ? PointerTo(name) : place_, why};
}

std::string Members::PointerTo(const std::string &name) const {
    std::string pointer = place_ + "/";
    for (const char each : name) {
        if (each == '~' || each == '/') {
            pointer += each == '~' ? "~0" : "~1";
        } else {
            pointer += each;
        }
    }
    return pointer;
}

uint64_t Members::Number(const char *name, uint64_t most, std::optional<uint64_t> otherwise) {
    const JsonValue *const member = Find(name);
    if (member == nullptr && !otherwise) {
        Blame(name, "is missing");
    }
    const std::optional<uint64_t> number = member != nullptr ? NumberOf(*member) : otherwise;
    if (!number || *number > most) {
        Blame(name, "must be a whole number within its range");
    }
    return *number;
}

uint32_t Members::Number32(const char *name, std::optional<uint64_t> otherwise) {
    return static_cast<uint32_t>(Number(name, UINT32_MAX, otherwise));
}

std::string Members::Text(const char *name, const char *otherwise) {
    const JsonValue *const member = Find(name);
    if (member == nullptr && otherwise == nullptr) {
        Blame(name, "is missing");
    }
    if (member != nullptr && !member->IsText()) {
        Blame(name, "must be a text");
    }
    if (member != nullptr && member->text.find('\0') != std::string::npos) {
        Blame(name, "must not hold a byte of 0");
    }
    return member != nullptr ? member->text : otherwise;
}

const JsonValue *Members::Find(const char *name) {
    known_.insert(name);
    return object_.Find(name);
}

void Members::RefuseOthers() const {
    for (const auto &[name, value] : object_.members) {
        if (value.isAgain) {
            throw Wrong{PointerTo(name), "is given twice"};
        }
        if (!known_.contains(name)) {
            throw Wrong{PointerTo(name), "is not known"};
        }
    }
}

bool ReadMembers(const std::string &path, const std::function<void(Members &)> &take,
                 std::string &error) {
    JsonFile file;
    if (!file.Read(path, error)) {
        return false;
    }
    try {
        Members members(file.Value(), "");
        take(members);
        members.RefuseOthers();
        return true;
    } catch (const Wrong &wrong) {
        error = path + ":" + file.PlaceOf(wrong.member) + ": " +
                (wrong.member.empty() ? "the file" : wrong.member + ":") + " " + wrong.why;
        return false;
    }
}

}  // namespace devhost
