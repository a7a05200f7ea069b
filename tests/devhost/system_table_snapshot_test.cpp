// What the table manager writes to disk, by the sentences of its header: whole or refused, and the
// old or the new one whatever fails and whenever the process ends.
#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "devhost/file_calls.h"
#include "devhost/killed.h"
#include "devhost/table_fixture.h"

namespace {

using dxrtest::Description;
using dxrtest::Descriptors;
using dxrtest::FileCalls;
using dxrtest::Get;
using dxrtest::kAnyChip;
using dxrtest::PoolCount;
using dxrtest::Seen;
using dxrtest::Set;
using dxrtest::SetMasked;
using dxrtest::WalkAll;

class TableSnapshot : public dxrtest::TableHost {
  protected:
    // Some of everything.
    void Fill() {
        DxrHostTable table = Description(5);
        table.keyBytes = 2;
        table.dataBytes = 4;
        table.capacity = 10;
        table.pool = 3;
        EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
        EXPECT_EQ(DXR_DynamicCreateTable(5), 0U);
        table = Description(6);
        table.isStatic = 1;
        EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
        EXPECT_EQ(DXR_DynamicCreateTable(7), 0U);
        EXPECT_TRUE(DxrHostSetTablePool(host, 1, 3, 2));
        EXPECT_EQ(Set(1, 5, "aa", "data"), 0U);
        EXPECT_EQ(Set(1, 5, "bb", ""), 0U);
        EXPECT_EQ(Set(kAnyChip, 6, "key", "static"), 0U);
        EXPECT_EQ(SetMasked(0, 6, "key", "1234", "\x0F\xFF\x01\x80"), 0U);
    }

    std::string Save(const char *path = nullptr) {
        std::array<char, 256> error{};
        const bool isWell = DxrHostSaveTables(host, path, error.data(), error.size());
        EXPECT_EQ(isWell, error[0] == '\0');
        return error.data();
    }
    // Why not, without the path.
    std::string Load(const char *path = nullptr) {
        std::array<char, 256> error{};
        const bool isWell = DxrHostLoadTables(host, path, error.data(), error.size());
        EXPECT_EQ(isWell, error[0] == '\0');
        const std::string text = error.data();
        const size_t colon = text.find(": ");
        return colon == std::string::npos ? text : text.substr(colon + 2);
    }
    // How often that was reported.
    [[nodiscard]] uint64_t Refusals() const {
        uint64_t count = 0;
        DxrHostReport report{};
        for (uint32_t i = 0; DxrHostGetReport(host, i, &report); ++i) {
            count += report.slot == std::string("DxrHostLoadTables") ? report.count : 0;
        }
        return count;
    }
    // The same, of a file with that content: nothing has changed, and a report says so, too.
    std::string WhyNot(const std::string &content) {
        (void)directory.Write("other.bin", content);
        const std::vector<Seen> before = WalkAll();
        const uint64_t refusals = Refusals();
        const std::string why = Load(directory.Path("other.bin").c_str());
        EXPECT_EQ(Refusals(), refusals + (why.empty() ? 0 : 1));
        EXPECT_EQ(WalkAll(), before);
        return why;
    }

    [[nodiscard]] bool HasNew() const {
        return std::filesystem::exists(directory.Path("tables.bin.new"));
    }
};

TEST_F(TableSnapshot, BringsEverythingBack) {
    Fill();
    const std::vector<Seen> before = WalkAll();
    EXPECT_EQ(before.size(), 4U);
    EXPECT_EQ(Save(), "");
    EXPECT_FALSE(HasNew());
    EXPECT_EQ(End(), 2U);
    reports.clear();
    Begin();
    EXPECT_EQ(Load(), "");
    EXPECT_EQ(WalkAll(), before);
    EXPECT_EQ(Get(1, 5, "aa"), "data");
    EXPECT_EQ(Get(9, 6, "key"), "static");
    DxrHostTable about = Description(0);
    EXPECT_EQ(DXR_GetTblmAttr(5, &about), 0U);
    EXPECT_EQ(about.keyBytes, 2U);
    EXPECT_EQ(about.dataBytes, 4U);
    EXPECT_EQ(about.capacity, 10U);
    EXPECT_EQ(about.pool, 3U);
    EXPECT_EQ(about.entries, 2U);
    EXPECT_EQ(DXR_GetTblmAttr(6, &about), 0U);
    EXPECT_EQ(about.isStatic, 1U);
    EXPECT_EQ(DXR_GetTblmAttr(7, &about), 0U);
    EXPECT_EQ(PoolCount(1, 3, DXR_HOST_POOL_CAPACITY), 2U);
    EXPECT_EQ(PoolCount(1, 3, DXR_HOST_POOL_USED), 2U);
    EXPECT_EQ(Set(1, 5, "cc", ""), uint32_t{ENOSPC}) << "the pool is full";
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 2U);
    const std::vector<std::string> texts = Texts(DXR_HOST_REPORT_LEFTOVER);
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_NE(texts[0].find("made by DxrHostLoadTables by "), std::string::npos) << texts[0];
}

