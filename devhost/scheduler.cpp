#include "scheduler.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <new>
#include <utility>

#include "dxr_devhost/system_task.h"
#include "guarded.h"
#include "host.h"
#include "live_hosts.h"
#include "system_task.h"

namespace devhost {
namespace {

// In virtual time a task that asks again and again without waiting sees the clock move after so
// many questions.
constexpr uint32_t kMostPointsAtOneMoment = 10000;
constexpr uint64_t kLittleNs =
    kNsPerMs;  // by this much where nothing is due, or what asks for the time

// How long the end of the host waits for tasks that run and do not call it.
constexpr uint64_t kGraceNs = 2 * kNsPerSec;

// How long, in the machine's time, a wait may take that the host's time does not end, before that
// is told.
constexpr uint64_t kPatienceNs = 2 * kNsPerSec;

// How often, in the machine's time, who waits for a thread looks whether it is still there.
constexpr uint64_t kLookNs = kNsPerSec / 10;

std::string NameOf(const Task &task) {
    return "task " + std::to_string(task.id) + " \"" + task.name + "\"";
}

timespec TimeOf(uint64_t ns) {
    return {static_cast<time_t>(ns / kNsPerSec), static_cast<long>(ns % kNsPerSec)};
}

}  // namespace

// --- Conditions and lists

Condition::Condition() {
    pthread_condattr_t attributes;
    (void)pthread_condattr_init(&attributes);
    (void)pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    (void)pthread_cond_init(&condition_, &attributes);
    (void)pthread_condattr_destroy(&attributes);
}

void Condition::Wait(SchedulerLock &lock) {
    (void)pthread_cond_wait(&condition_, lock.mutex()->native_handle());
}

bool Condition::WaitUntil(SchedulerLock &lock, uint64_t machineNs) {
    const timespec until = TimeOf(machineNs);
    return pthread_cond_timedwait(&condition_, lock.mutex()->native_handle(), &until) == 0;
}

WaitReason::WaitReason(const Place &at, const char *format, ...) : place(at) {
    std::va_list args;
    va_start(args, format);
    (void)std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
}

// Not inlined: the compiler would complain that a list holds what lies on a stack.
[[gnu::noinline]] void WaitList::Add(Waiter &waiter) {
    waiter.list = this;
    waiter.before = last_;
    waiter.after = nullptr;
    (last_ != nullptr ? last_->after : first_) = &waiter;
    last_ = &waiter;
}

void WaitList::Remove(Waiter &waiter) {
    WaitList *const list = waiter.list;
    if (list == nullptr) {
        return;
    }
    (waiter.before != nullptr ? waiter.before->after : list->first_) = waiter.after;
    (waiter.after != nullptr ? waiter.after->before : list->last_) = waiter.before;
    waiter.list = nullptr;
}

void JobQueue::Add(Job &job) {
    job.isQueued = true;
    job.queuedBefore = last_;
    job.queuedAfter = nullptr;
    (last_ != nullptr ? last_->queuedAfter : first_) = &job;
    last_ = &job;
}

Job &JobQueue::TakeFirst() {
    Job &job = *first_;
    Remove(job);
    return job;
}

void JobQueue::Remove(Job &job) {
    if (!job.isQueued) {
        return;
    }
    (job.queuedBefore != nullptr ? job.queuedBefore->queuedAfter : first_) = job.queuedAfter;
    (job.queuedAfter != nullptr ? job.queuedAfter->queuedBefore : last_) = job.queuedBefore;
    job.isQueued = false;
}

void JobQueue::Clear() {
    while (!IsEmpty()) {
        (void)TakeFirst();
    }
}

// --- Waiting

Scheduler::Scheduler(Host &host, const Options &options)
    : clock(options.clock, options.startSec),
      host_(host),
      switchesAtCalls_(clock.IsVirtual() && options.switchAtCalls),
      endNs_(clock.IsVirtual() && options.endSec != 0 ? options.endSec * kNsPerSec : kForever),
      choices_(options.seed, "scheduler") {
}

Scheduler::~Scheduler() = default;

uint64_t Scheduler::After(uint32_t ms) const {
    return ms == DXR_HOST_FOREVER ? kForever : clock.NowNs() + ms * kNsPerMs;
}

Woken Scheduler::Wait(SchedulerLock &lock, Task &task, WaitList &list, uint64_t deadline,
                      const WaitReason &reason) {
    if (hasEnded_) {
        StayAfterEnd(lock, task);
        return Woken::kEnded;
    }
    Waiter waiter;
    waiter.task = &task;
    waiter.reason = &reason;
    // First what may fail without memory.
    if (deadline != kForever && !clock.IsReal()) {
        alarms_.Set(waiter, deadline);
    }
    list.Add(waiter);
    task.waiter = &waiter;
    if (task.isScheduled) {
        task.state = TaskState::kWaiting;
        SwitchAway(lock, task);
    } else {
        if (mover_ == &ThisThread()) {
            WaitWhileTimeStands(lock, waiter, deadline);
        } else if (clock.IsVirtual()) {
            WaitBesideTasks(lock, waiter);
        }
        while (!waiter.isDone) {
            const uint64_t due =
                !clock.IsReal() || deadline == kForever ? kForever : clock.MachineNs(deadline);
            const uint64_t look = reason.isForThread ? Clock::MachineNow() + kLookNs : kForever;
            if (due == kForever && look == kForever) {
                task.turn.Wait(lock);
            } else if (!task.turn.WaitUntil(lock, std::min(due, look)) && !waiter.isDone) {
                if (due <= look) {
                    Finish(waiter, Woken::kTimeout);
                } else {
                    LookForLost(lock);
                    task.waiter = &waiter;  // whoever was told may have waited
                }
            }
        }
    }
    task.waiter = nullptr;
    if (waiter.result == Woken::kEnded && isFinishing_ && task.entry != nullptr) {
        EndHere(lock, task);
    }
    return waiter.result;
}

Woken Scheduler::Delay(SchedulerLock &lock, Task &task, uint64_t deadline,
                       const WaitReason &reason) {
    if (mover_ == &ThisThread() && !hasEnded_) {
        TellTimeStands(lock, reason, DXR_HOST_REPORT_MISUSE);
        return Woken::kEnded;
    }
    WaitList nobodyWakes;
    return Wait(lock, task, nobodyWakes, deadline, reason);
}

// Others may still wake who moves the stepped clock, but no time-out does.
void Scheduler::WaitWhileTimeStands(SchedulerLock &lock, Waiter &waiter, uint64_t deadline) {
    Task &task = *waiter.task;
    const uint64_t asked = deadline - std::min(deadline, clock.NowNs());
    const uint64_t until = Clock::MachineNow() + std::min(asked, kPatienceNs);
    while (!waiter.isDone && task.turn.WaitUntil(lock, until)) {
    }
    if (waiter.isDone) {
        return;
    }
    const bool isRefused = deadline != kForever;
    TellTimeStands(lock, *waiter.reason, isRefused ? DXR_HOST_REPORT_MISUSE : DXR_HOST_REPORT_RISK);
    task.waiter = &waiter;  // whoever was told may have waited
    if (!waiter.isDone && (isRefused || hasEnded_)) {
        Finish(waiter, Woken::kEnded);
    }
}

// A thread that the host did not make waits in virtual time: for tasks that know nothing of it.
void Scheduler::WaitBesideTasks(SchedulerLock &lock, Waiter &waiter) {
    Task &task = *waiter.task;
    if (running_ == nullptr && !hasEnded_) {
        // They all wait already, perhaps for what is due for this one.
        RunNext(lock);
    }
    bool isTold = false;
    while (!waiter.isDone && !isTold) {
        const Task *const running = running_;
        const uint32_t points = pointsWithoutTime_;
        const uint64_t now = clock.NowNs();
        const bool isWoken = task.turn.WaitUntil(lock, Clock::MachineNow() + kPatienceNs);
        if (!isWoken && waiter.reason->isForThread) {
            LookForLost(lock);
        }
        if (!isWoken && !waiter.isDone && running != nullptr && running == running_ &&
            points == pointsWithoutTime_ && now == clock.NowNs()) {
            isTold = true;
            TellTaskStaysAway(lock, *running, waiter);
        }
    }
    task.waiter = &waiter;  // whoever was told may have waited
    if (!waiter.isDone && hasEnded_) {
        Finish(waiter, Woken::kEnded);
    }
}

// Under the lock, which is given back for that time.
void Scheduler::TellTaskStaysAway(SchedulerLock &lock, const Task &running, const Waiter &waiter) {
    const WaitReason &reason = *waiter.reason;
    Guard([&] {
        const std::string text = NameOf(*waiter.task) + " waits for " + reason.text.data() +
                                 ", and time stands while " + NameOf(running) +
                                 " does not wait in the host: should that wait for this thread "
                                 "elsewhere, say in pthread_join, neither goes on";
        lock.unlock();
        host_.reports.Add(DXR_HOST_REPORT_RISK, "task", reason.place, "a task stays away", text);
    });
    if (!lock.owns_lock()) {
        lock.lock();
    }
}

// Under the lock, which is given back for that time.
void Scheduler::TellTimeStands(SchedulerLock &lock, const WaitReason &reason, uint32_t kind) {
    lock.unlock();
    Guard([&] {
        host_.reports.Add(kind, "task", reason.place, "waits on the clock's thread",
                          std::string("a timer's function waits for ") + reason.text.data() +
                              " on the thread that moves the clock, which stands meanwhile" +
                              (kind == DXR_HOST_REPORT_MISUSE ? ": the wait is cut off" : ""));
    });
    lock.lock();
}

void Scheduler::Finish(Waiter &waiter, Woken result) {
    WaitList::Remove(waiter);
    alarms_.Remove(waiter);
    waiter.isDone = true;
    waiter.result = result;
    Task &task = *waiter.task;
    if (!task.isScheduled) {
        task.turn.Notify();
        return;
    }
    task.state = TaskState::kReady;
    ready_.push_back(&task);
    if (running_ == nullptr && !isChoosing_) {
        // All waited for a thread that is not the host's.
        ready_.pop_back();
        running_ = &task;
        task.turn.Notify();
    }
}

void Scheduler::WakeOne(WaitList &list) {
    if (!list.IsEmpty()) {
        Finish(*list.First(), Woken::kYes);
    }
}

void Scheduler::WakeAll(WaitList &list) {
    while (!list.IsEmpty()) {
        Finish(*list.First(), Woken::kYes);
    }
}

// --- Virtual time: one runs at a time

void Scheduler::SwitchPerhaps(ThreadRecord &thread) {
    Task *const task = TaskOf(thread);
    if (task == nullptr || !task->isScheduled) {
        return;
    }
    SchedulerLock lock(mutex_);
    if (!hasEnded_ && ++pointsWithoutTime_ > kMostPointsAtOneMoment) {
        const Alarm *const next = alarms_.Earliest();
        LetPass(lock, next != nullptr ? next->due : clock.NowNs() + kLittleNs);
    }
    if (hasEnded_) {
        StayAfterEnd(lock, *task);
        return;
    }
    if (ready_.empty()) {
        return;
    }
    task->state = TaskState::kReady;
    ready_.push_back(task);
    SwitchAway(lock, *task);
}

// Who only looks at the clock waits for it to move, whatever else is due; but lines of a log have
// the time too, and hours must not pass with these.
void Scheduler::CountQuestion(ThreadRecord &thread) {
    const Task *const task = TaskOf(thread);
    if (task == nullptr || !task->isScheduled ||
        ++questionsWithoutTime_ <= kMostPointsAtOneMoment) {
        return;
    }
    SchedulerLock lock(mutex_);
    if (hasEnded_) {
        questionsWithoutTime_ = 0;
        clock.MoveTo(clock.NowNs() + kLittleNs);
        return;
    }
    const Alarm *const next = alarms_.Earliest();
    const uint64_t soon = clock.NowNs() + kLittleNs;
    LetPass(lock, next != nullptr ? std::min(next->due, soon) : soon);
}

// Under the lock: moves the clock, which may be the end of the run, and fires what is due then.
void Scheduler::LetPass(SchedulerLock &lock, uint64_t untilNs) {
    if (untilNs > endNs_) {
        EndRun(lock, "the time is over");
        return;
    }
    clock.MoveTo(std::max(clock.NowNs(), untilNs));
    pointsWithoutTime_ = 0;
    questionsWithoutTime_ = 0;
    Alarm *const next = alarms_.Earliest();
    if (next != nullptr && next->due <= clock.NowNs()) {
        Fire(*next);
    }
}

void Scheduler::SwitchAway(SchedulerLock &lock, Task &self) {
    Task *const next = Choose(lock);
    running_ = next;
    if (next != nullptr && next != &self) {
        next->turn.Notify();
    }
    while (running_ != &self && !isFinishing_) {
        if (running_ == nullptr && !hasEnded_ && &self == Watcher()) {
            AwaitThreads(lock, self);
        } else {
            self.turn.Wait(lock);
        }
    }
    if (isFinishing_ && self.entry != nullptr) {
        if (self.waiter != nullptr) {
            WaitList::Remove(*self.waiter);
            alarms_.Remove(*self.waiter);
        }
        EndHere(lock, self);
    }
    self.state = TaskState::kRunning;
}

// All tasks wait, and only a thread that is not the host's can wake one. This task waits for that,
// and tells when it takes long.
void Scheduler::AwaitThreads(SchedulerLock &lock, Task &self) {
    Waiter *const waiter = self.waiter;
    const uint64_t until = Clock::MachineNow() + kPatienceNs;
    bool isTold = false;
    while (running_ == nullptr && !hasEnded_ && !isFinishing_) {
        if (!ready_.empty() || alarms_.Earliest() != nullptr) {
            RunNext(lock);  // a thread has started something
            continue;
        }
        if (self.turn.WaitUntil(lock, Clock::MachineNow() + kLookNs)) {
            continue;
        }
        LookForLost(lock);
        if (!isTold && running_ == nullptr && !hasEnded_ && !isFinishing_ &&
            Clock::MachineNow() >= until) {
            isTold = true;
            TellThreadsStayAway(lock, self);
        }
        self.waiter = waiter;  // whoever was told may have waited
    }
}

// Who waits for threads while all tasks wait: the first of these. Null when there is none.
Task *Scheduler::Watcher() const {
    if (main_ != nullptr) {
        return main_;
    }
    const auto found = std::find_if(tasks_.begin(), tasks_.end(), [](const auto &each) {
        return each.second->isScheduled && each.second->state == TaskState::kWaiting;
    });
    return found != tasks_.end() ? found->second.get() : nullptr;
}

// Under the lock: a thread that is not the host's has made or started something. While all tasks
// wait nobody else would see to it.
void Scheduler::GoOn(SchedulerLock &lock) {
    if (!clock.IsVirtual() || running_ != nullptr || isChoosing_ || hasEnded_) {
        return;
    }
    if (!ready_.empty()) {
        RunNext(lock);
    } else if (Task *const watcher = Watcher(); watcher != nullptr) {
        watcher->turn.Notify();
    }
}

// Under the lock, which is given back for that time.
void Scheduler::LookForLost(SchedulerLock &lock) {
    lock.unlock();
    EndLostThreads(ThisThread());
    lock.lock();
}

// Under the lock, which is given back for that time.
void Scheduler::TellThreadsStayAway(SchedulerLock &lock, Task &self) {
    Waiter *const waiter = self.waiter;
    Guard([&] {
        std::string who;
        for (const auto &[id, task] : tasks_) {
            who += MayWake(task) ? (who.empty() ? "" : " or ") + NameOf(*task) : "";
        }
        const std::vector<Waiting> waiting = AllWaiting();
        lock.unlock();
        host_.reports.Add(DXR_HOST_REPORT_RISK, "task", {}, "all tasks wait",
                          "all tasks wait, and nothing is due: time stands until " + who +
                              " wakes one, a thread that the host did not make" + TextOf(waiting));
    });
    if (!lock.owns_lock()) {
        lock.lock();
    }
    self.waiter = waiter;  // whoever was told may have waited
}

// Chooses who runs, and lets it run.
void Scheduler::RunNext(SchedulerLock &lock) {
    running_ = Choose(lock);
    if (running_ != nullptr) {
        running_->turn.Notify();
    }
}

// Whether a thread that is not the host's may wake others: it does not wait itself. One that has
// ended keeps no record, so nobody else holds its task.
bool Scheduler::MayWake(const std::shared_ptr<Task> &task) {
    return !task->isScheduled && task.use_count() > 1 &&
           (task->waiter == nullptr || task->waiter->isDone);
}

// After the end of a run a task of virtual time goes no further: the first one alone runs. Any task
// ends here when its host ends.
void Scheduler::StayAfterEnd(SchedulerLock &lock, Task &task) {
    if (task.entry == nullptr) {
        return;
    }
    if (task.isScheduled && !isFinishing_) {
        SwitchAway(lock, task);
    }
    if (isFinishing_) {
        EndHere(lock, task);
    }
}

// The task that runs next; when all wait, the clock jumps. Null while only a thread that is not the
// host's could go on, and when all tasks have ended.
Task *Scheduler::Choose(SchedulerLock &lock) {
    const struct Choosing {
        bool &is;
        const bool was = std::exchange(is, true);
        ~Choosing() { is = was; }
    } choosing{isChoosing_};
    for (;;) {
        if (ready_.empty() && strangers_ != 0 &&
            (strangersJoined_ != 0 || alarms_.Earliest() == nullptr)) {
            EndLostTasks();
        }
        if (hasEnded_) {
            return main_;
        }
        if (!ready_.empty()) {
            const size_t index = choices_.Below(ready_.size());
            Task *const task = ready_[index];
            ready_[index] = ready_.back();
            ready_.pop_back();
            return task;
        }
        Alarm *const next = alarms_.Earliest();
        if (next == nullptr) {
            if (std::any_of(tasks_.begin(), tasks_.end(),
                            [](const auto &each) { return MayWake(each.second); })) {
                if (Task *const watcher = Watcher(); watcher != nullptr) {
                    watcher->turn.Notify();  // it waits for them
                }
                return nullptr;
            }
            if (std::none_of(tasks_.begin(), tasks_.end(), [](const auto &each) {
                    return !each.second->isTimer && each.second->waiter != nullptr;
                })) {
                return nullptr;  // the last one has ended
            }
            EndRun(lock, "deadlock: all tasks wait");
        } else {
            LetPass(lock, next->due);
        }
    }
}

// Nobody runs but the first task, whose wait ends, as do those of threads that are not the host's.
void Scheduler::EndRun(SchedulerLock &lock, const char *what) {
    hasEnded_ = true;
    try {
        TellEnd(lock, what);
    } catch (const std::bad_alloc &) {
        // It ends without a word.
        if (!lock.owns_lock()) {
            lock.lock();
        }
    }
    if (main_ != nullptr && main_->waiter != nullptr) {
        WaitList::Remove(*main_->waiter);
        alarms_.Remove(*main_->waiter);
        main_->waiter->isDone = true;
        main_->waiter->result = Woken::kEnded;
    }
    for (const auto &[id, each] : tasks_) {
        if (each->waiter != nullptr && !each->waiter->isDone && !each->isScheduled) {
            Finish(*each->waiter, Woken::kEnded);
        }
    }
}

// Under the lock.
std::vector<Scheduler::Waiting> Scheduler::AllWaiting() const {
    std::vector<Waiting> waiting;
    for (const auto &[id, task] : tasks_) {
        if (task->waiter != nullptr && !task->isTimer) {
            const WaitReason &reason = *task->waiter->reason;
            const void *const heldBy = reason.heldBy != nullptr ? reason.heldBy->load() : nullptr;
            waiting.push_back({NameOf(*task), reason.place, reason.text.data(), heldBy});
        }
    }
    return waiting;
}

// Not under the lock.
std::string Scheduler::TextOf(const std::vector<Waiting> &waiting) {
    std::string text;
    for (const Waiting &each : waiting) {
        text += "; " + each.task + " waits for " + each.what + " (" + Describe(each.place) + ")";
        if (each.heldBy != nullptr) {
            text += ", locked by " + Describe(each.heldBy);
        }
    }
    return text;
}

// Reports who waits for what.
void Scheduler::TellEnd(SchedulerLock &lock, const char *what) {
    const std::vector<Waiting> waiting = AllWaiting();
    lock.unlock();
    std::string text = what + TextOf(waiting);
    host_.reports.Add(DXR_HOST_REPORT_RUN, "task", {}, what, text);
    lock.lock();
    endText_.swap(text);
}

// Under the lock: all waits end, and no job runs any more.
void Scheduler::EndWaits(const char *text) {
    hasEnded_ = true;
    endText_ = text;
    for (const auto &[id, each] : tasks_) {
        if (each->waiter != nullptr && !each->isTimer &&
            (!each->isScheduled || each.get() == main_)) {
            Finish(*each->waiter, Woken::kEnded);
        }
    }
    while (alarms_.Earliest() != nullptr) {
        alarms_.Remove(*alarms_.Earliest());
    }
    due_.Clear();
}

void Scheduler::End(ThreadRecord &thread, const char *service, const Place &place, const char *what,
                    const char *text) {
    host_.reports.Add(DXR_HOST_REPORT_RUN, service, place, what, text);
    SchedulerLock lock(mutex_);
    EndWaits(text);
    Task *const task = TaskOf(thread);
    if (task == nullptr || task->entry == nullptr) {
        return;
    }
    if (task->isScheduled) {
        SwitchAway(lock, *task);
    }
    while (!isFinishing_) {
        task->turn.Wait(lock);
    }
    EndHere(lock, *task);
}

void Scheduler::Stop(const char *text) {
    const SchedulerLock lock(mutex_);
    if (!hasEnded_) {
        EndWaits(text);
    }
}

std::string Scheduler::UseOf(const CodeRange &code) {
    const SchedulerLock lock(mutex_);
    for (const auto &[id, task] : tasks_) {
        if (task->state != TaskState::kEnded &&
            code.Holds(reinterpret_cast<const void *>(task->entry))) {
            return NameOf(*task);
        }
    }
    return {};
}

std::string Scheduler::EndText() {
    const SchedulerLock lock(mutex_);
    return endText_;
}

// --- Tasks

Task *Scheduler::TaskOf(ThreadRecord &thread) const {
    const std::shared_ptr<Task> *const found = thread.tasks.Find(host_.number);
    // cppcheck-suppress nullPointer
    return found != nullptr ? found->get() : nullptr;
}

Task &Scheduler::Adopt(ThreadRecord &thread, const char *name, bool isScheduled) {
    auto task = std::make_shared<Task>();
    task->isScheduled = isScheduled;
    task->host = &host_;
    task->state = TaskState::kRunning;
    const SchedulerLock lock(mutex_);
    ready_.reserve(tasks_.size() + 2);  // so that nobody wakes in vain
    task->id = ++lastTask_;
    task->name = name != nullptr ? name : "thread " + std::to_string(task->id);
    std::shared_ptr<Task> &own = thread.tasks.Of(host_.number);
    task->record = &thread;
    tasks_.emplace(task->id, task);
    own = task;
    strangers_ += isScheduled ? 0 : 1;
    return *task;
}

void Scheduler::AdoptMain() {
    main_ = &Adopt(ThisThread(), "main", true);
    running_ = main_;
}

Task &Scheduler::Current(ThreadRecord &thread, const Place &place) {
    if (Task *const known = TaskOf(thread); known != nullptr) {
        return *known;
    }
    EndStopped(thread);
    Task &task = Adopt(thread, nullptr, false);
    if (clock.IsVirtual()) {
        host_.reports.Add(DXR_HOST_REPORT_RISK, "task", place, "foreign thread",
                          "a thread that the host did not make is a task in virtual time: the run "
                          "does not repeat");
    }
    return task;
}

uint32_t Scheduler::Create(std::unique_ptr<Task> made) {
    std::shared_ptr<Task> task = std::move(made);
    SchedulerLock lock(mutex_);
    // One that is still at its destructors may wait there for the caller: it is joined later.
    std::erase_if(endedThreads_,
                  [](pthread_t thread) { return pthread_tryjoin_np(thread, nullptr) == 0; });
    const Task *const created = hasEnded_ ? nullptr : CreateLocked(std::move(task));
    const uint32_t id = created != nullptr ? created->id : 0;
    GoOn(lock);
    return id;
}

Task *Scheduler::CreateLocked(std::shared_ptr<Task> task) {
    task->host = &host_;
    task->isScheduled = clock.IsVirtual();
    task->id = lastTask_ + 1;
    ready_.reserve(tasks_.size() + 2);
    if (task->name.empty()) {
        task->name = "task " + std::to_string(task->id);
    }
    endedThreads_.reserve(endedThreads_.size() + tasks_.size() + 1);  // all may end
    const auto entry = tasks_.emplace(task->id, task).first;
    try {
        task->record = &TakeThreadRecord();
    } catch (const std::bad_alloc &) {
        tasks_.erase(entry);
        throw;
    }
    pthread_attr_t attributes;
    (void)pthread_attr_init(&attributes);
    if (task->stackSize != 0) {
        (void)pthread_attr_setstacksize(&attributes, task->stackSize);
    }
    task->self = task;
    const int result = pthread_create(&task->thread, &attributes, Main, task.get());
    (void)pthread_attr_destroy(&attributes);
    if (result != 0) {
        task->record->isUsed.store(false, std::memory_order_release);
        task->self.reset();
        tasks_.erase(task->id);
        return nullptr;
    }
    ++lastTask_;
    if (task->isScheduled) {
        ready_.push_back(task.get());
    }
    return task.get();
}

// The task ends with its thread: destructors of the module's that run there are its as well.
void *Scheduler::Main(void *user) {
    auto *const task = static_cast<Task *>(user);
    ThreadRecord &thread = *task->record;
    KeepThreadRecord(thread);
    (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);  // waits are not made for that
    thread.tasks.Of(task->host->number) = task->self;
    thread.own = task;
    t_taskOf = task->host->number;
    thread.depth = 0;
    // Also for a function that ends the thread.
    const struct Out {
        ThreadRecord &thread;
        Task &task;
        ~Out() {
            task.isInBody = false;
            // A task that was ended within calls leaves them here.
            thread.depth = 0;
            thread.inside.store(nullptr, std::memory_order_release);
            live::LeaveAll(thread);
        }
    } out{thread, *task};
    RunBody(task);
    return nullptr;
}

// Nothing here has a destructor: a task that is ended comes back by longjmp.
void Scheduler::RunBody(Task *task) {
    task->isInBody = true;
    if (_setjmp(task->end) == 0 && task->host->scheduler.Begins(*task)) {
        task->entry(task->argument);
        task->hasReturned = true;
    }
    task->hasComeBack = true;
}

void Scheduler::OwnThreadEnds(ThreadRecord &thread, Task &task) {
    TaskFate fate = TaskFate::kRuns;
    if (task.fate.compare_exchange_strong(fate, TaskFate::kEnds)) {
        Host &host = *task.host;
        Guard([&] {
            const std::string who = NameOf(task);
            if (!task.hasComeBack) {
                host.reports.Add(DXR_HOST_REPORT_MISUSE, "task", task.made, "thread ended",
                                 (task.isTimer ? host.scheduler.lastJob_ : who) +
                                     " has ended its thread instead of returning");
            }
            ReportHeldMutexes(host, thread, who);
        });
        thread.held.Forget(host.number);
        host.scheduler.TaskEnds(task);
    }
    const std::shared_ptr<Task> last = std::move(task.self);
}

void Scheduler::OtherThreadEnds(ThreadRecord &thread) {
    Task *const task = TaskOf(thread);
    Guard([&] { ReportHeldMutexes(host_, thread, task != nullptr ? NameOf(*task) : "a thread"); });
    if (task != nullptr && task->entry == nullptr) {
        TaskEnds(*task);
    }
}

// Waits for the task's turn and for its first event. False when the host ends before that.
bool Scheduler::Begins(Task &task) {
    SchedulerLock lock(mutex_);
    task.hasBegun = true;
    someTaskEnded_.Notify();
    while (task.isScheduled && running_ != &task && !isFinishing_) {
        task.turn.Wait(lock);
    }
    task.state = TaskState::kRunning;
    if (isFinishing_) {
        return false;
    }
    const WaitReason reason(task.made, "its first event");
    while (task.startsWithEvent && task.events == 0) {
        if (Wait(lock, task, task.eventsChanged, kForever, reason) == Woken::kEnded) {
            return false;
        }
    }
    return true;
}

void Scheduler::EndHere(SchedulerLock &lock, Task &task) {
    if (Job *const job = std::exchange(task.stops, nullptr); job != nullptr) {
        --job->stoppers;
        if (!job->isRunning && !job->IsSet() && !job->isQueued && job->stoppers == 0) {
            const std::shared_ptr<Job> last = std::move(job->self);
        }
    }
    lock.unlock();
    std::longjmp(task.end, 1);  // NOLINT(cert-err52-cpp): through functions of C
}

bool Scheduler::IsStopped(const ThreadRecord &thread) {
    return thread.own != nullptr && thread.own->isInBody && thread.own->isStopped;
}

void Scheduler::EndStopped(ThreadRecord &thread) {
    if (IsStopped(thread)) {
        std::longjmp(thread.own->end, 1);  // NOLINT(cert-err52-cpp): through functions of C
    }
}

void Scheduler::ThreadEnds(ThreadRecord &thread, ThreadRecord &by) {
    if (thread.own != nullptr) {
        OwnThreadEnds(thread, *std::exchange(thread.own, nullptr));
    }
    if (!thread.tasks.HasAny() && !thread.held.HasAny()) {
        return;
    }
    // Without the memory to go to them hosts keep it to their end.
    Guard([&] {
        live::Visit host(by);
        while (host.Next()) {
            host->scheduler.OtherThreadEnds(thread);
        }
    });
}

// A thread that the host did not make, but for the first one of virtual time.
bool Scheduler::IsStranger(const Task &task) {
    return task.entry == nullptr && !task.isScheduled;
}

// Whether its thread has ended unseen.
bool Scheduler::IsGone(const Task &task) {
    return IsStranger(task) && task.state != TaskState::kEnded && IsLost(*task.record);
}

// Under the lock; nothing happens to one that has ended. The task goes with its last holder.
void Scheduler::EndLocked(Task &task) {
    if (task.state == TaskState::kEnded) {
        return;
    }
    strangers_ -= IsStranger(task) ? 1 : 0;
    task.state = TaskState::kEnded;
    WakeAll(task.hasEnded);
    if (task.joiners == 0) {
        tasks_.erase(task.id);
    }
}

// Under the lock: those whose thread has ended unseen. What it held is told when somebody looks
// without the lock.
void Scheduler::EndLostTasks() {
    for (auto at = tasks_.begin(); at != tasks_.end();) {
        Task &task = *at++->second;
        if (IsGone(task)) {
            EndLocked(task);
        }
    }
}

// Its thread keeps it until then.
void Scheduler::TaskEnds(Task &task) {
    SchedulerLock lock(mutex_);
    if (&task == main_) {
        main_ = nullptr;
    }
    EndLocked(task);
    if (task.entry != nullptr) {
        endedThreads_.push_back(task.thread);
    }
    someTaskEnded_.Notify();
    // Also when all waited for a thread that might have woken them, and has ended.
    const bool isNextToChoose = task.isScheduled || (clock.IsVirtual() && running_ == nullptr);
    if (&task == timer_) {
        timer_ = nullptr;
        // Without a thread for it, timers rest until one is started.
        if (!hasEnded_ && (alarms_.Earliest() != nullptr || !due_.IsEmpty())) {
            Guard([this] { (void)HasTimer(); });
        }
    }
    if (isNextToChoose && !isFinishing_) {
        RunNext(lock);
    }
}

Task *Scheduler::Find(uint32_t id) {
    const auto found = tasks_.find(id);
    if (found == tasks_.end() || found->second->state == TaskState::kEnded) {
        return nullptr;
    }
    return IsGone(*found->second) ? nullptr : found->second.get();
}

uint32_t Scheduler::Join(Task &by, uint32_t id, uint64_t deadline, const Place &place) {
    SchedulerLock lock(mutex_);
    if (id == by.id) {
        return EDEADLK;
    }
    auto found = tasks_.find(id);
    if (found != tasks_.end() && IsGone(*found->second)) {
        EndLocked(*found->second);
        found = tasks_.find(id);
    }
    if (found == tasks_.end()) {
        return 0;
    }
    Task &task = *found->second;
    WaitReason reason(place, "the end of task %u", id);
    reason.isForThread = IsStranger(task);
    // A clock that stands brings no time-out, also not the one that has come.
    if (task.state != TaskState::kEnded && clock.IsStepped() && deadline <= clock.NowNs() &&
        !hasEnded_) {
        return ETIMEDOUT;
    }
    Woken woken = Woken::kYes;
    uint32_t failure = 0;
    ++task.joiners;
    strangersJoined_ += reason.isForThread ? 1 : 0;
    try {
        while (task.state != TaskState::kEnded && woken == Woken::kYes) {
            woken = Wait(lock, by, task.hasEnded, deadline, reason);
        }
    } catch (const std::bad_alloc &) {
        failure = ENOMEM;
    }
    strangersJoined_ -= reason.isForThread ? 1 : 0;
    const bool hasEnded = task.state == TaskState::kEnded;
    if (--task.joiners == 0 && hasEnded) {
        tasks_.erase(id);
    }
    if (hasEnded || failure != 0) {
        return hasEnded ? 0 : failure;
    }
    return woken == Woken::kTimeout ? ETIMEDOUT : ECANCELED;
}

// --- Jobs

void Scheduler::Fire(Alarm &alarm) {
    if (alarm.isJob) {
        alarms_.Remove(alarm);
        auto &job = static_cast<Job &>(alarm);
        due_.Add(job);
        WakeOne(timerIsIdle_);
    } else {
        Finish(static_cast<Waiter &>(alarm), Woken::kTimeout);
    }
}

uint32_t Scheduler::Start(const std::shared_ptr<Job> &job, uint64_t due, uint64_t periodNs) {
    SchedulerLock lock(mutex_);
    if (hasEnded_ || !HasTimer()) {
        return hasEnded_ ? ECANCELED : EAGAIN;
    }
    Unqueue(*job);
    // First what may fail without memory.
    alarms_.Set(*job, due);
    ++job->startings;
    job->periodNs = periodNs;
    job->self = job;
    timerHasWork_.Notify();
    GoOn(lock);
    return 0;
}

// The task that runs jobs; the stepped clock has none.
bool Scheduler::HasTimer() {
    if (timer_ == nullptr && !clock.IsStepped()) {
        auto task = std::make_shared<Task>();
        task->name = "timer";
        task->entry = TimerMain;
        task->argument = this;
        task->isTimer = true;
        timer_ = CreateLocked(std::move(task));
    }
    return timer_ != nullptr || clock.IsStepped();
}

void Scheduler::Unqueue(Job &job) {
    alarms_.Remove(job);
    due_.Remove(job);
}

bool Scheduler::Stop(Job &job, Task *by, const Place &place) {
    SchedulerLock lock(mutex_);
    Unqueue(job);
    ++job.startings;
    const WaitReason reason(place, "the end of a timer's function");
    const bool waits = job.isRunning && job.runner != &ThisThread() && by != nullptr;
    std::shared_ptr<Job> last;
    if (waits) {
        ++job.stoppers;
        AwaitRunLocked(lock, job, *by, reason);
    }
    const bool isOver = !job.isRunning;
    if (isOver && job.stoppers == 0) {
        last = std::move(job.self);
    }
    lock.unlock();
    return isOver;
}

bool Scheduler::HoldRunning(Job &job) {
    const SchedulerLock lock(mutex_);
    const bool isElsewhere = job.isRunning && job.runner != &ThisThread();
    job.stoppers += isElsewhere ? 1 : 0;
    return isElsewhere;
}

void Scheduler::AwaitRun(Job &job, Task &by, const Place &place) {
    SchedulerLock lock(mutex_);
    const WaitReason reason(place, "the end of a timer's function");
    AwaitRunLocked(lock, job, by, reason);
    std::shared_ptr<Job> last;
    if (!job.IsSet() && !job.isQueued && !job.isRunning && job.stoppers == 0) {
        last = std::move(job.self);
    }
    lock.unlock();
}

void Scheduler::AwaitRunLocked(SchedulerLock &lock, Job &job, Task &by, const WaitReason &reason) {
    by.stops = &job;
    while (job.isRunning && Wait(lock, by, job.stopped, kForever, reason) != Woken::kEnded) {
    }
    by.stops = nullptr;
    --job.stoppers;
}

void Scheduler::RunJob(SchedulerLock &lock, Job &job) {
    // Also for a function that ends the thread, but not long after the host.
    struct Run {
        Scheduler &scheduler;
        SchedulerLock &lock;
        Job &job;
        const uint64_t startings = job.startings;
        bool hasReturned = false;
        ~Run() {
            if (hasReturned || !IsStopped(ThisThread())) {
                lock.lock();
                scheduler.JobHasRun(job, startings);
            }
        }
    } run{*this, lock, job};
    job.isRunning = true;
    job.runner = &ThisThread();
    lastJob_ = job.name;
    lock.unlock();
    // What the service lacked the memory for ends no timer, nor whoever moves the clock.
    Guard([&job] { job.run(job.context); });
    run.hasReturned = true;
}

void Scheduler::JobHasRun(Job &job, uint64_t startings) {
    job.isRunning = false;
    job.runner = nullptr;
    WakeAll(job.stopped);
    if (job.startings == startings && job.periodNs != 0 && !hasEnded_) {
        alarms_.SetAgain(job, job.due + job.periodNs);
    }
    if (!job.IsSet() && !job.isQueued && job.stoppers == 0) {
        const std::shared_ptr<Job> last = std::move(job.self);
    }
}

void Scheduler::TimerMain(void *scheduler) {
    static_cast<Scheduler *>(scheduler)->TimerLoop();
}

void Scheduler::TimerLoop() {
    SchedulerLock lock(mutex_);
    Task &self = *timer_;
    const WaitReason reason({}, "the next timer");
    while (!isFinishing_) {
        if (!due_.IsEmpty()) {
            RunJob(lock, due_.TakeFirst());
            if (!ready_.empty() && !hasEnded_) {
                self.state = TaskState::kReady;
                ready_.push_back(&self);
                SwitchAway(lock, self);
            }
        } else if (clock.IsVirtual()) {
            (void)Wait(lock, self, timerIsIdle_, kForever, reason);
        } else if (Alarm *const next = alarms_.Earliest(); next == nullptr) {
            timerHasWork_.Wait(lock);
        } else if (next->due > clock.NowNs()) {
            (void)timerHasWork_.WaitUntil(lock, clock.MachineNs(next->due));
        } else {
            Fire(*next);
        }
    }
}

bool Scheduler::Advance(uint64_t ms) {
    SchedulerLock lock(mutex_);
    if (mover_ != nullptr || ms > kLongestMs - clock.NowNs() / kNsPerMs) {
        return false;
    }
    const struct Move {
        const ThreadRecord *&mover;
        ~Move() { mover = nullptr; }
    } move{mover_};
    mover_ = &ThisThread();
    const uint64_t target = std::min(clock.NowNs() + ms * kNsPerMs, kLongestMs * kNsPerMs);
    while (alarms_.Earliest() != nullptr && alarms_.Earliest()->due <= target) {
        Alarm &next = *alarms_.Earliest();
        clock.MoveTo(std::max(clock.NowNs(), next.due));
        Fire(next);
        if (!due_.IsEmpty()) {
            RunJob(lock, due_.TakeFirst());
        }
    }
    clock.MoveTo(target);
    return true;
}

// --- The end

void Scheduler::Finish() {
    struct Left {
        std::shared_ptr<Task> task;
        std::string text;
        bool hasReturned = false;  // by itself meanwhile: it was about to
    };
    std::vector<Left> left;
    std::vector<pthread_t> toJoin;
    {
        SchedulerLock lock(mutex_);
        isFinishing_ = true;
        hasEnded_ = true;
        for (const auto &[id, task] : tasks_) {
            if (task->entry != nullptr && task->state != TaskState::kEnded) {
                std::string text = NameOf(*task);
                if (task->waiter != nullptr) {
                    text += std::string(", which waits for ") + task->waiter->reason->text.data();
                }
                left.push_back({task, text});
                task->isStopped = true;
            }
        }
        for (const auto &[id, task] : tasks_) {
            // Those that are not the host's own come back from their wait.
            if (task->waiter != nullptr && (!task->isScheduled || task->entry == nullptr)) {
                Finish(*task->waiter, Woken::kEnded);
            }
            task->turn.Notify();
        }
        timerHasWork_.Notify();
        const uint64_t until = Clock::MachineNow() + kGraceNs;
        const auto hasEnded = [](const Left &each) {
            return each.task->state == TaskState::kEnded;
        };
        while (!std::all_of(left.begin(), left.end(), hasEnded) &&
               someTaskEnded_.WaitUntil(lock, until)) {
        }
        // A thread that the machine has not yet let begin comes, and looks at its host first.
        while (!std::all_of(left.begin(), left.end(),
                            [](const Left &each) { return each.task->hasBegun; })) {
            someTaskEnded_.Wait(lock);
        }
        for (Left &each : left) {
            each.hasReturned = hasEnded(each) && each.task->hasReturned;
        }
    }
    for (Left &each : left) {
        TaskFate fate = TaskFate::kRuns;
        if (each.task->fate.compare_exchange_strong(fate, TaskFate::kAbandoned)) {
            (void)pthread_detach(each.task->thread);
            hasAbandoned_ = true;
            each.text += ", and which does not end";
        }
        if (!each.task->isTimer && !each.hasReturned) {
            host_.ReportLeftover("task", each.task->made, each.text);
        }
    }
    {
        SchedulerLock lock(mutex_);
        // One that ends just now is about to say so.
        while (std::any_of(left.begin(), left.end(), [](const Left &each) {
            return each.task->fate == TaskFate::kEnds && each.task->state != TaskState::kEnded;
        })) {
            someTaskEnded_.Wait(lock);
        }
        toJoin.swap(endedThreads_);
        due_.Clear();
    }
    for (const pthread_t thread : toJoin) {
        (void)pthread_join(thread, nullptr);
    }
}

}  // namespace devhost
