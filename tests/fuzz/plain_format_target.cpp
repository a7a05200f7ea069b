// The library's formatter beside the C library's: the format, and numbers and texts for it, come
// from the input.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/targets.h"
#include "internal/bounds_checked.h"

// The formats are made here, from the input.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

namespace dxrfuzz {
namespace {

constexpr size_t kMostArguments = 3;
constexpr size_t kRoom = 8192;

enum class Kind : uint8_t { kInt, kWide, kText, kReal };

struct Argument {
    Kind kind;
    int64_t number;
    double real;
    const char *text;
};

struct Format {
    std::string text;
    std::array<Argument, kMostArguments> arguments;
    size_t count = 0;
    std::array<std::string, kMostArguments> texts;
};

int Library(char *buffer, size_t size, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(buffer, size, format, args);
    va_end(args);
    return stored;
}

dxr::FormattedLine LibraryLine(dxr::PlainRoom &room, size_t size, const char *format, ...) {
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    const dxr::FormattedLine line = dxr::FormatLine(room, size, format, args, again);
    va_end(again);
    va_end(args.list);
    return line;
}

int Reference(char *buffer, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(buffer, kRoom, format, args);
    va_end(args);
    return length;
}

template <typename... Arguments>
void Compare(const Format &format, size_t size, Arguments... arguments) {
    static char whole[kRoom];
    const int length = Reference(whole, format.text.c_str(), arguments...);
    const ExactBuffer buffer(size);
    const int stored = Library(buffer.Data(), size, format.text.c_str(), arguments...);
    if (size == 0 || length < 0) {
        DXR_FUZZ_SAME(stored == -1);
        DXR_FUZZ_SAME(size == 0 || buffer.Data()[0] == '\0');
    } else {
        const size_t kept = std::min(static_cast<size_t>(length), size - 1);
        DXR_FUZZ_SAME(stored == static_cast<int>(kept));
        // Beyond what was reached of the reference nothing is known.
        DXR_FUZZ_SAME(std::memcmp(buffer.Data(), whole, std::min(kept, kRoom - 1)) == 0);
        DXR_FUZZ_SAME(buffer.Data()[kept] == '\0');
    }
    const size_t lineSize = std::clamp<size_t>(size, 1, 1024);
    static dxr::PlainRoom room;
    const dxr::FormattedLine line = LibraryLine(room, lineSize, format.text.c_str(), arguments...);
    if (length < 0) {
        DXR_FUZZ_SAME(line.stored == -1);
        return;
    }
    const size_t kept = std::min(static_cast<size_t>(length), lineSize - 1);
    DXR_FUZZ_SAME(line.stored == static_cast<int>(kept) || line.length == strnlen(whole, kept));
    DXR_FUZZ_SAME(line.length == strnlen(whole, kept));
    DXR_FUZZ_SAME(std::memcmp(room, whole, line.length) == 0 && room[line.length] == '\0');
}

// The arguments one by one, each as its conversion wants it.
template <typename... Arguments>
void Pass(const Format &format, size_t size, Arguments... arguments) {
    if constexpr (sizeof...(Arguments) < kMostArguments) {
        if (sizeof...(Arguments) < format.count) {
            const Argument &next = format.arguments[sizeof...(Arguments)];
            switch (next.kind) {
                case Kind::kInt:
                    Pass(format, size, arguments..., static_cast<int>(next.number));
                    break;
                case Kind::kWide:
                    Pass(format, size, arguments..., static_cast<long>(next.number));
                    break;
                case Kind::kText:
                    Pass(format, size, arguments..., next.text);
                    break;
                case Kind::kReal:
                    Pass(format, size, arguments..., next.real);
                    break;
            }
            return;
        }
    }
    Compare(format, size, arguments...);
}

class Maker {
  public:
    Maker(Input &input, Format *format) : input_(input), format_(*format) {}

    void Piece() {
        const uint8_t byte = input_.Byte();
        if (byte < 0x60 || format_.count == kMostArguments) {
            Literal(byte);
        } else {
            Conversion(byte);
        }
    }

