#include "dxr_devhost/memory.h"

#include <link.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "host.h"
#include "memory_blocks.h"

namespace devhost {

// All blocks of one module identifier. Live blocks and bytes stand in one word, so that the highest
// values are exact at one step a call.
//
// While one thread alone uses an account, its owner, a step is a load and a store, and so is the
// release of a block of that account. Another thread first takes the account from it, once and for
// all: from then on all make atomic steps. The owner says that it steps before it looks whether it
// still is the owner; who takes the account says so before it looks whether the owner steps.
// Between these two it puts a fence into all threads; where the machine has none, nobody owns.
struct Account {
    static constexpr uint32_t kByteBits = 40;
    static constexpr uint64_t kByteMask = (uint64_t{1} << kByteBits) - 1;

    std::atomic<uint64_t> live{0};
    std::atomic<uint64_t> blocksPeak{0};
    std::atomic<uint64_t> bytesPeak{0};
    std::atomic<const void *> owner{nullptr};  // the cache of a thread; null: everybody's
    std::atomic<bool> isStepping{false};       // the owner's

    void Add(const void *by, uint32_t bytes) {
        const uint64_t change = (uint64_t{1} << kByteBits) + bytes;
        uint64_t now = 0;
        if (!StepAsOwner(by, [this, change, &now] { now = Change(change); })) {
            ShareOut();
            now = live.fetch_add(change, std::memory_order_relaxed) + change;
        }
        Raise(blocksPeak, now >> kByteBits);
        Raise(bytesPeak, now & kByteMask);
    }
    void Subtract(const void *by, uint32_t bytes) {
        if (!StepAsOwner(by, [this, bytes] { SubtractAsOwner(bytes); })) {
            ShareOut();
            SubtractShared(bytes);
        }
    }

    // Lets the owner step; false, and nothing is done, when `by` is not or no longer the owner.
    template <typename Step>
    bool StepAsOwner(const void *by, Step step) {
        if (owner.load(std::memory_order_relaxed) != by) {
            return false;
        }
        isStepping.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        const bool isOwner = owner.load(std::memory_order_relaxed) == by;
        if (isOwner) [[likely]] {
            step();
        }
        isStepping.store(false, std::memory_order_release);
        return isOwner;
    }

    // As Add; false, and nothing is done, when the account is to be shared out first.
    bool AddQuickly(const void *by, uint32_t bytes) {
        const uint64_t change = (uint64_t{1} << kByteBits) + bytes;
        uint64_t now = 0;
        if (owner.load(std::memory_order_acquire) == nullptr) {
            now = live.fetch_add(change, std::memory_order_relaxed) + change;
        } else if (!StepAsOwner(by, [this, change, &now] { now = Change(change); })) {
            return false;
        }
        Raise(blocksPeak, now >> kByteBits);
        Raise(bytesPeak, now & kByteMask);
        return true;
    }

    // Makes the account everybody's.
    void ShareOut() {
        if (owner.load(std::memory_order_acquire) != nullptr) [[unlikely]] {
            Take();
        }
    }

    // Within a step of the owner; and after ShareOut.
    void SubtractAsOwner(uint32_t bytes) { (void)Change(0 - ((uint64_t{1} << kByteBits) + bytes)); }
    void SubtractShared(uint32_t bytes) {
        live.fetch_sub((uint64_t{1} << kByteBits) + bytes, std::memory_order_relaxed);
    }

  private:
    uint64_t Change(uint64_t change) {
        const uint64_t now = live.load(std::memory_order_relaxed) + change;
        live.store(now, std::memory_order_relaxed);
        return now;
    }

    // Comes back when the account is everybody's.
    [[gnu::noinline]] void Take() {
        static constexpr char kTaken = 0;
        const void *from = owner.load(std::memory_order_relaxed);
        if (from != nullptr && from != &kTaken &&
            owner.compare_exchange_strong(from, &kTaken, std::memory_order_relaxed)) {
            FenceAllThreads();
            while (isStepping.load(std::memory_order_acquire)) {
                std::this_thread::yield();
            }
            owner.store(nullptr, std::memory_order_release);
        }
        while (owner.load(std::memory_order_acquire) != nullptr) {
            std::this_thread::yield();
        }
    }

