// The log filter written down as plainly as it can be: one ring for each type in a vector, every
// lookup a walk from the oldest entry, every host service a call on an object. It shares no code
// with the library.
#ifndef DXR_TESTS_MODEL_PRINT_LOG_FILTER_MODEL_H
#define DXR_TESTS_MODEL_PRINT_LOG_FILTER_MODEL_H

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "dxr/print_log_filter.h"

namespace dxrtest {

constexpr uint32_t kModelTypes = 29;

// One call of a host service. The numbers are its arguments and its answer, the text what was
// printed, logged or hashed.
struct HostCall {
    enum class Kind : uint8_t {
        kAllocate,
        kRelease,
        kInitMutex,
        kLock,
        kUnlock,
        kDestroyMutex,
        kCurrSec,
        kCurrTime,
        kPrint,
        kDiag,
        kHash,
    };
    Kind kind;
    uint64_t first = 0;
    uint64_t second = 0;
    uint64_t answer = 0;
    std::string text = {};

    bool operator==(const HostCall &other) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const HostCall &call) {
    static const char *const kNames[] = {"allocate", "release",      "initMutex", "lock",
                                         "unlock",   "destroyMutex", "currSec",   "currTime",
                                         "print",    "diag",         "hash"};
    return out << kNames[static_cast<int>(call.kind)] << " " << call.first << ", " << call.second
               << " -> " << call.answer << " \"" << call.text << "\"";
}

// The host's side, decided by a seed: what the services answer depends on nothing but the calls
// made so far. Two of them with one seed, one behind the library and one behind the model, answer
// alike as long as they are asked alike. Blocks are numbers here, 0 is the null pointer.
class HostScript {
  public:
    explicit HostScript(uint64_t seed) : random_(seed) {}

    // --- knobs, turned alike on both sides
    bool hasMemory = true;
    bool hasPrint = true;
    bool hasDiag = true;
    bool hasMutexes = true;
    bool hasSeconds = true;
    bool hasTime = true;
    bool hasHash = false;    // a hash function of the host in place of the library's
    uint32_t hashCodes = 5;  // it spreads texts over that many codes, 0 among them
    bool hashFails = false;  // now and then
    uint32_t now = 0;
    uint32_t largestTick = 0;       // each reading of the clock moves it by at most that
    uint64_t failAllocationIn = 0;  // 1: the next one
    bool failFromThenOn = false;
    uint32_t unlockAnswer = 0;
    bool timeWritesLittle = false;  // the time hook leaves its outputs alone now and then

    std::vector<HostCall> calls;

    // --- services
    uint64_t Allocate(uint32_t mid, uint32_t size) {
        if (!hasMemory || size == 0) {
            return 0;
        }
        bool fails = size > 0x10000000U;
        if (failAllocationIn > 0) {
            if (failAllocationIn == 1) {
                fails = true;
            }
            if (failAllocationIn > 1 || !failFromThenOn) {
                --failAllocationIn;
            }
        }
        const uint64_t block = fails ? 0 : ++blocks_;
        if (block != 0) {
            live_.insert(block);
        }
        calls.push_back({HostCall::Kind::kAllocate, mid, size, block});
        return block;
    }

    void Release(uint64_t block) {
        if (hasMemory) {
            calls.push_back({HostCall::Kind::kRelease, block, live_.erase(block)});
        }
    }

    // The handle for the type's element; 0: none is stored.
    uint64_t InitMutex(uint64_t element, uint64_t option) {
        if (!hasMutexes) {
            return 0;
        }
        const uint64_t handle = 1000 + ++mutexes_;
        calls.push_back({HostCall::Kind::kInitMutex, element, option, handle});
        return handle;
    }

    void Lock(uint64_t handle) {
        if (hasMutexes) {
            calls.push_back({HostCall::Kind::kLock, handle});
        }
    }

    uint32_t Unlock(uint64_t handle) {
        if (!hasMutexes) {
            return 0;
        }
        calls.push_back({HostCall::Kind::kUnlock, handle, 0, unlockAnswer});
        return unlockAnswer;
    }

    void DestroyMutex(uint64_t handle) {
        if (hasMutexes) {
            calls.push_back({HostCall::Kind::kDestroyMutex, handle});
        }
    }

    uint32_t CurrSec() {
        if (!hasSeconds) {
            return 0;
        }
        Tick();
        calls.push_back({HostCall::Kind::kCurrSec, 0, 0, now});
        return now;
    }

