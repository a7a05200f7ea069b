// JSON for programs that read what the commands print: an object a line, keys in a fixed order.
#ifndef DXRSH_JSON_TEXT_H
#define DXRSH_JSON_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace dxrsh {

// Bytes of the UTF-8 character at the head of the text; 0 when there is none.
[[nodiscard]] size_t CharacterLength(std::string_view text);

// In quotes. Bytes that are no UTF-8 become U+FFFD, as JSON holds none.
[[nodiscard]] std::string JsonString(std::string_view text);

// Writes values in the order of the calls; commas come by themselves.
class JsonText {
  public:
    JsonText &BeginObject(std::string_view key = {}) { return Begin(key, '{'); }
    JsonText &EndObject() { return End('}'); }
    JsonText &BeginList(std::string_view key = {}) { return Begin(key, '['); }
    JsonText &EndList() { return End(']'); }
    // Within a list the key stays empty.
    JsonText &Text(std::string_view key, std::string_view value);
    JsonText &Number(std::string_view key, uint64_t value);
    JsonText &Signed(std::string_view key, int64_t value);
    JsonText &Real(std::string_view key, double value);
    JsonText &Flag(std::string_view key, bool value);
    JsonText &Null(std::string_view key);
    // What is JSON already.
    JsonText &Made(std::string_view key, std::string_view json);

    [[nodiscard]] const std::string &Line() {
        text_ += '\n';
        return text_;
    }

  private:
    JsonText &Begin(std::string_view key, char bracket);
    JsonText &End(char bracket);
    void Key(std::string_view key);

    std::string text_;
    bool first_ = true;
};

}  // namespace dxrsh

#endif  // DXRSH_JSON_TEXT_H
