// Random operations on the log filter and on its naive model, compared after every one: answers,
// the calls to the host with order and arguments, all records, and every byte of every ring.
//
// DXR_TEST_SEED gives another sequence, DXR_TEST_RUNS more or fewer runs.
#include "model/print_log_filter_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/test_host.h"

namespace dxrtest {
namespace {

constexpr uint64_t kDefaultRuns = 2000;
constexpr int kOperationsOfARun = 200;
constexpr size_t kOwnRecords = 2;
constexpr uint64_t kUnknownBlock = UINT64_MAX;
constexpr const char *kHashText = "simple hash code algorithm by string value";

// The hooks behind the library: they ask the script and turn its numbers into memory.
class RealHost {
  public:
    explicit RealHost(HostScript *script) : script_(*script) { current_ = this; }
    ~RealHost() {
        for (const auto &[block, number] : numbers_) {
            std::free(Whole(block));
        }
        current_ = nullptr;
    }
    RealHost(const RealHost &) = delete;
    RealHost &operator=(const RealHost &) = delete;

    void Install() const {
        g_dxrHooks = DxrHooks{};
        if (script_.hasMemory) {
            DXR_SetMemoryHooks(Allocate, Release);
        }
        g_dxrHooks.print.print = script_.hasPrint ? Print : nullptr;
        g_dxrHooks.print.diagLogFilter = script_.hasDiag ? Diag : nullptr;
        g_dxrHooks.time.getCurrSec = script_.hasSeconds ? CurrSec : nullptr;
        g_dxrHooks.time.getCurrTime = script_.hasTime ? CurrTime : nullptr;
        if (script_.hasMutexes) {
            g_dxrHooks.task.initMutex = InitMutex;
            g_dxrHooks.task.lockMutex = Lock;
            g_dxrHooks.task.unlockMutex = Unlock;
            g_dxrHooks.task.destroyMutex = DestroyMutex;
        }
        g_dxrLogFilterHashFuncList[0].func = script_.hasHash ? Hash : DXR_SimpleHash;
    }

    [[nodiscard]] uint64_t NumberOf(const void *block) const {
        if (block == nullptr) {
            return 0;
        }
        const auto found = numbers_.find(block);
        return found != numbers_.end() ? found->second : kUnknownBlock;
    }

  private:
    static constexpr size_t kGuard = 32;
    static constexpr unsigned char kFill = 0xA5;
    static constexpr unsigned char kGuardFill = 0xEE;

    static unsigned char *Whole(const void *block) {
        return static_cast<unsigned char *>(const_cast<void *>(block)) - kGuard;
    }

    static void CheckSite(const char *file, uint32_t line) {
        static const std::string kPlace = "src/dxr/api/dxr_print";
        if (std::strncmp(file, kPlace.c_str(), kPlace.size()) != 0 || line == 0) {
            ADD_FAILURE() << "called from " << file << ":" << line;
        }
    }

    static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
        CheckSite(file, line);
        const uint64_t number = current_->script_.Allocate(mid, size);
        if (number == 0) {
            return nullptr;
        }
        auto *whole = static_cast<unsigned char *>(std::malloc(size + 2 * kGuard));
        std::memset(whole, kGuardFill, size + 2 * kGuard);
        std::memset(whole + kGuard, kFill, size);
        current_->numbers_[whole + kGuard] = number;
        current_->sizes_[number] = size;
        return whole + kGuard;
    }

    static void Release(void *block, const char *file, uint32_t line) {
        if (std::strcmp(file, __FILE__) != 0) {  // the test's own releases aside
            CheckSite(file, line);
        }
        const uint64_t number = current_->NumberOf(block);
        current_->script_.Release(number);
        if (number == 0) {
            return;
        }
        if (number == kUnknownBlock) {
            ADD_FAILURE() << "released a block that is not live";
            return;
        }
        const unsigned char *whole = Whole(block);
        const size_t size = current_->sizes_[number];
        for (size_t i = 0; i < kGuard; ++i) {
            if (whole[i] != kGuardFill || whole[kGuard + size + i] != kGuardFill) {
                ADD_FAILURE() << "a block of " << size << " bytes was written outside";
                break;
            }
        }
        current_->numbers_.erase(block);
        std::free(Whole(block));
    }

