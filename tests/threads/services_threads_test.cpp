// Dispatchers and what is built on them alone: no state but the table, which is filled before the
// threads begin.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "dxr_api.h"
#include "support/test_host.h"
#include "threads/thread_hooks.h"
#include "threads/together.h"

namespace dxrtest {
namespace {

// A module's own table, which an iterator walks: a chain of nodes that nobody changes.
struct Chain {
    static constexpr uint32_t kLength = 7;
    std::array<uint32_t, kLength> values = {1, 2, 3, 5, 8, 13, 21};
};

// Two hosts, told apart by what their hooks answer.
template <uint32_t kHost>
struct Answers {
    static void Fill(DxrHooks &hooks) {
        hooks = {};
        hooks.alarm.alarm = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d, void *e) {
            return kHost + a + b + c + d + *static_cast<uint32_t *>(e);
        };
        hooks.dev.readReg = [](uint32_t a, uint32_t b, uint32_t c, void *value) {
            *static_cast<uint32_t *>(value) = a * b + c;
            return kHost;
        };
        hooks.hash.hashCount = [](void *table) { return kHost + *static_cast<uint32_t *>(table); };
        hooks.msg.sendMsg = [](void *message) { return kHost + *static_cast<uint32_t *>(message); };
        hooks.tblm.getChipTblmData = [](uint32_t chip, DxrTblmRequest *request) {
            std::memcpy(request->data, request->key, request->keyLen);
            return kHost + chip + request->tableId;
        };
        hooks.list.sslGetCount = [](void *) { return Chain::kLength; };
        hooks.list.sslGetNextNode = [](void *list, void *node) -> void * {
            auto &values = static_cast<Chain *>(list)->values;
            return node == nullptr ? values.data() : static_cast<uint32_t *>(node) + 1;
        };
        hooks.list.sslGetNodeData = [](void *node) { return node; };
    }
};

// Whole tables are handed over in turn, each while no thread is in the library.
// HOST-1
TEST(ServicesThreads, CallsReachTheHostOfTheirPeriod) {
    const ThreadHooks restored;
    constexpr uint32_t kPeriods = 8;
    constexpr uint32_t kCalls = 500;
    constexpr std::array<uint32_t, 3> kHosts = {1000000, 2000000, 0};
    Chain chain;
    uint32_t host = 0;
    uint32_t period = 0;
    const auto next = [&]() noexcept {
        DxrHooks hooks;
        host = kHosts[period++ % kHosts.size()];
        if (host == kHosts[0]) {
            Answers<kHosts[0]>::Fill(hooks);
        } else if (host == kHosts[1]) {
            Answers<kHosts[1]>::Fill(hooks);
        }
        EXPECT_EQ(DXR_RegisterHooks(host != 0 ? &hooks : nullptr) == 0, host != 0);
    };
    std::barrier begin(kThreads, next);
    std::barrier end(kThreads);
    Together([&](uint32_t thread) {
        for (uint32_t n = 0; n < kPeriods; ++n) {
            begin.arrive_and_wait();
            for (uint32_t i = 0; i < kCalls; ++i) {
                uint32_t own = thread * kCalls + i;
                uint32_t read = 0;
                uint32_t copied = 0;
                const bool filled = host != 0;
                EXPECT_EQ(DXR_Alarm(1, 2, 3, 4, &own), filled ? host + own + 10 : 1);
                EXPECT_EQ(DXR_ReadReg(own, 3, thread, &read), host);
                EXPECT_EQ(read, filled ? own * 3 + thread : 0);
                EXPECT_EQ(DXR_HashCount(&own), filled ? host + own : 0);
                EXPECT_EQ(DXR_SendMsg(&own), filled ? host + own : 0);
                const uint32_t answer = DXR_QueryTblmData(thread, &own, 4, &copied, 4);
                EXPECT_EQ(answer, filled ? host + DXR_TBLM_CHIPID_NOTCARE + thread : 0);
                EXPECT_EQ(copied, filled ? own : 0);
                DxrSllIterator it = DXR_InitSllIterator(&chain);
                uint32_t nodes = 0;
                while (DXR_SllIteratorHasNext(&it) == 1) {
                    EXPECT_EQ(*static_cast<uint32_t *>(DXR_SllIteratorGetNextData(&it)),
                              chain.values[nodes]);
                    ++nodes;
                }
                EXPECT_EQ(nodes, filled ? Chain::kLength : 0);
            }
            end.arrive_and_wait();
        }
    });
}

// A print hook that looks whether a piece is of one letter, but for the marks.
struct Pieces {
    static inline std::atomic<uint32_t> count;
    static inline std::atomic<uint32_t> torn;

    static void Use() {
        count = 0;
        torn = 0;
        g_dxrHooks.print.print = Print;
    }
    DXR_PRINTF(2, 3)
    static void Print(uint32_t, const char *format, ...) {
        std::array<char, 1024> line;
        std::va_list args;
        va_start(args, format);
        static_cast<void>(std::vsnprintf(line.data(), line.size(), format, args));
        va_end(args);
        std::string text = line.data();
        std::erase(text, '$');
        Raise(count);
        Raise(torn, text.find_first_not_of(text[0]) == std::string::npos ? 0U : 1U);
    }
};

// The pieces of a text are its caller's own.
TEST(ServicesThreads, LargeTextsAreCutOnTheCallersStack) {
    const ThreadHooks hooks;
    ThreadHooks::Install();
    Pieces::Use();
    constexpr uint32_t kRounds = 60;
    Together([&](uint32_t thread) {
        const std::string text(480 * 3, static_cast<char>('a' + thread));
        for (uint32_t i = 0; i < kRounds; ++i) {
            EXPECT_EQ(DXR_PrintLargeBuffer(text.c_str()), 0U);
        }
    });
    EXPECT_EQ(Pieces::torn, 0U);
    EXPECT_GE(Pieces::count, kThreads * kRounds * 3);
    EXPECT_EQ(Pieces::count % (kThreads * kRounds), 0U);
}

TEST(ServicesThreads, NamesAndClocksNeedNoHost) {
    Together([&](uint32_t thread) {
        std::array<char, 64> name;
        uint64_t before = 0;
        for (uint32_t i = 0; i < 200; ++i) {
            DXR_CFG_FmtCfgFile("board", thread, i, name.data(), name.size());
            std::array<char, 64> expected;
            static_cast<void>(std::snprintf(expected.data(), expected.size(),
                                            "../conf/board_0x%08X_0x%08X.json", thread, i));
            EXPECT_STREQ(name.data(), expected.data());
            const uint64_t now = DXR_GetCurrMacroSec();
            EXPECT_GE(now, before);
            before = now;
            DXR_SleepUs(0);
            static_cast<void>(DXR_SchedYield());
        }
    });
}

// Blocks are the allocator's business; the library keeps nothing about them.
TEST(ServicesThreads, BlocksComeAndGoOnAllThreads) {
    const ThreadHooks hooks;
    ThreadHooks::Install();
    Together([&](uint32_t thread) {
        for (uint32_t size = 1; size < 400; ++size) {
            auto *const block =
                static_cast<unsigned char *>(DXR_Malloc(thread, size, __FILE__, __LINE__));
            ASSERT_NE(block, nullptr);
            std::memset(block, static_cast<int>(thread), size);
            EXPECT_EQ(block[size - 1], thread);
            DXR_Free(block, __FILE__, __LINE__);
        }
    });
    EXPECT_EQ(ThreadHooks::live, 0U);
}

}  // namespace
}  // namespace dxrtest
