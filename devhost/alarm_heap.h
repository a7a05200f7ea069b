// What is due, the earliest first; what is due at one moment comes in the order in which it was
// set.
#ifndef DXR_DEVHOST_ALARM_HEAP_H
#define DXR_DEVHOST_ALARM_HEAP_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace devhost {

// Something due at a moment. It is told its place in the heap, so that it can be taken out.
struct Alarm {
    static constexpr size_t kNowhere = SIZE_MAX;

    uint64_t due = 0;  // nanoseconds of the host's clock
    uint64_t order = 0;
    size_t place = kNowhere;
    bool isJob = false;  // a timer's; else a wait's time-out

    [[nodiscard]] bool IsSet() const { return place != kNowhere; }
    [[nodiscard]] bool IsBefore(const Alarm &other) const {
        return due != other.due ? due < other.due : order < other.order;
    }
};

class AlarmHeap {
  public:
    [[nodiscard]] Alarm *Earliest() const { return heap_.empty() ? nullptr : heap_.front(); }

    // Throws std::bad_alloc, and then has done nothing.
    void Set(Alarm &alarm, uint64_t due) {
        constexpr size_t kSpare = 1;
        if (heap_.capacity() < heap_.size() + 1 + kSpare) {
            heap_.reserve(2 * heap_.size() + 1 + kSpare);
        }
        SetAgain(alarm, due);
    }

    // For the one that was taken out to run: there is room for it.
    void SetAgain(Alarm &alarm, uint64_t due) {
        alarm.due = due;
        alarm.order = ++order_;
        heap_.push_back(&alarm);
        Rise(heap_.size() - 1);
    }

    // Nothing happens to one that is not set.
    void Remove(Alarm &alarm) {
        if (!alarm.IsSet()) {
            return;
        }
        const size_t at = alarm.place;
        Alarm *const last = heap_.back();
        heap_.pop_back();
        alarm.place = Alarm::kNowhere;
        if (last != &alarm) {
            heap_[at] = last;
            last->place = at;
            Sink(at);
            Rise(last->place);
        }
    }

  private:
    void Rise(size_t at) {
        Alarm *const alarm = heap_[at];
        for (; at > 0 && alarm->IsBefore(*heap_[(at - 1) / 2]); at = (at - 1) / 2) {
            Put(at, heap_[(at - 1) / 2]);
        }
        Put(at, alarm);
    }

    void Sink(size_t at) {
        Alarm *const alarm = heap_[at];
        for (;;) {
            size_t child = 2 * at + 1;
            if (child >= heap_.size()) {
                break;
            }
            if (child + 1 < heap_.size() && heap_[child + 1]->IsBefore(*heap_[child])) {
                ++child;
            }
            if (!heap_[child]->IsBefore(*alarm)) {
                break;
            }
            Put(at, heap_[child]);
            at = child;
        }
        Put(at, alarm);
    }

    void Put(size_t at, Alarm *alarm) {
        heap_[at] = alarm;
        alarm->place = at;
    }

    std::vector<Alarm *> heap_;
    uint64_t order_ = 0;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_ALARM_HEAP_H