  private:
    void Literal(uint8_t byte) {
        if (byte % 16 == 0) {
            format_.text.append("%%");
        } else if (byte % 16 == 1) {
            format_.text.append(input_.Byte(), '-');
        } else {
            const std::string_view text = input_.Text(20);
            const size_t length = std::min(text.find('%'), strnlen(text.data(), text.size()));
            format_.text.append(text.substr(0, length));
        }
    }

    void Conversion(uint8_t byte) {
        static constexpr char kFlags[] = "-+ #0";
        static constexpr std::string_view kLengths[] = {"",  "",   "",  "hh", "h",
                                                        "l", "ll", "j", "z",  "t"};
        static constexpr char kConversions[] = "dduuxxXoiscsscpfgeaF";
        const char conversion = kConversions[byte % (sizeof(kConversions) - 1)];
        const uint8_t how = input_.Byte();
        format_.text.push_back('%');
        for (int i = 0; i < 5; ++i) {
            if ((how >> i & 1) != 0 && (byte & 8) != 0) {
                format_.text.push_back(kFlags[i]);
            }
        }
        if ((how & 0x20) != 0) {
            Measure();
        }
        if ((how & 0x40) != 0) {
            format_.text.push_back('.');
            if (input_.Byte() < 0xE0) {  // else it has no digits
                Measure();
            }
        }
        if (format_.count == kMostArguments) {  // the stars took all
            format_.text.push_back('%');
            return;
        }
        Argument &argument = format_.arguments[format_.count];
        argument = {Kind::kInt, 0, 0, nullptr};
        switch (conversion) {
            case 's':
                argument.kind = Kind::kText;
                Text(&argument);
                break;
            case 'p':
                argument.kind = Kind::kText;
                argument.text = input_.Flag() ? kFlags : nullptr;
                break;
            case 'c':
                argument.number = input_.Byte();
                break;
            case 'f':
            case 'F':
            case 'g':
            case 'e':
            case 'a':
                argument.kind = Kind::kReal;
                argument.real = static_cast<int32_t>(input_.Number()) / 7.0;
                break;
            default: {
                const std::string_view length = kLengths[input_.Below(10)];
                format_.text.append(length);
                const bool wide = length.size() == 1 ? length != "h" : length == "ll";
                argument.kind = wide ? Kind::kWide : Kind::kInt;
                argument.number = static_cast<int64_t>(input_.Number());
                if (wide && input_.Flag()) {
                    argument.number = static_cast<int64_t>(input_.Wide());
                }
                break;
            }
        }
        ++format_.count;
        format_.text.push_back(conversion);
    }

    // A width or a precision: digits, or a star and its argument.
    void Measure() {
        const uint8_t byte = input_.Byte();
        if ((byte & 7) == 7 && format_.count < kMostArguments) {
            format_.text.push_back('*');
            const int number = input_.Rarely() ? static_cast<int>(input_.Half() % 2000) - 1000
                                               : static_cast<int8_t>(input_.Byte());
            format_.arguments[format_.count++] = {Kind::kInt, number, 0, nullptr};
        } else {
            format_.text.append(std::to_string(byte < 0xF0 ? byte % 24 : byte * 5));
        }
    }

    void Text(Argument *argument) {
        if (input_.Rarely()) {
            return;  // null: "(null)"
        }
        std::string &text = format_.texts[format_.count];
        text.assign(input_.Text(60));
        text.resize(strnlen(text.data(), text.size()));
        if (input_.Rarely()) {
            text.append(input_.Byte() * 6U, 't');
        }
        argument->text = text.c_str();
    }

    Input &input_;
    Format &format_;
};

}  // namespace

void PlainFormat(Input &input) {
    Format format;
    const uint8_t sizeTag = input.Byte();
    const size_t size = sizeTag < 0x80   ? sizeTag
                        : sizeTag < 0xC0 ? 256
                        : sizeTag < 0xF0 ? 1024
                                         : 4000;
    Maker maker(input, &format);
    for (int i = 0; i < 12 && !input.Empty(); ++i) {
        maker.Piece();
    }
    Pass(format, size);
}

}  // namespace dxrfuzz
