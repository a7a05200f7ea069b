// The log filter beside a naive one, with clocks that step, hooks that come back to it, empty slots
// and allocations that fail.
//
// Library and model have a host each, and the two hosts are alike: what a hook answers, and what it
// does to the filter, follows from the operations so far. Each host writes down every call with its
// arguments, every answer of the filter too; after each operation both notes and all rings must be
// equal.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "dxr/print_log_filter.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kTypes = DXR_LOG_FILTER_TYPE_NUM;
constexpr uint32_t kOwn = kTypes;  // in the place of a type: a record of the caller's
constexpr std::string_view kTerminator("\0", 1);
constexpr uint32_t kMostBytes = 4096 * sizeof(DxrLogFilterEntry);

enum Hook : uint8_t {
    kAllocate,
    kRelease,
    kSec,
    kTime,
    kPrint,
    kDiag,
    kLock,
    kUnlock,
    kHash,
    kHooks,
};

enum class Kind : uint8_t {
    kDecide,
    kSameLog,
    kDiffLog,
    kSameKey,
    kClear,
    kShow,
    kInit,
    kDestroy,
    kEnable,
    kResize,
    kGrow,
    kAge,
    kAdd,
    kFind,
    kCount,
    kLetThrough,
    kHashAlone,
    kKinds,
};

struct Operation {
    Kind kind = Kind::kDecide;
    uint32_t type = 0;
    uint32_t line = 0;  // which text, hash or position
    uint32_t number = 0;
    DxrLogFilterCfg cfg = {};
};

struct Text {
    char bytes[32];
    uint32_t length;
};

Text LineText(uint32_t line) {
    Text text = {};
    if (line == 0) {
        return text;
    }
    if (line == 1) {  // its hash is 0
        text.length = 1;
        return text;
    }
    for (; line != 0; line /= 7) {
        text.bytes[text.length++] =
            static_cast<char>(line % 2 == 0 ? 'a' + line % 7 : 0xE0 + line % 7);
    }
    return text;
}

uint32_t PlainHash(const char *text, uint32_t length) {
    uint32_t hash = 0;
    for (uint32_t i = 0; i < length; ++i) {
        hash = hash * 31 + static_cast<uint8_t>(text[i]);
    }
    return hash;
}

class Filter;

// One host. Blocks and mutexes are numbers in its notes.
class LogHost {
  public:
    uint32_t now = 0;
    uint32_t step = 0;  // each reading of a clock moves it
    uint32_t failIn = 0;
    bool failOn = false;  // all allocations from that one on
    uint32_t unlockAnswer = 0;
    uint32_t timeStyle = 0;    // what the time hook writes
    uint32_t hashStyle = 0;    // 0: the library's own function; else the host's
    uint32_t hookMask = 0x3F;  // which slots are filled
    std::array<bool, kHooks> armed = {};
    std::array<Operation, kHooks> pending = {};
    std::vector<uint32_t> notes;
    uint32_t blocks = 0;
    uint32_t mutexes = 0;
    int32_t live = 0;
    Filter *filter = nullptr;

    void Reset(Filter *of) {
        std::vector<uint32_t> kept = std::move(notes);
        kept.clear();
        *this = LogHost();
        notes = std::move(kept);
        filter = of;
    }

    [[nodiscard]] bool Has(uint32_t bit) const { return (hookMask >> bit & 1) != 0; }
    void Note(uint32_t value) { notes.push_back(value); }
    void NoteText(const char *text, size_t length) {
        Note(static_cast<uint32_t>(length));
        Note(PlainHash(text, static_cast<uint32_t>(length)));
    }

    void ComeBack(Hook hook);

    // The number of the block; 0: there is none.
    uint32_t Allocate(uint32_t mid, uint32_t size) {
        if (!Has(0) || size == 0) {
            return 0;
        }
        Note(0xA110C);
        Note(mid);
        Note(size);
        ComeBack(kAllocate);
        if (failIn == 1) {
            failIn = failOn ? 1 : 0;
            return 0;
        }
        failIn -= failIn != 0 ? 1 : 0;
        if (size > kMostBytes) {
            return 0;
        }
        ++live;
        return ++blocks;
    }

    void Release(uint32_t block) {
        if (!Has(0)) {
            return;
        }
        Note(0xF4EE);
        Note(block);
        live -= block != 0 ? 1 : 0;
        ComeBack(kRelease);
    }

