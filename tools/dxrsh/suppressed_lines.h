// How often each line was suppressed.
#ifndef DXRSH_SUPPRESSED_LINES_H
#define DXRSH_SUPPRESSED_LINES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dxrsh {

struct SuppressedLine {
    std::string_view text;
    uint64_t count;
};

class SuppressedLines {
  public:
    // `key` is what makes lines one and the same; the text of the first stands for all of them.
    void Add(std::string_view key, std::string_view text);

    // The `count` most frequent, those of one frequency in the order of their first suppression.
    // Valid until the next Add.
    [[nodiscard]] std::vector<SuppressedLine> Top(size_t count) const;

  private:
    struct Entry {
        std::string text;
        uint64_t count;
        size_t order;
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    std::unordered_map<std::string, Entry, Hash, std::equal_to<>> entries_;
};

}  // namespace dxrsh

#endif  // DXRSH_SUPPRESSED_LINES_H
