#include "dxr_devhost/system_task.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host.h"
#include "lock_order.h"
#include "records.h"
#include "system_task.h"

namespace devhost {

// Locked and unlocked with one atomic step while nobody waits for it. One that is destroyed stays
// in memory for the next one: a thread that comes late with its handle does no harm.
class Mutex {
  public:
    static constexpr uint64_t kHasWaiters = 1;

    // Twice the number of the thread that holds it, plus 1 when others wait; 0: free.
    std::atomic<uint64_t> word{0};
    std::atomic<uint64_t> number{0};              // in the order of making, for reports
    std::atomic<const void *> lockedAt{nullptr};  // by whom
    std::atomic<void *> handle{nullptr};          // null once it is destroyed
    WaitList waiters;                             // under the scheduler's lock

    static uint64_t WordOf(const ThreadRecord &thread) { return uint64_t{thread.number} << 1; }
    [[nodiscard]] bool IsHeldBy(const ThreadRecord &thread) const {
        return (word.load(std::memory_order_relaxed) & ~kHasWaiters) == WordOf(thread);
    }
};

namespace {

constexpr const char *kService = "task";
constexpr uint32_t kHighestPriority = 255;
constexpr uint32_t kAnyEvent = 0;
constexpr uint32_t kAllEvents = 1;

class TaskService : public Service {
  public:
    explicit TaskService(Host &host)
        : Service(host),
          createFails(host.chance.Point("task.create")),
          mutexFails(host.chance.Point("mutex.create")) {}

    void ReportLeftovers() override {
        for (const auto &[number, left] : live) {
            const bool isHeld = left->word.load() != 0;
            TheHost().ReportLeftover(
                kService, TheHost().handles.MadeAt(left->handle),
                "mutex " + std::to_string(number) +
                    (isHeld ? ", locked by " + Describe(left->lockedAt) : std::string()));
        }
    }

    std::string UseOf(const CodeRange &code) override { return TheHost().scheduler.UseOf(code); }

    FaultPoint &createFails;
    FaultPoint &mutexFails;
    LockOrder order;