    uint32_t InitMutex(uint32_t type) {
        if (!Has(1)) {
            return 0;
        }
        Note(0x111);
        Note(type);
        return 1000 + ++mutexes;
    }
    void DestroyMutex(uint32_t mutex) { Mutex(0x222, mutex); }
    void Lock(uint32_t mutex) {
        if (Mutex(0x333, mutex)) {
            ComeBack(kLock);
        }
    }
    uint32_t Unlock(uint32_t mutex) {
        if (!Mutex(0x444, mutex)) {
            return 0;
        }
        ComeBack(kUnlock);
        return unlockAnswer;
    }

    uint32_t Sec() {
        if (!Has(2)) {
            return 0;
        }
        now += step;
        Note(0x5EC);
        Note(now);
        const uint32_t read = now;
        ComeBack(kSec);
        return read;
    }

    void Time(char *text, uint32_t size, uint32_t *sec) {
        if (!Has(3)) {
            return;
        }
        now += step;
        Note(0x71E);
        Note(size);
        Note(*sec);
        const uint32_t style = timeStyle & 3;
        if (style != 1) {
            *sec = now;
        }
        if (style != 2) {
            const uint32_t length = now % 39;
            std::memset(text, 'a' + static_cast<int>(now % 26), length);
            text[length] = '\0';
        }
        ComeBack(kTime);
    }

    void Print(uint32_t level, const char *text) {
        if (!Has(4)) {
            return;
        }
        Note(0x9111);
        Note(level);
        NoteText(text, std::strlen(text));
        ComeBack(kPrint);
    }

    void Diag(const char *text, size_t length) {
        if (!Has(5)) {
            return;
        }
        Note(0xD1A6);
        NoteText(text, length);
        ComeBack(kDiag);
    }

    uint32_t Hash(const char *text, uint32_t length, uint32_t *hash) {
        Note(0x4A54);
        NoteText(text, length);
        Note(*hash);
        *hash = PlainHash(text, length) % (hashStyle * 3);
        const uint32_t answer = hashStyle > 200 ? *hash & 1 : 0;
        ComeBack(kHash);
        return answer;
    }

  private:
    bool Mutex(uint32_t what, uint32_t mutex) {
        if (!Has(1)) {
            return false;
        }
        Note(what);
        Note(mutex);
        return true;
    }
};

// The filter as its host drives it: the library, or the model.
class Filter {
  public:
    Filter() = default;
    virtual ~Filter() = default;
    Filter(const Filter &) = delete;
    Filter &operator=(const Filter &) = delete;

    virtual void Do(const Operation &operation) = 0;

    LogHost host;
};

void LogHost::ComeBack(Hook hook) {
    if (armed[hook]) {
        armed[hook] = false;
        filter->Do(pending[hook]);
    }
}

// --- the library

struct BlockHead {
    uint64_t number;
    uint64_t size;
};

class Library final : public Filter {
  public:
    void Reset() {
        host.Reset(this);
        own = {};
        g_dxrLogFilterInfo = nullptr;
        std::memset(g_dxrLogFilterMutex, 0, sizeof(g_dxrLogFilterMutex));
        g_dxrLogFilterSwitch = 1;
        g_dxrLogFilterMid = 9;
        Install();
    }

    // All memory back, whatever the slots are then.
    void Finish() {
        host.hookMask = 0x3F;
        host.armed = {};
        Install();
        DXR_DestroyLogFilter();
        DXR_Free(own.entries, "", 0);
        own = {};
        DXR_FUZZ_SAME(host.live == 0);
    }

    void Install() {
        g_dxrHooks = DxrHooks{};
        DXR_SetMemoryHooks(host.Has(0) ? AllocateHook : nullptr,
                           host.Has(0) ? ReleaseHook : nullptr);
        if (host.Has(1)) {
            g_dxrHooks.task.initMutex = InitMutexHook;
            g_dxrHooks.task.destroyMutex = DestroyMutexHook;
            g_dxrHooks.task.lockMutex = LockHook;
            g_dxrHooks.task.unlockMutex = UnlockHook;
        }
        g_dxrHooks.time.getCurrSec = host.Has(2) ? SecHook : nullptr;
        g_dxrHooks.time.getCurrTime = host.Has(3) ? TimeHook : nullptr;
        g_dxrHooks.print.print = host.Has(4) ? PrintHook : nullptr;
        g_dxrHooks.print.diagLogFilter = host.Has(5) ? DiagHook : nullptr;
        g_dxrLogFilterHashFuncList[0].func = host.hashStyle != 0 ? HashHook : DXR_SimpleHash;
    }

    [[nodiscard]] static uint32_t NumberOf(const void *block) {
        return block == nullptr ? 0 : static_cast<uint32_t>(HeadOf(block)->number);
    }

    DxrLogFilterInfo *Record(uint32_t type) { return type == kOwn ? &own : DXR_GetLogFilter(type); }