    static void Raise(std::atomic<uint64_t> &peak, uint64_t value) {
        uint64_t known = peak.load(std::memory_order_relaxed);
        while (known < value &&
               !peak.compare_exchange_weak(known, value, std::memory_order_relaxed)) {
        }
    }
};

// A place in a module that allocates or releases.
struct Site {
    uint32_t mid;
    uint32_t line;
    std::string file;
    uint32_t number;
    Account *account;
};

namespace {

constexpr const char *kService = "memory";
constexpr uint32_t kReleasing = 0xFFFFFFFF;  // the module of sites that release
constexpr unsigned char kGuardByte = 0xFD;
constexpr uint32_t kCacheBits = 40;  // from here on up serials tell the cache

// What a thread has asked for at one site. Its thread alone writes.
struct Totals {
    std::atomic<uint64_t> blocks{0};
    std::atomic<uint64_t> bytes{0};

    void Add(uint32_t size) {
        blocks.store(blocks.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        bytes.store(bytes.load(std::memory_order_relaxed) + size, std::memory_order_relaxed);
    }
};

constexpr char kNoText = 0;

// A site as a thread knows it.
struct alignas(64) KnownSite {
    // The file once the site was used, when nobody changes the text.
    const char *quickFile = &kNoText;
    const char *file = nullptr;  // null: none is known here
    uint64_t number = 0;         // module identifier and line
    const Site *site = nullptr;
    Totals *totals = nullptr;  // null until the thread allocates there
    bool isFixed = false;      // nobody changes the text
};

// The memory of the program itself that is only read. It is never unloaded, so a text in it stays
// what it is.
class FixedTexts {
  public:
    FixedTexts() { (void)dl_iterate_phdr(LookAtProgram, this); }

    [[nodiscard]] bool Holds(const void *text) const {
        return std::any_of(ranges_.begin(), ranges_.end(),
                           [text](const CodeRange &range) { return range.Holds(text); });
    }

  private:
    // The program is the first of all.
    static int LookAtProgram(dl_phdr_info *program, size_t /*size*/, void *user) {
        auto &to = *static_cast<FixedTexts *>(user);
        size_t used = 0;
        for (int i = 0; i < program->dlpi_phnum && used < to.ranges_.size(); ++i) {
            const ElfW(Phdr) &part = program->dlpi_phdr[i];
            if (part.p_type == PT_LOAD && (part.p_flags & PF_W) == 0) {
                const uintptr_t begin = program->dlpi_addr + part.p_vaddr;
                to.ranges_[used++] = {begin, begin + part.p_memsz};
            }
        }
        return 1;
    }

    std::array<CodeRange, 8> ranges_{};
};

// What one thread keeps for itself; the next thread with its record takes it over.
struct Cache {
    RoomRings rings;
    std::array<KnownSite, 256> sites{};
    uint64_t lastSerial = 0;                      // of the blocks that were allocated with it
    std::mutex mutex;                             // guards the growth of totals
    std::vector<std::unique_ptr<Totals>> totals;  // by the number of the site
};

struct LargeBlock {
    LargeBlock() = default;
    LargeBlock(const LargeBlock &) = delete;
    LargeBlock &operator=(const LargeBlock &) = delete;
    LargeBlock(LargeBlock &&) = delete;
    LargeBlock &operator=(LargeBlock &&) = delete;
    ~LargeBlock() { std::free(begin); }

    std::byte *begin = nullptr;  // of the front guard
    BlockInfo info;
};

// A large block that was released, for the report of a second release.
struct ReleasedLarge {
    const void *address = nullptr;
    const Site *made = nullptr;
    const Site *released = nullptr;
};

void SetGuards(std::byte *bytes, uint32_t size) {
    std::memset(bytes - blocks::kGuard, kGuardByte, blocks::kGuard);
    std::memset(bytes + size, kGuardByte, blocks::kGuard);
}

bool IsGuard(const std::byte *bytes) {
    uint64_t words[2];
    static_assert(sizeof(words) == blocks::kGuard);
    std::memcpy(words, bytes, sizeof(words));
    constexpr uint64_t kWord = uint64_t{0x0101010101010101} * kGuardByte;
    return words[0] == kWord && words[1] == kWord;
}

std::string TextOf(const Site *site) {
    return site != nullptr ? site->file + ":" + std::to_string(site->line) : "nowhere";
}

class MemoryService : public Service {
  public:
    explicit MemoryService(Host &host)
        : Service(host),
          limit(host.options.memoryLimit),
          allocateFails(host.chance.Point("memory.allocate")) {}

