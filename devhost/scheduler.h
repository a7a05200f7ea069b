// Who waits, until when, and who goes on. All that waits in the host waits here: in real time by
// the system, in stepped time until a test moves the clock, in virtual time by the seed.
//
// One lock guards the scheduler and the state of everything that is waited for. A service that
// waits takes it (Lock), looks at its state, waits on a WaitList of its own (Wait) in a loop, and
// changes states and wakes under it. Nothing of a module is called under it, and nothing is
// reported.
#ifndef DXR_DEVHOST_SCHEDULER_H
#define DXR_DEVHOST_SCHEDULER_H

#include <pthread.h>

#include <array>
#include <atomic>
#include <csetjmp>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "alarm_heap.h"
#include "chance.h"
#include "clock.h"
#include "place.h"

namespace devhost {

class Host;
struct Options;
struct Task;
struct ThreadRecord;

using SchedulerLock = std::unique_lock<std::mutex>;

// A condition that may also be waited for until a moment of the monotonic clock.
class Condition {
  public:
    Condition();
    ~Condition() { (void)pthread_cond_destroy(&condition_); }
    Condition(const Condition &) = delete;
    Condition &operator=(const Condition &) = delete;
    Condition(Condition &&) = delete;
    Condition &operator=(Condition &&) = delete;

    void Notify() { (void)pthread_cond_broadcast(&condition_); }
    void Wait(SchedulerLock &lock);
    // False when the moment has come.
    bool WaitUntil(SchedulerLock &lock, uint64_t machineNs);

  private:
    pthread_cond_t condition_;
};

// What somebody waits for, in the words of a report. Plain: tasks are ended where they wait.
struct WaitReason {
    Place place;
    std::array<char, 96> text{};
    const std::atomic<const void *> *heldBy = nullptr;  // the caller that holds it; null: nobody
    bool isForThread = false;                           // whose end may go unseen

    [[gnu::format(printf, 3, 4)]] WaitReason(const Place &at, const char *format, ...);
};

enum class Woken : uint8_t {
    kYes,
    kTimeout,
    kEnded,  // the host or the run has ended
};

class WaitList;

// One wait of one task, on its stack.
struct Waiter : Alarm {
    Task *task = nullptr;
    const WaitReason *reason = nullptr;
    WaitList *list = nullptr;
    Waiter *before = nullptr;
    Waiter *after = nullptr;
    bool isDone = false;
    Woken result = Woken::kYes;
};

// Who waits for one thing, the longest first.
class WaitList {
  public:
    [[nodiscard]] bool IsEmpty() const { return first_ == nullptr; }
    [[nodiscard]] Waiter *First() const { return first_; }
    void Add(Waiter &waiter);
    static void Remove(Waiter &waiter);  // of whatever list it is on

  private:
    Waiter *first_ = nullptr;
    Waiter *last_ = nullptr;
};

// A function that runs when its time has come: once, or again and again. Owned by the service and,
// while it runs, by the scheduler too.
struct Job : Alarm {
    // `text` says to users what runs.
    Job(const char *text, void (*function)(void *), void *argument)
        : name(text), run(function), context(argument) {
        isJob = true;
    }

    const char *name;
    void (*const run)(void *);
    void *const context;
    uint64_t periodNs = 0;  // 0: once
    bool isRunning = false;
    uint64_t startings = 0;
    bool isQueued = false;
    Job *queuedBefore = nullptr;
    Job *queuedAfter = nullptr;
    ThreadRecord *runner = nullptr;
    WaitList stopped;
    uint32_t stoppers = 0;      // who wait for the end of a run
    std::shared_ptr<Job> self;  // while it is set, queued or running
};

// Jobs that are due, the first one first.
class JobQueue {
  public:
    [[nodiscard]] bool IsEmpty() const { return first_ == nullptr; }
    void Add(Job &job);
    Job &TakeFirst();
    void Remove(Job &job);  // nothing happens to one that is not queued
    void Clear();

  private:
    Job *first_ = nullptr;
    Job *last_ = nullptr;
};

enum class TaskState : uint8_t { kReady, kRunning, kWaiting, kEnded };

// Who has the last word on a task: its thread, or the end of its host.
enum class TaskFate : uint8_t { kRuns, kEnds, kAbandoned };

struct Task {
    uint32_t id = 0;
    std::string name;
    uint32_t priority = 0;
    uint32_t stackSize = 0;  // bytes; 0: the system's default
    Place made;

    void (*entry)(void *) = nullptr;  // null: a thread that is not the host's
    void *argument = nullptr;
    bool startsWithEvent = false;
    bool hasBegun = false;     // its thread runs; under the scheduler's lock
    bool isTimer = false;      // the host's own, for jobs
    bool isScheduled = false;  // runs when it is chosen: virtual time
    pthread_t thread{};
    ThreadRecord *record = nullptr;  // its thread's, from before that is made
    std::jmp_buf end;