    void Do(const Operation &op) override {
        const Text text = LineText(op.line);
        const uint32_t hash = PlainHash(text.bytes, text.length);
        DxrLogFilterInfo *const record = Record(op.type);
        switch (op.kind) {
            case Kind::kDecide: {
                // A block that ends with the text: nobody reads on.
                const std::vector<char> exact(text.bytes, text.bytes + text.length);
                host.Note(DXR_IsRepeatedLog(&op.cfg, exact.data(), text.length));
                break;
            }
            case Kind::kSameLog:
                DXR_SameLogFilter(&op.cfg, "%s%u", text.bytes, op.number);
                break;
            case Kind::kDiffLog:
                DXR_DiffLogFilter(&op.cfg, "%.*s", static_cast<int>(text.length), text.bytes);
                break;
            case Kind::kSameKey:
                host.Note(DXR_IsSameKey(op.cfg.key1, op.cfg.key2, op.cfg.key3, op.cfg.key4));
                break;
            case Kind::kClear:
                host.Note(DXR_ClearLogFilterInfo(op.type));
                break;
            case Kind::kShow:
                Show(op);
                break;
            case Kind::kInit:
                host.Note(DXR_InitLogFilter(op.number));
                break;
            case Kind::kDestroy:
                DXR_DestroyLogFilter();
                break;
            case Kind::kEnable:
                DXR_EnableLogFilter(static_cast<uint8_t>(op.number));
                host.Note(DXR_IsLogFilterEnable());
                break;
            case Kind::kHashAlone:
                host.Note(DXR_GetHashCode(op.number & 1, text.bytes, text.length));
                break;
            default:
                if (record != nullptr) {
                    OnRecord(op, record, hash);
                }
                break;
        }
    }

    DxrLogFilterInfo own = {};

  private:
    void OnRecord(const Operation &op, DxrLogFilterInfo *record, uint32_t hash) {
        switch (op.kind) {
            case Kind::kResize:
                DXR_ResizeLogFilterInfo(record, op.number);
                break;
            case Kind::kGrow:
                DXR_UpdateLogFilterCapacity(record);
                break;
            case Kind::kAge:
                DXR_RemoveObsoleteLogFilterInfo(record);
                break;
            case Kind::kAdd:
                DXR_AddLogFilterInfo(record, hash, op.number);
                break;
            case Kind::kFind:
                host.Note(DXR_FindRepeatedLogInfoIndex(record, hash));
                break;
            case Kind::kCount:
                DXR_UpdateLogFilterInfo(op.number, record);
                break;
            default:
                DXR_UpdateLogFilterTime(op.number, record);
                break;
        }
    }

    void Show(const Operation &op) {
        const ExactBuffer buffer(op.number);
        uint32_t length = 0xBEEF;
        host.Note(DXR_ShowLogFilterInfo(&op.cfg, buffer.Data(), &length, buffer.Size()));
        host.Note(length);
        if (buffer.IsUntouched()) {
            host.Note(0);
        } else {
            host.NoteText(buffer.Data(), strnlen(buffer.Data(), buffer.Size()));
        }
    }

    static BlockHead *HeadOf(const void *block) {
        return const_cast<BlockHead *>(static_cast<const BlockHead *>(block)) - 1;
    }

    static void *AllocateHook(uint32_t mid, uint32_t size, const char *, uint32_t);
    static void ReleaseHook(void *block, const char *, uint32_t);
    static uint32_t InitMutexHook(void **mutex, void *option);
    static uint32_t DestroyMutexHook(void *mutex);
    static uint32_t LockHook(void *mutex);
    static uint32_t UnlockHook(void *mutex);
    static uint32_t SecHook();
    static void TimeHook(char *text, uint32_t size, uint32_t *sec);
    [[gnu::format(printf, 2, 3)]] static void PrintHook(uint32_t level, const char *format, ...);
    static uint32_t DiagHook(const char *text);
    static uint32_t HashHook(const DxrLogFilterHashInput *input, uint32_t *hash);
};

Library g_library;

uint32_t HandleOf(void *mutex) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(mutex));
}

void *Library::AllocateHook(uint32_t mid, uint32_t size, const char *, uint32_t) {
    const uint32_t number = g_library.host.Allocate(mid, size);
    if (number == 0) {
        return nullptr;
    }
    auto *const head = static_cast<BlockHead *>(std::malloc(sizeof(BlockHead) + size));
    *head = {number, size};
    std::memset(head + 1, 0xA5, size);
    return head + 1;
}

void Library::ReleaseHook(void *block, const char *, uint32_t) {
    // Told first, freed then: a hook that comes back may not find it anywhere.
    g_library.host.Release(NumberOf(block));
    if (block != nullptr) {
        std::free(HeadOf(block));
    }
}

