#include "live_hosts.h"

#include <pthread.h>

#include <algorithm>
#include <mutex>
#include <new>

#include "host.h"

namespace devhost::live {
namespace {

// Nothing else is locked, and nobody called, while it is held.
constinit std::mutex g_mutex;
constinit Host *g_first = nullptr;

bool IsThere(const Host *host) {
    const Host *at = g_first;
    while (at != nullptr && at != host) {
        at = at->live.next;
    }
    return at != nullptr;
}

auto CallOf(const Host *host, ThreadRecord &thread) {
    return std::find_if(thread.named.begin(), thread.named.end(),
                        [host](const NamedCall &each) { return each.host == host; });
}

// Their memory stays as it is: nothing of it may be touched, also at the end of the thread.
void BeginChild() {
    g_first = nullptr;
    g_mutex.unlock();
    Register(nullptr, kNoHost);
    BeginLivesAnew();
    if (t_record != nullptr) {
        t_record->inside.store(nullptr);  // of a call in progress, whose slots find no host now
        t_record->own = nullptr;
        t_record->tasks.Clear();
        t_record->held.Clear();
    }
}

}  // namespace

void EndInChildren() {
    static const bool isPrepared = [] {
        const int failure =
            pthread_atfork([] { g_mutex.lock(); }, [] { g_mutex.unlock(); }, BeginChild);
        return failure == 0 ? true : throw std::bad_alloc();
    }();
    (void)isPrepared;
}

void Add(Host &host) {
    const std::lock_guard lock(g_mutex);
    host.live.next = g_first;
    g_first = &host;
}

bool TakeOut(Host *host, ThreadRecord &thread) {
    if (!Enter(host, thread)) {
        return false;
    }
    {
        const std::lock_guard lock(g_mutex);
        for (Host **at = &g_first; *at != nullptr; at = &(*at)->live.next) {
            if (*at == host) {
                *at = host->live.next;
                return true;
            }
        }
    }
    Leave(host, thread);
    return false;
}

bool Enter(Host *host, ThreadRecord &thread) {
    const auto found = CallOf(host, thread);
    if (found != thread.named.end()) {
        ++found->depth;
        return true;
    }
    thread.named.reserve(thread.named.size() + 1);
    const std::lock_guard lock(g_mutex);
    if (!IsThere(host)) {
        return false;
    }
    ++host->live.threads;
    thread.named.push_back({host, 1});
    return true;
}

void Leave(Host *host, ThreadRecord &thread) {
    const auto found = CallOf(host, thread);
    if (--found->depth == 0) {
        thread.named.erase(found);
        const std::lock_guard lock(g_mutex);
        --host->live.threads;
    }
}

void LeaveAll(ThreadRecord &thread) {
    const std::lock_guard lock(g_mutex);
    for (const NamedCall &each : thread.named) {
        --each.host->live.threads;
    }
    thread.named.clear();
}

bool IsIn(const Host *host, const ThreadRecord &thread) {
    return std::any_of(thread.named.begin(), thread.named.end(),
                       [host](const NamedCall &each) { return each.host == host; });
}

bool Visit::Next() {
    LeaveThis();
    for (;;) {
        Host *next = nullptr;
        {
            const std::lock_guard lock(g_mutex);
            uint32_t least = UINT32_MAX;
            for (Host *at = g_first; at != nullptr; at = at->live.next) {
                if (at->number > number_ && at->number <= least) {
                    next = at;
                    least = at->number;
                }
            }
            number_ = least;
        }
        if (next == nullptr) {
            return false;
        }
        // It may have ended meanwhile.
        if (Enter(next, thread_)) {
            host_ = next;
            return true;
        }
    }
}

void Visit::LeaveThis() {
    if (host_ != nullptr) {
        Leave(host_, thread_);
        host_ = nullptr;
    }
}

bool HasOthers(Host &host, const ThreadRecord &thread) {
    const uint32_t own = IsIn(&host, thread) ? 1 : 0;
    const std::lock_guard lock(g_mutex);
    return host.live.threads != own;
}

}  // namespace devhost::live
