#include "hash_keys.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

#include "dxr_devhost/hash.h"
#include "words.h"

namespace dxr_trace {
namespace {

constexpr size_t kMostTables = 256;  // nothing is known of more
constexpr size_t kLongestText = 4096;

struct Table {
    uint64_t handle;
    uint32_t keyBytes;  // 0: texts
};

constinit std::mutex g_mutex;
constinit std::array<Table, kMostTables> g_tables{};
constinit size_t g_count = 0;

Table *Find(uint64_t handle) {
    Table *const end = g_tables.data() + g_count;
    Table *const found = std::find_if(
        g_tables.data(), end, [handle](const Table &each) { return each.handle == handle; });
    return found != end ? found : nullptr;
}

}  // namespace

bool ReadHashOptions(uint64_t options, DxrHostHashOptions &read) {
    const auto *const given = FromWord<const char *>(options);
    if (given == nullptr ||
        (std::memcpy(&read.size, given, sizeof(read.size)), read.size != sizeof(read))) {
        return false;
    }
    std::memcpy(&read, given, sizeof(read));
    return true;
}

void LearnHashKeys(uint64_t options, uint64_t table) {
    DxrHostHashOptions read{};
    if (table == 0 || !ReadHashOptions(options, read)) {
        return;
    }
    ForgetHashKeys(table);
    const bool isSure =
        read.keyBytes == 0 || (read.keyBytes < sizeof(void *) && read.compare == nullptr);
    const std::lock_guard lock(g_mutex);
    if (isSure && g_count < kMostTables) {
        g_tables[g_count++] = {table, read.keyBytes};
    }
}

void ForgetHashKeys(uint64_t table) {
    const std::lock_guard lock(g_mutex);
    Table *const found = Find(table);
    if (found != nullptr) {
        *found = g_tables[--g_count];
    }
}

void ForgetAllHashKeys() {
    const std::lock_guard lock(g_mutex);
    g_count = 0;
}

void CollectHashKey(const SlotInfo &slot, std::span<const uint64_t> arguments, Follow follow,
                    size_t limit, Pieces &pieces) {
    constexpr uint8_t kKey = 1;
    if (follow != Follow::kDevhost || !IsOfHash(slot)) {
        return;
    }
    const std::string_view name = slot.name;
    const bool hasKey =
        name == "DXR_HashInsert" || name == "DXR_HashFindKey" || name == "DXR_HashRemove";
    const auto *const key = hasKey ? FromWord<const char *>(arguments[kKey]) : nullptr;
    if (key == nullptr) {
        return;
    }
    const std::lock_guard lock(g_mutex);
    const Table *const table = Find(arguments[0]);
    if (table != nullptr) {
        const bool isText = table->keyBytes == 0;
        const size_t size =
            isText ? strnlen(key, std::min(limit + 1, kLongestText)) : table->keyBytes;
        pieces.Add({PlaceOf(kKey, kDirect, isText), key, size});
    }
}

}  // namespace dxr_trace