    void CurrTime(char *text, uint32_t size, uint32_t *sec) {
        if (!hasTime) {
            return;
        }
        Tick();
        calls.push_back({HostCall::Kind::kCurrTime, size, *sec, now});
        const uint32_t style = timeWritesLittle ? Random() % 5 : 3;
        if (style == 0) {
            return;
        }
        if (style != 1) {
            *sec = now;
        }
        if (style != 2) {
            char whole[64];
            std::snprintf(whole, sizeof(whole), "%u seconds since it was begun, or more", now);
            const uint32_t length = std::min(size - 1, now % 47);
            std::memcpy(text, whole, length);
            text[length] = '\0';
        }
    }

    void Print(uint32_t level, const char *format, const std::string &text) {
        if (hasPrint) {
            calls.push_back(
                {HostCall::Kind::kPrint, level, 0, 0, std::string(format) + "|" + text});
        }
    }

    void Diag(const std::string &text) {
        if (hasDiag) {
            calls.push_back({HostCall::Kind::kDiag, 0, 0, 0, text});
        }
    }

    uint32_t Hash(std::string_view text, uint32_t *hash) {
        const uint32_t answer = hashFails && Random() % 3 == 0 ? Random() : 0;
        calls.push_back({HostCall::Kind::kHash, *hash, 0, answer, std::string(text)});
        uint32_t sum = 7;
        for (const char byte : text) {
            sum = sum * 17 + static_cast<unsigned char>(byte);
        }
        *hash = sum % hashCodes;
        return answer;
    }

    [[nodiscard]] size_t LiveBlocks() const { return live_.size(); }

  private:
    uint32_t Random() { return static_cast<uint32_t>(random_()); }

    void Tick() {
        if (largestTick != 0) {
            now += static_cast<uint32_t>(random_() % (uint64_t{largestTick} + 1));
        }
    }

    std::mt19937 random_;
    uint64_t blocks_ = 0;
    uint64_t mutexes_ = 0;
    std::set<uint64_t> live_;
};

struct ModelRing {
    uint32_t curIndex = 0;
    uint32_t curSize = 0;
    uint32_t capacity = 0;
    uint64_t block = 0;  // 0: no storage
    std::vector<DxrLogFilterEntry> entries;
};

class LogFilterModel {
  public:
    explicit LogFilterModel(HostScript *host) : host_(*host) {}

    uint64_t block = 0;  // of the 29 records; 0: no store
    std::array<ModelRing, kModelTypes> rings;
    std::array<uint64_t, kModelTypes> mutexes = {};
    uint8_t on = 1;
    uint32_t mid = 9;
    uint32_t hashFuncId = 0;
    // Which situations were met, and how often.
    std::map<std::string_view, uint64_t> met;

    // --- store

    uint32_t Init(uint32_t newMid) {
        if (block == 0) {
            const uint64_t allocated = host_.Allocate(newMid, 29 * 20);
            if (allocated == 0) {
                ++met["failed init"];
                Print(1, "log filter init failed, module[%u]", newMid);
                return 1;
            }
            block = allocated;
            mid = newMid;
            rings = {};
            for (uint32_t type = 0; type < kModelTypes; ++type) {
                if (const uint64_t handle = host_.InitMutex(type, 0)) {
                    mutexes[type] = handle;
                }
            }
        }
        Print(6, "log filter init success, module[%u]", mid);
        return 0;
    }

    void Destroy() {
        for (uint32_t type = 0; type < kModelTypes; ++type) {
            host_.Lock(mutexes[type]);
            if (block != 0 && rings[type].block != 0) {
                host_.Release(rings[type].block);
            }
            host_.Unlock(mutexes[type]);
            host_.DestroyMutex(mutexes[type]);
        }
        rings = {};
        host_.Release(block);
        block = 0;
        Print(6, "log filter destroy success");
    }

    ModelRing *Get(uint32_t type) { return type > 28 || block == 0 ? nullptr : &rings[type]; }

    static uint32_t SimpleHash(std::string_view text, uint32_t *hash) {
        if (text.data() == nullptr || text.empty()) {
            return 1;
        }
        uint32_t h = 0;
        for (const char c : text) {
            h = h * 31 + static_cast<uint8_t>(c);
        }
        *hash = h;
        return 0;
    }

    uint32_t HashCode(uint32_t id, std::string_view text) {
        if (id != hashFuncId) {
            Print(1, "get hash code funcId error, hashFuncId[%u].", id);
            return 0;
        }
        uint32_t hash = 0;
        const uint32_t result = host_.hasHash ? host_.Hash(text, &hash) : SimpleHash(text, &hash);
        if (result != 0) {
            Print(1, "get hash code error, hashFuncId[%u] strLen[%u] ret[%#x]", hashFuncId,
                  static_cast<uint32_t>(text.size()), result);
            return 0;
        }
        return hash;
    }