    void ReportLeftovers() override {
        for (const BlockInfo *const block : Live()) {
            TheHost().ReportLeftover(kService, {},
                                     std::to_string(block->size) + " bytes of module " +
                                         std::to_string(block->Made()->mid) + " from " +
                                         TextOf(block->Made()));
        }
    }

    Cache &CacheOf(const Call &call) {
        ThreadRecord &thread = call.Thread();
        if (thread.cacheHost != call->number) [[unlikely]] {
            MakeCache(thread);
        }
        return *static_cast<Cache *>(thread.memoryCache);
    }

    KnownSite &SiteOf(Cache &cache, uint32_t mid, const char *file, uint32_t line) {
        const uint64_t number = NumberOf(mid, line);
        KnownSite &known = PlaceFor(cache, number, file);
        // The text may be another one by now, say after a plug-in was unloaded.
        if (known.file == file && known.number == number &&
            (known.isFixed || std::strcmp(known.site->file.c_str(), file) == 0)) [[likely]] {
            known.quickFile = known.isFixed ? file : &kNoText;
            return known;
        }
        Learn(cache, known, file, number);
        return known;
    }

    // As AllocateQuickly and ReleaseQuickly below.
    void *TryAllocate(Cache &cache, uint32_t mid, uint32_t size, const char *file, uint32_t line) {
        const uint64_t number = NumberOf(mid, line);
        const KnownSite &known = PlaceFor(cache, number, file);
        if (known.quickFile != file || known.number != number || known.totals == nullptr ||
            allocateFails.IsSet() || limit.load(std::memory_order_relaxed) != 0) [[unlikely]] {
            return nullptr;
        }
        RoomRing *const ring = Blocks::RingWith(cache.rings, size);
        if (ring == nullptr || !known.site->account->AddQuickly(&cache, size)) [[unlikely]] {
            return nullptr;
        }
        return Fill(*ring->Pop(), cache, known, size);
    }

    bool TryRelease(Cache &cache, void *block, const char *file, uint32_t line) {
        const uint64_t number = NumberOf(kReleasing, line);
        const KnownSite &known = PlaceFor(cache, number, file);
        if (known.quickFile != file || known.number != number) [[unlikely]] {
            return false;
        }
        BlockInfo *const info = blocks_.Find(block);
        if (info == nullptr) [[unlikely]] {
            return false;
        }
        const BlockState seen = info->state.load(std::memory_order_acquire);
        if (!seen.IsLive() || ResultOf(*info) != Result::kReleased ||
            cache.rings[info->sizeClass].Count() == blocks::kRingRoom ||
            !EndQuickly(cache, *info, seen)) [[unlikely]] {
            return false;
        }
        info->released.store(known.site, std::memory_order_relaxed);
        cache.rings[info->sizeClass].Push(info);
        return true;
    }

    // A block of at most Blocks::kLargest bytes.
    void *Allocate(Cache &cache, KnownSite &known, uint32_t size) {
        if (known.totals == nullptr) {
            known.totals = &TotalsOf(cache, known.site->number);
        }
        BlockInfo *const room = blocks_.Take(cache.rings, size);
        if (room == nullptr) {
            return nullptr;
        }
        known.site->account->Add(&cache, size);
        return Fill(*room, cache, known, size);
    }

    // Any block, one after the other, and not beyond the limit.
    [[gnu::noinline]] void *AllocateUnusual(Cache &cache, KnownSite &known, uint32_t size) {
        const std::lock_guard lock(limitMutex_);
        const uint64_t most = limit.load(std::memory_order_relaxed);
        if (most != 0 && LiveBytes() + size > most) {
            return nullptr;
        }
        return size <= Blocks::kLargest ? Allocate(cache, known, size)
                                        : AllocateLarge(cache, known, size);
    }

    enum class Result : uint8_t { kReleased, kDamaged, kNoBlock };
    struct Release {
        Result result = Result::kNoBlock;
        const Site *made = nullptr;
    };

