// The information recorder beside a naive one, with hooks that come back to it, empty slots and
// allocations that fail; also on a store of the caller's own.
//
// As with the log filter, library and model have a host each that answers alike and writes every
// call down.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cwchar>
#include <utility>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/info_recorder.h"
#include "dxr/memory.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kSlots = DXR_RECORD_COUNT;

enum Hook : uint8_t { kAllocate, kRelease, kTime, kPrint, kHooks };

enum class Kind : uint8_t {
    kRecord,
    kUnformattable,
    kUpdate,
    kAdd,
    kDestroy,
    kList,
    kListAll,
    kKinds,
};

struct Operation {
    Kind kind = Kind::kRecord;
    bool own = false;
    uint32_t line = 0;
    uint32_t length = 0;
    uint32_t start = 0;
    uint32_t end = 0;
};

struct Text {
    char bytes[320];
    uint32_t length = 0;

    explicit Text(const Operation &op) {
        for (uint32_t rest = op.line; rest != 0; rest /= 7) {
            bytes[length++] = static_cast<char>('a' + rest % 7);
        }
        while (length < op.length && length < sizeof(bytes) - 1) {
            bytes[length++] = 'x';
        }
        bytes[length] = '\0';
    }
};

class Recorder;

class RecorderHost {
  public:
    uint32_t now = 0;
    uint32_t failIn = 0;
    uint32_t hookMask = 7;
    std::array<bool, kHooks> armed = {};
    std::array<Operation, kHooks> pending = {};
    std::vector<uint32_t> notes;
    uint32_t blocks = 0;
    int32_t live = 0;
    Recorder *recorder = nullptr;

    void Reset(Recorder *of) {
        std::vector<uint32_t> kept = std::move(notes);
        kept.clear();
        *this = RecorderHost();
        notes = std::move(kept);
        recorder = of;
    }

    [[nodiscard]] bool Has(uint32_t bit) const { return (hookMask >> bit & 1) != 0; }
    void Note(uint32_t value) { notes.push_back(value); }
    void ComeBack(Hook hook);

    uint32_t Allocate(uint32_t mid, uint32_t size) {
        if (!Has(0)) {
            return 0;
        }
        Note(mid);
        Note(size);
        ComeBack(kAllocate);
        if (failIn != 0 && --failIn == 0) {
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
        --live;
        ComeBack(kRelease);
    }

    void Time(DxrSysTime *time) {
        if (!Has(1)) {
            return;
        }
        ++now;
        Note(time->year);
        if (now % 5 != 0) {  // else it leaves the time as it is
            time->year = static_cast<uint16_t>(now % 7 == 0 ? 0 : 2000 + now % 8100);
            time->month = static_cast<uint8_t>(now);
            time->second = static_cast<uint8_t>(now * 7);
            time->reserved[4] = static_cast<uint8_t>(now * 3);
        }
        ComeBack(kTime);
    }

    void Print(uint32_t level, std::string_view text) {
        if (!Has(2)) {
            return;
        }
        Note(level);
        for (const char c : text) {
            Note(static_cast<uint8_t>(c));
        }
        ComeBack(kPrint);
    }
};

class Recorder {
  public:
    Recorder() = default;
    virtual ~Recorder() = default;
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    virtual void Do(const Operation &operation) = 0;

    RecorderHost host;
};

void RecorderHost::ComeBack(Hook hook) {
    if (armed[hook]) {
        armed[hook] = false;
        recorder->Do(pending[hook]);
    }
}

// --- the library

class Library final : public Recorder {
  public:
    void Reset() {
        host.Reset(this);
        Install();
    }

    void Finish() {
        host.hookMask = 7;
        host.armed = {};
        Install();
        DXR_DestroyRecordInfo();
        for (DxrRecord *&record : own.records) {
            if (record != nullptr) {
                DXR_Free(std::exchange(record, nullptr), "", 0);
            }
        }
        own.nextIndex = 0;
        DXR_FUZZ_SAME(host.live == 0);
    }

    void Install() {
        g_dxrHooks = DxrHooks{};
        DXR_SetMemoryHooks(host.Has(0) ? AllocateHook : nullptr,
                           host.Has(0) ? ReleaseHook : nullptr);
        g_dxrHooks.time.getSysTime = host.Has(1) ? TimeHook : nullptr;
        g_dxrHooks.print.print = host.Has(2) ? PrintHook : nullptr;
    }

