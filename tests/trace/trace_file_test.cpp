// Recordings that are cut anywhere or changed in any bit: what stands before is read, and nothing
// wrong.
#include "trace_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "dxr_trace.h"
#include "encoder.h"
#include "export.h"
#include "support/test_host.h"
#include "trace/recording.h"

namespace dxr_trace {
namespace {

std::vector<std::string> LinesOf(const TraceFile &file) {
    std::vector<std::string> lines;
    lines.reserve(file.calls.size());
    for (const TracedCall &call : file.calls) {
        // Times depend on moments that later blocks hold.
        TracedCall timeless = call;
        timeless.beginNs = 0;
        timeless.durationNs = 0;
        lines.push_back(JsonLine(timeless));
    }
    return lines;
}

class TraceFileTest : public testing::Test {
  protected:
    // A few blocks: the drain is given the time to make one of each round.
    std::string Sample() {
        DxrHooks hooks = {};
        hooks.system.fileLength = [](const char *) -> uint32_t { return 12; };
        hooks.system.getLrId = []() -> uint32_t { return 300; };
        EXPECT_EQ(0U, DXR_RegisterHooks(&hooks));
        recording_.Start();
        for (uint32_t round = 0; round < 4; ++round) {
            const size_t before = recording_.Bytes().size();
            DXR_FileLength(("file " + std::to_string(round)).c_str());
            DXR_GetLrId();
            while (recording_.Bytes().size() == before) {
                std::this_thread::yield();
            }
        }
        EXPECT_EQ(0U, DxrTraceStop());
        return recording_.Bytes();
    }