    Release TakeBack(Cache &cache, void *address, const Site &site) {
        BlockInfo *const info = blocks_.Find(address);
        if (info == nullptr) [[unlikely]] {
            return TakeBackLarge(cache, address, site);
        }
        const Site *const made = End(cache, *info);
        if (made == nullptr) {
            return {};
        }
        const Release release = {ResultOf(*info), made};
        info->released.store(&site, std::memory_order_relaxed);
        blocks_.Give(cache.rings, *info);
        return release;
    }

    uint64_t LiveBytes() {
        const std::lock_guard lock(mutex_);
        uint64_t bytes = 0;
        for (const auto &[mid, account] : accounts_) {
            bytes += account.live.load(std::memory_order_relaxed) & Account::kByteMask;
        }
        return bytes;
    }

    // In the order of allocation.
    std::vector<const BlockInfo *> Live() {
        std::vector<const BlockInfo *> live;
        blocks_.ForEachLive([&live](const BlockInfo &info) { live.push_back(&info); });
        const std::lock_guard lock(mutex_);
        for (const auto &[address, large] : large_) {
            live.push_back(&large->info);
        }
        std::sort(live.begin(), live.end(),
                  [](const auto *a, const auto *b) { return a->serial < b->serial; });
        return live;
    }

    std::vector<DxrHostMemorySite> Sites() {
        const std::lock_guard lock(mutex_);
        std::vector<DxrHostMemorySite> all(sites_.size());
        for (const Site &site : sites_) {
            DxrHostMemorySite &to = all[site.number];
            to.mid = site.mid;
            to.line = site.line;
            to.file = site.file.c_str();
        }
        for (const auto &cache : caches_) {
            const std::lock_guard growth(cache->mutex);
            for (size_t i = 0; i < cache->totals.size(); ++i) {
                if (cache->totals[i] != nullptr) {
                    all[i].blocksTotal += cache->totals[i]->blocks.load(std::memory_order_relaxed);
                    all[i].bytesTotal += cache->totals[i]->bytes.load(std::memory_order_relaxed);
                }
            }
        }
        const auto count = [&all](const BlockInfo &info) {
            DxrHostMemorySite &site = all[info.Made()->number];
            ++site.blocksLive;
            site.bytesLive += info.size;
        };
        blocks_.ForEachLive(count);
        for (const auto &[address, large] : large_) {
            count(large->info);
        }
        // Sites that only release are none of these.
        std::erase_if(all, [](const DxrHostMemorySite &site) { return site.blocksTotal == 0; });
        return all;
    }

    std::map<uint32_t, DxrHostMemoryAccount> Accounts() {
        std::map<uint32_t, DxrHostMemoryAccount> all;
        for (const DxrHostMemorySite &site : Sites()) {
            DxrHostMemoryAccount &account = all[site.mid];
            account.mid = site.mid;
            account.blocksTotal += site.blocksTotal;
            account.bytesTotal += site.bytesTotal;
        }
        const std::lock_guard lock(mutex_);
        for (auto &[mid, account] : all) {
            const Account &from = accounts_.at(mid);
            const uint64_t live = from.live.load(std::memory_order_relaxed);
            account.blocksLive = live >> Account::kByteBits;
            account.bytesLive = live & Account::kByteMask;
            account.blocksPeak = from.blocksPeak.load(std::memory_order_relaxed);
            account.bytesPeak = from.bytesPeak.load(std::memory_order_relaxed);
        }
        return all;
    }

    // What an address is that is no live block.
    std::string Explain(const void *address) {
        const BlockInfo *const info = blocks_.Find(address);
        if (info != nullptr && info->state.load().IsReleased()) {
            return "a block that was released at " + TextOf(info->released.load()) +
                   ", allocated at " + TextOf(info->Made());
        }
        {
            const std::lock_guard lock(mutex_);
            for (const ReleasedLarge &each : releasedLarge_) {
                if (each.address == address) {
                    return "a block that was released at " + TextOf(each.released) +
                           ", allocated at " + TextOf(each.made);
                }
            }
        }
        return blocks_.Holds(address) ? "an address within the host's memory that is no block"
                                      : "an address that is not the host's";
    }

    std::atomic<uint64_t> limit;
    FaultPoint &allocateFails;
    std::atomic<uint64_t> badReleases{0};

  private:
    using SiteKey = std::tuple<uint32_t, uint32_t, std::string>;

