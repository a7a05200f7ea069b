// The memory and print hooks that targets share: blocks are counted, the n-th allocation fails, the
// lines are kept.
#ifndef DXR_TESTS_FUZZ_HOST_H
#define DXR_TESTS_FUZZ_HOST_H

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dxr/hooks.h"
#include "dxr/memory.h"

namespace dxrfuzz {

struct Host {
    // The slots empty, then those of memory and print set.
    static void Install(bool withPrint = true) {
        g_dxrHooks = DxrHooks{};
        DXR_SetMemoryHooks(Allocate, Release);
        g_dxrHooks.print.print = withPrint ? Print : nullptr;
        live = 0;
        failIn = 0;
        allocations = 0;
        lines = 0;
        level = 0;
        line[0] = '\0';
    }

    static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t number) {
        static_cast<void>(mid);
        ++allocations;
        if (failIn != 0 && --failIn == 0) {
            return nullptr;
        }
        if (size > kLargest || std::strncmp(file, "src/dxr/api/dxr_", 16) != 0 || number == 0) {
            return nullptr;
        }
        ++live;
        void *const block = std::malloc(size);
        std::memset(block, 0xA5, size);
        return block;
    }

    static void Release(void *block, const char *, uint32_t) {
        live -= block != nullptr ? 1 : 0;
        std::free(block);
    }

    [[gnu::format(printf, 2, 3)]] static void Print(uint32_t newLevel, const char *format, ...) {
        ++lines;
        level = newLevel;
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(line, sizeof(line), format, args);
        va_end(args);
    }

    static constexpr uint32_t kLargest = 1U << 16;
    static inline int32_t live = 0;
    static inline uint32_t allocations = 0;
    static inline uint32_t failIn = 0;  // 1: the next one; 0: none
    static inline uint32_t lines = 0;
    static inline uint32_t level = 0;  // of the last line
    static inline char line[2048] = {};
};

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_HOST_H
