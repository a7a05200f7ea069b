// The ring beside a queue, and between two threads.
#include "ring.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <thread>

#include "support/test_host.h"

namespace dxr_trace {
namespace {

// Its length and then that number again and again.
std::string RecordOfLength(size_t size) {
    return std::string(size, static_cast<char>(size % 251));
}

bool Put(Ring &ring, const std::string &record) {
    std::byte *const room = ring.Reserve(record.size());
    if (room == nullptr) {
        return false;
    }
    EXPECT_EQ(0U, reinterpret_cast<uintptr_t>(room) % 8);
    std::memcpy(room, record.data(), record.size());
    ring.Commit();
    return true;
}

std::string Front(Ring &ring) {
    const std::span<const std::byte> front = ring.Front();
    return {reinterpret_cast<const char *>(front.data()), front.size()};
}

TEST(TraceRing, BehavesAsAQueueOfBoundedSize) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const size_t size : {4096U, 8192U, 16384U}) {
        Ring ring(size);
        std::deque<std::string> model;
        size_t filled = 0;  // at least
        for (int step = 0; step < 4000; ++step) {
            if (random() % 2 == 0) {
                const std::string record =
                    RecordOfLength(1 + random() % (random() % 4 == 0 ? ring.LongestRecord() : 60));
                if (Put(ring, record)) {
                    model.push_back(record);
                    filled += record.size();
                } else {
                    // There is room for half of the ring unless so much is in it.
                    EXPECT_GT(filled + record.size() + model.size() * 16 + size / 2 + 16, size);
                }
                EXPECT_LE(filled, size);
            } else if (!model.empty()) {
                ASSERT_EQ(model.front(), Front(ring));
                ring.Release();
                filled -= model.front().size();
                model.pop_front();
            } else {
                EXPECT_TRUE(ring.Front().empty());
                EXPECT_EQ(0U, ring.Filled());
            }
        }
    }
}

TEST(TraceRing, RecordsUpToTheLongestFindRoomInAnEmptyRing) {
    for (size_t offset = 0; offset < 4096; offset += 136) {
        Ring ring(4096);
        // The ring's next place is anywhere.
        for (size_t at = 0; at < offset; at += 16) {
            ASSERT_TRUE(Put(ring, RecordOfLength(8)));
            ASSERT_EQ(RecordOfLength(8), Front(ring));
            ring.Release();
        }
        ASSERT_TRUE(Put(ring, RecordOfLength(ring.LongestRecord()))) << offset;
        EXPECT_EQ(RecordOfLength(ring.LongestRecord()), Front(ring));
        EXPECT_FALSE(Put(ring, RecordOfLength(ring.LongestRecord() + 1)));
    }
}

TEST(TraceRing, HalfFullIsMoreThanHalf) {
    Ring ring(4096);
    while (!ring.IsHalfFull()) {
        ASSERT_LE(ring.Filled(), 2048U);
        ASSERT_TRUE(Put(ring, RecordOfLength(24)));
    }
    EXPECT_GT(ring.Filled(), 2048U);
    ASSERT_FALSE(ring.Front().empty());
    ring.Release();
    EXPECT_FALSE(ring.IsHalfFull());
}

TEST(TraceRing, TwoThreadsSeeTheSameRecords) {
    constexpr uint32_t kRecords = 20000;
    Ring ring(4096);
    std::thread writer([&ring] {
        for (uint32_t i = 0; i < kRecords;) {
            if (Put(ring, RecordOfLength(1 + i % 200))) {
                ++i;
            } else {
                std::this_thread::yield();
            }
        }
    });
    for (uint32_t i = 0; i < kRecords;) {
        if (ring.Front().empty()) {
            std::this_thread::yield();
            continue;
        }
        ASSERT_EQ(RecordOfLength(1 + i % 200), Front(ring));
        ring.Release();
        ++i;
    }
    writer.join();
    EXPECT_TRUE(ring.Front().empty());
}

}  // namespace
}  // namespace dxr_trace
