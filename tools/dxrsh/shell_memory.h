// Memory that calls of the shell are given, and the names of what it has kept.
#ifndef DXRSH_SHELL_MEMORY_H
#define DXRSH_SHELL_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace dxrsh {

// Some bytes. More zero bytes stand after them, so that one who reads or writes a little further
// harms nothing, and is found out.
struct Block {
    std::string name;
    size_t size = 0;
    bool isShown = false;  // printed after the call
    std::unique_ptr<std::byte[]> bytes;

    [[nodiscard]] std::byte *Data() const { return bytes.get(); }
    [[nodiscard]] uint64_t Address() const {
        return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(bytes.get()));
    }
    [[nodiscard]] std::string_view Text() const {
        return {reinterpret_cast<const char *>(bytes.get()), size};
    }
    // Nobody has written after the end.
    [[nodiscard]] bool IsWhole() const;
};

// A number or a text that a line can name as $NAME.
struct Value {
    uint64_t number = 0;
    std::string text;
    bool isText = false;
    std::shared_ptr<const Block> block;  // where the number is its address
};

class Values {
  public:
    void Set(const std::string &name, Value value) { values_[name] = std::move(value); }
    // Throws UsageError when there is none.
    [[nodiscard]] const Value &Get(const std::string &name) const;
    [[nodiscard]] bool Has(const std::string &name) const { return values_.contains(name); }
    [[nodiscard]] const std::map<std::string, Value> &All() const { return values_; }

  private:
    std::map<std::string, Value> values_;
};

// A number, or a number by its name. Throws UsageError.
[[nodiscard]] uint64_t NumberOf(const std::string &word, uint64_t most, std::string_view what,
                                const Values &values);

// The pieces of memory of one call. The first is what its pointer leads to, others are those that
// stand in it.
class Blocks {
  public:
    // `size` zero bytes. Throws UsageError when they are too many.
    Block &Make(const std::string &name, uint64_t size, bool isShown);

    // A word that describes memory, pieces with commas between them:
    //   @N, zero:N               N zero bytes; those of @ are shown after the call
    //   hex:00FF  text:abc       bytes; a text ends with a null byte
    //   u8:N u16:N u32:N u64:N   numbers, which may be names
    //   ptr(PIECES)              the address of other memory, or of a name: ptr($NAME)
    // Throws UsageError.
    Block &Read(const std::string &name, const std::string &word, const Values &values);

    // Whether Read() can be tried.
    [[nodiscard]] static bool IsMemory(const std::string &word);

    // The block that begins at an address; null.
    [[nodiscard]] Block *At(uint64_t address) const;

    [[nodiscard]] const std::vector<std::shared_ptr<Block>> &All() const { return blocks_; }

  private:
    friend class BlockReader;
    std::vector<std::shared_ptr<Block>> blocks_;
};

// How many bytes from an address on this process can read, or write: 0 for no memory of its own.
[[nodiscard]] uint64_t BytesAt(uint64_t address, bool isWritten);

// Bytes as people read them: numbers of 1, 2, 4 and 8 bytes, else hexadecimal in groups of four.
[[nodiscard]] std::string BytesText(std::string_view bytes);

// In quotes, on one line.
[[nodiscard]] std::string QuotedText(std::string_view text);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_MEMORY_H
