#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "dxr_devhost.h"
#include "services.h"

namespace devhost {
namespace {

constexpr uint32_t kLevelFailure = 1;

struct Block {
    uint64_t serial;      // order of allocation
    uint64_t generation;  // of the accounts that it counts in
    uint32_t mid;
    uint32_t size;
    const std::string *file;
    uint32_t line;
};

struct Accounts {
    std::mutex mutex;
    std::unordered_map<void *, Block> blocks;
    std::map<uint32_t, DxrHostMemoryAccount> byMid;
    std::set<std::string, std::less<>> fileNames;  // each once; the callers' texts may not last
    uint64_t serial = 0;
    uint64_t generation = 0;  // a reset starts the next one
    uint64_t badReleases = 0;
};

// Never destroyed: modules may release their blocks while the process ends.
Accounts &TheAccounts() {
    static Accounts &accounts = *new Accounts;
    return accounts;
}

void Enter(Accounts &accounts, void *block, uint32_t mid, uint32_t size, const char *file,
           uint32_t line) {
    const auto name = accounts.fileNames.emplace(file != nullptr ? file : "").first;
    DxrHostMemoryAccount &account = accounts.byMid[mid];
    accounts.blocks.emplace(block,
                            Block{accounts.serial, accounts.generation, mid, size, &*name, line});
    ++accounts.serial;

    account.mid = mid;
    ++account.blocksTotal;
    ++account.blocksLive;
    account.bytesTotal += size;
    account.bytesLive += size;
    account.blocksPeak = std::max(account.blocksPeak, account.blocksLive);
    account.bytesPeak = std::max(account.bytesPeak, account.bytesLive);
}

bool Remove(Accounts &accounts, void *block) {
    const auto found = accounts.blocks.find(block);
    if (found == accounts.blocks.end()) {
        ++accounts.badReleases;
        return false;
    }
    if (found->second.generation == accounts.generation) {
        DxrHostMemoryAccount &account = accounts.byMid[found->second.mid];
        --account.blocksLive;
        account.bytesLive -= found->second.size;
    }
    accounts.blocks.erase(found);
    return true;
}

}  // namespace

void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    void *const block = std::malloc(size);
    if (block == nullptr) {
        return nullptr;
    }
    Accounts &accounts = TheAccounts();
    try {
        const std::lock_guard lock(accounts.mutex);
        Enter(accounts, block, mid, size, file, line);
    } catch (const std::bad_alloc &) {
        std::free(block);
        return nullptr;
    }
    return block;
}

void Release(void *block, const char *file, uint32_t line) {
    if (block == nullptr) {
        return;
    }
    Accounts &accounts = TheAccounts();
    bool known = false;
    {
        const std::lock_guard lock(accounts.mutex);
        known = Remove(accounts, block);
    }
    if (known) {
        std::free(block);
    } else {
        Print(kLevelFailure, "release of %p, which is no live block, %s:%u", block,
              file != nullptr ? file : "", line);
    }
}

void ResetMemory() {
    Accounts &accounts = TheAccounts();
    const std::lock_guard lock(accounts.mutex);
    accounts.byMid.clear();
    accounts.badReleases = 0;
    ++accounts.generation;
}

}  // namespace devhost

using devhost::TheAccounts;

uint32_t DxrHostGetMemoryAccounts(DxrHostMemoryAccount *accounts, uint32_t room) {
    devhost::Accounts &all = TheAccounts();
    const std::lock_guard lock(all.mutex);
    uint32_t index = 0;
    for (const auto &[mid, account] : all.byMid) {
        if (index == room) {
            break;
        }
        accounts[index] = account;
        ++index;
    }
    return static_cast<uint32_t>(all.byMid.size());
}

DxrHostMemoryAccount DxrHostGetMemoryAccount(uint32_t mid) {
    devhost::Accounts &all = TheAccounts();
    const std::lock_guard lock(all.mutex);
    const auto found = all.byMid.find(mid);
    if (found != all.byMid.end()) {
        return found->second;
    }
    DxrHostMemoryAccount none{};
    none.mid = mid;
    return none;
}

uint32_t DxrHostReportLeaks(FILE *out) {
    devhost::Accounts &all = TheAccounts();
    std::vector<devhost::Block> live;
    {
        const std::lock_guard lock(all.mutex);
        for (const auto &[address, block] : all.blocks) {
            if (block.generation == all.generation) {
                live.push_back(block);
            }
        }
    }
    std::sort(live.begin(), live.end(),
              [](const auto &a, const auto &b) { return a.serial < b.serial; });
    if (out != nullptr) {
        for (const devhost::Block &block : live) {
            (void)std::fprintf(out, "mid %u: %u bytes from %s:%u\n", block.mid, block.size,
                               block.file->c_str(), block.line);
        }
    }
    return static_cast<uint32_t>(live.size());
}

uint64_t DxrHostGetBadReleases(void) {
    devhost::Accounts &all = TheAccounts();
    const std::lock_guard lock(all.mutex);
    return all.badReleases;
}
