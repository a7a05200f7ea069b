#include "shell_memory.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <fstream>
#include <limits>
#include <new>

#include "errors.h"
#include "say.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr uint64_t kMostBytes = uint64_t{64} << 20U;
constexpr size_t kBytesAfter = 65536;
constexpr int kMostDepth = 16;
constexpr size_t kShownText = 1000;
constexpr size_t kShownBytes = 256;
constexpr size_t kShownWidth = 60;

uint64_t MostOf(size_t bytes) {
    return bytes == sizeof(uint64_t) ? std::numeric_limits<uint64_t>::max()
                                     : (uint64_t{1} << (8 * bytes)) - 1;
}

int DigitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

void RequireFit(const std::string &name, uint64_t size) {
    if (size > kMostBytes) {
        throw UsageError(
            fmt::format("{}: {} bytes; at most {} can be given", name, size, kMostBytes));
    }
}

bool StartsWith(std::string_view text, std::string_view head) {
    return text.substr(0, head.size()) == head;
}

}  // namespace

bool Block::IsWhole() const {
    const std::byte *const after = bytes.get() + size;
    return std::all_of(after, after + kBytesAfter,
                       [](std::byte byte) { return byte == std::byte{0}; });
}

const Value &Values::Get(const std::string &name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) {
        throw UsageError(fmt::format("there is no '{}'; 'values' lists what there is",
                                     Printable(name, kShownWidth)));
    }
    return found->second;
}

uint64_t NumberOf(const std::string &word, uint64_t most, std::string_view what,
                  const Values &values) {
    if (word.size() < 2 || word[0] != '$') {
        return RequireUpTo(word, most, what);
    }
    const Value &value = values.Get(word.substr(1));
    if (value.isText) {
        throw UsageError(fmt::format("{}: {} is a text", what, word));
    }
    if (value.number > most) {
        throw UsageError(
            fmt::format("{}: {} is {}, and at most {} fits", what, word, value.number, most));
    }
    return value.number;
}

Block &Blocks::Make(const std::string &name, uint64_t size, bool isShown) {
    RequireFit(name, size);
    auto block = std::make_shared<Block>();
    block->name = name;
    block->size = static_cast<size_t>(size);
    block->isShown = isShown;
    block->bytes = std::make_unique<std::byte[]>(block->size + kBytesAfter);
    blocks_.push_back(std::move(block));
    return *blocks_.back();
}

// Reads the pieces of a word.
class BlockReader {
  public:
    BlockReader(Blocks &blocks, std::string name, std::string_view word, const Values &values)
        : blocks_(blocks), name_(std::move(name)), rest_(word), values_(values) {}

    Block &Read() {
        // Its place is before that of those that stand in it.
        const size_t place = blocks_.blocks_.size();
        Block &whole = Pieces();
        if (!rest_.empty()) {
            Refuse(rest_);
        }
        auto &all = blocks_.blocks_;
        std::rotate(all.begin() + static_cast<ptrdiff_t>(place), all.end() - 1, all.end());
        return whole;
    }

  private:
    [[noreturn]] void Refuse(std::string_view piece) const {
        throw UsageError(fmt::format(
            "{}: '{}' is none of @BYTES, zero:BYTES, hex:, text:, u8:, u16:, u32:, u64:, ptr()",
            name_, Printable(piece, kShownWidth)));
    }

    Block &Pieces() {
        std::string bytes;
        bool isShown = false;
        for (;;) {
            Piece(bytes, isShown);
            if (rest_.empty() || rest_[0] != ',') {
                break;
            }
            rest_.remove_prefix(1);
        }
        Block &block = blocks_.Make(name_, bytes.size(), isShown);
        std::memcpy(block.Data(), bytes.data(), bytes.size());
        return block;
    }

    // Up to the next comma or parenthesis. A backslash takes the next character as it is.
    std::string TakePiece() {
        std::string piece;
        while (!rest_.empty() && rest_[0] != ',' && rest_[0] != ')') {
            if (rest_[0] == '\\' && rest_.size() > 1) {
                rest_.remove_prefix(1);
            }
            piece += rest_[0];
            rest_.remove_prefix(1);
        }
        return piece;
    }

    void Piece(std::string &bytes, bool &isShown) {
        if (StartsWith(rest_, "ptr(")) {
            Append(bytes, Pointer(bytes.size()), sizeof(void *));
            return;
        }
        const std::string piece = TakePiece();
        if (StartsWith(piece, "@")) {
            isShown = true;
            AppendZeros(bytes, piece.substr(1));
        } else if (StartsWith(piece, "zero:")) {
            AppendZeros(bytes, piece.substr(5));
        } else if (StartsWith(piece, "text:")) {
            bytes += piece.substr(5);
            bytes += '\0';
        } else if (StartsWith(piece, "hex:")) {
            AppendHex(bytes, piece.substr(4));
        } else {
            AppendNumber(bytes, piece);
        }
    }

