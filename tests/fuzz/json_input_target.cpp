// Input files in JSON beside a strict reader of its own.
#include "json_input.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "errors.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

struct Value {
    enum class Kind : uint8_t { kOther, kNumber, kText, kList, kObject };
    Kind kind = Kind::kOther;
    uint64_t number = 0;  // a kNumber is whole, without a sign and fits
    std::string text;
    std::vector<Value> list;
    std::map<std::string, Value> members;
};

// A document as RFC 8259 has it, in well-formed UTF-8, a byte order mark allowed before it, and
// without a key that an object has twice.
class Strict {
  public:
    explicit Strict(std::string_view text) : text_(text) {}

    std::optional<Value> Document() {
        if (text_.substr(0, 3) == "\xEF\xBB\xBF") {
            at_ = 3;
        }
        Value value;
        if (!Read(&value)) {
            return std::nullopt;
        }
        Blanks();
        return at_ == text_.size() ? std::optional(value) : std::nullopt;
    }

  private:
    [[nodiscard]] char Peek() const { return at_ < text_.size() ? text_[at_] : '\xFF'; }
    bool Take(char c) {
        const bool is = at_ < text_.size() && text_[at_] == c;
        at_ += is ? 1 : 0;
        return is;
    }
    void Blanks() {
        while (Take(' ') || Take('\t') || Take('\n') || Take('\r')) {
        }
    }
    bool Word(std::string_view word) {
        const bool is = text_.substr(at_, word.size()) == word;
        at_ += is ? word.size() : 0;
        return is;
    }

    bool Read(Value *value) {
        Blanks();
        switch (Peek()) {
            case '{':
                return Object(value);
            case '[':
                return List(value);
            case '"':
                value->kind = Value::Kind::kText;
                return Text(&value->text);
            case 't':
                return Word("true");
            case 'f':
                return Word("false");
            case 'n':
                return Word("null");
            default:
                return Number(value);
        }
    }

    bool Object(Value *value) {
        value->kind = Value::Kind::kObject;
        Take('{');
        Blanks();
        if (Take('}')) {
            return true;
        }
        do {
            std::string key;
            Value member;
            Blanks();
            if (!Text(&key)) {
                return false;
            }
            Blanks();
            if (!Take(':') || !Read(&member)) {
                return false;
            }
            if (!value->members.emplace(key, member).second) {
                return false;
            }
            Blanks();
        } while (Take(','));
        return Take('}');
    }

    bool List(Value *value) {
        value->kind = Value::Kind::kList;
        Take('[');
        Blanks();
        if (Take(']')) {
            return true;
        }
        do {
            value->list.emplace_back();
            if (!Read(&value->list.back())) {
                return false;
            }
            Blanks();
        } while (Take(','));
        return Take(']');
    }

    bool Digits() {
        const size_t begin = at_;
        while (Peek() >= '0' && Peek() <= '9') {
            ++at_;
        }
        return at_ > begin;
    }

    bool Number(Value *value) {
        const size_t begin = at_;
        const bool negative = Take('-');
        if (!Take('0') && !Digits()) {
            return false;
        }
        const size_t wholeEnd = at_;
        if (Take('.') && !Digits()) {
            return false;
        }
        if (Take('e') || Take('E')) {
            static_cast<void>(Take('+') || Take('-'));
            if (!Digits()) {
                return false;
            }
        }
        const std::string digits(text_.substr(begin, at_ - begin));
        const bool whole = at_ == wholeEnd && !negative;
        if (whole) {
            uint64_t sum = 0;
            bool fits = true;
            for (const char c : digits) {
                uint64_t next = 0;
                fits = fits && !__builtin_mul_overflow(sum, uint64_t{10}, &next) &&
                       !__builtin_add_overflow(next, static_cast<uint64_t>(c - '0'), &next);
                sum = next;
            }
            if (fits) {
                value->kind = Value::Kind::kNumber;
                value->number = sum;
            }
        }
        return std::isfinite(std::strtod(digits.c_str(), nullptr));
    }

