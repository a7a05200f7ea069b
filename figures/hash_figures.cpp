#include <string>

#include "dxr_api.h"
#include "figures.h"
#include "library_peers.h"

namespace bench {
namespace {

std::string TextOf(size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        text.push_back(static_cast<char>(' ' + i * 7 % 95));
    }
    return text;
}

}  // namespace

Figure Hash(size_t bytes) {
    const std::string text = TextOf(bytes);
    const DxrLogFilterHashInput check = {text.data(), static_cast<uint32_t>(bytes)};
    uint32_t hash = 0;
    Require(DXR_SimpleHash(&check, &hash) == 0 && hash == PeerHash(check.text, check.length),
            "hash");
    return {
        "DXR_SimpleHash, " + std::to_string(bytes) + " bytes", "byte by byte",
        static_cast<double>(bytes),
        [text](uint64_t count) {
            const DxrLogFilterHashInput input = {text.data(), static_cast<uint32_t>(text.size())};
            for (uint64_t i = 0; i < count; ++i) {
                uint32_t value = 0;
                DXR_SimpleHash(&input, &value);
                Keep(value);
            }
        },
        [text](uint64_t count) {
            for (uint64_t i = 0; i < count; ++i) {
                Keep(PeerHash(text.data(), static_cast<uint32_t>(text.size())));
            }
        }};
}

}  // namespace bench
