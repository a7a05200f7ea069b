// JSON from files, with the place of what is wrong in them.
#ifndef DXR_DEVHOST_JSON_FILE_H
#define DXR_DEVHOST_JSON_FILE_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace devhost {

// Reads a whole file. On failure false, and "path:line:column: what is wrong" in `error`. The text
// of the file, when it is wanted, says later where something is.
bool ReadJsonFile(const std::string &path, nlohmann::json &value, std::string &error,
                  std::string *text = nullptr);

// "line:column" of a value in a text that is JSON, both from 1. It is named as by a JSON pointer,
// say "/list/3/value"; for what is not there it is the last place on the way.
std::string PlaceOfJson(const std::string &text, const std::string &pointer);

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_FILE_H
