#include "dxr_devhost/memory.h"

#include <link.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "host.h"
#include "memory_accounts.h"
#include "memory_blocks.h"

namespace devhost {

// A place in a module that allocates or releases.
struct Site {
    uint32_t mid;
    uint32_t line;
    std::string file;
    uint32_t number;
    Account *account;
};

// What one thread has asked for at a site; blocks name it. What it has asked for in all is its part
// of the account's, and counted when that is.
struct alignas(64) Maker {
    Maker(Part &itsPart, const Site &itsSite) : part(itsPart), site(itsSite) {}

    Part &part;
    const Site &site;
    uint64_t blocks = 0;
    uint64_t bytes = 0;

    void Count(uint32_t size) {
        ++blocks;
        bytes += size;
    }
};

namespace {

constexpr const char *kService = "memory";
constexpr uint32_t kReleasing = 0xFFFFFFFF;  // the module of sites that release
constexpr uint32_t kCacheBits = 40;          // from here on up serials tell the cache

constexpr char kNoText = 0;

// A site as a thread knows it.
struct alignas(64) KnownSite {
    // The file once the site was used, when nobody changes the text.
    const char *quickFile = &kNoText;
    uint32_t mid = 0;
    uint32_t line = 0;
    const char *file = nullptr;  // null: none is known here
    const Site *site = nullptr;
    Maker *maker = nullptr;  // null for a site that releases
    bool isFixed = false;    // nobody changes the text
};

// Sites by a hash: one that falls to the place of another takes it.
using KnownSites = std::array<KnownSite, 256>;

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

class MemoryService;

// What one thread keeps for itself; the next thread with its record takes it over.
struct Cache {
    Cache(ThreadRecord &itsThread, MemoryService &itsService)
        : thread(itsThread), service(itsService) {
        none.bytes = reinterpret_cast<std::byte *>(&none);
    }
    Cache(const Cache &) = delete;
    Cache &operator=(const Cache &) = delete;
    Cache(Cache &&) = delete;
    Cache &operator=(Cache &&) = delete;
    ~Cache() = default;

    ThreadRecord &thread;
    MemoryService &service;
    RoomRings rings;
    KnownSites sites{};  // that allocate
    KnownSites releases{};
    uint64_t lastSerial = 0;  // of the blocks that were allocated with it
    BlockInfo *last = &none;  // that was made quickly: often the next one that is released
    BlockInfo none;           // of a block that nobody has
    std::vector<std::unique_ptr<Maker>> makers;  // by the number of the site; the service's lock
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

constexpr auto kGuardByte = static_cast<unsigned char>(blocks::kGuardWord);

void SetGuards(std::byte *bytes, uint32_t size, const blocks::FrontGuard &front) {
    std::memcpy(bytes - blocks::kGuard, &front, sizeof(front));
    std::memset(bytes + size, kGuardByte, blocks::kGuard);
}

// Both at once, and each as wide as it was stored: parts of what was stored just now come later.
inline bool AreWhole(const std::byte *bytes, uint32_t size, const blocks::FrontGuard &wanted) {
#ifdef __SSE2__
    static_assert(blocks::kGuard == sizeof(__m128i));
    const auto load = [](const void *from) {
        return _mm_loadu_si128(static_cast<const __m128i *>(from));
    };
    const __m128i front = _mm_cmpeq_epi8(load(bytes - blocks::kGuard), load(&wanted));
    const __m128i back =
        _mm_cmpeq_epi8(load(bytes + size), _mm_set1_epi8(static_cast<char>(kGuardByte)));
    return _mm_movemask_epi8(_mm_and_si128(front, back)) == 0xFFFF;
#else
    blocks::FrontGuard back;
    std::memset(&back, kGuardByte, sizeof(back));
    return std::memcmp(bytes - blocks::kGuard, &wanted, sizeof(wanted)) == 0 &&
           std::memcmp(bytes + size, &back, sizeof(back)) == 0;
#endif
}

bool IsWhole(const BlockInfo &info) {
    return AreWhole(info.bytes, info.size, info.front);
}

std::string TextOf(const Site *site) {
    return site != nullptr ? site->file + ":" + std::to_string(site->line) : "nowhere";
}

std::string TextOf(const Maker *maker) {
    return TextOf(maker != nullptr ? &maker->site : nullptr);
}

// A block that lives, as it was at one moment.
struct LiveBlock {
    uint64_t serial;
    uint32_t size;
    const Site *site;
};

class MemoryService : public Service {
  public:
    using Service::TheHost;

