#include "script.h"

#include <algorithm>
#include <map>
#include <queue>
#include <string_view>
#include <tuple>
#include <utility>

#include "slots.h"

namespace dxr_trace {
namespace {

class Maker {
  public:
    explicit Maker(const TraceFile &file) : file_(file), main_(NumberOfMain()) {}

    Script Make() {
        Divide();
        for (ScriptThread &thread : script_.threads) {
            std::stable_sort(thread.steps.begin(), thread.steps.end(),
                             [this](const Step &a, const Step &b) {
                                 return CallOf(a).sequence < CallOf(b).sequence;
                             });
            Nest(thread);
            thread.kind = KindOf(thread);
        }
        ChooseMain();
        for (ScriptThread &thread : script_.threads) {
            LeaveOutTheHosts(thread);
        }
        Order();
        return std::move(script_);
    }

  private:
    [[nodiscard]] const TracedCall &CallOf(const Step &step) const {
        return file_.calls[step.call];
    }

    void Divide() {
        std::map<uint32_t, size_t> places;
        for (uint32_t i = 0; i < file_.calls.size(); ++i) {
            const uint32_t number = file_.calls[i].thread;
            const auto [found, isNew] = places.emplace(number, script_.threads.size());
            if (isNew) {
                script_.threads.emplace_back().number = number;
            }
            script_.threads[found->second].steps.push_back({i, 0, false});
        }
    }

    void Nest(ScriptThread &thread) const {
        std::vector<uint32_t> open;
        const auto close = [&](size_t depth, uint32_t end) {
            while (open.size() > depth) {
                thread.steps[open.back()].end = end;
                open.pop_back();
            }
        };
        for (uint32_t i = 0; i < thread.steps.size(); ++i) {
            const TracedCall &call = CallOf(thread.steps[i]);
            close(call.depth, i);
            // Within a hook the host calls other hooks at most.
            thread.steps[i].isHosts =
                !call.isCallback && !open.empty() && !CallOf(thread.steps[open.back()]).isCallback;
            open.push_back(i);
        }
        close(0, static_cast<uint32_t>(thread.steps.size()));
    }

    // The number of the thread that began the recording; when that made no call, of the process's
    // first. 0 when neither made one.
    [[nodiscard]] uint32_t NumberOfMain() const {
        const auto &told = file_.threads;
        auto found = std::find_if(told.begin(), told.end(),
                                  [](const TracedThread &thread) { return thread.hasBegun; });
        if (found == told.end()) {
            found = std::find_if(told.begin(), told.end(), [this](const TracedThread &thread) {
                return thread.systemId == file_.processId;
            });
        }
        return found != told.end() ? found->number : 0;
    }

    [[nodiscard]] ThreadKind KindOf(const ScriptThread &thread) const {
        if (thread.number == main_) {
            return ThreadKind::kMain;
        }
        for (size_t i = 0; i < thread.steps.size(); i = thread.steps[i].end) {
            const TracedCall &call = CallOf(thread.steps[i]);
            if (call.isCallback) {
                return std::string_view(kSlots[call.slot].name) == "DXR_CreateTask"
                           ? ThreadKind::kTask
                           : ThreadKind::kHost;
            }
        }
        return ThreadKind::kOwn;
    }

    // It may have made no call. Where nothing tells who began, other threads may have run the
    // module; then the first of them did.
    void ChooseMain() {
        auto &threads = script_.threads;
        const auto is = [](ThreadKind kind) {
            return [kind](const ScriptThread &thread) { return thread.kind == kind; };
        };
        auto found = std::find_if(threads.begin(), threads.end(), is(ThreadKind::kMain));
        if (found == threads.end() && main_ == 0 && !file_.tellsWhoBegan) {
            found = std::find_if(threads.begin(), threads.end(), is(ThreadKind::kOwn));
        }
        if (found == threads.end()) {
            found = threads.insert(threads.begin(), ScriptThread{});
            found->number = main_;
        }
        found->kind = ThreadKind::kMain;
        std::rotate(threads.begin(), found, found + 1);
    }

    void LeaveOutTheHosts(ScriptThread &thread) {
        if (thread.kind != ThreadKind::kTask && thread.kind != ThreadKind::kHost) {
            return;
        }
        for (size_t i = 0; i < thread.steps.size(); i = thread.steps[i].end) {
            if (!CallOf(thread.steps[i]).isCallback) {
                thread.steps[i].isHosts = true;
                ++script_.unknown;
            }
        }
    }

    // One event of a thread: its ticks, its step, whether it is the return.
    struct Event {
        uint64_t ticks;
        uint32_t step;
        bool isReturn;
    };

    [[nodiscard]] std::vector<Event> EventsOf(const ScriptThread &thread) const {
        std::vector<Event> events;
        std::vector<uint32_t> open;
        const auto close = [&](uint32_t next) {
            while (!open.empty() && thread.steps[open.back()].end <= next) {
                const Step &step = thread.steps[open.back()];
                if (!step.isHosts && CallOf(step).hasReturned) {
                    events.push_back({CallOf(step).endTicks, open.back(), true});
                }
                open.pop_back();
            }
        };
        for (uint32_t i = 0; i < thread.steps.size(); ++i) {
            close(i);
            if (!thread.steps[i].isHosts) {
                events.push_back({CallOf(thread.steps[i]).beginTicks, i, false});
            }
            open.push_back(i);
        }
        close(static_cast<uint32_t>(thread.steps.size()));
        return events;
    }

    void Order() {
        std::vector<std::vector<Event>> all;
        using Head = std::tuple<uint64_t, uint32_t, uint32_t>;  // ticks, thread, event of it
        std::priority_queue<Head, std::vector<Head>, std::greater<>> heads;
        for (uint32_t i = 0; i < script_.threads.size(); ++i) {
            all.push_back(EventsOf(script_.threads[i]));
            if (!all[i].empty()) {
                heads.emplace(all[i][0].ticks, i, 0);
            }
        }
        while (!heads.empty()) {
            const auto [ticks, thread, place] = heads.top();
            heads.pop();
            const Event &event = all[thread][place];
            Step &step = script_.threads[thread].steps[event.step];
            (event.isReturn ? step.returnEvent : step.enterEvent) =
                static_cast<uint32_t>(script_.events.size());
            script_.events.push_back(thread);
            if (place + 1 < all[thread].size()) {
                heads.emplace(all[thread][place + 1].ticks, thread, place + 1);
            }
        }
    }

    const TraceFile &file_;
    const uint32_t main_;
    Script script_;
};

}  // namespace

Script MakeScript(const TraceFile &file) {
    return Maker(file).Make();
}

}  // namespace dxr_trace
