// Units and registers as lines of the shell name them.
#ifndef DXRSH_SHELL_PLACES_H
#define DXRSH_SHELL_PLACES_H

#include <cstdint>
#include <string>
#include <vector>

#include "dxr_devhost.h"

namespace dxrsh {

// "lpu", for DXR_HOST_UNIT_LPU.
[[nodiscard]] std::string UnitKind(uint32_t kind);

// "lpu:3"
[[nodiscard]] std::string UnitText(const DxrHostUnit &unit);

// The unit that a word names. Throws UsageError.
[[nodiscard]] DxrHostUnit RequireUnit(const std::string &word);

// A cell of the device, such as 0:1:0x40.
class Cell {
  public:
    // Throws UsageError.
    explicit Cell(const std::string &word);

    [[nodiscard]] const DxrHostCell &Get() const { return cell_; }
    [[nodiscard]] std::string Name() const;
    // The largest value that it holds.
    [[nodiscard]] uint32_t Most() const;
    // Goes on to the one after it.
    void Next();

  private:
    [[nodiscard]] std::vector<std::string> Cut() const;

    std::string word_;
    std::string head_;
    DxrHostCell cell_{};
};

}  // namespace dxrsh

#endif  // DXRSH_SHELL_PLACES_H
