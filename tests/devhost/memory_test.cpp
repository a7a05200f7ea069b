// The host's memory service, by the sentences of its header.
#include "dxr_devhost/memory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <semaphore>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::TemporaryDirectory;

class HostMemory : public dxrtest::RealHost {
  protected:
    // The text of the only misuse that was reported.
    [[nodiscard]] std::string Misuse() const {
        const auto texts = Texts(DXR_HOST_REPORT_MISUSE);
        EXPECT_EQ(texts.size(), 1U);
        return texts.empty() ? "" : texts[0];
    }
};

std::vector<uint64_t> Numbers(const DxrHostMemoryAccount &account) {
    return {account.mid,       account.blocksLive,  account.bytesLive, account.blocksPeak,
            account.bytesPeak, account.blocksTotal, account.bytesTotal};
}

using Account = std::vector<uint64_t>;

TEST_F(HostMemory, AccountsByModuleIdentifier) {
    void *const a = DXR_Malloc(9, 100, "a.cpp", 1);
    void *const b = DXR_Malloc(9, 50, "b.cpp", 2);
    void *const c = DXR_Malloc(0, 7, "c.cpp", 3);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 9)), (Account{9, 2, 150, 2, 150, 2, 150}));
    DXR_Free(a, "a.cpp", 4);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 9)), (Account{9, 1, 50, 2, 150, 2, 150}));
    void *const d = DXR_Malloc(9, 60, "d.cpp", 5);
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 9)), (Account{9, 2, 110, 2, 150, 3, 210}));
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 0)), (Account{0, 1, 7, 1, 7, 1, 7}));
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 5)), (Account{5, 0, 0, 0, 0, 0, 0}));
    for (void *const block : {b, c, d}) {
        DXR_Free(block, "", 0);
    }
    EXPECT_EQ(Numbers(DxrHostGetMemoryAccount(host, 9)), (Account{9, 0, 0, 2, 150, 3, 210}));
    EXPECT_EQ(DxrHostReportLeaks(host, nullptr), 0U);
}

TEST_F(HostMemory, ListsTheAccountsAscendingAndWithinTheirRoom) {
    EXPECT_EQ(DxrHostGetMemoryAccounts(host, nullptr, 0), 0U);
    std::vector<void *> blocks;
    for (const uint32_t mid : {7U, 0xFFFFFFFFU, 0U}) {
        blocks.push_back(DXR_Malloc(mid, 8, "", 0));
    }
    std::array<DxrHostMemoryAccount, 3> accounts{};
    accounts[2].mid = 1234;
    EXPECT_EQ(DxrHostGetMemoryAccounts(host, accounts.data(), 2), 3U);
    EXPECT_EQ(accounts[0].mid, 0U);
    EXPECT_EQ(accounts[1].mid, 7U);
    EXPECT_EQ(accounts[2].mid, 1234U) << "outside the room";
    EXPECT_EQ(DxrHostGetMemoryAccounts(host, accounts.data(), 3), 3U);
    EXPECT_EQ(accounts[2].mid, 0xFFFFFFFFU);
    for (void *const block : blocks) {
        DXR_Free(block, "", 0);
    }
}

TEST_F(HostMemory, ReportsLeaksInTheOrderOfAllocation) {
    std::vector<void *> blocks;
    for (uint32_t i = 1; i <= 20; ++i) {
        blocks.push_back(DXR_Malloc(9, i, "src/dxr/api/dxr_utils.cpp", 100 + i));
    }
    for (size_t i = 2; i < blocks.size(); ++i) {
        DXR_Free(blocks[i], "", 0);
    }
    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("leaks").c_str(), "w");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(DxrHostReportLeaks(host, file), 2U);
    std::fclose(file);
    EXPECT_EQ(directory.Read("leaks"),
              "mid 9: 1 bytes from src/dxr/api/dxr_utils.cpp:101\n"
              "mid 9: 2 bytes from src/dxr/api/dxr_utils.cpp:102\n");
    DXR_Free(blocks[0], "", 0);
    DXR_Free(blocks[1], "", 0);
}

