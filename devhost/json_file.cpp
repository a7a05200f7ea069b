#include "json_file.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace devhost {
namespace {

// "line:column" of a byte, both from 1.
std::string PlaceOf(const std::string &text, size_t byte) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte, text.size()));
    const auto line = std::count(text.begin(), end, '\n') + 1;
    const auto lineBegin = std::find(std::make_reverse_iterator(end), text.rend(), '\n').base();
    return std::to_string(line) + ":" + std::to_string(end - lineBegin + 1);
}

}  // namespace

bool ReadJsonFile(const std::string &path, nlohmann::json &value, std::string &error) {
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        error = path + ": cannot be read";
        return false;
    }
    try {
        value = nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error &problem) {
        // The byte is counted from 1, and is the last one read.
        error = path + ":" + PlaceOf(text, problem.byte > 0 ? problem.byte - 1 : 0) +
                ": this is no JSON";
        return false;
    }
    return true;
}

}  // namespace devhost