uint32_t Library::InitMutexHook(void **mutex, void *) {
    const auto type = static_cast<uint32_t>(mutex - g_dxrLogFilterMutex);
    *mutex = reinterpret_cast<void *>(uintptr_t{g_library.host.InitMutex(type)});
    return 1;
}

uint32_t Library::DestroyMutexHook(void *mutex) {
    g_library.host.DestroyMutex(HandleOf(mutex));
    return 1;
}

uint32_t Library::LockHook(void *mutex) {
    g_library.host.Lock(HandleOf(mutex));
    return 1;
}

uint32_t Library::UnlockHook(void *mutex) {
    return g_library.host.Unlock(HandleOf(mutex));
}

uint32_t Library::SecHook() {
    return g_library.host.Sec();
}

void Library::TimeHook(char *text, uint32_t size, uint32_t *sec) {
    g_library.host.Time(text, size, sec);
}

void Library::PrintHook(uint32_t level, const char *format, ...) {
    char text[256];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    g_library.host.Print(level, text);
}

uint32_t Library::DiagHook(const char *text) {
    g_library.host.Diag(text, std::strlen(text));
    return 3;
}

uint32_t Library::HashHook(const DxrLogFilterHashInput *input, uint32_t *hash) {
    return g_library.host.Hash(input->text, input->length, hash);
}

// --- the model

struct ModelRing {
    uint32_t curIndex = 0;
    uint32_t curSize = 0;
    uint32_t capacity = 0;
    uint32_t block = 0;  // 0: no storage
    std::vector<DxrLogFilterEntry> entries;

    [[nodiscard]] bool HasStorage() const { return capacity != 0 && block != 0; }
    [[nodiscard]] uint32_t Position(uint32_t i) const { return (curIndex + i) % capacity; }
};

class Model final : public Filter {
  public:
    uint32_t store = 0;  // its block; 0: absent
    std::array<ModelRing, kTypes> rings;
    std::array<uint32_t, kTypes> mutexes = {};
    ModelRing own;
    uint8_t on = 1;
    uint32_t mid = 9;

    void Reset() {
        host.Reset(this);
        store = 0;
        for (ModelRing &ring : rings) {
            Empty(&ring);
        }
        Empty(&own);
        mutexes = {};
        on = 1;
        mid = 9;
    }

    ModelRing *Ring(uint32_t type) {
        if (type == kOwn) {
            return &own;
        }
        return type < kTypes && store != 0 ? &rings[type] : nullptr;
    }

    void Do(const Operation &op) override {
        const Text text = LineText(op.line);
        const uint32_t hash = PlainHash(text.bytes, text.length);
        switch (op.kind) {
            case Kind::kDecide:
                host.Note(IsRepeated(op.cfg, text.bytes, text.length));
                break;
            case Kind::kSameLog:
                SameLog(op, text);
                break;
            case Kind::kDiffLog:
                DiffLog(op, text);
                break;
            case Kind::kSameKey:
                host.Note(IsSameKey(op.cfg));
                break;
            case Kind::kClear:
                host.Note(Clear(op.type));
                break;
            case Kind::kShow:
                Show(op);
                break;
            case Kind::kInit:
                host.Note(Init(op.number));
                break;
            case Kind::kDestroy:
                Destroy();
                break;
            case Kind::kEnable:
                on = static_cast<uint8_t>(op.number);
                host.Note(on);
                break;
            case Kind::kHashAlone:
                host.Note(HashCode(op.number & 1, text.bytes, text.length));
                break;
            default:
                if (Ring(op.type) != nullptr) {
                    OnRecord(op, hash);
                }
                break;
        }
    }

  private:
    static void Empty(ModelRing *ring) {
        ring->curIndex = ring->curSize = ring->capacity = ring->block = 0;
        ring->entries.clear();
    }

    void OnRecord(const Operation &op, uint32_t hash) {
        switch (op.kind) {
            case Kind::kResize:
                Resize(op.type, op.number);
                break;
            case Kind::kGrow:
                Grow(op.type);
                break;
            case Kind::kAge:
                Age(op.type, host.Sec());
                break;
            case Kind::kAdd:
                Add(op.type, hash, op.number);
                break;
            case Kind::kFind:
                host.Note(Find(*Ring(op.type), hash));
                break;
            case Kind::kCount:
                Count(op.type, op.number);
                break;
            default:
                LetThrough(op.type, op.number);
                break;
        }
    }

    void Print(uint32_t level, const char *before, uint32_t number, const char *after) {
        text_.Clear();
        text_.Add(before).Number(number).Add(after).Add(kTerminator);
        host.Print(level, text_.View().data());
    }

