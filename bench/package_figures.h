// Figures whose peers need packages or libraries of their own, in addition to figures.h.
#ifndef DXR_BENCH_PACKAGE_FIGURES_H
#define DXR_BENCH_PACKAGE_FIGURES_H

#include <cstddef>
#include <cstdint>

#include "figures.h"

namespace bench {

[[nodiscard]] Figure SameTextBesideSpdlog(std::uint32_t live, Place place);
[[nodiscard]] Figure NewTextBesideSpdlog(std::uint32_t live);
[[nodiscard]] Figure SameTextInEightThreads();

[[nodiscard]] Figure Crc8BesideBoost(std::size_t bytes);
[[nodiscard]] Figure CombinationBesideBoost(Operation operation, std::size_t words);
[[nodiscard]] Figure SetBitsBesideBoost(std::size_t words);

[[nodiscard]] Figure Load();

}  // namespace bench

#endif  // DXR_BENCH_PACKAGE_FIGURES_H
