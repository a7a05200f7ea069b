// The table as the host's binary sees it, 226 addresses, and the types of expected slots: what the
// tests of all slots share.
#ifndef DXR_TESTS_SLOTS_RAW_TABLE_H
#define DXR_TESTS_SLOTS_RAW_TABLE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dxr_api.h"
#include "slots/expected_slots.h"

namespace dxrtest {

using RawTable = std::array<Hook, kSlotCount>;
static_assert(sizeof(RawTable) == kTableBytes);
static_assert(sizeof(DxrHooks) == kTableBytes);

inline void Register(const RawTable &table) {
    const auto hooks = std::bit_cast<DxrHooks>(table);
    ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
}

inline RawTable Registered() {
    return std::bit_cast<RawTable>(g_dxrHooks);
}

// Of a slot's arguments: "u32", "p" and so on.
inline std::vector<std::string> ArgumentTypes(const Slot &slot) {
    std::vector<std::string> types;
    std::string_view rest = slot.arguments;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(", "), rest.size());
        types.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 2, rest.size()));
    }
    return types;
}

// The bits that an argument or a result of that type has.
inline Word Mask(std::string_view type) {
    if (type == "u8") {
        return UINT8_MAX;
    }
    if (type == "u16") {
        return UINT16_MAX;
    }
    if (type == "void") {
        return 0;
    }
    return type == "u32" ? UINT32_MAX : UINT64_MAX;
}

// Words that tell positions apart: the top bit of every width is set and all bytes differ.
inline Word Sentinel(size_t position) {
    return 0xF0E1D2C3B4A59680 + 0x0101010101010101 * position;
}

// The one function that calls its slot only when the slot before it is set.
inline bool NeedsItsNeighbour(const Slot &slot) {
    return slot.name == "DXR_GetNgTmPortInfoByTmPortFromDb";
}

}  // namespace dxrtest

#endif  // DXR_TESTS_SLOTS_RAW_TABLE_H