TEST_F(TableSnapshot, ReplacesWhatThereIs) {
    Fill();
    EXPECT_EQ(Save(), "");
    const std::vector<Seen> saved = WalkAll();
    dxrtest::EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), 1, 5, 0, 0, 0};
    ASSERT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), 0U);
    EXPECT_EQ(Set(1, 5, "aa", "DATA"), 0U);
    EXPECT_EQ(DXR_DynamicCreateTable(8), 0U);
    EXPECT_EQ(Set(0, 8, "new", "new"), 0U);
    EXPECT_TRUE(DxrHostSetTablePool(host, 1, 3, 100));
    DxrHostTable described = Description(9);
    described.keyBytes = 7;
    EXPECT_EQ(DxrHostDescribeTable(host, &described), 0U);
    EXPECT_EQ(Load(), "");
    EXPECT_EQ(WalkAll(), saved);
    EXPECT_EQ(PoolCount(1, 3, DXR_HOST_POOL_CAPACITY), 2U);
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, room.At()), 0U) << "goes on at its key";
    EXPECT_EQ(room.Get().key, "bb");
    DXR_ReleaseTblm(5, walk.walk);
    EXPECT_EQ(DXR_DynamicCreateTable(9), 0U);
    EXPECT_EQ(DXR_GetTblmAttr(9, &described), 0U);
    EXPECT_EQ(described.keyBytes, 7U) << "descriptions stay";
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 3U);
    EXPECT_NE(Texts(DXR_HOST_REPORT_LEFTOVER)[0].find("made by DXR_DynamicCreateTable by "),
              std::string::npos)
        << "it was there already";
}

TEST_F(TableSnapshot, GoesWhereItIsTold) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    const std::string path = directory.Path("elsewhere");
    EXPECT_EQ(Save(path.c_str()), "");
    DXR_ReleaseTblm(1, 0);
    EXPECT_EQ(Load(), "cannot be read: No such file or directory");
    EXPECT_EQ(Load(path.c_str()), "");
    DXR_ReleaseTblm(1, 0);
    EXPECT_EQ(Save((workPath + "/absent/file").c_str()),
              workPath + "/absent/file: could not be opened: No such file or directory");
    EXPECT_FALSE(DxrHostSaveTables(host, (workPath + "/absent/file").c_str(), nullptr, 100));
    std::array<char, 6> error{"#####"};
    EXPECT_FALSE(DxrHostLoadTables(host, "/", error.data(), 3));
    EXPECT_STREQ(error.data(), "/:") << "cut";
    EXPECT_EQ(error[3], '#');
}

// --- Files that are none

uint32_t CrcOf(const std::string &text) {
    return static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef *>(text.data()), static_cast<uInt>(text.size())));
}

template <typename Value>
void Put(std::string &file, size_t at, Value value) {
    std::memcpy(&file[at], &value, sizeof(value));
}

constexpr size_t kHeader = 24;

// The same content with a header that fits it.
std::string Sealed(std::string file) {
    Put(file, 12, CrcOf(file.substr(kHeader)));
    Put(file, 16, uint64_t{file.size() - kHeader});
    return file;
}

TEST_F(TableSnapshot, IsRefusedWhenItIsTorn) {
    Fill();
    EXPECT_EQ(Save(), "");
    const std::string whole = directory.Read("tables.bin");
    EXPECT_EQ(WhyNot(whole), "");
    const std::string why = WhyNot("");
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].text, directory.Path("other.bin") + ": " + why);
    EXPECT_EQ(reports[0].kind, DXR_HOST_REPORT_MISUSE);
    for (size_t length = 0; length < whole.size(); ++length) {
        ASSERT_NE(WhyNot(whole.substr(0, length)), "") << length;
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 4);
        ASSERT_NE(WhyNot(changed), "") << at;
    }
    EXPECT_EQ(WhyNot("dxrtabl"), "is no snapshot of tables");
    EXPECT_EQ(WhyNot("dxrtable"), "is torn: it ends within its header");
    EXPECT_EQ(WhyNot(whole + "x"), "is torn: " + std::to_string(whole.size() - kHeader + 1) +
                                       " bytes follow its header, not " +
                                       std::to_string(whole.size() - kHeader));
    std::string changed = whole;
    ++changed.back();
    EXPECT_EQ(WhyNot(changed), "is torn: its checksum is another one");
    changed = whole;
    changed[8] = 2;
    EXPECT_EQ(WhyNot(changed), "is of version 2, but only 1 is known");
}

