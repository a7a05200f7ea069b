// Writes trees down as the nested records that a host hands to the message filter.
#ifndef DXR_TESTS_SUPPORT_MESSAGE_FILTER_RECORDS_H
#define DXR_TESTS_SUPPORT_MESSAGE_FILTER_RECORDS_H

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "dxr/message_filter.h"

namespace dxrtest {

struct FilterNode {
    std::string name;
    uint32_t msgType;
    uint32_t lostCnt;
    std::vector<FilterNode> children = {};
};

// The records of a forest. Names fill their field up to its last byte; one of full length has no
// NUL.
class FilterRecords {
  public:
    explicit FilterRecords(const std::vector<FilterNode> &nodes) : top_(Write(nodes)) {}
    FilterRecords(const FilterRecords &) = delete;
    FilterRecords &operator=(const FilterRecords &) = delete;

    [[nodiscard]] const DxrMessageFilterInfo *Data() const { return top_->data(); }
    [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(top_->size()); }

  private:
    using Level = std::vector<DxrMessageFilterInfo>;

    // What stands beside a record without children: reading it is a crash.
    static const DxrMessageFilterInfo *Nowhere() {
        return reinterpret_cast<const DxrMessageFilterInfo *>(uintptr_t{8});
    }

    Level *Write(const std::vector<FilterNode> &nodes) {
        Level *const level = &levels_.emplace_back();
        level->reserve(nodes.size() + 1);  // never null, also without records
        for (const FilterNode &node : nodes) {
            DxrMessageFilterInfo record = {};
            record.msgType = node.msgType;
            record.lostCnt = node.lostCnt;
            std::copy_n(node.name.begin(), std::min(node.name.size(), sizeof(record.name)),
                        &record.name[0]);
            record.subFilters = node.children.empty() ? Nowhere() : Write(node.children)->data();
            record.subFilterNum = static_cast<uint32_t>(node.children.size());
            level->push_back(record);
        }
        return level;
    }

    std::deque<Level> levels_;
    Level *top_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_MESSAGE_FILTER_RECORDS_H