TEST_F(HostMemory, AccountsHoldUnderThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;
    for (uint32_t mid = 0; mid < kThreads; ++mid) {
        threads.emplace_back([mid] {
            for (int i = 0; i < kRounds; ++i) {
                void *const block = DXR_Malloc(mid % 2, 16, "a.cpp", 1);
                std::memset(block, 0x5A, 16);
                DXR_Free(block, "a.cpp", 2);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const uint32_t mid : {0U, 1U}) {
        const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(host, mid);
        EXPECT_EQ(account.blocksLive, 0U);
        EXPECT_EQ(account.bytesLive, 0U);
        EXPECT_EQ(account.blocksTotal, 2U * kRounds);
        EXPECT_LE(account.blocksPeak, 2U);
    }
}

// One thread uses an account when another one begins to.
TEST_F(HostMemory, AnAccountLosesNothingWhenItIsShared) {
    for (uint32_t mid = 100; mid < 120; ++mid) {
        std::atomic<uint32_t> rounds{0};
        std::atomic<bool> isOver{false};
        std::thread first([&] {
            while (!isOver || rounds < 200) {
                DXR_Free(DXR_Malloc(mid, 16, "a.cpp", 1), "a.cpp", 2);
                ++rounds;
            }
        });
        while (rounds < 100) {
            std::this_thread::yield();
        }
        std::array<std::thread, 2> others;
        for (std::thread &other : others) {
            other = std::thread([mid] {
                for (int i = 0; i < 200; ++i) {
                    DXR_Free(DXR_Malloc(mid, 32, "b.cpp", 1), "b.cpp", 2);
                }
            });
        }
        for (std::thread &other : others) {
            other.join();
        }
        isOver = true;
        first.join();
        const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(host, mid);
        ASSERT_EQ(account.blocksLive, 0U) << mid;
        ASSERT_EQ(account.bytesLive, 0U) << mid;
        ASSERT_EQ(account.blocksTotal, rounds + 400U) << mid;
        ASSERT_LE(account.blocksPeak, 3U) << mid;
        ASSERT_GE(account.bytesPeak, 32U) << mid;
    }
}

// What accounts are to say, counted one after the other.
struct ModelAccount {
    uint64_t blocks = 0;
    uint64_t bytes = 0;
    uint64_t blocksPeak = 0;
    uint64_t bytesPeak = 0;
    uint64_t blocksTotal = 0;
    uint64_t bytesTotal = 0;

    void Add(uint32_t size) {
        blocksPeak = std::max(blocksPeak, ++blocks);
        bytesPeak = std::max(bytesPeak, bytes += size);
        ++blocksTotal;
        bytesTotal += size;
    }
    void Subtract(uint32_t size) {
        --blocks;
        bytes -= size;
    }
};

struct ModelBlock {
    void *at;
    uint32_t mid;
    uint32_t size;
};

// A thread that does what it is given, one thing after the other.
class Worker {
  public:
    Worker() : thread_([this] { Run(); }) {}
    ~Worker() {
        Do(nullptr);
        thread_.join();
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    Worker(Worker &&) = delete;
    Worker &operator=(Worker &&) = delete;

    // Comes back when it is done. Null ends the thread.
    void Do(std::function<void()> what) {
        std::unique_lock lock(mutex_);
        what_ = std::move(what);
        isDone_ = false;
        changed_.notify_all();
        changed_.wait(lock, [this] { return isDone_; });
    }

  private:
    void Run() {
        std::unique_lock lock(mutex_);
        for (bool goesOn = true; goesOn;) {
            changed_.wait(lock, [this] { return !isDone_; });
            goesOn = what_ != nullptr;
            if (goesOn) {
                what_();
            }
            isDone_ = true;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> what_;
    bool isDone_ = true;
    std::thread thread_;
};

// Threads take turns, of one step or of many: all values are exact after each turn, the highest
// ones too.
TEST_F(HostMemory, AccountsAgreeWithAModelWhoeverAllocates) {
    std::mt19937_64 random(dxrtest::Seed());
    const auto below = [&random](uint64_t bound) {
        return static_cast<uint32_t>(random() % bound);
    };
    std::array<ModelAccount, 3> model;
    std::vector<ModelBlock> blocks;
    const std::string file = "heap.cpp";  // a text that the host does not trust
    std::array<Worker, 3> workers;
    for (uint32_t turn = 0; turn < 400; ++turn) {
        const uint32_t steps = below(4) == 0 ? below(500) : below(6);
        const uint32_t most = below(8) == 0 ? 300 : 20;
        workers[below(workers.size())].Do([&] {
            for (uint32_t step = 0; step < steps; ++step) {
                if (blocks.size() < most && below(2) == 0) {
                    const uint32_t mid = below(8) == 0 ? below(3) : turn / 8 % 3;
                    const uint32_t size = 1 + below(below(64) == 0 ? 20000 : 200);
                    void *const at =
                        DXR_Malloc(mid, size, below(4) == 0 ? file.c_str() : "a.cpp", below(3));
                    ASSERT_NE(at, nullptr);
                    std::memset(at, 0x5A, size);
                    model[mid].Add(size);
                    blocks.push_back({at, mid, size});
                } else if (!blocks.empty()) {
                    // Mostly the last one, which is mostly the thread's own.
                    std::swap(blocks[below(4) == 0 ? below(blocks.size()) : blocks.size() - 1],
                              blocks.back());
                    DXR_Free(blocks.back().at, below(4) == 0 ? file.c_str() : "b.cpp", below(3));
                    model[blocks.back().mid].Subtract(blocks.back().size);
                    blocks.pop_back();
                }
            }
        });
        const uint32_t mid = below(3);
        const ModelAccount &is = model[mid];
        ASSERT_EQ(Numbers(DxrHostGetMemoryAccount(host, mid)),
                  (Account{mid, is.blocks, is.bytes, is.blocksPeak, is.bytesPeak, is.blocksTotal,
                           is.bytesTotal}))
            << "turn " << turn;
        ASSERT_EQ(DxrHostReportLeaks(host, nullptr), blocks.size());
        if (below(16) == 0) {
            uint64_t live = 0;
            for (const ModelAccount &account : model) {
                live += account.bytes;
            }
            DxrHostSetMemoryLimit(host, live + 50);
            workers[below(workers.size())].Do([&] {
                EXPECT_EQ(DXR_Malloc(1, 51, "a.cpp", 1), nullptr);
                void *const at = DXR_Malloc(1, 50, "a.cpp", 1);
                EXPECT_NE(at, nullptr);
                model[1].Add(50);
                EXPECT_EQ(DXR_Malloc(2, 1, "a.cpp", 1), nullptr);
                DXR_Free(at, "b.cpp", 1);
                model[1].Subtract(50);
            });
            DxrHostSetMemoryLimit(host, 0);
        }
    }
    for (const ModelBlock &block : blocks) {
        DXR_Free(block.at, "", 0);
    }
    EXPECT_EQ(DxrHostGetBadReleases(host), 0U);
    EXPECT_TRUE(reports.empty());
}

// Threads that hand blocks to each other, while somebody looks.
TEST_F(HostMemory, AccountsAreWholeWheneverSomebodyLooks) {
    constexpr uint32_t kThreads = 3;
    constexpr uint32_t kMostOfEach = 16;
    constexpr uint32_t kSteps = 20000;
    std::array<std::atomic<void *>, 8> handed{};
    std::atomic<uint64_t> bytesTotal{0};
    std::atomic<uint32_t> running{kThreads};
    std::vector<std::thread> threads;
    for (uint32_t number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            std::mt19937 random(number);
            std::vector<void *> own;
            uint64_t bytes = 0;
            for (uint32_t step = 0; step < kSteps; ++step) {
                if (own.size() < kMostOfEach && random() % 2 == 0) {
                    const auto size = static_cast<uint32_t>(1 + random() % 100);
                    own.push_back(DXR_Malloc(5, size, "a.cpp", 1));
                    bytes += size;
                } else if (!own.empty()) {
                    void *give = own.back();
                    own.pop_back();
                    // Much is handed over in some times, nothing in others.
                    if (step / 4096 % 2 == 0 && random() % 8 == 0) {
                        give = handed[random() % handed.size()].exchange(give);
                    }
                    DXR_Free(give, "b.cpp", 2);
                }
            }
            for (void *const block : own) {
                DXR_Free(block, "b.cpp", 3);
            }
            bytesTotal += bytes;
            --running;
        });
    }
    constexpr uint64_t kMost = kThreads * kMostOfEach + 8;
    uint64_t peak = 0;
    while (running != 0) {
        const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(host, 5);
        ASSERT_LE(account.blocksLive, account.blocksPeak);
        ASSERT_LE(account.bytesLive, account.bytesPeak);
        ASSERT_LE(account.blocksPeak, kMost);
        ASSERT_GE(account.blocksPeak, peak);
        peak = account.blocksPeak;
        ASSERT_LE(DxrHostReportLeaks(host, nullptr), kMost);
        std::this_thread::yield();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (std::atomic<void *> &each : handed) {
        DXR_Free(each.load(), "b.cpp", 4);
    }
    const DxrHostMemoryAccount account = DxrHostGetMemoryAccount(host, 5);
    EXPECT_EQ(account.blocksLive, 0U);
    EXPECT_EQ(account.bytesLive, 0U);
    EXPECT_EQ(account.bytesTotal, bytesTotal);
    EXPECT_TRUE(reports.empty());
}

// Of two threads that release the same block at once, one does.
TEST_F(HostMemory, OneOfTwoReleasesAtOnceIsTheBlocksEnd) {
    constexpr uint32_t kRounds = 600;
    std::atomic<void *> shared{nullptr};
    std::atomic<uint32_t> begun{0};
    std::atomic<uint32_t> ended{0};
    std::thread other([&] {
        for (uint32_t round = 1; round <= kRounds; ++round) {
            while (begun != round) {
                std::this_thread::yield();
            }
            DXR_Free(shared, "b.cpp", 1);
            ended = round;
        }
    });
    for (uint32_t round = 1; round <= kRounds; ++round) {
        // Alone for a while: the thread counts by itself again.
        for (int i = 0; i < (round % 4 == 0 ? 5000 : 100); ++i) {
            DXR_Free(DXR_Malloc(9, 16, "a.cpp", 1), "a.cpp", 2);
        }
        shared = DXR_Malloc(9, 16, "a.cpp", 3);
        begun = round;
        DXR_Free(shared, "a.cpp", 4);
        while (ended != round) {
            std::this_thread::yield();
        }
        ASSERT_EQ(DxrHostGetBadReleases(host), round);
        ASSERT_EQ(DxrHostGetMemoryAccount(host, 9).blocksLive, 0U);
    }
    other.join();
}

TEST_F(HostMemory, BlocksAreAlignedAndApart) {
    std::mt19937_64 random(dxrtest::Seed());
    struct Block {
        unsigned char *bytes;
        uint32_t size;
        unsigned char fill;
    };
    std::vector<Block> blocks;
    for (int step = 0; step < 20000; ++step) {
        if (blocks.size() < 500 && random() % 3 != 0) {
            const auto size =
                static_cast<uint32_t>(1 + random() % (random() % 8 == 0 ? 20000 : 200));
            auto *const bytes = static_cast<unsigned char *>(DXR_Malloc(3, size, "m.cpp", 1));
            ASSERT_NE(bytes, nullptr);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0U);
            const auto fill = static_cast<unsigned char>(random());
            std::memset(bytes, fill, size);
            blocks.push_back({bytes, size, fill});
        } else if (!blocks.empty()) {
            const size_t at = random() % blocks.size();
            const Block block = blocks[at];
            blocks[at] = blocks.back();
            blocks.pop_back();
            for (uint32_t i = 0; i < block.size; ++i) {
                ASSERT_EQ(block.bytes[i], block.fill);
            }
            DXR_Free(block.bytes, "m.cpp", 2);
        }
    }
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 3).blocksLive, blocks.size());
    for (const Block &block : blocks) {
        DXR_Free(block.bytes, "m.cpp", 3);
    }
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 3).bytesLive, 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostMemory, AForeignReleaseIsCountedAndReportedAndHarmless) {
    int outside = 0;
    void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
    DXR_Free(&outside, "b.cpp", 7);
    EXPECT_EQ(DxrHostGetBadReleases(host), 1U);
    EXPECT_EQ(Misuse(), "released at b.cpp:7: an address that is not the host's");
    EXPECT_STREQ(reports[0].slot, "DXR_Free");
    EXPECT_NE(std::string(reports[0].caller).find("devhost_memory_test"), std::string::npos)
        << reports[0].caller;
    DXR_Free(block, "", 0);
    DXR_Free(nullptr, "", 0);
    EXPECT_EQ(DxrHostGetBadReleases(host), 1U);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 9).blocksLive, 0U);
}