    [[gnu::format(printf, 2, 3)]] static void Print(uint32_t level, const char *format, ...) {
        char text[512];
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        current_->script_.Print(level, format, text);
    }

    static uint32_t Diag(const char *text) {
        current_->script_.Diag(text);
        return 3;
    }

    static uint32_t CurrSec() { return current_->script_.CurrSec(); }

    static void CurrTime(char *text, uint32_t size, uint32_t *sec) {
        current_->script_.CurrTime(text, size, sec);
    }

    static uint32_t InitMutex(void **mutex, void *option) {
        const auto element = static_cast<uint64_t>(mutex - g_dxrLogFilterMutex);
        *mutex = reinterpret_cast<void *>(
            current_->script_.InitMutex(element, reinterpret_cast<uint64_t>(option)));
        return 1;
    }

    static uint32_t Lock(void *mutex) {
        current_->script_.Lock(reinterpret_cast<uint64_t>(mutex));
        return 1;
    }

    static uint32_t Unlock(void *mutex) {
        return current_->script_.Unlock(reinterpret_cast<uint64_t>(mutex));
    }

    static uint32_t DestroyMutex(void *mutex) {
        current_->script_.DestroyMutex(reinterpret_cast<uint64_t>(mutex));
        return 1;
    }

    static uint32_t Hash(const DxrLogFilterHashInput *input, uint32_t *hash) {
        return current_->script_.Hash({input->text, input->length}, hash);
    }

    static inline RealHost *current_ = nullptr;
    HostScript &script_;
    std::map<const void *, uint64_t> numbers_;
    std::map<uint64_t, size_t> sizes_;
};

// What a run is like.
struct Profile {
    uint32_t texts;         // how many different lines there are
    uint32_t types;         // how many log types they go to
    uint32_t largestBurst;  // entries added at once
    bool troubled;          // hooks come and go, allocations fail
    bool poked;             // the host writes into entries
};

class RandomRun {
  public:
    explicit RandomRun(uint64_t seed)
        : random_(static_cast<std::mt19937::result_type>(seed)),
          realScript_(seed),
          modelScript_(seed),
          real_(&realScript_),
          model_(&modelScript_) {
        static constexpr uint32_t kTexts[] = {2, 8, 8, 40, 300, 5000};
        static constexpr uint32_t kTypes[] = {1, 1, 2, 2, 32};
        static constexpr uint32_t kBursts[] = {4, 4, 4, 40, 1600};
        profile_ = {Pick(kTexts), Pick(kTypes), Pick(kBursts), Chance(3), Chance(2)};
        static constexpr uint32_t kStarts[] = {
            0,       1,           3500,        1000000,     1000000,
            1000000, 1700000000U, 1700000000U, 1700000000U, UINT32_MAX - 4000};
        const uint32_t start = Pick(kStarts);
        OnBoth([&](HostScript &script) { script.now = start; });
        ChangeClockSpeed();
        Globals();
        real_.Install();
    }

    ~RandomRun() { Globals(); }
    RandomRun(const RandomRun &) = delete;
    RandomRun &operator=(const RandomRun &) = delete;

    // False when the library and the model went apart.
    bool Go() {
        if (!Chance(20)) {
            const uint64_t failAt = Chance(20) ? 1 : 0;
            OnBoth([&](HostScript &script) { script.failAllocationIn = failAt; });
            Init();
            if (!Agree()) {
                return false;
            }
        }
        for (int i = 0; i < kOperationsOfARun; ++i) {
            Operation();
            if (!Agree()) {
                return false;
            }
        }
        return Finish();
    }

    [[nodiscard]] uint64_t Operations() const { return operations_; }
    [[nodiscard]] const std::map<std::string_view, uint64_t> &Met() const { return model_.met; }

  private:
    struct Own {
        DxrLogFilterInfo real = {};
        ModelRing model;
    };

    // One record on both sides, of the store or the caller's own; both null without a store.
    struct Pair {
        DxrLogFilterInfo *real;
        ModelRing *model;
    };

    // --- chance

    uint32_t Random() { return static_cast<uint32_t>(random_()); }
    uint32_t Below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }
    bool Chance(uint32_t oneIn) { return Below(oneIn) == 0; }
    template <size_t N>
    uint32_t Pick(const uint32_t (&values)[N]) {
        return values[Below(N)];
    }