    // --- one ring

    void UpdateCapacity(ModelRing *ring) {
        if (ring->capacity <= 1024 && ring->capacity <= ring->curSize + 1) {
            Resize(ring, ring->capacity * 2 + 1);
        }
    }

    void Resize(ModelRing *ring, uint32_t capacity) {
        const uint64_t bytes = uint64_t{capacity} * 64;
        const uint64_t storage =
            bytes > UINT32_MAX ? 0 : host_.Allocate(mid, static_cast<uint32_t>(bytes));
        if (storage == 0) {
            Print(1, "log filter capacity malloc error, newLogInfoCapacity[%u].", capacity);
            ++met[ring->block != 0 ? "failed growth" : "failed first growth"];
            return;
        }
        if (ring->curSize > 0 && ring->curIndex + ring->curSize > ring->capacity) {
            ++met[capacity > ring->capacity ? "growth of a wrapped ring"
                                            : "shrinking of a wrapped ring"];
        }
        std::vector<DxrLogFilterEntry> entries(capacity, DxrLogFilterEntry{});
        if (ring->block != 0) {
            for (uint32_t i = 0; i < ring->capacity && i < capacity; ++i) {
                entries[i] = ring->entries[i];
            }
            host_.Release(ring->block);
        }
        ring->capacity = capacity;
        ring->entries = entries;
        ring->block = storage;
    }

    void RemoveObsolete(ModelRing *ring) {
        const uint32_t now = host_.CurrSec();
        uint32_t removed = 0;
        uint32_t position = 0;
        while (removed != ring->curSize) {
            position = (ring->curIndex + removed) % ring->capacity;
            if (ring->entries[position].beginSec + 3600 > now) {
                break;
            }
            ring->entries[position].state = 0;
            ++removed;
        }
        if (removed > 0) {
            ++met[removed == ring->curSize ? "all entries aged" : "some entries aged"];
        }
        ring->curIndex = position;
        ring->curSize -= removed;
    }

    void Add(ModelRing *ring, uint32_t hash, uint32_t key1) {
        UpdateCapacity(ring);
        if (ring->capacity == 0) {
            ++met["nothing stored"];
            return;
        }
        const uint32_t position = (ring->curIndex + ring->curSize) % ring->capacity;
        DxrLogFilterEntry &entry = ring->entries[position];
        uint32_t sec = 0;
        host_.CurrTime(entry.logBeginTime, 39, &sec);
        entry.beginSec = sec;
        entry.lastSec = sec;
        entry.logHashCode = hash;
        entry.state = 1;
        entry.logCnt = 0;
        entry.key1 = key1;
        if (ring->curSize < ring->capacity) {
            ++ring->curSize;
        } else {
            ++met[ring->capacity == 2047 ? "oldest of the largest ring overwritten"
                                         : "oldest of a smaller ring overwritten"];
            ring->curIndex = (ring->curIndex + 1) % ring->capacity;
        }
    }

    [[nodiscard]] static uint32_t Find(const ModelRing &ring, uint32_t hash) {
        for (uint32_t i = 0; i < ring.curSize && ring.capacity != 0; ++i) {
            const uint32_t position = (ring.curIndex + i) % ring.capacity;
            if (ring.entries[position].logHashCode == hash) {
                return position;
            }
        }
        return ring.capacity;
    }

    static void UpdateInfo(uint32_t position, ModelRing *ring) {
        if (position < ring->capacity) {
            ++ring->entries[position].logCnt;
        }
    }

    void UpdateTime(uint32_t position, ModelRing *ring) {
        if (position < ring->capacity) {
            ring->entries[position].lastSec = host_.CurrSec();
        }
    }

    uint8_t IsRepeated(const DxrLogFilterCfg *cfg, std::string_view text) {
        if (on == 0 || cfg == nullptr) {
            return 0;
        }
        const uint32_t hash = HashCode(0, text);
        if (hash == 0) {
            ++met["hash of zero"];
            return 0;
        }
        ModelRing *ring = Get(cfg->logType);
        if (ring == nullptr) {
            return 0;
        }
        host_.Lock(mutexes[cfg->logType]);
        RemoveObsolete(ring);
        const uint32_t position = Find(*ring, hash);
        uint8_t repeated = 0;
        if (position == ring->capacity) {
            ++met["new line"];
            Add(ring, hash, cfg->key1);
        } else if (cfg->interval != 0 &&
                   host_.CurrSec() >= ring->entries[position].lastSec + cfg->interval) {
            ++met["line let through again"];
            UpdateTime(position, ring);
        } else {
            ++met["line suppressed"];
            UpdateInfo(position, ring);
            repeated = 1;
        }
        host_.Unlock(mutexes[cfg->logType]);
        return repeated;
    }