TEST_F(HostMemory, ForeignReleasesOfSeveralThreadsAreAllCounted) {
    constexpr uint32_t kReleases = 20000;
    DxrHostSetReportSink(
        host, [](const DxrHostReport *, void *) {}, nullptr);
    std::array<std::thread, 4> threads;
    for (std::thread &thread : threads) {
        thread = std::thread([] {
            int outside = 0;
            for (uint32_t i = 0; i < kReleases; ++i) {
                DXR_Free(&outside, "b.cpp", 7);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(DxrHostGetBadReleases(host), threads.size() * kReleases);
}

TEST_F(HostMemory, ABlockOfAnotherHostIsReportedWithItsSite) {
    for (const uint32_t size : {40U, 40000U}) {
        reports.clear();
        void *const block = DXR_Malloc(9, size, "a.cpp", 1);
        DxrHost *const another = DxrHostCreate(nullptr);
        ASSERT_NE(another, nullptr);
        DxrHostSetPrintFile(another, nullptr, 0, nullptr);
        ASSERT_EQ(DxrHostRegister(another), 0U);
        DXR_Free(block, "b.cpp", 7);
        DxrHostReport report{};
        EXPECT_TRUE(DxrHostGetReport(another, 0, &report));
        EXPECT_STREQ(report.text,
                     "released at b.cpp:7: a block of another host, allocated at a.cpp:1");
        EXPECT_EQ(DxrHostGetBadReleases(another), 1U);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        DXR_Free(block, "c.cpp", 3);
        EXPECT_TRUE(reports.empty()) << "it stayed whole";
        ASSERT_EQ(DxrHostRegister(another), 0U);
        DXR_Free(block, "d.cpp", 4);
        EXPECT_TRUE(DxrHostGetReport(another, 1, &report));
        EXPECT_STREQ(report.text,
                     "released at d.cpp:4: a block that was released at c.cpp:3, allocated at "
                     "a.cpp:1, of another host");
        EXPECT_EQ(DxrHostDestroy(another, nullptr), 0U);
        ASSERT_EQ(DxrHostRegister(host), 0U);
    }
}

TEST_F(HostMemory, AnAddressWithinABlockIsNone) {
    auto *const block = static_cast<char *>(DXR_Malloc(9, 80, "a.cpp", 1));
    DXR_Free(block + 16, "b.cpp", 7);
    EXPECT_EQ(Misuse(),
              "released at b.cpp:7: an address within the host's memory that is no block");
    DXR_Free(block, "", 0);
    EXPECT_EQ(DxrHostGetBadReleases(host), 1U);
}

TEST_F(HostMemory, ASecondReleaseNamesAllThreeSites) {
    for (const uint32_t size : {40U, 40000U}) {
        reports.clear();
        void *const block = DXR_Malloc(9, size, "a.cpp", 1);
        DXR_Free(block, "b.cpp", 2);
        DXR_Free(block, "c.cpp", 3);
        EXPECT_EQ(DxrHostGetMemoryAccount(host, 9).blocksLive, 0U);
        if (size == 40) {
            EXPECT_EQ(Misuse(),
                      "released at c.cpp:3: a block that was released at b.cpp:2, allocated at "
                      "a.cpp:1");
        }
    }
    EXPECT_EQ(DxrHostGetBadReleases(host), 2U);
}

TEST_F(HostMemory, AReleasedBlockIsGivenOutAgainOnlyAfterOthers) {
    void *const first = DXR_Malloc(9, 40, "a.cpp", 1);
    DXR_Free(first, "a.cpp", 2);
    for (int i = 0; i < 20; ++i) {
        void *const block = DXR_Malloc(9, 40, "a.cpp", 3);
        EXPECT_NE(block, first) << i;
        DXR_Free(block, "a.cpp", 4);
    }
}

TEST_F(HostMemory, BytesWrittenBeyondABlockAreFound) {
    for (const uint32_t size : {1U, 16U, 100U, 5000U, 50000U}) {
        for (const int64_t offset :
             {int64_t{-1}, int64_t{-16}, int64_t{size}, int64_t{size} + 15}) {
            reports.clear();
            End();
            Begin();
            auto *const block = static_cast<unsigned char *>(DXR_Malloc(9, size, "a.cpp", 1));
            block[offset] ^= 1;
            DXR_Free(block, "b.cpp", 2);
            EXPECT_EQ(Misuse(),
                      "a block allocated at a.cpp:1 and released at b.cpp:2 was written before its "
                      "begin or after its end")
                << size << " " << offset;
        }
    }
}

TEST_F(HostMemory, AccountsBySite) {
    void *const a = DXR_Malloc(9, 100, "a.cpp", 1);
    void *const b = DXR_Malloc(9, 50, "a.cpp", 1);
    void *const c = DXR_Malloc(8, 70000, "a.cpp", 1);
    DXR_Free(a, "z.cpp", 9);
    std::array<DxrHostMemorySite, 3> sites{};
    ASSERT_EQ(DxrHostGetMemorySites(host, sites.data(), 3), 2U);
    EXPECT_EQ(sites[0].mid, 9U);
    EXPECT_EQ(sites[0].line, 1U);
    EXPECT_STREQ(sites[0].file, "a.cpp");
    EXPECT_EQ(sites[0].blocksLive, 1U);
    EXPECT_EQ(sites[0].bytesLive, 50U);
    EXPECT_EQ(sites[0].blocksTotal, 2U);
    EXPECT_EQ(sites[0].bytesTotal, 150U);
    EXPECT_EQ(sites[1].mid, 8U);
    EXPECT_EQ(sites[1].bytesLive, 70000U);
    DXR_Free(b, "z.cpp", 9);
    DXR_Free(c, "z.cpp", 9);
}

TEST_F(HostMemory, TextsOfFilesMayChangeAfterTheCall) {
    std::array<char, 8> file = {"a.cpp"};
    void *const a = DXR_Malloc(9, 1, file.data(), 1);
    file[0] = 'b';
    void *const b = DXR_Malloc(9, 2, file.data(), 1);
    std::array<DxrHostMemorySite, 2> sites{};
    ASSERT_EQ(DxrHostGetMemorySites(host, sites.data(), 2), 2U);
    EXPECT_STREQ(sites[0].file, "a.cpp");
    EXPECT_STREQ(sites[1].file, "b.cpp");
    DXR_Free(a, "", 0);
    DXR_Free(b, "", 0);
}

TEST_F(HostMemory, TheLimitHoldsForAllModulesTogether) {
    DxrHostSetMemoryLimit(host, 100);
    void *const a = DXR_Malloc(1, 60, "a.cpp", 1);
    EXPECT_EQ(DXR_Malloc(2, 41, "a.cpp", 1), nullptr);
    void *const b = DXR_Malloc(2, 40, "a.cpp", 1);
    EXPECT_NE(b, nullptr);
    DXR_Free(a, "", 0);
    void *const c = DXR_Malloc(3, 60, "a.cpp", 1);
    EXPECT_NE(c, nullptr);
    DXR_Free(b, "", 0);
    DXR_Free(c, "", 0);
}

// A site that is known, but at which nothing was ever allocated.
TEST_F(HostMemory, ASiteThatOnlyFailedOrOnlyReleasedMayAllocate) {
    constexpr uint32_t kAny = 0xFFFFFFFF;
    DxrHostSetMemoryLimit(host, 100);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(DXR_Malloc(1, 101, "a.cpp", 1), nullptr);
    }
    DxrHostSetMemoryLimit(host, 0);
    for (int i = 0; i < 3; ++i) {
        void *const a = DXR_Malloc(1, 101, "a.cpp", 1);
        ASSERT_NE(a, nullptr);
        DXR_Free(a, "a.cpp", 2);
        void *const b = DXR_Malloc(kAny, 7, "a.cpp", 2);
        ASSERT_NE(b, nullptr);
        DXR_Free(b, "a.cpp", 2);
    }
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 1).bytesTotal, 303U);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, kAny).bytesTotal, 21U);
    EXPECT_EQ(DxrHostGetBadReleases(host), 0U);
}