    [[gnu::noinline]] void MakeCache(ThreadRecord &thread) {
        auto cache = std::make_unique<Cache>();
        const std::lock_guard lock(mutex_);
        cache->lastSerial = uint64_t{caches_.size()} << kCacheBits;
        caches_.push_back(std::move(cache));
        thread.memoryCache = caches_.back().get();
        thread.cacheHost = TheHost().number;
    }

    [[gnu::noinline]] static Totals &TotalsOf(Cache &cache, uint32_t number) {
        const std::lock_guard lock(cache.mutex);
        if (number >= cache.totals.size()) {
            cache.totals.resize(number + 1);
        }
        if (cache.totals[number] == nullptr) {
            cache.totals[number] = std::make_unique<Totals>();
        }
        return *cache.totals[number];
    }

    [[gnu::noinline]] void Learn(const Cache &cache, KnownSite &known, const char *file,
                                 uint64_t number) {
        const Site &site =
            Intern(cache, static_cast<uint32_t>(number >> 32), file, static_cast<uint32_t>(number));
        known = {&kNoText, file, number, &site, nullptr, fixedTexts_.Holds(file)};
    }

    const Site &Intern(const Cache &by, uint32_t mid, const char *file, uint32_t line) {
        const std::lock_guard lock(mutex_);
        const SiteKey key{mid, line, file};
        const auto found = known_.find(key);
        if (found != known_.end()) {
            return sites_[found->second];
        }
        const auto [account, isNew] = accounts_.try_emplace(mid);
        if (isNew && g_isFenceRemote) {
            account->second.owner = &by;
        }
        const auto number = static_cast<uint32_t>(sites_.size());
        sites_.push_back({mid, line, file, number, &account->second});
        try {
            known_.emplace(key, number);
        } catch (const std::bad_alloc &) {
            sites_.pop_back();
            throw;
        }
        return sites_.back();
    }

    // Ends the life of a block, in its account too, and gives its site; null when it does not live.
    // The room may meanwhile be used for another block, of another account: then that one ends.
    static const Site *End(const Cache &by, BlockInfo &info) {
        for (;;) {
            BlockState seen = info.state.load(std::memory_order_acquire);
            if (!seen.IsLive()) {
                return nullptr;
            }
            Account &account = *seen.Made()->account;
            const auto step = [&info, &account, seen] {
                // Nobody else releases blocks of this account.
                info.state.store(seen.Released(), std::memory_order_relaxed);
                account.SubtractAsOwner(info.size);
            };
            if (account.StepAsOwner(&by, step)) {
                return seen.Made();
            }
            account.ShareOut();
            if (info.state.compare_exchange_strong(seen, seen.Released(),
                                                   std::memory_order_acq_rel)) {
                account.SubtractShared(info.size);
                return seen.Made();
            }
        }
    }

    // As End, of a block that was seen to live. False, and nothing is done, when another thread was
    // quicker or the account is to be shared out first.
    static bool EndQuickly(const Cache &by, BlockInfo &info, BlockState seen) {
        Account &account = *seen.Made()->account;
        if (account.owner.load(std::memory_order_acquire) != nullptr) {
            return account.StepAsOwner(&by, [&info, &account, seen] {
                info.state.store(seen.Released(), std::memory_order_relaxed);
                account.SubtractAsOwner(info.size);
            });
        }
        if (!info.state.compare_exchange_strong(seen, seen.Released(), std::memory_order_acq_rel)) {
            return false;
        }
        account.SubtractShared(info.size);
        return true;
    }

    static uint64_t NumberOf(uint32_t mid, uint32_t line) { return uint64_t{mid} << 32 | line; }

    // Where the thread keeps a site, or another one that falls to the same place.
    static KnownSite &PlaceFor(Cache &cache, uint64_t number, const char *file) {
        const uint64_t hash =
            (reinterpret_cast<uint64_t>(file) ^ number) * uint64_t{0x9E3779B97F4A7C15};
        static_assert(std::tuple_size_v<decltype(cache.sites)> == 1 << 8);
        return cache.sites[hash >> 56];
    }

    static Result ResultOf(const BlockInfo &info) {
        return IsGuard(info.bytes - blocks::kGuard) && IsGuard(info.bytes + info.size)
                   ? Result::kReleased
                   : Result::kDamaged;
    }

