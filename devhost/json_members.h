// Objects of a JSON file, member by member. What is wrong ends the reading.
#ifndef DXR_DEVHOST_JSON_MEMBERS_H
#define DXR_DEVHOST_JSON_MEMBERS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "json_value.h"

namespace devhost {

// What is wrong with a file, thrown: the member to blame, as a JSON pointer, and why.
struct Wrong {
    std::string member;
    std::string why;
};

// A whole number, or a text with one: decimal, or hexadecimal after "0x".
std::optional<uint64_t> NumberOf(const JsonValue &value);

// The members of an object; each is asked for by name, and others are refused,
// as is one that is given twice.
class Members {
  public:
    Members(const JsonValue &object, std::string place);

    [[noreturn]] void Blame(const char *name, const char *why) const;

    // A member that is absent is `otherwise`, or to blame without one.
    uint64_t Number(const char *name, uint64_t most, std::optional<uint64_t> otherwise = {});
    uint32_t Number32(const char *name, std::optional<uint64_t> otherwise = {});
    std::string Text(const char *name, const char *otherwise);

    // Each object of a list, which may be absent.
    template <typename Take>
    void ForEach(const char *name, Take take) {
        const JsonValue *const list = Find(name);
        if (list == nullptr) {
            return;
        }
        if (!list->IsList()) {
            Blame(name, "must be a list");
        }
        for (size_t i = 0; i < list->list.size(); ++i) {
            Members each(list->list[i], place_ + "/" + name + "/" + std::to_string(i));
            take(each);
            each.RefuseOthers();
        }
    }

    const JsonValue *Find(const char *name);
    void RefuseOthers() const;

  private:
    [[nodiscard]] std::string PointerTo(const std::string &name) const;

    const JsonValue &object_;
    const std::string place_;
    std::set<std::string> known_;
};

// Reads an object from a file and hands it to `take`, which looks at its members. On failure false,
// and "path:line:column: member: what is wrong".
bool ReadMembers(const std::string &path, const std::function<void(Members &)> &take,
                 std::string &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_MEMBERS_H
