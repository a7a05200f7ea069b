// In which order mutexes were locked, and whether another order was seen before.
#ifndef DXR_DEVHOST_LOCK_ORDER_H
#define DXR_DEVHOST_LOCK_ORDER_H

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

namespace devhost {

// Mutexes are known by their numbers. May throw std::bad_alloc.
class LockOrder {
  public:
    // The first was held, locked at one place, when the second was locked at the other.
    struct Edge {
        uint64_t first;
        uint64_t second;
        const void *firstAt;
        const void *secondAt;
    };

    // Notes an order. The first time, gives the steps that lead from its second mutex to its first,
    // if they were locked in that order before, through whatever mutexes in between; else nothing.
    std::vector<Edge> Note(const Edge &edge);

    // The mutex is destroyed.
    void Forget(uint64_t number);

  private:
    struct Places {
        const void *first;
        const void *second;
    };
    struct Node {
        std::map<uint64_t, Places> after;
        std::set<uint64_t> before;
    };
    class Search;

    std::mutex mutex_;
    std::unordered_map<uint64_t, Node> nodes_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_LOCK_ORDER_H