    // --- front end. Messages come formatted, whole.

    void SameLog(const DxrLogFilterCfg *cfg, const std::string &message) {
        if (cfg == nullptr) {
            return;
        }
        const std::string cut = message.substr(0, 1023);
        if (IsRepeated(cfg, cut) == 0) {
            host_.Diag(cut);
        }
    }

    void DiffLog(const DxrLogFilterCfg *cfg, const std::string &message) {
        if (cfg == nullptr) {
            return;
        }
        if (IsRepeated(cfg, Key(cfg->logType, cfg->key1, cfg->key2, cfg->key3, cfg->key4)) == 0) {
            host_.Diag(message.substr(0, 1023));
        }
    }

    uint8_t IsSameKey(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        const DxrLogFilterCfg cfg{26, 0, 0, 0, 0, 0};
        return IsRepeated(&cfg, Key(26, a, b, c, d));
    }

    uint32_t Clear(uint32_t type) {
        if (type > 28) {
            return 0;
        }
        host_.Lock(mutexes[type]);
        if (ModelRing *ring = Get(type)) {
            ring->curIndex = 0;
            ring->curSize = 0;
        }
        return host_.Unlock(mutexes[type]);
    }

    // The buffer is as long as the string; what is not written keeps its bytes.
    uint32_t Show(const DxrLogFilterCfg *cfg, std::string *buffer, uint32_t *length) {
        if (cfg == nullptr || buffer == nullptr || length == nullptr) {
            return 0;
        }
        ModelRing *ring = Get(cfg->logType);
        if (ring == nullptr) {
            return 0;
        }
        host_.Lock(mutexes[cfg->logType]);
        RemoveObsolete(ring);
        Combine(*cfg, *ring, buffer, length);
        return host_.Unlock(mutexes[cfg->logType]);
    }

    void Combine(const DxrLogFilterCfg &cfg, const ModelRing &ring, std::string *buffer,
                 uint32_t *length) const {
        const char *separator =
            "------+-------+--------------------------+---------------------------------+"
            "----------+---------------+--------\r\n";
        const auto size = static_cast<uint32_t>(buffer->size());
        uint32_t offset = 0;
        Write(buffer, &offset,
              "logtype[%u], curIndex[%u], curSize[%u], capacity[%u] switchState[%u]\r\n",
              cfg.logType, ring.curIndex, ring.curSize, ring.capacity, on);
        Write(buffer, &offset, "%s", separator);
        Write(buffer, &offset,
              "Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n");
        Write(buffer, &offset, "%s", separator);
        // The only liberty taken: where not one more character fits, the remaining rows change
        // nothing.
        for (uint32_t i = 0; i < cfg.key2 && ring.capacity != 0 && offset + 1 < size; ++i) {
            const uint32_t position = (cfg.key1 + i) % ring.capacity;
            const DxrLogFilterEntry &entry = ring.entries[position];
            Write(buffer, &offset, "  %-3u    %s    %-23s     0x%-11x   %u\r\n", position,
                  entry.state != 0 ? "CUR" : "HIS", entry.logBeginTime, entry.logHashCode,
                  entry.logCnt);
        }
        Write(buffer, &offset, "%s", separator);
        *length = offset;
    }

  private:
    static std::string Key(uint32_t type, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        return std::to_string(type) + std::to_string(a) + std::to_string(b) + std::to_string(c) +
               std::to_string(d);
    }

    [[gnu::format(printf, 3, 4)]] void Print(uint32_t level, const char *format, ...) {
        char text[256];
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        host_.Print(level, format, text);
    }

    // Whole pieces are made first and then cut to what is left of the buffer.
    [[gnu::format(printf, 3, 4)]] static void Write(std::string *buffer, uint32_t *offset,
                                                    const char *format, ...) {
        char piece[512];
        std::va_list args;
        va_start(args, format);
        const int length = std::vsnprintf(piece, sizeof(piece), format, args);
        va_end(args);
        const size_t room = buffer->size() - *offset;
        if (room == 0) {
            return;
        }
        const size_t stored = std::min(static_cast<size_t>(length), room - 1);
        std::memcpy(buffer->data() + *offset, piece, stored);
        (*buffer)[*offset + stored] = '\0';
        *offset += static_cast<uint32_t>(stored);
    }

    HostScript &host_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_MODEL_PRINT_LOG_FILTER_MODEL_H
