// A development host with tables, and what tests ask of them in few words.
#ifndef DXR_TESTS_DEVHOST_TABLE_FIXTURE_H
#define DXR_TESTS_DEVHOST_TABLE_FIXTURE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "dxr_devhost/system_table.h"
#include "tools/temporary_directory.h"

namespace dxrtest {

constexpr uint32_t kAnyChip = 0xFFFF;

inline std::string Error(uint32_t result) {
    return "error " + std::to_string(result);
}

inline uint32_t SizeOf(const std::string &text) {
    return static_cast<uint32_t>(text.size());
}

inline uint32_t Set(uint32_t chip, uint32_t table, std::string key, std::string data) {
    return DXR_AddChipTblmData(chip, table, key.data(), SizeOf(key),
                               data.empty() ? nullptr : data.data(), SizeOf(data));
}

inline uint32_t SetMasked(uint32_t chip, uint32_t table, const std::string &key,
                          const std::string &data, const std::string &mask) {
    DxrHostMaskedData record{sizeof(record), table,       SizeOf(key), SizeOf(data),
                             key.data(),     data.data(), mask.data()};
    return DXR_SetChipTblmDataAndMask(chip, &record);
}

// The data of a key, or "error N". Zeros up to the end of the room are expected after it.
inline std::string Get(uint32_t chip, uint32_t table, std::string key, uint32_t room = 64) {
    std::string data(room + 8, '#');
    DxrTblmRequest request{table, key.data(), SizeOf(key), data.data(), room, 1, {}};
    const uint32_t result = DXR_GetChipTblmData(chip, &request);
    if (result != 0) {
        EXPECT_EQ(data, std::string(room + 8, '#')) << "nothing is written";
        return Error(result);
    }
    const uint32_t bytes = request.dataLen;
    EXPECT_LE(bytes, room);
    EXPECT_EQ(data.substr(bytes), std::string(room - bytes, '\0') + "########");
    return data.substr(0, bytes);
}

inline uint32_t Delete(uint32_t chip, uint32_t table, std::string key) {
    return DXR_DeleteChipTblmData(chip, table, key.data(), SizeOf(key));
}

// An entry as a walk gives it.
struct Seen {
    uint32_t table = 0;
    uint32_t chip = 0;
    std::string key;
    std::string data;
    std::string mask;
    bool operator==(const Seen &) const = default;
};

// A room for entries of walks.
class EntryRoom {
  public:
    DxrHostTableEntry *At() {
        entry_ = {sizeof(entry_),
                  256,
                  static_cast<uint32_t>(data_.size()),
                  0,
                  0,
                  0,
                  0,
                  0,
                  key_.data(),
                  data_.data(),
                  mask_.data()};
        return &entry_;
    }
    [[nodiscard]] Seen Get() const {
        return {entry_.tableId, entry_.chip, std::string(key_.data(), entry_.keyBytes),
                std::string(data_.data(), entry_.dataBytes),
                std::string(mask_.data(), entry_.dataBytes)};
    }

  private:
    DxrHostTableEntry entry_{};
    std::array<char, 256> key_{};
    std::array<char, 65536> data_{};
    std::array<char, 65536> mask_{};
};

// What is left of a walk, which is ended.
inline std::vector<Seen> Rest(uint32_t first, const DxrHostTableWalk &walk, EntryRoom &room) {
    std::vector<Seen> seen;
    for (uint32_t result = first; result == 0; result = DXR_GetTblmNextData(walk.walk, room.At())) {
        seen.push_back(room.Get());
    }
    if (first == 0) {
        DXR_ReleaseTblm(walk.tableId, walk.walk);
    }
    return seen;
}

inline std::vector<Seen> WalkTable(uint32_t table, uint32_t chip = DXR_HOST_EVERY_CHIP) {
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), chip, table, 0, 99, 0};
    const uint32_t first = DXR_GetLinearTblmFirstData(&walk, room.At());
    return Rest(first, walk, room);
}

inline std::vector<Seen> WalkAll(uint32_t chip = DXR_HOST_EVERY_CHIP) {
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), chip, 0, 0, 99, 0};
    const uint32_t first = DXR_GetCrossTblmFirstData(&walk, nullptr, room.At());
    return Rest(first, walk, room);
}

inline std::vector<std::string> KeysOf(const std::vector<Seen> &seen) {
    std::vector<std::string> keys(seen.size());
    std::transform(seen.begin(), seen.end(), keys.begin(),
                   [](const Seen &each) { return each.key; });
    return keys;
}

inline uint32_t PoolCount(uint32_t chip, uint16_t pool, uint32_t what) {
    uint32_t count = 0xBAD;
    EXPECT_EQ(DXR_GetCstPoolCount(chip, pool, what, &count), 0U);
    return count;
}

inline DxrHostTable Description(uint32_t table) {
    return {sizeof(DxrHostTable), table, 0, 0, 0, 0, 0, 0};
}

class TableHost : public HostTest {
  protected:
    TableHost() : workPath(directory.Path()) {
        options.workPath = workPath.c_str();
        Begin();
    }
    ~TableHost() override { End(); }

    const TemporaryDirectory directory{TemporaryDirectory::InMemory()};
    const std::string workPath;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_TABLE_FIXTURE_H