    uint32_t Init(uint32_t newMid) {
        if (store == 0) {
            const uint32_t block = host.Allocate(newMid, kTypes * sizeof(DxrLogFilterInfo));
            if (block == 0) {
                Print(1, "log filter init failed, module[", newMid, "]");
                return 1;
            }
            if (store == 0) {
                mid = newMid;
                store = block;
                for (ModelRing &ring : rings) {
                    Empty(&ring);
                }
                for (uint32_t type = 0; type < kTypes; ++type) {
                    if (const uint32_t handle = host.InitMutex(type)) {
                        mutexes[type] = handle;
                    }
                }
            } else {
                host.Release(block);
            }
        }
        Print(6, "log filter init success, module[", mid, "]");
        return 0;
    }

    void Destroy() {
        for (uint32_t type = 0; type < kTypes; ++type) {
            host.Lock(mutexes[type]);
            if (ModelRing *ring = Ring(type)) {
                ReleaseStorage(ring);
            }
            host.Unlock(mutexes[type]);
            host.DestroyMutex(mutexes[type]);
        }
        const uint32_t block = store;
        store = 0;
        if (block != 0) {
            std::array<uint32_t, kTypes> left = {};
            for (uint32_t type = 0; type < kTypes; ++type) {
                left[type] = rings[type].block;
                Empty(&rings[type]);
            }
            for (const uint32_t storage : left) {
                if (storage != 0) {
                    host.Release(storage);
                }
            }
        }
        host.Release(block);
        host.Print(6, "log filter destroy success");
    }

    void ReleaseStorage(ModelRing *ring) {
        const uint32_t block = ring->block;
        ring->block = 0;
        ring->entries.clear();
        if (block != 0) {
            host.Release(block);
        }
    }

    uint32_t HashCode(uint32_t id, const char *text, uint32_t length) {
        if (id != 0) {
            Print(1, "get hash code funcId error, hashFuncId[", id, "].");
            return 0;
        }
        uint32_t hash = 0;
        uint32_t answer = 0;
        if (host.hashStyle != 0) {
            answer = host.Hash(text, length, &hash);
        } else if (length == 0) {
            answer = 1;
        } else {
            hash = PlainHash(text, length);
        }
        if (answer != 0) {
            text_.Clear();
            text_.Add("get hash code error, hashFuncId[0] strLen[").Number(length).Add("] ret[0x");
            text_.Hex(answer).Add("]").Add(kTerminator);
            host.Print(1, text_.View().data());
            return 0;
        }
        return hash;
    }

    // --- one ring. After each call of the host the ring is looked at anew.

    void Age(uint32_t type, uint32_t now) {
        ModelRing *const ring = Ring(type);
        if (ring == nullptr) {
            return;
        }
        uint32_t removed = 0;
        uint32_t position = 0;
        while (removed != ring->curSize && ring->HasStorage()) {
            position = ring->Position(removed);
            if (ring->entries[position].beginSec + 3600 > now) {
                break;
            }
            ring->entries[position].state = 0;
            ++removed;
        }
        ring->curIndex = position;
        ring->curSize -= removed;
    }

    static uint32_t Find(const ModelRing &ring, uint32_t hash) {
        for (uint32_t i = 0; ring.HasStorage() && i < ring.curSize; ++i) {
            if (ring.entries[ring.Position(i)].logHashCode == hash) {
                return ring.Position(i);
            }
        }
        return ring.capacity;
    }

    void Grow(uint32_t type) {
        const ModelRing *const ring = Ring(type);
        if (ring != nullptr && ring->capacity <= 1024 && ring->capacity <= ring->curSize + 1) {
            Resize(type, ring->capacity * 2 + 1);
        }
    }

    void Resize(uint32_t type, uint32_t capacity) {
        const uint64_t bytes = uint64_t{capacity} * sizeof(DxrLogFilterEntry);
        const uint32_t block =
            bytes > UINT32_MAX ? 0 : host.Allocate(mid, static_cast<uint32_t>(bytes));
        if (block == 0) {
            Print(1, "log filter capacity malloc error, newLogInfoCapacity[", capacity, "].");
            return;
        }
        ModelRing *const ring = Ring(type);
        if (ring == nullptr) {
            host.Release(block);
            return;
        }
        const uint32_t old = ring->block;
        if (old == 0) {
            ring->entries.clear();
        }
        ring->entries.resize(std::min(ring->entries.size(), size_t{capacity}));
        ring->entries.resize(capacity, DxrLogFilterEntry{});
        ring->capacity = capacity;
        ring->block = block;
        if (old != 0) {
            host.Release(old);
        }
    }

