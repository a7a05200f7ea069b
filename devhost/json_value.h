// What a JSON file holds. The end of a value needs no memory.
#ifndef DXR_DEVHOST_JSON_VALUE_H
#define DXR_DEVHOST_JSON_VALUE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace devhost {

struct JsonValue {
    enum class Kind : uint8_t {
        kOther,   // null, a truth value, a number below 0 or with a fraction
        kNumber,  // a whole one from 0
        kText,
        kList,
        kObject,
    };

    Kind kind = Kind::kOther;
    bool isAgain = false;  // another member of the name stood before it in the object
    uint64_t number = 0;
    std::string text;
    std::vector<JsonValue> list;
    std::map<std::string, JsonValue, std::less<>> members;

    [[nodiscard]] bool IsNumber() const { return kind == Kind::kNumber; }
    [[nodiscard]] bool IsText() const { return kind == Kind::kText; }
    [[nodiscard]] bool IsList() const { return kind == Kind::kList; }
    [[nodiscard]] bool IsObject() const { return kind == Kind::kObject; }

    // A member; null when there is none.
    [[nodiscard]] const JsonValue *Find(std::string_view name) const {
        const auto found = members.find(name);
        return found != members.end() ? &found->second : nullptr;
    }
};

// How deep values may lie within each other.
constexpr size_t kMostJsonDepth = 100;

// Reads a text into an empty value. Null, or what is wrong: then `wrongAt` is the place of the byte
// to blame. Throws std::bad_alloc.
const char *ParseJson(std::string_view text, JsonValue &value, size_t &wrongAt);

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_VALUE_H
