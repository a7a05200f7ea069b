#include "replay.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "answers.h"
#include "compare.h"
#include "dxr_trace.h"
#include "export.h"
#include "hash_keys.h"
#include "hash_tables.h"
#include "pointers.h"
#include "script.h"
#include "slots.h"
#include "trace_file.h"
#include "why.h"
#include "words.h"

namespace dxr_trace {
namespace {

using Clock = std::chrono::steady_clock;
using Cell [[gnu::may_alias]] = Hook;

constexpr std::string_view kCreateTask = "DXR_CreateTask";
constexpr std::string_view kRelease = "DXR_Free";
constexpr std::string_view kMapReserved = "DXR_GetRsvMemMmapAddr";
constexpr std::string_view kHashTables = "Hash";
// What pointers lead to that a function of the module gets.
constexpr size_t kScratch = 256;

// A thread of now that follows one of the recording.
struct Runner {
    explicit Runner(const ScriptThread &told) : script(told) { ends.push_back(told.steps.size()); }

    const ScriptThread &script;
    size_t cursor = 0;         // the next step
    std::vector<size_t> ends;  // of what the cursor is in
    bool isClaimed = false;
    bool isDone = false;
    bool waits = false;
    bool isComparing = false;  // within a function of a hash table
    std::condition_variable turn;
    std::thread thread;
    std::jmp_buf end;
};

struct Here {
    uint64_t session = 0;
    Runner *runner = nullptr;
};

thread_local constinit Here t_here [[gnu::tls_model("initial-exec")]];

// A call of now, in the form of one of the recording. Its pieces lead to the caller's memory.
void Describe(const TraceFile &file, size_t slot, std::span<const uint64_t> words,
              const char *message, TracedCall &call) {
    call.slot = static_cast<uint8_t>(slot);
    call.wordCount = static_cast<uint8_t>(words.size());
    std::copy(words.begin(), words.end(), call.words.begin());
    call.in.clear();
    const auto limit = static_cast<size_t>(std::min<uint64_t>(file.dataBytes, SIZE_MAX / 2));
    Pieces pieces;
    Collect(kSlots[slot], {words, 0}, Direction::kIn, file.follow, limit, pieces);
    CollectHashKey(kSlots[slot], words, file.follow, limit, pieces);
    if (message != nullptr && file.follow != Follow::kNone) {
        pieces.Add({PlaceOf(kMessagePlace, kDirect, true), message, strnlen(message, limit + 1)});
    }
    for (size_t i = 0; i < pieces.count; ++i) {
        const Piece &piece = pieces.items[i];
        call.in.push_back({piece.place,
                           piece.size,
                           {static_cast<const char *>(piece.data), std::min(piece.size, limit)}});
    }
}

// Bytes that a hook may write there.
size_t Room(const PointerRule &rule, const CallWords &call, const Piece &piece) {
    if (rule.extent == Extent::kText) {
        return 0;
    }
    return rule.extent == Extent::kTextWithin ? static_cast<size_t>(call.arguments[rule.first])
                                              : piece.size;
}

uint64_t LoadPointer(std::string_view bytes, size_t offset) {
    uintptr_t word = 0;
    if (offset + sizeof(word) <= bytes.size()) {
        std::memcpy(&word, bytes.data() + offset, sizeof(word));
    }
    return word;
}

// A word of a call as it stands in an argument or in a record behind one.
uint64_t WordAt(const TracedCall &call, const MemoryPlace &place) {
    if (place.parameter == kNoPlace) {
        return 0;
    }
    if (place.offset == kDirect) {
        return call.words[place.parameter];
    }
    for (const TracedPiece &piece : call.in) {
        if (piece.Parameter() == place.parameter && piece.Offset() == kDirect) {
            return LoadPointer(piece.bytes, place.offset);
        }
    }
    return 0;
}

// A call of now. They are kept by thread, so that their pieces need no memory of their own each
// time; within one there may be others, which functions make that the host calls in it. One whose
// thread ends in it goes with the thread.
class LiveCall {
  public:
    LiveCall() : calls_(Calls()) {
        if (calls_.depth == calls_.all.size()) {
            calls_.all.emplace_back();
        }
        call_ = &calls_.all[calls_.depth++];
    }
    ~LiveCall() { --calls_.depth; }
    LiveCall(const LiveCall &) = delete;
    LiveCall &operator=(const LiveCall &) = delete;
    LiveCall(LiveCall &&) = delete;
    LiveCall &operator=(LiveCall &&) = delete;

    [[nodiscard]] TracedCall &Get() const { return *call_; }

  private:
    struct Nested {
        std::deque<TracedCall> all;
        size_t depth = 0;
    };

    static Nested &Calls() {
        static thread_local Nested calls;
        return calls;
    }

    Nested &calls_;
    TracedCall *call_;
};

class Replay {
  public:
    Replay(std::string bytes, const DxrReplayOptions &options, uint64_t session)
        : bytes_(std::move(bytes)), options_(options), session_(session) {
        file_ = ReadTraceFile(bytes_);
    }

    ~Replay() {
        for (void *const block : memory_) {
            std::free(block);
        }
    }
    Replay(const Replay &) = delete;
    Replay &operator=(const Replay &) = delete;
    Replay(Replay &&) = delete;
    Replay &operator=(Replay &&) = delete;

    // 0 when the recording can be replayed; else `problem` says why not.
    uint32_t Check(std::string &problem) const {
        if (file_.state == FileState::kForeign) {
            problem = file_.problem;
            return EINVAL;
        }
        if (file_.state == FileState::kDamaged && options_.loose == 0) {
            problem = file_.problem;
            return EBADMSG;
        }
        if (file_.dropped != 0 && options_.loose == 0) {
            problem = std::to_string(file_.dropped) + " records were dropped from it";
            return EBADMSG;
        }
        // Nobody knows which slots were filled: any module would do the same.
        if (file_.state != FileState::kWhole && !file_.hasSlots && file_.calls.empty()) {
            problem = "ends before its first call";
            return ENODATA;
        }
        return 0;
    }