    void Do(const Operation &op) override {
        const Text text(op);
        DxrRecordStore *const store = op.own ? &own : DXR_GetRecordEntity();
        switch (op.kind) {
            case Kind::kRecord:
                DXR_RecordInfo("%s", text.bytes);
                break;
            case Kind::kUnformattable:
                DXR_RecordInfo("%s%lc", text.bytes, static_cast<wint_t>(0x12345678));
                break;
            case Kind::kUpdate:
                host.Note(DXR_UpdateExistingRecord(text.bytes, store));
                break;
            case Kind::kAdd:
                DXR_AddNewRecord(text.bytes, store);
                break;
            case Kind::kDestroy:
                DXR_DestroyRecordInfo();
                break;
            default:
                List(op, store);
                break;
        }
    }

    static uint32_t NumberOf(const DxrRecord *record) {
        return record == nullptr ? 0 : *(reinterpret_cast<const uint32_t *>(record) - 4);
    }

    DxrRecordStore own = {};

  private:
    void List(const Operation &op, const DxrRecordStore *store);

    static void *AllocateHook(uint32_t mid, uint32_t size, const char *, uint32_t);
    static void ReleaseHook(void *block, const char *, uint32_t);
    static void TimeHook(DxrSysTime *time);
    [[gnu::format(printf, 2, 3)]] static void PrintHook(uint32_t level, const char *format, ...);
};

Library g_library;

void Library::List(const Operation &op, const DxrRecordStore *store) {
    const ExactBuffer buffer(op.length);
    const uint32_t length =
        op.kind == Kind::kListAll
            ? DXR_GetAllRecordStr(buffer.Data(), buffer.Size())
            : DXR_GetRecordStr(store, op.start, op.end, buffer.Data(), buffer.Size());
    host.Note(length);
    if (length == 0) {
        host.Note(buffer.IsUntouched());
        return;
    }
    DXR_FUZZ_SAME(buffer.Data()[length] == '\0');
    uint32_t hash = 0;
    for (uint32_t i = 0; i < length; ++i) {
        hash = hash * 31 + static_cast<uint8_t>(buffer.Data()[i]);
    }
    host.Note(hash);
}

void *Library::AllocateHook(uint32_t mid, uint32_t size, const char *, uint32_t) {
    const uint32_t number = g_library.host.Allocate(mid, size);
    if (number == 0) {
        return nullptr;
    }
    auto *const block = static_cast<uint32_t *>(std::malloc(size + 16));
    std::memset(block, 0xA5, size + 16);
    block[0] = number;
    return block + 4;
}

void Library::ReleaseHook(void *block, const char *, uint32_t) {
    g_library.host.Release(NumberOf(static_cast<DxrRecord *>(block)));
    std::free(static_cast<uint32_t *>(block) - 4);
}

void Library::TimeHook(DxrSysTime *time) {
    g_library.host.Time(time);
}

void Library::PrintHook(uint32_t level, const char *format, ...) {
    char text[128];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    g_library.host.Print(level, text);
}

// --- the model

struct ModelRecord {
    std::array<char, DXR_RECORD_TEXT_SIZE> text;
    size_t length;
    uint32_t count;
    DxrSysTime first;
    DxrSysTime last;
};

struct ModelStore {
    std::array<uint32_t, kSlots> blocks = {};  // 0: an empty slot
    std::array<ModelRecord, kSlots> records;
    uint32_t next = 0;
};

class Model final : public Recorder {
  public:
    void Reset() {
        host.Reset(this);
        for (ModelStore &store : stores) {
            store.blocks.fill(0);
            store.next = 0;
        }
    }

    void Do(const Operation &op) override {
        const Text text(op);
        ModelStore &store = stores[op.own ? 1 : 0];
        switch (op.kind) {
            case Kind::kRecord:
                Record(text);
                break;
            case Kind::kUnformattable:
                host.Print(1, "Record info is illegal, ret[0xffffffff].");
                break;
            case Kind::kUpdate:
                host.Note(Update(&store, {text.bytes, text.length}) ? 1 : 0);
                break;
            case Kind::kAdd:
                Add(&store, {text.bytes, text.length});
                break;
            case Kind::kDestroy:
                Destroy();
                break;
            default:
                List(op, store);
                break;
        }
    }

    std::array<ModelStore, 2> stores;  // the library's, and the caller's

