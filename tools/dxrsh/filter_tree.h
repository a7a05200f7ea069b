// A message filter tree from a file.
#ifndef DXRSH_FILTER_TREE_H
#define DXRSH_FILTER_TREE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "dxr_api.h"

namespace dxrsh {

constexpr size_t kMostFilterLevels = 16;

// Message types from the first level down; none for the root.
struct FilterPath {
    std::array<uint32_t, kMostFilterLevels> types{};
    uint32_t length = 0;

    // "1/2/3", or "/" for the root. Throws UsageError.
    static FilterPath Parse(std::string_view text);
};

class FilterTree {
  public:
    // {"filters": [{"type": 1, "name": "a", "lost": 0, "filters": [...]}]}
    // Throws UsageError for what is wrong with the file, RunError when it cannot be read.
    explicit FilterTree(const std::string &file);
    ~FilterTree() { DXR_DestroyMessageFilter(&root_); }
    FilterTree(const FilterTree &) = delete;
    FilterTree &operator=(const FilterTree &) = delete;
    FilterTree(FilterTree &&) = delete;
    FilterTree &operator=(FilterTree &&) = delete;

    // Throw UsageError for what is no path, Set also when it leads nowhere.
    void Set(const std::string &text, uint32_t count);
    [[nodiscard]] bool IsFiltered(const std::string &text);

    // As the library lists it, with plain line ends. The root, which that leaves out, stands before
    // it while it has a count.
    [[nodiscard]] std::string Listing() const;

    // The caller destroys it from now on.
    [[nodiscard]] DxrMessageFilter *Release() { return std::exchange(root_, nullptr); }

  private:
    DxrMessageFilter *root_ = nullptr;
    uint32_t rootCount_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_FILTER_TREE_H
