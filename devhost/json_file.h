// JSON from files, with the place of what is wrong in them.
#ifndef DXR_DEVHOST_JSON_FILE_H
#define DXR_DEVHOST_JSON_FILE_H

#include <nlohmann/json.hpp>
#include <string>

namespace devhost {

// A file and what it holds.
class JsonFile {
  public:
    JsonFile() = default;  // NOLINT(bugprone-exception-escape): as below
    ~JsonFile();           // NOLINT(bugprone-exception-escape): see json_file.cpp
    JsonFile(const JsonFile &) = delete;
    JsonFile &operator=(const JsonFile &) = delete;
    JsonFile(JsonFile &&) = delete;
    JsonFile &operator=(JsonFile &&) = delete;

    // Once. On failure false, and "path:line:column: what is wrong" in `error`.
    bool Read(const std::string &path, std::string &error);

    [[nodiscard]] const nlohmann::json &Value() const { return value_; }

    // "line:column" of a value, both from 1. It is named as by a JSON pointer, say "/list/3/value";
    // for what is not there it is the last place on the way.
    [[nodiscard]] std::string PlaceOf(const std::string &pointer) const;

  private:
    std::string text_;
    nlohmann::json value_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_FILE_H
