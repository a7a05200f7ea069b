// Figures whose peers need packages or libraries of their own, in addition to figures.h.
#ifndef DXR_BENCH_PACKAGE_FIGURES_H
#define DXR_BENCH_PACKAGE_FIGURES_H

#include <cstddef>
#include <cstdint>

#include "figures.h"

namespace bench {

[[nodiscard]] Figure SameTextBesideSpdlog(uint32_t live, Place place);
[[nodiscard]] Figure NewTextBesideSpdlog(uint32_t live);
[[nodiscard]] Figure SameTextInEightThreads();

[[nodiscard]] Figure Crc8BesideBoost(size_t bytes);
[[nodiscard]] Figure CombinationBesideBoost(Operation operation, size_t words);
[[nodiscard]] Figure SetBitsBesideBoost(size_t words);

[[nodiscard]] Figure Load();

}  // namespace bench

#endif  // DXR_BENCH_PACKAGE_FIGURES_H