    uint32_t SomeType() {
        if (Chance(40)) {
            static constexpr uint32_t kEdges[] = {28, 29, 30, 0x80000000U, UINT32_MAX};
            return Pick(kEdges);
        }
        const uint32_t type = Below(profile_.types);
        return profile_.types == 32 ? type : type * 13 % kModelTypes;
    }

    uint32_t SomeInterval() {
        static constexpr uint32_t kIntervals[] = {0, 0, 0, 1, 5, 60, 3599, 3600, 4000, UINT32_MAX};
        return Pick(kIntervals);
    }

    uint32_t SomeNumber() {
        static constexpr uint32_t kNumbers[] = {0, 1, 2, 3, 12, 23, 123, UINT32_MAX};
        return Pick(kNumbers);
    }

    // A few lines are logged more often than the others.
    uint32_t SomeText() { return Below(Chance(3) ? profile_.texts : std::min(profile_.texts, 3U)); }

    std::string Text(uint32_t number) {
        if (number == 0 && Chance(10)) {
            return "";
        }
        if (number == 1 && Chance(10)) {
            return std::string(1 + Below(3), '\0');
        }
        return "line " + std::to_string(number);
    }

    uint32_t SomeHash() {
        return Chance(8) ? Below(4) : LogHash("line " + std::to_string(SomeText()));
    }

    static uint32_t LogHash(const std::string &text) {
        uint32_t hash = 0;
        LogFilterModel::SimpleHash(text, &hash);
        return hash;
    }

    DxrLogFilterCfg SomeSite() {
        return {SomeType(), SomeKey(), SomeKey(), SomeKey(), SomeKey(), SomeInterval()};
    }

    uint32_t SomeKey() { return Chance(4) ? SomeNumber() : 0; }

    Pair SomeRecord() {
        if (Chance(3)) {
            Own &own = own_[Below(kOwnRecords)];
            return {&own.real, &own.model};
        }
        const uint32_t type = SomeType();
        return {DXR_GetLogFilter(type), model_.Get(type)};
    }

    // --- operations

    [[gnu::format(printf, 2, 3)]] void Say(const char *format, ...) {
        char text[160];
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        history_.emplace_back(text);
        if (history_.size() > 30) {
            history_.pop_front();
        }
        ++operations_;
    }

    template <typename Value>
    void Same(const char *what, const Value &real, const Value &model) {
        if (real != model) {
            differences_ += std::string(what) + " differs\n";
        }
    }

    void Same(const char *what, uint32_t real, uint32_t model) {
        if (real != model) {
            differences_ += std::string(what) + ": " + std::to_string(real) + ", model " +
                            std::to_string(model) + "\n";
        }
    }

    template <typename Action>
    void OnBoth(Action action) {
        action(realScript_);
        action(modelScript_);
    }

    void Operation() {
        // A filter that lets everything through does not stay so for long.
        if (model_.block == 0 && Chance(10)) {
            Init();
            return;
        }
        if (model_.on == 0 && Chance(10)) {
            Switch();
            return;
        }
        const uint32_t choice = Below(100);
        if (choice < 40) {
            Decide();
        } else if (choice < 46) {
            SameLog();
        } else if (choice < 51) {
            DiffLog();
        } else if (choice < 54) {
            SameKey();
        } else if (choice < 57) {
            Clear();
        } else if (choice < 60) {
            Show();
        } else if (choice < 63) {
            Combine();
        } else if (choice < 78) {
            RecordOperation();
        } else if (choice < 86) {
            MoveClock();
        } else if (choice < 88) {
            Burst();
        } else if (choice < 89) {
            Switch();
        } else if (choice < 91) {
            HashAlone();
        } else if (choice < 94) {
            Poke();
        } else if (choice < 96) {
            ReplaceHash();
        } else if (choice < 97) {
            InitOrDestroy();
        } else {
            Trouble();
        }
    }

    void Init() {
        const uint32_t mid = SomeNumber();
        Say("init %u", mid);
        Same("init", DXR_InitLogFilter(mid), model_.Init(mid));
    }