    uint64_t Pointer(size_t offset) {
        rest_.remove_prefix(4);
        uint64_t address = 0;
        if (StartsWith(rest_, "$")) {
            address = NumberOf(TakePiece(), MostOf(sizeof(void *)), name_, values_);
        } else {
            const std::string outer = name_;
            if (++depth_ > kMostDepth) {
                throw UsageError(
                    fmt::format("{}: a ptr( stands in more than {} others", outer, kMostDepth));
            }
            name_ = fmt::format("{}+{}", outer, offset);
            address = Pieces().Address();
            name_ = outer;
            --depth_;
        }
        if (!StartsWith(rest_, ")")) {
            throw UsageError(fmt::format("{}: a ptr( is not closed", name_));
        }
        rest_.remove_prefix(1);
        return address;
    }

    void AppendZeros(std::string &bytes, const std::string &count) {
        const uint64_t zeros = NumberOf(count, kMostBytes, name_, values_);
        RequireFit(name_, bytes.size() + zeros);
        bytes.append(static_cast<size_t>(zeros), '\0');
    }

    void AppendHex(std::string &bytes, const std::string &digits) {
        bool isBad = digits.size() % 2 != 0;
        for (size_t i = 0; i < digits.size() && !isBad; i += 2) {
            const int high = DigitOf(digits[i]);
            const int low = DigitOf(digits[i + 1]);
            isBad = high < 0 || low < 0;
            bytes += static_cast<char>(high * 16 + low);
        }
        if (isBad) {
            throw UsageError(fmt::format("{}: '{}' are no pairs of hexadecimal digits", name_,
                                         Printable(digits, kShownWidth)));
        }
    }

    void AppendNumber(std::string &bytes, const std::string &piece) {
        for (const size_t size : {1U, 2U, 4U, 8U}) {
            const std::string head = fmt::format("u{}:", 8 * size);
            if (StartsWith(piece, head)) {
                Append(bytes, NumberOf(piece.substr(head.size()), MostOf(size), name_, values_),
                       size);
                return;
            }
        }
        Refuse(piece);
    }

    // In the machine's order.
    static void Append(std::string &bytes, uint64_t number, size_t size) {
        const auto append = [&bytes](const auto &value) {
            char raw[sizeof(value)];
            std::memcpy(raw, &value, sizeof(value));
            bytes.append(raw, sizeof(value));
        };
        switch (size) {
            case 1:
                return append(static_cast<uint8_t>(number));
            case 2:
                return append(static_cast<uint16_t>(number));
            case 4:
                return append(static_cast<uint32_t>(number));
            default:
                return append(number);
        }
    }

    Blocks &blocks_;
    std::string name_;
    std::string_view rest_;
    const Values &values_;
    int depth_ = 0;  // of ptr()
};

Block &Blocks::Read(const std::string &name, const std::string &word, const Values &values) {
    return BlockReader(*this, name, word, values).Read();
}

bool Blocks::IsMemory(const std::string &word) {
    constexpr std::array<std::string_view, 9> kHeads = {
        "@", "zero:", "hex:", "text:", "u8:", "u16:", "u32:", "u64:", "ptr("};
    return std::any_of(kHeads.begin(), kHeads.end(),
                       [&word](std::string_view head) { return StartsWith(word, head); });
}

Block *Blocks::At(uint64_t address) const {
    const auto found = std::find_if(blocks_.begin(), blocks_.end(), [address](const auto &block) {
        return block->Address() == address;
    });
    return found != blocks_.end() ? found->get() : nullptr;
}

uint64_t BytesAt(uint64_t address, bool isWritten) {
    std::ifstream maps("/proc/self/maps");
    if (!maps) {
        return std::numeric_limits<uint64_t>::max();  // nobody knows
    }
    // "FIRST-LAST rwxp ...", in the order of addresses.
    uint64_t end = address;
    for (std::string line; std::getline(maps, line);) {
        uint64_t first = 0;
        uint64_t last = 0;
        const char *const stop = line.data() + line.size();
        const char *const dash = std::from_chars(line.data(), stop, first, 16).ptr;
        const char *const modes = std::from_chars(std::min(dash + 1, stop), stop, last, 16).ptr;
        const bool isOpen = stop - modes > 2 && modes[isWritten ? 2 : 1] != '-';
        end = isOpen && first <= end && end < last ? last : end;
    }
    return end - address;
}

std::string BytesText(std::string_view bytes) {
    const auto number = [&bytes](auto value) {
        std::memcpy(&value, bytes.data(), sizeof(value));
        return NumberText(value);
    };
    switch (bytes.size()) {
        case 0:
            return "no bytes";
        case 1:
            return number(uint8_t{});
        case 2:
            return number(uint16_t{});
        case 4:
            return number(uint32_t{});
        case 8:
            return number(uint64_t{});
        default:
            break;
    }
    std::string text;
    for (size_t i = 0; i < std::min(bytes.size(), kShownBytes); ++i) {
        text += i % 4 == 0 && i != 0 ? " " : "";
        text += fmt::format("{:02x}", static_cast<unsigned char>(bytes[i]));
    }
    return bytes.size() > kShownBytes ? fmt::format("{}... ({} bytes)", text, bytes.size()) : text;
}

std::string QuotedText(std::string_view text) {
    return "\"" + Printable(text, kShownText) + "\"";
}

}  // namespace dxrsh