  private:
    void Record(const Text &text) {
        char cut[256];
        std::memcpy(cut, text.bytes, 256);
        std::string_view view(cut, std::min(text.length, 255U));
        if (view.size() == 255) {
            std::fill_n(cut + 252, 3, '.');
        }
        if (!Update(&stores[0], view)) {
            Add(&stores[0], view);
        }
    }

    bool Update(ModelStore *store, std::string_view text) {
        bool matched = false;
        for (uint32_t slot = 0; slot < kSlots && store->blocks[slot] != 0; ++slot) {
            ModelRecord &record = store->records[slot];
            if (text.size() != record.length || text != record.text.data()) {
                continue;
            }
            matched = true;
            if (ReadTime(store, slot, &ModelRecord::last)) {
                ++record.count;
            }
        }
        return matched;
    }

    bool ReadTime(ModelStore *store, uint32_t slot, DxrSysTime ModelRecord::*field) {
        const uint32_t block = store->blocks[slot];
        DxrSysTime time = store->records[slot].*field;
        host.Time(&time);
        if (store->blocks[slot] != block) {
            return false;
        }
        store->records[slot].*field = time;
        return true;
    }

    void Add(ModelStore *store, std::string_view text) {
        while (store->blocks[store->next] == 0) {
            const uint32_t block = host.Allocate(0, sizeof(DxrRecord));
            if (block == 0) {
                return;
            }
            if (store->blocks[store->next] != 0) {
                host.Release(block);
                continue;
            }
            store->blocks[store->next] = block;
            store->records[store->next] = {};
        }
        const uint32_t slot = store->next;
        if (!ReadTime(store, slot, &ModelRecord::first) ||
            !ReadTime(store, slot, &ModelRecord::last)) {
            return;
        }
        ModelRecord &record = store->records[slot];
        record.count = 1;
        const size_t kept = std::min(text.size(), record.text.size() - 1);
        std::memcpy(record.text.data(), text.data(), kept);
        record.text[kept] = '\0';
        record.length = kept;
        store->next = (store->next + 1) % kSlots;
    }

    void Destroy() {
        ModelStore &store = stores[0];
        store.next = 0;
        for (uint32_t slot = 0; slot < kSlots; ++slot) {
            const uint32_t block = std::exchange(store.blocks[slot], 0);
            if (block != 0) {
                host.Release(block);
            }
        }
    }

    void AddTime(const DxrSysTime &time) {
        text_.Number(time.year, 4, '0').Add("/").Number(time.month, 2, '0').Add("/");
        text_.Number(time.day, 2, '0').Add(" ").Number(time.hour, 2, '0').Add(":");
        text_.Number(time.minute, 2, '0').Add(":").Number(time.second, 2, '0');
    }

    void AddRange(const ModelStore &store, uint32_t start, uint32_t end, size_t enough) {
        for (uint32_t slot = start; slot < end && slot < kSlots; ++slot) {
            const ModelRecord &record = store.records[slot];
            if (store.blocks[slot] == 0 || text_.View().size() > enough) {
                return;
            }
            if (record.first.year == 0) {
                continue;
            }
            text_.Add("\r\n").Number(slot, 4).Add(":   First time:");
            AddTime(record.first);
            text_.Add(", last time:");
            AddTime(record.last);
            text_.Add(", count[").Number(record.count, 3, '0').Add("], ");
            text_.Add(record.text.data());
        }
    }

