#include "lock_order.h"

#include <algorithm>

namespace devhost {

// Goes over what was locked after a mutex, or before it, a mutex at a time and without recursion:
// chains may be long, and stacks of tasks small.
class LockOrder::Search {
  public:
    Search(const LockOrder &order, uint64_t from, uint64_t to, bool isForward)
        : order_(order), to_(to), isForward_(isForward) {
        Reach(from, from);
    }

    [[nodiscard]] bool HasFound() const { return cameFrom_.contains(to_); }
    [[nodiscard]] bool IsOver() const { return HasFound() || next_ == reached_.size(); }

    void Step() {
        const uint64_t here = reached_[next_++];
        const auto node = order_.nodes_.find(here);
        if (node == order_.nodes_.end()) {
            return;
        }
        if (isForward_) {
            for (const auto &[number, places] : node->second.after) {
                Reach(number, here);
            }
        } else {
            for (const uint64_t number : node->second.before) {
                Reach(number, here);
            }
        }
    }

    // The mutexes from that one to this one.
    [[nodiscard]] std::vector<uint64_t> Way() const {
        std::vector<uint64_t> way = {to_};
        while (way.back() != reached_.front()) {
            way.push_back(cameFrom_.at(way.back()));
        }
        return way;
    }

  private:
    void Reach(uint64_t number, uint64_t from) {
        if (cameFrom_.emplace(number, from).second) {
            reached_.push_back(number);
        }
    }

    const LockOrder &order_;
    const uint64_t to_;
    const bool isForward_;
    std::unordered_map<uint64_t, uint64_t> cameFrom_;
    std::vector<uint64_t> reached_;
    size_t next_ = 0;
};

std::vector<LockOrder::Edge> LockOrder::Note(const Edge &edge) {
    const std::lock_guard lock(mutex_);
    Node &first = nodes_[edge.first];
    Node &second = nodes_[edge.second];
    if (!first.after.emplace(edge.second, Places{edge.firstAt, edge.secondAt}).second) {
        return {};
    }
    second.before.insert(edge.first);

    // From both ends in turn: it is over as soon as either has nowhere to go, which is at once for
    // a mutex that was never locked before another one, or never after one.
    Search forward(*this, edge.second, edge.first, true);
    Search backward(*this, edge.first, edge.second, false);
    while (!forward.IsOver() && !backward.IsOver()) {
        forward.Step();
        backward.Step();
    }
    std::vector<uint64_t> way;
    if (forward.HasFound()) {
        way = forward.Way();
        std::reverse(way.begin(), way.end());
    } else if (backward.HasFound()) {
        way = backward.Way();
    }
    std::vector<Edge> steps;
    for (size_t i = 1; i < way.size(); ++i) {
        const Places &places = nodes_.at(way[i - 1]).after.at(way[i]);
        steps.push_back({way[i - 1], way[i], places.first, places.second});
    }
    return steps;
}

void LockOrder::Forget(uint64_t number) {
    const std::lock_guard lock(mutex_);
    const auto found = nodes_.find(number);
    if (found == nodes_.end()) {
        return;
    }
    for (const uint64_t before : found->second.before) {
        nodes_.at(before).after.erase(number);
    }
    for (const auto &[after, places] : found->second.after) {
        const auto other = nodes_.find(after);
        if (other != nodes_.end()) {  // it is not when there was no memory to note it there
            other->second.before.erase(number);
        }
    }
    nodes_.erase(found);
}

}  // namespace devhost