// Far more files than a thread keeps, all with one line: the last shares its place with another.
TEST_F(HostMemory, EachReleaseIsOfItsOwnSite) {
    static constexpr auto kNames = [] {
        std::array<std::array<char, 4>, 4000> names{};
        for (size_t i = 0; i < names.size(); ++i) {
            const auto letter = [i](size_t unit) { return static_cast<char>('a' + i / unit % 26); };
            names[i] = {letter(676), letter(26), letter(1), '\0'};
        }
        return names;
    }();
    void *block = nullptr;
    for (const auto &name : kNames) {
        block = DXR_Malloc(9, 8, "a.cpp", 1);
        DXR_Free(block, name.data(), 7);
    }
    DXR_Free(block, "again.cpp", 8);
    EXPECT_EQ(Misuse(), "released at again.cpp:8: a block that was released at " +
                            std::string(kNames.back().data()) + ":7, allocated at a.cpp:1");
}

TEST_F(HostMemory, TheNthAllocationFails) {
    EXPECT_EQ(DxrHostGetFailures(host, "memory.allocate"), 0U);
    DxrHostFailNth(host, "memory.allocate", 3, false);
    std::vector<void *> blocks;
    for (int i = 1; i <= 5; ++i) {
        void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
        EXPECT_EQ(block == nullptr, i == 3);
        blocks.push_back(block);
    }
    EXPECT_EQ(DxrHostGetSteps(host, "memory.allocate"), 5U);
    EXPECT_EQ(DxrHostGetFailures(host, "memory.allocate"), 1U);
    DxrHostFailNth(host, "memory.allocate", 2, true);
    for (int i = 1; i <= 5; ++i) {
        void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
        EXPECT_EQ(block == nullptr, i >= 2);
        blocks.push_back(block);
    }
    for (void *const block : blocks) {
        DXR_Free(block, "", 0);
    }
    EXPECT_EQ(DxrHostReportLeaks(host, nullptr), 0U);
}

