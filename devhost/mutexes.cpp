#include <pthread.h>

#include <cerrno>
#include <new>

#include "services.h"

namespace devhost {
namespace {

std::uint32_t Code(int error) {
    return static_cast<std::uint32_t>(error);
}

}  // namespace

// Error-checking mutexes: a second lock by the same thread, or an unlock by another one, is an
// error code and not a hang.
std::uint32_t InitMutex(void **mutex, void * /*option*/) {
    if (mutex == nullptr) {
        return EINVAL;
    }
    auto *const handle = new (std::nothrow) pthread_mutex_t;
    if (handle == nullptr) {
        return ENOMEM;
    }
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    const int error = pthread_mutex_init(handle, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (error != 0) {
        delete handle;
        return Code(error);
    }
    *mutex = handle;
    return 0;
}

std::uint32_t DestroyMutex(void *mutex) {
    auto *const handle = static_cast<pthread_mutex_t *>(mutex);
    if (handle == nullptr) {
        return EINVAL;
    }
    const int error = pthread_mutex_destroy(handle);
    if (error == 0) {
        delete handle;
    }
    return Code(error);
}

std::uint32_t LockMutex(void *mutex) {
    return mutex != nullptr ? Code(pthread_mutex_lock(static_cast<pthread_mutex_t *>(mutex)))
                            : EINVAL;
}

std::uint32_t UnlockMutex(void *mutex) {
    return mutex != nullptr ? Code(pthread_mutex_unlock(static_cast<pthread_mutex_t *>(mutex)))
                            : EINVAL;
}

}  // namespace devhost
