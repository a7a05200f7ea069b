// JSON from files, with the place of what is wrong in them.
#ifndef DXR_DEVHOST_JSON_FILE_H
#define DXR_DEVHOST_JSON_FILE_H

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace devhost {

// Reads a whole file. On failure false, and "path:line:column: what is wrong" in `error`.
bool ReadJsonFile(const std::string &path, nlohmann::json &value, std::string &error);

}  // namespace devhost

#endif  // DXR_DEVHOST_JSON_FILE_H
