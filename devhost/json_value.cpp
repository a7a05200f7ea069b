#include "json_value.h"

#include <nlohmann/json.hpp>

namespace devhost {
namespace {

// Takes the values as the parser comes to them. The parser's own values would do, but their end
// takes memory, and ends the program when there is none.
class Builder : public nlohmann::json_sax<nlohmann::json> {
  public:
    explicit Builder(JsonValue &root) : root_(root) {}

    bool null() override { return Add(JsonValue::Kind::kOther) != nullptr; }
    bool boolean(bool /*value*/) override { return null(); }
    bool number_integer(number_integer_t /*value*/) override { return null(); }
    bool number_float(number_float_t /*value*/, const string_t & /*text*/) override {
        return null();
    }
    bool binary(binary_t & /*value*/) override { return null(); }

    bool number_unsigned(number_unsigned_t value) override {
        Add(JsonValue::Kind::kNumber)->number = value;
        return true;
    }

    bool string(string_t &value) override {
        Add(JsonValue::Kind::kText)->text.swap(value);
        return true;
    }

    bool start_object(size_t /*elements*/) override { return Open(JsonValue::Kind::kObject); }
    bool start_array(size_t /*elements*/) override { return Open(JsonValue::Kind::kList); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t &value) override {
        key_.swap(value);
        return true;
    }

    bool parse_error(size_t position, const std::string & /*token*/,
                     const nlohmann::detail::exception & /*problem*/) override {
        wrongAt = position;
        return false;
    }

    size_t wrongAt = 0;  // the last byte read, counted from 1
    bool isTooDeep = false;

  private:
    // A value in the list or object that is open. Of two members with one name the later counts.
    JsonValue *Add(JsonValue::Kind kind) {
        JsonValue *added = &root_;
        if (!open_.empty() && open_.back()->IsList()) {
            added = &open_.back()->list.emplace_back();
        } else if (!open_.empty()) {
            const auto [at, isNew] = open_.back()->members.try_emplace(key_);
            added = &at->second;
            *added = {};
            added->isAgain = !isNew;
        }
        added->kind = kind;
        return added;
    }

    bool Open(JsonValue::Kind kind) {
        isTooDeep = open_.size() == kMostJsonDepth;
        if (isTooDeep) {
            return false;
        }
        open_.push_back(Add(kind));
        return true;
    }

    bool Close() {
        open_.pop_back();
        return true;
    }

    JsonValue &root_;
    std::vector<JsonValue *> open_;  // each within the one before
    std::string key_;
};

// Up to where a text goes that is too deep, counted from 1.
size_t DepthPlaceOf(std::string_view text) {
    size_t depth = 0;
    bool isText = false;
    size_t at = 0;
    for (; at < text.size() && depth <= kMostJsonDepth; ++at) {
        const char each = text[at];
        at += isText && each == '\\' ? 1 : 0;
        isText = isText != (each == '"');
        depth += !isText && (each == '{' || each == '[') ? 1 : 0;
        depth -= !isText && (each == '}' || each == ']') ? 1 : 0;
    }
    return at;
}

}  // namespace

const char *ParseJson(std::string_view text, JsonValue &value, size_t &wrongAt) {
    Builder builder(value);
    if (nlohmann::json::sax_parse(text, &builder)) {
        return nullptr;
    }
    const size_t last = builder.isTooDeep ? DepthPlaceOf(text) : builder.wrongAt;
    wrongAt = last > 0 ? last - 1 : 0;
    return builder.isTooDeep ? "this is nested deeper than 100" : "this is no JSON";
}

}  // namespace devhost
