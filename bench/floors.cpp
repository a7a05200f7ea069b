#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

#include "figures.h"
#include "library_peers.h"
#include "log_lines.h"
#include "package_figures.h"
#include "words.h"

namespace bench {
namespace {

constexpr const char *kCallName = "the call alone";

// What is cleared after a line, before the host gets to see the buffer.
constexpr size_t kBufferSize = 1024;
constexpr size_t kTail = kBufferSize - kLineLength;

template <typename Line>
Run PrintAndDecide(uint32_t n) {
    const DxrLogFilterCfg site = SiteOf(NewFilledLogType<Line>(n + 1));
    return [site, n](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            char text[kBufferSize];
            const int length = std::apply(
                [&text](auto... arguments) {
                    return std::snprintf(text, sizeof(text), Line::kPrintf, arguments...);
                },
                Line::Arguments(n));
            Keep(DXR_IsRepeatedLog(&site, text, static_cast<uint32_t>(length)));
        }
    };
}

}  // namespace

Figure AboveCallWithBytes(Figure figure, size_t bytes) {
    return Above(std::move(figure), kCallName, [words = RandomWords(bytes), bytes](uint64_t count) {
        const auto *const data = reinterpret_cast<const uint8_t *>(words.data());
        for (uint64_t i = 0; i < count; ++i) {
            Keep(PeerNothingOfBytes(data, bytes));
        }
    });
}

Figure AboveCallWithWords(Figure figure, size_t words) {
    return Above(
        std::move(figure), kCallName,
        [a = RandomWords(words), b = RandomWords(words)](uint64_t count) {
            for (uint64_t i = 0; i < count; ++i) {
                Keep(PeerNothingOfWords(a.data(), b.data(), static_cast<uint32_t>(a.size())));
            }
        });
}

Figure AboveCallWithText(Figure figure) {
    return Above(std::move(figure), kCallName, [](uint64_t count) {
        const DxrLogFilterHashInput input = {"text", 4};
        for (uint64_t i = 0; i < count; ++i) {
            uint32_t value = 0;
            Keep(PeerNothingOfText(&input, &value));
            Keep(value);
        }
    });
}

Figure AboveClearing(Figure figure) {
    return Above(std::move(figure), "clearing the rest of the buffer", [](uint64_t count) {
        char buffer[kBufferSize];
        for (uint64_t i = 0; i < count; ++i) {
            char *rest = buffer + kLineLength;
            asm("" : "+r"(rest));
            std::memset(rest, 0, kTail);
            Keep(buffer);
        }
    });
}

Figure AbovePrinting(Figure figure, LineKind kind) {
    constexpr uint32_t kNewest = 99;
    return Above(std::move(figure), "vsnprintf, then the decision",
                 kind == LineKind::kPlain ? PrintAndDecide<PlainLineWithDouble>(kNewest)
                                          : PrintAndDecide<PaddedLineWithDouble>(kNewest));
}

}  // namespace bench