    dxrtest::TestHost host_;
    dxrtest::Recording recording_;
};

TEST_F(TraceFileTest, CutAnywhereGivesAllBlocksBefore) {
    const std::string bytes = Sample();
    const TraceFile whole = ReadTraceFile(bytes);
    ASSERT_EQ(FileState::kWhole, whole.state);
    EXPECT_EQ(bytes.size(), whole.goodBytes);
    ASSERT_EQ(8U, whole.calls.size());
    const std::vector<std::string> all = LinesOf(whole);
    size_t most = 0;
    size_t good = 0;
    for (size_t size = 0; size < bytes.size(); ++size) {
        const std::string cut = bytes.substr(0, size);  // a block of its own
        const TraceFile file = ReadTraceFile(cut);
        EXPECT_EQ(size == 0 ? FileState::kForeign : FileState::kCut, file.state) << size;
        EXPECT_FALSE(file.problem.empty());
        EXPECT_LE(file.goodBytes, size);
        EXPECT_GE(file.goodBytes, good);
        good = file.goodBytes;
        ASSERT_GE(file.calls.size(), most);
        most = file.calls.size();
        // All are there, in order; the last may not have returned yet.
        const std::vector<std::string> lines = LinesOf(file);
        for (size_t i = 0; i < lines.size(); ++i) {
            if (file.calls[i].hasReturned) {
                EXPECT_EQ(all[i], lines[i]);
            }
        }
    }
    EXPECT_EQ(8U, most);
}

TEST_F(TraceFileTest, EveryChangedBitIsSeen) {
    const std::string bytes = Sample();
    const std::vector<std::string> all = LinesOf(ReadTraceFile(bytes));
    for (size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        std::string changed = bytes;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        const TraceFile file = ReadTraceFile(changed);
        ASSERT_TRUE(file.state == FileState::kDamaged ||
                    (bit / 8 < 8 && file.state == FileState::kForeign))
            << "bit " << bit;
        ASSERT_LE(file.goodBytes, bit / 8);
        const std::vector<std::string> lines = LinesOf(file);
        for (size_t i = 0; i < lines.size(); ++i) {
            if (file.calls[i].hasReturned) {
                ASSERT_EQ(all[i], lines[i]) << "bit " << bit;
            }
        }
    }
}

TEST_F(TraceFileTest, BlocksThatAreMissingDoubledOrSwappedAreSeen) {
    const std::string bytes = Sample();
    // Where blocks begin, by reading prefixes.
    std::vector<size_t> begins;
    size_t last = 0;
    for (size_t size = kFileHeadSize; size <= bytes.size(); ++size) {
        const size_t good = ReadTraceFile(bytes.substr(0, size)).goodBytes;
        if (good != last) {
            begins.push_back(good);
            last = good;
        }
    }
    ASSERT_GE(begins.size(), 7U);
    for (size_t i = 0; i + 2 < begins.size(); ++i) {
        const std::string first = bytes.substr(begins[i], begins[i + 1] - begins[i]);
        const std::string second = bytes.substr(begins[i + 1], begins[i + 2] - begins[i + 1]);
        const std::string before = bytes.substr(0, begins[i]);
        const std::string after = bytes.substr(begins[i + 2]);
        for (const std::string &wrong :
             {before + second + after, before + first + first + second + after,
              before + second + first + after}) {
            const TraceFile file = ReadTraceFile(wrong);
            EXPECT_EQ(FileState::kDamaged, file.state);
        }
    }
    EXPECT_EQ(FileState::kDamaged, ReadTraceFile(bytes + "x").state);
}

// Contents whose checksums are right, but which say what no writer says.
TEST_F(TraceFileTest, NonsenseWithGoodChecksumsIsRefused) {
    Encoder start;
    for (const uint64_t value : {1U, 2U, 3U, 4U, 0U, 64U}) {
        start.Varint(value);
    }
    start.Text("1");
    const std::string head =
        FileHead() + BlockHead(BlockKind::kStart, 0, start.Get()) + start.Get();
    ASSERT_EQ(FileState::kCut, ReadTraceFile(head).state);
    std::mt19937_64 random(dxrtest::Seed());
    Encoder thread;
    thread.Varint(1);
    thread.Varint(77);
    thread.Text("name");
    const std::string known = head + BlockHead(BlockKind::kThread, 1, thread.Get()) + thread.Get();
    ASSERT_EQ(FileState::kCut, ReadTraceFile(known).state);
    size_t refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string content;
        if (random() % 2 == 0) {
            content = std::string("\x01\x00\x05\x06", 4);  // thread 1, nothing dropped, a moment
        }
        for (size_t size = random() % 40; size > 0; --size) {
            content += static_cast<char>(random() % 3 == 0 ? random() : random() % 4);
        }
        const auto kind = BlockKind{static_cast<uint32_t>(1 + random() % 5)};
        const std::string bytes = known + BlockHead(kind, 2, content) + content;
        const TraceFile file = ReadTraceFile(bytes);
        refused += file.state == FileState::kDamaged ? 1 : 0;
        if (file.state == FileState::kDamaged) {
            EXPECT_EQ(known.size(), file.goodBytes);
            EXPECT_TRUE(file.calls.empty());
        }
        for (const TracedCall &call : file.calls) {
            EXPECT_LT(call.slot, kSlotCount);
            EXPECT_FALSE(TextLine(call).empty());
        }
    }
    EXPECT_GT(refused, 10000U);
    // A kind that a later release may bring.
    const std::string later = known + BlockHead(BlockKind{9}, 2, "?") + "?";
    EXPECT_EQ(FileState::kCut, ReadTraceFile(later).state);
    EXPECT_EQ(later.size(), ReadTraceFile(later).goodBytes);
}

// Returns of calls that stand in earlier blocks, too.
TEST_F(TraceFileTest, ABlockIsTakenAsAWholeOrNotAtAll) {
    Encoder start;
    for (const uint64_t value : {1U, 2U, 3U, 4U, 0U, 64U}) {
        start.Varint(value);
    }
    start.Text("1");
    const std::string thread("\x01\x4D\x00", 3);
    // The thread, nothing dropped, a moment; then events of slot 22: call 0 begins, and returns 9.
    const std::string head("\x01\x00\x05\x06", 4);
    const std::string begins("\x01\x16\x00\x02\x00\x00", 6);
    const std::string returns("\x02\x16\x00\x02\x01\x09\x00", 7);
    std::string file = FileHead();
    uint32_t number = 0;
    const auto add = [&](BlockKind kind, const std::string &content) {
        file += BlockHead(kind, number++, content) + content;
    };
    add(BlockKind::kStart, start.Get());
    add(BlockKind::kThread, thread);
    add(BlockKind::kCalls, head + begins);
    const std::string before = file;
    add(BlockKind::kCalls, head + returns + begins + "\x7F");
    const TraceFile damaged = ReadTraceFile(file);
    EXPECT_EQ(FileState::kDamaged, damaged.state);
    EXPECT_EQ(before.size(), damaged.goodBytes);
    ASSERT_EQ(1U, damaged.calls.size());
    EXPECT_FALSE(damaged.calls[0].hasReturned);
    EXPECT_FALSE(damaged.calls[0].hasResult);
    EXPECT_EQ(0U, damaged.calls[0].result);
    file = before;
    --number;
    add(BlockKind::kCalls, head + returns);
    const TraceFile good = ReadTraceFile(file);
    EXPECT_EQ(FileState::kCut, good.state);
    ASSERT_EQ(1U, good.calls.size());
    EXPECT_TRUE(good.calls[0].hasReturned);
    EXPECT_EQ(9U, good.calls[0].result);
}

TEST_F(TraceFileTest, LaterFormatsAreRefusedByTheirNumber) {
    Encoder head;
    head.Bytes(kFileMark);
    head.Fixed32(kFileVersion + 1);
    head.Fixed32(Crc32c(head.Get()));
    const TraceFile file = ReadTraceFile(head.Get());
    EXPECT_EQ(FileState::kForeign, file.state);
    EXPECT_EQ("has a format that is not known, 3", file.problem);
}

TEST_F(TraceFileTest, NamesOfPiecesComeFromTheListOrFromTheirPlace) {
    const SlotInfo &tables = kSlots[160];
    ASSERT_STREQ("DXR_GetChipTblmData", tables.name);
    EXPECT_EQ("request->key", PieceName(tables, {PlaceOf(1, 4, false), 0, {}}));
    EXPECT_EQ("request+99", PieceName(tables, {PlaceOf(1, 99, false), 0, {}}));
    EXPECT_EQ("chip", PieceName(tables, {PlaceOf(0, kDirect, false), 0, {}}));
    EXPECT_EQ("arg6", PieceName(tables, {PlaceOf(5, kDirect, false), 0, {}}));
    EXPECT_EQ("result", PieceName(tables, {PlaceOf(kResultPlace, kDirect, true), 0, {}}));
    EXPECT_EQ("message", PieceName(tables, {PlaceOf(kMessagePlace, kDirect, true), 0, {}}));
}

}  // namespace
}  // namespace dxr_trace