    explicit MemoryService(Host &host)
        : Service(host),
          limit(host.options.memoryLimit),
          allocateFails(host.chance.Point("memory.allocate")) {
        allocateFails.WhenSet([this] { LookAtEachPerhaps(); });
        LookAtEachPerhaps();
    }

    void ReportLeftovers() override {
        for (const LiveBlock &block : Live()) {
            TheHost().ReportLeftover(kService, {},
                                     std::to_string(block.size) + " bytes of module " +
                                         std::to_string(block.site->mid) + " from " +
                                         TextOf(block.site));
        }
    }

    Cache &CacheOf(const Call &call) {
        ThreadRecord &thread = call.Thread();
        if (thread.cacheHost != call->number) [[unlikely]] {
            MakeCache(thread);
        }
        return *static_cast<Cache *>(thread.memoryCache);
    }

    Maker &MakerOf(Cache &cache, uint32_t mid, const char *file, uint32_t line) {
        KnownSite &known = PlaceFor(cache.sites, mid, file, line);
        if (!IsKnown(known, mid, file, line)) [[unlikely]] {
            const std::lock_guard lock(mutex_);
            const Site &site = Intern(mid, file, line);
            Learn(known, file, site, &MakerLocked(cache, site));
        }
        return *known.maker;
    }

    const Site &ReleaseSiteOf(Cache &cache, const char *file, uint32_t line) {
        KnownSite &known = PlaceFor(cache.releases, kReleasing, file, line);
        if (!IsKnown(known, kReleasing, file, line)) [[unlikely]] {
            const std::lock_guard lock(mutex_);
            Learn(known, file, Intern(kReleasing, file, line), nullptr);
        }
        return *known.site;
    }

    // Where a site is that the thread knows, if its text is to be trusted; IsQuick tells.
    static const KnownSite &QuickSite(Cache &cache, uint32_t mid, const char *file, uint32_t line) {
        return PlaceFor(cache.sites, mid, file, line);
    }
    static const KnownSite &QuickRelease(Cache &cache, const char *file, uint32_t line) {
        return PlaceFor(cache.releases, kReleasing, file, line);
    }
    static bool IsQuick(const KnownSite &known, uint32_t mid, const char *file, uint32_t line) {
        return known.quickFile == file && known.line == line && known.mid == mid;
    }

    // A block of at most Blocks::kLargest bytes.
    void *Allocate(Cache &cache, Maker &maker, uint32_t size) {
        BlockInfo *const room = blocks_.Take(cache.rings, size);
        if (room == nullptr) {
            return nullptr;
        }
        {
            const QuickStep step(cache.thread, TheHost());
            if (maker.part.Take(&cache, size)) {
                Fill(*room, room->bytes, cache, maker, size);
                return room->bytes;
            }
        }
        return FillLocked(cache, maker, *room, size);
    }

    // The same, counted by the account itself.
    void *AllocateLocked(Cache &cache, Maker &maker, uint32_t size) {
        BlockInfo *const room = blocks_.Take(cache.rings, size);
        return room != nullptr ? FillLocked(cache, maker, *room, size) : nullptr;
    }

    // Any block, one after the other, and not beyond the limit.
    [[gnu::noinline]] void *AllocateUnusual(Cache &cache, Maker &maker, uint32_t size) {
        const std::lock_guard lock(limitMutex_);
        const uint64_t most = limit.load(std::memory_order_relaxed);
        if (most != 0 && LiveBytes() + size > most) {
            return nullptr;
        }
        return size <= Blocks::kLargest ? Allocate(cache, maker, size)
                                        : AllocateLarge(cache, maker, size);
    }

    void SetLimit(uint64_t bytes) {
        limit = bytes;
        LookAtEachPerhaps();
    }

    enum class Result : uint8_t { kReleased, kDamaged, kNoBlock };
    struct Release {
        Result result = Result::kNoBlock;
        const Maker *made = nullptr;
    };

    Release TakeBack(Cache &cache, void *address, const Site &site) {
        BlockInfo *const info = blocks_.Find(address);
        if (info == nullptr) [[unlikely]] {
            return TakeBackLarge(cache, address, site);
        }
        const Maker *const made = End(cache, *info, site);
        if (made == nullptr) {
            return {};
        }
        const Release release = {ResultOf(*info), made};
        blocks_.Give(cache.rings, *info);
        return release;
    }