    // Makes a block of its room. The account and the totals are there.
    static void *Fill(BlockInfo &room, Cache &cache, const KnownSite &known, uint32_t size) {
        room.size = size;
        room.serial = ++cache.lastSerial;
        SetGuards(room.bytes, size);
        known.totals->Add(size);
        room.state.store(BlockState::Live(known.site), std::memory_order_release);
        return room.bytes;
    }

    void *AllocateLarge(Cache &cache, KnownSite &known, uint32_t size) {
        if (known.totals == nullptr) {
            known.totals = &TotalsOf(cache, known.site->number);
        }
        auto large = std::make_unique<LargeBlock>();
        large->begin = static_cast<std::byte *>(std::malloc(size_t{size} + 2 * blocks::kGuard));
        if (large->begin == nullptr) {
            return nullptr;
        }
        large->info.bytes = large->begin + blocks::kGuard;
        BlockInfo &info = large->info;
        // Who finds it can release it: it is whole by then.
        const std::lock_guard lock(mutex_);
        (void)large_.emplace(info.bytes, std::move(large));
        known.site->account->Add(&cache, size);
        return Fill(info, cache, known, size);
    }

    [[gnu::noinline]] Release TakeBackLarge(const Cache &by, const void *address,
                                            const Site &site) {
        std::unique_ptr<LargeBlock> large;
        {
            const std::lock_guard lock(mutex_);
            const auto found = large_.find(address);
            if (found == large_.end()) {
                return {};
            }
            large = std::move(found->second);
            large_.erase(found);
            releasedLarge_[nextReleased_++ % releasedLarge_.size()] = {address, large->info.Made(),
                                                                       &site};
        }
        const Site &made = *large->info.Made();
        made.account->Subtract(&by, large->info.size);
        return {ResultOf(large->info), &made};
    }

    Blocks blocks_;
    const FixedTexts fixedTexts_;
    std::mutex limitMutex_;