    void InitOrDestroy() {
        if (Chance(2)) {
            Init();
        } else if (Chance(3)) {
            Say("destroy");
            DXR_DestroyLogFilter();
            model_.Destroy();
        } else {
            // The host gives a type another mutex, or the rings another module.
            const uint32_t type = Below(kModelTypes);
            const uint64_t handle = 5000 + Below(100);
            Say("handle of %u is %u", type, static_cast<uint32_t>(handle));
            g_dxrLogFilterMutex[type] = reinterpret_cast<void *>(handle);
            model_.mutexes[type] = handle;
            g_dxrLogFilterMid = model_.mid = SomeNumber();
        }
    }

    void Decide() {
        const DxrLogFilterCfg cfg = SomeSite();
        const std::string text = Text(SomeText());
        const DxrLogFilterCfg *given = Chance(60) ? nullptr : &cfg;
        Say("decide type %u interval %u '%s'%s", cfg.logType, cfg.interval, text.c_str(),
            given == nullptr ? " without configuration" : "");
        Same("decision", DXR_IsRepeatedLog(given, text.data(), static_cast<uint32_t>(text.size())),
             model_.IsRepeated(given, text));
    }

    std::string Message() {
        std::string text = "line " + std::to_string(SomeText());
        if (Chance(15)) {
            text = std::string(1015 + Below(12), 'm') + text;
        } else if (Chance(20)) {
            text.clear();
        }
        return text;
    }

    void SameLog() {
        const DxrLogFilterCfg cfg = SomeSite();
        const DxrLogFilterCfg *given = Chance(60) ? nullptr : &cfg;
        const std::string text = Message();
        Say("same log type %u interval %u '%s'", cfg.logType, cfg.interval, text.c_str());
        DXR_SameLogFilter(given, "%s", text.c_str());
        model_.SameLog(given, text);
    }

    void DiffLog() {
        const DxrLogFilterCfg cfg = SomeSite();
        const DxrLogFilterCfg *given = Chance(60) ? nullptr : &cfg;
        const std::string text = Message();
        Say("diff log type %u interval %u '%s'", cfg.logType, cfg.interval, text.c_str());
        DXR_DiffLogFilter(given, "%s", text.c_str());
        model_.DiffLog(given, text);
    }

    void SameKey() {
        const uint32_t a = SomeKey();
        const uint32_t b = SomeKey();
        const uint32_t c = SomeKey();
        const uint32_t d = SomeKey();
        Say("same key %u %u %u %u", a, b, c, d);
        Same("same key", DXR_IsSameKey(a, b, c, d), model_.IsSameKey(a, b, c, d));
    }

    void Clear() {
        const uint32_t type = SomeType();
        Say("clear %u", type);
        Same("clear", DXR_ClearLogFilterInfo(type), model_.Clear(type));
    }

    DxrLogFilterCfg SomeRows() {
        DxrLogFilterCfg cfg = SomeSite();
        cfg.key1 = Chance(4) ? SomeNumber() : Below(20);
        cfg.key2 = Chance(6) ? UINT32_MAX - Below(3) : Below(20);
        return cfg;
    }

    uint32_t SomeSize() { return Chance(3) ? Below(700) : Chance(10) ? Below(3) : 4000; }

    void Show() {
        const DxrLogFilterCfg cfg = SomeRows();
        const uint32_t size = SomeSize();
        const DxrLogFilterCfg *given = Chance(20) ? nullptr : &cfg;
        const bool hasBuffer = !Chance(20);
        const bool hasLength = !Chance(20);
        Say("show type %u rows %u+%u size %u", cfg.logType, cfg.key1, cfg.key2, size);
        GuardedBuffer buffer(size);
        uint32_t length = 4711;
        std::string modelBuffer(size, static_cast<char>(GuardedBuffer::kFill));
        uint32_t modelLength = 4711;
        Same("show",
             DXR_ShowLogFilterInfo(given, hasBuffer ? buffer.Data() : nullptr,
                                   hasLength ? &length : nullptr, size),
             model_.Show(given, hasBuffer ? &modelBuffer : nullptr,
                         hasLength ? &modelLength : nullptr));
        SameBuffers(buffer, length, modelBuffer, modelLength);
    }