    // Ends a block that lives and is whole, of a part of the thread. False, and nothing is done,
    // when it is none, or there is more to do. Within a quick call.
    bool EndQuickly(Cache &cache, void *&address, const KnownSite &known) const {
        // Without the way through its index, which may have been stored just now.
        BlockInfo *info = cache.last;
        if (info->bytes != address) {
            info = blocks_.FindQuickly(address);
            if (info == nullptr) [[unlikely]] {
                return false;
            }
        }
        const BlockState seen = info->state.load(std::memory_order_relaxed);
        if (!seen.IsLive()) [[unlikely]] {
            return false;
        }
        Part &part = seen.Made()->part;
        if (!part.IsOpenFor(&cache)) [[unlikely]] {
            return false;
        }
        const uint32_t size = info->size;
        if (!AreWhole(static_cast<const std::byte *>(address), size, info->front)) [[unlikely]] {
            return false;
        }
        if (!cache.rings[info->ring].TryPush(info)) [[unlikely]] {
            address = info->bytes;
            return false;
        }
        EndOwn(*info, seen, part, size, known.site);
        return true;
    }

    // In the order of allocation.
    std::vector<LiveBlock> Live() {
        std::vector<LiveBlock> live;
        {
            const Standstill still(*this);
            ForEachLive([&live](const BlockInfo &info) {
                live.push_back({info.serial, info.size, &info.Made()->site});
            });
        }
        std::sort(live.begin(), live.end(),
                  [](const auto &a, const auto &b) { return a.serial < b.serial; });
        return live;
    }

    std::vector<DxrHostMemorySite> Sites() {
        const Standstill still(*this);
        return SitesNow();
    }

    std::map<uint32_t, DxrHostMemoryAccount> Accounts() {
        const Standstill still(*this);
        std::map<uint32_t, DxrHostMemoryAccount> all;
        for (const DxrHostMemorySite &site : SitesNow()) {
            DxrHostMemoryAccount &account = all[site.mid];
            account.mid = site.mid;
            account.blocksTotal += site.blocksTotal;
            account.bytesTotal += site.bytesTotal;
        }
        for (auto &[mid, account] : all) {
            const Account::Values values = accounts_.at(mid).ValuesInPause();
            account.blocksLive = values.blocks;
            account.bytesLive = values.bytes;
            account.blocksPeak = values.blocksPeak;
            account.bytesPeak = values.bytesPeak;
        }
        return all;
    }

    // What an address is that is no live block.
    std::string Explain(const void *address, ThreadRecord &thread) {
        std::string text = ExplainReleased(address);
        if (!text.empty()) {
            return text;
        }
        if (blocks_.Holds(address)) {
            return "an address within the host's memory that is no block";
        }
        for (live::Visit other(thread); text.empty() && other.Next();) {
            if (&*other != &TheHost()) {
                text = other->Get<MemoryService>(ServiceId::kMemory).ExplainForeign(address);
            }
        }
        if (!text.empty()) {
            return text;
        }
        return "an address that is not the host's";
    }

    // The same of a block that was released; empty for what is none.
    std::string ExplainReleased(const void *address) {
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
        return {};
    }

    // What an address is to another host; empty for what is no block of this one.
    std::string ExplainForeign(const void *address) {
        const BlockInfo *const info = blocks_.Find(address);
        if (info != nullptr) {
            const BlockState seen = info->state.load();
            if (seen.IsLive()) {
                return "a block of another host, allocated at " + TextOf(seen.Made());
            }
        } else {
            const std::lock_guard lock(mutex_);
            const auto found = large_.find(address);
            if (found != large_.end()) {
                return "a block of another host, allocated at " +
                       TextOf(found->second->info.Made());
            }
        }
        const std::string text = ExplainReleased(address);
        return text.empty() ? text : text + ", of another host";
    }

    // What may not fit or is to fail: then each allocation goes the long way.
    [[nodiscard]] bool LooksAtEach() const { return looksAtEach_.load(std::memory_order_relaxed); }

    std::atomic<uint64_t> limit;
    FaultPoint &allocateFails;
    std::atomic<uint64_t> badReleases{0};

  private:
    using SiteKey = std::tuple<uint32_t, uint32_t, std::string>;

