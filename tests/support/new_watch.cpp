#include "support/new_watch.h"

#include <pthread.h>

#include <cstdlib>
#include <mutex>

namespace dxrtest {
namespace {

// Of static size, since it must not allocate itself.
struct Ledger {
    static constexpr size_t kMaxBlocks = 1024;

    std::mutex mutex;
    void *blocks[kMaxBlocks];
    size_t count;
    size_t calls;
    size_t failAt;
    bool fromThenOn;
    bool active;

    void *Allocate(size_t size) {
        const std::lock_guard lock(mutex);
        if (active) {
            ++calls;
            if (calls == failAt || (fromThenOn && failAt != 0 && calls > failAt)) {
                return nullptr;
            }
        }
        void *const block = std::malloc(size == 0 ? 1 : size);
        if (active && block != nullptr) {
            if (count == kMaxBlocks) {
                std::abort();
            }
            blocks[count++] = block;
        }
        return block;
    }

    void Free(void *block) {
        const std::lock_guard lock(mutex);
        // The youngest first: they go first.
        size_t after = count;
        while (after > 0 && blocks[after - 1] != block) {
            --after;
        }
        if (after > 0) {
            for (; after < count; ++after) {
                blocks[after - 1] = blocks[after];
            }
            --count;
        }
        std::free(block);
    }
};

constinit Ledger g_ledger = {};

// A child process is not to wait for a thread of its parent's that was just allocating.
[[maybe_unused]] const int g_isHeldInForks =
    pthread_atfork([] { g_ledger.mutex.lock(); }, [] { g_ledger.mutex.unlock(); },
                   [] { g_ledger.mutex.unlock(); });

void *AllocateOrThrow(size_t size) {
    if (void *const block = g_ledger.Allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}

}  // namespace

void NewWatch::Begin(size_t failAt, bool fromThenOn) {
    g_ledger.count = 0;
    g_ledger.calls = 0;
    g_ledger.failAt = failAt;
    g_ledger.fromThenOn = fromThenOn;
    g_ledger.active = true;
}

void NewWatch::End() {
    g_ledger.active = false;
}

size_t NewWatch::Live() {
    return g_ledger.count;
}

void *NewWatch::Oldest() {
    return g_ledger.count == 0 ? nullptr : g_ledger.blocks[0];
}

bool NewWatch::Failed() {
    return g_ledger.failAt != 0 && g_ledger.calls >= g_ledger.failAt;
}

}  // namespace dxrtest

void *operator new(size_t size) {
    return dxrtest::AllocateOrThrow(size);
}
void *operator new[](size_t size) {
    return dxrtest::AllocateOrThrow(size);
}
void *operator new(size_t size, const std::nothrow_t & /*tag*/) noexcept {
    return dxrtest::g_ledger.Allocate(size);
}
void *operator new[](size_t size, const std::nothrow_t & /*tag*/) noexcept {
    return dxrtest::g_ledger.Allocate(size);
}
void operator delete(void *block) noexcept {
    dxrtest::g_ledger.Free(block);
}
void operator delete[](void *block) noexcept {
    dxrtest::g_ledger.Free(block);
}
void operator delete(void *block, size_t /*size*/) noexcept {
    dxrtest::g_ledger.Free(block);
}
void operator delete[](void *block, size_t /*size*/) noexcept {
    dxrtest::g_ledger.Free(block);
}
void operator delete(void *block, const std::nothrow_t & /*tag*/) noexcept {
    dxrtest::g_ledger.Free(block);
}
void operator delete[](void *block, const std::nothrow_t & /*tag*/) noexcept {
    dxrtest::g_ledger.Free(block);
}