    void Combine() {
        const Pair record = SomeRecord();
        if (record.real == nullptr) {
            return;
        }
        const DxrLogFilterCfg cfg = SomeRows();
        const uint32_t size = SomeSize();
        Say("combine type %u rows %u+%u size %u", cfg.logType, cfg.key1, cfg.key2, size);
        GuardedBuffer buffer(size);
        uint32_t length = 4711;
        std::string modelBuffer(size, static_cast<char>(GuardedBuffer::kFill));
        uint32_t modelLength = 4711;
        DXR_CombineShowLog(&cfg, record.real, buffer.Data(), &length, size);
        model_.Combine(cfg, *record.model, &modelBuffer, &modelLength);
        SameBuffers(buffer, length, modelBuffer, modelLength);
    }

    // The texts, not what may stand behind their terminator.
    void SameBuffers(const GuardedBuffer &buffer, uint32_t length, const std::string &model,
                     uint32_t modelLength) {
        Same("intact", buffer.Intact() ? 1U : 0U, 1U);
        Same("written length", length, modelLength);
        Same("table", buffer.Text(),
             std::string(model.c_str(), strnlen(model.data(), model.size())));
    }

    void RecordOperation() {
        const Pair record = SomeRecord();
        if (record.real == nullptr) {
            Same("record", record.model == nullptr ? 1U : 0U, 1U);
            return;
        }
        switch (Below(12)) {
            case 0: {
                static constexpr uint32_t kCapacities[] = {
                    0,    1,    2,    3,           5,           7,           20,        1023,
                    1024, 2047, 2050, 0x03FFFFFFU, 0x04000000U, 0x04000001U, UINT32_MAX};
                const uint32_t capacity = Chance(3) ? Pick(kCapacities) : Below(30);
                Say("resize to %u", capacity);
                DXR_ResizeLogFilterInfo(record.real, capacity);
                model_.Resize(record.model, capacity);
                break;
            }
            case 1:
                Say("update capacity");
                DXR_UpdateLogFilterCapacity(record.real);
                model_.UpdateCapacity(record.model);
                break;
            case 2:
                Say("remove obsolete");
                DXR_RemoveObsoleteLogFilterInfo(record.real);
                model_.RemoveObsolete(record.model);
                break;
            case 3:
            case 4:
            case 5: {
                const uint32_t hash = SomeHash();
                const uint32_t key1 = SomeNumber();
                Say("add %u", hash);
                DXR_AddLogFilterInfo(record.real, hash, key1);
                model_.Add(record.model, hash, key1);
                break;
            }
            case 6:
            case 7:
            case 8: {
                const uint32_t hash = SomeHash();
                Say("find %u", hash);
                Same("found", DXR_FindRepeatedLogInfoIndex(record.real, hash),
                     LogFilterModel::Find(*record.model, hash));
                break;
            }
            case 9:
            case 10: {
                const uint32_t position = SomePosition(*record.model);
                Say("count %u", position);
                DXR_UpdateLogFilterInfo(position, record.real);
                LogFilterModel::UpdateInfo(position, record.model);
                break;
            }
            default: {
                const uint32_t position = SomePosition(*record.model);
                Say("stamp %u", position);
                DXR_UpdateLogFilterTime(position, record.real);
                model_.UpdateTime(position, record.model);
                break;
            }
        }
    }

    uint32_t SomePosition(const ModelRing &ring) {
        return Chance(10) ? UINT32_MAX : Below(ring.capacity + 2);
    }

    void Burst() {
        const Pair record = SomeRecord();
        if (record.real == nullptr) {
            return;
        }
        if (Chance(2)) {
            BurstOfDecisions();
            return;
        }
        const uint32_t count = 1 + Below(profile_.largestBurst);
        const uint32_t first = Chance(2) ? Below(5000) : Random();
        Say("add %u from %u", count, first);
        for (uint32_t i = 0; i < count; ++i) {
            DXR_AddLogFilterInfo(record.real, first + i, i);
            model_.Add(record.model, first + i, i);
        }
    }

