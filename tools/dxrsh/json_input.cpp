#include "json_input.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <set>
#include <utility>
#include <vector>

#include "errors.h"
#include "file_io.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kLongestFile = size_t{16} << 20U;
constexpr size_t kComplaintWidth = 200;
constexpr size_t kShownWidth = 60;

// Without the class of the exception in front, and with nothing of the file that a terminal could
// obey.
std::string Complaint(const nlohmann::json::exception &error) {
    const std::string_view text = error.what();
    const size_t classEnd = text.find("] ");
    return Printable(classEnd == std::string_view::npos ? text : text.substr(classEnd + 2),
                     kComplaintWidth);
}

}  // namespace

nlohmann::json LoadJson(const std::string &path) {
    Input input(path);
    return ParseJson(ReadWhole(input, kLongestFile), input.Name());
}

nlohmann::json ParseJson(std::string_view text, const std::string &name) {
    // The parser would take it for the end, whatever follows.
    if (text.find('\0') != std::string_view::npos) {
        throw UsageError(fmt::format("{}: holds a NUL byte", name));
    }
    std::vector<std::set<std::string>> members;  // so far, of the objects that are open
    const auto refuseTwice = [&members, &name](int /*depth*/, nlohmann::json::parse_event_t event,
                                               const nlohmann::json &value) {
        if (event == nlohmann::json::parse_event_t::object_start) {
            members.emplace_back();
        } else if (event == nlohmann::json::parse_event_t::object_end) {
            members.pop_back();
        } else if (event == nlohmann::json::parse_event_t::key &&
                   !members.back().insert(value.get<std::string>()).second) {
            throw UsageError(fmt::format("{}: '{}' is given twice", name,
                                         Printable(value.get<std::string>(), kShownWidth)));
        }
        return true;
    };
    try {
        return nlohmann::json::parse(text, refuseTwice);
    } catch (const nlohmann::json::exception &error) {
        throw UsageError(fmt::format("{}: {}", name, Complaint(error)));
    }
}

JsonObject::JsonObject(const nlohmann::json &value, std::string place)
    : value_(&value), place_(std::move(place)) {
    if (!value.is_object()) {
        throw UsageError(fmt::format("{}: must be an object", place_));
    }
}

const nlohmann::json &JsonObject::Value(const char *key) {
    asked_.insert(key);
    const auto found = value_->find(key);
    if (found == value_->end()) {
        throw UsageError(fmt::format("{}: '{}' is missing", place_, key));
    }
    return *found;
}

bool JsonObject::Has(const char *key) const {
    return value_->contains(key);
}

uint32_t JsonObject::Number(const char *key) {
    constexpr uint64_t kMax = 0xFFFFFFFF;
    const nlohmann::json &value = Value(key);
    if (!value.is_number_unsigned() || value.get<uint64_t>() > kMax) {
        throw UsageError(
            fmt::format("{}: '{}' must be a whole number from 0 to {}", place_, key, kMax));
    }
    return value.get<uint32_t>();
}

uint32_t JsonObject::Number(const char *key, uint32_t fallback) {
    asked_.insert(key);
    return Has(key) ? Number(key) : fallback;
}

std::string JsonObject::Text(const char *key, size_t maxLength) {
    const nlohmann::json &value = Value(key);
    if (!value.is_string()) {
        throw UsageError(fmt::format("{}: '{}' must be a text", place_, key));
    }
    auto text = value.get<std::string>();
    if (text.size() > maxLength) {
        throw UsageError(
            fmt::format("{}: '{}' must have at most {} bytes", place_, key, maxLength));
    }
    if (HoldsControlCharacter(text)) {
        throw UsageError(fmt::format("{}: '{}' must not hold control characters", place_, key));
    }
    return text;
}

std::vector<JsonObject> JsonObject::Objects(const char *key) {
    const nlohmann::json &value = Value(key);
    if (!value.is_array()) {
        throw UsageError(fmt::format("{}: '{}' must be a list", place_, key));
    }
    std::vector<JsonObject> objects;
    for (size_t i = 0; i < value.size(); ++i) {
        objects.emplace_back(value[i], fmt::format("{}: {}[{}]", place_, key, i));
    }
    return objects;
}

void JsonObject::RefuseOtherKeys() const {
    for (const auto &[key, value] : value_->items()) {
        if (!asked_.contains(key)) {
            throw UsageError(
                fmt::format("{}: unknown key '{}'", place_, Printable(key, kComplaintWidth)));
        }
    }
}

}  // namespace dxrsh