    // Throws std::bad_alloc, and has left nothing then.
    void Start() {
        script_ = MakeScript(file_);
        done_.resize(script_.events.size());
        for (const ScriptThread &thread : script_.threads) {
            runners_.push_back(std::make_unique<Runner>(thread));
        }
        Warn();
        try {
            // None of them goes on before the table is filled.
            const std::lock_guard<std::mutex> lock(mutex_);
            for (const auto &runner : runners_) {
                if (runner->script.kind == ThreadKind::kHost) {
                    Launch(*runner);
                }
            }
            runners_[0]->isClaimed = true;
            t_here = {session_, runners_[0].get()};
            FillTable();
        } catch (const std::bad_alloc &) {
            Abandon();
            throw;
        }
    }

    Reply Answer(size_t slot, std::span<const uint64_t> words, const char *message);
    // What a call gets for which there was no memory: the replay ends.
    Reply AnswerWithoutMemory();
    void Finish(DxrReplayCounts &counts);

    [[noreturn]] static void EndThread() {
        std::longjmp(t_here.runner->end, 1);  // NOLINT(cert-err52-cpp): through functions of C
    }

  private:
    using Callback = std::tuple<size_t, uint64_t, uint64_t>;  // slot, function, argument
    struct Target {
        Hook function;
        uint64_t argument;
    };

    const TracedCall &CallOf(const Step &step) const { return file_.calls[step.call]; }

    // --- Telling

    // What differs: where, what, and the calls as texts where that tells more.
    struct Difference {
        const Runner *runner = nullptr;  // null: no thread of the recording
        const Step *step = nullptr;      // null: after its last call
        std::string what{};
        std::string expected{};
        std::string got{};
        Differences details{};
        std::string then{};
    };

    [[nodiscard]] bool IsJson() const { return options_.format == DXR_TRACE_JSON_LINES; }

    void Tell(std::string_view text) const {
        if (options_.out != nullptr) {
            (void)std::fwrite(text.data(), 1, text.size(), options_.out);
            (void)std::fflush(options_.out);
        }
    }

    void Note(const std::string &text) const {
        Tell(IsJson() ? R"({"note":)" + JsonText(text) + "}\n" : "note: " + text + "\n");
    }

    void TellEnd(const std::string &where) const {
        const std::string text = "the recording ends here: " + where;
        Tell(IsJson() ? R"({"note":)" + JsonText(text) + "}\n" : text + "\n");
    }

    void Warn() const {
        if (!file_.problem.empty()) {
            Note("the recording " + file_.problem);
        }
        if (!file_.hasCallbacks) {
            Note(
                "what the host called was not recorded: tasks, timers and interrupts are not "
                "replayed");
        }
        const std::string foreign = ForeignText(file_);
        if (!foreign.empty()) {
            Note(foreign);
        }
        if (script_.unknown != 0) {
            Note(std::to_string(script_.unknown) +
                 " calls on threads of the host's are left out: the recording does not tell what "
                 "made them");
        }
    }