    void BurstOfDecisions() {
        const DxrLogFilterCfg cfg = SomeSite();
        const uint32_t count = 1 + Below(std::min(profile_.largestBurst, 60U));
        const uint32_t first = Below(5000);
        Say("decide %u times on type %u from line %u", count, cfg.logType, first);
        for (uint32_t i = 0; i < count; ++i) {
            const std::string text = "line " + std::to_string(first + i);
            Same("decision",
                 DXR_IsRepeatedLog(&cfg, text.data(), static_cast<uint32_t>(text.size())),
                 model_.IsRepeated(&cfg, text));
        }
    }

    void MoveClock() {
        if (Chance(30)) {
            ChangeClockSpeed();
            return;
        }
        static constexpr uint32_t kSmallSteps[] = {0, 1, 1, 4, 5, 60, 400};
        static constexpr uint32_t kLargeSteps[] = {1200, 3599, 3600, 3601, 100000};
        const uint32_t step = Chance(6) ? Pick(kLargeSteps) : Pick(kSmallSteps);
        uint32_t now = realScript_.now + step;
        if (Chance(5)) {
            now = realScript_.now - step;
        } else if (Chance(20)) {
            static constexpr uint32_t kTimes[] = {
                0, 1, 3599, 3600, 1000000, 0x7FFFFFFFU, UINT32_MAX - 3600, UINT32_MAX};
            now = Pick(kTimes);
        }
        Say("clock %u", now);
        OnBoth([&](HostScript &script) { script.now = now; });
    }

    void ChangeClockSpeed() {
        static constexpr uint32_t kTicks[] = {0, 0, 0, 0, 0,  0,    0,         0,
                                              0, 1, 1, 1, 20, 2000, UINT32_MAX};
        const uint32_t tick = Pick(kTicks);
        Say("clock ticks up to %u", tick);
        OnBoth([&](HostScript &script) { script.largestTick = tick; });
    }

    void Switch() {
        static constexpr uint32_t kValues[] = {0, 1, 1, 1, 7, 255};
        const auto value = static_cast<uint8_t>(Pick(kValues));
        Say("switch %u", value);
        if (Chance(2)) {
            DXR_EnableLogFilter(value);
        } else {
            g_dxrLogFilterSwitch = value;
        }
        model_.on = value;
        Same("switch", DXR_IsLogFilterEnable(), value);
    }

    void HashAlone() {
        const uint32_t id = Chance(4) ? SomeNumber() : model_.hashFuncId;
        std::string text = Message();
        if (Chance(3)) {
            text.assign(Below(40), static_cast<char>(Below(256)));
        }
        Say("hash by %u of '%s'", id, text.c_str());
        Same("hash code", DXR_GetHashCode(id, text.data(), static_cast<uint32_t>(text.size())),
             model_.HashCode(id, text));
        const DxrLogFilterHashInput input{text.data(), static_cast<uint32_t>(text.size())};
        uint32_t hash = 4711;
        uint32_t modelHash = 4711;
        Same("simple hash result", DXR_SimpleHash(&input, &hash),
             LogFilterModel::SimpleHash(text, &modelHash));
        Same("simple hash", hash, modelHash);
    }

    void ReplaceHash() {
        Say("other hash function");
        const bool has = Chance(3);
        const uint32_t codes = Chance(2) ? 4 : 1000;
        const bool fails = Chance(4);
        OnBoth([&](HostScript &script) {
            script.hasHash = has;
            script.hashCodes = codes;
            script.hashFails = fails;
        });
        g_dxrLogFilterHashFuncList[0].hashFuncId = model_.hashFuncId =
            Chance(10) ? SomeNumber() : 0;
        real_.Install();
    }

