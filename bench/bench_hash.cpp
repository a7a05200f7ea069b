#include <string>

#include "dxr_api.h"
#include "figures.h"

namespace bench {
namespace {

[[gnu::noinline]] std::uint32_t ByteByByte(const char *text, std::uint32_t length) {
    std::uint32_t hash = 0;
    for (std::uint32_t i = 0; i < length; ++i) {
        hash = hash * 31 + static_cast<unsigned char>(text[i]);
    }
    return hash;
}

std::string TextOf(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text.push_back(static_cast<char>(' ' + i * 7 % 95));
    }
    return text;
}

}  // namespace

Figure Hash(std::size_t bytes) {
    const std::string text = TextOf(bytes);
    const DxrLogFilterHashInput check = {text.data(), static_cast<std::uint32_t>(bytes)};
    std::uint32_t hash = 0;
    Require(DXR_SimpleHash(&check, &hash) == 0 && hash == ByteByByte(check.text, check.length),
            "hash");
    return {"DXR_SimpleHash, " + std::to_string(bytes) + " bytes", "byte by byte",
            static_cast<double>(bytes),
            [text](std::uint64_t count) {
                const DxrLogFilterHashInput input = {text.data(),
                                                     static_cast<std::uint32_t>(text.size())};
                for (std::uint64_t i = 0; i < count; ++i) {
                    std::uint32_t value = 0;
                    DXR_SimpleHash(&input, &value);
                    Keep(value);
                }
            },
            [text](std::uint64_t count) {
                for (std::uint64_t i = 0; i < count; ++i) {
                    Keep(ByteByByte(text.data(), static_cast<std::uint32_t>(text.size())));
                }
            }};
}

}  // namespace bench