    void Add(uint32_t type, uint32_t hash, uint32_t key1) {
        Grow(type);
        ModelRing *ring = Ring(type);
        if (ring == nullptr || !ring->HasStorage()) {
            return;
        }
        const uint32_t position = ring->Position(ring->curSize);
        DxrLogFilterEntry made = ring->entries[position];
        uint32_t sec = 0;
        host.Time(made.logBeginTime, 39, &sec);
        made.beginSec = made.lastSec = sec;
        made.logHashCode = hash;
        made.state = 1;
        made.logCnt = 0;
        made.key1 = key1;
        ring = Ring(type);
        if (ring == nullptr || ring->block == 0 || position >= ring->capacity) {
            return;
        }
        ring->entries[position] = made;
        if (ring->curSize < ring->capacity) {
            ++ring->curSize;
        } else {
            ring->curIndex = ring->Position(1);
        }
    }

    DxrLogFilterEntry *At(uint32_t type, uint32_t position) {
        ModelRing *const ring = Ring(type);
        return ring != nullptr && ring->block != 0 && position < ring->capacity
                   ? &ring->entries[position]
                   : nullptr;
    }

    void Count(uint32_t type, uint32_t position) {
        if (DxrLogFilterEntry *entry = At(type, position)) {
            ++entry->logCnt;
        }
    }

    void LetThrough(uint32_t type, uint32_t position) {
        if (At(type, position) == nullptr) {
            return;
        }
        const uint32_t now = host.Sec();
        if (DxrLogFilterEntry *entry = At(type, position)) {
            entry->lastSec = now;
        }
    }

    uint8_t IsRepeated(const DxrLogFilterCfg &cfg, const char *text, uint32_t length) {
        if (on == 0) {
            return 0;
        }
        const uint32_t hash = HashCode(0, text, length);
        const uint32_t type = cfg.logType;
        if (hash == 0 || type == kOwn || Ring(type) == nullptr) {
            return 0;
        }
        host.Lock(mutexes[type]);
        Age(type, host.Sec());
        uint8_t repeated = 0;
        const ModelRing *const ring = Ring(type);
        const uint32_t position = ring != nullptr ? Find(*ring, hash) : 0;
        if (ring == nullptr || position == ring->capacity) {
            Add(type, hash, cfg.key1);
        } else if (cfg.interval != 0 && IsDue(type, position, cfg.interval, host.Sec())) {
            LetThrough(type, position);
        } else {
            Count(type, position);
            repeated = 1;
        }
        host.Unlock(mutexes[type]);
        return repeated;
    }

    bool IsDue(uint32_t type, uint32_t position, uint32_t interval, uint32_t now) {
        const DxrLogFilterEntry *const entry = At(type, position);
        return entry == nullptr || now >= entry->lastSec + interval;
    }

    // --- the front end

    void SameLog(const Operation &op, const Text &text) {
        ModelText message;
        message.Clear();
        message.Add({text.bytes, strnlen(text.bytes, text.length)}).Number(op.number);
        const std::string_view view = message.View();
        if (IsRepeated(op.cfg, view.data(), static_cast<uint32_t>(view.size())) == 0) {
            host.Diag(view.data(), view.size());
        }
    }

    uint8_t IsRepeatedKey(const DxrLogFilterCfg &cfg) {
        char key[64];
        size_t length = 0;
        for (const uint32_t number : {cfg.logType, cfg.key1, cfg.key2, cfg.key3, cfg.key4}) {
            uint32_t divisor = 1;
            while (number / divisor >= 10) {
                divisor *= 10;
            }
            for (; divisor != 0; divisor /= 10) {
                key[length++] = static_cast<char>('0' + number / divisor % 10);
            }
        }
        return IsRepeated(cfg, key, static_cast<uint32_t>(length));
    }

    void DiffLog(const Operation &op, const Text &text) {
        if (IsRepeatedKey(op.cfg) == 0) {
            host.Diag(text.bytes, strnlen(text.bytes, text.length));
        }
    }

    uint8_t IsSameKey(const DxrLogFilterCfg &given) {
        DxrLogFilterCfg cfg = given;
        cfg.logType = 26;
        // The keys make the text; the entry's own key1 is that of the fixed configuration.
        char key[64];
        size_t length = 0;
        for (const uint32_t number : {26U, cfg.key1, cfg.key2, cfg.key3, cfg.key4}) {
            char digits[10];
            size_t count = 0;
            uint32_t rest = number;
            do {
                digits[count++] = static_cast<char>('0' + rest % 10);
                rest /= 10;
            } while (rest != 0);
            while (count != 0) {
                key[length++] = digits[--count];
            }
        }
        return IsRepeated({26, 0, 0, 0, 0, 0}, key, static_cast<uint32_t>(length));
    }