    // The host writes into entries. A hash it changed is put back, for the decision need not see
    // it.
    void Poke() {
        const Pair record = SomeRecord();
        if (!profile_.poked || record.real == nullptr || record.model->block == 0) {
            return;
        }
        const bool isOwn = record.model == &own_[0].model || record.model == &own_[1].model;
        if (isOwn && Chance(2)) {
            const uint32_t curIndex = Chance(8) ? UINT32_MAX - Below(3) : Below(3000);
            const uint32_t curSize = Below(Chance(4) ? 3000 : record.model->capacity + 2);
            Say("poke ring %u+%u", curIndex, curSize);
            record.real->curIndex = record.model->curIndex = curIndex;
            record.real->curSize = record.model->curSize = curSize;
            return;
        }
        const uint32_t position = Below(record.model->capacity);
        DxrLogFilterEntry &real = record.real->entries[position];
        DxrLogFilterEntry &model = record.model->entries[position];
        switch (Below(6)) {
            case 0:
                real.beginSec = model.beginSec = realScript_.now - Below(7200);
                break;
            case 1:
                real.lastSec = model.lastSec = Random();
                break;
            case 2:
                real.logCnt = model.logCnt = UINT32_MAX - Below(2);
                break;
            case 3:
                real.state = model.state = static_cast<uint8_t>(Below(3) * 100);
                break;
            case 4:
                std::memset(real.logBeginTime, 'p', 42);
                std::memset(model.logBeginTime, 'p', 42);
                break;
            default:
                PokeHash(record, position, isOwn);
                break;
        }
        Say("poke %u", position);
    }

    void PokeHash(const Pair &record, uint32_t position, bool stays) {
        const uint32_t before = record.model->entries[position].logHashCode;
        const uint32_t after = Chance(3) ? before + 1 : SomeHash();
        record.real->entries[position].logHashCode = after;
        record.model->entries[position].logHashCode = after;
        for (const uint32_t hash : {before, after}) {
            Same("found after a poke", DXR_FindRepeatedLogInfoIndex(record.real, hash),
                 LogFilterModel::Find(*record.model, hash));
        }
        if (!stays) {
            record.real->entries[position].logHashCode = before;
            record.model->entries[position].logHashCode = before;
        }
    }

    void Trouble() {
        if (!profile_.troubled) {
            return;
        }
        const uint32_t which = Below(12);
        Say("trouble %u", which);
        const bool fails = Chance(2);
        const bool there = !Chance(3);
        const uint64_t in = 1 + Below(4);
        const bool fromThenOn = Chance(3);
        const uint32_t answer = SomeNumber();
        OnBoth([&](HostScript &script) {
            switch (which) {
                case 0:
                case 1:
                case 2:
                case 3:
                    script.failAllocationIn = fails ? in : 0;
                    script.failFromThenOn = fromThenOn;
                    break;
                case 4:
                    script.hasPrint = there;
                    break;
                case 5:
                    script.hasDiag = there;
                    break;
                case 6:
                    script.hasMutexes = there;
                    break;
                case 7:
                    script.hasSeconds = there;
                    break;
                case 8:
                    script.hasTime = there;
                    break;
                case 9:
                    script.timeWritesLittle = !script.timeWritesLittle;
                    break;
                case 10:
                    script.unlockAnswer = answer;
                    break;
                default:
                    script.hasMemory = there;
                    memoryCameAndWent_ = true;
                    break;
            }
        });
        real_.Install();
    }

    // --- comparison

    bool Agree() {
        if (realScript_.calls != modelScript_.calls) {
            DescribeCalls();
        }
        realScript_.calls.clear();
        modelScript_.calls.clear();
        Same("store", real_.NumberOf(g_dxrLogFilterInfo), model_.block);
        Same("switch", g_dxrLogFilterSwitch, model_.on);
        Same("module", g_dxrLogFilterMid, model_.mid);
        for (uint32_t type = 0; type < kModelTypes; ++type) {
            Same("handle", reinterpret_cast<uint64_t>(g_dxrLogFilterMutex[type]),
                 model_.mutexes[type]);
        }
        if (g_dxrLogFilterInfo != nullptr && model_.block != 0) {
            for (uint32_t type = 0; type < kModelTypes; ++type) {
                SameRing(type, g_dxrLogFilterInfo[type], model_.rings[type]);
            }
        }
        for (uint32_t i = 0; i < kOwnRecords; ++i) {
            SameRing(100 + i, own_[i].real, own_[i].model);
        }
        if (differences_.empty()) {
            return true;
        }
        std::string story;
        for (const std::string &line : history_) {
            story += "  " + line + "\n";
        }
        ADD_FAILURE() << differences_ << "after operation " << operations_ << ", the last ones:\n"
                      << story;
        return false;
    }