    std::string Position(const Runner &runner, const Step *step) const {
        if (runner.script.number == 0) {
            return "the main thread, which has no calls";
        }
        std::string text = "thread " + std::to_string(runner.script.number);
        if (step == nullptr) {
            return text + ", after its last call";
        }
        const TracedCall &call = CallOf(*step);
        std::array<char, 48> at{};
        (void)std::snprintf(at.data(), at.size(), "%llu.%09llu",
                            static_cast<unsigned long long>(call.beginNs / 1'000'000'000),
                            static_cast<unsigned long long>(call.beginNs % 1'000'000'000));
        return text + ", call " + std::to_string(call.sequence) + ", at " + at.data() + " s";
    }

    static const Step *NextOf(const Runner &runner) {
        return runner.cursor < runner.ends.back() ? &runner.script.steps[runner.cursor] : nullptr;
    }

    [[nodiscard]] std::string TextOf(const Difference &difference) const {
        std::string text;
        if (difference.runner != nullptr) {
            text = Position(*difference.runner, difference.step) + ": ";
        }
        text += difference.what + "\n";
        if (!difference.expected.empty()) {
            text += "  expected  " + difference.expected + "\n";
        }
        if (!difference.got.empty()) {
            text += "  got       " + difference.got + "\n";
        }
        for (const CallDifference &each : difference.details) {
            text += "  " + each.Text() + "\n";
        }
        return difference.then.empty() ? text : text + "  " + difference.then + "\n";
    }

    // The names are those of the lines that the trace writes.
    [[nodiscard]] std::string JsonOf(const Difference &difference) const {
        std::string text = R"({"difference":)" + JsonText(difference.what);
        const auto add = [&text](const char *name, const std::string &value) {
            text += std::string(",\"") + name + "\":" + value;
        };
        const auto addText = [&add](const char *name, const std::string &value) {
            if (!value.empty()) {
                add(name, JsonText(value));
            }
        };
        if (difference.runner != nullptr) {
            add("thread", std::to_string(difference.runner->script.number));
        }
        if (difference.runner != nullptr && difference.step != nullptr) {
            const TracedCall &call = CallOf(*difference.step);
            add("call", std::to_string(call.sequence));
            add("ns", std::to_string(call.beginNs));
            add("slot", std::to_string(call.slot));
            add("function", JsonText(CallName(call)));
        }
        addText("expected", difference.expected);
        addText("got", difference.got);
        if (!difference.details.empty()) {
            std::string details;
            for (const CallDifference &each : difference.details) {
                details += details.empty() ? "[" : ",";
                details += R"({"name":)" + JsonText(each.name) + R"(,"expected":)" +
                           JsonText(each.expected) + R"(,"got":)" + JsonText(each.got) + "}";
            }
            add("details", details + "]");
        }
        addText("then", difference.then);
        return text + "}\n";
    }

    // Tells a difference; without `loose` it is the last one. With the mutex.
    void Differ(const Difference &difference) {
        ++differences_;
        constexpr uint64_t kMostTold = 100;
        if (differences_ <= kMostTold) {
            Tell(IsJson() ? JsonOf(difference) : TextOf(difference));
        }
        if (options_.loose == 0) {
            End(true);
        }
    }

    void End(bool differs) {
        if (isOver_) {
            return;
        }
        isOver_ = true;
        WakeAll();
        if (options_.ended != nullptr) {
            mutex_.unlock();
            options_.ended(differs, options_.user);
            mutex_.lock();
        }
    }

    // Nothing can be told of what cannot be remembered.
    void EndWithoutMemory() {
        if (!isOver_) {
            ++differences_;
            Tell(IsJson() ? "{\"note\":\"the replay ends: not enough memory\"}\n"
                          : "the replay ends: not enough memory\n");
            End(true);
        }
    }

    void WakeAll() {
        for (const auto &runner : runners_) {
            runner->turn.notify_all();
        }
        changed_.notify_all();
    }

    // --- Order. With the mutex

    void Mark(uint32_t event) {
        if (event == kNoEvent || done_[event]) {
            return;
        }
        done_[event] = true;
        if (event != front_) {
            return;
        }
        while (front_ < done_.size() && done_[front_]) {
            ++front_;
        }
        ++moves_;
        if (front_ < done_.size()) {
            Runner &next = *runners_[script_.events[front_]];
            if (next.waits) {
                next.turn.notify_all();
            }
        }
    }

    // Until all that was earlier in the recording has been done.
    void AwaitTurn(Runner &runner, uint32_t event) {
        if (front_ >= event || isOver_) {
            return;
        }
        // The mutex is the caller's before and after it, also when there is no memory.
        struct Wait {
            explicit Wait(Replay &replay, Runner &waiting)
                : lock(replay.mutex_, std::adopt_lock), runner(waiting) {
                runner.waits = true;
            }
            ~Wait() {
                runner.waits = false;
                (void)lock.release();
            }
            Wait(const Wait &) = delete;
            Wait &operator=(const Wait &) = delete;
            Wait(Wait &&) = delete;
            Wait &operator=(Wait &&) = delete;

            std::unique_lock<std::mutex> lock;
            Runner &runner;
        };
        Wait wait(*this, runner);
        Await(wait.lock, runner.turn, [&] { return front_ >= event || isOver_; });
    }

    template <typename Condition>
    void Await(std::unique_lock<std::mutex> &lock, std::condition_variable &changed,
               const Condition &isReached) {
        const auto patience = std::chrono::milliseconds(options_.patienceMs);
        uint64_t moves = moves_;
        auto deadline = Clock::now() + patience;
        while (!isReached()) {
            if (changed.wait_until(lock, deadline) == std::cv_status::timeout && !isReached()) {
                if (moves == moves_) {
                    GiveUpTheFront();
                }
                moves = moves_;
                deadline = Clock::now() + patience;
            }
        }
    }

    // What is to happen next does not happen.
    void GiveUpTheFront() {
        if (front_ >= done_.size()) {
            Differ(
                {.what = "the replay does not end: a thread of the module's does not come back"});
            isOver_ = true;
            WakeAll();
            return;
        }
        const auto event = static_cast<uint32_t>(front_);
        Runner &runner = *runners_[script_.events[event]];
        for (const Step &step : runner.script.steps) {
            if (step.enterEvent == event || step.returnEvent == event) {
                Differ({&runner, &step,
                        CallText(CallOf(step)) + " does not " +
                            (step.enterEvent == event ? "come" : "end")});
                break;
            }
        }
        if (runner.isClaimed) {
            Mark(event);
        } else {  // nobody will
            runner.isClaimed = true;
            runner.isDone = true;
            left_ += LeaveOutUntil(runner, runner.script.steps.size());
        }
        WakeAll();
    }

    // --- Steps of a thread. With the mutex

    void LeaveOut(const Step &step) {
        Mark(step.enterEvent);
        Mark(step.returnEvent);
    }

    // Passes over the rest of what the cursor is in; the number of the module's calls among it.
    uint64_t LeaveOutUntil(Runner &runner, size_t end) {
        uint64_t calls = 0;
        for (; runner.cursor < end; ++runner.cursor) {
            const Step &step = runner.script.steps[runner.cursor];
            if (!step.isHosts) {
                calls += CallOf(step).isCallback ? 0 : 1;
                LeaveOut(step);
            }
        }
        return calls;
    }

    // What the host does before the module's next call.
    void DoTheHosts(Runner &runner) {
        while (!isOver_ && runner.cursor < runner.ends.back()) {
            const Step &step = runner.script.steps[runner.cursor];
            if (step.isHosts) {
                ++runner.cursor;
            } else if (CallOf(step).isCallback) {
                RunCallback(runner, step);
            } else {
                return;
            }
        }
    }

    // Nothing in here has a destructor while the module's function runs: its task may end in it.
    void RunCallback(Runner &runner, const Step &step) {
        AwaitTurn(runner, step.enterEvent);
        Mark(step.enterEvent);
        const TracedCall &call = CallOf(step);
        const size_t end = step.end;
        const Target *const target = TargetOf(call);
        if (target == nullptr || isOver_) {
            LeaveOutUnknown(runner, step);
            return;
        }
        ++runner.cursor;
        runner.ends.push_back(end);
        alignas(16) std::array<std::byte, kScratch> scratch{};
        const auto words = ArgumentsOf(call, *target, scratch.data());
        const Hook function = target->function;
        ++callbacks_;
        mutex_.unlock();
        const uint64_t result =
            CallBack(call.slot, function, std::span(words).first(call.wordCount - 1U));
        mutex_.lock();
        EndCallback(runner, step, result);
    }

    void LeaveOutUnknown(Runner &runner, const Step &step) {
        if (!isOver_) {
            Differ({&runner, &step,
                    CallText(CallOf(step)) + ": the module has not given this function"});
        }
        left_ += LeaveOutUntil(runner, step.end);
    }

    const Target *TargetOf(const TracedCall &call) const {
        const CallbackRule *const rule = kSlots[call.slot].callback;
        if (rule == nullptr || call.wordCount != rule->parameterCount + 1U) {
            return nullptr;
        }
        const bool hasArgument = rule->argument.parameter != kNoPlace;
        const uint64_t argument = hasArgument ? call.words[call.wordCount - 1U] : 0;
        const auto found = targets_.find({call.slot, call.words[0], argument});
        return found != targets_.end() ? &found->second : nullptr;
    }

    static std::array<uint64_t, kMostCallbackParameters> ArgumentsOf(const TracedCall &call,
                                                                     const Target &target,
                                                                     std::byte *scratch) {
        const CallbackRule &rule = *kSlots[call.slot].callback;
        std::array<uint64_t, kMostCallbackParameters> words{};
        for (size_t i = 0; i < rule.parameterCount; ++i) {
            words[i] = call.words[i + 1];
            if (rule.parameters[i] == Width::kPointer && words[i] != 0) {
                words[i] = ToWord(scratch);
            }
        }
        if (rule.argument.parameter != kNoPlace) {
            words[rule.parameterCount - 1U] = target.argument;
        }
        return words;
    }

    void EndCallback(Runner &runner, const Step &step, uint64_t result) {
        DoTheHosts(runner);
        const TracedCall &call = CallOf(step);
        if (!isOver_ && runner.cursor < step.end) {
            const Step &next = runner.script.steps[runner.cursor];
            Differ({&runner, &next, CallName(call) + " has returned", CallText(CallOf(next))});
        }
        left_ += LeaveOutUntil(runner, step.end);
        if (!isOver_ && call.hasReturned && call.hasResult &&
            InItsWidth(call, result) != call.result) {
            TracedCall got = call;
            got.result = InItsWidth(call, result);
            Differ({.runner = &runner,
                    .step = &step,
                    .what = CallText(call),
                    .details = {{"result", ShownResult(call), ShownResult(got)}}});
        }
        Mark(step.returnEvent);
        runner.ends.pop_back();
    }

    static uint64_t InItsWidth(const TracedCall &call, uint64_t result) {
        return ResultWidth(call) == Width::kU32 ? static_cast<uint32_t>(result) : result;
    }

    // The step that a call is; null when there is none.
    const Step *Match(Runner &runner, const TracedCall &live);
    const Step *NextEqual(const Runner &runner, const TracedCall &live) const;
    void TellDifference(const Runner &runner, const Step *step, const TracedCall &live,
                        const std::string &then);
    Runner *RunnerHere(const TracedCall &live);
    [[nodiscard]] Reply AfterTheEnd() const;

    // --- Answers. With the mutex

    void Register(const TracedCall &call, const TracedCall &live);
    uint64_t Result(const TracedCall &call, const TracedCall &live);
    uint64_t FollowHash(Runner &runner, const TracedCall &call, const TracedCall &live);
    void *NewMemory(size_t size);
    void *RecordedMemory(size_t size);
    uint64_t Extra(const TracedCall &live);
    void Release(const TracedCall *call, const TracedCall &live);
    void WriteOut(const TracedCall &call, const TracedCall &live);
    void MapReserved(const TracedCall &call, const TracedCall &live);
    void Write(const SlotInfo &slot, const TracedCall &call, const TracedPiece &piece, char *to,
               size_t room);
    void StartTask(const TracedCall &call);

    // --- Threads

    // The replay has made it, and ends it.
    static bool IsOurs(const Runner &runner) {
        return runner.script.kind == ThreadKind::kTask || runner.script.kind == ThreadKind::kHost;
    }

    void Launch(Runner &runner);
    void Drive(Runner &runner);
    void DriveSteps(Runner &runner);
    void FillTable();
    void FinishSteps(std::unique_lock<std::mutex> &lock);
    void Abandon();
    void Join();

    const std::string bytes_;
    const DxrReplayOptions options_;
    const uint64_t session_;
    TraceFile file_;
    Script script_;
    DxrHooks before_{};

    std::mutex mutex_;                              // guards what follows
    std::vector<std::unique_ptr<Runner>> runners_;  // as the script's threads
    std::vector<bool> done_;                        // of the events
    size_t front_ = 0;                              // the first that is not done
    uint64_t moves_ = 0;
    std::condition_variable changed_;
    bool isOver_ = false;
    Addresses addresses_;
    HashTables hashTables_;  // of the thread whose turn it is, also without the mutex
    std::map<Callback, Target> targets_;
    std::unordered_set<void *> memory_;
    std::map<std::pair<uint64_t, std::string_view>, void *> texts_;
    uint64_t calls_ = 0;
    uint64_t callbacks_ = 0;
    uint64_t differences_ = 0;
    uint64_t left_ = 0;
    bool hasToldCut_ = false;
};

Runner *Replay::RunnerHere(const TracedCall &live) {
    if (t_here.session == session_) {
        return t_here.runner;
    }
    Runner *found = nullptr;
    size_t foundAt = SIZE_MAX;
    for (const auto &runner : runners_) {
        if (runner->isClaimed || runner->script.kind != ThreadKind::kOwn) {
            continue;
        }
        const auto &steps = runner->script.steps;
        if (!steps.empty() && IsSameCall(CallOf(steps[0]), live, nullptr, nullptr)) {
            found = runner.get();
            break;
        }
        if (options_.loose == 0) {  // what the first one would have called is told
            found = found == nullptr ? runner.get() : found;
        } else if (const Step *const later = NextEqual(*runner, live); later != nullptr) {
            const auto at = static_cast<size_t>(later - steps.data());
            found = at < foundAt ? runner.get() : found;
            foundAt = std::min(foundAt, at);
        }
    }
    if (found != nullptr) {
        found->isClaimed = true;
    }
    // One that nothing fits does not take another one's place; its next call may fit.
    if (found != nullptr || options_.loose == 0) {
        t_here = {session_, found};
    }
    return found;
}

void Replay::TellDifference(const Runner &runner, const Step *step, const TracedCall &live,
                            const std::string &then) {
    Difference difference{&runner, step, "the call differs"};
    difference.expected = step != nullptr ? CallText(CallOf(*step)) : "no call";
    difference.got = CallText(live);
    difference.then = then;
    if (step != nullptr) {
        (void)IsSameCall(CallOf(*step), live, &addresses_, &difference.details);
    }
    Differ(difference);
}

const Step *Replay::NextEqual(const Runner &runner, const TracedCall &live) const {
    for (size_t i = runner.cursor; i < runner.ends.back(); i = runner.script.steps[i].end) {
        const Step &step = runner.script.steps[i];
        if (!step.isHosts && !CallOf(step).isCallback &&
            IsSameCall(CallOf(step), live, &addresses_, nullptr)) {
            return &step;
        }
    }
    return nullptr;
}

const Step *Replay::Match(Runner &runner, const TracedCall &live) {
    DoTheHosts(runner);
    if (isOver_) {
        return nullptr;
    }
    const bool isAtEnd = runner.cursor >= runner.ends.back();
    const Step *const next = isAtEnd ? nullptr : &runner.script.steps[runner.cursor];
    if (isAtEnd && file_.state != FileState::kWhole && runner.ends.size() == 1) {
        TellEnd(Position(runner, nullptr));
        End(false);
        return nullptr;
    }
    if (next != nullptr && IsSameCall(CallOf(*next), live, &addresses_, nullptr)) {
        return next;
    }
    if (options_.loose == 0) {
        TellDifference(runner, next, live, {});
        return nullptr;
    }
    const Step *const later = next != nullptr ? NextEqual(runner, live) : nullptr;
    if (later == nullptr) {
        TellDifference(runner, next, live, "no equal call comes: answered with 0");
        return nullptr;
    }
    const auto place = static_cast<size_t>(later - runner.script.steps.data());
    const Runner &told = runner;
    const size_t before = runner.cursor;
    uint64_t passed = 0;
    for (size_t i = before; i < place; i = told.script.steps[i].end) {
        const Step &step = told.script.steps[i];
        passed += !step.isHosts && !CallOf(step).isCallback ? 1 : 0;
    }
    TellDifference(runner, next, live,
                   "goes on with call " + std::to_string(CallOf(*later).sequence) + ", " +
                       std::to_string(passed) + (passed == 1 ? " call" : " calls") +
                       " of the recording later");
    // What the host did meanwhile is done, but not within calls that are not made.
    while (!isOver_ && runner.cursor < place) {
        const Step &step = runner.script.steps[runner.cursor];
        if (!step.isHosts && CallOf(step).isCallback) {
            RunCallback(runner, step);
        } else {
            left_ += LeaveOutUntil(runner, step.isHosts ? runner.cursor + 1 : step.end);
        }
    }
    return later;
}

Reply Replay::Answer(size_t slot, std::span<const uint64_t> words, const char *message) {
    const LiveCall live;
    TracedCall &own = live.Get();
    Describe(file_, slot, words, message, own);
    std::unique_lock<std::mutex> lock(mutex_);
    if (isOver_) {
        return AfterTheEnd();
    }
    Runner *const runner = RunnerHere(own);
    if (runner == nullptr) {
        Differ({.what = "a thread that the recording does not have calls " + CallText(own)});
        return {Extra(own)};
    }
    if (runner->isComparing) {
        return {Extra(own)};
    }
    const Step *const step = Match(*runner, own);
    if (step == nullptr) {
        return {isOver_ ? 0 : Extra(own)};
    }
    const TracedCall &call = CallOf(*step);
    ++calls_;
    Register(call, own);
    Mark(step->enterEvent);
    if (kSlots[slot].name == kCreateTask && call.hasReturned && call.result == 0) {
        StartTask(call);
    }
    ++runner->cursor;
    runner->ends.push_back(step->end);
    DoTheHosts(*runner);
    left_ += LeaveOutUntil(*runner, step->end);
    runner->ends.pop_back();
    Reply reply;
    if (isOver_) {
        reply.isLast = IsOurs(*runner);
    } else if (!call.hasReturned) {
        if (IsOurs(*runner)) {
            reply.isLast = true;
        } else if (runner != runners_[0].get()) {
            changed_.notify_all();
            runner->turn.wait(lock, [this] { return isOver_; });
        } else {
            TellEnd(Position(*runner, step) + ", " + CallText(call) + " has not returned");
            End(false);
        }
    } else {
        AwaitTurn(*runner, step->returnEvent);
        // Of other hosts nobody knows what they make of keys.
        const bool isHash =
            !isOver_ && file_.follow == Follow::kDevhost && kSlots[slot].group == kHashTables;
        const uint64_t place = isHash ? FollowHash(*runner, call, own) : call.result;
        Mark(step->returnEvent);
        WriteOut(call, own);
        if (kSlots[slot].name == kMapReserved && call.result == 0) {
            MapReserved(call, own);
        }
        reply.result = place != call.result ? place : Result(call, own);
        if (kSlots[slot].name == kRelease) {
            Release(&call, own);
        }
    }
    if (runner->cursor == runner->script.steps.size()) {
        changed_.notify_all();
    }
    return reply;
}

// A thread that the recording does not have follows none.
Reply Replay::AfterTheEnd() const {
    const Runner *const own = t_here.session == session_ ? t_here.runner : nullptr;
    return {0, own != nullptr && IsOurs(*own)};
}

Reply Replay::AnswerWithoutMemory() {
    const std::lock_guard<std::mutex> lock(mutex_);
    EndWithoutMemory();
    return AfterTheEnd();
}

void Replay::Register(const TracedCall &call, const TracedCall &live) {
    const SlotInfo &slot = kSlots[call.slot];
    if (slot.callback != nullptr) {
        const uint64_t recorded = WordAt(call, slot.callback->function);
        const uint64_t argument = WordAt(call, slot.callback->argument);
        targets_[{call.slot, recorded, argument}] = {
            FromWord<Hook>(WordAt(live, slot.callback->function)),
            WordAt(live, slot.callback->argument)};
        addresses_.Learn(argument, WordAt(live, slot.callback->argument));
    }
    for (size_t i = 0; i < call.wordCount; ++i) {
        const auto isIts = [i](const auto &rule) { return rule.parameter == i; };
        if (i < slot.parameters.size() && slot.parameters[i].width == Width::kPointer &&
            std::none_of(slot.pointers.begin(), slot.pointers.end(), isIts)) {
            addresses_.Learn(call.words[i], live.words[i]);
        }
    }
}

// The turn is the thread's until its return is marked, so that it has the tables to itself.
uint64_t Replay::FollowHash(Runner &runner, const TracedCall &call, const TracedCall &live) {
    struct Unlocked {
        explicit Unlocked(std::mutex &held) : mutex(held) { mutex.unlock(); }
        ~Unlocked() { mutex.lock(); }
        Unlocked(const Unlocked &) = delete;
        Unlocked &operator=(const Unlocked &) = delete;
        Unlocked(Unlocked &&) = delete;
        Unlocked &operator=(Unlocked &&) = delete;

        std::mutex &mutex;
    };
    runner.isComparing = true;
    uint64_t place = 0;
    {
        const Unlocked unlocked(mutex_);
        const std::span<const uint64_t> words(live.words.data(), live.wordCount);
        place = hashTables_.Follow(kSlots[call.slot].name, words, call.result);
    }
    runner.isComparing = false;
    if (place != call.result) {
        addresses_.Learn(call.result, place);
    }
    return place;
}

// Null without memory.
void *Replay::NewMemory(size_t size) {
    std::unique_ptr<void, decltype(&std::free)> memory(std::calloc(1, std::max<size_t>(size, 1)),
                                                       &std::free);
    if (memory != nullptr) {
        memory_.insert(memory.get());
    }
    return memory.release();
}

// Of what the recording gave.
void *Replay::RecordedMemory(size_t size) {
    void *const memory = NewMemory(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

uint64_t Replay::Result(const TracedCall &call, const TracedCall &live) {
    const SlotInfo &slot = kSlots[call.slot];
    if (slot.result != Width::kPointer || call.result == 0) {
        return call.result;
    }
    const std::span<const uint64_t> words(live.words.data(), live.wordCount);
    for (const PointerRule &rule : slot.pointers) {
        if (rule.parameter == kResultPlace && rule.direction == Direction::kBlock) {
            const size_t size = PieceOf(rule, {words, call.result}, 0).size;
            const uint64_t memory = ToWord(RecordedMemory(size));
            addresses_.AddBlock(call.result, {memory, size});
            return memory;
        }
    }
    for (const TracedPiece &piece : call.out) {
        if (piece.Parameter() == kResultPlace && piece.Offset() == kDirect) {
            void *&text = texts_[{call.result, piece.bytes}];
            if (text == nullptr) {
                text = RecordedMemory(piece.bytes.size() + 1);
                if (!piece.bytes.empty()) {
                    std::memcpy(text, piece.bytes.data(), piece.bytes.size());
                }
            }
            return ToWord(text);
        }
    }
    // An argument that comes back, also one that leads to something.
    for (size_t i = 0; i < call.wordCount && i < slot.parameters.size(); ++i) {
        if (slot.parameters[i].width == Width::kPointer && call.words[i] == call.result) {
            return live.words[i];
        }
    }
    const uint64_t real = addresses_.Translate(call.result);
    if (real == call.result) {
        addresses_.Give(call.result);
    }
    return real;
}

// A call that the recording does not have. Memory is given all the same.
uint64_t Replay::Extra(const TracedCall &live) {
    if (kSlots[live.slot].name == kRelease) {
        Release(nullptr, live);
        return 0;
    }
    const std::span<const uint64_t> words(live.words.data(), live.wordCount);
    for (const PointerRule &rule : kSlots[live.slot].pointers) {
        if (rule.parameter == kResultPlace && rule.direction == Direction::kBlock) {
            return ToWord(NewMemory(PieceOf(rule, {words, 1}, 0).size));
        }
    }
    return 0;
}

void Replay::Release(const TracedCall *call, const TracedCall &live) {
    auto *const memory = FromWord<void *>(live.words[0]);
    if (memory_.erase(memory) != 0) {
        std::free(memory);
    }
    if (call != nullptr) {
        addresses_.RemoveBlock(call->words[0]);
    }
}

void Replay::WriteOut(const TracedCall &call, const TracedCall &live) {
    const SlotInfo &slot = kSlots[call.slot];
    const CallWords words = {{live.words.data(), live.wordCount}, call.result};
    for (const TracedPiece &piece : call.out) {
        for (const PointerRule &rule : slot.pointers) {
            if (PlaceOf(rule) != piece.place || rule.parameter == kResultPlace) {
                continue;
            }
            const Piece to = PieceOf(rule, words, 0);
            if (to.data != nullptr) {
                // The caller's own, as the hook would write to it.
                auto *const target = const_cast<char *>(static_cast<const char *>(to.data));
                Write(slot, call, piece, target, Room(rule, words, to));
            }
            break;
        }
    }
}

// Where a reserved memory is: what all callers that were given one address share.
void Replay::MapReserved(const TracedCall &call, const TracedCall &live) {
    constexpr size_t kBytes = 1;
    constexpr size_t kAddress = 2;
    const auto addressOf = [](const TracedCall &mapped) {
        for (const TracedPiece &piece : mapped.out) {
            if (piece.Parameter() == kAddress && piece.Offset() == kDirect) {
                return LoadPointer(piece.bytes, 0);
            }
        }
        return uint64_t{0};
    };
    const uint64_t recorded = addressOf(call);
    auto *const to = FromWord<void *>(live.words[kAddress]);
    if (recorded == 0 || to == nullptr) {
        return;
    }
    const Addresses::Block *block = addresses_.FindBlock(recorded);
    if (block == nullptr) {
        uint64_t bytes = 0;
        for (const TracedCall &other : file_.calls) {
            if (other.slot == call.slot && !other.isCallback && addressOf(other) == recorded) {
                bytes = std::max(bytes, other.words[kBytes]);
            }
        }
        const auto size = static_cast<size_t>(bytes);
        addresses_.AddBlock(recorded, {ToWord(RecordedMemory(size)), size});
        block = addresses_.FindBlock(recorded);
    }
    const auto real = static_cast<uintptr_t>(block->real);
    std::memcpy(to, &real, sizeof(real));
}

void Replay::Write(const SlotInfo &slot, const TracedCall &call, const TracedPiece &piece, char *to,
                   size_t room) {
    const size_t size = std::min(piece.bytes.size(), room);
    if (piece.bytes.size() < std::min<uint64_t>(piece.whole, room) && !hasToldCut_) {
        hasToldCut_ = true;
        Note("the recording keeps " + std::to_string(piece.bytes.size()) + " of " +
             std::to_string(piece.whole) + " bytes that " + slot.name + " wrote");
    }
    const TracedPiece *before = nullptr;
    for (const TracedPiece &in : call.in) {
        before = in.place == piece.place ? &in : before;
    }
    for (size_t i = 0; i < size;) {
        size_t begin = 0;
        size_t count = 1;
        if (IsOpaqueByte(slot, piece, i, &begin)) {
            // As a whole: a handle of now may differ from that of the recording before the call.
            count = std::min(begin + sizeof(void *), size) - i;
            const uint64_t given = LoadPointer(piece.bytes, begin);
            if (given != 0 && addresses_.Translate(given) == given) {
                addresses_.Give(given);
            }
        }
        const std::string_view bytes = piece.bytes.substr(i, count);
        if (before == nullptr || i + count > before->bytes.size() ||
            before->bytes.substr(i, count) != bytes) {
            std::memcpy(to + i, bytes.data(), count);
        }
        i += count;
    }
    if (piece.IsText() && size < room) {
        to[size] = '\0';
    }
}

// The task of the recording that was created by this call.
void Replay::StartTask(const TracedCall &call) {
    const CallbackRule &rule = *kSlots[call.slot].callback;
    const uint64_t function = WordAt(call, rule.function);
    const uint64_t argument = WordAt(call, rule.argument);
    for (const auto &runner : runners_) {
        const auto &steps = runner->script.steps;
        if (runner->isClaimed || runner->script.kind != ThreadKind::kTask) {
            continue;
        }
        const auto isItsEntry = [&](const Step &step) {
            const TracedCall &entry = CallOf(step);
            return entry.isCallback && entry.slot == call.slot && entry.words[0] == function &&
                   entry.wordCount == 2 && entry.words[1] == argument;
        };
        if (std::any_of(steps.begin(), steps.end(), isItsEntry)) {
            Launch(*runner);
            return;
        }
    }
}

void Replay::Launch(Runner &runner) {
    runner.isClaimed = true;
    try {
        runner.thread = std::thread([this, &runner] { Drive(runner); });
    } catch (const std::system_error &) {
        runner.isDone = true;
        Differ({&runner, NextOf(runner), "no thread can be made"});
    }
}

// Nothing here has a destructor: a task that is ended comes back by longjmp.
void Replay::Drive(Runner &runner) {
    t_here = {session_, &runner};
    if (_setjmp(runner.end) == 0) {
        DriveSteps(runner);
    }
    mutex_.lock();
    runner.isDone = true;
    changed_.notify_all();
    mutex_.unlock();
}

void Replay::DriveSteps(Runner &runner) {
    mutex_.lock();
    try {
        DoTheHosts(runner);
    } catch (const std::bad_alloc &) {
        EndWithoutMemory();
    }
    mutex_.unlock();
}

void Replay::FillTable() {
    before_ = *DXR_GetHooks();
    std::array<Hook, kSlotCount> answers{};
    std::memcpy(answers.data(), &kAnswers, sizeof(kAnswers));
    std::array<bool, kSlotCount> used = file_.filled;
    if (!file_.hasSlots) {
        for (const TracedCall &call : file_.calls) {
            used[call.slot] = true;
        }
    }
    for (size_t i = 0; i < kSlotCount; ++i) {
        answers[i] = used[i] ? answers[i] : nullptr;
    }
    DxrHooks hooks;
    std::memcpy(static_cast<void *>(&hooks), answers.data(), sizeof(hooks));
    (void)DXR_RegisterHooks(&hooks);
}

void Replay::FinishSteps(std::unique_lock<std::mutex> &lock) {
    Runner &main = *runners_[0];
    DoTheHosts(main);
    if (!isOver_ && main.cursor < main.ends.back()) {
        Differ({&main, NextOf(main), "the module has ended",
                CallText(CallOf(main.script.steps[main.cursor]))});
    }
    left_ += LeaveOutUntil(main, main.ends.back());
    main.isDone = true;
    const auto isDone = [](const std::unique_ptr<Runner> &runner) {
        return runner->isDone || (runner->script.kind == ThreadKind::kOwn &&
                                  runner->cursor == runner->script.steps.size());
    };
    // Tasks that nobody creates any more.
    for (const auto &runner : runners_) {
        if (!runner->isClaimed && !isDone(runner) && !isOver_) {
            Differ({runner.get(), NextOf(*runner), "the module has not begun this thread",
                    CallText(CallOf(runner->script.steps[0]))});
            left_ += LeaveOutUntil(*runner, runner->script.steps.size());
            runner->isDone = true;
        }
    }
    Await(lock, changed_,
          [&] { return isOver_ || std::all_of(runners_.begin(), runners_.end(), isDone); });
}

void Replay::Finish(DxrReplayCounts &counts) {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        try {
            FinishSteps(lock);
        } catch (const std::bad_alloc &) {
            EndWithoutMemory();
        }
        isOver_ = true;
        WakeAll();
        counts.calls = calls_;
        counts.callbacks = callbacks_;
        counts.differences = differences_;
        counts.left = left_;
        for (const auto &runner : runners_) {
            counts.threads += runner->isClaimed ? 1 : 0;
        }
    }
    Join();
    (void)DXR_RegisterHooks(&before_);
}

// Before the table was filled.
void Replay::Abandon() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOver_ = true;
        WakeAll();
    }
    Join();
}

void Replay::Join() {
    for (const auto &runner : runners_) {
        if (runner->thread.joinable()) {
            runner->thread.join();
        }
    }
}

constinit std::atomic<Replay *> g_replay = nullptr;
constinit uint64_t g_sessions = 0;

uint32_t TryStart(const char *path, const DxrReplayOptions &options, std::string &problem) {
    std::string bytes;
    const int error = ReadWholeFile(path, bytes);
    if (error != 0) {
        problem = std::generic_category().message(error);
        return static_cast<uint32_t>(error);
    }
    auto replay = std::make_unique<Replay>(std::move(bytes), options, ++g_sessions);
    const uint32_t wrong = replay->Check(problem);
    if (wrong != 0) {
        return wrong;
    }
    ForgetAllHashKeys();
    g_replay.store(replay.get());
    replay->Start();
    (void)replay.release();
    return 0;
}

}  // namespace

Reply Answer(size_t slot, std::span<const uint64_t> words, const char *message) {
    const int before = errno;
    Reply reply;
    Replay *const replay = g_replay.load(std::memory_order_acquire);
    if (replay != nullptr) {
        try {
            reply = replay->Answer(slot, words, message);
        } catch (const std::bad_alloc &) {
            reply = replay->AnswerWithoutMemory();
        }
    }
    errno = before;
    return reply;
}

void EndThread() {
    Replay::EndThread();
}

}  // namespace dxr_trace

void DxrReplayInitOptions(DxrReplayOptions *options) {
    *options = {};
    options->size = sizeof(*options);
    options->patienceMs = 30000;
    options->out = stderr;
}

uint32_t DxrReplayStart(const char *file, const DxrReplayOptions *options, char *error,
                        uint32_t errorSize) {
    DxrReplayOptions defaults;
    DxrReplayInitOptions(&defaults);
    const DxrReplayOptions &used = options != nullptr ? *options : defaults;
    const char *told = "";
    std::string problem;
    uint32_t code = 0;
    if (file == nullptr || used.size != sizeof(used) || used.loose > 1 ||
        used.format > DXR_TRACE_JSON_LINES) {
        code = EINVAL;
        told = "wrong options";
    } else if (dxr_trace::g_replay.load() != nullptr) {
        code = EALREADY;
        told = "a replay has begun";
    } else {
        try {
            code = dxr_trace::TryStart(file, used, problem);
            told = problem.c_str();
        } catch (const std::exception &) {
            dxr_trace::g_replay.store(nullptr);
            code = ENOMEM;
            told = "not enough memory";
        }
    }
    dxr_trace::WriteWhy(error, errorSize, told);
    return code;
}

uint32_t DxrReplayStop(DxrReplayCounts *counts) {
    dxr_trace::Replay *const replay = dxr_trace::g_replay.load();
    if (replay == nullptr) {
        return EALREADY;
    }
    DxrReplayCounts sums{};
    replay->Finish(sums);
    dxr_trace::g_replay.store(nullptr);
    delete replay;
    if (counts != nullptr) {
        *counts = sums;
    }
    return sums.differences != 0 ? 1 : 0;
}
