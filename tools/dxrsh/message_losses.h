// Messages of a host that get lost: by kind, and by unit and kind.
#ifndef DXRSH_MESSAGE_LOSSES_H
#define DXRSH_MESSAGE_LOSSES_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "filter_tree.h"

namespace dxrsh {

// By the library's table of simulated messages and by the host's filter tree. Those that a module
// has put in their places are its own. One thread at a time.
class MessageLosses {
  public:
    explicit MessageLosses(DxrHost *host);
    // The host has ended already, or hears no more of them.
    ~MessageLosses();
    MessageLosses(const MessageLosses &) = delete;
    MessageLosses &operator=(const MessageLosses &) = delete;
    MessageLosses(MessageLosses &&) = delete;
    MessageLosses &operator=(MessageLosses &&) = delete;

    // What gets lost from the beginning.
    void Take(FilterTree &tree);

    // The next messages of a kind; of a kind to a unit. Throw RunError.
    void Drop(uint32_t kind, uint32_t count);
    void Drop(const DxrHostUnit &unit, uint32_t kind, uint32_t count);

    // What will be lost, in lines.
    [[nodiscard]] std::string Listing() const;

  private:
    DxrHost *host_;
    std::vector<DxrSimulateMsg> simulated_;
    std::map<uint32_t, std::string> names_;
    DxrMessageFilter *filter_ = nullptr;
};

}  // namespace dxrsh

#endif  // DXRSH_MESSAGE_LOSSES_H
