// The hooks that the figures need, each as short as it can be: no figure is about the host.
#ifndef DXR_FIGURES_BARE_HOST_H
#define DXR_FIGURES_BARE_HOST_H

#include <cstdint>

#include "dxr_api.h"

namespace bench {

// One in a program: puts its hooks into the table and readies the log filter; puts all back at the
// end.
class BareHost {
  public:
    BareHost();
    ~BareHost();
    BareHost(const BareHost &) = delete;
    BareHost &operator=(const BareHost &) = delete;
    BareHost(BareHost &&) = delete;
    BareHost &operator=(BareHost &&) = delete;

  private:
    DxrHooks before_;
};

// Lines that the log filter let through so far.
[[nodiscard]] uint32_t LinesLetThrough();

}  // namespace bench

#endif  // DXR_FIGURES_BARE_HOST_H