    bool HexFour(uint32_t *unit) {
        *unit = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = Peek();
            const int digit = c >= '0' && c <= '9'   ? c - '0'
                              : c >= 'a' && c <= 'f' ? c - 'a' + 10
                              : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                     : -1;
            if (digit < 0) {
                return false;
            }
            *unit = *unit * 16 + static_cast<uint32_t>(digit);
            ++at_;
        }
        return true;
    }

    static void Encode(uint32_t point, std::string *text) {
        const auto add = [text](uint32_t byte) { text->push_back(static_cast<char>(byte)); };
        if (point < 0x80) {
            add(point);
        } else if (point < 0x800) {
            add(0xC0 | point >> 6);
            add(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            add(0xE0 | point >> 12);
            add(0x80 | (point >> 6 & 0x3F));
            add(0x80 | (point & 0x3F));
        } else {
            add(0xF0 | point >> 18);
            add(0x80 | (point >> 12 & 0x3F));
            add(0x80 | (point >> 6 & 0x3F));
            add(0x80 | (point & 0x3F));
        }
    }

    bool Escape(std::string *text) {
        static constexpr std::string_view kNames = "\"\\/bfnrt";
        static constexpr std::string_view kValues = "\"\\/\b\f\n\r\t";
        const size_t known = kNames.find(Peek());
        if (known != std::string_view::npos) {
            ++at_;
            text->push_back(kValues[known]);
            return true;
        }
        uint32_t unit = 0;
        if (!Take('u') || !HexFour(&unit)) {
            return false;
        }
        if (unit >= 0xD800 && unit < 0xDC00) {
            uint32_t low = 0;
            if (!Word("\\u") || !HexFour(&low) || low < 0xDC00 || low > 0xDFFF) {
                return false;
            }
            unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            return false;
        }
        Encode(unit, text);
        return true;
    }

    // One character of UTF-8: the shortest form of no half of a pair.
    bool Character(std::string *text) {
        const auto first = static_cast<uint8_t>(text_[at_]);
        const size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
        if (text_.size() - at_ < length || (first >= 0x80 && first < 0xC0) || first > 0xF7) {
            return false;
        }
        uint32_t point = length == 1 ? first : first & (0x7FU >> length);
        for (size_t i = 1; i < length; ++i) {
            const auto byte = static_cast<uint8_t>(text_[at_ + i]);
            if (byte >> 6 != 2) {
                return false;
            }
            point = point << 6 | (byte & 0x3F);
        }
        std::string encoded;
        Encode(point, &encoded);
        if (encoded.size() != length || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) {
            return false;
        }
        at_ += length;
        text->append(encoded);
        return true;
    }

    bool Text(std::string *text) {
        if (!Take('"')) {
            return false;
        }
        while (at_ < text_.size()) {
            if (Take('"')) {
                return true;
            }
            if (static_cast<uint8_t>(Peek()) < 0x20) {
                return false;
            }
            if (Take('\\') ? !Escape(text) : !Character(text)) {
                return false;
            }
        }
        return false;
    }

    std::string_view text_;
    size_t at_ = 0;
};

constexpr size_t kLongestText = 8;

// What is read of a document; each reader stops at the first complaint.
struct Read {
    uint32_t number = 0;
    uint32_t other = 0;
    std::string text;
    std::vector<uint32_t> list;
    bool refused = false;

    bool operator==(const Read &) const = default;
};

Read ByLibrary(std::string_view text) {
    Read read;
    try {
        const nlohmann::json document = dxrsh::ParseJson(text, "file");
        dxrsh::JsonObject object(document, "file");
        read.number = object.Number("n");
        read.other = object.Number("m", 7);
        if (object.Has("t")) {
            read.text = object.Text("t", kLongestText);
        }
        if (object.Has("l")) {
            for (dxrsh::JsonObject &element : object.Objects("l")) {
                read.list.push_back(element.Number("n"));
                element.RefuseOtherKeys();
            }
        }
        object.RefuseOtherKeys();
    } catch (const dxrsh::UsageError &error) {
        // One line that a terminal can show.
        for (const char c : std::string_view(error.what())) {
            DXR_FUZZ_SAME(static_cast<uint8_t>(c) >= 0x20 && c != 0x7F);
        }
        read.refused = true;
    }
    return read;
}

bool ModelNumber(const Value &object, const char *key, uint32_t *number) {
    const auto found = object.members.find(key);
    if (found == object.members.end() || found->second.kind != Value::Kind::kNumber ||
        found->second.number > UINT32_MAX) {
        return false;
    }
    *number = static_cast<uint32_t>(found->second.number);
    return true;
}

bool ModelText(const Value &value, std::string *text) {
    if (value.kind != Value::Kind::kText || value.text.size() > kLongestText) {
        return false;
    }
    for (size_t i = 0; i < value.text.size(); ++i) {
        const auto byte = static_cast<uint8_t>(value.text[i]);
        const auto next = static_cast<uint8_t>(i + 1 < value.text.size() ? value.text[i + 1] : 0);
        // U+0080 to U+009F are two bytes.
        if (byte < 0x20 || byte == 0x7F || (byte == 0xC2 && next >= 0x80 && next < 0xA0)) {
            return false;
        }
    }
    *text = value.text;
    return true;
}

// False at the first complaint, with what was read by then.
bool ModelRead(std::string_view text, Read *read) {
    const std::optional<Value> document = Strict(text).Document();
    if (!document || document->kind != Value::Kind::kObject ||
        !ModelNumber(*document, "n", &read->number)) {
        return false;
    }
    const auto &members = document->members;
    read->other = 7;
    if (members.contains("m") && !ModelNumber(*document, "m", &read->other)) {
        read->other = 0;
        return false;
    }
    if (members.contains("t") && !ModelText(members.at("t"), &read->text)) {
        return false;
    }
    if (members.contains("l")) {
        const Value &list = members.at("l");
        for (const Value &element : list.list) {
            if (element.kind != Value::Kind::kObject) {
                return false;
            }
        }
        if (list.kind != Value::Kind::kList) {
            return false;
        }
        for (const Value &element : list.list) {
            uint32_t number = 0;
            if (!ModelNumber(element, "n", &number)) {
                return false;
            }
            read->list.push_back(number);
            if (element.members.size() != 1) {
                return false;
            }
        }
    }
    for (const auto &[key, value] : members) {
        if (key != "n" && key != "m" && key != "t" && key != "l") {
            return false;
        }
    }
    return true;
}

}  // namespace

void JsonInput(Input &input) {
    const std::string_view text = input.Rest();
    const Read read = ByLibrary(text);
    Read wanted;
    wanted.refused = !ModelRead(text, &wanted);
    DXR_FUZZ_SAME(read == wanted);
}

}  // namespace dxrfuzz
