#include <string>

#include "dxr_api.h"
#include "harness.h"

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

void AddSize(Suite &suite, std::size_t length, double must, double goal) {
    const std::string text = TextOf(length);
    const DxrLogFilterHashInput check = {text.data(), static_cast<std::uint32_t>(length)};
    std::uint32_t hash = 0;
    Require(DXR_SimpleHash(&check, &hash) == 0 && hash == ByteByByte(check.text, check.length),
            "hash");
    suite.Add({"DXR_SimpleHash", "hash of " + std::to_string(length) + " bytes", "byte by byte",
               must, goal, static_cast<double>(length),
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
               }});
}

}  // namespace

void AddHash(Suite &suite) {
    AddSize(suite, 80, 0.45, 0.15);
    AddSize(suite, 1000, 0.35, 0.05);
}

}  // namespace bench
