#include "dxr/database.h"

#include "internal/bounds_checked.h"
#include "internal/host_services.h"

namespace {

// What is known of the host's query record.
struct QueryHead {
    uint32_t hostField;
    uint32_t recordSize;  // bytes of one result record
};

// A node group's traffic-manager configuration, as far as it is read.
struct NodeGroupTmConfig {
    uint32_t hostFields[3];
    uint32_t feNodeGroupId;
};

uint32_t RecordSize(const void *query) {
    QueryHead head = {};
    // A copy: the host's record need not be aligned.
    dxr::memcpy_s(&head, sizeof(head), query, sizeof(head));
    return head.recordSize;
}

}  // namespace

void *DXR_SelectDbRecord(void *query, uint32_t *count) {
    uint32_t records = 0;
    if (DXR_SelectDbRecordCount(query, &records) != dxr::kSuccess || records == 0) {
        return nullptr;
    }
    const uint32_t size = RecordSize(query) * records;  // wraps at 32 bits
    dxr::Zeroed<uint8_t> block(DXR_GetDefaultMid(), size);
    if (block.Get() == nullptr) {
        return nullptr;
    }
    if (DXR_SelectDbRecordLimit(query, records, block.Get()) != dxr::kSuccess) {
        return nullptr;
    }
    *count = records;
    return block.Release();
}

uint32_t DXR_GetFeNodeGrpId(uint32_t arg1, uint32_t arg2) {
    NodeGroupTmConfig config = {};
    return DXR_GetNgTmCfgFromDb(arg1, arg2, 0, &config) == dxr::kSuccess ? config.feNodeGroupId : 0;
}