    std::mutex mutex_;  // guards what follows
    std::vector<std::unique_ptr<Cache>> caches_;
    std::map<SiteKey, uint32_t> known_;
    std::deque<Site> sites_;
    std::map<uint32_t, Account> accounts_;
    std::map<const void *, std::unique_ptr<LargeBlock>> large_;
    std::array<ReleasedLarge, 64> releasedLarge_{};
    size_t nextReleased_ = 0;
};

MemoryService &StateOf(Host &host) {
    return host.Get<MemoryService>(ServiceId::kMemory);
}

// --- Slots

[[gnu::noinline]] void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line,
                                 const void *caller) try {
    const Call call("DXR_Malloc", caller);
    if (!call || size == 0) {
        return nullptr;
    }
    MemoryService &state = StateOf(*call);
    if (state.allocateFails.Fails()) [[unlikely]] {
        return nullptr;
    }
    Cache &cache = state.CacheOf(call);
    KnownSite &known = state.SiteOf(cache, mid, file != nullptr ? file : "", line);
    if (size > Blocks::kLargest || state.limit.load(std::memory_order_relaxed) != 0) [[unlikely]] {
        return state.AllocateUnusual(cache, known, size);
    }
    return state.Allocate(cache, known, size);
} catch (const std::bad_alloc &) {
    return nullptr;
}

// Reports what was wrong with a release.
[[gnu::noinline, gnu::cold]] void Blame(const Call &call, const void *block, const Site &site,
                                        const MemoryService::Release &release) {
    if (release.result == MemoryService::Result::kDamaged) {
        call.Misuse(kService, "written beyond a block",
                    "a block allocated at " + TextOf(release.made) + " and released at " +
                        TextOf(&site) + " was written before its begin or after its end");
        return;
    }
    MemoryService &state = StateOf(*call);
    ++state.badReleases;
    call.Misuse(kService, "released what is no block",
                "released at " + TextOf(&site) + ": " + state.Explain(block));
}

[[gnu::noinline]] void Release(void *block, const char *file, uint32_t line,
                               const void *caller) try {
    const Call call("DXR_Free", caller);
    if (!call || block == nullptr) {
        return;
    }
    MemoryService &state = StateOf(*call);
    Cache &cache = state.CacheOf(call);
    const Site &site = *state.SiteOf(cache, kReleasing, file != nullptr ? file : "", line).site;
    const MemoryService::Release release = state.TakeBack(cache, block, site);
    if (release.result != MemoryService::Result::kReleased) [[unlikely]] {
        Blame(call, block, site, release);
    }
} catch (const std::bad_alloc &) {
    // Nobody hears of it.
}

// The quick ways: of a thread, a site and a size that are known, where nothing is out of the
// ordinary. They make no calls and so need no frame; else null or false, nothing has changed, and
// the functions above do it.

void *AllocateQuickly(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    ThreadRecord *const thread = t_record;
    Host *const host = EnterQuickly(thread);
    if (host == nullptr || host->scheduler.SwitchesAtCalls() || thread->cacheHost != host->number ||
        size - 1 >= Blocks::kLargest) [[unlikely]] {
        return nullptr;
    }
    Cache &cache = *static_cast<Cache *>(thread->memoryCache);
    void *const block = StateOf(*host).TryAllocate(cache, mid, size, file, line);
    LeaveQuickly(*thread);
    return block;
}

bool ReleaseQuickly(void *block, const char *file, uint32_t line) {
    ThreadRecord *const thread = t_record;
    Host *const host = EnterQuickly(thread);
    if (host == nullptr || host->scheduler.SwitchesAtCalls() || thread->cacheHost != host->number)
        [[unlikely]] {
        return false;
    }
    Cache &cache = *static_cast<Cache *>(thread->memoryCache);
    const bool isReleased = StateOf(*host).TryRelease(cache, block, file, line);
    LeaveQuickly(*thread);
    return isReleased;
}

void *AllocateSlot(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    void *const block = AllocateQuickly(mid, size, file, line);
    return block != nullptr ? block : Allocate(mid, size, file, line, __builtin_return_address(0));
}

void ReleaseSlot(void *block, const char *file, uint32_t line) {
    if (!ReleaseQuickly(block, file, line)) {
        Release(block, file, line, __builtin_return_address(0));
    }
}

}  // namespace

std::unique_ptr<Service> MakeMemory(Host &host) {
    return std::make_unique<MemoryService>(host);
}

void FillMemory(DxrHooks &hooks) {
    hooks.memory.allocate = AllocateSlot;
    hooks.memory.release = ReleaseSlot;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::StateOf;

uint32_t DxrHostGetMemoryAccounts(DxrHost *host, DxrHostMemoryAccount *accounts,
                                  uint32_t room) try {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    const auto all = StateOf(*call).Accounts();
    uint32_t index = 0;
    for (const auto &[mid, account] : all) {
        if (index == room) {
            break;
        }
        accounts[index++] = account;
    }
    return static_cast<uint32_t>(all.size());
} catch (const std::bad_alloc &) {
    return 0;
}

DxrHostMemoryAccount DxrHostGetMemoryAccount(DxrHost *host, uint32_t mid) try {
    const ApiCall call(host);
    DxrHostMemoryAccount account{};
    if (call) {
        const auto all = StateOf(*call).Accounts();
        const auto found = all.find(mid);
        account = found != all.end() ? found->second : account;
    }
    account.mid = mid;
    return account;
} catch (const std::bad_alloc &) {
    DxrHostMemoryAccount none{};
    none.mid = mid;
    return none;
}

uint32_t DxrHostGetMemorySites(DxrHost *host, DxrHostMemorySite *sites, uint32_t room) try {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    const auto all = StateOf(*call).Sites();
    std::copy_n(all.begin(), std::min<size_t>(room, all.size()), sites);
    return static_cast<uint32_t>(all.size());
} catch (const std::bad_alloc &) {
    return 0;
}

uint32_t DxrHostReportLeaks(DxrHost *host, FILE *out) try {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    const auto live = StateOf(*call).Live();
    if (out != nullptr) {
        for (const devhost::BlockInfo *const block : live) {
            (void)std::fprintf(out, "mid %u: %u bytes from %s:%u\n", block->Made()->mid,
                               block->size, block->Made()->file.c_str(), block->Made()->line);
        }
    }
    return static_cast<uint32_t>(live.size());
} catch (const std::bad_alloc &) {
    return 0;
}

uint64_t DxrHostGetBadReleases(DxrHost *host) {
    const ApiCall call(host);
    return call ? StateOf(*call).badReleases.load() : 0;
}

void DxrHostSetMemoryLimit(DxrHost *host, uint64_t bytes) {
    const ApiCall call(host);
    if (call) {
        StateOf(*call).limit = bytes;
    }
}