    void SameRing(uint32_t name, const DxrLogFilterInfo &real, const ModelRing &model) {
        if (real.curIndex == model.curIndex && real.curSize == model.curSize &&
            real.capacity == model.capacity && real_.NumberOf(real.entries) == model.block &&
            (model.entries.empty() ||
             std::memcmp(real.entries, model.entries.data(),
                         model.entries.size() * sizeof(DxrLogFilterEntry)) == 0)) {
            return;
        }
        char text[256];
        std::snprintf(text, sizeof(text),
                      "record %u: curIndex %u, curSize %u, capacity %u, model %u, %u, %u, or the "
                      "storage or what it holds\n",
                      name, real.curIndex, real.curSize, real.capacity, model.curIndex,
                      model.curSize, model.capacity);
        differences_ += text;
    }

    void DescribeCalls() {
        std::ostringstream out;
        out << "calls differ; library:\n";
        for (const HostCall &call : realScript_.calls) {
            out << "  " << call << "\n";
        }
        out << "model:\n";
        for (const HostCall &call : modelScript_.calls) {
            out << "  " << call << "\n";
        }
        differences_ += out.str();
    }

    // With every hook there, all that was allocated goes back.
    bool Finish() {
        OnBoth([](HostScript &script) {
            script.hasMemory = true;
            script.hasPrint = true;
            script.hasMutexes = true;
        });
        real_.Install();
        for (Own &own : own_) {
            if (own.real.entries != nullptr) {
                DXR_Free(own.real.entries, __FILE__, __LINE__);
                modelScript_.Release(own.model.block);
            }
            own = {};
        }
        Say("last destroy");
        DXR_DestroyLogFilter();
        model_.Destroy();
        if (!memoryCameAndWent_) {
            Same("live blocks", static_cast<uint32_t>(realScript_.LiveBlocks()), 0U);
        }
        return Agree();
    }

    static void Globals() {
        g_dxrLogFilterInfo = nullptr;
        std::fill_n(g_dxrLogFilterMutex, kModelTypes, nullptr);
        g_dxrLogFilterSwitch = 1;
        g_dxrLogFilterMid = 9;
        g_dxrLogFilterHashFuncList[0] = {0, DXR_SimpleHash, kHashText};
    }

    std::mt19937 random_;
    HostScript realScript_;
    HostScript modelScript_;
    RealHost real_;
    LogFilterModel model_;
    std::array<Own, kOwnRecords> own_;
    Profile profile_ = {};
    bool memoryCameAndWent_ = false;
    uint64_t operations_ = 0;
    std::deque<std::string> history_;
    std::string differences_;
};

// What the runs must have come across to say anything.
constexpr const char *kSituations[] = {
    "new line",
    "line suppressed",
    "line let through again",
    "hash of zero",
    "some entries aged",
    "all entries aged",
    "growth of a wrapped ring",
    "shrinking of a wrapped ring",
    "failed init",
    "failed growth",
    "failed first growth",
    "nothing stored",
    "oldest of a smaller ring overwritten",
    "oldest of the largest ring overwritten",
};

uint64_t Runs() {
    const char *given = std::getenv("DXR_TEST_RUNS");
    return given != nullptr ? std::strtoull(given, nullptr, 0) : kDefaultRuns;
}

TEST(LogFilterModel, LibraryDoesWhatTheModelDoes) {
    const TestHost host;  // puts the hook table back
    const uint64_t seed = Seed();
    uint64_t operations = 0;
    std::map<std::string_view, uint64_t> met;
    for (uint64_t i = 0; i < Runs(); ++i) {
        RandomRun run(seed + i);
        const bool agreed = run.Go();
        operations += run.Operations();
        for (const auto &[situation, times] : run.Met()) {
            met[situation] += times;
        }
        ASSERT_TRUE(agreed) << "run " << i << ": DXR_TEST_SEED=" << seed + i << " DXR_TEST_RUNS=1";
    }
    std::printf("%llu runs, %llu operations\n", static_cast<unsigned long long>(Runs()),
                static_cast<unsigned long long>(operations));
    for (const auto &[situation, times] : met) {
        std::printf("%12llu %s\n", static_cast<unsigned long long>(times), situation.data());
    }
    if (Runs() >= kDefaultRuns) {
        for (const char *situation : kSituations) {
            EXPECT_GE(met[situation], 20U) << situation;
        }
    }
}

}  // namespace
}  // namespace dxrtest
