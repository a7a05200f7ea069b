// Takes the place of the C library's allocator for the whole process, and passes on to it.

#include "counted_heap.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

extern "C" {
// NOLINTBEGIN: the C library's names
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
// NOLINTEND
}

namespace {

constinit std::atomic<int64_t> g_live = 0;

void *Counted(void *block) {
    g_live.fetch_add(static_cast<int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
    return block;
}

void Discount(void *block) {
    g_live.fetch_sub(static_cast<int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
}

}  // namespace

namespace bench {

int64_t LiveHeapBytes() {
    return g_live.load(std::memory_order_relaxed);
}

}  // namespace bench

extern "C" {

void *malloc(size_t size) noexcept {
    return Counted(__libc_malloc(size));
}

void *calloc(size_t count, size_t size) noexcept {
    return Counted(__libc_calloc(count, size));
}

void *realloc(void *block, size_t size) noexcept {
    Discount(block);
    void *const moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) {
        Counted(block);  // it stays as it was
        return nullptr;
    }
    return Counted(moved);
}

void *aligned_alloc(size_t alignment, size_t size) noexcept {
    return Counted(__libc_memalign(alignment, size));
}

void *memalign(size_t alignment, size_t size) noexcept {
    return Counted(__libc_memalign(alignment, size));
}

int posix_memalign(void **block, size_t alignment, size_t size) noexcept {
    *block = Counted(__libc_memalign(alignment, size));
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void *block) noexcept {
    Discount(block);
    __libc_free(block);
}
}