// Also of a thread that has long gone the quick way, and beside a limit that stays.
TEST_F(HostMemory, AllocationsFailFromTheMomentThatTheyAreToldTo) {
    const auto pairs = [](int count) {
        int given = 0;
        for (int i = 0; i < count; ++i) {
            void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
            given += block != nullptr ? 1 : 0;
            DXR_Free(block, "a.cpp", 2);
        }
        return given;
    };
    EXPECT_EQ(pairs(1000), 1000);
    std::binary_semaphore go{0};
    std::binary_semaphore done{0};
    int given = 0;
    std::thread another([&] {
        for (int round = 0; round < 4; ++round) {
            go.acquire();
            given = pairs(1000);
            done.release();
        }
    });
    const auto ofAnother = [&] {
        go.release();
        done.acquire();
        return given;
    };
    EXPECT_EQ(ofAnother(), 1000);
    DxrHostFailNth(host, "memory.allocate", 1, false);
    EXPECT_EQ(pairs(2), 1);
    DxrHostFailNth(host, "memory.allocate", 1, false);
    EXPECT_EQ(ofAnother(), 999);
    EXPECT_EQ(DxrHostGetSteps(host, "memory.allocate"), 1000U);
    DxrHostSetMemoryLimit(host, 8);
    DxrHostFailNth(host, "memory.allocate", 0, false);
    EXPECT_EQ(ofAnother(), 1000);
    EXPECT_EQ(DxrHostGetSteps(host, "memory.allocate"), 0U);
    void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
    EXPECT_EQ(ofAnother(), 0);
    EXPECT_EQ(pairs(2), 0);
    DXR_Free(block, "a.cpp", 2);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 9).blocksTotal, 4001U);
    another.join();
}

