// Input files in JSON, read strictly: whatever a file says that nobody asked for, or says wrongly,
// is a UsageError whose text names the place.
#ifndef DXRSH_JSON_INPUT_H
#define DXRSH_JSON_INPUT_H

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace dxrsh {

// The file's JSON. Throws RunError when it cannot be read.
[[nodiscard]] nlohmann::json LoadJson(const std::string &path);
// The text's; `name` is how the file is called in complaints.
[[nodiscard]] nlohmann::json ParseJson(std::string_view text, const std::string &name);

// An object whose keys are asked for one by one. The value must outlive it.
class JsonObject {
  public:
    // `place` is how the object is called in complaints, such as "t.json: messages[0]".
    JsonObject(const nlohmann::json &value, std::string place);

    // A whole number from 0 to 4294967295.
    [[nodiscard]] uint32_t Number(const char *key);
    [[nodiscard]] uint32_t Number(const char *key, uint32_t fallback);

    // A text without control characters, of at most `maxLength` bytes.
    [[nodiscard]] std::string Text(const char *key, size_t maxLength);

    // A list of objects, which may be empty.
    [[nodiscard]] std::vector<JsonObject> Objects(const char *key);

    [[nodiscard]] bool Has(const char *key) const;

    // Throws when the object has a key that was not asked for.
    void RefuseOtherKeys() const;

  private:
    [[nodiscard]] const nlohmann::json &Value(const char *key);

    const nlohmann::json *value_;
    std::string place_;
    std::set<std::string> asked_;
};

}  // namespace dxrsh

#endif  // DXRSH_JSON_INPUT_H
