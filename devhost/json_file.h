// JSON from files, with the place of what is wrong in them.
#ifndef DXR_DEVHOST_JSON_FILE_H
#define DXR_DEVHOST_JSON_FILE_H

#include <string>

#include "json_value.h"

namespace devhost {

// A file and what it holds.
class JsonFile {
  public:
    // Once. On failure false, and "path:line:column: what is wrong" in `error`.
    bool Read(const std::string &path, std::string &error);

    [[nodiscard]] const JsonValue &Value() const { return value_; }

    // "line:column" of a value, both from 1. It is named as by a JSON pointer, say "/list/3/value";
    // for what is not there it is the last place on the way.
    [[nodiscard]] std::string PlaceOf(const std::string &pointer) const;

  private:
    std::string text_;
    JsonValue value_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_FILE_H