    std::mutex mutex;  // guards what follows
    std::deque<Mutex> all;
    std::vector<Mutex *> free;
    std::map<uint64_t, Mutex *> live;
    uint64_t lastNumber = 0;
};

TaskService &StateOf(Host &host) {
    return host.Get<TaskService>(ServiceId::kSystemTask);
}

// The mutexes that the thread holds of this host.
std::vector<Mutex *> &HeldBy(ThreadRecord &thread, const Host &host) {
    return thread.held.Of(host.number);
}

// The same, with room for one more.
std::vector<Mutex *> &RoomIn(ThreadRecord &thread, const Host &host) {
    std::vector<Mutex *> &held = HeldBy(thread, host);
    if (held.size() == held.capacity()) [[unlikely]] {
        held.reserve(2 * held.size() + 8);
    }
    return held;
}

// "mutex 2 is locked while mutex 1 is held, ..."; the other order may lead through further mutexes.
std::string TextOf(const Mutex &held, const Mutex &mutex,
                   const std::vector<LockOrder::Edge> &before) {
    std::string text = "mutex " + std::to_string(mutex.number) + " is locked while mutex " +
                       std::to_string(held.number) + " is held, locked by " +
                       Describe(held.lockedAt) + "; elsewhere ";
    if (before.size() == 1) {
        text += "the first was held, locked by " + Describe(before[0].firstAt) + ", before " +
                Describe(before[0].secondAt);
    }
    constexpr size_t kMostSteps = 2;
    const size_t steps = before.size() == 1 ? 0 : std::min(before.size(), kMostSteps);
    for (size_t i = 0; i < steps; ++i) {
        text += (i == 0 ? "mutex " : ", mutex ") + std::to_string(before[i].first) +
                " was held, locked by " + Describe(before[i].firstAt) + ", before " +
                Describe(before[i].secondAt) + " locked mutex " + std::to_string(before[i].second);
    }
    if (before.size() > kMostSteps) {
        text += ", and so on to mutex " + std::to_string(held.number) + " through " +
                std::to_string(before.size() - kMostSteps) + " more";
    }
    return text + ": this could deadlock";
}

// Notes in what order the thread locks the mutex, or has locked it as the last that it holds.
void NoteOrder(const Call &call, const std::vector<Mutex *> &now, const Mutex &mutex) {
    try {
        // Whoever is told may lock too.
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
        const std::vector<Mutex *> held = now;
        for (const Mutex *const each : held) {
            if (each == &mutex) {
                continue;
            }
            const std::vector<LockOrder::Edge> before = StateOf(*call).order.Note(
                {each->number, mutex.number, each->lockedAt, call.At().address});
            if (!before.empty()) {
                call->reports.Add(DXR_HOST_REPORT_RISK, kService, call.At(), "order of locks",
                                  TextOf(*each, mutex, before));
            }
        }
    } catch (const std::bad_alloc &) {
        // The mutex is or will be locked all the same.
    }
}

// Waits until the mutex is the thread's. False when the host or the run has ended.
bool LockSlowly(const Call &call, Mutex &mutex) {
    ThreadRecord &thread = call.Thread();
    Scheduler &scheduler = call->scheduler;
    Task &task = scheduler.Current(call.Thread(), call.At());
    SchedulerLock lock = scheduler.Lock();
    for (;;) {
        uint64_t word = mutex.word.load(std::memory_order_relaxed);
        if (word == 0) {
            const uint64_t others = mutex.waiters.IsEmpty() ? 0 : Mutex::kHasWaiters;
            if (mutex.word.compare_exchange_strong(word, Mutex::WordOf(thread) | others,
                                                   std::memory_order_acquire)) {
                return true;
            }
            continue;
        }
        if (!mutex.word.compare_exchange_strong(word, word | Mutex::kHasWaiters,
                                                std::memory_order_relaxed)) {
            continue;
        }
        WaitReason reason(call.At(), "mutex %llu",
                          static_cast<unsigned long long>(mutex.number.load()));
        reason.heldBy = &mutex.lockedAt;
        reason.isForThread = true;
        if (scheduler.Wait(lock, task, mutex.waiters, kForever, reason) == Woken::kEnded) {
            return false;
        }
    }
}

// Gives the mutex to those who wait for it, or to nobody.
void Free(const Call &call, Mutex &mutex) {
    uint64_t word = Mutex::WordOf(call.Thread());
    if (!mutex.word.compare_exchange_strong(word, 0, std::memory_order_release)) {
        const SchedulerLock lock = call->scheduler.Lock();
        mutex.word.store(0, std::memory_order_release);
        call->scheduler.WakeOne(mutex.waiters);
    }
}

// --- Slots: events and tasks

uint32_t ReadEvent(uint32_t wanted, uint32_t mode, uint32_t ms, void *events) {
    const Call call("DXR_ReadEvent");
    if (!call) {
        return ECANCELED;
    }
    if (events == nullptr || mode > kAllEvents) {
        call.Misuse(kService, events == nullptr ? "a null pointer" : "no such mode");
        return EINVAL;
    }
    Scheduler &scheduler = call->scheduler;
    scheduler.Point(call.Thread());
    Task &task = scheduler.Current(call.Thread(), call.At());
    const uint64_t deadline = scheduler.After(ms);
    uint32_t taken = 0;
    uint32_t result = 0;
    {
        SchedulerLock lock = scheduler.Lock();
        const WaitReason reason(call.At(), "events 0x%x", wanted);
        Woken woken = scheduler.HasEnded() ? Woken::kEnded
                      : ms == 0            ? Woken::kTimeout
                                           : Woken::kYes;
        for (;;) {
            const uint32_t there = task.events & wanted;
            if (mode == kAnyEvent ? there != 0 : there == wanted) {
                task.events &= ~there;
                taken = there;
                break;
            }
            if (woken != Woken::kYes) {
                result = woken == Woken::kEnded ? ECANCELED : ETIMEDOUT;
                break;
            }
            woken = scheduler.Wait(lock, task, task.eventsChanged, deadline, reason);
        }
    }
    std::memcpy(events, &taken, sizeof(taken));
    return result;
}

uint32_t WriteEvent(uint32_t task, uint32_t events) {
    const Call call("DXR_WriteEvent");
    if (!call) {
        return ECANCELED;
    }
    Scheduler &scheduler = call->scheduler;
    bool isThere = false;
    {
        const SchedulerLock lock = scheduler.Lock();
        Task *const found = scheduler.Find(task);
        isThere = found != nullptr;
        if (isThere) {
            found->events |= events;
            scheduler.WakeAll(found->eventsChanged);
        }
    }
    scheduler.Point(call.Thread());
    return isThere ? 0 : ESRCH;
}

uint32_t CreateTask(void *name, void *entry, void *argument, uint32_t priority, void *options,
                    uint32_t flag, void *id) {
    const Call call("DXR_CreateTask");
    if (!call) {
        return ECANCELED;
    }
    DxrHostTaskOptions given{sizeof(DxrHostTaskOptions), 0};
    if (entry == nullptr || priority > kHighestPriority || flag > 1 ||
        (options != nullptr && !CopyRecord(options, given))) {
        call.Misuse(kService, "no entry, priority above 255 or wrong options");
        return EINVAL;
    }
    if (call->scheduler.HasEnded()) {
        return ECANCELED;
    }
    if (StateOf(*call).createFails.Fails()) {
        return EAGAIN;
    }
    auto task = std::make_unique<Task>();
    task->name = name != nullptr ? static_cast<const char *>(name) : "";
    task->entry = reinterpret_cast<DxrHostTaskEntry>(entry);
    task->argument = argument;
    task->priority = priority;
    task->stackSize = given.stackSize;
    task->startsWithEvent = flag == 1;
    task->made = {call.At().slot, ModuleCaller(call.At().address)};
    const uint32_t made = call->scheduler.Create(std::move(task));
    if (made == 0) {
        return EAGAIN;
    }
    if (id != nullptr) {
        std::memcpy(id, &made, sizeof(made));
    }
    call->scheduler.Point(call.Thread());
    return 0;
}

uint32_t DelayTask(uint32_t ms) {
    const Call call("DXR_DelayTask");
    if (!call) {
        return ECANCELED;
    }
    Scheduler &scheduler = call->scheduler;
    if (ms == 0) {
        scheduler.Point(call.Thread());
        return scheduler.HasEnded() ? ECANCELED : 0;
    }
    Task &task = scheduler.Current(call.Thread(), call.At());
    const uint64_t deadline = scheduler.After(ms);
    SchedulerLock lock = scheduler.Lock();
    const WaitReason reason(call.At(), "%u ms to pass", ms);
    return scheduler.Delay(lock, task, deadline, reason) == Woken::kEnded ? ECANCELED : 0;
}

// --- Slots: mutexes

uint32_t InitMutex(void **mutex, void * /*option*/) {
    const Call call("DXR_InitMutex");
    if (!call) {
        return ECANCELED;
    }
    if (mutex == nullptr) {
        call.Misuse(kService, "a null pointer");
        return EINVAL;
    }
    TaskService &state = StateOf(*call);
    if (state.mutexFails.Fails()) {
        return ENOMEM;
    }
    const std::lock_guard lock(state.mutex);
    if (state.free.empty()) {
        state.free.reserve(state.all.size() + 1);  // all may be destroyed
        state.free.push_back(&state.all.emplace_back());
    }
    Mutex *const made = state.free.back();
    made->number = state.lastNumber + 1;
    const auto entry = state.live.emplace(made->number, made).first;
    made->handle = call->handles.Make(HandleType::kMutex, made, call.At());
    if (made->handle == nullptr) {
        state.live.erase(entry);
        return ENOMEM;
    }
    state.free.pop_back();
    ++state.lastNumber;
    void *const given = made->handle;
    std::memcpy(static_cast<void *>(mutex), &given, sizeof(given));
    return 0;
}

uint32_t LockMutex(void *handle) {
    const Call call("DXR_LockMutex");
    if (!call) {
        return ECANCELED;
    }
    auto *const mutex = call.Find<Mutex>(kService, handle, HandleType::kMutex);
    if (mutex == nullptr) {
        return EINVAL;
    }
    ThreadRecord &thread = call.Thread();
    call->scheduler.Point(thread);
    std::vector<Mutex *> *held = &RoomIn(thread, *call);  // while nothing is locked yet
    uint64_t word = 0;
    if (!mutex->word.compare_exchange_strong(word, Mutex::WordOf(thread),
                                             std::memory_order_acquire)) {
        if ((word & ~Mutex::kHasWaiters) == Mutex::WordOf(thread)) {
            call.Misuse(kService, "locked twice",
                        "mutex " + std::to_string(mutex->number) + " is locked already by " +
                            Describe(mutex->lockedAt));
            return EDEADLK;
        }
        // Before the wait: a deadlock has no time after it. Not for another mutex, which may be
        // there by now.
        if (!held->empty() && mutex->handle.load(std::memory_order_relaxed) == handle) {
            NoteOrder(call, *held, *mutex);
            held = &RoomIn(thread, *call);  // whoever was told may have locked too
        }
        if (!LockSlowly(call, *mutex)) {
            return ECANCELED;
        }
    }
    // It may have been destroyed meanwhile, and be another one by now.
    if (mutex->handle.load(std::memory_order_relaxed) != handle) [[unlikely]] {
        Free(call, *mutex);
        (void)call.Find<Mutex>(kService, handle, HandleType::kMutex);
        return EINVAL;
    }
    mutex->lockedAt.store(call.At().address, std::memory_order_relaxed);
    held->push_back(mutex);
    if (held->size() > 1) [[unlikely]] {
        NoteOrder(call, *held, *mutex);
    }
    return 0;
}

uint32_t UnlockMutex(void *handle) {
    const Call call("DXR_UnlockMutex");
    if (!call) {
        return ECANCELED;
    }
    auto *const mutex = call.Find<Mutex>(kService, handle, HandleType::kMutex);
    if (mutex == nullptr) {
        return EINVAL;
    }
    ThreadRecord &thread = call.Thread();
    if (!mutex->IsHeldBy(thread)) {
        // At the end of a run locks fail, and few modules look.
        if (!call->scheduler.HasEnded()) {
            call.Misuse(kService, "unlocked by another",
                        "mutex " + std::to_string(mutex->number) + " is not held by this thread");
        }
        return EPERM;
    }
    std::vector<Mutex *> &held = HeldBy(thread, *call);
    if (!held.empty() && held.back() == mutex) {
        held.pop_back();
    } else {
        std::erase(held, mutex);
    }
    Free(call, *mutex);
    call->scheduler.Point(thread);
    return 0;
}

// --- The quick ways of a lock and an unlock: one mutex at a time, for which nobody waits

// The mutex was destroyed after it was found, and may be another one by now. Ends the quick call.
[[gnu::noinline]] uint32_t GiveBack(ThreadRecord &thread, Host &host, Mutex &mutex,
                                    const void *handle, const void *caller) {
    const SlowedDown goesOn(thread, host);
    Guard([&] {
        const Call call("DXR_LockMutex", caller);
        Free(call, mutex);
        (void)call.Find<Mutex>(kService, handle, HandleType::kMutex);
    });
    return EINVAL;
}

[[gnu::noinline]] uint32_t LockUnusual(void *handle, const void *caller) {
    return RunGuarded<LockMutex>(caller, handle);
}

[[gnu::noinline]] uint32_t UnlockUnusual(void *handle, const void *caller) {
    return RunGuarded<UnlockMutex>(caller, handle);
}

uint32_t LockSlot(void *handle) {
    ThreadRecord *const thread = t_record;
    Host *const host = EnterQuickly(thread);
    if (host != nullptr && !host->scheduler.clock.IsVirtual()) [[likely]] {
        auto *const mutex = static_cast<Mutex *>(host->handles.Find(handle, HandleType::kMutex));
        std::vector<Mutex *> *const held = thread->held.AtHand(host->number);
        uint64_t word = 0;
        if (mutex != nullptr && held != nullptr && held->empty() && held->capacity() != 0 &&
            mutex->word.compare_exchange_strong(word, Mutex::WordOf(*thread),
                                                std::memory_order_acquire)) [[likely]] {
            const void *const caller = __builtin_return_address(0);
            if (mutex->handle.load(std::memory_order_relaxed) != handle) [[unlikely]] {
                return GiveBack(*thread, *host, *mutex, handle, caller);
            }
            mutex->lockedAt.store(t_callerBehind != nullptr ? t_callerBehind : caller,
                                  std::memory_order_relaxed);
            if (held->size() == held->capacity()) {
                __builtin_unreachable();  // no call is made, so there is no frame
            }
            held->push_back(mutex);
            LeaveQuickly(*thread);
            return 0;
        }
    }
    return LockUnusual(handle, __builtin_return_address(0));
}

uint32_t UnlockSlot(void *handle) {
    ThreadRecord *const thread = t_record;
    Host *const host = EnterQuickly(thread);
    if (host != nullptr && !host->scheduler.clock.IsVirtual()) [[likely]] {
        auto *const mutex = static_cast<Mutex *>(host->handles.Find(handle, HandleType::kMutex));
        std::vector<Mutex *> *const held = thread->held.AtHand(host->number);
        if (mutex != nullptr && held != nullptr && !held->empty() && held->back() == mutex)
            [[likely]] {
            uint64_t word = Mutex::WordOf(*thread);
            if (mutex->word.compare_exchange_strong(word, 0, std::memory_order_release))
                [[likely]] {
                held->pop_back();
                LeaveQuickly(*thread);
                return 0;
            }
        }
    }
    return UnlockUnusual(handle, __builtin_return_address(0));
}

uint32_t DestroyMutex(void *handle) {
    const Call call("DXR_DestroyMutex");
    if (!call) {
        return ECANCELED;
    }
    auto *const mutex = call.Find<Mutex>(kService, handle, HandleType::kMutex);
    if (mutex == nullptr) {
        return EINVAL;
    }
    TaskService &state = StateOf(*call);
    // Nobody locks it while it is destroyed; those who still try then see that it is another one.
    uint64_t word = 0;
    if (!mutex->word.compare_exchange_strong(word, Mutex::WordOf(call.Thread()),
                                             std::memory_order_acquire)) {
        call.Misuse(kService, "destroyed while held",
                    "mutex " + std::to_string(mutex->number) + " is held, locked by " +
                        Describe(mutex->lockedAt));
        return EBUSY;
    }
    if (mutex->handle.load(std::memory_order_relaxed) != handle ||
        call->handles.End(handle, HandleType::kMutex, call.At()) == nullptr) {
        Free(call, *mutex);
        (void)call.Find<Mutex>(kService, handle, HandleType::kMutex);
        return EINVAL;
    }
    mutex->handle = nullptr;
    state.order.Forget(mutex->number);
    {
        const std::lock_guard lock(state.mutex);
        state.live.erase(mutex->number);
        state.free.push_back(mutex);
    }
    Free(call, *mutex);
    return 0;
}

}  // namespace

void ReportHeldMutexes(Host &host, ThreadRecord &thread, const std::string &who) {
    const std::vector<Mutex *> *const now = thread.held.Find(host.number);
    if (now == nullptr || host.scheduler.HasEnded() || host.isEnding) {
        return;  // the end of a run ends tasks anywhere, and that of a host their calls
    }
    // Whoever is told may lock too.
    const std::vector<Mutex *> held = *now;
    for (const Mutex *const mutex : held) {
        const std::string which = "holds mutex " + std::to_string(mutex->number);
        std::string text = who;
        text += " has ended and " + which + ", locked by " + Describe(mutex->lockedAt);
        text += ": it stays locked";
        host.reports.Add(DXR_HOST_REPORT_MISUSE, kService, {}, which.c_str(), text);
    }
}

std::unique_ptr<Service> MakeSystemTask(Host &host) {
    return std::make_unique<TaskService>(host);
}

void FillSystemTask(DxrHooks &hooks) {
    hooks.task.readEvent = Guarded<ReadEvent>;
    hooks.task.writeEvent = Guarded<WriteEvent>;
    hooks.task.createTask = Guarded<CreateTask>;
    hooks.task.delayTask = Guarded<DelayTask>;
    hooks.task.initMutex = Guarded<InitMutex>;
    hooks.task.destroyMutex = Guarded<DestroyMutex>;
    hooks.task.lockMutex = LockSlot;
    hooks.task.unlockMutex = UnlockSlot;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::Task;
using devhost::ThisThread;

uint32_t DxrHostGetTaskId(DxrHost *host) try {
    const ApiCall call(host);
    const devhost::Place place{"DxrHostGetTaskId", __builtin_return_address(0)};
    return call ? call->scheduler.Current(ThisThread(), place).id : 0;
} catch (const std::bad_alloc &) {
    return 0;
}

uint32_t DxrHostJoinTask(DxrHost *host, uint32_t task, uint32_t ms) try {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    const devhost::Place place{"DxrHostJoinTask", __builtin_return_address(0)};
    Task &by = call->scheduler.Current(ThisThread(), place);
    return call->scheduler.Join(by, task, call->scheduler.After(ms), place);
} catch (const std::bad_alloc &) {
    return ENOMEM;
}