// With the right checksum: every number of the content is changed.
TEST_F(TableSnapshot, IsRefusedWhenItSaysWhatCannotBe) {
    Fill();
    EXPECT_EQ(Save(), "");
    const std::string whole = directory.Read("tables.bin");
    EXPECT_EQ(WhyNot(Sealed(whole)), "");
    EXPECT_NE(WhyNot(Sealed(whole + "more")), "");
    for (size_t at = kHeader; at + 4 <= whole.size(); ++at) {
        for (const uint32_t value : {1U, 257U, 0xFFFFFFFFU}) {
            std::string changed = whole;
            Put(changed, at, value);
            // Either it is another snapshot, or nothing changes and a report says so.
            (void)directory.Write("other.bin", Sealed(changed));
            const uint64_t refusals = Refusals();
            const std::vector<Seen> before = WalkAll();
            if (Load(directory.Path("other.bin").c_str()).empty()) {
                ASSERT_EQ(Refusals(), refusals);
                ASSERT_EQ(Load(), "");
            } else {
                ASSERT_EQ(Refusals(), refusals + 1);
                ASSERT_EQ(WalkAll(), before);
            }
        }
    }
    // An entry of no key: its key's bytes are of its data.
    const size_t entry = whole.find("keystatic");
    ASSERT_NE(entry, std::string::npos);
    std::string keyless = whole;
    Put(keyless, entry - 12, 0U);
    Put(keyless, entry - 8, 9U);
    EXPECT_NE(WhyNot(Sealed(keyless)), "");
    for (size_t length = kHeader; length < whole.size(); ++length) {
        ASSERT_NE(WhyNot(Sealed(whole.substr(0, length))), "") << length;
    }
}

TEST_F(TableSnapshot, TakesRandomBytesForNone) {
    std::mt19937 random(3);
    for (int i = 0; i < 500; ++i) {
        std::string file(random() % 200, '\0');
        for (char &byte : file) {
            byte = static_cast<char>(random() % 4);
        }
        file.replace(0, 8, "dxrtable");
        file.resize(std::max(file.size(), kHeader + 16));
        Put(file, 8, uint32_t{1});
        if (WhyNot(Sealed(file)).empty()) {
            EXPECT_TRUE(WalkAll().empty());
        }
    }
}

// --- Steps that fail

TEST_F(TableSnapshot, StaysTheOldOneWhenAPointFails) {
    Fill();
    EXPECT_EQ(Save(), "");
    const std::string old = directory.Read("tables.bin");
    EXPECT_EQ(Set(1, 5, "aa", "DATA"), 0U);
    const std::array<std::array<const char *, 2>, 4> points = {{{"table.open", "opened"},
                                                                {"table.write", "written"},
                                                                {"table.sync", "synchronised"},
                                                                {"table.rename", "renamed"}}};
    for (const auto &[point, what] : points) {
        DxrHostFailNth(host, point, 1, false);
        EXPECT_EQ(Save(), workPath + "/tables.bin: could not be " + what + ": Input/output error");
        EXPECT_EQ(directory.Read("tables.bin"), old);
        EXPECT_FALSE(HasNew());
    }
    DxrHostFailNth(host, "table.read", 1, false);
    EXPECT_EQ(Load(), "cannot be read: Input/output error");
    EXPECT_EQ(Get(1, 5, "aa"), "DATA");
    EXPECT_EQ(Save(), "");
    EXPECT_NE(directory.Read("tables.bin"), old);
}

TEST_F(TableSnapshot, StaysTheOldOneWhenACallFails) {
    Fill();
    EXPECT_EQ(Save(), "");
    const std::string old = directory.Read("tables.bin");
    const size_t descriptors = Descriptors();
    for (const FileCalls::How how : FileCalls::kAll) {
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n) {
            ASSERT_LT(n, 100U);
            EXPECT_EQ(Set(1, 5, "aa", "DATA"), 0U);
            FileCalls::Begin(n, how);
            const bool isSaved = DxrHostSaveTables(host, nullptr, nullptr, 0);
            hasFailed = FileCalls::End();
            ASSERT_EQ(Descriptors(), descriptors);
            ASSERT_FALSE(HasNew());
            if (isSaved) {
                ASSERT_EQ(Load(), "");
                ASSERT_EQ(Get(1, 5, "aa"), "DATA");
                (void)directory.Write("tables.bin", old);
            } else {
                ASSERT_FALSE(FileCalls::IsPart(how)) << "only the way is longer";
                ASSERT_EQ(directory.Read("tables.bin"), old);
            }
            FileCalls::Begin(n, how);
            const bool isLoaded = DxrHostLoadTables(host, nullptr, nullptr, 0);
            hasFailed = FileCalls::End() || hasFailed;
            ASSERT_EQ(Descriptors(), descriptors);
            ASSERT_EQ(Get(1, 5, "aa"), isLoaded ? "data" : "DATA");
            ASSERT_TRUE(isLoaded || !FileCalls::IsPart(how));
        }
    }
}