TEST_F(HostMemory, AShareOfTheAllocationsFailsTheSameEachTime) {
    std::vector<std::string> runs;
    for (int run = 0; run < 3; ++run) {
        End();
        options.seed = run < 2 ? 5 : 6;
        Begin();
        DxrHostFailShare(host, "memory.allocate", 250000);
        std::string failed;
        for (int i = 0; i < 4000; ++i) {
            void *const block = DXR_Malloc(9, 8, "a.cpp", 1);
            failed += block == nullptr ? 'x' : '.';
            DXR_Free(block, "", 0);
        }
        runs.push_back(failed);
        const auto share = std::count(failed.begin(), failed.end(), 'x');
        EXPECT_GT(share, 800);
        EXPECT_LT(share, 1200);
    }
    EXPECT_EQ(runs[0], runs[1]);
    EXPECT_NE(runs[0], runs[2]);
}

// MODULE-5
TEST_F(HostMemory, LeftoversNameModuleAndSite) {
    (void)DXR_Malloc(9, 100, "a.cpp", 1);
    (void)DXR_Malloc(7, 50000, "b.cpp", 2);
    EXPECT_EQ(End(), 2U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_LEFTOVER),
              (std::vector<std::string>{"left behind: 100 bytes of module 9 from a.cpp:1",
                                        "left behind: 50000 bytes of module 7 from b.cpp:2"}));
}