    uint32_t Clear(uint32_t type) {
        if (type >= kTypes) {
            return 0;
        }
        host.Lock(mutexes[type]);
        if (ModelRing *ring = Ring(type)) {
            ring->curIndex = ring->curSize = 0;
        }
        return host.Unlock(mutexes[type]);
    }

    void Show(const Operation &op) {
        const uint32_t type = op.cfg.logType;
        uint32_t length = 0xBEEF;
        uint32_t answer = 0;
        bool written = false;
        std::array<char, 4096> shown{};  // its own: the hooks may come back with another listing
        if (type != kOwn && Ring(type) != nullptr) {
            host.Lock(mutexes[type]);
            Age(type, host.Sec());
            if (const ModelRing *ring = Ring(type)) {
                Combine(op, *ring);
                const size_t whole = text_.View().size();
                written = op.number != 0;
                length = static_cast<uint32_t>(
                    op.number == 0 ? 0 : std::min(whole, size_t{op.number} - 1));
                std::memcpy(shown.data(), text_.View().data(), length);
            }
            answer = host.Unlock(mutexes[type]);
        }
        host.Note(answer);
        host.Note(length);
        if (written) {
            host.NoteText(shown.data(), strnlen(shown.data(), length));
        } else {
            host.Note(0);
        }
    }

    void Combine(const Operation &op, const ModelRing &ring) {
        static constexpr char kSeparator[] =
            "------+-------+--------------------------+---------------------------------+"
            "----------+---------------+--------\r\n";
        text_.Clear();
        text_.Add("logtype[").Number(op.cfg.logType).Add("], curIndex[").Number(ring.curIndex);
        text_.Add("], curSize[").Number(ring.curSize).Add("], capacity[").Number(ring.capacity);
        text_.Add("] switchState[").Number(on).Add("]\r\n").Add(kSeparator);
        text_.Add("Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n");
        text_.Add(kSeparator);
        for (uint32_t i = 0; ring.HasStorage() && i < op.cfg.key2; ++i) {
            if (text_.View().size() > op.number) {
                break;
            }
            const uint32_t position = (op.cfg.key1 + i) % ring.capacity;
            const DxrLogFilterEntry &entry = ring.entries[position];
            const size_t at = text_.View().size();
            text_.Add("  ").Number(position);
            Pad(at + 2 + 3);
            text_.Add(entry.state != 0 ? "    CUR    " : "    HIS    ");
            const size_t timeAt = text_.View().size();
            text_.Add(entry.logBeginTime);
            Pad(timeAt + 23);
            text_.Add("     0x");
            const size_t hashAt = text_.View().size();
            text_.Hex(entry.logHashCode);
            Pad(hashAt + 11);
            text_.Add("   ").Number(entry.logCnt).Add("\r\n");
        }
        text_.Add(kSeparator);
    }

    void Pad(size_t end) {
        const size_t size = text_.View().size();
        text_.Blanks(size < end ? end - size : 0);
    }

    ModelText text_;
};

Model g_model;