    // Under the scheduler's lock.
    TaskState state = TaskState::kReady;
    uint32_t events = 0;
    WaitList eventsChanged;
    WaitList hasEnded;
    uint32_t joiners = 0;
    Waiter *waiter = nullptr;
    Job *stops = nullptr;  // whose end it waits for
    Condition turn;
    std::atomic<bool> isStopped{false};  // its host has ended: it ends at its next call
    bool hasReturned = false;            // its function; seen once its state is kEnded
    bool hasComeBack = false;            // the same, or the host has ended it
    bool isInBody = false;               // its function can be ended; its own thread asks
    std::atomic<TaskFate> fate{TaskFate::kRuns};
    Host *host = nullptr;        // until its fate is decided
    std::shared_ptr<Task> self;  // for its thread
};

class Scheduler {
  public:
    Scheduler(Host &host, const Options &options);
    ~Scheduler();
    Scheduler(const Scheduler &) = delete;
    Scheduler &operator=(const Scheduler &) = delete;
    Scheduler(Scheduler &&) = delete;
    Scheduler &operator=(Scheduler &&) = delete;

    Clock clock;

    [[nodiscard]] bool SwitchesAtCalls() const { return switchesAtCalls_; }
    [[nodiscard]] bool HasEnded() const { return hasEnded_.load(std::memory_order_relaxed); }

    [[nodiscard]] SchedulerLock Lock() { return SchedulerLock(mutex_); }

    // The moment so many milliseconds from now; DXR_HOST_FOREVER gives kForever.
    [[nodiscard]] uint64_t After(uint32_t ms) const;

    // The task of the calling thread. Reports, in virtual time, a thread that is none of the
    // host's. Before Lock.
    Task &Current(ThreadRecord &thread, const Place &place);

    // Waits on the list until it is woken, or the moment has come. The lock is given back for that
    // time. A task of the host does not come back from a wait that the end cuts off, so the caller
    // keeps nothing that its destructor would have to give back.
    Woken Wait(SchedulerLock &lock, Task &task, WaitList &list, uint64_t deadline,
               const WaitReason &reason);

    // The same where only time ends the wait. Cut off at once, and reported, on the thread that
    // moves the stepped clock.
    Woken Delay(SchedulerLock &lock, Task &task, uint64_t deadline, const WaitReason &reason);
    void WakeOne(WaitList &list);
    void WakeAll(WaitList &list);

    // A place where virtual time may let another task run. Without the lock; nothing elsewhere.
    void Point(ThreadRecord &thread) {
        if (clock.IsVirtual()) {
            SwitchPerhaps(thread);
        }
    }

    // The time is asked for: in virtual time it passes for a task that does nothing else.
    void AskedForTime(ThreadRecord &thread) {
        if (clock.IsVirtual()) {
            CountQuestion(thread);
        }
    }

    // Makes a task, which runs from now on. Gives its number; 0 when no thread can be made.
    uint32_t Create(std::unique_ptr<Task> made);

    // Under the lock; null when there is none, or it has ended.
    Task *Find(uint32_t id);

    // Waits for the end of a task. 0, or a number of <errno.h>.
    uint32_t Join(Task &by, uint32_t id, uint64_t deadline, const Place &place);

    // Starts a job at a moment, and then with its period; one that is started already begins anew.
    // 0; EAGAIN when there is no thread for it; ECANCELED after the run's end. Throws
    // std::bad_alloc.
    uint32_t Start(const std::shared_ptr<Job> &job, uint64_t due, uint64_t periodNs);

    // Stops it and waits, as `by`, for its end when it runs on another thread; null does not wait.
    // Tells whether it is over: it still runs where its function is the caller, or where the host's
    // end has ended the wait. The caller's service keeps the job until then: a wait that the host's
    // end cuts off does not come back.
    bool Stop(Job &job, Task *by, const Place &place);

    // When the job's function runs on another thread, keeps the job for AwaitRun, which follows.
    // The caller sees to it that the job is there.
    bool HoldRunning(Job &job);

    // Waits, as `by`, for the end of the function of a job that is held.
    void AwaitRun(Job &job, Task &by, const Place &place);

    // Stepped time. False when a job asks for it, and when that is later than any time.
    bool Advance(uint64_t ms);

    // The calling thread becomes a scheduled task: the first one of virtual time.
    void AdoptMain();

    // Ends all waits and all tasks; reports those that had not ended. Not from a task.
    void Finish();

    // Whether the thread is a task whose host has ended, or is about to end.
    static bool IsStopped(const ThreadRecord &thread);

    // A thread whose host has ended ends here when it is a task; else nothing happens.
    static void EndStopped(ThreadRecord &thread);

    // A thread ends: the task that it was made for, and in all hosts what it was there. `by` is the
    // calling one's: its own, or that of who found that it has ended.
    static void ThreadEnds(ThreadRecord &thread, ThreadRecord &by);