TEST_F(HostMemory, LargeBlocksTooAreReleasedByOtherThreads) {
    void *const large = DXR_Malloc(9, 1000000, "a.cpp", 1);
    ASSERT_NE(large, nullptr);
    std::thread([large] { DXR_Free(large, "b.cpp", 2); }).join();
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 9).bytesLive, 0U);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 9).bytesPeak, 1000000U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostMemory, AHostThatHasEndedHasNoMemory) {
    DxrHost *const ended = host;
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(DxrHostGetMemoryAccounts(ended, nullptr, 0), 0U);
    EXPECT_EQ(DxrHostGetMemorySites(ended, nullptr, 0), 0U);
    EXPECT_EQ(DxrHostReportLeaks(ended, nullptr), 0U);
    EXPECT_EQ(DxrHostGetBadReleases(ended), 0U);
    EXPECT_EQ(DxrHostGetMemoryAccount(ended, 9).blocksTotal, 0U);
    DxrHostSetMemoryLimit(ended, 1);
}

TEST_F(HostMemory, BlocksMayBeReleasedByOtherThreads) {
    constexpr int kBlocks = 3000;
    for (int round = 0; round < 3; ++round) {
        std::vector<void *> blocks;
        std::thread([&blocks] {
            for (int i = 0; i < kBlocks; ++i) {
                blocks.push_back(DXR_Malloc(4, 24, "a.cpp", 1));
            }
        }).join();
        for (void *const block : blocks) {
            DXR_Free(block, "b.cpp", 1);
        }
    }
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 4).blocksLive, 0U);
    EXPECT_EQ(DxrHostGetMemoryAccount(host, 4).blocksTotal, 3U * kBlocks);
}

}  // namespace