// --- a run

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        g_library.Reset();
        g_model.Reset();
        const uint8_t start = input_.Byte();
        const uint32_t now = (start & 3) == 0 ? 0 : (start & 3) == 1 ? UINT32_MAX - 4000 : 1000000;
        OnBoth([&](LogHost &host) {
            host.now = now;
            host.step = start >> 2 & 1;
        });
        if ((start & 0x80) == 0) {
            Operation init;
            init.kind = Kind::kInit;
            init.number = 5;
            Both(init);
        }
    }

    ~Run() { g_library.Finish(); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void Step() {
        const uint8_t choice = input_.Byte();
        if (choice < 150) {
            Both(Read(choice % 5 != 0));
        } else if (choice < 170) {
            const uint32_t steps[] = {1, 5, 59, 3599, 3600, 3601, 0U - 10, input_.Number()};
            const uint32_t step = steps[choice % 8];
            OnBoth([&](LogHost &host) { host.now += step; });
        } else if (choice < 215) {
            const auto hook = static_cast<Hook>(input_.Below(kHooks));
            const Operation operation = Read(choice % 2 == 0);
            OnBoth([&](LogHost &host) {
                host.armed[hook] = true;
                host.pending[hook] = operation;
            });
        } else if (choice < 222) {
            Burst();
        } else if (choice < 230) {
            const uint32_t failIn = 1 + input_.Below(4);
            OnBoth([&](LogHost &host) {
                host.failIn = failIn;
                host.failOn = choice % 2 == 0;
            });
        } else if (choice < 234) {
            OnBoth([&](LogHost &host) { host.failIn = 0; });
        } else if (choice < 240) {
            // Memory comes and goes as a whole: what the host gave it takes back.
            const uint8_t mask = input_.Byte();
            OnBoth([&](LogHost &host) { host.hookMask = mask | 1; });
            g_library.Install();
        } else if (choice < 246) {
            const uint8_t style = input_.Byte();
            OnBoth([&](LogHost &host) { host.hashStyle = (style & 1) != 0 ? style : 0; });
            g_library.Install();
        } else if (choice < 250) {
            const uint8_t style = input_.Byte();
            OnBoth([&](LogHost &host) { host.timeStyle = style; });
        } else {
            const uint32_t step = input_.Number();
            OnBoth([&](LogHost &host) {
                host.step = choice % 2 == 0 ? step : step & 3;
                host.unlockAnswer = step;
            });
        }
    }

  private:
    template <typename Action>
    static void OnBoth(Action action) {
        action(g_library.host);
        action(g_model.host);
    }

    uint32_t Type() {
        static constexpr uint32_t kSome[] = {0, 5, 26, 28, kOwn, 0, 5, 30};
        const uint8_t byte = input_.Byte();
        return byte < 0xF8 ? kSome[byte % 8] : byte < 0xFE ? 29 + byte : UINT32_MAX;
    }

    Operation Read(bool decision) {
        static constexpr Kind kDecisions[] = {Kind::kDecide, Kind::kDecide, Kind::kSameLog,
                                              Kind::kDiffLog, Kind::kSameKey};
        Operation op;
        const uint8_t kind = input_.Byte();
        op.kind = decision ? kDecisions[kind % 5]
                           : static_cast<Kind>(kind % static_cast<uint32_t>(Kind::kKinds));
        op.type = Type();
        op.line = input_.Byte() & 0x1F;
        const uint8_t how = input_.Byte();
        static constexpr uint32_t kIntervals[] = {0, 0, 1, 5, 3599, 3600, 4000, UINT32_MAX};
        op.cfg.logType = op.type;
        op.cfg.interval = kIntervals[how & 7];
        if ((how & 8) != 0) {
            op.cfg.key1 = input_.Number();
            op.cfg.key2 = input_.Number();
            op.cfg.key3 = how >> 4;
        }
        if ((how & 16) != 0 || !decision) {
            op.number = input_.Number();
        }
        if (op.kind == Kind::kShow) {
            op.number %= 2048;
        }
        return op;
    }

    void Both(const Operation &operation) {
        g_library.Do(operation);
        g_model.Do(operation);
        Compare();
    }

    // Many lines of one type.
    void Burst() {
        Operation operation;
        operation.type = Type();
        operation.cfg.logType = operation.type;
        const uint32_t first = 32 + input_.Byte() * 16U;
        const uint32_t count = input_.Byte();
        if (++bursts_ > 10) {
            return;
        }
        operation.kind = operation.type == kOwn || (count & 1) != 0 ? Kind::kAdd : Kind::kDecide;
        for (uint32_t i = 0; i < count; ++i) {
            operation.line = first + i;
            g_library.Do(operation);
            g_model.Do(operation);
        }
        Compare();
    }

    static void Compare() {
        DXR_FUZZ_SAME(g_library.host.notes == g_model.host.notes);
        g_library.host.notes.clear();
        g_model.host.notes.clear();
        DXR_FUZZ_SAME(Library::NumberOf(g_dxrLogFilterInfo) == g_model.store);
        DXR_FUZZ_SAME(g_dxrLogFilterMid == g_model.mid);
        DXR_FUZZ_SAME(g_library.host.live == g_model.host.live);
        for (uint32_t type = 0; type <= kTypes; ++type) {
            const DxrLogFilterInfo *const record = g_library.Record(type);
            const ModelRing *const ring = g_model.Ring(type);
            DXR_FUZZ_SAME((record == nullptr) == (ring == nullptr));
            if (record == nullptr) {
                continue;
            }
            DXR_FUZZ_SAME(record->capacity == ring->capacity);
            DXR_FUZZ_SAME(record->curIndex == ring->curIndex);
            DXR_FUZZ_SAME(record->curSize == ring->curSize);
            DXR_FUZZ_SAME(Library::NumberOf(record->entries) == ring->block);
            DXR_FUZZ_SAME(record->entries == nullptr ||
                          std::memcmp(record->entries, ring->entries.data(),
                                      ring->capacity * sizeof(DxrLogFilterEntry)) == 0);
        }
    }

    Input &input_;
    int bursts_ = 0;
};

}  // namespace

void LogFilter(Input &input) {
    Run run(input);
    for (int i = 0; i < 60 && !input.Empty(); ++i) {
        run.Step();
    }
}

}  // namespace dxrfuzz
