#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>
#include <thread>

#include "services.h"

namespace devhost {
namespace {

// Knows its owner, so that misuse is an error code and not a hang: a second lock by the same
// thread, an unlock by another one, the end of a mutex that is held. Whether it is the owner itself
// a thread knows without any order among threads; the mutex gives that to all else.
struct Mutex {
    std::mutex mutex;
    std::atomic<std::thread::id> owner;

    [[nodiscard]] bool IsMine() const { return Owner() == std::this_thread::get_id(); }
    [[nodiscard]] bool IsFree() const { return Owner() == std::thread::id(); }
    [[nodiscard]] std::thread::id Owner() const { return owner.load(std::memory_order_relaxed); }
    void SetOwner(std::thread::id id) { owner.store(id, std::memory_order_relaxed); }
};

}  // namespace

uint32_t InitMutex(void **mutex, void * /*option*/) {
    if (mutex == nullptr) {
        return EINVAL;
    }
    auto *const handle = new (std::nothrow) Mutex;
    if (handle == nullptr) {
        return ENOMEM;
    }
    *mutex = handle;
    return 0;
}

uint32_t DestroyMutex(void *mutex) {
    auto *const handle = static_cast<Mutex *>(mutex);
    if (handle == nullptr) {
        return EINVAL;
    }
    if (!handle->IsFree()) {
        return EBUSY;
    }
    delete handle;
    return 0;
}

uint32_t LockMutex(void *mutex) {
    auto *const handle = static_cast<Mutex *>(mutex);
    if (handle == nullptr) {
        return EINVAL;
    }
    if (handle->IsMine()) {
        return EDEADLK;
    }
    handle->mutex.lock();
    handle->SetOwner(std::this_thread::get_id());
    return 0;
}

uint32_t UnlockMutex(void *mutex) {
    auto *const handle = static_cast<Mutex *>(mutex);
    if (handle == nullptr) {
        return EINVAL;
    }
    if (!handle->IsMine()) {
        return EPERM;
    }
    handle->SetOwner(std::thread::id());
    handle->mutex.unlock();
    return 0;
}

}  // namespace devhost
