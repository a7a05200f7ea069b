// The hosts that are there. A call that names its host gets in while that is one of them, and the
// end of a host waits until nobody is in it any more.
#ifndef DXR_DEVHOST_LIVE_HOSTS_H
#define DXR_DEVHOST_LIVE_HOSTS_H

#include <cstdint>

#include "thread_record.h"

namespace devhost::live {

// What the set keeps in each host.
struct Entry {
    Host *next = nullptr;
    uint32_t threads = 0;  // that are in it by name
};

// From now on a child process by fork has no hosts of its parent's: no thread goes on there that
// could work for them, and locks are as other threads left them. Throws std::bad_alloc.
void EndInChildren();

void Add(Host &host);

// Takes the host out: from now on those alone get in who are in it, as the calling thread then is.
// False when it is none.
bool TakeOut(Host *host, ThreadRecord &thread);

// Begins a call of a host that was named; false when there is none at that address. Each Enter that
// gives true has its Leave. Throws std::bad_alloc.
bool Enter(Host *host, ThreadRecord &thread);
void Leave(Host *host, ThreadRecord &thread);

// For a task that was ended within its calls.
void LeaveAll(ThreadRecord &thread);

[[nodiscard]] bool IsIn(const Host *host, const ThreadRecord &thread);

// Whether other threads are in the host by its name.
bool HasOthers(Host &host, const ThreadRecord &thread);

// Goes through the live hosts in the order of their making, and is in one at a time.
class Visit {
  public:
    explicit Visit(ThreadRecord &thread) : thread_(thread) {}
    ~Visit() { LeaveThis(); }
    Visit(const Visit &) = delete;
    Visit &operator=(const Visit &) = delete;
    Visit(Visit &&) = delete;
    Visit &operator=(Visit &&) = delete;

    // False when there are no more. Throws std::bad_alloc.
    bool Next();
    Host *operator->() const { return host_; }
    Host &operator*() const { return *host_; }

  private:
    void LeaveThis();

    ThreadRecord &thread_;
    Host *host_ = nullptr;
    uint32_t number_ = 0;  // of the last one
};

}  // namespace devhost::live

#endif  // DXR_DEVHOST_LIVE_HOSTS_H