    // Ends the run, with a report of the caller: all waits end, and no job runs any more. A task of
    // the host does not come back from it: its frames own nothing. Others do.
    void End(ThreadRecord &thread, const char *service, const Place &place, const char *what,
             const char *text);

    // Ends the run, from outside of it and without a word. Not in virtual time.
    void Stop(const char *text);

    // The task that began in that code and has not ended, "task 3 ..."; empty when there is none.
    std::string UseOf(const CodeRange &code);

    // A task that does not end was left alone: its code may still run.
    [[nodiscard]] bool HasAbandoned() const { return hasAbandoned_; }

    // Why the run ended; empty while it goes on.
    std::string EndText();

  private:
    struct Waiting {
        std::string task;
        Place place;
        std::string what;
        const void *heldBy;  // null: nobody
    };

    static void *Main(void *user);
    static void RunBody(Task *task);
    static void OwnThreadEnds(ThreadRecord &thread, Task &task);
    void OtherThreadEnds(ThreadRecord &thread);
    bool Begins(Task &task);
    void TaskEnds(Task &task);
    void EndLocked(Task &task);
    void EndLostTasks();
    static void LookForLost(SchedulerLock &lock);
    static bool IsStranger(const Task &task);
    static bool IsGone(const Task &task);
    [[noreturn]] static void EndHere(SchedulerLock &lock, Task &task);
    void StayAfterEnd(SchedulerLock &lock, Task &task);
    void AwaitRunLocked(SchedulerLock &lock, Job &job, Task &by, const WaitReason &reason);
    Task *TaskOf(ThreadRecord &thread) const;
    Task &Adopt(ThreadRecord &thread, const char *name, bool isScheduled);
    Task *CreateLocked(std::shared_ptr<Task> task);
    void WaitWhileTimeStands(SchedulerLock &lock, Waiter &waiter, uint64_t deadline);
    void WaitBesideTasks(SchedulerLock &lock, Waiter &waiter);
    void TellTaskStaysAway(SchedulerLock &lock, const Task &running, const Waiter &waiter);
    void TellTimeStands(SchedulerLock &lock, const WaitReason &reason, uint32_t kind);
    void Finish(Waiter &waiter, Woken result);
    void SwitchPerhaps(ThreadRecord &thread);
    void CountQuestion(ThreadRecord &thread);
    void LetPass(SchedulerLock &lock, uint64_t untilNs);
    void SwitchAway(SchedulerLock &lock, Task &self);
    void AwaitThreads(SchedulerLock &lock, Task &self);
    void TellThreadsStayAway(SchedulerLock &lock, Task &self);
    [[nodiscard]] Task *Watcher() const;
    void GoOn(SchedulerLock &lock);
    static bool MayWake(const std::shared_ptr<Task> &task);
    void RunNext(SchedulerLock &lock);
    Task *Choose(SchedulerLock &lock);
    void EndRun(SchedulerLock &lock, const char *what);
    void EndWaits(const char *text);
    [[nodiscard]] std::vector<Waiting> AllWaiting() const;
    static std::string TextOf(const std::vector<Waiting> &waiting);
    void TellEnd(SchedulerLock &lock, const char *what);
    void Fire(Alarm &alarm);
    void Unqueue(Job &job);
    void RunJob(SchedulerLock &lock, Job &job);
    void JobHasRun(Job &job, uint64_t startings);
    bool HasTimer();
    static void TimerMain(void *scheduler);
    void TimerLoop();

    Host &host_;
    const bool switchesAtCalls_;
    const uint64_t endNs_;
    std::mutex mutex_;
    AlarmHeap alarms_;
    Stream choices_;
    std::map<uint32_t, std::shared_ptr<Task>> tasks_;
    uint32_t lastTask_ = 0;
    Task *main_ = nullptr;     // virtual time: the first task, until its thread ends
    Task *running_ = nullptr;  // virtual time
    bool isChoosing_ = false;  // who that is
    uint32_t strangers_ = 0;   // tasks whose threads are not the host's
    uint32_t strangersJoined_ = 0;
    std::vector<Task *> ready_;  // virtual time, but for the running one
    uint32_t pointsWithoutTime_ = 0;
    uint32_t questionsWithoutTime_ = 0;  // of the task that runs
    JobQueue due_;
    const char *lastJob_ = "";  // what ran
    Task *timer_ = nullptr;
    WaitList timerIsIdle_;
    Condition timerHasWork_;
    Condition someTaskEnded_;
    std::vector<pthread_t> endedThreads_;  // to be joined
    const ThreadRecord *mover_ = nullptr;  // stepped time, while the clock is moved
    bool isFinishing_ = false;
    bool hasAbandoned_ = false;
    std::atomic<bool> hasEnded_{false};
    std::string endText_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_SCHEDULER_H