    void LookAtEachPerhaps() {
        const std::lock_guard limitLock(limitMutex_);
        looksAtEach_ = limit != 0 || allocateFails.IsSet();
        if (!LooksAtEach()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        for (auto &[mid, account] : accounts_) {
            const std::lock_guard accountLock(account.mutex);
            account.CloseAll();
        }
    }

    // For its time nobody allocates or releases.
    class Standstill {
      public:
        explicit Standstill(MemoryService &service) : service_(service), lock_(service.mutex_) {
            bool isFenceNeeded = false;
            for (auto &[mid, account] : service_.accounts_) {
                account.mutex.lock();
                isFenceNeeded |= account.Pause();
            }
            if (!isFenceNeeded) {
                return;
            }
            FenceAllThreads();
            for (auto &[mid, account] : service_.accounts_) {
                account.AwaitPause();
            }
        }
        ~Standstill() {
            for (auto &[mid, account] : service_.accounts_) {
                account.Resume();
                account.mutex.unlock();
            }
        }
        Standstill(const Standstill &) = delete;
        Standstill &operator=(const Standstill &) = delete;
        Standstill(Standstill &&) = delete;
        Standstill &operator=(Standstill &&) = delete;

      private:
        MemoryService &service_;
        const std::lock_guard<std::mutex> lock_;
    };

    // In a standstill.
    template <typename Visit>
    void ForEachLive(Visit visit) const {
        blocks_.ForEachLive(visit);
        for (const auto &[address, large] : large_) {
            visit(large->info);
        }
    }

    // The same.
    [[nodiscard]] std::vector<DxrHostMemorySite> SitesNow() const {
        std::vector<DxrHostMemorySite> all(sites_.size());
        for (const Site &site : sites_) {
            DxrHostMemorySite &to = all[site.number];
            to.mid = site.mid;
            to.line = site.line;
            to.file = site.file.c_str();
        }
        for (const auto &cache : caches_) {
            for (const auto &maker : cache->makers) {
                if (maker != nullptr) {
                    all[maker->site.number].blocksTotal += maker->blocks;
                    all[maker->site.number].bytesTotal += maker->bytes;
                }
            }
        }
        ForEachLive([&all](const BlockInfo &info) {
            DxrHostMemorySite &site = all[info.Made()->site.number];
            ++site.blocksLive;
            site.bytesLive += info.size;
        });
        // Sites that only release are none of these.
        std::erase_if(all, [](const DxrHostMemorySite &site) { return site.blocksTotal == 0; });
        return all;
    }

    // While there is a limit.
    uint64_t LiveBytes() {
        const std::lock_guard lock(mutex_);
        uint64_t bytes = 0;
        for (auto &[mid, account] : accounts_) {
            const std::lock_guard accountLock(account.mutex);
            bytes += account.BytesWhileClosed();
        }
        return bytes;
    }

    [[gnu::noinline]] void MakeCache(ThreadRecord &thread) {
        auto cache = std::make_unique<Cache>(thread, *this);
        const std::lock_guard lock(mutex_);
        cache->lastSerial = uint64_t{caches_.size()} << kCacheBits;
        caches_.push_back(std::move(cache));
        thread.memoryCache = caches_.back().get();
        thread.cacheMark = QuickMark(&TheHost());
        thread.cacheHost = TheHost().number;
    }

    static bool IsKnown(KnownSite &known, uint32_t mid, const char *file, uint32_t line) {
        // The text may be another one by now, say after a plug-in was unloaded.
        if (known.file != file || known.mid != mid || known.line != line ||
            (!known.isFixed && std::strcmp(known.site->file.c_str(), file) != 0)) [[unlikely]] {
            return false;
        }
        known.quickFile = known.isFixed ? file : &kNoText;
        return true;
    }

    void Learn(KnownSite &known, const char *file, const Site &site, Maker *maker) const {
        known = {&kNoText, site.mid, site.line, file, &site, maker, fixedTexts_.Holds(file)};
    }

    // With the lock.
    const Site &Intern(uint32_t mid, const char *file, uint32_t line) {
        const SiteKey key{mid, line, file};
        const auto found = known_.find(key);
        if (found != known_.end()) {
            return sites_[found->second];
        }
        Account &account = accounts_.try_emplace(mid, TheHost(), looksAtEach_).first->second;
        const auto number = static_cast<uint32_t>(sites_.size());
        sites_.push_back({mid, line, file, number, &account});
        try {
            known_.emplace(key, number);
        } catch (const std::bad_alloc &) {
            sites_.pop_back();
            throw;
        }
        return sites_.back();
    }

    // With the lock.
    static Maker &MakerLocked(Cache &cache, const Site &site) {
        if (site.number >= cache.makers.size()) {
            cache.makers.resize(site.number + 1);
        }
        std::unique_ptr<Maker> &maker = cache.makers[site.number];
        if (maker == nullptr) {
            maker = std::make_unique<Maker>(site.account->PartOf(&cache, cache.thread), site);
        }
        return *maker;
    }

    // Ends the life of a block, in its account too, and gives who made it; null when it does not
    // live. The room may meanwhile be used for another block: then that one ends.
    const Maker *End(const Cache &by, BlockInfo &info, const Site &site) {
        for (;;) {
            const BlockState seen = info.state.load(std::memory_order_acquire);
            if (!seen.IsLive()) {
                return nullptr;
            }
            Part &part = seen.Made()->part;
            {
                const QuickStep step(by.thread, TheHost());
                if (part.IsOpenFor(&by)) {
                    // Nobody else releases blocks of this part.
                    EndOwn(info, seen, part, info.size, &site);
                    return seen.Made();
                }
            }
            const std::lock_guard lock(part.account.mutex);
            part.account.Prepare(part, &by);
            if (info.state.load(std::memory_order_relaxed) == seen) {
                SetReleased(info, seen, &site);
                part.account.Subtract(part, &by, info.size);
                return seen.Made();
            }
        }
    }

    // Within a quick call, while the part is open.
    static void EndOwn(BlockInfo &info, BlockState seen, Part &part, uint32_t size,
                       const Site *site) {
        part.GiveBack(size);
        SetReleased(info, seen, site);
    }

    // Who finds it released is told where, also while another thread still is about it.
    static void SetReleased(BlockInfo &info, BlockState seen, const Site *site) {
        info.released.store(site, std::memory_order_release);
        info.state.store(seen.Released(), std::memory_order_release);
    }

    // Where a thread keeps a site, or another one that falls to the same place.
    static KnownSite &PlaceFor(KnownSites &sites, uint32_t mid, const char *file, uint32_t line) {
        const uint32_t hash =
            (static_cast<uint32_t>(reinterpret_cast<uintptr_t>(file)) + line + mid * 8) *
            0x9E3779B1U;
        static_assert(std::tuple_size_v<KnownSites> == 1 << 8);
        return sites[hash >> 24];
    }

    static Result ResultOf(const BlockInfo &info) {
        return IsWhole(info) ? Result::kReleased : Result::kDamaged;
    }

  public:
    // Makes a block of its room, in the time for which its part counts it.
    static void Fill(BlockInfo &room, std::byte *bytes, Cache &cache, Maker &maker, uint32_t size) {
        room.size = size;
        room.serial = ++cache.lastSerial;
        SetGuards(bytes, size, room.front);
        maker.Count(size);
        room.state.store(BlockState::Live(&maker), std::memory_order_release);
    }

  private:
    static void *FillLocked(Cache &cache, Maker &maker, BlockInfo &room, uint32_t size) {
        Account &account = maker.part.account;
        const std::lock_guard lock(account.mutex);
        account.Add(maker.part, size);
        Fill(room, room.bytes, cache, maker, size);
        return room.bytes;
    }

    void *AllocateLarge(Cache &cache, Maker &maker, uint32_t size) {
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
        return FillLocked(cache, maker, info, size);
    }

    [[gnu::noinline]] Release TakeBackLarge(const Cache &by, const void *address,
                                            const Site &site) {
        std::unique_ptr<LargeBlock> large;
        const std::lock_guard lock(mutex_);
        const auto found = large_.find(address);
        if (found == large_.end()) {
            return {};
        }
        large = std::move(found->second);
        large_.erase(found);
        const Maker *const made = large->info.Made();
        releasedLarge_[nextReleased_++ % releasedLarge_.size()] = {address, &made->site, &site};
        const std::lock_guard accountLock(made->part.account.mutex);
        made->part.account.Subtract(made->part, &by, large->info.size);
        return {ResultOf(large->info), made};
    }

    Blocks blocks_;
    const FixedTexts fixedTexts_;
    std::mutex limitMutex_;  // is locked first
    std::atomic<bool> looksAtEach_{false};

    std::mutex mutex_;  // guards what follows; before those of accounts
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
    Maker &maker = state.MakerOf(cache, mid, file != nullptr ? file : "", line);
    if (size > Blocks::kLargest || state.LooksAtEach()) [[unlikely]] {
        return state.AllocateUnusual(cache, maker, size);
    }
    return state.Allocate(cache, maker, size);
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
                "released at " + TextOf(&site) + ": " + state.Explain(block, call.Thread()));
}

[[gnu::noinline]] void Release(void *block, const char *file, uint32_t line,
                               const void *caller) try {
    const Call call("DXR_Free", caller);
    if (!call || block == nullptr) {
        return;
    }
    MemoryService &state = StateOf(*call);
    Cache &cache = state.CacheOf(call);
    const Site &site = state.ReleaseSiteOf(cache, file != nullptr ? file : "", line);
    const MemoryService::Release release = state.TakeBack(cache, block, site);
    if (release.result != MemoryService::Result::kReleased) [[unlikely]] {
        Blame(call, block, site, release);
    }
} catch (const std::bad_alloc &) {
    // Nobody hears of it.
}

// The quick ways: of a thread, a site and a size that are known, where nothing is out of the
// ordinary. They make no calls and so need no frame; all else goes to functions at their end. Their
// time is about that of what they store: where a value is had again instead of kept, as the file
// of a known site, they save no register.

// The rest of a quick allocation of which the account wants to know.
[[gnu::noinline]] void *AskToAllocate(Cache *cache, Maker *maker, uint32_t size) try {
    MemoryService &state = cache->service;
    SlowDown(cache->thread, state.TheHost());
    void *block = nullptr;
    if (!state.LooksAtEach()) {
        block = state.AllocateLocked(*cache, *maker, size);
    } else if (!state.allocateFails.Fails()) {
        block = state.AllocateUnusual(*cache, *maker, size);
    }
    LeaveQuickly(cache->thread);
    return block;
} catch (const std::bad_alloc &) {
    LeaveQuickly(cache->thread);
    return nullptr;
}

[[gnu::aligned(64)]] void *AllocateSlot(uint32_t mid, uint32_t size, const char *file,
                                        uint32_t line) {
    ThreadRecord *const thread = t_record;
    if (EnterWithCache(thread) && size - 1 < Blocks::kLargest) [[likely]] {
        Cache &cache = *static_cast<Cache *>(thread->memoryCache);
        const KnownSite &known = MemoryService::QuickSite(cache, mid, file, line);
        if (MemoryService::IsQuick(known, mid, file, line)) [[likely]] {
            RoomRing &ring = Blocks::RingFor(cache.rings, size);
            if (!ring.HasToGive()) [[unlikely]] {
                return Allocate(known.mid, size, known.file, known.line,
                                __builtin_return_address(0));
            }
            // While each allocation is looked at, all parts are closed.
            Maker &maker = *known.maker;
            if (!maker.part.Take(&cache, size)) [[unlikely]] {
                return AskToAllocate(&cache, &maker, size);
            }
            BlockInfo &room = *ring.Pop();
            std::byte *const bytes = room.bytes;
            MemoryService::Fill(room, bytes, cache, maker, size);
            cache.last = &room;
            LeaveQuickly(*thread);
            return bytes;
        }
    }
    return Allocate(mid, size, file, line, __builtin_return_address(0));
}

[[gnu::aligned(64)]] void ReleaseSlot(void *block, const char *file, uint32_t line) {
    ThreadRecord *const thread = t_record;
    if (EnterWithCache(thread)) [[likely]] {
        Cache &cache = *static_cast<Cache *>(thread->memoryCache);
        const KnownSite &known = MemoryService::QuickRelease(cache, file, line);
        if (known.quickFile == file && known.line == line) [[likely]] {
            if (cache.service.EndQuickly(cache, block, known)) [[likely]] {
                LeaveQuickly(*thread);
                return;
            }
            file = known.file;
            line = known.line;
        }
    }
    Release(block, file, line, __builtin_return_address(0));
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
        for (const devhost::LiveBlock &block : live) {
            (void)std::fprintf(out, "mid %u: %u bytes from %s:%u\n", block.site->mid, block.size,
                               block.site->file.c_str(), block.site->line);
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
        StateOf(*call).SetLimit(bytes);
    }
}