    void List(const Operation &op, const ModelStore &store) {
        text_.Clear();
        if (op.kind == Kind::kListAll) {
            AddRange(stores[0], 0, stores[0].next, op.length);
            AddRange(stores[0], stores[0].next, kSlots, op.length);
        } else {
            AddRange(store, op.start, op.end, op.length);
        }
        const size_t length =
            op.length == 0 ? 0 : std::min(text_.View().size(), size_t{op.length} - 1);
        host.Note(static_cast<uint32_t>(length));
        if (length == 0) {
            // A single byte of room holds the terminator of what does not fit.
            host.Note(op.length == 1 && !text_.View().empty() ? 0 : 1);
            return;
        }
        uint32_t hash = 0;
        for (size_t i = 0; i < length; ++i) {
            hash = hash * 31 + static_cast<uint8_t>(text_.View()[i]);
        }
        host.Note(hash);
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
    }
    ~Run() { g_library.Finish(); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void Step() {
        const uint8_t choice = input_.Byte();
        if (choice < 170) {
            Both(Read());
            Compare();
        } else if (choice < 215) {
            const auto hook = static_cast<Hook>(choice % kHooks);
            const Operation operation = Read();
            OnBoth([&](RecorderHost &host) {
                host.armed[hook] = true;
                host.pending[hook] = operation;
            });
        } else if (choice < 225) {
            Burst();
        } else if (choice < 235) {
            const uint32_t failIn = choice - 225U;
            OnBoth([&](RecorderHost &host) { host.failIn = failIn; });
        } else if (choice < 245) {
            const uint8_t mask = input_.Byte();
            OnBoth([&](RecorderHost &host) { host.hookMask = mask | 1; });
            g_library.Install();
        } else {
            const uint32_t now = input_.Number();
            OnBoth([&](RecorderHost &host) { host.now = now; });
        }
    }

  private:
    template <typename Action>
    static void OnBoth(Action action) {
        action(g_library.host);
        action(g_model.host);
    }

    Operation Read() {
        static constexpr Kind kSome[] = {Kind::kRecord, Kind::kRecord, Kind::kRecord, Kind::kUpdate,
                                         Kind::kAdd,    Kind::kList,   Kind::kListAll};
        static constexpr uint32_t kLengths[] = {0, 0, 0, 0, 254, 255, 256, 300};
        Operation op;
        const uint8_t kind = input_.Byte();
        op.kind = kind >= 0xF8   ? Kind::kDestroy
                  : kind >= 0xF4 ? Kind::kUnformattable
                                 : kSome[kind % 7];
        const uint8_t how = input_.Byte();
        op.own = (how & 8) != 0;
        if (op.kind == Kind::kList || op.kind == Kind::kListAll) {
            op.length = input_.Half() & 0xFFF;
            op.start = input_.Number();
            op.end = input_.Number();
        } else {
            op.line = input_.Byte() & 0x3F;
            op.length = kLengths[how & 7];
        }
        return op;
    }

    static void Both(const Operation &operation) {
        g_library.Do(operation);
        g_model.Do(operation);
    }

    // Many texts, up to more than there are slots.
    void Burst() {
        Operation operation;
        const uint8_t how = input_.Byte();
        operation.line = 64 + input_.Byte() * 4U;
        const uint32_t count = (how & 1) != 0 ? input_.Byte() : 12;
        operation.own = (how & 6) == 6;
        operation.kind = operation.own ? Kind::kAdd : Kind::kRecord;
        if (++bursts_ > 6) {
            return;
        }
        for (uint32_t i = 0; i < count; ++i) {
            Both(operation);
            ++operation.line;
        }
        Compare();
    }

    static void Compare() {
        DXR_FUZZ_SAME(g_library.host.notes == g_model.host.notes);
        g_library.host.notes.clear();
        g_model.host.notes.clear();
        DXR_FUZZ_SAME(g_library.host.live == g_model.host.live);
        for (uint32_t which = 0; which < 2; ++which) {
            const DxrRecordStore &real = which == 0 ? g_dxrRecord : g_library.own;
            const ModelStore &model = g_model.stores[which];
            DXR_FUZZ_SAME(real.nextIndex == model.next);
            uint32_t empty = 0;
            // A hook may leave a few holes; beyond sixteen empty slots there is nothing more.
            for (uint32_t slot = 0; slot < kSlots && empty < 16; ++slot) {
                const DxrRecord *const record = real.records[slot];
                DXR_FUZZ_SAME(Library::NumberOf(record) == model.blocks[slot]);
                if (record == nullptr) {
                    ++empty;
                    continue;
                }
                const ModelRecord &wanted = model.records[slot];
                DXR_FUZZ_SAME(std::strcmp(record->text, wanted.text.data()) == 0);
                DXR_FUZZ_SAME(record->count == wanted.count);
                DXR_FUZZ_SAME(std::memcmp(&record->firstTime, &wanted.first, 12) == 0);
                DXR_FUZZ_SAME(std::memcmp(&record->lastTime, &wanted.last, 12) == 0);
            }
        }
    }

    Input &input_;
    int bursts_ = 0;
};

}  // namespace

void InfoRecorder(Input &input) {
    Run run(input);
    for (int i = 0; i < 60 && !input.Empty(); ++i) {
        run.Step();
    }
}

}  // namespace dxrfuzz