// --- Killed at any moment

constexpr uint32_t kEntries = 32;

TEST(TableSnapshotKilled, IsTheOldOrTheNewOne) {
    const dxrtest::TemporaryDirectory directory;
    const std::string workPath = directory.Path();
    const auto begin = [&] {
        (void)dxrtest::HostAt(workPath.c_str());
        if (!DxrHostLoadTables(nullptr, nullptr, nullptr, 0)) {
            (void)DXR_DynamicCreateTable(1);
        }
        return [](uint32_t number) {
            for (uint32_t key = 0; key < kEntries; ++key) {
                std::array<uint32_t, 256> data{};
                data.fill(number);
                if (DXR_AddTblmData(1, &key, sizeof(key), data.data(), sizeof(data)) != 0) {
                    return false;
                }
            }
            return DxrHostSaveTables(nullptr, nullptr, nullptr, 0);
        };
    };
    dxrtest::KillAtAnyMoment(begin, [&] {
        DxrHost *const host = dxrtest::HostAt(workPath.c_str());
        std::array<char, 256> error{};
        EXPECT_TRUE(DxrHostLoadTables(host, nullptr, error.data(), error.size())) << error.data();
        uint32_t number = 0;
        for (uint32_t key = 0; key < kEntries; ++key) {
            std::array<uint32_t, 256> data{};
            EXPECT_EQ(DXR_QueryTblmData(1, &key, sizeof(key), data.data(), sizeof(data)), 0U);
            number = key == 0 ? data[0] : number;
            for (const uint32_t each : data) {
                EXPECT_EQ(each, number);
            }
        }
        DXR_ReleaseTblm(1, 0);
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
        return number;
    });
}

// --- Static tables

TEST_F(TableSnapshot, LeavesStaticTablesThere) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(Set(0, 1, "key", "saved"), 0U);
    EXPECT_EQ(Save(), "");
    DxrHostTable table = Description(6);
    table.isStatic = 1;
    table.keyBytes = 3;
    table.capacity = 1;
    table.pool = 9;
    EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
    EXPECT_EQ(Set(0, 6, "key", "later"), 0U);
    EXPECT_EQ(DXR_DynamicCreateTable(7), 0U);
    EXPECT_EQ(Load(), "");
    DxrHostTable about = Description(0);
    EXPECT_EQ(DXR_GetTblmAttr(7, &about), uint32_t{ENXIO}) << "all others are those of the file";
    reports.clear();
    EXPECT_EQ(DXR_GetTblmAttr(6, &about), 0U) << "it stays";
    EXPECT_EQ(about.isStatic, 1U);
    EXPECT_EQ(about.keyBytes, 3U);
    EXPECT_EQ(about.entries, 0U) << "no entry of it is in the file";
    EXPECT_EQ(Get(0, 6, "key"), dxrtest::Error(ENOENT));
    EXPECT_EQ(PoolCount(0, 9, DXR_HOST_POOL_USED), 0U);
    EXPECT_EQ(Set(0, 6, "key", "again"), 0U);
    EXPECT_EQ(Set(0, 6, "two", "full"), uint32_t{ENOSPC});
    EXPECT_EQ(Get(0, 1, "key"), "saved");
    EXPECT_TRUE(reports.empty());
}

// The file has a table of that number that is none.
TEST_F(TableSnapshot, DoesNotMakeStaticTablesOthers) {
    EXPECT_EQ(DXR_DynamicCreateTable(6), 0U);
    EXPECT_EQ(Set(0, 6, "key", "saved"), 0U);
    EXPECT_EQ(Save(), "");
    DXR_ReleaseTblm(6, 0);
    DxrHostTable table = Description(6);
    table.isStatic = 1;
    EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
    EXPECT_EQ(Load(), "");
    EXPECT_EQ(Get(0, 6, "key"), "saved");
    EXPECT_TRUE(reports.empty());
    DXR_ReleaseTblm(6, 0);
    EXPECT_EQ(reports.size(), 1U) << "it cannot be released";
    EXPECT_EQ(Get(0, 6, "key"), "saved");
    EXPECT_EQ(End(), 0U) << "nor is it left behind";
}

}  // namespace
