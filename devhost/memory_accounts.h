// The accounts of the memory service: what the blocks of each module identifier come to, and the
// most that they ever came to, exact whenever somebody looks.
//
// Each thread has a part of each account that it uses. An open part has some blocks and bytes left:
// so many that the account does not exceed its highest values when the thread takes them all. As
// long as they last, the thread counts by plain steps, and without a word to the others. While a
// part is open its thread alone touches what is left and the blocks that it made, within quick
// calls; who wants to do so instead closes the part first, and all else is done under the account's
// lock. A higher value than ever before is one for sure when all other parts are closed.
//
// To close a part takes a fence in all threads; where the machine has none, all parts stay closed.
// The more often a part was closed, the more steps its thread goes under the lock before it opens
// again, so that fences are few whatever threads do.
#ifndef DXR_DEVHOST_MEMORY_ACCOUNTS_H
#define DXR_DEVHOST_MEMORY_ACCOUNTS_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "thread_record.h"

namespace devhost {

class Account;

// In a cache line of its own.
class alignas(64) Part {
  public:
    Part(Account &of, const void *owner, ThreadRecord &ownersThread)
        : account(of), cache(owner), thread_(ownersThread) {}

    Account &account;
    const void *const cache;  // its owner: what one thread keeps of memory

    // Within a quick call of the owner's thread; false when it is closed.
    [[nodiscard]] bool IsOpenFor(const void *owner) const {
        return openFor_.load(std::memory_order_acquire) == owner;
    }
    // The same. Counts a block; false, and nothing has changed, when the account is to be asked.
    bool Take(const void *owner, uint32_t bytes) {
        const uint64_t left = left_ - (kBlock + bytes);
        if (!IsOpenFor(owner) || (left & (kNoBlock | kNoBytes)) != 0) [[unlikely]] {
            return false;
        }
        left_ = left;
        return true;
    }
    // The same, of a block that ends while the part is open.
    void GiveBack(uint32_t bytes) { left_ += kBlock + bytes; }

  private:
    friend class Account;

    static constexpr uint32_t kLeastPatience = 64;
    static constexpr uint32_t kMostPatience = 4096;

    ThreadRecord &thread_;
    // What is left in one word: bytes, a bit that comes on when they do not suffice, blocks, and
    // the same for them. There is room for all blocks that the host can give out, and for more.
    static constexpr uint32_t kByteBits = 35;
    static constexpr uint64_t kNoBytes = uint64_t{1} << kByteBits;
    static constexpr uint64_t kBlock = kNoBytes << 1;
    static constexpr uint64_t kNoBlock = uint64_t{1} << 63;
    static constexpr uint64_t kMostBytesLeft = uint64_t{1} << 33;
    static constexpr uint64_t kMostBlocksLeft = uint64_t{1} << 25;

    uint64_t left_ = 0;
    std::atomic<const void *> openFor_{nullptr};  // the owner, or null

    [[nodiscard]] uint64_t BlocksLeft() const { return left_ / kBlock; }
    [[nodiscard]] uint64_t BytesLeft() const { return left_ & (kNoBytes - 1); }
    void SetLeft(uint64_t blocks, uint64_t bytes) { left_ = blocks * kBlock + bytes; }

    // Under the account's lock.
    [[nodiscard]] bool IsOpen() const {
        return openFor_.load(std::memory_order_relaxed) != nullptr;
    }
    bool isClosing_ = false;
    bool isPaused_ = false;
    uint32_t steps_ = 0;  // since it was closed
    uint32_t patience_ = 0;
};

class Account {
  public:
    struct Values {
        uint64_t blocks = 0;
        uint64_t bytes = 0;
        uint64_t blocksPeak = 0;
        uint64_t bytesPeak = 0;
    };

    // While that is so, all parts stay closed.
    Account(const Host &host, const std::atomic<bool> &staysClosed)
        : host_(host), staysClosed_(staysClosed) {}

    // The part of that owner. Throws std::bad_alloc.
    Part &PartOf(const void *owner, ThreadRecord &thread);

    std::mutex mutex;  // for all that follows; the owner of `own` is who calls

    // Counts a block.
    void Add(Part &own, uint32_t bytes);
    // Makes it possible to end a block of that part, which may be somebody else's.
    void Prepare(Part &part, const void *by);
    // Counts the end of a block of that part.
    void Subtract(Part &part, const void *by, uint32_t bytes);
    void CloseAll() { CloseAllBut(nullptr); }

    // Pause; then a fence if one of the accounts that were paused needs one; then AwaitPause: from
    // then on to Resume nothing is counted.
    bool Pause();
    void AwaitPause();
    void Resume();
    [[nodiscard]] Values ValuesInPause() const;
    [[nodiscard]] uint64_t BytesWhileClosed() const { return values_.bytes; }

  private:
    void CloseAllBut(const Part *open);
    void AwaitClosed(Part &part);
    void TakeWhatIsLeft(Part &part);
    void OpenPerhaps(Part &own);

    const Host &host_;
    const std::atomic<bool> &staysClosed_;
    Values values_;  // what parts have left counts as if it were taken
    std::vector<std::unique_ptr<Part>> parts_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_MEMORY_ACCOUNTS_H
